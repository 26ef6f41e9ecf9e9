#include "Pairing.h"

#include "SystemInformationManagerRegistryDefinitions.h"

#include <QtCore/QCryptographicHash>
#include <QtCore/QJsonDocument>

#include <algorithm>
#include <map>

using Registry = SystemInformationManagerRegistryDefinitions;

namespace {

constexpr int nobody = -1;

std::size_t asIndex(int number)
{
    return static_cast<std::size_t>(number);
}

// Elements with the same digest count as equal, so the hash is a cryptographic one: nobody can construct collisions.
QByteArray digestOf(const QByteArray& content)
{
    return QCryptographicHash::hash(content, QCryptographicHash::Sha256);
}

// The members of an element without its children, as a text that does not depend on its place.
QByteArray ownContent(const TreeElement& element, bool withStamps)
{
    QJsonObject object = element.object();
    const QJsonValue children = object.take(Registry::getKeySubstructure());
    if (!children.isArray() && !children.isUndefined()) {
        object.insert(Registry::getKeySubstructure(), children);
    }
    for (const QString& key : {Registry::getKeyModuleName(), Registry::getKeyObjectName()}) {
        if (!withStamps && isStamp(key, element)) {
            object.remove(key);
        }
    }
    object.insert(Registry::getKeyInstanceName(), element.answersTo);
    return QJsonDocument(object).toJson(QJsonDocument::Compact) + (children.isArray() ? 'a' : 'n');
}

// Whether all lists that are not empty contain elements of the same names in the same order.
bool haveTheSameNames(const std::array<const TreeElements*, 3>& siblings)
{
    const TreeElements* first = nullptr;
    for (const TreeElements* list : siblings) {
        if (first == nullptr && !list->empty()) {
            first = list;
        }
        const bool isSame = list->empty()
            || std::equal(list->begin(), list->end(), first->begin(), first->end(),
                [](const TreeElement& a, const TreeElement& b) { return a.answersTo == b.answersTo; });
        if (!isSame) {
            return false;
        }
    }
    return true;
}

std::vector<SameElement> inTheirOrder(const std::array<const TreeElements*, 3>& siblings)
{
    std::vector<SameElement> result;
    for (std::size_t list = 0; list < siblings.size(); ++list) {
        result.resize(std::max(result.size(), siblings.at(list)->size()));
        for (std::size_t index = 0; index < siblings.at(list)->size(); ++index) {
            result[index][list] = &(*siblings.at(list))[index];
        }
    }
    return result;
}

std::vector<SameElement> inOrderOfNames(const std::array<const TreeElements*, 3>& siblings)
{
    std::array<std::vector<const TreeElement*>, 3> sorted;
    for (std::size_t list = 0; list < sorted.size(); ++list) {
        sorted[list].reserve(siblings[list]->size());
        for (const TreeElement& element : *siblings[list]) {
            sorted[list].push_back(&element);
        }
        std::stable_sort(sorted[list].begin(), sorted[list].end(),
            [](const TreeElement* a, const TreeElement* b) { return a->answersTo < b->answersTo; });
    }
    std::array<std::size_t, 3> next {};
    const auto head = [&](std::size_t list) {
        return next[list] < sorted[list].size() ? sorted[list][next[list]] : nullptr;
    };
    std::vector<SameElement> result;
    for (;;) {
        const TreeElement* first = nullptr;
        for (std::size_t list = 0; list < sorted.size(); ++list) {
            if (head(list) != nullptr && (first == nullptr || head(list)->answersTo < first->answersTo)) {
                first = head(list);
            }
        }
        if (first == nullptr) {
            return result;
        }
        SameElement same {};
        for (std::size_t list = 0; list < sorted.size(); ++list) {
            if (head(list) != nullptr && head(list)->answersTo == first->answersTo) {
                same[list] = head(list);
                ++next[list];
            }
        }
        result.push_back(same);
    }
}

} // namespace

bool isStamp(const QString& key, const TreeElement& element)
{
    return element.kind == TreeElement::Kind::Selection
        && (key == Registry::getKeyModuleName() || key == Registry::getKeyObjectName());
}

std::vector<SameElement> sameElements(const std::array<const TreeElements*, 3>& siblings)
{
    return haveTheSameNames(siblings) ? inTheirOrder(siblings) : inOrderOfNames(siblings);
}

Pairing::Side::Side(const TreeElements& tree)
{
    append(tree, nobody);
    partners.assign(elements.size(), nobody);
}

void Pairing::Side::append(const TreeElements& siblings, int parent)
{
    for (const TreeElement& element : siblings) {
        const int number = size();
        elements.push_back(&element);
        parents.push_back(parent);
        ends.push_back(number);
        append(element.children, number);
        ends[asIndex(number)] = size();
    }
}

int Pairing::Side::size() const
{
    return static_cast<int>(elements.size());
}

std::vector<int> Pairing::Side::unpaired() const
{
    std::vector<int> numbers;
    for (int number = 0; number < size(); ++number) {
        if (partners[asIndex(number)] == nobody) {
            numbers.push_back(number);
        }
    }
    return numbers;
}

Pairing::Pairing(const TreeElements& before, const TreeElements& after, Stamps stamps)
    : earlier(before)
    , later(after)
    , withStamps(stamps == Stamps::Count)
{
    pairSiblings(before, after);
    const std::vector<int> removed = earlier.unpaired();
    const std::vector<int> added = later.unpaired();
    if (removed.empty() || added.empty()) {
        return;
    }
    const Contents contentsBefore = contentsOf(earlier, removed);
    const Contents contentsAfter = contentsOf(later, added);
    pairMovedContent(removed, contentsBefore, added, contentsAfter);
    pairMovedParents(removed, contentsBefore, contentsAfter);
}

const TreeElement* Pairing::laterOf(const TreeElement& before) const
{
    const int number = earlier.partners[asIndex(before.number)];
    return number == nobody ? nullptr : later.elements[asIndex(number)];
}

const TreeElement* Pairing::earlierOf(const TreeElement& after) const
{
    const int number = later.partners[asIndex(after.number)];
    return number == nobody ? nullptr : earlier.elements[asIndex(number)];
}

bool Pairing::isMovedElsewhere(const TreeElement& after) const
{
    const int before = later.partners[asIndex(after.number)];
    if (before == nobody) {
        return false;
    }
    const int parentBefore = earlier.parents[asIndex(before)];
    const int parentAfter = later.parents[asIndex(after.number)];
    return parentBefore == nobody || parentAfter == nobody ? parentBefore != parentAfter
                                                           : earlier.partners[asIndex(parentBefore)] != parentAfter;
}

bool Pairing::isElsewhere(const TreeElement& after) const
{
    for (int number = after.number; number != nobody; number = later.parents[asIndex(number)]) {
        if (isMovedElsewhere(*later.elements[asIndex(number)])) {
            return true;
        }
    }
    return false;
}

int Pairing::count() const
{
    return earlier.size() - static_cast<int>(earlier.unpaired().size());
}

void Pairing::pair(int before, int after)
{
    earlier.partners[asIndex(before)] = after;
    later.partners[asIndex(after)] = before;
}

// Pairs siblings and their descendants. Skips elements that already have a partner.
void Pairing::pairSiblings(const TreeElements& before, const TreeElements& after)
{
    if (before.empty() || after.empty()) {
        return;
    }
    static const TreeElements none;
    for (const SameElement& same : sameElements({&before, &after, &none})) {
        if (same[0] != nullptr && same[1] != nullptr && earlier.partners[asIndex(same[0]->number)] == nobody
            && later.partners[asIndex(same[1]->number)] == nobody) {
            pair(same[0]->number, same[1]->number);
            pairSiblings(same[0]->children, same[1]->children);
        }
    }
}

Pairing::Contents Pairing::contentsOf(const Side& side, const std::vector<int>& numbers) const
{
    Contents contents;
    contents.own.resize(side.elements.size());
    contents.whole.resize(side.elements.size());
    // In reverse order, because the digest of a parent needs those of its children. They are all in `numbers`: no
    // descendant of an element without a partner has a partner yet.
    for (auto number = numbers.rbegin(); number != numbers.rend(); ++number) {
        const TreeElement& element = *side.elements[asIndex(*number)];
        if (element.answersTo.isEmpty()) {
            continue;
        }
        QByteArray& own = contents.own[asIndex(*number)];
        own = digestOf(ownContent(element, withStamps));
        QByteArray whole = own;
        for (const TreeElement& child : element.children) {
            const QByteArray& below = contents.whole[asIndex(child.number)];
            // Elements without a name are not matched elsewhere, nor are elements that contain one.
            if (below.isEmpty()) {
                whole.clear();
                break;
            }
            whole += below;
        }
        contents.whole[asIndex(*number)] = element.children.empty() || whole.isEmpty() ? whole : digestOf(whole);
    }
    return contents;
}

void Pairing::pairMovedContent(const std::vector<int>& removed, const Contents& contentsBefore,
    const std::vector<int>& added, const Contents& contentsAfter)
{
    struct Candidates {
        std::vector<int> numbers;
        std::size_t next = 0;
    };
    std::map<QByteArray, Candidates> candidates;
    for (const int number : added) {
        candidates[contentsAfter.whole[asIndex(number)]].numbers.push_back(number);
    }
    // The largest subtrees first, because their descendants are paired with them.
    const auto sizeOf = [&](int number) { return earlier.ends[asIndex(number)] - number; };
    std::vector<int> bySize = removed;
    std::stable_sort(bySize.begin(), bySize.end(), [&](int a, int b) { return sizeOf(a) > sizeOf(b); });
    for (const int before : bySize) {
        const QByteArray& content = contentsBefore.whole[asIndex(before)];
        const auto found = candidates.find(content);
        if (content.isEmpty() || earlier.partners[asIndex(before)] != nobody || found == candidates.end()) {
            continue;
        }
        Candidates& same = found->second;
        while (same.next < same.numbers.size() && later.partners[asIndex(same.numbers[same.next])] != nobody) {
            ++same.next;
        }
        if (same.next < same.numbers.size()) {
            // In equal subtrees, the descendants have the same numbers relative to the root.
            const int after = same.numbers[same.next];
            for (int below = 0; below < sizeOf(before); ++below) {
                pair(before + below, after + below);
            }
        }
    }
}

void Pairing::pairMovedParents(
    const std::vector<int>& removed, const Contents& contentsBefore, const Contents& contentsAfter)
{
    for (auto number = removed.rbegin(); number != removed.rend(); ++number) {
        const int after = newParentOf(*number, contentsBefore, contentsAfter);
        if (after != nobody) {
            pair(*number, after);
            pairSiblings(earlier.elements[asIndex(*number)]->children, later.elements[asIndex(after)]->children);
        }
    }
}

// The number of the partner of an element whose children have changed: the new parent of a child that was moved with
// it, if it has the same members. -1 if there is none.
int Pairing::newParentOf(int before, const Contents& contentsBefore, const Contents& contentsAfter) const
{
    if (earlier.partners[asIndex(before)] != nobody) {
        return nobody;
    }
    for (const TreeElement& child : earlier.elements[asIndex(before)]->children) {
        const int childAfter = earlier.partners[asIndex(child.number)];
        const int after = childAfter == nobody ? nobody : later.parents[asIndex(childAfter)];
        const QByteArray& own = contentsBefore.own[asIndex(before)];
        if (after != nobody && later.partners[asIndex(after)] == nobody && !own.isEmpty()
            && own == contentsAfter.own[asIndex(after)]) {
            return after;
        }
    }
    return nobody;
}
