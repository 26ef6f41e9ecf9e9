#pragma once

#include "ConfigurationManifestHandler.h"

#include <QtCore/QByteArray>
#include <QtCore/QJsonArray>
#include <QtCore/QString>
#include <QtCore/QTemporaryDir>

using Handler = ConfigurationManifestHandler;

/// True if the handler has a member function of exactly the type `Member`.
template <typename Member>
constexpr bool has(Member)
{
    return true;
}

/// A handler with a manifest in memory and without a file. Stamps nothing.
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
