#pragma once

#include "Tree.h"

#include <QtCore/QJsonArray>
#include <QtCore/QJsonValue>
#include <QtCore/QString>
#include <QtCore/QVector>

/// The kinds of problems that check() finds.
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

/// Returns the fixed word for a kind: "no-object", "unknown-kind", "name-missing", "name-empty", "name-no-text",
/// "name-with-slash", "name-taken", "children-no-array", "children-of-selection", "too-deep" or "no-children".
QString toText(FindingKind kind);

/// Returns whether a manifest with such a finding is damaged. A node without children is not damage, because menus
/// begin as empty nodes.
bool isDamage(FindingKind kind);

/// A problem in the structure of a manifest.
struct Finding {
    FindingKind kind = FindingKind::NoObject;
    /// The positions of the element, from the top level down.
    QVector<int> positions;
    /// The instance path of the element; null if there is none.
    QString path;
    /// The place of the element as text, see TreeElement::place().
    QString place;
    /// The problem, as the rest of a sentence that begins with the place: "has no 'instanceName'".
    QString what;
    /// How to solve the problem, as a sentence without its full stop.
    QString advice;
    /// The element, including its children.
    QJsonValue value;
};

/**
 * Returns the findings of all elements of a tree, in the order of the tree. Several findings of one element come in the
 * order of their kinds.
 *
 * Every unreachable element is no object, has a finding about its name, or lies below such an element. In a branch that
 * is too deep, only the topmost element that is too deep is reported as such.
 */
QVector<Finding> check(const TreeElements& elements);
QVector<Finding> check(const QJsonArray& manifest);

/**
 * Returns the damage that `after` has and `before` does not have.
 *
 * An element that the edit has not changed is recognised by its whole content, wherever it is now; stamps are ignored.
 * A finding of a changed element is not new if a changed element of `before` had a finding of the same kind with the
 * same reason. Otherwise a damaged element could not be edited.
 */
QVector<Finding> added(const QJsonArray& before, const QJsonArray& after);

/// Returns the findings of `after` that neither `one` nor `other` has. Nodes without children count as findings here.
QVector<Finding> addedToBoth(const QJsonArray& one, const QJsonArray& other, const TreeElements& after);

/**
 * Returns the elements of `before` that `after` no longer has, in the order of the tree.
 *
 * Elements are compared by their members without children and stamps, regardless of their place. So an element that was
 * moved is not lost, nor is a node that has only lost its children. Of several equal elements, as many are lost as
 * `after` has fewer of them.
 *
 * @param edited positions of the elements that the edit was to change, from the top level down. Such an element is not
 *               lost as long as there is an element at its position. If an ancestor was edited too, the element at
 *               that position must also have the ancestor's instance name, and differ from the old element in one
 *               member at most.
 */
TreeElements lostElements(const QJsonArray& before, const QJsonArray& after, const QVector<QVector<int>>& edited = {});

/// Returns whether `before` and `after` contain the same elements, with the siblings of each level in any order. Stamps
/// are ignored. The arrays are two manifests, or the children of two elements.
bool isPermutation(const QJsonArray& before, const QJsonArray& after);

/**
 * Returns why a value must not be stored under `key`; null if it may be stored.
 *
 * The value must have the JSON type that the definitions give the key. For a key that they do not have, it must have
 * the type of the present value, if there is one. If the value is an array of children, the members of the elements in
 * it are checked against the definitions as well. A wrong type that the present children already have is allowed.
 *
 * @param present the value to replace; undefined if there is none.
 */
QString typeProblem(const QString& key, const QJsonValue& present, const QJsonValue& given);
