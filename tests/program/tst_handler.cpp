#include "ProgramRun.h"
#include "SystemInformationManagerRegistryDefinitions.h"
#include "Table.h"
#include "TestMain.h"

#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QFileInfo>
#include <QtCore/QJsonDocument>

#include <algorithm>

#include <sys/stat.h>

namespace {

using Registry = SystemInformationManagerRegistryDefinitions;

const QByteArray noPosition = "warning: Cannot find key displayPosition in Json object!\n";
const QByteArray noPositionAndHide = noPosition + QByteArray("warning: Cannot find key \"hide\" in Json object!\n");

// What saveRuleManifest() consists of.
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

QJsonObject stamped(const QJsonObject& element, const QString& module, const QString& object)
{
    const QJsonObject halfway = module.isEmpty() ? element : with(element, Registry::getKeyModuleName(), module);
    return object.isEmpty() ? halfway : with(halfway, Registry::getKeyObjectName(), object);
}

// A value in which there is a value of every kind.
QJsonArray everyKind()
{
    return arrayFrom("[null,true,false,0,-1.5,1e300,\"\",\"text\",[],[[1]],{},{\"key\":{\"key\":2}}]");
}

void addEdits()
{
    addProgramEditColumns();
    const QString changed = u"changed"_qs;
    const QString unchanged = u"unchanged"_qs;
    const auto withKey = [](const QJsonValue& value) { return QJsonArray {with(top, u"key"_qs, value), a(), spare}; };

    addProgramEdit("set, key is missing", u"set manifest.json top key value"_qs, withKey(u"value"_qs), changed);
    addProgramEdit("set, key is there", u"set manifest.json a instanceName b"_qs,
        {top, with(a(), u"instanceName"_qs, u"b"_qs), spare}, changed);
    addProgramEdit(
        "set, value is there", u"set manifest.json a/second instanceName second"_qs, saveRuleManifest(), unchanged);
    addProgramEdit("set, below a node", u"set manifest.json a/first key 'two words'"_qs,
        {top, a({with(first, u"key"_qs, u"two words"_qs), second}), spare}, changed);
    addProgramEdit("set, empty value", u"set manifest.json top key ''"_qs, withKey(QString()), changed);
    addProgramEdit("set, empty key", u"set manifest.json top '' value"_qs,
        {with(top, QString(), u"value"_qs), a(), spare}, changed);
    addProgramEdit("set, value like an option", u"set manifest.json --json top key -- -1"_qs, withKey(-1), changed);
    addProgramEdit("set, text that is JSON", u"set manifest.json top key true"_qs, withKey(u"true"_qs), changed);
    addProgramEdit("set, null", u"set manifest.json top key null --json"_qs, withKey(QJsonValue::Null), changed);
    addProgramEdit("set, boolean", u"set manifest.json top key true --json"_qs, withKey(true), changed);
    addProgramEdit("set, number", u"set manifest.json top key 42 --json"_qs, withKey(42), changed);
    addProgramEdit("set, fraction", u"set manifest.json top key 2.5e-3 --json"_qs, withKey(0.0025), changed);
    addProgramEdit(
        "set, JSON text", u"set manifest.json top key '\"te\\u0078t\"' --json"_qs, withKey(u"text"_qs), changed);
    addProgramEdit("set, array", u"set manifest.json top key '[1,\"2\",null]' --json"_qs,
        withKey(QJsonArray {1, u"2"_qs, QJsonValue::Null}), changed);
    addProgramEdit("set, object", u"set manifest.json top key '{\"a\":{\"b\":[]}}' --json"_qs,
        withKey(objectFrom("{\"a\":{\"b\":[]}}")), changed);
    addProgramEdit(
        "set, JSON between blanks", u"set manifest.json top key ' [ 1 ] ' --json"_qs, withKey(QJsonArray {1}), changed);
    addProgramEdit("set, with names", u"set manifest.json spare key value --module M --object O"_qs,
        {stamped(top, u"M"_qs, u"O"_qs), a({stamped(first, u"M"_qs, u"O"_qs), second}),
            with(spare, u"key"_qs, u"value"_qs)},
        changed);

    addProgramEdit("set, value is there, names are stamped",
        u"set manifest.json a/second instanceName second --module M --object O"_qs,
        {stamped(top, u"M"_qs, u"O"_qs), a({stamped(first, u"M"_qs, u"O"_qs), second}), spare}, changed);

    addProgramEdit("update", u"update manifest.json top selectionType Node"_qs, {node(u"top"_qs), a(), spare}, changed);
    addProgramEdit("update, JSON", u"update manifest.json spare instanceName null --json --force"_qs,
        {top, a(), with(spare, u"instanceName"_qs, QJsonValue::Null)}, changed);
    addProgramEdit("update, value is there", u"update manifest.json a/first instanceName a/first"_qs,
        saveRuleManifest(), unchanged);

    addProgramEdit("unset", u"unset manifest.json a substructure --force"_qs, {top, node(u"a"_qs), spare}, changed);

    addProgramEdit(
        "add-node", u"add-node manifest.json b"_qs, {top, a(), spare, addedNode(u"b"_qs)}, changed, noPosition);
    addProgramEdit("add-node, below a node", u"add-node manifest.json a/b"_qs,
        {top, a({first, second, addedNode(u"b"_qs)}), spare}, changed, noPosition);
    addProgramEdit("add-node, below a selection", u"add-node manifest.json top/b --force"_qs,
        {with(top, u"substructure"_qs, QJsonArray {addedNode(u"b"_qs)}), a(), spare}, changed, noPosition);
    addProgramEdit("add-node, at the start", u"add-node manifest.json b --index 0"_qs,
        {addedNode(u"b"_qs), top, a(), spare}, changed, noPosition);
    addProgramEdit("add-node, in between", u"add-node --index=1 manifest.json a/b"_qs,
        {top, a({first, addedNode(u"b"_qs), second}), spare}, changed, noPosition);
    addProgramEdit("add-node, negative index", u"add-node manifest.json b --index -1"_qs,
        {top, a(), spare, addedNode(u"b"_qs)}, changed, noPosition);
    addProgramEdit("add-node, index behind the end", u"add-node manifest.json b --index 4"_qs,
        {top, a(), spare, addedNode(u"b"_qs)}, changed,
        noPosition + QByteArray("warning: The index for addElements is out of bounds, append the element\n"));
    addProgramEdit("add-node, description", u"add-node manifest.json b --description -"_qs,
        {top, a(), spare, with(addedNode(u"b"_qs), u"key"_qs, everyKind())}, changed, {},
        "{\"displayPosition\":1,\"instanceName\":\"other\",\"key\":" + compact(everyKind()) + "}\n");

    addProgramEdit("add-selection", u"add-selection manifest.json a/new"_qs,
        {top, a({first, second, addedSelection(u"a/new"_qs)}), spare}, changed, noPositionAndHide);
    addProgramEdit("add-selection, with an index", u"add-selection manifest.json new --index 1"_qs,
        {top, addedSelection(u"new"_qs), a(), spare}, changed, noPositionAndHide);
    addProgramEdit("add-selection, is there below a node", u"add-selection manifest.json a/first --force"_qs,
        {top, a({first, second, addedSelection(u"a/first"_qs)}), spare}, changed, noPositionAndHide);
    addProgramEdit("add-selection, description", u"add-selection manifest.json new --description -"_qs,
        {top, a(), spare, addedSelection(u"new"_qs, u"TXT"_qs)}, changed, {},
        "{\"displayPosition\":1,\"hide\":false,\"labelTextId\":\"TXT\",\"key\":1}");

    addProgramEdit("delete, selection", u"delete manifest.json a/first"_qs, {top, a({second}), spare}, changed);
    addProgramEdit("delete, node", u"delete manifest.json a"_qs, {top, spare}, changed);

    addProgramEdit("move-node", u"move-node manifest.json spare 0"_qs, {spare, top, a()}, changed);
    addProgramEdit(
        "move-node, below a node", u"move-node manifest.json a/second 0"_qs, {top, a({second, first}), spare}, changed);
    addProgramEdit("move-node, stays", u"move-node manifest.json a 1"_qs, saveRuleManifest(), unchanged);
    addProgramEdit("move-selection", u"move-selection manifest.json top 2"_qs, {a(), spare, top}, changed);
    addProgramEdit("move-selection, below a node", u"move-selection manifest.json a/first 1"_qs,
        {top, a({second, first}), spare}, changed);

    const QJsonObject description = objectFrom("{\"key\":1,\"substructure\":[{}]}");
    addProgramEdit("update-node", u"update-node manifest.json a --description - --force"_qs,
        {top, with(description, u"substructure"_qs, QJsonArray {first, second}), spare}, changed, {},
        "{\"key\":1,\"substructure\":[{}]}");
    addProgramEdit("update-node, with its children",
        u"update-node manifest.json a --description - --replace-substructure --force"_qs, {top, description, spare},
        changed, {}, "{\"key\":1,\"substructure\":[{}]}");
    addProgramEdit("update-selection", u"update-selection manifest.json a/first --description - --force"_qs,
        {top, a({QJsonObject {{u"key"_qs, 1}}, second}), spare}, changed, {}, "{\"key\":1,\"substructure\":[{}]}");

    addProgramEdit("sort, top level", u"sort manifest.json '' spare a top"_qs, {spare, a(), top}, changed);
    addProgramEdit(
        "sort, below a node", u"sort manifest.json a second first"_qs, {top, a({second, first}), spare}, changed);
    addProgramEdit("sort, more names", u"sort manifest.json a none second first other"_qs,
        {top, a({second, first}), spare}, changed);

    const QString asStamped = u"stamped"_qs;
    const auto allStamped = [](const QString& module, const QString& object) {
        return QJsonArray {stamped(top, module, object), a({stamped(first, module, object), second}), spare};
    };
    addProgramEdit("stamp, module", u"stamp manifest.json --module M"_qs, allStamped(u"M"_qs, {}), asStamped);
    addProgramEdit("stamp, object", u"stamp --object=O manifest.json"_qs, allStamped({}, u"O"_qs), asStamped);
    addProgramEdit("stamp, both", u"stamp --module 'the module' manifest.json --object Ö"_qs,
        allStamped(u"the module"_qs, u"Ö"_qs), asStamped);
}

QString noElement(const QString& path)
{
    return u"there is no element '%1'"_qs.arg(path);
}

} // namespace

class tst_Handler : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void queriesPrintTheirResults_data();
    void queriesPrintTheirResults();
    void listOfASelectionSaysThatItHasNoChildren();
    void getPrintsAnElementAsJson();
    void getPrintsEveryKindOfValue_data();
    void getPrintsEveryKindOfValue();
    void queriesThatLeadNowhereFail_data();
    void queriesThatLeadNowhereFail();

    void editsAreNotSavedUnasked_data();
    void editsAreNotSavedUnasked();
    void printShowsWhatWouldBeSaved_data();
    void printShowsWhatWouldBeSaved();
    void printNeverSaves_data();
    void printNeverSaves();
    void editsAreSavedOnRequest_data();
    void editsAreSavedOnRequest();
    void saveOnAFullDiskFails_data();
    void saveOnAFullDiskFails();
    void saveIntoAnUnwritableFolderFails_data();
    void saveIntoAnUnwritableFolderFails();
    void saveThatFailsAtItsLastStepFails_data();
    void saveThatFailsAtItsLastStepFails();
    void saveOverAReadOnlyFileFails();
    void saveGoesWhereALinkLeads();
    void optionsStandAnywhereBehindTheCommand_data();
    void optionsStandAnywhereBehindTheCommand();

    void editsThatDoNotApplyFail_data();
    void editsThatDoNotApplyFail();
    void missingKeyIsNamedAlsoOfAnElementFoundByItsWholePath();
    void valuesThatAreNoJsonAreWrongUsage_data();
    void valuesThatAreNoJsonAreWrongUsage();
    void descriptionIsReadFromAFile();
    void descriptionsThatAreNoneFail_data();
    void descriptionsThatAreNoneFail();

    void commandsFailWithoutAManifest_data();
    void commandsFailWithoutAManifest();
    void whatIsNoManifestIsSaidSo_data();
    void whatIsNoManifestIsSaidSo();
    void emptyManifestIsOne();
    void deepManifestsCanBeEdited();

    void nothingHostileIsPrinted_data();
    void nothingHostileIsPrinted();
    void jsonIsEscapedForTerminalsOnly_data();
    void jsonIsEscapedForTerminalsOnly();
};

void tst_Handler::queriesPrintTheirResults_data()
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
    row("get, children", u"get manifest.json a substructure"_qs, compact({first, second}) + '\n');
    row("get, module name", u"get --module M manifest.json top moduleName"_qs, "M\n");
    row("get, object name", u"get manifest.json a/first objectName --object O"_qs, "O\n");
}

void tst_Handler::queriesPrintTheirResults()
{
    QFETCH(QString, commandLine);
    QFETCH(QByteArray, output);

    const ManifestFile file(compact(saveRuleManifest()));
    const FileState before = stateOf(file.path());
    QCOMPARE(Program().in(file.folder()).run(commandLine), (ProgramRun {0, output, QByteArray()}));
    QCOMPARE(stateOf(file.path()), before);
    QVERIFY(file.isAlone());
}

void tst_Handler::listOfASelectionSaysThatItHasNoChildren()
{
    const ManifestFile file(compact(saveRuleManifest()));
    QCOMPARE(Program().in(file.folder()).run(u"list manifest.json a/first"_qs),
        (ProgramRun {0, QByteArray(), "configuration-manifest: 'a/first' is a selection, it has no children\n"}));
}

void tst_Handler::getPrintsAnElementAsJson()
{
    const QJsonObject element = with(a(), u"key"_qs, everyKind());
    const ManifestFile file(compact({top, element}));
    QCOMPARE(Program().in(file.folder()).run(u"get manifest.json a"_qs),
        (ProgramRun {0, QJsonDocument(element).toJson(QJsonDocument::Indented), QByteArray()}));
}

void tst_Handler::getPrintsEveryKindOfValue_data()
{
    const Table<QJsonValue> row("value");

    const QJsonArray values = everyKind();
    for (const QJsonValue& value : values) {
        row(compact({value}).constData(), value);
    }
}

void tst_Handler::getPrintsEveryKindOfValue()
{
    QFETCH(QJsonValue, value);

    const ManifestFile file(compact({with(top, u"key"_qs, value)}));
    const QByteArray json = compact({value}).chopped(1).mid(1) + '\n';
    const Program program = Program().in(file.folder());
    QCOMPARE(program.run(u"get manifest.json top key --json"_qs), (ProgramRun {0, json, QByteArray()}));
    QCOMPARE(program.run(u"get manifest.json top key"_qs),
        value.isString() ? done(value.toString()) : (ProgramRun {0, json, QByteArray()}));
}

void tst_Handler::queriesThatLeadNowhereFail_data()
{
    addProgramFailureColumns();
    const auto lookup = [](const char* names, const char* path) -> QByteArray {
        return QByteArray("warning: Cannot find element for path (") + names
            + ")\nwarning: Error on getting node element for path \"" + path + "\" !\n";
    };

    addProgramFailure("list", u"list manifest.json none"_qs, failed(noElement(u"none"_qs), lookup("\"none\"", "none")));
    addProgramFailure("list, below a node", u"list manifest.json a/none"_qs,
        failed(noElement(u"a/none"_qs), lookup("\"none\"", "a/none")));
    addProgramFailure("list, inner part", u"list manifest.json a/none/x/y"_qs,
        failed(noElement(u"a/none"_qs), "warning: Error on getting node element for path \"a/none/x/y\" !\n"));
    addProgramFailure("list, empty names are skipped", u"list manifest.json a//none"_qs,
        failed(noElement(u"a/none"_qs), lookup("\"none\"", "a//none")));
    addProgramFailure("list, path of no name", u"list manifest.json /"_qs, misused(u"PATH is empty"_qs));
    addProgramFailure(
        "count", u"count manifest.json none"_qs, failed(noElement(u"none"_qs), lookup("\"none\"", "none")));
    const auto notFound = [](const char* name) -> QByteArray {
        return QByteArray("warning: Cannot find element for path (\"") + name + "\")\n";
    };
    addProgramFailure("get", u"get manifest.json none"_qs, failed(noElement(u"none"_qs), notFound("none")));
    addProgramFailure("get, first part", u"get manifest.json none/x key"_qs, failed(noElement(u"none"_qs)));
    addProgramFailure("get, inner part", u"get manifest.json a/none/x"_qs, failed(noElement(u"a/none"_qs)));
    addProgramFailure("get, empty names are skipped", u"get manifest.json /a//none/"_qs,
        failed(noElement(u"a/none"_qs), notFound("none")));
    addProgramFailure(
        "get, below a selection", u"get manifest.json top/x"_qs, failed(noElement(u"top/x"_qs), notFound("x")));
    addProgramFailure(
        "get, whole name of a selection", u"get manifest.json a/a/first"_qs, failed(noElement(u"a/a"_qs)));
    addProgramFailure("get, empty path", u"get manifest.json ''"_qs, misused(u"PATH is empty"_qs));
    addProgramFailure("get, path of no name", u"get manifest.json // key"_qs, misused(u"PATH is empty"_qs));
    addProgramFailure("get, key", u"get manifest.json a/second none"_qs, failed(u"'a/second' has no key 'none'"_qs));
    addProgramFailure("get, key in capitals", u"get manifest.json top INSTANCENAME"_qs,
        failed(u"'top' has no key 'INSTANCENAME'"_qs));
    addProgramFailure("get, empty key", u"get manifest.json top ''"_qs, failed(u"'top' has no key ''"_qs));
}

void tst_Handler::queriesThatLeadNowhereFail()
{
    checkProgramFailure();
}

void tst_Handler::editsAreNotSavedUnasked_data()
{
    addEdits();
}

void tst_Handler::editsAreNotSavedUnasked()
{
    checkEditIsNotSavedUnasked();
}

void tst_Handler::printShowsWhatWouldBeSaved_data()
{
    addEdits();
}

void tst_Handler::printShowsWhatWouldBeSaved()
{
    checkPrintShowsWhatWouldBeSaved();
}

void tst_Handler::printNeverSaves_data()
{
    const Table<QString> row("commandLine");

    row("behind --save", u"set manifest.json top key value --save --print"_qs);
    row("before --save", u"set --print manifest.json top key value --save"_qs);
    row("beside --dry-run", u"set --print manifest.json top key value --dry-run"_qs);
}

void tst_Handler::printNeverSaves()
{
    QFETCH(QString, commandLine);

    const ManifestFile file(compact(saveRuleManifest()));
    const FileState before = stateOf(file.path());
    QCOMPARE(Program().in(file.folder()).run(commandLine),
        done(QString::fromUtf8(compact({with(top, u"key"_qs, u"value"_qs), a(), spare}))));
    QCOMPARE(stateOf(file.path()), before);
    QVERIFY(file.isAlone());
}

void tst_Handler::editsAreSavedOnRequest_data()
{
    addEdits();
}

void tst_Handler::editsAreSavedOnRequest()
{
    checkEditIsSaved();
}

void tst_Handler::saveOnAFullDiskFails_data()
{
    addEdits();
}

void tst_Handler::saveOnAFullDiskFails()
{
    checkSaveFails(Program().prepared(onFullDisk), u"File too large"_qs,
        "warning: Error on writing instance list to manifest file!\n");
}

void tst_Handler::saveIntoAnUnwritableFolderFails_data()
{
    addEdits();
}

void tst_Handler::saveIntoAnUnwritableFolderFails()
{
    checkSaveFails(Program().prepared(asOrdinaryUser), u"Permission denied"_qs,
        "warning: Cannot open configuration manifest file for writing: \"manifest.json\" !\n", 0555);
}

void tst_Handler::saveThatFailsAtItsLastStepFails_data()
{
    addEdits();
}

void tst_Handler::saveThatFailsAtItsLastStepFails()
{
    checkSaveFails(Program().unableToRename(), u"cause unknown"_qs);
}

void tst_Handler::saveOverAReadOnlyFileFails()
{
    const ManifestFile file(compact(saveRuleManifest()));
    const FileState before = stateOf(file.path());
    chmod(qPrintable(file.path()), 0444);
    QCOMPARE(Program().in(file.folder()).prepared(asOrdinaryUser).run(u"stamp manifest.json --module M --save"_qs),
        failed(u"could not save manifest.json: Permission denied"_qs,
            "warning: Cannot open configuration manifest file for writing: \"manifest.json\" !\n"));
    QCOMPARE(stateOf(file.path()), before);
    QVERIFY(file.isAlone());
}

void tst_Handler::saveGoesWhereALinkLeads()
{
    const ManifestFile file(compact(saveRuleManifest()));
    const QString link = file.folder() + u"/link.json"_qs;
    QVERIFY(QFile::link(file.path(), link));
    QCOMPARE(Program().in(file.folder()).run(u"delete link.json a --save"_qs), done(u"changed; saved"_qs));
    QCOMPARE(file.content(), compact({top, spare}));
    QVERIFY(QFileInfo(link).isSymLink());
}

void tst_Handler::optionsStandAnywhereBehindTheCommand_data()
{
    const Table<QString> row("commandLine");

    row("before the file", u"set --json --save --module M manifest.json top key 1"_qs);
    row("between", u"set manifest.json --module M top --json key --save 1"_qs);
    row("at the end", u"set manifest.json top key 1 --save --module M --json"_qs);
    row("everywhere", u"set --module=M manifest.json top --save key 1 --json"_qs);
    row("before a double dash", u"set --module=M --save --json -- manifest.json top key 1"_qs);
}

void tst_Handler::optionsStandAnywhereBehindTheCommand()
{
    QFETCH(QString, commandLine);

    const ManifestFile file(compact({top}));
    QCOMPARE(Program().in(file.folder()).run(commandLine), done(u"changed; saved"_qs));
    QCOMPARE(file.content(), compact({with(stamped(top, u"M"_qs, {}), u"key"_qs, 1)}));
}

void tst_Handler::editsThatDoNotApplyFail_data()
{
    addProgramFailureColumns();
    const QByteArray outOfBounds = "warning: Index out of bounds, move failed\n";
    const QByteArray wrongPath = "warning: InstancePath is wrong, replace failed\n";
    const auto namesOf = [](const char* where) {
        return failed(u"the names are not those of all children of %1"_qs.arg(QLatin1String(where)));
    };

    addProgramFailure("set", u"set manifest.json none key value"_qs, failed(noElement(u"none"_qs)));
    addProgramFailure("set, first part", u"set manifest.json none/x/y key value"_qs, failed(noElement(u"none"_qs)));
    addProgramFailure("set, inner part", u"set manifest.json a/none/x key value"_qs, failed(noElement(u"a/none"_qs)));
    addProgramFailure("set, last part", u"set manifest.json a/none key value"_qs, failed(noElement(u"a/none"_qs)));
    addProgramFailure(
        "set, below a selection", u"set manifest.json top/x key value"_qs, failed(noElement(u"top/x"_qs)));
    addProgramFailure("set, empty path", u"set manifest.json '' key value"_qs, misused(u"PATH is empty"_qs));
    addProgramFailure("set, empty name", u"set manifest.json a//first key value"_qs, failed(noElement(u"a/"_qs)));
    addProgramFailure("set, empty name first", u"set manifest.json /a key value"_qs, failed(noElement(QString())));
    addProgramFailure("update", u"update manifest.json a/none key value"_qs, failed(noElement(u"a/none"_qs)));
    addProgramFailure(
        "update, key", u"update manifest.json a/first none value"_qs, failed(u"'a/first' has no key 'none'"_qs));
    addProgramFailure("update, key and value are JSON", u"update manifest.json top none 1 --json"_qs,
        failed(u"'top' has no key 'none'"_qs));
    addProgramFailure("unset", u"unset manifest.json none key"_qs, failed(noElement(u"none"_qs)));
    addProgramFailure(
        "unset, key is missing", u"unset manifest.json a none"_qs, failed(u"'a' has no key 'none' to remove"_qs));
    addProgramFailure("add-node, is there", u"add-node manifest.json a/second"_qs,
        failed(u"there already is an element 'a/second'"_qs));
    addProgramFailure("add-selection, is there", u"add-selection manifest.json top"_qs,
        failed(u"there already is an element 'top'"_qs));
    addProgramFailure("stamp, no name", u"stamp manifest.json"_qs,
        misused(u"there is nothing to stamp: --module or --object gives a name"_qs));

    addProgramFailure("add-node", u"add-node manifest.json none/b"_qs, failed(noElement(u"none"_qs)));
    addProgramFailure("add-node, inner part", u"add-node manifest.json a/none/x/b"_qs, failed(noElement(u"a/none"_qs)));
    addProgramFailure("add-selection", u"add-selection manifest.json a/none/b"_qs, failed(noElement(u"a/none"_qs)));
    addProgramFailure("delete", u"delete manifest.json none"_qs, failed(noElement(u"none"_qs)));
    addProgramFailure("delete, inner part", u"delete manifest.json a/none/x"_qs, failed(noElement(u"a/none"_qs)));

    addProgramFailure("move-node", u"move-node manifest.json none 0"_qs, failed(noElement(u"none"_qs)));
    addProgramFailure("move-node, behind the end", u"move-node manifest.json spare 3"_qs,
        failed(u"there is no position 3 beside 'spare'"_qs, outOfBounds));
    addProgramFailure("move-node, before the start", u"move-node manifest.json a/second -- -1"_qs,
        failed(u"there is no position -1 beside 'a/second'"_qs, outOfBounds));
    addProgramFailure("move-selection", u"move-selection manifest.json a/none 0"_qs, failed(noElement(u"a/none"_qs)));
    addProgramFailure("move-selection, behind the end", u"move-selection manifest.json a/first 2"_qs,
        failed(u"there is no position 2 beside 'a/first'"_qs, outOfBounds));

    addProgramFailure("update-node", u"update-node manifest.json none --description -"_qs,
        failed(noElement(u"none"_qs), wrongPath), "{}");
    addProgramFailure("update-node, inner part", u"update-node manifest.json a/none/x --description -"_qs,
        failed(noElement(u"a/none"_qs)), "{}");
    addProgramFailure("update-selection", u"update-selection manifest.json a/none --description -"_qs,
        failed(noElement(u"a/none"_qs), wrongPath), "{}");

    addProgramFailure("sort", u"sort manifest.json none x"_qs, failed(noElement(u"none"_qs)));
    addProgramFailure("sort, inner part", u"sort manifest.json a/none/x y"_qs, failed(noElement(u"a/none"_qs)));
    addProgramFailure("sort, a child is not named", u"sort manifest.json a second"_qs, namesOf("'a'"));
    addProgramFailure("sort, top level", u"sort manifest.json '' top a"_qs, namesOf("the top level"));
    addProgramFailure("sort, a name is nobody's", u"sort manifest.json '' top a none"_qs, namesOf("the top level"));
    addProgramFailure("sort, whole names of selections", u"sort manifest.json a second a/first"_qs, namesOf("'a'"));
}

void tst_Handler::editsThatDoNotApplyFail()
{
    checkEditFailure();
}

void tst_Handler::missingKeyIsNamedAlsoOfAnElementFoundByItsWholePath()
{
    const ManifestFile file(compact({a({node(u"a/b"_qs)})}));
    QCOMPARE(Program().in(file.folder()).run(u"update manifest.json a/b instanceName c --print"_qs),
        done(QString::fromUtf8(compact({a({node(u"c"_qs)})}))));
    QCOMPARE(Program().in(file.folder()).run(u"update manifest.json a/b none value"_qs),
        failed(u"'a/b' has no key 'none'"_qs));
}

void tst_Handler::valuesThatAreNoJsonAreWrongUsage_data()
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

void tst_Handler::valuesThatAreNoJsonAreWrongUsage()
{
    QFETCH(QString, value);
    QFETCH(QString, shown);

    const ManifestFile file(compact(saveRuleManifest()));
    const FileState before = stateOf(file.path());
    for (const QString& command : {u"set"_qs, u"update"_qs, u"rewrite"_qs}) {
        QCOMPARE(
            Program()
                .in(file.folder())
                .run({command, u"manifest.json"_qs, u"top"_qs, u"instanceName"_qs, value, u"--json"_qs, u"--save"_qs}),
            misused(u"'%1' is not a JSON value"_qs.arg(shown)));
    }
    QCOMPARE(stateOf(file.path()), before);
    QVERIFY(file.isAlone());
}

void tst_Handler::descriptionIsReadFromAFile()
{
    const ManifestFile file("[]");
    writeFile(file.folder() + u"/new node.json"_qs, "{\"displayPosition\":1,\"key\":[true]}");
    writeFile(file.folder() + u"/-"_qs, "{\"displayPosition\":1,\"hide\":false,\"labelTextId\":\"TXT\"}");
    const Program program = Program().in(file.folder());
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

void tst_Handler::descriptionsThatAreNoneFail_data()
{
    addProgramFailureColumns();
    addProgramFailure(
        "no such file", u"--description none.json"_qs, misused(u"cannot read none.json: No such file or directory"_qs));
    addProgramFailure("folder", u"--description ."_qs, misused(u"cannot read .: it is a folder"_qs));
    addProgramFailure(
        "the manifest", u"--description manifest.json"_qs, misused(u"manifest.json does not hold a JSON object"_qs));
    const auto addInput = [](const char* name, const QByteArray& input) {
        addProgramFailure(name, u"--description -"_qs, misused(u"- does not hold a JSON object"_qs), input);
    };
    addInput("nothing", {});
    addInput("not JSON", "{");
    addInput("array", "[{}]");
    addInput("null", "null");
    addInput("text", "\"{}\"");
    addInput("two objects", "{}{}");
}

void tst_Handler::descriptionsThatAreNoneFail()
{
    QFETCH(QString, commandLine);
    QFETCH(QByteArray, input);
    QFETCH(ProgramRun, run);

    const ManifestFile file(compact(saveRuleManifest()));
    const FileState before = stateOf(file.path());
    for (const QString& command : {u"add-node"_qs, u"add-selection"_qs, u"update-node"_qs, u"update-selection"_qs}) {
        QCOMPARE(Program()
                     .in(file.folder())
                     .reading(input)
                     .run(u"%1 manifest.json spare --save %2"_qs.arg(command, commandLine)),
            run);
    }
    QCOMPARE(stateOf(file.path()), before);
    QVERIFY(file.isAlone());
}

void tst_Handler::commandsFailWithoutAManifest_data()
{
    const Table<QString> row("commandLine");

    for (const char* const commandLine :
        {"list none.json", "count none.json", "get none.json top", "set none.json top key value --save",
            "update none.json top key value --save", "unset none.json top key --save", "add-node none.json b --save",
            "add-selection none.json b --save", "delete none.json top --save", "move-node none.json top 0 --save",
            "move-selection none.json top 0 --save", "update-node none.json a --description - --save",
            "update-selection none.json a --description - --save", "sort none.json '' top --save",
            "stamp none.json --module M --save", "stamp none.json --object O --dry-run", "show none.json",
            "exists none.json top", "instances none.json", "rewrite none.json top key value --save"}) {
        row(commandLine, QString::fromUtf8(commandLine));
    }
}

void tst_Handler::commandsFailWithoutAManifest()
{
    QFETCH(QString, commandLine);

    const QTemporaryDir directory;
    QCOMPARE(Program().in(directory.path()).reading("{}").run(commandLine),
        misused(u"cannot read none.json: No such file or directory"_qs));
    QCOMPARE(everythingIn(directory.path()), QStringList());
}

void tst_Handler::whatIsNoManifestIsSaidSo_data()
{
    const Table<QByteArray, QString> row("content", "problem");

    row("empty", {}, u"illegal value at byte 0"_qs);
    row("not JSON", "[1,", u"unterminated array at byte 3"_qs);
    row("object", "{}", u"its root is not an array"_qs);
}

void tst_Handler::whatIsNoManifestIsSaidSo()
{
    QFETCH(QByteArray, content);
    QFETCH(QString, problem);

    const ManifestFile file(content);
    const FileState before = stateOf(file.path());
    for (const char16_t* const commandLine :
        {u"list manifest.json", u"instances manifest.json", u"stamp manifest.json --module M --save",
            u"add-node manifest.json b --save", u"sort manifest.json '' x --dry-run"}) {
        QCOMPARE(Program().in(file.folder()).run(QString::fromUtf16(commandLine)),
            misused(u"manifest.json is not a manifest: "_qs + problem));
    }
    QCOMPARE(stateOf(file.path()), before);
    QVERIFY(file.isAlone());
}

void tst_Handler::emptyManifestIsOne()
{
    const ManifestFile file("[]");
    const Program program = Program().in(file.folder());
    QCOMPARE(program.run(u"list manifest.json"_qs), (ProgramRun {0, QByteArray(), QByteArray()}));
    QCOMPARE(program.run(u"count manifest.json"_qs), done(u"0"_qs));
    QCOMPARE(program.run(u"instances manifest.json"_qs), (ProgramRun {0, QByteArray(), QByteArray()}));
    QCOMPARE(program.run(u"get manifest.json top"_qs),
        failed(noElement(u"top"_qs), "warning: Cannot find element for path (\"top\")\n"));
    QCOMPARE(program.run(u"stamp manifest.json --module M --print"_qs), done(u"[]"_qs));
    QCOMPARE(program.run(u"add-node manifest.json b --save"_qs), done(u"changed; saved"_qs, noPosition));
    QCOMPARE(program.run(u"delete manifest.json b --save"_qs), done(u"changed; saved"_qs));
    QCOMPARE(file.content(), QByteArray("[]"));
}

void tst_Handler::deepManifestsCanBeEdited()
{
    constexpr int levels = 500;
    QJsonArray before {selection(u"end"_qs)};
    QJsonArray after {with(selection(u"end"_qs), u"key"_qs, u"value"_qs)};
    for (int level = 0; level < levels; ++level) {
        before = {node(u"n"_qs, before)};
        after = {node(u"n"_qs, after)};
    }
    const QString parent = u"n/"_qs.repeated(levels);
    const ManifestFile file(compact(before));
    const Program program = Program().in(file.folder());
    QCOMPARE(program.run(u"list manifest.json "_qs + parent), done(u"end"_qs));
    QCOMPARE(program.run(u"instances manifest.json"_qs), done(u"end"_qs));
    QCOMPARE(program.run(u"set manifest.json %1end key value --save"_qs.arg(parent)), done(u"changed; saved"_qs));
    QCOMPARE(file.content(), compact(after));
    QCOMPARE(program.run(u"get manifest.json %1end key"_qs.arg(parent)), done(u"value"_qs));
    QCOMPARE(program.run(u"set manifest.json %1none key value"_qs.arg(parent)), failed(noElement(parent + u"none"_qs)));
    QCOMPARE(program.run(u"delete manifest.json n --print"_qs), done(u"[]"_qs));
}

namespace {

// Colours, a line feed, DEL, a C1 control and one that turns the direction of text.
QString hostile()
{
    return u"\x1b[31m\n\x7f\u009b\u202e"_qs;
}

// A manifest that has it in every place.
QByteArray hostileManifest()
{
    QJsonObject page = selection(hostile() + u'1');
    page.insert(u"labelTextId"_qs, hostile());
    page.insert(hostile(), hostile());
    const QJsonObject broken = {{u"selectionType"_qs, u"Selection"_qs}, {hostile(), hostile()}};
    const QJsonObject odd = with(with(node(hostile() + u'3'), hostile(), hostile()), u"substructure"_qs, 7);
    return compact({page, node(hostile() + u'2', {page}), odd, broken, with(broken, u"instanceName"_qs, 1)});
}

} // namespace

void tst_Handler::nothingHostileIsPrinted_data()
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

void tst_Handler::nothingHostileIsPrinted()
{
    QFETCH(QStringList, arguments);
    QFETCH(int, status);

    const ManifestFile file(hostileManifest());
    const ProgramRun run = Program().in(file.folder()).run(arguments);
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

void tst_Handler::jsonIsEscapedForTerminalsOnly_data()
{
    const Table<QStringList> row("arguments");

    const QString file = u"manifest.json"_qs;
    const QString page = hostile() + u'1';
    row("element", {u"get"_qs, file, page});
    row("array", {u"get"_qs, file, hostile() + u'2', u"substructure"_qs});
    row("print", {u"stamp"_qs, file, u"--module"_qs, u"M"_qs, u"--print"_qs});
}

void tst_Handler::jsonIsEscapedForTerminalsOnly()
{
    QFETCH(QStringList, arguments);

    const ManifestFile file(hostileManifest());
    const ProgramRun plain = Program().in(file.folder()).run(arguments);
    const ProgramRun shown = Program().in(file.folder()).onTerminal().run(arguments);
    QCOMPARE(plain.status, 0);
    QVERIFY(plain.output.contains(u"\u009b"_qs.toUtf8()));
    QCOMPARE(shown.status, 0);
    QVERIFY2(isHarmless(shown.output), shown.output.constData());
    QVERIFY(!QJsonDocument::fromJson(plain.output).isNull());
    QCOMPARE(QJsonDocument::fromJson(shown.output), QJsonDocument::fromJson(plain.output));
}

MANIFEST_TEST_MAIN(tst_Handler)

#include "tst_handler.moc"
