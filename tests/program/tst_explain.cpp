#include "Explanation.h"
#include "QuickFolder.h"
#include "Table.h"
#include "TestMain.h"
#include "Workplace.h"
#include "faults/FaultyCalls.h"

#include <QtCore/QDir>
#include <QtCore/QJsonDocument>
#include <QtCore/QTemporaryDir>

#include <sys/stat.h>
#include <unistd.h>

namespace {

const QString configurationScheme = u"configuration"_qs;
const QByteArray good = R"({"displayPosition":1,"hide":false,"iconName":"i"})";

// A temporary folder of descriptions.
class Folder {
public:
    Folder()
        : directory(quickFolder())
    {
        chmod(QFile::encodeName(directory.path()).constData(), 0755);
        QDir().mkpath(path());
    }

    ~Folder()
    {
        // QTemporaryDir cannot remove a file whose name is not valid UTF-8.
        const QByteArray unnameable = QFile::encodeName(path()) + "/a\xff.config.json";
        unlink(unnameable.constData());
    }
    Q_DISABLE_COPY(Folder)

    QString path() const
    {
        return directory.filePath(u"tree"_qs);
    }
    QString path(const QString& name) const
    {
        return path() + u'/' + name;
    }
    void add(const QString& name, const QByteArray& content = good) const
    {
        writeFile(path(name), content);
    }
    FolderExplanation explain(const QString& scheme = configurationScheme) const
    {
        return explainFolder(path(), scheme);
    }
    EntryExplanation explain(const QString& name, const QString& scheme) const
    {
        const FolderExplanation explanation = explain(scheme);
        const int entry = entryAt(explanation, name);
        return entry < 0 ? EntryExplanation() : explanation.entries.at(static_cast<std::size_t>(entry));
    }

private:
    const QTemporaryDir directory;
};

using Preparer = void (*)(const Folder& folder);

QString inWords(const EntryExplanation& entry)
{
    return entry.fate == Fate::Absent ? toText(entry.absence) + u": "_qs + entry.reason
                                      : toText(entry.fate) + u" "_qs + entry.reason;
}

QStringList inWords(const KeyNotes& keys)
{
    QStringList words;
    for (const KeyNote& note : keys) {
        words << (note.note.isNull() ? note.key : QString(note.key + u": "_qs + note.note));
    }
    return words;
}

QStringList pathsOf(const FolderExplanation& explanation)
{
    QStringList paths;
    for (const EntryExplanation& entry : explanation.entries) {
        paths << entry.path;
    }
    return paths;
}

// The lines that say what entries become.
QStringList firstLines(const QByteArray& output)
{
    QStringList lines;
    for (const QString& line : linesOf(output)) {
        const QString word = line.section(u'\t', 1, 1);
        if (QStringList({u"selection"_qs, u"node"_qs, u"description"_qs, u"absent"_qs}).contains(word)) {
            lines << line;
        }
    }
    return lines;
}

int numberOfEntries(const QString& folder)
{
    int number = 0;
    const QFileInfoList entries =
        QDir(folder).entryInfoList(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot);
    for (const QFileInfo& entry : entries) {
        number += 1 + (entry.isDir() ? numberOfEntries(entry.filePath()) : 0);
    }
    return number;
}

int numberOf(const TreeElements& elements)
{
    int number = 0;
    for (const TreeElement& element : elements) {
        number += 1 + countBelow(element);
    }
    return number;
}

} // namespace

Q_DECLARE_METATYPE(Preparer)

class tst_Explain : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void everyAbsenceHasItsReason_data();
    void everyAbsenceHasItsReason();
    void unreadableEntriesAreReported();
    void refusedEntryDoesNotAffectRest_data();
    void refusedEntryDoesNotAffectRest();
    void damageHasItsPlace_data();
    void damageHasItsPlace();
    void damageOfFolderDescriptionsIsReportedOnce();
    void everyKeyIsTakenDefaultedOrIgnored_data();
    void everyKeyIsTakenDefaultedOrIgnored();
    void displayPositionIsExplained_data();
    void displayPositionIsExplained();
    void unreachableElementsNameTheirReason_data();
    void unreachableElementsNameTheirReason();
    void entriesComeInOrderOfTree();
    void everythingInExampleIsExplainedOnce_data();
    void everythingInExampleIsExplainedOnce();
    void changesDuringScanAreReported_data();
    void changesDuringScanAreReported();
    void manyLinksAndLevelsComeToEnd();
    void deadEndsNameWhatIsThere_data();
    void deadEndsNameWhatIsThere();

    void importedFolderIsExplained();
    void oneEntryIsFound_data();
    void oneEntryIsFound();
    void pathThatLeadsNowhereIsExplained_data();
    void pathThatLeadsNowhereIsExplained();
    void folderThatCannotBeExplainedIsTrouble_data();
    void folderThatCannotBeExplainedIsTrouble();
    void jsonSaysWhatLinesSay();
    void emptyKeyIsListed();
    void strangeNamesStayInTheirLine();
};

void tst_Explain::everyAbsenceHasItsReason_data()
{
    const Table<Preparer, QString, QString, QString> table("prepare", "path", "scheme", "words");
    const auto row = [&](const char* name, Preparer prepare, const QString& path, const QString& words) {
        table(name, prepare, path, configurationScheme, words);
    };
    const auto file = [&](const char* name, const QString& path, const QString& words,
                          const QString& scheme = configurationScheme) { table(name, nullptr, path, scheme, words); };

    file("hidden file", u".a.config.json"_qs, u"hidden: its name begins with a dot"_qs);
    file("in a hidden folder", u".x/y/a.config.json"_qs, u"hidden: it lies in the hidden folder '.x'"_qs);
    file("other suffix", u"a.txt"_qs, u"other-suffix: its name does not end in '.config.json'"_qs);
    file("other suffix under another scheme", u"a.txt"_qs, u"other-suffix: its name does not end in '.process.json'"_qs,
        u"x"_qs);
    file("capitals", u"a.Config.JSON"_qs, u"almost: '.Config.JSON' is not '.config.json'"_qs);
    file("suffix of processes", u"a.process.json"_qs, u"almost: '.process.json' is for the scheme 'process'"_qs);
    file("suffix of configurations", u"a.config.json"_qs,
        u"almost: '.config.json' is for the scheme 'configuration'"_qs, u"process"_qs);
    file("capitals of the other suffix", u"a.PROCESS.json"_qs,
        u"almost: '.PROCESS.json' is not '.process.json', and that is for the scheme 'process'"_qs);
    file("folder description in capitals", u"x/FOLDER.menu.json"_qs,
        u"almost: a folder is described by 'Folder.menu.json'"_qs);
    file("description of the whole folder", u"Folder.menu.json"_qs,
        u"no-element: it describes the whole folder, which is no element"_qs);
    file("manifest", u"configuration.manifest.json"_qs, u"manifest: it is a manifest"_qs);
    file("base", u"process.manifest.json.base"_qs, u"manifest: it was kept or left behind by a save of a manifest"_qs);
    file("backup", u"configuration.manifest.json~"_qs,
        u"manifest: it was kept or left behind by a save of a manifest"_qs);
    row(
        "empty folder", [](const Folder& folder) { QDir().mkpath(folder.path(u"x"_qs)); }, u"x"_qs,
        u"no-selection: there is nothing in it"_qs);
    row(
        "folder without a selection", [](const Folder& folder) { folder.add(u"x/y/a.process.json"_qs); }, u"x"_qs,
        u"no-selection: there is no selection in it"_qs);
    row(
        "dangling link", [](const Folder& folder) { makeLink(u"/nowhere"_qs, folder.path(u"a.config.json"_qs)); },
        u"a.config.json"_qs, u"dangling-link: the link leads to '/nowhere', which does not exist"_qs);
    row(
        "dangling link through a file",
        [](const Folder& folder) {
            folder.add(u"b.txt"_qs);
            makeLink(u"b.txt/c"_qs, folder.path(u"a.config.json"_qs));
        },
        u"a.config.json"_qs, u"dangling-link: the link leads to '%1/b.txt/c': Not a directory"_qs);
    row(
        "link to itself", [](const Folder& folder) { makeLink(u"a.config.json"_qs, folder.path(u"a.config.json"_qs)); },
        u"a.config.json"_qs,
        u"looping-link: the link leads to '%1/a.config.json': Too many levels of symbolic links"_qs);
    row(
        "link to a folder around it",
        [](const Folder& folder) {
            folder.add(u"x/a.config.json"_qs);
            makeLink(folder.path(), folder.path(u"x/up"_qs));
        },
        u"x/up"_qs,
        u"looping-link: it leads back to a folder that contains it; no manifest is created while it is there"_qs);
    row(
        "pipe", [](const Folder& folder) { makePipe(folder.path(u"a.config.json"_qs)); }, u"a.config.json"_qs,
        u"no-file: it is a pipe"_qs);
    row(
        "socket", [](const Folder& folder) { makeSocket(folder.path(u"a.config.json"_qs)); }, u"a.config.json"_qs,
        u"no-file: it is a socket"_qs);
    row(
        "link to a device", [](const Folder& folder) { makeLink(u"/dev/zero"_qs, folder.path(u"zero"_qs)); },
        u"zero"_qs, u"no-file: it is a device"_qs);
    row(
        "device for a description",
        [](const Folder& folder) { makeLink(u"/dev/zero"_qs, folder.path(u"a.config.json"_qs)); }, u"a.config.json"_qs,
        u"no-file: it is a device; no manifest is created while it is there"_qs);
    const Preparer deviceForFolder = [](const Folder& folder) {
        folder.add(u"x/a.config.json"_qs);
        makeLink(u"/dev/zero"_qs, folder.path(u"x/Folder.menu.json"_qs));
    };
    row("device for a description of a folder", deviceForFolder, u"x/Folder.menu.json"_qs,
        u"no-file: it is a device; no manifest is created while it is there"_qs);
    row("folder of such a description", deviceForFolder, u"x"_qs,
        u"not-reached: 'x/Folder.menu.json' is a device; no manifest is created while it is there"_qs);
    row("beside such a description", deviceForFolder, u"x/a.config.json"_qs,
        u"not-reached: it lies in 'x', which is not read"_qs);
    row(
        "name that is no text",
        [](const Folder& folder) {
            const QByteArray path = QFile::encodeName(folder.path()) + "/a\xff.config.json";
            QVERIFY(symlink("/dev/null", path.constData()) == 0);
        },
        u"a\\xff.config.json"_qs, u"no-text: its name is not valid text"_qs);
    file("description of a folder", u"x/Folder.menu.json"_qs, u"description 'x', which is not in the manifest"_qs);
    row(
        "description of a node",
        [](const Folder& folder) {
            folder.add(u"x/Folder.menu.json"_qs);
            folder.add(u"x/a.config.json"_qs);
        },
        u"x/Folder.menu.json"_qs, u"description 'x'"_qs);
}

void tst_Explain::everyAbsenceHasItsReason()
{
    QFETCH(const Preparer, prepare);
    QFETCH(const QString, path);
    QFETCH(const QString, scheme);
    QFETCH(const QString, words);
    const Folder folder;
    folder.add(u"other.config.json"_qs);
    if (prepare == nullptr) {
        folder.add(path);
    } else {
        prepare(folder);
    }
    const EntryExplanation entry = folder.explain(path, scheme);
    QCOMPARE(inWords(entry), words.contains(u"%1"_qs) ? words.arg(folder.path()) : words);
    QCOMPARE(entry.instancePath, QString());
}

void tst_Explain::unreadableEntriesAreReported()
{
    const Folder folder;
    folder.add(u"closed/a.config.json"_qs);
    folder.add(u"open/a.config.json"_qs);
    folder.add(u"open/Folder.menu.json"_qs);
    for (const QString& name : {u"open/a.config.json"_qs, u"open/Folder.menu.json"_qs, u"closed"_qs}) {
        QVERIFY(chmod(QFile::encodeName(folder.path(name)).constData(), 0) == 0);
    }
    FolderExplanation explanation;
    {
        const AsOrdinaryUser user;
        explanation = folder.explain();
    }
    QVERIFY(chmod(QFile::encodeName(folder.path(u"closed"_qs)).constData(), 0700) == 0);
    QCOMPARE(pathsOf(explanation),
        QStringList({u"open"_qs, u"open/Folder.menu.json"_qs, u"open/a.config.json"_qs, u"closed"_qs}));
    QCOMPARE(inWords(explanation.entries.at(3)), u"unreadable: Permission denied"_qs);
    for (const std::size_t description : {std::size_t(1), std::size_t(2)}) {
        QCOMPARE(explanation.entries.at(description).damage.text, u"unreadable: Permission denied"_qs);
    }
    QCOMPARE(explanation.entries.at(2).fate, Fate::Selection);
    QCOMPARE(explanation.entries.at(0).isDescribed, false);
}

void tst_Explain::refusedEntryDoesNotAffectRest_data()
{
    const Table<QString, QString, QString> row("target", "path", "refused");
    row("looping link", u"."_qs, u"x/up"_qs, u"x/up leads back to a folder that contains it"_qs);
    row("device", u"/dev/zero"_qs, u"x/b.config.json"_qs, u"x/b.config.json is a device"_qs);
}

void tst_Explain::refusedEntryDoesNotAffectRest()
{
    QFETCH(const QString, target);
    QFETCH(const QString, path);
    QFETCH(const QString, refused);
    const Folder folder;
    folder.add(u"a.config.json"_qs);
    folder.add(u"x/a.config.json"_qs);
    makeLink(target, folder.path(path));
    const FolderExplanation explanation = folder.explain();
    QCOMPARE(pathsOf(explanation), QStringList({u"a.config.json"_qs, u"x"_qs, u"x/a.config.json"_qs, path}));
    QCOMPARE(explanation.entries.at(2).instancePath, u"x/a"_qs);
    QCOMPARE(explanation.refusals.size(), 1);
    const ProgramRun run = Program().run(u"explain "_qs + folder.path());
    QCOMPARE(run.status, 0);
    QCOMPARE(run.errors, QByteArray("warning: no manifest is created: " + refused.toUtf8() + '\n'));
}

void tst_Explain::damageHasItsPlace_data()
{
    const Table<QByteArray, int, int, QString> row("content", "line", "column", "text");
    row("nothing wrong", "{}", 0, 0, {});
    row("empty", "", 1, 1, u"not JSON: illegal value"_qs);
    row("first line", "{\"a\" 1}", 1, 7, u"not JSON: missing name separator"_qs);
    row("third line", "{\n  \"a\": 1,\n  \"b\" 1\n}", 3, 8, u"not JSON: missing name separator"_qs);
    row("line ends of two characters", "{\r\n  \"a\": 1,\r\n  \"b\" 1\r\n}", 3, 8,
        u"not JSON: missing name separator"_qs);
    row("behind such a line end", "{\"a\" \r\n1}", 2, 2, u"not JSON: missing name separator"_qs);
    row("before such a line end", "{\"a\" 1\r\n}", 1, 7, u"not JSON: missing name separator"_qs);
    row("behind a carriage return alone", "{\"a\" 1\r}", 1, 8, u"not JSON: missing name separator"_qs);
    row("characters of several bytes", "{\"\xC3\xA4\xE6\x97\xA5\" 1}", 1, 8, u"not JSON: missing name separator"_qs);
    row("byte order mark", "\xEF\xBB\xBF{\"a\" 1}", 1, 7, u"not JSON: missing name separator"_qs);
    row("line after the last one", "{\"a\":1,\n", 2, 1, u"not JSON: unterminated object"_qs);
    row("list", "[{}]", 0, 0, u"holds a JSON array instead of an object"_qs);
}

void tst_Explain::damageHasItsPlace()
{
    QFETCH(const QByteArray, content);
    QFETCH(const int, line);
    QFETCH(const int, column);
    QFETCH(const QString, text);
    const Folder folder;
    folder.add(u"a.config.json"_qs, content);
    const EntryExplanation entry = folder.explain(u"a.config.json"_qs, configurationScheme);
    QCOMPARE(entry.fate, Fate::Selection);
    QCOMPARE(entry.damage.text, text);
    QCOMPARE(entry.damage.line, line);
    QCOMPARE(entry.damage.column, column);
    QCOMPARE(entry.isDescribed, text.isNull());
}

void tst_Explain::damageOfFolderDescriptionsIsReportedOnce()
{
    const Folder folder;
    folder.add(u"x/a.config.json"_qs);
    folder.add(u"x/Folder.menu.json"_qs, "{");
    folder.add(u"y/a.config.json"_qs);
    QDir().mkpath(folder.path(u"y/Folder.menu.json"_qs));
    folder.add(u"z/Folder.menu.json"_qs, "[]");
    const ProgramRun run = Program().run(u"explain "_qs + folder.path());
    QCOMPARE(linesOf(run.output).filter(u"\tdamage\t"_qs),
        QStringList({u"x/Folder.menu.json\tdamage\tline 1, column 2: not JSON: unterminated object"_qs,
            u"y\tdamage\t'y/Folder.menu.json' is a folder, not a file"_qs,
            u"z/Folder.menu.json\tdamage\tholds a JSON array instead of an object"_qs}));
    QCOMPARE(run.errors, QByteArray());
    QVERIFY(
        linesOf(run.output).contains(u"x\tnode\t'x', position 0, no display position, its description is damaged"_qs));
}

void tst_Explain::everyKeyIsTakenDefaultedOrIgnored_data()
{
    using Keys = QStringList;
    const Table<QString, QByteArray, Keys, Keys, Keys> table("file", "content", "taken", "defaulted", "ignored");
    const auto row = [&](const char* name, const QByteArray& content, const Keys& taken, const Keys& defaulted,
                         const Keys& ignored) { table(name, u"a.config.json"_qs, content, taken, defaulted, ignored); };
    const auto folder = [&](const char* name, const QByteArray& content, const Keys& taken, const Keys& defaulted,
                            const Keys& ignored) {
        table(name, u"x/Folder.menu.json"_qs, content, taken, defaulted, ignored);
    };
    const QStringList all {u"dataModel"_qs, u"hide"_qs, u"iconName"_qs, u"instanceName"_qs, u"labelTextId"_qs,
        u"lastModified"_qs, u"displayPosition"_qs};
    const auto allBut = [&](const QStringList& keys) {
        QStringList rest = all;
        for (const QString& key : keys) {
            rest.removeOne(key.section(u':', 0, 0));
        }
        return rest;
    };
    row("no key", "{}", {}, all, {});
    row("taken", R"({"hide":true,"moduleName":"M","connectorId":0,"selectorTypeList":["s"]})",
        {u"connectorId"_qs, u"hide"_qs, u"moduleName"_qs, u"selectorTypeList"_qs}, allBut({u"hide"_qs}), {});
    row("empty text", R"({"labelTextId":"","moduleName":""})", {u"labelTextId"_qs}, allBut({u"labelTextId"_qs}),
        {u"moduleName: is empty"_qs});
    row("unknown to the manifest", R"({"parameters":[1],"substructure":[]})", {}, all,
        {u"parameters"_qs, u"substructure"_qs});
    row("always the same", R"({"closeMode":"x","selectionType":"Node","uiJob":7})", {}, all,
        {u"closeMode: is always \"Manual\""_qs, u"selectionType: is always \"Selection\""_qs,
            u"uiJob: is always \"OpenConfiguration\""_qs});
    row("value out of range", R"({"connectorId":-1,"selectorTypeList":[]})", {}, all,
        {u"connectorId: is -1"_qs, u"selectorTypeList: is empty"_qs});
    row("another type in the manifest", R"({"dataModel":1,"hide":"x","iconName":null})", {},
        {u"dataModel: is a number, not a string"_qs, u"hide: is a string, not a bool"_qs,
            u"iconName: is null, not a string"_qs, u"instanceName"_qs, u"labelTextId"_qs, u"lastModified"_qs,
            u"displayPosition"_qs},
        {});
    row("another type out of the manifest", R"({"moduleName":{},"connectorId":"1","selectorTypeList":true})", {}, all,
        {u"connectorId: is a string, not a number"_qs, u"moduleName: is an object, not a string"_qs,
            u"selectorTypeList: is a bool, not an array"_qs});
    row("empty name", R"({"instanceName":""})", {},
        {u"dataModel"_qs, u"hide"_qs, u"iconName"_qs, u"instanceName: is empty"_qs, u"labelTextId"_qs,
            u"lastModified"_qs, u"displayPosition"_qs},
        {});
    folder("folder without keys", "{}", {}, {u"displayPosition"_qs}, {});
    folder("keys of a folder", R"({"displayPosition":1,"hide":"no","own":{},"tolmVersion":1})",
        {u"hide"_qs, u"own"_qs, u"displayPosition"_qs}, {}, {u"tolmVersion"_qs});
    folder("overwritten keys of a folder",
        R"({"displayPosition":1,"instanceName":"y","selectionType":"Selection","substructure":[{"a":1}]})",
        {u"displayPosition"_qs}, {},
        {u"instanceName: is always \"x\""_qs, u"selectionType: is always \"Node\""_qs,
            u"substructure: is built from what the folder holds"_qs});
}

void tst_Explain::everyKeyIsTakenDefaultedOrIgnored()
{
    QFETCH(const QString, file);
    QFETCH(const QByteArray, content);
    QFETCH(const QStringList, taken);
    QFETCH(const QStringList, defaulted);
    QFETCH(const QStringList, ignored);
    const Folder folder;
    folder.add(u"x/b.config.json"_qs);
    folder.add(file, content);
    const EntryExplanation entry = folder.explain(file.startsWith(u"x/"_qs) ? u"x"_qs : file, configurationScheme);
    QCOMPARE(inWords(entry.taken), taken);
    QCOMPARE(inWords(entry.defaulted), defaulted);
    QCOMPARE(inWords(entry.ignored), ignored);
    QCOMPARE(entry.damage.text, QString());
}

void tst_Explain::displayPositionIsExplained_data()
{
    const Table<QByteArray, QString, int> row("value", "words", "position");
    row("whole", "7", u"taken displayPosition"_qs, 7);
    row("like a missing one", "-1", u"taken displayPosition"_qs, -1);
    row("fraction", "2.9", u"taken displayPosition: as 2"_qs, 2);
    row("out of range", "1e99", u"taken displayPosition: as 2147483647"_qs, 2147483647);
    row("missing", {}, u"defaulted displayPosition"_qs, -1);
    row("text", "\"1\"", u"defaulted displayPosition: is a string, not a number"_qs, -1);
}

void tst_Explain::displayPositionIsExplained()
{
    QFETCH(const QByteArray, value);
    QFETCH(const QString, words);
    QFETCH(const int, position);
    const Folder folder;
    folder.add(u"a.config.json"_qs, value.isNull() ? QByteArray("{}") : "{\"displayPosition\":" + value + '}');
    const EntryExplanation entry = folder.explain(u"a.config.json"_qs, configurationScheme);
    const QString word = words.section(u' ', 0, 0);
    QCOMPARE(inWords(word == u"taken"_qs ? entry.taken : entry.defaulted).constLast(), words.section(u' ', 1));
    QCOMPARE(entry.displayPosition, position);
    QCOMPARE(entry.hasDisplayPosition, word == u"taken"_qs);
    QCOMPARE(entry.damage.text, QString());
}

void tst_Explain::unreachableElementsNameTheirReason_data()
{
    const Table<QStringList, QString, QString> row("files", "path", "reason");
    row("same base name", {u"a.config.json"_qs, u"a.b.config.json"_qs}, u"a.config.json"_qs,
        u"'a.b.config.json' answers to 'a' before it"_qs);
    row("same base name of a folder, below", {u"y/x/c.config.json"_qs, u"y/x.config.json"_qs}, u"y/x"_qs,
        u"'y/x.config.json' answers to 'x' before it"_qs);
    row("in an unreachable folder", {u"x/c.config.json"_qs, u"x.config.json"_qs}, u"x/c.config.json"_qs,
        u"no path leads to its folder"_qs);
    row("name that is no part of a path", {u"strange.config.json"_qs}, u"strange.config.json"_qs,
        u"its name 'strange/' cannot be part of a path"_qs);
    row("reachable", {u"a.config.json"_qs}, u"a.config.json"_qs, {});
}

void tst_Explain::unreachableElementsNameTheirReason()
{
    QFETCH(const QStringList, files);
    QFETCH(const QString, path);
    QFETCH(const QString, reason);
    const Folder folder;
    for (const QString& file : files) {
        folder.add(file, file.startsWith(u"strange"_qs) ? QByteArray(R"({"instanceName":"strange/"})") : good);
    }
    const EntryExplanation entry = folder.explain(path, configurationScheme);
    QCOMPARE(entry.unreachable, reason);
    QCOMPARE(entry.instancePath.isNull(), !reason.isNull());
}

void tst_Explain::entriesComeInOrderOfTree()
{
    const Folder folder;
    folder.add(u"a.config.json"_qs, R"({"displayPosition":2})");
    folder.add(u"b.config.json"_qs, R"({"displayPosition":1})");
    folder.add(u"c/d.config.json"_qs);
    folder.add(u"c/Folder.menu.json"_qs);
    folder.add(u"c/.e"_qs);
    folder.add(u"0/f.txt"_qs);
    folder.add(u"Z.txt"_qs);
    const FolderExplanation explanation = folder.explain();
    QCOMPARE(pathsOf(explanation),
        QStringList({u"b.config.json"_qs, u"a.config.json"_qs, u"c"_qs, u"c/Folder.menu.json"_qs, u"c/d.config.json"_qs,
            u"c/.e"_qs, u"0"_qs, u"0/f.txt"_qs, u"Z.txt"_qs}));
    QCOMPARE(endOfEntry(explanation, 2), 6);
    QCOMPARE(explanation.entries.at(2).position, 2);
}

void tst_Explain::everythingInExampleIsExplainedOnce_data()
{
    const Table<QString> row("scheme");
    row("configuration", configurationScheme);
    row("process", u"process"_qs);
}

void tst_Explain::everythingInExampleIsExplainedOnce()
{
    QFETCH(const QString, scheme);
    const QString folder = QStringLiteral(EXAMPLES "/device/configuration");
    const FolderExplanation explanation = explainFolder(folder, scheme);
    QStringList paths = pathsOf(explanation);
    QCOMPARE(paths.size(), numberOfEntries(folder));
    QCOMPARE(paths.removeDuplicates(), 0);
    int elements = 0;
    for (const EntryExplanation& entry : explanation.entries) {
        elements += entry.fate == Fate::Node || entry.fate == Fate::Selection ? 1 : 0;
        QVERIFY2(
            entry.absence != Absence::Changed && !entry.damage.text.contains(u"changed"_qs), qPrintable(entry.path));
    }
    QVERIFY(elements > 20);
    QCOMPARE(elements, numberOf(scanFolder(folder, scheme).elements));
}

void tst_Explain::changesDuringScanAreReported_data()
{
    const Table<QByteArray, QByteArray, bool> row("before", "after", "isSaid");
    row("gone", good, {}, true);
    row("gone, with nothing in it", "{}", {}, true);
    row("other value", good, QByteArray(R"({"displayPosition":1,"hide":true,"iconName":"i"})"), true);
    row("key that is missing now", good, QByteArray(R"({"displayPosition":1,"hide":false})"), true);
    row("other position", good, QByteArray(R"({"displayPosition":2,"hide":false,"iconName":"i"})"), true);
    row("no position any more", good, QByteArray(R"({"hide":false,"iconName":"i"})"), true);
    row("key of its own", good, QByteArray(R"({"displayPosition":1,"hide":false,"iconName":"i","own":1})"), false);
}

void tst_Explain::changesDuringScanAreReported()
{
    QFETCH(const QByteArray, before);
    QFETCH(const QByteArray, after);
    QFETCH(const bool, isSaid);
    const Folder folder;
    const QString path = folder.path(u"a.config.json"_qs);
    writeFile(path, before);
    if (!after.isNull()) {
        writeFile(path + u".exchange"_qs, after);
    }
    // The first call to open() is the library's.
    const int fault = after.isNull() ? Fault::Vanished : Fault::Exchanged;
    const ProgramRun run =
        Program().withFaultyCalls(u"open %1 2 2 %2"_qs.arg(fault).arg(path)).run(u"explain "_qs + folder.path());
    QCOMPARE(run.status, 0);
    QCOMPARE(run.output.contains("a.config.json\tdamage\tchanged while the folder was being read\n"), isSaid);
    QVERIFY(run.output.startsWith("a.config.json\tselection\t'a', position 0, "));
}

void tst_Explain::manyLinksAndLevelsComeToEnd()
{
    const Folder folder;
    QString deep = u"d"_qs;
    for (int i = 0; i < 300; ++i) {
        deep += u"/d"_qs;
    }
    folder.add(deep + u"/a.config.json"_qs);
    makeLink(folder.path(), folder.path(deep + u"/up"_qs));
    makeLink(folder.path(u"d"_qs), folder.path(u"d/d/up"_qs));
    folder.add(u".hidden/a.config.json"_qs);
    makeLink(u"."_qs, folder.path(u".hidden/up"_qs));
    const FolderExplanation explanation = folder.explain();
    QCOMPARE(explanation.refusals.size(), 2);
    // 301 folders, a file and two links, and a hidden folder with a file and a link.
    QCOMPARE(explanation.entries.size(), std::size_t(301 + 1 + 2 + 3));
}

void tst_Explain::deadEndsNameWhatIsThere_data()
{
    const Table<QString, QString, QString, QString, QStringList> row(
        "path", "reached", "missing", "nearest", "namesakes");
    row("misspelled", u"netwrok/port"_qs, {}, u"netwrok"_qs, u"network"_qs, {});
    row("misspelled below", u"network/prot"_qs, u"network"_qs, u"prot"_qs, u"network/port"_qs, {});
    row("too long", u"network/port/x"_qs, u"network/port"_qs, u"x"_qs, {}, {});
    row("folder without a selection", u"network/radio/antenna"_qs, u"network"_qs, u"radio"_qs, {},
        {u"network/radio"_qs});
    row("other suffix", u"network/live"_qs, u"network"_qs, u"live"_qs, {}, {u"network/live.process.json"_qs});
    row("other name", u"network/mapping"_qs, u"network"_qs, u"mapping"_qs, {}, {u"network/mapping.config.json"_qs});
    row("hidden", u"backup"_qs, {}, u"backup"_qs, {}, {u".backup"_qs});
    row("nothing like it", u"zzzzzz"_qs, {}, u"zzzzzz"_qs, {}, {});
}

void tst_Explain::deadEndsNameWhatIsThere()
{
    QFETCH(const QString, path);
    QFETCH(const QString, reached);
    QFETCH(const QString, missing);
    QFETCH(const QString, nearest);
    QFETCH(const QStringList, namesakes);
    const Folder folder;
    folder.add(u"network/port.config.json"_qs);
    folder.add(u"network/live.process.json"_qs);
    folder.add(u"network/mapping.config.json"_qs, R"({"instanceName":"network/fieldbus"})");
    QDir().mkpath(folder.path(u"network/radio/antenna"_qs));
    folder.add(u".backup/a.config.json"_qs);
    const FolderExplanation explanation = folder.explain();
    QCOMPARE(entryOfInstance(explanation, path), -1);
    const DeadEnd deadEnd = deadEndOf(explanation, path);
    QCOMPARE(deadEnd.reached, reached);
    QCOMPARE(deadEnd.missing, missing);
    QCOMPARE(deadEnd.nearest, nearest);
    QStringList found;
    for (const int entry : deadEnd.namesakes) {
        found << explanation.entries.at(static_cast<std::size_t>(entry)).path;
    }
    QCOMPARE(found, namesakes);
}

void tst_Explain::importedFolderIsExplained()
{
    const ProgramRun run = Program().in(QStringLiteral(EXAMPLES "/device")).run(u"explain configuration imported"_qs);
    QCOMPARE(run.status, 0);
    QCOMPARE(run.errors, QByteArray());
    QCOMPARE(QString::fromUtf8(run.output).split(u'\n'),
        QString::fromUtf8(readFile(QStringLiteral(TEST_DATA "/explained-imported.txt"))).split(u'\n'));
}

void tst_Explain::oneEntryIsFound_data()
{
    const Table<QString, QStringList> row("what", "files");
    const QStringList network {u"network"_qs, u"network/Folder.menu.json"_qs, u"network/port.v2.config.json"_qs};
    const QStringList other {u"network/port"_qs, u"network/port/other.txt"_qs};
    const QStringList port {u"network/port.v2.config.json"_qs};
    const QStringList older {u"older"_qs, u"older/a.config.json"_qs};
    row("folder from here", u"tree/older"_qs, older);
    row("folder in the folder", u"older"_qs, older);
    row("slash behind it", u"older/"_qs, older);
    row("whole path", u"%1/tree/older"_qs, older);
    row("through a link", u"link/older"_qs, older);
    row("link in the folder", u"tree/dangling"_qs, {u"dangling"_qs});
    row("file in the folder", u"network/port.v2.config.json"_qs, port);
    row("file before instance", u"network/port"_qs, other);
    row("instance", u"network/inner"_qs, {u"network/special.config.json"_qs});
    row("instance with slashes", u"/network//inner/"_qs, {u"network/special.config.json"_qs});
    row("the folder", u"tree"_qs, {u"*"_qs});
    row("the folder, with a dot", u"./tree/."_qs, {u"*"_qs});
    row("nothing given", u"''"_qs, {u"*"_qs});
}

void tst_Explain::oneEntryIsFound()
{
    QFETCH(const QString, what);
    QFETCH(const QStringList, files);
    const QTemporaryDir base(quickFolder());
    const QString tree = base.filePath(u"tree/"_qs);
    for (const QString& file : {u"network/Folder.menu.json"_qs, u"network/port.v2.config.json"_qs,
             u"older/a.config.json"_qs, u"network/port/other.txt"_qs}) {
        writeFile(tree + file, good);
    }
    writeFile(tree + u"network/special.config.json"_qs, R"({"instanceName":"network/inner"})");
    makeLink(u"/nowhere"_qs, tree + u"dangling"_qs);
    makeLink(u"tree"_qs, base.filePath(u"link"_qs));
    const QString argument = what.contains(u"%1"_qs) ? what.arg(base.path()) : what;
    const ProgramRun run = Program().in(base.path()).run(u"explain tree "_qs + argument);
    QCOMPARE(run.errors, QByteArray());
    QCOMPARE(run.status, 0);
    if (files == QStringList {u"*"_qs}) {
        QCOMPARE(firstLines(run.output).size(), 9);
        return;
    }
    QStringList found;
    for (const QString& line : firstLines(run.output)) {
        found << line.section(u'\t', 0, 0);
    }
    QCOMPARE(found, files);
}

void tst_Explain::pathThatLeadsNowhereIsExplained_data()
{
    const Table<QString, ProgramRun> table("what", "run");
    const auto row = [&](const char* name, const QString& what, const QString& complaint, const QByteArray& output) {
        ProgramRun run = failed(u'\'' + what + u"' leads nowhere: "_qs + complaint);
        run.output = output;
        table(name, what, run);
    };
    row("misspelled", u"netwrok"_qs, u"there is no 'netwrok' at the top level (did you mean 'network'?)"_qs, {});
    row("below", u"network/x"_qs, u"there is no 'x' below 'network' (did you mean 'network/a'?)"_qs, {});
    row("name of a file that is not in the manifest", u"network/live"_qs, u"there is no 'live' below 'network'"_qs,
        "network/live.process.json\tabsent\talmost: '.process.json' is for the scheme 'process'\n");
    row("instance name that is not the path", u"other/name"_qs,
        u"there is no 'other' at the top level (did you mean 'network/name'?)"_qs, {});
    row("outside", u"/etc/passwd"_qs, u"there is no 'etc' at the top level"_qs, {});
}

void tst_Explain::pathThatLeadsNowhereIsExplained()
{
    QFETCH(const QString, what);
    QFETCH(const ProgramRun, run);
    const Folder folder;
    folder.add(u"network/a.config.json"_qs);
    folder.add(u"network/live.process.json"_qs);
    folder.add(u"network/named.config.json"_qs, "{\"instanceName\":\"other/name\"}");
    QCOMPARE(Program().run(QStringList {u"explain"_qs, folder.path(), what}), run);
}

void tst_Explain::folderThatCannotBeExplainedIsTrouble_data()
{
    const Table<QString, QByteArray> row("commandLine", "complaint");
    row("no such folder", u"nowhere"_qs, "cannot read nowhere: No such file or directory");
    row("no folder", u"file"_qs, "cannot read file: it is not a folder");
    row("may not be read", u"closed"_qs, "cannot read closed: Permission denied");
    row("nothing but slashes", u"open //"_qs, "PATH contains no name");
    row("too much given", u"open a b"_qs, "explain takes FOLDER [PATH|FILE]; see ");
}

void tst_Explain::folderThatCannotBeExplainedIsTrouble()
{
    QFETCH(const QString, commandLine);
    QFETCH(const QByteArray, complaint);
    const QTemporaryDir base(quickFolder());
    writeFile(base.filePath(u"file"_qs), "{}");
    QDir(base.path()).mkdir(u"open"_qs);
    QDir(base.path()).mkdir(u"closed"_qs);
    QVERIFY(chmod(QFile::encodeName(base.filePath(u"closed"_qs)).constData(), 0) == 0);
    const ProgramRun run = Program().in(base.path()).prepared(asOrdinaryUser).run(u"explain "_qs + commandLine);
    QVERIFY(chmod(QFile::encodeName(base.filePath(u"closed"_qs)).constData(), 0700) == 0);
    QCOMPARE(run.status, 2);
    QCOMPARE(run.output, QByteArray());
    QVERIFY2(run.errors.contains("configuration-manifest: " + complaint), run.errors.constData());
    // An empty folder is no trouble.
    const ProgramRun empty = Program().in(base.path()).run(u"explain open"_qs);
    QCOMPARE(empty.status, 0);
    QCOMPARE(empty.errors, QByteArray("warning: no manifest is created: the folder holds no visible entry\n"));
}

void tst_Explain::jsonSaysWhatLinesSay()
{
    const Program program = Program().in(QStringLiteral(EXAMPLES "/device"));
    const ProgramRun lines = program.run(u"explain configuration"_qs);
    const ProgramRun json = program.run(u"explain --json configuration"_qs);
    QCOMPARE(json.status, 0);
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(json.output, &error);
    QCOMPARE(error.error, QJsonParseError::NoError);
    // The format is that of all other JSON.
    QCOMPARE(json.output, document.toJson(QJsonDocument::Indented));
    const QJsonArray array = document.array();
    const QStringList first = firstLines(lines.output);
    QCOMPARE(array.size(), first.size());
    for (int i = 0; i < array.size(); ++i) {
        const QJsonObject entry = array.at(i).toObject();
        QVERIFY(first.at(i).startsWith(
            entry.value(u"file"_qs).toString() + u'\t' + entry.value(u"fate"_qs).toString() + u'\t'));
    }
    const ProgramRun one = program.run(u"explain --json configuration imported/cut-short"_qs);
    const QJsonObject entry = QJsonDocument::fromJson(one.output).array().at(0).toObject();
    QCOMPARE(entry.value(u"damage"_qs),
        QJsonValue(objectFrom(R"({"text":"not JSON: unterminated string","line":8,"column":22})")));
    QCOMPARE(entry.value(u"displayPosition"_qs), QJsonValue(QJsonValue::Null));
    QCOMPARE(entry.value(u"path"_qs), QJsonValue(u"imported/cut-short"_qs));
    QCOMPARE(Program().run(u"explain --json nowhere"_qs).output, QByteArray());
    QCOMPARE(program.run(u"explain --json configuration zzzzzz"_qs).output, QByteArray("[\n]\n"));
}

void tst_Explain::emptyKeyIsListed()
{
    const Folder folder;
    folder.add(u"a.config.json"_qs, R"({"hide":false,"displayPosition":1,"":1})");
    const ProgramRun run = Program().run(u"explain "_qs + folder.path());
    QCOMPARE(run.status, 0);
    QVERIFY2(run.output.endsWith("a.config.json\tignored\t\"\"\n"), run.output.constData());
}

void tst_Explain::strangeNamesStayInTheirLine()
{
    const Folder folder;
    folder.add(u"a\nb\t\u001B[31m.config.json"_qs, "{\"a\\nb\":1}");
    const ProgramRun run = Program().run(u"explain "_qs + folder.path());
    QCOMPARE(run.status, 0);
    QVERIFY(isHarmless(QByteArray(run.output).replace('\t', ' ')));
    for (const QString& line : linesOf(run.output)) {
        QVERIFY2(line.startsWith(u"a\\nb\\t\\u{1b}[31m.config.json"_qs), qPrintable(line));
    }
}

MANIFEST_TEST_MAIN(tst_Explain)

#include "tst_explain.moc"
