#pragma once

#include "ConfigurationManifestHandler.h"
#include "JsonStorage.h"
#include "SystemInformationManagerRegistryDefinitions.h"

#include <QtCore/QJsonArray>
#include <QtCore/QJsonObject>
#include <QtCore/QString>
#include <QtCore/QStringList>
#include <QtCore/QVarLengthArray>

#include <functional>
#include <utility>

// Internal; not installed.

/**
 * Finds the array that an edit changes - by the first names of a path, through the substructures of the elements found
 * - and changes it only when all is ready.
 *
 * Between finding and changing, the caller's edit function may throw or use the handler, and memory may run out while
 * the new element is made: all of that must leave the manifest as it was. What can still run out of memory in the
 * change works on a copy or fails before it alters anything. Only the array that was searched can have changed
 * meanwhile, by a callback; what was found below it is kept as it was, so positions in it need no check.
 */
class EditPlace {
public:
    /// Goes down from `array` by the first `levels` of `names`.
    EditPlace(const ConfigurationManifestHandler& owner, const QJsonArray& array, const QStringList& names, int levels)
        : handler(owner)
        , end(array)
    {
        for (int level = 0; level < levels; ++level) {
            int position = -1;
            const QJsonObject ancestor = handler.getElementFromInstance(end, names.at(level), position);
            if (position < 0) {
                complete = false;
                return;
            }
            if (level == 0) {
                top = ancestor;
            }
            positions.append(position);
            end = ancestor.value(key()).toArray();
        }
    }

    /// Whether every name led to an element.
    bool exists() const
    {
        return complete;
    }

    /// Whether it is the array itself in which the way began.
    bool isTop() const
    {
        return positions.isEmpty();
    }

    /// The array as it was found; empty after change().
    const QJsonArray& siblings() const
    {
        return end;
    }

    /**
     * Looks for an element in the array by the last name of a path or else, unless that is empty, by the path's whole
     * text, which reaches elements that store it as their name. Sets `index` to -1 when there is none.
     */
    QJsonObject find(const QString& lastName, const QString& fullPath, int& index) const
    {
        const QJsonObject element = handler.getElementFromInstance(end, lastName, index);
        return index >= 0 || fullPath.isEmpty() ? element : handler.getElementFromInstance(end, fullPath, index);
    }

    /// Changes the array inside `array`, which was searched; it may have become shorter. Only once.
    void change(QJsonArray& array, const std::function<void(QJsonArray&)>& changeSiblings)
    {
        // A second reference would make Qt copy the array.
        end = QJsonArray();
        if (isTop()) {
            changeSiblings(array);
            return;
        }
        const int position = positions.at(0);
        if (position < array.size()) {
            JsonStorage::changeInPlace(array[position], std::exchange(top, {}),
                [&](QJsonObject& ancestor) { changeBelow(ancestor, 1, changeSiblings); });
        }
    }

private:
    static const QString& key()
    {
        return SystemInformationManagerRegistryDefinitions::getKeySubstructure();
    }

    void changeBelow(QJsonObject& ancestor, int level, const std::function<void(QJsonArray&)>& changeSiblings) const
    {
        const auto substructure = ancestor.find(key());
        if (substructure == ancestor.end() || !substructure.value().isArray()) {
            QJsonArray children;
            changeSiblings(children);
            // Into a copy: when memory runs out, Qt leaves an object with half a member.
            QJsonObject parent = ancestor;
            parent.insert(key(), children);
            ancestor = parent;
            return;
        }
        JsonStorage::changeInPlace(substructure.value(), substructure.value().toArray(), [&](QJsonArray& children) {
            if (level == positions.size()) {
                changeSiblings(children);
                return;
            }
            QJsonValueRef place = children[positions.at(level)];
            JsonStorage::changeInPlace(
                place, place.toObject(), [&](QJsonObject& child) { changeBelow(child, level + 1, changeSiblings); });
        });
    }

    const ConfigurationManifestHandler& handler;
    QVarLengthArray<int, 16> positions;
    QJsonObject top;
    QJsonArray end;
    bool complete = true;
};
