#include "Edits.h"
#include "Elements.h"
#include "Files.h"
#include "Handlers.h"
#include "LibraryMessages.h"
#include "Literals.h"
#include "MessageRecorder.h"
#include "TestMain.h"

static_assert(
    has<bool (Handler::*)(QJsonArray&, const QStringList&, const QJsonObject&, int, bool)>(&Handler::addElement));
static_assert(has<bool (Handler::*)(QJsonArray&, const QStringList&, const QString&)>(&Handler::deleteElement));
static_assert(
    has<bool (Handler::*)(QJsonArray&, const QStringList&, const QJsonObject&, bool)>(&Handler::replaceElement));
static_assert(has<bool (Handler::*)(QJsonArray&, const QStringList&, int)>(&Handler::moveElement));
static_assert(has<bool (Handler::*)(QJsonArray&, const QStringList&, const QStringList&)>(&Handler::sortElements));
static_assert(has<bool (Handler::*)(const QString&, const QJsonObject&, int, bool)>(&Handler::addNode));
static_assert(has<bool (Handler::*)(const QString&, const QJsonObject&, int, bool)>(&Handler::addSelection));
static_assert(has<bool (Handler::*)(const QString&, bool)>(&Handler::deleteElement));
static_assert(has<bool (Handler::*)(const QString&, const QStringList&, bool)>(&Handler::sortElements));
static_assert(has<bool (Handler::*)(const QString&, int, bool)>(&Handler::moveSelection));
static_assert(has<bool (Handler::*)(const QString&, int, bool)>(&Handler::moveNode));
static_assert(has<bool (Handler::*)(const QString&, const QJsonObject&, bool)>(&Handler::updateSelection));
static_assert(has<bool (Handler::*)(const QString&, const QJsonObject&, bool, bool)>(&Handler::updateNode));

namespace {

// An edit of an array that the caller owns.
using ArrayEdit = std::function<bool(Handler& handler, QJsonArray& array)>;

constexpr auto adder =
    "bool ConfigurationManifestHandler::addElement(QJsonArray&, const QStringList&, const QJsonObject&, int, bool)";
constexpr auto replacer = "bool ConfigurationManifestHandler::replaceElement(QJsonArray&, const QStringList&, "
                          "const QJsonObject&, bool)";
constexpr auto mover = "bool ConfigurationManifestHandler::moveElement(QJsonArray&, const QStringList&, int)";

Message positionMessage(const QString& text)
{
    return warning(text, "void ConfigurationStructureElement::extractDisplayPosition(const QJsonObject&, int&)");
}

QJsonArray nodes(const QStringList& names)
{
    QJsonArray array;
    for (const QString& name : names) {
        array.append(node(name));
    }
    return array;
}

QJsonArray callersArray(const QJsonArray& children = {selection(u"x/y"_qs), node(u"x/y"_qs), node(u"p"_qs)})
{
    return {node(u"s"_qs), node(u"x/y"_qs, children), node(u""_qs)};
}

// Values of other types in the place of an array of children.
QVector<QPair<const char*, QJsonValue>> noChildren()
{
    return {{"missing", QJsonValue::Undefined}, {"null", QJsonValue::Null}, {"true", true}, {"number", 5},
        {"text", u"b"_qs}, {"object", node(u"b"_qs)}};
}

} // namespace

Q_DECLARE_METATYPE(ArrayEdit)

class tst_ConfigurationManifestHandler_structure : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void addedElementIsBuiltFromItsDescription_data();
    void addedElementIsBuiltFromItsDescription();
    void addedElementIsPlacedByItsIndex_data();
    void addedElementIsPlacedByItsIndex();
    void addedElementIsNamedByItsPath_data();
    void addedElementIsNamedByItsPath();
    void presentNameIsNotAdded_data();
    void presentNameIsNotAdded();
    void messageHandlerMayShortenManifest();
    void everyElementOnPathGetsChildren_data();
    void everyElementOnPathGetsChildren();

    void deletedElementIsFirstOfItsName_data();
    void deletedElementIsFirstOfItsName();
    void replacedElementKeepsItsChildrenIfAsked_data();
    void replacedElementKeepsItsChildrenIfAsked();
    void replacedElementIsFoundByLastSegment_data();
    void replacedElementIsFoundByLastSegment();
    void movedElementEndsAtItsNewIndex_data();
    void movedElementEndsAtItsNewIndex();
    void movedElementIsFoundByLastSegment_data();
    void movedElementIsFoundByLastSegment();
    void sortedElementsFollowList_data();
    void sortedElementsFollowList();
    void arrayAtPathIsSorted_data();
    void arrayAtPathIsSorted();

    void missingNameOnPathIsSilentFailure_data();
    void missingNameOnPathIsSilentFailure();
    void emptyNamesInPathsCount_data();
    void emptyNamesInPathsCount();
    void amongStructureEditsOnlyDeletionLooksUpWholePath_data();
    void amongStructureEditsOnlyDeletionLooksUpWholePath();
    void childrenThatAreNotArrayCountAsNone_data();
    void childrenThatAreNotArrayCountAsNone();

    void arrayOfCallersIsEditedInstead_data();
    void arrayOfCallersIsEditedInstead();
    void emptyPathIsReported_data();
    void emptyPathIsReported();
};

void tst_ConfigurationManifestHandler_structure::addedElementIsBuiltFromItsDescription_data()
{
    addEditColumns();
    const QJsonObject description = objectFrom(R"({"any":[1,{}],"bufferType":"ring","configurationVersion":1,
        "dataSourceType":"Other","displayPosition":7,"hide":true,"iconName":"x.svg","instanceName":"described",
        "labelTextId":"TXT","selectionType":"Other","substructure":[{"instanceName":"child"}],"tolmVersion":2})");
    addChange("node", {}, addNode(u"a"_qs, -1, description),
        arrayFrom(R"([{"any":[1,{}],"bufferType":"ring","dataSourceType":"JsonData","hide":true,"iconName":"x.svg",
            "instanceName":"a","labelTextId":"TXT","selectionType":"Node","substructure":[{"instanceName":"child"}]}])"));
    addChange("selection", {}, addSelection(u"a"_qs, -1, description),
        arrayFrom(R"([{"bufferType":"ring","closeMode":"Manual","dataModel":"","hide":true,"iconName":"x.svg",
            "instanceName":"described","labelTextId":"TXT","lastModified":"","selectionType":"Selection",
            "uiJob":"OpenConfiguration"}])"));
    addChange("node of nothing", {}, addNode(u"a"_qs, -1, QJsonObject()),
        arrayFrom(R"([{"dataSourceType":"JsonData","instanceName":"a","selectionType":"Node"}])"), {positionMissing()});
    addChange("selection of nothing", {}, addSelection(u"a"_qs, -1, QJsonObject()), {builtSelection(u"a"_qs)},
        {positionMissing(), hideMissing()});
    addChange("node with a position that is text", {},
        addNode(u"a"_qs, -1, objectFrom(R"({"displayPosition":"1","hide":false})")), {builtNode(u"a"_qs)},
        {positionMessage(u"Property displayPosition is not of type double!"_qs)});
    // The display position in the description does not decide where the element is inserted.
    addChange("node with a position", nodes({u"x"_qs, u"y"_qs}),
        addNode(u"a"_qs, 1, objectFrom(R"({"displayPosition":0,"hide":false})")),
        {node(u"x"_qs), builtNode(u"a"_qs), node(u"y"_qs)});
    addChange("messages in turn", {}, addSelection(u"a"_qs, 1, QJsonObject()), {builtSelection(u"a"_qs)},
        {positionMissing(), hideMissing(), indexIsOutOfBounds()});
}

void tst_ConfigurationManifestHandler_structure::addedElementIsBuiltFromItsDescription()
{
    checkEdit();
}

void tst_ConfigurationManifestHandler_structure::addedElementIsPlacedByItsIndex_data()
{
    QTest::addColumn<QStringList>("names");
    QTest::addColumn<int>("index");
    QTest::addColumn<int>("position");
    QTest::addColumn<bool>("isReported");
    const QStringList none;
    const QStringList three = {u"x"_qs, u"y"_qs, u"z"_qs};
    QTest::newRow("none, least") << none << INT_MIN << 0 << false;
    QTest::newRow("none, below zero") << none << -1 << 0 << false;
    QTest::newRow("none, zero") << none << 0 << 0 << false;
    QTest::newRow("none, one") << none << 1 << 0 << true;
    QTest::newRow("none, greatest") << none << INT_MAX << 0 << true;
    QTest::newRow("three, least") << three << INT_MIN << 3 << false;
    QTest::newRow("three, below zero") << three << -1 << 3 << false;
    QTest::newRow("three, zero") << three << 0 << 0 << false;
    QTest::newRow("three, one") << three << 1 << 1 << false;
    QTest::newRow("three, last") << three << 2 << 2 << false;
    QTest::newRow("three, size") << three << 3 << 3 << false;
    QTest::newRow("three, one more") << three << 4 << 3 << true;
    QTest::newRow("three, greatest") << three << INT_MAX << 3 << true;
}

void tst_ConfigurationManifestHandler_structure::addedElementIsPlacedByItsIndex()
{
    QFETCH(QStringList, names);
    QFETCH(int, index);
    QFETCH(int, position);
    QFETCH(bool, isReported);
    const Messages messages = isReported ? Messages({indexIsOutOfBounds()}) : Messages();
    const QJsonArray before = nodes(names);
    const auto afterAdding = [&](const QJsonObject& element) {
        QJsonArray after = before;
        after.insert(position, element);
        return after;
    };
    MessageRecorder log;
    HandlerWithoutFile handler(before);
    QVERIFY(handler.addNode(u"new"_qs, silentDescription(), index, false));
    QCOMPARE(log.take(), messages);
    QCOMPARE(handler.getManifestContent(), compact(afterAdding(builtNode(u"new"_qs))));

    handler.setManifestJsonArray({node(u"spare"_qs), node(u"a"_qs, before)});
    QVERIFY(handler.addSelection(u"a/new"_qs, silentDescription(), index, false));
    QCOMPARE(log.take(), messages);
    QCOMPARE(handler.getManifestContent(),
        compact({node(u"spare"_qs), node(u"a"_qs, afterAdding(builtSelection(u"a/new"_qs)))}));
}

void tst_ConfigurationManifestHandler_structure::addedElementIsNamedByItsPath_data()
{
    addEditColumns();
    const QJsonArray empty = {node(u"a"_qs, {node(u"b"_qs, QJsonArray())})};
    const auto filled = [](const QJsonObject& element) {
        return QJsonArray({node(u"a"_qs, {node(u"b"_qs, {element})})});
    };
    addChange("node", {}, addNode(u"new"_qs), {builtNode(u"new"_qs)});
    addChange("selection", {}, addSelection(u"new"_qs), {builtSelection(u"new"_qs)});
    addChange("node by the last name", empty, addNode(u"a/b/new"_qs), filled(builtNode(u"new"_qs)));
    addChange("selection by the whole path", empty, addSelection(u"a/b/new"_qs), filled(builtSelection(u"a/b/new"_qs)));
    addChange("node without a name", empty, addNode(u"a/b/"_qs), filled(builtNode(QString())));
    addChange("selection with an empty last name", empty, addSelection(u"a/b/"_qs), filled(builtSelection(u"a/b/"_qs)));
    addChange("node of an empty path", {}, addNode(QString()), {builtNode(QString())});
    addChange("selection of an empty path", {}, addSelection(QString()), {builtSelection(QString())});
    const QJsonObject described = with(silentDescription(), u"instanceName"_qs, u"described"_qs);
    addChange("described node", empty, addNode(u"a/b/new"_qs, -1, described), filled(builtNode(u"new"_qs)));
    addChange("described selection", empty, addSelection(u"a/b/new"_qs, -1, described),
        filled(builtSelection(u"described"_qs)));
    addChange("selection with an empty described name", empty,
        addSelection(u"a/b/new"_qs, -1, with(silentDescription(), u"instanceName"_qs, QString())),
        filled(builtSelection(u"a/b/new"_qs)));
}

void tst_ConfigurationManifestHandler_structure::addedElementIsNamedByItsPath()
{
    checkEdit();
}

void tst_ConfigurationManifestHandler_structure::presentNameIsNotAdded_data()
{
    addEditColumns();
    const QJsonArray tree = {selection(u"top"_qs),
        node(u"a"_qs, {selection(u"a/file"_qs), node(u"b"_qs), node(u"a/whole"_qs), 5, selection(u"short"_qs)})};
    const auto added = [&](const QJsonObject& element) {
        QJsonArray after = tree;
        QJsonArray children = tree.at(1).toObject().value(u"substructure"_qs).toArray();
        children.append(element);
        after.replace(1, node(u"a"_qs, children));
        return after;
    };
    addNoChange("node at the top", tree, addNode(u"a"_qs));
    addNoChange("node with the name of a selection at the top", tree, addNode(u"top"_qs));
    addNoChange("selection at the top", tree, addSelection(u"top"_qs));
    addNoChange("selection with the name of a node at the top", tree, addSelection(u"a"_qs));
    addNoChange("node", tree, addNode(u"a/b"_qs));
    addNoChange("node with the last segment of a selection", tree, addNode(u"a/file"_qs));
    addNoChange("node without a name next to what is no object", tree, addNode(u"a/"_qs));
    addNoChange("selection with the whole name of a node", tree, addSelection(u"a/whole"_qs));
    // An element whose name is present is not built, so its description causes no message.
    addNoChange("no description, no such index", tree, addNode(u"a/b"_qs, INT_MAX, QJsonObject()));

    addChange("selection with the whole name of a selection", tree, addSelection(u"a/file"_qs),
        added(builtSelection(u"a/file"_qs)));
    addChange(
        "selection with the last name of a node", tree, addSelection(u"a/b"_qs), added(builtSelection(u"a/b"_qs)));
    addChange("selection with the last name of a selection", tree, addSelection(u"a/short"_qs),
        added(builtSelection(u"a/short"_qs)));
    addChange("node with the last segment of a node", tree, addNode(u"a/whole"_qs), added(builtNode(u"whole"_qs)));
    addChange("node in other case", tree, addNode(u"a/B"_qs), added(builtNode(u"B"_qs)));
    addChange("node with a name from further up", tree, addNode(u"a/a"_qs), added(builtNode(u"a"_qs)));
}

void tst_ConfigurationManifestHandler_structure::presentNameIsNotAdded()
{
    checkEdit();
}

void tst_ConfigurationManifestHandler_structure::messageHandlerMayShortenManifest()
{
    QJsonArray siblings;
    for (int i = 0; i < 1000; ++i) {
        siblings.append(node(QString::number(i)));
    }
    HandlerWithoutFile handler(siblings);
    static Handler* edited = nullptr;
    edited = &handler;
    const QtMessageHandler previous = qInstallMessageHandler(
        [](QtMsgType, const QMessageLogContext&, const QString&) { edited->setManifestJsonArray({}); });
    // Building the element logs that the display position is missing.
    const bool added = handler.addNode(u"x"_qs, {{u"hide"_qs, false}}, 999, false);
    qInstallMessageHandler(previous);
    QVERIFY(added);
    QCOMPARE(handler.getManifestJsonArray(), QJsonArray {builtNode(u"x"_qs)});
}

void tst_ConfigurationManifestHandler_structure::everyElementOnPathGetsChildren_data()
{
    addEditColumns();
    const QJsonArray children = {builtNode(u"new"_qs)};
    addChange("node without children", {node(u"a"_qs)}, addNode(u"a/new"_qs), {node(u"a"_qs, children)});
    addChange("selection", {selection(u"x/file"_qs)}, addNode(u"file/new"_qs),
        {with(selection(u"x/file"_qs), u"substructure"_qs, children)});
    addChange("selection in a node", {node(u"a"_qs, {selection(u"a/file"_qs)})}, addSelection(u"a/file/new"_qs),
        {node(u"a"_qs,
            {with(selection(u"a/file"_qs), u"substructure"_qs, QJsonArray({builtSelection(u"a/file/new"_qs)}))})});
    addChange("selection before a node of that name", {selection(u"x/a"_qs), node(u"a"_qs, QJsonArray())},
        addNode(u"a/new"_qs), {with(selection(u"x/a"_qs), u"substructure"_qs, children), node(u"a"_qs, QJsonArray())});
    addChange("number", {5}, addNode(u"/new"_qs), {QJsonObject {{u"substructure"_qs, children}}});
    addChange("text in a node", {node(u"a"_qs, {u"text"_qs})}, addNode(u"a//new"_qs),
        {node(u"a"_qs, {QJsonObject {{u"substructure"_qs, children}}})});
    addChange("other members stay", {with(node(u"a"_qs, {node(u"b"_qs)}), u"key"_qs, 1)}, addNode(u"a/new"_qs, 0),
        {with(node(u"a"_qs, {builtNode(u"new"_qs), node(u"b"_qs)}), u"key"_qs, 1)});
    addChange("siblings stay", {node(u"x"_qs), node(u"a"_qs), node(u"a"_qs), 5}, addNode(u"a/new"_qs),
        {node(u"x"_qs), node(u"a"_qs, children), node(u"a"_qs), 5});
}

void tst_ConfigurationManifestHandler_structure::everyElementOnPathGetsChildren()
{
    checkEdit();
}

void tst_ConfigurationManifestHandler_structure::deletedElementIsFirstOfItsName_data()
{
    addEditColumns();
    const QJsonArray tree = {node(u"a"_qs, {selection(u"a/file"_qs), node(u"b"_qs, {node(u"c"_qs)})}), node(u"x"_qs)};
    addChange("node with everything below it", tree, deleteElement(u"a"_qs), {node(u"x"_qs)});
    addChange("selection", tree, deleteElement(u"a/file"_qs),
        {node(u"a"_qs, {node(u"b"_qs, {node(u"c"_qs)})}), node(u"x"_qs)});
    addChange("last child", tree, deleteElement(u"a/b/c"_qs),
        {node(u"a"_qs, {selection(u"a/file"_qs), node(u"b"_qs, QJsonArray())}), node(u"x"_qs)});
    addChange("last element", {node(u"a"_qs)}, deleteElement(u"a"_qs), {});
    addChange("first of two", {node(u"x"_qs), with(node(u"a"_qs), u"first"_qs, true), node(u"a"_qs)},
        deleteElement(u"a"_qs), {node(u"x"_qs), node(u"a"_qs)});
    addChange("first of both kinds", {selection(u"x/a"_qs), node(u"a"_qs), selection(u"y/a"_qs)},
        deleteElement(u"a"_qs), {node(u"a"_qs), selection(u"y/a"_qs)});
    addChange("number", {node(u"a"_qs), 5, 6}, deleteElement(QString()), {node(u"a"_qs), 6});

    const QJsonObject whole = node(u"a/b"_qs);
    addChange("by the whole path", {node(u"a"_qs, {node(u"c"_qs), whole, whole})}, deleteElement(u"a/b"_qs),
        {node(u"a"_qs, {node(u"c"_qs), whole})});
    addChange("by the last name before the whole path", {node(u"a"_qs, {whole, node(u"b"_qs)})},
        deleteElement(u"a/b"_qs), {node(u"a"_qs, {whole})});
    addChange("by the whole path two levels down", {node(u"a"_qs, {node(u"b"_qs, {node(u"a/b/c"_qs)})})},
        deleteElement(u"a/b/c"_qs), {node(u"a"_qs, {node(u"b"_qs, QJsonArray())})});

    addFailure("no elements", {}, deleteElement(u"a"_qs));
    addFailure("missing", tree, deleteElement(u"b"_qs));
    addFailure("missing below", tree, deleteElement(u"a/x"_qs));
    addFailure("nothing without a name", tree, deleteElement(QString()));
    addFailure("other case", tree, deleteElement(u"A"_qs));
    addFailure("node by its last segment", {node(u"x/a"_qs)}, deleteElement(u"a"_qs));
    addFailure("whole path at the top", {whole, node(u"a"_qs, {node(u"c"_qs)})}, deleteElement(u"a/b"_qs));
    addFailure("whole path without its first name", {whole}, deleteElement(u"a/b"_qs));
    addFailure(
        "whole path where an inner name is missing", {node(u"a"_qs, {node(u"a/b/c"_qs)})}, deleteElement(u"a/b/c"_qs));
}

void tst_ConfigurationManifestHandler_structure::deletedElementIsFirstOfItsName()
{
    checkEdit();
}

void tst_ConfigurationManifestHandler_structure::replacedElementKeepsItsChildrenIfAsked_data()
{
    QTest::addColumn<QJsonObject>("old");
    QTest::addColumn<QJsonObject>("given");
    QTest::addColumn<QJsonObject>("keeping");
    QTest::addColumn<QJsonObject>("replacing");

    const QJsonObject bare = objectFrom(R"({"new":1})");
    const auto withChildren = [](const QJsonObject& element, const QJsonValue& children) {
        return with(element, u"substructure"_qs, children);
    };
    const QJsonArray ours = {node(u"ours"_qs)};
    const QJsonArray theirs = {node(u"theirs"_qs)};
    const QJsonObject old = with(node(u"b"_qs), u"old"_qs, 1);
    QTest::newRow("neither has children") << old << bare << bare << bare;
    QTest::newRow("old one has children") << withChildren(old, theirs) << bare << withChildren(bare, theirs) << bare;
    QTest::newRow("new one has children") << old << withChildren(bare, ours) << bare << withChildren(bare, ours);
    QTest::newRow("both have children") << withChildren(old, theirs) << withChildren(bare, ours)
                                        << withChildren(bare, theirs) << withChildren(bare, ours);
    QTest::newRow("old one has no children yet") << withChildren(old, QJsonArray()) << withChildren(bare, ours)
                                                 << withChildren(bare, QJsonArray()) << withChildren(bare, ours);
    QTest::newRow("new one has children that are no array")
        << old << withChildren(bare, u"text"_qs) << bare << withChildren(bare, u"text"_qs);
    for (const auto& [name, value] : noChildren()) {
        QTest::addRow("old one has children that are no array: %s", name)
            << withChildren(old, value) << withChildren(bare, ours) << withChildren(bare, value)
            << withChildren(bare, ours);
    }
    QTest::newRow("old one is a selection")
        << withChildren(selection(u"x/b"_qs), theirs) << bare << withChildren(bare, theirs) << bare;
    QTest::newRow("nothing given") << withChildren(old, theirs) << QJsonObject() << withChildren(QJsonObject(), theirs)
                                   << QJsonObject();
    QTest::newRow("equal") << old << old << old << old;
    const QJsonObject other =
        objectFrom(R"({"displayPosition":4,"instanceName":"renamed","selectionType":7,"tolmVersion":1})");
    QTest::newRow("nothing is adjusted") << old << other << other << other;
}

void tst_ConfigurationManifestHandler_structure::replacedElementKeepsItsChildrenIfAsked()
{
    QFETCH(QJsonObject, old);
    QFETCH(QJsonObject, given);
    QFETCH(QJsonObject, keeping);
    QFETCH(QJsonObject, replacing);
    const QVector<QPair<std::function<Edit(const QString&)>, QJsonObject>> updates = {
        {[&](const QString& path) { return updateNode(path, given, false); }, keeping},
        {[&](const QString& path) { return updateSelection(path, given); }, keeping},
        {[&](const QString& path) { return updateNode(path, given, true); }, replacing}};
    const MessageRecorder log;
    for (const auto& [update, after] : updates) {
        const QJsonArray siblings = {node(u"x"_qs), old, node(u"y"_qs)};
        const QJsonArray siblingsAfter = {node(u"x"_qs), after, node(u"y"_qs)};
        HandlerWithoutFile top(siblings);
        QVERIFY(update(u"b"_qs)(top, false));
        QCOMPARE(top.getManifestContent(), compact(siblingsAfter));
        QCOMPARE(top.getModified(), true);
        HandlerWithoutFile below({node(u"z"_qs), node(u"a"_qs, siblings)});
        QVERIFY(update(u"a/b"_qs)(below, false));
        QCOMPARE(below.getManifestContent(), compact({node(u"z"_qs), node(u"a"_qs, siblingsAfter)}));
        QCOMPARE(below.getModified(), true);
    }
}

void tst_ConfigurationManifestHandler_structure::replacedElementIsFoundByLastSegment_data()
{
    addEditColumns();
    const QJsonObject given = node(u"given"_qs);
    const QJsonArray tree = {node(u"a"_qs, {node(u"a/b"_qs), selection(u"a/b"_qs), node(u"b"_qs)}), node(u"c"_qs)};
    const QJsonArray replaced = {node(u"a"_qs, {node(u"a/b"_qs), given, node(u"b"_qs)}), node(u"c"_qs)};
    for (const bool replaceSubstructure : {false, true}) {
        const auto addUpdate = [&](const char* name, const QJsonArray& before, const QString& path,
                                   const QJsonArray& after) {
            QTest::addRow("%s, %s", name, replaceSubstructure ? "replacing" : "keeping")
                << before << updateNode(path, given, replaceSubstructure) << true << after << true << Messages();
        };
        addUpdate("first that answers", tree, u"a/b"_qs, replaced);
        addUpdate("number", {node(u"a"_qs), 5, 6}, QString(), {node(u"a"_qs), given, 6});
        addUpdate("empty last name", {node(u"a"_qs, {node(u"b"_qs), node(u""_qs)})}, u"a/"_qs,
            {node(u"a"_qs, {node(u"b"_qs), given})});
        const auto addMiss = [&](const char* name, const QJsonArray& manifest, const QString& path) {
            QTest::addRow("%s, %s", name, replaceSubstructure ? "replacing" : "keeping")
                << manifest << updateNode(path, given, replaceSubstructure) << false << manifest << false
                << Messages({nothingToReplace()});
        };
        addMiss("no elements", {}, u"a"_qs);
        addMiss("missing", tree, u"x"_qs);
        addMiss("missing below", tree, u"a/x"_qs);
        addMiss("nothing without a name", tree, QString());
        addMiss("below an element without children", tree, u"c/b"_qs);
        addMiss("whole name of a node", {node(u"a"_qs, {node(u"a/b"_qs)})}, u"a/b"_qs);
    }
    addChange("updateSelection", tree, updateSelection(u"a/b"_qs, given), replaced);
    addChange("updateSelection at the top", tree, updateSelection(u"c"_qs, given), {tree.at(0), given});
    addFailure("updateSelection, missing", tree, updateSelection(u"x"_qs, given), {nothingToReplace()});
    addFailure("updateSelection, missing below", tree, updateSelection(u"a/x"_qs, given), {nothingToReplace()});
    addFailure("updateSelection, whole name of a node", {node(u"a"_qs, {node(u"a/b"_qs)})},
        updateSelection(u"a/b"_qs, given), {nothingToReplace()});
}

void tst_ConfigurationManifestHandler_structure::replacedElementIsFoundByLastSegment()
{
    checkEdit();
}

void tst_ConfigurationManifestHandler_structure::movedElementEndsAtItsNewIndex_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<int>("newIndex");
    QTest::addColumn<QString>("order");
    const auto addMove = [](const char* name, int newIndex, const char* order) {
        QTest::addRow("%s to %d", name, newIndex) << name << newIndex << order;
    };
    addMove("p", 0, "pqrs");
    addMove("p", 1, "qprs");
    addMove("p", 2, "qrps");
    addMove("p", 3, "qrsp");
    addMove("q", 0, "qprs");
    addMove("q", 1, "pqrs");
    addMove("q", 2, "prqs");
    addMove("q", 3, "prsq");
    addMove("s", 0, "spqr");
    addMove("s", 1, "psqr");
    addMove("s", 2, "pqsr");
    addMove("s", 3, "pqrs");
    addMove("q", 4, "");
    addMove("q", 5, "");
    addMove("q", INT_MAX, "");
    addMove("q", -1, "");
    addMove("q", INT_MIN, "");
}

void tst_ConfigurationManifestHandler_structure::movedElementEndsAtItsNewIndex()
{
    QFETCH(QString, name);
    QFETCH(int, newIndex);
    QFETCH(QString, order);
    const auto siblings = [](const QString& names) {
        QJsonArray array;
        for (const QChar letter : names) {
            // Elements of both kinds are moved together with their children.
            array.append(letter == u'q' ? selection(u"a/q"_qs) : node(QString(letter), {node(u"child"_qs)}));
        }
        return array;
    };
    const bool result = !order.isEmpty();
    const QJsonArray before = siblings(u"pqrs"_qs);
    const QJsonArray after = result ? siblings(order) : before;
    const Messages messages = result ? Messages() : Messages({noSuchPosition()});
    MessageRecorder log;
    for (const auto& move : {moveNode, moveSelection}) {
        HandlerWithoutFile top(before);
        QCOMPARE(move(name, newIndex)(top, false), result);
        QCOMPARE(log.take(), messages);
        QCOMPARE(top.getManifestContent(), compact(after));
        QCOMPARE(top.getModified(), result);
        HandlerWithoutFile below({node(u"x"_qs), node(u"a"_qs, before), node(u"y"_qs)});
        QCOMPARE(move(u"a/"_qs + name, newIndex)(below, false), result);
        QCOMPARE(log.take(), messages);
        QCOMPARE(below.getManifestContent(), compact({node(u"x"_qs), node(u"a"_qs, after), node(u"y"_qs)}));
        QCOMPARE(below.getModified(), result);
    }
}

void tst_ConfigurationManifestHandler_structure::movedElementIsFoundByLastSegment_data()
{
    addEditColumns();
    const QJsonObject b = node(u"b"_qs);
    const QJsonArray tree = {node(u"a"_qs, {node(u"a/b"_qs), selection(u"a/b"_qs), b}), node(u"c"_qs)};
    const QJsonArray moved = {node(u"a"_qs, {selection(u"a/b"_qs), node(u"a/b"_qs), b}), node(u"c"_qs)};
    addChange("moveNode", tree, moveNode(u"a/b"_qs, 0), moved);
    addChange("moveSelection", tree, moveSelection(u"a/b"_qs, 0), moved);
    addChange("only element", {b}, moveNode(u"b"_qs, 0), {b});
    addChange("number", {5, b, 6}, moveNode(QString(), 2), {b, 6, 5});
    addChange("text", {u"text"_qs, b}, moveSelection(QString(), 1), {b, u"text"_qs});
    addChange("empty last name", {node(u"a"_qs, {b, node(u""_qs)})}, moveSelection(u"a/"_qs, 0),
        {node(u"a"_qs, {node(u""_qs), b})});
    for (const int newIndex : {0, -1, 99}) {
        const auto addMiss = [&](const char* name, const QJsonArray& manifest, const Edit& edit) {
            QTest::addRow("%s, to %d", name, newIndex) << manifest << edit << false << manifest << false << Messages();
        };
        addMiss("moveNode, no elements", {}, moveNode(u"a"_qs, newIndex));
        addMiss("moveNode, missing", tree, moveNode(u"x"_qs, newIndex));
        addMiss("moveNode, missing below", tree, moveNode(u"a/x"_qs, newIndex));
        addMiss("moveNode, whole name of a node", {node(u"a"_qs, {node(u"a/b"_qs)})}, moveNode(u"a/b"_qs, newIndex));
        addMiss("moveSelection, missing", tree, moveSelection(u"x"_qs, newIndex));
        addMiss("moveSelection, missing below", tree, moveSelection(u"a/x"_qs, newIndex));
        addMiss("moveSelection, whole name of a node", {node(u"a"_qs, {node(u"a/b"_qs)})},
            moveSelection(u"a/b"_qs, newIndex));
    }
}

void tst_ConfigurationManifestHandler_structure::movedElementIsFoundByLastSegment()
{
    checkEdit();
}

void tst_ConfigurationManifestHandler_structure::sortedElementsFollowList_data()
{
    QTest::addColumn<QJsonArray>("children");
    QTest::addColumn<QStringList>("names");
    QTest::addColumn<bool>("result");
    QTest::addColumn<QJsonArray>("after");

    const QJsonObject file = selection(u"folder/file"_qs);
    const QJsonObject b = node(u"b"_qs, {node(u"child"_qs)});
    const QJsonObject c = node(u"x/c"_qs);
    const QJsonArray children = {file, b, c};
    const auto addSorted = [](const char* row, const QJsonArray& before, const QStringList& names,
                               const QJsonArray& after) { QTest::newRow(row) << before << names << true << after; };
    addSorted("every child once", children, {u"x/c"_qs, u"file"_qs, u"b"_qs}, {c, file, b});
    addSorted("own order", children, {u"file"_qs, u"b"_qs, u"x/c"_qs}, children);
    addSorted("unknown names in between", children, {u"y"_qs, u"b"_qs, u""_qs, u"x/c"_qs, u"B"_qs, u"file"_qs, u"y"_qs},
        {b, c, file});
    addSorted("one child twice, another one left out", children, {u"b"_qs, u"file"_qs, u"b"_qs}, {b, file, b});
    addSorted("one child for all", children, {u"b"_qs, u"b"_qs, u"b"_qs}, {b, b, b});
    const QJsonObject first = with(node(u"b"_qs), u"number"_qs, 1);
    addSorted("two children of one name", {first, file, b}, {u"file"_qs, u"b"_qs, u"b"_qs}, {file, first, first});
    addSorted("selection before a node of its name", {file, node(u"file"_qs)}, {u"file"_qs, u"file"_qs}, {file, file});
    addSorted("node before a selection of its name", {node(u"file"_qs), file}, {u"file"_qs, u"file"_qs},
        {node(u"file"_qs), node(u"file"_qs)});
    // An element that is found is an object.
    addSorted("number", {5, b}, {u"b"_qs, u""_qs}, {b, QJsonObject()});
    addSorted("number and text", {5, u"text"_qs}, {u""_qs, u""_qs}, {QJsonObject(), QJsonObject()});
    addSorted("node without a name behind a number", {b, 5, node(u""_qs)}, {u""_qs, u"b"_qs, u""_qs},
        {QJsonObject(), b, QJsonObject()});
    addSorted("no children", {}, {}, {});
    addSorted("no children, unknown names", {}, {u"b"_qs, u""_qs}, {});

    const auto addUnsorted = [&](const char* row, const QStringList& names) {
        QTest::newRow(row) << children << names << false << children;
    };
    addUnsorted("no names", {});
    addUnsorted("one child left out", {u"x/c"_qs, u"file"_qs});
    addUnsorted("unknown name for a child", {u"x/c"_qs, u"file"_qs, u"y"_qs});
    addUnsorted("all unknown", {u"p"_qs, u"q"_qs, u"r"_qs});
    addUnsorted("one child twice too many", {u"x/c"_qs, u"file"_qs, u"b"_qs, u"b"_qs});
    addUnsorted("selection by its whole name", {u"x/c"_qs, u"folder/file"_qs, u"b"_qs});
    addUnsorted("node by its last segment", {u"c"_qs, u"file"_qs, u"b"_qs});
    addUnsorted("other case", {u"x/c"_qs, u"File"_qs, u"b"_qs});
    addUnsorted("name of a grandchild", {u"x/c"_qs, u"file"_qs, u"child"_qs});
}

void tst_ConfigurationManifestHandler_structure::sortedElementsFollowList()
{
    QFETCH(QJsonArray, children);
    QFETCH(QStringList, names);
    QFETCH(bool, result);
    QFETCH(QJsonArray, after);
    const MessageRecorder log;
    HandlerWithoutFile top(children);
    QCOMPARE(top.sortElements(QString(), names, false), result);
    QCOMPARE(top.getManifestContent(), compact(after));
    QCOMPARE(top.getModified(), result);
    HandlerWithoutFile below({node(u"x"_qs), node(u"a"_qs, children), node(u"y"_qs)});
    QCOMPARE(below.sortElements(u"a"_qs, names, false), result);
    QCOMPARE(below.getManifestContent(), compact({node(u"x"_qs), node(u"a"_qs, after), node(u"y"_qs)}));
    QCOMPARE(below.getModified(), result);
}

void tst_ConfigurationManifestHandler_structure::arrayAtPathIsSorted_data()
{
    addEditColumns();
    const QStringList order = {u"q"_qs, u"p"_qs};
    const QJsonArray before = nodes({u"p"_qs, u"q"_qs});
    const QJsonArray after = nodes(order);
    addChange("top", before, sortElements(u""_qs, order), after);
    addChange("no path", before, sortElements(QString(), order), after);
    addChange("deep", {node(u"a"_qs, {node(u"b"_qs, before), node(u"b"_qs, before)})}, sortElements(u"a/b"_qs, order),
        {node(u"a"_qs, {node(u"b"_qs, after), node(u"b"_qs, before)})});
    addChange("selection by its last segment",
        {node(u"a"_qs, {with(selection(u"a/b"_qs), u"substructure"_qs, before)})}, sortElements(u"a/b"_qs, order),
        {node(u"a"_qs, {with(selection(u"a/b"_qs), u"substructure"_qs, after)})});
    addChange("what is no object", {node(u""_qs, {5})}, sortElements(u"/"_qs, {}),
        {node(u""_qs, {QJsonObject {{u"substructure"_qs, QJsonArray()}}})});
    addFailure("top for a slash", before, sortElements(u"/"_qs, order));
    addFailure("missing", {node(u"a"_qs, before)}, sortElements(u"x"_qs, order));
    addFailure("missing, no names", {node(u"a"_qs, before)}, sortElements(u"x"_qs, {}));
    addFailure("missing below", {node(u"a"_qs, before)}, sortElements(u"a/x"_qs, order));
    addFailure("node by its last segment", {node(u"x/a"_qs, before)}, sortElements(u"a"_qs, order));
}

void tst_ConfigurationManifestHandler_structure::arrayAtPathIsSorted()
{
    checkEdit();
}

void tst_ConfigurationManifestHandler_structure::missingNameOnPathIsSilentFailure_data()
{
    addEditColumns();
    const QJsonArray tree = {node(u"a"_qs, {node(u"b"_qs, {node(u"c"_qs)}), node(u"x/y"_qs, {node(u"c"_qs)})})};
    for (const char* text : {"x/c", "A/b/c", "a/x/c", "a//b/c", "/a/b/c", "a/b//c", "a/x/y/c", "a/b/x/c"}) {
        const QString path = QString::fromLatin1(text);
        const auto addMiss = [&](const char* name, const Edit& edit) {
            QTest::addRow("%s of %s", name, text) << tree << edit << false << tree << false << Messages();
        };
        addMiss("addNode", addNode(path, INT_MAX, QJsonObject()));
        addMiss("addSelection", addSelection(path, INT_MAX, QJsonObject()));
        addMiss("deleteElement", deleteElement(path));
        addMiss("sortElements", sortElements(path, {}));
        addMiss("moveNode", moveNode(path, INT_MAX));
        addMiss("moveSelection", moveSelection(path, INT_MAX));
        addMiss("updateNode, keeping", updateNode(path, node(u"c"_qs), false));
        addMiss("updateNode, replacing", updateNode(path, node(u"c"_qs), true));
        addMiss("updateSelection", updateSelection(path, node(u"c"_qs)));
    }
}

void tst_ConfigurationManifestHandler_structure::missingNameOnPathIsSilentFailure()
{
    checkEdit();
}

void tst_ConfigurationManifestHandler_structure::emptyNamesInPathsCount_data()
{
    addEditColumns();
    const auto tree = [](const QJsonArray& lowest) {
        return QJsonArray({node(u"b"_qs), node(u"a"_qs, {node(u"b"_qs), node(u""_qs, lowest)})});
    };
    const QJsonArray before = tree({node(u"b"_qs), node(u"c"_qs)});
    const QJsonArray swapped = tree({node(u"c"_qs), node(u"b"_qs)});
    const QString path = u"a//b"_qs;
    addChange("addNode", before, addNode(u"a//d"_qs, 0), tree({builtNode(u"d"_qs), node(u"b"_qs), node(u"c"_qs)}));
    addChange("addSelection", before, addSelection(u"a//d"_qs, 0),
        tree({builtSelection(u"a//d"_qs), node(u"b"_qs), node(u"c"_qs)}));
    addChange("deleteElement", before, deleteElement(path), tree({node(u"c"_qs)}));
    addChange("moveNode", before, moveNode(path, 1), swapped);
    addChange("moveSelection", before, moveSelection(path, 1), swapped);
    addChange("updateNode", before, updateNode(path, node(u"d"_qs), true), tree({node(u"d"_qs), node(u"c"_qs)}));
    addChange("updateSelection", before, updateSelection(path, node(u"d"_qs)), tree({node(u"d"_qs), node(u"c"_qs)}));
    addChange("sortElements", before, sortElements(u"a/"_qs, {u"c"_qs, u"b"_qs}), swapped);
    addChange("in front", {node(u"a"_qs), node(u""_qs, {node(u"a"_qs)})}, deleteElement(u"/a"_qs),
        {node(u"a"_qs), node(u""_qs, QJsonArray())});
}

void tst_ConfigurationManifestHandler_structure::emptyNamesInPathsCount()
{
    checkEdit();
}

void tst_ConfigurationManifestHandler_structure::amongStructureEditsOnlyDeletionLooksUpWholePath_data()
{
    addEditColumns();
    const QJsonObject whole = node(u"a/b"_qs, {node(u"c"_qs)});
    const QJsonArray tree = {node(u"a"_qs, {node(u"x"_qs), whole})};
    const QString path = u"a/b"_qs;
    addChange("deleteElement", tree, deleteElement(path), {node(u"a"_qs, {node(u"x"_qs)})});
    addChange("addNode", tree, addNode(path), {node(u"a"_qs, {node(u"x"_qs), whole, builtNode(u"b"_qs)})});
    addFailure("sortElements", tree, sortElements(path, {u"c"_qs}));
    addFailure("moveNode", tree, moveNode(path, 0));
    addFailure("moveSelection", tree, moveSelection(path, 0));
    addFailure("updateNode", tree, updateNode(path, node(u"d"_qs), true), {nothingToReplace()});
    addFailure("updateSelection", tree, updateSelection(path, node(u"d"_qs)), {nothingToReplace()});
}

void tst_ConfigurationManifestHandler_structure::amongStructureEditsOnlyDeletionLooksUpWholePath()
{
    checkEdit();
}

void tst_ConfigurationManifestHandler_structure::childrenThatAreNotArrayCountAsNone_data()
{
    addEditColumns();
    const QString path = u"a/b"_qs;
    for (const auto& [kind, value] : noChildren()) {
        const QJsonArray manifest = {node(u"x"_qs), with(node(u"a"_qs), u"substructure"_qs, value)};
        const auto addRow = [&, name = kind](const char* edited, const Edit& edit, bool result,
                                const QJsonArray& children, const Messages& messages = {}) {
            const QJsonArray after = {node(u"x"_qs), node(u"a"_qs, children)};
            QTest::addRow("%s, %s", edited, name)
                << manifest << edit << result << (result ? after : manifest) << result << messages;
        };
        addRow("addNode", addNode(path, 0), true, {builtNode(u"b"_qs)});
        addRow("addNode, no such index", addNode(path, 1), true, {builtNode(u"b"_qs)}, {indexIsOutOfBounds()});
        addRow("addSelection", addSelection(path), true, {builtSelection(path)});
        addRow("sortElements", sortElements(u"a"_qs, {}), true, {});
        addRow("sortElements, unknown name", sortElements(u"a"_qs, {u"b"_qs}), true, {});
        addRow("deleteElement", deleteElement(path), false, {});
        addRow("moveNode", moveNode(path, 0), false, {});
        addRow("moveSelection", moveSelection(path, 0), false, {});
        addRow("updateNode", updateNode(path, node(u"b"_qs), true), false, {}, {nothingToReplace()});
        addRow("updateSelection", updateSelection(path, node(u"b"_qs)), false, {}, {nothingToReplace()});
        addRow("addNode two levels below", addNode(u"a/b/c"_qs), false, {});
    }
}

void tst_ConfigurationManifestHandler_structure::childrenThatAreNotArrayCountAsNone()
{
    checkEdit();
}

void tst_ConfigurationManifestHandler_structure::arrayOfCallersIsEditedInstead_data()
{
    QTest::addColumn<ArrayEdit>("edit");
    QTest::addColumn<bool>("result");
    QTest::addColumn<QJsonArray>("after");
    QTest::addColumn<bool>("modifies");
    QTest::addColumn<Messages>("messages");

    const auto add = [](const QStringList& path, bool isNode) -> ArrayEdit {
        return [=](Handler& handler, QJsonArray& array) {
            return handler.addElement(array, path, silentDescription(), 0, isNode);
        };
    };
    const auto remove = [](const QStringList& path, const QString& fullPath) -> ArrayEdit {
        return [=](Handler& handler, QJsonArray& array) { return handler.deleteElement(array, path, fullPath); };
    };
    const auto replace = [](const QStringList& path, bool replaceSubstructure) -> ArrayEdit {
        return [=](Handler& handler, QJsonArray& array) {
            return handler.replaceElement(array, path, node(u"new"_qs), replaceSubstructure);
        };
    };
    const auto move = [](const QStringList& path, int newIndex) -> ArrayEdit {
        return [=](Handler& handler, QJsonArray& array) { return handler.moveElement(array, path, newIndex); };
    };
    const auto sort = [](const QStringList& path, const QStringList& names) -> ArrayEdit {
        return [=](Handler& handler, QJsonArray& array) { return handler.sortElements(array, path, names); };
    };
    const auto addRow = [](const char* name, const ArrayEdit& edit, const QJsonArray& after) {
        QTest::newRow(name) << edit << true << after << true << Messages();
    };
    const QJsonObject file = selection(u"x/y"_qs);
    const QJsonObject p = node(u"p"_qs);
    const QJsonObject xy = node(u"x/y"_qs);
    const QJsonObject nameless = node(u""_qs);
    const auto addMiss = [&](const char* name, const ArrayEdit& edit, const Messages& messages = {}) {
        QTest::newRow(name) << edit << false << callersArray() << false << messages;
    };

    // Names given in a list are not split at slashes.
    addRow("add node", add({u"x/y"_qs, u"new"_qs}, true), callersArray({builtNode(u"new"_qs), file, xy, p}));
    addRow("add selection", add({u"x/y"_qs, u"new"_qs}, false), callersArray({builtSelection(u"new"_qs), file, xy, p}));
    addRow("add node by an unsplit name", add({u"x/y"_qs, u"a/p"_qs}, true),
        callersArray({builtNode(u"a/p"_qs), file, xy, p}));
    addRow("add selection by an unsplit name", add({u"x/y"_qs, u"a/p"_qs}, false),
        callersArray({builtSelection(u"a/p"_qs), file, xy, p}));
    QTest::newRow("add what is present by its unsplit name")
        << add({u"x/y"_qs, u"x/y"_qs}, false) << true << callersArray() << false << Messages();
    addRow("delete by an unsplit name", remove({u"x/y"_qs, u"x/y"_qs}, QString()), callersArray({file, p}));
    addRow("delete by the last segment", remove({u"x/y"_qs, u"y"_qs}, QString()), callersArray({xy, p}));
    addRow("delete by the whole path", remove({u"x/y"_qs, u"missing"_qs}, u"p"_qs), callersArray({file, xy}));
    addRow("delete by an unsplit whole path", remove({u"x/y"_qs, u"missing"_qs}, u"x/y"_qs), callersArray({file, p}));
    addRow("delete by the last name before the whole path", remove({u"x/y"_qs, u"p"_qs}, u"y"_qs),
        callersArray({file, xy}));
    addRow("delete at the top by the whole path", remove({u"missing"_qs}, u"s"_qs),
        {node(u"x/y"_qs, {file, xy, p}), nameless});
    addRow("replace by the last segment", replace({u"x/y"_qs, u"any/thing/y"_qs}, true),
        callersArray({node(u"new"_qs), xy, p}));
    addRow("replace at the top, keeping the children", replace({u"any/s"_qs}, false),
        {node(u"new"_qs), node(u"x/y"_qs, {file, xy, p}), nameless});
    addRow("move by the last segment", move({u"x/y"_qs, u"any/p"_qs}, 0), callersArray({p, file, xy}));
    addRow("sort by an unsplit name", sort({u"x/y"_qs}, {u"p"_qs, u"x/y"_qs, u"y"_qs}), callersArray({p, xy, file}));
    addRow("sort at the top", sort({}, {u""_qs, u"x/y"_qs, u"s"_qs}),
        {nameless, node(u"x/y"_qs, {file, xy, p}), node(u"s"_qs)});

    addMiss("add below a split name", add({u"x"_qs, u"y"_qs, u"new"_qs}, true));
    addMiss("delete, no whole path", remove({u"missing"_qs}, QString()));
    addMiss("delete below, no whole path", remove({u"x/y"_qs, u"missing"_qs}, QString()));
    addMiss("delete, whole path missing as well", remove({u"x/y"_qs, u"missing"_qs}, u"s"_qs));
    addMiss("delete, whole path for a missing inner name", remove({u"missing"_qs, u"p"_qs}, u"s"_qs));
    addMiss("replace a node by its unsplit name", replace({u"x/y"_qs}, true), {nothingToReplace()});
    addMiss("replace below a split name", replace({u"x"_qs, u"y"_qs}, true));
    addMiss("move a node by its unsplit name", move({u"x/y"_qs}, 0));
    addMiss("move too far", move({u"x/y"_qs, u"p"_qs}, 3), {noSuchPosition()});
    addMiss("sort by a split name", sort({u"x"_qs, u"y"_qs}, {u"p"_qs, u"x/y"_qs, u"y"_qs}));
    addMiss("sort an incomplete list", sort({}, {u"x/y"_qs}));
}

void tst_ConfigurationManifestHandler_structure::arrayOfCallersIsEditedInstead()
{
    QFETCH(ArrayEdit, edit);
    QFETCH(bool, result);
    QFETCH(QJsonArray, after);
    QFETCH(bool, modifies);
    QFETCH(Messages, messages);

    const QJsonArray before = callersArray();
    const QByteArray content = "[ ]";
    const ManifestFile file(content);
    for (const bool modifiedBefore : {false, true}) {
        Handler handler(file.path(), QString(), QString());
        handler.setManifestJsonArray(before);
        if (modifiedBefore) {
            QVERIFY(handler.moveNode(u"s"_qs, 0, false));
        }
        QJsonArray array = handler.getManifestJsonArray();
        MessageRecorder log;
        QCOMPARE(edit(handler, array), result);
        QCOMPARE(log.take(), messages);
        QCOMPARE(compact(array), compact(after));
        QCOMPARE(handler.getManifestContent(), compact(before));
        QCOMPARE(handler.getModified(), modifiedBefore || modifies);
        QCOMPARE(file.content(), content);
    }
}

void tst_ConfigurationManifestHandler_structure::emptyPathIsReported_data()
{
    QTest::addColumn<ArrayEdit>("edit");
    QTest::addColumn<Message>("message");
    QTest::newRow("addElement") << ArrayEdit([](Handler& handler, QJsonArray& array) {
        return handler.addElement(array, {}, QJsonObject(), INT_MAX, true);
    }) << warning(u"ConfigurationManifestHandler::addElement: invalid size of instancePath 0"_qs, adder);
    const Message nothingToDelete =
        warning(u"ConfigurationManifestHandler::deleteElement : Size of instancePath is NULL !"_qs,
            "bool ConfigurationManifestHandler::deleteElement(QJsonArray&, const QStringList&, const QString&)");
    QTest::newRow("deleteElement") << ArrayEdit([](Handler& handler, QJsonArray& array) {
        return handler.deleteElement(array, {}, QString());
    }) << nothingToDelete;
    QTest::newRow("deleteElement with a whole path")
        << ArrayEdit([](Handler& handler, QJsonArray& array) { return handler.deleteElement(array, {}, u"a"_qs); })
        << nothingToDelete;
    QTest::newRow("replaceElement") << ArrayEdit([](Handler& handler, QJsonArray& array) {
        return handler.replaceElement(array, {}, QJsonObject(), true);
    }) << warning(u"ConfigurationManifestHandler::replaceElement: invalid size of instancePath 0"_qs, replacer);
    QTest::newRow("moveElement") << ArrayEdit([](Handler& handler, QJsonArray& array) {
        return handler.moveElement(array, {}, INT_MAX);
    }) << warning(u"ConfigurationManifestHandler::moveElement: invalid size of instancePath 0"_qs, mover);
}

void tst_ConfigurationManifestHandler_structure::emptyPathIsReported()
{
    QFETCH(ArrayEdit, edit);
    QFETCH(Message, message);
    const QJsonArray before = {node(u"a"_qs), node(u""_qs)};
    MessageRecorder log;
    HandlerWithoutFile handler;
    QJsonArray array = before;
    QCOMPARE(edit(handler, array), false);
    QCOMPARE(log.take(), Messages({message}));
    QCOMPARE(compact(array), compact(before));
    QCOMPARE(handler.getModified(), false);
}

MANIFEST_TEST_MAIN(tst_ConfigurationManifestHandler_structure)

#include "tst_configurationmanifesthandler_structure.moc"
