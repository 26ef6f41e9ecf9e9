#pragma once

#include "ConfigurationManifestHandler.h"

#include <QtCore/QByteArray>
#include <QtCore/QJsonArray>
#include <QtCore/QString>
#include <QtCore/QTemporaryDir>

using Handler = ConfigurationManifestHandler;

/// True when `Member`, the exact type of a member function, is one that the handler has.
template <typename Member>
constexpr bool has(Member)
{
    return true;
}

/// A handler of no file, with a manifest in memory. Stamps nothing.
class HandlerWithoutFile : public ConfigurationManifestHandler {
public:
    explicit HandlerWithoutFile(const QJsonArray& manifest = {});
};

/// A manifest file in a folder of its own.
class ManifestFile {
public:
    explicit ManifestFile(const QByteArray& content);

    QString folder() const;
    QString path() const;
    QByteArray content() const;
    /// Whether the folder holds the manifest and nothing else.
    bool isAlone() const;

private:
    const QTemporaryDir directory;
};
