#pragma once

#include "Sides.h"
#include "Trees.h"

#include <string>
#include <vector>

/// The randomly chosen arguments of one operation.
struct Choice {
    QString path;
    int index = 0;
    QString text = {};
    QStringList names = {};
    std::vector<std::string> standardNames = {};
};

template <typename Own>
using Step = void (*)(Own& own, const Choice& choice);

/// One function for each kind of side. It does the operation, or the part of it that the side stands for. Null for a
/// side that has nothing to do or is not compared.
struct Steps {
    Step<Library> library = nullptr;
    Step<PlainQt> qt = nullptr;
    Step<Parsing> parsing = nullptr;
    Step<Unsynced> unsynced = nullptr;
    Step<System> system = nullptr;
    Step<Nlohmann> nlohmann = nullptr;
    Step<Python> python = nullptr;
};

struct Operation {
    const char* name;
    /// Number of repetitions in one run, so that a run takes long enough to be timed.
    int times;
    Choice (*choose)(const Tree& tree, Random& random);
    Steps measured;
    // Preparation and clean-up of a run, which are not measured.
    Steps before = {};
    Steps after = {};
    /// True to measure wall-clock time, including the wait for a disk, instead of processor time.
    bool isWaiting = false;
};

const std::vector<Operation>& operations();
