#pragma once

#include <QtCore/QString>

/**
 * Keys that description files share with the configuration and process data that they describe.
 *
 * The process that loads the library provides this class, under the rules of
 * SystemInformationManagerRegistryDefinitions. All texts are the choice of the provider.
 *
 * | getter                                     | JSON type | meaning                                              |
 * |--------------------------------------------|-----------|------------------------------------------------------|
 * | getKeyDataPropertyBufferType               | string    | buffer that holds the data                           |
 * | getKeyDataPropertyConnectorId              | number    | connector of the data; an integer from 0 up          |
 * | getKeyDataPropertyDependencyFile           | string    | file that the data depends on                        |
 * | getKeyDataPropertyDependencyFileExtern     | string    | dependency outside the configuration folder          |
 * | getKeyDataPropertyLabelTextUrl             | string    | URL of the label's text                              |
 * | getKeyDataPropertySelectorTypeList         | array     | selector types                                       |
 * | getKeyDataPropertySelectorTypeListEndpoint | array     | selector types of an endpoint                        |
 * | getKeyDataPropertyTemplateType             | string    | template of the data                                 |
 * | getKeyDataPropertyConfigurationVersion     | any       | version of a folder's configuration; never in a node |
 * | getKeyDataPropertyTolmVersion              | any       | Tolm version of a folder; never in a node            |
 */
class Q_DECL_EXPORT ConfigurationAndProcessDataDefinitions {
public:
    /**
     * Key of the buffer that holds the data, a string.
     *
     * @return the key; the provider's choice.
     */
    static const QString& getKeyDataPropertyBufferType();
    /**
     * Key of the connector of the data, an integer from 0 up.
     *
     * @return the key; the provider's choice.
     */
    static const QString& getKeyDataPropertyConnectorId();
    /**
     * Key of the file that the data depends on, a string.
     *
     * @return the key; the provider's choice.
     */
    static const QString& getKeyDataPropertyDependencyFile();
    /**
     * Key of the file outside the configuration folder that the data depends on, a string.
     *
     * @return the key; the provider's choice.
     */
    static const QString& getKeyDataPropertyDependencyFileExtern();
    /**
     * Key of the URL of the label's text, a string.
     *
     * @return the key; the provider's choice.
     */
    static const QString& getKeyDataPropertyLabelTextUrl();
    /**
     * Key of the selector types, an array.
     *
     * @return the key; the provider's choice.
     */
    static const QString& getKeyDataPropertySelectorTypeList();
    /**
     * Key of the selector types of an endpoint, an array.
     *
     * @return the key; the provider's choice.
     */
    static const QString& getKeyDataPropertySelectorTypeListEndpoint();
    /**
     * Key of the template of the data, a string.
     *
     * @return the key; the provider's choice.
     */
    static const QString& getKeyDataPropertyTemplateType();
    /**
     * Key of the version of a folder's configuration, of any type. It is removed from nodes.
     *
     * @return the key; the provider's choice.
     */
    static const QString& getKeyDataPropertyConfigurationVersion();
    /**
     * Key of the Tolm version of a folder, of any type. It is removed from nodes.
     *
     * @return the key; the provider's choice.
     */
    static const QString& getKeyDataPropertyTolmVersion();

    /**
     * URL scheme of configurations, as opposed to processes.
     *
     * A scan under this scheme collects configuration files. A scan under any other scheme collects process files. The
     * scheme is also the first part of the manifest's file name.
     *
     * @return the scheme; the provider's choice. It must be usable in a file name.
     */
    static const QString& getSelectorUrlSchemeConfiguration();
};
