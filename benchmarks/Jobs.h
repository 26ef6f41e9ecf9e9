#pragma once

#include <QtCore/QJsonValue>

#include <functional>
#include <string>
#include <vector>

/// One way of doing a job, by the library or by something that it is compared with.
struct Side {
    /// "library", "qt", "parsing", "unsynced", "system", "nlohmann" or "python".
    std::string name;
    /// Everything that is not measured; before each run. With the same seed every side gets the same choices.
    std::function<void(unsigned seed)> prepare;
    /// @return the nanoseconds that it took, where it measures itself, or 0.
    std::function<double()> run;
    /// What has come of all runs, the same on every side; undefined where a side does only a part of the job.
    std::function<QJsonValue()> outcome;
};

/// An operation in a tree, done on every side.
struct Job {
    /// How often it is done in each run.
    int operations;
    /// Elements of the tree.
    int elements;
    /// Selections in each folder.
    int siblings;
    /// What the instructions of a run are counted for: its operations, or the elements of a tree that it goes through.
    int units;
    /// Whether the time that passes is measured, with the wait for a disk, instead of the processor's.
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

/// Every operation in every tree in which it is measured.
const std::vector<Workload>& workloads();
/// The one of that name; fails the program hard when there is none.
const Workload& workloadOf(const std::string& name);
