#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QJsonArray>
#include <QtCore/QString>

/// Parses the text of a manifest. If it is not a JSON array, returns false and sets `problem` to one line with the
/// reason. `path` is only used in that line.
bool parseManifest(const QString& path, const QByteArray& content, QJsonArray& manifest, QString& problem);
