#include "JsonReaders.h"

// These readers also refuse strings that begin with "refused", and arrays whose first element is such a string. So a
// test can see whether the library uses them.

namespace {

bool isString(const QJsonValue& value)
{
    return value.isString() && !value.toString().startsWith(QLatin1String("refused"));
}

bool isArray(const QJsonValue& value)
{
    return value.isArray() && (!value[0].isString() || isString(value[0]));
}

} // namespace

bool readJsonArrayFromJson(const QString& key, const QJsonObject& object, QJsonArray& array)
{
    const auto member = object.constFind(key);
    const bool readable = member != object.constEnd() && isArray(*member);
    if (readable) {
        array = member->toArray();
    }
    return readable;
}

bool readStringValueFromJson(const QString& key, const QJsonObject& object, QString& value)
{
    const auto member = object.constFind(key);
    const bool readable = member != object.constEnd() && isString(*member);
    if (readable) {
        value = member->toString();
    }
    return readable;
}
