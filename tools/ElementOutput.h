#pragma once

#include "Command.h"
#include "Difference.h"
#include "Tree.h"

#include <QtCore/QJsonObject>

// Functions that print elements of a tree and their changes.

/// Returns the option --paths, which prints the paths of elements in a column of their own.
Option pathsOption();
/// Returns the option --json, which prints elements as JSON instead of lines.
Option elementsAsJsonOption();

/// Returns the path that other commands take. For an element without a path, or with one that printable() would change,
/// returns "unreachable" or "unprintable", a tab and the element's place. The result is safe to print.
QString pathColumn(const TreeElement& element);

/// Returns kind, name, path (null for an unreachable element), position, label and visibility of an element, without
/// its children.
QJsonObject toJson(const TreeElement& element);

/// Returns how much of a value to print: Short on a terminal, otherwise Whole.
ValueLength lengthOfShownValues();

/// Prints each change as a line that begins with `start`. Long values are cut on a terminal.
void printChanges(const QVector<ElementChange>& changes, const QString& start = {});
/// Returns the changes as a JSON array, in their order.
QJsonArray toJson(const QVector<ElementChange>& changes);

/// Prints an array of results as indented JSON.
void printResult(const QJsonArray& results);
/// Prints an object of results as indented JSON.
void printResult(const QJsonObject& results);
