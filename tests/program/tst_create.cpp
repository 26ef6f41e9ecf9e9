#include "ProgramRun.h"
#include "Table.h"
#include "TestMain.h"
#include "faults/FaultyCalls.h"

#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QJsonDocument>
#include <QtCore/QRegularExpression>

#include <csignal>

#include <sys/stat.h>

namespace {

struct CommandHelp {
    const char* name;
    const char* syntax;
    QStringList options;
};

QVector<CommandHelp> commands()
{
    const QStringList replacing = {u"backup"_qs, u"overwrite"_qs, u"wait"_qs};
    const QStringList creating = QStringList {u"dry-run"_qs, u"print"_qs, u"stamps"_qs, u"keep-base"_qs} + replacing;
    const QStringList stamping = {u"module"_qs, u"object"_qs};
    const QStringList printing = {u"paths"_qs, u"json"_qs};
    const QStringList comparing = {u"scheme"_qs, u"any-scheme"_qs, u"stamps"_qs, u"json"_qs};
    const QStringList saving = stamping + QStringList {u"save"_qs, u"dry-run"_qs, u"print"_qs, u"force"_qs} + replacing;
    const QStringList values = saving + QStringList {u"json"_qs};
    const QStringList adding = saving + QStringList {u"description"_qs, u"index"_qs};
    return {
        {"create", "BASE", creating},
        {"create-folder", "FOLDER", QStringList {u"scheme"_qs, u"any-scheme"_qs} + creating},
        {"show", "FILE [PATH]", QStringList {u"depth"_qs} + printing},
        {"list", "FILE [PATH]", stamping + printing},
        {"count", "FILE [PATH]", stamping},
        {"get", "FILE PATH [KEY]", stamping + QStringList {u"json"_qs}},
        {"instances", "FILE", stamping + printing},
        {"exists", "FILE PATH", {}},
        {"check", "FILE", QStringList {u"folder"_qs} + comparing},
        {"diff", "OLD NEW", comparing},
        {"explain", "FOLDER [PATH|FILE]", {u"scheme"_qs, u"any-scheme"_qs, u"json"_qs}},
        {"merge", "BASE MINE NEW",
            QStringList {u"prefer"_qs, u"save"_qs, u"print"_qs, u"keep-base"_qs, u"force"_qs, u"json"_qs, u"scheme"_qs,
                u"any-scheme"_qs}
                + replacing},
        {"set", "FILE PATH KEY VALUE", values},
        {"update", "FILE PATH KEY VALUE", values},
        {"unset", "FILE PATH KEY", saving},
        {"add-node", "FILE PATH", adding},
        {"add-selection", "FILE PATH", adding},
        {"delete", "FILE PATH", saving},
        {"move-node", "FILE PATH INDEX", saving},
        {"move-selection", "FILE PATH INDEX", saving},
        {"update-node", "FILE PATH", saving + QStringList {u"description"_qs, u"replace-substructure"_qs}},
        {"update-selection", "FILE PATH", saving + QStringList {u"description"_qs}},
        {"sort", "FILE PATH NAME...", saving},
        {"stamp", "FILE", saving},
        {"rewrite", "FILE INSTANCE KEY [VALUE]", values + QStringList {u"add"_qs, u"remove"_qs}},
        {"help", "[COMMAND]", {u"man"_qs}},
    };
}

void addCommandRows()
{
    const Table<QString, QString, QStringList> row("name", "syntax", "options");
    for (const CommandHelp& command : commands()) {
        row(command.name, QString::fromUtf8(command.name), QString::fromUtf8(command.syntax), command.options);
    }
}

// A description that gives no cause for a message.
void describe(const QString& path)
{
    writeFile(path, "{\"hide\":false,\"displayPosition\":1}");
}

QStringList linesOf(const QByteArray& text)
{
    return QString::fromUtf8(text).split(u'\n', Qt::SkipEmptyParts);
}

int countOf(const QJsonArray& elements, const QString& selectionType)
{
    int count = 0;
    for (const QJsonValue& element : elements) {
        count += element[u"selectionType"_qs] == selectionType ? 1 : 0;
        count += countOf(element[u"substructure"_qs].toArray(), selectionType);
    }
    return count;
}

QByteArray nodesBelowEachOther(int levels)
{
    return QByteArray("[{\"instanceName\":\"n\",\"selectionType\":\"Node\",\"substructure\":").repeated(levels) + "[]"
        + QByteArray("}]").repeated(levels);
}

// One fence of a document: commands in a shell, or what they print.
// A block of a document, and whether it is there to be run.
struct Fence {
    bool isShell;
    QByteArray text;
};

// The project as its documents see it, with the real program and a copy of the examples.
void layOutProject(const QString& folder)
{
    copyFolder(QStringLiteral(EXAMPLES), folder + u"/examples"_qs);
    const QString program = folder + u"/build/native/bin/configuration-manifest"_qs;
    QDir().mkpath(QFileInfo(program).path());
    QFile::link(QStringLiteral(PROGRAM), program);
}

QVector<Fence> fencesOf(const QString& path)
{
    const QByteArray document = readFile(path);
    static const QRegularExpression fence(u"^```(\\w*)\\n(.*?)^```$"_qs,
        QRegularExpression::MultilineOption | QRegularExpression::DotMatchesEverythingOption);
    QVector<Fence> fences;
    for (auto matches = fence.globalMatch(QString::fromUtf8(document)); matches.hasNext();) {
        const QRegularExpressionMatch match = matches.next();
        fences.append({match.captured(1) == u"sh"_qs, match.captured(2).toUtf8()});
    }
    return fences;
}

} // namespace

class tst_Create : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void createWritesTheManifestOfTheConfigurationFolder();
    void createCountsTheElementsOfTheExamples();
    void countsAgreeWithTheirNouns_data();
    void countsAgreeWithTheirNouns();
    void schemeNamesTheFileAndChoosesWhatIsCollected_data();
    void schemeNamesTheFileAndChoosesWhatIsCollected();
    void schemeOfOnesOwnHasToBeMeant_data();
    void schemeOfOnesOwnHasToBeMeant();
    void creationTellsWhatItReplaces();
    void stampsAreNoChangeUnlessAskedFor();
    void dryCreationWritesNothing();
    void folderThatChangesMeanwhileIsCreatedAsItIsThen();
    void folderThatGoesOnChangingIsSaidSo();
    void creationTellsWhatItReallyReplaces();
    void damageIsToldFromOrdinaryRemarks();
    void wayOfWritingAFolderMakesNoDifference_data();
    void wayOfWritingAFolderMakesNoDifference();
    void wayOfWritingABaseMakesNoDifference_data();
    void wayOfWritingABaseMakesNoDifference();
    void messagesOfTheLibraryNameTheirFile();
    void debugMessagesCanBeSwitchedOff();
    void nothingToWriteIsAFailure_data();
    void nothingToWriteIsAFailure();
    void folderThatCannotBeReadIsAFailure_data();
    void folderThatCannotBeReadIsAFailure();
    void failedWriteLeavesThePreviousManifest_data();
    void failedWriteLeavesThePreviousManifest();
    void failedFirstWriteLeavesNothing_data();
    void failedFirstWriteLeavesNothing();
    void folderInPlaceOfTheManifestIsAFailure();

    void showPrintsTheTree();
    void showPrintsEveryElementOfTheExamples();
    void showPrintsWhatCanBeLoaded_data();
    void showPrintsWhatCanBeLoaded();
    void showEscapesWhatATerminalWouldActOn_data();
    void showEscapesWhatATerminalWouldActOn();
    void showKeepsWhatATerminalShows();
    void showPrintsDeepManifests();
    void showRefusesWhatIsNoManifest_data();
    void showRefusesWhatIsNoManifest();
    void showRefusesAFileThatCannotBeRead();
    void pathsInComplaintsAreEscaped();
    void pathsInResultsAreEscaped();
    void coloursAreForTerminalsThatWantThem_data();
    void coloursAreForTerminalsThatWantThem();
    void terminalIsActedOnByNothingButTheColours();

    void localeMakesNoDifference_data();
    void localeMakesNoDifference();
    void outputThatDoesNotArriveIsAFailure_data();
    void outputThatDoesNotArriveIsAFailure();

    void helpNamesEveryCommand_data();
    void helpNamesEveryCommand();
    void helpOfACommandNamesItsArgumentsAndOptions_data();
    void helpOfACommandNamesItsArgumentsAndOptions();
    void versionIsPrinted_data();
    void versionIsPrinted();
    void wrongUsageIsToldFromFailure_data();
    void wrongUsageIsToldFromFailure();
    void commandsTakeTheirArgumentsAndNoOthers_data();
    void commandsTakeTheirArgumentsAndNoOthers();

    void examplesDoWhatTheirDescriptionSays();
    void tourShowsWhatItSays();
};

void tst_Create::createWritesTheManifestOfTheConfigurationFolder()
{
    const QTemporaryDir directory;
    describe(directory.filePath(u"base/configuration/main.config.json"_qs));
    describe(directory.filePath(u"base/configuration/main.process.json"_qs));
    describe(directory.filePath(u"base/configuration/Net/Folder.menu.json"_qs));
    describe(directory.filePath(u"base/configuration/Net/port.config.json"_qs));
    describe(directory.filePath(u"base/configuration/Net/line.config.json"_qs));

    QCOMPARE(Program().in(directory.path()).run(u"create base"_qs),
        done(u"base/configuration/configuration.manifest.json\n3 selections, 1 node"_qs));
    QCOMPARE(everythingIn(directory.path()), QStringList(u"base"_qs));
    QCOMPARE(everythingIn(directory.filePath(u"base"_qs)), QStringList(u"configuration"_qs));

    QCOMPARE(Program().in(directory.path()).run(u"show base/configuration/configuration.manifest.json"_qs),
        done(u"selection main\n"
             "node      Net\n"
             "  selection Net/line\n"
             "  selection Net/port"_qs));
}

void tst_Create::createCountsTheElementsOfTheExamples()
{
    const QTemporaryDir directory;
    copyFolder(QStringLiteral(EXAMPLES "/device"), directory.filePath(u"device"_qs));
    const QString name = u"device/configuration/configuration.manifest.json"_qs;

    const ProgramRun run = Program().in(directory.path()).run(u"create device"_qs);
    const QJsonArray manifest = QJsonDocument::fromJson(readFile(directory.filePath(name))).array();
    QVERIFY(!manifest.isEmpty());
    QCOMPARE(run.status, 0);
    QCOMPARE(QString::fromUtf8(run.output),
        u"%1\n%2 selections, %3 nodes\n"_qs.arg(name)
            .arg(countOf(manifest, u"Selection"_qs))
            .arg(countOf(manifest, u"Node"_qs)));
}

void tst_Create::countsAgreeWithTheirNouns_data()
{
    const Table<QStringList, QString> row("files", "counts");

    row("nothing", {u"readme.txt"_qs}, u"0 selections, 0 nodes"_qs);
    row("one selection", {u"a.config.json"_qs}, u"1 selection, 0 nodes"_qs);
    row("two selections", {u"a.config.json"_qs, u"b.config.json"_qs}, u"2 selections, 0 nodes"_qs);
    row("one node", {u"n/a.config.json"_qs, u"n/Folder.menu.json"_qs}, u"1 selection, 1 node"_qs);
    row("two nodes", {u"n/m/a.config.json"_qs, u"n/m/Folder.menu.json"_qs, u"n/Folder.menu.json"_qs},
        u"1 selection, 2 nodes"_qs);
}

void tst_Create::countsAgreeWithTheirNouns()
{
    QFETCH(QStringList, files);
    QFETCH(QString, counts);

    const QTemporaryDir directory;
    for (const QString& file : qAsConst(files)) {
        describe(directory.filePath(file));
    }
    QCOMPARE(
        Program().in(directory.path()).run(u"create-folder ."_qs), done(u"configuration.manifest.json\n"_qs + counts));
}

void tst_Create::schemeNamesTheFileAndChoosesWhatIsCollected_data()
{
    const Table<QString, QString, QString> row("commandLine", "manifest", "tree");

    const QString configuration = u"selection page"_qs;
    const QString process = u"selection values"_qs;
    row("none", u"create-folder folder"_qs, u"configuration.manifest.json"_qs, configuration);
    row("the configuration scheme", u"create-folder folder --scheme configuration"_qs,
        u"configuration.manifest.json"_qs, configuration);
    row("process", u"create-folder folder --scheme process"_qs, u"process.manifest.json"_qs, process);
    row("any other", u"create-folder --scheme=Configuration --any-scheme folder"_qs, u"Configuration.manifest.json"_qs,
        process);
}

void tst_Create::schemeNamesTheFileAndChoosesWhatIsCollected()
{
    QFETCH(QString, commandLine);
    QFETCH(QString, manifest);
    QFETCH(QString, tree);

    const QTemporaryDir directory;
    describe(directory.filePath(u"folder/page.config.json"_qs));
    describe(directory.filePath(u"folder/values.process.json"_qs));
    const QString path = u"folder/"_qs + manifest;
    QCOMPARE(Program().in(directory.path()).run(commandLine), done(path + u"\n1 selection, 0 nodes"_qs));
    QCOMPARE(Program().in(directory.path()).run(u"show "_qs + path), done(tree));
    QCOMPARE(everythingIn(directory.filePath(u"folder"_qs)).size(), 3);
}

void tst_Create::schemeOfOnesOwnHasToBeMeant_data()
{
    const Table<QString, QString> row("options", "complaint");

    const QString empty = u"a scheme is not empty and has no '/'"_qs;
    const QString neither = u"'%1' is neither 'configuration' nor 'process'; --any-scheme takes it all the same"_qs;
    row("typing error", u"--scheme proces"_qs, neither.arg(u"proces"_qs));
    row("in capitals", u"--scheme Configuration"_qs, neither.arg(u"Configuration"_qs));
    row("empty", u"--scheme ''"_qs, empty);
    row("empty, meant", u"--scheme '' --any-scheme"_qs, empty);
    row("another folder", u"--scheme ../process --any-scheme"_qs, empty);
}

void tst_Create::schemeOfOnesOwnHasToBeMeant()
{
    QFETCH(QString, options);
    QFETCH(QString, complaint);

    const QTemporaryDir directory;
    describe(directory.filePath(u"folder/page.config.json"_qs));
    QCOMPARE(Program().in(directory.path()).run(u"create-folder folder "_qs + options), misused(complaint));
    QCOMPARE(everythingIn(directory.path()), QStringList(u"folder"_qs));
    QCOMPARE(everythingIn(directory.filePath(u"folder"_qs)), QStringList(u"page.config.json"_qs));
}

void tst_Create::creationTellsWhatItReplaces()
{
    const QTemporaryDir directory;
    const QString path = directory.filePath(u"configuration.manifest.json"_qs);
    for (const char* const name : {"a.config.json", "b.config.json", "n/Folder.menu.json", "n/c.config.json"}) {
        describe(directory.filePath(QString::fromUtf8(name)));
    }
    const Program program = Program().in(directory.path());
    const QString counts = u"configuration.manifest.json\n3 selections, 1 node"_qs;
    QCOMPARE(program.run(u"create-folder ."_qs), done(counts));
    QCOMPARE(program.run(u"create-folder ."_qs), done(counts + u"\nthe same as before"_qs));

    QCOMPARE(program.run(u"set configuration.manifest.json a labelTextId TXT --save"_qs).status, 0);
    QCOMPARE(program.run(u"delete configuration.manifest.json n --save"_qs).status, 0);
    QCOMPARE(program.run(u"add-node configuration.manifest.json mine --save"_qs).status, 0);
    QCOMPARE(
        program.run(u"create-folder ."_qs), done(counts + u"\ncompared with before: 2 added, 1 removed, 1 changed"_qs));
    QCOMPARE(program.run(u"create-folder ."_qs), done(counts + u"\nthe same as before"_qs));

    QCOMPARE(program.run(u"move-selection configuration.manifest.json a 1 --save"_qs).status, 0);
    QCOMPARE(program.run(u"create-folder ."_qs),
        done(counts + u"\ncompared with before: 0 added, 0 removed, 0 changed, 1 moved"_qs));

    writeFile(path, "no manifest");
    QCOMPARE(program.run(u"create-folder ."_qs), done(counts + u"\nwhat was there before was no manifest"_qs));
    QVERIFY(QFile::remove(path));
    QVERIFY(QDir().mkdir(path));
    QCOMPARE(
        program.run(u"create-folder ."_qs), misused(u"cannot replace configuration.manifest.json: it is a folder"_qs));
}

void tst_Create::stampsAreNoChangeUnlessAskedFor()
{
    const QTemporaryDir directory;
    describe(directory.filePath(u"a.config.json"_qs));
    const Program program = Program().in(directory.path());
    const QString counts = u"configuration.manifest.json\n1 selection, 0 nodes\n"_qs;
    QCOMPARE(program.run(u"create-folder ."_qs).status, 0);
    QCOMPARE(program.run(u"stamp configuration.manifest.json --module M --object O --save"_qs).status, 0);
    QCOMPARE(program.run(u"create-folder . --stamps --dry-run"_qs),
        done(counts
            + u"compared with before: 0 added, 0 removed, 1 changed\n"
              "changed: selection 'a', moduleName from \"M\" to nothing, objectName from \"O\" to nothing\n"
              "not saved"_qs));
    QCOMPARE(program.run(u"create-folder ."_qs), done(counts + u"the same as before, but for the stamps"_qs));
    QCOMPARE(program.run(u"create-folder . --stamps"_qs), done(counts + u"the same as before"_qs));
}

void tst_Create::dryCreationWritesNothing()
{
    const QTemporaryDir directory;
    const QString path = directory.filePath(u"configuration.manifest.json"_qs);
    describe(directory.filePath(u"a.config.json"_qs));
    const Program program = Program().in(directory.path());
    const QString dry = u"create-folder . --dry-run --backup --keep-base"_qs;
    const QString counts = u"configuration.manifest.json\n1 selection, 0 nodes\n"_qs;
    QCOMPARE(program.run(dry), done(counts + u"not saved"_qs));
    const ProgramRun printed = program.run(u"create-folder . --print --backup --keep-base"_qs);
    QCOMPARE(everythingIn(directory.path()), QStringList(u"a.config.json"_qs));

    QCOMPARE(program.run(u"create-folder ."_qs).status, 0);
    QCOMPARE(printed, done(QString::fromUtf8(readFile(path))));
    QCOMPARE(program.run(u"delete configuration.manifest.json a --save"_qs).status, 0);
    const FileState state = stateOf(path);
    QCOMPARE(program.run(dry),
        done(counts
            + u"compared with before: 1 added, 0 removed, 0 changed\nadded: selection 'a', as position 0\nnot saved"_qs));
    QCOMPARE(program.run(u"create-folder . --print"_qs), printed);
    QCOMPARE(stateOf(path), state);
    QCOMPARE(everythingIn(directory.path()).size(), 2);
}

void tst_Create::folderThatChangesMeanwhileIsCreatedAsItIsThen()
{
    const QTemporaryDir directory;
    describe(directory.filePath(u"a.config.json"_qs));
    const QString path = directory.filePath(u"configuration.manifest.json"_qs);
    // The look before the library begins.
    const auto program = Program().stoppingAt(u"stat"_qs, 3, path).start(u"create-folder "_qs + directory.path());
    QVERIFY(program->isStopped());
    describe(directory.filePath(u"b.config.json"_qs));
    program->send(SIGCONT);
    QCOMPARE(program->finish(), done(path + u"\n2 selections, 0 nodes"_qs));
    QVERIFY(readFile(path).contains("\"b\""));
}

void tst_Create::folderThatGoesOnChangingIsSaidSo()
{
    const QTemporaryDir directory;
    const QString path = directory.filePath(u"configuration.manifest.json"_qs);
    // Stopped whenever it begins to read the folder.
    const auto program = Program()
                             .withFaultyCalls(u"list %1 1 99 %2"_qs.arg(Fault::Stopped).arg(directory.path()))
                             .start(u"create-folder "_qs + directory.path());
    int files = 0;
    while (program->isStopped()) {
        describe(directory.filePath(u"page%1.config.json"_qs.arg(++files)));
        program->send(SIGCONT);
    }
    QVERIFY(files > 2);
    QCOMPARE(program->finish(),
        failed(u"%1 has changed while it was read: %2 is written, but may not be what the folder holds"_qs.arg(
            directory.path(), path)));
    QVERIFY(readFile(path).contains("\"page1\""));
}

void tst_Create::creationTellsWhatItReallyReplaces()
{
    const QTemporaryDir directory;
    describe(directory.filePath(u"a.config.json"_qs));
    const QString path = directory.filePath(u"configuration.manifest.json"_qs);
    const QString creation = u"create-folder %1 --overwrite"_qs.arg(directory.path());
    QCOMPARE(Program().run(creation), done(path + u"\n1 selection, 0 nodes"_qs));
    // An edit by hand, between the reading of the folder and the save.
    const auto program = Program().stoppingAt(u"stat"_qs, 3, path).start(creation);
    QVERIFY(program->isStopped());
    writeFile(path, compact({selection(u"a"_qs), selection(u"by hand"_qs)}));
    program->send(SIGCONT);
    const ProgramRun run = program->finish();
    QCOMPARE(run.status, 0);
    QVERIFY2(
        run.output.contains("\ncompared with before: ") && run.output.contains("1 removed"), run.output.constData());
}

void tst_Create::damageIsToldFromOrdinaryRemarks()
{
    const QTemporaryDir directory;
    copyFolder(QStringLiteral(EXAMPLES "/device"), directory.path());
    const ProgramRun run = Program().in(directory.path()).run(u"create ."_qs);
    QCOMPARE(run.status, 0);
    const QStringList lines = linesOf(run.errors);
    static const QRegularExpression named(u"^(warning|remark): ([^:]+): ."_qs);
    QStringList damaged;
    for (const QString& line : lines) {
        const QRegularExpressionMatch match = named.match(line);
        QVERIFY2(match.hasMatch(), qPrintable(line));
        QVERIFY2(QFileInfo::exists(directory.filePath(u"configuration/"_qs + match.captured(2))), qPrintable(line));
        if (match.captured(1) == u"warning"_qs) {
            damaged.append(match.captured(2));
        }
    }
    QVERIFY(lines.contains(u"warning: imported/cut-short.config.json: Can't parse Json!"_qs));
    QVERIFY(lines.contains(u"remark: time: No description file found!"_qs));
    damaged.removeDuplicates();
    QCOMPARE(damaged.filter(QRegularExpression(u"^(?!imported/)"_qs)), QStringList());
    QVERIFY(damaged.size() > 5);
}

void tst_Create::wayOfWritingAFolderMakesNoDifference_data()
{
    const Table<QString, QString, QString> row("currentFolder", "folder", "manifest");

    const QString name = u"configuration.manifest.json"_qs;
    row("relative", u"."_qs, u"cfg"_qs, u"cfg/"_qs + name);
    row("with a separator at its end", u"."_qs, u"cfg/"_qs, u"cfg/"_qs + name);
    row("with many", u"."_qs, u"cfg///"_qs, u"cfg/"_qs + name);
    row("with a dot", u"."_qs, u"./cfg/."_qs, u"cfg/"_qs + name);
    row("by a detour", u"."_qs, u"cfg/sub/.."_qs, u"cfg/"_qs + name);
    row("the current folder", u"cfg"_qs, u"."_qs, name);
    row("the folder above", u"cfg/sub"_qs, u".."_qs, u"../"_qs + name);
    row("from beside", u"cfg/sub"_qs, u"../../cfg/"_qs, u"../../cfg/"_qs + name);
    row("back from a link", u"beside"_qs, u"link/.."_qs, u"link/../"_qs + name);
}

void tst_Create::wayOfWritingAFolderMakesNoDifference()
{
    QFETCH(QString, currentFolder);
    QFETCH(QString, folder);
    QFETCH(QString, manifest);

    const QTemporaryDir directory;
    const QString whole = directory.filePath(u"cfg"_qs);
    const QString path = whole + u"/configuration.manifest.json"_qs;
    describe(whole + u"/main.config.json"_qs);
    describe(whole + u"/sub/Folder.menu.json"_qs);
    describe(whole + u"/sub/cfg/Folder.menu.json"_qs);
    describe(whole + u"/sub/cfg/port.config.json"_qs);
    QVERIFY(QDir().mkpath(directory.filePath(u"beside"_qs)));
    QVERIFY(QFile::link(whole + u"/sub"_qs, directory.filePath(u"beside/link"_qs)));
    QCOMPARE(Program().run(u"create-folder "_qs + whole), done(path + u"\n2 selections, 2 nodes"_qs));
    const QByteArray expected = readFile(path);
    QVERIFY(expected.contains("\"sub/cfg/port\""));
    QVERIFY(QFile::remove(path));

    QCOMPARE(Program().in(directory.filePath(currentFolder)).run(u"create-folder "_qs + folder),
        done(manifest + u"\n2 selections, 2 nodes"_qs));
    QCOMPARE(readFile(path), expected);
}

void tst_Create::wayOfWritingABaseMakesNoDifference_data()
{
    const Table<QString, QString, QString> row("currentFolder", "base", "manifest");

    const QString name = u"configuration/configuration.manifest.json"_qs;
    row("relative", u"."_qs, u"base"_qs, u"base/"_qs + name);
    row("with a separator at its end", u"."_qs, u"base/"_qs, u"base/"_qs + name);
    row("the current folder", u"base"_qs, u"."_qs, name);
    row("the folder above", u"base/configuration"_qs, u".."_qs, u"../"_qs + name);
}

void tst_Create::wayOfWritingABaseMakesNoDifference()
{
    QFETCH(QString, currentFolder);
    QFETCH(QString, base);
    QFETCH(QString, manifest);

    const QTemporaryDir directory;
    const QString folder = directory.filePath(u"base/configuration"_qs);
    describe(folder + u"/sub/Folder.menu.json"_qs);
    describe(folder + u"/sub/port.config.json"_qs);
    QCOMPARE(Program().in(directory.filePath(currentFolder)).run(u"create "_qs + base),
        done(manifest + u"\n1 selection, 1 node"_qs));
    QVERIFY(readFile(folder + u"/configuration.manifest.json"_qs).contains("\"sub/port\""));
}

void tst_Create::messagesOfTheLibraryNameTheirFile()
{
    const QTemporaryDir directory;
    writeFile(directory.filePath(u"sub/cut.config.json"_qs), "{");
    QCOMPARE(Program().in(directory.path()).run(u"create-folder ."_qs),
        done(u"configuration.manifest.json\n1 selection, 1 node"_qs,
            "remark: sub: No description file found!\n"
            "remark: sub: Cannot find key displayPosition in Json object!\n"
            "warning: sub/cut.config.json: Can't parse Json!\n"
            "remark: sub/cut.config.json: Cannot find key displayPosition in Json object!\n"
            "remark: sub/cut.config.json: Cannot find key \"hide\" in Json object!\n"));
}

void tst_Create::debugMessagesCanBeSwitchedOff()
{
    const QTemporaryDir directory;
    describe(directory.filePath(u"sub/page.config.json"_qs));
    QCOMPARE(Program()
                 .in(directory.path())
                 .with(u"QT_LOGGING_RULES"_qs, u"default.debug=false"_qs)
                 .run(u"create-folder ."_qs),
        done(u"configuration.manifest.json\n1 selection, 1 node"_qs,
            "remark: sub: Cannot find key displayPosition in Json object!\n"));
}

void tst_Create::nothingToWriteIsAFailure_data()
{
    const Table<QString, QString> row("commandLine", "complaint");

    row("no such folder", u"create-folder none"_qs, u"nothing to write in none: there is no such folder"_qs);
    row("a file", u"create-folder hidden/.file"_qs, u"nothing to write in hidden/.file: it is not a folder"_qs);
    row("an empty folder", u"create-folder empty"_qs,
        u"nothing to write in empty: the folder holds no visible entry"_qs);
    row("only hidden entries", u"create-folder hidden"_qs,
        u"nothing to write in hidden: the folder holds no visible entry"_qs);
    row("no such base", u"create none"_qs, u"nothing to write in none/configuration: there is no such folder"_qs);
    row("base without a configuration folder", u"create empty"_qs,
        u"nothing to write in empty/configuration: there is no such folder"_qs);
}

void tst_Create::nothingToWriteIsAFailure()
{
    QFETCH(QString, commandLine);
    QFETCH(QString, complaint);

    const QTemporaryDir directory;
    QVERIFY(QDir(directory.path()).mkdir(u"empty"_qs));
    writeFile(directory.filePath(u"hidden/.file"_qs), "");
    QCOMPARE(Program().in(directory.path()).run(commandLine), misused(complaint));
    QCOMPARE(everythingIn(directory.path()), QStringList({u"empty"_qs, u"hidden"_qs}));
    QCOMPARE(everythingIn(directory.filePath(u"empty"_qs)), QStringList());
    QCOMPARE(everythingIn(directory.filePath(u"hidden"_qs)), QStringList(u".file"_qs));
}

void tst_Create::folderThatCannotBeReadIsAFailure_data()
{
    const Table<int> row("permissions");

    row("no permission at all", 0000);
    row("may be entered", 0111);
    row("may be written to", 0333);
    row("may be listed", 0444);
}

void tst_Create::folderThatCannotBeReadIsAFailure()
{
    QFETCH(int, permissions);

    const QTemporaryDir directory;
    const QString folder = directory.filePath(u"folder"_qs);
    QVERIFY(QDir().mkdir(folder));
    // Of a link there is nothing to list without a look at the file that it leads to.
    QVERIFY(QFile::link(u"/dev/null"_qs, folder + u"/page.config.json"_qs));
    chmod(qPrintable(folder), static_cast<mode_t>(permissions));
    const ProgramRun run = Program().in(directory.path()).prepared(asOrdinaryUser).run(u"create-folder folder"_qs);
    chmod(qPrintable(folder), 0700);
    QCOMPARE(run, misused(u"nothing to write in folder: the folder is not readable"_qs));
    QCOMPARE(everythingIn(folder), QStringList(u"page.config.json"_qs));
}

namespace {

void addFailingWrites()
{
    const Table<Program, int, QString, QString> row("program", "permissions", "cause", "message");

    row("full disk", Program().prepared(onFullDisk), 0700, u"File too large"_qs,
        u"warning: Manifest file was not successful written: -1 , %2 !\n"_qs);
    row("unwritable folder", Program().prepared(asOrdinaryUser), 0555, u"Permission denied"_qs,
        u"warning: Unable to open the manifest file for writing: \"%1\" !\n"_qs);
}

// The run of a creation that fails as the row says.
ProgramRun runFailingWrite(const QTemporaryDir& directory)
{
    QFETCH(Program, program);
    QFETCH(int, permissions);

    chmod(qPrintable(directory.path()), static_cast<mode_t>(permissions));
    const ProgramRun run = program.in(directory.path()).run(u"create-folder ."_qs);
    chmod(qPrintable(directory.path()), 0700);
    return run;
}

QByteArray messageOfFailingWrite(const QTemporaryDir& directory, int size)
{
    QFETCH(QString, message);
    return message.replace(u"%1"_qs, directory.filePath(u"configuration.manifest.json"_qs))
        .replace(u"%2"_qs, QString::number(size))
        .toUtf8();
}

} // namespace

void tst_Create::failedWriteLeavesThePreviousManifest_data()
{
    addFailingWrites();
    QTest::newRow("last step fails") << Program().unableToRename() << 0700 << u"cause unknown"_qs << QString();
}

void tst_Create::failedWriteLeavesThePreviousManifest()
{
    const QTemporaryDir directory;
    const QString path = directory.filePath(u"configuration.manifest.json"_qs);
    describe(directory.filePath(u"page.config.json"_qs));
    QCOMPARE(Program().in(directory.path()).run(u"create-folder ."_qs).status, 0);
    const int size = readFile(path).size();
    writeFile(path, "[\"previous\"]");
    const FileState previous = stateOf(path);

    QFETCH(QString, cause);
    QCOMPARE(runFailingWrite(directory),
        failed(u"could not save configuration.manifest.json: "_qs + cause, messageOfFailingWrite(directory, size)));
    QCOMPARE(stateOf(path), previous);
    QCOMPARE(everythingIn(directory.path()), QStringList({u"configuration.manifest.json"_qs, u"page.config.json"_qs}));
}

void tst_Create::failedFirstWriteLeavesNothing_data()
{
    addFailingWrites();
}

void tst_Create::failedFirstWriteLeavesNothing()
{
    const QTemporaryDir directory;
    writeFile(directory.filePath(u"readme.txt"_qs), "");
    QFETCH(QString, cause);
    QCOMPARE(runFailingWrite(directory),
        failed(u"could not save configuration.manifest.json: "_qs + cause, messageOfFailingWrite(directory, 2)));
    QCOMPARE(everythingIn(directory.path()), QStringList(u"readme.txt"_qs));
}

void tst_Create::folderInPlaceOfTheManifestIsAFailure()
{
    const QTemporaryDir directory;
    const QString path = directory.filePath(u"process.manifest.json"_qs);
    describe(path + u"/Folder.menu.json"_qs);
    QCOMPARE(Program().in(directory.path()).run(u"create-folder . --scheme process"_qs),
        misused(u"cannot replace process.manifest.json: it is a folder"_qs));
    QCOMPARE(everythingIn(directory.path()), QStringList(u"process.manifest.json"_qs));
    QCOMPARE(everythingIn(path), QStringList(u"Folder.menu.json"_qs));
}

void tst_Create::showPrintsTheTree()
{
    const QString label = u"labelTextId"_qs;
    const ManifestFile file(compact({
        with(selection(u"main page"_qs), label, u"TXT_MAIN"_qs),
        with(selection(u"other"_qs), label, QString()),
        with(node(u"Net"_qs,
                 {
                     selection(u"Net/port"_qs),
                     with(node(u"Eth"_qs, {with(selection(u"Net/Eth/line"_qs), label, u"TXT LINE"_qs)}), label,
                         u"TXT_ETH"_qs),
                     QJsonObject {{u"instanceName"_qs, u"neither"_qs}},
                 }),
            label, u"TXT_NET"_qs),
        node(u"empty"_qs, {}),
    }));
    const FileState before = stateOf(file.path());
    QCOMPARE(Program().in(file.folder()).run(u"show manifest.json"_qs),
        done(u"selection main page  [TXT_MAIN]\n"
             "selection other\n"
             "node      Net  [TXT_NET]\n"
             "  selection Net/port\n"
             "  node      Eth  [TXT_ETH]\n"
             "    selection Net/Eth/line  [TXT LINE]\n"
             "  unknown   neither\n"
             "node      empty"_qs));
    QCOMPARE(stateOf(file.path()), before);
    QVERIFY(file.isAlone());
}

void tst_Create::showPrintsEveryElementOfTheExamples()
{
    const QTemporaryDir directory;
    copyFolder(QStringLiteral(EXAMPLES "/device"), directory.path());
    QCOMPARE(Program().in(directory.path()).run(u"create ."_qs).status, 0);
    const QString path = u"configuration/configuration.manifest.json"_qs;
    const QJsonArray manifest = QJsonDocument::fromJson(readFile(directory.filePath(path))).array();

    const ProgramRun run = Program().in(directory.path()).run(u"show "_qs + path);
    QCOMPARE(run.status, 0);
    QCOMPARE(run.errors, QByteArray());
    const QStringList lines = linesOf(run.output);
    QCOMPARE(lines.filter(QRegularExpression(u"^ *selection "_qs)).size(), countOf(manifest, u"Selection"_qs));
    QCOMPARE(lines.filter(QRegularExpression(u"^ *node      "_qs)).size(), countOf(manifest, u"Node"_qs));
    QCOMPARE(lines.size(), countOf(manifest, u"Selection"_qs) + countOf(manifest, u"Node"_qs));
}

void tst_Create::showPrintsWhatCanBeLoaded_data()
{
    const Table<QByteArray, QByteArray> row("manifest", "tree");

    row("no element", "[]", {});
    row("no objects", "[1,2,null]", QByteArray("unknown   \n").repeated(3));
    row("arrays and texts", "[[],[{\"selectionType\":\"Node\"}],\"Node\",true]",
        QByteArray("unknown   \n").repeated(4));
    row("empty object", "[{}]", "unknown   \n");
    row("wrong types", "[{\"selectionType\":7,\"instanceName\":[\"a\"],\"labelTextId\":{},\"substructure\":\"none\"}]",
        "unknown   \n");
    row("wrong types but for the kind",
        "[{\"selectionType\":\"Node\",\"instanceName\":5,\"labelTextId\":null,\"substructure\":{}}]", "node      \n");
    row("kind in capitals", "[{\"selectionType\":\"SELECTION\",\"instanceName\":\"a\"}]", "unknown   a\n");
    row("children of a selection",
        "[{\"selectionType\":\"Selection\",\"instanceName\":\"a\",\"substructure\":[{\"selectionType\":\"Node\","
        "\"instanceName\":\"b\"},3]}]",
        "selection a\n  node      b\n  unknown   \n");
    row("children of neither kind", "[{\"substructure\":[{\"substructure\":[0]}]}]",
        "unknown   \n  unknown   \n    unknown   \n");
    row("byte order mark", "\xef\xbb\xbf[{}]", "unknown   \n");
}

void tst_Create::showPrintsWhatCanBeLoaded()
{
    QFETCH(QByteArray, manifest);
    QFETCH(QByteArray, tree);

    const ManifestFile file(manifest);
    QCOMPARE(Program().in(file.folder()).run(u"show manifest.json"_qs), (ProgramRun {0, tree, QByteArray()}));
}

void tst_Create::showEscapesWhatATerminalWouldActOn_data()
{
    const Table<QByteArray, QByteArray> row("json", "shown");

    for (int control = 0; control < 0x20; ++control) {
        const QByteArray shown = control == '\n' ? QByteArray("\\n")
            : control == '\r'                    ? QByteArray("\\r")
            : control == '\t'                    ? QByteArray("\\t")
                                                 : "\\u{" + QByteArray::number(control, 16) + '}';
        QTest::addRow("control %02x", static_cast<unsigned>(control))
            << "\\u" + QByteArray::number(control, 16).rightJustified(4, '0') << shown;
    }
    row("escape sequence", "\\u001b[31mred\\u001b[0m", "\\u{1b}[31mred\\u{1b}[0m");
    row("title of the window", "\\u001b]0;title\\u0007", "\\u{1b}]0;title\\u{7}");
    row("line feed, forging a line", "a\\nselection b", "a\\nselection b");
    row("DEL", "\x7f", "\\u{7f}");
    row("first C1 control", "\xc2\x80", "\\u{80}");
    row("next line", "\xc2\x85", "\\u{85}");
    row("CSI in one character", "\xc2\x9b\x33\x31m", "\\u{9b}31m");
    row("last C1 control", "\xc2\x9f", "\\u{9f}");
    for (const char* const code : {"61c", "200e", "200f", "202a", "202b", "202c", "202d", "202e", "2066", "2067",
             "2068", "2069", "2028", "2029", "200b", "200d", "2060", "feff"}) {
        QTest::addRow("U+%s", code) << "\\u" + QByteArray(code).rightJustified(4, '0')
                                    << "\\u{" + QByteArray(code) + '}';
    }
    row("half of a character", "\\ud800", "\xef\xbf\xbd");
    row("tag character", "\\udb40\\udc41", "\\u{e0041}");
}

void tst_Create::showEscapesWhatATerminalWouldActOn()
{
    QFETCH(QByteArray, json);
    QFETCH(QByteArray, shown);

    const ManifestFile file(
        "[{\"selectionType\":\"Selection\",\"instanceName\":\"<" + json + ">\",\"labelTextId\":\"(" + json + ")\"}]");
    const ProgramRun run = Program().in(file.folder()).run(u"show manifest.json"_qs);
    QCOMPARE(run, (ProgramRun {0, "selection <" + shown + ">  [(" + shown + ")]\n", QByteArray()}));
    QVERIFY(isHarmless(run.output));
}

void tst_Create::showKeepsWhatATerminalShows()
{
    const QString name = u"Grüße \\ ' \" \u00a0 Ελληνικά 日本語 \U0001f600 e\u0301"_qs;
    const ManifestFile file(compact({selection(name)}));
    QCOMPARE(Program().in(file.folder()).run(u"show manifest.json"_qs), done(u"selection "_qs + name));
}

void tst_Create::showPrintsDeepManifests()
{
    QString tree;
    for (int level = 0; level < 500; ++level) {
        tree += QString(2 * level, u' ') + u"node      n\n"_qs;
    }
    const ManifestFile file(nodesBelowEachOther(500));
    QCOMPARE(Program().in(file.folder()).run(u"show manifest.json"_qs), (ProgramRun {0, tree.toUtf8(), QByteArray()}));
}

void tst_Create::showRefusesWhatIsNoManifest_data()
{
    const Table<QByteArray, QString> row("content", "problem");

    row("empty", {}, u"illegal value at byte 0"_qs);
    row("blanks", " \n ", u"illegal value at byte 3"_qs);
    row("text", "no manifest", u"illegal value at byte 1"_qs);
    row("object", "{\"instanceName\":\"a\"}", u"its root is not an array"_qs);
    row("cut short", "[{\"instanceName\":\"a\"}", u"unterminated array at byte 21"_qs);
    row("more than an array", "[] []", u"garbage at the end of the document at byte 3"_qs);
    row("binary", QByteArray("\x7f\x45LF\x02\x01\x00\x1b[31m", 12), u"illegal value at byte 1"_qs);
    row("zeros", QByteArray(64, '\0'), u"illegal value at byte 1"_qs);
    row("invalid UTF-8", "[\"\xff\xfe\"]", u"invalid UTF8 string at byte 2"_qs);
    row("nested too deeply", nodesBelowEachOther(600), u"too deeply nested document at byte 30209"_qs);
}

void tst_Create::showRefusesWhatIsNoManifest()
{
    QFETCH(QByteArray, content);
    QFETCH(QString, problem);

    const ManifestFile file(content);
    QCOMPARE(Program().in(file.folder()).run(u"show manifest.json"_qs),
        misused(u"manifest.json is not a manifest: "_qs + problem));
    QCOMPARE(file.content(), content);
    QVERIFY(file.isAlone());
}

void tst_Create::showRefusesAFileThatCannotBeRead()
{
    const ManifestFile file("[]");
    const Program program = Program().in(file.folder()).prepared(asOrdinaryUser);
    QCOMPARE(program.run(u"show none.json"_qs), misused(u"cannot read none.json: No such file or directory"_qs));
    QCOMPARE(program.run(u"show ."_qs), misused(u"cannot read .: it is a folder"_qs));
    QCOMPARE(
        program.run(u"show manifest.json/none"_qs), misused(u"cannot read manifest.json/none: Not a directory"_qs));
    chmod(qPrintable(file.path()), 0);
    QCOMPARE(program.run(u"show manifest.json"_qs), misused(u"cannot read manifest.json: Permission denied"_qs));
}

void tst_Create::pathsInComplaintsAreEscaped()
{
    const QTemporaryDir directory;
    const Program program = Program().in(directory.path());
    const QString hostile = u"a\x1b[31m\nb\u202e\u009b"_qs;
    const QString shown = u"a\\u{1b}[31m\\nb\\u{202e}\\u{9b}"_qs;
    QCOMPARE(program.run({u"show"_qs, hostile}), misused(u"cannot read %1: No such file or directory"_qs.arg(shown)));
    QCOMPARE(program.run({u"create-folder"_qs, hostile}),
        misused(u"nothing to write in %1: there is no such folder"_qs.arg(shown)));
    QCOMPARE(program.run(QStringList {hostile}),
        misused(u"unknown command '%1'; see 'configuration-manifest --help'"_qs.arg(shown)));
    QCOMPARE(program.run({u"show"_qs, u"--"_qs + hostile}),
        misused(
            u"Unknown option '%1' (put '--' before a value that begins with '-'); see 'configuration-manifest show --help'"_qs
                .arg(shown)));

    writeFile(directory.filePath(hostile), "{");
    QCOMPARE(
        program.run({u"show"_qs, hostile}), misused(shown + u" is not a manifest: unterminated object at byte 1"_qs));
}

void tst_Create::pathsInResultsAreEscaped()
{
    const QTemporaryDir directory;
    describe(directory.filePath(u"a\x1b[31m\nb/page.config.json"_qs));
    QCOMPARE(Program().in(directory.path()).run({u"create-folder"_qs, u"a\x1b[31m\nb"_qs}),
        done(u"a\\u{1b}[31m\\nb/configuration.manifest.json\n1 selection, 0 nodes"_qs));
}

void tst_Create::coloursAreForTerminalsThatWantThem_data()
{
    const Table<Program, QByteArray> row("program", "tree");

    const QByteArray plain = "selection a  [TXT]\nnode      b\nunknown   c\n";
    const QByteArray coloured = "\x1b[32mselection\x1b[0m a\x1b[2m  [TXT]\x1b[0m\n"
                                "\x1b[1;34mnode     \x1b[0m b\n"
                                "\x1b[31munknown  \x1b[0m c\n";
    row("no terminal", {}, plain);
    row("terminal", Program().onTerminal(), coloured);
    row("NO_COLOR", Program().onTerminal().with(u"NO_COLOR"_qs, u"1"_qs), plain);
    row("empty NO_COLOR", Program().onTerminal().with(u"NO_COLOR"_qs, QString()), coloured);
    row("dumb terminal", Program().onTerminal().with(u"TERM"_qs, u"dumb"_qs), plain);
}

void tst_Create::coloursAreForTerminalsThatWantThem()
{
    QFETCH(Program, program);
    QFETCH(QByteArray, tree);

    const ManifestFile file(compact({
        with(selection(u"a"_qs), u"labelTextId"_qs, u"TXT"_qs),
        node(u"b"_qs),
        QJsonObject {{u"instanceName"_qs, u"c"_qs}},
    }));
    QCOMPARE(program.in(file.folder()).run(u"show manifest.json"_qs), (ProgramRun {0, tree, QByteArray()}));
}

void tst_Create::terminalIsActedOnByNothingButTheColours()
{
    const ManifestFile file("[{\"selectionType\":\"Selection\",\"instanceName\":\"\\u001b[5m\xc2\x9b\x7f\\u202e\","
                            "\"labelTextId\":\"\\n\\r\\u0008\"}]");
    QCOMPARE(Program().in(file.folder()).onTerminal().run(u"show manifest.json"_qs),
        done(u"\x1b[32mselection\x1b[0m \\u{1b}[5m\\u{9b}\\u{7f}\\u{202e}\x1b[2m  [\\n\\r\\u{8}]\x1b[0m"_qs));
}

void tst_Create::localeMakesNoDifference_data()
{
    const Table<QString> row("locale");

    row("C", u"C"_qs);
    row("POSIX", u"POSIX"_qs);
    row("none that there is", u"none_NONE.ISO-8859-1"_qs);
}

void tst_Create::localeMakesNoDifference()
{
    QFETCH(QString, locale);

    const QTemporaryDir directory;
    copyFolder(QStringLiteral(EXAMPLES "/device"), directory.path());
    const QString path = u"configuration/configuration.manifest.json"_qs;
    const Program here = Program().in(directory.path());
    const Program there = Program(here).with(u"LC_ALL"_qs, locale).with(u"LANG"_qs, locale);
    const auto runBoth = [&](const QString& commandLine) {
        const ProgramRun run = here.run(commandLine);
        QCOMPARE(run.status, 0);
        QCOMPARE(there.run(commandLine), run);
    };

    QCOMPARE(here.run(u"create ."_qs).status, 0);
    const QByteArray manifest = readFile(directory.filePath(path));
    QVERIFY(manifest.contains("Ελληνικά"));
    runBoth(u"create ."_qs);
    QCOMPARE(there.run(u"create ."_qs).status, 0);
    QCOMPARE(readFile(directory.filePath(path)), manifest);

    runBoth(u"show "_qs + path);
    runBoth(u"instances "_qs + path);
    runBoth(u"get %1 Überwachung/Lüfter labelTextId"_qs.arg(path));
    runBoth(u"set %1 display/languages/日本語 labelTextId 日本語 --dry-run"_qs.arg(path));
    runBoth(u"create-folder configuration/Überwachung --dry-run"_qs);
}

void tst_Create::outputThatDoesNotArriveIsAFailure_data()
{
    const Table<QString> row("commandLine");

    row("show", u"show manifest.json"_qs);
    row("show, more than a buffer", u"show deep/manifest.json"_qs);
    row("list", u"list manifest.json"_qs);
    row("get", u"get manifest.json a"_qs);
    row("instances", u"instances manifest.json"_qs);
    row("set", u"set manifest.json a key value"_qs);
    row("dry run", u"set manifest.json a key value --dry-run"_qs);
    row("print", u"set manifest.json a key value --print"_qs);
    row("create-folder, dry run", u"create-folder folder --dry-run"_qs);
    row("help", u"--help"_qs);
    row("help of a command", u"show --help"_qs);
    row("version", u"--version"_qs);
}

void tst_Create::outputThatDoesNotArriveIsAFailure()
{
    QFETCH(QString, commandLine);

    const ManifestFile file(compact(saveRuleManifest()));
    writeFile(file.folder() + u"/deep/manifest.json"_qs, nodesBelowEachOther(100));
    describe(file.folder() + u"/folder/page.config.json"_qs);
    const Program program = Program().in(file.folder());
    QCOMPARE(Program(program).prepared(withFullOutput).run(commandLine), failed(u"cannot write the results"_qs));
    QCOMPARE(Program(program).prepared(withClosedOutput).run(commandLine), failed(u"cannot write the results"_qs));
}

void tst_Create::helpNamesEveryCommand_data()
{
    const Table<QString> row("commandLine");

    row("long", u"--help"_qs);
    row("short", u"-h"_qs);
    row("before a command", u"--help show"_qs);
}

void tst_Create::helpNamesEveryCommand()
{
    QFETCH(QString, commandLine);

    const ProgramRun run = Program().run(commandLine);
    QCOMPARE(run.status, 0);
    QCOMPARE(run.errors, QByteArray());
    QStringList expected;
    for (const CommandHelp& command : commands()) {
        expected.append(u"  %1 %2"_qs.arg(QString::fromUtf8(command.name), QString::fromUtf8(command.syntax)));
    }
    static const QRegularExpression command(u"^  [a-z].*"_qs);
    QCOMPARE(linesOf(run.output).filter(command).mid(0, expected.size()), expected);
    for (const char* const text :
        {"--help", "--version", "COMMAND --help", "\nExit status:\n  0  done\n  1  not done; of a question: no\n"}) {
        QVERIFY2(run.output.contains(text), text);
    }
}

void tst_Create::helpOfACommandNamesItsArgumentsAndOptions_data()
{
    addCommandRows();
}

void tst_Create::helpOfACommandNamesItsArgumentsAndOptions()
{
    QFETCH(QString, name);
    QFETCH(QString, syntax);
    QFETCH(QStringList, options);

    const QTemporaryDir directory;
    const ProgramRun run = Program().in(directory.path()).run(name + u" --help"_qs);
    QCOMPARE(run.status, 0);
    QCOMPARE(run.errors, QByteArray());
    const QString usage = linesOf(run.output).constFirst();
    QVERIFY2(
        usage.startsWith(u"Usage: "_qs) && usage.endsWith(u" [options] %1 %2"_qs.arg(name, syntax)), qPrintable(usage));
    static const QRegularExpression option(u"^  (?:-h, )?--([a-z-]+)"_qs, QRegularExpression::MultilineOption);
    QStringList named;
    for (auto matches = option.globalMatch(QString::fromUtf8(run.output)); matches.hasNext();) {
        named.append(matches.next().captured(1));
    }
    QCOMPARE(named, QStringList(u"help"_qs) + options);

    QCOMPARE(Program().in(directory.path()).run(name + u" -h"_qs), run);
    QCOMPARE(Program().in(directory.path()).run(name + u" too --help many arguments for any command at all"_qs), run);
    QCOMPARE(everythingIn(directory.path()), QStringList());
}

void tst_Create::versionIsPrinted_data()
{
    const Table<QString> row("commandLine");

    row("long", u"--version"_qs);
    row("short", u"-v"_qs);
}

void tst_Create::versionIsPrinted()
{
    QFETCH(QString, commandLine);

    const ProgramRun run = Program().run(commandLine);
    QCOMPARE(run.status, 0);
    QCOMPARE(run.errors, QByteArray());
    static const QRegularExpression version(u"^configuration-manifest \\d+\\.\\d+\\.\\d+\\n$"_qs);
    QVERIFY2(version.match(QString::fromUtf8(run.output)).hasMatch(), run.output.constData());
}

void tst_Create::wrongUsageIsToldFromFailure_data()
{
    addProgramFailureColumns();
    const auto add = [](const char* name, const char16_t* commandLine, const QString& complaint) {
        addProgramFailure(name, QString::fromUtf16(commandLine), misused(complaint));
    };
    const auto see = [](const QString& command = QString()) {
        return u"; see 'configuration-manifest%1 --help'"_qs.arg(command);
    };

    const QString before = u" (put '--' before a value that begins with '-')"_qs;

    add("empty command", u"''", u"unknown command ''"_qs + see());
    add("unknown command", u"display manifest.json", u"unknown command 'display'"_qs + see());
    add("command in capitals", u"SHOW manifest.json", u"unknown command 'SHOW' (did you mean 'show'?)"_qs + see());
    add("option before the command", u"--save stamp manifest.json", u"Unknown option 'save'"_qs + before + see());
    add("option of another command", u"show manifest.json --save",
        u"Unknown option 'save'"_qs + before + see(u" show"_qs));
    add("version of a command", u"show manifest.json --version",
        u"Unknown option 'version'"_qs + before + see(u" show"_qs));
    add("one dash", u"stamp manifest.json -x", u"Unknown option 'x'"_qs + before + see(u" stamp"_qs));
    add("option without its value", u"create-folder . --scheme",
        u"Missing value after '--scheme'"_qs + see(u" create-folder"_qs));
    add("value of an option that takes none", u"stamp manifest.json --save=yes",
        u"Unexpected value after '--save'"_qs + see(u" stamp"_qs));

    add("index is a word", u"add-node manifest.json b --index first", u"'first' is not a whole number"_qs);
    add("index is a fraction", u"add-node manifest.json b --index 1.0", u"'1.0' is not a whole number"_qs);
    add("index is empty", u"add-selection manifest.json b --index ''", u"'' is not a whole number"_qs);
    add("index is too large", u"move-node manifest.json spare 2147483648", u"'2147483648' is not a whole number"_qs);
    add("index has a tail", u"move-selection manifest.json top 1x", u"'1x' is not a whole number"_qs);
    add("negative index looks like an option", u"move-node manifest.json spare -1",
        u"Unknown option '1'"_qs + before + see(u" move-node"_qs));
    add("no description of a node", u"update-node manifest.json a", u"--description is missing"_qs);
    add("no description of a selection", u"update-selection manifest.json top --save", u"--description is missing"_qs);
    add("adding and removing", u"rewrite manifest.json top key --add --remove",
        u"--add and --remove exclude each other"_qs);
    add("removing a value", u"rewrite manifest.json top key value --remove --save", u"--remove takes no VALUE"_qs);
    add("overwriting without a value", u"rewrite manifest.json top key", u"VALUE is missing"_qs);
    add("adding without a value", u"rewrite manifest.json top key --add", u"VALUE is missing"_qs);
    add("before the file is looked for", u"move-node none.json a first", u"'first' is not a whole number"_qs);
}

void tst_Create::wrongUsageIsToldFromFailure()
{
    checkProgramFailure();
}

void tst_Create::commandsTakeTheirArgumentsAndNoOthers_data()
{
    addCommandRows();
}

void tst_Create::commandsTakeTheirArgumentsAndNoOthers()
{
    QFETCH(QString, name);
    QFETCH(QString, syntax);

    const QTemporaryDir directory;
    const QStringList arguments = syntax.split(u' ');
    const int least = arguments.filter(QRegularExpression(u"^[^\\[]"_qs)).size();
    const QString help = u"; see 'configuration-manifest %1 --help'"_qs.arg(name);
    const ProgramRun wrongArguments = misused(name + u" takes "_qs + syntax + help);
    const auto runWith = [&](const QStringList& given) {
        return Program().in(directory.path()).run(QStringList(name) + given);
    };
    const auto some = [](int count) { return QVector<QString>(count, u"x"_qs).toList(); };

    for (int count = 0; count < least; ++count) {
        QCOMPARE(runWith(some(count)), wrongArguments);
    }
    if (!syntax.endsWith(u"..."_qs)) {
        QCOMPARE(runWith(some(arguments.size() + 1)), wrongArguments);
    }
    QCOMPARE(runWith(QStringList(QString()) + some(qMax(0, least - 1))),
        misused(arguments.constFirst() + u" is empty"_qs + help));
    QCOMPARE(runWith(some(least) << u"--none"_qs),
        misused(u"Unknown option 'none' (put '--' before a value that begins with '-')"_qs + help));
    QCOMPARE(everythingIn(directory.path()), QStringList());
}

void tst_Create::examplesDoWhatTheirDescriptionSays()
{
    const QTemporaryDir project;
    layOutProject(project.path());

    const Program shell = Program(u"/bin/sh"_qs).in(project.path());
    QByteArray output;
    bool outputWasShown = true;
    for (const Fence& fence : fencesOf(project.filePath(u"examples/README.md"_qs))) {
        if (!fence.isShell) {
            QVERIFY2(output.contains('\n' + fence.text), fence.text.constData());
            outputWasShown = true;
            continue;
        }
        QVERIFY2(outputWasShown, output.constData());
        outputWasShown = false;
        output = "\n";
        for (const QString& command : linesOf(fence.text)) {
            const ProgramRun run = shell.run({u"-c"_qs, command});
            QVERIFY2(run.status == 0, qPrintable(command));
            output += run.output;
        }
    }
    QVERIFY(outputWasShown && !output.isEmpty());
}

void tst_Create::tourShowsWhatItSays()
{
    const QTemporaryDir project;
    layOutProject(project.path());
    const QVector<Fence> fences = fencesOf(QStringLiteral(EXAMPLES "/../README.md"));
    QVERIFY(fences.size() > 4);

    // The folder that is described there, file by file, and what is shown of it.
    const QString folder = project.filePath(u"folder"_qs);
    for (const QString& line : linesOf(fences.at(2).text)) {
        const QString name = line.section(u' ', 0, 0);
        writeFile(folder + u'/' + name, line.mid(name.size()).trimmed().toUtf8());
    }
    const Program program = Program().in(project.path());
    QCOMPARE(program.run(u"create-folder folder"_qs).status, 0);
    QCOMPARE(program.run(u"show folder/configuration.manifest.json"_qs).output, fences.at(3).text);

    const QByteArray tour = fences.at(4).text;
    QVERIFY(fences.at(4).isShell);
    const ProgramRun run = Program(u"/bin/sh"_qs).in(project.path()).run({u"-e"_qs, u"-c"_qs, QString::fromUtf8(tour)});
    QCOMPARE(run.status, 0);
    QVERIFY2(run.output.contains("49 selections, 25 nodes\n"), run.output.constData());
    QVERIFY2(run.output.contains(
                 "TXT_PORT\nchanged; saved\nmoved: node 'network', from position 4 to 0\nchanged; not saved\n"),
        run.output.constData());
}

MANIFEST_TEST_MAIN(tst_Create)

#include "tst_create.moc"
