#include "Difference.h"

#include "SystemInformationManagerRegistryDefinitions.h"

#include <QtCore/QJsonArray>
#include <QtCore/QJsonDocument>
#include <QtCore/QJsonObject>

#include <algorithm>
#include <map>
#include <set>
#include <utility>

using Registry = SystemInformationManagerRegistryDefinitions;

namespace {

using Indices = std::vector<TreeElements::size_type>;

// The numbers that do not belong to their longest increasing subsequence: the fewest that have to be moved to sort
// them.
std::set<TreeElements::size_type> outOfOrder(const Indices& numbers)
{
    // ends: for each length, the index of the smallest number that an increasing subsequence of this length ends with.
    // previous: for each index, that of the number before it in the longest subsequence that ends there.
    Indices ends;
    Indices previous(numbers.size());
    for (Indices::size_type i = 0; i < numbers.size(); ++i) {
        const auto place = std::lower_bound(ends.begin(), ends.end(), numbers.at(i),
            [&](Indices::size_type end, Indices::value_type number) { return numbers.at(end) < number; });
        previous[i] = place == ends.begin() ? numbers.size() : *(place - 1);
        if (place == ends.end()) {
            ends.push_back(i);
        } else {
            *place = i;
        }
    }
    std::set<TreeElements::size_type> result(numbers.begin(), numbers.end());
    for (Indices::size_type i = ends.empty() ? numbers.size() : ends.back(); i < numbers.size(); i = previous.at(i)) {
        result.erase(numbers.at(i));
    }
    return result;
}

// Whether the instance name of an element is the one that a scan gives to an element in this place.
bool followsFromThePlace(const TreeElement& element)
{
    return element.name == element.path || element.name == element.answersTo;
}

/// Compares two trees level by level.
class Comparison {
public:
    Comparison(const Pairing& pairingOfBoth, Stamps stamps)
        : pairing(pairingOfBoth)
        , withStamps(stamps == Stamps::Count)
    {
    }

    /// Compares two lists of siblings with their descendants. `isElsewhere`: whether their parent, or an element above
    /// it, was moved to another parent.
    void compare(const TreeElements& before, const TreeElements& after, bool isElsewhere)
    {
        for (const TreeElement& element : before) {
            if (pairing.laterOf(element) == nullptr) {
                changes.append({ElementChange::Removed, &element, nullptr,
                    unpairedBelow(element, [&](const TreeElement& child) { return pairing.laterOf(child); })});
            }
        }
        const std::set<TreeElements::size_type> moved = outOfOrder(orderBefore(after));
        for (const TreeElement& element : after) {
            compareElement(element, moved, isElsewhere);
        }
    }

    QVector<ElementChange> takeChanges()
    {
        return std::move(changes);
    }

private:
    template <typename Partner>
    static int unpairedBelow(const TreeElement& element, const Partner& partnerOf)
    {
        int count = 0;
        for (const TreeElement& child : element.children) {
            if (partnerOf(child) == nullptr) {
                count += 1 + unpairedBelow(child, partnerOf);
            }
        }
        return count;
    }

    // The earlier positions, in the later order, of the siblings that have kept their parent.
    Indices orderBefore(const TreeElements& after) const
    {
        Indices order;
        for (const TreeElement& element : after) {
            const TreeElement* const before = pairing.earlierOf(element);
            if (before != nullptr && !pairing.isMovedElsewhere(element)) {
                order.push_back(static_cast<TreeElements::size_type>(before->position()));
            }
        }
        return order;
    }

    void compareElement(
        const TreeElement& after, const std::set<TreeElements::size_type>& moved, bool isParentElsewhere)
    {
        const TreeElement* const before = pairing.earlierOf(after);
        if (before == nullptr) {
            changes.append({ElementChange::Added, nullptr, &after,
                unpairedBelow(after, [&](const TreeElement& child) { return pairing.earlierOf(child); })});
            findMovedBelow(after);
            return;
        }
        const bool isMovedElsewhere = pairing.isMovedElsewhere(after);
        const bool isElsewhere = isParentElsewhere || isMovedElsewhere;
        QVector<KeyChange> keys = keyChanges(*before, after, isElsewhere);
        if (!keys.isEmpty()) {
            changes.append({ElementChange::Changed, before, &after, 0, std::move(keys)});
        }
        if (isMovedElsewhere) {
            changes.append({ElementChange::MovedElsewhere, before, &after});
        } else if (moved.count(static_cast<TreeElements::size_type>(before->position())) != 0) {
            changes.append({ElementChange::Moved, before, &after});
        }
        compare(before->children, after.children, isElsewhere);
    }

    // Compares descendants of an added element that were moved there.
    void findMovedBelow(const TreeElement& added)
    {
        for (const TreeElement& child : added.children) {
            if (pairing.earlierOf(child) != nullptr) {
                compareElement(child, {}, true);
            } else {
                findMovedBelow(child);
            }
        }
    }

    QVector<KeyChange> keyChanges(const TreeElement& before, const TreeElement& after, bool isElsewhere) const
    {
        if (!before.value.isObject() || !after.value.isObject()) {
            return before.value == after.value ? QVector<KeyChange>()
                                               : QVector<KeyChange> {{QString(), before.value, after.value}};
        }
        // Most elements are equal leaves, so this comes first. Comparing subtrees here would visit every level
        // repeatedly.
        if (before.children.empty() && after.children.empty() && before.value == after.value) {
            return {};
        }
        const QJsonObject earlier = before.object();
        const QJsonObject later = after.object();
        QVector<KeyChange> result;
        const auto compareKey = [&](const QString& key, const QJsonValue& valueBefore, const QJsonValue& valueAfter) {
            const bool isOfThePlace = isElsewhere && key == Registry::getKeyInstanceName()
                && followsFromThePlace(before) && followsFromThePlace(after);
            const bool isUncountedStamp = !withStamps && (isStamp(key, before) || isStamp(key, after));
            if (!isChildren(key, valueBefore, valueAfter) && !isOfThePlace && !isUncountedStamp
                && valueBefore != valueAfter) {
                result.append({key, valueBefore, valueAfter});
            }
        };
        auto member = earlier.constBegin();
        auto other = later.constBegin();
        // Most elements have the same keys in both trees. Then no look-ups are needed.
        for (; member != earlier.constEnd() && other != later.constEnd() && member.key() == other.key(); ++member) {
            compareKey(member.key(), member.value(), other.value());
            ++other;
        }
        for (; member != earlier.constEnd(); ++member) {
            compareKey(member.key(), member.value(), later.value(member.key()));
        }
        for (; other != later.constEnd(); ++other) {
            if (!earlier.contains(other.key())) {
                compareKey(other.key(), QJsonValue(QJsonValue::Undefined), other.value());
            }
        }
        std::sort(result.begin(), result.end(), [](const KeyChange& a, const KeyChange& b) { return a.key < b.key; });
        return result;
    }

    // Whether a change of a value is only a change of the children, which are compared on their own.
    static bool isChildren(const QString& key, const QJsonValue& before, const QJsonValue& after)
    {
        if (key != Registry::getKeySubstructure()) {
            return false;
        }
        return (before.isArray() && after.isArray()) || (before.isUndefined() && !after.toArray().isEmpty())
            || (after.isUndefined() && !before.toArray().isEmpty());
    }

    const Pairing& pairing;
    const bool withStamps;
    QVector<ElementChange> changes;
};

QString withBelow(const ElementChange& change)
{
    return change.below == 0 ? QString() : QStringLiteral(", with %1 below").arg(change.below);
}

QString asPosition(const TreeElement& element)
{
    return QStringLiteral(", as position %1").arg(element.position());
}

QString toWord(ElementChange::Kind kind)
{
    switch (kind) {
    case ElementChange::Added:
        return QStringLiteral("added");
    case ElementChange::Removed:
        return QStringLiteral("removed");
    case ElementChange::Changed:
        return QStringLiteral("changed");
    case ElementChange::Moved:
    case ElementChange::MovedElsewhere:
        break;
    }
    return QStringLiteral("moved");
}

void insertPlace(QJsonObject& object, const TreeElement& element)
{
    QJsonArray positions;
    for (const int position : element.positions) {
        positions.append(position);
    }
    object.insert(QStringLiteral("path"), element.isReachable() ? QJsonValue(element.path) : QJsonValue());
    object.insert(QStringLiteral("positions"), positions);
}

QJsonArray toJson(const QVector<KeyChange>& keys)
{
    QJsonArray result;
    for (const KeyChange& change : keys) {
        QJsonObject key {{QStringLiteral("key"), change.key.isNull() ? QJsonValue() : QJsonValue(change.key)}};
        // Undefined values are not inserted.
        key.insert(QStringLiteral("before"), change.before);
        key.insert(QStringLiteral("after"), change.after);
        result.append(key);
    }
    return result;
}

} // namespace

QString describe(const TreeElement& element)
{
    return toText(element.kind) % (element.isReachable() ? QLatin1String(" ") : QLatin1String(" at "))
        % element.place();
}

QVector<ElementChange> differencesOf(const TreeElements& before, const TreeElements& after, Stamps stamps)
{
    return differencesOf(Pairing(before, after, stamps), before, after, stamps);
}

QVector<ElementChange> differencesOf(
    const Pairing& pairing, const TreeElements& before, const TreeElements& after, Stamps stamps)
{
    Comparison comparison(pairing, stamps);
    comparison.compare(before, after, false);
    return comparison.takeChanges();
}

QString summaryOf(const QVector<ElementChange>& changes)
{
    std::map<QString, int> counts;
    for (const ElementChange& change : changes) {
        counts[toWord(change.kind)] += 1 + change.below;
    }
    const auto count = [&](ElementChange::Kind kind) {
        return QString(QString::number(counts[toWord(kind)]) % QLatin1Char(' ') % toWord(kind));
    };
    QStringList words {count(ElementChange::Added), count(ElementChange::Removed), count(ElementChange::Changed)};
    if (counts[toWord(ElementChange::Moved)] != 0) {
        words.append(count(ElementChange::Moved));
    }
    return words.join(QLatin1String(", "));
}

QString shownKey(const QString& key)
{
    return key.isEmpty() ? QStringLiteral("\"\"") : key;
}

QString jsonText(const QJsonValue& value, ValueLength length)
{
    if (value.isUndefined()) {
        return QStringLiteral("nothing");
    }
    constexpr int longest = 60;
    // QJsonDocument holds only arrays and objects, so the value is wrapped in an array.
    const QString text =
        QString::fromUtf8(QJsonDocument(QJsonArray {value}).toJson(QJsonDocument::Compact).chopped(1).mid(1));
    return length == ValueLength::Short && text.size() > longest ? QString(text.left(longest) % QLatin1String("..."))
                                                                 : text;
}

QString toLine(const ElementChange& change, ValueLength length)
{
    const QString start = toWord(change.kind) % QLatin1String(": ")
        % describe(
            change.kind == ElementChange::MovedElsewhere || change.after == nullptr ? *change.before : *change.after);
    switch (change.kind) {
    case ElementChange::Added:
        return start % asPosition(*change.after) % withBelow(change);
    case ElementChange::Removed:
        return start % withBelow(change);
    case ElementChange::Moved:
        return start
            % QStringLiteral(", from position %1 to %2").arg(change.before->position()).arg(change.after->position());
    case ElementChange::MovedElsewhere:
        return start % QLatin1String(", to ") % change.after->place() % asPosition(*change.after);
    case ElementChange::Changed:
        break;
    }
    QStringList keys;
    for (const KeyChange& key : change.keys) {
        const QString name = key.key.isNull() ? QString() : QString(shownKey(key.key) % QLatin1String(" from "));
        keys.append(name % jsonText(key.before, length) % QLatin1String(" to ") % jsonText(key.after, length));
    }
    return start % QLatin1String(", ") % keys.join(QLatin1String(", "));
}

QJsonObject toJson(const ElementChange& change)
{
    const TreeElement& element = change.after == nullptr ? *change.before : *change.after;
    QJsonObject result {
        {QStringLiteral("change"), toWord(change.kind)}, {QStringLiteral("kind"), toText(element.kind)}};
    insertPlace(result, element);
    switch (change.kind) {
    case ElementChange::Added:
    case ElementChange::Removed:
        result.insert(QStringLiteral("below"), change.below);
        break;
    case ElementChange::Changed:
        result.insert(QStringLiteral("keys"), toJson(change.keys));
        break;
    case ElementChange::Moved:
    case ElementChange::MovedElsewhere: {
        QJsonObject from;
        insertPlace(from, *change.before);
        result.insert(QStringLiteral("from"), from);
        break;
    }
    }
    return result;
}
