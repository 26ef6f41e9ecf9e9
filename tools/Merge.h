#pragma once

#include "Difference.h"
#include "Tree.h"

#include <QtCore/QJsonArray>
#include <QtCore/QJsonObject>
#include <QtCore/QJsonValue>
#include <QtCore/QString>
#include <QtCore/QVector>

/// One of the two trees that were derived from the same base.
enum class MergeSide { Mine, Theirs };

/// The side that wins conflicts. With Nobody, the result is the same as with Mine, and must not be saved if there are
/// conflicts.
enum class Decision { Nobody, Mine, Theirs };

/// A part of the base that both sides changed in different ways.
struct MergeConflict {
    enum Kind {
        /// Both sides changed the value of a key, or an element that is not an object.
        Value,
        /// One side removed an element that the other side changed.
        Removed,
        /// One side moved an element to another parent. The other side changed it or moved it to a third parent.
        Moved,
        /// Both sides changed the order of the children that are in all three trees.
        Order,
    };

    Kind kind = Value;
    /// The element, as describe() returns it; for an Order conflict, the parent. Null for the order of the top level.
    QString element;
    /// The key of a Value conflict; null if the conflict is about a whole element or an order.
    QString key;
    /// The side that removed or moved the element. Unused for other kinds of conflicts.
    MergeSide by = MergeSide::Mine;
    /// The place that `by` moved the element to; null for other kinds of conflicts.
    QString movedTo;
    /// The place that the other side moved the element to; null if it did not move it.
    QString otherMovedTo;
    // The three values; undefined where a tree does not have the value. For an Order conflict, arrays of names.
    QJsonValue base;
    QJsonValue mine;
    QJsonValue theirs;
};

/// A merged manifest, and the conflicts that were found.
struct MergeResult {
    QJsonArray manifest;
    QVector<MergeConflict> conflicts;
};

/**
 * Merges the changes that two trees made to the same base.
 *
 * sameElements() decides which siblings are the same. A change that only one side made is taken over: of a member, of
 * the order of children, an addition or a removal. Children are in the order of theirs, unless only mine changed it or
 * mine wins a conflict about it. An element that only one side has comes after the nearest common sibling before it on
 * that side. A move to another parent is carried out as a removal and an addition. The stamps of mine stay.
 *
 * Cost: n log n in the number of elements.
 */
MergeResult merge(const TreeElements& base, const TreeElements& mine, const TreeElements& theirs, Decision decision);

/// Returns a conflict as one line of text with its three values. The line is not escaped for terminals.
QString toLine(const MergeConflict& conflict, ValueLength length);

/// Returns a conflict as a JSON object with "conflict" and "element". "key", "by", "movedTo", "otherMovedTo", "base",
/// "mine" and "new" are only in it if the conflict has them.
QJsonObject toJson(const MergeConflict& conflict);
