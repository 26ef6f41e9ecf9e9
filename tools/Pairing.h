#pragma once

#include "Tree.h"

#include <QtCore/QByteArray>
#include <QtCore/QString>

#include <array>
#include <vector>

/// Whether a comparison counts the names of module and object that handlers stamp into selections.
enum class Stamps { Count, DoNotCount };

/// Returns whether `key` is a stamp of the element: the name of a module or an object in a selection.
bool isStamp(const QString& key, const TreeElement& element);

/// The same element in up to three trees; null for a tree that does not have it.
using SameElement = std::array<const TreeElement*, 3>;

/// Returns which elements of up to three lists of siblings are the same. Elements are the same if they answer to the
/// same name. If several siblings answer to one name, the first is the same as the first in the other lists, the second
/// as the second and so on. An empty list stands for a missing one. Cost: n log n in the number of siblings.
std::vector<SameElement> sameElements(const std::array<const TreeElements*, 3>& siblings);

/**
 * Pairs the elements of two trees that are the same element.
 *
 * sameElements() pairs the children of paired elements, from the top level down. An element without a partner was moved
 * to another parent if an element without a partner in the other tree answers to the same name and has equal members
 * and children. The instance name is not compared, because it follows from the place. Stamps are only compared if they
 * count. A moved node whose children have changed is paired with the new parent of one of its children that has a
 * partner, if both nodes have equal members apart from their children.
 *
 * A pairing keeps pointers into both trees, which must outlive it. Cost: n log n in the number of elements.
 */
class Pairing {
public:
    Pairing(const TreeElements& before, const TreeElements& after, Stamps stamps);

    /// Returns the partner of an element of the earlier tree; null if it has none.
    const TreeElement* laterOf(const TreeElement& before) const;
    /// Returns the partner of an element of the later tree; null if it has none.
    const TreeElement* earlierOf(const TreeElement& after) const;
    /// Returns whether an element of the later tree had another parent in the earlier one. False without a partner.
    bool isMovedElsewhere(const TreeElement& after) const;
    /// Returns whether isMovedElsewhere() is true for the element or for an element above it.
    bool isElsewhere(const TreeElement& after) const;
    /// Returns the number of pairs. Cost: linear in the size of the earlier tree.
    int count() const;

private:
    // The elements of a tree by number, in the order of the tree: parents before their children.
    struct Side {
        explicit Side(const TreeElements& tree);
        void append(const TreeElements& siblings, int parent);
        int size() const;
        // Returns the numbers of the elements without a partner.
        std::vector<int> unpaired() const;

        std::vector<const TreeElement*> elements;
        // The number of each element's parent; -1 at the top level.
        std::vector<int> parents;
        // The number after that of each element's last descendant.
        std::vector<int> ends;
        // The number of each element's partner in the other tree; -1 if it has none.
        std::vector<int> partners;
    };
    // Digests by element number: `own` without children, `whole` with them. Empty for elements that have a partner or
    // no name; `whole` is also empty for elements that contain one without a name.
    struct Contents {
        std::vector<QByteArray> own;
        std::vector<QByteArray> whole;
    };

    void pair(int before, int after);
    void pairSiblings(const TreeElements& before, const TreeElements& after);
    Contents contentsOf(const Side& side, const std::vector<int>& numbers) const;
    void pairMovedContent(const std::vector<int>& removed, const Contents& contentsBefore,
        const std::vector<int>& added, const Contents& contentsAfter);
    void pairMovedParents(
        const std::vector<int>& removed, const Contents& contentsBefore, const Contents& contentsAfter);
    int newParentOf(int before, const Contents& contentsBefore, const Contents& contentsAfter) const;

    Side earlier;
    Side later;
    const bool withStamps;
};
