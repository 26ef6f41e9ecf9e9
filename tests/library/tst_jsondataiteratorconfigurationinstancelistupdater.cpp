#include "Accumulators.h"
#include "ConfigurationManifestCreator.h"
#include "Files.h"
#include "JsonDataIteratorConfigurationInstanceListUpdater.h"
#include "Literals.h"
#include "MessageRecorder.h"
#include "SystemInformationManagerRegistryDefinitions.h"
#include "TestMain.h"
#include "substitute/JsonWalk.h"

#include <QtCore/QTemporaryDir>

#include <array>
#include <cmath>
#include <limits>
#include <memory>
#include <thread>
#include <type_traits>

using Updater = JsonDataIteratorConfigurationInstanceListUpdater;
using Registry = SystemInformationManagerRegistryDefinitions;

static_assert(std::is_base_of_v<JsonDataIteratorObjectBase, Updater>);
static_assert(!std::is_base_of_v<QObject, Updater>);

namespace {

enum Mode { Overwriting, Adding, Removing };

Message warningOfCompute(const QString& text)
{
    return warning(
        text, "virtual void JsonDataIteratorConfigurationInstanceListUpdater::compute(QJsonObject&, QJsonValue&)");
}

Message removingIsSwitchedOff()
{
    return warning(u"Removing of keys is already enabled and will be disabled!"_qs,
        "void JsonDataIteratorConfigurationInstanceListUpdater::setAddKey(bool)");
}

Message addingIsSwitchedOff()
{
    return warning(u"Adding of keys is already enabled and will be disabled!"_qs,
        "void JsonDataIteratorConfigurationInstanceListUpdater::setRemoveKey(bool)");
}

Updater configured(Mode mode, const char* instanceName, const char* key, const QVariant& value = {})
{
    Updater updater;
    updater.init(QString::fromUtf8(instanceName), QString::fromUtf8(key), value);
    updater.setAddKey(mode == Adding);
    updater.setRemoveKey(mode == Removing);
    return updater;
}

QByteArray textOf(const QJsonValue& value)
{
    return compact({value});
}

} // namespace

Q_DECLARE_METATYPE(Mode)

class tst_JsonDataIteratorConfigurationInstanceListUpdater : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void ownKeyIsImportedOne();
    void lastModeSetWins_data();
    void lastModeSetWins();
    void initLeavesModes();
    void objectsPresentedWhileModesChangeAreEditedByTheirKey_data();
    void objectsPresentedWhileModesChangeAreEditedByTheirKey();
    void modeDecidesWhetherKeyIsSetAddedOrRemoved_data();
    void modeDecidesWhetherKeyIsSetAddedOrRemoved();
    void otherObjectsAreSkippedSilently_data();
    void otherObjectsAreSkippedSilently();
    void elementsMatchByTheirWholeName_data();
    void elementsMatchByTheirWholeName();
    void elementWithoutNameIsReported_data();
    void elementWithoutNameIsReported();
    void missingKeyIsReported_data();
    void missingKeyIsReported();
    void equalValueIsWrittenAndCollected();
    void withoutInitEmptyKeyOfEmptyNameIsWritten_data();
    void withoutInitEmptyKeyOfEmptyNameIsWritten();
    void valueIsWrittenAsJson_data();
    void valueIsWrittenAsJson();
    void instanceNameAndTypeCanBeEdited();
    void accumulatorThatIsNotArrayCollectsNothing_data();
    void accumulatorThatIsNotArrayCollectsNothing();
    void accumulatorThatIsArrayKeepsItsItems();
    void collectedObjectIsCopy();
    void configurationMayChangeBetweenObjects();
    void otherMembersKeepTheirText_data();
    void otherMembersKeepTheirText();
    void integersBeyondRangeOfDoubleAreRounded_data();
    void integersBeyondRangeOfDoubleAreRounded();
    void otherNumbersKeepTheirValue_data();
    void otherNumbersKeepTheirValue();
    void numberThatJsonCannotExpressBecomesNull_data();
    void numberThatJsonCannotExpressBecomesNull();
    void everyMatchIsEditedInWalkOrder();
    void matchesWithinMatchesAreEdited();
    void matchesNestedAsDeepAsQtParsesAreEdited();
    void oneUpdaterServesSeveralThreads();
    void updaterWorksThroughItsBase();
    void oneElementOfCreatedManifestIsEdited_data();
    void oneElementOfCreatedManifestIsEdited();
};

void tst_JsonDataIteratorConfigurationInstanceListUpdater::ownKeyIsImportedOne()
{
    QCOMPARE(Updater::getKeyInstanceName(), u"instanceName"_qs);
    QCOMPARE(Updater::getKeyInstanceName(), Registry::getKeyInstanceName());
    QCOMPARE(&Updater::getKeyInstanceName(), &Updater::getKeyInstanceName());
}

void tst_JsonDataIteratorConfigurationInstanceListUpdater::lastModeSetWins_data()
{
    QTest::addColumn<QString>("steps");
    QTest::addColumn<bool>("adding");
    QTest::addColumn<bool>("removing");
    QTest::addColumn<Messages>("messages");
    // A and R switch adding and removing on, a and r switch them off.
    const auto row = [](const char* steps, bool adding, bool removing, const Messages& messages = {}) {
        QTest::newRow(*steps == '\0' ? "none" : steps) << QString::fromLatin1(steps) << adding << removing << messages;
    };
    row("", false, false);
    row("A", true, false);
    row("R", false, true);
    row("a", false, false);
    row("r", false, false);
    row("AA", true, false);
    row("Aa", false, false);
    row("AR", false, true, {addingIsSwitchedOff()});
    row("Ar", true, false);
    row("RR", false, true);
    row("Rr", false, false);
    row("RA", true, false, {removingIsSwitchedOff()});
    row("Ra", false, true);
    row("aA", true, false);
    row("aR", false, true);
    row("rA", true, false);
    row("rR", false, true);
    row("ar", false, false);
    row("ARA", true, false, {addingIsSwitchedOff(), removingIsSwitchedOff()});
    row("RAR", false, true, {removingIsSwitchedOff(), addingIsSwitchedOff()});
    row("ARR", false, true, {addingIsSwitchedOff()});
    row("RAA", true, false, {removingIsSwitchedOff()});
    row("ARr", false, false, {addingIsSwitchedOff()});
    row("RAa", false, false, {removingIsSwitchedOff()});
    row("ARa", false, true, {addingIsSwitchedOff()});
    row("RAr", true, false, {removingIsSwitchedOff()});
    row("AaR", false, true);
    row("RrA", true, false);
}

void tst_JsonDataIteratorConfigurationInstanceListUpdater::lastModeSetWins()
{
    QFETCH(const QString, steps);
    QFETCH(const bool, adding);
    QFETCH(const bool, removing);
    QFETCH(const Messages, messages);
    MessageRecorder log;
    Updater updater;
    for (const QChar step : steps) {
        if (step.toLower() == u'a') {
            updater.setAddKey(step.isUpper());
        } else {
            updater.setRemoveKey(step.isUpper());
        }
    }
    QCOMPARE(updater.addKey(), adding);
    QCOMPARE(updater.removeKey(), removing);
    QCOMPARE(log.take(), messages);
}

void tst_JsonDataIteratorConfigurationInstanceListUpdater::initLeavesModes()
{
    MessageRecorder log;
    Updater adding;
    adding.setAddKey(true);
    adding.init(u"main"_qs, u"key"_qs, 1);
    QVERIFY(adding.addKey());
    QVERIFY(!adding.removeKey());

    Updater removing;
    removing.setRemoveKey(true);
    removing.init(u"main"_qs, u"key"_qs, 1);
    QVERIFY(removing.removeKey());
    QVERIFY(!removing.addKey());
}

void tst_JsonDataIteratorConfigurationInstanceListUpdater::objectsPresentedWhileModesChangeAreEditedByTheirKey_data()
{
    QTest::addColumn<bool>("addingWins");
    QTest::addColumn<QByteArray>("object");
    QTest::addColumn<QByteArray>("after");

    const QByteArray with = R"({"instanceName":"a","key":1,"selectionType":"Node"})";
    const QByteArray without = R"({"instanceName":"a","selectionType":"Node"})";
    const QByteArray written = R"({"instanceName":"a","key":2,"selectionType":"Node"})";
    for (const bool addingWins : {true, false}) {
        const char* const name = addingWins ? "removing is switched off" : "adding is switched off";
        QTest::addRow("%s, key present", name) << addingWins << with << without;
        QTest::addRow("%s, key missing", name) << addingWins << without << written;
    }
}

// While a setter logs its warning, both modes are on: an existing key is removed, and a missing one is added.
void tst_JsonDataIteratorConfigurationInstanceListUpdater::objectsPresentedWhileModesChangeAreEditedByTheirKey()
{
    QFETCH(const bool, addingWins);
    QFETCH(const QByteArray, object);
    QFETCH(const QByteArray, after);

    static Updater* current = nullptr;
    static QJsonObject edited;
    static QJsonValue collected;
    Updater updater = configured(addingWins ? Removing : Adding, "a", "key", 2);
    current = &updater;
    edited = objectFrom(object.constData());
    collected = QJsonValue();
    const QtMessageHandler previous = qInstallMessageHandler(
        [](QtMsgType, const QMessageLogContext&, const QString&) { current->compute(edited, collected); });
    addingWins ? updater.setAddKey(true) : updater.setRemoveKey(true);
    qInstallMessageHandler(previous);
    QCOMPARE(textOf(edited), '[' + after + ']');
    QCOMPARE(textOf(collected), "[[" + after + "]]");
}

void tst_JsonDataIteratorConfigurationInstanceListUpdater::modeDecidesWhetherKeyIsSetAddedOrRemoved_data()
{
    QTest::addColumn<Mode>("mode");
    QTest::addColumn<QJsonObject>("object");
    QTest::addColumn<QJsonObject>("edited");
    QTest::addColumn<Messages>("messages");
    const QJsonObject present = objectFrom(R"({"instanceName":"main","key":"old","selectionType":"Selection"})");
    const QJsonObject missing = objectFrom(R"({"instanceName":"main","selectionType":"Selection"})");
    const QJsonObject written = objectFrom(R"({"instanceName":"main","key":"new","selectionType":"Selection"})");
    const Messages warned(
        {warningOfCompute(u"Unable to find key \"key\" in jsonObject: "
                          R"(QJsonObject({"instanceName":"main","selectionType":"Selection"}) !)"_qs)});
    QTest::newRow("overwriting, present") << Overwriting << present << written << Messages();
    QTest::newRow("overwriting, missing") << Overwriting << missing << QJsonObject() << warned;
    QTest::newRow("adding, present") << Adding << present << written << Messages();
    QTest::newRow("adding, missing") << Adding << missing << written << Messages();
    QTest::newRow("removing, present") << Removing << present << missing << Messages();
    QTest::newRow("removing, missing") << Removing << missing << QJsonObject() << warned;
}

void tst_JsonDataIteratorConfigurationInstanceListUpdater::modeDecidesWhetherKeyIsSetAddedOrRemoved()
{
    QFETCH(const Mode, mode);
    QFETCH(const QJsonObject, object);
    QFETCH(const QJsonObject, edited);
    QFETCH(const Messages, messages);
    MessageRecorder log;
    QJsonObject visited = object;
    QJsonValue result;
    configured(mode, "main", "key", u"new"_qs).compute(visited, result);
    QCOMPARE(log.take(), messages);
    QCOMPARE(visited, messages.isEmpty() ? edited : object);
    QCOMPARE(result, QJsonValue(messages.isEmpty() ? QJsonArray({edited}) : QJsonArray()));
}

void tst_JsonDataIteratorConfigurationInstanceListUpdater::otherObjectsAreSkippedSilently_data()
{
    QTest::addColumn<QJsonObject>("object");
    QTest::newRow("empty object") << QJsonObject();
    QTest::newRow("no selection type") << objectFrom(R"({"instanceName":"folder/file","key":1})");
    QTest::newRow("neither selection type nor name") << objectFrom(R"({"key":1})");
    QTest::newRow("selection type in another case")
        << objectFrom(R"({"instanceName":"folder/file","SelectionType":"Selection","key":1})");
    const auto row = [](const char* title, const QJsonValue& name) {
        QTest::newRow(title) << QJsonObject {
            {u"instanceName"_qs, name}, {u"key"_qs, 1}, {u"selectionType"_qs, u"Selection"_qs}};
    };
    row("last segment", u"file"_qs);
    row("first segment", u"folder"_qs);
    row("longer path", u"top/folder/file"_qs);
    row("other case", u"Folder/file"_qs);
    row("slash in front", u"/folder/file"_qs);
    row("slash at the end", u"folder/file/"_qs);
    row("space at the end", u"folder/file "_qs);
    row("empty name", QString());
    row("name is null", QJsonValue());
    row("name is a number", 1);
    row("name is a bool", true);
    row("name is an array", QJsonArray({u"folder/file"_qs}));
    row("name is an object", QJsonObject({{u"instanceName"_qs, u"folder/file"_qs}}));
}

void tst_JsonDataIteratorConfigurationInstanceListUpdater::otherObjectsAreSkippedSilently()
{
    QFETCH(const QJsonObject, object);
    MessageRecorder log;
    for (const Mode mode : {Overwriting, Adding, Removing}) {
        QJsonObject visited = object;
        QJsonValue result;
        configured(mode, "folder/file", "key", 2).compute(visited, result);
        QCOMPARE(visited, object);
        QCOMPARE(result, QJsonValue(QJsonArray()));
    }
}

void tst_JsonDataIteratorConfigurationInstanceListUpdater::elementsMatchByTheirWholeName_data()
{
    QTest::addColumn<QJsonObject>("object");
    QTest::newRow("selection") << objectFrom(R"({"selectionType":"Selection","instanceName":"folder/file","key":1})");
    QTest::newRow("node") << objectFrom(R"({"selectionType":"Node","instanceName":"folder/file","key":1})");
    QTest::newRow("other kind") << objectFrom(R"({"selectionType":"selection","instanceName":"folder/file","key":1})");
    QTest::newRow("empty kind") << objectFrom(R"({"selectionType":"","instanceName":"folder/file","key":1})");
    QTest::newRow("kind is null") << objectFrom(R"({"selectionType":null,"instanceName":"folder/file","key":1})");
    QTest::newRow("kind is a number") << objectFrom(R"({"selectionType":7,"instanceName":"folder/file","key":1})");
}

void tst_JsonDataIteratorConfigurationInstanceListUpdater::elementsMatchByTheirWholeName()
{
    QFETCH(const QJsonObject, object);
    MessageRecorder log;
    QJsonObject visited = object;
    QJsonValue result;
    configured(Overwriting, "folder/file", "key", 2).compute(visited, result);
    QJsonObject edited = object;
    edited.insert(u"key"_qs, 2);
    QCOMPARE(visited, edited);
    QCOMPARE(result, QJsonValue(QJsonArray({edited})));
}

void tst_JsonDataIteratorConfigurationInstanceListUpdater::elementWithoutNameIsReported_data()
{
    QTest::addColumn<Mode>("mode");
    QTest::addColumn<QString>("key");
    QTest::addColumn<QJsonObject>("object");
    QTest::addColumn<QString>("message");
    const QJsonObject selection = objectFrom(R"({"key":1,"selectionType":"Selection"})");
    const QString ofSelection = u"Unable to find key instanceName in current json object: "
                                R"(QJsonObject({"key":1,"selectionType":"Selection"}) ( "key" )!)"_qs;
    QTest::newRow("overwriting") << Overwriting << u"key"_qs << selection << ofSelection;
    QTest::newRow("adding") << Adding << u"key"_qs << selection << ofSelection;
    QTest::newRow("removing") << Removing << u"key"_qs << selection << ofSelection;
    QTest::newRow("empty key") << Overwriting << QString() << selection
                               << u"Unable to find key instanceName in current json object: "
                                  R"(QJsonObject({"key":1,"selectionType":"Selection"}) ( "" )!)"_qs;
    QTest::newRow("name in another case")
        << Overwriting << u"key"_qs << objectFrom(R"({"InstanceName":"main","selectionType":"Node"})")
        << u"Unable to find key instanceName in current json object: "
           R"(QJsonObject({"InstanceName":"main","selectionType":"Node"}) ( "key" )!)"_qs;
    QTest::newRow("unreadable kind") << Overwriting << u"key"_qs << objectFrom(R"({"selectionType":null})")
                                     << u"Unable to find key instanceName in current json object: "
                                        R"(QJsonObject({"selectionType":null}) ( "key" )!)"_qs;
}

void tst_JsonDataIteratorConfigurationInstanceListUpdater::elementWithoutNameIsReported()
{
    QFETCH(const Mode, mode);
    QFETCH(const QString, key);
    QFETCH(const QJsonObject, object);
    QFETCH(const QString, message);
    MessageRecorder log;
    // A missing name does not match the empty name.
    for (const char* name : {"main", ""}) {
        QJsonObject visited = object;
        QJsonValue result;
        configured(mode, name, key.toUtf8().constData(), 2).compute(visited, result);
        QCOMPARE(log.take(), Messages({warningOfCompute(message)}));
        QCOMPARE(visited, object);
        QCOMPARE(result, QJsonValue(QJsonArray()));
    }
}

void tst_JsonDataIteratorConfigurationInstanceListUpdater::missingKeyIsReported_data()
{
    QTest::addColumn<QByteArray>("key");
    QTest::addColumn<QString>("shown");
    QTest::newRow("plain") << QByteArray("hide") << uR"("hide")"_qs;
    QTest::newRow("other case") << QByteArray("Key") << uR"("Key")"_qs;
    QTest::newRow("empty") << QByteArray("") << uR"("")"_qs;
    QTest::newRow("quoted") << QByteArray("a\"b") << uR"("a\"b")"_qs;
}

void tst_JsonDataIteratorConfigurationInstanceListUpdater::missingKeyIsReported()
{
    QFETCH(const QByteArray, key);
    QFETCH(const QString, shown);
    MessageRecorder log;
    const QJsonObject object = objectFrom(R"({"instanceName":"main","key":1,"selectionType":"Node"})");
    const Message message = warningOfCompute(u"Unable to find key "_qs % shown
        % uR"( in jsonObject: QJsonObject({"instanceName":"main","key":1,"selectionType":"Node"}) !)"_qs);
    for (const Mode mode : {Overwriting, Removing}) {
        QJsonObject visited = object;
        QJsonValue result;
        configured(mode, "main", key.constData(), 2).compute(visited, result);
        QCOMPARE(log.take(), Messages({message}));
        QCOMPARE(visited, object);
        QCOMPARE(result, QJsonValue(QJsonArray()));
    }
}

void tst_JsonDataIteratorConfigurationInstanceListUpdater::equalValueIsWrittenAndCollected()
{
    MessageRecorder log;
    const QJsonObject object = objectFrom(R"({"instanceName":"main","key":"same","selectionType":"Selection"})");
    QJsonObject visited = object;
    QJsonValue result;
    configured(Overwriting, "main", "key", u"same"_qs).compute(visited, result);
    configured(Adding, "main", "key", u"same"_qs).compute(visited, result);
    QCOMPARE(visited, object);
    QCOMPARE(result, QJsonValue(QJsonArray({object, object})));
}

void tst_JsonDataIteratorConfigurationInstanceListUpdater::withoutInitEmptyKeyOfEmptyNameIsWritten_data()
{
    QTest::addColumn<bool>("adding");
    QTest::addColumn<QJsonObject>("object");
    QTest::addColumn<QJsonValue>("collected");
    QTest::addColumn<Messages>("messages");
    const QJsonObject missing = objectFrom(R"({"instanceName":"","selectionType":"Node"})");
    QTest::newRow("named") << false << objectFrom(R"({"":1,"instanceName":"main","selectionType":"Node"})")
                           << QJsonValue(QJsonArray()) << Messages();
    // None of these matches the empty name.
    for (const char* name : {"null", "0", "false", "[]", "{}"}) {
        QTest::newRow(name)
            << true
            << objectFrom(
                   QByteArray(R"({"":1,"selectionType":"Node","instanceName":)" + QByteArray(name) + "}").constData())
            << QJsonValue(QJsonArray()) << Messages();
    }
    QTest::newRow("empty key present") << false << objectFrom(R"({"":1,"instanceName":"","selectionType":"Node"})")
                                       << QJsonValue(
                                              arrayFrom(R"([{"":null,"instanceName":"","selectionType":"Node"}])"))
                                       << Messages();
    QTest::newRow("empty key missing") << false << missing << QJsonValue(QJsonArray())
                                       << Messages({warningOfCompute(
                                              u"Unable to find key \"\" in jsonObject: "
                                              R"(QJsonObject({"instanceName":"","selectionType":"Node"}) !)"_qs)});
    QTest::newRow("empty key added") << true << missing
                                     << QJsonValue(arrayFrom(R"([{"":null,"instanceName":"","selectionType":"Node"}])"))
                                     << Messages();
}

void tst_JsonDataIteratorConfigurationInstanceListUpdater::withoutInitEmptyKeyOfEmptyNameIsWritten()
{
    QFETCH(const bool, adding);
    QFETCH(const QJsonObject, object);
    QFETCH(const QJsonValue, collected);
    QFETCH(const Messages, messages);
    MessageRecorder log;
    Updater updater;
    updater.setAddKey(adding);
    QJsonObject visited = object;
    QJsonValue result;
    updater.compute(visited, result);
    QCOMPARE(log.take(), messages);
    QCOMPARE(result, collected);
    QCOMPARE(visited, collected == QJsonValue(QJsonArray()) ? object : collected.toArray().first().toObject());
}

void tst_JsonDataIteratorConfigurationInstanceListUpdater::valueIsWrittenAsJson_data()
{
    QTest::addColumn<QVariant>("value");
    QTest::addColumn<QByteArray>("json");
    QTest::newRow("invalid") << QVariant() << QByteArray("null");
    QTest::newRow("null pointer") << QVariant::fromValue(nullptr) << QByteArray("null");
    QTest::newRow("JSON null") << QVariant(QJsonValue()) << QByteArray("null");
    QTest::newRow("string") << QVariant(u"text"_qs) << QByteArray(R"("text")");
    QTest::newRow("empty string") << QVariant(QString()) << QByteArray(R"("")");
    QTest::newRow("int") << QVariant(42) << QByteArray("42");
    QTest::newRow("negative int") << QVariant(-1) << QByteArray("-1");
    QTest::newRow("true") << QVariant(true) << QByteArray("true");
    QTest::newRow("false") << QVariant(false) << QByteArray("false");
    QTest::newRow("double") << QVariant(1.5) << QByteArray("1.5");
    QTest::newRow("whole double") << QVariant(1.0) << QByteArray("1");
    QTest::newRow("large double") << QVariant(1e300) << QByteArray("1e+300");
    QTest::newRow("2^53") << QVariant(9007199254740992LL) << QByteArray("9007199254740992");
    QTest::newRow("beyond 2^53") << QVariant(9007199254740993LL) << QByteArray("9007199254740992");
    QTest::newRow("list") << QVariant(QVariantList {1, u"a"_qs, QVariant(), QVariantList {}})
                          << QByteArray(R"([1,"a",null,[]])");
    QTest::newRow("empty list") << QVariant(QVariantList()) << QByteArray("[]");
    QTest::newRow("list of strings") << QVariant(QStringList {u"a"_qs, QString()}) << QByteArray(R"(["a",""])");
    QTest::newRow("map") << QVariant(QVariantMap {{u"b"_qs, QVariantMap {}}, {QString(), 1}, {u"a"_qs, true}})
                         << QByteArray(R"({"":1,"a":true,"b":{}})");
    QTest::newRow("empty map") << QVariant(QVariantMap()) << QByteArray("{}");
    QTest::newRow("JSON object") << QVariant(objectFrom(R"({"a":[1]})")) << QByteArray(R"({"a":[1]})");
    QTest::newRow("JSON array") << QVariant(arrayFrom(R"([{"a":1}])")) << QByteArray(R"([{"a":1}])");
}

void tst_JsonDataIteratorConfigurationInstanceListUpdater::valueIsWrittenAsJson()
{
    QFETCH(const QVariant, value);
    QFETCH(const QByteArray, json);
    MessageRecorder log;
    const QByteArray edited = R"([{"instanceName":"main","key":)" + json + R"(,"selectionType":"Selection"}])";

    QJsonObject present = objectFrom(R"({"instanceName":"main","key":{"old":1},"selectionType":"Selection"})");
    QJsonValue overwritten;
    configured(Overwriting, "main", "key", value).compute(present, overwritten);
    QCOMPARE(compact({present}), edited);
    QCOMPARE(compact(overwritten.toArray()), edited);

    QJsonObject missing = objectFrom(R"({"instanceName":"main","selectionType":"Selection"})");
    QJsonValue added;
    configured(Adding, "main", "key", value).compute(missing, added);
    QCOMPARE(compact({missing}), edited);
    QCOMPARE(compact(added.toArray()), edited);
}

void tst_JsonDataIteratorConfigurationInstanceListUpdater::instanceNameAndTypeCanBeEdited()
{
    MessageRecorder log;
    QJsonObject object = objectFrom(R"({"instanceName":"main","selectionType":"Selection"})");
    QJsonValue result;
    configured(Overwriting, "main", "instanceName", u"other"_qs).compute(object, result);
    QCOMPARE(object, objectFrom(R"({"instanceName":"other","selectionType":"Selection"})"));
    configured(Removing, "other", "selectionType").compute(object, result);
    QCOMPARE(object, objectFrom(R"({"instanceName":"other"})"));
    QCOMPARE(result,
        QJsonValue(arrayFrom(R"([{"instanceName":"other","selectionType":"Selection"},{"instanceName":"other"}])")));
}

void tst_JsonDataIteratorConfigurationInstanceListUpdater::accumulatorThatIsNotArrayCollectsNothing_data()
{
    addAccumulatorsThatAreNoArray();
}

void tst_JsonDataIteratorConfigurationInstanceListUpdater::accumulatorThatIsNotArrayCollectsNothing()
{
    QFETCH(const QJsonValue, accumulator);
    MessageRecorder log;
    const QJsonObject present = objectFrom(R"({"instanceName":"main","key":1,"selectionType":"Node"})");
    const QJsonObject missing = objectFrom(R"({"instanceName":"main","selectionType":"Node"})");
    const QJsonObject written = objectFrom(R"({"instanceName":"main","key":2,"selectionType":"Node"})");
    QJsonValue result = accumulator;

    QJsonObject overwritten = present;
    configured(Overwriting, "main", "key", 2).compute(overwritten, result);
    QCOMPARE(overwritten, written);
    QCOMPARE(result, accumulator);

    QJsonObject added = missing;
    configured(Adding, "main", "key", 2).compute(added, result);
    QCOMPARE(added, written);
    QCOMPARE(result, accumulator);

    QJsonObject removed = present;
    configured(Removing, "main", "key").compute(removed, result);
    QCOMPARE(removed, missing);
    QCOMPARE(result, accumulator);
}

void tst_JsonDataIteratorConfigurationInstanceListUpdater::accumulatorThatIsArrayKeepsItsItems()
{
    MessageRecorder log;
    QJsonValue result = arrayFrom(R"([null,1,["x"]])");
    QJsonObject object = objectFrom(R"({"instanceName":"main","key":1,"selectionType":"Node"})");
    configured(Overwriting, "main", "key", 2).compute(object, result);
    QCOMPARE(result, QJsonValue(arrayFrom(R"([null,1,["x"],{"instanceName":"main","key":2,"selectionType":"Node"}])")));
}

void tst_JsonDataIteratorConfigurationInstanceListUpdater::collectedObjectIsCopy()
{
    MessageRecorder log;
    QJsonValue result;
    QJsonObject object = objectFrom(R"({"instanceName":"main","key":1,"selectionType":"Node"})");
    configured(Overwriting, "main", "key", 2).compute(object, result);
    object.insert(u"key"_qs, 3);
    QCOMPARE(result, QJsonValue(arrayFrom(R"([{"instanceName":"main","key":2,"selectionType":"Node"}])")));
}

void tst_JsonDataIteratorConfigurationInstanceListUpdater::configurationMayChangeBetweenObjects()
{
    MessageRecorder log;
    Updater updater = configured(Overwriting, "main", "key", 1);
    QJsonObject object = objectFrom(R"({"instanceName":"main","key":0,"selectionType":"Node"})");
    QJsonValue result;
    updater.compute(object, result);
    updater.init(u"main"_qs, u"key"_qs, u"text"_qs);
    updater.compute(object, result);
    updater.setRemoveKey(true);
    updater.compute(object, result);
    updater.setRemoveKey(false);
    updater.setAddKey(true);
    updater.compute(object, result);
    updater.init(u"other"_qs, u"key"_qs, 1);
    updater.compute(object, result);
    QCOMPARE(result, QJsonValue(arrayFrom(R"([
        {"instanceName":"main","key":1,"selectionType":"Node"},
        {"instanceName":"main","key":"text","selectionType":"Node"},
        {"instanceName":"main","selectionType":"Node"},
        {"instanceName":"main","key":"text","selectionType":"Node"}])")));
}

void tst_JsonDataIteratorConfigurationInstanceListUpdater::otherMembersKeepTheirText_data()
{
    QTest::addColumn<QByteArray>("json");
    const auto row = [](const char* title, const QByteArray& json) { QTest::newRow(title) << json; };
    for (const char* number : {"0", "-0", "-0.0", "0.0", "1", "1.0", "-1", "1.5", "0.1", "0.30000000000000004", "1e5",
             "1e15", "1e17", "1e19", "1e300", "-1e300", "5e-324", "1.7976931348623157e308", "2147483648", "-2147483649",
             "4294967296", "9007199254740991", "9007199254740992", "9007199254740993", "-9007199254740993",
             "123456789012345680", "1152921504606846977", "9223372036854775807", "-9223372036854775808",
             "9223372036854775808", "18446744073709551615", "100000000000000000000"}) {
        row(number, number);
    }
    row("null", "null");
    row("true", "true");
    row("false", "false");
    row("empty string", R"("")");
    row("string of digits", R"("1.0")");
    row("string with a zero character", R"("a\u0000b")");
    row("string beyond the basic plane", R"("😀")");
    row("string with half a pair", R"("\ud800")");
    row("string with escapes", R"("\"\\\b\f\n\r\t/")");
    row("empty array", "[]");
    row("nested arrays", R"([[],[[]],[1,[2.5,[null,[true,""]]]]])");
    row("array of numbers", "[9007199254740993,1.0,-0.0,1e300,0.1]");
    row("empty object", "{}");
    row("empty keys", R"({"":{"":{"":""}}})");
    row("nested objects", R"({"a":{"b":[{"c":{"d":[{}]}}]},"A":null,"z":[{"":9007199254740993}]})");
    row("nested elements",
        R"([{"instanceName":"main","key":1.0,"selectionType":"Selection","substructure":[{"selectionType":1}]}])");
    row("array 1,000 levels deep", QByteArray(1000, '[') + QByteArray(1000, ']'));
    row("object 1,000 levels deep", QByteArray(R"({"a":)").repeated(1000) + "1" + QByteArray(1000, '}'));
}

void tst_JsonDataIteratorConfigurationInstanceListUpdater::otherMembersKeepTheirText()
{
    QFETCH(const QByteArray, json);
    MessageRecorder log;
    const QByteArray members =
        R"({"":)" + json + R"(,"instanceName":"main","m":)" + json + R"(,"selectionType":"Node","~":)" + json;
    const QJsonObject without = objectFrom(QByteArray(members + "}").constData());
    const QJsonObject with = objectFrom(QByteArray(members + R"(,"key":0})").constData());
    const QJsonObject written = objectFrom(QByteArray(members + R"(,"key":1})").constData());
    QJsonValue result;

    QJsonObject overwritten = with;
    configured(Overwriting, "main", "key", 1).compute(overwritten, result);
    QCOMPARE(textOf(overwritten), textOf(written));

    QJsonObject added = without;
    configured(Adding, "main", "key", 1).compute(added, result);
    QCOMPARE(textOf(added), textOf(written));

    QJsonObject removed = with;
    configured(Removing, "main", "key").compute(removed, result);
    QCOMPARE(textOf(removed), textOf(without));

    QCOMPARE(textOf(result), textOf(QJsonArray({written, written, without})));
}

// The parser keeps such integers exactly. An edit rounds them as the writer does, so files do not differ.
void tst_JsonDataIteratorConfigurationInstanceListUpdater::integersBeyondRangeOfDoubleAreRounded_data()
{
    QTest::addColumn<QByteArray>("json");
    QTest::addColumn<QVariant>("exact");
    QTest::addColumn<QVariant>("rounded");
    QTest::addColumn<QByteArray>("text");
    QTest::newRow("2^53 + 1") << QByteArray("9007199254740993") << QVariant(9007199254740993LL)
                              << QVariant(9007199254740992LL) << QByteArray("[9007199254740992]");
    QTest::newRow("-2^53 - 1") << QByteArray("-9007199254740993") << QVariant(-9007199254740993LL)
                               << QVariant(-9007199254740992LL) << QByteArray("[-9007199254740992]");
    QTest::newRow("2^60 + 1") << QByteArray("1152921504606846977") << QVariant(1152921504606846977LL)
                              << QVariant(1152921504606846976LL) << QByteArray("[1152921504606847000]");
    QTest::newRow("2^63 - 1") << QByteArray("9223372036854775807") << QVariant(9223372036854775807LL)
                              << QVariant(9223372036854775808.0) << QByteArray("[9223372036854776000]");
    QTest::newRow("in an array") << QByteArray("[9007199254740993]") << QVariant(QVariantList {9007199254740993LL})
                                 << QVariant(QVariantList {9007199254740992LL}) << QByteArray("[[9007199254740992]]");
    QTest::newRow("in an object") << QByteArray(R"({"a":9007199254740993})")
                                  << QVariant(QVariantMap {{u"a"_qs, 9007199254740993LL}})
                                  << QVariant(QVariantMap {{u"a"_qs, 9007199254740992LL}})
                                  << QByteArray(R"([{"a":9007199254740992}])");
}

void tst_JsonDataIteratorConfigurationInstanceListUpdater::integersBeyondRangeOfDoubleAreRounded()
{
    QFETCH(const QByteArray, json);
    QFETCH(const QVariant, exact);
    QFETCH(const QVariant, rounded);
    QFETCH(const QByteArray, text);
    MessageRecorder log;
    QJsonObject object = objectFrom(
        QByteArray(R"({"instanceName":"main","key":0,"selectionType":"Node","n":)" + json + "}").constData());
    QCOMPARE(object.value(u"n"_qs).toVariant(), exact);
    QCOMPARE(textOf(object.value(u"n"_qs)), text);

    QJsonValue result;
    configured(Overwriting, "main", "key", 1).compute(object, result);
    QCOMPARE(object.value(u"n"_qs).toVariant(), rounded);
    QCOMPARE(textOf(object.value(u"n"_qs)), text);
}

void tst_JsonDataIteratorConfigurationInstanceListUpdater::otherNumbersKeepTheirValue_data()
{
    QTest::addColumn<QJsonValue>("number");
    QTest::newRow("zero") << QJsonValue(0);
    QTest::newRow("whole double") << QJsonValue(1.0);
    QTest::newRow("fraction") << QJsonValue(0.1);
    QTest::newRow("2^53") << QJsonValue(9007199254740992.0);
    QTest::newRow("2^53 + 2") << QJsonValue(9007199254740994.0);
    QTest::newRow("-2^63") << QJsonValue(-9223372036854775808.0);
    QTest::newRow("2^63") << QJsonValue(9223372036854775808.0);
    QTest::newRow("1e300") << QJsonValue(1e300);
    QTest::newRow("smallest") << QJsonValue(5e-324);
    QTest::newRow("parsed 2^53") << objectFrom(R"({"n":9007199254740992})").value(u"n"_qs);
    QTest::newRow("parsed 1.0") << objectFrom(R"({"n":1.0})").value(u"n"_qs);
}

void tst_JsonDataIteratorConfigurationInstanceListUpdater::otherNumbersKeepTheirValue()
{
    QFETCH(const QJsonValue, number);
    MessageRecorder log;
    QJsonObject object = objectFrom(R"({"instanceName":"main","key":0,"selectionType":"Node"})");
    object.insert(u"n"_qs, number);
    QJsonValue result;
    configured(Overwriting, "main", "key", 1).compute(object, result);
    QCOMPARE(object.value(u"n"_qs), number);
    QCOMPARE(object.value(u"n"_qs).toVariant(), number.toVariant());
}

void tst_JsonDataIteratorConfigurationInstanceListUpdater::numberThatJsonCannotExpressBecomesNull_data()
{
    QTest::addColumn<double>("number");
    QTest::newRow("not a number") << std::numeric_limits<double>::quiet_NaN();
    QTest::newRow("infinity") << std::numeric_limits<double>::infinity();
    QTest::newRow("-infinity") << -std::numeric_limits<double>::infinity();
}

// Such a number exists in memory only. The writer writes null for it.
void tst_JsonDataIteratorConfigurationInstanceListUpdater::numberThatJsonCannotExpressBecomesNull()
{
    QFETCH(const double, number);
    MessageRecorder log;
    QJsonObject object = objectFrom(R"({"instanceName":"main","key":0,"selectionType":"Node"})");
    object.insert(u"n"_qs, number);
    QCOMPARE(object.value(u"n"_qs).type(), QJsonValue::Double);
    const QByteArray text = textOf(object.value(u"n"_qs));
    QCOMPARE(text, QByteArray("[null]"));

    QJsonValue result;
    configured(Overwriting, "main", "key", 1).compute(object, result);
    QCOMPARE(object.value(u"n"_qs).type(), QJsonValue::Null);
    QCOMPARE(textOf(object.value(u"n"_qs)), text);
}

void tst_JsonDataIteratorConfigurationInstanceListUpdater::everyMatchIsEditedInWalkOrder()
{
    MessageRecorder log;
    QJsonValue manifest = arrayFrom(R"([
        {"id":1,"instanceName":"a","key":0,"selectionType":"Selection"},
        {"id":2,"instanceName":"b","key":0,"selectionType":"Selection"},
        {"id":3,"instanceName":"N","key":0,"selectionType":"Node","substructure":[
            {"id":4,"instanceName":"a","key":0,"selectionType":"Selection"},
            {"id":5,"instanceName":"N/a","key":0,"selectionType":"Selection"}]},
        {"id":6,"instanceName":"a","key":0,"selectionType":"Node","substructure":[]}])");
    Updater updater = configured(Overwriting, "a", "key", 1);
    QJsonValue result;
    walkJson(manifest, updater, result);
    QCOMPARE(manifest, QJsonValue(arrayFrom(R"([
        {"id":1,"instanceName":"a","key":1,"selectionType":"Selection"},
        {"id":2,"instanceName":"b","key":0,"selectionType":"Selection"},
        {"id":3,"instanceName":"N","key":0,"selectionType":"Node","substructure":[
            {"id":4,"instanceName":"a","key":1,"selectionType":"Selection"},
            {"id":5,"instanceName":"N/a","key":0,"selectionType":"Selection"}]},
        {"id":6,"instanceName":"a","key":1,"selectionType":"Node","substructure":[]}])")));
    QCOMPARE(result, QJsonValue(arrayFrom(R"([
        {"id":1,"instanceName":"a","key":1,"selectionType":"Selection"},
        {"id":4,"instanceName":"a","key":1,"selectionType":"Selection"},
        {"id":6,"instanceName":"a","key":1,"selectionType":"Node","substructure":[]}])")));
}

void tst_JsonDataIteratorConfigurationInstanceListUpdater::matchesWithinMatchesAreEdited()
{
    MessageRecorder log;
    QJsonValue manifest = arrayFrom(R"([{"instanceName":"a","key":0,"selectionType":"Node","substructure":[
        {"instanceName":"a","key":0,"selectionType":"Selection"}]}])");
    Updater updater = configured(Removing, "a", "key");
    QJsonValue result;
    walkJson(manifest, updater, result);
    QCOMPARE(manifest, QJsonValue(arrayFrom(R"([{"instanceName":"a","selectionType":"Node","substructure":[
        {"instanceName":"a","selectionType":"Selection"}]}])")));
    // The outer object is collected before the inner one is edited.
    QCOMPARE(result, QJsonValue(arrayFrom(R"([
        {"instanceName":"a","selectionType":"Node","substructure":[
            {"instanceName":"a","key":0,"selectionType":"Selection"}]},
        {"instanceName":"a","selectionType":"Selection"}])")));
}

void tst_JsonDataIteratorConfigurationInstanceListUpdater::matchesNestedAsDeepAsQtParsesAreEdited()
{
    MessageRecorder log;
    constexpr int depth = 512;
    const QByteArray head = R"([{"instanceName":"a","key":0,"selectionType":"Node","substructure":)";
    // 1,024 alternating levels of arrays and objects. The innermost node cannot have an array of children.
    const QByteArray text = head.repeated(depth) + "0" + QByteArray("}]").repeated(depth);
    QJsonValue manifest = arrayFrom(text.constData());
    Updater updater = configured(Overwriting, "a", "key", 1);
    QJsonValue result;
    walkJson(manifest, updater, result);
    QCOMPARE(compact(manifest.toArray()), QByteArray(text).replace(R"("key":0)", R"("key":1)"));
    QCOMPARE(result.toArray().size(), depth);
}

void tst_JsonDataIteratorConfigurationInstanceListUpdater::oneUpdaterServesSeveralThreads()
{
    MessageRecorder log;
    const QJsonObject before = objectFrom(R"({"instanceName":"a","key":0,"selectionType":"Selection"})");
    const QJsonObject after = objectFrom(R"({"instanceName":"a","key":"new","selectionType":"Selection"})");
    QJsonArray manifest;
    QJsonArray expected;
    for (int i = 0; i < 2000; ++i) {
        manifest.append(before);
        expected.append(after);
    }
    Updater updater = configured(Overwriting, "a", "key", u"new"_qs);
    struct Walk {
        QJsonValue document;
        QJsonValue result;
        std::thread thread;
    };
    std::array<Walk, 4> walks;
    for (Walk& walk : walks) {
        walk.document = manifest;
        walk.thread = std::thread([&updater, &walk] { walkJson(walk.document, updater, walk.result); });
    }
    for (Walk& walk : walks) {
        walk.thread.join();
    }
    for (const Walk& walk : walks) {
        QCOMPARE(walk.document, QJsonValue(expected));
        QCOMPARE(walk.result, QJsonValue(expected));
    }
}

void tst_JsonDataIteratorConfigurationInstanceListUpdater::updaterWorksThroughItsBase()
{
    MessageRecorder log;
    const std::unique_ptr<JsonDataIteratorObjectBase> iterator = std::make_unique<Updater>();
    QVERIFY(dynamic_cast<Updater*>(iterator.get()) != nullptr);
    QJsonObject object = objectFrom(R"({"":1,"instanceName":"","selectionType":"Node"})");
    QJsonValue result;
    iterator->compute(object, result);
    QCOMPARE(object, objectFrom(R"({"":null,"instanceName":"","selectionType":"Node"})"));
}

void tst_JsonDataIteratorConfigurationInstanceListUpdater::oneElementOfCreatedManifestIsEdited_data()
{
    QTest::addColumn<Mode>("mode");
    QTest::addColumn<QByteArray>("instanceName");
    QTest::addColumn<QByteArray>("key");
    QTest::addColumn<QByteArray>("textBefore");
    QTest::addColumn<QByteArray>("textAfter");
    QTest::newRow("selection overwritten") << Overwriting << QByteArray("Net/port") << QByteArray("iconName")
                                           << QByteArray(R"("iconName":"port")") << QByteArray(R"("iconName":"new")");
    QTest::newRow("selection without a member") << Removing << QByteArray("Net/port") << QByteArray("iconName")
                                                << QByteArray(R"("iconName":"port",)") << QByteArray();
    QTest::newRow("node overwritten") << Overwriting << QByteArray("Net") << QByteArray("iconName")
                                      << QByteArray(R"("iconName":"net")") << QByteArray(R"("iconName":"new")");
    QTest::newRow("node with another member")
        << Adding << QByteArray("Net") << QByteArray("jcon") << QByteArray(R"("iconName":"net","instanceName":"Net")")
        << QByteArray(R"("iconName":"net","instanceName":"Net","jcon":"new")");
}

void tst_JsonDataIteratorConfigurationInstanceListUpdater::oneElementOfCreatedManifestIsEdited()
{
    QFETCH(const Mode, mode);
    QFETCH(const QByteArray, instanceName);
    QFETCH(const QByteArray, key);
    QFETCH(const QByteArray, textBefore);
    QFETCH(const QByteArray, textAfter);
    MessageRecorder log;
    const QTemporaryDir folder;
    const QString root = folder.path();
    writeFile(root % u"/main.config.json"_qs, R"({"hide":false,"displayPosition":1,"connectorId":7})");
    writeFile(root % u"/Net/Folder.menu.json"_qs,
        R"({"displayPosition":1,"iconName":"net","version":1.0,"extra":[0.1,null,{"":[]}]})");
    writeFile(root % u"/Net/port.config.json"_qs,
        R"({"hide":true,"displayPosition":1,"iconName":"port","selectorTypeList":[1.5,{"a":null}]})");
    QVERIFY(ConfigurationManifestCreator().create2(root, u"configuration"_qs));

    const QByteArray written = readFile(root % u"/configuration.manifest.json"_qs);
    QCOMPARE(written.count(textBefore), 1);
    QJsonValue manifest = arrayFrom(written.constData());
    Updater updater = configured(mode, instanceName.constData(), key.constData(), u"new"_qs);
    QJsonValue result;
    walkJson(manifest, updater, result);
    QCOMPARE(compact(manifest.toArray()), QByteArray(written).replace(textBefore, textAfter));
    QCOMPARE(result.toArray().size(), 1);
    QCOMPARE(result.toArray().first().toObject().value(Registry::getKeyInstanceName()),
        QJsonValue(QString::fromUtf8(instanceName)));
}

MANIFEST_TEST_MAIN(tst_JsonDataIteratorConfigurationInstanceListUpdater)

#include "tst_jsondataiteratorconfigurationinstancelistupdater.moc"
