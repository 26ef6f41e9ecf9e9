#include "JsonDataIteratorConfigurationInstanceCollector.h"

#include "JsonAccumulator.h"
#include "JsonReaders.h"
#include "SystemInformationManagerRegistryDefinitions.h"

#include <QtCore/QDebug>

using Registry = SystemInformationManagerRegistryDefinitions;

JsonDataIteratorConfigurationInstanceCollector::JsonDataIteratorConfigurationInstanceCollector() = default;
JsonDataIteratorConfigurationInstanceCollector::~JsonDataIteratorConfigurationInstanceCollector() = default;

void JsonDataIteratorConfigurationInstanceCollector::compute(QJsonObject& jsonObject, QJsonValue& result)
{
    startAccumulator(result);

    // readStringValueFromJson() fails for a missing key and for another type alike, so check for the key first.
    if (!jsonObject.contains(Registry::getKeySelectionType())) {
        return;
    }
    QString selectionType;
    if (!readStringValueFromJson(Registry::getKeySelectionType(), jsonObject, selectionType)) {
        qWarning() << "Error on reading selection type from json object:" << jsonObject << "!";
        return;
    }
    if (selectionType != Registry::SelectionTypeValues::getSelection()) {
        return;
    }

    if (!jsonObject.contains(Registry::getKeyInstanceName())) {
        qWarning() << "Selection does not contain an instanceName:" << jsonObject << "!";
        return;
    }
    QString instanceName;
    if (!readStringValueFromJson(Registry::getKeyInstanceName(), jsonObject, instanceName)) {
        qWarning() << "Error on reading instance name from selection:" << jsonObject << "!";
        return;
    }
    appendToAccumulator(result, instanceName);
}
