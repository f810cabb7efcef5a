// Looks at what functions take: of every function that the gallery calls the first calls are tried with images of all kinds,
// in a process of their own, and what was reported and changed becomes a row of a table.
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
    std::vector<size_t> places;     // of the images among the arguments
    std::vector<OrvImage*> images;  // as they were given
    std::function<void(const std::vector<OrvImage*>&)> run;
};

bool wants(const Function& function);
void examine(const Call& call);
extern int depth;

// Arguments that are as long as the images have channels, in lengths that suffice for all.
template <class T>
T roomy(T value)
{
    if constexpr (std::is_same_v<T, void*> || std::is_same_v<T, const void*>) {
        static uint8_t room[4096];
        return room;
    } else if constexpr (std::is_same_v<T, OrvLUT**>) {
        static OrvLUT* tables[4];
        for (OrvLUT*& table : tables)
            table = value ? value[0] : nullptr;
        return tables;
    } else {
        return value;
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
                std::apply([&](auto... one) { std::apply(real, std::tuple<P...>{filled(one)...}); }, arguments);
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
