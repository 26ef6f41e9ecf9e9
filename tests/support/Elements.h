#pragma once

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

/// The manifest that tables of edits and saves work on: top, a with a/first and second, spare.
QJsonArray saveRuleManifest();
