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
// A selection answers to the last segment of its instance name, which in a scanned one is its path from the scanned
// folder; every other element answers to its whole name. Among siblings of one name the first one answers.

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

/// The name that `element` answers to, as a view into its stored name `instanceName`.
inline QStringView addressedName(const QJsonObject& element, const QString& instanceName)
{
    const QStringView last = lastSegment(instanceName);
    return last.size() == instanceName.size() || !isSelection(element) ? QStringView(instanceName) : last;
}

/// The names in a path of an edit, empty ones included.
inline QStringList splitPath(const QString& instancePath)
{
    return instancePath.split(QLatin1Char('/'), Qt::KeepEmptyParts, Qt::CaseSensitive);
}

/// The same for a selection, whose stored name is the whole path.
inline QStringList splitSelectionPath(const QString& instancePath)
{
    QStringList names = splitPath(instancePath);
    names.last() = instancePath;
    return names;
}

/**
 * Where among its siblings each name is, for many look-ups: n log n whatever the names are. A QHash is not, for names
 * can be chosen that collide for every seed. Here they only cost comparisons.
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

    /// The first position of a name; -1 when there is none.
    int of(const QString& name) const
    {
        // 0 sorts before every other position of the same name.
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
            // Most comparisons end with the hash and never look at a name.
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
