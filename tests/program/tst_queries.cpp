#include "ProgramManifests.h"
#include "Table.h"
#include "TestMain.h"
#include "Workplace.h"

#include <QtCore/QJsonDocument>
#include <QtCore/QRegularExpression>

namespace {

// Two elements with the same name, one without a name, and one with a name that cannot be in a path.
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

// The expected output of `show`, made without the library.
QString treeOf(const QJsonArray& elements, const QString& indentation = {})
{
    QString tree;
    for (const QJsonValue& element : elements) {
        const bool isSelection = element[u"selectionType"_qs] == u"Selection"_qs;
        const QString label = element[u"labelTextId"_qs].toString();
        tree += indentation + (isSelection ? u"selection "_qs : u"node      "_qs)
            + element[u"instanceName"_qs].toString() + (label.isEmpty() ? QString() : QString(u"  ["_qs + label + u']'))
            + (element[u"hide"_qs].toBool() ? u"  HIDDEN\n"_qs : u"\n"_qs)
            + treeOf(element[u"substructure"_qs].toArray(), indentation + u"  "_qs);
    }
    return tree;
}

// The instance names of all selections, found without the library.
QStringList selectionsOf(const QJsonArray& elements)
{
    QStringList names;
    for (const QJsonValue& element : elements) {
        if (element[u"selectionType"_qs] == u"Selection"_qs) {
            names.append(element[u"instanceName"_qs].toString());
        }
        names += selectionsOf(element[u"substructure"_qs].toArray());
    }
    return names;
}

} // namespace

class tst_Queries : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void queryPrintsItsResult_data();
    void queryPrintsItsResult();
    void queryThatLeadsNowhereFails_data();
    void queryThatLeadsNowhereFails();
    void listOfSelectionSaysThatItHasNoChildren();
    void getPrintsElementAsJson();
    void getPrintsEveryKindOfValue_data();
    void getPrintsEveryKindOfValue();
    void showPrintsTree();
    void queryPrintsEveryElementOfExamples_data();
    void queryPrintsEveryElementOfExamples();
    void showPrintsWhatCanBeLoaded_data();
    void showPrintsWhatCanBeLoaded();
    void showPrintsDeepManifests();
    void instancesPrintsWholeNamesInOrderOfManifest();
    void instancesSkipsSelectionsWithoutName();
    void printedPathsAreWhatOtherCommandsTake_data();
    void printedPathsAreWhatOtherCommandsTake();
    void linesArePrintedAsAskedFor_data();
    void linesArePrintedAsAskedFor();
    void jsonHoldsWhatIsKnown_data();
    void jsonHoldsWhatIsKnown();
    void jsonOfTreeHoldsItsChildren();
    void pathsThatCannotBePrintedAreMarked();
};

void tst_Queries::queryPrintsItsResult_data()
{
    const Table<QString, QByteArray> row("commandLine", "output");

    row("list", u"list manifest.json"_qs, "top\na\nspare\n");
    row("list, empty path", u"list manifest.json ''"_qs, "top\na\nspare\n");
    row("list, node", u"list manifest.json a"_qs, "a/first\nsecond\n");
    row("list, empty names are skipped", u"list manifest.json //a/"_qs, "a/first\nsecond\n");
    row("list, node without children", u"list manifest.json spare"_qs, {});
    row("count", u"count manifest.json"_qs, "3\n");
    row("count, node", u"count manifest.json a"_qs, "2\n");
    row("count, selection", u"count manifest.json top"_qs, "0\n");
    row("get, text", u"get manifest.json a/first instanceName"_qs, "a/first\n");
    row("get, JSON text", u"get manifest.json a/first instanceName --json"_qs, "\"a/first\"\n");
    row("get, empty names are skipped", u"get manifest.json /a//second/ instanceName"_qs, "second\n");
    row("get, children", u"get manifest.json a substructure"_qs,
        compact({selection(u"a/first"_qs), node(u"second"_qs)}) + '\n');
    row("get, module name", u"get --module M manifest.json top moduleName"_qs, "M\n");
    row("get, object name", u"get manifest.json a/first objectName --object O"_qs, "O\n");
    row("exists, selection", u"exists manifest.json top"_qs, {});
    row("exists, node", u"exists manifest.json a"_qs, {});
    row("exists, below a node", u"exists manifest.json a/first"_qs, {});
    row("exists, empty names are skipped", u"exists manifest.json /a//second/"_qs, {});
    row("instances", u"instances manifest.json"_qs, "top\na/first\n");
}

void tst_Queries::queryPrintsItsResult()
{
    QFETCH(QString, commandLine);
    QFETCH(QByteArray, output);

    const LoneManifest file;
    QCOMPARE(file.run(commandLine), printed(output));
    QVERIFY(file.isUntouched());
}

void tst_Queries::queryThatLeadsNowhereFails_data()
{
    const Table<QString, ProgramRun> row("commandLine", "run");
    const auto noElement = [](const QString& path, const QByteArray& messages = {}) {
        return failed(u"there is no element '%1'"_qs.arg(path), messages);
    };
    const auto notFound = [](const char* name) -> QByteArray {
        return QByteArray("warning: Cannot find element for path (\"") + name + "\")\n";
    };
    const auto noNode = [](const char* path) -> QByteArray {
        return QByteArray("warning: Error on getting node element for path \"") + path + "\" !\n";
    };
    const ProgramRun no {1, {}, {}};

    row("list", u"list manifest.json none"_qs, noElement(u"none"_qs, notFound("none") + noNode("none")));
    row("list, below a node", u"list manifest.json a/none"_qs,
        noElement(u"a/none"_qs, notFound("none") + noNode("a/none")));
    row("list, inner part", u"list manifest.json a/none/x/y"_qs, noElement(u"a/none"_qs, noNode("a/none/x/y")));
    row("list, empty names are skipped", u"list manifest.json a//none"_qs,
        noElement(u"a/none"_qs, notFound("none") + noNode("a//none")));
    row("count", u"count manifest.json none"_qs, noElement(u"none"_qs, notFound("none") + noNode("none")));
    row("get", u"get manifest.json none"_qs, noElement(u"none"_qs, notFound("none")));
    row("get, first part", u"get manifest.json none/x key"_qs, noElement(u"none"_qs));
    row("get, inner part", u"get manifest.json a/none/x"_qs, noElement(u"a/none"_qs));
    row("get, empty names are skipped", u"get manifest.json /a//none/"_qs, noElement(u"a/none"_qs, notFound("none")));
    row("get, below a selection", u"get manifest.json top/x"_qs, noElement(u"top/x"_qs, notFound("x")));
    row("get, whole name of a selection", u"get manifest.json a/a/first"_qs, noElement(u"a/a"_qs));
    row("get, key", u"get manifest.json a/second none"_qs, failed(u"'a/second' has no key 'none'"_qs));
    row("get, key in capitals", u"get manifest.json top INSTANCENAME"_qs,
        failed(u"'top' has no key 'INSTANCENAME'"_qs));
    row("get, empty key", u"get manifest.json top ''"_qs, failed(u"'top' has no key ''"_qs));
    row("show", u"show manifest.json none"_qs, noElement(u"none"_qs));
    row("show, below a node", u"show manifest.json a/none/x --json"_qs, noElement(u"a/none"_qs));
    row("exists", u"exists manifest.json none"_qs, no);
    row("exists, in capitals", u"exists manifest.json TOP"_qs, no);
    row("exists, below a selection", u"exists manifest.json top/x"_qs, no);
    row("exists, whole name of a selection", u"exists manifest.json a/a/first"_qs, no);
}

void tst_Queries::queryThatLeadsNowhereFails()
{
    QFETCH(QString, commandLine);
    QFETCH(ProgramRun, run);

    const LoneManifest file;
    QCOMPARE(file.run(commandLine), run);
    QVERIFY(file.isUntouched());
}

void tst_Queries::listOfSelectionSaysThatItHasNoChildren()
{
    const LoneManifest file;
    QCOMPARE(file.run(u"list manifest.json a/first"_qs),
        (ProgramRun {0, QByteArray(), "configuration-manifest: 'a/first' is a selection and has no children\n"}));
}

void tst_Queries::getPrintsElementAsJson()
{
    const QJsonObject element = with(node(u"a"_qs, {selection(u"a/first"_qs)}), u"key"_qs, everyKind());
    const LoneManifest file(compact({selection(u"top"_qs), element}));
    QCOMPARE(file.run(u"get manifest.json a"_qs), printed(QJsonDocument(element).toJson(QJsonDocument::Indented)));
}

void tst_Queries::getPrintsEveryKindOfValue_data()
{
    const Table<QJsonValue> row("value");

    const QJsonArray values = everyKind();
    for (const QJsonValue& value : values) {
        row(compact({value}).constData(), value);
    }
}

void tst_Queries::getPrintsEveryKindOfValue()
{
    QFETCH(QJsonValue, value);

    const LoneManifest file(compact({with(selection(u"top"_qs), u"key"_qs, value)}));
    const QByteArray json = compact({value}).chopped(1).mid(1) + '\n';
    QCOMPARE(file.run(u"get manifest.json top key --json"_qs), printed(json));
    QCOMPARE(file.run(u"get manifest.json top key"_qs), value.isString() ? done(value.toString()) : printed(json));
}

void tst_Queries::showPrintsTree()
{
    const QString label = u"labelTextId"_qs;
    const LoneManifest file(compact({
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
    QCOMPARE(file.run(u"show manifest.json"_qs),
        done(u"selection main page  [TXT_MAIN]\n"
             "selection other\n"
             "node      Net  [TXT_NET]\n"
             "  selection Net/port\n"
             "  node      Eth  [TXT_ETH]\n"
             "    selection Net/Eth/line  [TXT LINE]\n"
             "  unknown   neither\n"
             "node      empty"_qs));
    QVERIFY(file.isUntouched());
}

void tst_Queries::queryPrintsEveryElementOfExamples_data()
{
    const Table<QString, QString> row("scheme", "one");

    row("configuration", u"configuration"_qs, u"表示/日本語"_qs);
    row("process", u"process"_qs, u"diagnostics/log/events"_qs);
}

void tst_Queries::queryPrintsEveryElementOfExamples()
{
    QFETCH(QString, scheme);
    QFETCH(QString, one);

    const Workplace place;
    copyFolder(QStringLiteral(EXAMPLES "/device/configuration"), place.path());
    QCOMPARE(place.run(u"create-folder . --scheme "_qs + scheme).status, 0);
    const QString manifest = scheme + u".manifest.json"_qs;
    const QJsonArray elements = QJsonDocument::fromJson(place.content(manifest)).array();
    const QStringList names = selectionsOf(elements);
    QVERIFY(names.contains(one));
    QCOMPARE(place.run(u"instances "_qs + manifest), done(names.join(u'\n')));
    QCOMPARE(place.run(u"show "_qs + manifest), printed(treeOf(elements).toUtf8()));
}

void tst_Queries::showPrintsWhatCanBeLoaded_data()
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

void tst_Queries::showPrintsWhatCanBeLoaded()
{
    QFETCH(QByteArray, manifest);
    QFETCH(QByteArray, tree);

    const LoneManifest file(manifest);
    QCOMPARE(file.run(u"show manifest.json"_qs), printed(tree));
}

void tst_Queries::showPrintsDeepManifests()
{
    QString tree;
    for (int level = 0; level < 500; ++level) {
        tree += QString(2 * level, u' ') + u"node      n\n"_qs;
    }
    const LoneManifest file(compact(chain(500, {})));
    QCOMPARE(file.run(u"show manifest.json"_qs), printed(tree.toUtf8()));
}

void tst_Queries::instancesPrintsWholeNamesInOrderOfManifest()
{
    const LoneManifest file(compact({
        selection(u"b/x"_qs),
        node(u"n"_qs, {selection(u"n/y"_qs), node(u"m"_qs, {selection(u"b/x"_qs)}), selection(u"a"_qs)}),
        with(selection(u"parent"_qs), u"member"_qs, QJsonObject {{u"inner"_qs, selection(u"child"_qs)}}),
        with(selection(u"no"_qs), u"selectionType"_qs, u"selection"_qs),
        selection(QString()),
        selection(u"last"_qs),
    }));
    QCOMPARE(file.run(u"instances manifest.json --object O"_qs), done(u"b/x\nn/y\nb/x\na\nparent\nchild\n\nlast"_qs));
    const ProgramRun paths = file.run(u"instances manifest.json --paths"_qs);
    QCOMPARE(paths.output.count('\n'), 8);
    QVERIFY2(
        paths.output.endsWith("\nlast\tlast\nchild\tunreachable\toutside of the tree\n"), paths.output.constData());
    QVERIFY(file.isUntouched());
}

void tst_Queries::instancesSkipsSelectionsWithoutName()
{
    const LoneManifest file(
        "[{\"selectionType\":\"Selection\",\"key\":\"\x7f\"},{\"selectionType\":7},{\"instanceName\":null,"
        "\"selectionType\":\"Selection\"},{\"instanceName\":\"a\",\"selectionType\":\"Selection\"}]");
    QCOMPARE(file.run(u"instances manifest.json"_qs),
        done(u"a"_qs,
            "warning: Selection does not contain an instanceName: "
            "QJsonObject({\"key\":\"\\u{7f}\",\"selectionType\":\"Selection\"}) !\n"
            "warning: Error on reading selection type from json object: QJsonObject({\"selectionType\":7}) !\n"
            "warning: Error on reading instance name from selection: "
            "QJsonObject({\"instanceName\":null,\"selectionType\":\"Selection\"}) !\n"));
}

void tst_Queries::printedPathsAreWhatOtherCommandsTake_data()
{
    const Table<QString, int, int> row("command", "column", "elements");

    row("show", u"show"_qs, 2, 74);
    row("list", u"list"_qs, 1, 12);
    row("instances", u"instances"_qs, 1, 49);
}

void tst_Queries::printedPathsAreWhatOtherCommandsTake()
{
    QFETCH(QString, command);
    QFETCH(int, column);
    QFETCH(int, elements);

    const Workplace place;
    copyFolder(QStringLiteral(EXAMPLES "/device"), place.path());
    const Program program = Program().in(place.path(u"configuration"_qs));
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
        // A line begins with the name; show prints the kind first.
        static const QRegularExpression kind(u"^ *(selection|node     ) "_qs);
        const QString text = columns.at(0).section(u"  ["_qs, 0, 0);
        const QString plain = command == u"show"_qs ? QString(text).remove(kind) : columns.at(0);
        QCOMPARE(plain, QString::fromUtf8(name.output).chopped(1));
    }
    // The examples have siblings with the same name.
    QVERIFY(unreachable > 0);
}

void tst_Queries::linesArePrintedAsAskedFor_data()
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

void tst_Queries::linesArePrintedAsAskedFor()
{
    QFETCH(QString, commandLine);
    QFETCH(QString, lines);
    QFETCH(QByteArray, messages);

    const LoneManifest file(oddManifest());
    QCOMPARE(file.run(commandLine), done(lines, messages));
}

void tst_Queries::jsonHoldsWhatIsKnown_data()
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

void tst_Queries::jsonHoldsWhatIsKnown()
{
    QFETCH(QString, commandLine);
    QFETCH(QJsonArray, elements);

    const LoneManifest file(oddManifest());
    const ProgramRun run = file.run(commandLine);
    QCOMPARE(run.status, 0);
    QCOMPARE(jsonOf(run), elements);
    QVERIFY(run.output.startsWith('['));
}

void tst_Queries::jsonOfTreeHoldsItsChildren()
{
    const LoneManifest file(oddManifest());
    const QJsonArray tree = jsonOf(file.run(u"show manifest.json --json"_qs));
    QCOMPARE(tree.size(), 6);
    const QJsonArray none;
    QCOMPARE(
        tree.at(0).toObject(), with(shown("selection", u"main"_qs, u"main"_qs, 0, {}, true), u"children"_qs, none));
    QCOMPARE(tree.at(2).toObject(),
        with(shown("node", u"net"_qs, QJsonValue::Null, 2), u"children"_qs,
            QJsonArray {with(shown("selection", u"lost"_qs, QJsonValue::Null, 0), u"children"_qs, none)}));
}

void tst_Queries::pathsThatCannotBePrintedAreMarked()
{
    const QJsonArray below {selection(u"a/\\n"_qs), selection(u"a/\u200b"_qs)};
    const LoneManifest file(
        compact({selection(u"back\nslash"_qs), selection(u"back\\nslash"_qs), node(u"\x1b"_qs, below)}));
    const Program program = file.program();
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

MANIFEST_TEST_MAIN(tst_Queries)

#include "tst_queries.moc"
