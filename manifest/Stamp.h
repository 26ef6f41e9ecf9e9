#pragma once

#include "ConfigurationManifestHandler.h"
#include "JsonStorage.h"
#include "SystemInformationManagerRegistryDefinitions.h"

#include <QtCore/QJsonArray>
#include <QtCore/QJsonObject>
#include <QtCore/QJsonValue>
#include <QtCore/QString>

// Internal; not installed.

/**
 * The module name and the object name that are stored in every selection of a loaded manifest. An empty name is not
 * stored, and selections then keep the values that they have. Each name is also kept as a QJsonValue, so that it is
 * converted once instead of for every selection.
 */
class Stamp {
public:
    Stamp(const QString& moduleName, const QString& objectName)
        : module {moduleName, moduleName}
        , object {objectName, objectName}
    {
    }

    /// Stamps `element` if it is a selection. Compares with the library's own copies of the key and value, which equal
    /// those of the provider.
    void putOn(QJsonObject& element) const
    {
        if (element.value(ConfigurationManifestHandler::getKeySelectionType()).toString()
            == ConfigurationManifestHandler::SelectionTypeValues::getSelection()) {
            insertIfDifferent(element, SystemInformationManagerRegistryDefinitions::getKeyModuleName(), module);
            insertIfDifferent(element, SystemInformationManagerRegistryDefinitions::getKeyObjectName(), object);
        }
    }

    /// Stamps every selection in `place`, at any depth. `place` is a QJsonValue or a QJsonValueRef.
    template <typename Place>
    void putOnAll(Place&& place) const
    {
        switch (place.type()) {
        case QJsonValue::Object:
            JsonStorage::changeInPlace(place, place.toObject(), [this](QJsonObject& element) {
                putOn(element);
                if (JsonStorage::holdsContainers(element)) {
                    putOnItems(element);
                }
            });
            break;
        case QJsonValue::Array:
            JsonStorage::changeInPlace(place, place.toArray(), [this](QJsonArray& array) { putOnItems(array); });
            break;
        default:
            break;
        }
    }

    /// Stamps every selection inside an object or array, at any depth. The object itself is not stamped.
    template <typename Container>
    void putOnItems(Container& container) const
    {
        const auto end = container.end();
        for (auto item = container.begin(); item != end; ++item) {
            putOnAll(*item);
        }
    }

private:
    struct Name {
        QString text;
        QJsonValue value;
    };

    static void insertIfDifferent(QJsonObject& element, const QString& key, const Name& name)
    {
        if (!name.text.isEmpty() && element.value(key).toString() != name.text) {
            element.insert(key, name.value);
        }
    }

    const Name module;
    const Name object;
};
