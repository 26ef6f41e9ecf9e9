#pragma once

#include <QtCore/QJsonArray>
#include <QtCore/QJsonObject>
#include <QtCore/QString>

/**
 * @file
 * Typed readers of JSON objects. The process that loads the library provides them. The library calls them on every
 * thread that uses it.
 */

/**
 * Reads an array from an object.
 *
 * The library reports a failure itself, so a provider need not log it.
 *
 * @param      key    key of the array.
 * @param      object object to read from.
 * @param[out] array  the array. A provider leaves it unchanged after a failure.
 * @return true when `object` has an array under `key`; false when the key is missing or its value is not an array.
 */
Q_DECL_EXPORT bool readJsonArrayFromJson(const QString& key, const QJsonObject& object, QJsonArray& array);

/**
 * Reads a string from an object.
 *
 * The library reports a failure itself, so a provider need not log it.
 *
 * @param      key    key of the string.
 * @param      object object to read from.
 * @param[out] value  the string. A provider leaves it unchanged after a failure.
 * @return true when `object` has a string under `key`; false when the key is missing or its value is not a string.
 */
Q_DECL_EXPORT bool readStringValueFromJson(const QString& key, const QJsonObject& object, QString& value);
