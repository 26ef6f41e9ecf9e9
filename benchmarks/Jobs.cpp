#include "Jobs.h"

#include "Operations.h"
#include "QuickFolder.h"
#include "Trees.h"

#include <memory>
#include <type_traits>

namespace {

template <typename Own>
class Runs {
public:
    Runs(const Tree& whole, const Operation& what, Step<Own> Steps::*kind)
        : tree(whole)
        , operation(what)
        , step(kind)
        , own(whole)
    {
    }

    void prepare(unsigned seed)
    {
        take(operation.after);
        Random random(seed);
        choices.clear();
        for (int i = 0; i < operation.times; ++i) {
            choices.push_back(operation.choose(tree, random));
        }
        take(operation.before);
    }

    double run()
    {
        if constexpr (std::is_same_v<Own, Python>) {
            own.time = 0;
            take(operation.measured);
            return own.time;
        }
        take(operation.measured);
        return 0;
    }

    QJsonValue outcome()
    {
        return own.outcome();
    }

private:
    void take(const Steps& steps)
    {
        if (steps.*step != nullptr) {
            for (const Choice& choice : choices) {
                (steps.*step)(own, choice);
            }
        }
    }

    const Tree& tree;
    const Operation& operation;
    Step<Own> Steps::*const step;
    Own own;
    std::vector<Choice> choices;
};

/// Adds a side to the job if the operation has a step for it. The side is constructed when it is first prepared.
template <typename Own>
void addSide(Job& job, const Tree& tree, const Operation& operation, Step<Own> Steps::*step)
{
    if (operation.measured.*step == nullptr) {
        return;
    }
    const auto runs = std::make_shared<std::unique_ptr<Runs<Own>>>();
    const auto prepare = [=, &tree, &operation](unsigned seed) {
        if (!*runs) {
            *runs = std::make_unique<Runs<Own>>(tree, operation, step);
        }
        (*runs)->prepare(seed);
    };
    job.sides.push_back({Own::name, prepare, [=] { return (*runs)->run(); }, [=] { return (*runs)->outcome(); }});
}

Job jobOf(const Operation& operation, const Tree& tree)
{
    const int units = operation.times > 1 ? operation.times : tree.size();
    Job job {operation.times, tree.size(), tree.shape.files, units, operation.isWaiting, {}};
    addSide(job, tree, operation, &Steps::library);
    addSide(job, tree, operation, &Steps::qt);
    addSide(job, tree, operation, &Steps::parsing);
    addSide(job, tree, operation, &Steps::unsynced);
    addSide(job, tree, operation, &Steps::system);
    addSide(job, tree, operation, &Steps::nlohmann);
    if (PythonPeer::isAvailable()) {
        addSide(job, tree, operation, &Steps::python);
    }
    return job;
}

// Leaves out a tree if its folder is not on a file system of that kind.
std::vector<const char*> treesForSyncing()
{
    std::vector<const char*> trees;
    if (isInMemory(quickFolder())) {
        trees.push_back("tmpfs");
    }
    if (!isInMemory(lastingFolder())) {
        trees.push_back("disk");
    }
    return trees;
}

std::vector<const char*> treesFor(const std::string& operation)
{
    if (operation == "sync") {
        return treesForSyncing();
    }
    if (operation == "sort") {
        return {"wide200", "wide1000", "wide5000", "wide20000", "colliding"};
    }
    if (operation == "move-node") {
        return {"100", "2000", "20000", "deep"};
    }
    std::vector<const char*> trees {"100", "2000", "20000", "deep", "wide200", "wide1000", "wide5000"};
    if (operation == "create") {
        trees.push_back("big");
    }
    return trees;
}

} // namespace

std::string Workload::name() const
{
    return operation + '/' + tree;
}

const std::vector<Workload>& workloads()
{
    static const std::vector<Workload> all = [] {
        std::vector<Workload> list;
        for (const Operation& operation : operations()) {
            for (const char* const tree : treesFor(operation.name)) {
                list.push_back({operation.name, tree,
                    [&operation, tree] { return jobOf(operation, treeOf(QString::fromLatin1(tree))); }});
            }
        }
        return list;
    }();
    return all;
}

const Workload& workloadOf(const std::string& name)
{
    for (const Workload& workload : workloads()) {
        if (workload.name() == name) {
            return workload;
        }
    }
    qFatal("there is no workload %s", name.c_str());
}
