#include "Process.h"
#include "ProgramManifests.h"
#include "Table.h"
#include "TestMain.h"
#include "Workplace.h"

#include <QtCore/QDir>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

// Command lines in which %1 is a file. The others are "manifest.json" and a description on standard input.

const QStringList queries {
    u"show %1"_qs, u"list %1"_qs, u"count %1"_qs, u"get %1 top"_qs, u"exists %1 top"_qs, u"instances %1"_qs};
const QStringList comparisons {u"check %1"_qs, u"diff %1 manifest.json"_qs, u"diff manifest.json %1"_qs,
    u"merge %1 manifest.json manifest.json"_qs, u"merge manifest.json %1 manifest.json"_qs,
    u"merge manifest.json manifest.json %1"_qs, u"merge %1 manifest.json manifest.json --save"_qs,
    u"merge manifest.json manifest.json %1 --save"_qs};
const QStringList edits {u"set %1 top key value --save --backup"_qs, u"set %1 top key value"_qs,
    u"set %1 top key value --print"_qs, u"update %1 top key value --save"_qs, u"unset %1 top key --save"_qs,
    u"add-node %1 b --description - --save"_qs, u"add-selection %1 b --save"_qs, u"delete %1 a --save --backup"_qs,
    u"move-node %1 top 0 --save"_qs, u"move-selection %1 top 0 --save"_qs,
    u"update-node %1 a --description - --save"_qs, u"update-selection %1 a --description - --save"_qs,
    u"sort %1 '' top --save"_qs, u"stamp %1 --module M --save --backup"_qs, u"stamp %1 --object O --dry-run"_qs,
    u"rewrite %1 top key value --add --save"_qs};
const QStringList descriptions {u"add-node manifest.json spare --save --description %1"_qs,
    u"add-selection manifest.json spare --save --description %1"_qs,
    u"update-node manifest.json spare --save --description %1"_qs,
    u"update-selection manifest.json spare --save --description %1"_qs};

// Creates the manifest and all files that the tables name.
void makeFiles(const Workplace& place)
{
    place.write(u"manifest.json"_qs, saveRuleManifest()).write(u"secret"_qs, {});
    chmod(qPrintable(place.path(u"secret"_qs)), 0);
    makePipe(place.path(u"pipe"_qs));
    makeSocket(place.path(u"socket"_qs));
    makeLink(u"/dev/zero"_qs, place.path(u"zero"_qs));
    makeLink(u"none"_qs, place.path(u"nowhere"_qs));
    makeLink(u"itself"_qs, place.path(u"itself"_qs));
    QDir(place.path()).mkdir(u"void"_qs);
    QDir(place.path()).mkdir(u"loop"_qs);
    makeLink(place.path(u"loop"_qs), place.path(u"loop/in"_qs));
    QDir(place.path()).mkpath(u"pipes/in"_qs);
    makePipe(place.path(u"pipes/in/Folder.menu.json"_qs));
}

} // namespace

class tst_Operands : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void fileThatCannotBeReadIsTrouble_data();
    void fileThatCannotBeReadIsTrouble();
    void contentThatIsNotManifestIsTrouble_data();
    void contentThatIsNotManifestIsTrouble();
    void contentThatIsNotDescriptionIsTrouble_data();
    void contentThatIsNotDescriptionIsTrouble();
    void manifestThatCannotBeReadToItsEndIsNoManifest_data();
    void manifestThatCannotBeReadToItsEndIsNoManifest();
    void editsSaveToNoOpenFile_data();
    void editsSaveToNoOpenFile();
    void queriesTakePipes_data();
    void queriesTakePipes();
    void queriesTakeStandardInput_data();
    void queriesTakeStandardInput();
    void standardInputThatCannotBeReadIsTrouble();
    void namesThatBeginWithColonAreFiles();
};

void tst_Operands::fileThatCannotBeReadIsTrouble_data()
{
    const Table<QString, QString> row("commandLine", "complaint");
    const auto rows = [&](const char* name, const QString& file, const QString& problem, const QStringList& commands) {
        for (const QString& command : commands) {
            row(qPrintable(QString(QLatin1String(name) + u", "_qs + command)), command.arg(file), problem.arg(file));
        }
    };
    const QStringList filesOnly = queries + edits + descriptions;
    const QStringList all = filesOnly + comparisons;

    rows("missing", u"none.json"_qs, u"cannot read %1: No such file or directory"_qs, all);
    rows("below a file", u"manifest.json/none"_qs, u"cannot read %1: Not a directory"_qs, all);
    rows("unreadable", u"secret"_qs, u"cannot read %1: Permission denied"_qs, all);
    rows("folder", u"."_qs, u"cannot read %1: it is a folder"_qs,
        filesOnly + QStringList(u"merge manifest.json %1 manifest.json --save"_qs));
    rows("endless device", u"/dev/zero"_qs, u"cannot read %1: it is a device"_qs, all);
    rows("empty device", u"/dev/null"_qs, u"cannot read %1: it is a device"_qs, all);
    rows("link to a device", u"zero"_qs, u"cannot read %1: it is a device"_qs, all);
    rows("link that leads nowhere", u"nowhere"_qs, u"cannot read %1: No such file or directory"_qs, all);
    rows("link to itself", u"itself"_qs, u"cannot read %1: Too many levels of symbolic links"_qs, all);
    rows("socket", u"socket"_qs, u"cannot read %1: it is a socket"_qs, queries + comparisons + descriptions);
    rows("socket to edit", u"socket"_qs, u"cannot edit %1: it is a socket"_qs, edits);
    rows("pipe to edit", u"pipe"_qs, u"cannot edit %1: it is a pipe"_qs, edits);
    rows("standard input to edit", u"-"_qs, u"cannot read %1: No such file or directory"_qs, edits);
    rows("standard input to save to", u"-"_qs, u"cannot save to standard input: MINE has to be a file"_qs,
        {u"merge manifest.json %1 manifest.json --save"_qs});
    rows("folder without entries", u"void"_qs, u"cannot read %1: the folder holds no visible entry"_qs, comparisons);
    rows("folder that leads back", u"loop"_qs, u"cannot read %1/in: it leads back to a folder that contains it"_qs,
        comparisons);
    rows("folder with a pipe", u"pipes"_qs, u"cannot read %1/in/Folder.menu.json: it is a pipe"_qs, comparisons);
    rows("missing folder to check with", u"none"_qs, u"cannot read %1: there is no such folder"_qs,
        {u"check manifest.json --folder %1"_qs});
    rows("file to check with", u"manifest.json"_qs, u"cannot read %1: it is not a folder"_qs,
        {u"check manifest.json --folder %1"_qs});
}

void tst_Operands::fileThatCannotBeReadIsTrouble()
{
    QFETCH(QString, commandLine);
    QFETCH(QString, complaint);

    const Workplace place;
    makeFiles(place);
    const FileState state = stateOf(place.path(u"manifest.json"_qs));
    const QStringList entries = everythingIn(place.path());
    QCOMPARE(place.program().prepared(asOrdinaryUser).reading("{}").run(commandLine), misused(complaint));
    QCOMPARE(stateOf(place.path(u"manifest.json"_qs)), state);
    QCOMPARE(everythingIn(place.path()), entries);
}

void tst_Operands::contentThatIsNotManifestIsTrouble_data()
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
    row("nested too deeply", compact(chain(600, {})), u"too deeply nested document at byte 30209"_qs);
    row("arrays nested too deeply", QByteArray(1025, '[') + QByteArray(1025, ']'),
        u"too deeply nested document at byte 1025"_qs);
}

void tst_Operands::contentThatIsNotManifestIsTrouble()
{
    QFETCH(QByteArray, content);
    QFETCH(QString, problem);

    const Workplace place;
    place.write(u"manifest.json"_qs, saveRuleManifest());
    writeFile(place.path(u"other"_qs), content);
    const FileState state = stateOf(place.path(u"other"_qs));
    const QStringList others {u"list %1"_qs, u"show %1"_qs, u"instances %1"_qs, u"stamp %1 --module M --save"_qs,
        u"add-node %1 b --save"_qs, u"sort %1 '' x --dry-run"_qs};
    for (const QString& command : others + comparisons) {
        const QString commandLine = command.arg(u"other"_qs);
        const ProgramRun run = place.program().reading("{}").run(commandLine);
        QVERIFY2(run == misused(u"other is not a manifest: "_qs + problem), qPrintable(commandLine));
    }
    QCOMPARE(stateOf(place.path(u"other"_qs)), state);
    QCOMPARE(everythingIn(place.path()).size(), 2);
}

void tst_Operands::contentThatIsNotDescriptionIsTrouble_data()
{
    const Table<QByteArray> row("input");

    row("nothing", {});
    row("not JSON", "{");
    row("array", "[{}]");
    row("null", "null");
    row("text", "\"{}\"");
    row("two objects", "{}{}");
}

void tst_Operands::contentThatIsNotDescriptionIsTrouble()
{
    QFETCH(QByteArray, input);

    const LoneManifest file;
    for (const QString& command : descriptions) {
        QCOMPARE(file.program().reading(input).run(command.arg(u"-"_qs)), misused(u"- does not hold a JSON object"_qs));
        QCOMPARE(file.run(command.arg(u"manifest.json"_qs)), misused(u"manifest.json does not hold a JSON object"_qs));
    }
    QVERIFY(file.isUntouched());
}

void tst_Operands::manifestThatCannotBeReadToItsEndIsNoManifest_data()
{
    const Table<QString, int> row("commandLine", "number");

    row("query, nothing", u"count %1"_qs, 1);
    row("query, only the beginning", u"count %1"_qs, 2);
    row("edit, nothing", u"set %1 top key value --save"_qs, 1);
    row("edit, only the beginning", u"set %1 top key value --save"_qs, 2);
}

void tst_Operands::manifestThatCannotBeReadToItsEndIsNoManifest()
{
    QFETCH(QString, commandLine);
    QFETCH(int, number);

    // The first block already contains a complete manifest, but only the end of the file would prove that it is
    // complete.
    const LoneManifest file(compact(saveRuleManifest()) + QByteArray(60000, ' '));
    QCOMPARE(Program()
                 .withFaultyCalls(u"read %1 %2 99 %3"_qs.arg(EIO).arg(number).arg(file.path()))
                 .run(commandLine.arg(file.path())),
        misused(u"cannot read %1: Input/output error"_qs.arg(file.path())));
    QVERIFY(file.isUntouched());
}

void tst_Operands::editsSaveToNoOpenFile_data()
{
    const Table<QString> row("path");

    row("standard input", u"/dev/stdin"_qs);
    row("descriptor", u"/dev/fd/7"_qs);
    row("descriptor of a process", u"/proc/self/fd/7"_qs);
    row("link to a descriptor", u"link"_qs);
}

void tst_Operands::editsSaveToNoOpenFile()
{
    QFETCH(QString, path);

    const LoneManifest file;
    const QTemporaryDir other;
    makeLink(u"/dev/fd/7"_qs, other.filePath(u"link"_qs));
    const Program shell = Program(u"sh"_qs).in(other.path());
    const QString edit =
        u"'%1' set %2 top key value %3 < '%4' 7< '%4'"_qs.arg(QStringLiteral(PROGRAM), path, u"%1"_qs, file.path());
    QCOMPARE(shell.run({u"-c"_qs, edit.arg(u"--save"_qs)}),
        misused(u"cannot save to %1: it leads to an open file; give the path of the file itself"_qs.arg(path)));
    QVERIFY(file.isUntouched());
    // Reading from it is allowed.
    QCOMPARE(shell.run({u"-c"_qs, edit.arg(QString())}), done(u"changed; not saved"_qs));
}

void tst_Operands::queriesTakePipes_data()
{
    const Table<QString, QByteArray> row("commandLine", "output");

    row("show", u"show pipe"_qs,
        "selection top\nnode      a\n  selection a/first\n  node      second\nnode      spare\n");
    row("list", u"list pipe a"_qs, "a/first\nsecond\n");
    row("count", u"count pipe"_qs, "3\n");
    row("get", u"get pipe a/first instanceName"_qs, "a/first\n");
    row("exists", u"exists pipe a/first"_qs, {});
    row("instances", u"instances pipe"_qs, "top\na/first\n");
}

void tst_Operands::queriesTakePipes()
{
    QFETCH(QString, commandLine);
    QFETCH(QByteArray, output);

    const Workplace place;
    const QString pipe = place.path(u"pipe"_qs);
    makePipe(pipe);
    // Written in two pieces.
    const Process writer([&] {
        const int file = open(qPrintable(pipe), O_WRONLY);
        const QByteArray manifest = compact(saveRuleManifest());
        const bool written = write(file, manifest.constData(), 10) == 10
            && write(file, manifest.constData() + 10, static_cast<size_t>(manifest.size() - 10)) > 0;
        close(file);
        _exit(written ? 0 : 1);
    });
    QCOMPARE(place.run(commandLine), printed(output));
}

void tst_Operands::queriesTakeStandardInput_data()
{
    const Table<QString> row("file");

    row("-", u"-"_qs);
    row("/dev/stdin", u"/dev/stdin"_qs);
    row("/proc/self/fd/0", u"/proc/self/fd/0"_qs);
}

void tst_Operands::queriesTakeStandardInput()
{
    QFETCH(QString, file);

    const Program program = Program().reading(compact(saveRuleManifest()));
    QCOMPARE(program.run(u"list %1 a"_qs.arg(file)), done(u"a/first\nsecond"_qs));
    QCOMPARE(program.run(u"instances "_qs + file), done(u"top\na/first"_qs));
    QCOMPARE(Program().run(u"show "_qs + file), misused(file + u" is not a manifest: illegal value at byte 0"_qs));

    // Standard input is read from its current position.
    const ManifestFile manifest("junk" + compact(saveRuleManifest()));
    QCOMPARE(Program(u"/bin/sh"_qs)
                 .run({u"-c"_qs,
                     u"exec < '%1'; dd bs=4 count=1 status=none of=/dev/null; exec '%2' count -"_qs.arg(
                         manifest.path(), QStringLiteral(PROGRAM))}),
        done(u"3"_qs));
}

void tst_Operands::standardInputThatCannotBeReadIsTrouble()
{
    const LoneManifest file;
    const Program closed = file.program().prepared([] { close(STDIN_FILENO); });
    const ProgramRun trouble = misused(u"cannot read -: standard input is closed for reading"_qs);
    QCOMPARE(closed.run(u"show -"_qs), trouble);
    QCOMPARE(closed.run(u"add-node manifest.json new --description -"_qs), trouble);
    QCOMPARE(closed.run(u"count manifest.json"_qs), done(u"3"_qs));
    QCOMPARE(Program(u"/bin/sh"_qs).run({u"-c"_qs, u"exec '%1' show - </dev/zero"_qs.arg(QStringLiteral(PROGRAM))}),
        misused(u"cannot read -: it is a device"_qs));
}

void tst_Operands::namesThatBeginWithColonAreFiles()
{
    const LoneManifest file;
    const Program program = file.program();
    writeFile(file.folder() + u"/:m.json"_qs, compact(saveRuleManifest()));
    QCOMPARE(program.run(u"set :m.json top key value --save"_qs), done(u"changed; saved"_qs));
    QCOMPARE(program.run(u"set --save :m.json --json -- top hide true"_qs), done(u"changed; saved"_qs));
    QCOMPARE(program.run(u"get :m.json top key"_qs), done(u"value"_qs));
    QCOMPARE(program.run(u"get :m.json top hide"_qs), done(u"true"_qs));
    writeFile(file.folder() + u"/:d/page.config.json"_qs, "{}");
    QCOMPARE(program.run(u"create-folder --scheme=process --scheme configuration :d"_qs).status, 0);
    QCOMPARE(program.run(u"count :d/configuration.manifest.json"_qs), done(u"1"_qs));
    QCOMPARE(program.run(u"help :m"_qs), misused(u"unknown command ':m'; see 'configuration-manifest --help'"_qs));
}

MANIFEST_TEST_MAIN(tst_Operands)

#include "tst_operands.moc"
