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
 * Finds the array that an edit changes, and changes it in a second step, when the new content is ready.
 *
 * Between the two steps the caller's edit function may throw or use the handler, and memory may run out. The manifest
 * must then be unchanged. So those parts of the second step that can run out of memory work on a copy, or fail before
 * they alter anything.
 *
 * Between the two steps a callback may also change the array in which the search began. Everything below it is kept
 * here as it was found, so only the first position has to be checked again.
 */
class EditPlace {
public:
    /// Finds the array to change. Starts in `array`. Each of the first `levels` names leads to an element, whose
    /// children are the next array.
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

    /// Returns whether an element was found for every name.
    bool exists() const
    {
        return complete;
    }

    /// Returns whether the array to change is the one in which the search began.
    bool isTop() const
    {
        return positions.isEmpty();
    }

    /// Returns the array to change, as it was found; empty after change().
    const QJsonArray& siblings() const
    {
        return end;
    }

    /**
     * Finds an element in the array to change.
     *
     * @param      lastName last name of the path, looked up first.
     * @param      fullPath whole text of the path, looked up when `lastName` is missing; an element may store the path
     *                      as its name. Not looked up when empty.
     * @param[out] index    position of the element; -1 when there is none.
     * @return the element; an empty object when there is none.
     */
    QJsonObject find(const QString& lastName, const QString& fullPath, int& index) const
    {
        const QJsonObject element = handler.getElementFromInstance(end, lastName, index);
        return index >= 0 || fullPath.isEmpty() ? element : handler.getElementFromInstance(end, fullPath, index);
    }

    /**
     * Changes the array that was found. May be called only once.
     *
     * @param array          the array in which the search began. When the change is in the children of one of its
     *                       elements, nothing is changed if `array` has become too short for that element meanwhile.
     * @param changeSiblings called with the array to change.
     */
    void change(QJsonArray& array, const std::function<void(QJsonArray&)>& changeSiblings)
    {
        // Release this reference; otherwise changing the array detaches it.
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
            // Insert into a copy: when memory runs out, Qt leaves the object with half a member.
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
