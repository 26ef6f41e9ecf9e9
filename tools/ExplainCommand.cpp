#include "CommandLine.h"
#include "Difference.h"
#include "ElementOutput.h"
#include "Explanation.h"
#include "FileOperand.h"
#include "Output.h"
#include "Scheme.h"

#include <QtCore/QCommandLineParser>
#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QFileInfo>
#include <QtCore/QJsonArray>
#include <QtCore/QJsonDocument>
#include <QtCore/QJsonObject>

#include <algorithm>
#include <cerrno>
#include <numeric>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

using Entries = QVector<int>;

// Why a folder cannot be explained; null when it can.
QString reasonAgainst(const QString& folder)
{
    const QByteArray path = QFile::encodeName(folder);
    struct stat status = {};
    if (stat(path.constData(), &status) != 0) {
        return textOf(errno);
    }
    if (!S_ISDIR(status.st_mode)) {
        return QStringLiteral("it is not a folder");
    }
    const int error = errorOfListing(folder);
    return error == 0 ? QString() : textOf(error);
}

// The part of a path below a folder; empty for the folder itself, null if the path is not in the folder.
QString behind(const QString& folder, const QString& path)
{
    if (path == folder) {
        return QLatin1String("");
    }
    const QString start = folder.endsWith(QLatin1Char('/')) ? folder : QString(folder % QLatin1Char('/'));
    return path.startsWith(start) ? path.mid(start.size()) : QString();
}

// The paths of the entries that `what` may name, relative to the folder. An empty path is the folder itself.
QStringList filesMeant(const QString& folder, const QString& what)
{
    const QString written = QDir::cleanPath(QDir::current().absoluteFilePath(what));
    // Resolve links in the path of its folder only: the entry may be a link itself.
    const QFileInfo info(written);
    const QString followed = QFileInfo(info.path()).canonicalFilePath() % QLatin1Char('/') % info.fileName();
    QStringList files {
        behind(QDir::cleanPath(QDir::current().absoluteFilePath(folder)), written),
        behind(QFileInfo(folder).canonicalFilePath(), QDir::cleanPath(followed)),
        QDir::isAbsolutePath(what) ? QString() : QDir::cleanPath(what),
    };
    files.erase(
        std::remove_if(files.begin(), files.end(), [](const QString& file) { return file.isNull(); }), files.end());
    return files;
}

// "hide (is a number, not a bool), iconName"
QString toText(const KeyNotes& keys)
{
    QString text;
    for (const KeyNote& note : keys) {
        text += text.isEmpty() ? QLatin1String("") : QLatin1String(", ");
        text += shownKey(note.key);
        if (!note.note.isNull()) {
            text += QLatin1String(" (") % note.note % QLatin1Char(')');
        }
    }
    return text;
}

QString toText(const Damage& damage)
{
    return damage.line == 0 ? damage.text
                            : QStringLiteral("line %1, column %2: ").arg(damage.line).arg(damage.column) % damage.text;
}

// The instance path or the reason why there is none, the position, the display position and the description.
QString describe(const EntryExplanation& entry)
{
    QString text = entry.instancePath.isNull()
        ? QString(QLatin1String("unreachable: ") % entry.unreachable % QLatin1Char(';'))
        : QString(QLatin1Char('\'') % entry.instancePath % QLatin1String("',"));
    text += QLatin1String(" position ") % QString::number(entry.position);
    text += entry.hasDisplayPosition
        ? QString(QLatin1String(", display position ") % QString::number(entry.displayPosition))
        : QStringLiteral(", no display position");
    text += entry.isHidden ? QLatin1String(", hidden") : QLatin1String("");
    if (!entry.isDescribed) {
        text += entry.description.isNull() ? QLatin1String(", no description")
                                           : QLatin1String(", its description is damaged");
    } else if (entry.description != entry.path) {
        text += QLatin1String(", described by ") % entry.description;
    }
    return text;
}

QString firstLineOf(const EntryExplanation& entry)
{
    switch (entry.fate) {
    case Fate::Absent:
        return toText(entry.absence) % QLatin1String(": ") % entry.reason;
    case Fate::Description:
        return QLatin1String("of ") % entry.reason;
    case Fate::Selection:
    case Fate::Node:
        break;
    }
    return describe(entry);
}

void printLines(const EntryExplanation& entry)
{
    const QString path = printable(entry.path);
    QString lines = path % QLatin1Char('\t') % toText(entry.fate) % QLatin1Char('\t') % printable(firstLineOf(entry));
    const auto addLine = [&](QLatin1String word, const QString& text) {
        if (!text.isEmpty()) {
            lines += QLatin1Char('\n') % path % QLatin1Char('\t') % word % QLatin1Char('\t') % printable(text);
        }
    };
    addLine(QLatin1String("damage"), toText(entry.damage));
    addLine(QLatin1String("taken"), toText(entry.taken));
    addLine(QLatin1String("defaulted"), toText(entry.defaulted));
    addLine(QLatin1String("ignored"), toText(entry.ignored));
    print(lines);
}

// The text as JSON; null for a null string.
QJsonValue orNull(const QString& text)
{
    return text.isNull() ? QJsonValue() : QJsonValue(text);
}

QJsonObject toJson(const KeyNotes& keys)
{
    QJsonObject object;
    for (const KeyNote& note : keys) {
        object.insert(note.key, orNull(note.note));
    }
    return object;
}

QJsonValue toJson(const Damage& damage)
{
    if (damage.text.isNull()) {
        return {};
    }
    QJsonObject object {{QStringLiteral("text"), damage.text}};
    if (damage.line > 0) {
        object.insert(QStringLiteral("line"), damage.line);
        object.insert(QStringLiteral("column"), damage.column);
    }
    return object;
}

QJsonObject toJson(const EntryExplanation& entry)
{
    QJsonObject object {
        {QStringLiteral("file"), entry.path},
        {QStringLiteral("fate"), toText(entry.fate)},
        {QStringLiteral("damage"), toJson(entry.damage)},
    };
    if (entry.fate == Fate::Absent || entry.fate == Fate::Description) {
        object.insert(QStringLiteral("absence"), orNull(toText(entry.absence)));
        object.insert(QStringLiteral("reason"), entry.reason);
        return object;
    }
    object.insert(QStringLiteral("path"), orNull(entry.instancePath));
    object.insert(QStringLiteral("unreachable"), orNull(entry.unreachable));
    object.insert(QStringLiteral("name"), entry.name);
    object.insert(QStringLiteral("label"), entry.label);
    object.insert(QStringLiteral("position"), entry.position);
    object.insert(
        QStringLiteral("displayPosition"), entry.hasDisplayPosition ? QJsonValue(entry.displayPosition) : QJsonValue());
    object.insert(QStringLiteral("hidden"), entry.isHidden);
    object.insert(QStringLiteral("description"), entry.isDescribed ? orNull(entry.description) : QJsonValue());
    object.insert(QStringLiteral("taken"), toJson(entry.taken));
    object.insert(QStringLiteral("defaulted"), toJson(entry.defaulted));
    object.insert(QStringLiteral("ignored"), toJson(entry.ignored));
    return object;
}

// Prints an array in the format of printResult(), but item by item, so that its whole text is never in memory.
class ArrayPrinter {
public:
    void add(const QJsonObject& result)
    {
        const QByteArray array = QJsonDocument(QJsonArray {result}).toJson(QJsonDocument::Indented);
        // The lines between those of the brackets.
        const int start = array.indexOf('\n') + 1;
        const QByteArray lines = array.mid(start, array.lastIndexOf('\n', -2) - start);
        if (!last.isNull()) {
            printJson(last + ',');
        } else {
            printJson("[");
        }
        last = lines;
    }
    void finish()
    {
        if (!last.isNull()) {
            printJson(last);
        } else {
            printJson("[");
        }
        printJson("]");
    }

private:
    QByteArray last;
};

void printEntries(const FolderExplanation& explanation, const Entries& entries, bool asJson)
{
    ArrayPrinter array;
    for (const int entry : entries) {
        const EntryExplanation& what = explanation.entries.at(static_cast<std::size_t>(entry));
        if (asJson) {
            array.add(toJson(what));
        } else {
            printLines(what);
        }
    }
    if (asJson) {
        array.finish();
    }
}

Entries allBetween(int begin, int end)
{
    Entries entries(end - begin);
    std::iota(entries.begin(), entries.end(), begin);
    return entries;
}

// The position of the entry that `what` names; -1 if there is none. Sets `isEverything` if it names the folder itself.
int entryMeant(const FolderExplanation& explanation, const QString& folder, const QString& what, bool& isEverything)
{
    const QStringList files = filesMeant(folder, what);
    for (const QString& file : files) {
        isEverything = file.isEmpty() || file == QLatin1String(".");
        const int entry = isEverything ? -1 : entryAt(explanation, file);
        if (isEverything || entry >= 0) {
            return entry;
        }
    }
    return entryOfInstance(explanation, what);
}

// The instance path of the first element with this instance name, which may differ from its path. Null if there is
// none.
QString pathOfName(const FolderExplanation& explanation, const QString& name)
{
    const auto found = std::find_if(explanation.entries.begin(), explanation.entries.end(),
        [&](const EntryExplanation& entry) { return entry.name == name && !entry.instancePath.isEmpty(); });
    return found == explanation.entries.end() ? QString() : found->instancePath;
}

// Prints how far a path leads, and explains the entries at its end that have the missing name.
void explainDeadEnd(const FolderExplanation& explanation, const QString& what, bool asJson)
{
    const DeadEnd deadEnd = deadEndOf(explanation, what);
    const QString named = pathOfName(explanation, what);
    const QString& nearest = named.isNull() ? deadEnd.nearest : named;
    complain(QLatin1Char('\'') % printable(what) % QLatin1String("' leads nowhere: there is no '")
        % printable(deadEnd.missing)
        % (deadEnd.reached.isNull()
                ? QStringLiteral("' at the top level")
                : QString(QLatin1String("' below '") % printable(deadEnd.reached) % QLatin1Char('\'')))
        % (nearest.isNull() ? QString()
                            : QString(QLatin1String(" (did you mean '") % printable(nearest) % QLatin1String("'?)"))));
    printEntries(explanation, deadEnd.namesakes, asJson);
}

ExitStatus explainWhat(const QCommandLineParser& arguments)
{
    const QStringList given = arguments.positionalArguments();
    const QString& folder = given.constFirst();
    const QString what = given.value(1);
    QString scheme;
    if (!readScheme(arguments, scheme)) {
        return Trouble;
    }
    const QString reason = reasonAgainst(folder);
    if (!reason.isNull()) {
        complain(QLatin1String("cannot read ") % printable(folder) % QLatin1String(": ") % reason);
        return Trouble;
    }
    // The same path that the creator gets, because instance names depend on it.
    const FolderExplanation explanation = explainFolder(QFileInfo(folder).canonicalFilePath(), scheme);
    for (const Refusal& refusal : explanation.refusals) {
        remark(QLatin1String("warning: no manifest is created: ") % refusal.path % QLatin1Char(' ') % refusal.reason);
    }
    if (explanation.isEmpty) {
        remark(QStringLiteral("warning: no manifest is created: the folder holds no visible entry"));
    }
    const bool asJson = arguments.isSet(elementsAsJsonOption().name);
    bool isEverything = what.isEmpty();
    const int entry = isEverything ? -1 : entryMeant(explanation, folder, what, isEverything);
    if (isEverything) {
        printEntries(explanation, allBetween(0, static_cast<int>(explanation.entries.size())), asJson);
        return Done;
    }
    if (entry < 0 && isWithoutNames(what)) {
        return complainAboutEmptyPath();
    }
    if (entry < 0) {
        explainDeadEnd(explanation, what, asJson);
        return NotDone;
    }
    printEntries(explanation, allBetween(entry, endOfEntry(explanation, entry)), asJson);
    return Done;
}

} // namespace

QVector<Command> explainCommands()
{
    const Option json {QStringLiteral("json"), {},
        QStringLiteral("Print JSON: for every entry, all that is known about it. A taken, defaulted or ignored key "
                       "about which there is nothing more to say has the value null."),
        {}};
    return {
        {QStringLiteral("explain"), QStringLiteral("FOLDER [PATH|FILE]"),
            QStringLiteral(
                "Explain what happens to every entry of FOLDER, at every level and hidden ones too, when its manifest "
                "is created, and why. With PATH or FILE, explain that entry and everything in it. FILE is a file or a "
                "folder; its path is relative to the current folder or to FOLDER. An argument that could be both PATH "
                "and FILE is taken as FILE. Nothing is written. Every line has three columns, separated by tabs: the "
                "path of the entry in FOLDER, a word, and details. The first line of an entry has the word selection, "
                "node, description (of the folder that it lies in) or absent, with the reason. Further lines have the "
                "words damage, if the description cannot be read; taken, with the keys that are in the manifest as "
                "described or decide about the position; defaulted, with the keys that the description could have "
                "given; and ignored, with the keys of the description that have no effect."),
            schemeOptions(QStringLiteral("Explain the manifest of SCHEME.")) + Options {json},
            {QStringLiteral("the entries are explained"),
                QStringLiteral("PATH or FILE leads nowhere, which is explained, or the output could not be printed"),
                QStringLiteral("wrong usage, or FOLDER cannot be read"), {}},
            explainWhat},
    };
}
