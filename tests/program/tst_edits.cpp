#include "ProgramManifests.h"
#include "Table.h"
#include "TestMain.h"
#include "Workplace.h"

namespace {

const QByteArray noPosition = "warning: Cannot find key displayPosition in Json object!\n";
const QByteArray noPositionAndHide = noPosition + QByteArray("warning: Cannot find key \"hide\" in Json object!\n");

// The elements of saveRuleManifest().
const QJsonObject top = selection(u"top"_qs);
const QJsonObject first = selection(u"a/first"_qs);
const QJsonObject second = node(u"second"_qs);
const QJsonObject spare = node(u"spare"_qs);

QJsonObject a(const QJsonArray& children = {first, second})
{
    return node(u"a"_qs, children);
}

QJsonObject addedNode(const QString& instanceName)
{
    return with(node(instanceName), u"dataSourceType"_qs, u"JsonData"_qs);
}

QJsonObject addedSelection(const QString& instanceName, const QString& label = QString())
{
    return {{u"closeMode"_qs, u"Manual"_qs}, {u"dataModel"_qs, QString()}, {u"hide"_qs, false},
        {u"iconName"_qs, QString()}, {u"instanceName"_qs, instanceName}, {u"labelTextId"_qs, label},
        {u"lastModified"_qs, QString()}, {u"selectionType"_qs, u"Selection"_qs},
        {u"uiJob"_qs, u"OpenConfiguration"_qs}};
}

} // namespace

class tst_Edits : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void editIsSavedOnlyOnRequest_data();
    void editIsSavedOnlyOnRequest();
    void editThatDoesNotApplyFails_data();
    void editThatDoesNotApplyFails();
    void missingKeyIsNamedOfElementFoundByItsWholePath();
    void optionsMayStandAnywhereAfterCommand_data();
    void optionsMayStandAnywhereAfterCommand();
    void valueThatIsNotJsonIsWrongUsage_data();
    void valueThatIsNotJsonIsWrongUsage();
    void descriptionIsReadFromFile();
    void emptyManifestCanBeEdited();
    void deepManifestCanBeEdited();
    void rewriteChangesAndCountsEveryMatch_data();
    void rewriteChangesAndCountsEveryMatch();
    void rewriteKeepsEverythingElse();
};

void tst_Edits::editIsSavedOnlyOnRequest_data()
{
    const Table<QString, QByteArray, QByteArray, QString, QByteArray> row(
        "commandLine", "input", "after", "what", "messages");
    const auto change = [&](const char* name, const QString& commandLine, const QJsonArray& after,
                            const QByteArray& messages = {}, const QByteArray& input = {}) {
        row(name, commandLine, input, compact(after), u"changed"_qs, messages);
    };
    const auto withKey = [](const QJsonValue& value) { return QJsonArray {with(top, u"key"_qs, value), a(), spare}; };
    change("set, key is missing", u"set manifest.json top key value"_qs, withKey(u"value"_qs));
    change("set, key is there", u"set manifest.json a instanceName b"_qs,
        {top, with(a(), u"instanceName"_qs, u"b"_qs), spare});
    row("set, value is there", u"set manifest.json a/second instanceName second"_qs, {}, compact(saveRuleManifest()),
        u"unchanged"_qs, {});
    change("set, below a node", u"set manifest.json a/first key 'two words'"_qs,
        {top, a({with(first, u"key"_qs, u"two words"_qs), second}), spare});
    change("set, empty value", u"set manifest.json top key ''"_qs, withKey(QString()));
    change("set, empty key", u"set manifest.json top '' value"_qs, {with(top, QString(), u"value"_qs), a(), spare});
    change("set, value like an option", u"set manifest.json --json top key -- -1"_qs, withKey(-1));
    change("set, text that is JSON", u"set manifest.json top key true"_qs, withKey(u"true"_qs));
    change("set, null", u"set manifest.json top key null --json"_qs, withKey(QJsonValue::Null));
    change("set, boolean", u"set manifest.json top key true --json"_qs, withKey(true));
    change("set, number", u"set manifest.json top key 42 --json"_qs, withKey(42));
    change("set, fraction", u"set manifest.json top key 2.5e-3 --json"_qs, withKey(0.0025));
    change("set, JSON text", u"set manifest.json top key '\"te\\u0078t\"' --json"_qs, withKey(u"text"_qs));
    change("set, array", u"set manifest.json top key '[1,\"2\",null]' --json"_qs,
        withKey(QJsonArray {1, u"2"_qs, QJsonValue::Null}));
    change("set, object", u"set manifest.json top key '{\"a\":{\"b\":[]}}' --json"_qs,
        withKey(objectFrom("{\"a\":{\"b\":[]}}")));
    change("set, JSON between blanks", u"set manifest.json top key ' [ 1 ] ' --json"_qs, withKey(QJsonArray {1}));
    change("set, with names", u"set manifest.json spare key value --module M --object O"_qs,
        {stamped(top, u"M"_qs, u"O"_qs), a({stamped(first, u"M"_qs, u"O"_qs), second}),
            with(spare, u"key"_qs, u"value"_qs)});
    change("set, value is there, names are stamped",
        u"set manifest.json a/second instanceName second --module M --object O"_qs,
        {stamped(top, u"M"_qs, u"O"_qs), a({stamped(first, u"M"_qs, u"O"_qs), second}), spare});
    change("update", u"update manifest.json top selectionType Node"_qs, {node(u"top"_qs), a(), spare});
    change("update, JSON", u"update manifest.json spare instanceName null --json --force"_qs,
        {top, a(), with(spare, u"instanceName"_qs, QJsonValue::Null)});
    row("update, value is there", u"update manifest.json a/first instanceName a/first"_qs, {},
        compact(saveRuleManifest()), u"unchanged"_qs, {});
    change("unset", u"unset manifest.json a substructure --force"_qs, {top, node(u"a"_qs), spare});
    change("add-node", u"add-node manifest.json b"_qs, {top, a(), spare, addedNode(u"b"_qs)}, noPosition);
    change("add-node, below a node", u"add-node manifest.json a/b"_qs,
        {top, a({first, second, addedNode(u"b"_qs)}), spare}, noPosition);
    change("add-node, below a selection", u"add-node manifest.json top/b --force"_qs,
        {with(top, u"substructure"_qs, QJsonArray {addedNode(u"b"_qs)}), a(), spare}, noPosition);
    change("add-node, at the start", u"add-node manifest.json b --index 0"_qs, {addedNode(u"b"_qs), top, a(), spare},
        noPosition);
    change("add-node, in between", u"add-node --index=1 manifest.json a/b"_qs,
        {top, a({first, addedNode(u"b"_qs), second}), spare}, noPosition);
    change("add-node, negative index", u"add-node manifest.json b --index -1"_qs, {top, a(), spare, addedNode(u"b"_qs)},
        noPosition);
    change("add-node, index behind the end", u"add-node manifest.json b --index 4"_qs,
        {top, a(), spare, addedNode(u"b"_qs)},
        noPosition + QByteArray("warning: The index for addElements is out of bounds, append the element\n"));
    change("add-node, description", u"add-node manifest.json b --description -"_qs,
        {top, a(), spare, with(addedNode(u"b"_qs), u"key"_qs, everyKind())}, {},
        "{\"displayPosition\":1,\"instanceName\":\"other\",\"key\":" + compact(everyKind()) + "}\n");
    change("add-selection", u"add-selection manifest.json a/new"_qs,
        {top, a({first, second, addedSelection(u"a/new"_qs)}), spare}, noPositionAndHide);
    change("add-selection, with an index", u"add-selection manifest.json new --index 1"_qs,
        {top, addedSelection(u"new"_qs), a(), spare}, noPositionAndHide);
    change("add-selection, is there below a node", u"add-selection manifest.json a/first --force"_qs,
        {top, a({first, second, addedSelection(u"a/first"_qs)}), spare}, noPositionAndHide);
    change("add-selection, description", u"add-selection manifest.json new --description -"_qs,
        {top, a(), spare, addedSelection(u"new"_qs, u"TXT"_qs)}, {},
        "{\"displayPosition\":1,\"hide\":false,\"labelTextId\":\"TXT\",\"key\":1}");
    change("delete, selection", u"delete manifest.json a/first"_qs, {top, a({second}), spare});
    change("delete, node", u"delete manifest.json a"_qs, {top, spare});
    change("move-node", u"move-node manifest.json spare 0"_qs, {spare, top, a()});
    change("move-node, below a node", u"move-node manifest.json a/second 0"_qs, {top, a({second, first}), spare});
    row("move-node, stays", u"move-node manifest.json a 1"_qs, {}, compact(saveRuleManifest()), u"unchanged"_qs, {});
    change("move-selection", u"move-selection manifest.json top 2"_qs, {a(), spare, top});
    change(
        "move-selection, below a node", u"move-selection manifest.json a/first 1"_qs, {top, a({second, first}), spare});

    const QJsonObject description = objectFrom("{\"key\":1,\"substructure\":[{}]}");
    change("update-node", u"update-node manifest.json a --description - --force"_qs,
        {top, with(description, u"substructure"_qs, QJsonArray {first, second}), spare}, {},
        "{\"key\":1,\"substructure\":[{}]}");
    change("update-node, with its children",
        u"update-node manifest.json a --description - --replace-substructure --force"_qs, {top, description, spare}, {},
        "{\"key\":1,\"substructure\":[{}]}");
    change("update-selection", u"update-selection manifest.json a/first --description - --force"_qs,
        {top, a({QJsonObject {{u"key"_qs, 1}}, second}), spare}, {}, "{\"key\":1,\"substructure\":[{}]}");
    change("sort, top level", u"sort manifest.json '' spare a top"_qs, {spare, a(), top});
    change("sort, below a node", u"sort manifest.json a second first"_qs, {top, a({second, first}), spare});
    change("sort, more names", u"sort manifest.json a none second first other"_qs, {top, a({second, first}), spare});

    const QString asStamped = u"stamped"_qs;
    const auto allStamped = [](const QString& module, const QString& object) {
        return QJsonArray {stamped(top, module, object), a({stamped(first, module, object), second}), spare};
    };
    row("stamp, module", u"stamp manifest.json --module M"_qs, {}, compact(allStamped(u"M"_qs, {})), asStamped, {});
    row("stamp, object", u"stamp --object=O manifest.json"_qs, {}, compact(allStamped({}, u"O"_qs)), asStamped, {});
    row("stamp, both", u"stamp --module 'the module' manifest.json --object Ö"_qs, {},
        compact(allStamped(u"the module"_qs, u"Ö"_qs)), asStamped, {});

    const QString one = u"1 changed"_qs;
    row("rewrite, overwrite", u"rewrite manifest.json top selectionType Other --force"_qs, {},
        compact({with(top, u"selectionType"_qs, u"Other"_qs), a(), spare}), one, {});
    row("rewrite, overwrite, below a node", u"rewrite manifest.json a/first instanceName 'a/new name'"_qs, {},
        compact({top, a({selection(u"a/new name"_qs), second}), spare}), one, {});
    row("rewrite, overwrite, node", u"rewrite manifest.json second instanceName third"_qs, {},
        compact({top, a({first, node(u"third"_qs)}), spare}), one, {});
    row("rewrite, overwrite, value is there", u"rewrite manifest.json spare instanceName spare"_qs, {},
        compact(saveRuleManifest()), u"unchanged"_qs, {});
    row("rewrite, overwrite, JSON", u"rewrite manifest.json a substructure '[null,{\"b\":1.5}]' --json --force"_qs, {},
        compact({top, a({QJsonValue::Null, QJsonObject {{u"b"_qs, 1.5}}}), spare}), one, {});
    row("rewrite, overwrite, JSON null", u"rewrite --json --force manifest.json top selectionType null"_qs, {},
        compact({with(top, u"selectionType"_qs, QJsonValue::Null), a(), spare}), one, {});
    row("rewrite, overwrite, with a name", u"rewrite manifest.json spare instanceName other --module M"_qs, {},
        compact({stamped(top, u"M"_qs, {}), a({stamped(first, u"M"_qs, {}), second}), node(u"other"_qs)}), one, {});
    row("rewrite, add", u"rewrite manifest.json a/first key value --add"_qs, {},
        compact({top, a({with(first, u"key"_qs, u"value"_qs), second}), spare}), one, {});
    row("rewrite, add, key is there", u"rewrite manifest.json spare --add instanceName other"_qs, {},
        compact({top, a(), node(u"other"_qs)}), one, {});
    row("rewrite, add, empty value", u"rewrite manifest.json top key '' --add"_qs, {},
        compact({with(top, u"key"_qs, QString()), a(), spare}), one, {});
    const QJsonArray others {spare, QJsonObject {{u"instanceName"_qs, u"top"_qs}}, u"top"_qs};
    row("rewrite, add, value of other elements",
        u"rewrite manifest.json top key %1 --json --add"_qs.arg(QString::fromUtf8(compact(others))), {},
        compact({with(top, u"key"_qs, others), a(), spare}), one, {});
    row("rewrite, remove", u"rewrite manifest.json a substructure --remove --force"_qs, {},
        compact({top, node(u"a"_qs), spare}), one, {});
    row("rewrite, remove, values would be JSON texts",
        u"rewrite manifest.json a substructure --remove --json --force"_qs, {}, compact({top, node(u"a"_qs), spare}),
        one, {});
    row("rewrite, remove, below a node", u"rewrite --remove --force manifest.json a/first selectionType"_qs, {},
        compact({top, a({QJsonObject {{u"instanceName"_qs, u"a/first"_qs}}, second}), spare}), one, {});
}

void tst_Edits::editIsSavedOnlyOnRequest()
{
    QFETCH(QString, commandLine);
    QFETCH(QByteArray, input);
    QFETCH(QByteArray, after);
    QFETCH(QString, what);
    QFETCH(QByteArray, messages);

    const LoneManifest file;
    const Program program = file.program().reading(input);
    QCOMPARE(program.run(commandLine), done(what + u"; not saved"_qs, messages));
    QCOMPARE(program.run(withOption(commandLine, u"--print"_qs)), done(QString::fromUtf8(after), messages));
    QVERIFY(file.isUntouched());
    QCOMPARE(program.run(withOption(commandLine, u"--save"_qs)), done(what + u"; saved"_qs, messages));
    QCOMPARE(file.content(), after);
    QVERIFY(file.isReplaced());
}

void tst_Edits::editThatDoesNotApplyFails_data()
{
    const Table<QString, QByteArray, ProgramRun> row("commandLine", "input", "run");
    const auto noElement = [&](const char* name, const QString& commandLine, const QString& path,
                               const QByteArray& messages = {}, const QByteArray& input = {}) {
        row(name, commandLine, input, failed(u"there is no element '%1'"_qs.arg(path), messages));
    };
    const auto noInstance = [&](const char* name, const QString& commandLine, const QString& instance,
                                const QString& key, const QByteArray& messages = {}) {
        row(name, commandLine, {},
            failed(u"no element has the instance name '%1' and the key '%2'"_qs.arg(instance, key), messages));
    };
    const QByteArray outOfBounds = "warning: Index out of bounds, move failed\n";
    const QByteArray wrongPath = "warning: InstancePath is wrong, replace failed\n";
    const auto namesOf = [](const char* where) {
        return failed(u"the names are not those of all children of %1"_qs.arg(QLatin1String(where)));
    };
    noElement("set", u"set manifest.json none key value"_qs, u"none"_qs);
    noElement("set, first part", u"set manifest.json none/x/y key value"_qs, u"none"_qs);
    noElement("set, inner part", u"set manifest.json a/none/x key value"_qs, u"a/none"_qs);
    noElement("set, last part", u"set manifest.json a/none key value"_qs, u"a/none"_qs);
    noElement("set, below a selection", u"set manifest.json top/x key value"_qs, u"top/x"_qs);
    row("set, empty path", u"set manifest.json '' key value"_qs, {}, misused(u"PATH contains no name"_qs));
    noElement("set, empty name", u"set manifest.json a//first key value"_qs, u"a/"_qs);
    noElement("set, empty name first", u"set manifest.json /a key value"_qs, QString());
    noElement("update", u"update manifest.json a/none key value"_qs, u"a/none"_qs);
    row("update, key", u"update manifest.json a/first none value"_qs, {}, failed(u"'a/first' has no key 'none'"_qs));
    row("update, key and value are JSON", u"update manifest.json top none 1 --json"_qs, {},
        failed(u"'top' has no key 'none'"_qs));
    noElement("unset", u"unset manifest.json none key"_qs, u"none"_qs);
    row("unset, key is missing", u"unset manifest.json a none"_qs, {}, failed(u"'a' has no key 'none' to remove"_qs));
    row("add-node, is there", u"add-node manifest.json a/second"_qs, {},
        failed(u"there already is an element 'a/second'"_qs));
    row("add-selection, is there", u"add-selection manifest.json top"_qs, {},
        failed(u"there already is an element 'top'"_qs));
    row("stamp, no name", u"stamp manifest.json"_qs, {},
        misused(u"nothing to stamp: give a name with --module or --object"_qs));
    noElement("add-node", u"add-node manifest.json none/b"_qs, u"none"_qs);
    noElement("add-node, inner part", u"add-node manifest.json a/none/x/b"_qs, u"a/none"_qs);
    noElement("add-selection", u"add-selection manifest.json a/none/b"_qs, u"a/none"_qs);
    noElement("delete", u"delete manifest.json none"_qs, u"none"_qs);
    noElement("delete, inner part", u"delete manifest.json a/none/x"_qs, u"a/none"_qs);
    noElement("move-node", u"move-node manifest.json none 0"_qs, u"none"_qs);
    row("move-node, behind the end", u"move-node manifest.json spare 3"_qs, {},
        failed(u"there is no position 3 among the siblings of 'spare'"_qs, outOfBounds));
    row("move-node, before the start", u"move-node manifest.json a/second -- -1"_qs, {},
        failed(u"there is no position -1 among the siblings of 'a/second'"_qs, outOfBounds));
    noElement("move-selection", u"move-selection manifest.json a/none 0"_qs, u"a/none"_qs);
    row("move-selection, behind the end", u"move-selection manifest.json a/first 2"_qs, {},
        failed(u"there is no position 2 among the siblings of 'a/first'"_qs, outOfBounds));
    noElement("update-node", u"update-node manifest.json none --description -"_qs, u"none"_qs, wrongPath, "{}");
    noElement(
        "update-node, inner part", u"update-node manifest.json a/none/x --description -"_qs, u"a/none"_qs, {}, "{}");
    noElement(
        "update-selection", u"update-selection manifest.json a/none --description -"_qs, u"a/none"_qs, wrongPath, "{}");
    noElement("sort", u"sort manifest.json none x"_qs, u"none"_qs);
    noElement("sort, inner part", u"sort manifest.json a/none/x y"_qs, u"a/none"_qs);
    row("sort, a child is not named", u"sort manifest.json a second"_qs, {}, namesOf("'a'"));
    row("sort, top level", u"sort manifest.json '' top a"_qs, {}, namesOf("the top level"));
    row("sort, a name is nobody's", u"sort manifest.json '' top a none"_qs, {}, namesOf("the top level"));
    row("sort, whole names of selections", u"sort manifest.json a second a/first"_qs, {}, namesOf("'a'"));

    const QByteArray keyIsMissing = "warning: Unable to find key \"none\" in jsonObject: "
                                    "QJsonObject({\"instanceName\":\"top\",\"selectionType\":\"Selection\"}) !\n";
    noInstance(
        "rewrite, no instance", u"rewrite manifest.json none selectionType value"_qs, u"none"_qs, u"selectionType"_qs);
    noInstance("rewrite, last part of a name", u"rewrite manifest.json first selectionType value"_qs, u"first"_qs,
        u"selectionType"_qs);
    noInstance(
        "rewrite, path", u"rewrite manifest.json a/second selectionType value"_qs, u"a/second"_qs, u"selectionType"_qs);
    noInstance("rewrite, name in capitals", u"rewrite manifest.json TOP selectionType value"_qs, u"TOP"_qs,
        u"selectionType"_qs);
    noInstance(
        "rewrite, empty name", u"rewrite manifest.json '' selectionType value"_qs, QString(), u"selectionType"_qs);
    noInstance("rewrite, no key to overwrite", u"rewrite manifest.json top none value"_qs, u"top"_qs, u"none"_qs,
        keyIsMissing);
    noInstance("rewrite, no key to remove", u"rewrite manifest.json top none --remove"_qs, u"top"_qs, u"none"_qs,
        keyIsMissing);
    row("rewrite, no instance to add to", u"rewrite manifest.json none key value --add"_qs, {},
        failed(u"no element has the instance name 'none'"_qs));
    noInstance("rewrite, no instance to remove from", u"rewrite manifest.json none selectionType --remove"_qs,
        u"none"_qs, u"selectionType"_qs);

    const QString element = u"{\"instanceName\":\"top\",\"selectionType\":null}"_qs;
    const auto withinItself = [&](const char* name, const QString& arguments) {
        row(name, u"rewrite manifest.json --json "_qs + arguments.arg(element), {},
            misused(u"VALUE itself contains an element 'top'"_qs));
    };
    withinItself("rewrite within the value", u"top selectionType %1"_qs);
    withinItself("rewrite within an added value", u"top key %1 --add"_qs);
    withinItself("rewrite in an array", u"top key [1,%1] --add"_qs);
    withinItself("rewrite deep inside", u"top key [{\"a\":{\"b\":[[],%1]}}] --add"_qs);
}

void tst_Edits::editThatDoesNotApplyFails()
{
    QFETCH(QString, commandLine);
    QFETCH(QByteArray, input);
    QFETCH(ProgramRun, run);

    const LoneManifest file;
    const Program program = file.program().reading(input);
    QCOMPARE(program.run(commandLine), run);
    for (const QString& option : {u"--save"_qs, u"--dry-run"_qs, u"--print"_qs}) {
        QCOMPARE(program.run(withOption(commandLine, option)), run);
    }
    QVERIFY(file.isUntouched());
}

void tst_Edits::missingKeyIsNamedOfElementFoundByItsWholePath()
{
    const LoneManifest file(compact({a({node(u"a/b"_qs)})}));
    QCOMPARE(file.run(u"update manifest.json a/b instanceName c --print"_qs),
        done(QString::fromUtf8(compact({a({node(u"c"_qs)})}))));
    QCOMPARE(file.run(u"update manifest.json a/b none value"_qs), failed(u"'a/b' has no key 'none'"_qs));
}

void tst_Edits::optionsMayStandAnywhereAfterCommand_data()
{
    const Table<QString> row("commandLine");

    row("before the file", u"set --json --save --module M manifest.json top key 1"_qs);
    row("between", u"set manifest.json --module M top --json key --save 1"_qs);
    row("at the end", u"set manifest.json top key 1 --save --module M --json"_qs);
    row("everywhere", u"set --module=M manifest.json top --save key 1 --json"_qs);
    row("before a double dash", u"set --module=M --save --json -- manifest.json top key 1"_qs);
}

void tst_Edits::optionsMayStandAnywhereAfterCommand()
{
    QFETCH(QString, commandLine);

    const LoneManifest file(compact({top}));
    QCOMPARE(file.run(commandLine), done(u"changed; saved"_qs));
    QCOMPARE(file.content(), compact({with(stamped(top, u"M"_qs, {}), u"key"_qs, 1)}));
}

void tst_Edits::valueThatIsNotJsonIsWrongUsage_data()
{
    const Table<QString, QString> row("value", "shown");

    const auto add = [&](const char* name, const QString& value) { row(name, value, value); };
    add("nothing", QString());
    add("blank", u" "_qs);
    add("word", u"text"_qs);
    add("most of null", u"nul"_qs);
    add("no number", u"NaN"_qs);
    add("plus sign", u"+1"_qs);
    add("hexadecimal", u"0x10"_qs);
    add("open text", u"\"open"_qs);
    add("single quotes", u"'text'"_qs);
    add("open array", u"[1"_qs);
    add("closed array", u"1]"_qs);
    add("key without value", u"{\"a\"}"_qs);
    add("comma at the end", u"{\"a\":1,}"_qs);
    add("comma", u","_qs);
    add("two values", u"1,2"_qs);
    add("two values without a comma", u"1 2"_qs);
    add("array turned inside out", u"1],[2"_qs);
    row("control", u"\x1b"_qs, u"\\u{1b}"_qs);
}

void tst_Edits::valueThatIsNotJsonIsWrongUsage()
{
    QFETCH(QString, value);
    QFETCH(QString, shown);

    const LoneManifest file;
    for (const QString& command : {u"set"_qs, u"update"_qs, u"rewrite"_qs}) {
        QCOMPARE(
            file.run({command, u"manifest.json"_qs, u"top"_qs, u"instanceName"_qs, value, u"--json"_qs, u"--save"_qs}),
            misused(u"'%1' is not a JSON value"_qs.arg(shown)));
    }
    QVERIFY(file.isUntouched());
}

void tst_Edits::descriptionIsReadFromFile()
{
    const LoneManifest file("[]");
    writeFile(file.folder() + u"/new node.json"_qs, "{\"displayPosition\":1,\"key\":[true]}");
    writeFile(file.folder() + u"/-"_qs, "{\"displayPosition\":1,\"hide\":false,\"labelTextId\":\"TXT\"}");
    const Program program = file.program();
    QCOMPARE(
        program.run(u"add-node manifest.json b --description 'new node.json' --save"_qs), done(u"changed; saved"_qs));
    QCOMPARE(program.run(u"add-selection manifest.json c --description=./- --save"_qs), done(u"changed; saved"_qs));
    QCOMPARE(file.content(),
        compact({with(addedNode(u"b"_qs), u"key"_qs, QJsonArray {true}), addedSelection(u"c"_qs, u"TXT"_qs)}));
    QCOMPARE(program.run(u"update-node manifest.json b --description 'new node.json' --save --force"_qs),
        done(u"changed; saved"_qs));
    QCOMPARE(program.run(u"update-selection manifest.json c --description 'new node.json' --save --force"_qs),
        done(u"changed; saved"_qs));
    const QJsonObject description = objectFrom("{\"displayPosition\":1,\"key\":[true]}");
    QCOMPARE(file.content(), compact({description, description}));
}

void tst_Edits::emptyManifestCanBeEdited()
{
    const LoneManifest file("[]");
    const Program program = file.program();
    QCOMPARE(program.run(u"list manifest.json"_qs), printed({}));
    QCOMPARE(program.run(u"count manifest.json"_qs), done(u"0"_qs));
    QCOMPARE(program.run(u"instances manifest.json"_qs), printed({}));
    QCOMPARE(program.run(u"get manifest.json top"_qs),
        failed(u"there is no element 'top'"_qs, "warning: Cannot find element for path (\"top\")\n"));
    QCOMPARE(program.run(u"stamp manifest.json --module M --print"_qs), done(u"[]"_qs));
    QCOMPARE(program.run(u"add-node manifest.json b --save"_qs), done(u"changed; saved"_qs, noPosition));
    QCOMPARE(program.run(u"delete manifest.json b --save"_qs), done(u"changed; saved"_qs));
    QCOMPARE(file.content(), QByteArray("[]"));
}

void tst_Edits::deepManifestCanBeEdited()
{
    constexpr int levels = 500;
    QJsonArray before {selection(u"end"_qs)};
    QJsonArray after {with(selection(u"end"_qs), u"key"_qs, u"value"_qs)};
    for (int level = 0; level < levels; ++level) {
        before = {node(u"n"_qs, before)};
        after = {node(u"n"_qs, after)};
    }
    const QString parent = u"n/"_qs.repeated(levels);
    const LoneManifest file(compact(before));
    const Program program = file.program();
    QCOMPARE(program.run(u"list manifest.json "_qs + parent), done(u"end"_qs));
    QCOMPARE(program.run(u"instances manifest.json"_qs), done(u"end"_qs));
    QCOMPARE(program.run(u"set manifest.json %1end key value --save"_qs.arg(parent)), done(u"changed; saved"_qs));
    QCOMPARE(file.content(), compact(after));
    QCOMPARE(program.run(u"get manifest.json %1end key"_qs.arg(parent)), done(u"value"_qs));
    QCOMPARE(program.run(u"set manifest.json %1none key value"_qs.arg(parent)),
        failed(u"there is no element '%1none'"_qs.arg(parent)));
    QCOMPARE(program.run(u"delete manifest.json n --print"_qs), done(u"[]"_qs));
}

void tst_Edits::rewriteChangesAndCountsEveryMatch_data()
{
    const Table<QString, QByteArray, ProgramRun> row("commandLine", "after", "run");

    const QByteArray keyIsMissing = "warning: Unable to find key \"key\" in jsonObject: "
                                    "QJsonObject({\"instanceName\":\"x\",\"selectionType\":\"Selection\"}) !\n";
    const QJsonObject x = selection(u"x"_qs);
    const auto manifest = [](const QJsonObject& one, const QJsonObject& two, const QJsonObject& three) {
        return compact({one, node(u"n"_qs, {selection(u"n/x"_qs), two, node(u"m"_qs, {three})})});
    };
    const QString key = u"key"_qs;
    row("overwrite", u"rewrite manifest.json x key new --save --force"_qs,
        manifest(with(x, key, u"new"_qs), x, with(x, key, u"new"_qs)), done(u"2 changed; saved"_qs, keyIsMissing));
    row("add", u"rewrite manifest.json x key new --add --save --force"_qs,
        manifest(with(x, key, u"new"_qs), with(x, key, u"new"_qs), with(x, key, u"new"_qs)),
        done(u"3 changed; saved"_qs));
    row("remove", u"rewrite manifest.json x key --remove --save"_qs, manifest(x, x, x),
        done(u"2 changed; saved"_qs, keyIsMissing));
}

void tst_Edits::rewriteChangesAndCountsEveryMatch()
{
    QFETCH(QString, commandLine);
    QFETCH(QByteArray, after);
    QFETCH(ProgramRun, run);

    const QJsonObject x = selection(u"x"_qs);
    const QJsonObject xWithKey = with(x, u"key"_qs, 1);
    const LoneManifest file(compact({xWithKey, node(u"n"_qs, {selection(u"n/x"_qs), x, node(u"m"_qs, {xWithKey})})}));
    QCOMPARE(file.run(commandLine), run);
    QCOMPARE(file.content(), after);
    QVERIFY(file.isAlone());
}

void tst_Edits::rewriteKeepsEverythingElse()
{
    const QJsonArray everyKind = arrayFrom("[null,true,0,-1.5,1e300,\"\",\"text\",[[1]],{},{\"key\":{\"key\":2}}]");
    const QJsonObject element = with(top, u"kept"_qs, everyKind);
    const LoneManifest file(compact({element, 1, QJsonValue::Null, everyKind}));
    QCOMPARE(file.run(u"rewrite manifest.json top key value --add --save"_qs), done(u"1 changed; saved"_qs));
    QCOMPARE(file.content(), compact({with(element, u"key"_qs, u"value"_qs), 1, QJsonValue::Null, everyKind}));
}

MANIFEST_TEST_MAIN(tst_Edits)

#include "tst_edits.moc"
