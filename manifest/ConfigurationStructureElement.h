#pragma once

#include "ConfigurationManifestExport.h"

#include <QtCore/QFileInfo>
#include <QtCore/QJsonArray>
#include <QtCore/QJsonObject>
#include <QtCore/QString>

/**
 * One entry of a configuration folder as an element of the manifest: a folder becomes a node, a description file
 * becomes a selection.
 *
 * A value: copies share their data until one changes, moves are cheap and do not throw. Reads files only while it is
 * constructed from one, and in the operations that name one. Used by one thread at a time. Nothing here reports a
 * failure to its caller: what is missing or malformed in a description is replaced by a default, with a message where
 * the operation names one. When memory runs out, std::bad_alloc is thrown (docs/limits.md, Memory).
 *
 * A node object is the folder description with some members forced and some taken out. K stands for a getter of
 * SystemInformationManagerRegistryDefinitions, P for one of ConfigurationAndProcessDataDefinitions:
 *
 * | key                                      | type   | when present | value                               |
 * |------------------------------------------|--------|--------------|-------------------------------------|
 * | K getKeySelectionType                    | string | always       | "Node"                              |
 * | K getKeyDataSourceType                   | string | always       | DataSourceTypeValues::getJsonData() |
 * | K getKeyInstanceName                     | string | always       | folder's name up to its first dot   |
 * | K getKeyDisplayPosition                  |        | never        | moved to getDisplayPosition()       |
 * | P getKeyDataPropertyTolmVersion          |        | never        |                                     |
 * | P getKeyDataPropertyConfigurationVersion |        | never        |                                     |
 * | any other                                | any    | as described | unchanged                           |
 *
 * A selection object is assembled member by member; "read" means: from the same key of the description.
 *
 * | key                                          | type   | when present | value                                    |
 * |----------------------------------------------|--------|--------------|------------------------------------------|
 * | K getKeyLabelTextId, getKeyDataModel         | string | always       | read, else ""                            |
 * | K getKeyLastModified, getKeyIconName         | string | always       | read, else ""                            |
 * | K getKeySelectionType                        | string | always       | "Selection"                              |
 * | K getKeyCloseMode                            | string | always       | CloseModeValues::getManual()             |
 * | K getKeyUiJob                                | string | always       | UiJobValues::getUiJobOpenConfiguration() |
 * | K getKeyHide                                 | bool   | always       | read, else false                         |
 * | K getKeyInstanceName                         | string | always       | read, else the name from the path        |
 * | P getKeyDataPropertySelectorTypeList         | array  | not empty    | read                                     |
 * | P getKeyDataPropertySelectorTypeListEndpoint | array  | not empty    | read                                     |
 * | P getKeyDataPropertyConnectorId              | number | 0 or more    | read, an integer                         |
 * | P getKeyDataPropertyTemplateType             | string | not empty    | read                                     |
 * | P getKeyDataPropertyLabelTextUrl             | string | not empty    | read                                     |
 * | P getKeyDataPropertyDependencyFile           | string | not empty    | read                                     |
 * | P getKeyDataPropertyDependencyFileExtern     | string | not empty    | read                                     |
 * | P getKeyDataPropertyBufferType               | string | not empty    | read                                     |
 * | K getKeyModuleName, getKeyObjectName         | string | not empty    | read                                     |
 *
 * Example, with the key texts of the substitute definitions: the file Net/port.config.json holding
 * `{"labelTextId": "TXT_PORT", "hide": false, "displayPosition": 2, "connectorId": 0}` becomes
 *
 *     {"closeMode": "Manual", "connectorId": 0, "dataModel": "", "hide": false, "iconName": "",
 *      "instanceName": "Net/port", "labelTextId": "TXT_PORT", "lastModified": "", "selectionType": "Selection",
 *      "uiJob": "OpenConfiguration"}
 *
 * with the display position 2.
 *
 * Every message is a warning in the default category unless said otherwise.
 */
class CONFIGURATION_MANIFEST_EXPORT ConfigurationStructureElement {
public:
    /// Name of the file that describes the folder it lies in: "Folder.menu.json".
    static const QString& getFolderDescriptionFilename();
    /// Ending of configuration files: ".config.json".
    static const QString& getConfigurationFileSuffix();
    /// Ending of process files: ".process.json".
    static const QString& getProcessFileSuffix();

    /// An element that stands for nothing: not valid, an empty object, display position -1.
    ConfigurationStructureElement();

    /**
     * The element of a file or folder. When the entry does not belong in a manifest (validateObject()), nothing is
     * read: the element knows its file and the folder of the scan, and is empty otherwise.
     *
     * @param scanRoot folder of the whole scan, as the scan was given it; see extractInstanceNameFromPath().
     * @param suffix   ending of the description files, for example getConfigurationFileSuffix().
     */
    ConfigurationStructureElement(const QFileInfo& entry, const QString& scanRoot, const QString& suffix);

    /**
     * The element described by a JSON object instead of a file. Such an element never reports itself valid: validity
     * says whether an entry of a folder belongs in the manifest, and there is none.
     *
     * @param isNode true for a node, as generateNodeData() makes it; false for a selection, as generateSelectionData()
     *               makes it. `object` is not asked: what it holds as selection type is overwritten.
     */
    ConfigurationStructureElement(const QJsonObject& object, const QString& instanceName, bool isNode);

    ConfigurationStructureElement(const ConfigurationStructureElement& other);
    ConfigurationStructureElement(ConfigurationStructureElement&& other) noexcept;
    ConfigurationStructureElement& operator=(const ConfigurationStructureElement& other);
    ConfigurationStructureElement& operator=(ConfigurationStructureElement&& other) noexcept;
    virtual ~ConfigurationStructureElement();

    /// Whether the entry belongs in the manifest.
    bool isValid() const;
    /// True for a node, false for a selection.
    bool isDirectory() const;
    /// Sort position among the elements of one folder; -1 when the description gives none.
    int getDisplayPosition() const;
    /// The node or selection object.
    QJsonObject getElementAsJsonObject() const;
    /// The file or folder; empty for an element made from JSON.
    QFileInfo getFileInfo() const;
    /// The icon name of the object; empty when it has none, and, with "Property iconName is not of type string!", when
    /// it is not a string.
    QString getIconName() const;

    /// Display order within a folder: selections before nodes, each by ascending display position. Elements of one kind
    /// and position are equivalent.
    bool operator<(const ConfigurationStructureElement& other) const;

    /// Stores `iconName` in the object, empty or not, in place of any earlier one.
    void setIconName(const QString& iconName);

    /// Whether an entry belongs in the manifest: every folder does, and every file whose name ends with `suffix`,
    /// case-sensitively. Content is not looked at.
    bool validateObject(const QFileInfo& entry, const QString& suffix);

    /// Makes this the element of `entry`: reads its description and fills the object and the display position.
    void initObject(const QFileInfo& entry);

    /**
     * Reads the display position from a description. Fractions are cut off toward zero; a number outside the range of
     * int becomes its nearest bound.
     *
     * `position` is unchanged after either message: "Cannot find key displayPosition in Json object!" (also for every
     * folder without a description file; the noise is expected), "Property displayPosition is not of type double!".
     */
    void extractDisplayPosition(const QJsonObject& object, int& position);

    /// extractDisplayPosition(), then removes the key from `object`, whatever it held.
    void extractAndRemoveDisplayPosition(QJsonObject& object, int& position);

    /**
     * Derives a selection's instance name from where its file lies: the folder path with every occurrence of `scanRoot`
     * removed; when the rest starts with "/", the rest without it, "/" and the file's name up to its first dot;
     * otherwise that name alone. /cfg/Net/port.config.json below /cfg is "Net/port".
     */
    void extractInstanceNameFromPath(const QString& scanRoot, const QFileInfo& entry, QString& instanceName);

    /**
     * Replaces `description` by the root object of the folder description file in the folder `path`; by an empty object
     * when that file's root is something else. Silent and without effect when `path` is not a folder.
     *
     * `description` is unchanged after each message: "No description file found!" (debug level),
     * "Can't open file " with name and error, "Can't parse Json!\n".
     */
    void readFolderDescription(const QString& path, QJsonObject& description);

    /// The same for the description file `path` itself. Silent and without effect when `path` is a folder.
    void readFileRootNodeDescription(const QString& path, QJsonObject& description);

    /// Makes the object the node of a folder, described by its folder description file.
    void generateNodeData(const QFileInfo& entry);
    /// Makes the object a node from a description. A display position that the description lacks keeps its old value.
    /// Warns as extractDisplayPosition() does.
    void generateNodeData(const QJsonObject& description, const QString& instanceName);

    /// Inserts the members of a selection, described by a description file.
    void generateSelectionData(const QFileInfo& entry);
    /// Inserts the members of a selection, described by `description`; `instanceName` serves when that names none. Only
    /// inserts: what the object holds beside them stays, and so does a display position that the description lacks.
    /// Warns as extractDisplayPosition() and the readers below do, so also about a missing getKeyHide().
    void generateSelectionData(const QJsonObject& description, const QString& instanceName);

    /// The string under `key`. Empty when the key is missing; empty with "Property" `key` "is not of type string!".
    QString extractSelectionString(const QJsonObject& description, const QString& key) const;
    /// The bool under `key`. False with "Cannot find key" `key` "in Json object!" when the key is missing; false with
    /// "Property" `key` "is not of type bool!".
    bool extractSelectionBool(const QJsonObject& description, const QString& key) const;
    /// The array under `key`. Empty when the key is missing; empty with "Property" `key` "is not of type array!".
    QJsonArray extractSelectionArray(const QJsonObject& description, const QString& key) const;
    /// The integer under `key`; -1, without a message, when there is none or it is not an integer of the range of int.
    int extractSelectionInt(const QJsonObject& description, const QString& key) const;

    /// Stores `value` in the object under `key`, unless it is empty.
    void insertStringPropertyIfNotEmpty(const QString& key, const QString& value);

private:
    QString rootPath;
    QJsonObject elementObject;
    QFileInfo fileInfo;
    bool valid = false;
    bool directory = false;
    int displayPosition = -1;
};
