#pragma once

#include "Pairing.h"
#include "Tree.h"

#include <QtCore/QJsonArray>
#include <QtCore/QJsonValue>
#include <QtCore/QString>
#include <QtCore/QStringList>
#include <QtCore/QVector>

/// Returns the kind and the place of an element: "node 'network/ethernet'".
QString describe(const TreeElement& element);

/// A change of the value of a key. A value is undefined if the element does not have the key.
struct KeyChange {
    QString key;
    QJsonValue before;
    QJsonValue after;
};

/// A change of an element between two trees. Keeps pointers into both trees, which must outlive it.
struct ElementChange {
    enum Kind {
        Added,
        Removed,
        Changed,
        /// The element has another position relative to siblings that are in both trees and kept their parent.
        Moved,
        /// The element has another parent.
        MovedElsewhere,
    };

    Kind kind;
    /// The element in the earlier tree; null if it was added.
    const TreeElement* before;
    /// The element in the later tree; null if it was removed.
    const TreeElement* after;
    /// The number of descendants, at every level, that were added or removed together with the element.
    int below = 0;
    /// The changed keys of a Changed element, sorted; empty for every other kind of change. If the element is no
    /// object in one tree or in both, a single entry with a null key holds the two elements.
    QVector<KeyChange> keys = {};
};

/**
 * Returns the changes that turn `before` into `after`.
 *
 * Pairing decides which elements of the two trees are the same. As few siblings as possible are reported as moved.
 * The changes keep pointers into both trees. The overloads for temporary trees are therefore deleted.
 *
 * Cost: n log n in the number of elements.
 */
QVector<ElementChange> differencesOf(const TreeElements& before, const TreeElements& after, Stamps stamps);
QVector<ElementChange> differencesOf(TreeElements&& before, const TreeElements& after, Stamps stamps) = delete;
QVector<ElementChange> differencesOf(const TreeElements& before, TreeElements&& after, Stamps stamps) = delete;
QVector<ElementChange> differencesOf(
    const Pairing& pairing, const TreeElements& before, const TreeElements& after, Stamps stamps);

/// Returns the numbers of changes: "2 added, 1 removed, 3 changed". Added and removed descendants count. Moves are only
/// mentioned if there are any.
QString summaryOf(const QVector<ElementChange>& changes);

/// How much of a value is printed: its beginning or all of it.
enum class ValueLength { Short, Whole };

/// Returns the key as it is printed: an empty key becomes `""`, every other one stays as it is.
QString shownKey(const QString& key);

/// Returns a value as compact JSON text; "nothing" for an undefined value. With ValueLength::Short a long text is cut
/// and ends with "...".
QString jsonText(const QJsonValue& value, ValueLength length);

/// Returns a change as one line of text. The line is not escaped for terminals.
QString toLine(const ElementChange& change, ValueLength length);

/// Returns a change as a JSON object with "change", "kind", "path" (null for an unreachable element) and "positions"
/// (from the top level down). An addition or a removal also has "below", a move has "from" (path and positions before
/// the move), and a changed element has "keys", each with "key", "before" and "after". Where the element does not
/// have the key, "before" or "after" is missing.
QJsonObject toJson(const ElementChange& change);
