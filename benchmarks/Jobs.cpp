#include "Jobs.h"

#include "ConfigurationManifestCreator.h"
#include "ConfigurationManifestHandler.h"
#include "ConfigurationStructureElement.h"
#include "JsonDataIteratorConfigurationInstanceCollector.h"
#include "JsonDataIteratorConfigurationInstanceListUpdater.h"
#include "NlohmannPeer.h"
#include "PythonPeer.h"
#include "QtFloor.h"
#include "SystemFloor.h"
#include "Trees.h"
#include "substitute/JsonWalk.h"

#include <QtCore/QFile>
#include <QtCore/QJsonArray>
#include <QtCore/QJsonDocument>
#include <QtCore/QJsonObject>
#include <QtCore/QStringBuilder>

#include <memory>
#include <optional>

namespace {

using NlohmannPeer::Json;

const QString moduleName = QStringLiteral("Drives");
const QString objectName = QStringLiteral("drive1");
const QString key = QStringLiteral("labelTextId");

const QJsonObject newDescription {{QStringLiteral("connectorId"), 3},
    {QStringLiteral("dataModel"), QStringLiteral("network.address")}, {QStringLiteral("displayPosition"), 2},
    {QStringLiteral("hide"), false}, {QStringLiteral("iconName"), QStringLiteral("address")},
    {QStringLiteral("labelTextId"), QStringLiteral("TXT_ADDRESS")},
    {QStringLiteral("lastModified"), QStringLiteral("2024-05-17T08:30:00Z")},
    {QStringLiteral("selectorTypeList"), QJsonArray {QStringLiteral("Parameter"), QStringLiteral("Value")}}};

QJsonArray parsed(const QByteArray& content)
{
    return QJsonDocument::fromJson(content).array();
}

QJsonArray contentOf(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? parsed(file.readAll()) : QJsonArray();
}

// What every kind of side holds: the manifest and what its operations work on. Each has a file of its own.

struct Files {
    Files(const Tree& tree, const char* name)
        : folder(tree.folder())
        , created(tree.manifestPath())
        , path(created % QLatin1Char('.') % QLatin1String(name))
    {
        QFile::remove(path);
        QFile::copy(created, path);
    }

    QJsonArray outcome(const QJsonArray& manifest) const
    {
        return {manifest, contentOf(path), contentOf(created)};
    }

    QString folder;
    QString created;
    QString path;
};

/// A side made of Qt, by the library or plain.
struct WithQt : Files {
    using Files::Files;

    QJsonValue outcome(const QJsonArray& manifest) const
    {
        return doesAll ? QJsonArray {Files::outcome(manifest), element, QJsonArray::fromStringList(names), walked}
                       : QJsonValue(QJsonValue::Undefined);
    }

    QJsonObject element;
    QStringList names;
    QJsonValue walked;
    QJsonValue gathered;
    bool doesAll = true;
};

struct Library : WithQt {
    static constexpr auto name = "library";

    explicit Library(const Tree& tree)
        : WithQt(tree, name)
    {
        handler.emplace(path, QString(), QString());
        handler->parseManifestFile();
    }

    QJsonValue outcome()
    {
        return WithQt::outcome(handler->getManifestJsonArray());
    }

    std::optional<ConfigurationManifestHandler> handler;
};

struct PlainQt : WithQt {
    static constexpr auto name = "qt";

    explicit PlainQt(const Tree& tree)
        : WithQt(tree, name)
        , manifest(parsed(tree.manifest()))
    {
    }

    QJsonValue outcome()
    {
        return WithQt::outcome(manifest);
    }

    QJsonArray manifest;
    int walkedBefore = 0;
};

struct System : Files {
    static constexpr auto name = "system";

    explicit System(const Tree& tree)
        : Files(tree, name)
        , content(tree.manifest().toStdString())
    {
    }

    QJsonValue outcome()
    {
        return QJsonValue::Undefined;
    }

    std::string content;
};

// The others do nothing that leaves an element or names.

struct Nlohmann : Files {
    static constexpr auto name = "nlohmann";

    explicit Nlohmann(const Tree& tree)
        : Files(tree, name)
        , manifest(NlohmannPeer::load(tree.manifestPath().toStdString(), {}, {}))
    {
    }

    QJsonValue outcome()
    {
        const QJsonArray array = parsed(QByteArray::fromStdString(manifest.dump()));
        return QJsonArray {Files::outcome(array), QJsonObject(), QJsonArray(), QJsonValue()};
    }

    Json manifest;
};

struct Python : Files {
    static constexpr auto name = "python";

    explicit Python(const Tree& tree)
        : Files(tree, name)
    {
        peer.run({QStringLiteral("load"), path, QString(), QString()});
    }

    void run(const QStringList& command)
    {
        time = peer.run(command);
    }

    QJsonValue outcome()
    {
        const QString now = path % QLatin1String(".now");
        peer.run({QStringLiteral("save"), now});
        return QJsonArray {Files::outcome(contentOf(now)), QJsonObject(), QJsonArray(), QJsonValue()};
    }

    PythonPeer peer;
    double time = 0;
};

/// What the random choices of one operation come to.
struct Choice {
    QString path;
    int index = 0;
    QString text = {};
    QStringList names = {};
    QJsonObject element = {};
};

const QString& oneOf(const QStringList& list, Random& random)
{
    return list.at(below(random, list.size()));
}

Choice nothing(const Tree&, Random&)
{
    return {};
}

Choice anySelection(const Tree& tree, Random& random)
{
    const QString& path = oneOf(tree.selections, random);
    const int index = below(random, tree.shape.files);
    return {path, index, QString::number(random())};
}

Choice anyNode(const Tree& tree, Random& random)
{
    return {oneOf(tree.nodes, random)};
}

Choice newSelection(const Tree& tree, Random& random)
{
    const QString& node = oneOf(tree.nodes, random);
    const int index = below(random, tree.shape.files);
    const QString path = node % QLatin1String("/new") % QString::number(random());
    return {path, index, {}, {}, ConfigurationStructureElement(newDescription, path, false).getElementAsJsonObject()};
}

/// Of what is in the only folder.
Choice newOrder(const Tree& tree, Random& random)
{
    const QString& node = tree.nodes.constFirst();
    QStringList names;
    for (const QString& path : tree.selections) {
        names << path.mid(node.size() + 1);
    }
    for (int i = names.size() - 1; i > 0; --i) {
        names.swapItemsAt(i, below(random, i + 1));
    }
    return {node, 0, {}, names};
}

template <typename Own>
using Step = void (*)(Own& own, const Choice& choice);

/// A step as each kind of side takes it; none where there is nothing to compare with.
struct Steps {
    Step<Library> library = nullptr;
    Step<PlainQt> qt = nullptr;
    Step<System> system = nullptr;
    Step<Nlohmann> nlohmann = nullptr;
    Step<Python> python = nullptr;
};

struct Operation {
    const char* name;
    int times;
    Choice (*choose)(const Tree& tree, Random& random);
    Steps measured;
    // What leads there and back.
    Steps before = {};
    Steps after = {};
};

const Json& newJsonDescription()
{
    static const Json description = Json::parse(QJsonDocument(newDescription).toJson().toStdString());
    return description;
}

Steps adding()
{
    Steps steps;
    steps.library = [](Library& own, const Choice& choice) {
        own.handler->addSelection(choice.path, newDescription, choice.index, false);
    };
    steps.qt = [](PlainQt& own, const Choice& choice) {
        QtFloor::add(own.manifest, choice.path, choice.element, choice.index);
    };
    steps.nlohmann = [](Nlohmann& own, const Choice& choice) {
        NlohmannPeer::add(own.manifest, choice.path.toStdString(), newJsonDescription(), choice.index);
    };
    return steps;
}

Steps deleting()
{
    Steps steps;
    steps.library = [](Library& own, const Choice& choice) { own.handler->deleteElement(choice.path, false); };
    steps.qt = [](PlainQt& own, const Choice& choice) { QtFloor::remove(own.manifest, choice.path); };
    steps.nlohmann = [](Nlohmann& own, const Choice& choice) {
        NlohmannPeer::remove(own.manifest, choice.path.toStdString());
    };
    return steps;
}

Steps setting()
{
    Steps steps;
    steps.library = [](Library& own, const Choice& choice) {
        own.handler->setProperty(choice.path, key, choice.text, false);
    };
    steps.qt = [](PlainQt& own, const Choice& choice) { QtFloor::set(own.manifest, choice.path, key, choice.text); };
    steps.nlohmann = [](Nlohmann& own, const Choice& choice) {
        NlohmannPeer::set(own.manifest, choice.path.toStdString(), key.toStdString(), choice.text.toStdString());
    };
    return steps;
}

Steps moving()
{
    Steps steps;
    steps.library = [](Library& own, const Choice& choice) {
        own.handler->moveSelection(choice.path, choice.index, false);
    };
    steps.qt = [](PlainQt& own, const Choice& choice) { QtFloor::move(own.manifest, choice.path, choice.index); };
    steps.nlohmann = [](Nlohmann& own, const Choice& choice) {
        NlohmannPeer::move(own.manifest, choice.path.toStdString(), choice.index);
    };
    return steps;
}

Steps sorting()
{
    Steps steps;
    steps.library = [](Library& own, const Choice& choice) {
        own.handler->sortElements(choice.path, choice.names, false);
    };
    steps.qt = [](PlainQt& own, const Choice& choice) { QtFloor::sort(own.manifest, choice.path, choice.names); };
    return steps;
}

Steps getting()
{
    Steps steps;
    steps.library = [](Library& own, const Choice& choice) { own.handler->getNodeElement(choice.path, own.element); };
    steps.qt = [](PlainQt& own, const Choice& choice) { own.element = QtFloor::element(own.manifest, choice.path); };
    return steps;
}

Steps listing()
{
    Steps steps;
    steps.library = [](Library& own, const Choice& choice) {
        own.names.clear();
        own.handler->getListOfInstances(choice.path, own.names);
    };
    steps.qt = [](PlainQt& own, const Choice& choice) { own.names = QtFloor::instances(own.manifest, choice.path); };
    return steps;
}

Steps creating()
{
    Steps steps;
    steps.library = [](Library& own, const Choice&) {
        ConfigurationManifestCreator().create2(own.folder, QStringLiteral("configuration"));
    };
    steps.qt = [](PlainQt& own, const Choice&) { QtFloor::create(own.folder); };
    steps.system = [](System& own, const Choice&) {
        SystemFloor::scan(own.folder.toStdString());
        SystemFloor::save(own.content, own.created.toStdString());
    };
    steps.nlohmann = [](Nlohmann& own, const Choice&) { NlohmannPeer::create(own.folder.toStdString()); };
    steps.python = [](Python& own, const Choice&) { own.run({QStringLiteral("create"), own.folder}); };
    return steps;
}

Steps loading()
{
    Steps steps;
    steps.library = [](Library& own, const Choice&) { own.handler->parseManifestFile(); };
    steps.qt = [](PlainQt& own, const Choice&) { own.manifest = QtFloor::load(own.path); };
    steps.system = [](System& own, const Choice&) { SystemFloor::load(own.path.toStdString()); };
    steps.nlohmann = [](Nlohmann& own, const Choice&) {
        own.manifest = NlohmannPeer::load(own.path.toStdString(), moduleName.toStdString(), objectName.toStdString());
    };
    steps.python = [](Python& own, const Choice&) {
        own.run({QStringLiteral("load"), own.path, moduleName, objectName});
    };
    return steps;
}

/// Freeing what the previous load has made belongs to none.
Steps unloading()
{
    Steps steps;
    steps.library = [](Library& own, const Choice&) { own.handler.emplace(own.path, moduleName, objectName); };
    steps.qt = [](PlainQt& own, const Choice&) {
        own.manifest = QJsonArray();
        own.doesAll = false;
    };
    steps.nlohmann = [](Nlohmann& own, const Choice&) { own.manifest = nullptr; };
    return steps;
}

Steps saving()
{
    Steps steps;
    steps.library = [](Library& own, const Choice&) { own.handler->writeToManifestFile(); };
    steps.qt = [](PlainQt& own, const Choice&) { QtFloor::save(own.manifest, own.path); };
    steps.system = [](System& own, const Choice&) { SystemFloor::save(own.content, own.path.toStdString()); };
    steps.nlohmann = [](Nlohmann& own, const Choice&) { NlohmannPeer::save(own.manifest, own.path.toStdString()); };
    steps.python = [](Python& own, const Choice&) { own.run({QStringLiteral("save"), own.path}); };
    return steps;
}

/// So that a save has something new to save.
Steps settingBefore()
{
    Steps steps = setting();
    steps.python = [](Python& own, const Choice& choice) {
        own.run({QStringLiteral("set_and_save"), own.path, choice.path, key, choice.text});
    };
    return steps;
}

Steps settingAndSaving()
{
    Steps steps;
    steps.library = [](Library& own, const Choice& choice) {
        own.handler->setProperty(choice.path, key, choice.text, true);
    };
    steps.qt = [](PlainQt& own, const Choice& choice) {
        setting().qt(own, choice);
        saving().qt(own, choice);
    };
    steps.system = saving().system;
    steps.nlohmann = [](Nlohmann& own, const Choice& choice) {
        setting().nlohmann(own, choice);
        saving().nlohmann(own, choice);
    };
    steps.python = settingBefore().python;
    return steps;
}

/// Replaces what one of the objects of a walk has under a key, when the walk is to change anything, and looks at none.
class BareIterator : public JsonDataIteratorObjectBase {
public:
    explicit BareIterator(int changedObject = -1)
        : changed(changedObject)
    {
    }

    void compute(QJsonObject& object, QJsonValue&) override
    {
        if (visited++ == changed) {
            object.insert(key, QStringLiteral("changed"));
        }
    }

private:
    int changed;
    int visited = 0;
};

/// Counts the objects of a walk before the one of a name.
class Counter : public JsonDataIteratorObjectBase {
public:
    explicit Counter(const QString& instanceName)
        : wanted(instanceName)
    {
    }

    void compute(QJsonObject& object, QJsonValue&) override
    {
        found = found || object.value(QLatin1String("instanceName")) == wanted;
        number += found ? 0 : 1;
    }

    int number = 0;

private:
    QString wanted;
    bool found = false;
};

Steps collecting()
{
    Steps steps;
    steps.library = [](Library& own, const Choice&) {
        JsonDataIteratorConfigurationInstanceCollector collector;
        walkJson(own.walked, collector, own.gathered);
    };
    steps.qt = [](PlainQt& own, const Choice&) {
        BareIterator iterator;
        walkJson(own.walked, iterator, own.gathered);
    };
    return steps;
}

Steps updating()
{
    Steps steps;
    steps.library = [](Library& own, const Choice& choice) {
        JsonDataIteratorConfigurationInstanceListUpdater updater;
        updater.init(choice.path, key, QStringLiteral("changed"));
        walkJson(own.walked, updater, own.gathered);
    };
    steps.qt = [](PlainQt& own, const Choice&) {
        BareIterator iterator(own.walkedBefore);
        walkJson(own.walked, iterator, own.gathered);
    };
    return steps;
}

Steps startingWalk()
{
    Steps steps;
    steps.library = [](Library& own, const Choice&) {
        own.walked = own.handler->getManifestJsonArray();
        own.gathered = QJsonValue();
    };
    steps.qt = [](PlainQt& own, const Choice& choice) {
        own.walked = own.manifest;
        own.gathered = QJsonValue();
        Counter counter(choice.path);
        walkJson(own.walked, counter, own.gathered);
        own.walkedBefore = counter.number;
    };
    return steps;
}

constexpr int batch = 32;

const std::vector<Operation>& operations()
{
    static const std::vector<Operation> all {
        {"create", 1, nothing, creating()},
        {"load", 1, nothing, loading(), unloading()},
        {"save", 1, anySelection, saving(), settingBefore()},
        {"set-and-save", 1, anySelection, settingAndSaving()},
        {"get", batch, anySelection, getting()},
        {"list", batch, anyNode, listing()},
        {"set", batch, anySelection, setting()},
        {"add", batch, newSelection, adding(), {}, deleting()},
        {"delete", batch, newSelection, deleting(), adding()},
        {"move", batch, anySelection, moving()},
        {"sort", 1, newOrder, sorting()},
        {"collect", 1, nothing, collecting(), startingWalk()},
        {"update", 1, anySelection, updating(), startingWalk()},
    };
    return all;
}

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

    void prepare()
    {
        take(operation.after);
        choices.clear();
        for (int i = 0; i < operation.times; ++i) {
            choices.push_back(operation.choose(tree, random));
        }
        take(operation.before);
    }

    double run()
    {
        take(operation.measured);
        if constexpr (std::is_same_v<Own, Python>) {
            return own.time;
        }
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
    Random random {2};
    std::vector<Choice> choices;
};

/// A side makes what it holds when it is prepared first.
template <typename Own>
void addSide(Job& job, const Tree& tree, const Operation& operation, Step<Own> Steps::*step)
{
    if (operation.measured.*step == nullptr) {
        return;
    }
    const auto runs = std::make_shared<std::unique_ptr<Runs<Own>>>();
    const auto prepare = [=, &tree, &operation] {
        if (!*runs) {
            *runs = std::make_unique<Runs<Own>>(tree, operation, step);
        }
        (*runs)->prepare();
    };
    job.sides.push_back({Own::name, prepare, [=] { return (*runs)->run(); }, [=] { return (*runs)->outcome(); }});
}

Job jobOf(const Operation& operation, const Tree& tree)
{
    const int units = operation.times > 1 ? operation.times : tree.size();
    Job job {operation.times, tree.size(), tree.shape.files, units, {}};
    addSide(job, tree, operation, &Steps::library);
    addSide(job, tree, operation, &Steps::qt);
    addSide(job, tree, operation, &Steps::system);
    addSide(job, tree, operation, &Steps::nlohmann);
    addSide(job, tree, operation, &Steps::python);
    return job;
}

std::vector<const char*> treesFor(const std::string& operation)
{
    std::vector<const char*> trees {"wide200", "wide1000", "wide5000"};
    if (operation != "sort") {
        trees.insert(trees.begin(), {"100", "2000", "20000", "deep"});
    }
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
    qFatal("there is no %s", name.c_str());
}
