// All definitions that the library imports from the process that loads it. Copy this file and fill in your texts: those
// here belong to the example tree, yours belong to your description files and manifests. The headers say what each text
// is for and which rules it must follow. Compile this file into the program, or into one library that the program links
// to. A process has exactly one provider.

#include <ConfigurationAndProcessDataDefinitions.h>
#include <JsonDataIteratorObjectBase.h>
#include <JsonReaders.h>
#include <PropertyManagerConst.h>
#include <SystemInformationManagerRegistryDefinitions.h>

// The library keeps references to these strings and calls the getters on any thread until the process ends. A static
// local variable is initialised once, whichever thread calls first. A string made from QStringLiteral has no memory
// that could be freed too early. So replace only the literals, and keep this macro.
#define DEFINE_TEXT(getter, text)                                                                                      \
    const QString& getter()                                                                                            \
    {                                                                                                                  \
        static const QString string = QStringLiteral(text);                                                            \
        return string;                                                                                                 \
    }

// The name of the configuration folder, below the base path that is passed to create().
DEFINE_TEXT(PropertyManagerConst::getConfigurationFolderName, "configuration")

// The scheme of configurations, which is the first part of the manifest's file name: configuration.manifest.json.
DEFINE_TEXT(ConfigurationAndProcessDataDefinitions::getSelectorUrlSchemeConfiguration, "configuration")

// Fixed by the manifest's file format: do not change these texts. All keys, here and below, have different texts.
DEFINE_TEXT(SystemInformationManagerRegistryDefinitions::getKeySelectionType, "selectionType")
DEFINE_TEXT(SystemInformationManagerRegistryDefinitions::getKeyInstanceName, "instanceName")
DEFINE_TEXT(SystemInformationManagerRegistryDefinitions::getKeySubstructure, "substructure")
DEFINE_TEXT(SystemInformationManagerRegistryDefinitions::getKeyDisplayPosition, "displayPosition")
DEFINE_TEXT(SystemInformationManagerRegistryDefinitions::getKeyIconName, "iconName")
DEFINE_TEXT(SystemInformationManagerRegistryDefinitions::SelectionTypeValues::getSelection, "Selection")
DEFINE_TEXT(SystemInformationManagerRegistryDefinitions::SelectionTypeValues::getNode, "Node")

// Your keys of members that every selection has. If the description file lacks one, the library adds a default.
DEFINE_TEXT(SystemInformationManagerRegistryDefinitions::getKeyHide, "hide")
DEFINE_TEXT(SystemInformationManagerRegistryDefinitions::getKeyLabelTextId, "labelTextId")
DEFINE_TEXT(SystemInformationManagerRegistryDefinitions::getKeyDataModel, "dataModel")
DEFINE_TEXT(SystemInformationManagerRegistryDefinitions::getKeyLastModified, "lastModified")

// Your keys of members that the library writes whatever the description says, and the values that your user interface
// expects there. The first pair goes into every node, the other two into every selection.
DEFINE_TEXT(SystemInformationManagerRegistryDefinitions::getKeyDataSourceType, "dataSourceType")
DEFINE_TEXT(SystemInformationManagerRegistryDefinitions::DataSourceTypeValues::getJsonData, "JsonData")
DEFINE_TEXT(SystemInformationManagerRegistryDefinitions::getKeyCloseMode, "closeMode")
DEFINE_TEXT(SystemInformationManagerRegistryDefinitions::CloseModeValues::getManual, "Manual")
DEFINE_TEXT(SystemInformationManagerRegistryDefinitions::getKeyUiJob, "uiJob")
DEFINE_TEXT(SystemInformationManagerRegistryDefinitions::UiJobValues::getUiJobOpenConfiguration, "OpenConfiguration")

// Your keys of the module and the object that own a selection. Loading stores their names in every selection, except a
// name that is empty.
DEFINE_TEXT(SystemInformationManagerRegistryDefinitions::getKeyModuleName, "moduleName")
DEFINE_TEXT(SystemInformationManagerRegistryDefinitions::getKeyObjectName, "objectName")

// Your keys of members that a selection has only if the description file gives them a valid value: a text or list that
// is not empty, or an integer from 0 up.
DEFINE_TEXT(ConfigurationAndProcessDataDefinitions::getKeyDataPropertyBufferType, "bufferType")
DEFINE_TEXT(ConfigurationAndProcessDataDefinitions::getKeyDataPropertyConnectorId, "connectorId")
DEFINE_TEXT(ConfigurationAndProcessDataDefinitions::getKeyDataPropertyDependencyFile, "dependencyFile")
DEFINE_TEXT(ConfigurationAndProcessDataDefinitions::getKeyDataPropertyDependencyFileExtern, "dependencyFileExtern")
DEFINE_TEXT(ConfigurationAndProcessDataDefinitions::getKeyDataPropertyLabelTextUrl, "labelTextUrl")
DEFINE_TEXT(ConfigurationAndProcessDataDefinitions::getKeyDataPropertySelectorTypeList, "selectorTypeList")
DEFINE_TEXT(
    ConfigurationAndProcessDataDefinitions::getKeyDataPropertySelectorTypeListEndpoint, "selectorTypeListEndpoint")
DEFINE_TEXT(ConfigurationAndProcessDataDefinitions::getKeyDataPropertyTemplateType, "templateType")

// Your keys of the versions in a folder description. The library leaves them out of the manifest.
DEFINE_TEXT(ConfigurationAndProcessDataDefinitions::getKeyDataPropertyConfigurationVersion, "configurationVersion")
DEFINE_TEXT(ConfigurationAndProcessDataDefinitions::getKeyDataPropertyTolmVersion, "tolmVersion")

// Readers of members of JSON objects. When the member is missing or has another type, return false and leave the third
// argument unchanged. The library logs the failure, so there is no need to log it here.
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

// The base class of the library's two iterators. Its virtual table and type information are emitted where the
// destructor is defined. The library does not walk over documents. If your software does, its walk calls compute() for
// each object.
JsonDataIteratorObjectBase::JsonDataIteratorObjectBase() = default;
JsonDataIteratorObjectBase::~JsonDataIteratorObjectBase() = default;
