#include "JsonInput.h"

#include "FileOperand.h"
#include "Output.h"

#include <QtCore/QCommandLineParser>
#include <QtCore/QJsonArray>
#include <QtCore/QJsonDocument>

Option jsonOption()
{
    return {QStringLiteral("json"), {}, QStringLiteral("Parse VALUE as JSON instead of taking it as a string."), {}};
}

Option descriptionOption()
{
    return {QStringLiteral("description"), QStringLiteral("FILE"),
        QStringLiteral("JSON file that describes the element; - for standard input."), {}};
}

bool readValue(const QCommandLineParser& arguments, const QString& text, QVariant& value)
{
    if (!arguments.isSet(jsonOption().name)) {
        value = text;
        return true;
    }
    // QJsonDocument parses only arrays and objects, so the value is parsed as the only item of an array.
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
    const QString option = descriptionOption().name;
    if (!arguments.isSet(option)) {
        description = QJsonObject();
        return true;
    }
    const QString path = arguments.value(option);
    QByteArray content;
    QString problem;
    if (!readFileOperand(path, content, problem)) {
        complain(problem);
        return false;
    }
    const QJsonDocument document = QJsonDocument::fromJson(content);
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
        complain(QLatin1Char('\'') % printable(text) % QLatin1String("' is not a whole number, or is too large"));
    }
    return isNumber;
}
