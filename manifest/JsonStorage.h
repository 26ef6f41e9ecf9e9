#pragma once

#include <QtCore/QCborMap>
#include <QtCore/QJsonArray>
#include <QtCore/QJsonObject>
#include <QtCore/QJsonValue>
#include <QtCore/QString>

#include <algorithm>
#include <type_traits>

// Internal; not installed.
//
// Two facts about Qt's JSON containers:
//
// - They are implicitly shared. An object that was copied out of its parent detaches when it is changed, and so does
//   the one in the parent while the copy exists. Each time all members are copied.
// - A string that is replaced in a container is never freed. An object with a string that is overwritten again and
//   again grows without limit.

namespace JsonStorage {

/**
 * Changes the object or array in `place` without detaching it. Takes it out of `place`, leaving null there, so that
 * `container` is the only reference. Then calls `change` and puts the container back, also when `change` throws.
 *
 * @param place     a QJsonValue, or a QJsonValueRef as the iterators and operators of Qt's containers return it.
 * @param container the object or array that `place` holds.
 * @param change    called with a reference to the container.
 */
template <typename Place, typename Container, typename Change>
void changeInPlace(Place&& place, Container container, const Change& change)
{
    struct PutBack {
        ~PutBack()
        {
            place = container;
        }
        std::remove_reference_t<Place>& place;
        Container& container;
    };
    place = QJsonValue();
    const PutBack putBack {place, container};
    change(container);
}

/// Returns whether an object may contain objects or arrays. Since Qt 5.15 an object is stored as CBOR, and the types of
/// its members can be checked without converting them to QJsonValue. That saves 4 % of the time of a load.
inline bool holdsContainers(const QJsonObject& object)
{
#if QT_VERSION >= QT_VERSION_CHECK(5, 15, 0)
    const QCborMap members = QCborMap::fromJsonObject(object);
    return std::any_of(
        members.constBegin(), members.constEnd(), [](const auto& member) { return member.second.isContainer(); });
#else
    return !object.isEmpty();
#endif
}

/// Returns a new object with those members of `object` whose keys `isKept` accepts. The new object does not contain the
/// strings that were replaced in the old one.
template <typename Predicate>
QJsonObject rebuiltIf(const QJsonObject& object, const Predicate& isKept)
{
    QJsonObject result;
    for (auto member = object.constBegin(); member != object.constEnd(); ++member) {
        const QString key = member.key();
        if (isKept(key)) {
            result.insert(key, member.value());
        }
    }
    return result;
}

inline QJsonObject rebuilt(const QJsonObject& object)
{
    return rebuiltIf(object, [](const QString&) { return true; });
}

inline QJsonObject rebuiltWithout(const QJsonObject& object, const QString& key)
{
    return rebuiltIf(object, [&key](const QString& member) { return member != key; });
}

} // namespace JsonStorage
