#include "SystemInformationManagerRegistryDefinitions.h"

const QString& SystemInformationManagerRegistryDefinitions::SelectionTypeValues::getSelection()
{
    static const QString text = QStringLiteral("Selection");
    return text;
}

const QString& SystemInformationManagerRegistryDefinitions::SelectionTypeValues::getNode()
{
    static const QString text = QStringLiteral("Node");
    return text;
}

const QString& SystemInformationManagerRegistryDefinitions::CloseModeValues::getManual()
{
    static const QString text = QStringLiteral("Manual");
    return text;
}

const QString& SystemInformationManagerRegistryDefinitions::DataSourceTypeValues::getJsonData()
{
    static const QString text = QStringLiteral("JsonData");
    return text;
}

const QString& SystemInformationManagerRegistryDefinitions::UiJobValues::getUiJobOpenConfiguration()
{
    static const QString text = QStringLiteral("OpenConfiguration");
    return text;
}

const QString& SystemInformationManagerRegistryDefinitions::getKeySelectionType()
{
    static const QString text = QStringLiteral("selectionType");
    return text;
}

const QString& SystemInformationManagerRegistryDefinitions::getKeyInstanceName()
{
    static const QString text = QStringLiteral("instanceName");
    return text;
}

const QString& SystemInformationManagerRegistryDefinitions::getKeySubstructure()
{
    static const QString text = QStringLiteral("substructure");
    return text;
}

const QString& SystemInformationManagerRegistryDefinitions::getKeyDisplayPosition()
{
    static const QString text = QStringLiteral("displayPosition");
    return text;
}

const QString& SystemInformationManagerRegistryDefinitions::getKeyIconName()
{
    static const QString text = QStringLiteral("iconName");
    return text;
}

const QString& SystemInformationManagerRegistryDefinitions::getKeyDataSourceType()
{
    static const QString text = QStringLiteral("dataSourceType");
    return text;
}

const QString& SystemInformationManagerRegistryDefinitions::getKeyCloseMode()
{
    static const QString text = QStringLiteral("closeMode");
    return text;
}

const QString& SystemInformationManagerRegistryDefinitions::getKeyUiJob()
{
    static const QString text = QStringLiteral("uiJob");
    return text;
}

const QString& SystemInformationManagerRegistryDefinitions::getKeyHide()
{
    static const QString text = QStringLiteral("hide");
    return text;
}

const QString& SystemInformationManagerRegistryDefinitions::getKeyLabelTextId()
{
    static const QString text = QStringLiteral("labelTextId");
    return text;
}

const QString& SystemInformationManagerRegistryDefinitions::getKeyDataModel()
{
    static const QString text = QStringLiteral("dataModel");
    return text;
}

const QString& SystemInformationManagerRegistryDefinitions::getKeyLastModified()
{
    static const QString text = QStringLiteral("lastModified");
    return text;
}

const QString& SystemInformationManagerRegistryDefinitions::getKeyModuleName()
{
    static const QString text = QStringLiteral("moduleName");
    return text;
}

const QString& SystemInformationManagerRegistryDefinitions::getKeyObjectName()
{
    static const QString text = QStringLiteral("objectName");
    return text;
}
