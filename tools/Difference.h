#pragma once

#include "Pairing.h"
#include "Tree.h"

#include <QtCore/QJsonArray>
#include <QtCore/QJsonValue>
#include <QtCore/QString>
#include <QtCore/QStringList>
#include <QtCore/QVector>

/// Kind and place of an element: "node 'network/ethernet'".
QString describe(const TreeElement& element);

/// What became of one key of an element. A value that is not there is undefined.
struct KeyChange {
    QString key;
    QJsonValue before;
    QJsonValue after;
};

/// What became of one element between two trees, to which it refers.
struct ElementChange {
    enum Kind {
        Added,
        Removed,
        Changed,
        /// Others that are in both trees and have the same parent have to be passed.
        Moved,
        MovedElsewhere,
    };

    Kind kind;
    /// Null when it was added.
    const TreeElement* before;
    /// Null when it was removed.
    const TreeElement* after;
    /// Elements below one that was added or removed, at every level, that were so as well.
    int below = 0;
    /// What has changed; null key for what is no object in both trees. Nothing of an element that was not changed.
    QVector<KeyChange> keys = {};
};

/**
 * What has to be done to make one tree of another, elements being the same one as Pairing says. The fewest siblings
 * are moved. Cost: n log n.
 */
QVector<ElementChange> differencesOf(const TreeElements& before, const TreeElements& after, Stamps stamps);
QVector<ElementChange> differencesOf(TreeElements&& before, const TreeElements& after, Stamps stamps) = delete;
QVector<ElementChange> differencesOf(const TreeElements& before, TreeElements&& after, Stamps stamps) = delete;
QVector<ElementChange> differencesOf(
    const Pairing& pairing, const TreeElements& before, const TreeElements& after, Stamps stamps);

/// "2 added, 1 removed, 3 changed", with everything below, and how many were moved if any were.
QString summaryOf(const QVector<ElementChange>& changes);

/// How much of a value a line shows.
enum class ValueLength { Short, Whole };

/// A key; that without any letter as an empty JSON text.
QString shownKey(const QString& key);

/// A value as JSON text; "nothing" for none.
QString jsonText(const QJsonValue& value, ValueLength length);

/// A change in one line. Not escaped for terminals.
QString toLine(const ElementChange& change, ValueLength length);

/// A change as a JSON object: "change", "kind", "path" (null without one), "positions" from the top level down, and as
/// it applies "below", "from" (path and positions before a move) and "keys", each with "before" and "after".
QJsonObject toJson(const ElementChange& change);
