#include "CommandLine.h"
#include "ElementOutput.h"
#include "JsonInput.h"
#include "OpenManifest.h"
#include "Output.h"
#include "Tree.h"

#include <QtCore/QCommandLineParser>
#include <QtCore/QJsonArray>
#include <QtCore/QJsonDocument>

namespace {

// Loads the manifest and reads the instance names of the children of an element, or of the top level for an empty path.
ExitStatus readInstances(OpenManifest& manifest, const QString& path, QStringList& instances)
{
    if (!path.isEmpty() && isWithoutNames(path)) {
        return complainAboutEmptyPath();
    }
    if (const ExitStatus status = manifest.loadToRead()) {
        return status;
    }
    if (manifest.handler().getListOfInstances(path, instances)) {
        return Done;
    }
    if (manifest.leadsSomewhere(path, Qt::SkipEmptyParts)) {
        complain(QLatin1String("the children of '") % printable(path) % QLatin1String("' are not an array"));
    }
    return NotDone;
}

// The element that a path leads to; null if there is none, or for the top level.
const TreeElement* elementAt(const TreeElements& tree, const QString& path)
{
    return path.isEmpty() ? nullptr : findElement(tree, path, Qt::SkipEmptyParts);
}

ExitStatus list(const QCommandLineParser& arguments)
{
    const QString path = arguments.positionalArguments().value(1);
    OpenManifest manifest(arguments);
    QStringList instances;
    if (const ExitStatus status = readInstances(manifest, path, instances)) {
        return status;
    }
    const TreeElements tree = treeOf(manifest.handler().getManifestJsonArray());
    const TreeElement* const parent = elementAt(tree, path);
    if (parent != nullptr && parent->kind == TreeElement::Kind::Selection && parent->children.empty()) {
        complain(QLatin1Char('\'') % printable(path) % QLatin1String("' is a selection and has no children"));
    }
    const TreeElements& children = parent == nullptr ? tree : parent->children;
    if (arguments.isSet(elementsAsJsonOption().name)) {
        QJsonArray results;
        for (const TreeElement& child : children) {
            results.append(toJson(child));
        }
        printResult(results);
    } else if (arguments.isSet(pathsOption().name)) {
        for (const TreeElement& child : children) {
            print(printable(child.name) % QLatin1Char('\t') % pathColumn(child));
        }
    } else {
        for (const QString& instance : qAsConst(instances)) {
            print(printable(instance));
        }
    }
    return Done;
}

ExitStatus count(const QCommandLineParser& arguments)
{
    OpenManifest manifest(arguments);
    QStringList instances;
    if (const ExitStatus status = readInstances(manifest, arguments.positionalArguments().value(1), instances)) {
        return status;
    }
    print(QString::number(instances.size()));
    return Done;
}

ExitStatus get(const QCommandLineParser& arguments)
{
    const QStringList given = arguments.positionalArguments();
    const QString& path = given.at(1);
    OpenManifest manifest(arguments);
    if (isWithoutNames(path)) {
        return complainAboutEmptyPath();
    }
    if (const ExitStatus status = manifest.loadToRead()) {
        return status;
    }
    QJsonObject element;
    if (!manifest.handler().getNodeElement(path, element)) {
        manifest.leadsSomewhere(path, Qt::SkipEmptyParts);
        return NotDone;
    }
    if (given.size() < 3) {
        printJson(QJsonDocument(element).toJson(QJsonDocument::Indented).trimmed());
        return Done;
    }
    const QJsonValue value = element.value(given.at(2));
    if (value.isUndefined()) {
        complain(QLatin1Char('\'') % printable(path) % QLatin1String("' has no key '") % printable(given.at(2))
            % QLatin1Char('\''));
        return NotDone;
    }
    if (value.isString() && !arguments.isSet(jsonOption().name)) {
        print(printable(value.toString()));
    } else {
        // QJsonDocument holds only arrays and objects, so the value is wrapped in an array.
        printJson(QJsonDocument(QJsonArray {value}).toJson(QJsonDocument::Compact).chopped(1).mid(1));
    }
    return Done;
}

ExitStatus exists(const QCommandLineParser& arguments)
{
    const QString path = arguments.positionalArguments().at(1);
    OpenManifest manifest(arguments);
    if (isWithoutNames(path)) {
        return complainAboutEmptyPath();
    }
    if (const ExitStatus status = manifest.loadToRead()) {
        return status;
    }
    const TreeElements tree = treeOf(manifest.handler().getManifestJsonArray());
    return elementAt(tree, path) == nullptr ? NotDone : Done;
}

} // namespace

QVector<Command> queryCommands()
{
    const Option valueAsJson {QStringLiteral("json"), {}, QStringLiteral("Print strings as JSON too."), {}};
    return {
        {QStringLiteral("list"), QStringLiteral("FILE [PATH]"),
            QStringLiteral("Print the instance names of the children of an element, or of the top level."),
            stampOptions() + Options {pathsOption(), elementsAsJsonOption()}, queryExits(), list},
        {QStringLiteral("count"), QStringLiteral("FILE [PATH]"),
            QStringLiteral("Print the number of names that list would print."), stampOptions(), queryExits(), count},
        {QStringLiteral("get"), QStringLiteral("FILE PATH [KEY]"),
            QStringLiteral("Print an element, or the value of one of its keys."),
            stampOptions() + Options {valueAsJson}, queryExits(), get},
    };
}

QVector<Command> existsCommands()
{
    return {
        {QStringLiteral("exists"), QStringLiteral("FILE PATH"),
            QStringLiteral("Report by the exit status whether there is such an element. Prints nothing."), {},
            {QStringLiteral("there is such an element"), QStringLiteral("there is none"),
                QStringLiteral("wrong usage, or FILE cannot be read or is no manifest"), {}},
            exists},
    };
}
