#include "Elements.h"
#include "Files.h"
#include "Handlers.h"
#include "Literals.h"
#include "MessageRecorder.h"
#include "TestMain.h"

static_assert(
    has<QJsonObject (Handler::*)(const QJsonArray&, const QString&, int&) const>(&Handler::getElementFromInstance));
static_assert(
    has<bool (Handler::*)(const QJsonArray&, const QStringList&, QJsonObject&) const>(&Handler::getNodeElement));
static_assert(has<bool (Handler::*)(const QString&, QJsonObject&) const>(&Handler::getNodeElement));
static_assert(has<bool (Handler::*)(const QString&, QStringList&) const>(&Handler::getListOfInstances));
static_assert(has<bool (Handler::*)(const QString&, int&) const>(&Handler::getNumberOfInstances));

namespace {

const QJsonObject preset = {{u"preset"_qs, true}};

Message pathMessage(const QString& text)
{
    return warning(text,
        "bool ConfigurationManifestHandler::getNodeElement(const QJsonArray&, const QStringList&, QJsonObject&) const");
}

Message pathIsEmpty()
{
    return pathMessage(u"Received an empty instance path!"_qs);
}

// `name` is the name as the message prints it.
Message lastNameIsMissing(const QString& name)
{
    return pathMessage(u"Cannot find element for path (\"%1\")"_qs.arg(name));
}

Message listMessage(const QString& text)
{
    return warning(text, "bool ConfigurationManifestHandler::getListOfInstances(const QString&, QStringList&) const");
}

// `path` is the path as the message prints it.
Message pathIsWrong(const QString& path)
{
    return listMessage(u"Error on getting node element for path \"%1\" !"_qs.arg(path));
}

// `element` is the element as the message prints it.
Message childrenAreUnreadable(const QString& element)
{
    return listMessage(u"Cannot find key 'substructure' in json element QJsonObject(%1) !"_qs.arg(element));
}

QJsonObject numbered(const QJsonObject& element, int number)
{
    return with(element, u"number"_qs, number);
}

// Elements with equal names differ in a number.
QJsonArray tree()
{
    const QJsonArray lowest = {numbered(selection(u"a/b/c"_qs), 1), numbered(selection(u"a/b/c"_qs), 2),
        numbered(node(u"c"_qs), 3), numbered(node(u"a/b/c"_qs), 4)};
    const QJsonArray middle = {numbered(selection(u"a/file"_qs), 5), node(u"b"_qs, lowest),
        numbered(node(u"b"_qs, {numbered(node(u"never found"_qs), 6)}), 7),
        node(u"x/y"_qs, {numbered(node(u"deep"_qs), 8)})};
    return {numbered(selection(u"top"_qs), 9), node(u"a"_qs, middle), numbered(node(u"a"_qs), 10),
        with(node(u"text"_qs), u"substructure"_qs, u"b"_qs),
        numbered(node(u""_qs, {1, numbered(node(u"below"_qs), 11)}), 12),
        with(selection(u"file"_qs), u"substructure"_qs, QJsonArray {numbered(node(u"in a file"_qs), 13)})};
}

} // namespace

class tst_ConfigurationManifestHandler_queries : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void elementIsFoundByItsName_data();
    void elementIsFoundByItsName();
    void pathIsFollowedNameByName_data();
    void pathIsFollowedNameByName();
    void pathAsTextSkipsEmptyNames_data();
    void pathAsTextSkipsEmptyNames();
    void namesOfChildrenAreAppended_data();
    void namesOfChildrenAreAppended();
    void pathsStartInManifestOrInArrayOfCallers();
    void queriesChangeNothing();
};

void tst_ConfigurationManifestHandler_queries::elementIsFoundByItsName_data()
{
    QTest::addColumn<QJsonArray>("array");
    QTest::addColumn<QString>("name");
    QTest::addColumn<int>("index");

    const QJsonArray stored = {selection(u"folder/file"_qs)};
    QTest::newRow("selection by its last segment") << stored << "file" << 0;
    QTest::newRow("selection not by its whole name") << stored << "folder/file" << -1;
    QTest::newRow("selection not by its folder") << stored << "folder" << -1;
    QTest::newRow("selection not by the end of a segment") << stored << "ile" << -1;
    QTest::newRow("selection not by a slash and its last segment") << stored << "/file" << -1;
    QTest::newRow("selection in many folders") << QJsonArray({selection(u"a/b/c/d"_qs)}) << "d" << 0;
    QTest::newRow("selection not by its last folders") << QJsonArray({selection(u"a/b/c/d"_qs)}) << "c/d" << -1;
    QTest::newRow("selection without a folder") << QJsonArray({selection(u"file"_qs)}) << "file" << 0;
    QTest::newRow("selection behind empty segments") << QJsonArray({selection(u"a//b"_qs)}) << "b" << 0;

    QTest::newRow("node by its whole name") << QJsonArray({node(u"a/b"_qs)}) << "a/b" << 0;
    QTest::newRow("node not by its last segment") << QJsonArray({node(u"a/b"_qs)}) << "b" << -1;
    QTest::newRow("node not by the end of its name") << QJsonArray({node(u"ab"_qs)}) << "b" << -1;
    QTest::newRow("node not by more than its name") << QJsonArray({node(u"b"_qs)}) << "ab" << -1;

    for (const char* kind :
        {"{}", R"({"selectionType":"selection"})", R"({"selectionType":"SELECTION"})", R"({"selectionType":null})",
            R"({"selectionType":["Selection"]})", R"({"selectionType":1})", R"({"SelectionType":"Selection"})"}) {
        const QJsonArray array = {with(objectFrom(kind), u"instanceName"_qs, u"a/b"_qs)};
        QTest::addRow("as a node: %s", kind) << array << "a/b" << 0;
        QTest::addRow("not as a selection: %s", kind) << array << "b" << -1;
    }

    QTest::newRow("position") << QJsonArray({node(u"a"_qs), 1, node(u"b"_qs), selection(u"c"_qs)}) << "c" << 3;
    QTest::newRow("first of two nodes") << QJsonArray(
        {node(u"a"_qs), numbered(node(u"b"_qs), 1), numbered(node(u"b"_qs), 2)})
                                        << "b" << 1;
    QTest::newRow("first of two selections")
        << QJsonArray({node(u"a"_qs), selection(u"x/b"_qs), selection(u"y/b"_qs)}) << "b" << 1;
    QTest::newRow("selection before a node") << QJsonArray({selection(u"x/b"_qs), node(u"b"_qs)}) << "b" << 0;
    QTest::newRow("node before a selection") << QJsonArray({node(u"b"_qs), selection(u"x/b"_qs)}) << "b" << 0;
    QTest::newRow("node behind a selection of that whole name")
        << QJsonArray({selection(u"x/b"_qs), node(u"x/b"_qs)}) << "x/b" << 1;
    QTest::newRow("case of a node") << QJsonArray({node(u"Net"_qs), node(u"net"_qs)}) << "net" << 1;
    QTest::newRow("case of a selection") << QJsonArray({selection(u"x/File"_qs)}) << "file" << -1;
    QTest::newRow("blanks count") << QJsonArray({node(u"a "_qs), node(u"a"_qs)}) << "a" << 1;
    QTest::newRow("beyond ASCII") << QJsonArray({selection(u"Ü/日本"_qs)}) << QString::fromUtf8("日本") << 0;
    QTest::newRow("nothing there") << QJsonArray() << "a" << -1;
    QTest::newRow("substructures are not searched") << QJsonArray({node(u"a"_qs, {node(u"b"_qs)})}) << "b" << -1;

    QTest::newRow("node without a name") << QJsonArray({node(u"a"_qs), node(u""_qs)}) << "" << 1;
    QTest::newRow("selection without a name") << QJsonArray({selection(u"a"_qs), selection(u""_qs)}) << "" << 1;
    QTest::newRow("selection that ends with a slash")
        << QJsonArray({selection(u"a"_qs), selection(u"a/"_qs)}) << "" << 1;
    QTest::newRow("node that ends with a slash") << QJsonArray({node(u"a/"_qs)}) << "" << -1;
    QTest::newRow("selection of nothing but a slash") << QJsonArray({selection(u"/"_qs)}) << "" << 0;
    QTest::newRow("nameless selection not by another name") << QJsonArray({selection(u""_qs)}) << "a" << -1;
    QTest::newRow("missing name") << arrayFrom(R"([{"selectionType":"Node"}])") << "" << 0;
    QTest::newRow("missing name of a selection") << arrayFrom(R"([{"selectionType":"Selection"}])") << "" << 0;
    QTest::newRow("name that is a number") << arrayFrom(R"([{"instanceName":5}])") << "" << 0;
    QTest::newRow("name that is a number, not as text") << arrayFrom(R"([{"instanceName":5}])") << "5" << -1;
    QTest::newRow("name that is null") << arrayFrom(R"([{"instanceName":null}])") << "" << 0;
    QTest::newRow("name that is an array") << arrayFrom(R"([{"instanceName":["a"]}])") << "" << 0;
    QTest::newRow("number") << QJsonArray({node(u"a"_qs), 5}) << "" << 1;
    QTest::newRow("text") << QJsonArray({u"a"_qs}) << "" << 0;
    QTest::newRow("text, not by itself") << QJsonArray({u"a"_qs}) << "a" << -1;
    QTest::newRow("null") << QJsonArray({QJsonValue()}) << "" << 0;
    QTest::newRow("array") << QJsonArray({QJsonValue(QJsonArray({node(u"a"_qs)}))}) << "" << 0;
    QTest::newRow("array, not by what is in it") << QJsonArray({QJsonValue(QJsonArray({node(u"a"_qs)}))}) << "a" << -1;
    QTest::newRow("no name given") << QJsonArray({node(u"a"_qs), node(u""_qs)}) << QString() << 1;
    QTest::newRow("no element without a name") << QJsonArray({node(u"a"_qs), selection(u"x/b"_qs)}) << "" << -1;
}

void tst_ConfigurationManifestHandler_queries::elementIsFoundByItsName()
{
    QFETCH(QJsonArray, array);
    QFETCH(QString, name);
    QFETCH(int, index);
    const MessageRecorder log;
    const HandlerWithoutFile handler;
    for (const int before : {-1, 99}) {
        int found = before;
        const QJsonObject element = handler.getElementFromInstance(array, name, found);
        QCOMPARE(found, index);
        QCOMPARE(compact({element}), compact({index < 0 ? QJsonObject() : array.at(index).toObject()}));
    }
}

void tst_ConfigurationManifestHandler_queries::pathIsFollowedNameByName_data()
{
    QTest::addColumn<QStringList>("path");
    QTest::addColumn<bool>("result");
    QTest::addColumn<QJsonObject>("element");
    QTest::addColumn<Messages>("messages");

    const auto addFound = [](const char* name, const QStringList& path, const QJsonObject& element) {
        QTest::newRow(name) << path << true << element << Messages();
    };
    const QJsonArray top = tree();
    const QJsonArray middle = top.at(1).toObject().value(u"substructure"_qs).toArray();
    const QJsonArray lowest = middle.at(1).toObject().value(u"substructure"_qs).toArray();
    addFound("selection at the top", {u"top"_qs}, top.at(0).toObject());
    addFound("first of two nodes", {u"a"_qs}, top.at(1).toObject());
    addFound("selection in a node", {u"a"_qs, u"file"_qs}, middle.at(0).toObject());
    addFound("node in a node", {u"a"_qs, u"b"_qs}, middle.at(1).toObject());
    addFound("first of two selections", {u"a"_qs, u"b"_qs, u"c"_qs}, lowest.at(0).toObject());
    addFound("node by its whole name", {u"a"_qs, u"b"_qs, u"a/b/c"_qs}, lowest.at(3).toObject());
    addFound("through a node by its whole name", {u"a"_qs, u"x/y"_qs, u"deep"_qs}, numbered(node(u"deep"_qs), 8));
    addFound("element without a name", {u""_qs}, top.at(4).toObject());
    addFound("through an element without a name", {u""_qs, u"below"_qs}, numbered(node(u"below"_qs), 11));
    addFound("no object", {u""_qs, u""_qs}, QJsonObject());
    addFound("through a selection", {u"file"_qs, u"in a file"_qs}, numbered(node(u"in a file"_qs), 13));

    const auto addMiss = [](const char* name, const QStringList& path, const QJsonObject& element,
                             const Messages& messages) { QTest::newRow(name) << path << false << element << messages; };
    const Messages silent;
    addMiss("no name", {}, preset, {pathIsEmpty()});
    addMiss("one name", {u"x"_qs}, QJsonObject(), {lastNameIsMissing(u"x"_qs)});
    addMiss("one name with slashes", {u"a/b"_qs}, QJsonObject(), {lastNameIsMissing(u"a/b"_qs)});
    addMiss("one name that has to be quoted", {u"\"\\\n"_qs}, QJsonObject(), {lastNameIsMissing(uR"(\"\\\n)"_qs)});
    addMiss("first of two names", {u"x"_qs, u"b"_qs}, preset, silent);
    addMiss("both of two names", {u"x"_qs, u"x"_qs}, preset, silent);
    addMiss("last of two names", {u"a"_qs, u"x"_qs}, preset, {lastNameIsMissing(u"x"_qs)});
    addMiss("empty last name", {u"a"_qs, u""_qs}, preset, {lastNameIsMissing(QString())});
    addMiss("name of an element further up", {u"a"_qs, u"a"_qs}, preset, {lastNameIsMissing(u"a"_qs)});
    addMiss("first of three names", {u"x"_qs, u"b"_qs, u"c"_qs}, preset, silent);
    addMiss("middle of three names", {u"a"_qs, u"x"_qs, u"c"_qs}, preset, silent);
    addMiss("last of three names", {u"a"_qs, u"b"_qs, u"x"_qs}, preset, {lastNameIsMissing(u"x"_qs)});
    addMiss("only below the second of two nodes", {u"a"_qs, u"b"_qs, u"never found"_qs}, preset,
        {lastNameIsMissing(u"never found"_qs)});
    addMiss("selection by its whole name", {u"a"_qs, u"a/file"_qs}, preset, {lastNameIsMissing(u"a/file"_qs)});
    addMiss("below a selection", {u"top"_qs, u"x"_qs}, preset, {lastNameIsMissing(u"x"_qs)});
    addMiss("two levels below a selection", {u"top"_qs, u"x"_qs, u"y"_qs}, preset, silent);
    addMiss("below children that are no array", {u"text"_qs, u"b"_qs}, preset, {lastNameIsMissing(u"b"_qs)});
    addMiss("below what is no object", {u""_qs, u""_qs, u"x"_qs}, preset, {lastNameIsMissing(u"x"_qs)});
}

void tst_ConfigurationManifestHandler_queries::pathIsFollowedNameByName()
{
    QFETCH(QStringList, path);
    QFETCH(bool, result);
    QFETCH(QJsonObject, element);
    QFETCH(Messages, messages);
    MessageRecorder log;
    const HandlerWithoutFile handler;
    QJsonObject found = preset;
    QCOMPARE(handler.getNodeElement(tree(), path, found), result);
    QCOMPARE(log.take(), messages);
    QCOMPARE(compact({found}), compact({element}));
}

void tst_ConfigurationManifestHandler_queries::pathAsTextSkipsEmptyNames_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<bool>("result");
    QTest::addColumn<QJsonObject>("element");
    QTest::addColumn<Messages>("messages");

    const QJsonObject lowest = numbered(selection(u"a/b/c"_qs), 1);
    for (const char* path : {"a/b/c", "/a/b/c", "a/b/c/", "a//b/c", "a/b//c", "///a///b///c///"}) {
        QTest::newRow(path) << path << true << lowest << Messages();
    }
    QTest::newRow("one name") << "top" << true << numbered(selection(u"top"_qs), 9) << Messages();
    QTest::newRow("one name between slashes") << "//top/" << true << numbered(selection(u"top"_qs), 9) << Messages();

    QTest::newRow("nothing") << "" << false << preset << Messages({pathIsEmpty()});
    QTest::newRow("no text at all") << QString() << false << preset << Messages({pathIsEmpty()});
    QTest::newRow("slash") << "/" << false << preset << Messages({pathIsEmpty()});
    QTest::newRow("slashes") << "///" << false << preset << Messages({pathIsEmpty()});
    QTest::newRow("blank is a name") << " " << false << QJsonObject() << Messages({lastNameIsMissing(u" "_qs)});
    QTest::newRow("one missing name") << "x" << false << QJsonObject() << Messages({lastNameIsMissing(u"x"_qs)});
    QTest::newRow("one missing name between slashes")
        << "/x/" << false << QJsonObject() << Messages({lastNameIsMissing(u"x"_qs)});
    QTest::newRow("missing last name") << "a/b/x" << false << preset << Messages({lastNameIsMissing(u"x"_qs)});
    QTest::newRow("missing inner name") << "a/x/c" << false << preset << Messages();
    QTest::newRow("other case") << "A/b/c" << false << preset << Messages();
    QTest::newRow("through a name with a slash") << "a/x/y/deep" << false << preset << Messages();
    QTest::newRow("element without a name")
        << "/below" << false << QJsonObject() << Messages({lastNameIsMissing(u"below"_qs)});
}

void tst_ConfigurationManifestHandler_queries::pathAsTextSkipsEmptyNames()
{
    QFETCH(QString, path);
    QFETCH(bool, result);
    QFETCH(QJsonObject, element);
    QFETCH(Messages, messages);
    MessageRecorder log;
    const HandlerWithoutFile handler(tree());
    QJsonObject found = preset;
    QCOMPARE(handler.getNodeElement(path, found), result);
    QCOMPARE(log.take(), messages);
    QCOMPARE(compact({found}), compact({element}));
}

void tst_ConfigurationManifestHandler_queries::namesOfChildrenAreAppended_data()
{
    QTest::addColumn<QJsonArray>("manifest");
    QTest::addColumn<QString>("path");
    QTest::addColumn<bool>("result");
    QTest::addColumn<QStringList>("names");
    QTest::addColumn<int>("number");
    QTest::addColumn<Messages>("messages");

    const QStringList before = {u"first"_qs, u"second"_qs};
    const auto addListed = [&](const char* row, const QJsonArray& manifest, const QString& path,
                               const QStringList& names) {
        QTest::newRow(row) << manifest << path << true << before + names << names.size() << Messages();
    };
    const auto addCleared = [](const char* row, const QJsonArray& manifest, const QString& path) {
        QTest::newRow(row) << manifest << path << true << QStringList() << 0 << Messages();
    };
    const auto addFailure = [&](const char* row, const QJsonArray& manifest, const QString& path,
                                const Messages& messages) {
        QTest::newRow(row) << manifest << path << false << before << -7 << messages;
    };

    // Every element with an instance name is listed under the name as stored.
    const QJsonArray children = {selection(u"a/file"_qs), 1, node(u"b"_qs, {node(u"deeper"_qs)}),
        objectFrom(R"({"selectionType":"Node"})"), u"text"_qs, QJsonValue(), QJsonArray({node(u"inside"_qs)}),
        node(u"b"_qs), objectFrom(R"({"instanceName":5})"), objectFrom(R"({"instanceName":null})"), node(u""_qs),
        objectFrom(R"({"instanceName":"no kind"})")};
    const QStringList names = {u"a/file"_qs, u"b"_qs, u"b"_qs, QString(), QString(), QString(), u"no kind"_qs};
    addListed("top level", children, QString(), names);
    addListed("empty top level", QJsonArray(), QString(), {});
    addListed("top level without names", arrayFrom(R"([1,{"a":2}])"), QString(), {});
    addListed("node", {node(u"a"_qs, children)}, u"a"_qs, names);
    addListed("deep node", {node(u"a"_qs, {node(u"b"_qs, children)})}, u"/a//b/"_qs, names);
    addListed(
        "first of two nodes", {node(u"a"_qs, {node(u"x"_qs)}), node(u"a"_qs, {node(u"y"_qs)})}, u"a"_qs, {u"x"_qs});
    addListed("node with odd names",
        {node(u"a"_qs,
            arrayFrom(R"([true,{"instanceName":["a"]},{"instanceName":"/"},{"instanceName":"\u0000"},)"
                      R"({"instanceName":"\ud800"}])"))},
        u"a"_qs, {QString(), u"/"_qs, QString(QChar(QChar::Null)), QString(QChar(0xd800))});
    addListed("node without children", {node(u"a"_qs, QJsonArray())}, u"a"_qs, {});
    addListed("node with nameless children", {node(u"a"_qs, {1, QJsonObject()})}, u"a"_qs, {});
    addListed("selection with children", {with(selection(u"a"_qs), u"substructure"_qs, children)}, u"a"_qs, names);

    addCleared("selection", {selection(u"a"_qs)}, u"a"_qs);
    addCleared("selection in a node", {node(u"a"_qs, {selection(u"a/file"_qs)})}, u"a/file"_qs);
    addCleared("node that cannot have children", {node(u"a"_qs)}, u"a"_qs);

    addFailure("slash", children, u"/"_qs, {pathIsEmpty(), pathIsWrong(u"/"_qs)});
    addFailure("missing element", {node(u"a"_qs)}, u"x"_qs, {lastNameIsMissing(u"x"_qs), pathIsWrong(u"x"_qs)});
    addFailure("missing last name", {node(u"a"_qs)}, u"/a/x"_qs, {lastNameIsMissing(u"x"_qs), pathIsWrong(u"/a/x"_qs)});
    addFailure("missing inner name", {node(u"a"_qs)}, u"x//\"y"_qs, {pathIsWrong(uR"(x//\"y)"_qs)});
    addFailure("element without a name", {node(u""_qs, children)}, u"//"_qs, {pathIsEmpty(), pathIsWrong(u"//"_qs)});
    const auto addUnreadable = [&](const char* row, const QJsonValue& value, const QString& element) {
        addFailure(row, {node(u"a"_qs, {with(node(u"b"_qs), u"substructure"_qs, value)})}, u"a/b"_qs,
            {childrenAreUnreadable(element)});
    };
    addUnreadable(
        "text for children", u"text"_qs, uR"({"instanceName":"b","selectionType":"Node","substructure":"text"})"_qs);
    addUnreadable("number for children", 1, uR"({"instanceName":"b","selectionType":"Node","substructure":1})"_qs);
    addUnreadable(
        "null for children", QJsonValue(), uR"({"instanceName":"b","selectionType":"Node","substructure":null})"_qs);
    addUnreadable("object for children", QJsonObject {{u"instanceName"_qs, u"c"_qs}},
        uR"({"instanceName":"b","selectionType":"Node","substructure":{"instanceName":"c"}})"_qs);
}

void tst_ConfigurationManifestHandler_queries::namesOfChildrenAreAppended()
{
    QFETCH(QJsonArray, manifest);
    QFETCH(QString, path);
    QFETCH(bool, result);
    QFETCH(QStringList, names);
    QFETCH(int, number);
    QFETCH(Messages, messages);
    MessageRecorder log;
    const HandlerWithoutFile handler(manifest);

    QStringList found = {u"first"_qs, u"second"_qs};
    QCOMPARE(handler.getListOfInstances(path, found), result);
    QCOMPARE(log.take(), messages);
    QCOMPARE(found, names);

    int count = -7;
    QCOMPARE(handler.getNumberOfInstances(path, count), result);
    QCOMPARE(log.take(), messages);
    QCOMPARE(count, number);
}

void tst_ConfigurationManifestHandler_queries::pathsStartInManifestOrInArrayOfCallers()
{
    MessageRecorder log;
    HandlerWithoutFile handler({node(u"in the manifest"_qs)});
    const QJsonArray array = {node(u"elsewhere"_qs)};
    QJsonObject element;
    QVERIFY(handler.getNodeElement(u"in the manifest"_qs, element));
    QVERIFY(handler.getNodeElement(array, {u"elsewhere"_qs}, element));
    QCOMPARE(log.take(), Messages());
    QVERIFY(!handler.getNodeElement(u"elsewhere"_qs, element));
    QVERIFY(!handler.getNodeElement(array, {u"in the manifest"_qs}, element));
    QCOMPARE(log.take(), Messages({lastNameIsMissing(u"elsewhere"_qs), lastNameIsMissing(u"in the manifest"_qs)}));
}

void tst_ConfigurationManifestHandler_queries::queriesChangeNothing()
{
    const QByteArray content = "[ ]";
    const ManifestFile file(content);
    for (const bool modified : {false, true}) {
        Handler handler(file.path(), u"module"_qs, u"object"_qs);
        handler.setManifestJsonArray(tree());
        if (modified) {
            QVERIFY(handler.moveNode(u"a"_qs, 1, false));
        }
        MessageRecorder log;
        const Handler& reader = handler;
        QJsonObject element;
        QStringList names;
        int number = 0;
        for (const QString& path : {u"a/b"_qs, u"x"_qs, u"text"_qs, QString()}) {
            reader.getElementFromInstance(reader.getManifestJsonArray(), path, number);
            reader.getNodeElement(path, element);
            element.insert(u"new"_qs, true);
            reader.getListOfInstances(path, names);
            reader.getNumberOfInstances(path, number);
        }
        log.take();
        QCOMPARE(handler.getManifestContent(), compact(tree()));
        QCOMPARE(handler.getModified(), modified);
        QCOMPARE(file.content(), content);
        QVERIFY(file.isAlone());
    }
}

MANIFEST_TEST_MAIN(tst_ConfigurationManifestHandler_queries)

#include "tst_configurationmanifesthandler_queries.moc"
