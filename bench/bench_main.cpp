// Runs the benchmarks under a directory of their own, repetitions interleaved, and prints the ratios of the medians.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <vector>

#include "bench.h"
#include "midware.h"

namespace {

struct Comparison {
    std::string what, against, wanted;
};

std::vector<Comparison> &Comparisons() {
    static std::vector<Comparison> comparisons;
    return comparisons;
}

// Prints as usual and keeps the medians.
class Reporter : public benchmark::ConsoleReporter {
 public:
    void ReportRuns(const std::vector<Run> &runs) override {
        for (const Run &run : runs) {
            if (run.run_type == Run::RT_Aggregate && run.aggregate_name == "median") {
                medians[run.run_name.function_name] = run.GetAdjustedCPUTime();
            }
        }
        ConsoleReporter::ReportRuns(runs);
    }

    std::map<std::string, double> medians;
};

}  // namespace

void CompareTimes(const std::string &what, const std::string &against, const std::string &wanted) {
    Comparisons().push_back({what, against, wanted});
}

int main(int argc, char **argv) {
    char root[] = "/tmp/midware-bench-XXXXXX";
    if (mkdtemp(root) == nullptr || setenv("MIDWARE_ROOT", root, 1) != 0 || MW_MidWareInit() != 0) {
        std::fprintf(stderr, "midware_bench: no shared area could be created under %s\n", root);
        return 1;
    }

    std::vector<char *> args(argv, argv + argc);
    char repetitions[] = "--benchmark_repetitions=9";
    char interleaved[] = "--benchmark_enable_random_interleaving=true";
    char aggregates[] = "--benchmark_report_aggregates_only=true";
    char time[] = "--benchmark_min_time=0.05";
    args.insert(args.begin() + 1, {repetitions, interleaved, aggregates, time});
    int count = static_cast<int>(args.size());
    benchmark::Initialize(&count, args.data());
    if (benchmark::ReportUnrecognizedArguments(count, args.data())) return 2;

    Reporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);

    std::printf("\n%-34s %-34s %10s %10s %8s\n", "this", "against", "ns", "ns", "ratio");
    for (const Comparison &comparison : Comparisons()) {
        const auto what = reporter.medians.find(comparison.what);
        const auto against = reporter.medians.find(comparison.against);
        if (what == reporter.medians.end() || against == reporter.medians.end()) continue;
        std::printf("%-34s %-34s %10.1f %10.1f %8.2f  %s\n", what->first.c_str(), against->first.c_str(), what->second,
                    against->second, what->second / against->second, comparison.wanted.c_str());
    }
    std::error_code ignored;
    std::filesystem::remove_all(root, ignored);
    return 0;
}
