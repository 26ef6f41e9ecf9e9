#pragma once

#include "Command.h"
#include "ConfigurationManifestHandler.h"

#include <QtCore/QCommandLineOption>
#include <QtCore/QList>

class QCommandLineParser;

/// The names that are stamped into every selection of a manifest that is loaded.
QList<QCommandLineOption> stampOptions();
/// What becomes of an edited manifest. Nothing is saved without being asked for.
QList<QCommandLineOption> saveOptions();

/// The handler of the manifest that a command names as its first argument.
class OpenManifest {
public:
    explicit OpenManifest(const QCommandLineParser& arguments);

    /// Loads the manifest. Complains when that is not possible.
    bool load();

    ConfigurationManifestHandler& handler();

    /// Whether a path leads to an element. Queries skip its empty names, edits keep them. Complains about the part of
    /// it that leads nowhere.
    bool leadsSomewhere(const QString& path, Qt::SplitBehavior emptyNames) const;

    /// Ends an edit that succeeded as the saveOptions() ask: prints what would be saved, or saves it, or says that
    /// neither has happened.
    ExitStatus finish(const QCommandLineParser& arguments, const QString& whatHappened);

private:
    bool save();

    ConfigurationManifestHandler openHandler;
};
