#include "Elements.h"
#include "Files.h"
#include "Handlers.h"
#include "LibraryMessages.h"
#include "Literals.h"
#include "MessageRecorder.h"
#include "SystemInformationManagerRegistryDefinitions.h"
#include "TestMain.h"
#include "faults/FaultyCalls.h"

#include <QtCore/QDir>
#include <QtCore/QFileInfo>
#include <QtCore/QJsonDocument>

#include <type_traits>

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

// Gives a handler a manifest that a load replaces.
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
QJsonArray nestedElements(int depth)
{
    QJsonArray manifest = {selection(u"e%1"_qs.arg(depth))};
    for (int level = depth - 1; level > 0; --level) {
        manifest = {node(u"e%1"_qs.arg(level), manifest)};
    }
    return manifest;
}

} // namespace

class tst_ConfigurationManifestHandler_loading : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void keyTextsAreBuiltOnce();
    void newHandlerKnowsItsArgumentsAndTouchesNoFile();
    void destructionReachesDerivedClass();
    void destructionDoesNotSave();
    void setManifestIsStoredUnchanged();
    void contentIsCompactJson_data();
    void contentIsCompactJson();

    void loadingReadsAndStampsFile();
    void rootArrayIsLoadedUnchanged_data();
    void rootArrayIsLoadedUnchanged();
    void loadingAgainReadsCurrentContent();
    void missingFileEmptiesManifest_data();
    void missingFileEmptiesManifest();
    void fileThatVanishesAfterFirstLookEmptiesManifest();
    void folderInPlaceOfFileEmptiesManifest();
    void unreadableFileEmptiesManifest();
    void contentThatIsNotManifestIsRefused_data();
    void contentThatIsNotManifestIsRefused();
    void contentCutShortAnywhereIsRefused();
    void bytesReplaceManifestAndNotFile();

    void onlySelectionsAreStamped_data();
    void onlySelectionsAreStamped();
    void stampingReachesEveryDepth_data();
    void stampingReachesEveryDepth();
    void stampingLeavesOtherValuesAlone_data();
    void stampingLeavesOtherValuesAlone();
    void stampingChangesOnlyItsArgument();

    void savingWritesWholeManifest();
    void savingReplacesFileAtOnce();
    void lastOfTwoHandlersWins();
    void savingWritesWhatLoadingStamped();
    void deepManifestIsLoadedQueriedEditedAndSaved();
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

void tst_ConfigurationManifestHandler_loading::newHandlerKnowsItsArgumentsAndTouchesNoFile()
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

void tst_ConfigurationManifestHandler_loading::destructionReachesDerivedClass()
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

void tst_ConfigurationManifestHandler_loading::setManifestIsStoredUnchanged()
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

    // The handler shares nothing with the array that it was given or with the copy that it gave away.
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

void tst_ConfigurationManifestHandler_loading::loadingReadsAndStampsFile()
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

void tst_ConfigurationManifestHandler_loading::rootArrayIsLoadedUnchanged_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<QByteArray>("saved");

    const struct {
        const char* name;
        QByteArray content;
        QByteArray saved;
    } rows[] = {
        {"empty", "[]", "[]"},
        {"blanks", " \t\r\n[ ]\r\n", "[]"},
        {"blanks between", "\r\n [ {\t} ,\n1 ]\n\n", "[{},1]"},
        {"byte-order mark", "\xEF\xBB\xBF[]", "[]"},
        {"no objects", R"([null,true,false,0,"text",[],[[]],{"substructure":1}])",
            R"([null,true,false,0,"text",[],[[]],{"substructure":1}])"},
        {"empty objects", "[{},{}]", "[{},{}]"},
        {"empty key", R"([{"":{"":""}}])", R"([{"":{"":""}}])"},
        {"members out of order", R"([{"b":1,"B":2,"a":3,"":4}])", R"([{"":4,"B":2,"a":3,"b":1}])"},
        {"key given twice", R"([{"a":1,"a":[2]}])", R"([{"a":[2]}])"},
        {"name given twice", R"([{"instanceName":"x","instanceName":"y"}])", R"([{"instanceName":"y"}])"},
        {"NUL", R"([{"a\u0000b":"\u0000"}])", R"([{"a\u0000b":"\u0000"}])"},
        {"NUL as it is", QByteArray("[\"a\0b\"]", 7), R"(["a\u0000b"])"},
        {"control characters", "[\"\\u0001\\u001f\\b\\f\\n\\r\\t\x7f\"]", "[\"\\u0001\\u001f\\b\\f\\n\\r\\t\x7f\"]"},
        {"control characters as they are", "[\"\x01\n\"]", R"(["\u0001\n"])"},
        {"lone surrogates", R"(["\ud800","\udc00x","\udc00\ud800"])", R"(["\ud800","\udc00x","\udc00\ud800"])"},
        {"lone surrogate in a key", R"([{"\udfff":1}])", R"([{"\udfff":1}])"},
        {"surrogate pair", R"(["\ud83d\ude00"])", "[\"\xF0\x9F\x98\x80\"]"},
        {"no characters", R"(["\uffff\ufeff"])", "[\"\xEF\xBF\xBF\xEF\xBB\xBF\"]"},
        {"known escapes", R"([{"\u0061":"\u00dc\/"}])", "[{\"a\":\"\xC3\x9C/\"}]"},
        {"unknown escape", R"(["\x"])", R"(["x"])"},
        {"fractions", "[0.1,-2.75,1e-7,5e-324]", "[0.1,-2.75,1e-07,5e-324]"},
        {"whole numbers", "[1.0,-0.0,1e2,-7]", "[1,0,100,-7]"},
        {"number of 53 bits", "[9007199254740991,-9007199254740991]", "[9007199254740991,-9007199254740991]"},
        {"numbers beyond 53 bits are rounded", "[9007199254740993,18446744073709551615]",
            "[9007199254740992,18446744073709552000]"},
        {"largest number", "[1.7976931348623157e308]", "[1.7976931348623157e+308]"},
        {"many bytes", compact(manifestWithText(100000)), compact(manifestWithText(100000))},
        {"1024 levels", nestedArrays(1024), nestedArrays(1024)},
        {"511 nodes in each other", nestedNodes(511), nestedNodes(511)},
    };
    for (const auto& row : rows) {
        QTest::newRow(row.name) << row.content << row.saved;
    }
}

void tst_ConfigurationManifestHandler_loading::rootArrayIsLoadedUnchanged()
{
    QFETCH(const QByteArray, content);
    QFETCH(const QByteArray, saved);

    const ManifestFile file(content);
    const MessageRecorder log;
    Handler handler(file.path(), module, object);
    handler.setManifestJsonArray(loadedBefore);
    handler.parseManifestFile();
    QCOMPARE(handler.getManifestContent(), saved);
    handler.writeToManifestFile();
    QCOMPARE(file.content(), saved);
    handler.setManifestJsonArray(loadedBefore);
    handler.parseManifestFile();
    QCOMPARE(handler.getManifestContent(), saved);

    HandlerWithoutFile other(loadedBefore);
    other.parseManifestFile(content);
    QCOMPARE(other.getManifestContent(), saved);
}

void tst_ConfigurationManifestHandler_loading::loadingAgainReadsCurrentContent()
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
    QCOMPARE(log.take(), Messages({contentIsNoArray()}));
    QCOMPARE(handler.getManifestContent(), QByteArray("[]"));
    QCOMPARE(handler.getModified(), true);

    writeFile(file.path(), R"(["whole again"])");
    handler.parseManifestFile();
    QCOMPARE(handler.getManifestContent(), QByteArray(R"(["whole again"])"));
}

void tst_ConfigurationManifestHandler_loading::missingFileEmptiesManifest_data()
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

void tst_ConfigurationManifestHandler_loading::missingFileEmptiesManifest()
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
    QCOMPARE(log.take(), Messages({fileToLoadIsMissing()}));
    QCOMPARE(handler.getManifestJsonArray(), QJsonArray());
    QCOMPARE(handler.getModified(), modified);
    QCOMPARE(everythingIn(file.folder()), before);
}

void tst_ConfigurationManifestHandler_loading::fileThatVanishesAfterFirstLookEmptiesManifest()
{
    const ManifestFile file("[1]");
    MessageRecorder log;
    Handler handler(file.path(), module, object);
    loadBefore(handler, false);
    {
        const FaultyCalls faulty(file.folder().toStdString(), {{"stat", 1, 1, Fault::Vanished}});
        handler.parseManifestFile();
    }
    QCOMPARE(log.take(),
        Messages({warning(u"Configuration manifest file does not exist!"_qs,
            "void ConfigurationManifestHandler::parseManifestFile()")}));
    QCOMPARE(handler.getManifestJsonArray(), QJsonArray());
    QCOMPARE(handler.getModified(), false);
}

void tst_ConfigurationManifestHandler_loading::folderInPlaceOfFileEmptiesManifest()
{
    const QTemporaryDir folder;
    MessageRecorder log;
    Handler handler(folder.path(), module, object);
    loadBefore(handler, false);
    handler.parseManifestFile();
    QCOMPARE(log.take(), Messages({fileCannotBeRead(folder.path())}));
    QCOMPARE(handler.getManifestJsonArray(), QJsonArray());
}

void tst_ConfigurationManifestHandler_loading::unreadableFileEmptiesManifest()
{
    const ManifestFile file("[1]");
    QVERIFY(QFile::setPermissions(file.path(), QFile::WriteOwner));
    QVERIFY(QFile::setPermissions(file.folder(), QFile::Permissions(0x7755)));
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

void tst_ConfigurationManifestHandler_loading::contentThatIsNotManifestIsRefused_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<Message>("message");

    const struct {
        const char* name;
        QByteArray content;
        const char* error;
    } rows[] = {
        {"nothing", "", "illegal value"},
        {"blanks", " \t\r\n", "illegal value"},
        {"null", "null", "illegal value"},
        {"bool", "true", "illegal value"},
        {"number", "5", "illegal value"},
        {"text", "\"[]\"", "illegal value"},
        {"byte-order mark alone", "\xEF\xBB\xBF", "illegal value"},
        {"two byte-order marks", "\xEF\xBB\xBF\xEF\xBB\xBF[]", "illegal value"},
        {"UTF-16", QByteArray("\xFF\xFE[\0]\0", 6), "illegal value"},
        {"UTF-16 without mark", QByteArray("[\0]\0", 4), "illegal number"},
        {"NUL", QByteArray("\0", 1), "illegal value"},
        {"NUL behind the root", QByteArray("[]\0", 3), "garbage at the end of the document"},
        {"form feed", "\f[]", "illegal value"},
        {"comment", "// none\n[]", "illegal value"},
        {"comment inside", "[/* none */]", "illegal number"},
        {"closing bracket", "]", "illegal value"},
        {"open array", "[", "unterminated array"},
        {"open object", "{", "unterminated object"},
        {"open text", "[\"a", "unterminated string"},
        {"bracket too many", "[]]", "garbage at the end of the document"},
        {"two roots", "[][]", "garbage at the end of the document"},
        {"comma at the end", "[1,]", "object is missing after a comma"},
        {"comma at the end of an object", "[{\"a\":1,}]", "object is missing after a comma"},
        {"comma alone", "[,]", "illegal value"},
        {"comma missing", "[1 2]", "missing value separator"},
        {"colon missing", "[{\"a\" 1}]", "missing name separator"},
        {"key that is no text", "[{1:2}]", "unterminated object"},
        {"unknown word", "manifest", "illegal value"},
        {"unknown word in an array", "[tru]", "illegal value"},
        {"not a number", "[NaN]", "illegal number"},
        {"leading zero", "[01]", "missing value separator"},
        {"plus", "[+1]", "illegal number"},
        {"number too large", "[1e309]", "illegal number"},
        {"number too small", "[1e-400]", "illegal number"},
        {"single quotes", "['a']", "illegal number"},
        {"short escape", "[\"\\u12\"]", "invalid escape sequence"},
        {"no UTF-8", "[\"\xFF\"]", "invalid UTF8 string"},
        {"overlong UTF-8", "[\"\xC0\x80\"]", "invalid UTF8 string"},
        {"surrogate in UTF-8", "[\"\xED\xA0\x80\"]", "invalid UTF8 string"},
        {"UTF-8 beyond Unicode", "[\"\xF4\x90\x80\x80\"]", "invalid UTF8 string"},
        {"1025 levels", nestedArrays(1025), "too deeply nested document"},
        {"100000 open brackets", QByteArray(100000, '['), "too deeply nested document"},
        {"512 nodes in each other", nestedNodes(512), "too deeply nested document"},
        {"object", "{}", nullptr},
        {"object that holds a manifest", "{\"substructure\":[{\"instanceName\":\"a\"}]}", nullptr},
        {"selection alone", "{\"selectionType\":\"Selection\",\"instanceName\":\"a\"}", nullptr},
    };
    for (const auto& row : rows) {
        QTest::newRow(row.name) << row.content
                                << (row.error ? contentIsNotJson(QString::fromLatin1(row.error)) : contentIsNoArray());
    }
}

void tst_ConfigurationManifestHandler_loading::contentThatIsNotManifestIsRefused()
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

void tst_ConfigurationManifestHandler_loading::contentCutShortAnywhereIsRefused()
{
    const QByteArray content = "[{\"instanceName\":\"a\\u00e4\xC3\xA4\",\"n\":-1.5e3,\"selectionType\":\"Node\","
                               "\"substructure\":[{\"t\":true,\"f\":false,\"0\":null}]},[]]";
    const ManifestFile file(content);
    MessageRecorder log;
    Handler handler(file.path(), QString(), QString());
    handler.parseManifestFile();
    const QJsonArray whole = handler.getManifestJsonArray();
    QCOMPARE(whole.size(), 2);
    for (int length = 0; length < content.size(); ++length) {
        const QByteArray cut = content.left(length);
        QJsonParseError error;
        QJsonDocument::fromJson(cut, &error);
        QVERIFY(error.error != QJsonParseError::NoError);

        handler.parseManifestFile(cut);
        QCOMPARE(log.take(), Messages({contentIsNotJson(error.errorString())}));
        QCOMPARE(handler.getManifestJsonArray(), whole);

        writeFile(file.path(), cut);
        handler.parseManifestFile();
        QCOMPARE(log.take(), Messages({contentIsNotJson(error.errorString())}));
        QCOMPARE(handler.getManifestJsonArray(), QJsonArray());
        handler.setManifestJsonArray(whole);
    }
    QVERIFY(!handler.getModified());
}

void tst_ConfigurationManifestHandler_loading::bytesReplaceManifestAndNotFile()
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

void tst_ConfigurationManifestHandler_loading::onlySelectionsAreStamped_data()
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

void tst_ConfigurationManifestHandler_loading::onlySelectionsAreStamped()
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

void tst_ConfigurationManifestHandler_loading::stampingChangesOnlyItsArgument()
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

void tst_ConfigurationManifestHandler_loading::savingWritesWholeManifest()
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

void tst_ConfigurationManifestHandler_loading::savingReplacesFileAtOnce()
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

void tst_ConfigurationManifestHandler_loading::lastOfTwoHandlersWins()
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

void tst_ConfigurationManifestHandler_loading::deepManifestIsLoadedQueriedEditedAndSaved()
{
    constexpr int depth = 500;
    const ManifestFile file(compact(nestedElements(depth)));
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
