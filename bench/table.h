// Rows of the benchmark table. On a noisy machine a time says little and a ratio within one run much, so that a row may
// name another one to be held against.
#pragma once

#include <functional>
#include <string>

namespace table {

struct Row {
    std::string name;
    std::function<void()> run;
    std::string against = {};  // the row whose time this one is held against, or empty
    double share = 1;          // the work of this row as a part of that row's
    double bound = 0;          // the ratio that this row should reach: the other's time times the share, by this one's
};

// Adds a row. Rows are timed with Google Benchmark and interleaved; the table is printed at the end.
void add(Row row);

}  // namespace table
