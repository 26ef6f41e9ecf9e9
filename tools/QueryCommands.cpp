#include "JsonInput.h"
#include "OpenManifest.h"
#include "Output.h"

#include <QtCore/QCommandLineParser>
#include <QtCore/QJsonArray>
#include <QtCore/QJsonDocument>

namespace {

// The names of the children of the element that the second argument addresses, of the top level without one.
bool readInstances(const QCommandLineParser& arguments, QStringList& instances)
{
    OpenManifest manifest(arguments);
    if (!manifest.load()) {
        return false;
    }
    const QString path = arguments.positionalArguments().value(1);
    if (manifest.handler().getListOfInstances(path, instances)) {
        return true;
    }
    if (manifest.leadsSomewhere(path, Qt::SkipEmptyParts)) {
        complain(QLatin1String("the children of '") % printable(path) % QLatin1String("' are not an array"));
    }
    return false;
}

ExitStatus list(const QCommandLineParser& arguments)
{
    QStringList instances;
    if (!readInstances(arguments, instances)) {
        return Failed;
    }
    for (const QString& instance : qAsConst(instances)) {
        print(printable(instance));
    }
    return Done;
}

ExitStatus count(const QCommandLineParser& arguments)
{
    QStringList instances;
    if (!readInstances(arguments, instances)) {
        return Failed;
    }
    print(QString::number(instances.size()));
    return Done;
}

ExitStatus get(const QCommandLineParser& arguments)
{
    OpenManifest manifest(arguments);
    if (!manifest.load()) {
        return Failed;
    }
    const QStringList given = arguments.positionalArguments();
    const QString& path = given.at(1);
    QJsonObject element;
    if (!manifest.handler().getNodeElement(path, element)) {
        manifest.leadsSomewhere(path, Qt::SkipEmptyParts);
        return Failed;
    }
    if (given.size() < 3) {
        printJson(QJsonDocument(element).toJson(QJsonDocument::Indented).trimmed());
        return Done;
    }
    const QJsonValue value = element.value(given.at(2));
    if (value.isUndefined()) {
        complain(QLatin1Char('\'') % printable(path) % QLatin1String("' has no key '") % printable(given.at(2))
            % QLatin1Char('\''));
        return Failed;
    }
    if (value.isString() && !arguments.isSet(jsonOption().names().constFirst())) {
        print(printable(value.toString()));
    } else {
        // Only arrays and objects make a document.
        printJson(QJsonDocument(QJsonArray {value}).toJson(QJsonDocument::Compact).chopped(1).mid(1));
    }
    return Done;
}

} // namespace

QList<Command> queryCommands()
{
    return {
        {QStringLiteral("list"), QStringLiteral("FILE [PATH]"),
            QStringLiteral("Print the instance names of the children of an element, or of the top level."),
            stampOptions(), list},
        {QStringLiteral("count"), QStringLiteral("FILE [PATH]"), QStringLiteral("Print how many list would print."),
            stampOptions(), count},
        {QStringLiteral("get"), QStringLiteral("FILE PATH [KEY]"),
            QStringLiteral("Print an element, or the value of one of its keys."), stampOptions() << jsonOption(), get},
    };
}
