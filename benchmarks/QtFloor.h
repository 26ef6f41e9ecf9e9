#pragma once

#include <QtCore/QJsonArray>
#include <QtCore/QJsonObject>
#include <QtCore/QJsonValue>
#include <QtCore/QString>
#include <QtCore/QStringList>

/**
 * The library's jobs, whole and with the same results, as plain Qt does them at its fastest: no container is copied
 * because it is referred to twice, a name is looked up once, and no object grows with every text that is replaced in it.
 *
 * What is missing is what makes a library of it. Nothing is checked, whether given, read or returned by a call; there
 * are no messages; and it copes only with what occurs in the trees that are measured: every path leads somewhere,
 * selections are addressed by the names that they are stored under and lie only where the format has them, members of
 * descriptions have the types that they should have.
 */
namespace QtFloor {

/// Reads every description below a folder, makes an element of each, sorts them and writes the manifest.
void create(const QString& folder);
/// Reads a manifest and gives every selection the names of module and object.
QJsonArray load(const QString& path, const QString& moduleName, const QString& objectName);
/// Replaces a file and keeps its owner, group and permissions. Syncs the new file before it takes the old one's place, and
/// the folder afterwards.
void save(const QJsonArray& manifest, const QString& path);

// Paths of nodes.

QStringList instances(const QJsonArray& manifest, const QString& path);
void sort(QJsonArray& manifest, const QString& path, const QStringList& names);
void moveNode(QJsonArray& manifest, const QString& path, int index);

// Paths of selections.

QJsonObject element(const QJsonArray& manifest, const QString& path);
void set(QJsonArray& manifest, const QString& path, const QString& key, const QJsonValue& value);
void add(QJsonArray& manifest, const QString& path, const QJsonObject& description, int index);
void remove(QJsonArray& manifest, const QString& path);
void move(QJsonArray& manifest, const QString& path, int index);

// By the substitute's walk.

/// The instance names of all selections.
QJsonArray collect(QJsonValue& document);
/// Sets a value in the elements of an instance name; what they become.
QJsonArray update(QJsonValue& document, const QString& name, const QString& key, const QJsonValue& value);

// Parts of the jobs.

/// Of a creation: lists every folder, reads and parses every description.
void parseAll(const QString& folder);
/// Of a load.
QJsonArray parse(const QString& path);
/// A save without the syncs.
void saveUnsynced(const QJsonArray& manifest, const QString& path);

} // namespace QtFloor
