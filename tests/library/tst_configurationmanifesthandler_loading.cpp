#include "Literals.h"
#include "ManifestFixture.h"
#include "SystemInformationManagerRegistryDefinitions.h"
#include "TestMain.h"
#include "faults/FaultyCalls.h"

#include <QtCore/QDir>
#include <QtCore/QFileInfo>

#include <cerrno>
#include <type_traits>

#include <unistd.h>

static_assert(std::is_constructible_v<Handler, const QString&, const QString&, const QString&>);
static_assert(std::has_virtual_destructor_v<Handler> && !std::is_base_of_v<QObject, Handler>);
static_assert(has<const QString& (*)()>(&Handler::getKeySelectionType));
static_assert(has<const QString& (*)()>(&Handler::SelectionTypeValues::getSelection));
static_assert(has<const QString& (*)()>(&Handler::SelectionTypeValues::getNode));
static_assert(has<QJsonArray (Handler::*)() const>(&Handler::getManifestJsonArray));
static_assert(has<void (Handler::*)(const QJsonArray&)>(&Handler::setManifestJsonArray));
static_assert(has<QByteArray (Handler::*)()>(&Handler::getManifestContent));
static_assert(has<QString (Handler::*)() const>(&Handler::getManifestFilePath));
static_assert(has<bool (Handler::*)() const>(&Handler::getModified));
static_assert(has<QString (Handler::*)() const>(&Handler::getModuleName));
static_assert(has<QString (Handler::*)() const>(&Handler::getObjectName));
static_assert(has<void (Handler::*)()>(&Handler::parseManifestFile));
static_assert(has<void (Handler::*)(const QByteArray&)>(&Handler::parseManifestFile));
static_assert(has<void (Handler::*)(QJsonObject&) const>(&Handler::addModuleAndObjectNameToJsonObject));
static_assert(has<void (Handler::*)(QJsonValue&) const>(&Handler::addModuleAndObjectNameToManifest));
static_assert(has<void (Handler::*)(QJsonArray&) const>(&Handler::addModuleAndObjectNameToManifest));
static_assert(has<void (Handler::*)()>(&Handler::writeToManifestFile));

namespace {

const QString module = u"Drives"_qs;
const QString object = u"drive1"_qs;
const QJsonArray loadedBefore = {node(u"loaded before"_qs)};

Message loadMessage(const QString& text)
{
    return warning(text, "void ConfigurationManifestHandler::parseManifestFile()");
}

Message cannotFindFile()
{
    return loadMessage(u"Cannot find configuration manifest file!"_qs);
}

Message fileCannotBeRead(const QString& path)
{
    return loadMessage(u"Cannot open configuration manifest file for reading: \"%1\" !"_qs.arg(path));
}

Message parseMessage(const QString& text)
{
    return warning(text, "void ConfigurationManifestHandler::parseManifestFile(const QByteArray&)");
}

Message noArray()
{
    return parseMessage(u"Configuration manifest file does not contain a Json array!"_qs);
}

// A handler with something in memory that a load may lose.
void loadBefore(Handler& handler, bool modified)
{
    handler.setManifestJsonArray(loadedBefore);
    if (modified) {
        QVERIFY(handler.moveNode(u"loaded before"_qs, 0, false));
    }
    QCOMPARE(handler.getModified(), modified);
}

// One element with a text of the given length.
QJsonArray manifestWithText(int length)
{
    return {with(node(u"a"_qs), u"text"_qs, QString(length, u'x'))};
}

// `depth` elements below each other, the last one a selection.
QJsonArray chain(int depth)
{
    QJsonArray manifest = {selection(u"e%1"_qs.arg(depth))};
    for (int level = depth - 1; level > 0; --level) {
        manifest = {node(u"e%1"_qs.arg(level), manifest)};
    }
    return manifest;
}

// Nobody may change the folder within its life.
class ReadOnlyFolder {
public:
    explicit ReadOnlyFolder(const QString& folder)
        : path(folder)
    {
        allow(QFile::Permissions());
    }
    ~ReadOnlyFolder()
    {
        allow(QFile::WriteOwner);
    }
    Q_DISABLE_COPY(ReadOnlyFolder)

private:
    void allow(QFile::Permissions more)
    {
        const QFile::Permissions reading = QFile::ReadOwner | QFile::ExeOwner | QFile::ReadGroup | QFile::ExeGroup
            | QFile::ReadOther | QFile::ExeOther;
        if (!QFile::setPermissions(path, reading | more)) {
            qFatal("cannot change the permissions of %s", qPrintable(path));
        }
    }

    const QString path;
};

} // namespace

class tst_ConfigurationManifestHandler_loading : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void keyTextsAreBuiltOnce();
    void aNewHandlerKnowsItsArgumentsAndTouchesNoFile();
    void destructionReachesTheDerivedClass();
    void destructionDoesNotSave();
    void aManifestThatIsSetIsTakenAsItIs();
    void contentIsCompactJson_data();
    void contentIsCompactJson();

    void loadingReadsAndStampsTheFile();
    void everyWayToWriteAnArrayIsLoaded_data();
    void everyWayToWriteAnArrayIsLoaded();
    void loadingAgainTakesWhatTheFileHoldsNow();
    void aFileThatIsNotThereEmptiesTheManifest_data();
    void aFileThatIsNotThereEmptiesTheManifest();
    void aFileThatVanishesAfterTheFirstLookEmptiesTheManifest();
    void aFolderInThePlaceOfTheFileEmptiesTheManifest();
    void aFileThatMayNotBeReadEmptiesTheManifest();
    void uselessContentEmptiesTheManifestThroughTheFileOnly_data();
    void uselessContentEmptiesTheManifestThroughTheFileOnly();
    void bytesReplaceTheManifestAndNotTheFile();

    void anObjectIsStampedIfItIsASelection_data();
    void anObjectIsStampedIfItIsASelection();
    void stampingReachesEveryDepth_data();
    void stampingReachesEveryDepth();
    void stampingLeavesOtherValuesAlone_data();
    void stampingLeavesOtherValuesAlone();
    void stampingConcernsItsArgumentOnly();

    void savingWritesTheWholeManifest();
    void savingReplacesTheFileAtOnce();
    void savingDoesNotTouchModified();
    void theLastOfTwoHandlersWins();
    void savingWritesWhatLoadingStamped();
    void aLinkStaysAndItsTargetIsReplaced_data();
    void aLinkStaysAndItsTargetIsReplaced();
    void savingNeverCreatesTheFile_data();
    void savingNeverCreatesTheFile();
    void aFolderThatIsReadOnlyKeepsTheFile();
    void aFolderInThePlaceOfTheFileIsNotSavedTo();
    void aFullDiskKeepsTheFile_data();
    void aFullDiskKeepsTheFile();
    void aFailedSaveIsReportedBeforeItsTemporaryFileGoes();
    void aFailedReplacementIsNotReported();
    void aDeepManifestIsLoadedQueriedEditedAndSaved();
};

void tst_ConfigurationManifestHandler_loading::keyTextsAreBuiltOnce()
{
    using Registry = SystemInformationManagerRegistryDefinitions;
    using Values = Handler::SelectionTypeValues;
    QCOMPARE(Handler::getKeySelectionType(), u"selectionType"_qs);
    QCOMPARE(Values::getSelection(), u"Selection"_qs);
    QCOMPARE(Values::getNode(), u"Node"_qs);
    QCOMPARE(&Handler::getKeySelectionType(), &Handler::getKeySelectionType());
    QCOMPARE(&Values::getSelection(), &Values::getSelection());
    QCOMPARE(&Values::getNode(), &Values::getNode());

    QCOMPARE(Handler::getKeySelectionType(), Registry::getKeySelectionType());
    QCOMPARE(Values::getSelection(), Registry::SelectionTypeValues::getSelection());
    QCOMPARE(Values::getNode(), Registry::SelectionTypeValues::getNode());
}

void tst_ConfigurationManifestHandler_loading::aNewHandlerKnowsItsArgumentsAndTouchesNoFile()
{
    const ManifestFile file("[1]");
    const QString path = file.folder() + u"/../"_qs + QFileInfo(file.folder()).fileName() + u"//manifest.json"_qs;
    const QString missingPath = file.folder() + u"/missing/manifest.json"_qs;
    const MessageRecorder log;
    Handler handler(path, u" the module "_qs, QString());
    QCOMPARE(handler.getManifestFilePath(), path);
    QCOMPARE(handler.getModuleName(), u" the module "_qs);
    QCOMPARE(handler.getObjectName(), QString());
    QCOMPARE(handler.getManifestJsonArray(), QJsonArray());
    QCOMPARE(handler.getManifestContent(), QByteArray("[]"));
    QCOMPARE(handler.getModified(), false);

    const Handler other(missingPath, QString(), u"the object"_qs);
    QCOMPARE(other.getManifestFilePath(), missingPath);
    QCOMPARE(other.getModuleName(), QString());
    QCOMPARE(other.getObjectName(), u"the object"_qs);
    QVERIFY(file.isAlone());
    QCOMPARE(file.content(), QByteArray("[1]"));
}

void tst_ConfigurationManifestHandler_loading::destructionReachesTheDerivedClass()
{
    class Derived : public Handler {
    public:
        explicit Derived(bool& flag)
            : Handler(QString(), QString(), QString())
            , destroyed(flag)
        {
        }
        ~Derived() override
        {
            destroyed = true;
        }

    private:
        bool& destroyed;
    };

    bool destroyed = false;
    const Handler* handler = new Derived(destroyed);
    delete handler;
    QCOMPARE(destroyed, true);
}

void tst_ConfigurationManifestHandler_loading::destructionDoesNotSave()
{
    const ManifestFile file("[]");
    const MessageRecorder log;
    {
        Handler handler(file.path(), module, object);
        handler.parseManifestFile();
        QVERIFY(handler.addNode(u"a"_qs, objectFrom(R"({"displayPosition":1})"), -1, false));
    }
    QCOMPARE(file.content(), QByteArray("[]"));
    QVERIFY(file.isAlone());
}

void tst_ConfigurationManifestHandler_loading::aManifestThatIsSetIsTakenAsItIs()
{
    const ManifestFile file("[]");
    const MessageRecorder log;
    Handler handler(file.path(), module, object);
    QJsonArray manifest = {selection(u"a"_qs), 1, QJsonArray()};
    const QByteArray expected = compact(manifest);
    handler.setManifestJsonArray(manifest);
    QCOMPARE(handler.getManifestContent(), expected);
    QCOMPARE(handler.getModified(), false);
    QCOMPARE(file.content(), QByteArray("[]"));

    // Neither what was handed in nor what is handed out is tied to the handler.
    manifest.append(2);
    QJsonArray copy = handler.getManifestJsonArray();
    copy.removeAt(0);
    QCOMPARE(handler.getManifestContent(), expected);

    handler.setManifestJsonArray(QJsonArray());
    QCOMPARE(handler.getManifestJsonArray(), QJsonArray());
}

void tst_ConfigurationManifestHandler_loading::contentIsCompactJson_data()
{
    QTest::addColumn<QJsonArray>("manifest");
    QTest::addColumn<QByteArray>("content");
    QTest::newRow("nothing") << QJsonArray() << QByteArray("[]");
    QTest::newRow("keys in ascending order") << arrayFrom(R"([ { "b" : 1 , "a" : [ true , null ] , "B" : { } } ])")
                                             << QByteArray(R"([{"B":{},"a":[true,null],"b":1}])");
    QTest::newRow("numbers") << arrayFrom("[1, 1.0, -0.5, 1e3]") << QByteArray("[1,1,-0.5,1000]");
    QTest::newRow("beyond ASCII") << QJsonArray({u"Ü日\n\""_qs}) << QByteArray("[\"\xC3\x9C\xE6\x97\xA5\\n\\\"\"]");
}

void tst_ConfigurationManifestHandler_loading::contentIsCompactJson()
{
    QFETCH(QJsonArray, manifest);
    QFETCH(QByteArray, content);
    const MessageRecorder log;
    Handler handler(QString(), module, object);
    handler.setManifestJsonArray(manifest);
    QCOMPARE(handler.getManifestContent(), content);
    QCOMPARE(compact(handler.getManifestJsonArray()), content);
}

void tst_ConfigurationManifestHandler_loading::loadingReadsAndStampsTheFile()
{
    const QByteArray content = R"([{"instanceName":"a","moduleName":"old","selectionType":"Selection"},
        {"instanceName":"Net","selectionType":"Node","substructure":[
        {"instanceName":"Net/b","objectName":"old","selectionType":"Selection"}]}])";
    const ManifestFile file(content);
    const MessageRecorder log;
    Handler handler(file.path(), module, object);
    handler.parseManifestFile();
    QCOMPARE(handler.getManifestContent(),
        QByteArray(R"([{"instanceName":"a","moduleName":"Drives","objectName":"drive1","selectionType":"Selection"},)"
                   R"({"instanceName":"Net","selectionType":"Node","substructure":[{"instanceName":"Net/b",)"
                   R"("moduleName":"Drives","objectName":"drive1","selectionType":"Selection"}]}])"));
    QCOMPARE(handler.getModified(), false);
    QCOMPARE(file.content(), content);
    QVERIFY(file.isAlone());
}

void tst_ConfigurationManifestHandler_loading::everyWayToWriteAnArrayIsLoaded_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<QByteArray>("manifest");
    QTest::newRow("nothing") << QByteArray("[]") << QByteArray("[]");
    QTest::newRow("line ends and blanks") << QByteArray("\r\n [ {\t} ,\n1 ]\n\n") << QByteArray("[{},1]");
    QTest::newRow("items that are no elements") << QByteArray(R"([1, "a", null, true, [[]], {"substructure":1}])")
                                                << QByteArray(R"([1,"a",null,true,[[]],{"substructure":1}])");
    QTest::newRow("escapes") << QByteArray(R"([{"\u0061":"\u00dc\/"}])") << QByteArray("[{\"a\":\"\xC3\x9C/\"}]");
    QTest::newRow("line end in a text") << QByteArray("[\"a\r\nb\"]") << QByteArray("[\"a\\r\\nb\"]");
    QTest::newRow("many bytes") << compact(manifestWithText(100000)) << compact(manifestWithText(100000));
}

void tst_ConfigurationManifestHandler_loading::everyWayToWriteAnArrayIsLoaded()
{
    QFETCH(QByteArray, content);
    QFETCH(QByteArray, manifest);
    const ManifestFile file(content);
    const MessageRecorder log;
    Handler handler(file.path(), module, object);
    handler.setManifestJsonArray(loadedBefore);
    handler.parseManifestFile();
    QCOMPARE(handler.getManifestContent(), manifest);

    Handler other(QString(), module, object);
    other.setManifestJsonArray(loadedBefore);
    other.parseManifestFile(content);
    QCOMPARE(other.getManifestContent(), manifest);
}

void tst_ConfigurationManifestHandler_loading::loadingAgainTakesWhatTheFileHoldsNow()
{
    const ManifestFile file(R"([{"instanceName":"a"}])");
    MessageRecorder log;
    Handler handler(file.path(), module, object);
    handler.parseManifestFile();
    QVERIFY(handler.setProperty(u"a"_qs, u"lost"_qs, true, false));

    writeFile(file.path(), R"(["new"])");
    handler.parseManifestFile();
    QCOMPARE(handler.getManifestContent(), QByteArray(R"(["new"])"));
    QCOMPARE(handler.getModified(), true);

    writeFile(file.path(), R"({"broken":true})");
    handler.parseManifestFile();
    QCOMPARE(log.take(), Messages({noArray()}));
    QCOMPARE(handler.getManifestContent(), QByteArray("[]"));
    QCOMPARE(handler.getModified(), true);

    writeFile(file.path(), R"(["whole again"])");
    handler.parseManifestFile();
    QCOMPARE(handler.getManifestContent(), QByteArray(R"(["whole again"])"));
}

void tst_ConfigurationManifestHandler_loading::aFileThatIsNotThereEmptiesTheManifest_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<bool>("modified");
    for (const bool modified : {false, true}) {
        const char* state = modified ? "modified" : "unmodified";
        QTest::addRow("no file, %s", state) << "missing.json" << modified;
        QTest::addRow("no folder, %s", state) << "missing/manifest.json" << modified;
        QTest::addRow("file in the place of a folder, %s", state) << "manifest.json/manifest.json" << modified;
        QTest::addRow("link that leads nowhere, %s", state) << "dangling.json" << modified;
    }
}

void tst_ConfigurationManifestHandler_loading::aFileThatIsNotThereEmptiesTheManifest()
{
    QFETCH(QString, path);
    QFETCH(bool, modified);
    const ManifestFile file("[1]");
    QVERIFY(QFile::link(u"nowhere.json"_qs, file.folder() + u"/dangling.json"_qs));
    const QStringList before = everythingIn(file.folder());
    MessageRecorder log;
    Handler handler(file.folder() + u'/' + path, module, object);
    loadBefore(handler, modified);
    handler.parseManifestFile();
    QCOMPARE(log.take(), Messages({cannotFindFile()}));
    QCOMPARE(handler.getManifestJsonArray(), QJsonArray());
    QCOMPARE(handler.getModified(), modified);
    QCOMPARE(everythingIn(file.folder()), before);
}

void tst_ConfigurationManifestHandler_loading::aFileThatVanishesAfterTheFirstLookEmptiesTheManifest()
{
    const ManifestFile file("[1]");
    MessageRecorder log;
    Handler handler(file.path(), module, object);
    loadBefore(handler, false);
    {
        const FaultyCalls faulty(file.folder().toStdString(), {{"stat", 1, 1, Fault::Vanished}});
        handler.parseManifestFile();
    }
    QCOMPARE(log.take(), Messages({loadMessage(u"Configuration manifest file does not exist!"_qs)}));
    QCOMPARE(handler.getManifestJsonArray(), QJsonArray());
    QCOMPARE(handler.getModified(), false);
}

void tst_ConfigurationManifestHandler_loading::aFolderInThePlaceOfTheFileEmptiesTheManifest()
{
    const QTemporaryDir folder;
    MessageRecorder log;
    Handler handler(folder.path(), module, object);
    loadBefore(handler, false);
    handler.parseManifestFile();
    QCOMPARE(log.take(), Messages({fileCannotBeRead(folder.path())}));
    QCOMPARE(handler.getManifestJsonArray(), QJsonArray());
}

void tst_ConfigurationManifestHandler_loading::aFileThatMayNotBeReadEmptiesTheManifest()
{
    const ManifestFile file("[1]");
    QVERIFY(QFile::setPermissions(file.path(), QFile::WriteOwner));
    const ReadOnlyFolder folder(file.folder());
    MessageRecorder log;
    Handler handler(file.path(), module, object);
    loadBefore(handler, false);
    {
        const AsOrdinaryUser user;
        handler.parseManifestFile();
    }
    QCOMPARE(log.take(), Messages({fileCannotBeRead(file.path())}));
    QCOMPARE(handler.getManifestJsonArray(), QJsonArray());
}

void tst_ConfigurationManifestHandler_loading::uselessContentEmptiesTheManifestThroughTheFileOnly_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<Message>("message");
    const auto addNotJson = [](const char* name, const QByteArray& content, const QString& error) {
        QTest::newRow(name) << content
                            << parseMessage(
                                   u"Error on paring configuration manifest file content to Json: \"%1\" !"_qs.arg(
                                       error));
    };
    addNotJson("nothing", QByteArray(), u"illegal value"_qs);
    addNotJson("blanks", " \n", u"illegal value"_qs);
    addNotJson("text", "manifest", u"illegal value"_qs);
    addNotJson("number", "5", u"illegal value"_qs);
    addNotJson("string", R"("[]")", u"illegal value"_qs);
    addNotJson("cut short", R"([{"instanceName":"a"})", u"unterminated array"_qs);
    addNotJson("cut short in an object", R"([{"instanceName":"a",)", u"unterminated object"_qs);
    addNotJson("cut short in a string", R"([{"instanceName":"a)", u"unterminated string"_qs);
    addNotJson("no value", R"([{"a"}])", u"missing name separator"_qs);
    addNotJson("more than one array", "[][]", u"garbage at the end of the document"_qs);
    addNotJson("zero behind the array", QByteArray("[]\0", 3), u"garbage at the end of the document"_qs);
    addNotJson("not UTF-8", "[\"\xFF\"]", u"invalid UTF8 string"_qs);
    addNotJson("too deep", QByteArray(1025, '[') + QByteArray(1025, ']'), u"too deeply nested document"_qs);
    QTest::newRow("object") << QByteArray(R"({"instanceName":"a","selectionType":"Selection"})") << noArray();
    QTest::newRow("empty object") << QByteArray("{}") << noArray();
    QTest::newRow("array in an object") << QByteArray(R"({"substructure":[]})") << noArray();
}

void tst_ConfigurationManifestHandler_loading::uselessContentEmptiesTheManifestThroughTheFileOnly()
{
    QFETCH(QByteArray, content);
    QFETCH(Message, message);
    const ManifestFile file(content);
    for (const bool modified : {false, true}) {
        MessageRecorder log;
        Handler handler(file.path(), module, object);
        loadBefore(handler, modified);
        handler.parseManifestFile(content);
        QCOMPARE(log.take(), Messages({message}));
        QCOMPARE(handler.getManifestContent(), compact(loadedBefore));
        QCOMPARE(handler.getModified(), modified);

        handler.parseManifestFile();
        QCOMPARE(log.take(), Messages({message}));
        QCOMPARE(handler.getManifestContent(), QByteArray("[]"));
        QCOMPARE(handler.getModified(), modified);
    }
    QCOMPARE(file.content(), content);
}

void tst_ConfigurationManifestHandler_loading::bytesReplaceTheManifestAndNotTheFile()
{
    const ManifestFile file("[1]");
    const MessageRecorder log;
    for (const bool modified : {false, true}) {
        Handler handler(file.path(), module, object);
        loadBefore(handler, modified);
        handler.parseManifestFile(compact({selection(u"a"_qs)}));
        QCOMPARE(handler.getManifestContent(),
            QByteArray(R"([{"instanceName":"a","moduleName":"Drives","objectName":"drive1",)"
                       R"("selectionType":"Selection"}])"));
        QCOMPARE(handler.getModified(), modified);
        QCOMPARE(file.content(), QByteArray("[1]"));
    }

    // The file need not exist.
    Handler handler {QString(), QString(), QString()};
    handler.parseManifestFile(QByteArray("[2]"));
    QCOMPARE(handler.getManifestContent(), QByteArray("[2]"));
}

void tst_ConfigurationManifestHandler_loading::anObjectIsStampedIfItIsASelection_data()
{
    QTest::addColumn<QString>("moduleName");
    QTest::addColumn<QString>("objectName");
    QTest::addColumn<QJsonObject>("before");
    QTest::addColumn<QJsonObject>("after");

    const QJsonObject bare = objectFrom(R"({"selectionType":"Selection"})");
    QTest::newRow("both names") << module << object << bare
                                << objectFrom(R"({"moduleName":"Drives","objectName":"drive1",
                                       "selectionType":"Selection"})");
    QTest::newRow("module name only") << module << QString() << bare
                                      << objectFrom(R"({"moduleName":"Drives","selectionType":"Selection"})");
    QTest::newRow("object name only") << "" << object << bare
                                      << objectFrom(R"({"objectName":"drive1","selectionType":"Selection"})");
    QTest::newRow("no name") << ""
                             << "" << bare << bare;

    const QJsonObject named = objectFrom(R"({"iconName":"x","moduleName":"old","objectName":7,
        "selectionType":"Selection"})");
    QTest::newRow("both replaced") << module << object << named
                                   << objectFrom(R"({"iconName":"x","moduleName":"Drives","objectName":"drive1",
                                          "selectionType":"Selection"})");
    QTest::newRow("object name kept") << module << QString() << named
                                      << objectFrom(R"({"iconName":"x","moduleName":"Drives","objectName":7,
                                             "selectionType":"Selection"})");
    QTest::newRow("module name kept") << "" << object << named
                                      << objectFrom(R"({"iconName":"x","moduleName":"old","objectName":"drive1",
                                             "selectionType":"Selection"})");
    QTest::newRow("both kept") << ""
                               << "" << named << named;
    QTest::newRow("blank is a name") << " "
                                     << "" << bare << objectFrom(R"({"moduleName":" ","selectionType":"Selection"})");

    const auto addOther = [](const char* name, const char* json) {
        QTest::newRow(name) << module << object << objectFrom(json) << objectFrom(json);
    };
    addOther("empty object", "{}");
    addOther("no kind", R"({"instanceName":"a"})");
    addOther("kind under another key", R"({"SelectionType":"Selection"})");
    addOther("node", R"({"moduleName":"old","selectionType":"Node"})");
    addOther("capitals", R"({"selectionType":"SELECTION"})");
    addOther("small letters", R"({"selectionType":"selection"})");
    addOther("blank behind", R"({"selectionType":"Selection "})");
    addOther("empty kind", R"({"selectionType":""})");
    addOther("null", R"({"selectionType":null})");
    addOther("true", R"({"selectionType":true})");
    addOther("number", R"({"selectionType":1})");
    addOther("array", R"({"selectionType":["Selection"]})");
    addOther("object", R"({"selectionType":{"selectionType":"Selection"}})");
    addOther("selection inside", R"({"selectionType":"Node","substructure":[{"selectionType":"Selection"}]})");
}

void tst_ConfigurationManifestHandler_loading::anObjectIsStampedIfItIsASelection()
{
    QFETCH(QString, moduleName);
    QFETCH(QString, objectName);
    QFETCH(QJsonObject, before);
    QFETCH(QJsonObject, after);
    const MessageRecorder log;
    const Handler handler(QString(), moduleName, objectName);
    QJsonObject stamped = before;
    handler.addModuleAndObjectNameToJsonObject(stamped);
    QCOMPARE(compact({stamped}), compact({after}));
}

void tst_ConfigurationManifestHandler_loading::stampingReachesEveryDepth_data()
{
    QTest::addColumn<QJsonArray>("before");
    QTest::addColumn<QJsonArray>("after");
    QTest::newRow("nothing") << QJsonArray() << QJsonArray();
    QTest::newRow("items in order") << arrayFrom(R"([{"selectionType":"Selection"},1,
            {"selectionType":"Node"},null,{"selectionType":"Selection","z":1}])")
                                    << arrayFrom(R"([{"objectName":"drive1","selectionType":"Selection"},1,
            {"selectionType":"Node"},null,{"objectName":"drive1","selectionType":"Selection","z":1}])");
    QTest::newRow("substructures") << arrayFrom(R"([{"selectionType":"Node","substructure":[
            {"selectionType":"Node","substructure":[{"selectionType":"Selection"}]},{"selectionType":"Selection"}]}])")
                                   << arrayFrom(R"([{"selectionType":"Node","substructure":[
            {"selectionType":"Node","substructure":[{"objectName":"drive1","selectionType":"Selection"}]},
            {"objectName":"drive1","selectionType":"Selection"}]}])");
    QTest::newRow("any member") << arrayFrom(R"([{"a":{"b":{"selectionType":"Selection"}},
            "z":[[{"selectionType":"Selection"}],"x"]}])")
                                << arrayFrom(R"([{"a":{"b":{"objectName":"drive1","selectionType":"Selection"}},
            "z":[[{"objectName":"drive1","selectionType":"Selection"}],"x"]}])");
    QTest::newRow("selection in a selection")
        << arrayFrom(R"([{"a":{"selectionType":"Selection"},"selectionType":"Selection","substructure":[
            {"selectionType":"Selection"}]}])")
        << arrayFrom(R"([{"a":{"objectName":"drive1","selectionType":"Selection"},"objectName":"drive1",
            "selectionType":"Selection","substructure":[{"objectName":"drive1","selectionType":"Selection"}]}])");
    QTest::newRow("selection under the key of the kind")
        << arrayFrom(R"([{"selectionType":{"selectionType":"Selection"}}])")
        << arrayFrom(R"([{"selectionType":{"objectName":"drive1","selectionType":"Selection"}}])");
    QTest::newRow("selection under the key of a name that is not stamped")
        << arrayFrom(R"([{"moduleName":{"selectionType":"Selection"},"selectionType":"Selection"}])")
        << arrayFrom(R"([{"moduleName":{"objectName":"drive1","selectionType":"Selection"},"objectName":"drive1",
               "selectionType":"Selection"}])");
    QTest::newRow("selection under the key of a name that is stamped")
        << arrayFrom(R"([{"objectName":[{"selectionType":"Selection"}],"selectionType":"Selection"}])")
        << arrayFrom(R"([{"objectName":"drive1","selectionType":"Selection"}])");
}

void tst_ConfigurationManifestHandler_loading::stampingReachesEveryDepth()
{
    QFETCH(QJsonArray, before);
    QFETCH(QJsonArray, after);
    const QByteArray untouched = compact(before);
    const MessageRecorder log;
    Handler handler(QString(), QString(), object);

    QJsonArray array = before;
    handler.addModuleAndObjectNameToManifest(array);
    QCOMPARE(compact(array), compact(after));

    QJsonValue value = before;
    handler.addModuleAndObjectNameToManifest(value);
    QVERIFY(value.isArray());
    QCOMPARE(compact(value.toArray()), compact(after));

    QJsonValue inAnObject = QJsonObject {{u"any"_qs, before}};
    handler.addModuleAndObjectNameToManifest(inAnObject);
    QVERIFY(inAnObject.isObject());
    QCOMPARE(compact({inAnObject}), compact({QJsonObject {{u"any"_qs, after}}}));

    handler.parseManifestFile(untouched);
    QCOMPARE(handler.getManifestContent(), compact(after));
    QCOMPARE(compact(before), untouched);
}

void tst_ConfigurationManifestHandler_loading::stampingLeavesOtherValuesAlone_data()
{
    QTest::addColumn<QJsonValue>("value");
    QTest::newRow("null") << QJsonValue(QJsonValue::Null);
    QTest::newRow("undefined") << QJsonValue(QJsonValue::Undefined);
    QTest::newRow("true") << QJsonValue(true);
    QTest::newRow("number") << QJsonValue(1.5);
    QTest::newRow("string") << QJsonValue(u"Selection"_qs);
    QTest::newRow("empty string") << QJsonValue(QString());
    QTest::newRow("empty object") << QJsonValue(QJsonObject());
    QTest::newRow("empty array") << QJsonValue(QJsonArray());
}

void tst_ConfigurationManifestHandler_loading::stampingLeavesOtherValuesAlone()
{
    QFETCH(QJsonValue, value);
    const MessageRecorder log;
    const Handler handler(QString(), module, object);
    QJsonValue stamped = value;
    handler.addModuleAndObjectNameToManifest(stamped);
    QCOMPARE(stamped, value);
    QCOMPARE(stamped.type(), value.type());
}

void tst_ConfigurationManifestHandler_loading::stampingConcernsItsArgumentOnly()
{
    const MessageRecorder log;
    Handler handler(QString(), module, object);
    handler.setManifestJsonArray({selection(u"a"_qs)});
    QJsonArray array = handler.getManifestJsonArray();
    handler.addModuleAndObjectNameToManifest(array);
    QCOMPARE(compact(handler.getManifestJsonArray()), compact({selection(u"a"_qs)}));
    QCOMPARE(handler.getModified(), false);
    QVERIFY(array.at(0).toObject().contains(u"moduleName"_qs));
}

void tst_ConfigurationManifestHandler_loading::savingWritesTheWholeManifest()
{
    const ManifestFile file("[ \"something that is much longer than what is saved\", \"in two items\" ]\n");
    const MessageRecorder log;
    Handler handler(file.path(), module, object);
    handler.setManifestJsonArray(arrayFrom(R"([{"b": "Ü", "a": [ 1, {} ]}])"));
    handler.writeToManifestFile();
    QCOMPARE(file.content(), QByteArray("[{\"a\":[1,{}],\"b\":\"\xC3\x9C\"}]"));

    handler.setManifestJsonArray(QJsonArray());
    handler.writeToManifestFile();
    QCOMPARE(file.content(), QByteArray("[]"));
    QVERIFY(file.isAlone());
}

void tst_ConfigurationManifestHandler_loading::savingReplacesTheFileAtOnce()
{
    const ManifestFile file("[\"before\"]");
    QFile reader(file.path());
    QVERIFY(reader.open(QIODevice::ReadOnly));
    const MessageRecorder log;
    Handler handler(file.path(), module, object);
    handler.setManifestJsonArray({u"after"_qs});
    handler.writeToManifestFile();
    QCOMPARE(file.content(), QByteArray("[\"after\"]"));
    QCOMPARE(reader.readAll(), QByteArray("[\"before\"]"));
}

void tst_ConfigurationManifestHandler_loading::savingDoesNotTouchModified()
{
    const ManifestFile file(compact(loadedBefore));
    MessageRecorder log;
    for (const bool modified : {false, true}) {
        Handler handler(file.path(), module, object);
        loadBefore(handler, modified);
        handler.writeToManifestFile();
        QCOMPARE(handler.getModified(), modified);
        QCOMPARE(log.take(), Messages());
        const FileSizeLimit fullDisk(0);
        handler.writeToManifestFile();
        QCOMPARE(handler.getModified(), modified);
        QCOMPARE(log.take(), Messages({fileNotWrittenCompletely()}));
    }
}

void tst_ConfigurationManifestHandler_loading::theLastOfTwoHandlersWins()
{
    const ManifestFile file(compact({node(u"a"_qs), node(u"b"_qs)}));
    const MessageRecorder log;
    Handler first(file.path(), module, object);
    Handler second(file.path(), module, object);
    first.parseManifestFile();
    second.parseManifestFile();
    QVERIFY(first.deleteElement(u"a"_qs, true));
    QCOMPARE(file.content(), compact({node(u"b"_qs)}));
    QVERIFY(second.deleteElement(u"b"_qs, true));
    QCOMPARE(file.content(), compact({node(u"a"_qs)}));
}

void tst_ConfigurationManifestHandler_loading::savingWritesWhatLoadingStamped()
{
    const ManifestFile file(compact({selection(u"a"_qs), node(u"Net"_qs, {selection(u"Net/b"_qs)})}));
    const MessageRecorder log;
    Handler handler(file.path(), QString(), object);
    handler.parseManifestFile();
    handler.writeToManifestFile();
    QCOMPARE(file.content(),
        QByteArray(R"([{"instanceName":"a","objectName":"drive1","selectionType":"Selection"},)"
                   R"({"instanceName":"Net","selectionType":"Node","substructure":[)"
                   R"({"instanceName":"Net/b","objectName":"drive1","selectionType":"Selection"}]}])"));
}

void tst_ConfigurationManifestHandler_loading::aLinkStaysAndItsTargetIsReplaced_data()
{
    QTest::addColumn<bool>("absolute");
    QTest::newRow("absolute") << true;
    QTest::newRow("relative") << false;
}

void tst_ConfigurationManifestHandler_loading::aLinkStaysAndItsTargetIsReplaced()
{
    QFETCH(bool, absolute);
    const ManifestFile file("[\"before\"]");
    const QTemporaryDir elsewhere;
    const QString link = elsewhere.filePath(u"link.json"_qs);
    const QString target = absolute ? file.path() : QDir(elsewhere.path()).relativeFilePath(file.path());
    QVERIFY(QFile::link(target, link));

    const MessageRecorder log;
    Handler handler(link, module, object);
    handler.parseManifestFile();
    QCOMPARE(handler.getManifestContent(), QByteArray("[\"before\"]"));
    handler.setManifestJsonArray({u"after"_qs});
    handler.writeToManifestFile();

    char stored[PATH_MAX] = {};
    QVERIFY(readlink(QFile::encodeName(link).constData(), stored, sizeof stored - 1) > 0);
    QCOMPARE(QByteArray(stored), QFile::encodeName(target));
    QCOMPARE(file.content(), QByteArray("[\"after\"]"));
    QVERIFY(file.isAlone());
    QCOMPARE(everythingIn(elsewhere.path()), QStringList(u"link.json"_qs));
}

void tst_ConfigurationManifestHandler_loading::savingNeverCreatesTheFile_data()
{
    QTest::addColumn<QString>("path");
    QTest::newRow("no file") << "missing.json";
    QTest::newRow("no folder") << "missing/manifest.json";
    QTest::newRow("link that leads nowhere") << "dangling.json";
    QTest::newRow("removed after loading") << "removed.json";
    QTest::newRow("folder removed after loading") << "removed/manifest.json";
}

void tst_ConfigurationManifestHandler_loading::savingNeverCreatesTheFile()
{
    QFETCH(QString, path);
    const QTemporaryDir folder;
    QVERIFY(QFile::link(u"nowhere.json"_qs, folder.filePath(u"dangling.json"_qs)));
    const QStringList before = everythingIn(folder.path());
    MessageRecorder log;
    Handler handler(folder.filePath(path), module, object);
    if (path.startsWith(u"removed"_qs)) {
        writeFile(folder.filePath(path), compact(loadedBefore));
        handler.parseManifestFile();
        QVERIFY(QFile::remove(folder.filePath(path)));
        QDir(folder.path()).rmdir(u"removed"_qs);
    } else {
        handler.setManifestJsonArray(loadedBefore);
    }
    handler.writeToManifestFile();
    QCOMPARE(log.take(), Messages({fileToSaveIsMissing()}));
    QCOMPARE(everythingIn(folder.path()), before);

    // An edit tells of itself alone, whatever becomes of the save.
    QCOMPARE(handler.setProperty(u"loaded before"_qs, u"key"_qs, 1, true), true);
    QCOMPARE(log.take(), Messages({fileToSaveIsMissing()}));
    QCOMPARE(handler.getModified(), true);
    QCOMPARE(handler.getManifestContent(), compact({with(node(u"loaded before"_qs), u"key"_qs, 1)}));
    QCOMPARE(everythingIn(folder.path()), before);
}

void tst_ConfigurationManifestHandler_loading::aFolderThatIsReadOnlyKeepsTheFile()
{
    const QByteArray previous = compact(loadedBefore);
    const ManifestFile file(previous);
    // The file itself could be written to, but not replaced.
    QVERIFY(QFile::setPermissions(file.path(),
        QFile::ReadOwner | QFile::WriteOwner | QFile::ReadGroup | QFile::WriteGroup | QFile::ReadOther
            | QFile::WriteOther));
    const ReadOnlyFolder folder(file.folder());
    MessageRecorder log;
    Handler handler(file.path(), module, object);
    handler.parseManifestFile();
    {
        const AsOrdinaryUser user;
        QCOMPARE(handler.setProperty(u"loaded before"_qs, u"key"_qs, 1, true), true);
    }
    QCOMPARE(log.take(), Messages({fileCannotBeWritten(file.path())}));
    QCOMPARE(handler.getModified(), true);
    QCOMPARE(handler.getManifestContent(), compact({with(node(u"loaded before"_qs), u"key"_qs, 1)}));
    QCOMPARE(file.content(), previous);
    QVERIFY(file.isAlone());
}

void tst_ConfigurationManifestHandler_loading::aFolderInThePlaceOfTheFileIsNotSavedTo()
{
    const ManifestFile file(compact(loadedBefore));
    MessageRecorder log;
    Handler handler(file.path(), module, object);
    handler.parseManifestFile();
    QVERIFY(QFile::remove(file.path()));
    QVERIFY(QDir().mkdir(file.path()));
    QCOMPARE(handler.setProperty(u"loaded before"_qs, u"key"_qs, 1, true), true);
    QCOMPARE(log.take(), Messages({fileCannotBeWritten(file.path())}));
    QCOMPARE(handler.getModified(), true);
    QVERIFY(file.isAlone());
    QCOMPARE(everythingIn(file.path()), QStringList());
}

void tst_ConfigurationManifestHandler_loading::aFullDiskKeepsTheFile_data()
{
    QTest::addColumn<int>("size");
    QTest::addColumn<int>("limit");
    QTest::addColumn<bool>("fits");
    // Up to 16 KiB wait in a buffer until the file is complete.
    for (const int size : {80, 16384, 16385, 40000}) {
        QTest::addRow("%d bytes, no room", size) << size << 0 << false;
        QTest::addRow("%d bytes, half the room", size) << size << size / 2 << false;
        QTest::addRow("%d bytes, room for all but one", size) << size << size - 1 << false;
        QTest::addRow("%d bytes, just enough room", size) << size << size << true;
    }
}

void tst_ConfigurationManifestHandler_loading::aFullDiskKeepsTheFile()
{
    QFETCH(int, size);
    QFETCH(int, limit);
    QFETCH(bool, fits);

    const QByteArray previous = "[{\"instanceName\":\"a\",\"selectionType\":\"Node\"} ]\n";
    const ManifestFile file(previous);
    MessageRecorder log;
    Handler handler(file.path(), module, object);
    handler.parseManifestFile();
    const QString text(size - compact(manifestWithText(0)).size(), u'x');
    bool result = false;
    {
        const FileSizeLimit disk(static_cast<unsigned long>(limit));
        result = handler.setProperty(u"a"_qs, u"text"_qs, text, true);
    }
    QCOMPARE(result, true);
    QCOMPARE(handler.getModified(), true);
    const QByteArray content = handler.getManifestContent();
    QCOMPARE(content.size(), size);
    QCOMPARE(log.take(), fits ? Messages() : Messages({fileNotWrittenCompletely()}));
    QCOMPARE(file.content(), fits ? content : previous);
    QVERIFY(file.isAlone());

    // With room again, the next save brings what the last one could not.
    handler.writeToManifestFile();
    QCOMPARE(log.take(), Messages());
    QCOMPARE(file.content(), content);
    QVERIFY(file.isAlone());
}

void tst_ConfigurationManifestHandler_loading::aFailedSaveIsReportedBeforeItsTemporaryFileGoes()
{
    const ManifestFile file("[\"before\"]");
    Handler handler(file.path(), module, object);
    handler.setManifestJsonArray({u"after"_qs});

    // What a message handler sees when the message arrives.
    static const ManifestFile* saved;
    static QVector<QStringList> names;
    static QVector<QByteArray> contents;
    saved = &file;
    names.clear();
    contents.clear();
    {
        std::vector<Fault> faults = faultsOfTheFileSystem(false);
        faults.push_back({"write", 1, 1, ENOSPC});
        const FaultyCalls faulty(file.folder().toStdString(), faults);
        const QtMessageHandler previous =
            qInstallMessageHandler([](QtMsgType, const QMessageLogContext&, const QString&) {
                names.append(everythingIn(saved->folder()));
                contents.append(saved->content());
            });
        handler.writeToManifestFile();
        qInstallMessageHandler(previous);
    }
    QCOMPARE(contents, QVector<QByteArray>({"[\"before\"]"}));
    QCOMPARE(names.first().size(), 2);
    QCOMPARE(names.first().first(), u"manifest.json"_qs);
    QVERIFY(isTemporaryFileOf(u"manifest.json"_qs, names.first().last()));

    QCOMPARE(file.content(), QByteArray("[\"before\"]"));
    QVERIFY(file.isAlone());
}

void tst_ConfigurationManifestHandler_loading::aFailedReplacementIsNotReported()
{
    const ManifestFile file("[\"before\"]");
    const MessageRecorder log;
    Handler handler(file.path(), module, object);
    handler.setManifestJsonArray({u"after"_qs});
    {
        const FaultyCalls faulty(file.folder().toStdString(), {{"rename", 1, 1, EPERM}});
        handler.writeToManifestFile();
    }
    QCOMPARE(file.content(), QByteArray("[\"before\"]"));
    QVERIFY(file.isAlone());
}

void tst_ConfigurationManifestHandler_loading::aDeepManifestIsLoadedQueriedEditedAndSaved()
{
    constexpr int depth = 500;
    const ManifestFile file(compact(chain(depth)));
    const MessageRecorder log;
    Handler handler(file.path(), module, object);
    handler.parseManifestFile();

    QStringList names;
    for (int level = 1; level <= depth; ++level) {
        names.append(u"e%1"_qs.arg(level));
    }
    const QString bottom = names.join(u'/');
    const QString parent = bottom.left(bottom.lastIndexOf(u'/'));
    const QJsonObject stamped = with(with(selection(u"e500"_qs), u"moduleName"_qs, module), u"objectName"_qs, object);
    QJsonObject element;
    QVERIFY(handler.getNodeElement(bottom, element));
    QCOMPARE(compact({element}), compact({stamped}));
    int number = -1;
    QVERIFY(handler.getNumberOfInstances(parent, number));
    QCOMPARE(number, 1);

    const QJsonObject silent = objectFrom(R"({"displayPosition":1,"hide":false})");
    QVERIFY(handler.setProperty(bottom, u"deep"_qs, true, false));
    QVERIFY(handler.addNode(parent + u"/added"_qs, silent, 0, false));
    QVERIFY(handler.addNode(parent + u"/lost"_qs, silent, 0, false));
    QVERIFY(handler.deleteElement(parent + u"/lost"_qs, false));
    QVERIFY(handler.moveSelection(bottom, 0, false));
    QVERIFY(handler.sortElements(parent, {u"added"_qs, u"e500"_qs}, false));
    QVERIFY(handler.updateNode(parent + u"/added"_qs, node(u"renamed"_qs), false, true));

    const QByteArray saved = file.content();
    QCOMPARE(saved, handler.getManifestContent());
    Handler other(file.path(), module, object);
    other.parseManifestFile();
    QCOMPARE(other.getManifestContent(), saved);
    QVERIFY(other.getNodeElement(parent, element));
    QCOMPARE(compact(element.value(u"substructure"_qs).toArray()),
        compact({node(u"renamed"_qs), with(stamped, u"deep"_qs, true)}));
}

MANIFEST_TEST_MAIN(tst_ConfigurationManifestHandler_loading)

#include "tst_configurationmanifesthandler_loading.moc"
