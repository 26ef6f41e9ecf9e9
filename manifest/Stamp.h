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
 * The module and the object name that every selection of a loaded manifest carries. An empty name is not stamped: what
 * the selection holds stays. Both names are kept as JSON as well, so that each is converted once and not for every
 * selection.
 */
class Stamp {
public:
    Stamp(const QString& moduleName, const QString& objectName)
        : module {moduleName, moduleName}
        , object {objectName, objectName}
    {
    }

    /// Stamps `element` when it is a selection, by the library's own copies of key and value, which equal the
    /// provider's.
    void putOn(QJsonObject& element) const
    {
        if (element.value(ConfigurationManifestHandler::getKeySelectionType()).toString()
            == ConfigurationManifestHandler::SelectionTypeValues::getSelection()) {
            insertIfDifferent(element, SystemInformationManagerRegistryDefinitions::getKeyModuleName(), module);
            insertIfDifferent(element, SystemInformationManagerRegistryDefinitions::getKeyObjectName(), object);
        }
    }

    /// Stamps every selection in `place`, a value or the reference to one in a container, at any depth.
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

    /// Stamps every selection below an object or array.
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
