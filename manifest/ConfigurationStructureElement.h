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
 * An element is a value. Copies share their data until one of them changes. Moves are cheap and do not throw. An
 * element reads files only while it is constructed from one, and in the functions that take a file. It is used by one
 * thread at a time. No function reports a failure by its result. What is missing or malformed in a description is
 * replaced by a default, with a message where the function lists one. When memory runs out, std::bad_alloc is thrown or
 * Qt ends the process, see [Memory](docs/limits.md#memory).
 *
 * A node object is the folder description with some members forced and some removed. K stands for a getter of
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
 * A selection object is assembled member by member. Other members of the description are left out. "read" means: taken
 * from the same key of the description.
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
 * Example, with the keys of the substitute: the file Net/port.config.json with the content `{"labelTextId": "TXT_PORT",
 * "hide": false, "displayPosition": 2, "connectorId": 0}` becomes
 *
 *     {"closeMode": "Manual", "connectorId": 0, "dataModel": "", "hide": false, "iconName": "",
 *      "instanceName": "Net/port", "labelTextId": "TXT_PORT", "lastModified": "", "selectionType": "Selection",
 *      "uiJob": "OpenConfiguration"}
 *
 * and has the display position 2.
 *
 * Every message is a warning in the default category unless said otherwise.
 */
class CONFIGURATION_MANIFEST_EXPORT ConfigurationStructureElement {
public:
    /**
     * Name of the file that describes the folder in which it lies.
     *
     * @return "Folder.menu.json".
     */
    static const QString& getFolderDescriptionFilename();
    /**
     * Suffix of configuration files.
     *
     * @return ".config.json".
     */
    static const QString& getConfigurationFileSuffix();
    /**
     * Suffix of process files.
     *
     * @return ".process.json".
     */
    static const QString& getProcessFileSuffix();

    /// Constructs an element without an entry: a selection that is not valid, with an empty object and the display
    /// position -1.
    ConfigurationStructureElement();

    /**
     * Constructs the element of a file or folder and reads its description.
     *
     * When the entry does not belong in the manifest, see validateObject(), nothing is read and nothing is logged. The
     * element then has its file and the folder of the scan, and is otherwise like a default-constructed one.
     *
     * @param entry    the file or folder.
     * @param scanRoot folder of the whole scan, as it was passed to the scan; see extractInstanceNameFromPath().
     * @param suffix   suffix of the description files, for example getConfigurationFileSuffix().
     *
     * Messages: those of initObject().
     */
    ConfigurationStructureElement(const QFileInfo& entry, const QString& scanRoot, const QString& suffix);

    /**
     * Constructs the element that a JSON object describes, without a file.
     *
     * isValid() is always false, because it says whether an entry of a folder belongs in the manifest, and there is no
     * entry.
     *
     * @param object       the description. Its selection type is ignored.
     * @param instanceName name of a node; name of a selection whose description has none.
     * @param isNode       true for a node, made by generateNodeData(); false for a selection, made by
     *                     generateSelectionData().
     *
     * Messages: those of generateNodeData() or generateSelectionData().
     */
    ConfigurationStructureElement(const QJsonObject& object, const QString& instanceName, bool isNode);

    /**
     * Copies an element. Both share their data until one of them changes.
     *
     * @param other element to copy.
     */
    ConfigurationStructureElement(const ConfigurationStructureElement& other);
    /**
     * Moves an element.
     *
     * @param other element to move from. Afterwards it can only be assigned to or destroyed.
     */
    ConfigurationStructureElement(ConfigurationStructureElement&& other) noexcept;
    /**
     * Copies an element. Both share their data until one of them changes.
     *
     * @param other element to copy.
     * @return this element.
     */
    ConfigurationStructureElement& operator=(const ConfigurationStructureElement& other);
    /**
     * Moves an element.
     *
     * @param other element to move from. Afterwards it can only be assigned to or destroyed.
     * @return this element.
     */
    ConfigurationStructureElement& operator=(ConfigurationStructureElement&& other) noexcept;
    /// Destroys the element.
    virtual ~ConfigurationStructureElement();

    /**
     * Whether the entry belongs in the manifest, as validateObject() has found on construction.
     *
     * @return true when it does; false also for every element without an entry.
     */
    bool isValid() const;
    /**
     * Kind of the element.
     *
     * @return true for a node, false for a selection.
     */
    bool isDirectory() const;
    /**
     * Sort position among the elements of one folder.
     *
     * @return the display position of the description; -1 when the description has none.
     */
    int getDisplayPosition() const;
    /**
     * The node or selection as it is in the manifest.
     *
     * @return the object. Only the creator adds the children that a scan finds for a node. It shares its data with the
     *         element until one of them changes.
     */
    QJsonObject getElementAsJsonObject() const;
    /**
     * The file or folder of the element.
     *
     * @return the entry that was passed to the constructor; empty for an element made from JSON.
     */
    QFileInfo getFileInfo() const;
    /**
     * Icon name in the object.
     *
     * @return the name; empty when there is none or it is not a string.
     *
     * Messages: "Property iconName is not of type string!".
     */
    QString getIconName() const;

    /**
     * Compares by display order within a folder: selections before nodes, each kind by ascending display position.
     *
     * @param other element to compare with.
     * @return true when this element comes before `other`; false also when both have the same kind and position.
     */
    bool operator<(const ConfigurationStructureElement& other) const;

    /**
     * Stores an icon name in the object, in place of any earlier value.
     *
     * @param iconName name to store; an empty one is stored too.
     */
    void setIconName(const QString& iconName);

    /**
     * Whether an entry belongs in the manifest: every folder, and every file whose name ends with the suffix.
     *
     * The content of a file is not examined.
     *
     * @param entry  the file or folder.
     * @param suffix suffix of the description files; compared case-sensitively.
     * @return true when the entry belongs in the manifest.
     */
    bool validateObject(const QFileInfo& entry, const QString& suffix);

    /**
     * Reads the description of an entry and makes this the element of that entry: a node for a folder, a selection for
     * a file.
     *
     * isValid() and getFileInfo() do not change.
     *
     * @param entry the file or folder.
     *
     * Messages: those of generateNodeData() or generateSelectionData().
     */
    void initObject(const QFileInfo& entry);

    /**
     * Reads the display position from a description.
     *
     * Fractions are truncated toward zero. A number outside the range of int becomes the nearest value of that range.
     *
     * @param      object   the description.
     * @param[out] position the display position. Unchanged after a message.
     *
     * Messages: "Cannot find key displayPosition in Json object!", for every folder without a description file as well;
     * "Property displayPosition is not of type double!".
     */
    void extractDisplayPosition(const QJsonObject& object, int& position);

    /**
     * Reads the display position from a description as extractDisplayPosition() does, and removes its key.
     *
     * @param[in,out] object   the description. The key is removed whatever its value is.
     * @param[out]    position the display position. Unchanged after a message.
     *
     * Messages: "Cannot find key displayPosition in Json object!", "Property displayPosition is not of type double!".
     */
    void extractAndRemoveDisplayPosition(QJsonObject& object, int& position);

    /**
     * Derives the instance name of a selection from the path of its file.
     *
     * Every occurrence of `scanRoot` is removed from the folder path. When the rest begins with "/", the name is the
     * rest without it, "/" and the file name up to its first dot. Otherwise the name is the file name up to its first
     * dot. Below /cfg, the file /cfg/Net/port.config.json becomes "Net/port".
     *
     * @param      scanRoot     folder of the whole scan, as it was passed to the scan.
     * @param      entry        the file.
     * @param[out] instanceName the instance name.
     */
    void extractInstanceNameFromPath(const QString& scanRoot, const QFileInfo& entry, QString& instanceName);

    /**
     * Reads the description file of a folder, getFolderDescriptionFilename().
     *
     * Does nothing and logs nothing when `path` is not a folder.
     *
     * @param      path        the folder.
     * @param[out] description the root object of the file; an empty object when the root is an array. Unchanged after a
     *                         message.
     *
     * Messages: "No description file found!" as a debug message; "Can't open file " with the file name and the error;
     * "Can't parse Json!\n".
     *
     * Cost: reads and parses the whole file.
     */
    void readFolderDescription(const QString& path, QJsonObject& description);

    /**
     * Reads a description file.
     *
     * Does nothing and logs nothing when `path` is a folder.
     *
     * @param      path        the file.
     * @param[out] description the root object of the file; an empty object when the root is an array. Unchanged after a
     *                         message.
     *
     * Messages: "No description file found!" as a debug message; "Can't open file " with the file name and the error;
     * "Can't parse Json!\n".
     *
     * Cost: reads and parses the whole file.
     */
    void readFileRootNodeDescription(const QString& path, QJsonObject& description);

    /**
     * Makes the object the node of a folder, from its folder description file.
     *
     * The name is the name of the folder up to its first dot. If the description has no valid display position,
     * getDisplayPosition() does not change. A description that cannot be read counts as empty.
     *
     * @param entry the folder.
     *
     * Messages: those of readFolderDescription() and extractDisplayPosition().
     */
    void generateNodeData(const QFileInfo& entry);
    /**
     * Makes the object a node from a description, in place of what it was.
     *
     * If the description has no valid display position, getDisplayPosition() does not change.
     *
     * @param description  the description, as in a folder description file.
     * @param instanceName name of the node, in place of the one in the description.
     *
     * Messages: those of extractDisplayPosition().
     */
    void generateNodeData(const QJsonObject& description, const QString& instanceName);

    /**
     * Inserts the members of a selection into the object, from a description file.
     *
     * The name is the one in the description, or else the one that extractInstanceNameFromPath() derives for the folder
     * of the scan. Other members that the object has are kept. If the description has no valid display position,
     * getDisplayPosition() does not change. A description that cannot be read counts as empty.
     *
     * @param entry the file.
     *
     * Messages: those of readFileRootNodeDescription(), extractDisplayPosition(), extractSelectionString(),
     * extractSelectionBool() and extractSelectionArray(), so also about a missing
     * SystemInformationManagerRegistryDefinitions::getKeyHide().
     */
    void generateSelectionData(const QFileInfo& entry);
    /**
     * Inserts the members of a selection into the object, from a description.
     *
     * Other members that the object has are kept. If the description has no valid display position,
     * getDisplayPosition() does not change.
     *
     * @param description  the description, as in a description file.
     * @param instanceName name of the selection when the description has none.
     *
     * Messages: those of extractDisplayPosition(), extractSelectionString(), extractSelectionBool() and
     * extractSelectionArray(), so also about a missing SystemInformationManagerRegistryDefinitions::getKeyHide().
     */
    void generateSelectionData(const QJsonObject& description, const QString& instanceName);

    /**
     * Reads a string from a description.
     *
     * @param description the description.
     * @param key         key of the string.
     * @return the string; empty when the key is missing or its value is not a string.
     *
     * Messages: "Property" with the key and "is not of type string!". A missing key is not reported.
     */
    QString extractSelectionString(const QJsonObject& description, const QString& key) const;
    /**
     * Reads a bool from a description.
     *
     * @param description the description.
     * @param key         key of the bool.
     * @return the bool; false when the key is missing or its value is not a bool.
     *
     * Messages: "Cannot find key" with the key and "in Json object!"; "Property" with the key and "is not of type
     * bool!".
     */
    bool extractSelectionBool(const QJsonObject& description, const QString& key) const;
    /**
     * Reads an array from a description.
     *
     * @param description the description.
     * @param key         key of the array.
     * @return the array; empty when the key is missing or its value is not an array.
     *
     * Messages: "Property" with the key and "is not of type array!". A missing key is not reported.
     */
    QJsonArray extractSelectionArray(const QJsonObject& description, const QString& key) const;
    /**
     * Reads an integer from a description.
     *
     * @param description the description.
     * @param key         key of the integer.
     * @return the integer; -1 when the key is missing or its value is not an integer in the range of int.
     *
     * Messages: none.
     */
    int extractSelectionInt(const QJsonObject& description, const QString& key) const;

    /**
     * Stores a string in the object, in place of any earlier value, unless the string is empty.
     *
     * @param key   key of the string.
     * @param value string to store. An empty one changes nothing.
     */
    void insertStringPropertyIfNotEmpty(const QString& key, const QString& value);

private:
    QString rootPath;
    QJsonObject elementObject;
    QFileInfo fileInfo;
    bool valid = false;
    bool directory = false;
    int displayPosition = -1;
};
