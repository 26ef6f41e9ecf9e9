#include "JsonReaders.h"

bool readJsonArrayFromJson(const QString& key, const QJsonObject& object, QJsonArray& array)
{
    const QJsonValue found = object.value(key);
    if (!found.isArray()) {
        return false;
    }
    array = found.toArray();
    return true;
}

bool readStringValueFromJson(const QString& key, const QJsonObject& object, QString& value)
{
    const QJsonValue found = object.value(key);
    if (!found.isString()) {
        return false;
    }
    value = found.toString();
    return true;
}
