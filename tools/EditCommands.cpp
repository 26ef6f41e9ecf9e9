#include "CommandLine.h"
#include "JsonInput.h"
#include "OpenManifest.h"
#include "Output.h"

#include <QtCore/QCommandLineParser>
#include <QtCore/QJsonObject>

namespace {

using Handler = ConfigurationManifestHandler;

QString quoted(const QString& text)
{
    return QLatin1Char('\'') % printable(text) % QLatin1Char('\'');
}

// Finds the element that an edit of this path would change. Returns false if there is none.
bool findToEdit(OpenManifest& manifest, const QString& path, QJsonObject& found)
{
    const auto look = [&found](const QJsonObject& element, bool&) {
        found = element;
        return true;
    };
    return manifest.handler().modifyPropertyFirst(path, look, false);
}

// Ends an edit. If it did not apply, prints the part of `path` that leads nowhere, or `otherReason` if the path leads
// to an element.
ExitStatus finish(OpenManifest& manifest, bool applied, const QString& path,
    const QString& otherReason = QStringLiteral("the edit does not apply"), Loss loss = Loss::IsDamage)
{
    if (applied) {
        return manifest.finish(QStringLiteral("changed"), loss);
    }
    if (manifest.leadsSomewhere(path, Qt::KeepEmptyParts)) {
        complain(otherReason);
    }
    return NotDone;
}

using ValueOperation = bool (Handler::*)(const QString&, const QString&, const QVariant&, bool);

template <ValueOperation setValue>
ExitStatus setValueOf(const QCommandLineParser& arguments)
{
    const QStringList given = arguments.positionalArguments();
    const QString& path = given.at(1);
    const QString& key = given.at(2);
    OpenManifest manifest(arguments);
    QVariant value;
    if (!readValue(arguments, given.at(3), value)) {
        return Trouble;
    }
    if (const ExitStatus status = manifest.loadToEdit()) {
        return status;
    }
    QJsonObject element;
    const bool isThere = findToEdit(manifest, path, element);
    if (isThere && !manifest.accepts(key, element.value(key), QJsonValue::fromVariant(value))) {
        return NotDone;
    }
    manifest.expectChangeOf(path);
    const bool applied = (manifest.handler().*setValue)(path, key, value, false);
    if (!applied && isThere) {
        complain(quoted(path) % QLatin1String(" has no key ") % quoted(key));
        return NotDone;
    }
    return finish(manifest, applied, path);
}

ExitStatus unset(const QCommandLineParser& arguments)
{
    const QString path = arguments.positionalArguments().at(1);
    const QString key = arguments.positionalArguments().at(2);
    OpenManifest manifest(arguments);
    if (const ExitStatus status = manifest.loadToEdit()) {
        return status;
    }
    QJsonObject element;
    if (findToEdit(manifest, path, element) && !element.contains(key)) {
        complain(quoted(path) % QLatin1String(" has no key ") % quoted(key) % QLatin1String(" to remove"));
        return NotDone;
    }
    manifest.expectChangeOf(path);
    return finish(manifest, manifest.handler().removeProperty(path, key, false), path);
}

// Rejects a manifest that cannot be edited before it waits for a description on standard input.
ExitStatus loadWithDescription(const QCommandLineParser& arguments, OpenManifest& manifest, QJsonObject& description)
{
    if (const ExitStatus status = manifest.checkThatItCanBeEdited()) {
        return status;
    }
    return readDescription(arguments, description) ? manifest.loadToEdit() : Trouble;
}

using AddOperation = bool (Handler::*)(const QString&, const QJsonObject&, int, bool);

template <AddOperation add>
ExitStatus addTo(const QCommandLineParser& arguments)
{
    const QString path = arguments.positionalArguments().at(1);
    OpenManifest manifest(arguments);
    QJsonObject description;
    int index = -1;
    if (arguments.isSet(QStringLiteral("index")) && !readNumber(arguments.value(QStringLiteral("index")), index)) {
        return Trouble;
    }
    if (const ExitStatus status = loadWithDescription(arguments, manifest, description)) {
        return status;
    }
    if (!manifest.acceptsAll({}, description)) {
        return NotDone;
    }
    const bool added = (manifest.handler().*add)(path, description, index, false);
    if (added && !manifest.handler().getModified()) {
        complain(QLatin1String("there already is an element ") % quoted(path));
        return NotDone;
    }
    return finish(manifest, added, path.left(path.lastIndexOf(QLatin1Char('/'))));
}

ExitStatus remove(const QCommandLineParser& arguments)
{
    const QString path = arguments.positionalArguments().at(1);
    OpenManifest manifest(arguments);
    if (const ExitStatus status = manifest.loadToEdit()) {
        return status;
    }
    const bool removed = manifest.handler().deleteElement(path, false);
    QJsonObject other;
    if (removed && findToEdit(manifest, path, other)) {
        complain(QLatin1String("several elements answer to ") % quoted(path)
            % QLatin1String("; delete removes only the first one"));
    }
    return finish(manifest, removed, path, QString(), Loss::IsIntended);
}

using MoveOperation = bool (Handler::*)(const QString&, int, bool);

template <MoveOperation move>
ExitStatus moveTo(const QCommandLineParser& arguments)
{
    const QStringList given = arguments.positionalArguments();
    const QString& path = given.at(1);
    OpenManifest manifest(arguments);
    int index = -1;
    if (!readNumber(given.at(2), index)) {
        return Trouble;
    }
    if (const ExitStatus status = manifest.loadToEdit()) {
        return status;
    }
    const bool moved = (manifest.handler().*move)(path, index, false);
    return finish(manifest, moved, path,
        QLatin1String("there is no position ") % QString::number(index) % QLatin1String(" among the siblings of ")
            % quoted(path));
}

template <typename Replace>
ExitStatus replaceBy(const QCommandLineParser& arguments, Loss loss, const Replace& replace)
{
    const QString path = arguments.positionalArguments().at(1);
    OpenManifest manifest(arguments);
    QJsonObject description;
    if (!arguments.isSet(descriptionOption().name)) {
        complain(QStringLiteral("--description is missing"));
        return Trouble;
    }
    if (const ExitStatus status = loadWithDescription(arguments, manifest, description)) {
        return status;
    }
    QJsonObject element;
    if (findToEdit(manifest, path, element) && !manifest.acceptsAll(element, description)) {
        return NotDone;
    }
    manifest.expectChangeOf(path);
    return finish(manifest, replace(manifest.handler(), path, description), path, QString(), loss);
}

ExitStatus updateNode(const QCommandLineParser& arguments)
{
    const bool replaceSubstructure = arguments.isSet(QStringLiteral("replace-substructure"));
    return replaceBy(arguments, replaceSubstructure ? Loss::IsIntended : Loss::IsDamage,
        [=](Handler& handler, const QString& path, const QJsonObject& node) {
            return handler.updateNode(path, node, replaceSubstructure, false);
        });
}

ExitStatus updateSelection(const QCommandLineParser& arguments)
{
    return replaceBy(
        arguments, Loss::IsDamage, [](Handler& handler, const QString& path, const QJsonObject& selection) {
            return handler.updateSelection(path, selection, false);
        });
}

ExitStatus sort(const QCommandLineParser& arguments)
{
    const QStringList given = arguments.positionalArguments();
    const QString& path = given.at(1);
    if (!path.isEmpty() && isWithoutNames(path)) {
        return complainAboutEmptyPath();
    }
    OpenManifest manifest(arguments);
    if (const ExitStatus status = manifest.loadToEdit()) {
        return status;
    }
    const bool sorted = manifest.handler().sortElements(path, given.mid(2), false);
    const QLatin1String otherReason("the names are not those of all children of ");
    if (!sorted && path.isEmpty()) {
        complain(otherReason % QLatin1String("the top level"));
        return NotDone;
    }
    return finish(manifest, sorted, path, otherReason % quoted(path), Loss::IsDamageLikeAddition);
}

ExitStatus stamp(const QCommandLineParser& arguments)
{
    if (arguments.value(QStringLiteral("module")).isEmpty() && arguments.value(QStringLiteral("object")).isEmpty()) {
        complain(QStringLiteral("nothing to stamp: give a name with --module or --object"));
        return Trouble;
    }
    OpenManifest manifest(arguments);
    const ExitStatus status = manifest.loadToEdit();
    return status == Done ? manifest.finish(QStringLiteral("stamped")) : status;
}

// Runs an edit of a single element. PATH must not be empty.
template <ExitStatus (*edit)(const QCommandLineParser&)>
ExitStatus ofElement(const QCommandLineParser& arguments)
{
    return isWithoutNames(arguments.positionalArguments().at(1)) ? complainAboutEmptyPath() : edit(arguments);
}

} // namespace

QVector<Command> editCommands()
{
    const Option index {QStringLiteral("index"), QStringLiteral("N"),
        QStringLiteral("Position among the siblings; the first is 0. By default, and out of range, the element is "
                       "added at the end."),
        {}};
    const Option replaceSubstructure {QStringLiteral("replace-substructure"), {},
        QStringLiteral("Replace the children by those of the description."), {}};
    const Options edit = saveOptions();
    const Options value = edit + Options {jsonOption()};
    const Options add = edit + Options {descriptionOption(), index};
    Option element = descriptionOption();
    element.description =
        QStringLiteral("JSON file with the complete new element, as get prints it; - for standard input. Required.");
    const Options replace = edit + Options {element};
    const ExitMeanings exits = editExits();
    return {
        {QStringLiteral("set"), QStringLiteral("FILE PATH KEY VALUE"),
            QStringLiteral("Set the value of a key of an element, adding the key if it is missing."), value, exits,
            ofElement<setValueOf<&Handler::setProperty>>},
        {QStringLiteral("update"), QStringLiteral("FILE PATH KEY VALUE"),
            QStringLiteral("Change the value of a key that the element already has."), value, exits,
            ofElement<setValueOf<&Handler::update>>},
        {QStringLiteral("unset"), QStringLiteral("FILE PATH KEY"), QStringLiteral("Remove a key from an element."),
            edit, exits, ofElement<unset>},
        {QStringLiteral("add-node"), QStringLiteral("FILE PATH"),
            QStringLiteral("Add a node, unless there is an element with its name."), add, exits,
            ofElement<addTo<&Handler::addNode>>},
        {QStringLiteral("add-selection"), QStringLiteral("FILE PATH"),
            QStringLiteral("Add a selection, unless there is an element with its name."), add, exits,
            ofElement<addTo<&Handler::addSelection>>},
        {QStringLiteral("delete"), QStringLiteral("FILE PATH"),
            QStringLiteral("Delete an element and everything below it."), edit, exits, ofElement<remove>},
        {QStringLiteral("move-node"), QStringLiteral("FILE PATH INDEX"),
            QStringLiteral("Move a node to a position among its siblings; the first is 0."), edit, exits,
            ofElement<moveTo<&Handler::moveNode>>},
        {QStringLiteral("move-selection"), QStringLiteral("FILE PATH INDEX"),
            QStringLiteral("Move a selection to a position among its siblings; the first is 0."), edit, exits,
            ofElement<moveTo<&Handler::moveSelection>>},
        {QStringLiteral("update-node"), QStringLiteral("FILE PATH"),
            QStringLiteral("Replace a node by the element in the description. It keeps the children of the node."),
            replace + Options {replaceSubstructure}, exits, ofElement<updateNode>},
        {QStringLiteral("update-selection"), QStringLiteral("FILE PATH"),
            QStringLiteral("Replace a selection by the element in the description."), replace, exits,
            ofElement<updateSelection>},
        {QStringLiteral("sort"), QStringLiteral("FILE PATH NAME..."),
            QStringLiteral("Put the children of an element, or the top level for an empty PATH, into the given order. "
                           "NAME is the last segment of a path, as list --paths prints it. Every child must be named."),
            edit, exits, sort},
        {QStringLiteral("stamp"), QStringLiteral("FILE"), QStringLiteral("Stamp every selection with the given names."),
            edit, exits, stamp},
    };
}
