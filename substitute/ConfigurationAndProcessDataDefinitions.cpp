#include "ConfigurationAndProcessDataDefinitions.h"

const QString& ConfigurationAndProcessDataDefinitions::getKeyDataPropertyBufferType()
{
    static const QString text = QStringLiteral("bufferType");
    return text;
}

const QString& ConfigurationAndProcessDataDefinitions::getKeyDataPropertyConnectorId()
{
    static const QString text = QStringLiteral("connectorId");
    return text;
}

const QString& ConfigurationAndProcessDataDefinitions::getKeyDataPropertyDependencyFile()
{
    static const QString text = QStringLiteral("dependencyFile");
    return text;
}

const QString& ConfigurationAndProcessDataDefinitions::getKeyDataPropertyDependencyFileExtern()
{
    static const QString text = QStringLiteral("dependencyFileExtern");
    return text;
}

const QString& ConfigurationAndProcessDataDefinitions::getKeyDataPropertyLabelTextUrl()
{
    static const QString text = QStringLiteral("labelTextUrl");
    return text;
}

const QString& ConfigurationAndProcessDataDefinitions::getKeyDataPropertySelectorTypeList()
{
    static const QString text = QStringLiteral("selectorTypeList");
    return text;
}

const QString& ConfigurationAndProcessDataDefinitions::getKeyDataPropertySelectorTypeListEndpoint()
{
    static const QString text = QStringLiteral("selectorTypeListEndpoint");
    return text;
}

const QString& ConfigurationAndProcessDataDefinitions::getKeyDataPropertyTemplateType()
{
    static const QString text = QStringLiteral("templateType");
    return text;
}

const QString& ConfigurationAndProcessDataDefinitions::getKeyDataPropertyConfigurationVersion()
{
    static const QString text = QStringLiteral("configurationVersion");
    return text;
}

const QString& ConfigurationAndProcessDataDefinitions::getKeyDataPropertyTolmVersion()
{
    static const QString text = QStringLiteral("tolmVersion");
    return text;
}

const QString& ConfigurationAndProcessDataDefinitions::getSelectorUrlSchemeConfiguration()
{
    static const QString text = QStringLiteral("configuration");
    return text;
}
