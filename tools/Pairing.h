#pragma once

#include "Tree.h"

#include <QtCore/QByteArray>
#include <QtCore/QString>

#include <array>
#include <vector>

/// The names of module and object that handlers stamp into selections.
enum class Stamps { Count, DoNotCount };

/// Whether a key of an element is such a name.
bool isStamp(const QString& key, const TreeElement& element);

/// One element in up to three trees; null in those that do not have it.
using SameElement = std::array<const TreeElement*, 3>;

/// What is the same in up to three lists of siblings: elements that answer to the same name; of several of one name the
/// first with the first, the second with the second and so on. Cost: n log n.
std::vector<SameElement> sameElements(const std::array<const TreeElements*, 3>& siblings);

/**
 * Which elements of two trees are the same one.
 *
 * Siblings are the same as sameElements() says. What is left of both trees was moved to another parent when it answers
 * to the same name and has the same content: its members, but for the instance name, which follows from the place, and
 * for stamps unless they count, and its children. A node whose children have changed as well went where a child went
 * that has not.
 *
 * It refers to both trees. Cost: n log n.
 */
class Pairing {
public:
    Pairing(const TreeElements& before, const TreeElements& after, Stamps stamps);

    /// The same element in the other tree; null when that has none.
    const TreeElement* laterOf(const TreeElement& before) const;
    const TreeElement* earlierOf(const TreeElement& after) const;
    /// Whether an element that is in both trees has another parent in the later one.
    bool isMovedElsewhere(const TreeElement& after) const;
    /// The same of the element or one above it.
    bool isElsewhere(const TreeElement& after) const;
    /// How many elements are in both trees.
    int count() const;

private:
    // A tree as a list in its own order.
    struct Side {
        explicit Side(const TreeElements& tree);
        void append(const TreeElements& siblings, int parent);
        int size() const;
        // The elements without a partner.
        std::vector<int> unpaired() const;

        std::vector<const TreeElement*> elements;
        std::vector<int> parents;
        // The number behind the last element below each one.
        std::vector<int> ends;
        // Numbers in the other tree; -1 for none.
        std::vector<int> partners;
    };
    // Digests of what elements hold, by number; empty for those that are not asked for.
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
