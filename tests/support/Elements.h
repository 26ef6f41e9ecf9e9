#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QJsonArray>
#include <QtCore/QJsonObject>
#include <QtCore/QJsonValue>
#include <QtCore/QString>

// Elements with the least members.

QJsonObject selection(const QString& instanceName);
QJsonObject node(const QString& instanceName);
QJsonObject node(const QString& instanceName, const QJsonArray& children);

/// `element` with `value` under `key`.
QJsonObject with(QJsonObject element, const QString& key, const QJsonValue& value);

/// The elements that are made from a description which causes no message.
QJsonObject builtNode(const QString& instanceName);
QJsonObject builtSelection(const QString& instanceName);

/// JSON of arrays in each other.
QByteArray nestedArrays(int levels);
/// JSON of nodes in each other: called "n", each with one more member. A node takes two levels of JSON.
QByteArray nestedNodes(int levels);

/// The manifest that tables of edits and saves work on: top, a with a/first and second, spare.
QJsonArray saveRuleManifest();
