#include "ConfigurationManifestCreator.h"
#include "ConfigurationManifestHandler.h"
#include "ConfigurationStructureElement.h"
#include "ConfigurationStructureElementList.h"
#include "Files.h"
#include "JsonDataIteratorConfigurationInstanceCollector.h"
#include "JsonDataIteratorConfigurationInstanceListUpdater.h"
#include "Literals.h"
#include "MessageRecorder.h"
#include "TestMain.h"

#include <QtCore/QDir>
#include <QtCore/QTemporaryDir>

#include <memory>

using Element = ConfigurationStructureElement;
/// Tests the library in a process that loads it at run time. The process provides different texts, even where the file
/// format fixes them, and readers that refuse values that the substitute's readers accept.
class tst_ImportedTexts : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void nodeIsMadeOfImportedTexts();
    void selectionIsMadeOfImportedTexts();
    void usualTextsMeanNothing();
    void iconNameIsFoundUnderItsKey();
    void scanIsMadeOfImportedTexts();
    void onlyProvidedSchemeMeansConfigurations();
    void folderBecomesListOfElements();
    void manifestIsLoadedQueriedEditedAndSaved();
    void instanceNamesAreCollected();
    void providedReadersDecideWhatIsReadable();
    void elementsAreUpdated();
    void classesAreKnownByTheirBases();
};

void tst_ImportedTexts::nodeIsMadeOfImportedTexts()
{
    const MessageRecorder log;
    const Element element(objectFrom(R"({"k:displayPosition":3,"k:selectionType":1,"k:dataSourceType":1,
        "k:instanceName":1,"k:tolmVersion":1,"k:configurationVersion":1,"k:iconName":"i","k:substructure":[]})"),
        u"n"_qs, true);
    QCOMPARE(element.getElementAsJsonObject(), objectFrom(R"({"k:selectionType":"v:node",
        "k:dataSourceType":"v:jsonData","k:instanceName":"n","k:iconName":"i","k:substructure":[]})"));
    QCOMPARE(element.getDisplayPosition(), 3);
}

void tst_ImportedTexts::selectionIsMadeOfImportedTexts()
{
    const MessageRecorder log;
    const Element element(objectFrom(R"({"k:displayPosition":3,
        "k:labelTextId":"1","k:dataModel":"2","k:lastModified":"3","k:selectionType":"4","k:closeMode":"5",
        "k:uiJob":"6","k:hide":true,"k:selectorTypeList":[8],"k:selectorTypeListEndpoint":[9],"k:connectorId":10,
        "k:iconName":"11","k:templateType":"12","k:labelTextUrl":"13","k:dependencyFile":"14",
        "k:dependencyFileExtern":"15","k:moduleName":"16","k:objectName":"17","k:instanceName":"18",
        "k:bufferType":"19","k:dataSourceType":"","k:substructure":[],"k:tolmVersion":"",
        "k:configurationVersion":""})"),
        u"n"_qs, false);
    QCOMPARE(element.getElementAsJsonObject(), objectFrom(R"({
        "k:labelTextId":"1","k:dataModel":"2","k:lastModified":"3","k:selectionType":"v:selection",
        "k:closeMode":"v:manual","k:uiJob":"v:openConfiguration","k:hide":true,"k:selectorTypeList":[8],
        "k:selectorTypeListEndpoint":[9],"k:connectorId":10,"k:iconName":"11","k:templateType":"12",
        "k:labelTextUrl":"13","k:dependencyFile":"14","k:dependencyFileExtern":"15","k:moduleName":"16",
        "k:objectName":"17","k:instanceName":"18","k:bufferType":"19"})"));
    QCOMPARE(element.getDisplayPosition(), 3);
}

void tst_ImportedTexts::usualTextsMeanNothing()
{
    const QJsonObject description = objectFrom(R"({"displayPosition":3,"labelTextId":"1","dataModel":"2",
        "lastModified":"3","selectionType":"4","closeMode":"5","uiJob":"6","hide":true,"selectorTypeList":[8],
        "selectorTypeListEndpoint":[9],"connectorId":10,"iconName":"11","templateType":"12","labelTextUrl":"13",
        "dependencyFile":"14","dependencyFileExtern":"15","moduleName":"16","objectName":"17","instanceName":"18",
        "bufferType":"19","dataSourceType":"","substructure":[],"tolmVersion":"","configurationVersion":""})");
    // The text of this message does not depend on the key.
    const Message positionMissing = warning(u"Cannot find key displayPosition in Json object!"_qs,
        "void ConfigurationStructureElement::extractDisplayPosition(const QJsonObject&, int&)");
    const Message hideMissing = warning(u"Cannot find key \"k:hide\" in Json object!"_qs,
        "bool ConfigurationStructureElement::extractSelectionBool(const QJsonObject&, const QString&) const");

    MessageRecorder log;
    const Element selection(description, u"n"_qs, false);
    QCOMPARE(log.take(), Messages({positionMissing, hideMissing}));
    QCOMPARE(selection.getElementAsJsonObject(), objectFrom(R"({"k:labelTextId":"","k:dataModel":"",
        "k:lastModified":"","k:selectionType":"v:selection","k:closeMode":"v:manual","k:uiJob":"v:openConfiguration",
        "k:hide":false,"k:iconName":"","k:instanceName":"n"})"));

    const Element node(description, u"n"_qs, true);
    QCOMPARE(log.take(), Messages({positionMissing}));
    QJsonObject expected = description;
    expected.insert(u"k:selectionType"_qs, u"v:node"_qs);
    expected.insert(u"k:dataSourceType"_qs, u"v:jsonData"_qs);
    expected.insert(u"k:instanceName"_qs, u"n"_qs);
    QCOMPARE(node.getElementAsJsonObject(), expected);
}

void tst_ImportedTexts::iconNameIsFoundUnderItsKey()
{
    MessageRecorder log;
    Element element;
    element.setIconName(u"i"_qs);
    QCOMPARE(element.getElementAsJsonObject(), objectFrom(R"({"k:iconName":"i"})"));
    QCOMPARE(element.getIconName(), u"i"_qs);
    QCOMPARE(log.take(), Messages());

    const Element node(objectFrom(R"({"k:displayPosition":3,"k:iconName":7})"), QString(), true);
    QCOMPARE(node.getIconName(), QString());
    QCOMPARE(log.take(),
        Messages({warning(u"Property iconName is not of type string!"_qs,
            "QString ConfigurationStructureElement::getIconName() const")}));
}

void tst_ImportedTexts::scanIsMadeOfImportedTexts()
{
    const QTemporaryDir base;
    writeFile(base.filePath(u"v-folder/b.config.json"_qs), R"({"k:displayPosition":2,"k:hide":false})");
    writeFile(base.filePath(u"v-folder/c.config.json"_qs), R"({"k:displayPosition":1,"k:hide":false})");
    writeFile(
        base.filePath(u"v-folder/Net/Folder.menu.json"_qs), R"({"k:displayPosition":0,"k:substructure":"replaced"})");
    writeFile(base.filePath(u"v-folder/Net/a.config.json"_qs), R"({"k:displayPosition":0,"k:hide":true})");

    const MessageRecorder log;
    QVERIFY(ConfigurationManifestCreator().create(base.path()));
    QCOMPARE(readFile(base.filePath(u"v-folder/v-scheme.manifest.json"_qs)), compact(arrayFrom(R"([
        {"k:labelTextId":"","k:dataModel":"","k:lastModified":"","k:selectionType":"v:selection",
            "k:closeMode":"v:manual","k:uiJob":"v:openConfiguration","k:hide":false,"k:iconName":"",
            "k:instanceName":"c"},
        {"k:labelTextId":"","k:dataModel":"","k:lastModified":"","k:selectionType":"v:selection",
            "k:closeMode":"v:manual","k:uiJob":"v:openConfiguration","k:hide":false,"k:iconName":"",
            "k:instanceName":"b"},
        {"k:selectionType":"v:node","k:dataSourceType":"v:jsonData","k:instanceName":"Net","k:substructure":[
            {"k:labelTextId":"","k:dataModel":"","k:lastModified":"","k:selectionType":"v:selection",
                "k:closeMode":"v:manual","k:uiJob":"v:openConfiguration","k:hide":true,"k:iconName":"",
                "k:instanceName":"Net/a"}]}])")));
}

void tst_ImportedTexts::onlyProvidedSchemeMeansConfigurations()
{
    const QTemporaryDir folder;
    writeFile(folder.filePath(u"a.config.json"_qs), R"({"k:displayPosition":0,"k:hide":false})");
    const MessageRecorder log;
    QVERIFY(ConfigurationManifestCreator().create2(folder.path(), u"v-scheme"_qs));
    QCOMPARE(readFile(folder.filePath(u"v-scheme.manifest.json"_qs)),
        compact(arrayFrom(R"([{"k:labelTextId":"","k:dataModel":"","k:lastModified":"","k:selectionType":"v:selection",
            "k:closeMode":"v:manual","k:uiJob":"v:openConfiguration","k:hide":false,"k:iconName":"",
            "k:instanceName":"a"}])")));

    QVERIFY(ConfigurationManifestCreator().create2(folder.path(), u"configuration"_qs));
    QCOMPARE(readFile(folder.filePath(u"configuration.manifest.json"_qs)), QByteArray("[]"));
}

void tst_ImportedTexts::folderBecomesListOfElements()
{
    const QTemporaryDir folder;
    writeFile(folder.filePath(u"late.config.json"_qs), R"({"k:displayPosition":2,"k:hide":false})");
    writeFile(folder.filePath(u"early.config.json"_qs), R"({"k:displayPosition":1,"k:hide":false})");
    const QString suffix = Element::getConfigurationFileSuffix();
    MessageRecorder log;
    const ConfigurationStructureElementList list(QDir(folder.path()).entryInfoList(QDir::Files), folder.path(), suffix);
    QCOMPARE(list.getCountElements(), 2);
    QCOMPARE(list.getElement(0).getElementAsJsonObject().value(u"k:instanceName"_qs), QJsonValue(u"early"_qs));
    QCOMPARE(&list.getSuffix(), &suffix);
    QCOMPARE(log.take(), Messages());
    QCOMPARE(list.getElement(2).isValid(), false);
    QCOMPARE(log.take(),
        Messages({warning(u"Received invalid index for element list: 2 , 2 !"_qs,
            "ConfigurationStructureElement ConfigurationStructureElementList::getElement(int) const")}));
}

void tst_ImportedTexts::manifestIsLoadedQueriedEditedAndSaved()
{
    const QTemporaryDir folder;
    const QString path = folder.filePath(u"manifest.json"_qs);
    // Stamping uses the handler's own texts, everything else the provided ones.
    writeFile(path, R"([{"k:instanceName":"n","k:substructure":[
        {"k:instanceName":"n/a","k:selectionType":"v:selection","selectionType":"Selection"}]}])");
    ConfigurationManifestHandler handler(path, u"Module"_qs, u"object"_qs);
    const MessageRecorder log;
    handler.parseManifestFile();
    QJsonObject element;
    QVERIFY(handler.getNodeElement(u"n/a"_qs, element));
    QCOMPARE(element, objectFrom(R"({"k:instanceName":"n/a","k:selectionType":"v:selection",
        "selectionType":"Selection","k:moduleName":"Module","k:objectName":"object"})"));
    QStringList instances;
    QVERIFY(handler.getListOfInstances(u"n"_qs, instances));
    QCOMPARE(instances, QStringList(u"n/a"_qs));
    QVERIFY(handler.setProperty(u"n/a"_qs, u"x"_qs, 1, false));
    QVERIFY(handler.deleteElement(u"n/a"_qs, true));
    QCOMPARE(readFile(path), QByteArray(R"([{"k:instanceName":"n","k:substructure":[]}])"));
}

void tst_ImportedTexts::instanceNamesAreCollected()
{
    JsonDataIteratorConfigurationInstanceCollector collector;
    JsonDataIteratorObjectBase& iterator = collector;
    QJsonObject object = objectFrom(R"({"k:selectionType":"v:selection","k:instanceName":"n/a"})");
    QJsonValue names;
    iterator.compute(object, names);
    QCOMPARE(names, QJsonValue(QJsonArray {u"n/a"_qs}));
}

void tst_ImportedTexts::providedReadersDecideWhatIsReadable()
{
    MessageRecorder log;
    ConfigurationManifestHandler handler {QString(), QString(), QString()};
    handler.setManifestJsonArray(
        arrayFrom(R"([{"k:instanceName":"n","k:substructure":["refused",{"k:instanceName":"a"}]}])"));
    QStringList instances(u"before"_qs);
    QCOMPARE(handler.getListOfInstances(u"n"_qs, instances), false);
    QCOMPARE(instances, QStringList(u"before"_qs));
    QCOMPARE(log.take(),
        Messages({warning(u"Cannot find key 'substructure' in json element QJsonObject({\"k:instanceName\":\"n\","
                          "\"k:substructure\":[\"refused\",{\"k:instanceName\":\"a\"}]}) !"_qs,
            "bool ConfigurationManifestHandler::getListOfInstances(const QString&, QStringList&) const")}));

    const auto notCollected = [&](const char* json, const char* text) {
        JsonDataIteratorConfigurationInstanceCollector collector;
        QJsonObject object = objectFrom(json);
        QJsonValue names = QJsonArray {u"before"_qs};
        collector.compute(object, names);
        QCOMPARE(names, QJsonValue(QJsonArray {u"before"_qs}));
        QCOMPARE(log.take(),
            Messages({warning(QLatin1String(text) % u" QJsonObject("_qs % QLatin1String(json) % u") !"_qs,
                "virtual void JsonDataIteratorConfigurationInstanceCollector::compute(QJsonObject&, QJsonValue&)")}));
    };
    notCollected(
        R"({"k:instanceName":"a","k:selectionType":"refused"})", "Error on reading selection type from json object:");
    notCollected(R"({"k:instanceName":"refused","k:selectionType":"v:selection"})",
        "Error on reading instance name from selection:");
}

void tst_ImportedTexts::elementsAreUpdated()
{
    JsonDataIteratorConfigurationInstanceListUpdater updater;
    updater.init(u"n/a"_qs, u"x"_qs, 2);
    JsonDataIteratorObjectBase& iterator = updater;
    // The updater has its own key for the instance name.
    QJsonObject object = objectFrom(R"({"k:selectionType":"v:selection","instanceName":"n/a","x":1})");
    QJsonValue edited;
    iterator.compute(object, edited);
    QCOMPARE(object.value(u"x"_qs), QJsonValue(2));
    QCOMPARE(edited, QJsonValue(QJsonArray {object}));
}

void tst_ImportedTexts::classesAreKnownByTheirBases()
{
    const std::unique_ptr<JsonDataIteratorObjectBase> iterator =
        std::make_unique<JsonDataIteratorConfigurationInstanceCollector>();
    QVERIFY(dynamic_cast<JsonDataIteratorConfigurationInstanceCollector*>(iterator.get()) != nullptr);
    QVERIFY(dynamic_cast<JsonDataIteratorConfigurationInstanceListUpdater*>(iterator.get()) == nullptr);

    const std::unique_ptr<QObject> creator = std::make_unique<ConfigurationManifestCreator>();
    QCOMPARE(creator->metaObject()->className(), "ConfigurationManifestCreator");
    QVERIFY(qobject_cast<ConfigurationManifestCreator*>(creator.get()) != nullptr);
    QVERIFY(qobject_cast<ConfigurationStructureElementList*>(creator.get()) == nullptr);
}

extern "C" Q_DECL_EXPORT int run(int argc, char** argv)
{
    return runTest<tst_ImportedTexts>(argc, argv);
}

#include "tst_importedtexts.moc"
