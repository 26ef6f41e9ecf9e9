// Times the library and what it is compared with, one right after the other, so that whatever else the machine does
// meets all of them alike. Counted is the time of the processor: what others do meanwhile is no part of it, nor is
// waiting for a disk. --quick leaves out what takes long.

#include "Jobs.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <cstring>

#include <time.h>

namespace {

double processorTime()
{
    timespec time = {};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) * 1e9 + static_cast<double>(time.tv_nsec);
}

double nanosecondsOf(const Side& side)
{
    side.prepare();
    const double start = processorTime();
    const double ownTime = side.run();
    return ownTime > 0 ? ownTime : processorTime() - start;
}

double median(std::vector<double> values)
{
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

/// One run, not timed: all sides come to the same.
bool agree(const Job& job)
{
    QJsonValue expected(QJsonValue::Undefined);
    for (const Side& side : job.sides) {
        side.prepare();
        side.run();
        const QJsonValue outcome = side.outcome();
        if (expected.isUndefined()) {
            expected = outcome;
        } else if (!outcome.isUndefined() && outcome != expected) {
            return false;
        }
    }
    return true;
}

/// What a side takes, and what the library takes of that in the same round.
struct Comparison {
    std::vector<double> times;
    std::vector<double> ratios;
};

void measure(benchmark::State& state, const Workload& workload)
{
    const Job job = workload.make();
    if (!agree(job)) {
        state.SkipWithError("the sides come to different results");
        return;
    }
    const Side& library = job.sides.front();
    std::vector<double> libraryTimes;
    std::vector<Comparison> comparisons(job.sides.size());
    int round = 0;
    for (auto _ : state) {
        // A run of the library for each run of another side, in turn before and after it; most are beside plain Qt.
        const std::size_t end = round % 3 == 0 ? job.sides.size() : 2;
        const bool libraryFirst = round % 2 == 0;
        for (std::size_t i = 1; i < end; ++i) {
            double own = libraryFirst ? nanosecondsOf(library) : 0;
            const double others = nanosecondsOf(job.sides[i]);
            own = libraryFirst ? own : nanosecondsOf(library);
            libraryTimes.push_back(own / job.operations);
            comparisons[i].times.push_back(others / job.operations);
            comparisons[i].ratios.push_back(own / others);
        }
        ++round;
        state.SetIterationTime(libraryTimes.back() * 1e-9);
    }
    state.counters["library"] = median(libraryTimes);
    for (std::size_t i = 1; i < job.sides.size(); ++i) {
        state.counters[job.sides[i].name] = median(comparisons[i].times);
        state.counters["of " + job.sides[i].name] = median(comparisons[i].ratios);
    }
    state.counters["elements"] = job.elements;
    state.counters["siblings"] = job.siblings;
}

bool isLarge(const Workload& workload)
{
    return workload.tree == "20000" || workload.tree == "wide5000";
}

int roundsOf(const Workload& workload, bool quick)
{
    const int rounds = workload.tree == "20000" ? 9 : workload.tree == "100" ? 45 : 15;
    return quick ? rounds / 3 : rounds;
}

} // namespace

int main(int argc, char* argv[])
{
    // A message is a mistake in what is measured.
    setenv("QT_FATAL_WARNINGS", "1", 1);
    benchmark::Initialize(&argc, argv);
    const bool quick = argc > 1 && std::strcmp(argv[1], "--quick") == 0;
    for (const Workload& workload : workloads()) {
        if (!quick || !isLarge(workload)) {
            benchmark::RegisterBenchmark(workload.name().c_str(), measure, workload)
                ->Iterations(roundsOf(workload, quick))
                ->UseManualTime()
                ->Unit(benchmark::kMicrosecond);
        }
    }
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
