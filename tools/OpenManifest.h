#pragma once

#include "Command.h"
#include "ConfigurationManifestHandler.h"
#include "StoredManifest.h"
#include "Tree.h"
#include "Turn.h"

#include <QtCore/QJsonArray>

class QCommandLineParser;

/// Returns the options --module and --object: the names to stamp into every selection when a manifest is loaded.
Options stampOptions();
/// Returns the option --save.
Option saveOption();
/// Returns the option --print.
Option printOption();
/// Returns the options of commands that edit a manifest. Nothing is saved without --save.
Options saveOptions();
/// Returns the options for replacing a file that other processes may save as well.
Options replaceOptions();

/// Returns the option --keep-base, which keeps the base of later merges beside a manifest.
Option keepBaseOption(const QString& description);
/// Writes the base of later merges beside a manifest, unless it is already there with this content. Returns why that
/// failed; null on success.
QString writeBase(const QString& manifestPath, const QByteArray& base);
/// Calls writeBase() for a manifest that has been saved. On failure prints the reason to standard error and returns
/// false.
bool keepBase(const QString& manifestPath, const QByteArray& base);

/// Returns the meanings of the exit statuses of commands that only read a manifest.
ExitMeanings queryExits();
/// Returns the meanings of the exit statuses of commands that edit a manifest.
ExitMeanings editExits();

/// Reads the values of the replaceOptions(). For an invalid value prints the reason to standard error and returns
/// false.
bool readSaveWishes(const QCommandLineParser& arguments, SaveWishes& wishes, int& secondsToWait);

/// Waits for the turn at a manifest. Returns false, and prints who has the turn to standard error, if it is taken by
/// another process all the time. If the folder cannot be locked, prints a warning and returns true.
bool takeTurn(Turn& turn, const QString& manifestPath, int secondsToWait);

/// Whether an edit may remove elements of the manifest.
enum class Loss {
    IsDamage,
    IsIntended,
    /// The edit may only change the order of elements: neither remove nor add any.
    IsDamageLikeAddition,
};

/// The manifest that a command works on: its path, its handler, and how it is loaded and saved. If a function fails, it
/// has printed the reason to standard error.
class OpenManifest {
public:
    /// Takes the path from the positional argument at this index. Does not read the file.
    explicit OpenManifest(const QCommandLineParser& commandLine, int argument = 0);

    /// Loads the manifest for a query, from a file, a pipe or standard input, and stamps it.
    ExitStatus loadToRead();
    /// Checks that the path leads to a file that can be edited. Call this before reading other files.
    ExitStatus checkThatItCanBeEdited() const;
    /// Returns whether the result is to be saved: --save is given, and neither --dry-run nor --print is.
    bool isToBeSaved() const;
    /// Loads the manifest for an edit, and stamps it. If the result is to be saved, waits for the turn first.
    ExitStatus loadToEdit();

    ConfigurationManifestHandler& handler();
    /// Returns the manifest as it was read, without the stamps of this run.
    const QJsonArray& original() const;

    /// Returns whether a path leads to an element. If not, prints the path up to the first name that is not found to
    /// standard error. Pass Qt::SkipEmptyParts for a query, Qt::KeepEmptyParts for an edit.
    bool leadsSomewhere(const QString& path, Qt::SplitBehavior emptyNames) const;

    /// Marks the element at a path as one that the edit changes, so that finish() does not take it for a lost one.
    void expectChangeOf(const QString& elementPath);
    /// Does what expectChangeOf() does for all elements with this instance name.
    void expectChangeOfInstances(const QString& instanceName);

    /// Returns whether `value` has the right JSON type to replace the present value of a key, see typeProblem(). If
    /// not, refuses the edit. With --force, every type is right.
    bool accepts(const QString& key, const QJsonValue& present, const QJsonValue& value) const;
    /// Does what accepts() does for every member of a description that is to replace `element`.
    bool acceptsAll(const QJsonObject& element, const QJsonObject& description) const;

    /// Ends an edit that succeeded. Refuses it if it does damage and is not forced. Otherwise saves or prints the
    /// result, as the options ask. Except with --print, prints `whatHappened`, or "unchanged" if the manifest is as it
    /// was read.
    ExitStatus finish(const QString& whatHappened, Loss loss = Loss::IsDamage);
    /// Prints that the edit is refused, and returns NotDone. With --force only returns Done.
    ExitStatus refuse() const;
    /// Saves the manifest, and prints the messages of the library.
    ExitStatus save();

private:
    bool isForced() const;
    bool take(const QByteArray& content);
    bool doesDamage(Loss loss) const;

    const QCommandLineParser& arguments;
    const QString path;
    ConfigurationManifestHandler openHandler;
    StoredManifest stored;
    Turn turn;
    SaveWishes wishes;
    QJsonArray originalManifest;
    QVector<QVector<int>> editedPositions;
};
