#include "ElementOutput.h"

#include "Output.h"

#include <QtCore/QJsonDocument>

Option pathsOption()
{
    return {QStringLiteral("paths"), {},
        QStringLiteral("Also print, after a tab, the path that other commands take. An element that no path reaches is "
                       "marked unreachable, with its position. One whose path contains unprintable characters is "
                       "marked unprintable; --json prints that path."),
        {}};
}

Option elementsAsJsonOption()
{
    return {QStringLiteral("json"), {},
        QStringLiteral("Print JSON with kind, name, path, position, label and visibility of every element."), {}};
}

QString pathColumn(const TreeElement& element)
{
    const QString place = printable(element.place());
    if (!element.isReachable()) {
        return QLatin1String("unreachable\t") % place;
    }
    // An escaped path leads nowhere, or to a sibling whose name looks like the escaped one.
    const QString path = printable(element.path);
    return path == element.path ? path : QString(QLatin1String("unprintable\t") % place);
}

QJsonObject toJson(const TreeElement& element)
{
    return {
        {QStringLiteral("kind"), toText(element.kind)},
        {QStringLiteral("name"), element.name},
        {QStringLiteral("path"), element.isReachable() ? QJsonValue(element.path) : QJsonValue()},
        {QStringLiteral("position"), element.position()},
        {QStringLiteral("label"), element.label()},
        {QStringLiteral("hidden"), element.isHidden()},
    };
}

ValueLength lengthOfShownValues()
{
    return isTerminal() ? ValueLength::Short : ValueLength::Whole;
}

void printChanges(const QVector<ElementChange>& changes, const QString& start)
{
    for (const ElementChange& change : changes) {
        print(printable(start % toLine(change, lengthOfShownValues())));
    }
}

QJsonArray toJson(const QVector<ElementChange>& changes)
{
    QJsonArray result;
    for (const ElementChange& change : changes) {
        result.append(toJson(change));
    }
    return result;
}

void printResult(const QJsonArray& results)
{
    printJson(QJsonDocument(results).toJson(QJsonDocument::Indented).trimmed());
}

void printResult(const QJsonObject& results)
{
    printJson(QJsonDocument(results).toJson(QJsonDocument::Indented).trimmed());
}
