// Applies every operation of the library to photographs and writes a page that shows them before and after.
//
//     orvz3_gallery [--photos FOLDER] [--out FOLDER] [--runs N] [--only NAME] [--calls]
//
// An entry whose calls report an error, or whose results are what they were before, fails, and the program with it.
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <filesystem>
#include <fstream>
#include <regex>
#include <set>

#include "families.h"
#include "page.h"

namespace gallery {

namespace {

struct Options {
    std::string photos = "examples/photos";
    std::string out = "build/gallery";
    std::string only;
    int runs = 5;
    bool calls = false;
};

Options optionsOf(int argc, char** argv)
{
    Options options;
    for (int i = 1; i < argc; ++i) {
        std::string name = argv[i];
        if (name == "--calls") {
            options.calls = true;
            continue;
        }
        std::string value = i + 1 < argc ? argv[++i] : "";
        if (name == "--photos" && !value.empty())
            options.photos = value;
        else if (name == "--out" && !value.empty())
            options.out = value;
        else if (name == "--only" && !value.empty())
            options.only = value;
        else if (name == "--runs" && std::atoi(value.c_str()) > 0)
            options.runs = std::atoi(value.c_str());
        else
            throw std::runtime_error(
                "usage: orvz3_gallery [--photos FOLDER] [--out FOLDER] [--runs N] [--only NAME] [--calls]");
    }
    return options;
}

// The entry with pictures; its times are the shortest of as many runs as there are to be.
void perform(const Entry& entry, Stage& stage, int runs)
{
    std::vector<CodeLine> best;
    for (int i = 1; i < runs; ++i) {
        Stage rehearsal(false);
        entry.run(rehearsal);
        if (best.empty())
            best = rehearsal.lines;
        for (size_t line = 0; line < best.size() && line < rehearsal.lines.size(); ++line)
            best[line].milliseconds = std::min(best[line].milliseconds, rehearsal.lines[line].milliseconds);
    }
    entry.run(stage);
    stage.end();
    for (size_t line = 0; line < best.size() && line < stage.lines.size(); ++line)
        stage.lines[line].milliseconds = std::min(best[line].milliseconds, stage.lines[line].milliseconds);
}

std::string processorName()
{
    std::ifstream info("/proc/cpuinfo");
    for (std::string line; std::getline(info, line);)
        if (line.starts_with("model name"))
            return line.substr(line.find(':') + 2);
    return "this machine";
}

std::string headText(const Options& options, size_t entries, size_t functions)
{
    const OrvLibVersion* version = orvGetLibVersion();
    std::string number =
        std::to_string(version->major) + '.' + std::to_string(version->minor) + '.' + std::to_string(version->build);
    return "<p>What the operations of orvz3 " + number + " do to photographs: " + std::to_string(functions) +
           " functions in " + std::to_string(entries) +
           " entries. Below the pictures stand the calls that made them, as they were run, and the time that each "
           "took. "
           "Every picture opens in full size; regions are drawn over it in yellow.</p>\n"
           "<p class=\"small\">Times: one thread of " +
           escaped(processorName()) + ", best of " + std::to_string(options.runs) +
           " runs. Photographs: an astronaut (NASA, public domain), a cup of coffee (Rachel Michetti, CC0), the cat "
           "Chelsea "
           "(Stéfan van der Walt, CC0), a photographer at work (Lav Varshney, CC0).</p>\n";
}

void collectCalls(const Stage& stage, std::set<std::string>& calls)
{
    static const std::regex name("\\b(orv[A-Z]\\w*)\\(");
    for (const CodeLine& line : stage.lines)
        for (std::sregex_iterator it(line.text.begin(), line.text.end(), name), end; it != end; ++it)
            calls.insert((*it)[1]);
}

int makeGallery(const Options& options)
{
    Page page(options.out);
    std::set<std::string> calls;
    size_t count = 0, failed = 0;
    for (const Family* family : families()) {
        if (!options.calls)
            std::printf("%s: %s\n", family->subsystem, family->name);
        for (const Entry& entry : family->entries) {
            if (!options.only.empty() && options.only != entry.name)
                continue;
            Stage stage(true);
            perform(entry, stage, options.runs);
            page.add(*family, entry, stage);
            collectCalls(stage, calls);
            ++count;
            failed += !stage.failures.empty();
            if (!options.calls)
                std::printf("  %-44s %s\n", entry.name, stage.failures.empty() ? "done" : "FAILED");
            for (const std::string& failure : stage.failures)
                std::printf("    %s\n", failure.c_str());
            std::fflush(stdout);
        }
    }
    std::string path = page.write(headText(options, count, calls.size()));
    if (options.calls)
        for (const std::string& name : calls)
            std::printf("%s\n", name.c_str());
    else
        std::printf("%zu entries, %zu failed. The gallery is in %s\n", count, failed,
                    std::filesystem::absolute(path).lexically_normal().c_str());
    return count > 0 && failed == 0 ? EXIT_SUCCESS : EXIT_FAILURE;
}

}  // namespace

}  // namespace gallery

int main(int argc, char** argv)
{
    try {
        gallery::Options options = gallery::optionsOf(argc, argv);
        gallery::setPhotoFolder(options.photos);
        orvSetErrMode(ORV_ErrorModeParent);
        return gallery::makeGallery(options);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s\n", error.what());
        return EXIT_FAILURE;
    }
}
