#pragma once

#include "Tree.h"

#include <QtCore/QJsonArray>
#include <QtCore/QJsonValue>
#include <QtCore/QString>
#include <QtCore/QVector>

/// What can be wrong with an element.
enum class FindingKind {
    NoObject,
    UnknownKind,
    NameMissing,
    NameEmpty,
    NameNoText,
    NameWithSlash,
    NameTaken,
    ChildrenNoArray,
    ChildrenOfSelection,
    TooDeep,
    NoChildren,
};

/// The word for a kind, which never changes: "no-object", "unknown-kind", "name-missing", "name-empty", "name-no-text",
/// "name-with-slash", "name-taken", "children-no-array", "children-of-selection", "too-deep", "no-children".
QString toText(FindingKind kind);

/// Whether a manifest with such a finding is damaged. A node without children is none: menus begin as empty nodes.
bool isDamage(FindingKind kind);

struct Finding {
    FindingKind kind = FindingKind::NoObject;
    /// Where the element is, as in TreeElement.
    QVector<int> positions;
    QString path;
    QString place;
    /// What is wrong, as the rest of a sentence that begins with the place: "has no 'instanceName'".
    QString what;
    /// What to do about it, as a sentence without its full stop.
    QString advice;
    /// The element.
    QJsonValue value;
};

/**
 * Examines every element of a tree, in the order of the tree; several findings of one element in that of their kinds.
 *
 * An element that no path reaches has a finding of its name, or lies below one that has. Only the first element of a
 * branch that reaches too deep is reported as such.
 */
QVector<Finding> check(const TreeElements& elements);
QVector<Finding> check(const QJsonArray& manifest);

/**
 * The damage that `after` has and `before` has not.
 *
 * An element that an edit has not changed - stamps are no change - is looked for by all that it holds, wherever it is
 * now. One that was changed may have the finding that a changed element had, of the same kind and with the same reason,
 * so that a damaged element can be edited without being blamed for it.
 */
QVector<Finding> added(const QJsonArray& before, const QJsonArray& after);

/// The findings of `after`, nodes without children among them, that neither of two manifests has.
QVector<Finding> addedToBoth(const QJsonArray& one, const QJsonArray& other, const TreeElements& after);

/**
 * The elements of `before` that `after` no longer has, in the order of the tree.
 *
 * Elements are compared by their members, but for children and stamps, wherever they are: what was moved is not lost,
 * nor is a node that only lost its children. Of equal ones as many are lost as are fewer.
 *
 * @param edited positions of the elements that the edit was to change, from the top level down. Such an element is not
 *               lost while there is an element in its place. One that lies inside another edited element is not lost
 *               only if the element in its place has the same name and differs in one member at most.
 */
TreeElements lostElements(const QJsonArray& before, const QJsonArray& after, const QVector<QVector<int>>& edited = {});

/// Whether `after` holds what `before` holds, with siblings in any order. Stamps do not count. Takes whole manifests
/// and the children of one element alike.
bool isPermutation(const QJsonArray& before, const QJsonArray& after);

/**
 * Why a value is not to be stored under `key`: its JSON type is not the one that the vocabulary gives the key or, if
 * the vocabulary does not know the key, not the type of the present value. Null when nothing speaks against it.
 *
 * Elements among the children in a value are examined as well, for the types of the vocabulary. What was wrong with
 * them before is no reason.
 *
 * @param present the value to replace; undefined when there is none.
 */
QString typeProblem(const QString& key, const QJsonValue& present, const QJsonValue& given);
