#include "Merge.h"

#include "Pairing.h"
#include "SystemInformationManagerRegistryDefinitions.h"

#include <algorithm>
#include <array>
#include <iterator>
#include <map>
#include <optional>
#include <set>
#include <utility>
#include <vector>

using Registry = SystemInformationManagerRegistryDefinitions;

namespace {

using Indices = std::vector<std::size_t>;

const TreeElements& childrenOf(const TreeElement* element)
{
    static const TreeElements none;
    return element == nullptr ? none : element->children;
}

QJsonValue valueOf(const TreeElement* element)
{
    return element == nullptr ? QJsonValue(QJsonValue::Undefined) : element->value;
}

MergeSide otherThan(MergeSide side)
{
    return side == MergeSide::Mine ? MergeSide::Theirs : MergeSide::Mine;
}

// Whether the children can be merged element by element: there is an array of them, or the key is missing.
bool hasChildrenOrNone(const TreeElement& element)
{
    const QJsonValue children = element.object().value(Registry::getKeySubstructure());
    return children.isArray() || children.isUndefined();
}

bool isSelection(const QJsonValue& type)
{
    return type == Registry::SelectionTypeValues::getSelection();
}

bool isStampKey(const QString& key)
{
    return key == Registry::getKeyModuleName() || key == Registry::getKeyObjectName();
}

bool haveTheSameStamps(const TreeElement& a, const TreeElement& b)
{
    return a.kind == b.kind
        && a.object().value(Registry::getKeyModuleName()) == b.object().value(Registry::getKeyModuleName())
        && a.object().value(Registry::getKeyObjectName()) == b.object().value(Registry::getKeyObjectName());
}

// Whether two elements differ, apart from their children and stamps.
bool isChangedItself(const TreeElement& before, const TreeElement& after)
{
    if (!before.value.isObject() || !after.value.isObject()) {
        return before.value != after.value;
    }
    const bool areWithoutChildren = before.children.empty() && after.children.empty();
    const auto ownMembers = [&](const TreeElement& element) {
        QJsonObject object = element.object();
        if (!areWithoutChildren && hasChildrenOrNone(element)) {
            object.remove(Registry::getKeySubstructure());
        }
        for (const QString& key : {Registry::getKeyModuleName(), Registry::getKeyObjectName()}) {
            if (isStamp(key, element)) {
                object.remove(key);
            }
        }
        return object;
    };
    return ownMembers(before) != ownMembers(after);
}

// Whether the siblings that are in both of the first two trees have the same order there.
bool haveTheSameOrder(const std::vector<SameElement>& siblings)
{
    std::vector<std::pair<int, int>> positions;
    for (const SameElement& same : siblings) {
        if (same[0] != nullptr && same[1] != nullptr) {
            positions.emplace_back(same[0]->position(), same[1]->position());
        }
    }
    std::sort(positions.begin(), positions.end());
    return std::is_sorted(
        positions.begin(), positions.end(), [](const auto& a, const auto& b) { return a.second < b.second; });
}

// Whether an element or anything below it was changed, added, removed or brought into another order.
bool isChangedAnywhere(const TreeElement& before, const TreeElement& after)
{
    if (isChangedItself(before, after)) {
        return true;
    }
    const std::vector<SameElement> children = sameElements({&before.children, &after.children, &childrenOf(nullptr)});
    return !haveTheSameOrder(children) || std::any_of(children.begin(), children.end(), [](const SameElement& same) {
        return same[0] == nullptr || same[1] == nullptr || isChangedAnywhere(*same[0], *same[1]);
    });
}

// The result of merging an element.
struct Merged {
    // Undefined if the element is removed.
    QJsonValue value = QJsonValue(QJsonValue::Undefined);
    // Whether the value is the same as in mine.
    bool isMine = false;

    bool isThere() const
    {
        return !value.isUndefined();
    }
};

struct MergedChildren {
    QJsonArray elements;
    bool areMine = false;
};

enum class Choice { Mine, Theirs, Conflict };

Choice choose(const QJsonValue& base, const QJsonValue& mine, const QJsonValue& theirs)
{
    if (mine == theirs || theirs == base) {
        return Choice::Mine;
    }
    return mine == base ? Choice::Theirs : Choice::Conflict;
}

class ThreeWayMerge {
public:
    explicit ThreeWayMerge(Decision decisionOfConflicts)
        : decision(decisionOfConflicts)
    {
    }

    MergeResult run(const TreeElements& base, const TreeElements& mine, const TreeElements& theirs)
    {
        findMoves(base, mine, theirs);
        result.manifest = mergeSiblings(base, mine, theirs, nullptr).elements;
        return std::move(result);
    }

private:
    bool isFor(MergeSide side) const
    {
        return (decision == Decision::Theirs) == (side == MergeSide::Theirs);
    }

    void addConflict(MergeConflict::Kind kind, const QString& element, const SameElement& values)
    {
        MergeConflict conflict;
        conflict.kind = kind;
        conflict.element = element;
        conflict.base = valueOf(values[0]);
        conflict.mine = valueOf(values[1]);
        conflict.theirs = valueOf(values[2]);
        result.conflicts.append(conflict);
    }

    // Finds elements that one side moved and the other changed. Carrying out a move as a removal and an addition would
    // lose the other side's changes.
    void findMoves(const TreeElements& base, const TreeElements& mine, const TreeElements& theirs)
    {
        const Pairing toMine(base, mine, Stamps::DoNotCount);
        const Pairing toTheirs(base, theirs, Stamps::DoNotCount);
        addPlaces(mine, toMine, placesOfMine);
        addPlaces(theirs, toTheirs, placesOfTheirs);
        findMovesBelow(base, toMine, toTheirs);
        findLostPlaces(mine, toMine, toTheirs, false);
        findLostPlaces(theirs, toTheirs, toMine, false);
    }

    // Finds elements that one side moved to a place that the other side has removed. If the other side decides, such an
    // element stays in its old place. Without this, an element of all three trees would be missing from the result.
    void findLostPlaces(const TreeElements& siblings, const Pairing& toSide, const Pairing& toOther, bool isBelowLost)
    {
        for (const TreeElement& element : siblings) {
            const TreeElement* const base = toSide.earlierOf(element);
            const TreeElement* const other = base == nullptr ? nullptr : toOther.laterOf(*base);
            const bool isMoved = toSide.isMovedElsewhere(element);
            if (isBelowLost && isMoved && other != nullptr && !toOther.isElsewhere(*other)) {
                conflicting.insert(base);
            }
            const bool isRemoved = base != nullptr && other == nullptr && !isMoved;
            findLostPlaces(element.children, toSide, toOther, isBelowLost || isRemoved || conflicting.count(base) != 0);
        }
    }

    // Adds the places of elements that the base does not have in the same place.
    static void addPlaces(const TreeElements& siblings, const Pairing& pairing, std::set<QString>& places)
    {
        for (const TreeElement& element : siblings) {
            if (pairing.earlierOf(element) == nullptr || pairing.isElsewhere(element)) {
                places.insert(element.place());
            }
            addPlaces(element.children, pairing, places);
        }
    }

    void findMovesBelow(const TreeElements& siblings, const Pairing& toMine, const Pairing& toTheirs)
    {
        for (const TreeElement& element : siblings) {
            const SameElement same {&element, toMine.laterOf(element), toTheirs.laterOf(element)};
            const bool isMovedByMine = same[1] != nullptr && toMine.isMovedElsewhere(*same[1]);
            const bool isMovedByThem = same[2] != nullptr && toTheirs.isMovedElsewhere(*same[2]);
            if (isMovedByThem) {
                judgeMove(same, MergeSide::Theirs, same[1] != nullptr && toMine.isElsewhere(*same[1]));
            } else if (isMovedByMine) {
                judgeMove(same, MergeSide::Mine, same[2] != nullptr && toTheirs.isElsewhere(*same[2]));
            }
            findMovesBelow(element.children, toMine, toTheirs);
        }
    }

    void judgeMove(const SameElement& same, MergeSide by, bool isMovedByOther)
    {
        const TreeElement& element = *same[0];
        const TreeElement& moved = *same[by == MergeSide::Mine ? 1 : 2];
        const TreeElement* const other = same[by == MergeSide::Mine ? 2 : 1];
        if (other == nullptr
            || (isMovedByOther ? isAlsoThere(moved, by) || isAlsoThere(*other, otherThan(by))
                               : !isChangedAnywhere(element, *other))) {
            return;
        }
        addConflict(MergeConflict::Moved, describe(element), same);
        MergeConflict& conflict = result.conflicts.last();
        conflict.by = by;
        conflict.movedTo = moved.place();
        conflict.otherMovedTo = isMovedByOther ? other->place() : QString();
        conflicting.insert(&element);
        if (!isFor(by)) {
            dropped.insert(&moved);
        } else if (isMovedByOther) {
            dropped.insert(other);
        }
    }

    // Whether the other side has also put an element in the place of this one. Then both sides agree on the place, and
    // what looks like a move to a third place is an addition there.
    bool isAlsoThere(const TreeElement& element, MergeSide side)
    {
        const std::set<QString>& places = side == MergeSide::Mine ? placesOfTheirs : placesOfMine;
        return places.count(element.place()) != 0;
    }

    // The value of an element that only one side has, without dropped descendants. Undefined if it is dropped itself.
    QJsonValue withoutDropped(const TreeElement& element) const
    {
        if (dropped.count(&element) != 0) {
            return QJsonValue::Undefined;
        }
        if (dropped.empty() || element.children.empty()) {
            return element.value;
        }
        QJsonArray children;
        bool isWhole = true;
        for (const TreeElement& child : element.children) {
            const QJsonValue value = withoutDropped(child);
            isWhole = isWhole && value == child.value;
            if (!value.isUndefined()) {
                children.append(value);
            }
        }
        return isWhole ? element.value : withChildren(element.object(), children);
    }

    static QJsonValue withChildren(QJsonObject object, const QJsonArray& children)
    {
        object.insert(Registry::getKeySubstructure(), children);
        return object;
    }

    MergedChildren mergeSiblings(
        const TreeElements& base, const TreeElements& mine, const TreeElements& theirs, const TreeElement* parent)
    {
        std::vector<SameElement> rows = sameElements({&base, &mine, &theirs});
        // For each tree, the numbers of the rows in the order of its siblings.
        std::array<Indices, 3> orders {Indices(base.size()), Indices(mine.size()), Indices(theirs.size())};
        for (std::size_t row = 0; row < rows.size(); ++row) {
            for (std::size_t tree = 0; tree < orders.size(); ++tree) {
                const TreeElement*& element = rows[row][tree];
                if (element != nullptr) {
                    orders[tree][static_cast<std::size_t>(element->position())] = row;
                    element = dropped.count(element) == 0 ? element : nullptr;
                }
            }
        }
        std::vector<std::optional<Merged>> merged(rows.size());
        for (const Indices& order : {orders[1], orders[2]}) {
            for (const std::size_t row : order) {
                if (!merged[row]) {
                    merged[row] = mergeElement(rows[row]);
                }
            }
        }

        const auto isThere = [&](std::size_t row, std::size_t tree) {
            return merged[row] && merged[row]->isThere() && rows[row][tree] != nullptr;
        };
        const std::size_t leading = leadingTree(rows, orders, isThere, parent);
        const Indices sequence = mergedOrder(orders, leading, isThere);
        MergedChildren children;
        children.areMine = sequence == orders[1];
        for (const std::size_t row : sequence) {
            children.elements.append(merged[row]->value);
            children.areMine = children.areMine && merged[row]->isMine;
        }
        return children;
    }

    // Returns the index of the tree whose order is taken. Adds a conflict if both sides have changed the order in
    // different ways.
    template <typename IsThere>
    std::size_t leadingTree(const std::vector<SameElement>& rows, const std::array<Indices, 3>& orders,
        const IsThere& isThere, const TreeElement* parent)
    {
        std::array<Indices, 3> common;
        for (std::size_t tree = 0; tree < orders.size(); ++tree) {
            std::copy_if(orders[tree].begin(), orders[tree].end(), std::back_inserter(common[tree]),
                [&](std::size_t row) { return isThere(row, 0) && isThere(row, 1) && isThere(row, 2); });
        }
        if (common[1] == common[0] || common[1] == common[2]) {
            return 2;
        }
        if (common[2] == common[0]) {
            return 1;
        }
        MergeConflict conflict;
        conflict.kind = MergeConflict::Order;
        conflict.element = parent == nullptr ? QString() : describe(*parent);
        const auto namesOf = [&](std::size_t tree) {
            QJsonArray names;
            for (const std::size_t row : common[tree]) {
                names.append(rows[row][tree]->answersTo);
            }
            return names;
        };
        conflict.base = namesOf(0);
        conflict.mine = namesOf(1);
        conflict.theirs = namesOf(2);
        result.conflicts.append(conflict);
        return isFor(MergeSide::Mine) ? 1 : 2;
    }

    // The rows in the order of the leading tree. A row that only the other tree has follows the nearest row before it
    // there that both have.
    template <typename IsThere>
    static Indices mergedOrder(const std::array<Indices, 3>& orders, std::size_t leading, const IsThere& isThere)
    {
        const std::size_t following = leading == 1 ? 2 : 1;
        std::map<std::size_t, Indices> followers;
        Indices* current = nullptr;
        Indices first;
        for (const std::size_t row : orders[following]) {
            if (isThere(row, leading)) {
                current = &followers[row];
            } else if (isThere(row, following)) {
                (current == nullptr ? first : *current).push_back(row);
            }
        }
        Indices sequence = first;
        for (const std::size_t row : orders[leading]) {
            if (isThere(row, leading)) {
                sequence.push_back(row);
                const auto behind = followers.find(row);
                if (behind != followers.end()) {
                    sequence.insert(sequence.end(), behind->second.begin(), behind->second.end());
                }
            }
        }
        return sequence;
    }

    Merged mergeElement(const SameElement& same)
    {
        const auto [base, mine, theirs] = same;
        if (mine != nullptr && theirs != nullptr) {
            return mergeBoth(same);
        }
        if (mine == nullptr && theirs == nullptr) {
            return {};
        }
        if (base == nullptr) {
            const TreeElement& added = mine != nullptr ? *mine : *theirs;
            const QJsonValue value = withoutDropped(added);
            return {value, mine != nullptr && value == added.value};
        }
        return mine != nullptr ? mergeRemoved(same, *mine, MergeSide::Theirs)
                               : mergeRemoved(same, *theirs, MergeSide::Mine);
    }

    // Merges an element that one side has removed. `left` is the element of the other side, which may have changed it.
    Merged mergeRemoved(const SameElement& same, const TreeElement& left, MergeSide remover)
    {
        const TreeElement& base = *same[0];
        const bool isKept = !isFor(remover);
        const QJsonValue value = isKept ? withoutDropped(left) : QJsonValue(QJsonValue::Undefined);
        Merged whole {value, remover == MergeSide::Theirs && value == left.value};
        if (conflicting.count(&base) != 0) {
            return whole;
        }
        const std::vector<SameElement> children = sameElements({&base.children, &left.children, &childrenOf(nullptr)});
        const bool hasAdditions =
            std::any_of(children.begin(), children.end(), [](const SameElement& child) { return child[0] == nullptr; });
        if (hasAdditions || !haveTheSameOrder(children) || isChangedItself(base, left)) {
            addConflict(MergeConflict::Removed, describe(left), same);
            result.conflicts.last().by = remover;
            return whole;
        }
        std::map<int, Merged> kept;
        for (const SameElement& child : children) {
            if (child[1] == nullptr) {
                continue;
            }
            const SameElement sameChild = remover == MergeSide::Theirs ? SameElement {child[0], child[1], nullptr}
                                                                       : SameElement {child[0], nullptr, child[1]};
            const Merged merged = mergeRemoved(sameChild, *child[1], remover);
            if (merged.isThere()) {
                kept.emplace(child[1]->position(), merged);
            }
        }
        if (kept.empty()) {
            return {};
        }
        QJsonArray elements;
        bool areMine = remover == MergeSide::Theirs && kept.size() == left.children.size();
        for (const auto& child : kept) {
            elements.append(child.second.value);
            areMine = areMine && child.second.isMine;
        }
        return {areMine ? left.value : withChildren(left.object(), elements), areMine};
    }

    Merged mergeBoth(const SameElement& same)
    {
        const auto [base, mine, theirs] = same;
        // Most elements are equal leaves, so this comes first. Comparing subtrees here would visit every level
        // repeatedly.
        const bool areLeaves = mine->children.empty() && theirs->children.empty() && childrenOf(base).empty();
        if (areLeaves && (theirs->value == mine->value || theirs->value == valueOf(base))) {
            return {mine->value, true};
        }
        if (areLeaves && mine->value == valueOf(base) && haveTheSameStamps(*mine, *theirs)) {
            return {theirs->value, false};
        }
        if (!mine->value.isObject() || !theirs->value.isObject() || (base != nullptr && !base->value.isObject())) {
            const QJsonValue value = decide(*mine, QString(), valueOf(base), mine->value, theirs->value);
            return {value, value == mine->value};
        }
        const bool areChildrenMerged =
            hasChildrenOrNone(*mine) && hasChildrenOrNone(*theirs) && (base == nullptr || hasChildrenOrNone(*base));
        QJsonObject object = mine->object();
        bool isMine = mergeMembers(same, areChildrenMerged, object);
        if (areChildrenMerged) {
            const MergedChildren children = mergeSiblings(childrenOf(base), mine->children, theirs->children, mine);
            isMine = mergeChildren(same, children, object) && isMine;
        }
        return {isMine ? mine->value : object, isMine};
    }

    // Merges the members of an element. `object` is that of mine and is updated. Returns whether it stays unchanged.
    bool mergeMembers(const SameElement& same, bool areChildrenMerged, QJsonObject& object)
    {
        const QJsonObject base = valueOf(same[0]).toObject();
        const QJsonObject mine = same[1]->object();
        const QJsonObject theirs = same[2]->object();
        const QString& typeKey = Registry::getKeySelectionType();
        const Choice type = choose(base.value(typeKey), mine.value(typeKey), theirs.value(typeKey));
        const bool isSelectionNow = isSelection((isForTheirs(type) ? theirs : mine).value(typeKey));
        bool isMine = true;
        const auto mergeKey = [&](const QString& key) {
            const bool isChildrenKey = areChildrenMerged && key == Registry::getKeySubstructure();
            if (isChildrenKey || (isSelectionNow && isStampKey(key))) {
                return;
            }
            // The merged element is not a selection. So the stamps of a side where it is one count as missing.
            const auto memberOf = [&](const QJsonObject& side) {
                const bool isItsStamp = isStampKey(key) && isSelection(side.value(typeKey));
                return isItsStamp ? QJsonValue(QJsonValue::Undefined) : side.value(key);
            };
            const QJsonValue value = decide(*same[1], key, memberOf(base), memberOf(mine), memberOf(theirs));
            if (value != mine.value(key)) {
                // Inserting an undefined value removes the key.
                object.insert(key, value);
                isMine = false;
            }
        };
        for (auto member = mine.constBegin(); member != mine.constEnd(); ++member) {
            mergeKey(member.key());
        }
        for (auto member = theirs.constBegin(); member != theirs.constEnd(); ++member) {
            if (!mine.contains(member.key())) {
                mergeKey(member.key());
            }
        }
        return isMine;
    }

    // Stores the merged children in `object`. Returns whether it stays unchanged. If there are no children, whether it
    // has an empty array or none at all is merged like a member.
    static bool mergeChildren(const SameElement& same, const MergedChildren& children, QJsonObject& object)
    {
        const QString& key = Registry::getKeySubstructure();
        const auto hasArray = [&](std::size_t tree) {
            return QJsonValue(same[tree] != nullptr && same[tree]->object().contains(key));
        };
        const bool hadArray = hasArray(1).toBool();
        const bool getsArray =
            !children.elements.isEmpty() || (hasArray(1) == hasArray(0) ? hasArray(2).toBool() : hadArray);
        if (children.areMine && getsArray == hadArray) {
            return true;
        }
        if (getsArray) {
            object.insert(key, children.elements);
        } else {
            object.remove(key);
        }
        return false;
    }

    // Returns the value of the side that has changed it. If both have changed it in different ways, adds a conflict and
    // returns the value of the side that decides.
    QJsonValue decide(const TreeElement& element, const QString& key, const QJsonValue& base, const QJsonValue& mine,
        const QJsonValue& theirs)
    {
        // Only whole elements, and children that are not an array on every side, can contain stamps.
        const bool hasStamps = key.isNull() || key == Registry::getKeySubstructure();
        const Choice choice = hasStamps ? choose(withoutStamps(base), withoutStamps(mine), withoutStamps(theirs))
                                        : choose(base, mine, theirs);
        if (choice == Choice::Conflict) {
            MergeConflict conflict;
            conflict.element = describe(element);
            conflict.key = key;
            conflict.base = base;
            conflict.mine = mine;
            conflict.theirs = theirs;
            result.conflicts.append(conflict);
        }
        return isForTheirs(choice) ? theirs : mine;
    }

    bool isForTheirs(Choice choice) const
    {
        return choice == Choice::Theirs || (choice == Choice::Conflict && isFor(MergeSide::Theirs));
    }

    const Decision decision;
    // Elements of the base that one side has moved, while the other side has changed them, moved them elsewhere or
    // removed their new place.
    std::set<const TreeElement*> conflicting;
    // Elements of mine and theirs that are left out because the other side decides about their place.
    std::set<const TreeElement*> dropped;
    // The places of elements of mine and of theirs that the base does not have in the same place.
    std::set<QString> placesOfMine;
    std::set<QString> placesOfTheirs;
    MergeResult result;
};

QLatin1String toWord(MergeSide side)
{
    return side == MergeSide::Mine ? QLatin1String("mine") : QLatin1String("new");
}

QString whatHappened(const MergeConflict& conflict)
{
    const QLatin1String by = toWord(conflict.by);
    const QLatin1String other = toWord(otherThan(conflict.by));
    switch (conflict.kind) {
    case MergeConflict::Value:
        return conflict.key.isNull() ? conflict.element
                                     : QString(conflict.element % QLatin1String(", ") % shownKey(conflict.key));
    case MergeConflict::Removed:
        return conflict.element % QLatin1String(", removed by ") % by % QLatin1String(", changed by ") % other;
    case MergeConflict::Moved: {
        return conflict.element % QLatin1String(", moved to ") % conflict.movedTo % QLatin1String(" by ") % by
            % (conflict.otherMovedTo.isNull() ? QStringLiteral(", changed")
                                              : QString(QLatin1String(", to ") % conflict.otherMovedTo))
            % QLatin1String(" by ") % other;
    }
    case MergeConflict::Order:
        break;
    }
    return QLatin1String("order of the ")
        % (conflict.element.isNull() ? QString(QLatin1String("top level"))
                                     : QString(QLatin1String("children of ") % conflict.element));
}

QString toWord(MergeConflict::Kind kind)
{
    switch (kind) {
    case MergeConflict::Removed:
        return QStringLiteral("removed");
    case MergeConflict::Moved:
        return QStringLiteral("moved");
    case MergeConflict::Order:
        return QStringLiteral("order");
    case MergeConflict::Value:
        break;
    }
    return QStringLiteral("value");
}

} // namespace

MergeResult merge(const TreeElements& base, const TreeElements& mine, const TreeElements& theirs, Decision decision)
{
    return ThreeWayMerge(decision).run(base, mine, theirs);
}

QString toLine(const MergeConflict& conflict, ValueLength length)
{
    return whatHappened(conflict) % QLatin1String(": base ") % jsonText(conflict.base, length)
        % QLatin1String(", mine ") % jsonText(conflict.mine, length) % QLatin1String(", new ")
        % jsonText(conflict.theirs, length);
}

QJsonObject toJson(const MergeConflict& conflict)
{
    QJsonObject result {{QStringLiteral("conflict"), toWord(conflict.kind)},
        {QStringLiteral("element"), conflict.element.isNull() ? QJsonValue() : QJsonValue(conflict.element)}};
    const auto insertText = [&](const QString& key, const QString& text) {
        if (!text.isNull()) {
            result.insert(key, text);
        }
    };
    insertText(QStringLiteral("key"), conflict.key);
    if (conflict.kind == MergeConflict::Removed || conflict.kind == MergeConflict::Moved) {
        insertText(QStringLiteral("by"), toWord(conflict.by));
    }
    insertText(QStringLiteral("movedTo"), conflict.movedTo);
    insertText(QStringLiteral("otherMovedTo"), conflict.otherMovedTo);
    // Undefined values are not inserted.
    result.insert(QStringLiteral("base"), conflict.base);
    result.insert(QStringLiteral("mine"), conflict.mine);
    result.insert(QStringLiteral("new"), conflict.theirs);
    return result;
}
