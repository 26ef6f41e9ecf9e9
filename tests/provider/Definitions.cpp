#include "ConfigurationAndProcessDataDefinitions.h"
#include "PropertyManagerConst.h"
#include "SystemInformationManagerRegistryDefinitions.h"

// Every text differs from the one that the manifest's file format fixes or that the substitute has chosen.

#define DEFINE_GETTER(name, literal)                                                                                   \
    const QString& name()                                                                                              \
    {                                                                                                                  \
        static const QString text = QStringLiteral(literal);                                                           \
        return text;                                                                                                   \
    }

using Registry = SystemInformationManagerRegistryDefinitions;
DEFINE_GETTER(Registry::SelectionTypeValues::getSelection, "v:selection")
DEFINE_GETTER(Registry::SelectionTypeValues::getNode, "v:node")
DEFINE_GETTER(Registry::CloseModeValues::getManual, "v:manual")
DEFINE_GETTER(Registry::DataSourceTypeValues::getJsonData, "v:jsonData")
DEFINE_GETTER(Registry::UiJobValues::getUiJobOpenConfiguration, "v:openConfiguration")
DEFINE_GETTER(Registry::getKeySelectionType, "k:selectionType")
DEFINE_GETTER(Registry::getKeyInstanceName, "k:instanceName")
DEFINE_GETTER(Registry::getKeySubstructure, "k:substructure")
DEFINE_GETTER(Registry::getKeyDisplayPosition, "k:displayPosition")
DEFINE_GETTER(Registry::getKeyIconName, "k:iconName")
DEFINE_GETTER(Registry::getKeyDataSourceType, "k:dataSourceType")
DEFINE_GETTER(Registry::getKeyCloseMode, "k:closeMode")
DEFINE_GETTER(Registry::getKeyUiJob, "k:uiJob")
DEFINE_GETTER(Registry::getKeyHide, "k:hide")
DEFINE_GETTER(Registry::getKeyLabelTextId, "k:labelTextId")
DEFINE_GETTER(Registry::getKeyDataModel, "k:dataModel")
DEFINE_GETTER(Registry::getKeyLastModified, "k:lastModified")
DEFINE_GETTER(Registry::getKeyModuleName, "k:moduleName")
DEFINE_GETTER(Registry::getKeyObjectName, "k:objectName")

using DataProperty = ConfigurationAndProcessDataDefinitions;
DEFINE_GETTER(DataProperty::getKeyDataPropertyBufferType, "k:bufferType")
DEFINE_GETTER(DataProperty::getKeyDataPropertyConnectorId, "k:connectorId")
DEFINE_GETTER(DataProperty::getKeyDataPropertyDependencyFile, "k:dependencyFile")
DEFINE_GETTER(DataProperty::getKeyDataPropertyDependencyFileExtern, "k:dependencyFileExtern")
DEFINE_GETTER(DataProperty::getKeyDataPropertyLabelTextUrl, "k:labelTextUrl")
DEFINE_GETTER(DataProperty::getKeyDataPropertySelectorTypeList, "k:selectorTypeList")
DEFINE_GETTER(DataProperty::getKeyDataPropertySelectorTypeListEndpoint, "k:selectorTypeListEndpoint")
DEFINE_GETTER(DataProperty::getKeyDataPropertyTemplateType, "k:templateType")
DEFINE_GETTER(DataProperty::getKeyDataPropertyConfigurationVersion, "k:configurationVersion")
DEFINE_GETTER(DataProperty::getKeyDataPropertyTolmVersion, "k:tolmVersion")
DEFINE_GETTER(DataProperty::getSelectorUrlSchemeConfiguration, "v-scheme")

DEFINE_GETTER(PropertyManagerConst::getConfigurationFolderName, "v-folder")
