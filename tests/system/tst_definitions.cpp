#include "ConfigurationAndProcessDataDefinitions.h"
#include "ConfigurationStructureElement.h"
#include "JsonDataIteratorObjectBase.h"
#include "JsonReaders.h"
#include "Literals.h"
#include "MessageRecorder.h"
#include "PropertyManagerConst.h"
#include "SystemInformationManagerRegistryDefinitions.h"
#include "TestMain.h"

#include <QtCore/QSet>
#include <QtCore/QThread>

#include <memory>
#include <type_traits>
#include <typeinfo>

using Registry = SystemInformationManagerRegistryDefinitions;
using DataProperty = ConfigurationAndProcessDataDefinitions;
using Element = ConfigurationStructureElement;
using Getter = const QString& (*)();

Q_DECLARE_METATYPE(Getter)

static_assert(std::is_abstract_v<JsonDataIteratorObjectBase>);
static_assert(std::has_virtual_destructor_v<JsonDataIteratorObjectBase>);

namespace {

struct NamedGetter {
    const char* name;
    Getter getter;
    /// The text that the getter must return; null if the provider may choose it.
    const char* text = nullptr;
};

const NamedGetter ownConstants[] = {
    {"folder description", Element::getFolderDescriptionFilename, "Folder.menu.json"},
    {"configuration suffix", Element::getConfigurationFileSuffix, ".config.json"},
    {"process suffix", Element::getProcessFileSuffix, ".process.json"},
};

const NamedGetter keys[] = {
    {"selection type", Registry::getKeySelectionType, "selectionType"},
    {"instance name", Registry::getKeyInstanceName, "instanceName"},
    {"substructure", Registry::getKeySubstructure, "substructure"},
    {"display position", Registry::getKeyDisplayPosition, "displayPosition"},
    {"icon name", Registry::getKeyIconName, "iconName"},
    {"data source type", Registry::getKeyDataSourceType},
    {"close mode", Registry::getKeyCloseMode},
    {"user-interface job", Registry::getKeyUiJob},
    {"hide", Registry::getKeyHide},
    {"label text id", Registry::getKeyLabelTextId},
    {"data model", Registry::getKeyDataModel},
    {"last modified", Registry::getKeyLastModified},
    {"module name", Registry::getKeyModuleName},
    {"object name", Registry::getKeyObjectName},
    {"buffer type", DataProperty::getKeyDataPropertyBufferType},
    {"connector id", DataProperty::getKeyDataPropertyConnectorId},
    {"dependency file", DataProperty::getKeyDataPropertyDependencyFile},
    {"external dependency file", DataProperty::getKeyDataPropertyDependencyFileExtern},
    {"label text URL", DataProperty::getKeyDataPropertyLabelTextUrl},
    {"selector type list", DataProperty::getKeyDataPropertySelectorTypeList},
    {"selector type list of the endpoint", DataProperty::getKeyDataPropertySelectorTypeListEndpoint},
    {"template type", DataProperty::getKeyDataPropertyTemplateType},
    {"configuration version", DataProperty::getKeyDataPropertyConfigurationVersion},
    {"Tolm version", DataProperty::getKeyDataPropertyTolmVersion},
};

const NamedGetter values[] = {
    {"selection", Registry::SelectionTypeValues::getSelection, "Selection"},
    {"node", Registry::SelectionTypeValues::getNode, "Node"},
    {"JSON data", Registry::DataSourceTypeValues::getJsonData},
    {"manual", Registry::CloseModeValues::getManual},
    {"open configuration", Registry::UiJobValues::getUiJobOpenConfiguration},
    {"configuration scheme", DataProperty::getSelectorUrlSchemeConfiguration},
    {"configuration folder", PropertyManagerConst::getConfigurationFolderName},
};

class Visitor : public JsonDataIteratorObjectBase {
public:
    explicit Visitor(bool& flag)
        : destroyed(flag)
    {
    }
    ~Visitor() override
    {
        destroyed = true;
    }

    void compute(QJsonObject& object, QJsonValue& result) override
    {
        object.insert(u"visited"_qs, true);
        result = object.size();
    }

private:
    bool& destroyed;
};

} // namespace

class tst_Definitions : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void gettersAlwaysReturnSameString_data();
    void gettersAlwaysReturnSameString();
    void keysDiffer();
    void folderNameAndSchemeArePlainNames();
    void suffixesBeginWithDot();
    void readersTakeTheirOwnTypeOnly_data();
    void readersTakeTheirOwnTypeOnly();
    void readersCompareKeysCaseSensitively();
    void visitorIsReachedThroughItsBase();
};

void tst_Definitions::gettersAlwaysReturnSameString_data()
{
    QTest::addColumn<Getter>("getter");
    QTest::addColumn<QString>("text");

    const auto addRows = [](const char* group, const auto& getters) {
        for (const NamedGetter& named : getters) {
            QTest::addRow("%s: %s", group, named.name) << named.getter << QString::fromLatin1(named.text);
        }
    };
    addRows("own", ownConstants);
    addRows("key", keys);
    addRows("value", values);
}

void tst_Definitions::gettersAlwaysReturnSameString()
{
    QFETCH(Getter, getter);
    QFETCH(QString, text);

    // The first call of a getter may come from any thread.
    const QString* fromOtherThread = nullptr;
    const std::unique_ptr<QThread> thread(QThread::create([&] { fromOtherThread = &getter(); }));
    thread->start();
    const QString& first = getter();
    QVERIFY(thread->wait());

    QVERIFY(!first.isEmpty());
    QVERIFY(text.isNull() || first == text);
    QCOMPARE(&getter(), &first);
    QCOMPARE(fromOtherThread, &first);
}

void tst_Definitions::keysDiffer()
{
    QSet<QString> texts;
    for (const NamedGetter& key : keys) {
        const QString& text = key.getter();
        QVERIFY2(!texts.contains(text), key.name);
        texts.insert(text);
    }
}

void tst_Definitions::folderNameAndSchemeArePlainNames()
{
    const QString& folderName = PropertyManagerConst::getConfigurationFolderName();
    QVERIFY(!folderName.startsWith(u'/'));
    QVERIFY(!folderName.endsWith(u'/'));
    QVERIFY(!DataProperty::getSelectorUrlSchemeConfiguration().contains(u'/'));
}

void tst_Definitions::suffixesBeginWithDot()
{
    QVERIFY(Element::getConfigurationFileSuffix().startsWith(u'.'));
    QVERIFY(Element::getProcessFileSuffix().startsWith(u'.'));
    QVERIFY(!Element::getFolderDescriptionFilename().startsWith(u'.'));
}

void tst_Definitions::readersTakeTheirOwnTypeOnly_data()
{
    QTest::addColumn<QJsonValue>("value");
    QTest::addColumn<bool>("isArray");
    QTest::addColumn<bool>("isString");
    QTest::newRow("missing") << QJsonValue(QJsonValue::Undefined) << false << false;
    QTest::newRow("null") << QJsonValue(QJsonValue::Null) << false << false;
    QTest::newRow("bool") << QJsonValue(true) << false << false;
    QTest::newRow("number") << QJsonValue(7) << false << false;
    QTest::newRow("string") << QJsonValue(u"text"_qs) << false << true;
    QTest::newRow("empty string") << QJsonValue(u""_qs) << false << true;
    QTest::newRow("array") << QJsonValue(QJsonArray {1, u"a"_qs, QJsonObject()}) << true << false;
    QTest::newRow("empty array") << QJsonValue(QJsonArray()) << true << false;
    QTest::newRow("object") << QJsonValue(QJsonObject {{u"key"_qs, QJsonArray()}}) << false << false;
}

void tst_Definitions::readersTakeTheirOwnTypeOnly()
{
    QFETCH(QJsonValue, value);
    QFETCH(bool, isArray);
    QFETCH(bool, isString);

    const QString key = u"key"_qs;
    QJsonObject object = {{u"other"_qs, QJsonArray()}};
    object.insert(key, value);
    const QJsonArray formerArray = {u"former"_qs};
    const QString formerText = u"former"_qs;
    const MessageRecorder log;

    QJsonArray array = formerArray;
    QCOMPARE(readJsonArrayFromJson(key, object, array), isArray);
    QCOMPARE(array, isArray ? value.toArray() : formerArray);

    QString text = formerText;
    QCOMPARE(readStringValueFromJson(key, object, text), isString);
    QCOMPARE(text, isString ? value.toString() : formerText);
}

void tst_Definitions::readersCompareKeysCaseSensitively()
{
    const QJsonObject object = {{u"Array"_qs, QJsonArray()}, {u"String"_qs, QString()}};
    const MessageRecorder log;
    QJsonArray array;
    QString text;
    QVERIFY(!readJsonArrayFromJson(u"array"_qs, object, array));
    QVERIFY(!readStringValueFromJson(u"string"_qs, object, text));
}

void tst_Definitions::visitorIsReachedThroughItsBase()
{
    bool destroyed = false;
    std::unique_ptr<JsonDataIteratorObjectBase> base(new Visitor(destroyed));
    JsonDataIteratorObjectBase& visitor = *base;
    QVERIFY(typeid(visitor) == typeid(Visitor));

    QJsonObject object;
    QJsonValue result;
    visitor.compute(object, result);
    QCOMPARE(object.value(u"visited"_qs), QJsonValue(true));
    QCOMPARE(result, QJsonValue(1));
    base.reset();
    QVERIFY(destroyed);
}

MANIFEST_TEST_MAIN(tst_Definitions)

#include "tst_definitions.moc"
