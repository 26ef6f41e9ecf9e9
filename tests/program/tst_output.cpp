#include "ProgramManifests.h"
#include "Table.h"
#include "TestMain.h"
#include "Workplace.h"

#include <QtCore/QJsonDocument>

#include <unistd.h>

namespace {

// An escape sequence, a line feed, DEL, a C1 control and a change of the direction of text.
QString hostile()
{
    return u"\x1b[31m\n\x7f\u009b\u202e"_qs;
}

// A manifest with that text in names, keys and values.
QByteArray hostileManifest()
{
    QJsonObject page = selection(hostile() + u'1');
    page.insert(u"labelTextId"_qs, hostile());
    page.insert(hostile(), hostile());
    const QJsonObject broken = {{u"selectionType"_qs, u"Selection"_qs}, {hostile(), hostile()}};
    const QJsonObject odd = with(with(node(hostile() + u'3'), hostile(), hostile()), u"substructure"_qs, 7);
    return compact({page, node(hostile() + u'2', {page}), odd, broken, with(broken, u"instanceName"_qs, 1)});
}

// Standard output is a pipe that nobody reads from.
void withoutReader()
{
    int ends[2];
    if (pipe(ends) == 0) {
        close(ends[0]);
        dup2(ends[1], STDOUT_FILENO);
        close(ends[1]);
    }
}

void withClosedErrors()
{
    close(STDERR_FILENO);
}

// Creates the files that the commands in the tables use.
void fill(const Workplace& place)
{
    place.write(u"manifest.json"_qs, saveRuleManifest()).write(u"deep/manifest.json"_qs, chain(100, {}));
    place.write(u"base"_qs, saveRuleManifest()).write(u"new"_qs, {}).describe(u"folder/page.config.json"_qs);
    place.write(u"folder/configuration.manifest.json"_qs, {});
}

} // namespace

class tst_Output : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void showEscapesWhatTerminalWouldActOn_data();
    void showEscapesWhatTerminalWouldActOn();
    void showKeepsWhatTerminalShows();
    void pathsInComplaintsAreEscaped();
    void pathsInResultsAreEscaped();
    void nothingHostileIsPrinted_data();
    void nothingHostileIsPrinted();
    void jsonIsEscapedForTerminalsOnly_data();
    void jsonIsEscapedForTerminalsOnly();
    void coloursAreOnlyForTerminalsThatWantThem_data();
    void coloursAreOnlyForTerminalsThatWantThem();
    void terminalGetsNoControlSequencesButColours();
    void localeMakesNoDifference_data();
    void localeMakesNoDifference();
    void lostOutputIsFailure_data();
    void lostOutputIsFailure();
    void closedOutputIsFailureForEveryLength();
};

void tst_Output::showEscapesWhatTerminalWouldActOn_data()
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

void tst_Output::showEscapesWhatTerminalWouldActOn()
{
    QFETCH(QByteArray, json);
    QFETCH(QByteArray, shown);

    const LoneManifest file(
        "[{\"selectionType\":\"Selection\",\"instanceName\":\"<" + json + ">\",\"labelTextId\":\"(" + json + ")\"}]");
    const ProgramRun run = file.run(u"show manifest.json"_qs);
    QCOMPARE(run, printed("selection <" + shown + ">  [(" + shown + ")]\n"));
    QVERIFY(isHarmless(run.output));
}

void tst_Output::showKeepsWhatTerminalShows()
{
    const QString name = u"Grüße \\ ' \" \u00a0 Ελληνικά 日本語 \U0001f600 e\u0301"_qs;
    const LoneManifest file(compact({selection(name)}));
    QCOMPARE(file.run(u"show manifest.json"_qs), done(u"selection "_qs + name));
}

void tst_Output::pathsInComplaintsAreEscaped()
{
    const Workplace place;
    const Program program = place.program();
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

    writeFile(place.path(hostile), "{");
    QCOMPARE(
        program.run({u"show"_qs, hostile}), misused(shown + u" is not a manifest: unterminated object at byte 1"_qs));
}

void tst_Output::pathsInResultsAreEscaped()
{
    const Workplace place;
    place.describe(u"a\x1b[31m\nb/page.config.json"_qs);
    QCOMPARE(place.program().run({u"create-folder"_qs, u"a\x1b[31m\nb"_qs}),
        done(u"a\\u{1b}[31m\\nb/configuration.manifest.json\n1 selection, 0 nodes"_qs));
}

void tst_Output::nothingHostileIsPrinted_data()
{
    const Table<QStringList, int> row("arguments", "status");

    const QString file = u"manifest.json"_qs;
    const QString page = hostile() + u'1';
    const QString parent = hostile() + u'2';
    const QString odd = hostile() + u'3';
    row("list", {u"list"_qs, file}, 0);
    row("list, node", {u"list"_qs, file, parent}, 0);
    row("list, no children", {u"list"_qs, file, odd}, 1);
    row("list, no element", {u"list"_qs, file, hostile()}, 1);
    row("count, no element", {u"count"_qs, file, hostile()}, 1);
    row("get, text", {u"get"_qs, file, page, u"labelTextId"_qs}, 0);
    row("get, hostile key", {u"get"_qs, file, page, hostile()}, 0);
    row("get, no key", {u"get"_qs, file, page, hostile() + u'4'}, 1);
    row("get, no element", {u"get"_qs, file, hostile()}, 1);
    row("set, no element", {u"set"_qs, file, hostile(), u"key"_qs, u"value"_qs}, 1);
    row("set, no JSON", {u"set"_qs, file, page, u"key"_qs, hostile(), u"--json"_qs}, 2);
    row("update, no key", {u"update"_qs, file, page, hostile() + u'4', u"value"_qs}, 1);
    row("add, no description", {u"add-node"_qs, file, u"b"_qs, u"--description"_qs, hostile()}, 2);
    row("add, no number", {u"add-node"_qs, file, u"b"_qs, u"--index"_qs, hostile()}, 2);
    row("move, no position", {u"move-node"_qs, file, odd, u"9"_qs}, 1);
    row("sort, no element", {u"sort"_qs, file, hostile(), u"x"_qs}, 1);
    row("instances", {u"instances"_qs, file}, 0);
    row("rewrite, no instance", {u"rewrite"_qs, file, hostile(), u"key"_qs, u"value"_qs}, 1);
    row("rewrite, no key", {u"rewrite"_qs, file, page, hostile() + u'4', u"value"_qs}, 1);
    row("rewrite, no key to add to", {u"rewrite"_qs, file, hostile(), hostile(), u"x"_qs, u"--add"_qs}, 1);
    row("no manifest", {u"list"_qs, hostile()}, 2);
}

void tst_Output::nothingHostileIsPrinted()
{
    QFETCH(QStringList, arguments);
    QFETCH(int, status);

    const LoneManifest file(hostileManifest());
    const ProgramRun run = file.run(arguments);
    QCOMPARE(run.status, status);
    QVERIFY2(isHarmless(run.output), run.output.constData());
    QVERIFY2(isHarmless(run.errors), run.errors.constData());
    QVERIFY(status == 0 ? !run.output.isEmpty() : run.output.isEmpty());
    const QList<QByteArray> lines = run.errors.split('\n');
    for (int index = 0; index < lines.size() - 1; ++index) {
        const bool isComplaint = status != 0 && index == lines.size() - 2;
        QVERIFY2(
            lines.at(index).startsWith(isComplaint ? "configuration-manifest: " : "warning: "), run.errors.constData());
    }
    QCOMPARE(lines.constLast(), QByteArray());
}

void tst_Output::jsonIsEscapedForTerminalsOnly_data()
{
    const Table<QStringList> row("arguments");

    const QString file = u"manifest.json"_qs;
    const QString page = hostile() + u'1';
    row("element", {u"get"_qs, file, page});
    row("array", {u"get"_qs, file, hostile() + u'2', u"substructure"_qs});
    row("print", {u"stamp"_qs, file, u"--module"_qs, u"M"_qs, u"--print"_qs});
}

void tst_Output::jsonIsEscapedForTerminalsOnly()
{
    QFETCH(QStringList, arguments);

    const LoneManifest file(hostileManifest());
    const ProgramRun plain = file.run(arguments);
    const ProgramRun shown = file.program().onTerminal().run(arguments);
    QCOMPARE(plain.status, 0);
    QVERIFY(plain.output.contains(u"\u009b"_qs.toUtf8()));
    QCOMPARE(shown.status, 0);
    QVERIFY2(isHarmless(shown.output), shown.output.constData());
    QVERIFY(!QJsonDocument::fromJson(plain.output).isNull());
    QCOMPARE(QJsonDocument::fromJson(shown.output), QJsonDocument::fromJson(plain.output));
}

void tst_Output::coloursAreOnlyForTerminalsThatWantThem_data()
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

void tst_Output::coloursAreOnlyForTerminalsThatWantThem()
{
    QFETCH(Program, program);
    QFETCH(QByteArray, tree);

    const LoneManifest file(compact({
        with(selection(u"a"_qs), u"labelTextId"_qs, u"TXT"_qs),
        node(u"b"_qs),
        QJsonObject {{u"instanceName"_qs, u"c"_qs}},
    }));
    QCOMPARE(program.in(file.folder()).run(u"show manifest.json"_qs), printed(tree));
}

void tst_Output::terminalGetsNoControlSequencesButColours()
{
    const LoneManifest file("[{\"selectionType\":\"Selection\",\"instanceName\":\"\\u001b[5m\xc2\x9b\x7f\\u202e\","
                            "\"labelTextId\":\"\\n\\r\\u0008\"}]");
    QCOMPARE(file.program().onTerminal().run(u"show manifest.json"_qs),
        done(u"\x1b[32mselection\x1b[0m \\u{1b}[5m\\u{9b}\\u{7f}\\u{202e}\x1b[2m  [\\n\\r\\u{8}]\x1b[0m"_qs));
}

void tst_Output::localeMakesNoDifference_data()
{
    const Table<QString> row("locale");

    row("C", u"C"_qs);
    row("POSIX", u"POSIX"_qs);
    row("none that there is", u"none_NONE.ISO-8859-1"_qs);
}

void tst_Output::localeMakesNoDifference()
{
    QFETCH(QString, locale);

    const Workplace place;
    copyFolder(QStringLiteral(EXAMPLES "/device"), place.path());
    const QString path = u"configuration/configuration.manifest.json"_qs;
    const Program here = place.program();
    const Program there = Program(here).with(u"LC_ALL"_qs, locale).with(u"LANG"_qs, locale);
    const auto runBoth = [&](const QString& commandLine) {
        const ProgramRun run = here.run(commandLine);
        QCOMPARE(run.status, 0);
        QCOMPARE(there.run(commandLine), run);
    };

    QCOMPARE(here.run(u"create ."_qs).status, 0);
    const QByteArray manifest = place.content(path);
    QVERIFY(manifest.contains("Ελληνικά"));
    runBoth(u"create ."_qs);
    QCOMPARE(there.run(u"create ."_qs).status, 0);
    QCOMPARE(place.content(path), manifest);

    runBoth(u"show "_qs + path);
    runBoth(u"instances "_qs + path);
    runBoth(u"get %1 Überwachung/Lüfter labelTextId"_qs.arg(path));
    runBoth(u"set %1 display/languages/日本語 labelTextId 日本語 --dry-run"_qs.arg(path));
    runBoth(u"create-folder configuration/Überwachung --dry-run"_qs);
}

void tst_Output::lostOutputIsFailure_data()
{
    const Table<QString, QString> row("commandLine", "saved");

    row("show", u"show manifest.json"_qs, {});
    row("show, more than a buffer", u"show deep/manifest.json"_qs, {});
    row("list", u"list manifest.json"_qs, {});
    row("get", u"get manifest.json a"_qs, {});
    row("instances", u"instances manifest.json"_qs, {});
    row("check", u"check manifest.json"_qs, {});
    row("diff", u"diff base new"_qs, {});
    row("explain", u"explain folder"_qs, {});
    row("merge", u"merge base manifest.json new --force"_qs, {});
    row("saved merge of nothing new", u"merge base manifest.json base --save --force"_qs, {});
    row("set", u"set manifest.json a key value"_qs, {});
    row("set, dry run", u"set manifest.json a key value --dry-run"_qs, {});
    row("set, print", u"set manifest.json a key value --print"_qs, {});
    row("create-folder, dry run", u"create-folder folder --dry-run"_qs, {});
    row("help", u"--help"_qs, {});
    row("help of a command", u"show --help"_qs, {});
    row("version", u"--version"_qs, {});
    row("saved edit", u"set manifest.json top key value --save"_qs, u"manifest.json"_qs);
    row("saved rewrite", u"rewrite manifest.json top key value --add --save"_qs, u"manifest.json"_qs);
    row("saved merge", u"merge base manifest.json new --save --force"_qs, u"manifest.json"_qs);
    row("saved merge, its base", u"merge base manifest.json new --save --force --keep-base"_qs,
        u"manifest.json.base"_qs);
    row("saved creation", u"create-folder folder"_qs, u"folder/configuration.manifest.json"_qs);
}

void tst_Output::lostOutputIsFailure()
{
    QFETCH(QString, commandLine);
    QFETCH(QString, saved);

    // Messages and saved files have to be the same as those of a run whose output is not lost.
    const Workplace other;
    fill(other);
    const QByteArray before = other.content(saved);
    const ProgramRun intact = other.run(commandLine);
    QVERIFY(!intact.output.isEmpty());
    QVERIFY(saved.isEmpty() || other.content(saved) != before);
    for (const Preparation output : {withFullOutput, withClosedOutput, withoutReader}) {
        const Workplace place;
        fill(place);
        const ProgramRun run = place.program().prepared(output).run(commandLine);
        if (saved.isEmpty()) {
            QCOMPARE(run, failed(u"cannot write the results"_qs, intact.errors));
        } else {
            QCOMPARE(
                run, (ProgramRun {3, {}, "configuration-manifest: saved, but the results could not be printed\n"}));
            QCOMPARE(place.content(saved), other.content(saved));
        }
    }
}

void tst_Output::closedOutputIsFailureForEveryLength()
{
    QJsonObject texts = selection(u"main"_qs);
    constexpr int longest = 17;
    for (int length = 0; length <= longest; ++length) {
        texts.insert(u"key%1"_qs.arg(length), QString(length, u'x'));
    }
    const LoneManifest file(compact({texts}));
    const Program program = file.program();
    for (int length = 0; length <= longest; ++length) {
        const QString query = u"get manifest.json main key%1"_qs.arg(length);
        QCOMPARE(Program(program).prepared(withClosedOutput).run(query), failed(u"cannot write the results"_qs));
    }
    QCOMPARE(Program(program).prepared(withClosedErrors).run(u"get manifest.json main key3"_qs), done(u"xxx"_qs));
    QCOMPARE(Program(program).prepared(withClosedErrors).run(u"get manifest.json none"_qs).status, 1);
}

MANIFEST_TEST_MAIN(tst_Output)

#include "tst_output.moc"
