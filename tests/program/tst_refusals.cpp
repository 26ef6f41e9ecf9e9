#include "ProgramManifests.h"
#include "Table.h"
#include "TestMain.h"
#include "Workplace.h"

namespace {

const QByteArray refused = "configuration-manifest: the change is refused; --force applies it anyway\n";

QByteArray complaint(const QString& text)
{
    return "configuration-manifest: " + text.toUtf8() + '\n';
}

QByteArray manifest()
{
    return compact({
        with(with(selection(u"main"_qs), u"hide"_qs, false), u"limit"_qs, 1.5),
        node(u"net"_qs, {selection(u"net/port"_qs), node(u"eth"_qs, {selection(u"net/eth/line"_qs)})}),
        node(u"menu"_qs),
        with(selection(u"twin"_qs), u"first"_qs, true),
        selection(u"twin"_qs),
    });
}

} // namespace

class tst_Refusals : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void damageIsRefusedAndCanBeForced_data();
    void damageIsRefusedAndCanBeForced();
    void editWithoutDamageIsDone_data();
    void editWithoutDamageIsDone();
    void oldDamageDoesNotRefuseEdits_data();
    void oldDamageDoesNotRefuseEdits();
    void rewriteThatReplacesWhatItWouldRewriteIsRefused();
    void deletionOfOneOfSeveralIsReported();
    void sortOfExamplesByPrintedNamesIsRefused();
    void treeThatIsTooDeepToBeLoadedIsRefused();
    void dryRunSaysWhatWouldChange_data();
    void dryRunSaysWhatWouldChange();
};

void tst_Refusals::damageIsRefusedAndCanBeForced_data()
{
    const Table<QString, QByteArray, QByteArray, QByteArray> row("commandLine", "complaints", "input", "messages");

    const auto refusal = [&](const char* name, const QString& commandLine, const QStringList& texts,
                             const QByteArray& input = {}, const QByteArray& messages = {}) {
        QByteArray complaints;
        for (const QString& text : texts) {
            complaints += complaint(text);
        }
        row(name, commandLine, complaints, input, messages);
    };
    const QByteArray noPosition = "warning: Cannot find key displayPosition in Json object!\n";
    const QByteArray noHide = "warning: Cannot find key \"hide\" in Json object!\n";
    refusal("text in place of the children", u"set manifest.json net substructure x"_qs,
        {u"'substructure' takes an array, not a string; use --json for a value that is not a string"_qs});
    refusal("other children", u"set manifest.json net substructure '[]' --json"_qs,
        {u"selection 'net/port' would be lost"_qs, u"node 'net/eth' would be lost"_qs,
            u"selection 'net/eth/line' would be lost"_qs});
    refusal("children are removed", u"unset manifest.json net/eth substructure"_qs,
        {u"selection 'net/eth/line' would be lost"_qs});
    refusal("text in place of a boolean", u"set manifest.json main hide true"_qs,
        {u"'hide' takes a boolean, not a string; use --json for a value that is not a string"_qs});
    refusal("text in place of a number", u"update manifest.json main limit 2"_qs,
        {u"'limit' takes a number, not a string; use --json for a value that is not a string"_qs});
    refusal("number in place of a text", u"set manifest.json main labelTextId 1 --json"_qs,
        {u"'labelTextId' takes a string, not a number; without --json, VALUE is taken as a string"_qs});
    refusal("JSON text in place of a boolean", u"set manifest.json main hide '\"true\"' --json"_qs,
        {u"'hide' takes a boolean, not a string"_qs});
    refusal("rewritten text in place of a boolean", u"rewrite manifest.json main hide true"_qs,
        {u"'hide' takes a boolean, not a string; use --json for a value that is not a string"_qs});
    refusal("description with a wrong type", u"update-selection manifest.json main --description -"_qs,
        {u"'hide' takes a boolean, not a number"_qs},
        "{\"instanceName\":\"main\",\"selectionType\":\"Selection\",\"hide\":1}");
    refusal("description with a text in place of a boolean", u"update-selection manifest.json main --description -"_qs,
        {u"'hide' takes a boolean, not a string"_qs},
        "{\"instanceName\":\"main\",\"selectionType\":\"Selection\",\"hide\":\"true\"}");
    refusal("description with a wrong type below", u"add-node manifest.json new --description -"_qs,
        {u"'hide' of the element 'new/a' takes a boolean, not a string"_qs},
        "{\"substructure\":[{\"selectionType\":\"Selection\",\"instanceName\":\"new/a\",\"hide\":\"true\"}]}");
    refusal("children with a wrong type",
        u"set manifest.json menu substructure '[{\"selectionType\":\"Node\",\"instanceName\":\"a\",\"iconName\":1}]' --json"_qs,
        {u"'iconName' of the element 'a' takes a string, not a number"_qs});
    refusal("name is removed", u"unset manifest.json main instanceName"_qs,
        {u"position 0 of the top level has no 'instanceName'"_qs});
    refusal("empty name", u"set manifest.json menu instanceName ''"_qs,
        {u"position 2 of the top level has an empty name"_qs});
    refusal("name of a sibling", u"set manifest.json menu instanceName net"_qs,
        {u"position 2 of the top level answers to 'net', but its sibling at position 1 is found first"_qs});
    refusal("name of a node with a separator", u"set manifest.json menu instanceName a/b"_qs,
        {u"position 2 of the top level has the name 'a/b', which a path splits at '/'"_qs});
    refusal("unknown kind", u"set manifest.json main selectionType Page"_qs,
        {u"'main' is of the kind 'Page', which is neither 'Node' nor 'Selection'"_qs});
    refusal("selection of a node with children", u"set manifest.json net selectionType Selection"_qs,
        {u"'net' is a selection with 2 children"_qs});
    refusal("children below a selection", u"add-node manifest.json main/b"_qs,
        {u"'main' is a selection with a child"_qs}, {}, noPosition);
    refusal("second selection of a name", u"add-selection manifest.json net/port"_qs,
        {u"position 2 below 'net' answers to 'port', but its sibling at position 0 is found first"_qs}, {},
        noPosition + noHide);
    refusal("description without kind and name", u"update-node manifest.json menu --description -"_qs,
        {u"position 2 of the top level has no 'selectionType'"_qs,
            u"position 2 of the top level has no 'instanceName'"_qs},
        "{}");
    refusal("one twin twice, the other not at all", u"sort manifest.json '' twin twin main net menu"_qs,
        {u"selection at position 4 of the top level would be lost"_qs});
}

void tst_Refusals::damageIsRefusedAndCanBeForced()
{
    QFETCH(QString, commandLine);
    QFETCH(QByteArray, input);
    QFETCH(QByteArray, messages);
    QFETCH(QByteArray, complaints);

    const LoneManifest file(manifest());
    const Program program = file.program().reading(input);
    const ProgramRun refusal {1, {}, messages + complaints + refused};
    for (const QString& option : {u""_qs, u" --save"_qs, u" --dry-run"_qs, u" --print"_qs}) {
        QCOMPARE(program.run(commandLine + option), refusal);
    }
    QVERIFY(file.isUntouched());

    QCOMPARE(program.run(commandLine + u" --save --force"_qs).status, 0);
    QVERIFY(file.content() != manifest());
}

void tst_Refusals::editWithoutDamageIsDone_data()
{
    const Table<QString, QByteArray> row("commandLine", "input");

    row("new name", u"set manifest.json net instanceName other"_qs, {});
    row("new key", u"set manifest.json main other true"_qs, {});
    row("new key of another type", u"set manifest.json main other '[1]' --json"_qs, {});
    row("key of the structure that is not there", u"set manifest.json menu substructure '[]' --json"_qs, {});
    row("right type", u"set manifest.json main hide true --json"_qs, {});
    row("empty node", u"add-node manifest.json net/empty"_qs, {});
    row("deletion with everything below", u"delete manifest.json net"_qs, {});
    row("removed key", u"unset manifest.json main limit"_qs, {});
    row("other children by a description", u"update-node manifest.json net --description - --replace-substructure"_qs,
        "{\"instanceName\":\"net\",\"selectionType\":\"Node\"}");
    row("description", u"update-node manifest.json net --description -"_qs,
        "{\"instanceName\":\"net\",\"selectionType\":\"Node\",\"columns\":3}");
    row("order", u"sort manifest.json net eth port"_qs, {});
    row("place", u"move-node manifest.json net 0"_qs, {});
    row("stamps", u"stamp manifest.json --module M"_qs, {});
}

void tst_Refusals::editWithoutDamageIsDone()
{
    QFETCH(QString, commandLine);
    QFETCH(QByteArray, input);

    const LoneManifest file(manifest());
    const ProgramRun run = file.program().reading(input).run(commandLine + u" --save"_qs);
    QCOMPARE(run.status, 0);
    QVERIFY2(!run.errors.contains("refused"), run.errors.constData());
    QVERIFY(file.content() != manifest());
}

void tst_Refusals::oldDamageDoesNotRefuseEdits_data()
{
    const Table<QString> row("commandLine");

    row("another element", u"set manifest.json main key value --save"_qs);
    row("damaged element", u"set manifest.json broken key value --save"_qs);
    row("repair", u"set manifest.json broken selectionType Node --save"_qs);
    row("what moves the damaged one", u"delete manifest.json main --save"_qs);
}

void tst_Refusals::oldDamageDoesNotRefuseEdits()
{
    QFETCH(QString, commandLine);

    const LoneManifest file(compact({selection(u"main"_qs), QJsonObject {{u"instanceName"_qs, u"broken"_qs}}, 7,
        node(u"broken"_qs), with(node(u"x"_qs), u"substructure"_qs, u"none"_qs)}));
    QCOMPARE(file.run(commandLine), done(u"changed; saved"_qs));
}

void tst_Refusals::rewriteThatReplacesWhatItWouldRewriteIsRefused()
{
    const QByteArray content =
        compact({node(u"x"_qs, {with(selection(u"x"_qs), u"important"_qs, 1), selection(u"z"_qs)})});
    const LoneManifest file(content);
    const QString children = QString::fromUtf8(compact({selection(u"y"_qs), selection(u"z"_qs)}));
    QCOMPARE(
        Program().run({u"rewrite"_qs, file.path(), u"x"_qs, u"substructure"_qs, children, u"--json"_qs, u"--save"_qs}),
        (ProgramRun {1, {}, complaint(u"selection 'x/x' would be lost"_qs) + refused}));
    QCOMPARE(file.content(), content);
    QCOMPARE(Program().run({u"rewrite"_qs, file.path(), u"x"_qs, u"instanceName"_qs, u"y"_qs, u"--save"_qs}),
        done(u"2 changed; saved"_qs));
}

void tst_Refusals::deletionOfOneOfSeveralIsReported()
{
    const LoneManifest file(manifest());
    const Program program = file.program();
    QCOMPARE(program.run(u"delete manifest.json twin --save"_qs),
        (ProgramRun {0, "changed; saved\n",
            complaint(u"several elements answer to 'twin'; delete removes only the first one"_qs)}));
    QCOMPARE(program.run(u"get manifest.json twin first"_qs), failed(u"'twin' has no key 'first'"_qs));
    QCOMPARE(program.run(u"delete manifest.json twin --save"_qs), done(u"changed; saved"_qs));
    QCOMPARE(program.run(u"delete manifest.json twin --save"_qs), failed(u"there is no element 'twin'"_qs));
}

void tst_Refusals::sortOfExamplesByPrintedNamesIsRefused()
{
    const Workplace place;
    copyFolder(QStringLiteral(EXAMPLES "/device/configuration"), place.path());
    const Program program = place.program();
    QCOMPARE(program.run(u"create-folder ."_qs).status, 0);
    const QString path = place.path(u"configuration.manifest.json"_qs);
    const QByteArray created = readFile(path);
    QStringList names = QString::fromUtf8(program.run(u"list configuration.manifest.json"_qs).output).split(u'\n');
    names.removeLast();
    QVERIFY(names.count(u"network"_qs) == 2);
    const ProgramRun run = program.run(
        QStringList {u"sort"_qs, u"configuration.manifest.json"_qs, QString()} + names + QStringList(u"--save"_qs));
    QCOMPARE(run.status, 1);
    QVERIFY2(run.errors.contains(" would be lost\n"), run.errors.constData());
    QVERIFY2(run.errors.endsWith(refused), run.errors.constData());
    QCOMPARE(readFile(path), created);
}

void tst_Refusals::treeThatIsTooDeepToBeLoadedIsRefused()
{
    constexpr int deepest = 512;
    const QJsonArray nodes = chain(deepest - 1, {node(u"n"_qs)});
    const LoneManifest file(compact(nodes));
    const QString path = u"n/"_qs.repeated(deepest) + u"n"_qs;
    const ProgramRun run = Program().run({u"add-node"_qs, file.path(), path, u"--save"_qs});
    QCOMPARE(run.status, 1);
    QVERIFY2(run.errors.contains("reaches deeper than the 1024 levels that can be loaded\n"), run.errors.constData());
    QCOMPARE(file.content(), compact(nodes));
}

void tst_Refusals::dryRunSaysWhatWouldChange_data()
{
    const Table<QString, QString, QByteArray> row("commandLine", "lines", "messages");

    const auto add = [&](const char* name, const char16_t* commandLine, const char16_t* lines,
                         const QByteArray& messages = {}) {
        row(name, QString::fromUtf16(commandLine), QString::fromUtf16(lines), messages);
    };
    add("new key", u"set manifest.json main key value",
        u"changed: selection 'main', key from nothing to \"value\"\nchanged; not saved");
    add("other value", u"set manifest.json main hide true --json",
        u"changed: selection 'main', hide from false to true\nchanged; not saved");
    add("removed key", u"unset manifest.json main limit",
        u"changed: selection 'main', limit from 1.5 to nothing\nchanged; not saved");
    add("same value", u"set manifest.json main hide false --json", u"unchanged; not saved");
    add("added", u"add-node manifest.json net/new --index 0",
        u"added: node 'net/new', as position 0\nchanged; not saved",
        "warning: Cannot find key displayPosition in Json object!\n");
    add("deleted", u"delete manifest.json net", u"removed: node 'net', with 3 below\nchanged; not saved");
    add("moved", u"move-node manifest.json menu 0", u"moved: node 'menu', from position 2 to 0\nchanged; not saved");
    add("stamped", u"stamp manifest.json --module M",
        u"changed: selection 'main', moduleName from nothing to \"M\"\n"
        "changed: selection 'net/port', moduleName from nothing to \"M\"\n"
        "changed: selection 'net/eth/line', moduleName from nothing to \"M\"\n"
        "changed: selection 'twin', moduleName from nothing to \"M\"\n"
        "changed: selection at position 4 of the top level, moduleName from nothing to \"M\"\n"
        "stamped; not saved");
    add("rewritten", u"rewrite manifest.json main limit 2 --json",
        u"changed: selection 'main', limit from 1.5 to 2\n1 changed; not saved");
}

void tst_Refusals::dryRunSaysWhatWouldChange()
{
    QFETCH(QString, commandLine);
    QFETCH(QString, lines);
    QFETCH(QByteArray, messages);

    const LoneManifest file(manifest());
    QCOMPARE(file.run(commandLine + u" --dry-run --save --backup"_qs), done(lines, messages));
    QVERIFY(file.isUntouched());
}

MANIFEST_TEST_MAIN(tst_Refusals)

#include "tst_refusals.moc"
