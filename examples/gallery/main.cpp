// Applies every operation of the library to photographs and writes a page that shows them before and after.
//
//     orvz3_gallery [--photos FOLDER] [--out FOLDER] [--reference PATH] [--runs N] [--only NAME] [--calls]
//                   [--programs FOLDER]
//
// Times are medians of N runs, three if not told, in the quietest of several rounds; with one run there are no rounds.
// With --calls it prints the functions that are called, and with --out none makes no page.
//
// An entry whose calls report an error, or whose results are what they were before, fails, and the program with it.
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
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
    int runs = 3;
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

template <class Visit>
void forEntries(const Options& options, Visit visit)
{
    for (const Family* family : families())
        for (const Entry& entry : family->entries)
            if (options.only.empty() || options.only == entry.name)
                visit(*family, entry);
}

double medianOf(Times times)
{
    std::sort(times.begin(), times.end());
    return times.empty() ? 0 : times[times.size() / 2];
}

// The medians of a few runs, for each call of an entry.
Times rehearse(const Entry& entry, int runs)
{
    std::vector<Times> calls;
    for (int i = 0; i < runs; ++i) {
        Stage rehearsal(false);
        entry.run(rehearsal);
        calls.resize(rehearsal.lines.size());
        for (size_t line = 0; line < calls.size(); ++line)
            calls[line].push_back(rehearsal.lines[line].milliseconds);
    }
    Times medians;
    std::transform(calls.begin(), calls.end(), std::back_inserter(medians), medianOf);
    return medians;
}

// Other work slows a processor down for seconds at a time: each call has the time of its quietest round of several over
// all entries.
std::map<const Entry*, Times> rehearseAll(const Options& options)
{
    constexpr int rounds = 9;
    std::map<const Entry*, Times> quietest;
    for (int round = 0; options.runs > 1 && round < rounds; ++round) {
        if (!options.calls)
            std::printf("times, round %d of %d\n", round + 1, rounds);
        std::fflush(stdout);
        forEntries(options, [&](const Family&, const Entry& entry) {
            const Times now = rehearse(entry, options.runs);
            Times& best = quietest[&entry];
            best.resize(now.size(), INFINITY);
            std::transform(now.begin(), now.end(), best.begin(), best.begin(),
                           [](double time, double least) { return std::min(time, least); });
        });
    }
    return quietest;
}

// The entry with pictures.
void perform(const Entry& entry, Stage& stage, const Times& times)
{
    entry.run(stage);
    stage.end();
    for (size_t line = 0; line < times.size() && line < stage.lines.size(); ++line)
        stage.lines[line].milliseconds = times[line];
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
           ", medians of runs in the quietest of several rounds. Photographs: an astronaut (NASA, public domain), a "
           "cup of coffee (Rachel Michetti, CC0), the cat "
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
    forEntries({}, [&](const Family&, const Entry& entry) {
        Stage stage(false);
        entry.run(stage);
        for (const std::string& function : functionsOf(stage))
            calls.insert(function);
    });
    for (const std::string& name : calls)
        std::printf("%s\n", name.c_str());
    return EXIT_SUCCESS;
}

int makeGallery(const Options& options)
{
    if (options.out == "none")
        return listCalls();
    Page page(options.out, options.reference);
    std::map<const Entry*, Times> times = rehearseAll(options);
    std::set<std::string> calls;
    size_t count = 0, failed = 0;
    forEntries(options, [&](const Family& family, const Entry& entry) {
        Stage stage(true);
        perform(entry, stage, times[&entry]);
        page.add(family, entry, stage);
        for (const std::string& function : functionsOf(stage))
            calls.insert(function);
        if (!options.programs.empty())
            saveProgram(options.programs, entry, stage);
        ++count;
        failed += !stage.failures.empty();
        if (!options.calls)
            std::printf("%-12s %-44s %s\n", family.subsystem, entry.name, stage.failures.empty() ? "done" : "FAILED");
        for (const std::string& failure : stage.failures)
            std::fprintf(stderr, "    %s: %s\n", entry.name, failure.c_str());
        std::fflush(stdout);
    });
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
