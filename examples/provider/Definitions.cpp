// All that the library takes from the process that loads it, to be copied and filled in: the texts here are those of
// the example tree, yours are those of your description files and manifests. The headers say what each text is for and
// what it has to keep. Compile this file into the program, or into one library that the program is linked to; a process
// has one provider.

#include <ConfigurationAndProcessDataDefinitions.h>
#include <JsonDataIteratorObjectBase.h>
#include <JsonReaders.h>
#include <PropertyManagerConst.h>
#include <SystemInformationManagerRegistryDefinitions.h>

// The library keeps the references and calls from any thread, until the process ends. A static string in a function is
// made once, whoever calls first. Made from QStringLiteral, it has no memory that could be freed too early. So replace
// the literals, and leave the way in which the strings are made.
#define DEFINE_TEXT(getter, text)                                                                                      \
    const QString& getter()                                                                                            \
    {                                                                                                                  \
        static const QString string = QStringLiteral(text);                                                            \
        return string;                                                                                                 \
    }

// Where the configuration lies: the name of its folder below the base path that create() is called with.
DEFINE_TEXT(PropertyManagerConst::getConfigurationFolderName, "configuration")

// The scheme of configurations, which is the first part of the manifest's file name: configuration.manifest.json.
DEFINE_TEXT(ConfigurationAndProcessDataDefinitions::getSelectorUrlSchemeConfiguration, "configuration")

// Fixed by the manifest's file format: leave these texts as they are. No two keys, here and below, share a text.
DEFINE_TEXT(SystemInformationManagerRegistryDefinitions::getKeySelectionType, "selectionType")
DEFINE_TEXT(SystemInformationManagerRegistryDefinitions::getKeyInstanceName, "instanceName")
DEFINE_TEXT(SystemInformationManagerRegistryDefinitions::getKeySubstructure, "substructure")
DEFINE_TEXT(SystemInformationManagerRegistryDefinitions::getKeyDisplayPosition, "displayPosition")
DEFINE_TEXT(SystemInformationManagerRegistryDefinitions::getKeyIconName, "iconName")
DEFINE_TEXT(SystemInformationManagerRegistryDefinitions::SelectionTypeValues::getSelection, "Selection")
DEFINE_TEXT(SystemInformationManagerRegistryDefinitions::SelectionTypeValues::getNode, "Node")

// Your keys of a page that are in every selection, with a default where the description file has none.
DEFINE_TEXT(SystemInformationManagerRegistryDefinitions::getKeyHide, "hide")
DEFINE_TEXT(SystemInformationManagerRegistryDefinitions::getKeyLabelTextId, "labelTextId")
DEFINE_TEXT(SystemInformationManagerRegistryDefinitions::getKeyDataModel, "dataModel")
DEFINE_TEXT(SystemInformationManagerRegistryDefinitions::getKeyLastModified, "lastModified")

// Your keys of what the library writes into every node (the first) or selection, whatever its description says, and the
// values that your user interface expects there.
DEFINE_TEXT(SystemInformationManagerRegistryDefinitions::getKeyDataSourceType, "dataSourceType")
DEFINE_TEXT(SystemInformationManagerRegistryDefinitions::DataSourceTypeValues::getJsonData, "JsonData")
DEFINE_TEXT(SystemInformationManagerRegistryDefinitions::getKeyCloseMode, "closeMode")
DEFINE_TEXT(SystemInformationManagerRegistryDefinitions::CloseModeValues::getManual, "Manual")
DEFINE_TEXT(SystemInformationManagerRegistryDefinitions::getKeyUiJob, "uiJob")
DEFINE_TEXT(SystemInformationManagerRegistryDefinitions::UiJobValues::getUiJobOpenConfiguration, "OpenConfiguration")

// Your keys of the module and the object that own a selection. Loading a manifest stamps their names into all of them.
DEFINE_TEXT(SystemInformationManagerRegistryDefinitions::getKeyModuleName, "moduleName")
DEFINE_TEXT(SystemInformationManagerRegistryDefinitions::getKeyObjectName, "objectName")

// Your keys of a page's data, which are in a selection only where the description file has them, in the right type.
DEFINE_TEXT(ConfigurationAndProcessDataDefinitions::getKeyDataPropertyBufferType, "bufferType")
DEFINE_TEXT(ConfigurationAndProcessDataDefinitions::getKeyDataPropertyConnectorId, "connectorId")
DEFINE_TEXT(ConfigurationAndProcessDataDefinitions::getKeyDataPropertyDependencyFile, "dependencyFile")
DEFINE_TEXT(ConfigurationAndProcessDataDefinitions::getKeyDataPropertyDependencyFileExtern, "dependencyFileExtern")
DEFINE_TEXT(ConfigurationAndProcessDataDefinitions::getKeyDataPropertyLabelTextUrl, "labelTextUrl")
DEFINE_TEXT(ConfigurationAndProcessDataDefinitions::getKeyDataPropertySelectorTypeList, "selectorTypeList")
DEFINE_TEXT(
    ConfigurationAndProcessDataDefinitions::getKeyDataPropertySelectorTypeListEndpoint, "selectorTypeListEndpoint")
DEFINE_TEXT(ConfigurationAndProcessDataDefinitions::getKeyDataPropertyTemplateType, "templateType")

// Your keys of a folder's versions, which the library leaves out of the manifest.
DEFINE_TEXT(ConfigurationAndProcessDataDefinitions::getKeyDataPropertyConfigurationVersion, "configurationVersion")
DEFINE_TEXT(ConfigurationAndProcessDataDefinitions::getKeyDataPropertyTolmVersion, "tolmVersion")

// How your software reads members of JSON objects. What is not there in the right type leaves the third argument
// unchanged; the library logs it, so that nothing has to be logged here.
bool readJsonArrayFromJson(const QString& key, const QJsonObject& object, QJsonArray& array)
{
    const QJsonValue value = object.value(key);
    if (!value.isArray()) {
        return false;
    }
    array = value.toArray();
    return true;
}

bool readStringValueFromJson(const QString& key, const QJsonObject& object, QString& value)
{
    const QJsonValue member = object.value(key);
    if (!member.isString()) {
        return false;
    }
    value = member.toString();
    return true;
}

// The base of the library's two iterators. Its virtual table and type information are made where the destructor is
// defined. The walk that calls compute() for every object of a document is yours, if you have one: the library has none
// and needs none.
JsonDataIteratorObjectBase::JsonDataIteratorObjectBase() = default;
JsonDataIteratorObjectBase::~JsonDataIteratorObjectBase() = default;
