// Looks at what functions take: of every function that the gallery calls the first calls are tried with images of all
// kinds, in a process of their own, and what was reported and changed becomes a row of a table.
#pragma once

#include <orv.h>

#include <cstring>
#include <functional>
#include <string>
#include <tuple>
#include <type_traits>
#include <vector>

namespace probe {

// A function and the names of its arguments; known from the start, whether it is called or not.
struct Function {
    Function(const char* name, const char* arguments, bool hasImages);
    std::string name;
    std::vector<std::string> arguments;
};

void* address(const char* name);

template <class F>
F real(const char* name)
{
    static_assert(std::is_pointer_v<F>);
    return reinterpret_cast<F>(address(name));
}

// A call with its images left open.
struct Call {
    const Function& function;
    std::vector<size_t> places;                                // of the images among the arguments
    std::vector<OrvImage*> images;                             // as they were given
    std::function<size_t(const std::vector<OrvImage*>&)> run;  // answers a digest of what is returned beside images
};

bool wants(const Function& function);
void examine(const Call& call);
extern int depth;
extern bool bits;  // the images of this run are of depth 1U

// Arguments that are as long as the images have channels, in lengths that suffice for all; for bits, tables of bits.
template <class T>
T roomy(T value)
{
    if constexpr (std::is_same_v<T, void*> || std::is_same_v<T, const void*>) {
        static uint8_t room[4096];
        return room;
    } else if constexpr (std::is_same_v<T, OrvLUT**>) {
        static int32_t keys[] = {0, 1, 2}, values[3];
        static OrvLUT ofBits = {3, keys, values, nullptr, 0};
        static OrvLUT* tables[4];
        for (OrvLUT*& table : tables)
            table = bits ? &ofBits : value ? value[0] : nullptr;
        return tables;
    } else {
        return value;
    }
}

inline void digestBytes(size_t& digest, const void* data, size_t n)
{
    for (size_t i = 0; i < n; ++i)
        digest = (digest ^ static_cast<const uint8_t*>(data)[i]) * size_t{1099511628211u};
}

// Takes in what an argument points at, as far as it is known how much that is.
template <class T>
void digestTarget(size_t& digest, T value)
{
    if constexpr (std::is_same_v<T, void*>) {
        digestBytes(digest, value, 64);
    } else if constexpr (std::is_same_v<T, OrvLUT**>) {
        for (int i = 0; i < 4; ++i)
            if (value[i])
                digestBytes(digest, value[i]->value, sizeof(int32_t) * size_t(value[i]->num - 1));
    } else if constexpr (std::is_pointer_v<T>) {
        using Target = std::remove_pointer_t<T>;
        if constexpr (std::is_object_v<Target> && !std::is_const_v<Target> && !std::is_same_v<T, OrvImage*>)
            if constexpr (requires { sizeof(Target); })
                if (value)
                    digestBytes(digest, value, sizeof(Target));
    }
}

template <class R, class... P>
R call(const Function& function, R (*real)(P...), std::type_identity_t<P>... given)
{
    if constexpr ((std::is_same_v<P, OrvImage*> || ...)) {
        if (depth == 0 && wants(function)) {
            ++depth;
            std::tuple<P...> arguments(given...);
            Call open{function, {}, {}, {}};
            size_t place = 0;
            auto look = [&](auto one) {
                if constexpr (std::is_same_v<decltype(one), OrvImage*>) {
                    if (one) {
                        open.places.push_back(place);
                        open.images.push_back(one);
                    }
                }
                ++place;
            };
            std::apply([&](auto... one) { (look(one), ...); }, arguments);
            open.run = [&](const std::vector<OrvImage*>& images) {
                size_t next = 0;
                auto filled = [&](auto one) {
                    if constexpr (std::is_same_v<decltype(one), OrvImage*>)
                        return one ? images[next++] : one;
                    else
                        return roomy(one);
                };
                // Braces, as they are evaluated from left to right.
                auto given = std::apply([&](auto... one) { return std::tuple<P...>{filled(one)...}; }, arguments);
                size_t digest = 0;
                if constexpr (std::is_arithmetic_v<R>) {
                    R result = std::apply(real, given);
                    digestBytes(digest, &result, sizeof result);
                } else {
                    std::apply(real, given);
                }
                std::apply([&](auto... one) { (digestTarget(digest, one), ...); }, given);
                return digest;
            };
            examine(open);
            --depth;
        }
    }
    ++depth;
    struct Leave {
        ~Leave() { --depth; }
    } leave;
    return real(given...);
}

}  // namespace probe
