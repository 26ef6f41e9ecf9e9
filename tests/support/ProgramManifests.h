#pragma once

#include "Literals.h"

#include <QtCore/QJsonArray>
#include <QtCore/QJsonObject>
#include <QtCore/QJsonValue>
#include <QtCore/QString>

#include <random>

// Manifests that the tests of the program compare, merge and check.

QJsonObject without(QJsonObject element, const QString& key);
/// An element with the stamps of a handler. Empty names are left out.
QJsonObject stamped(const QJsonObject& element, const QString& module = u"M"_qs, const QString& object = u"O"_qs);
/// Nests `last` in the given number of nodes.
QJsonArray chain(int nodes, const QJsonArray& last);
QJsonArray reversed(const QJsonArray& siblings);
/// Selections whose names consist of `start` and a number.
QJsonArray manySelections(int count, const QString& start);
/// Values of all JSON types.
QJsonArray everyKind();
/// A random manifest. Some names are empty, are those of siblings, are not strings, or contain separators.
QJsonArray oddlyNamed(std::mt19937& engine);
