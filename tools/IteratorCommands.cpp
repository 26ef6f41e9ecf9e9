#include "ElementOutput.h"
#include "JsonDataIteratorConfigurationInstanceCollector.h"
#include "JsonDataIteratorConfigurationInstanceListUpdater.h"
#include "JsonInput.h"
#include "OpenManifest.h"
#include "Output.h"
#include "SystemInformationManagerRegistryDefinitions.h"
#include "Tree.h"
#include "substitute/JsonWalk.h"

#include <QtCore/QCommandLineParser>
#include <QtCore/QJsonArray>

#include <algorithm>

namespace {

using Registry = SystemInformationManagerRegistryDefinitions;

// Walks over the whole manifest, which the iterator may edit. Returns the accumulator.
QJsonArray walk(ConfigurationManifestHandler& handler, JsonDataIteratorObjectBase& iterator)
{
    QJsonValue manifest = handler.getManifestJsonArray();
    QJsonValue result;
    walkJson(manifest, iterator, result);
    handler.setManifestJsonArray(manifest.toArray());
    return result.toArray();
}

// Collects the elements that have a given instance name during a walk.
class InstanceSearch : public JsonDataIteratorObjectBase {
public:
    explicit InstanceSearch(const QString& instanceName)
        : name(instanceName)
    {
    }

    void compute(QJsonObject& object, QJsonValue&) override
    {
        if (object.contains(Registry::getKeySelectionType()) && object.value(Registry::getKeyInstanceName()) == name) {
            found.append(object);
        }
    }

    const QVector<QJsonObject>& elements() const
    {
        return found;
    }

private:
    const QString name;
    QVector<QJsonObject> found;
};

QVector<QJsonObject> elementsNamed(const QString& instanceName, QJsonValue value)
{
    InstanceSearch search(instanceName);
    QJsonValue nothing;
    walkJson(value, search, nothing);
    return search.elements();
}

void appendSelections(const TreeElements& elements, QVector<const TreeElement*>& selections)
{
    for (const TreeElement& element : elements) {
        if (element.kind == TreeElement::Kind::Selection) {
            selections.append(&element);
        }
        appendSelections(element.children, selections);
    }
}

ExitStatus instances(const QCommandLineParser& arguments)
{
    OpenManifest manifest(arguments);
    if (const ExitStatus status = manifest.loadToRead()) {
        return status;
    }
    JsonDataIteratorConfigurationInstanceCollector collector;
    const QJsonArray names = walk(manifest.handler(), collector);
    const bool asJson = arguments.isSet(elementsAsJsonOption().name);
    if (!asJson && !arguments.isSet(pathsOption().name)) {
        for (const QJsonValue& name : names) {
            print(printable(name.toString()));
        }
        return Done;
    }
    const TreeElements tree = treeOf(manifest.handler().getManifestJsonArray());
    QVector<const TreeElement*> selections;
    appendSelections(tree, selections);
    QJsonArray results;
    QStringList elsewhere = QVariant(names.toVariantList()).toStringList();
    for (const TreeElement* selection : qAsConst(selections)) {
        elsewhere.removeOne(selection->name);
        results.append(toJson(*selection));
    }
    // The walk also finds selections in members that do not belong to the structure; they have no path.
    for (const QString& name : qAsConst(elsewhere)) {
        results.append(QJsonObject {{QStringLiteral("name"), name}, {QStringLiteral("path"), QJsonValue()}});
    }
    if (asJson) {
        printResult(results);
        return Done;
    }
    for (const TreeElement* selection : qAsConst(selections)) {
        print(printable(selection->name) % QLatin1Char('\t') % pathColumn(*selection));
    }
    for (const QString& name : qAsConst(elsewhere)) {
        print(printable(name) % QLatin1String("\tunreachable\toutside of the tree"));
    }
    return Done;
}

// Whether a value may be stored in all elements that a rewrite reaches. If not, prints the reason.
bool isAccepted(OpenManifest& manifest, const QString& instance, const QString& key, const QJsonValue& value)
{
    const QVector<QJsonObject> elements = elementsNamed(instance, manifest.handler().getManifestJsonArray());
    return std::all_of(elements.begin(), elements.end(),
        [&](const QJsonObject& element) { return manifest.accepts(key, element.value(key), value); });
}

ExitStatus rewrite(const QCommandLineParser& arguments)
{
    const QStringList given = arguments.positionalArguments();
    const QString& instance = given.at(1);
    const bool toAdd = arguments.isSet(QStringLiteral("add"));
    const bool toRemove = arguments.isSet(QStringLiteral("remove"));
    if (toAdd && toRemove) {
        complain(QStringLiteral("--add and --remove exclude each other"));
        return Trouble;
    }
    if (toRemove != (given.size() == 3)) {
        complain(toRemove ? QStringLiteral("--remove takes no VALUE") : QStringLiteral("VALUE is missing"));
        return Trouble;
    }

    OpenManifest manifest(arguments);
    QVariant value;
    if (!toRemove && !readValue(arguments, given.at(3), value)) {
        return Trouble;
    }
    // The walk continues into the written value. If that contains such an element, it would be written there again,
    // endlessly.
    if (!elementsNamed(instance, QJsonValue::fromVariant(value)).isEmpty()) {
        complain(QLatin1String("VALUE itself contains an element '") % printable(instance) % QLatin1Char('\''));
        return Trouble;
    }
    if (const ExitStatus status = manifest.loadToEdit()) {
        return status;
    }
    if (!toRemove && !isAccepted(manifest, instance, given.at(2), QJsonValue::fromVariant(value))) {
        return NotDone;
    }
    manifest.expectChangeOfInstances(instance);
    JsonDataIteratorConfigurationInstanceListUpdater updater;
    updater.init(instance, given.at(2), value);
    updater.setAddKey(toAdd);
    updater.setRemoveKey(toRemove);
    const int changed = walk(manifest.handler(), updater).size();
    if (changed == 0) {
        complain(QLatin1String("no element has the instance name '") % printable(instance)
            % (toAdd ? QString() : QLatin1String("' and the key '") % printable(given.at(2))) % QLatin1Char('\''));
        return NotDone;
    }
    return manifest.finish(QStringLiteral("%1 changed").arg(changed));
}

} // namespace

QVector<Command> instancesCommands()
{
    return {
        {QStringLiteral("instances"), QStringLiteral("FILE"),
            QStringLiteral("Print the instance names of all selections, at every level."),
            stampOptions() + Options {pathsOption(), elementsAsJsonOption()}, queryExits(), instances},
    };
}

QVector<Command> rewriteCommands()
{
    const Option add {QStringLiteral("add"), {}, QStringLiteral("Add the key to elements that lack it."), {}};
    const Option remove {QStringLiteral("remove"), {}, QStringLiteral("Remove the key."), {}};
    return {
        {QStringLiteral("rewrite"), QStringLiteral("FILE INSTANCE KEY [VALUE]"),
            QStringLiteral("Change one key in every element whose entire instance name is INSTANCE."),
            saveOptions() + Options {jsonOption(), add, remove}, editExits(), rewrite},
    };
}
