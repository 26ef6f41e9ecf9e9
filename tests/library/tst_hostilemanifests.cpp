#include "ConfigurationManifestHandler.h"
#include "Files.h"
#include "Literals.h"
#include "MessageRecorder.h"
#include "QuickFolder.h"
#include "TestMain.h"

#include <QtCore/QJsonDocument>
#include <QtCore/QTemporaryDir>

#include <random>

namespace {

const char* const parsing = "void ConfigurationManifestHandler::parseManifestFile(const QByteArray&)";
const char* const element = "bool ConfigurationManifestHandler::getNodeElement(const QJsonArray&, const QStringList&, "
                            "QJsonObject&) const";
const char* const listing = "bool ConfigurationManifestHandler::getListOfInstances(const QString&, QStringList&) const";

const QString target = u"target"_qs;
const QString inner = u"target/inner"_qs;
const QString key = u"key"_qs;

Message refused(const QString& error)
{
    return warning(u"Error on paring configuration manifest file content to Json: \"%1\" !"_qs.arg(error), parsing);
}

QByteArray nested(int levels)
{
    return QByteArray(levels, '[') + QByteArray(levels, ']');
}

/// A chain of nodes called "n", one in the other, with one more member each. `levels` of them take two levels of JSON.
QByteArray chain(int levels)
{
    const QByteArray open = "[{\"instanceName\":\"n\",\"kept\":[null],\"selectionType\":\"Node\",\"substructure\":";
    return open.repeated(levels) + "[]" + QByteArray("}]").repeated(levels);
}

QString chainPath(int levels)
{
    return u"n/"_qs.repeated(levels).chopped(1);
}

QByteArray text(const QJsonValue& value)
{
    return compact(QJsonArray {value});
}

QJsonObject node(const QString& name)
{
    return {{u"instanceName"_qs, name}, {u"selectionType"_qs, u"Node"_qs}};
}

QString numbered(int number)
{
    return u"e%1"_qs.arg(number);
}

/// A manifest in a file of its own and a handler of it that stamps nothing.
struct Fixture {
    explicit Fixture(const QByteArray& content)
        : folder(quickFolder())
        , path(folder.filePath(u"configuration.manifest.json"_qs))
        , handler(path, QString(), QString())
    {
        writeFile(path, content);
        handler.parseManifestFile();
    }

    /// What another handler finds in the file.
    QJsonArray reloaded() const
    {
        ConfigurationManifestHandler reader(path, QString(), QString());
        reader.parseManifestFile();
        return reader.getManifestJsonArray();
    }

    QTemporaryDir folder;
    QString path;
    ConfigurationManifestHandler handler;
};

struct Operation {
    const char* name;
    bool (*run)(ConfigurationManifestHandler& handler);
};

/// Every kind of edit, on and around the one child of "target" that can be addressed. In this order all succeed.
const Operation operations[] = {
    {"setProperty",
        [](ConfigurationManifestHandler& handler) {
            return handler.setProperty(inner, key, QVariantList {1, u"text"_qs}, true);
        }},
    {"update", [](ConfigurationManifestHandler& handler) { return handler.update(inner, key, 2.5, true); }},
    {"removeProperty", [](ConfigurationManifestHandler& handler) { return handler.removeProperty(inner, key, true); }},
    {"setProperty of the parent",
        [](ConfigurationManifestHandler& handler) { return handler.setProperty(target, key, QVariant(), true); }},
    {"modifyPropertyFirst",
        [](ConfigurationManifestHandler& handler) {
            return handler.modifyPropertyFirst(
                inner,
                [](QJsonObject& object, bool& changed) {
                    object.insert(key, object);
                    changed = true;
                    return true;
                },
                true);
        }},
    {"addNode",
        [](ConfigurationManifestHandler& handler) {
            return handler.addNode(u"target/added"_qs, {{u"displayPosition"_qs, 1}, {u"substructure"_qs, 5}}, 1, true);
        }},
    {"addSelection",
        [](ConfigurationManifestHandler& handler) {
            return handler.addSelection(
                u"target/added/selection"_qs, {{u"displayPosition"_qs, 1}, {u"hide"_qs, true}}, -1, true);
        }},
    {"updateNode",
        [](ConfigurationManifestHandler& handler) { return handler.updateNode(inner, node(u"inner"_qs), true, true); }},
    {"updateSelection",
        [](ConfigurationManifestHandler& handler) { return handler.updateSelection(inner, node(u"inner"_qs), true); }},
    {"moveNode", [](ConfigurationManifestHandler& handler) { return handler.moveNode(inner, 1, true); }},
    {"moveSelection", [](ConfigurationManifestHandler& handler) { return handler.moveSelection(inner, 2, true); }},
    {"sortElements of the added",
        [](ConfigurationManifestHandler& handler) {
            return handler.sortElements(u"target/added"_qs, QStringList {u"selection"_qs}, true);
        }},
    {"deleteElement",
        [](ConfigurationManifestHandler& handler) { return handler.deleteElement(u"target/added"_qs, true); }},
};

} // namespace

class tst_HostileManifests : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void contentThatIsNoManifestChangesNothing_data();
    void contentThatIsNoManifestChangesNothing();
    void rootArrayIsTakenAsItStands_data();
    void rootArrayIsTakenAsItStands();
    void editsLeaveHostileNeighboursAlone_data();
    void editsLeaveHostileNeighboursAlone();
    void elementsOfAnyKindAreQueried_data();
    void elementsOfAnyKindAreQueried();
    void elementsOfAnyKindAreEdited_data();
    void elementsOfAnyKindAreEdited();
    void firstOfSeveralNamesakesIsEdited();
    void elementsWithoutNamesAnswerToEmptyName();
    void selectionWithChildrenIsAParent();
    void nodesAreFoundAtAnyDepth_data();
    void nodesAreFoundAtAnyDepth();
    void treeBeyondTheParsersLimitIsSavedAndNotLoaded();
    void treeBeyondTheParsersLimitIsEditedInMemory();
    void hundredThousandElementsAreEdited();
    void textsOfManyMegabytesAreEdited();
    void pathOfManyNamesIsNotFound();
    void contentCutShortAnywhereIsRefused();
    void damagedContentIsRefusedOrTaken();
};

void tst_HostileManifests::contentThatIsNoManifestChangesNothing_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<QString>("error");

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
        {"unknown word", "[tru]", "illegal value"},
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
        {"1025 levels", nested(1025), "too deeply nested document"},
        {"100000 open brackets", QByteArray(100000, '['), "too deeply nested document"},
        {"512 nodes in each other", chain(512), "too deeply nested document"},
        {"object", "{}", nullptr},
        {"object that holds a manifest", "{\"substructure\":[{\"instanceName\":\"a\"}]}", nullptr},
        {"selection alone", "{\"selectionType\":\"Selection\",\"instanceName\":\"a\"}", nullptr},
    };
    for (const auto& row : rows) {
        QTest::newRow(row.name) << row.content << QString::fromLatin1(row.error);
    }
}

void tst_HostileManifests::contentThatIsNoManifestChangesNothing()
{
    QFETCH(const QByteArray, content);
    QFETCH(const QString, error);
    const Message message = error.isNull()
        ? warning(u"Configuration manifest file does not contain a Json array!"_qs, parsing)
        : refused(error);

    MessageRecorder recorder;
    Fixture fixture(R"([{"instanceName":"a","selectionType":"Selection"}])");
    const QByteArray before = fixture.handler.getManifestContent();
    fixture.handler.parseManifestFile(content);
    QCOMPARE(recorder.take(), QVector<Message>({message}));
    QCOMPARE(fixture.handler.getManifestContent(), before);
    QVERIFY(fixture.handler.setProperty(u"a"_qs, key, 1, false));

    writeFile(fixture.path, content);
    fixture.handler.parseManifestFile();
    QCOMPARE(recorder.take(), QVector<Message>({message}));
    QCOMPARE(fixture.handler.getManifestContent(), QByteArray("[]"));
    QCOMPARE(readFile(fixture.path), content);
}

void tst_HostileManifests::rootArrayIsTakenAsItStands_data()
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
        {"byte-order mark", "\xEF\xBB\xBF[]", "[]"},
        {"no objects", R"([null,true,false,0,"text",[],[[]]])", R"([null,true,false,0,"text",[],[[]]])"},
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
        {"unknown escape", R"(["\x"])", R"(["x"])"},
        {"fractions", "[0.1,-2.75,1e-7,5e-324]", "[0.1,-2.75,1e-07,5e-324]"},
        {"whole numbers", "[1.0,-0.0,1e2,-7]", "[1,0,100,-7]"},
        {"number of 53 bits", "[9007199254740991,-9007199254740991]", "[9007199254740991,-9007199254740991]"},
        {"numbers beyond 53 bits are rounded", "[9007199254740993,18446744073709551615]",
            "[9007199254740992,18446744073709552000]"},
        {"largest number", "[1.7976931348623157e308]", "[1.7976931348623157e+308]"},
        {"1024 levels", nested(1024), nested(1024)},
        {"511 nodes in each other", chain(511), chain(511)},
    };
    for (const auto& row : rows) {
        QTest::newRow(row.name) << row.content << row.saved;
    }
}

void tst_HostileManifests::rootArrayIsTakenAsItStands()
{
    QFETCH(const QByteArray, content);
    QFETCH(const QByteArray, saved);

    MessageRecorder recorder;
    Fixture fixture(content);
    QCOMPARE(fixture.handler.getManifestContent(), saved);
    fixture.handler.writeToManifestFile();
    QCOMPARE(readFile(fixture.path), saved);
    QCOMPARE(compact(fixture.reloaded()), saved);
    QCOMPARE(recorder.take(), QVector<Message>());
}

void tst_HostileManifests::editsLeaveHostileNeighboursAlone_data()
{
    QTest::addColumn<QByteArray>("neighbour");

    const struct {
        const char* name;
        QByteArray text;
    } rows[] = {
        {"null", "null"},
        {"true", "true"},
        {"number", "5"},
        {"text that is the name", R"("target")"},
        {"array", "[]"},
        {"array of a namesake", R"([{"instanceName":"target"}])"},
        {"empty object", "{}"},
        {"node without a name", R"({"selectionType":"Node","substructure":[{"instanceName":"inner"}]})"},
        {"name in an object", R"({"instanceName":{"instanceName":"target"}})"},
        {"name in an array", R"({"instanceName":["target"]})"},
        {"name that is a number", R"({"instanceName":5})"},
        {"name that is null", R"({"instanceName":null,"selectionType":"Selection"})"},
        {"name in another case", R"({"instanceName":"Target"})"},
        {"key in another case", R"({"InstanceName":"target"})"},
        {"name with blanks", R"({"instanceName":" target "})"},
        {"name with NUL", R"({"instanceName":"target\u0000"})"},
        {"name with a byte-order mark", R"({"instanceName":"target\ufeff"})"},
        {"name with a lone surrogate", R"({"instanceName":"target\ud800","selectionType":"Selection"})"},
        {"name with a combining mark", R"({"instanceName":"target\u0301"})"},
        {"whole path as a node's name", R"({"instanceName":"target/inner","substructure":[]})"},
        {"node named like a nested selection", R"({"instanceName":"x/target","selectionType":"Node"})"},
        {"selection with slash at the end", R"({"instanceName":"target/","selectionType":"Selection"})"},
        {"slashes alone", R"({"instanceName":"///","selectionType":"Selection"})"},
        {"kind in another case", R"({"instanceName":"x/target","selectionType":"selection"})"},
        {"kind in an array", R"({"instanceName":"x/inner","selectionType":["Selection"]})"},
        {"kind that is a number", R"({"instanceName":"x/inner","selectionType":1})"},
        {"substructure that is an object", R"({"instanceName":"n","substructure":{"0":{"instanceName":"inner"}}})"},
        {"substructure that is a text", R"({"instanceName":"n","substructure":"[]"})"},
        {"substructure that is null", R"({"instanceName":"n","substructure":null})"},
        {"selection with children",
            R"({"instanceName":"s","selectionType":"Selection","substructure":[{"instanceName":"inner"},7]})"},
        {"display position", R"({"displayPosition":"1","hide":1,"iconName":[],"connectorId":"7"})"},
        {"empty keys", R"({"":{"":{"":[]}},"\u0000":0})"},
        {"key given twice", R"({"a":1,"a":[{"b":2,"b":3}]})"},
        {"numbers", "[9007199254740993,-18446744073709551615,0.1,-0.0,1.0,5e-324,1e308,1e-7,123456789012345680000]"},
        {"surrogates", R"({"\ud800":"\udc00","\udbff\udfff":"\udc00\ud800"})"},
        {"control characters", R"({"\u0001":"\u001f\b\f\n\r\t\"\\\/\u007f\u0085\u2028"})"},
        {"text of a megabyte", R"({"instanceName":")" + QByteArray(1 << 20, 'n') + R"("})"},
        {"text of a megabyte, not Latin", R"({"label":")" + QByteArray("\xE6\xBC\xA2").repeated(1 << 18) + R"("})"},
        {"1000 levels", nested(1000)},
        {"500 nodes in each other", "{\"below\":" + chain(500) + "}"},
        {"10000 items", "[" + QByteArray("{\"instanceName\":\"t\"},").repeated(10000) + "0]"},
    };
    for (const auto& row : rows) {
        QTest::newRow(row.name) << row.text;
    }
}

void tst_HostileManifests::editsLeaveHostileNeighboursAlone()
{
    QFETCH(const QByteArray, neighbour);

    MessageRecorder recorder;
    const QByteArray content = "[" + neighbour + R"(,{"instanceName":"target","kept":)" + neighbour
        + R"(,"selectionType":"Node","substructure":[)" + neighbour + R"(,{"instanceName":"inner","kept":)" + neighbour
        + R"(,"selectionType":"Node"},)" + neighbour + "]}," + neighbour + "]";
    Fixture fixture(content);
    const QByteArray unchanged = compact(QJsonDocument::fromJson("[" + neighbour + "]").array());
    QVERIFY(unchanged.size() > 2);

    for (const Operation& operation : operations) {
        QVERIFY2(operation.run(fixture.handler), operation.name);

        const QByteArray saved = readFile(fixture.path);
        QCOMPARE(saved, fixture.handler.getManifestContent());
        QCOMPARE(compact(fixture.reloaded()), saved);

        const QJsonArray manifest = fixture.handler.getManifestJsonArray();
        QCOMPARE(manifest.size(), 3);
        const QJsonObject parent = manifest.at(1).toObject();
        const QJsonArray children = parent.value(u"substructure"_qs).toArray();
        int left = 0;
        for (const QJsonValue& child : children) {
            left += text(child) == unchanged;
        }
        const QJsonObject child = children.at(1).toObject();
        const bool whole = !child.contains(u"kept"_qs) || text(child.value(u"kept"_qs)) == unchanged;
        QVERIFY2(text(manifest.first()) == unchanged && text(manifest.last()) == unchanged && left == 2 && whole
                && text(parent.value(u"kept"_qs)) == unchanged,
            operation.name);
    }
    QCOMPARE(recorder.take(), QVector<Message>());
}

void tst_HostileManifests::elementsOfAnyKindAreQueried_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<QStringList>("names");
    QTest::addColumn<bool>("hasChildren");

    const struct {
        const char* name;
        const char* children;
        QStringList names;
        bool isArray;
    } rows[] = {
        {"no objects", R"([null,true,5,"a",[],{}])", {}, true},
        {"names of any type",
            R"([{"instanceName":1},{"instanceName":null},{"instanceName":["a"]},{"instanceName":"a"}])",
            {QString(), QString(), QString(), u"a"_qs}, true},
        {"namesakes",
            R"([{"instanceName":"a"},{"instanceName":"a"},{"instanceName":"x/a","selectionType":"Selection"}])",
            {u"a"_qs, u"a"_qs, u"x/a"_qs}, true},
        {"odd names",
            R"([{"instanceName":""},{"instanceName":"/"},{"instanceName":"\u0000"},{"instanceName":"\ud800"}])",
            {QString(), u"/"_qs, QString(QChar(QChar::Null)), QString(QChar(0xd800))}, true},
        {"object", R"({"instanceName":"a"})", {}, false},
        {"null", "null", {}, false},
        {"text", R"("[]")", {}, false},
    };
    for (const auto& row : rows) {
        QTest::newRow(row.name) << QByteArray(row.children) << row.names << row.isArray;
    }
}

void tst_HostileManifests::elementsOfAnyKindAreQueried()
{
    QFETCH(const QByteArray, content);
    QFETCH(const QStringList, names);
    QFETCH(const bool, hasChildren);

    MessageRecorder recorder;
    Fixture fixture(R"([7,{"instanceName":"target","substructure":)" + content + "}]");
    const QByteArray before = fixture.handler.getManifestContent();
    QStringList instances;
    int number = -7;
    QCOMPARE(fixture.handler.getListOfInstances(target, instances), hasChildren);
    QCOMPARE(fixture.handler.getNumberOfInstances(target, number), hasChildren);
    QCOMPARE(instances, names);
    QCOMPARE(number, hasChildren ? names.size() : -7);
    if (!hasChildren) {
        const Message unreadable =
            warning(u"Cannot find key 'substructure' in json element QJsonObject(%1) !"_qs.arg(
                        QString::fromUtf8(text(fixture.handler.getManifestJsonArray().at(1))).mid(1).chopped(1)),
                listing);
        QCOMPARE(recorder.take(), QVector<Message>({unreadable, unreadable}));
    }
    QCOMPARE(fixture.handler.getManifestContent(), before);
    QCOMPARE(recorder.take(), QVector<Message>());
}

void tst_HostileManifests::elementsOfAnyKindAreEdited_data()
{
    QTest::addColumn<QByteArray>("item");
    QTest::addColumn<QString>("path");
    QTest::addColumn<QByteArray>("withProperty");
    QTest::addColumn<QByteArray>("withChild");

    const struct {
        const char* name;
        const char* item;
        QString path;
        const char* withProperty;
        const char* withChild;
    } rows[] = {
        {"null", "null", QString(), R"({"key":1})", R"({"substructure":[CHILD]})"},
        {"number", "5", QString(), R"({"key":1})", R"({"substructure":[CHILD]})"},
        {"array", R"([{"instanceName":"a"}])", QString(), R"({"key":1})", R"({"substructure":[CHILD]})"},
        {"empty object", "{}", QString(), R"({"key":1})", R"({"substructure":[CHILD]})"},
        {"name of another type", R"({"instanceName":[1]})", QString(), R"({"instanceName":[1],"key":1})",
            R"({"instanceName":[1],"substructure":[CHILD]})"},
        {"children of another type", R"({"instanceName":"a","substructure":{"b":1}})", u"a"_qs,
            R"({"instanceName":"a","key":1,"substructure":{"b":1}})", R"({"instanceName":"a","substructure":[CHILD]})"},
        {"children that are no objects", R"({"instanceName":"a","substructure":[1,null]})", u"a"_qs,
            R"({"instanceName":"a","key":1,"substructure":[1,null]})",
            R"({"instanceName":"a","substructure":[1,null,CHILD]})"},
        {"selection", R"({"instanceName":"x/a","selectionType":"Selection"})", u"a"_qs,
            R"({"instanceName":"x/a","key":1,"selectionType":"Selection"})",
            R"({"instanceName":"x/a","selectionType":"Selection","substructure":[CHILD]})"},
        {"property given twice", R"({"instanceName":"a","key":2,"key":3})", u"a"_qs, R"({"instanceName":"a","key":1})",
            R"({"instanceName":"a","key":3,"substructure":[CHILD]})"},
        {"name with NUL", R"({"instanceName":"a\u0000b"})", QString::fromUtf16(u"a\0b", 3),
            R"({"instanceName":"a\u0000b","key":1})", R"({"instanceName":"a\u0000b","substructure":[CHILD]})"},
        {"name with a lone surrogate", R"({"instanceName":"\udc00"})", QString(QChar(0xdc00)),
            R"({"instanceName":"\udc00","key":1})", R"({"instanceName":"\udc00","substructure":[CHILD]})"},
    };
    for (const auto& row : rows) {
        const QByteArray child = R"({"dataSourceType":"JsonData","instanceName":"new","selectionType":"Node"})";
        QTest::newRow(row.name) << QByteArray(row.item) << row.path << QByteArray(row.withProperty)
                                << QByteArray(row.withChild).replace("CHILD", child);
    }
}

void tst_HostileManifests::elementsOfAnyKindAreEdited()
{
    QFETCH(const QByteArray, item);
    QFETCH(const QString, path);
    QFETCH(const QByteArray, withProperty);
    QFETCH(const QByteArray, withChild);
    const QByteArray content = R"([{"instanceName":"before"},)" + item + R"(,{"instanceName":"behind"}])";
    const auto around = [](const QByteArray& edited) -> QByteArray {
        return R"([{"instanceName":"before"},)" + edited + R"(,{"instanceName":"behind"}])";
    };

    MessageRecorder recorder;
    Fixture property(content);
    QVERIFY(property.handler.setProperty(path, key, 1, true));
    QCOMPARE(readFile(property.path), around(withProperty));

    Fixture child(content);
    QVERIFY(child.handler.addNode(path + u"/new"_qs, {{u"displayPosition"_qs, 1}}, -1, true));
    QCOMPARE(readFile(child.path), around(withChild));

    Fixture moved(content);
    QVERIFY(moved.handler.moveNode(path, 2, true));
    QCOMPARE(readFile(moved.path),
        compact(
            QJsonDocument::fromJson(R"([{"instanceName":"before"},{"instanceName":"behind"},)" + item + "]").array()));

    Fixture deleted(content);
    QVERIFY(deleted.handler.deleteElement(path, true));
    QCOMPARE(readFile(deleted.path), QByteArray(R"([{"instanceName":"before"},{"instanceName":"behind"}])"));
    QCOMPARE(recorder.take(), QVector<Message>());
}

void tst_HostileManifests::firstOfSeveralNamesakesIsEdited()
{
    MessageRecorder recorder;
    Fixture fixture(R"([{"instanceName":"x/a","selectionType":"Selection"},{"instanceName":"a","substructure":[]},
        {"instanceName":"y/a","selectionType":"Selection"},{"instanceName":"a"}])");
    const QString a = u"a"_qs;

    QVERIFY(fixture.handler.setProperty(a, key, 1, true));
    QCOMPARE(readFile(fixture.path),
        QByteArray(
            R"([{"instanceName":"x/a","key":1,"selectionType":"Selection"},{"instanceName":"a","substructure":[]},)"
            R"({"instanceName":"y/a","selectionType":"Selection"},{"instanceName":"a"}])"));
    QVERIFY(fixture.handler.deleteElement(a, true));
    QVERIFY(fixture.handler.moveNode(a, 2, true));
    QCOMPARE(readFile(fixture.path),
        QByteArray(R"([{"instanceName":"y/a","selectionType":"Selection"},{"instanceName":"a"},)"
                   R"({"instanceName":"a","substructure":[]}])"));
    QVERIFY(fixture.handler.deleteElement(a, true));
    QVERIFY(fixture.handler.deleteElement(a, true));
    QVERIFY(fixture.handler.deleteElement(a, true));
    QVERIFY(!fixture.handler.deleteElement(a, true));
    QCOMPARE(readFile(fixture.path), QByteArray("[]"));
    QCOMPARE(recorder.take(), QVector<Message>());
}

void tst_HostileManifests::elementsWithoutNamesAnswerToEmptyName()
{
    MessageRecorder recorder;
    Fixture fixture(
        R"([{"instanceName":"a"},{"substructure":[{"instanceName":"b"},{"instanceName":""}]},{"instanceName":5}])");
    QJsonObject found;

    QVERIFY(fixture.handler.setProperty(u"/b"_qs, key, 1, false));
    QVERIFY(fixture.handler.setProperty(u"/"_qs, key, 2, false));
    QVERIFY(!fixture.handler.setProperty(u"//"_qs, key, 3, false));
    QVERIFY(fixture.handler.setProperty(QString(), key, 4, true));
    QCOMPARE(readFile(fixture.path),
        QByteArray(R"([{"instanceName":"a"},{"key":4,"substructure":[{"instanceName":"b","key":1},)"
                   R"({"instanceName":"","key":2}]},{"instanceName":5}])"));

    QCOMPARE(recorder.take(), QVector<Message>());
    QVERIFY(!fixture.handler.getNodeElement(u"/b"_qs, found));
    QVERIFY(!fixture.handler.getNodeElement(u"//"_qs, found));
    QCOMPARE(recorder.take(),
        QVector<Message>({warning(u"Cannot find element for path (\"b\")"_qs, element),
            warning(u"Received an empty instance path!"_qs, element)}));
}

void tst_HostileManifests::selectionWithChildrenIsAParent()
{
    MessageRecorder recorder;
    Fixture fixture(R"([{"instanceName":"x/s","selectionType":"Selection","substructure":[{"instanceName":"a"},
        {"instanceName":"x/s/b","selectionType":"Selection"}]}])");
    QStringList instances;

    QVERIFY(fixture.handler.getListOfInstances(u"s"_qs, instances));
    QCOMPARE(instances, QStringList({u"a"_qs, u"x/s/b"_qs}));
    QVERIFY(fixture.handler.sortElements(u"s"_qs, {u"b"_qs, u"a"_qs}, false));
    QVERIFY(fixture.handler.setProperty(u"s/b"_qs, key, 1, true));
    QCOMPARE(readFile(fixture.path),
        QByteArray(R"([{"instanceName":"x/s","selectionType":"Selection","substructure":[)"
                   R"({"instanceName":"x/s/b","key":1,"selectionType":"Selection"},{"instanceName":"a"}]}])"));
    QCOMPARE(recorder.take(), QVector<Message>());
}

void tst_HostileManifests::nodesAreFoundAtAnyDepth_data()
{
    QTest::addColumn<int>("levels");

    QTest::newRow("one") << 1;
    QTest::newRow("100") << 100;
    QTest::newRow("500, a thousand levels of JSON") << 500;
    QTest::newRow("511, one short of the parser's limit") << 511;
}

void tst_HostileManifests::nodesAreFoundAtAnyDepth()
{
    QFETCH(const int, levels);
    const QString path = chainPath(levels);
    const QByteArray content = chain(levels);

    MessageRecorder recorder;
    Fixture fixture(content);
    QCOMPARE(fixture.handler.getManifestContent(), content);
    QJsonObject found;
    int number = -1;
    QVERIFY(fixture.handler.getNodeElement(path, found));
    QCOMPARE(text(found), chain(1));
    QVERIFY(fixture.handler.getNumberOfInstances(path, number));
    QCOMPARE(number, 0);

    QVERIFY(fixture.handler.setProperty(path, key, 1, true));
    const QByteArray innermost = ",\"selectionType\":\"Node\",\"substructure\":[]";
    QCOMPARE(readFile(fixture.path), QByteArray(content).replace(innermost, ",\"key\":1" + innermost));
    QCOMPARE(fixture.reloaded(), fixture.handler.getManifestJsonArray());

    QVERIFY(fixture.handler.removeProperty(path, key, true));
    QCOMPARE(readFile(fixture.path), content);
    QVERIFY(fixture.handler.sortElements(path, {}, true));
    QVERIFY(fixture.handler.moveNode(path, 0, true));
    QVERIFY(fixture.handler.updateNode(path, found, true, true));
    QCOMPARE(readFile(fixture.path), content);
    QVERIFY(fixture.handler.deleteElement(path, true));
    QCOMPARE(readFile(fixture.path), levels == 1 ? QByteArray("[]") : chain(levels - 1));
    QVERIFY(!fixture.handler.deleteElement(path, true));
    QCOMPARE(recorder.take(), QVector<Message>());
}

void tst_HostileManifests::treeBeyondTheParsersLimitIsSavedAndNotLoaded()
{
    MessageRecorder recorder;
    Fixture fixture(chain(511));
    const QJsonObject description {{u"displayPosition"_qs, 1}};

    QVERIFY(fixture.handler.addNode(chainPath(512), description, -1, true));
    QCOMPARE(fixture.reloaded(), fixture.handler.getManifestJsonArray());
    QCOMPARE(recorder.take(), QVector<Message>());

    QVERIFY(fixture.handler.addNode(chainPath(513), description, -1, true));
    QCOMPARE(readFile(fixture.path), fixture.handler.getManifestContent());
    QCOMPARE(recorder.take(), QVector<Message>());
    QCOMPARE(fixture.reloaded(), QJsonArray());
    QCOMPARE(recorder.take(), QVector<Message>({refused(u"too deeply nested document"_qs)}));

    QVERIFY(fixture.handler.deleteElement(chainPath(512), true));
    QCOMPARE(fixture.reloaded(), fixture.handler.getManifestJsonArray());
    QCOMPARE(recorder.take(), QVector<Message>());
}

void tst_HostileManifests::treeBeyondTheParsersLimitIsEditedInMemory()
{
    constexpr int levels = 5000;
    QJsonArray manifest;
    for (int level = 0; level < levels; ++level) {
        QJsonObject parent = node(u"n"_qs);
        parent.insert(u"substructure"_qs, manifest);
        manifest = QJsonArray {parent};
    }

    MessageRecorder recorder;
    Fixture fixture("[]");
    fixture.handler.setManifestJsonArray(manifest);
    const QByteArray before = fixture.handler.getManifestContent();
    QVERIFY(fixture.handler.setProperty(chainPath(levels), key, 1, true));
    QCOMPARE(readFile(fixture.path).size(), before.size() + 8);
    QVERIFY(fixture.handler.removeProperty(chainPath(levels), key, true));
    QCOMPARE(readFile(fixture.path), before);
    QVERIFY(fixture.handler.deleteElement(chainPath(2), true));
    QCOMPARE(readFile(fixture.path), QByteArray(R"([{"instanceName":"n","selectionType":"Node","substructure":[]}])"));
    QCOMPARE(recorder.take(), QVector<Message>());
}

void tst_HostileManifests::hundredThousandElementsAreEdited()
{
    constexpr int count = 100000;
    QJsonArray expected;
    for (int i = 0; i < count; ++i) {
        expected.append(node(numbered(i)));
    }

    MessageRecorder recorder;
    Fixture fixture(compact(expected));
    QCOMPARE(fixture.handler.getManifestJsonArray(), expected);
    int number = 0;
    QVERIFY(fixture.handler.getNumberOfInstances(QString(), number));
    QCOMPARE(number, count);
    QVERIFY(!fixture.handler.setProperty(numbered(count), key, 1, true));

    const QString last = numbered(count - 1);
    QVERIFY(fixture.handler.setProperty(last, key, 1, true));
    QJsonObject edited = node(last);
    edited.insert(key, 1);
    expected.replace(count - 1, edited);
    QVERIFY(readFile(fixture.path) == compact(expected));

    QVERIFY(fixture.handler.moveNode(last, 0, false));
    QVERIFY(fixture.handler.deleteElement(numbered(1), false));
    QVERIFY(fixture.handler.addNode(u"added"_qs, {{u"displayPosition"_qs, 1}}, 1, true));
    expected.removeLast();
    expected.removeAt(1);
    expected.prepend(edited);
    QJsonObject added = node(u"added"_qs);
    added.insert(u"dataSourceType"_qs, u"JsonData"_qs);
    expected.insert(1, added);
    QVERIFY(readFile(fixture.path) == compact(expected));

    QStringList names;
    QVERIFY(fixture.handler.getListOfInstances(QString(), names));
    QJsonArray reversed;
    for (int i = expected.size() - 1; i >= 0; --i) {
        reversed.append(expected.at(i));
    }
    QVERIFY(fixture.handler.sortElements(QString(), QStringList(names.crbegin(), names.crend()), true));
    QVERIFY(readFile(fixture.path) == compact(reversed));
    QVERIFY(fixture.reloaded() == reversed);
    QCOMPARE(recorder.take(), QVector<Message>());
}

void tst_HostileManifests::textsOfManyMegabytesAreEdited()
{
    const QString name(8 << 20, u'n');
    const QString value(8 << 20, QChar(0x6f22));
    const QJsonObject description {{u"displayPosition"_qs, 1}};

    MessageRecorder recorder;
    Fixture fixture("[]");
    QVERIFY(fixture.handler.addNode(name, description, -1, false));
    QVERIFY(fixture.handler.setProperty(name, value, value, false));
    QVERIFY(fixture.handler.addNode(name + u"/inner"_qs, description, -1, true));
    QJsonObject found;
    QVERIFY(fixture.handler.getNodeElement(name, found));
    QVERIFY(found.value(value).toString() == value);
    QVERIFY(fixture.reloaded() == fixture.handler.getManifestJsonArray());
    QVERIFY(fixture.handler.removeProperty(name, value, false));
    QVERIFY(!fixture.handler.setProperty(name.chopped(1), key, 1, false));
    QVERIFY(fixture.handler.deleteElement(name, true));
    QCOMPARE(readFile(fixture.path), QByteArray("[]"));
    QCOMPARE(recorder.take(), QVector<Message>());
}

void tst_HostileManifests::pathOfManyNamesIsNotFound()
{
    const QByteArray content = chain(3);
    const QString path = chainPath(100000);

    MessageRecorder recorder;
    Fixture fixture(content);
    QJsonObject found;
    QVERIFY(!fixture.handler.getNodeElement(path, found));
    QVERIFY(!fixture.handler.setProperty(path, key, 1, true));
    QVERIFY(!fixture.handler.addNode(path, {}, -1, true));
    QVERIFY(!fixture.handler.addSelection(path, {}, -1, true));
    QVERIFY(!fixture.handler.deleteElement(path, true));
    QVERIFY(!fixture.handler.sortElements(path, {}, true));
    QVERIFY(!fixture.handler.moveNode(path, 0, true));
    QVERIFY(!fixture.handler.updateSelection(path, {}, true));
    QCOMPARE(readFile(fixture.path), content);
    QVERIFY(!fixture.handler.getModified());
    QCOMPARE(recorder.take(), QVector<Message>());
}

void tst_HostileManifests::contentCutShortAnywhereIsRefused()
{
    const QByteArray content = "[{\"instanceName\":\"a\\u00e4\xC3\xA4\",\"n\":-1.5e3,\"selectionType\":\"Node\","
                               "\"substructure\":[{\"t\":true,\"f\":false,\"0\":null}]},[]]";

    MessageRecorder recorder;
    Fixture fixture(content);
    const QJsonArray whole = fixture.handler.getManifestJsonArray();
    QCOMPARE(whole.size(), 2);
    for (int length = 0; length < content.size(); ++length) {
        const QByteArray cut = content.left(length);
        QJsonParseError error;
        QJsonDocument::fromJson(cut, &error);
        QVERIFY(error.error != QJsonParseError::NoError);

        fixture.handler.parseManifestFile(cut);
        QCOMPARE(recorder.take(), QVector<Message>({refused(error.errorString())}));
        QCOMPARE(fixture.handler.getManifestJsonArray(), whole);

        writeFile(fixture.path, cut);
        QCOMPARE(fixture.reloaded(), QJsonArray());
        QCOMPARE(recorder.take(), QVector<Message>({refused(error.errorString())}));
    }
    QVERIFY(!fixture.handler.getModified());
}

void tst_HostileManifests::damagedContentIsRefusedOrTaken()
{
    const QByteArray whole =
        R"([{"instanceName":"a","iconName":"","selectionType":"Selection"},{"instanceName":"n","selectionType":"Node",)"
        R"("substructure":[{"instanceName":"n/b","hide":false,"selectionType":"Selection"},{"instanceName":"m",)"
        R"("selectionType":"Node","substructure":[{"instanceName":"n/m/c","selectionType":"Selection"}]}]}])";
    const QStringList paths {QString(), u"a"_qs, u"n"_qs, u"n/b"_qs, u"n/m"_qs, u"n/m/c"_qs};
    const QString added = u"added"_qs;
    const auto property = [&](QJsonObject& object, bool& changed) {
        changed = !object.contains(added);
        object.insert(added, 1);
        return true;
    };
    std::mt19937 engine(20240229);
    const auto below = [&](int bound) { return static_cast<int>(engine() % static_cast<uint>(bound)); };
    int taken = 0;
    int edited = 0;

    MessageRecorder recorder;
    Fixture fixture("[]");
    ConfigurationManifestHandler& handler = fixture.handler;
    for (int i = 0; i < 2000; ++i) {
        QByteArray damaged = whole;
        for (int flips = 1 + below(3); flips > 0; --flips) {
            const int position = below(damaged.size());
            damaged[position] = static_cast<char>(damaged.at(position) ^ 1 << below(8));
        }
        QJsonParseError error;
        const QJsonDocument document = QJsonDocument::fromJson(damaged, &error);
        const QJsonArray before = handler.getManifestJsonArray();
        handler.parseManifestFile(damaged);
        const QVector<Message> messages = recorder.take();
        if (error.error != QJsonParseError::NoError) {
            QCOMPARE(messages, QVector<Message>({refused(error.errorString())}));
            QCOMPARE(handler.getManifestJsonArray(), before);
            continue;
        }
        QCOMPARE(messages, QVector<Message>());
        QCOMPARE(handler.getManifestJsonArray(), document.array());
        ++taken;

        for (const QString& path : paths) {
            QJsonObject object;
            QStringList instances;
            int number = 0;
            const bool found = handler.getNodeElement(path, object);
            QCOMPARE(handler.getListOfInstances(path, instances), handler.getNumberOfInstances(path, number));
            QCOMPARE(number, instances.size());
            recorder.take();

            const QByteArray unedited = handler.getManifestContent();
            if (handler.modifyPropertyFirst(path, property, false)) {
                QVERIFY(handler.removeProperty(path, added, false));
                QCOMPARE(handler.getManifestContent(), unedited);
                ++edited;
            } else {
                QVERIFY(!found);
            }
        }

        const int size = document.array().size();
        QVERIFY(handler.addNode(added, {{u"displayPosition"_qs, 1}}, -1, false));
        QCOMPARE(handler.getManifestJsonArray().size(), size + 1);
        QVERIFY(handler.deleteElement(added, true));
        QCOMPARE(handler.getManifestJsonArray(), document.array());
        QCOMPARE(fixture.reloaded(), document.array());
        QCOMPARE(recorder.take(), QVector<Message>());
    }
    QVERIFY2(taken > 500 && edited > 1500, qPrintable(u"%1, %2"_qs.arg(taken).arg(edited)));
}

MANIFEST_TEST_MAIN(tst_HostileManifests)

#include "tst_hostilemanifests.moc"
