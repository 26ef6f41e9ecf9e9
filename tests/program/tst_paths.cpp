#include "ProgramRun.h"
#include "Table.h"
#include "TestMain.h"

#include <QtCore/QJsonDocument>
#include <QtCore/QRegularExpression>

namespace {

// Two elements that answer to one name, one without any, and one whose name no path can hold.
QByteArray oddManifest()
{
    const QJsonArray below {selection(u"net/port"_qs), with(selection(u"port"_qs), u"labelTextId"_qs, u"TXT"_qs)};
    return compact({
        with(selection(u"main"_qs), u"hide"_qs, true),
        node(u"net"_qs, below),
        node(u"net"_qs, {selection(u"lost"_qs)}),
        with(node(u"a/b"_qs, {selection(u"below"_qs)}), u"labelTextId"_qs, u"TXT_AB"_qs),
        QJsonObject {{u"selectionType"_qs, u"Selection"_qs}},
        7,
    });
}

QJsonArray jsonOf(const ProgramRun& run)
{
    return QJsonDocument::fromJson(run.output).array();
}

QJsonObject shown(const char* kind, const QString& name, const QJsonValue& path, int position,
    const QString& label = QString(), bool hidden = false)
{
    return {{u"kind"_qs, QString::fromUtf8(kind)}, {u"name"_qs, name}, {u"path"_qs, path}, {u"position"_qs, position},
        {u"label"_qs, label}, {u"hidden"_qs, hidden}};
}

} // namespace

class tst_Paths : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void printedPathsAreWhatOtherCommandsTake_data();
    void printedPathsAreWhatOtherCommandsTake();
    void linesArePrintedAsAskedFor_data();
    void linesArePrintedAsAskedFor();
    void jsonHoldsWhatIsKnown_data();
    void jsonHoldsWhatIsKnown();
    void jsonOfATreeHoldsItsChildren();
    void pathsThatCannotBePrintedAreMarked();
    void showOfWhatIsNotThereFails_data();
    void showOfWhatIsNotThereFails();
    void existsAnswersByItsStatus_data();
    void existsAnswersByItsStatus();
};

void tst_Paths::printedPathsAreWhatOtherCommandsTake_data()
{
    const Table<QString, int, int> row("command", "column", "elements");

    row("show", u"show"_qs, 2, 74);
    row("list", u"list"_qs, 1, 12);
    row("instances", u"instances"_qs, 1, 49);
}

void tst_Paths::printedPathsAreWhatOtherCommandsTake()
{
    QFETCH(QString, command);
    QFETCH(int, column);
    QFETCH(int, elements);

    const QTemporaryDir directory;
    copyFolder(QStringLiteral(EXAMPLES "/device"), directory.path());
    const Program program = Program().in(directory.filePath(u"configuration"_qs));
    QCOMPARE(program.run(u"create-folder ."_qs).status, 0);
    const QString manifest = u"configuration.manifest.json"_qs;
    const ProgramRun run = program.run(command + u' ' + manifest + u" --paths"_qs);
    QCOMPARE(run.errors, QByteArray());
    const QStringList lines = QString::fromUtf8(run.output).split(u'\n', Qt::SkipEmptyParts);
    QCOMPARE(lines.size(), elements);
    int unreachable = 0;
    for (const QString& line : lines) {
        const QStringList columns = line.split(u'\t');
        const QString& path = columns.at(column);
        if (path == u"unreachable"_qs) {
            QCOMPARE(columns.size(), column + 2);
            ++unreachable;
            continue;
        }
        QCOMPARE(columns.size(), column + 1);
        const ProgramRun name = program.run({u"get"_qs, manifest, path, u"instanceName"_qs});
        QCOMPARE(name.status, 0);
        // The line begins with the name, behind the kind where that is shown.
        static const QRegularExpression kind(u"^ *(selection|node     ) "_qs);
        const QString text = columns.at(0).section(u"  ["_qs, 0, 0);
        const QString plain = command == u"show"_qs ? QString(text).remove(kind) : columns.at(0);
        QCOMPARE(plain, QString::fromUtf8(name.output).chopped(1));
    }
    // Two files and two folders are named alike.
    QVERIFY(unreachable > 0);
}

void tst_Paths::linesArePrintedAsAskedFor_data()
{
    const Table<QString, QString, QByteArray> row("commandLine", "lines", "messages");

    row("whole tree", u"show manifest.json"_qs,
        u"selection main  HIDDEN\n"
        "node      net\n"
        "  selection net/port\n"
        "  selection port  [TXT]\n"
        "node      net\n"
        "  selection lost\n"
        "node      a/b  [TXT_AB]\n"
        "  selection below\n"
        "selection \n"
        "unknown   "_qs,
        {});
    row("paths and positions", u"show --paths manifest.json"_qs,
        u"selection main  HIDDEN\t0\tmain\n"
        "node      net\t1\tnet\n"
        "  selection net/port\t0\tnet/port\n"
        "  selection port  [TXT]\t1\tunreachable\tposition 1 below 'net'\n"
        "node      net\t2\tunreachable\tposition 2 of the top level\n"
        "  selection lost\t0\tunreachable\tposition 0 below position 2 of the top level\n"
        "node      a/b  [TXT_AB]\t3\tunreachable\tposition 3 of the top level\n"
        "  selection below\t0\tunreachable\tposition 0 below position 3 of the top level\n"
        "selection \t4\tunreachable\tposition 4 of the top level\n"
        "unknown   \t5\tunreachable\tposition 5 of the top level"_qs,
        {});
    row("sub-tree", u"show manifest.json net"_qs, u"node      net\n  selection net/port\n  selection port  [TXT]"_qs,
        {});
    row("sub-tree, paths", u"show manifest.json /net/ --paths"_qs,
        u"node      net\t1\tnet\n"
        "  selection net/port\t0\tnet/port\n"
        "  selection port  [TXT]\t1\tunreachable\tposition 1 below 'net'"_qs,
        {});
    row("one element", u"show manifest.json net/port --paths"_qs, u"selection net/port\t0\tnet/port"_qs, {});
    row("empty path", u"show manifest.json '' --depth 1"_qs,
        u"selection main  HIDDEN\n"
        "node      net  (2 below)\n"
        "node      net  (1 below)\n"
        "node      a/b  [TXT_AB]  (1 below)\n"
        "selection \n"
        "unknown   "_qs,
        {});
    row("sub-tree, one level", u"show manifest.json net --depth=1"_qs, u"node      net  (2 below)"_qs, {});
    row("sub-tree, all levels", u"show manifest.json net --depth 2"_qs,
        u"node      net\n  selection net/port\n  selection port  [TXT]"_qs, {});
    row("list", u"list manifest.json --paths"_qs,
        u"main\tmain\n"
        "net\tnet\n"
        "net\tunreachable\tposition 2 of the top level\n"
        "a/b\tunreachable\tposition 3 of the top level\n"
        "\tunreachable\tposition 4 of the top level\n"
        "\tunreachable\tposition 5 of the top level"_qs,
        {});
    row("list, node", u"list manifest.json net --paths"_qs,
        u"net/port\tnet/port\nport\tunreachable\tposition 1 below 'net'"_qs, {});
    row("instances", u"instances manifest.json --paths"_qs,
        u"main\tmain\n"
        "net/port\tnet/port\n"
        "port\tunreachable\tposition 1 below 'net'\n"
        "lost\tunreachable\tposition 0 below position 2 of the top level\n"
        "below\tunreachable\tposition 0 below position 3 of the top level\n"
        "\tunreachable\tposition 4 of the top level"_qs,
        "warning: Selection does not contain an instanceName: QJsonObject({\"selectionType\":\"Selection\"}) !\n");
}

void tst_Paths::linesArePrintedAsAskedFor()
{
    QFETCH(QString, commandLine);
    QFETCH(QString, lines);
    QFETCH(QByteArray, messages);

    const ManifestFile file(oddManifest());
    QCOMPARE(Program().in(file.folder()).run(commandLine), done(lines, messages));
}

void tst_Paths::jsonHoldsWhatIsKnown_data()
{
    const Table<QString, QJsonArray> row("commandLine", "elements");

    row("list", u"list manifest.json --json"_qs,
        {shown("selection", u"main"_qs, u"main"_qs, 0, {}, true), shown("node", u"net"_qs, u"net"_qs, 1),
            shown("node", u"net"_qs, QJsonValue::Null, 2), shown("node", u"a/b"_qs, QJsonValue::Null, 3, u"TXT_AB"_qs),
            shown("selection", {}, QJsonValue::Null, 4), shown("no object", {}, QJsonValue::Null, 5)});
    row("list, node", u"list manifest.json net --json"_qs,
        {shown("selection", u"net/port"_qs, u"net/port"_qs, 0),
            shown("selection", u"port"_qs, QJsonValue::Null, 1, u"TXT"_qs)});
    row("list, selection", u"list manifest.json net/port --json"_qs, {});
    row("instances", u"instances manifest.json --json"_qs,
        {shown("selection", u"main"_qs, u"main"_qs, 0, {}, true), shown("selection", u"net/port"_qs, u"net/port"_qs, 0),
            shown("selection", u"port"_qs, QJsonValue::Null, 1, u"TXT"_qs),
            shown("selection", u"lost"_qs, QJsonValue::Null, 0), shown("selection", u"below"_qs, QJsonValue::Null, 0),
            shown("selection", {}, QJsonValue::Null, 4)});
    row("show, one level", u"show manifest.json net --depth 1 --json"_qs, {shown("node", u"net"_qs, u"net"_qs, 1)});
}

void tst_Paths::jsonHoldsWhatIsKnown()
{
    QFETCH(QString, commandLine);
    QFETCH(QJsonArray, elements);

    const ManifestFile file(oddManifest());
    const ProgramRun run = Program().in(file.folder()).run(commandLine);
    QCOMPARE(run.status, 0);
    QCOMPARE(jsonOf(run), elements);
    QVERIFY(run.output.startsWith('['));
}

void tst_Paths::jsonOfATreeHoldsItsChildren()
{
    const ManifestFile file(oddManifest());
    const QJsonArray tree = jsonOf(Program().in(file.folder()).run(u"show manifest.json --json"_qs));
    QCOMPARE(tree.size(), 6);
    const QJsonArray none;
    QCOMPARE(
        tree.at(0).toObject(), with(shown("selection", u"main"_qs, u"main"_qs, 0, {}, true), u"children"_qs, none));
    QCOMPARE(tree.at(2).toObject(),
        with(shown("node", u"net"_qs, QJsonValue::Null, 2), u"children"_qs,
            QJsonArray {with(shown("selection", u"lost"_qs, QJsonValue::Null, 0), u"children"_qs, none)}));
}

void tst_Paths::pathsThatCannotBePrintedAreMarked()
{
    const QJsonArray below {selection(u"a/\\n"_qs), selection(u"a/\u200b"_qs)};
    const ManifestFile file(
        compact({selection(u"back\nslash"_qs), selection(u"back\\nslash"_qs), node(u"\x1b"_qs, below)}));
    const Program program = Program().in(file.folder());
    QCOMPARE(program.run(u"show manifest.json --paths"_qs),
        done(u"selection back\\nslash\t0\tunprintable\t'back\\nslash'\n"
             "selection back\\nslash\t1\tback\\nslash\n"
             "node      \\u{1b}\t2\tunprintable\t'\\u{1b}'\n"
             "  selection a/\\n\t0\tunprintable\t'\\u{1b}/\\n'\n"
             "  selection a/\\u{200b}\t1\tunprintable\t'\\u{1b}/\\u{200b}'"_qs));
    QCOMPARE(program.run(u"list manifest.json --paths"_qs),
        done(
            u"back\\nslash\tunprintable\t'back\\nslash'\nback\\nslash\tback\\nslash\n\\u{1b}\tunprintable\t'\\u{1b}'"_qs));
    QCOMPARE(jsonOf(program.run(u"list manifest.json --json"_qs)).at(0).toObject().value(u"path"_qs),
        QJsonValue(u"back\nslash"_qs));
}

void tst_Paths::showOfWhatIsNotThereFails_data()
{
    addProgramFailureColumns();
    addProgramFailure("no element", u"show manifest.json none"_qs, failed(u"there is no element 'none'"_qs));
    addProgramFailure(
        "below a node", u"show manifest.json a/none/x --json"_qs, failed(u"there is no element 'a/none'"_qs));
    addProgramFailure("no depth", u"show manifest.json --depth 0"_qs, misused(u"--depth takes 1 or more"_qs));
    addProgramFailure(
        "depth is a word", u"show manifest.json --depth all"_qs, misused(u"'all' is not a whole number"_qs));
}

void tst_Paths::showOfWhatIsNotThereFails()
{
    checkProgramFailure();
}

void tst_Paths::existsAnswersByItsStatus_data()
{
    const Table<QString, ProgramRun> row("path", "run");

    const ProgramRun yes {0, {}, {}};
    const ProgramRun no {1, {}, {}};
    row("selection", u"top"_qs, yes);
    row("node", u"a"_qs, yes);
    row("below a node", u"a/first"_qs, yes);
    row("empty names are skipped", u"/a//second/"_qs, yes);
    row("none", u"none"_qs, no);
    row("in capitals", u"TOP"_qs, no);
    row("below a selection", u"top/x"_qs, no);
    row("whole name of a selection", u"a/a/first"_qs, no);
    row("empty", u"''"_qs, misused(u"PATH is empty"_qs));
    row("no name", u"//"_qs, misused(u"PATH is empty"_qs));
}

void tst_Paths::existsAnswersByItsStatus()
{
    QFETCH(QString, path);
    QFETCH(ProgramRun, run);

    const ManifestFile file(compact(saveRuleManifest()));
    QCOMPARE(Program().in(file.folder()).run(u"exists manifest.json "_qs + path), run);
}

MANIFEST_TEST_MAIN(tst_Paths)

#include "tst_paths.moc"
