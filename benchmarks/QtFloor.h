#pragma once

#include <QtCore/QJsonArray>
#include <QtCore/QJsonObject>
#include <QtCore/QString>
#include <QtCore/QStringList>

/**
 * The least that Qt takes for the library's jobs. Written as one writes for speed: no container is copied because it is
 * referred to twice, and a name is looked up once. But there are no messages, no checks of what is given or read, no
 * errors, and only what occurs in the trees that are measured: every path leads somewhere, selections are addressed by
 * the names that they are stored under, and nothing has to be freed that a long-lived process would gather.
 *
 * Creation is what lies below it: every folder listed and every description read and parsed. No element is made of a
 * description, nothing is sorted but the listings, and no manifest is written.
 * Loading is the manifest read and parsed, without the stamping.
 * Queries and edits are the walk down by names and, for edits, the way back. What is added is given as it will be.
 */
namespace QtFloor {

void create(const QString& folder);
QJsonArray load(const QString& path);
void save(const QJsonArray& manifest, const QString& path);

// Paths of nodes.

QStringList instances(const QJsonArray& manifest, const QString& path);
void sort(QJsonArray& manifest, const QString& path, const QStringList& names);
void moveNode(QJsonArray& manifest, const QString& path, int index);

// Paths of selections.

QJsonObject element(const QJsonArray& manifest, const QString& path);
void set(QJsonArray& manifest, const QString& path, const QString& key, const QJsonValue& value);
void add(QJsonArray& manifest, const QString& path, const QJsonObject& element, int index);
void remove(QJsonArray& manifest, const QString& path);
void move(QJsonArray& manifest, const QString& path, int index);

} // namespace QtFloor
