#pragma once

#include "Command.h"
#include "ConfigurationManifestHandler.h"
#include "StoredManifest.h"
#include "Tree.h"
#include "Turn.h"

#include <QtCore/QJsonArray>

class QCommandLineParser;

/// The names that are stamped into every selection of a manifest that is loaded.
Options stampOptions();
Option saveOption();
Option printOption();
/// What becomes of an edited manifest. Nothing is saved without being asked for.
Options saveOptions();
/// How a file is replaced that others may save as well.
Options replaceOptions();

/// Asks for the base of later merges to be kept beside a manifest.
Option keepBaseOption(const QString& description);
/// Keeps it, unless it is there. Returns what went wrong; null for nothing.
QString writeBase(const QString& manifestPath, const QByteArray& base);
/// The same once the manifest is saved. Complains when that is not possible.
bool keepBase(const QString& manifestPath, const QByteArray& base);

/// What becomes of a manifest that is only looked at.
ExitMeanings queryExits();
ExitMeanings editExits();

/// What the replaceOptions() ask for. Complains when that is wrong usage.
bool readSaveWishes(const QCommandLineParser& arguments, SaveWishes& wishes, int& secondsToWait);

/// Waits for the turn at a manifest, and warns when there is none to wait for. Complains when somebody else has it.
bool takeTurn(Turn& turn, const QString& manifestPath, int secondsToWait);

/// What it means when elements of a manifest are gone after an edit.
enum class Loss {
    IsDamage,
    IsIntended,
    /// The edit brings elements into another order, and does nothing else.
    IsDamageAndSoIsGain,
};

/// The handler of the manifest that a command names as its first argument, or as another one.
class OpenManifest {
public:
    explicit OpenManifest(const QCommandLineParser& commandLine, int argument = 0);

    /// Loads the manifest for a query. Complains when that is not possible.
    ExitStatus loadToRead();
    /// Looks whether there is a file that can be edited, before anything else is read. Complains when there is none.
    ExitStatus checkThatItCanBeEdited() const;
    /// Whether --save asks for the result, and nothing else does.
    bool isToBeSaved() const;
    /// Loads the manifest for an edit, with the turn at it when the edit is to be saved.
    ExitStatus loadToEdit();

    ConfigurationManifestHandler& handler();
    /// The manifest as it was read, before anything was stamped.
    const QJsonArray& original() const;

    /// Whether a path leads to an element. Queries skip its empty names, edits keep them. Complains about the part of
    /// it that leads nowhere.
    bool leadsSomewhere(const QString& path, Qt::SplitBehavior emptyNames) const;

    /// Says that an edit changes the element at a path, which is thereby not lost.
    void expectChangeOf(const QString& elementPath);
    void expectChangeOfInstances(const QString& instanceName);

    /// Whether a key may get a value in place of the present one. Complains when their JSON types do not fit.
    bool accepts(const QString& key, const QJsonValue& present, const QJsonValue& value) const;
    /// Whether an element may get the members of a description. Complains as well.
    bool acceptsAll(const QJsonObject& element, const QJsonObject& description) const;

    /// Ends an edit that succeeded: refuses it when it does damage, and else does as the saveOptions() ask.
    /// `whatHappened` is told unless nothing has changed.
    ExitStatus finish(const QString& whatHappened, Loss loss = Loss::IsDamage);
    /// Refuses the edit, and complains, unless it is forced.
    ExitStatus refuse() const;
    /// Saves the manifest. Complains when that fails.
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
