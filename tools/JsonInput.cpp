#include "JsonInput.h"

#include "Output.h"

#include <QtCore/QCommandLineParser>
#include <QtCore/QFile>
#include <QtCore/QJsonArray>
#include <QtCore/QJsonDocument>

#include <cstdio>

QCommandLineOption jsonOption()
{
    return {QStringLiteral("json"), QStringLiteral("Values are JSON texts, not strings.")};
}

QCommandLineOption descriptionOption()
{
    return {QStringLiteral("description"),
        QStringLiteral("JSON file that describes the element; - for standard input."), QStringLiteral("FILE")};
}

bool readValue(const QCommandLineParser& arguments, const QString& text, QVariant& value)
{
    if (!arguments.isSet(jsonOption().names().constFirst())) {
        value = text;
        return true;
    }
    // A document is an array or an object; a value becomes one as the only item of an array.
    const QJsonArray items = QJsonDocument::fromJson('[' + text.toUtf8() + ']').array();
    if (items.size() != 1) {
        complain(QLatin1Char('\'') % printable(text) % QLatin1String("' is not a JSON value"));
        return false;
    }
    value = QVariant::fromValue(items.at(0));
    return true;
}

bool readDescription(const QCommandLineParser& arguments, QJsonObject& description)
{
    const QString option = descriptionOption().names().constFirst();
    if (!arguments.isSet(option)) {
        description = QJsonObject();
        return true;
    }
    const QString path = arguments.value(option);
    QFile file(path);
    const bool open =
        path == QLatin1String("-") ? file.open(stdin, QIODevice::ReadOnly) : file.open(QIODevice::ReadOnly);
    if (!open) {
        complain(QLatin1String("cannot read ") % printable(path) % QLatin1String(": ") % file.errorString());
        return false;
    }
    const QJsonDocument document = QJsonDocument::fromJson(file.readAll());
    if (!document.isObject()) {
        complain(printable(path) % QLatin1String(" does not hold a JSON object"));
        return false;
    }
    description = document.object();
    return true;
}

bool readNumber(const QString& text, int& number)
{
    bool isNumber = false;
    number = text.toInt(&isNumber);
    if (!isNumber) {
        complain(QLatin1Char('\'') % printable(text) % QLatin1String("' is not a whole number"));
    }
    return isNumber;
}
