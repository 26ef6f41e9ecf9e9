#pragma once

#include "Command.h"
#include "Difference.h"
#include "Tree.h"

#include <QtCore/QJsonObject>

// How elements of a tree and their changes are printed.

/// Asks for paths, in columns of their own.
Option pathsOption();
/// Asks for JSON instead of lines.
Option elementsAsJsonOption();

/// The path that other commands take, or that there is none or none that can be printed, and then where the element
/// is. printable().
QString pathColumn(const TreeElement& element);

/// What is known of an element, without its children.
QJsonObject toJson(const TreeElement& element);

/// How much of a value is shown where the output goes.
ValueLength lengthOfShownValues();

/// Prints changes, a line each, with a text before each. A terminal shows the beginning of long values.
void printChanges(const QVector<ElementChange>& changes, const QString& start = {});
QJsonArray toJson(const QVector<ElementChange>& changes);

/// Prints an array or object of results.
void printResult(const QJsonArray& results);
void printResult(const QJsonObject& results);
