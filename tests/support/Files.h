#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QJsonArray>
#include <QtCore/QJsonObject>
#include <QtCore/QString>

#include <sys/types.h>

/// Writes a file, making the folders above it. Fails the test program hard when that is not possible.
void writeFile(const QString& path, const QByteArray& content);

/// The whole content of a file; a null array when it cannot be read.
QByteArray readFile(const QString& path);

/// Names of everything in a folder, hidden entries included, sorted.
QStringList everythingIn(const QString& folder);

/// Whether a file of this name is one that saving the manifest `manifestName` makes for a while.
bool isTemporaryFileOf(const QString& manifestName, const QString& name);

/// Parses test input. Fails the test program hard when it is not JSON of that kind.
QJsonObject objectFrom(const char* json);
QJsonArray arrayFrom(const char* json);

/// The compact form in which a manifest is written.
QByteArray compact(const QJsonArray& array);

/// File permissions apply within its life, also when the tests run as root.
class AsOrdinaryUser {
public:
    AsOrdinaryUser();
    ~AsOrdinaryUser();
    Q_DISABLE_COPY(AsOrdinaryUser)

private:
    const uid_t user;
};

/// No file may grow beyond `bytes` within its life: what comes after is a short write, then none.
class FileSizeLimit {
public:
    explicit FileSizeLimit(unsigned long bytes);
    ~FileSizeLimit();
    Q_DISABLE_COPY(FileSizeLimit)

private:
    void (*const previousHandler)(int);
};
