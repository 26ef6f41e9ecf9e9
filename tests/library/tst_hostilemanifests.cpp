#include "Edits.h"
#include "Elements.h"
#include "Files.h"
#include "Handlers.h"
#include "LibraryMessages.h"
#include "Literals.h"
#include "MessageRecorder.h"
#include "QuickFolder.h"
#include "TestMain.h"

#include <QtCore/QJsonDocument>
#include <QtCore/QTemporaryDir>

#include <random>

namespace {

const QString target = u"target"_qs;
const QString inner = u"target/inner"_qs;
const QString key = u"key"_qs;

QString chainPath(int levels)
{
    return u"n/"_qs.repeated(levels).chopped(1);
}

QByteArray text(const QJsonValue& value)
{
    return compact(QJsonArray {value});
}

QString numbered(int number)
{
    return u"e%1"_qs.arg(number);
}

/// A manifest file with a handler that stamps nothing.
struct Fixture {
    explicit Fixture(const QByteArray& content)
        : folder(quickFolder())
        , path(folder.filePath(u"configuration.manifest.json"_qs))
        , handler(path, QString(), QString())
    {
        writeFile(path, content);
        handler.parseManifestFile();
    }

    /// The manifest that another handler loads from the file.
    QJsonArray reloaded() const
    {
        Handler reader(path, QString(), QString());
        reader.parseManifestFile();
        return reader.getManifestJsonArray();
    }

    QTemporaryDir folder;
    QString path;
    Handler handler;
};

/// Every kind of edit, on and around the one child of "target" that has a path. In this order all succeed.
QVector<QPair<const char*, Edit>> edits()
{
    const auto holdItself = [](QJsonObject& object, bool& changed) {
        object.insert(key, object);
        changed = true;
        return true;
    };
    const QString added = u"target/added"_qs;
    return {{"setProperty", setEdit(inner, key, QVariantList {1, u"text"_qs})}, {"update", updateEdit(inner, key, 2.5)},
        {"removeProperty", removeEdit(inner, key)}, {"setProperty of the parent", setEdit(target, key, QVariant())},
        {"modifyPropertyFirst", modifyEdit(inner, holdItself)},
        {"addNode", addNode(added, 1, {{u"displayPosition"_qs, 1}, {u"substructure"_qs, 5}})},
        {"addSelection", addSelection(added + u"/selection"_qs)},
        {"updateNode", updateNode(inner, node(u"inner"_qs), true)},
        {"updateSelection", updateSelection(inner, node(u"inner"_qs))}, {"moveNode", moveNode(inner, 1)},
        {"moveSelection", moveSelection(inner, 2)},
        {"sortElements of the added", sortElements(added, {u"selection"_qs})}, {"deleteElement", deleteElement(added)}};
}

} // namespace

class tst_HostileManifests : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void editsLeaveHostileNeighboursAlone_data();
    void editsLeaveHostileNeighboursAlone();
    void elementsOfAnyKindAreEdited_data();
    void elementsOfAnyKindAreEdited();
    void nodesAreFoundAtAnyDepth_data();
    void nodesAreFoundAtAnyDepth();
    void treeBeyondParsersLimitIsSavedAndNotLoaded();
    void treeBeyondParsersLimitIsEditedInMemory();
    void hundredThousandElementsAreEdited();
    void textsOfManyMegabytesAreEdited();
    void pathOfManyNamesIsNotFound();
    void damagedContentIsRefusedOrTaken();
};

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
        {"1000 levels", nestedArrays(1000)},
        {"500 nodes in each other", "{\"below\":" + nestedNodes(500) + "}"},
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

    for (const auto& [name, edit] : edits()) {
        QVERIFY2(edit(fixture.handler, true), name);

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
            name);
    }
    QCOMPARE(recorder.take(), Messages());
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
    QCOMPARE(recorder.take(), Messages());
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
    const QByteArray content = nestedNodes(levels);

    MessageRecorder recorder;
    Fixture fixture(content);
    QCOMPARE(fixture.handler.getManifestContent(), content);
    QJsonObject found;
    int number = -1;
    QVERIFY(fixture.handler.getNodeElement(path, found));
    QCOMPARE(text(found), nestedNodes(1));
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
    QCOMPARE(readFile(fixture.path), levels == 1 ? QByteArray("[]") : nestedNodes(levels - 1));
    QVERIFY(!fixture.handler.deleteElement(path, true));
    QCOMPARE(recorder.take(), Messages());
}

void tst_HostileManifests::treeBeyondParsersLimitIsSavedAndNotLoaded()
{
    MessageRecorder recorder;
    Fixture fixture(nestedNodes(511));
    const QJsonObject description {{u"displayPosition"_qs, 1}};

    QVERIFY(fixture.handler.addNode(chainPath(512), description, -1, true));
    QCOMPARE(fixture.reloaded(), fixture.handler.getManifestJsonArray());
    QCOMPARE(recorder.take(), Messages());

    QVERIFY(fixture.handler.addNode(chainPath(513), description, -1, true));
    QCOMPARE(readFile(fixture.path), fixture.handler.getManifestContent());
    QCOMPARE(recorder.take(), Messages());
    QCOMPARE(fixture.reloaded(), QJsonArray());
    QCOMPARE(recorder.take(), Messages({contentIsNotJson(u"too deeply nested document"_qs)}));

    QVERIFY(fixture.handler.deleteElement(chainPath(512), true));
    QCOMPARE(fixture.reloaded(), fixture.handler.getManifestJsonArray());
    QCOMPARE(recorder.take(), Messages());
}

void tst_HostileManifests::treeBeyondParsersLimitIsEditedInMemory()
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
    QCOMPARE(recorder.take(), Messages());
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
    QCOMPARE(recorder.take(), Messages());
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
    QCOMPARE(recorder.take(), Messages());
}

void tst_HostileManifests::pathOfManyNamesIsNotFound()
{
    const QByteArray content = nestedNodes(3);
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
    QCOMPARE(recorder.take(), Messages());
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
    Handler& handler = fixture.handler;
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
        const Messages messages = recorder.take();
        if (error.error != QJsonParseError::NoError) {
            QCOMPARE(messages, Messages({contentIsNotJson(error.errorString())}));
            QCOMPARE(handler.getManifestJsonArray(), before);
            continue;
        }
        QCOMPARE(messages, Messages());
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
        QCOMPARE(recorder.take(), Messages());
    }
    QVERIFY2(taken > 500 && edited > 1500, qPrintable(u"%1, %2"_qs.arg(taken).arg(edited)));
}

MANIFEST_TEST_MAIN(tst_HostileManifests)

#include "tst_hostilemanifests.moc"
