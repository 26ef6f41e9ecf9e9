#include "substitute/JsonWalk.h"

#include "Files.h"
#include "JsonDataIteratorConfigurationInstanceCollector.h"
#include "JsonDataIteratorConfigurationInstanceListUpdater.h"
#include "Literals.h"
#include "MessageRecorder.h"
#include "TestMain.h"

#include <QtCore/QJsonDocument>

#include <algorithm>
#include <cstring>
#include <ctime>
#include <functional>
#include <limits>
#include <utility>

namespace {

class Iterator : public JsonDataIteratorObjectBase {
public:
    using Compute = std::function<void(QJsonObject&, QJsonValue&)>;

    explicit Iterator(Compute function)
        : visit(std::move(function))
    {
    }

    void compute(QJsonObject& object, QJsonValue& result) override
    {
        visit(object, result);
    }

private:
    Compute visit;
};

class NothingDoer : public JsonDataIteratorObjectBase {
public:
    void compute(QJsonObject&, QJsonValue&) override
    {
    }
};

void walk(QJsonValue& document, const Iterator::Compute& visit)
{
    Iterator iterator(visit);
    QJsonValue result;
    walkJson(document, iterator, result);
}

QString idOf(const QJsonObject& object)
{
    return object.value(u"id"_qs).toString();
}

/// Whether both containers share their data; equal data is not enough. The containers consist only of pointers, so
/// their bytes can be compared.
template <typename Container>
bool shareData(const Container& a, const Container& b)
{
    return std::memcmp(&a, &b, sizeof a) == 0;
}

/// `depth` alternating levels of objects and arrays, with `innermost` in the last one.
QJsonValue nested(int depth, QJsonValue innermost)
{
    for (int level = depth; level > 0; --level) {
        if (level % 2 == 0) {
            innermost = QJsonArray({innermost});
        } else {
            innermost = QJsonObject({{u"a"_qs, innermost}});
        }
    }
    return innermost;
}

/// The value inside the outermost container of nested().
QJsonValue inside(const QJsonValue& value)
{
    return value.isObject() ? value.toObject().value(u"a"_qs) : value.toArray().first();
}

/// Frees a deep document level by level; Qt itself recurses.
void takeApart(QJsonValue& document)
{
    while (document.isObject() || document.isArray()) {
        document = inside(document);
    }
}

/// A manifest as after reading a file: nodes of nine selections each, with all members that a selection usually has.
QJsonValue manifestOf(int elements)
{
    constexpr int elementsOfNode = 10;
    QByteArray text = "[";
    for (int i = 0; i < elements; i += elementsOfNode) {
        const QByteArray node = QByteArray::number(i);
        text += R"({"dataSourceType":"JsonData","iconName":"folder","instanceName":")" + node
            + R"(","labelTextId":"TXT_FOLDER","selectionType":"Node","substructure":[)";
        for (int selection = 1; selection < elementsOfNode; ++selection) {
            text += R"({"bufferType":"ring","closeMode":"Manual","connectorId":7,"dataModel":"port","hide":false,)"
                    R"("iconName":"port","instanceName":")"
                + node + '/' + QByteArray::number(selection)
                + R"(","labelTextId":"TXT_PORT","lastModified":"","moduleName":"module","objectName":"object",)"
                  R"("selectionType":"Selection","selectorTypeList":["a","b"],"templateType":"port",)"
                  R"("uiJob":"OpenConfiguration"},)";
        }
        text.back() = ']';
        text += "},";
    }
    text.back() = ']';
    return arrayFrom(text.constData());
}

/// The processor time of one walk in seconds, which does not count other processes.
double secondsOf(QJsonValue document, JsonDataIteratorObjectBase& iterator)
{
    QJsonValue result;
    const std::clock_t begin = std::clock();
    walkJson(document, iterator, result);
    return static_cast<double>(std::clock() - begin) / CLOCKS_PER_SEC;
}

/// The ratio of the times of two walks. Both run `runs` times in turn, and the shortest time of each counts.
double timeRatio(int runs, const std::function<double()>& first, const std::function<double()>& second)
{
    double bestOfFirst = std::numeric_limits<double>::max();
    double bestOfSecond = std::numeric_limits<double>::max();
    for (int run = 0; run < runs; ++run) {
        bestOfFirst = std::min(bestOfFirst, first());
        bestOfSecond = std::min(bestOfSecond, second());
    }
    return bestOfFirst / bestOfSecond;
}

} // namespace

class tst_JsonWalk : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void parentsComeFirstAndMembersInOrder_data();
    void parentsComeFirstAndMembersInOrder();
    void valuesWithoutObjectsAreLeftAlone_data();
    void valuesWithoutObjectsAreLeftAlone();
    void accumulatorIsPassedOn_data();
    void accumulatorIsPassedOn();
    void editsReachDocument_data();
    void editsReachDocument();
    void addedMembersAreWalked();
    void removedMembersAreNotWalked();
    void replacedMembersAreWalkedInsteadOfOldOnes();
    void emptiedObjectIsWrittenBack();
    void copiesOfDocumentStayUnchanged();
    void untouchedDocumentKeepsItsData();
    void onlyPathToEditIsRewritten();
    void documentAsDeepAsQtParsesIsWalked();
    void deepestObjectCanBeEdited();
    void documentOf100000LevelsIsWalked();
    void wideDocumentIsWalked();
    void collectingCostsLittleMoreThanWalk();
    void costIsLinear_data();
    void costIsLinear();
};

void tst_JsonWalk::parentsComeFirstAndMembersInOrder_data()
{
    QTest::addColumn<QJsonValue>("document");
    QTest::addColumn<QString>("order");
    QTest::newRow("one object") << QJsonValue(objectFrom(R"({"id":"a"})")) << u"a"_qs;
    QTest::newRow("items by index") << QJsonValue(arrayFrom(R"([{"id":"c"},{"id":"a"},1,{"id":"b"}])")) << u"c a b"_qs;
    QTest::newRow("members by key") << QJsonValue(
        objectFrom(R"({"z":{"id":"z"},"id":"root","a":{"id":"a"},"":{"id":"empty"},"M":{"id":"M"}})"))
                                    << u"root empty M a z"_qs;
    QTest::newRow("depth before breadth")
        << QJsonValue(objectFrom(R"({"id":"root","a":{"id":"a","x":{"id":"ax"}},"b":{"id":"b","x":{"id":"bx"}}})"))
        << u"root a ax b bx"_qs;
    QTest::newRow("arrays in arrays") << QJsonValue(
        arrayFrom(R"([[[{"id":"a"}],[]],{"id":"b","x":[[{"id":"c"}],{"id":"d"}]},[{"id":"e"}]])"))
                                      << u"a b c d e"_qs;
    QTest::newRow("manifest") << QJsonValue(arrayFrom(
        R"([{"id":"main"},{"id":"Net","substructure":[{"id":"port"},{"id":"Deep","substructure":[{"id":"x"}]}]}])"))
                              << u"main Net port Deep x"_qs;
    QTest::newRow("equal objects") << QJsonValue(arrayFrom(R"([{"id":"a"},{"id":"a"},{"id":"a","x":{"id":"a"}}])"))
                                   << u"a a a a"_qs;
}

void tst_JsonWalk::parentsComeFirstAndMembersInOrder()
{
    QFETCH(const QJsonValue, document);
    QFETCH(const QString, order);
    QStringList visited;
    QJsonValue walked = document;
    walk(walked, [&](QJsonObject& object, QJsonValue&) { visited.append(idOf(object)); });
    QCOMPARE(visited.join(u' '), order);
    QCOMPARE(walked, document);
}

void tst_JsonWalk::valuesWithoutObjectsAreLeftAlone_data()
{
    QTest::addColumn<QJsonValue>("document");
    QTest::newRow("null") << QJsonValue();
    QTest::newRow("undefined") << QJsonValue(QJsonValue::Undefined);
    QTest::newRow("bool") << QJsonValue(true);
    QTest::newRow("number") << QJsonValue(1.5);
    QTest::newRow("string") << QJsonValue(u"{}"_qs);
    QTest::newRow("empty array") << QJsonValue(QJsonArray());
    QTest::newRow("arrays of values") << QJsonValue(arrayFrom(R"([[],[[null]],1,"a",[true]])"));
}

void tst_JsonWalk::valuesWithoutObjectsAreLeftAlone()
{
    QFETCH(const QJsonValue, document);
    QJsonValue walked = document;
    Iterator iterator([](QJsonObject&, QJsonValue&) { QFAIL("there is no object"); });
    QJsonValue result;
    walkJson(walked, iterator, result);
    QCOMPARE(walked, document);
    QCOMPARE(result, QJsonValue());
}

void tst_JsonWalk::accumulatorIsPassedOn_data()
{
    QTest::addColumn<QJsonValue>("accumulator");
    QTest::newRow("null") << QJsonValue();
    QTest::newRow("undefined") << QJsonValue(QJsonValue::Undefined);
    QTest::newRow("string") << QJsonValue(u"text"_qs);
    QTest::newRow("array") << QJsonValue(arrayFrom("[1]"));
}

void tst_JsonWalk::accumulatorIsPassedOn()
{
    QFETCH(const QJsonValue, accumulator);
    QJsonValue document = arrayFrom(R"([{"x":{}},{}])");
    QJsonValue result = accumulator;
    QVector<QJsonValue> received;
    Iterator iterator([&](QJsonObject&, QJsonValue& handedIn) {
        QCOMPARE(&handedIn, &result);
        received.append(handedIn);
        handedIn = received.size();
    });
    walkJson(document, iterator, result);
    QCOMPARE(received, QVector<QJsonValue>({accumulator, 1, 2}));
    QCOMPARE(result, QJsonValue(3));
}

void tst_JsonWalk::editsReachDocument_data()
{
    QTest::addColumn<QJsonValue>("document");
    QTest::addColumn<QString>("ids");
    QTest::addColumn<QJsonValue>("edited");
    const QJsonValue tree = arrayFrom(
        R"([{"id":"a"},[7,{"id":"b","x":[{"id":"c"},null,{"id":"d","y":{"id":"e"}}]}],{"id":"f","x":[[{"id":"g"}]]}])");
    QTest::newRow("root object") << QJsonValue(objectFrom(R"({"id":"a"})")) << u"a"_qs
                                 << QJsonValue(objectFrom(R"({"id":"a","new":1})"));
    QTest::newRow("member of the root object")
        << QJsonValue(objectFrom(R"({"id":"a","x":{"id":"b"},"y":{"id":"c"}})")) << u"c"_qs
        << QJsonValue(objectFrom(R"({"id":"a","x":{"id":"b"},"y":{"id":"c","new":1}})"));
    QTest::newRow("first item")
        << tree << u"a"_qs
        << QJsonValue(arrayFrom(
               R"([{"id":"a","new":1},[7,{"id":"b","x":[{"id":"c"},null,{"id":"d","y":{"id":"e"}}]}],
                   {"id":"f","x":[[{"id":"g"}]]}])"));
    QTest::newRow("parent, not its members")
        << tree << u"b"_qs
        << QJsonValue(arrayFrom(
               R"([{"id":"a"},[7,{"id":"b","new":1,"x":[{"id":"c"},null,{"id":"d","y":{"id":"e"}}]}],
                   {"id":"f","x":[[{"id":"g"}]]}])"));
    QTest::newRow("innermost ones")
        << tree << u"eg"_qs
        << QJsonValue(arrayFrom(
               R"([{"id":"a"},[7,{"id":"b","x":[{"id":"c"},null,{"id":"d","y":{"id":"e","new":1}}]}],
                   {"id":"f","x":[[{"id":"g","new":1}]]}])"));
    QTest::newRow("parent and member")
        << tree << u"de"_qs
        << QJsonValue(arrayFrom(
               R"([{"id":"a"},[7,{"id":"b","x":[{"id":"c"},null,{"id":"d","new":1,"y":{"id":"e","new":1}}]}],
                   {"id":"f","x":[[{"id":"g"}]]}])"));
    QTest::newRow("all") << tree << u"abcdefg"_qs
                         << QJsonValue(arrayFrom(
                                R"([{"id":"a","new":1},[7,{"id":"b","new":1,"x":[{"id":"c","new":1},null,
                   {"id":"d","new":1,"y":{"id":"e","new":1}}]}],
                   {"id":"f","new":1,"x":[[{"id":"g","new":1}]]}])"));
}

void tst_JsonWalk::editsReachDocument()
{
    QFETCH(const QJsonValue, document);
    QFETCH(const QString, ids);
    QFETCH(const QJsonValue, edited);
    QJsonValue walked = document;
    walk(walked, [&](QJsonObject& object, QJsonValue&) {
        if (ids.contains(idOf(object))) {
            object.insert(u"new"_qs, 1);
        }
    });
    QCOMPARE(walked, edited);
}

void tst_JsonWalk::addedMembersAreWalked()
{
    QJsonValue document = arrayFrom(R"([{"id":"a","m":{"id":"m"}}])");
    QStringList visited;
    walk(document, [&](QJsonObject& object, QJsonValue&) {
        visited.append(idOf(object));
        if (idOf(object) == u"a"_qs) {
            object.insert(u"b"_qs, objectFrom(R"({"id":"before"})"));
            object.insert(u"z"_qs, arrayFrom(R"([{"id":"after"}])"));
        } else {
            object.insert(u"new"_qs, 1);
        }
    });
    QCOMPARE(visited, QStringList({u"a"_qs, u"before"_qs, u"m"_qs, u"after"_qs}));
    QCOMPARE(document, QJsonValue(arrayFrom(R"([{"id":"a","b":{"id":"before","new":1},"m":{"id":"m","new":1},
                                  "z":[{"id":"after","new":1}]}])")));
}

void tst_JsonWalk::removedMembersAreNotWalked()
{
    QJsonValue document = arrayFrom(R"([{"id":"a","b":{"id":"b"},"m":{"id":"m"},"z":[{"id":"z"}]}])");
    QStringList visited;
    walk(document, [&](QJsonObject& object, QJsonValue&) {
        visited.append(idOf(object));
        object.remove(u"b"_qs);
        object.remove(u"z"_qs);
    });
    QCOMPARE(visited, QStringList({u"a"_qs, u"m"_qs}));
    QCOMPARE(document, QJsonValue(arrayFrom(R"([{"id":"a","m":{"id":"m"}}])")));
}

void tst_JsonWalk::replacedMembersAreWalkedInsteadOfOldOnes()
{
    QJsonValue document = objectFrom(R"({"id":"a","m":{"id":"old"}})");
    QStringList visited;
    walk(document, [&](QJsonObject& object, QJsonValue&) {
        visited.append(idOf(object));
        if (idOf(object) == u"a"_qs) {
            object = objectFrom(R"({"id":"b","m":[{"id":"new"}]})");
        }
    });
    QCOMPARE(visited, QStringList({u"a"_qs, u"new"_qs}));
    QCOMPARE(document, QJsonValue(objectFrom(R"({"id":"b","m":[{"id":"new"}]})")));
}

void tst_JsonWalk::emptiedObjectIsWrittenBack()
{
    QJsonValue document = arrayFrom(R"([{"id":"a","m":{"id":"m"}},{"id":"b"}])");
    walk(document, [](QJsonObject& object, QJsonValue&) {
        if (idOf(object) == u"a"_qs) {
            object = QJsonObject();
        }
    });
    QCOMPARE(document, QJsonValue(arrayFrom(R"([{},{"id":"b"}])")));
}

void tst_JsonWalk::copiesOfDocumentStayUnchanged()
{
    const QJsonArray before = arrayFrom(R"([{"id":"a","m":[{"id":"m"}]}])");
    QJsonValue document = before;
    const QJsonValue member = before.first().toObject().value(u"m"_qs);
    walk(document, [](QJsonObject& object, QJsonValue&) { object.insert(u"new"_qs, 1); });
    QCOMPARE(document, QJsonValue(arrayFrom(R"([{"id":"a","m":[{"id":"m","new":1}],"new":1}])")));
    QCOMPARE(before, arrayFrom(R"([{"id":"a","m":[{"id":"m"}]}])"));
    QCOMPARE(member, QJsonValue(arrayFrom(R"([{"id":"m"}])")));
}

void tst_JsonWalk::untouchedDocumentKeepsItsData()
{
    const QJsonArray before = arrayFrom(R"([{"id":"a","m":[{"id":"m"}]},[{"id":"b"}]])");
    QJsonValue document = before;
    const QJsonObject firstItem = before.first().toObject();
    walk(document, [](QJsonObject& object, QJsonValue&) {
        // Read the object, edit it and undo the edit.
        object.insert(u"new"_qs, idOf(object));
        object.remove(u"new"_qs);
    });
    QVERIFY(shareData(document.toArray(), before));
    QVERIFY(shareData(document.toArray().first().toObject(), firstItem));
}

void tst_JsonWalk::onlyPathToEditIsRewritten()
{
    const QJsonArray before = arrayFrom(R"([{"id":"a","m":[{"id":"m"}]},{"id":"b","x":{"id":"c"},"y":{"id":"d"}}])");
    QJsonValue document = before;
    walk(document, [](QJsonObject& object, QJsonValue&) {
        if (idOf(object) == u"c"_qs) {
            object.insert(u"new"_qs, 1);
        }
    });
    const QJsonArray after = document.toArray();
    QCOMPARE(after, arrayFrom(R"([{"id":"a","m":[{"id":"m"}]},{"id":"b","x":{"id":"c","new":1},"y":{"id":"d"}}])"));
    QVERIFY(!shareData(after, before));
    QVERIFY(shareData(after.at(0).toObject(), before.at(0).toObject()));
    QVERIFY(!shareData(after.at(1).toObject(), before.at(1).toObject()));
    const QString sibling = u"y"_qs;
    QVERIFY(
        shareData(after.at(1).toObject().value(sibling).toObject(), before.at(1).toObject().value(sibling).toObject()));
}

void tst_JsonWalk::documentAsDeepAsQtParsesIsWalked()
{
    constexpr int depth = 1024;
    const QByteArray text = QByteArray(R"({"a":[)").repeated(depth / 2) + QByteArray("]}").repeated(depth / 2);
    QJsonValue document = objectFrom(text.constData());
    int visited = 0;
    walk(document, [&](QJsonObject& object, QJsonValue&) {
        ++visited;
        object.insert(u"b"_qs, 1);
    });
    QCOMPARE(visited, depth / 2);
    QCOMPARE(compact({document}), "[" + QByteArray(text).replace("]}", R"(],"b":1})") + "]");
}

void tst_JsonWalk::deepestObjectCanBeEdited()
{
    constexpr int depth = 20000;
    QJsonValue document = nested(depth, objectFrom(R"({"id":"deepest"})"));
    walk(document, [](QJsonObject& object, QJsonValue&) {
        if (idOf(object) == u"deepest"_qs) {
            object.insert(u"new"_qs, 1);
        }
    });
    for (int level = 0; level < depth; ++level) {
        document = inside(document);
    }
    QCOMPARE(document, QJsonValue(objectFrom(R"({"id":"deepest","new":1})")));
}

void tst_JsonWalk::documentOf100000LevelsIsWalked()
{
    MessageRecorder log;
    constexpr int depth = 100000;
    QJsonValue document = nested(depth, objectFrom(R"({"instanceName":"deepest","selectionType":"Selection"})"));
    JsonDataIteratorConfigurationInstanceCollector collector;
    QJsonValue result;
    walkJson(document, collector, result);
    takeApart(document);
    QCOMPARE(result, QJsonValue(arrayFrom(R"(["deepest"])")));
}

void tst_JsonWalk::wideDocumentIsWalked()
{
    constexpr int width = 20000;
    QJsonArray items;
    for (int i = 0; i < width; ++i) {
        items.append(QJsonObject({{u"n"_qs, i}}));
    }
    QJsonValue document = items;
    int next = 0;
    walk(document, [&](QJsonObject& object, QJsonValue&) {
        QCOMPARE(object.value(u"n"_qs), QJsonValue(next));
        ++next;
        object.insert(u"n"_qs, -next);
    });
    QCOMPARE(next, width);
    const QJsonArray walked = document.toArray();
    QCOMPARE(walked.size(), width);
    for (int i = 0; i < width; ++i) {
        QCOMPARE(walked.at(i), QJsonValue(QJsonObject({{u"n"_qs, -i - 1}})));
    }
}

void tst_JsonWalk::collectingCostsLittleMoreThanWalk()
{
    const QJsonValue manifest = manifestOf(20000);
    JsonDataIteratorConfigurationInstanceCollector collector;
    NothingDoer nothing;
    const double ratio = timeRatio(
        9, [&] { return secondsOf(manifest, collector); }, [&] { return secondsOf(manifest, nothing); });
    qInfo("A walk with the collector takes %.2f times as long as one without.", ratio);
#ifndef MEMORY_CHECKED
    QVERIFY2(ratio < 3, qPrintable(QString::number(ratio)));
#endif
}

void tst_JsonWalk::costIsLinear_data()
{
    QTest::addColumn<bool>("editing");
    QTest::addColumn<int>("elements");
    QTest::newRow("collecting names") << false << 20000;
    QTest::newRow("editing every element and collecting it") << true << 5000;
}

void tst_JsonWalk::costIsLinear()
{
    QFETCH(const bool, editing);
    QFETCH(const int, elements);
    JsonDataIteratorConfigurationInstanceCollector collector;
    JsonDataIteratorConfigurationInstanceListUpdater updater;
    updater.init(u"a"_qs, u"key"_qs, 1);
    JsonDataIteratorObjectBase& iterator = editing ? static_cast<JsonDataIteratorObjectBase&>(updater)
                                                   : static_cast<JsonDataIteratorObjectBase&>(collector);

    const QJsonObject element = objectFrom(R"({"instanceName":"a","key":0,"selectionType":"Selection"})");
    const auto arrayOf = [&](int size) {
        QJsonArray array;
        for (int i = 0; i < size; ++i) {
            array.append(element);
        }
        return QJsonValue(array);
    };
    const QJsonValue small = arrayOf(elements);
    const QJsonValue large = arrayOf(4 * elements);
    const double ratio = timeRatio(
        5, [&] { return secondsOf(large, iterator); }, [&] { return secondsOf(small, iterator); });
    qInfo("Four times the elements take %.2f times as long.", ratio);
    // 8 is the geometric mean of linear (4) and quadratic (16) growth.
    QVERIFY2(ratio < 8, qPrintable(QString::number(ratio)));
}

MANIFEST_TEST_MAIN(tst_JsonWalk)

#include "tst_jsonwalk.moc"
