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

// Which elements of two lists of siblings are the same one: later positions, with the earlier ones. Of several with one
// name those that are equal are, and then the first ones.
class Matching {
public:
    Matching(const TreeElements& before, const TreeElements& after)
    {
        std::map<QString, Indices> unmatched;
        for (TreeElements::size_type index = 0; index < before.size(); ++index) {
            unmatched[before.at(index).name].push_back(index);
        }
        const auto match = [&](TreeElements::size_type index, bool hasToBeEqual) {
            Indices& candidates = unmatched[after.at(index).name];
            const auto found =
                std::find_if(candidates.begin(), candidates.end(), [&](TreeElements::size_type candidate) {
                    return !hasToBeEqual || before.at(candidate).value == after.at(index).value;
                });
            if (found != candidates.end() && earlier.count(index) == 0) {
                earlier.emplace(index, *found);
                candidates.erase(found);
            }
        };
        for (const bool hasToBeEqual : {true, false}) {
            for (TreeElements::size_type index = 0; index < after.size(); ++index) {
                match(index, hasToBeEqual);
            }
        }
    }

    /// In the order of the later positions.
    const std::map<TreeElements::size_type, TreeElements::size_type>& pairs() const
    {
        return earlier;
    }

private:
    std::map<TreeElements::size_type, TreeElements::size_type> earlier;
};

ElementChange wholeElement(ElementChange::Kind kind, const TreeElement& element)
{
    return {kind, describe(element), countBelow(element), {}, element.position(), element.position()};
}

// Which of the numbers are not part of their longest rising sequence.
std::set<TreeElements::size_type> outOfOrder(const Indices& numbers)
{
    // The end of the best sequence of every length, and what comes before each number in the best one that it ends.
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

/// Compares two trees level by level.
class Comparison {
public:
    explicit Comparison(Stamps stamps)
        : withStamps(stamps == Stamps::Count)
    {
    }

    void compare(const TreeElements& before, const TreeElements& after)
    {
        const Matching matching(before, after);
        const auto& matches = matching.pairs();
        Indices order(matches.size());
        std::transform(matches.begin(), matches.end(), order.begin(), [](const auto& match) { return match.second; });
        const std::set<TreeElements::size_type> kept(order.begin(), order.end());
        for (TreeElements::size_type index = 0; index < before.size(); ++index) {
            if (kept.count(index) == 0) {
                changes.append(wholeElement(ElementChange::Removed, before.at(index)));
            }
        }
        const std::set<TreeElements::size_type> moved = outOfOrder(order);
        for (TreeElements::size_type index = 0; index < after.size(); ++index) {
            const auto match = matches.find(index);
            if (match == matches.end()) {
                changes.append(wholeElement(ElementChange::Added, after.at(index)));
            } else {
                compareElements(before.at(match->second), after.at(index), moved.count(match->second) != 0);
            }
        }
    }

    QVector<ElementChange> takeChanges()
    {
        return std::move(changes);
    }

private:
    void compareElements(const TreeElement& before, const TreeElement& after, bool isMoved)
    {
        const QVector<KeyChange> keys = keyChanges(before, after);
        if (!keys.isEmpty() || before.kind != after.kind) {
            changes.append({ElementChange::Changed, describe(after), 0, keys, before.position(), after.position()});
        }
        if (isMoved) {
            changes.append({ElementChange::Moved, describe(after), 0, {}, before.position(), after.position()});
        }
        compare(before.children, after.children);
    }

    QVector<KeyChange> keyChanges(const TreeElement& before, const TreeElement& after) const
    {
        if (!before.value.isObject() || !after.value.isObject()) {
            return before.value == after.value ? QVector<KeyChange>()
                                               : QVector<KeyChange> {{QString(), before.value, after.value}};
        }
        const QJsonObject earlier = before.object();
        const QJsonObject later = after.object();
        std::set<QString> keys;
        for (const QJsonObject& object : {earlier, later}) {
            for (auto member = object.constBegin(); member != object.constEnd(); ++member) {
                keys.insert(member.key());
            }
        }
        QVector<KeyChange> result;
        for (const QString& key : keys) {
            const QJsonValue valueBefore = earlier.value(key);
            const QJsonValue valueAfter = later.value(key);
            if (valueBefore != valueAfter && !isElsewhere(key, valueBefore, valueAfter)) {
                result.append({key, valueBefore, valueAfter});
            }
        }
        return result;
    }

    // Whether a change is none of the element itself: that of its children, or of its stamps when they do not count.
    bool isElsewhere(const QString& key, const QJsonValue& before, const QJsonValue& after) const
    {
        if (key == Registry::getKeySubstructure()) {
            const auto isNone = [](const QJsonValue& value) { return value.isUndefined(); };
            return (before.isArray() && after.isArray()) || (isNone(before) && !after.toArray().isEmpty())
                || (isNone(after) && !before.toArray().isEmpty());
        }
        return !withStamps && (key == Registry::getKeyModuleName() || key == Registry::getKeyObjectName());
    }

    const bool withStamps;
    QVector<ElementChange> changes;
};

QString shown(const QJsonValue& value)
{
    if (value.isUndefined()) {
        return QStringLiteral("nothing");
    }
    constexpr int longest = 60;
    const QString text =
        QString::fromUtf8(QJsonDocument(QJsonArray {value}).toJson(QJsonDocument::Compact).chopped(1).mid(1));
    return text.size() > longest ? QString(text.left(longest) % QLatin1String("...")) : text;
}

QString withBelow(const ElementChange& change)
{
    return change.below == 0 ? QString() : QStringLiteral(", with %1 below").arg(change.below);
}

QString toLine(const ElementChange& change)
{
    const QString& element = change.element;
    switch (change.kind) {
    case ElementChange::Added:
        return QLatin1String("added: ") % element % QStringLiteral(", as position %1").arg(change.positionAfter)
            % withBelow(change);
    case ElementChange::Removed:
        return QLatin1String("removed: ") % element % withBelow(change);
    case ElementChange::Moved:
        return QLatin1String("moved: ") % element
            % QStringLiteral(", from position %1 to %2").arg(change.positionBefore).arg(change.positionAfter);
    case ElementChange::Changed:
        break;
    }
    QStringList keys;
    for (const KeyChange& key : change.keys) {
        const QString name = key.key.isEmpty() ? QString() : QString(key.key % QLatin1String(" from "));
        keys.append(name % shown(key.before) % QLatin1String(" to ") % shown(key.after));
    }
    return QLatin1String("changed: ") % element % QLatin1String(", ") % keys.join(QLatin1String(", "));
}

} // namespace

QString describe(const TreeElement& element)
{
    return toText(element.kind) % (element.isReachable() ? QLatin1String(" ") : QLatin1String(" at ")) % element.place;
}

QVector<ElementChange> differencesOf(const TreeElements& before, const TreeElements& after, Stamps stamps)
{
    Comparison comparison(stamps);
    comparison.compare(before, after);
    return comparison.takeChanges();
}

QString summaryOf(const QVector<ElementChange>& changes)
{
    std::map<ElementChange::Kind, int> counts;
    for (const ElementChange& change : changes) {
        counts[change.kind] += 1 + change.below;
    }
    const QString summary = QStringLiteral("%1 added, %2 removed, %3 changed")
                                .arg(counts[ElementChange::Added])
                                .arg(counts[ElementChange::Removed])
                                .arg(counts[ElementChange::Changed]);
    return counts[ElementChange::Moved] == 0
        ? summary
        : QString(summary % QStringLiteral(", %1 moved").arg(counts[ElementChange::Moved]));
}

QStringList toLines(const QVector<ElementChange>& changes)
{
    QStringList lines;
    for (const ElementChange& change : changes) {
        lines.append(toLine(change));
    }
    return lines;
}
