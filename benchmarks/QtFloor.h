#pragma once

#include <QtCore/QJsonArray>
#include <QtCore/QJsonObject>
#include <QtCore/QJsonValue>
#include <QtCore/QString>
#include <QtCore/QStringList>

/**
 * The library's complete jobs, with the same results, in the fastest way that plain Qt allows. Containers do not
 * detach, each name is looked up once, and objects do not grow when strings in them are replaced.
 *
 * This code checks nothing, neither arguments nor file contents nor results of calls, and logs nothing. It works only
 * for the measured trees: every path exists, selections are addressed by their stored names and occur only in the
 * arrays of the manifest, and members of descriptions have the right types.
 */
namespace QtFloor {

/// Reads all descriptions below a folder, makes an element from each, sorts the elements and writes the manifest.
void create(const QString& folder);
/// Reads a manifest and stamps the names of module and object into every selection.
QJsonArray load(const QString& path, const QString& moduleName, const QString& objectName);
/// Replaces a file and keeps its owner, group and permissions. Syncs the new file before it replaces the old one, and
/// the folder afterwards.
void save(const QJsonArray& manifest, const QString& path);

// Functions for paths of nodes.

QStringList instances(const QJsonArray& manifest, const QString& path);
void sort(QJsonArray& manifest, const QString& path, const QStringList& names);
void moveNode(QJsonArray& manifest, const QString& path, int index);

// Functions for paths of selections.

QJsonObject element(const QJsonArray& manifest, const QString& path);
void set(QJsonArray& manifest, const QString& path, const QString& key, const QJsonValue& value);
void add(QJsonArray& manifest, const QString& path, const QJsonObject& description, int index);
void remove(QJsonArray& manifest, const QString& path);
void move(QJsonArray& manifest, const QString& path, int index);

// Functions that use the substitute's walk.

/// Returns the instance names of all selections.
QJsonArray collect(QJsonValue& document);
/// Sets a value in all elements with an instance name and returns the changed elements.
QJsonArray update(QJsonValue& document, const QString& name, const QString& key, const QJsonValue& value);

// Parts of the jobs.

/// The part of a creation that lists every folder and reads and parses every description.
void parseAll(const QString& folder);
/// The part of a load that reads and parses the manifest.
QJsonArray parse(const QString& path);
/// A save without the syncs.
void saveUnsynced(const QJsonArray& manifest, const QString& path);

} // namespace QtFloor
