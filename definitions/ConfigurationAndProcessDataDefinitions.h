#pragma once

#include <QtCore/QString>

/**
 * Vocabulary of configuration and process data: the keys that description files share with the data they describe.
 *
 * Provided by the process that loads the library, under the rules of SystemInformationManagerRegistryDefinitions. All
 * texts are the provider's choice.
 *
 * | getter                                     | JSON type | meaning                                              |
 * |--------------------------------------------|-----------|------------------------------------------------------|
 * | getKeyDataPropertyBufferType               | string    | buffer that holds the data                           |
 * | getKeyDataPropertyConnectorId              | number    | connector of the data; an integer from 0 up          |
 * | getKeyDataPropertyDependencyFile           | string    | file that the data depends on                        |
 * | getKeyDataPropertyDependencyFileExtern     | string    | the same, outside the configuration folder           |
 * | getKeyDataPropertyLabelTextUrl             | string    | URL of the label's text                              |
 * | getKeyDataPropertySelectorTypeList         | array     | selector types                                       |
 * | getKeyDataPropertySelectorTypeListEndpoint | array     | selector types of an endpoint                        |
 * | getKeyDataPropertyTemplateType             | string    | template of the data                                 |
 * | getKeyDataPropertyConfigurationVersion     | any       | version of a folder's configuration; never in a node |
 * | getKeyDataPropertyTolmVersion              | any       | Tolm version of a folder; never in a node            |
 */
class Q_DECL_EXPORT ConfigurationAndProcessDataDefinitions {
public:
    static const QString& getKeyDataPropertyBufferType();
    static const QString& getKeyDataPropertyConnectorId();
    static const QString& getKeyDataPropertyDependencyFile();
    static const QString& getKeyDataPropertyDependencyFileExtern();
    static const QString& getKeyDataPropertyLabelTextUrl();
    static const QString& getKeyDataPropertySelectorTypeList();
    static const QString& getKeyDataPropertySelectorTypeListEndpoint();
    static const QString& getKeyDataPropertyTemplateType();
    static const QString& getKeyDataPropertyConfigurationVersion();
    static const QString& getKeyDataPropertyTolmVersion();

    /**
     * URL scheme of configurations, as opposed to processes. A scan under this scheme collects configuration files,
     * a scan under any other one process files; and it is the first part of the manifest's file name, so it must be
     * usable as one.
     */
    static const QString& getSelectorUrlSchemeConfiguration();
};
