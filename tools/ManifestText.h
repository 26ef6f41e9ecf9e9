#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QJsonArray>
#include <QtCore/QString>

/// Takes the text of a manifest apart. When it is none, `problem` is one line that says why.
bool parseManifest(const QString& path, const QByteArray& content, QJsonArray& manifest, QString& problem);
