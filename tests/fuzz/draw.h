// A call's arguments, drawn by their types from the bytes of a fuzz input or from a seed.
#pragma once

#include <cmath>
#include <cstdarg>
#include <initializer_list>
#include <string>
#include <tuple>
#include <type_traits>
#include <vector>

#include "replay.h"

// The same numbers on every machine.
struct Source {
    uint64_t seed = 0;
    const uint8_t* data = nullptr;  // instead of the seed, with zeros behind its end
    size_t left = 0;

    uint32_t bits();
    int below(int limit) { return limit > 1 ? int(bits() % uint32_t(limit)) : 0; }
    bool oneIn(int n) { return below(n) == 0; }
    template <class T>
    T of(std::initializer_list<T> values)
    {
        return values.begin()[below(int(values.size()))];
    }
};

// What may happen to a call.
struct Plan {
    bool valid = false;          // nothing hostile, only what the function takes
    bool plain = false;          // no tiles
    int refuseMemory = 0;        // the n-th request for memory, by 1
    bool refuseAll = false;      // and all after it
    int refuseTile = 0;          // the n-th request for a tile of each image
    bool loud = false;           // reports are printed
    OrvImage* shared = nullptr;  // the first of several images
    FILE* program = nullptr;     // where the call is written as a C program, instead of being made
};

struct Entry;

// One call: what has been drawn for it, and what came of it.
class Drawing {
public:
    Drawing(Source source, const Plan& plan, const Entry& entry);
    ~Drawing();

    Source source;
    const Plan plan;
    const Entry& entry;
    uint64_t digest = 0xCBF29CE484222325u;
    bool worked = false;     // nothing was reported
    bool isPortable = true;  // what it leaves is the same in every build
    bool memoryRefused = false, tileRefused = false;

    template <class R, class... A>
    void call(R(ORV_CALL* function)(A...))
    {
        std::tuple<A...> arguments{draw<A>()...};
        std::apply([&](auto... drawn) { perform(function, drawn...); }, arguments);
    }
    // A call with these arguments, of which the texts have been written.
    template <class R, class... A>
    void perform(R(ORV_CALL* function)(A...), std::type_identity_t<A>... arguments)
    {
        if (!begin())
            return;
        if constexpr (std::is_void_v<R>)
            function(arguments...);
        else
            take(function(arguments...));
        end();
        (look(arguments), ...);
    }
    // An argument that is made by this expression.
    template <class T>
    T argument(const char* text, T value)
    {
        name("%s", text);
        return value;
    }
    // A line of the program before the call.
    [[gnu::format(printf, 2, 3)]] void write(const char* format, ...);
    [[gnu::format(printf, 2, 3)]] void name(const char* format, ...);

    OrvImage* image();
    int32_t integer();
    double real();
    template <class T>
    T draw();

    OrvImage* imageAt(int i) { return i < int(images.size()) ? images[size_t(i)] : nullptr; }
    void hash(uint64_t bits)
    {
        for (int i = 0; i < 8; ++i, bits >>= 8)
            digest = (digest ^ (bits & 255)) * 0x100000001B3u;
    }
    void hashReal(double value);
    void hashImage(const OrvImage* image);
    void hashRow(const OrvImage* image, const uint8_t* row, int width);

    std::string arguments;  // of the call in the program
    int names = 0;          // of variables of the program
    int integers = 0;       // drawn so far,
    int lines = 0;          // and kernels of one row or column
    float most = 0;         // of the ascending floats

private:
    struct Place;
    bool begin();
    void end();
    void fillHeader(Place& place, int index, bool isMask);
    void place(Place& place, int number);
    OrvImage* maskFor(int depth);
    bool isWritten(const OrvImage* image) const;
    void keepBytes(Place& place);
    void hashPixels(const Place& place);
    void checkBytes(const Place& place);
    void checkBlock(const Place& place, int number, const uint8_t* old);

    template <class T>
    void look(T value);
    template <class T>
    void take(T value);

    bool isShared = false;  // images have pixels in common
    std::vector<Place*> places;
    std::vector<OrvImage*> images;
    int placed = 0;
};

// Values that a function's integers mostly have: one list for all, or one for each, the last for all that follow.
struct Likely : std::vector<std::vector<int>> {
    Likely() = default;
    Likely(const std::vector<int>& all) : vector{all} {}
    Likely(std::initializer_list<std::vector<int>> each) : vector(each) {}
};

struct Entry {
    const char* name;
    void (*call)(Drawing&);
    const char* family;
    const char* images = "";  // see Drawing::image
    Likely likely = {};
};

const std::vector<Entry>& everyCall();
