#include "JsonReaders.h"

bool readJsonArrayFromJson(const QString& key, const QJsonObject& object, QJsonArray& array)
{
    const auto member = object.constFind(key);
    const bool readable = member != object.constEnd() && member->isArray();
    if (readable) {
        array = member->toArray();
    }
    return readable;
}

bool readStringValueFromJson(const QString& key, const QJsonObject& object, QString& value)
{
    const auto member = object.constFind(key);
    const bool readable = member != object.constEnd() && member->isString();
    if (readable) {
        value = member->toString();
    }
    return readable;
}
