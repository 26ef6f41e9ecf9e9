#pragma once

#include <QtCore/QJsonArray>
#include <QtCore/QJsonObject>
#include <QtCore/QString>

// Typed readers of the surrounding software. Provided by the process that loads the library; called on whatever thread
// uses the library.

/**
 * Copies the array that `object` holds under `key` to `array`.
 *
 * @return true when there was one. False when the key is missing or its value is not an array; a provider leaves
 *         `array` unchanged then. The library reports the failure itself, so a provider need not log it.
 */
Q_DECL_EXPORT bool readJsonArrayFromJson(const QString& key, const QJsonObject& object, QJsonArray& array);

/**
 * Copies the string that `object` holds under `key` to `value`.
 *
 * @return true when there was one. False when the key is missing or its value is not a string; a provider leaves
 *         `value` unchanged then. The library reports the failure itself, so a provider need not log it.
 */
Q_DECL_EXPORT bool readStringValueFromJson(const QString& key, const QJsonObject& object, QString& value);
