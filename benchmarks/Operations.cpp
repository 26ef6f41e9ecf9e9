#include "Operations.h"

#include "ConfigurationManifestCreator.h"
#include "JsonDataIteratorConfigurationInstanceCollector.h"
#include "JsonDataIteratorConfigurationInstanceListUpdater.h"
#include "QtFloor.h"
#include "SystemFloor.h"
#include "substitute/JsonWalk.h"

#include <QtCore/QJsonDocument>
#include <QtCore/QStringBuilder>

namespace {

using NlohmannPeer::Json;

const QString moduleName = QStringLiteral("Drives");
const QString objectName = QStringLiteral("drive1");
const QString label = QStringLiteral("labelTextId");

const QJsonObject newDescription {{QStringLiteral("connectorId"), 3},
    {QStringLiteral("dataModel"), QStringLiteral("network.address")}, {QStringLiteral("displayPosition"), 2},
    {QStringLiteral("hide"), false}, {QStringLiteral("iconName"), QStringLiteral("address")},
    {QStringLiteral("labelTextId"), QStringLiteral("TXT_ADDRESS")},
    {QStringLiteral("lastModified"), QStringLiteral("2024-05-17T08:30:00Z")},
    {QStringLiteral("selectorTypeList"), QJsonArray {QStringLiteral("Parameter"), QStringLiteral("Value")}}};

const Json& newJsonDescription()
{
    static const Json description = Json::parse(QJsonDocument(newDescription).toJson().toStdString());
    return description;
}

const QString& oneOf(const QStringList& list, Random& random)
{
    return list.at(below(random, list.size()));
}

Choice nothing(const Tree&, Random&)
{
    return {};
}

Choice anyNodePlace(const Tree& tree, Random& random)
{
    const QString& path = oneOf(tree.nodes, random);
    // The top level contains only nodes.
    return {path, below(random, qMin(tree.shape.branches, tree.shape.folders))};
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
    return {node % QLatin1String("/new") % QString::number(random()), index};
}

/// Chooses a random order of the selections in the only folder of a wide tree.
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
    Choice choice {node};
    choice.names = names;
    for (const QString& name : names) {
        choice.standardNames.push_back(name.toStdString());
    }
    return choice;
}

/// Removes the manifest, so that every creation makes a new file.
Steps removing()
{
    Steps steps;
    steps.library = [](Library& own, const Choice&) { QFile::remove(own.created); };
    steps.qt = [](PlainQt& own, const Choice&) { QFile::remove(own.created); };
    steps.system = [](System& own, const Choice&) { QFile::remove(own.created); };
    steps.nlohmann = [](Nlohmann& own, const Choice&) { QFile::remove(own.created); };
    steps.python = [](Python& own, const Choice&) { QFile::remove(own.created); };
    return steps;
}

Steps creating()
{
    Steps steps;
    steps.library = [](Library& own, const Choice&) {
        ConfigurationManifestCreator().create2(own.folder, QStringLiteral("configuration"));
    };
    steps.qt = [](PlainQt& own, const Choice&) { QtFloor::create(own.folder); };
    steps.parsing = [](Parsing& own, const Choice&) { QtFloor::parseAll(own.folder); };
    steps.system = [](System& own, const Choice&) {
        SystemFloor::scan(own.folder.toStdString());
        SystemFloor::save(own.content, own.created.toStdString());
    };
    steps.nlohmann = [](Nlohmann& own, const Choice&) { NlohmannPeer::create(own.folder.toStdString()); };
    steps.python = [](Python& own, const Choice&) { own.run({QStringLiteral("create"), own.folder}); };
    return steps;
}

/// Releases the loaded manifest, so that the next load does not include the time to free it.
Steps unloading()
{
    Steps steps;
    steps.library = [](Library& own, const Choice&) { own.handler.emplace(own.path, moduleName, objectName); };
    steps.qt = [](PlainQt& own, const Choice&) { own.manifest = QJsonArray(); };
    steps.parsing = [](Parsing& own, const Choice&) { own.manifest = QJsonArray(); };
    steps.nlohmann = [](Nlohmann& own, const Choice&) { own.manifest = nullptr; };
    steps.python = [](Python& own, const Choice&) { own.run({QStringLiteral("unload")}); };
    return steps;
}

Steps loading()
{
    Steps steps;
    steps.library = [](Library& own, const Choice&) { own.handler->parseManifestFile(); };
    steps.qt = [](PlainQt& own, const Choice&) { own.manifest = QtFloor::load(own.path, moduleName, objectName); };
    steps.parsing = [](Parsing& own, const Choice&) { own.manifest = QtFloor::parse(own.path); };
    steps.system = [](System& own, const Choice&) { SystemFloor::load(own.path.toStdString()); };
    steps.nlohmann = [](Nlohmann& own, const Choice&) {
        own.manifest = NlohmannPeer::load(own.path.toStdString(), moduleName.toStdString(), objectName.toStdString());
    };
    steps.python = [](Python& own, const Choice&) {
        own.run({QStringLiteral("load"), own.path, moduleName, objectName});
    };
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

/// Shows what waiting for the disk adds to a save. The other sides would only repeat the times of their saves.
Steps syncing()
{
    Steps steps;
    steps.library = saving().library;
    steps.qt = saving().qt;
    steps.unsynced = [](Unsynced& own, const Choice&) { QtFloor::saveUnsynced(own.manifest, own.path); };
    return steps;
}

Steps getting()
{
    Steps steps;
    steps.library = [](Library& own, const Choice& choice) {
        QJsonObject element;
        own.handler->getNodeElement(choice.path, element);
        own.result = element;
    };
    steps.qt = [](PlainQt& own, const Choice& choice) { own.result = QtFloor::element(own.manifest, choice.path); };
    steps.nlohmann = [](Nlohmann& own, const Choice& choice) {
        own.result = NlohmannPeer::element(own.manifest, choice.path.toStdString());
    };
    steps.python = [](Python& own, const Choice& choice) { own.run({QStringLiteral("get"), choice.path}); };
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
    steps.nlohmann = [](Nlohmann& own, const Choice& choice) {
        own.result = NlohmannPeer::instances(own.manifest, choice.path.toStdString());
    };
    steps.python = [](Python& own, const Choice& choice) { own.run({QStringLiteral("names"), choice.path}); };
    return steps;
}

/// Sets a number or a string. Replacing a string takes longer, because the object is rebuilt.
template <bool isNumber>
Steps setting()
{
    static const QString key = isNumber ? QStringLiteral("connectorId") : label;
    Steps steps;
    steps.library = [](Library& own, const Choice& choice) {
        own.handler->setProperty(choice.path, key, isNumber ? QVariant(choice.index) : choice.text, false);
    };
    steps.qt = [](PlainQt& own, const Choice& choice) {
        QtFloor::set(own.manifest, choice.path, key, isNumber ? QJsonValue(choice.index) : choice.text);
    };
    steps.nlohmann = [](Nlohmann& own, const Choice& choice) {
        const Json value = isNumber ? Json(choice.index) : Json(choice.text.toStdString());
        NlohmannPeer::set(own.manifest, choice.path.toStdString(), key.toStdString(), value);
    };
    steps.python = [](Python& own, const Choice& choice) {
        own.run({QStringLiteral("set_value"), choice.path, key, isNumber ? QJsonValue(choice.index) : choice.text});
    };
    return steps;
}

Steps settingAndSaving()
{
    Steps steps;
    steps.library = [](Library& own, const Choice& choice) {
        own.handler->setProperty(choice.path, label, choice.text, true);
    };
    steps.qt = [](PlainQt& own, const Choice& choice) {
        setting<false>().qt(own, choice);
        saving().qt(own, choice);
    };
    steps.system = saving().system;
    steps.nlohmann = [](Nlohmann& own, const Choice& choice) {
        setting<false>().nlohmann(own, choice);
        saving().nlohmann(own, choice);
    };
    steps.python = [](Python& own, const Choice& choice) {
        setting<false>().python(own, choice);
        saving().python(own, choice);
    };
    return steps;
}

Steps adding()
{
    Steps steps;
    steps.library = [](Library& own, const Choice& choice) {
        own.handler->addSelection(choice.path, newDescription, choice.index, false);
    };
    steps.qt = [](PlainQt& own, const Choice& choice) {
        QtFloor::add(own.manifest, choice.path, newDescription, choice.index);
    };
    steps.nlohmann = [](Nlohmann& own, const Choice& choice) {
        NlohmannPeer::add(own.manifest, choice.path.toStdString(), newJsonDescription(), choice.index);
    };
    steps.python = [](Python& own, const Choice& choice) {
        own.run({QStringLiteral("add"), choice.path, newDescription, choice.index});
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
    steps.python = [](Python& own, const Choice& choice) { own.run({QStringLiteral("delete"), choice.path}); };
    return steps;
}

template <bool isNode>
Steps moving()
{
    Steps steps;
    steps.library = [](Library& own, const Choice& choice) {
        constexpr auto move =
            isNode ? &ConfigurationManifestHandler::moveNode : &ConfigurationManifestHandler::moveSelection;
        (*own.handler.*move)(choice.path, choice.index, false);
    };
    steps.qt = [](PlainQt& own, const Choice& choice) {
        constexpr auto move = isNode ? QtFloor::moveNode : QtFloor::move;
        move(own.manifest, choice.path, choice.index);
    };
    steps.nlohmann = [](Nlohmann& own, const Choice& choice) {
        NlohmannPeer::move(own.manifest, choice.path.toStdString(), choice.index);
    };
    steps.python = [](Python& own, const Choice& choice) {
        own.run({QStringLiteral("move"), choice.path, choice.index});
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
    steps.nlohmann = [](Nlohmann& own, const Choice& choice) {
        NlohmannPeer::sort(own.manifest, choice.path.toStdString(), choice.standardNames);
    };
    steps.python = [](Python& own, const Choice& choice) {
        own.run({QStringLiteral("sort"), choice.path, QJsonArray::fromStringList(choice.names)});
    };
    return steps;
}

/// Copies the manifest and releases the result of the previous walk, which are not part of a walk.
Steps startingWalk()
{
    Steps steps;
    steps.library = [](Library& own, const Choice&) {
        own.walked = own.handler->getManifestJsonArray();
        own.result = QJsonValue();
    };
    steps.qt = [](PlainQt& own, const Choice&) {
        own.walked = own.manifest;
        own.result = QJsonValue();
    };
    steps.nlohmann = [](Nlohmann& own, const Choice&) { own.result = nullptr; };
    return steps;
}

Steps collecting()
{
    Steps steps;
    steps.library = [](Library& own, const Choice&) {
        JsonDataIteratorConfigurationInstanceCollector collector;
        walkJson(own.walked, collector, own.result);
    };
    steps.qt = [](PlainQt& own, const Choice&) { own.result = QtFloor::collect(own.walked); };
    steps.nlohmann = [](Nlohmann& own, const Choice&) { own.result = NlohmannPeer::collect(own.manifest); };
    steps.python = [](Python& own, const Choice&) { own.run({QStringLiteral("collect")}); };
    return steps;
}

Steps updating()
{
    Steps steps;
    steps.library = [](Library& own, const Choice& choice) {
        JsonDataIteratorConfigurationInstanceListUpdater updater;
        updater.init(choice.path, label, choice.text);
        walkJson(own.walked, updater, own.result);
    };
    steps.qt = [](PlainQt& own, const Choice& choice) {
        own.result = QtFloor::update(own.walked, choice.path, label, choice.text);
    };
    steps.nlohmann = [](Nlohmann& own, const Choice& choice) {
        own.result = NlohmannPeer::update(
            own.manifest, choice.path.toStdString(), label.toStdString(), choice.text.toStdString());
    };
    steps.python = [](Python& own, const Choice& choice) {
        own.run({QStringLiteral("update"), choice.path, label, choice.text});
    };
    return steps;
}

constexpr int batch = 32;

} // namespace

const std::vector<Operation>& operations()
{
    static const std::vector<Operation> all {
        {"create", 1, nothing, creating(), removing()},
        {"load", 1, nothing, loading(), unloading()},
        {"save", 1, anySelection, saving(), setting<false>()},
        {"set-and-save", 1, anySelection, settingAndSaving()},
        {"sync", 1, nothing, syncing(), {}, {}, true},
        {"get", batch, anySelection, getting()},
        {"list", batch, anyNode, listing()},
        {"set", batch, anySelection, setting<true>()},
        {"set-text", batch, anySelection, setting<false>()},
        {"add", batch, newSelection, adding(), {}, deleting()},
        {"delete", batch, newSelection, deleting(), adding()},
        {"move", batch, anySelection, moving<false>()},
        {"move-node", batch, anyNodePlace, moving<true>()},
        {"sort", 1, newOrder, sorting()},
        {"collect", 1, nothing, collecting(), startingWalk()},
        {"update", 1, anySelection, updating(), startingWalk()},
    };
    return all;
}
