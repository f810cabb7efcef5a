// Runs the benchmarks and prints the table of ratios.
//
//   orvz3_bench [--level=base|v3] [--benchmark_filter=...] [any other flag of Google Benchmark]
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <deque>
#include <map>
#include <vector>

#include "core/ownisa.h"
#include "orv.h"
#include "table.h"

namespace {

std::deque<table::Row>& rows()
{
    static std::deque<table::Row> all;
    return all;
}

// Keeps the shortest time of each benchmark: what disturbs a run only adds to it.
class Shortest : public benchmark::ConsoleReporter {
public:
    void ReportRuns(const std::vector<Run>& runs) override
    {
        for (const Run& run : runs) {
            if (run.run_type != Run::RT_Iteration || run.error_occurred)
                continue;
            double time = run.GetAdjustedRealTime();
            auto [place, added] = times.try_emplace(run.run_name.function_name, time);
            if (!added)
                place->second = std::min(place->second, time);
        }
        // What has no row in the table is printed as it comes.
        bool hasRow = std::any_of(rows().begin(), rows().end(), [&](const table::Row& row) {
            return !runs.empty() && row.name == runs[0].run_name.function_name;
        });
        if (!hasRow)
            ConsoleReporter::ReportRuns(runs);
    }
    std::map<std::string, double> times;
};

void printTable(const std::map<std::string, double>& times)
{
    printf("\n%-58s %12s %7s %6s\n", "row", "ns", "ratio", "bound");
    int behind = 0;
    for (const table::Row& row : rows()) {
        auto own = times.find(row.name);
        if (own == times.end())
            continue;
        printf("%-58s %12.1f", row.name.c_str(), own->second);
        auto other = times.find(row.against);
        if (other != times.end()) {
            double ratio = other->second * row.share / own->second;
            bool below = ratio < row.bound;
            behind += below;
            printf(" %7.3g %6.3g%s", ratio, row.bound, below ? " below" : "");
        }
        printf("\n");
    }
    printf("%d rows below their bound\n", behind);
}

}  // namespace

void table::add(Row row)
{
    rows().push_back(std::move(row));
}

int main(int argc, char** argv)
{
    std::vector<char*> arguments;
    for (int i = 0; i < argc; ++i) {
        if (strncmp(argv[i], "--level=", 8) != 0) {
            arguments.push_back(argv[i]);
        } else if (!ownForceLevel(argv[i] + 8)) {
            fprintf(stderr, "this processor does not have the level\n");
            return 1;
        }
    }
    std::string defaults[] = {"--benchmark_min_time=0.02", "--benchmark_repetitions=5",
                              "--benchmark_enable_random_interleaving=true"};
    for (std::string& flag : defaults)
        arguments.insert(arguments.begin() + 1, flag.data());
    int count = int(arguments.size());
    benchmark::Initialize(&count, arguments.data());
    if (benchmark::ReportUnrecognizedArguments(count, arguments.data()))
        return 1;
    orvSetErrMode(ORV_ErrorModeParent);
    orvRedirectError(orvStdErrReport);
    for (table::Row& row : rows())
        benchmark::RegisterBenchmark(row.name.c_str(), [&row](benchmark::State& state) {
            row.run();  // brings its images into the cache, as far as they fit, after what other rows have left there
            for (auto _ : state)
                row.run();
        });
    Shortest reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    printTable(reporter.times);
}
