#include "Command.h"
#include "Difference.h"
#include "ElementOutput.h"
#include "Findings.h"
#include "HeldSignals.h"
#include "Merge.h"
#include "OpenManifest.h"
#include "Output.h"
#include "Scheme.h"
#include "TreeOperand.h"

#include <QtCore/QCommandLineParser>
#include <QtCore/QFile>
#include <QtCore/QJsonArray>
#include <QtCore/QJsonDocument>
#include <QtCore/QJsonObject>

#include <utility>

#include <sys/stat.h>

namespace {

const QString& preferOption()
{
    static const QString option = QStringLiteral("prefer");
    return option;
}

bool readDecision(const QCommandLineParser& arguments, Decision& decision)
{
    const QString side = arguments.value(preferOption());
    decision = side == QLatin1String("mine") ? Decision::Mine
        : side == QLatin1String("new")       ? Decision::Theirs
                                             : Decision::Nobody;
    if (arguments.isSet(preferOption()) && decision == Decision::Nobody) {
        complain(QStringLiteral("--prefer takes 'mine' or 'new'"));
        return false;
    }
    return true;
}

// Whether two paths lead to the same file, through hard or symbolic links too. False for standard input.
bool isSameFile(const QString& a, const QString& b)
{
    struct stat statusOfA = {};
    struct stat statusOfB = {};
    return stat(QFile::encodeName(a).constData(), &statusOfA) == 0
        && stat(QFile::encodeName(b).constData(), &statusOfB) == 0 && statusOfA.st_dev == statusOfB.st_dev
        && statusOfA.st_ino == statusOfB.st_ino;
}

/// Runs one merge: reads the operands, merges them, saves and prints the result.
class MergeRun {
public:
    explicit MergeRun(const QCommandLineParser& commandLine)
        : arguments(commandLine)
        , given(commandLine.positionalArguments())
        , manifest(commandLine, 1)
    {
    }

    ExitStatus run()
    {
        QString scheme;
        SaveWishes wishes;
        int secondsToWait = 0;
        // Refuse invalid options for saving even without --save.
        if (!readSaveWishes(arguments, wishes, secondsToWait) || !readDecision(arguments, decision)
            || !readStandardInputOnce(given) || !readScheme(arguments, scheme)) {
            return Trouble;
        }
        if (const ExitStatus status = read(scheme)) {
            return status;
        }
        if (isSameFile(base.path, mine.path)) {
            remark(QStringLiteral("warning: BASE and MINE are the same file, so nothing in MINE counts as changed"));
        }
        if (manifest.isToBeSaved() && isSet("keep-base") && isSameFile(mine.path, theirs.path)) {
            remark(QStringLiteral(
                "warning: MINE and NEW are the same file, so the kept base will contain the edits in MINE"));
        }
        const bool isWhole = isSet("force") || areWhole();
        areUnrelated(Pairing(base.tree, mine.tree, Stamps::DoNotCount), base, mine);
        const bool areRelated = !areUnrelated(Pairing(base.tree, theirs.tree, Stamps::DoNotCount), base, theirs);

        MergeResult result = merge(base.tree, mine.tree, theirs.tree, decision);
        conflicts = std::exchange(result.conflicts, {});
        // Free the largest data that is no longer needed.
        base = {};
        theirs.tree = {};
        if (!conflicts.isEmpty() && decision == Decision::Nobody) {
            return complainAboutConflicts();
        }
        merged = result.manifest;
        const TreeElements mergedTree = treeOf(merged);
        changes = differencesOf(mine.tree, mergedTree, Stamps::Count);
        if (!isSet("force") && (!isWhole || !areRelated || addsFindings(mergedTree))) {
            if (!isSet("print")) {
                tell(false);
            }
            return manifest.refuse();
        }
        return finish();
    }

private:
    bool isSet(const char* option) const
    {
        return arguments.isSet(QString::fromLatin1(option));
    }

    // Reads the operands. Mine comes first: if it is to be saved, this takes the turn. Otherwise another process could
    // merge in between, and the base read here would no longer be that of mine.
    ExitStatus read(const QString& scheme)
    {
        if (manifest.isToBeSaved()) {
            if (given.at(1) == QLatin1String("-")) {
                complain(QStringLiteral("cannot save to standard input: MINE has to be a file"));
                return Trouble;
            }
            if (const ExitStatus status = manifest.loadToEdit()) {
                return status;
            }
            mine = {given.at(1), manifest.original(), treeOf(manifest.original())};
        } else if (!readTree(given.at(1), scheme, mine)) {
            return Trouble;
        }
        return readTree(given.at(0), scheme, base) && readTree(given.at(2), scheme, theirs) ? Done : Trouble;
    }

    // Whether all operands could be read completely. If not, prints which could not, because unread entries would count
    // as removed.
    bool areWhole() const
    {
        bool isWhole = true;
        for (const TreeOperand* const operand : {&base, &mine, &theirs}) {
            if (!operand->isWhole) {
                complain(printable(operand->path)
                    % QLatin1String(" could not be read completely, and what is missing would count as removed"));
                isWhole = false;
            }
        }
        return isWhole;
    }

    // Prints the findings of the merged manifest that neither mine nor theirs has. Returns whether there are any.
    bool addsFindings(const TreeElements& mergedTree) const
    {
        const QVector<Finding> findings = addedToBoth(mine.manifest, theirs.manifest, mergedTree);
        for (const Finding& finding : findings) {
            complain(printable(finding.place % QLatin1Char(' ') % finding.what));
        }
        return !findings.isEmpty();
    }

    ExitStatus complainAboutConflicts() const
    {
        if (isSet("json") && !isSet("print")) {
            tellAsJson(false);
        } else {
            tellConflicts();
        }
        complain((conflicts.size() == 1 ? QStringLiteral("1 conflict")
                                        : QStringLiteral("%1 conflicts").arg(conflicts.size()))
            % QLatin1String("; --prefer mine or --prefer new decides"));
        return NotDone;
    }

    ExitStatus finish()
    {
        if (isSet("print")) {
            tellConflicts();
            printJson(QJsonDocument(merged).toJson(QJsonDocument::Compact));
            return Done;
        }
        if (!manifest.isToBeSaved()) {
            tell(false);
            return Done;
        }
        // Block signals until the result of the save has been printed.
        const HeldSignals held;
        // A device that merges at every start writes to its storage only if something has changed.
        if (!changes.isEmpty()) {
            manifest.handler().setManifestJsonArray(merged);
            if (const ExitStatus status = manifest.save()) {
                return status;
            }
        }
        // Write the base after the manifest. If that is interrupted, repeating the merge with the old base gives the
        // same result.
        const bool isKept =
            !isSet("keep-base") || keepBase(mine.path, QJsonDocument(theirs.manifest).toJson(QJsonDocument::Compact));
        tell(true);
        if (!isKept) {
            return NotDone;
        }
        const bool isAnythingSaved = !changes.isEmpty() || isSet("keep-base");
        return flushOutput() ? Done : isAnythingSaved ? SavedButNotPrinted : NotDone;
    }

    void tell(bool isSaved) const
    {
        if (isSet("json")) {
            tellAsJson(isSaved);
            return;
        }
        tellConflicts();
        printChanges(changes);
        const QLatin1String end(isSaved ? "; saved" : "; not saved");
        print(changes.isEmpty() ? QStringLiteral("unchanged")
                                : QString(QLatin1String("merged: ") % summaryOf(changes) % end));
    }

    void tellConflicts() const
    {
        const QLatin1String start = decision == Decision::Nobody ? QLatin1String("conflict: ")
            : decision == Decision::Mine                         ? QLatin1String("decided for mine: ")
                                                                 : QLatin1String("decided for new: ");
        for (const MergeConflict& conflict : conflicts) {
            const QString line = start % toLine(conflict, lengthOfShownValues());
            // With --print, standard output is for the manifest only.
            if (isSet("print")) {
                remark(line);
            } else {
                print(printable(line));
            }
        }
    }

    void tellAsJson(bool isSaved) const
    {
        QJsonArray conflictsAsJson;
        for (const MergeConflict& conflict : conflicts) {
            conflictsAsJson.append(toJson(conflict));
        }
        const bool isDecided = decision != Decision::Nobody;
        printResult(QJsonObject {
            {QStringLiteral("conflicts"), conflictsAsJson},
            {QStringLiteral("decidedFor"), isDecided ? QJsonValue(arguments.value(preferOption())) : QJsonValue()},
            {QStringLiteral("changes"), toJson(changes)},
            {QStringLiteral("saved"), isSaved},
        });
    }

    const QCommandLineParser& arguments;
    const QStringList given;
    OpenManifest manifest;
    Decision decision = Decision::Nobody;
    TreeOperand base;
    TreeOperand mine;
    TreeOperand theirs;
    QVector<MergeConflict> conflicts;
    QVector<ElementChange> changes;
    QJsonArray merged;
};

ExitStatus mergeManifests(const QCommandLineParser& arguments)
{
    return MergeRun(arguments).run();
}

} // namespace

QVector<Command> mergeCommands()
{
    const Options options =
        Options {{preferOption(), QStringLiteral("SIDE"),
                     QStringLiteral("Decide every conflict in favour of 'mine' or 'new'."), {}},
            saveOption(), printOption(),
            keepBaseOption(
                QStringLiteral("Save NEW as MINE.base, the BASE of the next merge, once the result is saved.")),
            {QStringLiteral("force"), {},
                QStringLiteral("Apply the merge even if it damages the structure of the manifest, if hardly anything "
                               "of BASE is left in NEW, or if an operand is a folder that cannot be read completely."),
                {}},
            {QStringLiteral("json"), {}, QStringLiteral("Print JSON instead of lines."), {}}}
        + treeOptions() + replaceOptions();
    return {
        {QStringLiteral("merge"), QStringLiteral("BASE MINE NEW"),
            QStringLiteral(
                "Bring the manifest MINE up to date. BASE is what MINE was made from, as --keep-base saved it; NEW is "
                "what BASE has become. Each may be a file, a folder, whose manifest is computed but not written, or - "
                "for standard input; with --save, MINE must be a file. A change that was made in only one of MINE and "
                "NEW is taken over, member by member. Different changes of the same thing in both are a conflict, "
                "which is printed with its three values; nothing is saved unless --prefer decides "
                "it. Otherwise the changes in MINE are printed, as by diff, or the result with --print. The module and "
                "object names in MINE stay."),
            options,
            {QStringLiteral("the merge applies and, with --save alone, is saved"),
                QStringLiteral("there are undecided conflicts; or the result was refused, could not be saved or was "
                               "overtaken by another process; or, with --keep-base, the base could not be written; or "
                               "nothing was to be saved and the output could not be printed"),
                QStringLiteral("wrong usage, or a problem with BASE, MINE or NEW"),
                QStringLiteral("the result is saved, but the output could not be printed")},
            mergeManifests},
    };
}
