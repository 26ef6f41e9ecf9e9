#pragma once

#include <QtCore/QString>

/**
 * Registry vocabulary: the keys and values of manifest elements.
 *
 * The library calls these getters and defines none of them: the process that loads it does. What a provider must keep:
 *
 * - Every getter returns the same string, by reference, from the first call to the end of the run, destructors of
 *   static objects included. The library keeps such references across calls. A function-local static QString made from
 *   QStringLiteral does both; one that is built at run time is gone once it is destroyed.
 * - Getters may be called from any thread, so a string that is built on the first call needs a guarded initialisation,
 *   as a function-local static has.
 * - No text is empty; no two keys share a text, those of ConfigurationAndProcessDataDefinitions included. Keys are
 *   compared case-sensitively.
 * - The texts marked "fixed" are part of the manifest's file format. The library has its own copies of four of them,
 *   which must be the same: "selectionType", "Selection" and "Node" in ConfigurationManifestHandler, "instanceName" in
 *   JsonDataIteratorConfigurationInstanceListUpdater. All others are the provider's choice; the column says what the
 *   key or value is for.
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
 * | getKeyUiJob           | free                     | string    | what the user interface does with it        |
 * | getKeyHide            | free                     | bool      | selection is not shown                      |
 * | getKeyLabelTextId     | free                     | string    | id of the label's text                      |
 * | getKeyDataModel       | free                     | string    | data model of the description file          |
 * | getKeyLastModified    | free                     | string    | when the description was last modified      |
 * | getKeyModuleName      | free                     | string    | module that owns the selection              |
 * | getKeyObjectName      | free                     | string    | object that owns the selection              |
 */
class Q_DECL_EXPORT SystemInformationManagerRegistryDefinitions {
public:
    /// Values under getKeySelectionType(). Both texts are fixed.
    class Q_DECL_EXPORT SelectionTypeValues {
    public:
        /// "Selection": an entry that a user can select and open; made from a description file.
        static const QString& getSelection();
        /// "Node": a group of elements; made from a folder.
        static const QString& getNode();
    };

    /// Values under getKeyCloseMode().
    class Q_DECL_EXPORT CloseModeValues {
    public:
        /// The user closes the selection.
        static const QString& getManual();
    };

    /// Values under getKeyDataSourceType().
    class Q_DECL_EXPORT DataSourceTypeValues {
    public:
        /// The node's data is JSON.
        static const QString& getJsonData();
    };

    /// Values under getKeyUiJob().
    class Q_DECL_EXPORT UiJobValues {
    public:
        /// Open the configuration that the selection stands for.
        static const QString& getUiJobOpenConfiguration();
    };

    static const QString& getKeySelectionType();
    static const QString& getKeyInstanceName();
    static const QString& getKeySubstructure();
    static const QString& getKeyDisplayPosition();
    static const QString& getKeyIconName();
    static const QString& getKeyDataSourceType();
    static const QString& getKeyCloseMode();
    static const QString& getKeyUiJob();
    static const QString& getKeyHide();
    static const QString& getKeyLabelTextId();
    static const QString& getKeyDataModel();
    static const QString& getKeyLastModified();
    static const QString& getKeyModuleName();
    static const QString& getKeyObjectName();
};
