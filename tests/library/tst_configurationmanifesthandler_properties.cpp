#include "Edits.h"
#include "Elements.h"
#include "Files.h"
#include "Handlers.h"
#include "Literals.h"
#include "MessageRecorder.h"
#include "TestMain.h"

#include <QtCore/QUrl>

#include <stdexcept>

static_assert(has<bool (Handler::*)(const QString&, const QString&, const QVariant&, bool)>(&Handler::update));
static_assert(has<bool (Handler::*)(const QString&, const QString&, const QVariant&, bool)>(&Handler::setProperty));
static_assert(has<bool (Handler::*)(const QString&, const QString&, bool)>(&Handler::removeProperty));
static_assert(has<bool (Handler::*)(const QString&, const std::function<bool(QJsonObject&, bool&)>&, bool)>(
    &Handler::modifyPropertyFirst));
static_assert(has<bool (Handler::*)(QJsonArray&, const QStringList&, const QString&, bool&,
        const std::function<bool(QJsonObject&, bool&)>&)>(&Handler::modifyProperty));

namespace {

const QString key = u"key"_qs;

// Returns `manifest` with `value` stored under `key` in the element at `positions`, which has one position for each
// level.
QJsonArray changedAt(QJsonArray manifest, const QVector<int>& positions, const QJsonValue& value)
{
    QJsonObject element = manifest.at(positions.first()).toObject();
    if (positions.size() == 1) {
        element.insert(key, value);
    } else {
        const QJsonArray children = element.value(u"substructure"_qs).toArray();
        element.insert(u"substructure"_qs, changedAt(children, positions.mid(1), value));
    }
    manifest.replace(positions.first(), element);
    return manifest;
}

QJsonObject keyed(const QJsonObject& element)
{
    return with(element, key, u"old"_qs);
}

} // namespace

class tst_ConfigurationManifestHandler_properties : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void threeEditsDifferInMissingAndEqualProperties_data();
    void threeEditsDifferInMissingAndEqualProperties();
    void valuesAreStoredAsJson_data();
    void valuesAreStoredAsJson();
    void equalValuesChangeNothing_data();
    void equalValuesChangeNothing();
    void differentValuesAreStored_data();
    void differentValuesAreStored();
    void anyMemberIsProperty_data();
    void anyMemberIsProperty();

    void pathLeadsToElement_data();
    void pathLeadsToElement();
    void missingElementIsFailure_data();
    void missingElementIsFailure();
    void itemThatIsNotObjectCountsAsEmptyOne_data();
    void itemThatIsNotObjectCountsAsEmptyOne();
    void fullPathIsLookedUpOnceIfLastNameIsMissing_data();
    void fullPathIsLookedUpOnceIfLastNameIsMissing();
    void emptyPathIsReported();
    void arrayOfCallersIsEditedInstead();

    void outcomeFollowsFromEditFunction_data();
    void outcomeFollowsFromEditFunction();
    void changedCanBeTrueFromBeginning_data();
    void changedCanBeTrueFromBeginning();
    void editFunctionReceivesElementAndUnsetFlag();
    void editFunctionIsCalledOnceOrNotAtAll_data();
    void editFunctionIsCalledOnceOrNotAtAll();
    void emptyEditFunctionThrowsOnceElementIsFound_data();
    void emptyEditFunctionThrowsOnceElementIsFound();
    void throwingEditFunctionChangesNothing_data();
    void throwingEditFunctionChangesNothing();
    void editFunctionMayReadHandler();
    void editFunctionMayEditHandler();

    void editFunctionMayShortenManifest_data();
    void editFunctionMayShortenManifest();
};

void tst_ConfigurationManifestHandler_properties::threeEditsDifferInMissingAndEqualProperties_data()
{
    addEditColumns();
    const QJsonObject old = keyed(selection(u"a"_qs));
    const QJsonObject changed = with(old, key, u"new"_qs);
    const QJsonObject bare = selection(u"a"_qs);
    const QVariant value = u"new"_qs;
    addChange("update, other value", {old}, updateEdit(u"a"_qs, key, value), {changed});
    addNoChange("update, equal value", {changed}, updateEdit(u"a"_qs, key, value));
    addFailure("update, missing", {bare}, updateEdit(u"a"_qs, key, value));
    addFailure("update, missing and no value", {bare}, updateEdit(u"a"_qs, key, QVariant()));
    addChange("setProperty, other value", {old}, setEdit(u"a"_qs, key, value), {changed});
    addNoChange("setProperty, equal value", {changed}, setEdit(u"a"_qs, key, value));
    addChange("setProperty, missing", {bare}, setEdit(u"a"_qs, key, value), {changed});
    addChange("setProperty, missing and no value", {bare}, setEdit(u"a"_qs, key, QVariant()),
        {with(bare, key, QJsonValue())});
    addChange("removeProperty, there", {old}, removeEdit(u"a"_qs, key), {bare});
    addChange("removeProperty, null", {with(bare, key, QJsonValue())}, removeEdit(u"a"_qs, key), {bare});
    addNoChange("removeProperty, missing", {bare}, removeEdit(u"a"_qs, key));
    addNoChange("removeProperty, other case", {old}, removeEdit(u"a"_qs, u"Key"_qs));
}

void tst_ConfigurationManifestHandler_properties::threeEditsDifferInMissingAndEqualProperties()
{
    checkEdit();
}

void tst_ConfigurationManifestHandler_properties::valuesAreStoredAsJson_data()
{
    QTest::addColumn<QVariant>("value");
    QTest::addColumn<QJsonValue>("stored");
    QTest::newRow("text") << QVariant(u"Ü/\n"_qs) << QJsonValue(u"Ü/\n"_qs);
    QTest::newRow("empty text") << QVariant(QString()) << QJsonValue(QString());
    QTest::newRow("whole number") << QVariant(-7) << QJsonValue(-7);
    QTest::newRow("large number") << QVariant(qint64(1) << 40) << QJsonValue(1099511627776.0);
    QTest::newRow("fraction") << QVariant(0.25) << QJsonValue(0.25);
    QTest::newRow("true") << QVariant(true) << QJsonValue(true);
    QTest::newRow("nothing") << QVariant() << QJsonValue(QJsonValue::Null);
    QTest::newRow("texts") << QVariant(QStringList({u"a"_qs, u"b"_qs})) << QJsonValue(arrayFrom(R"(["a","b"])"));
    QTest::newRow("list") << QVariant(QVariantList({1, u"a"_qs, QVariant()}))
                          << QJsonValue(arrayFrom(R"([1,"a",null])"));
    QTest::newRow("map") << QVariant(QVariantMap({{u"b"_qs, 1}, {u"a"_qs, QVariantList()}}))
                         << QJsonValue(objectFrom(R"({"a":[],"b":1})"));
    QTest::newRow("JSON array") << QVariant(arrayFrom("[1,[2]]")) << QJsonValue(arrayFrom("[1,[2]]"));
    QTest::newRow("JSON object") << QVariant(objectFrom(R"({"a":{}})")) << QJsonValue(objectFrom(R"({"a":{}})"));
    QTest::newRow("URL") << QVariant(QUrl(u"http://a/b c"_qs)) << QJsonValue(u"http://a/b%20c"_qs);
}

void tst_ConfigurationManifestHandler_properties::valuesAreStoredAsJson()
{
    QFETCH(QVariant, value);
    QFETCH(QJsonValue, stored);
    const MessageRecorder log;
    const QByteArray expected = compact({with(node(u"a"_qs), key, stored)});
    HandlerWithoutFile adding({node(u"a"_qs)});
    QVERIFY(adding.setProperty(u"a"_qs, key, value, false));
    QCOMPARE(adding.getManifestContent(), expected);
    HandlerWithoutFile replacing({keyed(node(u"a"_qs))});
    QVERIFY(replacing.setProperty(u"a"_qs, key, value, false));
    QCOMPARE(replacing.getManifestContent(), expected);
    HandlerWithoutFile updating({keyed(node(u"a"_qs))});
    QVERIFY(updating.update(u"a"_qs, key, value, false));
    QCOMPARE(updating.getManifestContent(), expected);
}

void tst_ConfigurationManifestHandler_properties::equalValuesChangeNothing_data()
{
    QTest::addColumn<QJsonValue>("stored");
    QTest::addColumn<QVariant>("value");
    QTest::newRow("text") << QJsonValue(u"a"_qs) << QVariant(u"a"_qs);
    QTest::newRow("whole number") << QJsonValue(5) << QVariant(5);
    QTest::newRow("whole number as a fraction") << QJsonValue(5) << QVariant(5.0);
    QTest::newRow("false") << QJsonValue(false) << QVariant(false);
    QTest::newRow("null") << QJsonValue(QJsonValue::Null) << QVariant();
    QTest::newRow("array") << QJsonValue(arrayFrom(R"([1,{"a":null}])")) << QVariant(arrayFrom(R"([1,{"a":null}])"));
    QTest::newRow("object") << QJsonValue(objectFrom(R"({"a":1,"b":[]})"))
                            << QVariant(QVariantMap({{u"b"_qs, QVariantList()}, {u"a"_qs, 1}}));
}

void tst_ConfigurationManifestHandler_properties::equalValuesChangeNothing()
{
    QFETCH(QJsonValue, stored);
    QFETCH(QVariant, value);
    const MessageRecorder log;
    HandlerWithoutFile handler({with(node(u"a"_qs), key, stored)});
    const QByteArray before = handler.getManifestContent();
    QVERIFY(handler.update(u"a"_qs, key, value, false));
    QVERIFY(handler.setProperty(u"a"_qs, key, value, false));
    QCOMPARE(handler.getModified(), false);
    QCOMPARE(handler.getManifestContent(), before);
}

void tst_ConfigurationManifestHandler_properties::differentValuesAreStored_data()
{
    QTest::addColumn<QJsonValue>("stored");
    QTest::addColumn<QVariant>("value");
    QTest::newRow("other case") << QJsonValue(u"a"_qs) << QVariant(u"A"_qs);
    QTest::newRow("number for text") << QJsonValue(u"5"_qs) << QVariant(5);
    QTest::newRow("truth for a number") << QJsonValue(1) << QVariant(true);
    QTest::newRow("null for empty text") << QJsonValue(QString()) << QVariant();
    QTest::newRow("empty text for null") << QJsonValue(QJsonValue::Null) << QVariant(QString());
    QTest::newRow("other order") << QJsonValue(arrayFrom("[1,2]")) << QVariant(QVariantList({2, 1}));
    QTest::newRow("deep inside") << QJsonValue(objectFrom(R"({"a":[{"b":1}]})"))
                                 << QVariant(objectFrom(R"({"a":[{"b":2}]})"));
}

void tst_ConfigurationManifestHandler_properties::differentValuesAreStored()
{
    QFETCH(QJsonValue, stored);
    QFETCH(QVariant, value);
    const MessageRecorder log;
    const QJsonArray before = {with(node(u"a"_qs), key, stored)};
    const QByteArray after = compact({with(node(u"a"_qs), key, QJsonValue::fromVariant(value))});
    HandlerWithoutFile updating(before);
    QVERIFY(updating.update(u"a"_qs, key, value, false));
    QCOMPARE(updating.getManifestContent(), after);
    QCOMPARE(updating.getModified(), true);
    HandlerWithoutFile setting(before);
    QVERIFY(setting.setProperty(u"a"_qs, key, value, false));
    QCOMPARE(setting.getManifestContent(), after);
    QCOMPARE(setting.getModified(), true);
}

void tst_ConfigurationManifestHandler_properties::anyMemberIsProperty_data()
{
    addEditColumns();
    addChange("rename", {node(u"a"_qs)}, updateEdit(u"a"_qs, u"instanceName"_qs, u"b"_qs), {node(u"b"_qs)});
    addChange("take the name away", {node(u"a"_qs)}, removeEdit(u"a"_qs, u"instanceName"_qs),
        arrayFrom(R"([{"selectionType":"Node"}])"));
    addChange(
        "other kind", {node(u"a"_qs)}, updateEdit(u"a"_qs, u"selectionType"_qs, u"Selection"_qs), {selection(u"a"_qs)});
    addChange("children", {node(u"a"_qs, {node(u"b"_qs)})},
        setEdit(u"a"_qs, u"substructure"_qs, QJsonArray({node(u"c"_qs)})), {node(u"a"_qs, {node(u"c"_qs)})});
    addChange(
        "no more children", {node(u"a"_qs, {node(u"b"_qs)})}, removeEdit(u"a"_qs, u"substructure"_qs), {node(u"a"_qs)});
    addChange("empty key", {node(u"a"_qs)}, setEdit(u"a"_qs, QString(), 1), {with(node(u"a"_qs), QString(), 1)});
    addChange("undefined value", {keyed(node(u"a"_qs))},
        updateEdit(u"a"_qs, key, QVariant::fromValue(QJsonValue(QJsonValue::Undefined))), {node(u"a"_qs)});
}

void tst_ConfigurationManifestHandler_properties::anyMemberIsProperty()
{
    checkEdit();
}

void tst_ConfigurationManifestHandler_properties::pathLeadsToElement_data()
{
    QTest::addColumn<QJsonArray>("manifest");
    QTest::addColumn<QString>("path");
    QTest::addColumn<QVector<int>>("positions");

    const QJsonObject a = keyed(node(u"a"_qs));
    const QJsonObject b = keyed(node(u"b"_qs));
    const QJsonObject nameless = keyed(node(u""_qs));
    const auto children = [](const QJsonObject& element, const QJsonArray& array) {
        return with(element, u"substructure"_qs, array);
    };
    QTest::newRow("node") << QJsonArray({b, a}) << "a" << QVector<int>({1});
    QTest::newRow("selection") << QJsonArray({a, keyed(selection(u"file"_qs)), b}) << "file" << QVector<int>({1});
    QTest::newRow("selection by its last segment")
        << QJsonArray({children(a, {b, keyed(selection(u"a/file"_qs)), nameless})}) << "a/file" << QVector<int>({0, 1});
    QTest::newRow("deep") << QJsonArray({b, children(a, {children(b, {a, b}), b}), a}) << "a/b/b"
                          << QVector<int>({1, 0, 1});
    QTest::newRow("first of two") << QJsonArray({a, a}) << "a" << QVector<int>({0});
    QTest::newRow("first of both kinds") << QJsonArray({keyed(selection(u"x/a"_qs)), a, keyed(selection(u"y/a"_qs)), a})
                                         << "a" << QVector<int>({0});
    QTest::newRow("below the first of two")
        << QJsonArray({children(a, {b}), children(a, {b})}) << "a/b" << QVector<int>({0, 0});
    QTest::newRow("below a selection") << QJsonArray({children(keyed(selection(u"file"_qs)), {a})}) << "file/a"
                                       << QVector<int>({0, 0});
    QTest::newRow("next to what is no object") << QJsonArray({1, u"a"_qs, QJsonValue(), a}) << "a" << QVector<int>({3});
    QTest::newRow("element with children that are no array")
        << QJsonArray({with(a, u"substructure"_qs, u"text"_qs)}) << "a" << QVector<int>({0});

    QTest::newRow("empty path") << QJsonArray({a, nameless}) << "" << QVector<int>({1});
    QTest::newRow("no path") << QJsonArray({a, nameless}) << QString() << QVector<int>({1});
    QTest::newRow("empty name in the middle")
        << QJsonArray({children(a, {b, children(nameless, {a, b})})}) << "a//b" << QVector<int>({0, 1, 1});
    QTest::newRow("empty name in front") << QJsonArray({a, children(nameless, {a})}) << "/a" << QVector<int>({1, 0});
    QTest::newRow("missing name in front")
        << QJsonArray({a, QJsonObject {{u"substructure"_qs, QJsonArray({b, QJsonObject {{key, 1}}})}}, 5}) << "/b"
        << QVector<int>({1, 0});
    QTest::newRow("missing names") << QJsonArray(
        {a, QJsonObject {{u"substructure"_qs, QJsonArray({b, QJsonObject {{key, 1}}})}}, 5})
                                   << "/" << QVector<int>({1, 1});
    QTest::newRow("empty name at the end") << QJsonArray({children(a, {b, nameless})}) << "a/" << QVector<int>({0, 1});
    QTest::newRow("slash") << QJsonArray({children(nameless, {a, nameless})}) << "/" << QVector<int>({0, 1});
    QTest::newRow("selection that ends with a slash")
        << QJsonArray({a, keyed(selection(u"x/"_qs))}) << "" << QVector<int>({1});

    const QJsonObject whole = keyed(node(u"a/b"_qs));
    QTest::newRow("whole path below the node")
        << QJsonArray({children(a, {a, whole})}) << "a/b" << QVector<int>({0, 1});
    QTest::newRow("last name before the whole path")
        << QJsonArray({children(a, {whole, b})}) << "a/b" << QVector<int>({0, 1});
    QTest::newRow("whole path two levels down")
        << QJsonArray({children(a, {children(b, {keyed(node(u"a/b/c"_qs))})})}) << "a/b/c" << QVector<int>({0, 0, 0});
    QTest::newRow("first of two whole paths")
        << QJsonArray({children(a, {whole, whole})}) << "a/b" << QVector<int>({0, 0});
    QTest::newRow("whole path with an empty name")
        << QJsonArray({children(a, {keyed(node(u"a/"_qs))})}) << "a/" << QVector<int>({0, 0});
}

void tst_ConfigurationManifestHandler_properties::pathLeadsToElement()
{
    QFETCH(QJsonArray, manifest);
    QFETCH(QString, path);
    QFETCH(QVector<int>, positions);
    const QByteArray changed = compact(changedAt(manifest, positions, u"edited"_qs));
    const QByteArray removed = compact(changedAt(manifest, positions, QJsonValue(QJsonValue::Undefined)));
    const QVector<QPair<Edit, QByteArray>> edits = {{updateEdit(path, key, u"edited"_qs), changed},
        {setEdit(path, key, u"edited"_qs), changed}, {modifyEdit(path, editThat(true, true)), changed},
        {removeEdit(path, key), removed}};
    const MessageRecorder log;
    for (const auto& [edit, after] : edits) {
        HandlerWithoutFile handler(manifest);
        const QJsonArray copy = handler.getManifestJsonArray();
        QCOMPARE(edit(handler, false), true);
        QCOMPARE(handler.getManifestContent(), after);
        QCOMPARE(handler.getModified(), true);
        QCOMPARE(compact(copy), compact(manifest));
    }
}

void tst_ConfigurationManifestHandler_properties::missingElementIsFailure_data()
{
    QTest::addColumn<QJsonArray>("manifest");
    QTest::addColumn<QString>("path");

    const QJsonArray tree = {node(u"a"_qs, {selection(u"a/file"_qs), node(u"b"_qs)}), selection(u"top"_qs)};
    QTest::newRow("no elements") << QJsonArray() << "a";
    QTest::newRow("nothing without a name") << tree << "";
    QTest::newRow("one name") << tree << "x";
    QTest::newRow("one name in other case") << tree << "A";
    QTest::newRow("first of two names") << tree << "x/b";
    QTest::newRow("last of two names") << tree << "a/x";
    QTest::newRow("middle of three names") << tree << "a/x/b";
    QTest::newRow("last of three names") << tree << "a/b/x";
    QTest::newRow("no empty name in front") << tree << "/a";
    QTest::newRow("no empty name at the end") << tree << "a/";
    QTest::newRow("no empty name in the middle") << tree << "a//b";
    QTest::newRow("below a selection") << tree << "top/x";
    QTest::newRow("below the second of two")
        << QJsonArray({node(u"a"_qs, QJsonArray()), node(u"a"_qs, {node(u"b"_qs)})}) << "a/b";
    QTest::newRow("node by its last segment") << QJsonArray({node(u"a"_qs, {node(u"x/b"_qs)})}) << "a/b";
    QTest::newRow("whole path at the top") << QJsonArray({node(u"a/b"_qs), node(u"a"_qs, {node(u"c"_qs)})}) << "a/b";
    QTest::newRow("whole path at the top only") << QJsonArray({node(u"a/b"_qs)}) << "a/b";
    QTest::newRow("whole path above the array of the last name")
        << QJsonArray({node(u"a"_qs, {node(u"a/b/c"_qs), node(u"b"_qs)})}) << "a/b/c";
    QTest::newRow("whole path where an inner name is missing")
        << QJsonArray({node(u"a"_qs, {node(u"a/b/c"_qs)})}) << "a/b/c";
    QTest::newRow("selection by the whole path of somebody else")
        << QJsonArray({node(u"a"_qs, {selection(u"a/b/"_qs)})}) << "a/b/";
    QTest::newRow("below a number") << QJsonArray({5}) << "/a";
    for (const char* children : {"\"b\"", "5", "null", "true", R"({"instanceName":"b"})"}) {
        const QJsonValue value = arrayFrom(QByteArray('[' + QByteArray(children) + ']').constData()).at(0);
        const QJsonObject element = with(node(u"a"_qs), u"substructure"_qs, value);
        QTest::addRow("children that are %s", children) << QJsonArray({element}) << "a/b";
        QTest::addRow("two levels below children that are %s", children) << QJsonArray({element}) << "a/b/c";
    }
}

void tst_ConfigurationManifestHandler_properties::missingElementIsFailure()
{
    QFETCH(QJsonArray, manifest);
    QFETCH(QString, path);
    const QVector<Edit> edits = {
        updateEdit(path, key, 1), setEdit(path, key, 1), removeEdit(path, key), modifyEdit(path, editThat(true, true))};
    const MessageRecorder log;
    for (const Edit& edit : edits) {
        HandlerWithoutFile handler(manifest);
        QCOMPARE(edit(handler, false), false);
        QCOMPARE(handler.getManifestContent(), compact(manifest));
        QCOMPARE(handler.getModified(), false);

        QVERIFY(handler.addNode(u"earlier"_qs, {{u"displayPosition"_qs, 1}}, -1, false));
        handler.setManifestJsonArray(manifest);
        QCOMPARE(edit(handler, false), false);
        QCOMPARE(handler.getManifestContent(), compact(manifest));
    }
}

void tst_ConfigurationManifestHandler_properties::itemThatIsNotObjectCountsAsEmptyOne_data()
{
    addEditColumns();
    const QJsonArray edited = arrayFrom(R"([{"key":1}])");
    addChange("number", {5}, setEdit(QString(), key, 1), edited);
    addChange("text", {u"text"_qs}, setEdit(QString(), key, 1), edited);
    addChange("null", {QJsonValue()}, setEdit(QString(), key, 1), edited);
    addChange("array", {QJsonValue(QJsonArray({node(u"a"_qs)}))}, setEdit(QString(), key, 1), edited);
    addChange("in a node", {node(u"a"_qs, {node(u"b"_qs), 5, 6})}, setEdit(u"a/"_qs, key, 1),
        {node(u"a"_qs, {node(u"b"_qs), objectFrom(R"({"key":1})"), 6})});
    addFailure("update", {5}, updateEdit(QString(), key, 1));
    addNoChange("removeProperty", {5}, removeEdit(QString(), key));
}

void tst_ConfigurationManifestHandler_properties::itemThatIsNotObjectCountsAsEmptyOne()
{
    checkEdit();
}

void tst_ConfigurationManifestHandler_properties::fullPathIsLookedUpOnceIfLastNameIsMissing_data()
{
    QTest::addColumn<QStringList>("path");
    QTest::addColumn<QString>("fullPath");
    QTest::addColumn<QVector<int>>("positions");
    const QVector<int> nothing;
    QTest::newRow("last name found") << QStringList({u"a"_qs}) << "b" << QVector<int>({0});
    QTest::newRow("missing") << QStringList({u"x"_qs}) << "b" << QVector<int>({1});
    QTest::newRow("missing, whole path is the last segment of a selection")
        << QStringList({u"x"_qs}) << "file" << QVector<int>({2});
    QTest::newRow("missing, whole path is the whole name of a selection")
        << QStringList({u"x"_qs}) << "b/file" << nothing;
    QTest::newRow("missing, whole path is not split") << QStringList({u"x"_qs}) << "a/inside" << nothing;
    QTest::newRow("missing, whole path is missing too") << QStringList({u"x"_qs}) << "y" << nothing;
    QTest::newRow("missing, no whole path") << QStringList({u"x"_qs}) << "" << nothing;
    QTest::newRow("found, no whole path") << QStringList({u"b"_qs}) << "" << QVector<int>({1});
    QTest::newRow("name with a slash is one name") << QStringList({u"a/inside"_qs}) << "" << nothing;
    QTest::newRow("last of two missing") << QStringList({u"a"_qs, u"x"_qs}) << "inside" << QVector<int>({0, 0});
    QTest::newRow("last of two missing, whole path is further up") << QStringList({u"a"_qs, u"x"_qs}) << "b" << nothing;
    QTest::newRow("first of two missing") << QStringList({u"x"_qs, u"inside"_qs}) << "a" << nothing;
}

void tst_ConfigurationManifestHandler_properties::fullPathIsLookedUpOnceIfLastNameIsMissing()
{
    QFETCH(QStringList, path);
    QFETCH(QString, fullPath);
    QFETCH(QVector<int>, positions);
    const QJsonArray before = {
        node(u"a"_qs, {node(u"inside"_qs)}), node(u"b"_qs), selection(u"b/file"_qs), node(u""_qs)};
    const bool found = !positions.isEmpty();
    const MessageRecorder log;
    HandlerWithoutFile handler;
    QJsonArray array = before;
    bool changed = false;
    QCOMPARE(handler.modifyProperty(array, path, fullPath, changed, editThat(true, true)), found);
    QCOMPARE(compact(array), compact(found ? changedAt(before, positions, u"edited"_qs) : before));
    QCOMPARE(changed, found);
    QCOMPARE(handler.getModified(), found);
}

void tst_ConfigurationManifestHandler_properties::emptyPathIsReported()
{
    MessageRecorder log;
    HandlerWithoutFile handler;
    for (const QString& fullPath : {QString(), u"a"_qs}) {
        for (const bool before : {false, true}) {
            QJsonArray array = {node(u"a"_qs)};
            bool changed = before;
            QCOMPARE(handler.modifyProperty(array, {}, fullPath, changed, editThat(true, true)), false);
            QCOMPARE(log.take(),
                Messages({warning(u"ConfigurationManifestHandler::modifyProperty : Size of instancePath is NULL !"_qs,
                    "bool ConfigurationManifestHandler::modifyProperty(QJsonArray&, const QStringList&, "
                    "const QString&, bool&, const std::function<bool(QJsonObject&, bool&)>&)")}));
            QCOMPARE(compact(array), compact({node(u"a"_qs)}));
            QCOMPARE(changed, before);
            QCOMPARE(handler.getModified(), false);
        }
    }
}

void tst_ConfigurationManifestHandler_properties::arrayOfCallersIsEditedInstead()
{
    const ManifestFile file("[]");
    const MessageRecorder log;
    Handler handler(file.path(), QString(), QString());
    const QJsonArray manifest = {node(u"a"_qs, {node(u"b"_qs)})};
    handler.setManifestJsonArray(manifest);
    QJsonArray array = handler.getManifestJsonArray();
    bool changed = false;
    QVERIFY(handler.modifyProperty(array, {u"a"_qs, u"b"_qs}, QString(), changed, editThat(true, true)));
    QCOMPARE(changed, true);
    QCOMPARE(compact(array), compact(changedAt(manifest, {0, 0}, u"edited"_qs)));
    QCOMPARE(handler.getManifestContent(), compact(manifest));
    QCOMPARE(handler.getModified(), true);
    QCOMPARE(file.content(), QByteArray("[]"));
}

void tst_ConfigurationManifestHandler_properties::outcomeFollowsFromEditFunction_data()
{
    QTest::addColumn<bool>("applies");
    QTest::addColumn<bool>("tellsOfTheChange");
    QTest::addColumn<bool>("atTheTop");
    QTest::addColumn<bool>("stored");
    for (const bool atTheTop : {true, false}) {
        const char* level = atTheTop ? "top" : "below";
        QTest::addRow("%s, applies with a change", level) << true << true << atTheTop << true;
        QTest::addRow("%s, applies without telling of its change", level) << true << false << atTheTop << false;
        QTest::addRow("%s, neither applies nor tells of its change", level) << false << false << atTheTop << false;
    }
    // The result of the edit function decides in the ancestors only: each stores its children if the edit applies.
    QTest::newRow("top, a change that does not apply") << false << true << true << true;
    QTest::newRow("below, a change that does not apply") << false << true << false << false;
}

void tst_ConfigurationManifestHandler_properties::outcomeFollowsFromEditFunction()
{
    QFETCH(bool, applies);
    QFETCH(bool, tellsOfTheChange);
    QFETCH(bool, atTheTop);
    QFETCH(bool, stored);
    const MessageRecorder log;
    const QJsonArray before = {node(u"a"_qs, {node(u"b"_qs), node(u"a/c"_qs)})};
    const QVector<QPair<QString, QVector<int>>> targets = atTheTop
        ? QVector<QPair<QString, QVector<int>>> {{u"a"_qs, {0}}}
        : QVector<QPair<QString, QVector<int>>> {{u"a/b"_qs, {0, 0}}, {u"a/c"_qs, {0, 1}}};
    for (const auto& [path, positions] : targets) {
        HandlerWithoutFile handler(before);
        QCOMPARE(handler.modifyPropertyFirst(path, editThat(applies, tellsOfTheChange), false), applies);
        QCOMPARE(handler.getManifestContent(), compact(stored ? changedAt(before, positions, u"edited"_qs) : before));
        QCOMPARE(handler.getModified(), tellsOfTheChange);
    }
}

void tst_ConfigurationManifestHandler_properties::changedCanBeTrueFromBeginning_data()
{
    QTest::addColumn<QStringList>("path");
    QTest::addColumn<bool>("applies");
    QTest::addColumn<QVector<int>>("positions");
    QTest::newRow("top, applies") << QStringList({u"a"_qs}) << true << QVector<int>({0});
    QTest::newRow("top, does not apply") << QStringList({u"a"_qs}) << false << QVector<int>({0});
    QTest::newRow("below, applies") << QStringList({u"a"_qs, u"b"_qs}) << true << QVector<int>({0, 0});
    QTest::newRow("below, does not apply") << QStringList({u"a"_qs, u"b"_qs}) << false << QVector<int>();
}

void tst_ConfigurationManifestHandler_properties::changedCanBeTrueFromBeginning()
{
    QFETCH(QStringList, path);
    QFETCH(bool, applies);
    QFETCH(QVector<int>, positions);
    const MessageRecorder log;
    const QJsonArray before = {node(u"a"_qs, {node(u"b"_qs)})};
    HandlerWithoutFile handler;
    QJsonArray array = before;
    bool changed = true;
    QCOMPARE(handler.modifyProperty(array, path, QString(), changed, editThat(applies, false)), applies);
    QCOMPARE(compact(array), compact(positions.isEmpty() ? before : changedAt(before, positions, u"edited"_qs)));
    QCOMPARE(changed, true);
    QCOMPARE(handler.getModified(), true);

    // Without an element, a flag that is set changes nothing.
    HandlerWithoutFile other;
    QCOMPARE(other.modifyProperty(array, {u"x"_qs}, QString(), changed, editThat(true, true)), false);
    QCOMPARE(other.getModified(), false);
}

void tst_ConfigurationManifestHandler_properties::editFunctionReceivesElementAndUnsetFlag()
{
    const MessageRecorder log;
    const QJsonObject b = keyed(node(u"b"_qs, {node(u"c"_qs)}));
    HandlerWithoutFile handler({node(u"a"_qs, {b})});
    // The flag is reset for every edit.
    for (int i = 0; i < 2; ++i) {
        QJsonObject received;
        bool flag = true;
        const auto edit = [&](QJsonObject& element, bool& changed) {
            received = element;
            flag = changed;
            changed = true;
            return true;
        };
        QVERIFY(handler.modifyPropertyFirst(u"a/b"_qs, edit, false));
        QCOMPARE(compact({received}), compact({b}));
        QCOMPARE(flag, false);
    }
}

void tst_ConfigurationManifestHandler_properties::editFunctionIsCalledOnceOrNotAtAll_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<int>("calls");
    QTest::newRow("top") << "a" << 1;
    QTest::newRow("below") << "a/b" << 1;
    QTest::newRow("by its whole path") << "a/c" << 1;
    QTest::newRow("missing") << "x" << 0;
    QTest::newRow("missing below") << "a/x" << 0;
    QTest::newRow("missing in between") << "a/x/b" << 0;
}

void tst_ConfigurationManifestHandler_properties::editFunctionIsCalledOnceOrNotAtAll()
{
    QFETCH(QString, path);
    QFETCH(int, calls);
    const MessageRecorder log;
    for (const bool applies : {true, false}) {
        HandlerWithoutFile handler({node(u"a"_qs, {node(u"b"_qs), node(u"a/c"_qs)}), node(u"a"_qs)});
        int count = 0;
        const auto edit = [&](QJsonObject&, bool&) {
            ++count;
            return applies;
        };
        QCOMPARE(handler.modifyPropertyFirst(path, edit, false), applies && calls == 1);
        QCOMPARE(count, calls);
    }
}

void tst_ConfigurationManifestHandler_properties::emptyEditFunctionThrowsOnceElementIsFound_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<bool>("found");
    QTest::newRow("top") << "spare" << true;
    QTest::newRow("below") << "a/second" << true;
    QTest::newRow("by its whole path") << "spare/x" << true;
    QTest::newRow("missing") << "x" << false;
    QTest::newRow("missing below") << "a/x" << false;
    QTest::newRow("missing in between") << "x/y" << false;
}

void tst_ConfigurationManifestHandler_properties::emptyEditFunctionThrowsOnceElementIsFound()
{
    QFETCH(QString, path);
    QFETCH(bool, found);
    const QByteArray content = "[ ]";
    const ManifestFile file(content);
    const MessageRecorder log;
    for (const bool modified : {false, true}) {
        Handler handler(file.path(), QString(), QString());
        QJsonArray manifest = saveRuleManifest();
        manifest.replace(2, node(u"spare"_qs, {node(u"spare/x"_qs)}));
        handler.setManifestJsonArray(manifest);
        if (modified) {
            QVERIFY(handler.moveNode(u"a"_qs, 1, false));
        }
        if (found) {
            QVERIFY_EXCEPTION_THROWN(handler.modifyPropertyFirst(path, ElementEdit(), true), std::bad_function_call);
        } else {
            QCOMPARE(handler.modifyPropertyFirst(path, ElementEdit(), true), false);
        }
        QCOMPARE(handler.getManifestContent(), compact(manifest));
        QCOMPARE(handler.getModified(), modified);
        QCOMPARE(file.content(), content);
    }
}

void tst_ConfigurationManifestHandler_properties::throwingEditFunctionChangesNothing_data()
{
    QTest::addColumn<QString>("path");
    QTest::newRow("top") << "spare";
    QTest::newRow("below") << "a/second";
}

void tst_ConfigurationManifestHandler_properties::throwingEditFunctionChangesNothing()
{
    QFETCH(QString, path);
    const QByteArray content = "[ ]";
    const ManifestFile file(content);
    const auto edit = [](QJsonObject& element, bool& changed) -> bool {
        element.insert(key, u"lost"_qs);
        changed = true;
        throw std::runtime_error("no");
    };
    const MessageRecorder log;
    for (const bool modified : {false, true}) {
        Handler handler(file.path(), QString(), QString());
        handler.setManifestJsonArray(saveRuleManifest());
        if (modified) {
            QVERIFY(handler.moveNode(u"a"_qs, 1, false));
        }
        QVERIFY_EXCEPTION_THROWN(handler.modifyPropertyFirst(path, edit, true), std::runtime_error);
        QCOMPARE(handler.getManifestContent(), compact(saveRuleManifest()));
        QCOMPARE(handler.getModified(), modified);
        QCOMPARE(file.content(), content);

        // The handler can still be used.
        QVERIFY(handler.setProperty(path, key, 1, false));
        QCOMPARE(handler.getModified(), true);
    }
}

void tst_ConfigurationManifestHandler_properties::editFunctionMayReadHandler()
{
    const MessageRecorder log;
    const QByteArray before = compact(saveRuleManifest());
    for (const QString& path : {u"spare"_qs, u"a/second"_qs}) {
        HandlerWithoutFile handler(saveRuleManifest());
        const auto edit = [&](QJsonObject& element, bool& changed) {
            element.insert(key, QString::fromUtf8(handler.getManifestContent()));
            QJsonObject read;
            int number = 0;
            changed = handler.getNodeElement(path, read) && !read.contains(key)
                && handler.getNumberOfInstances(u"a"_qs, number) && number == 2 && !handler.getModified();
            return true;
        };
        QVERIFY(handler.modifyPropertyFirst(path, edit, false));
        QCOMPARE(handler.getModified(), true);
        QJsonObject element;
        QVERIFY(handler.getNodeElement(path, element));
        QCOMPARE(element.value(key).toString().toUtf8(), before);
    }
}

void tst_ConfigurationManifestHandler_properties::editFunctionMayEditHandler()
{
    const ManifestFile file(compact(saveRuleManifest()));
    const MessageRecorder log;
    Handler handler(file.path(), QString(), QString());
    handler.parseManifestFile();
    QJsonArray expected = saveRuleManifest();

    // Nested edits of other top-level elements are kept, in memory and in the file.
    const auto editOther = [&](QJsonObject& element, bool& changed) {
        element.insert(key, u"outer"_qs);
        changed = true;
        return handler.setProperty(u"spare"_qs, key, u"inner"_qs, true)
            && handler.modifyPropertyFirst(u"top"_qs, editThat(true, true), false);
    };
    QVERIFY(handler.modifyPropertyFirst(u"a/second"_qs, editOther, true));
    expected = changedAt(expected, {0}, u"edited"_qs);
    expected = changedAt(expected, {1, 1}, u"outer"_qs);
    expected = changedAt(expected, {2}, u"inner"_qs);
    QCOMPARE(handler.getManifestContent(), compact(expected));
    QCOMPARE(file.content(), compact(expected));

    // Of nested edits below one top-level element, the outer one wins: it ends last.
    const auto editSame = [&](QJsonObject& element, bool& changed) {
        element.insert(key, u"outer again"_qs);
        changed = true;
        return handler.setProperty(u"a/first"_qs, key, u"overwritten"_qs, false)
            && handler.setProperty(u"a/second"_qs, key, u"overwritten"_qs, false);
    };
    QVERIFY(handler.modifyPropertyFirst(u"a/second"_qs, editSame, false));
    expected = changedAt(expected, {1, 1}, u"outer again"_qs);
    QCOMPARE(handler.getManifestContent(), compact(expected));

    // An outer edit without a change does not undo the inner one.
    const auto editOnlyInside = [&](QJsonObject&, bool&) {
        return handler.setProperty(u"a/first"_qs, key, u"kept"_qs, false);
    };
    QVERIFY(handler.modifyPropertyFirst(u"a/second"_qs, editOnlyInside, false));
    expected = changedAt(expected, {1, 0}, u"kept"_qs);
    QCOMPARE(handler.getManifestContent(), compact(expected));
}

void tst_ConfigurationManifestHandler_properties::editFunctionMayShortenManifest_data()
{
    QTest::addColumn<QString>("path");
    QTest::newRow("below") << "a/second";
    QTest::newRow("top") << "a";
}

void tst_ConfigurationManifestHandler_properties::editFunctionMayShortenManifest()
{
    QFETCH(QString, path);
    const MessageRecorder log;
    HandlerWithoutFile handler(saveRuleManifest());
    const auto edit = [&](QJsonObject& element, bool& changed) {
        element.insert(key, u"lost"_qs);
        changed = true;
        handler.setManifestJsonArray(QJsonArray());
        return true;
    };
    QCOMPARE(handler.modifyPropertyFirst(path, edit, false), true);
    QCOMPARE(handler.getManifestContent(), QByteArray("[]"));
    QCOMPARE(handler.getModified(), true);
}

MANIFEST_TEST_MAIN(tst_ConfigurationManifestHandler_properties)

#include "tst_configurationmanifesthandler_properties.moc"
