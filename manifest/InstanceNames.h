#pragma once

#include "SystemInformationManagerRegistryDefinitions.h"

#include <QtCore/QHashFunctions>
#include <QtCore/QJsonArray>
#include <QtCore/QJsonObject>
#include <QtCore/QString>
#include <QtCore/QStringList>
#include <QtCore/QStringView>
#include <QtCore/QVector>

#include <algorithm>

// Internal; not installed.
//
// A selection is found by the last segment of its instance name. The instance name that a scan gives it is its path
// relative to the scanned folder. Every other element is found by its whole instance name. Of siblings with the same
// name the first one is found.

namespace InstanceNames {

inline QStringView lastSegment(const QString& text)
{
    return QStringView(text).mid(text.lastIndexOf(QLatin1Char('/')) + 1);
}

inline bool isSelection(const QJsonObject& element)
{
    using Registry = SystemInformationManagerRegistryDefinitions;
    return element.value(Registry::getKeySelectionType()).toString() == Registry::SelectionTypeValues::getSelection();
}

/// Returns the name by which `element` is found, as a view into its stored name `instanceName`.
inline QStringView addressedName(const QJsonObject& element, const QString& instanceName)
{
    const QStringView last = lastSegment(instanceName);
    return last.size() == instanceName.size() || !isSelection(element) ? QStringView(instanceName) : last;
}

/// Splits the path of an edit into names, empty ones included.
inline QStringList splitPath(const QString& instancePath)
{
    return instancePath.split(QLatin1Char('/'), Qt::KeepEmptyParts, Qt::CaseSensitive);
}

/// Splits the path of a selection into names. The last one is the whole path, which a selection stores as its name.
inline QStringList splitSelectionPath(const QString& instancePath)
{
    QStringList names = splitPath(instancePath);
    names.last() = instancePath;
    return names;
}

/**
 * Positions of siblings by name, for many look-ups. Construction takes n log n and a look-up log n, whatever the names
 * are. A QHash is slower for names that were chosen to collide, which is possible for every seed. Here colliding names
 * only have to be compared character by character.
 */
class Positions {
public:
    explicit Positions(const QJsonArray& siblings)
        : storedNames(siblings.size())
    {
        entries.reserve(siblings.size());
        for (int i = 0; i < siblings.size(); ++i) {
            const QJsonObject element = siblings.at(i).toObject();
            QString& storedName = storedNames[i];
            storedName = element.value(SystemInformationManagerRegistryDefinitions::getKeyInstanceName()).toString();
            entries.append(Entry(addressedName(element, storedName), i));
        }
        std::sort(entries.begin(), entries.end());
    }

    /// Returns the first position of a name; -1 when there is none.
    int of(const QString& name) const
    {
        // No entry of the same name sorts before position 0, so the first of them is found.
        const Entry wanted(name, 0);
        const auto found = std::lower_bound(entries.begin(), entries.end(), wanted);
        return found != entries.end() && found->name == wanted.name ? found->position : -1;
    }

private:
    struct Entry {
        Entry() = default;
        Entry(QStringView addressedName, int index)
            : hash(qHash(addressedName))
            , name(addressedName)
            , position(index)
        {
        }

        bool operator<(const Entry& other) const
        {
            // The hash decides most comparisons without comparing the names.
            if (hash != other.hash) {
                return hash < other.hash;
            }
            const int order = name.compare(other.name);
            return order != 0 ? order < 0 : position < other.position;
        }

        uint hash = 0;
        QStringView name;
        int position = -1;
    };

    QVector<QString> storedNames;
    QVector<Entry> entries;
};

} // namespace InstanceNames
