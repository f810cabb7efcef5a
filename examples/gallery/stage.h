// The stage on which an entry of the gallery performs: it takes the entry's images, shows them before and after its
// calls, keeps the calls' source text and times, and sees whether they did what they should.
#pragma once

#include <chrono>
#include <deque>
#include <string>
#include <vector>

#include "image.h"

namespace gallery {

// How an image's values become the greys of a picture.
struct View {
    enum class Kind { linear, logarithm, spectrum } kind = Kind::linear;
    double gain = 1;
    double offset = 0;

    std::string label() const;
};
inline View scaled(double gain, double offset = 0)
{
    return {View::Kind::linear, gain, offset};
}
// The logarithm of the absolute value; the largest value is white.
inline View logarithm()
{
    return {View::Kind::logarithm};
}
// A packed spectrum as the logarithm of its magnitudes, frequency 0 in the middle.
inline View spectrum()
{
    return {View::Kind::spectrum};
}

// A rectangle drawn over a figure and told in its caption: a region; without a label, a tile.
struct Box {
    int x, y, width, height;
    std::string label;
};

struct Figure {
    std::string name;
    std::string detail;  // size, depth, channels
    std::string view;    // how the values are shown, if not as they are
    int width, height;
    Image picture;  // 8U, 1 or 3 channels
    std::vector<Box> boxes;
};

struct CodeLine {
    std::string text;
    bool timed;
    double milliseconds;
};

// Where in the gallery's sources something stands.
struct Place {
    std::string file;
    int line = 0;
};

// What a program needs to know to make an image of an entry.
struct Prop {
    std::string name;  // empty for an image that is not shown
    int channels, width, height, dataOrder;
    uint32_t depth;
    bool isSource;
};

class Stage {
public:
    // Without pictures an entry is only run and timed.
    explicit Stage(bool withPictures);
    ~Stage();
    Stage(const Stage&) = delete;
    Stage& operator=(const Stage&) = delete;

    // Images of an entry, named as in its calls. A source is shown as it is before the first timed call, a target after
    // the last, an image that is both, twice. What a target holds must change.
    Image& source(const char* name, Image image, View view = {});
    Image& target(const char* name, Image image, View view = {});
    Image& inPlace(const char* name, Image image, View view = {});
    // A target that the entry shows in its own way.
    Image& watched(const char* name, Image image);
    // An image that is not shown.
    Image& hidden(Image image);
    // A picture of the entry's own making.
    void showBefore(const char* name, const Image& image, View view = {}, std::vector<Box> boxes = {});
    void showAfter(const char* name, const Image& image, View view = {}, std::vector<Box> boxes = {});
    // What the reader should know beside the calls.
    void note(const std::string& text) { notes.push_back(text); }
    // Declarations for the program that readers copy, where those of the entry lean on the gallery's own helpers.
    void given(const std::string& text) { declarations.push_back(text); }
    void fail(const std::string& text) { failures.push_back(text); }

    template <class Call>
    void call(const char* code, bool timed, const char* file, int line, Call run)
    {
        place = {file, line};
        if (timed)
            lightsOn();
        auto start = std::chrono::steady_clock::now();
        run();
        std::chrono::duration<double, std::milli> time = std::chrono::steady_clock::now() - start;
        addLine(code, timed, time.count());
        noteStatus();
    }

    // Shows the targets, and sees whether they have changed.
    void end();

    std::vector<Figure> before, after;
    std::vector<CodeLine> lines;
    std::vector<std::string> notes, declarations, failures;
    std::vector<Prop> props;
    Place place;  // of the last call

private:
    struct Actor {
        const char* name;
        Image image;
        View view;
        bool isSource, isTarget, isShown;
        std::vector<double> values;
    };
    Image& add(const char* name, Image image, View view, bool isSource, bool isTarget, bool isShown = true);
    void lightsOn();
    void addLine(std::string code, bool timed, double milliseconds);
    void noteStatus();
    void show(std::vector<Figure>& figures, const char* name, const Image& image, const View& view,
              std::vector<Box> boxes);
    static int32_t ORV_CALL takeReport(int32_t status, const char* func, const char* context, const char* file,
                                       int32_t line);

    bool withPictures;
    bool lit = false;
    std::deque<Actor> actors;
    OrvErrorCallBack previousHandler;
};

// Runs a call and keeps its text and time.
#define CALL(...) stage.call(#__VA_ARGS__, true, __FILE__, __LINE__, [&] { __VA_ARGS__; })
// The same without the time, for what only prepares a call.
#define CODE(...) stage.call(#__VA_ARGS__, false, __FILE__, __LINE__, [&] { __VA_ARGS__; })

// An entry of the gallery: `name` is its place on the page, `text` what is to be seen.
struct Entry {
    const char* name;
    const char* text;
    void (*run)(Stage&);
};

// A group of entries on the page.
struct Family {
    const char* subsystem;
    const char* name;
    const char* text;
    std::vector<Entry> entries;
};

}  // namespace gallery
