#include "JsonDataIteratorConfigurationInstanceListUpdater.h"

#include "JsonAccumulator.h"
#include "SystemInformationManagerRegistryDefinitions.h"

#include <QtCore/QDebug>

const QString& JsonDataIteratorConfigurationInstanceListUpdater::getKeyInstanceName()
{
    static const QString key = QStringLiteral("instanceName");
    return key;
}

JsonDataIteratorConfigurationInstanceListUpdater::JsonDataIteratorConfigurationInstanceListUpdater() = default;
JsonDataIteratorConfigurationInstanceListUpdater::~JsonDataIteratorConfigurationInstanceListUpdater() = default;

bool JsonDataIteratorConfigurationInstanceListUpdater::addKey() const
{
    return addKeyEnabled;
}

bool JsonDataIteratorConfigurationInstanceListUpdater::removeKey() const
{
    return removeKeyEnabled;
}

void JsonDataIteratorConfigurationInstanceListUpdater::init(
    const QString& instanceName, const QString& key, const QVariant& value)
{
    targetInstanceName = instanceName;
    keyName = key;
    keyValue = value;
}

void JsonDataIteratorConfigurationInstanceListUpdater::setAddKey(bool enable)
{
    addKeyEnabled = enable;
    if (enable && removeKeyEnabled) {
        qWarning() << "Removing of keys is already enabled and will be disabled!";
        setRemoveKey(false);
    }
}

void JsonDataIteratorConfigurationInstanceListUpdater::setRemoveKey(bool enable)
{
    removeKeyEnabled = enable;
    if (enable && addKeyEnabled) {
        qWarning() << "Adding of keys is already enabled and will be disabled!";
        setAddKey(false);
    }
}

void JsonDataIteratorConfigurationInstanceListUpdater::compute(QJsonObject& jsonObject, QJsonValue& result)
{
    startAccumulator(result);

    if (!jsonObject.contains(SystemInformationManagerRegistryDefinitions::getKeySelectionType())) {
        return;
    }
    const QJsonValue instanceName = jsonObject.value(getKeyInstanceName());
    if (instanceName.isUndefined()) {
        qWarning() << "Unable to find key instanceName in current json object:" << jsonObject << "(" << keyName << ")!";
        return;
    }
    if (!instanceName.isString() || instanceName.toString() != targetInstanceName) {
        return;
    }
    const bool hasKey = jsonObject.contains(keyName);
    if (!hasKey && !addKeyEnabled) {
        qWarning() << "Unable to find key" << keyName << "in jsonObject:" << jsonObject << "!";
        return;
    }

    QVariantHash members = jsonObject.toVariantHash();
    // A message handler that is called by setAddKey() or setRemoveKey() sees both modes on.
    if (hasKey && removeKeyEnabled) {
        members.remove(keyName);
    } else {
        members.insert(keyName, QJsonValue::fromVariant(keyValue));
    }
    jsonObject = QJsonObject::fromVariantHash(members);
    appendToAccumulator(result, jsonObject);
}
