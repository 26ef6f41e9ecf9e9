#include "Command.h"
#include "ConfigurationAndProcessDataDefinitions.h"
#include "ConfigurationManifestCreator.h"
#include "Difference.h"
#include "ElementOutput.h"
#include "HeldSignals.h"
#include "LibraryMessages.h"
#include "ManifestText.h"
#include "OpenManifest.h"
#include "Output.h"
#include "PropertyManagerConst.h"
#include "Scheme.h"
#include "Tree.h"
#include "TreeOperand.h"

#include <QtCore/QCommandLineParser>
#include <QtCore/QDir>
#include <QtCore/QFileInfo>
#include <QtCore/QJsonDocument>

#include <functional>

#include <sys/stat.h>

namespace {

using Definitions = ConfigurationAndProcessDataDefinitions;

QByteArray contentOf(const TreeElements& tree)
{
    return QJsonDocument(manifestOf(tree)).toJson(QJsonDocument::Compact);
}

// The path of the manifest of a folder. It is cleaned, unless the folder's path contains ".." after a link: that leads
// to another folder than the cleaned path.
QString manifestPath(const QString& folder, const QString& scheme)
{
    const QString path = folder % QLatin1Char('/') % scheme % QLatin1String(".manifest.json");
    const bool isSimple = wholePath(QDir::cleanPath(folder)) == wholePath(folder);
    return isSimple ? QDir::cleanPath(path) : path;
}

struct ElementCounts {
    int selections = 0;
    int nodes = 0;
};

// Counts the elements at every level.
ElementCounts countElements(const TreeElements& elements)
{
    ElementCounts counts;
    for (const TreeElement& element : elements) {
        const ElementCounts below = countElements(element.children);
        counts.selections += below.selections + (element.kind == TreeElement::Kind::Selection ? 1 : 0);
        counts.nodes += below.nodes + (element.kind == TreeElement::Kind::Node ? 1 : 0);
    }
    return counts;
}

// "3 selections, 1 node"
QString toText(const ElementCounts& counts)
{
    return QStringLiteral("%1 %2, %3 %4")
        .arg(counts.selections)
        .arg(counts.selections == 1 ? QLatin1String("selection") : QLatin1String("selections"))
        .arg(counts.nodes)
        .arg(counts.nodes == 1 ? QLatin1String("node") : QLatin1String("nodes"));
}

/// Runs one command that creates a manifest: scans the folder, saves or prints the manifest, and prints what has
/// changed.
class Creation {
public:
    using Create = std::function<bool()>;

    Creation(const QCommandLineParser& given, const QString& folderOfTheManifest, const QString& schemeOfTheManifest)
        : arguments(given)
        , folder(folderOfTheManifest)
        , scheme(schemeOfTheManifest)
        , path(manifestPath(folder, scheme))
        , stored(path)
    {
    }

    ExitStatus run(const Create& create)
    {
        SaveWishes wishes;
        int secondsToWait = 0;
        if (!readSaveWishes(arguments, wishes, secondsToWait)) {
            return Trouble;
        }
        const QString reason = reasonForNothing(folder);
        if (!reason.isNull()) {
            complain(QLatin1String("nothing to write in ") % printable(folder) % QLatin1String(": ") % reason);
            return Trouble;
        }
        if (!readPrevious()) {
            return Trouble;
        }
        const bool isToBeSaved = !isSet("dry-run") && !isSet("print");
        Turn turn;
        if (isToBeSaved && !takeTurn(turn, path, secondsToWait)) {
            return NotDone;
        }
        // Read again: another process may have saved the manifest during the wait for the turn.
        if (!readPrevious() || !scan()) {
            return Trouble;
        }
        if (isSet("print")) {
            printJson(contentOf(tree));
            return Done;
        }
        if (!isToBeSaved) {
            tell();
            if (wasManifest) {
                printChanges(differences());
            }
            print(QStringLiteral("not saved"));
            return Done;
        }
        return save(wishes, create);
    }

private:
    bool isSet(const char* option) const
    {
        return arguments.isSet(QString::fromLatin1(option));
    }

    bool readPrevious()
    {
        const Look& look = stored.read();
        if (!look.isThere() && look.error != ENOENT) {
            const QLatin1String verb(isSet("dry-run") || isSet("print") ? "cannot read " : "cannot replace ");
            complain(verb % printable(path) % QLatin1String(": ") % look.problem());
            return false;
        }
        setPrevious(look.isThere(), look.content);
        return true;
    }

    void setPrevious(bool isThere, const QByteArray& content)
    {
        QString problem;
        QJsonArray manifest;
        wasThere = isThere;
        wasManifest = isThere && parseManifest(path, content, manifest, problem);
        previous = wasManifest ? treeOf(manifest) : TreeElements();
    }

    // Scans the folder, and prints the messages of the library. If the scan is refused, prints the reason and returns
    // false.
    bool scan()
    {
        const FolderScan found = scanFolder(wholePath(folder), scheme);
        for (const Remark& reported : found.remarks) {
            remark((reported.isDamage ? QLatin1String("warning: ") : QLatin1String("remark: ")) % reported.source
                % QLatin1String(": ") % reported.text);
            reportedTexts.append(reported.text);
        }
        if (!found.refusal.isNull()) {
            complain(QLatin1String("cannot read ") % printable(folder) % QLatin1Char('/') % printable(found.refusal));
            return false;
        }
        tree = found.elements;
        return true;
    }

    ExitStatus save(const SaveWishes& wishes, const Create& create)
    {
        // Block signals until the result of the save has been printed.
        const HeldSignals held;
        // Write the base of a new manifest first. If the power is cut in between, a base without a manifest does no
        // harm. A manifest without a base could be edited, and then no longer be updated by a merge.
        if (!wasThere && isSet("keep-base")) {
            writeBase(path, contentOf(tree));
        }
        SaveReport report = stored.save(contentOf(tree), wishes, [&] { return createReporting(create); });
        if (report.result == SaveReport::Overtaken) {
            judgeChangedFolder(report);
        }
        if (report.result != SaveReport::Saved) {
            complain(report.problem);
            return NotDone;
        }
        // With --overwrite, the replaced manifest may differ from the one that was read before the scan.
        setPrevious(report.isReplacement, report.replaced);
        const bool isKept = !isSet("keep-base") || keepBase(path, contentOf(tree));
        tell();
        return !isKept ? NotDone : flushOutput() ? Done : SavedButNotPrinted;
    }

    // Creates the manifest, and prints the messages of the library that the scan has not printed already.
    bool createReporting(const Create& create)
    {
        QVector<LibraryMessage> messages;
        bool created = false;
        {
            const KeptMessages kept(messages);
            created = create();
        }
        for (const LibraryMessage& message : qAsConst(messages)) {
            if (!reportedTexts.removeOne(message.text)) {
                remark(message.line);
            }
        }
        return created;
    }

    // The folder is read twice: by the scan, to know what should be written, and by the creator. If the folder has
    // changed in between, the creator writes something else. This scans again to find out whether what was written is
    // what the folder holds now. The folder may still be changing, so it tries several times.
    void judgeChangedFolder(SaveReport& report)
    {
        const QByteArray wanted = contentOf(tree);
        bool hasChanged = false;
        constexpr int mostScans = 3;
        for (int scans = 0; scans < mostScans; ++scans) {
            const FolderScan again = scanFolder(wholePath(folder), scheme);
            const Look look = lookAt(path);
            if (!look.isThere()) {
                return;
            }
            if (again.refusal.isNull() && look.content == contentOf(again.elements)) {
                tree = again.elements;
                report.result = SaveReport::Saved;
                return;
            }
            hasChanged = hasChanged || !again.refusal.isNull() || contentOf(again.elements) != wanted;
        }
        if (hasChanged) {
            report.problem = printable(folder) % QLatin1String(" changed while it was being read: ") % printable(path)
                % QLatin1String(" is written, but may not match the folder");
        }
    }

    QVector<ElementChange> differences() const
    {
        return differencesOf(previous, tree, isSet("stamps") ? Stamps::Count : Stamps::DoNotCount);
    }

    // Prints the path of the manifest, its size, and how it differs from the previous one.
    void tell() const
    {
        print(printable(path));
        print(toText(countElements(tree)));
        if (!wasThere) {
            return;
        }
        if (!wasManifest) {
            print(QStringLiteral("the previous file was not a manifest"));
            return;
        }
        const QVector<ElementChange> changes = differences();
        const bool isEqual = manifestOf(previous) == manifestOf(tree);
        print(!changes.isEmpty() ? QString(QLatin1String("compared with the previous manifest: ") % summaryOf(changes))
                : isEqual        ? QStringLiteral("the same as the previous manifest")
                                 : QStringLiteral("the same as the previous manifest, except for stamps"));
    }

    const QCommandLineParser& arguments;
    const QString folder;
    const QString scheme;
    const QString path;
    StoredManifest stored;
    bool wasThere = false;
    bool wasManifest = false;
    TreeElements previous;
    TreeElements tree;
    QStringList reportedTexts;
};

ExitStatus create(const QCommandLineParser& arguments)
{
    const QString base = arguments.positionalArguments().constFirst();
    Creation creation(arguments, base % QLatin1Char('/') % PropertyManagerConst::getConfigurationFolderName(),
        Definitions::getSelectorUrlSchemeConfiguration());
    return creation.run([&] { return ConfigurationManifestCreator().create(wholePath(base)); });
}

ExitStatus createFolder(const QCommandLineParser& arguments)
{
    const QString folder = arguments.positionalArguments().constFirst();
    QString scheme;
    if (!readScheme(arguments, scheme)) {
        return Trouble;
    }
    return Creation(arguments, folder, scheme).run([&] {
        return ConfigurationManifestCreator().create2(wholePath(folder), scheme);
    });
}

} // namespace

QVector<Command> createCommands()
{
    const Options options =
        Options {
            {QStringLiteral("dry-run"), {},
                QStringLiteral("Print a summary of the manifest that would be written and how it differs from the "
                               "present one; write nothing."),
                {}},
            {QStringLiteral("print"), {}, QStringLiteral("Print the manifest that would be written; write nothing."),
                {}},
            {QStringLiteral("stamps"), {},
                QStringLiteral("Count module and object names that the new manifest no longer has as changes."), {}},
            keepBaseOption(
                QStringLiteral("Also save the created manifest as MANIFEST.base, the BASE of later merges.")),
        }
        + replaceOptions();
    const ExitMeanings exits {
        QStringLiteral("the manifest is written; with --dry-run or --print, it is printed or summed up"),
        QStringLiteral("the manifest or, with --keep-base, its base could not be written; or the folder changed while "
                       "it was being read; or nothing was to be written and the output could not be printed"),
        QStringLiteral("wrong usage, or the folder holds nothing to write or something that cannot be read"),
        QStringLiteral("the manifest is written, but the output could not be printed")};
    return {
        {QStringLiteral("create"), QStringLiteral("BASE"),
            QStringLiteral("Create the manifest of the configuration folder below BASE. It replaces the present one."),
            options, exits, create},
        {QStringLiteral("create-folder"), QStringLiteral("FOLDER"),
            QStringLiteral("Create the manifest of FOLDER. It replaces the present one."),
            schemeOptions(QStringLiteral("Write SCHEME.manifest.json.")) + options, exits, createFolder},
    };
}
