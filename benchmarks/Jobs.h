#pragma once

#include <QtCore/QJsonValue>

#include <functional>
#include <string>
#include <vector>

/// One implementation of a job: the library, or one that it is compared with.
struct Side {
    /// "library", "qt", "parsing", "unsynced", "system", "nlohmann" or "python".
    std::string name;
    /// Does all work of a run that is not measured; called before each run. The same seed gives every side the same
    /// random choices.
    std::function<void(unsigned seed)> prepare;
    /// Does the measured work. Returns the nanoseconds that it took if the side measures itself, otherwise 0.
    std::function<double()> run;
    /// Returns the result of all runs, which is equal for all sides; Undefined for a side that does only a part of the
    /// job.
    std::function<QJsonValue()> outcome;
};

/// An operation on a tree, done by every side.
struct Job {
    /// Number of operations in each run.
    int operations;
    /// Number of elements in the tree.
    int elements;
    /// Number of selections in each folder.
    int siblings;
    /// Divisor of the instruction count of a run: the operations in it, or the elements of the tree if there is only
    /// one operation.
    int units;
    /// True to measure wall-clock time, including the wait for a disk, instead of processor time.
    bool isWaiting;
    /// The library first, then plain Qt.
    std::vector<Side> sides;
};

struct Workload {
    std::string operation;
    std::string tree;
    std::function<Job()> make;

    std::string name() const;
};

/// Returns all workloads: every operation with every tree for which it is measured.
const std::vector<Workload>& workloads();
/// Returns the workload of that name. Ends the program by qFatal() if there is none.
const Workload& workloadOf(const std::string& name);
