#include "ProgramRun.h"
#include "Table.h"
#include "TestMain.h"

#include <QtCore/QJsonDocument>

namespace {

// What saveRuleManifest() consists of.
const QJsonObject top = selection(u"top"_qs);
const QJsonObject first = selection(u"a/first"_qs);
const QJsonObject second = node(u"second"_qs);
const QJsonObject spare = node(u"spare"_qs);

QJsonObject a(const QJsonArray& children)
{
    return node(u"a"_qs, children);
}

QJsonObject withModule(const QJsonObject& element)
{
    return with(element, u"moduleName"_qs, u"M"_qs);
}

void addRewrites()
{
    addProgramEditColumns();
    const QString one = u"1 changed"_qs;

    addProgramEdit("overwrite", u"rewrite manifest.json top selectionType Other --force"_qs,
        {with(top, u"selectionType"_qs, u"Other"_qs), a({first, second}), spare}, one);
    addProgramEdit("overwrite, below a node", u"rewrite manifest.json a/first instanceName 'a/new name'"_qs,
        {top, a({selection(u"a/new name"_qs), second}), spare}, one);
    addProgramEdit("overwrite, node", u"rewrite manifest.json second instanceName third"_qs,
        {top, a({first, node(u"third"_qs)}), spare}, one);
    addProgramEdit("overwrite, value is there", u"rewrite manifest.json spare instanceName spare"_qs,
        saveRuleManifest(), u"unchanged"_qs);
    addProgramEdit("overwrite, JSON", u"rewrite manifest.json a substructure '[null,{\"b\":1.5}]' --json --force"_qs,
        {top, a({QJsonValue::Null, QJsonObject {{u"b"_qs, 1.5}}}), spare}, one);
    addProgramEdit("overwrite, JSON null", u"rewrite --json --force manifest.json top selectionType null"_qs,
        {with(top, u"selectionType"_qs, QJsonValue::Null), a({first, second}), spare}, one);
    addProgramEdit("overwrite, with a name", u"rewrite manifest.json spare instanceName other --module M"_qs,
        {withModule(top), a({withModule(first), second}), node(u"other"_qs)}, one);
    addProgramEdit("add", u"rewrite manifest.json a/first key value --add"_qs,
        {top, a({with(first, u"key"_qs, u"value"_qs), second}), spare}, one);
    addProgramEdit("add, key is there", u"rewrite manifest.json spare --add instanceName other"_qs,
        {top, a({first, second}), node(u"other"_qs)}, one);
    addProgramEdit("add, empty value", u"rewrite manifest.json top key '' --add"_qs,
        {with(top, u"key"_qs, QString()), a({first, second}), spare}, one);
    const QJsonArray others {spare, QJsonObject {{u"instanceName"_qs, u"top"_qs}}, u"top"_qs};
    addProgramEdit("add, value of other elements",
        u"rewrite manifest.json top key %1 --json --add"_qs.arg(QString::fromUtf8(compact(others))),
        {with(top, u"key"_qs, others), a({first, second}), spare}, one);
    addProgramEdit(
        "remove", u"rewrite manifest.json a substructure --remove --force"_qs, {top, node(u"a"_qs), spare}, one);
    addProgramEdit("remove, values would be JSON texts",
        u"rewrite manifest.json a substructure --remove --json --force"_qs, {top, node(u"a"_qs), spare}, one);
    addProgramEdit("remove, below a node", u"rewrite --remove --force manifest.json a/first selectionType"_qs,
        {top, a({QJsonObject {{u"instanceName"_qs, u"a/first"_qs}}, second}), spare}, one);
}

// The instance names of all selections, read without the library.
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

class tst_Iterators : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void instancesAreThoseOfAllSelectionsOfTheExamples_data();
    void instancesAreThoseOfAllSelectionsOfTheExamples();
    void instancesPrintsWholeNamesInTheOrderOfTheManifest();
    void instancesPassesOverWhatHasNoName();

    void rewritesAreNotSavedUnasked_data();
    void rewritesAreNotSavedUnasked();
    void printShowsWhatWouldBeSaved_data();
    void printShowsWhatWouldBeSaved();
    void rewritesAreSavedOnRequest_data();
    void rewritesAreSavedOnRequest();
    void saveOnAFullDiskFails_data();
    void saveOnAFullDiskFails();
    void saveIntoAnUnwritableFolderFails_data();
    void saveIntoAnUnwritableFolderFails();
    void saveThatFailsAtItsLastStepFails_data();
    void saveThatFailsAtItsLastStepFails();

    void rewriteChangesAndCountsEveryMatch_data();
    void rewriteChangesAndCountsEveryMatch();
    void rewriteKeepsEverythingElse();
    void rewriteWithinItsOwnValueFails_data();
    void rewriteWithinItsOwnValueFails();
    void rewriteOfNothingFails_data();
    void rewriteOfNothingFails();
};

void tst_Iterators::instancesAreThoseOfAllSelectionsOfTheExamples_data()
{
    const Table<QString, QString> row("scheme", "one");

    row("configuration", u"configuration"_qs, u"表示/日本語"_qs);
    row("process", u"process"_qs, u"diagnostics/log/events"_qs);
}

void tst_Iterators::instancesAreThoseOfAllSelectionsOfTheExamples()
{
    QFETCH(QString, scheme);
    QFETCH(QString, one);

    const QTemporaryDir directory;
    copyFolder(QStringLiteral(EXAMPLES "/device/configuration"), directory.path());
    const Program program = Program().in(directory.path());
    QCOMPARE(program.run(u"create-folder . --scheme "_qs + scheme).status, 0);

    const QString manifest = scheme + u".manifest.json"_qs;
    const QStringList names = selectionsOf(QJsonDocument::fromJson(readFile(directory.filePath(manifest))).array());
    QVERIFY(names.contains(one));
    QCOMPARE(program.run(u"instances "_qs + manifest), done(names.join(u'\n')));
}

void tst_Iterators::instancesPrintsWholeNamesInTheOrderOfTheManifest()
{
    const ManifestFile file(compact({
        selection(u"b/x"_qs),
        node(u"n"_qs, {selection(u"n/y"_qs), node(u"m"_qs, {selection(u"b/x"_qs)}), selection(u"a"_qs)}),
        with(selection(u"parent"_qs), u"member"_qs, QJsonObject {{u"inner"_qs, selection(u"child"_qs)}}),
        with(selection(u"no"_qs), u"selectionType"_qs, u"selection"_qs),
        selection(QString()),
        selection(u"last"_qs),
    }));
    const FileState before = stateOf(file.path());
    QCOMPARE(Program().in(file.folder()).run(u"instances manifest.json --object O"_qs),
        done(u"b/x\nn/y\nb/x\na\nparent\nchild\n\nlast"_qs));
    const ProgramRun paths = Program().in(file.folder()).run(u"instances manifest.json --paths"_qs);
    QCOMPARE(paths.output.count('\n'), 8);
    QVERIFY2(
        paths.output.endsWith("\nlast\tlast\nchild\tunreachable\toutside of the tree\n"), paths.output.constData());
    QCOMPARE(stateOf(file.path()), before);
    QVERIFY(file.isAlone());
}

void tst_Iterators::instancesPassesOverWhatHasNoName()
{
    const ManifestFile file(
        "[{\"selectionType\":\"Selection\",\"key\":\"\x7f\"},{\"selectionType\":7},{\"instanceName\":null,"
        "\"selectionType\":\"Selection\"},{\"instanceName\":\"a\",\"selectionType\":\"Selection\"}]");
    QCOMPARE(Program().in(file.folder()).run(u"instances manifest.json"_qs),
        done(u"a"_qs,
            "warning: Selection does not contain an instanceName: "
            "QJsonObject({\"key\":\"\\u{7f}\",\"selectionType\":\"Selection\"}) !\n"
            "warning: Error on reading selection type from json object: QJsonObject({\"selectionType\":7}) !\n"
            "warning: Error on reading instance name from selection: "
            "QJsonObject({\"instanceName\":null,\"selectionType\":\"Selection\"}) !\n"));
}

void tst_Iterators::rewritesAreNotSavedUnasked_data()
{
    addRewrites();
}

void tst_Iterators::rewritesAreNotSavedUnasked()
{
    checkEditIsNotSavedUnasked();
}

void tst_Iterators::printShowsWhatWouldBeSaved_data()
{
    addRewrites();
}

void tst_Iterators::printShowsWhatWouldBeSaved()
{
    checkPrintShowsWhatWouldBeSaved();
}

void tst_Iterators::rewritesAreSavedOnRequest_data()
{
    addRewrites();
}

void tst_Iterators::rewritesAreSavedOnRequest()
{
    checkEditIsSaved();
}

void tst_Iterators::saveOnAFullDiskFails_data()
{
    addRewrites();
}

void tst_Iterators::saveOnAFullDiskFails()
{
    checkSaveFails(Program().prepared(onFullDisk), u"File too large"_qs,
        "warning: Error on writing instance list to manifest file!\n");
}

void tst_Iterators::saveIntoAnUnwritableFolderFails_data()
{
    addRewrites();
}

void tst_Iterators::saveIntoAnUnwritableFolderFails()
{
    checkSaveFails(Program().prepared(asOrdinaryUser), u"Permission denied"_qs,
        "warning: Cannot open configuration manifest file for writing: \"manifest.json\" !\n", 0555);
}

void tst_Iterators::saveThatFailsAtItsLastStepFails_data()
{
    addRewrites();
}

void tst_Iterators::saveThatFailsAtItsLastStepFails()
{
    checkSaveFails(Program().unableToRename(), u"cause unknown"_qs);
}

void tst_Iterators::rewriteChangesAndCountsEveryMatch_data()
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

void tst_Iterators::rewriteChangesAndCountsEveryMatch()
{
    QFETCH(QString, commandLine);
    QFETCH(QByteArray, after);
    QFETCH(ProgramRun, run);

    const QJsonObject x = selection(u"x"_qs);
    const QJsonObject xWithKey = with(x, u"key"_qs, 1);
    const ManifestFile file(compact({xWithKey, node(u"n"_qs, {selection(u"n/x"_qs), x, node(u"m"_qs, {xWithKey})})}));
    QCOMPARE(Program().in(file.folder()).run(commandLine), run);
    QCOMPARE(file.content(), after);
    QVERIFY(file.isAlone());
}

void tst_Iterators::rewriteKeepsEverythingElse()
{
    const QJsonArray everyKind = arrayFrom("[null,true,0,-1.5,1e300,\"\",\"text\",[[1]],{},{\"key\":{\"key\":2}}]");
    const QJsonObject element = with(top, u"kept"_qs, everyKind);
    const ManifestFile file(compact({element, 1, QJsonValue::Null, everyKind}));
    QCOMPARE(Program().in(file.folder()).run(u"rewrite manifest.json top key value --add --save"_qs),
        done(u"1 changed; saved"_qs));
    QCOMPARE(file.content(), compact({with(element, u"key"_qs, u"value"_qs), 1, QJsonValue::Null, everyKind}));
}

void tst_Iterators::rewriteWithinItsOwnValueFails_data()
{
    addProgramFailureColumns();
    const QString element = u"{\"instanceName\":\"top\",\"selectionType\":null}"_qs;
    const auto add = [&](const char* name, const QString& arguments) {
        addProgramFailure(name, u"rewrite manifest.json --json "_qs + arguments.arg(element),
            misused(u"VALUE holds an element 'top' itself"_qs));
    };
    add("the value", u"top selectionType %1"_qs);
    add("added", u"top key %1 --add"_qs);
    add("in an array", u"top key [1,%1] --add"_qs);
    add("deep inside", u"top key [{\"a\":{\"b\":[[],%1]}}] --add"_qs);
}

void tst_Iterators::rewriteWithinItsOwnValueFails()
{
    checkEditFailure();
}

void tst_Iterators::rewriteOfNothingFails_data()
{
    addProgramFailureColumns();
    const auto noElement = [](const QString& instance, const QString& key) {
        return u"no element has the instance name '%1' and the key '%2'"_qs.arg(instance, key);
    };
    const QByteArray keyIsMissing = "warning: Unable to find key \"none\" in jsonObject: "
                                    "QJsonObject({\"instanceName\":\"top\",\"selectionType\":\"Selection\"}) !\n";

    addProgramFailure("no instance", u"rewrite manifest.json none selectionType value"_qs,
        failed(noElement(u"none"_qs, u"selectionType"_qs)));
    addProgramFailure("last part of a name", u"rewrite manifest.json first selectionType value"_qs,
        failed(noElement(u"first"_qs, u"selectionType"_qs)));
    addProgramFailure("path", u"rewrite manifest.json a/second selectionType value"_qs,
        failed(noElement(u"a/second"_qs, u"selectionType"_qs)));
    addProgramFailure("name in capitals", u"rewrite manifest.json TOP selectionType value"_qs,
        failed(noElement(u"TOP"_qs, u"selectionType"_qs)));
    addProgramFailure("empty name", u"rewrite manifest.json '' selectionType value"_qs,
        failed(noElement(QString(), u"selectionType"_qs)));
    addProgramFailure("no key to overwrite", u"rewrite manifest.json top none value"_qs,
        failed(noElement(u"top"_qs, u"none"_qs), keyIsMissing));
    addProgramFailure("no key to remove", u"rewrite manifest.json top none --remove"_qs,
        failed(noElement(u"top"_qs, u"none"_qs), keyIsMissing));
    addProgramFailure("no instance to add to", u"rewrite manifest.json none key value --add"_qs,
        failed(u"no element has the instance name 'none'"_qs));
    addProgramFailure("no instance to remove from", u"rewrite manifest.json none selectionType --remove"_qs,
        failed(noElement(u"none"_qs, u"selectionType"_qs)));
}

void tst_Iterators::rewriteOfNothingFails()
{
    checkEditFailure();
}

MANIFEST_TEST_MAIN(tst_Iterators)

#include "tst_iterators.moc"
