#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QJsonArray>
#include <QtCore/QJsonObject>
#include <QtCore/QString>

#include <sys/types.h>

/// Writes a file and creates its folders. Aborts the test if that fails.
void writeFile(const QString& path, const QByteArray& content);

/// The whole content of a file; a null array when it cannot be read.
QByteArray readFile(const QString& path);

/// Names of everything in a folder, hidden entries included, sorted.
QStringList everythingIn(const QString& folder);

/// Whether `name` is the name of a temporary file that a save of `manifestName` uses.
bool isTemporaryFileOf(const QString& manifestName, const QString& name);

/// Parses test input. Aborts the test if it is not valid JSON or its root has another type.
QJsonObject objectFrom(const char* json);
QJsonArray arrayFrom(const char* json);

/// The compact form in which a manifest is written.
QByteArray compact(const QJsonArray& array);

/// File permissions apply within its lifetime, even if root runs the test.
class AsOrdinaryUser {
public:
    AsOrdinaryUser();
    ~AsOrdinaryUser();
    Q_DISABLE_COPY(AsOrdinaryUser)

private:
    const uid_t user;
};

/// No file can grow beyond `bytes` within its lifetime: the write that crosses the limit is short, later ones fail.
class FileSizeLimit {
public:
    explicit FileSizeLimit(unsigned long bytes);
    ~FileSizeLimit();
    Q_DISABLE_COPY(FileSizeLimit)

private:
    void (*const previousHandler)(int);
};
