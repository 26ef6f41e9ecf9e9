#pragma once

#include "Difference.h"
#include "Tree.h"

#include <QtCore/QJsonArray>
#include <QtCore/QJsonObject>
#include <QtCore/QJsonValue>
#include <QtCore/QString>
#include <QtCore/QVector>

/// One of the two trees that were made from the same base.
enum class MergeSide { Mine, Theirs };

/// Who decides a conflict. Without anybody the result is as if mine did, and is none to be saved.
enum class Decision { Nobody, Mine, Theirs };

/// What both sides changed, each in its own way.
struct MergeConflict {
    enum Kind {
        /// The value of a key, or of what is no object.
        Value,
        /// One side removed an element that the other one changed.
        Removed,
        /// One side moved an element to another parent that the other one changed, or moved to a third one.
        Moved,
        /// The order of the children that are in all three trees.
        Order,
    };

    Kind kind = Value;
    /// Where, as describe() says it; the parent of children that are in another order. Null for the top level.
    QString element;
    /// Null when it is none of one key.
    QString key;
    /// Who removed or moved the element.
    MergeSide by = MergeSide::Mine;
    /// Where an element was moved to, and where the other side moved it to; null when it did not.
    QString movedTo;
    QString otherMovedTo;
    // Undefined for what is not there; for an order, an array of names.
    QJsonValue base;
    QJsonValue mine;
    QJsonValue theirs;
};

struct MergeResult {
    QJsonArray manifest;
    QVector<MergeConflict> conflicts;
};

/**
 * Merges what two trees made of the same base.
 *
 * Siblings are the same as sameElements() says. What only one side changed is taken from it: members one by one,
 * additions, removals, the order of children; where nobody changed the order, or only they, it is theirs. An element
 * that was moved to another parent is removed and added. The stamps of mine stay. Elements of one side stand behind
 * those that they stood behind there. Cost: n log n.
 */
MergeResult merge(const TreeElements& base, const TreeElements& mine, const TreeElements& theirs, Decision decision);

/// A conflict in one line, with its three values. Not escaped for terminals.
QString toLine(const MergeConflict& conflict, ValueLength length);

/// A conflict as a JSON object: "conflict", "element", and as it applies "key", "by", "movedTo", "otherMovedTo", "base",
/// "mine" and "new".
QJsonObject toJson(const MergeConflict& conflict);
