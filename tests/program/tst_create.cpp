#include "Table.h"
#include "TestMain.h"
#include "Workplace.h"
#include "faults/FaultyCalls.h"

#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QJsonDocument>
#include <QtCore/QRegularExpression>

#include <csignal>

#include <sys/stat.h>

namespace {

int countOf(const QJsonArray& elements, const QString& selectionType)
{
    int count = 0;
    for (const QJsonValue& element : elements) {
        count += element[u"selectionType"_qs] == selectionType ? 1 : 0;
        count += countOf(element[u"substructure"_qs].toArray(), selectionType);
    }
    return count;
}

// The number of the stat call on the old manifest between the scan and the save.
constexpr int lookBeforeTheSave = 3;

} // namespace

class tst_Create : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void createWritesManifestOfConfigurationFolder();
    void createCountsElementsOfExamples();
    void nounsAgreeWithTheirCounts_data();
    void nounsAgreeWithTheirCounts();
    void schemeNamesFileAndChoosesWhatIsCollected_data();
    void schemeNamesFileAndChoosesWhatIsCollected();
    void pathIsWrittenInAnyWay_data();
    void pathIsWrittenInAnyWay();
    void creationReportsWhatItReplaces();
    void stampsAreNoChangeUnlessAskedFor();
    void dryCreationWritesNothing();
    void manifestOfChangingFolderIsCurrent();
    void folderThatKeepsChangingIsReported();
    void creationComparesWithManifestThatItReplaces();
    void damageIsDistinguishedFromRemarks();
    void messagesOfLibraryNameTheirFile();
    void debugMessagesCanBeSwitchedOff();
    void nothingToWriteIsFailure_data();
    void nothingToWriteIsFailure();
    void folderThatCannotBeReadIsFailure_data();
    void folderThatCannotBeReadIsFailure();
    void descriptionThatIsDeviceIsRefused();
    void folderInPlaceOfManifestIsFailure();
    void linkIntoMissingFolderIsNamedAsCause();
    void baseIsManifestAsCreated();
    void baseIsKeptBeforeFirstManifestAndAfterLaterOnes();
    void changeBetweenScanAndCreationIsNotOverwritten();
};

void tst_Create::createWritesManifestOfConfigurationFolder()
{
    const Workplace place;
    place.describe(u"base/configuration/main.config.json"_qs)
        .describe(u"base/configuration/main.process.json"_qs)
        .describe(u"base/configuration/Net/Folder.menu.json"_qs)
        .describe(u"base/configuration/Net/port.config.json"_qs)
        .describe(u"base/configuration/Net/line.config.json"_qs);

    QCOMPARE(
        place.run(u"create base"_qs), done(u"base/configuration/configuration.manifest.json\n3 selections, 1 node"_qs));
    QCOMPARE(everythingIn(place.path()), QStringList(u"base"_qs));
    QCOMPARE(everythingIn(place.path(u"base"_qs)), QStringList(u"configuration"_qs));

    QCOMPARE(place.run(u"show base/configuration/configuration.manifest.json"_qs),
        done(u"selection main\n"
             "node      Net\n"
             "  selection Net/line\n"
             "  selection Net/port"_qs));
}

void tst_Create::createCountsElementsOfExamples()
{
    const Workplace place;
    copyFolder(QStringLiteral(EXAMPLES "/device"), place.path(u"device"_qs));
    const QString name = u"device/configuration/configuration.manifest.json"_qs;

    const ProgramRun run = place.run(u"create device"_qs);
    const QJsonArray manifest = QJsonDocument::fromJson(place.content(name)).array();
    QVERIFY(!manifest.isEmpty());
    QCOMPARE(run.status, 0);
    QCOMPARE(QString::fromUtf8(run.output),
        u"%1\n%2 selections, %3 nodes\n"_qs.arg(name)
            .arg(countOf(manifest, u"Selection"_qs))
            .arg(countOf(manifest, u"Node"_qs)));
}

void tst_Create::nounsAgreeWithTheirCounts_data()
{
    const Table<QStringList, QString> row("files", "counts");

    row("nothing", {u"readme.txt"_qs}, u"0 selections, 0 nodes"_qs);
    row("one selection", {u"a.config.json"_qs}, u"1 selection, 0 nodes"_qs);
    row("two selections", {u"a.config.json"_qs, u"b.config.json"_qs}, u"2 selections, 0 nodes"_qs);
    row("one node", {u"n/a.config.json"_qs, u"n/Folder.menu.json"_qs}, u"1 selection, 1 node"_qs);
    row("two nodes", {u"n/m/a.config.json"_qs, u"n/m/Folder.menu.json"_qs, u"n/Folder.menu.json"_qs},
        u"1 selection, 2 nodes"_qs);
}

void tst_Create::nounsAgreeWithTheirCounts()
{
    QFETCH(QStringList, files);
    QFETCH(QString, counts);

    const Workplace place;
    for (const QString& file : qAsConst(files)) {
        place.describe(file);
    }
    QCOMPARE(place.run(u"create-folder ."_qs), done(u"configuration.manifest.json\n"_qs + counts));
}

void tst_Create::schemeNamesFileAndChoosesWhatIsCollected_data()
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

void tst_Create::schemeNamesFileAndChoosesWhatIsCollected()
{
    QFETCH(QString, commandLine);
    QFETCH(QString, manifest);
    QFETCH(QString, tree);

    const Workplace place;
    place.describe(u"folder/page.config.json"_qs).describe(u"folder/values.process.json"_qs);
    const QString path = u"folder/"_qs + manifest;
    QCOMPARE(place.run(commandLine), done(path + u"\n1 selection, 0 nodes"_qs));
    QCOMPARE(place.run(u"show "_qs + path), done(tree));
    QCOMPARE(everythingIn(place.path(u"folder"_qs)).size(), 3);
}

void tst_Create::pathIsWrittenInAnyWay_data()
{
    const Table<QString, QString, QString> row("currentFolder", "commandLine", "manifest");

    const QString name = u"configuration.manifest.json"_qs;
    row("folder, relative", u"."_qs, u"create-folder cfg"_qs, u"cfg/"_qs + name);
    row("folder, separator at its end", u"."_qs, u"create-folder cfg/"_qs, u"cfg/"_qs + name);
    row("folder, many separators", u"."_qs, u"create-folder cfg///"_qs, u"cfg/"_qs + name);
    row("folder, with a dot", u"."_qs, u"create-folder ./cfg/."_qs, u"cfg/"_qs + name);
    row("folder, by a detour", u"."_qs, u"create-folder cfg/sub/.."_qs, u"cfg/"_qs + name);
    row("folder, current one", u"cfg"_qs, u"create-folder ."_qs, name);
    row("folder, one above", u"cfg/sub"_qs, u"create-folder .."_qs, u"../"_qs + name);
    row("folder, from beside", u"cfg/sub"_qs, u"create-folder ../../cfg/"_qs, u"../../cfg/"_qs + name);
    row("folder, back from a link", u"beside"_qs, u"create-folder link/.."_qs, u"link/../"_qs + name);
    row("base, relative", u"."_qs, u"create base"_qs, u"base/configuration/"_qs + name);
    row("base, separator at its end", u"."_qs, u"create base/"_qs, u"base/configuration/"_qs + name);
    row("base, current folder", u"base"_qs, u"create ."_qs, u"configuration/"_qs + name);
    row("base, folder above", u"base/configuration"_qs, u"create .."_qs, u"../configuration/"_qs + name);
}

void tst_Create::pathIsWrittenInAnyWay()
{
    QFETCH(QString, currentFolder);
    QFETCH(QString, commandLine);
    QFETCH(QString, manifest);

    const Workplace place;
    for (const QString& folder : {u"cfg/"_qs, u"base/configuration/"_qs}) {
        place.describe(folder + u"main.config.json"_qs)
            .describe(folder + u"sub/Folder.menu.json"_qs)
            .describe(folder + u"sub/cfg/Folder.menu.json"_qs)
            .describe(folder + u"sub/cfg/port.config.json"_qs);
    }
    QVERIFY(QDir().mkpath(place.path(u"beside"_qs)));
    makeLink(place.path(u"cfg/sub"_qs), place.path(u"beside/link"_qs));
    const QByteArray expected = place.run(u"create-folder cfg --print"_qs).output;
    QVERIFY(expected.contains("\"sub/cfg/port\""));

    const QString folder = place.path(currentFolder);
    QCOMPARE(Program().in(folder).run(commandLine), done(manifest + u"\n2 selections, 2 nodes"_qs));
    QCOMPARE(readFile(folder + u'/' + manifest) + '\n', expected);
}

void tst_Create::creationReportsWhatItReplaces()
{
    const Workplace place;
    for (const char* const name : {"a.config.json", "b.config.json", "n/Folder.menu.json", "n/c.config.json"}) {
        place.describe(QString::fromUtf8(name));
    }
    const QString manifest = u"configuration.manifest.json"_qs;
    const auto creation = [&](const QString& comparison) {
        QCOMPARE(place.run(u"create-folder ."_qs), done(manifest + u"\n3 selections, 1 node"_qs + comparison));
    };
    creation(QString());
    creation(u"\nthe same as the previous manifest"_qs);
    for (const QString& edit :
        {u"set %1 a labelTextId TXT --save"_qs, u"delete %1 n --save"_qs, u"add-node %1 mine --save"_qs}) {
        QCOMPARE(place.run(edit.arg(manifest)).status, 0);
    }
    creation(u"\ncompared with the previous manifest: 2 added, 1 removed, 1 changed"_qs);
    creation(u"\nthe same as the previous manifest"_qs);
    QCOMPARE(place.run(u"move-selection configuration.manifest.json a 1 --save"_qs).status, 0);
    creation(u"\ncompared with the previous manifest: 0 added, 0 removed, 0 changed, 1 moved"_qs);
    writeFile(place.path(manifest), "no manifest");
    creation(u"\nthe previous file was not a manifest"_qs);
}

void tst_Create::stampsAreNoChangeUnlessAskedFor()
{
    const Workplace place;
    place.describe(u"a.config.json"_qs);
    const Program program = place.program();
    const QString counts = u"configuration.manifest.json\n1 selection, 0 nodes\n"_qs;
    QCOMPARE(program.run(u"create-folder ."_qs).status, 0);
    QCOMPARE(program.run(u"stamp configuration.manifest.json --module M --object O --save"_qs).status, 0);
    QCOMPARE(program.run(u"create-folder . --stamps --dry-run"_qs),
        done(counts
            + u"compared with the previous manifest: 0 added, 0 removed, 1 changed\n"
              "changed: selection 'a', moduleName from \"M\" to nothing, objectName from \"O\" to nothing\n"
              "not saved"_qs));
    QCOMPARE(
        program.run(u"create-folder ."_qs), done(counts + u"the same as the previous manifest, except for stamps"_qs));
    QCOMPARE(program.run(u"create-folder . --stamps"_qs), done(counts + u"the same as the previous manifest"_qs));
}

void tst_Create::dryCreationWritesNothing()
{
    const Workplace place;
    const QString path = place.path(u"configuration.manifest.json"_qs);
    place.describe(u"a.config.json"_qs);
    const Program program = place.program();
    const QString dry = u"create-folder . --dry-run --backup --keep-base"_qs;
    const QString counts = u"configuration.manifest.json\n1 selection, 0 nodes\n"_qs;
    QCOMPARE(program.run(dry), done(counts + u"not saved"_qs));
    const ProgramRun printed = program.run(u"create-folder . --print --backup --keep-base"_qs);
    QCOMPARE(everythingIn(place.path()), QStringList(u"a.config.json"_qs));

    QCOMPARE(program.run(u"create-folder ."_qs).status, 0);
    QCOMPARE(printed, done(QString::fromUtf8(readFile(path))));
    QCOMPARE(program.run(u"delete configuration.manifest.json a --save"_qs).status, 0);
    const FileState state = stateOf(path);
    QCOMPARE(program.run(dry),
        done(counts
            + u"compared with the previous manifest: 1 added, 0 removed, 0 changed\nadded: selection 'a', as position 0\nnot saved"_qs));
    QCOMPARE(program.run(u"create-folder . --print"_qs), printed);
    QCOMPARE(stateOf(path), state);
    QCOMPARE(everythingIn(place.path()).size(), 2);
}

void tst_Create::manifestOfChangingFolderIsCurrent()
{
    const Workplace place;
    place.describe(u"a.config.json"_qs);
    const QString path = place.path(u"configuration.manifest.json"_qs);
    // Stopped before the library scans the folder.
    const auto program =
        Program().stoppingAt(u"stat"_qs, lookBeforeTheSave, path).start(u"create-folder "_qs + place.path());
    QVERIFY(program->isStopped());
    place.describe(u"b.config.json"_qs);
    program->send(SIGCONT);
    QCOMPARE(program->finish(), done(path + u"\n2 selections, 0 nodes"_qs));
    QVERIFY(readFile(path).contains("\"b\""));
}

void tst_Create::folderThatKeepsChangingIsReported()
{
    const Workplace place;
    const QString path = place.path(u"configuration.manifest.json"_qs);
    // Stopped at every attempt to list the folder.
    const auto program = Program()
                             .withFaultyCalls(u"list %1 1 99 %2"_qs.arg(Fault::Stopped).arg(place.path()))
                             .start(u"create-folder "_qs + place.path());
    int files = 0;
    while (program->isStopped()) {
        place.describe(u"page%1.config.json"_qs.arg(++files));
        program->send(SIGCONT);
    }
    QVERIFY(files > 2);
    QCOMPARE(program->finish(),
        failed(u"%1 changed while it was being read: %2 is written, but may not match the folder"_qs.arg(
            place.path(), path)));
    QVERIFY(readFile(path).contains("\"page1\""));
}

void tst_Create::creationComparesWithManifestThatItReplaces()
{
    const Workplace place;
    place.describe(u"a.config.json"_qs);
    const QString path = place.path(u"configuration.manifest.json"_qs);
    const QString creation = u"create-folder %1 --overwrite"_qs.arg(place.path());
    QCOMPARE(Program().run(creation), done(path + u"\n1 selection, 0 nodes"_qs));
    // Somebody edits the manifest after the scan and before the save.
    const auto program = Program().stoppingAt(u"stat"_qs, lookBeforeTheSave, path).start(creation);
    QVERIFY(program->isStopped());
    writeFile(path, compact({selection(u"a"_qs), selection(u"by hand"_qs)}));
    program->send(SIGCONT);
    const ProgramRun run = program->finish();
    QCOMPARE(run.status, 0);
    QVERIFY2(run.output.contains("\ncompared with the previous manifest: ") && run.output.contains("1 removed"),
        run.output.constData());
}

void tst_Create::damageIsDistinguishedFromRemarks()
{
    const Workplace place;
    copyFolder(QStringLiteral(EXAMPLES "/device"), place.path());
    const ProgramRun run = place.run(u"create ."_qs);
    QCOMPARE(run.status, 0);
    const QStringList lines = linesOf(run.errors);
    static const QRegularExpression named(u"^(warning|remark): ([^:]+): ."_qs);
    QStringList damaged;
    for (const QString& line : lines) {
        const QRegularExpressionMatch match = named.match(line);
        QVERIFY2(match.hasMatch(), qPrintable(line));
        QVERIFY2(QFileInfo::exists(place.path(u"configuration/"_qs + match.captured(2))), qPrintable(line));
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

void tst_Create::messagesOfLibraryNameTheirFile()
{
    const Workplace place;
    writeFile(place.path(u"sub/cut.config.json"_qs), "{");
    QCOMPARE(place.run(u"create-folder ."_qs),
        done(u"configuration.manifest.json\n1 selection, 1 node"_qs,
            "remark: sub: No description file found!\n"
            "remark: sub: Cannot find key displayPosition in Json object!\n"
            "warning: sub/cut.config.json: Can't parse Json!\n"
            "remark: sub/cut.config.json: Cannot find key displayPosition in Json object!\n"
            "remark: sub/cut.config.json: Cannot find key \"hide\" in Json object!\n"));
}

void tst_Create::debugMessagesCanBeSwitchedOff()
{
    const Workplace place;
    place.describe(u"sub/page.config.json"_qs);
    QCOMPARE(place.program().with(u"QT_LOGGING_RULES"_qs, u"default.debug=false"_qs).run(u"create-folder ."_qs),
        done(u"configuration.manifest.json\n1 selection, 1 node"_qs,
            "remark: sub: Cannot find key displayPosition in Json object!\n"));
}

void tst_Create::nothingToWriteIsFailure_data()
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

void tst_Create::nothingToWriteIsFailure()
{
    QFETCH(QString, commandLine);
    QFETCH(QString, complaint);

    const Workplace place;
    QVERIFY(QDir(place.path()).mkdir(u"empty"_qs));
    writeFile(place.path(u"hidden/.file"_qs), "");
    QCOMPARE(place.run(commandLine), misused(complaint));
    QCOMPARE(everythingIn(place.path()), QStringList({u"empty"_qs, u"hidden"_qs}));
    QCOMPARE(everythingIn(place.path(u"empty"_qs)), QStringList());
    QCOMPARE(everythingIn(place.path(u"hidden"_qs)), QStringList(u".file"_qs));
}

void tst_Create::folderThatCannotBeReadIsFailure_data()
{
    const Table<int> row("permissions");

    row("no permission at all", 0000);
    row("may be entered", 0111);
    row("may be written to", 0333);
    row("may be listed", 0444);
}

void tst_Create::folderThatCannotBeReadIsFailure()
{
    QFETCH(int, permissions);

    const Workplace place;
    const QString folder = place.path(u"folder"_qs);
    QVERIFY(QDir().mkdir(folder));
    // A link is listed only if stat succeeds for its target.
    makeLink(u"/dev/null"_qs, folder + u"/page.config.json"_qs);
    chmod(qPrintable(folder), static_cast<mode_t>(permissions));
    const ProgramRun run = place.program().prepared(asOrdinaryUser).run(u"create-folder folder"_qs);
    chmod(qPrintable(folder), 0700);
    QCOMPARE(run, misused(u"nothing to write in folder: the folder is not readable"_qs));
    QCOMPARE(everythingIn(folder), QStringList(u"page.config.json"_qs));
}

void tst_Create::descriptionThatIsDeviceIsRefused()
{
    const Workplace place;
    QVERIFY(QDir().mkpath(place.path(u"folder/sub"_qs)));
    makeLink(u"/dev/zero"_qs, place.path(u"folder/sub/page.config.json"_qs));
    for (const QString& option : {QString(), u" --dry-run"_qs, u" --print"_qs}) {
        const ProgramRun run = place.run(u"create-folder folder"_qs + option);
        QCOMPARE(run.status, 2);
        QVERIFY2(
            run.errors.endsWith("configuration-manifest: cannot read folder/sub/page.config.json: it is a device\n"),
            run.errors.constData());
    }
    QCOMPARE(everythingIn(place.path(u"folder"_qs)), QStringList(u"sub"_qs));
}

void tst_Create::folderInPlaceOfManifestIsFailure()
{
    const Workplace place;
    const QString path = place.path(u"process.manifest.json"_qs);
    place.describe(u"process.manifest.json/Folder.menu.json"_qs);
    QCOMPARE(place.run(u"create-folder . --scheme process"_qs),
        misused(u"cannot replace process.manifest.json: it is a folder"_qs));
    // Without a save, nothing would be replaced.
    for (const QString& option : {u"--dry-run"_qs, u"--print"_qs}) {
        QCOMPARE(place.run(u"create-folder . --scheme process "_qs + option),
            misused(u"cannot read process.manifest.json: it is a folder"_qs));
    }
    QCOMPARE(everythingIn(place.path()), QStringList(u"process.manifest.json"_qs));
    QCOMPARE(everythingIn(path), QStringList(u"Folder.menu.json"_qs));
}

void tst_Create::linkIntoMissingFolderIsNamedAsCause()
{
    const Workplace place;
    place.describe(u"a.config.json"_qs);
    const QString path = place.path(u"configuration.manifest.json"_qs);
    QVERIFY(QFile::link(u"nowhere/x"_qs, path));
    const ProgramRun run = place.run(u"create-folder ."_qs);
    QCOMPARE(run.status, 1);
    QVERIFY2(run.errors.endsWith("could not save configuration.manifest.json: No such file or directory\n"),
        run.errors.constData());
    QCOMPARE(QFile::symLinkTarget(path), place.path(u"nowhere/x"_qs));
}

void tst_Create::baseIsManifestAsCreated()
{
    const Workplace place;
    const QString path = place.path(u"configuration.manifest.json"_qs);
    writeFile(place.path(u"page.config.json"_qs), "{\"hide\":false,\"displayPosition\":1}");
    const Program program = place.program();
    QCOMPARE(program.run(u"create-folder . --keep-base"_qs).status, 0);
    const QByteArray created = readFile(path);
    QVERIFY(!created.isEmpty());
    QCOMPARE(program.run(u"set configuration.manifest.json page key value --save"_qs).status, 0);
    QCOMPARE(readFile(path + u".base"_qs), created);
    // Without --keep-base the old base stays.
    writeFile(place.path(u"other.config.json"_qs), "{\"hide\":false,\"displayPosition\":2}");
    QCOMPARE(program.run(u"create-folder . --backup"_qs).status, 0);
    QCOMPARE(readFile(path + u".base"_qs), created);
    QVERIFY(readFile(path + u'~').contains("\"key\":\"value\""));

    QFile::remove(path + u".base"_qs);
    makePipe(path + u".base"_qs);
    QCOMPARE(program.run(u"create-folder . --keep-base"_qs),
        (ProgramRun {1, "configuration.manifest.json\n2 selections, 0 nodes\nthe same as the previous manifest\n",
            "configuration-manifest: the manifest is saved, but not configuration.manifest.json.base: it is a "
            "pipe\n"}));
}

void tst_Create::baseIsKeptBeforeFirstManifestAndAfterLaterOnes()
{
    const Workplace place;
    const QString path = place.path(u"configuration.manifest.json"_qs);
    const QString base = path + u".base"_qs;
    const QString creation = u"create-folder %1 --keep-base"_qs.arg(place.path());
    const auto killBetweenTheFiles = [&] {
        const auto program = Program().stoppingAt(u"make"_qs, 2, place.path()).start(creation);
        QVERIFY(program->isStopped());
        program->send(SIGKILL);
        QCOMPARE(program->finish().status, -1);
    };
    writeFile(place.path(u"page.config.json"_qs), "{\"hide\":false,\"displayPosition\":1}");
    killBetweenTheFiles();
    QVERIFY(!QFile::exists(path));
    const QByteArray first = readFile(base);
    QVERIFY(first.contains("\"page\""));
    QCOMPARE(Program().run(creation), done(path + u"\n1 selection, 0 nodes"_qs));
    QCOMPARE(readFile(path), first);
    QCOMPARE(readFile(base), first);

    // The base must still be the old one. With it the next merge adds the new page; with a newer base the page would
    // look as if an edit had removed it.
    writeFile(place.path(u"other.config.json"_qs), "{\"hide\":false,\"displayPosition\":2}");
    killBetweenTheFiles();
    QVERIFY(readFile(path).contains("\"other\""));
    QCOMPARE(readFile(base), first);
}

void tst_Create::changeBetweenScanAndCreationIsNotOverwritten()
{
    const Workplace place;
    const QString path = place.path(u"configuration.manifest.json"_qs);
    writeFile(place.path(u"page.config.json"_qs), "{\"hide\":false,\"displayPosition\":1}");
    const auto program =
        Program().stoppingAt(u"stat"_qs, lookBeforeTheSave, path).start(u"create-folder "_qs + place.path());
    QVERIFY(program->isStopped());
    writeFile(path, "[]");
    program->send(SIGCONT);
    QCOMPARE(program->finish(), failed(path + u" has changed since it was read"_qs));
    QCOMPARE(readFile(path), QByteArray("[]"));
}

MANIFEST_TEST_MAIN(tst_Create)

#include "tst_create.moc"
