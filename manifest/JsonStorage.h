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
// Two facts about Qt's JSON containers. A container that is referred to twice is copied when it changes: an array
// detaches from the copy of an element that was taken out of it, and an element from its parent. And a string that is
// replaced in a container is never freed: an object whose text is overwritten again and again grows for ever.

namespace JsonStorage {

/**
 * Changes the object or array in `place` without a copy: takes it out, leaving a null, lets `change` work on the only
 * reference and puts it back, also when `change` throws.
 *
 * @param place     a QJsonValue, or the reference to one that the iterators and operators of Qt's containers return.
 * @param container what `place` holds.
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

/// Whether an object may hold objects or arrays. Since Qt 5.15 an object is stored as CBOR, whose members tell their
/// types without a conversion; that saves 4 % of a load.
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

/// `object` made anew from those of its members whose keys `isKept` accepts, which frees what was replaced in it.
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
