#pragma once

#include "Literals.h"

#include <QtCore/QJsonArray>
#include <QtCore/QJsonObject>
#include <QtCore/QJsonValue>
#include <QtCore/QString>

#include <random>

// Manifests that the tests of the program compare, merge and check.

QJsonObject without(QJsonObject element, const QString& key);
/// A selection with the names that a handler writes into it; those that are empty are left out.
QJsonObject stamped(const QJsonObject& element, const QString& module = u"M"_qs, const QString& object = u"O"_qs);
/// `last` below as many nodes, each in the one before.
QJsonArray chain(int nodes, const QJsonArray& last);
QJsonArray reversed(const QJsonArray& siblings);
/// Selections of different names, which begin with `start`.
QJsonArray manySelections(int count, const QString& start);
/// A value in which there is a value of every kind.
QJsonArray everyKind();
/// A random manifest, with names that are empty, taken, no strings or have separators.
QJsonArray oddlyNamed(std::mt19937& engine);
