#pragma once

#include "Sides.h"
#include "Trees.h"

#include <string>
#include <vector>

/// What the random choices for one operation come to.
struct Choice {
    QString path;
    int index = 0;
    QString text = {};
    QStringList names = {};
    std::vector<std::string> standardNames = {};
};

template <typename Own>
using Step = void (*)(Own& own, const Choice& choice);

/// A step as each kind of side takes it; none where there is nothing to do or to compare with.
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
    /// How often in one run, so that it takes long enough to be timed.
    int times;
    Choice (*choose)(const Tree& tree, Random& random);
    Steps measured;
    // What leads there and back, and is not measured.
    Steps before = {};
    Steps after = {};
    /// Whether the time that passes is measured, with the wait for a disk, instead of the processor's.
    bool isWaiting = false;
};

const std::vector<Operation>& operations();
