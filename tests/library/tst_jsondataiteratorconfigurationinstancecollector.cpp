#include "Accumulators.h"
#include "ConfigurationManifestCreator.h"
#include "Files.h"
#include "JsonDataIteratorConfigurationInstanceCollector.h"
#include "Literals.h"
#include "MessageRecorder.h"
#include "SystemInformationManagerRegistryDefinitions.h"
#include "TestMain.h"
#include "substitute/JsonWalk.h"

#include <QtCore/QTemporaryDir>

#include <array>
#include <memory>
#include <thread>
#include <type_traits>

using Collector = JsonDataIteratorConfigurationInstanceCollector;
using Registry = SystemInformationManagerRegistryDefinitions;

static_assert(std::is_base_of_v<JsonDataIteratorObjectBase, Collector>);
static_assert(!std::is_base_of_v<QObject, Collector>);
static_assert(sizeof(Collector) == sizeof(JsonDataIteratorObjectBase));

namespace {

Message warningOfCompute(const QString& text)
{
    return warning(
        text, "virtual void JsonDataIteratorConfigurationInstanceCollector::compute(QJsonObject&, QJsonValue&)");
}

QJsonObject selectionNamed(const QString& instanceName)
{
    return {{Registry::getKeySelectionType(), Registry::SelectionTypeValues::getSelection()},
        {Registry::getKeyInstanceName(), instanceName}};
}

QJsonValue names(const QStringList& names)
{
    return QJsonArray::fromStringList(names);
}

} // namespace

class tst_JsonDataIteratorConfigurationInstanceCollector : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void selectionsAreCollected_data();
    void selectionsAreCollected();
    void everythingButSelectionsIsSkippedSilently_data();
    void everythingButSelectionsIsSkippedSilently();
    void unreadableElementsAreReportedAndSkipped_data();
    void unreadableElementsAreReportedAndSkipped();
    void accumulatorThatIsNotArrayCollectsNothing_data();
    void accumulatorThatIsNotArrayCollectsNothing();
    void accumulatorThatIsArrayKeepsItsItems();
    void duplicatesAreKeptInOrder();
    void failuresDoNotStopCollection();
    void copyOfAccumulatorStaysUnchanged();
    void oneCollectorServesSeveralWalks();
    void oneCollectorServesSeveralThreads();
    void collectorWorksThroughItsBase();
    void everySelectionOfCreatedManifestIsCollected();
};

void tst_JsonDataIteratorConfigurationInstanceCollector::selectionsAreCollected_data()
{
    QTest::addColumn<QJsonObject>("object");
    QTest::addColumn<QString>("name");
    QTest::newRow("plain name") << objectFrom(R"({"selectionType":"Selection","instanceName":"main"})") << u"main"_qs;
    QTest::newRow("whole path text") << objectFrom(R"({"selectionType":"Selection","instanceName":"folder/file"})")
                                     << u"folder/file"_qs;
    QTest::newRow("slashes at both ends")
        << objectFrom(R"({"selectionType":"Selection","instanceName":"/a//b/"})") << u"/a//b/"_qs;
    QTest::newRow("empty name") << objectFrom(R"({"selectionType":"Selection","instanceName":""})") << u""_qs;
    QTest::newRow("spaces kept") << objectFrom(R"({"selectionType":"Selection","instanceName":" a "})") << u" a "_qs;
    QTest::newRow("beyond ASCII") << objectFrom(R"({"selectionType":"Selection","instanceName":"Größe \"1\""})")
                                  << u"Gr\u00f6\u00dfe \"1\""_qs;
    QTest::newRow("other members") << objectFrom(
        R"({"":0,"instanceName":"main","selectionType":"Selection","substructure":[{"instanceName":"child"}]})")
                                   << u"main"_qs;
}

void tst_JsonDataIteratorConfigurationInstanceCollector::selectionsAreCollected()
{
    QFETCH(const QJsonObject, object);
    QFETCH(const QString, name);
    MessageRecorder log;
    QJsonObject visited = object;
    QJsonValue result;
    Collector().compute(visited, result);
    QCOMPARE(result, names({name}));
    QCOMPARE(visited, object);
}

void tst_JsonDataIteratorConfigurationInstanceCollector::everythingButSelectionsIsSkippedSilently_data()
{
    QTest::addColumn<QJsonObject>("object");
    QTest::newRow("empty object") << QJsonObject();
    QTest::newRow("no selection type") << objectFrom(R"({"instanceName":"main"})");
    QTest::newRow("selection type under a key in another case")
        << objectFrom(R"({"SelectionType":"Selection","instanceName":"main"})");
    QTest::newRow("node") << objectFrom(R"({"selectionType":"Node","instanceName":"Net","substructure":[]})");
    QTest::newRow("node without a name") << objectFrom(R"({"selectionType":"Node"})");
    QTest::newRow("node with an unreadable name") << objectFrom(R"({"selectionType":"Node","instanceName":1})");
    QTest::newRow("selection in another case") << objectFrom(R"({"selectionType":"selection","instanceName":"main"})");
    QTest::newRow("longer type") << objectFrom(R"({"selectionType":"Selections","instanceName":"main"})");
    QTest::newRow("shorter type") << objectFrom(R"({"selectionType":"Selectio","instanceName":"main"})");
    QTest::newRow("empty type") << objectFrom(R"({"selectionType":"","instanceName":"main"})");
}

void tst_JsonDataIteratorConfigurationInstanceCollector::everythingButSelectionsIsSkippedSilently()
{
    QFETCH(const QJsonObject, object);
    MessageRecorder log;
    QJsonObject visited = object;
    QJsonValue result;
    Collector().compute(visited, result);
    QCOMPARE(result, names({}));
    QCOMPARE(visited, object);
}

void tst_JsonDataIteratorConfigurationInstanceCollector::unreadableElementsAreReportedAndSkipped_data()
{
    QTest::addColumn<QJsonObject>("object");
    QTest::addColumn<QString>("message");
    const auto row = [](const char* title, const char* json, const QString& text) {
        QTest::newRow(title) << objectFrom(json)
                             << QString(text % u" QJsonObject("_qs % QString::fromUtf8(json) % u") !"_qs);
    };
    const QString typeMessage = u"Error on reading selection type from json object:"_qs;
    row("type is a number", R"({"instanceName":"main","selectionType":1})", typeMessage);
    row("type is null", R"({"instanceName":"main","selectionType":null})", typeMessage);
    row("type is a bool", R"({"instanceName":"main","selectionType":true})", typeMessage);
    row("type is an array", R"({"instanceName":"main","selectionType":["Selection"]})", typeMessage);
    row("type is an object", R"({"instanceName":"main","selectionType":{"a":"Selection"}})", typeMessage);
    row("neither type nor name", R"({"selectionType":0})", typeMessage);

    const QString missingName = u"Selection does not contain an instanceName:"_qs;
    row("no name", R"({"selectionType":"Selection"})", missingName);
    row("name under a key in another case", R"({"InstanceName":"main","selectionType":"Selection"})", missingName);

    const QString nameMessage = u"Error on reading instance name from selection:"_qs;
    row("name is a number", R"({"instanceName":1.5,"selectionType":"Selection"})", nameMessage);
    row("name is null", R"({"instanceName":null,"selectionType":"Selection"})", nameMessage);
    row("name is a bool", R"({"instanceName":false,"selectionType":"Selection"})", nameMessage);
    row("name is an array", R"({"instanceName":["main"],"selectionType":"Selection"})", nameMessage);
    row("name is an object", R"({"instanceName":{},"selectionType":"Selection"})", nameMessage);
}

void tst_JsonDataIteratorConfigurationInstanceCollector::unreadableElementsAreReportedAndSkipped()
{
    QFETCH(const QJsonObject, object);
    QFETCH(const QString, message);
    MessageRecorder log;
    QJsonObject visited = object;
    QJsonValue result;
    Collector().compute(visited, result);
    QCOMPARE(log.take(), Messages({warningOfCompute(message)}));
    QCOMPARE(result, names({}));
    QCOMPARE(visited, object);
}

void tst_JsonDataIteratorConfigurationInstanceCollector::accumulatorThatIsNotArrayCollectsNothing_data()
{
    addAccumulatorsThatAreNoArray();
}

void tst_JsonDataIteratorConfigurationInstanceCollector::accumulatorThatIsNotArrayCollectsNothing()
{
    QFETCH(const QJsonValue, accumulator);
    MessageRecorder log;
    QJsonValue result = accumulator;
    QJsonObject selection = selectionNamed(u"main"_qs);
    Collector().compute(selection, result);
    QCOMPARE(result, accumulator);

    QJsonObject unreadable = objectFrom(R"({"selectionType":"Selection"})");
    Collector().compute(unreadable, result);
    QCOMPARE(log.take(),
        Messages({warningOfCompute(
            uR"(Selection does not contain an instanceName: QJsonObject({"selectionType":"Selection"}) !)"_qs)}));
    QCOMPARE(result, accumulator);
}

void tst_JsonDataIteratorConfigurationInstanceCollector::accumulatorThatIsArrayKeepsItsItems()
{
    MessageRecorder log;
    QJsonValue result = arrayFrom(R"([null,1,["x"]])");
    QJsonObject selection = selectionNamed(u"main"_qs);
    Collector().compute(selection, result);
    QCOMPARE(result, QJsonValue(arrayFrom(R"([null,1,["x"],"main"])")));
}

void tst_JsonDataIteratorConfigurationInstanceCollector::duplicatesAreKeptInOrder()
{
    MessageRecorder log;
    const QStringList visited = {u"b"_qs, u"a"_qs, u"b"_qs, u"b"_qs};
    QJsonValue result;
    for (const QString& name : visited) {
        QJsonObject selection = selectionNamed(name);
        Collector().compute(selection, result);
    }
    QCOMPARE(result, names(visited));
}

void tst_JsonDataIteratorConfigurationInstanceCollector::failuresDoNotStopCollection()
{
    MessageRecorder log;
    QJsonValue manifest = arrayFrom(R"([
        {"selectionType":"Selection","instanceName":"a"},
        {"selectionType":2},
        {"selectionType":"Selection"},
        {"selectionType":"Selection","instanceName":3},
        {"selectionType":"Selection","instanceName":"b"}])");
    Collector collector;
    QJsonValue result;
    walkJson(manifest, collector, result);
    QCOMPARE(log.take(),
        Messages({
            warningOfCompute(
                uR"(Error on reading selection type from json object: QJsonObject({"selectionType":2}) !)"_qs),
            warningOfCompute(
                uR"(Selection does not contain an instanceName: QJsonObject({"selectionType":"Selection"}) !)"_qs),
            warningOfCompute(u"Error on reading instance name from selection: "
                             R"(QJsonObject({"instanceName":3,"selectionType":"Selection"}) !)"_qs),
        }));
    QCOMPARE(result, names({u"a"_qs, u"b"_qs}));
}

void tst_JsonDataIteratorConfigurationInstanceCollector::copyOfAccumulatorStaysUnchanged()
{
    MessageRecorder log;
    QJsonValue result;
    QJsonObject first = selectionNamed(u"first"_qs);
    Collector().compute(first, result);
    const QJsonValue copy = result;
    QJsonObject second = selectionNamed(u"second"_qs);
    Collector().compute(second, result);
    QCOMPARE(copy, names({u"first"_qs}));
    QCOMPARE(result, names({u"first"_qs, u"second"_qs}));
}

void tst_JsonDataIteratorConfigurationInstanceCollector::oneCollectorServesSeveralWalks()
{
    MessageRecorder log;
    Collector collector;
    QJsonValue even;
    QJsonValue odd;
    for (int i = 0; i < 4; ++i) {
        QJsonObject selection = selectionNamed(QString::number(i));
        collector.compute(selection, i % 2 == 0 ? even : odd);
    }
    QCOMPARE(even, names({u"0"_qs, u"2"_qs}));
    QCOMPARE(odd, names({u"1"_qs, u"3"_qs}));
}

void tst_JsonDataIteratorConfigurationInstanceCollector::oneCollectorServesSeveralThreads()
{
    MessageRecorder log;
    QStringList expected;
    QJsonArray manifest;
    for (int i = 0; i < 2000; ++i) {
        expected.append(QString::number(i));
        manifest.append(selectionNamed(expected.constLast()));
    }
    Collector collector;
    std::array<QJsonValue, 4> results;
    std::array<std::thread, 4> threads;
    for (std::size_t i = 0; i < threads.size(); ++i) {
        threads[i] = std::thread([&collector, &result = results[i], document = QJsonValue(manifest)]() mutable {
            walkJson(document, collector, result);
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    for (const QJsonValue& result : results) {
        QCOMPARE(result, names(expected));
    }
}

void tst_JsonDataIteratorConfigurationInstanceCollector::collectorWorksThroughItsBase()
{
    MessageRecorder log;
    const std::unique_ptr<JsonDataIteratorObjectBase> iterator = std::make_unique<Collector>();
    QVERIFY(dynamic_cast<Collector*>(iterator.get()) != nullptr);
    QJsonObject selection = selectionNamed(u"main"_qs);
    QJsonValue result;
    iterator->compute(selection, result);
    QCOMPARE(result, names({u"main"_qs}));
}

void tst_JsonDataIteratorConfigurationInstanceCollector::everySelectionOfCreatedManifestIsCollected()
{
    MessageRecorder log;
    const QTemporaryDir folder;
    const QString root = folder.path();
    writeFile(root % u"/main.config.json"_qs, R"({"hide":false,"displayPosition":2})");
    writeFile(root % u"/a.config.json"_qs, R"({"hide":false,"displayPosition":1})");
    writeFile(root % u"/Net/Folder.menu.json"_qs, R"({"displayPosition":1})");
    writeFile(root % u"/Net/port.config.json"_qs,
        R"({"hide":true,"displayPosition":1,"selectorTypeList":[{"instanceName":"no element"}]})");
    writeFile(root % u"/Net/named.config.json"_qs, R"({"hide":true,"displayPosition":2,"instanceName":"main"})");
    writeFile(root % u"/Net/Deep/Folder.menu.json"_qs, R"({"displayPosition":1})");
    writeFile(root % u"/Net/Deep/x.config.json"_qs, R"({"hide":false,"displayPosition":1})");
    writeFile(root % u"/Net/Deep/x.process.json"_qs, R"({})");
    QVERIFY(ConfigurationManifestCreator().create2(root, u"configuration"_qs));

    const QByteArray written = readFile(root % u"/configuration.manifest.json"_qs);
    QJsonValue manifest = arrayFrom(written.constData());
    Collector collector;
    QJsonValue result;
    walkJson(manifest, collector, result);
    QCOMPARE(result, QJsonValue(arrayFrom(R"(["a","main","Net/port","main","Net/Deep/x"])")));
    QCOMPARE(compact(manifest.toArray()), written);
}

MANIFEST_TEST_MAIN(tst_JsonDataIteratorConfigurationInstanceCollector)

#include "tst_jsondataiteratorconfigurationinstancecollector.moc"
