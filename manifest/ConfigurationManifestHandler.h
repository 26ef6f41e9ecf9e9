#pragma once

#include "ConfigurationManifestExport.h"

#include <QtCore/QByteArray>
#include <QtCore/QJsonArray>
#include <QtCore/QJsonObject>
#include <QtCore/QJsonValue>
#include <QtCore/QString>
#include <QtCore/QStringList>
#include <QtCore/QVariant>

#include <functional>

/**
 * One existing manifest in memory, for the module and object that own it: loads it, answers questions about it, edits
 * and saves it. Creating one is the job of ConfigurationManifestCreator, which also documents the format.
 *
 * Lives as long as its user wants; its destructor does not save. Owns its copy of the manifest. Touches the file only
 * in parseManifestFile(), in writeToManifestFile() and in edits that are asked to save. Used by one thread at a time.
 * Two handlers of one file know nothing of each other: each save replaces the file atomically, and the last one wins.
 * What edit functions and whoever takes the messages may do with the handler: docs/limits.md, Callbacks.
 *
 * Every element is addressed by its instance path: the instance names from the top level down, separated by "/". Within
 * one array a selection answers to the last segment of its instance name (the selection stored as "Net/port" to
 * "port"), every other element to its whole instance name; of several the first one is found. A name that is missing or
 * no string is an empty one, and so is that of what is not an object. Queries skip empty names in a path ("/a//b" is
 * "a/b"), edits keep them ("a//b" is b below an element with an empty name below a). Elements other than selections
 * with a "/" in their name: docs/limits.md, Names.
 *
 *     ConfigurationManifestHandler handler(path, QStringLiteral("Drives"), QStringLiteral("drive1"));
 *     handler.parseManifestFile();
 *     handler.setProperty(QStringLiteral("Net/port"), QStringLiteral("iconName"), QStringLiteral("plug"), true);
 *
 * How the public edits differ:
 *
 * | edit                                | saves when asked to and ...            | message on failure        |
 * |-------------------------------------|----------------------------------------|---------------------------|
 * | update, setProperty, removeProperty | it succeeded and getModified()         | none                      |
 * | modifyPropertyFirst                 | the same                               | none                      |
 * | addNode, addSelection               | it succeeded, also with nothing to add | none                      |
 * | deleteElement, sortElements         | it succeeded                           | none                      |
 * | moveNode, moveSelection             | always, also after a failure           | for an index out of range |
 * | updateNode, updateSelection         | always, also after a failure           | for a missing last name   |
 *
 * The result of an edit says whether it applied, never whether a save did. An edit that returns false has changed
 * nothing; the exception is an edit function that sets its flag and returns false (modifyProperty()). An element whose
 * text is replaced is made anew, so a handler that lives long does not grow. Every message is a warning in the default
 * category; successful additions can warn as well (addNode()). When memory runs out, calls throw std::bad_alloc, or Qt
 * ends the process; the manifest is then what it was: docs/limits.md, Memory.
 *
 * Cost: a lookup reads the name of each sibling before the one it finds, at every level of the path. An edit costs its
 * lookups, one copy of the edited element with its members and, in the array it changes, the moving of what lies
 * behind; sorting costs n log n. No other array is copied, unless a caller still holds a copy of the manifest.
 */
class CONFIGURATION_MANIFEST_EXPORT ConfigurationManifestHandler {
public:
    /// The library's own copy of the key by which stamping tells selections: "selectionType".
    static const QString& getKeySelectionType();

    /// The library's own copies of the values under getKeySelectionType().
    class CONFIGURATION_MANIFEST_EXPORT SelectionTypeValues {
    public:
        /// "Selection"
        static const QString& getSelection();
        /// "Node"
        static const QString& getNode();
    };

    /**
     * A handler with an empty manifest. Touches no file.
     *
     * @param manifestFilePath full path of the manifest, used as it is.
     * @param moduleName       stamped into every selection on loading, unless empty.
     * @param objectName       stamped into every selection on loading, unless empty.
     */
    ConfigurationManifestHandler(const QString& manifestFilePath, const QString& moduleName, const QString& objectName);
    virtual ~ConfigurationManifestHandler();
    Q_DISABLE_COPY(ConfigurationManifestHandler)

    QString getManifestFilePath() const;
    QString getModuleName() const;
    QString getObjectName() const;

    /// The manifest. The copy shares its data until one side changes; while it lives, an edit copies what it changes.
    QJsonArray getManifestJsonArray() const;
    /// Replaces the manifest in memory. Stamps nothing, saves nothing, does not count as a modification.
    void setManifestJsonArray(const QJsonArray& manifest);
    /// The manifest as it is saved: compact UTF-8 JSON without a line end.
    QByteArray getManifestContent();
    /// Whether any edit has been carried out since construction: moving an element onto its own place, storing an equal
    /// one, sorting without effect and editing an array of the caller's count as well, and so does an edit function
    /// that sets its flag, whatever it returns. Neither loading nor saving clears it.
    bool getModified() const;

    /**
     * Loads the manifest from the file and stamps it. After a failure the manifest is empty, and the next save writes
     * it so (docs/limits.md, After a failed load).
     *
     * Messages: "Cannot find configuration manifest file!", "Configuration manifest file does not exist!", "Cannot open
     * configuration manifest file for reading:" with the path, and those of parseManifestFile(const QByteArray&).
     */
    void parseManifestFile();

    /**
     * Takes over a manifest from its JSON text and stamps it. The root must be an array; its items are not examined.
     * After a failure the manifest is what it was.
     *
     * Messages: "Error on paring configuration manifest file content to Json:" with the parser's error, "Configuration
     * manifest json document is empty!", "Configuration manifest file does not contain a Json array!".
     */
    void parseManifestFile(const QByteArray& content);

    /**
     * Saves the manifest, whole, synced and atomically. Never creates the file. After a failure the previous file is
     * untouched. Owner and permissions of the new file, and when a temporary one is left: docs/limits.md, Owner and
     * permissions, Saving.
     *
     * Messages: "Configuration manifest file does not exist!", "Cannot open configuration manifest file for writing:"
     * with the path, "Error on writing instance list to manifest file!", also when the sync fails. A rename that fails
     * at the very end goes unnoticed, with the previous file in place.
     */
    void writeToManifestFile();

    /// Stamps an object: when it is a selection, stores those of module and object name that are not empty.
    void addModuleAndObjectNameToJsonObject(QJsonObject& object) const;
    /// Stamps every object inside `value`, at any depth and under any member. In place; a value that shares its data
    /// with a copy is separated from it first, which copies all its containers.
    void addModuleAndObjectNameToManifest(QJsonValue& value) const;
    void addModuleAndObjectNameToManifest(QJsonArray& array) const;

    /**
     * The first element of `array` that answers to `instanceName`, and its position in `index`. An empty object and -1
     * when there is none.
     */
    QJsonObject getElementFromInstance(const QJsonArray& array, const QString& instanceName, int& index) const;

    /**
     * Finds the element, node or selection, at the end of a path that starts in `array`.
     *
     * @return false when there is none. With "Received an empty instance path!" or, when only the last name is missing,
     *         "Cannot find element for path" and that name; silent when an earlier one is. `element` is then unchanged,
     *         but empty when a path of one name was not found.
     */
    bool getNodeElement(const QJsonArray& array, const QStringList& instancePath, QJsonObject& element) const;
    /// Finds an element of the manifest as above, for a path as text. Text of nothing but "/" is an empty path.
    bool getNodeElement(const QString& instancePath, QJsonObject& element) const;

    /**
     * Appends to `instances` the instance names of the children of an element, of the top level when `instancePath` is
     * empty. Children without the key of the name are left out; one whose name is no string is listed as an empty text.
     * An element without the key of the children clears the list instead.
     *
     * @return false, with `instances` unchanged, after the message of getNodeElement() and "Error on getting node
     *         element for path" with the path, also for "/", which is not the top level; or after "Cannot find key
     *         'substructure' in json element" with the element when its children are no array.
     */
    bool getListOfInstances(const QString& instancePath, QStringList& instances) const;
    /// The number of names that getListOfInstances() finds. Fails as that does, with `number` unchanged.
    bool getNumberOfInstances(const QString& instancePath, int& number) const;

    /// Changes the value of a property that the element has; equal values change nothing. A value is stored as
    /// QJsonValue::fromVariant() makes it. An element that is not found by its last name is looked for once more, in
    /// the same array, by the whole text of the path. False, without a message, when the element is not found or lacks
    /// the property.
    bool update(const QString& instancePath, const QString& key, const QVariant& value, bool writeToFile);
    /// Changes the value of a property, adding it when missing; equal values change nothing. Looks for the element as
    /// update() does. False, without a message, when the element is not found.
    bool setProperty(const QString& instancePath, const QString& key, const QVariant& value, bool writeToFile);
    /// Removes a property; one that is missing is none the less a success. Looks for the element as update() does.
    /// False, without a message, when the element is not found.
    bool removeProperty(const QString& instancePath, const QString& key, bool writeToFile);

    /**
     * Applies `edit` to the element at a path of the manifest; saves when asked, if the edit applied and getModified().
     * An edit gets a copy of the element and a flag. It returns whether it applies, and sets the flag when it altered
     * the copy; it never clears it. What it altered without the flag is dropped. The element is looked for as update()
     * does.
     *
     * @return what `edit` returns; false, without a message, when the element is not found.
     * @throws std::bad_function_call when the element was found and `edit` is empty, and whatever `edit` throws; then
     *         this edit has changed nothing.
     */
    bool modifyPropertyFirst(
        const QString& instancePath, const std::function<bool(QJsonObject&, bool&)>& edit, bool writeToFile);

    /**
     * Applies `edit` to the element at a path that starts in `array`, as modifyPropertyFirst() does, without saving.
     *
     * @param fullPath text to look for when the last name is not found; none when empty.
     * @param changed  handed to `edit`. When it is true afterwards, getModified() is true from then on, and the element
     *                 is written back: at the top of `array` whatever `edit` returned, below it only if that was true.
     * @return false, with "ConfigurationManifestHandler::modifyProperty : Size of instancePath is NULL !", for an empty
     *         path; else as above.
     */
    bool modifyProperty(QJsonArray& array, const QStringList& instancePath, const QString& fullPath, bool& changed,
        const std::function<bool(QJsonObject&, bool&)>& edit);

    /**
     * Adds a node, made from a description as the creator makes one from a folder description, named by the last name
     * of the path. A name that is present is a success that changes nothing. False, without a message, when a name
     * before it is missing. Whatever element they lead to gets the node among its children: one without children
     * gets an array of them, and children that are no array are replaced by one.
     *
     * Warns while it succeeds, as ConfigurationStructureElement::generateNodeData() does: about a description without a
     * display position or with one that is no number.
     *
     * @param index position among its siblings; negative appends, and so does, with "The index for addElements is out
     *              of bounds, append the element", one beyond their number.
     */
    bool addNode(const QString& instancePath, const QJsonObject& jsonObject, int index, bool writeToFile);
    /// Adds a selection, made as the creator makes one from a description file; the rest as in addNode(). Its instance
    /// name is the whole path, unless `jsonObject` gives one, and by the whole path it is looked for; so below the top
    /// level no selection is found present, and one can be added twice. Warns while it succeeds, as
    /// generateSelectionData() does: also about a missing getKeyHide() and about members of another type.
    bool addSelection(const QString& instancePath, const QJsonObject& jsonObject, int index, bool writeToFile);

    /// Removes an element with everything below it. Looks for it as update() does. False, without a message, when it is
    /// not found.
    bool deleteElement(const QString& instancePath, bool writeToFile);

    /**
     * Brings the children of an element, or the top level for an empty path, into the order of `instanceNames`. Names
     * without an element are ignored. False, with nothing changed and without a message, when the path leads nowhere or
     * not as many elements are found as there are children; that a list names one child twice and leaves out another is
     * not noticed, and doubles the one and loses the other. Children that are no objects become empty ones.
     *
     * An element without children, be it a selection, is sorted by any list of names: it gets an empty array of
     * children, in place of whatever it held there, and that counts as an edit.
     *
     * Cost: n log n in children and names, whatever the names are.
     */
    bool sortElements(const QString& instancePath, const QStringList& instanceNames, bool writeToFile);

    /// Moves an element to the position `newIndex` among its siblings. False, without a message, when it is not found,
    /// and, with "Index out of bounds, move failed", when there is no such position. Both move selections and nodes.
    bool moveSelection(const QString& instancePath, int newIndex, bool writeToFile);
    bool moveNode(const QString& instancePath, int newIndex, bool writeToFile);

    /// Stores `jsonObject` in place of an element, which keeps its children, or its lack of any. Nothing else of it is
    /// checked or adjusted. False when it is not found: with "InstancePath is wrong, replace failed" when only the last
    /// name is missing, silent when an earlier one is.
    bool updateSelection(const QString& instancePath, const QJsonObject& jsonObject, bool writeToFile);
    /// Stores `jsonObject` as updateSelection() does; with `replaceSubstructure` the children are those of
    /// `jsonObject`.
    bool updateNode(
        const QString& instancePath, const QJsonObject& jsonObject, bool replaceSubstructure, bool writeToFile);

    /**
     * The edits above on an array of the caller's, without saving. The path is a list of names from `array` down; the
     * last entry may be a whole path, of which replaceElement() and moveElement() look up the last segment, the others
     * the text as it is. An empty path fails with "ConfigurationManifestHandler::addElement: invalid size of
     * instancePath" and its size, likewise for replaceElement and moveElement, and with
     * "ConfigurationManifestHandler::deleteElement : Size of instancePath is NULL !"; for sortElements() it is `array`.
     *
     * @param isNode   true to add a node, false to add a selection; `jsonObject` is not asked.
     * @param fullPath text to look for when the last name is not found; none when empty.
     */
    bool addElement(
        QJsonArray& array, const QStringList& instancePath, const QJsonObject& jsonObject, int index, bool isNode);
    bool deleteElement(QJsonArray& array, const QStringList& instancePath, const QString& fullPath);
    bool replaceElement(
        QJsonArray& array, const QStringList& instancePath, const QJsonObject& jsonObject, bool replaceSubstructure);
    bool moveElement(QJsonArray& array, const QStringList& instancePath, int newIndex);
    bool sortElements(QJsonArray& array, const QStringList& instancePath, const QStringList& instanceNames);

private:
    using ElementEdit = std::function<bool(QJsonObject&, bool&)>;

    Q_DECL_HIDDEN bool editAndSave(const QString& instancePath, const ElementEdit& edit, bool writeToFile);
    Q_DECL_HIDDEN bool editElement(QJsonArray& array, const QStringList& instancePath, const QString& fullPath,
        bool& changed, const ElementEdit& edit);
    Q_DECL_HIDDEN bool saveIfDone(bool result, bool writeToFile);
    Q_DECL_HIDDEN bool saveInAnyCase(bool result, bool writeToFile);

    QString manifestFilePath;
    QString moduleName;
    QString objectName;
    QJsonArray manifestJsonArray;
    bool modified = false;
};
