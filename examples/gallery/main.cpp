// Applies every operation of the library to photographs and writes a page that shows them before and after.
//
//     orvz3_gallery [--photos FOLDER] [--out FOLDER] [--reference PATH] [--runs N] [--only NAME] [--calls]
//                   [--programs FOLDER]
//
// Without --runs every entry is run until its times are steady. With --calls it prints the functions that are called,
// and with --out none makes no page.
//
// An entry whose calls report an error, or whose results are what they were before, fails, and the program with it.
#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <filesystem>
#include <fstream>
#include <set>

#include "families.h"
#include "page.h"
#include "snippet.h"

namespace gallery {

namespace {

struct Options {
    std::string photos = "examples/photos";
    std::string out = "build/gallery";
    std::string only;
    std::string programs;  // where the entries as programs go, if anywhere
    std::string reference = "../docs";
    int runs = 0;
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
        else if (name == "--programs" && !value.empty())
            options.programs = value;
        else if (name == "--reference" && !value.empty())
            options.reference = value;
        else if (name == "--runs" && std::atoi(value.c_str()) > 0)
            options.runs = std::atoi(value.c_str());
        else
            throw std::runtime_error(
                "usage: orvz3_gallery [--photos FOLDER] [--out FOLDER] [--reference PATH] [--runs N] [--only NAME] "
                "[--calls] [--programs FOLDER]");
    }
    return options;
}

using Times = std::vector<double>;

double medianOf(Times times)
{
    std::sort(times.begin(), times.end());
    return times.empty() ? 0 : times[times.size() / 2];
}

// Whether the runs with even and those with odd numbers tell the same, to a tenth or to the microsecond, of every call.
bool areSteady(const std::vector<Times>& calls)
{
    for (const Times& times : calls) {
        Times halves[2];
        for (size_t i = 0; i < times.size(); ++i)
            halves[i % 2].push_back(times[i]);
        double even = medianOf(halves[0]), odd = medianOf(halves[1]);
        if (std::abs(even - odd) > std::max(0.1 * std::min(even, odd), 0.001))
            return false;
    }
    return true;
}

// Times of as many runs as are to be, or of enough for steady medians: at least ten, for three seconds at most.
std::vector<Times> rehearse(const Entry& entry, int runs)
{
    std::vector<Times> calls;
    auto start = std::chrono::steady_clock::now();
    for (int i = 0; runs > 0 ? i < runs : i < 100; ++i) {
        Stage rehearsal(false);
        entry.run(rehearsal);
        calls.resize(rehearsal.lines.size());
        for (size_t line = 0; line < calls.size(); ++line)
            calls[line].push_back(rehearsal.lines[line].milliseconds);
        std::chrono::duration<double> spent = std::chrono::steady_clock::now() - start;
        if (runs == 0 && i >= 4 && (spent.count() > 3 || (i >= 9 && i % 2 && areSteady(calls))))
            break;
    }
    return calls;
}

// The entry with pictures; its times are medians.
void perform(const Entry& entry, Stage& stage, int runs)
{
    std::vector<Times> calls = runs == 1 ? std::vector<Times>() : rehearse(entry, runs);
    entry.run(stage);
    stage.end();
    for (size_t line = 0; line < calls.size() && line < stage.lines.size(); ++line)
        stage.lines[line].milliseconds = medianOf(calls[line]);
}

std::string processorName()
{
    std::ifstream info("/proc/cpuinfo");
    for (std::string line; std::getline(info, line);)
        if (line.starts_with("model name"))
            return line.substr(line.find(':') + 2);
    return "this machine";
}

std::string headText(size_t entries, size_t functions)
{
    const OrvLibVersion* version = orvGetLibVersion();
    std::string number =
        std::to_string(version->major) + '.' + std::to_string(version->minor) + '.' + std::to_string(version->build);
    return "<p>What the operations of orvz3 " + number + " do to photographs: " + std::to_string(functions) +
           " functions in " + std::to_string(entries) +
           " entries. Below the pictures stand the calls that made them, as they were run, and the time that each "
           "took; each entry is a program to copy, too. "
           "Every picture opens in full size; regions are drawn over it in yellow.</p>\n"
           "<p class=\"small\">Times: one thread of " +
           escaped(processorName()) +
           ", medians of as many runs as it takes for them to be steady. Photographs: an astronaut (NASA, public "
           "domain), a cup of coffee (Rachel Michetti, CC0), the cat "
           "Chelsea "
           "(Stéfan van der Walt, CC0), a photographer at work (Lav Varshney, CC0).</p>\n";
}

void saveProgram(const std::string& folder, const Entry& entry, const Stage& stage)
{
    std::filesystem::create_directories(folder);
    std::ofstream(folder + '/' + slug(entry.name) + ".cpp") << programOf(entry, stage);
}

// Runs the entries without a page, and prints what they call.
int listCalls()
{
    std::set<std::string> calls;
    for (const Family* family : families())
        for (const Entry& entry : family->entries) {
            Stage stage(false);
            entry.run(stage);
            for (const std::string& function : functionsOf(stage))
                calls.insert(function);
        }
    for (const std::string& name : calls)
        std::printf("%s\n", name.c_str());
    return EXIT_SUCCESS;
}

int makeGallery(const Options& options)
{
    if (options.out == "none")
        return listCalls();
    Page page(options.out, options.reference);
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
            for (const std::string& function : functionsOf(stage))
                calls.insert(function);
            if (!options.programs.empty())
                saveProgram(options.programs, entry, stage);
            ++count;
            failed += !stage.failures.empty();
            if (!options.calls)
                std::printf("  %-44s %s\n", entry.name, stage.failures.empty() ? "done" : "FAILED");
            for (const std::string& failure : stage.failures)
                std::fprintf(stderr, "    %s: %s\n", entry.name, failure.c_str());
            std::fflush(stdout);
        }
    }
    std::string path = page.write(headText(count, calls.size()));
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
