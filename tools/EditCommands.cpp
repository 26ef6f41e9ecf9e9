#include "JsonInput.h"
#include "OpenManifest.h"
#include "Output.h"

#include <QtCore/QCommandLineParser>
#include <QtCore/QJsonObject>

namespace {

QString quoted(const QString& text)
{
    return QLatin1Char('\'') % printable(text) % QLatin1Char('\'');
}

// The end of an edit. One that did not apply failed because `path` leads nowhere, or else for the reason given.
ExitStatus finish(const QCommandLineParser& arguments, OpenManifest& manifest, bool applied, const QString& path,
    const QString& otherReason = QStringLiteral("the edit does not apply"))
{
    if (applied) {
        const bool stamped = arguments.isSet(QStringLiteral("module")) || arguments.isSet(QStringLiteral("object"));
        const bool changed = stamped || manifest.handler().getModified();
        return manifest.finish(arguments, changed ? QStringLiteral("changed") : QStringLiteral("unchanged"));
    }
    if (manifest.leadsSomewhere(path, Qt::KeepEmptyParts)) {
        complain(otherReason);
    }
    return Failed;
}

using ValueOperation = bool (ConfigurationManifestHandler::*)(const QString&, const QString&, const QVariant&, bool);

template <ValueOperation setValue>
ExitStatus setValueOf(const QCommandLineParser& arguments)
{
    const QStringList given = arguments.positionalArguments();
    OpenManifest manifest(arguments);
    QVariant value;
    if (!readValue(arguments, given.at(3), value)) {
        return WrongUsage;
    }
    if (!manifest.load()) {
        return Failed;
    }
    const bool applied = (manifest.handler().*setValue)(given.at(1), given.at(2), value, false);
    // Found all the same, so what is missing is the key.
    const auto leaveIt = [](QJsonObject&, bool&) { return true; };
    if (!applied && manifest.handler().modifyPropertyFirst(given.at(1), leaveIt, false)) {
        complain(quoted(given.at(1)) % QLatin1String(" has no key ") % quoted(given.at(2)));
        return Failed;
    }
    return finish(arguments, manifest, applied, given.at(1));
}

ExitStatus unset(const QCommandLineParser& arguments)
{
    const QStringList given = arguments.positionalArguments();
    OpenManifest manifest(arguments);
    if (!manifest.load()) {
        return Failed;
    }
    const bool applied = manifest.handler().removeProperty(given.at(1), given.at(2), false);
    return finish(arguments, manifest, applied, given.at(1));
}

using AddOperation = bool (ConfigurationManifestHandler::*)(const QString&, const QJsonObject&, int, bool);

template <AddOperation add>
ExitStatus addTo(const QCommandLineParser& arguments)
{
    const QString path = arguments.positionalArguments().at(1);
    OpenManifest manifest(arguments);
    QJsonObject description;
    int index = -1;
    if (arguments.isSet(QStringLiteral("index")) && !readNumber(arguments.value(QStringLiteral("index")), index)) {
        return WrongUsage;
    }
    if (!readDescription(arguments, description) || !manifest.load()) {
        return Failed;
    }
    const bool added = (manifest.handler().*add)(path, description, index, false);
    return finish(arguments, manifest, added, path.left(path.lastIndexOf(QLatin1Char('/'))));
}

ExitStatus remove(const QCommandLineParser& arguments)
{
    const QString path = arguments.positionalArguments().at(1);
    OpenManifest manifest(arguments);
    if (!manifest.load()) {
        return Failed;
    }
    return finish(arguments, manifest, manifest.handler().deleteElement(path, false), path);
}

using MoveOperation = bool (ConfigurationManifestHandler::*)(const QString&, int, bool);

template <MoveOperation move>
ExitStatus moveTo(const QCommandLineParser& arguments)
{
    const QStringList given = arguments.positionalArguments();
    OpenManifest manifest(arguments);
    int index = -1;
    if (!readNumber(given.at(2), index)) {
        return WrongUsage;
    }
    if (!manifest.load()) {
        return Failed;
    }
    const bool moved = (manifest.handler().*move)(given.at(1), index, false);
    return finish(arguments, manifest, moved, given.at(1),
        QLatin1String("there is no position ") % QString::number(index) % QLatin1String(" beside ")
            % quoted(given.at(1)));
}

template <typename Replace>
ExitStatus replaceBy(const QCommandLineParser& arguments, const Replace& replace)
{
    const QString path = arguments.positionalArguments().at(1);
    OpenManifest manifest(arguments);
    QJsonObject description;
    if (!arguments.isSet(descriptionOption().names().constFirst())) {
        complain(QStringLiteral("--description is missing"));
        return WrongUsage;
    }
    if (!readDescription(arguments, description) || !manifest.load()) {
        return Failed;
    }
    return finish(arguments, manifest, replace(manifest.handler(), path, description), path);
}

ExitStatus updateNode(const QCommandLineParser& arguments)
{
    const bool replaceSubstructure = arguments.isSet(QStringLiteral("replace-substructure"));
    return replaceBy(
        arguments, [=](ConfigurationManifestHandler& handler, const QString& path, const QJsonObject& node) {
            return handler.updateNode(path, node, replaceSubstructure, false);
        });
}

ExitStatus updateSelection(const QCommandLineParser& arguments)
{
    return replaceBy(
        arguments, [](ConfigurationManifestHandler& handler, const QString& path, const QJsonObject& selection) {
            return handler.updateSelection(path, selection, false);
        });
}

ExitStatus sort(const QCommandLineParser& arguments)
{
    const QStringList given = arguments.positionalArguments();
    const QString& path = given.at(1);
    OpenManifest manifest(arguments);
    if (!manifest.load()) {
        return Failed;
    }
    const bool sorted = manifest.handler().sortElements(path, given.mid(2), false);
    const QLatin1String otherReason("the names are not those of all children of ");
    if (!sorted && path.isEmpty()) {
        complain(otherReason % QLatin1String("the top level"));
        return Failed;
    }
    return finish(arguments, manifest, sorted, path, otherReason % quoted(path));
}

ExitStatus stamp(const QCommandLineParser& arguments)
{
    OpenManifest manifest(arguments);
    return manifest.load() ? manifest.finish(arguments, QStringLiteral("stamped")) : Failed;
}

} // namespace

QList<Command> editCommands()
{
    const QCommandLineOption index(QStringLiteral("index"),
        QStringLiteral("Position among its siblings; at the end without it."), QStringLiteral("N"));
    const QCommandLineOption replaceSubstructure(
        QStringLiteral("replace-substructure"), QStringLiteral("Take the children from the description as well."));
    const QList<QCommandLineOption> valueOptions = saveOptions() << jsonOption();
    const QList<QCommandLineOption> addOptions = saveOptions() << descriptionOption() << index;
    const QList<QCommandLineOption> replaceOptions = saveOptions() << descriptionOption();
    return {
        {QStringLiteral("set"), QStringLiteral("FILE PATH KEY VALUE"),
            QStringLiteral("Set the value of a key of an element, adding the key when missing."), valueOptions,
            setValueOf<&ConfigurationManifestHandler::setProperty>},
        {QStringLiteral("update"), QStringLiteral("FILE PATH KEY VALUE"),
            QStringLiteral("Change the value of a key that an element has."), valueOptions,
            setValueOf<&ConfigurationManifestHandler::update>},
        {QStringLiteral("unset"), QStringLiteral("FILE PATH KEY"), QStringLiteral("Remove a key of an element."),
            saveOptions(), unset},
        {QStringLiteral("add-node"), QStringLiteral("FILE PATH"),
            QStringLiteral("Add a node, unless there is an element of its name."), addOptions,
            addTo<&ConfigurationManifestHandler::addNode>},
        {QStringLiteral("add-selection"), QStringLiteral("FILE PATH"),
            QStringLiteral("Add a selection; below the top level it is never found to be there already."), addOptions,
            addTo<&ConfigurationManifestHandler::addSelection>},
        {QStringLiteral("delete"), QStringLiteral("FILE PATH"),
            QStringLiteral("Delete an element with everything below it."), saveOptions(), remove},
        {QStringLiteral("move-node"), QStringLiteral("FILE PATH INDEX"),
            QStringLiteral("Move a node to a position among its siblings."), saveOptions(),
            moveTo<&ConfigurationManifestHandler::moveNode>},
        {QStringLiteral("move-selection"), QStringLiteral("FILE PATH INDEX"),
            QStringLiteral("Move a selection to a position among its siblings."), saveOptions(),
            moveTo<&ConfigurationManifestHandler::moveSelection>},
        {QStringLiteral("update-node"), QStringLiteral("FILE PATH"),
            QStringLiteral("Store the description in place of a node, which keeps its children."),
            replaceOptions + QList<QCommandLineOption> {replaceSubstructure}, updateNode},
        {QStringLiteral("update-selection"), QStringLiteral("FILE PATH"),
            QStringLiteral("Store the description in place of a selection."), replaceOptions, updateSelection},
        {QStringLiteral("sort"), QStringLiteral("FILE PATH NAME..."),
            QStringLiteral("Bring the children of an element, or of the top level for an empty path, into this order."),
            saveOptions(), sort},
        {QStringLiteral("stamp"), QStringLiteral("FILE"), QStringLiteral("Stamp every selection with the names given."),
            saveOptions(), stamp},
    };
}
