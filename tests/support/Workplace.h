#pragma once

#include "Elements.h"
#include "Files.h"
#include "Handlers.h"
#include "Literals.h"
#include "MessageRecorder.h"
#include "ProgramRun.h"

#include <QtCore/QByteArray>
#include <QtCore/QJsonArray>
#include <QtCore/QString>
#include <QtCore/QStringList>
#include <QtCore/QTemporaryDir>

/// A folder with manifests and folders of descriptions. The program runs in it.
class Workplace {
public:
    QString path(const QString& name = {}) const;
    const Workplace& write(const QString& name, const QJsonArray& manifest) const;
    /// Writes a description that causes no message.
    const Workplace& describe(const QString& name, int position = 1) const;
    QByteArray content(const QString& name) const;
    Program program() const;
    ProgramRun run(const QString& commandLine) const;
    ProgramRun run(const QStringList& arguments) const;

private:
    const QTemporaryDir directory;
};

/// The file manifest.json, the only file in a folder in which the program runs.
class LoneManifest : public ManifestFile {
public:
    explicit LoneManifest(const QByteArray& content = compact(saveRuleManifest()));

    Program program() const;
    ProgramRun run(const QString& commandLine) const;
    ProgramRun run(const QStringList& arguments) const;
    /// Whether the manifest has the same content and inode as before and is the only file in its folder.
    bool isUntouched() const;
    /// Whether a new file has replaced the manifest and is the only file in its folder.
    bool isReplaced() const;

private:
    const FileState original;
};

/// The command line of an edit of saveRuleManifest() with --save.
QString editOf(const QString& path);
/// The manifest after editOf(), or after the same edit with another value.
QByteArray afterEdit(const QString& value = u"value"_qs);

// Entries of a folder that are not regular files. Each function aborts the test if it fails.

void makeLink(const QString& target, const QString& path);
void makePipe(const QString& path);
void makeSocket(const QString& path);
