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

/// The file manifest.json, alone in a folder that the program runs in.
class LoneManifest : public ManifestFile {
public:
    explicit LoneManifest(const QByteArray& content = compact(saveRuleManifest()));

    Program program() const;
    ProgramRun run(const QString& commandLine) const;
    ProgramRun run(const QStringList& arguments) const;
    /// Whether it is still the same file and still alone.
    bool isUntouched() const;
    /// Whether another file has its name, and nothing else is there.
    bool isReplaced() const;

private:
    const FileState original;
};

/// An edit of saveRuleManifest() that is saved.
QString editOf(const QString& path);
/// What it makes of that manifest, or would make of it with another value.
QByteArray afterEdit(const QString& value = u"value"_qs);

// Entries of a folder that are not regular files. Each function aborts the test if it fails.

void makeLink(const QString& target, const QString& path);
void makePipe(const QString& path);
void makeSocket(const QString& path);
