// Measures the library and the sides that it is compared with in turns, so that other load on the machine affects all
// of them alike. Measures processor time, without other processes and without waiting for a disk. Only the sync
// workloads are measured in wall-clock time. --quick leaves out the large trees and repeats less.

#include "Jobs.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstdlib>
#include <cstring>

#include <time.h>

namespace {

double timeOf(clockid_t clock)
{
    timespec time = {};
    clock_gettime(clock, &time);
    return static_cast<double>(time.tv_sec) * 1e9 + static_cast<double>(time.tv_nsec);
}

double nanosecondsOf(const Side& side, unsigned seed, clockid_t clock)
{
    side.prepare(seed);
    const double start = timeOf(clock);
    const double ownTime = side.run();
    return ownTime > 0 ? ownTime : timeOf(clock) - start;
}

double median(std::vector<double> values)
{
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

/// Runs every side once, without timing. Returns whether all sides that have results have the same.
bool agree(const Job& job)
{
    QJsonValue expected(QJsonValue::Undefined);
    for (const Side& side : job.sides) {
        side.prepare(0);
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

/// The times of a side, and the ratios of the library's times to them in the same rounds.
struct Comparison {
    std::vector<double> times;
    std::vector<double> ratios;
};

class Rounds {
public:
    explicit Rounds(const Job& whole)
        : job(whole)
        , clock(whole.isWaiting ? CLOCK_MONOTONIC : CLOCK_PROCESS_CPUTIME_ID)
        , comparisons(whole.sides.size())
    {
    }

    int count() const
    {
        return done;
    }

    /// Runs the library once for each run of another side, in even rounds before it and in odd rounds after it. Only
    /// every third round includes all sides; the others include only plain Qt.
    void add()
    {
        const bool libraryFirst = done % 2 == 0;
        const std::size_t end = done % 3 == 0 ? job.sides.size() : 2;
        for (std::size_t i = 1; i < end; ++i) {
            ++seed;
            double own = libraryFirst ? nanosecondsOf(job.sides.front(), seed, clock) : 0;
            const double others = nanosecondsOf(job.sides[i], seed, clock);
            own = libraryFirst ? own : nanosecondsOf(job.sides.front(), seed, clock);
            times.push_back(own / job.operations);
            comparisons[i].times.push_back(others / job.operations);
            comparisons[i].ratios.push_back(own / others);
        }
        ++done;
    }

    double libraryTime() const
    {
        return median(times);
    }

    void report(benchmark::UserCounters& counters) const
    {
        counters["library"] = libraryTime();
        for (std::size_t i = 1; i < job.sides.size(); ++i) {
            counters[job.sides[i].name] = median(comparisons[i].times);
            counters["of " + job.sides[i].name] = median(comparisons[i].ratios);
        }
        counters["rounds"] = done;
        counters["elements"] = job.elements;
        counters["siblings"] = job.siblings;
    }

private:
    const Job& job;
    const clockid_t clock;
    int done = 0;
    unsigned seed = 0;
    std::vector<double> times;
    std::vector<Comparison> comparisons;
};

/// How often a workload is repeated: until `time` has passed, but within these numbers of rounds.
struct Patience {
    int fewest;
    int most;
    std::chrono::milliseconds time;
};

constexpr Patience full {9, 101, std::chrono::milliseconds(1000)};
constexpr Patience quick {3, 31, std::chrono::milliseconds(100)};

void measure(benchmark::State& state, const Workload& workload, const Patience& patience)
{
    const Job job = workload.make();
    if (!agree(job)) {
        state.SkipWithError("the sides have different results");
        return;
    }
    Rounds rounds(job);
    // All rounds are one iteration for the framework, because only this loop knows when there are enough.
    for (auto _ : state) {
        const auto end = std::chrono::steady_clock::now() + patience.time;
        while (rounds.count() < patience.fewest
            || (rounds.count() < patience.most && std::chrono::steady_clock::now() < end)) {
            rounds.add();
        }
        state.SetIterationTime(rounds.libraryTime() * 1e-9);
    }
    rounds.report(state.counters);
}

bool isLarge(const Workload& workload)
{
    return workload.tree == "20000" || workload.tree == "wide5000" || workload.tree == "wide20000"
        || workload.tree == "colliding";
}

} // namespace

int main(int argc, char* argv[])
{
    // A warning means that the measured work is wrong.
    setenv("QT_FATAL_WARNINGS", "1", 1);
    benchmark::Initialize(&argc, argv);
    const bool isQuick = argc > 1 && std::strcmp(argv[1], "--quick") == 0;
    for (const Workload& workload : workloads()) {
        if (!isQuick || !isLarge(workload)) {
            benchmark::RegisterBenchmark(workload.name().c_str(), measure, workload, isQuick ? quick : full)
                ->Iterations(1)
                ->UseManualTime()
                ->Unit(benchmark::kMicrosecond);
        }
    }
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
