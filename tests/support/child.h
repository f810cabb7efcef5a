// Runs a piece of a test in a process of its own, to see how that ends.
//
//   CHILD(reportAndEnd) { orvNulDevReport(-5, "f", "c", "s", 1); }
//   ...
//   EXPECT_EQ(runChild("reportAndEnd").exitCode, 1);
//
// A child has the library's initial error mode and handler. One that comes to its end exits with 0.
#pragma once

#include <string>
#include <vector>

struct ChildEnd {
    int exitCode;        // 128 plus the signal for a process that one has ended
    std::string output;  // both streams, read as text
};

ChildEnd runChild(const std::string& name);

#if !defined(_WIN32)
// The same on a terminal of its own, on which `typed` is entered; the output is what the terminal shows.
ChildEnd runChildOnTerminal(const std::string& name, const std::string& typed);

// The same without a controlling terminal.
ChildEnd runChildWithoutTerminal(const std::string& name);
#endif

// For main: remembers how this program was called, and becomes the child if the arguments ask for one.
void serveAsChild(int argc, char** argv);

struct ChildEntry {
    using Body = void (*)();
    ChildEntry(const char* name, Body body);
};

#define CHILD(name)                                            \
    static void child_##name();                                \
    static const ChildEntry entry_##name{#name, child_##name}; \
    static void child_##name()
