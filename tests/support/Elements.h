#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QJsonArray>
#include <QtCore/QJsonObject>
#include <QtCore/QJsonValue>
#include <QtCore/QString>

// Elements with as few members as possible.

QJsonObject selection(const QString& instanceName);
QJsonObject node(const QString& instanceName);
QJsonObject node(const QString& instanceName, const QJsonArray& children);

/// `element` with `value` under `key`.
QJsonObject with(QJsonObject element, const QString& key, const QJsonValue& value);

/// The elements that are made from a description which causes no message.
QJsonObject builtNode(const QString& instanceName);
QJsonObject builtSelection(const QString& instanceName);

/// JSON of nested arrays.
QByteArray nestedArrays(int levels);
/// JSON of nested nodes. Each is called "n" and has one more member. A node takes two levels of JSON.
QByteArray nestedNodes(int levels);

/// The manifest for tables of edits and saves: top, a (with the children a/first and second), spare.
QJsonArray saveRuleManifest();
