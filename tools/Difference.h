#pragma once

#include "Tree.h"

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

/// What became of one element between two trees.
struct ElementChange {
    enum Kind { Added, Removed, Changed, Moved };

    Kind kind;
    /// What describe() says of it; of a removed one, of where it was.
    QString element;
    /// Elements below one that was added or removed, at every level.
    int below = 0;
    /// What has changed; of an element that has only been moved, nothing.
    QVector<KeyChange> keys;
    /// Positions of an element that was moved among its siblings.
    int positionBefore = -1;
    int positionAfter = -1;
};

/// The names of module and object that handlers stamp into selections.
enum class Stamps { Count, DoNotCount };

/**
 * What has to be done to make one tree of another. Siblings are matched by the names that they have; of several with
 * one name those that are equal, and then the first with the first and so on. An element is moved when others that are
 * in both trees have to be passed.
 */
QVector<ElementChange> differencesOf(const TreeElements& before, const TreeElements& after, Stamps stamps);

/// "2 added, 1 removed, 3 changed", with everything below, and how many were moved if any were.
QString summaryOf(const QVector<ElementChange>& changes);

/// One line for every change. Not escaped for terminals.
QStringList toLines(const QVector<ElementChange>& changes);
