#pragma once

#include <QtCore/QString>

/**
 * Keys and values of manifest elements.
 *
 * The library calls these getters and defines none of them. The process that loads the library provides them. Rules for
 * a provider:
 *
 * - Every getter returns a reference to the same string from its first call to the end of the process, also in
 *   destructors of static objects. The library keeps these references. A function-local static QString made from
 *   QStringLiteral fulfils this. A string that is built at run time does not, because its data is freed at exit.
 * - Getters are called from any thread. A string that is built on the first call needs a guarded initialisation, which
 *   a function-local static has.
 * - No text is empty. No two keys have the same text, the keys of ConfigurationAndProcessDataDefinitions included. Keys
 *   are compared case-sensitively.
 * - The texts marked "fixed" are part of the file format of the manifest. The library has its own copies of four of
 *   them, which must be equal: "selectionType", "Selection" and "Node" in ConfigurationManifestHandler, "instanceName"
 *   in JsonDataIteratorConfigurationInstanceListUpdater. All other texts are the choice of the provider.
 *
 * | getter                | text                     | JSON type | meaning                                     |
 * |-----------------------|--------------------------|-----------|---------------------------------------------|
 * | getKeySelectionType   | fixed: "selectionType"   | string    | kind of element, one of SelectionTypeValues |
 * | getKeyInstanceName    | fixed: "instanceName"    | string    | name by which an element is addressed       |
 * | getKeySubstructure    | fixed: "substructure"    | array     | children of a node                          |
 * | getKeyDisplayPosition | fixed: "displayPosition" | number    | sort position; in descriptions only         |
 * | getKeyIconName        | fixed: "iconName"        | string    | icon to show                                |
 * | getKeyDataSourceType  | free                     | string    | where a node's data comes from              |
 * | getKeyCloseMode       | free                     | string    | how an opened selection is closed           |
 * | getKeyUiJob           | free                     | string    | what the user interface does with the entry |
 * | getKeyHide            | free                     | bool      | selection is not shown                      |
 * | getKeyLabelTextId     | free                     | string    | id of the label's text                      |
 * | getKeyDataModel       | free                     | string    | data model of the description file          |
 * | getKeyLastModified    | free                     | string    | when the description was last modified      |
 * | getKeyModuleName      | free                     | string    | module that owns the selection              |
 * | getKeyObjectName      | free                     | string    | object that owns the selection              |
 */
class Q_DECL_EXPORT SystemInformationManagerRegistryDefinitions {
public:
    /// Values of getKeySelectionType(). Both are fixed.
    class Q_DECL_EXPORT SelectionTypeValues {
    public:
        /**
         * A selection: an element that a user can select and open. It is made from a description file.
         *
         * @return "Selection", which is fixed.
         */
        static const QString& getSelection();
        /**
         * A node: a group of elements. It is made from a folder.
         *
         * @return "Node", which is fixed.
         */
        static const QString& getNode();
    };

    /// Values of getKeyCloseMode().
    class Q_DECL_EXPORT CloseModeValues {
    public:
        /**
         * The user closes the selection.
         *
         * @return the value; the provider's choice.
         */
        static const QString& getManual();
    };

    /// Values of getKeyDataSourceType().
    class Q_DECL_EXPORT DataSourceTypeValues {
    public:
        /**
         * The node's data is JSON.
         *
         * @return the value; the provider's choice.
         */
        static const QString& getJsonData();
    };

    /// Values of getKeyUiJob().
    class Q_DECL_EXPORT UiJobValues {
    public:
        /**
         * The user interface opens the configuration of the selection.
         *
         * @return the value; the provider's choice.
         */
        static const QString& getUiJobOpenConfiguration();
    };

    /**
     * Key of the kind of an element, a string of SelectionTypeValues.
     *
     * @return "selectionType", which is fixed.
     */
    static const QString& getKeySelectionType();
    /**
     * Key of the name by which an element is addressed, a string.
     *
     * @return "instanceName", which is fixed.
     */
    static const QString& getKeyInstanceName();
    /**
     * Key of the children of a node, an array.
     *
     * @return "substructure", which is fixed.
     */
    static const QString& getKeySubstructure();
    /**
     * Key of the sort position, a number. Only descriptions have it.
     *
     * @return "displayPosition", which is fixed.
     */
    static const QString& getKeyDisplayPosition();
    /**
     * Key of the icon to show, a string.
     *
     * @return "iconName", which is fixed.
     */
    static const QString& getKeyIconName();
    /**
     * Key of where a node's data comes from, a string of DataSourceTypeValues.
     *
     * @return the key; the provider's choice.
     */
    static const QString& getKeyDataSourceType();
    /**
     * Key of how an opened selection is closed, a string of CloseModeValues.
     *
     * @return the key; the provider's choice.
     */
    static const QString& getKeyCloseMode();
    /**
     * Key of what the user interface does with a selection, a string of UiJobValues.
     *
     * @return the key; the provider's choice.
     */
    static const QString& getKeyUiJob();
    /**
     * Key of whether a selection is hidden, a bool.
     *
     * @return the key; the provider's choice.
     */
    static const QString& getKeyHide();
    /**
     * Key of the id of the label's text, a string.
     *
     * @return the key; the provider's choice.
     */
    static const QString& getKeyLabelTextId();
    /**
     * Key of the data model of the description file, a string.
     *
     * @return the key; the provider's choice.
     */
    static const QString& getKeyDataModel();
    /**
     * Key of when the description was last modified, a string.
     *
     * @return the key; the provider's choice.
     */
    static const QString& getKeyLastModified();
    /**
     * Key of the module that owns the selection, a string.
     *
     * @return the key; the provider's choice.
     */
    static const QString& getKeyModuleName();
    /**
     * Key of the object that owns the selection, a string.
     *
     * @return the key; the provider's choice.
     */
    static const QString& getKeyObjectName();
};
