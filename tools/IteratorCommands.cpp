#include "JsonDataIteratorConfigurationInstanceCollector.h"
#include "JsonDataIteratorConfigurationInstanceListUpdater.h"
#include "JsonInput.h"
#include "OpenManifest.h"
#include "Output.h"
#include "SystemInformationManagerRegistryDefinitions.h"
#include "substitute/JsonWalk.h"

#include <QtCore/QCommandLineParser>
#include <QtCore/QJsonArray>

namespace {

using Registry = SystemInformationManagerRegistryDefinitions;

// The accumulator of a walk over the whole manifest, which the iterator may edit.
QJsonArray walk(ConfigurationManifestHandler& handler, JsonDataIteratorObjectBase& iterator)
{
    QJsonValue manifest = handler.getManifestJsonArray();
    QJsonValue result;
    walkJson(manifest, iterator, result);
    handler.setManifestJsonArray(manifest.toArray());
    return result.toArray();
}

// Tells whether a walk meets an element of one instance name.
class InstanceSearch : public JsonDataIteratorObjectBase {
public:
    explicit InstanceSearch(const QString& instanceName)
        : name(instanceName)
    {
    }

    void compute(QJsonObject& object, QJsonValue& result) override
    {
        if (object.contains(Registry::getKeySelectionType()) && object.value(Registry::getKeyInstanceName()) == name) {
            result = true;
        }
    }

private:
    const QString name;
};

bool holdsInstance(QJsonValue value, const QString& instanceName)
{
    InstanceSearch search(instanceName);
    QJsonValue found;
    walkJson(value, search, found);
    return found.toBool();
}

ExitStatus instances(const QCommandLineParser& arguments)
{
    OpenManifest manifest(arguments);
    if (!manifest.load()) {
        return Failed;
    }
    JsonDataIteratorConfigurationInstanceCollector collector;
    const QJsonArray names = walk(manifest.handler(), collector);
    for (const QJsonValue& name : names) {
        print(printable(name.toString()));
    }
    return Done;
}

ExitStatus rewrite(const QCommandLineParser& arguments)
{
    const QStringList given = arguments.positionalArguments();
    const bool toAdd = arguments.isSet(QStringLiteral("add"));
    const bool toRemove = arguments.isSet(QStringLiteral("remove"));
    if (toAdd && toRemove) {
        complain(QStringLiteral("--add and --remove exclude each other"));
        return WrongUsage;
    }
    if (toRemove != (given.size() == 3)) {
        complain(toRemove ? QStringLiteral("--remove takes no VALUE") : QStringLiteral("VALUE is missing"));
        return WrongUsage;
    }

    OpenManifest manifest(arguments);
    QVariant value;
    if (!toRemove && !readValue(arguments, given.at(3), value)) {
        return WrongUsage;
    }
    if (!manifest.load()) {
        return Failed;
    }
    // The walk goes on into what was written, and could write it there again, for ever.
    if (holdsInstance(QJsonValue::fromVariant(value), given.at(1))) {
        complain(QLatin1String("VALUE holds an element '") % printable(given.at(1)) % QLatin1String("' itself"));
        return Failed;
    }
    JsonDataIteratorConfigurationInstanceListUpdater updater;
    updater.init(given.at(1), given.at(2), value);
    updater.setAddKey(toAdd);
    updater.setRemoveKey(toRemove);
    const int changed = walk(manifest.handler(), updater).size();
    if (changed == 0) {
        complain(QLatin1String("no element has the instance name '") % printable(given.at(1))
            % (toAdd ? QString() : QLatin1String("' and the key '") % printable(given.at(2))) % QLatin1Char('\''));
        return Failed;
    }
    return manifest.finish(arguments, QStringLiteral("%1 changed").arg(changed));
}

} // namespace

QList<Command> iteratorCommands()
{
    return {
        {QStringLiteral("instances"), QStringLiteral("FILE"),
            QStringLiteral("Print the instance names of all selections, at every level."), stampOptions(), instances},
        {QStringLiteral("rewrite"), QStringLiteral("FILE INSTANCE KEY [VALUE]"),
            QStringLiteral("Change one key in every element whose whole instance name is INSTANCE."),
            saveOptions() << jsonOption()
                          << QCommandLineOption(
                                 QStringLiteral("add"), QStringLiteral("Add the key where it is missing."))
                          << QCommandLineOption(QStringLiteral("remove"), QStringLiteral("Remove the key.")),
            rewrite},
    };
}
