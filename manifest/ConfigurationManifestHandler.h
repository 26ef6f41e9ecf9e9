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
 * Loads, queries, edits and saves one existing manifest, for the module and the object that own it.
 *
 * A handler never creates a manifest. That is the job of ConfigurationManifestCreator, which also documents the format.
 *
 * A handler lives as long as its user wants. Its destructor does not save. It owns its copy of the manifest. It
 * accesses the file only in parseManifestFile(), in writeToManifestFile() and in edits that are asked to save. It is
 * used by one thread at a time. Two handlers of one file do not coordinate: each save replaces the file atomically, and
 * the last one wins. [Callbacks](docs/limits.md#callbacks) says what edit functions and message handlers may do with
 * the handler whose call they run in.
 *
 * Every element is addressed by its instance path: the instance names from the top level down, separated by "/". Within
 * one array a selection is found by the last segment of its instance name: the selection stored as "Net/port" is found
 * as "port". Every other element is found by its whole instance name. Of several matching elements the first one is
 * found. An instance name that is missing or not a string counts as empty; so does the name of an array item that is
 * not an object. Queries skip empty names in a path: "/a//b" is "a/b". Edits keep them: "a//b" is b in an element with
 * an empty name in a. For elements other than selections with a "/" in their name see [Names](docs/limits.md#names).
 *
 *     ConfigurationManifestHandler handler(path, QStringLiteral("Drives"), QStringLiteral("drive1"));
 *     handler.parseManifestFile();
 *     handler.setProperty(QStringLiteral("Net/port"), QStringLiteral("iconName"), QStringLiteral("plug"), true);
 *
 * How the public edits differ:
 *
 * | edit                                | when asked to save, saves                 | message on failure             |
 * |-------------------------------------|-------------------------------------------|--------------------------------|
 * | update, setProperty, removeProperty | after a success, if getModified() is true | none                           |
 * | modifyPropertyFirst                 | after a success, if getModified() is true | none                           |
 * | addNode, addSelection               | after a success, also if nothing is added | none                           |
 * | deleteElement, sortElements         | after a success                           | none                           |
 * | moveNode, moveSelection             | always, also after a failure              | only for an index out of range |
 * | updateNode, updateSelection         | always, also after a failure              | only for a missing last name   |
 *
 * The result of an edit says whether the edit applied. It does not say whether a save succeeded. An edit that returns
 * false has changed nothing. The exception is an edit function that sets its flag and returns false, see
 * modifyProperty(). Every message is a warning in the default category. A successful addition can log warnings too, see
 * addNode(). When memory runs out, a call throws std::bad_alloc or Qt ends the process; the manifest is then unchanged,
 * see [Memory](docs/limits.md#memory).
 *
 * Cost: a look-up reads the name of each sibling before the one it finds, at every level of the path. An edit costs its
 * look-ups, one copy of the edited element with its members, and moving the items behind the place that it changes in
 * its array. Sorting takes n log n. No other array is copied, unless a caller still holds a copy of the manifest. An
 * element is rebuilt when a string in it is replaced, so a handler that lives long does not grow.
 */
class CONFIGURATION_MANIFEST_EXPORT ConfigurationManifestHandler {
public:
    /**
     * Key that holds the kind of an element. The library defines it itself: stamping does not use the imported getter.
     *
     * @return "selectionType".
     */
    static const QString& getKeySelectionType();

    /// Values of getKeySelectionType(), as the library's own copies.
    class CONFIGURATION_MANIFEST_EXPORT SelectionTypeValues {
    public:
        /**
         * Value of a selection, an element that is made from a description file.
         *
         * @return "Selection".
         */
        static const QString& getSelection();
        /**
         * Value of a node, an element that is made from a folder. The library itself does not call this getter.
         *
         * @return "Node".
         */
        static const QString& getNode();
    };

    /**
     * Constructs a handler with an empty manifest. Accesses no file.
     *
     * @param manifestFilePath full path of the manifest, used unchanged.
     * @param moduleName       module name that is stamped into every selection on loading; none when empty.
     * @param objectName       object name that is stamped into every selection on loading; none when empty.
     */
    ConfigurationManifestHandler(const QString& manifestFilePath, const QString& moduleName, const QString& objectName);
    /// Destroys the handler. Does not save.
    virtual ~ConfigurationManifestHandler();
    Q_DISABLE_COPY(ConfigurationManifestHandler)

    /**
     * Path of the manifest.
     *
     * @return the path that was passed to the constructor.
     */
    QString getManifestFilePath() const;
    /**
     * Module name that is stamped into selections.
     *
     * @return the name that was passed to the constructor.
     */
    QString getModuleName() const;
    /**
     * Object name that is stamped into selections.
     *
     * @return the name that was passed to the constructor.
     */
    QString getObjectName() const;

    /**
     * Manifest in memory.
     *
     * @return a copy that shares its data with the handler until one of them changes; empty before the first load and
     *         after a failed load from the file. While the copy exists, an edit copies the arrays and objects that it
     *         changes.
     *
     * Cost: constant.
     */
    QJsonArray getManifestJsonArray() const;
    /**
     * Replaces the manifest in memory. It is not stamped, not saved, and getModified() does not change.
     *
     * @param manifest new manifest. Its items are not examined.
     *
     * Cost: constant.
     */
    void setManifestJsonArray(const QJsonArray& manifest);
    /**
     * Manifest as a save writes it.
     *
     * @return compact UTF-8 JSON without a line break at its end.
     *
     * Cost: linear in the size of the manifest.
     */
    QByteArray getManifestContent();
    /**
     * Whether an edit has been carried out since construction. Loading and saving do not reset it.
     *
     * These edits without an effect count too: moving an element to its own position, replacing an element by an equal
     * one, and sorting that keeps the order. Edits of an array of the caller count, and so does an edit function that
     * sets its flag, whatever it returns.
     *
     * @return true after the first such edit, for the rest of the handler's life.
     */
    bool getModified() const;

    /**
     * Loads the manifest from its file and stamps it, see addModuleAndObjectNameToManifest().
     *
     * After a failure the manifest is empty, and the next save would write it so, see [After a failed
     * load](docs/limits.md#after-a-failed-load). getModified() does not change.
     *
     * Messages: "Cannot find configuration manifest file!"; "Configuration manifest file does not exist!" when the file
     * is removed between two checks; "Cannot open configuration manifest file for reading:" with the path; those of
     * parseManifestFile(const QByteArray&).
     *
     * Cost: linear in the size of the file.
     */
    void parseManifestFile();

    /**
     * Loads the manifest from JSON text and stamps it, see addModuleAndObjectNameToManifest().
     *
     * The root of the document must be an array. Its items are not examined. After a failure the manifest is unchanged.
     * getModified() does not change.
     *
     * @param content the JSON text, in UTF-8.
     *
     * Messages: "Error on paring configuration manifest file content to Json:" with the error of the parser;
     * "Configuration manifest json document is empty!"; "Configuration manifest file does not contain a Json array!".
     *
     * Cost: linear in the size of the text.
     */
    void parseManifestFile(const QByteArray& content);

    /**
     * Saves the whole manifest. The file is synced and replaces the previous one atomically.
     *
     * Never creates the file. After a failure the previous file is unchanged. A rename that fails at the very end is
     * not noticed and leaves the previous file in place. [Owner and permissions](docs/limits.md#owner-and-permissions)
     * describes who owns the new file. [Saving](docs/limits.md#saving) says when a temporary file remains.
     * getModified() does not change.
     *
     * Messages: "Configuration manifest file does not exist!"; "Cannot open configuration manifest file for writing:"
     * with the path; "Error on writing instance list to manifest file!" when data could not be written or synced.
     *
     * Cost: linear in the size of the manifest, and the time that the disk takes to sync.
     */
    void writeToManifestFile();

    /**
     * Stamps one object: when it is a selection, stores the module name and the object name in it.
     *
     * A name that is empty is not stored. Values that the object already has under these keys are replaced. Every other
     * object is unchanged. Objects inside `object` are not stamped.
     *
     * @param[in,out] object the object to stamp.
     */
    void addModuleAndObjectNameToJsonObject(QJsonObject& object) const;
    /**
     * Stamps every object inside a value, at any depth and under any member, as addModuleAndObjectNameToJsonObject()
     * does. The value itself is stamped too, if it is an object.
     *
     * @param[in,out] value an object or array; any other value is unchanged. A value that shares its data with a copy
     *                      is detached, which copies all its containers.
     *
     * Cost: linear in the number of values.
     */
    void addModuleAndObjectNameToManifest(QJsonValue& value) const;
    /**
     * Stamps every object inside an array, at any depth and under any member, as addModuleAndObjectNameToJsonObject()
     * does.
     *
     * @param[in,out] array the array. One that shares its data with a copy is detached, which copies all its
     *                      containers.
     *
     * Cost: linear in the number of values.
     */
    void addModuleAndObjectNameToManifest(QJsonArray& array) const;

    /**
     * Finds an element in one array by its name.
     *
     * A selection is found by the last segment of its instance name, every other element by its whole instance name. Of
     * several matching elements the first one is found.
     *
     * @param      array        array to search; the children of its elements are not searched.
     * @param      instanceName name to look for; compared case-sensitively.
     * @param[out] index        position of the element in `array`; -1 when there is none.
     * @return the element; an empty object when there is none.
     *
     * Messages: none. "Found an empty instance name:" would be logged for a name without segments, but even an empty
     * name has one.
     *
     * Cost: reads the name of each element up to the one it finds.
     */
    QJsonObject getElementFromInstance(const QJsonArray& array, const QString& instanceName, int& index) const;

    /**
     * Finds the element, node or selection, at the end of a path that starts in an array.
     *
     * @param      array        array in which the first name is looked up.
     * @param      instancePath names from `array` down to the element.
     * @param[out] element      the element. Unchanged after a failure, except that it becomes empty when the only name
     *                          of a path is missing.
     * @return true when there is such an element.
     *
     * Messages: "Received an empty instance path!"; "Cannot find element for path" with the last name when only that
     * one is missing. Nothing is logged when an earlier name is missing.
     *
     * Cost: one look-up for each name of the path.
     */
    bool getNodeElement(const QJsonArray& array, const QStringList& instancePath, QJsonObject& element) const;
    /**
     * Finds the element, node or selection, at the end of a path in the manifest.
     *
     * @param      instancePath names separated by "/". Empty names are skipped, so a path of nothing but "/" is empty.
     * @param[out] element      the element. Unchanged after a failure, except that it becomes empty when the only name
     *                          of a path is missing.
     * @return true when there is such an element.
     *
     * Messages: "Received an empty instance path!"; "Cannot find element for path" with the last name when only that
     * one is missing. Nothing is logged when an earlier name is missing.
     *
     * Cost: one look-up for each name of the path.
     */
    bool getNodeElement(const QString& instancePath, QJsonObject& element) const;

    /**
     * Lists the instance names of the children of an element, or of the top level.
     *
     * Children without an instance name are left out. A child whose instance name is not a string is listed as an empty
     * string.
     *
     * @param         instancePath names separated by "/"; empty for the top level. "/" is not the top level.
     * @param[in,out] instances    list to which the names are appended, in the order of the array. It is cleared
     *                             instead when the element does not have the key of children, for example when it is a
     *                             selection. Unchanged after a failure.
     * @return false when there is no such element or its children are not an array.
     *
     * Messages: those of getNodeElement(), followed by "Error on getting node element for path" with the path; "Cannot
     * find key 'substructure' in json element" with the element when its children are not an array.
     *
     * Cost: one look-up for each name of the path, and linear in the number of children.
     */
    bool getListOfInstances(const QString& instancePath, QStringList& instances) const;
    /**
     * Counts the names that getListOfInstances() finds.
     *
     * @param      instancePath names separated by "/"; empty for the top level. "/" is not the top level.
     * @param[out] number       number of names. Unchanged after a failure.
     * @return false when there is no such element or its children are not an array.
     *
     * Messages and cost: those of getListOfInstances().
     */
    bool getNumberOfInstances(const QString& instancePath, int& number) const;

    /**
     * Changes the value of a property that an element has. An equal value changes nothing and is a success.
     *
     * When the last name of the path is missing, the whole text of `instancePath` is looked up once, in the same array.
     *
     * @param instancePath names separated by "/"; empty names are kept.
     * @param key          key of the property.
     * @param value        new value, converted by QJsonValue::fromVariant().
     * @param writeToFile  true to save after a success, if getModified() is true.
     * @return false when there is no such element or it lacks the property. Then nothing is changed.
     *
     * Messages: only those of writeToManifestFile().
     *
     * Cost: one look-up for each name of the path, and one copy of the element's members when the value differs.
     */
    bool update(const QString& instancePath, const QString& key, const QVariant& value, bool writeToFile);
    /**
     * Sets the value of a property and adds the property if it is missing. An equal value changes nothing and is a
     * success.
     *
     * When the last name of the path is missing, the whole text of `instancePath` is looked up once, in the same array.
     *
     * @param instancePath names separated by "/"; empty names are kept.
     * @param key          key of the property.
     * @param value        new value, converted by QJsonValue::fromVariant().
     * @param writeToFile  true to save after a success, if getModified() is true.
     * @return false when there is no such element. Then nothing is changed.
     *
     * Messages: only those of writeToManifestFile().
     *
     * Cost: one look-up for each name of the path, and one copy of the element's members when the value differs.
     */
    bool setProperty(const QString& instancePath, const QString& key, const QVariant& value, bool writeToFile);
    /**
     * Removes a property of an element. Removing a missing property succeeds.
     *
     * When the last name of the path is missing, the whole text of `instancePath` is looked up once, in the same array.
     *
     * @param instancePath names separated by "/"; empty names are kept.
     * @param key          key of the property.
     * @param writeToFile  true to save after a success, if getModified() is true.
     * @return false when there is no such element. Then nothing is changed.
     *
     * Messages: only those of writeToManifestFile().
     *
     * Cost: one look-up for each name of the path, and one copy of the element's members when the property exists.
     */
    bool removeProperty(const QString& instancePath, const QString& key, bool writeToFile);

    /**
     * Applies an edit function to an element of the manifest.
     *
     * The edit function receives a copy of the element and a flag that is false. It returns whether the edit applies.
     * It sets the flag when it has changed the copy, and never clears it. Changes without the flag are dropped.
     *
     * When the last name of the path is missing, the whole text of `instancePath` is looked up once, in the same array.
     *
     * @param instancePath names separated by "/"; empty names are kept.
     * @param edit         the edit function. It is called at most once and not stored. See
     *                     [Callbacks](docs/limits.md#callbacks) for what it may do with this handler.
     * @param writeToFile  true to save if `edit` returns true and getModified() is true.
     * @return what `edit` returns; false when there is no such element. After false nothing is changed, except when
     *         `edit` has set its flag: getModified() is then true, and an element of the top level is stored as `edit`
     *         left it.
     * @throws std::bad_function_call when the element exists and `edit` is empty. What `edit` throws is passed on. In
     *         both cases this edit has changed nothing.
     *
     * Messages: only those of writeToManifestFile().
     *
     * Cost: one look-up for each name of the path, and copies of the element's members when the flag is set.
     */
    bool modifyPropertyFirst(
        const QString& instancePath, const std::function<bool(QJsonObject&, bool&)>& edit, bool writeToFile);

    /**
     * Applies an edit function to an element of an array of the caller. Does not save.
     *
     * The edit function receives a copy of the element and the flag `changed`. It returns whether the edit applies. It
     * sets the flag when it has changed the copy, and never clears it. When the flag is true afterwards, getModified()
     * is true from then on, and the copy is stored: in `array` itself whatever `edit` returned, in the children of an
     * element only if `edit` returned true. When the flag is false, the copy is dropped.
     *
     * @param[in,out] array        array in which the first name is looked up.
     * @param         instancePath names from `array` down to the element.
     * @param         fullPath     name that is looked up in the same array when the last name is missing; none when
     *                             empty.
     * @param[in,out] changed      the flag, passed to `edit` as it is. A flag that is already true counts as set.
     * @param         edit         the edit function. It is called at most once and not stored.
     * @return what `edit` returns; false when the path is empty or there is no such element.
     * @throws std::bad_function_call when the element exists and `edit` is empty. What `edit` throws is passed on. In
     *         both cases this edit has changed nothing.
     *
     * Messages: "ConfigurationManifestHandler::modifyProperty : Size of instancePath is NULL !" for an empty path.
     *
     * Cost: one look-up for each name of the path, and copies of the element's members when the flag is set.
     */
    bool modifyProperty(QJsonArray& array, const QStringList& instancePath, const QString& fullPath, bool& changed,
        const std::function<bool(QJsonObject&, bool&)>& edit);

    /**
     * Adds a node, made from a description by ConfigurationStructureElement::generateNodeData().
     *
     * When an element is found by that name, nothing is added and the result is true. Any element can get children, a
     * selection too: one without children gets an array, and children that are not an array are replaced by one.
     *
     * @param instancePath names separated by "/"; empty names are kept. The last one becomes the name of the node.
     * @param jsonObject   description of the node, as in a folder description file.
     * @param index        position among the siblings. A negative one appends; so does one beyond their number, with a
     *                     warning.
     * @param writeToFile  true to save after a success, also when nothing was added.
     * @return false when a name before the last one is missing. Then nothing is changed and nothing is logged.
     *
     * Messages: "The index for addElements is out of bounds, append the element", although the addition succeeds; those
     * of ConfigurationStructureElement::extractDisplayPosition() when the description has no display position or one
     * that is not a number; those of writeToManifestFile().
     *
     * Cost: one look-up for each name of the path, the last one among all siblings, one copy of the description's
     * members, and moving the siblings behind the new position.
     */
    bool addNode(const QString& instancePath, const QJsonObject& jsonObject, int index, bool writeToFile);
    /**
     * Adds a selection, made from a description by ConfigurationStructureElement::generateSelectionData().
     *
     * When an element is found by the whole path among the siblings, nothing is added and the result is true. Since a
     * selection is found by the last segment of its name, a selection below the top level is never recognised as
     * present: it can be added twice. Any element can get children, a selection too: one without children gets an
     * array, and children that are not an array are replaced by one.
     *
     * @param instancePath names separated by "/"; empty names are kept. The whole path becomes the instance name of the
     *                     selection, unless `jsonObject` has one.
     * @param jsonObject   description of the selection, as in a description file.
     * @param index        position among the siblings. A negative one appends; so does one beyond their number, with a
     *                     warning.
     * @param writeToFile  true to save after a success, also when nothing was added.
     * @return false when a name before the last one is missing. Then nothing is changed and nothing is logged.
     *
     * Messages: "The index for addElements is out of bounds, append the element", although the addition succeeds; those
     * of ConfigurationStructureElement::generateSelectionData(), for example about a missing display position, a
     * missing SystemInformationManagerRegistryDefinitions::getKeyHide() and members of another type; those of
     * writeToManifestFile().
     *
     * Cost: one look-up for each name of the path, the last one among all siblings, the members of a selection, and
     * moving the siblings behind the new position.
     */
    bool addSelection(const QString& instancePath, const QJsonObject& jsonObject, int index, bool writeToFile);

    /**
     * Removes an element with everything below it.
     *
     * When the last name of the path is missing, the whole text of `instancePath` is looked up once, in the same array.
     *
     * @param instancePath names separated by "/"; empty names are kept.
     * @param writeToFile  true to save after a success.
     * @return false when there is no such element. Then nothing is changed.
     *
     * Messages: only those of writeToManifestFile().
     *
     * Cost: one look-up for each name of the path, and moving the siblings behind the element.
     */
    bool deleteElement(const QString& instancePath, bool writeToFile);

    /**
     * Sorts the children of an element, or the top level, into the order of a list of names.
     *
     * Names without an element are ignored. Every child must be named, but only their number is checked: a list that
     * names one child twice and leaves out another is accepted. The child that is named twice is then duplicated, and
     * the one that is left out is lost. Children that are not objects become empty objects. An element without
     * children, also a selection, accepts any list of names. It gets an empty array of children, which replaces a value
     * of another type. This counts as an edit.
     *
     * @param instancePath  names separated by "/"; empty names are kept. Empty for the top level.
     * @param instanceNames names of the children in the wanted order.
     * @param writeToFile   true to save after a success.
     * @return false when there is no such element, or when the number of elements found is not the number of children.
     *         Then nothing is changed.
     *
     * Messages: only those of writeToManifestFile().
     *
     * Cost: one look-up for each name of the path, and n log n in children and names, whatever the names are.
     */
    bool sortElements(const QString& instancePath, const QStringList& instanceNames, bool writeToFile);

    /**
     * Moves an element, selection or node, to another position among its siblings. Does what moveNode() does.
     *
     * @param instancePath names separated by "/"; empty names are kept.
     * @param newIndex     position after the move, from 0 to the number of elements in the array less one. The position
     *                     that the element already has is a success.
     * @param writeToFile  true to save, also after a failure.
     * @return false when there is no such element or no such position. Then nothing is changed.
     *
     * Messages: "Index out of bounds, move failed"; those of writeToManifestFile(). A missing element is not reported.
     *
     * Cost: one look-up for each name of the path, and moving the siblings behind either position.
     */
    bool moveSelection(const QString& instancePath, int newIndex, bool writeToFile);
    /**
     * Moves an element, node or selection, to another position among its siblings. Does what moveSelection() does.
     *
     * @param instancePath names separated by "/"; empty names are kept.
     * @param newIndex     position after the move, from 0 to the number of elements in the array less one. The position
     *                     that the element already has is a success.
     * @param writeToFile  true to save, also after a failure.
     * @return false when there is no such element or no such position. Then nothing is changed.
     *
     * Messages: "Index out of bounds, move failed"; those of writeToManifestFile(). A missing element is not reported.
     *
     * Cost: one look-up for each name of the path, and moving the siblings behind either position.
     */
    bool moveNode(const QString& instancePath, int newIndex, bool writeToFile);

    /**
     * Replaces an element, selection or node, by an object. The children of the element are kept. If it has none, it
     * has none afterwards either.
     *
     * The object is stored as it is: its instance name and selection type are neither checked nor adjusted.
     *
     * @param instancePath names separated by "/"; empty names are kept.
     * @param jsonObject   object to store. Its children are ignored.
     * @param writeToFile  true to save, also after a failure.
     * @return false when there is no such element. Then nothing is changed.
     *
     * Messages: "InstancePath is wrong, replace failed" when only the last name is missing; those of
     * writeToManifestFile(). Nothing is logged when an earlier name is missing.
     *
     * Cost: one look-up for each name of the path, and one copy of the members of `jsonObject`.
     */
    bool updateSelection(const QString& instancePath, const QJsonObject& jsonObject, bool writeToFile);
    /**
     * Replaces an element, node or selection, by an object, with or without the children of the object.
     *
     * The object is stored as it is: its instance name and selection type are neither checked nor adjusted.
     *
     * @param instancePath        names separated by "/"; empty names are kept.
     * @param jsonObject          object to store.
     * @param replaceSubstructure true to take the children, or their lack, from `jsonObject`; false to keep those of
     *                            the element.
     * @param writeToFile         true to save, also after a failure.
     * @return false when there is no such element. Then nothing is changed.
     *
     * Messages: "InstancePath is wrong, replace failed" when only the last name is missing; those of
     * writeToManifestFile(). Nothing is logged when an earlier name is missing.
     *
     * Cost: one look-up for each name of the path, and one copy of the members of `jsonObject`.
     */
    bool updateNode(
        const QString& instancePath, const QJsonObject& jsonObject, bool replaceSubstructure, bool writeToFile);

    /**
     * Adds an element to an array of the caller, as addNode() and addSelection() do. Does not save.
     *
     * When an element is found by the last entry of the path, nothing is added and the result is true. An addition
     * makes getModified() true.
     *
     * @param[in,out] array        array in which the first name is looked up.
     * @param         instancePath names from `array` down to the new element. The last entry may contain "/"; it is
     *                             looked up as it is and becomes the instance name, unless the description of a
     *                             selection has one.
     * @param         jsonObject   description of the element. Its selection type is ignored.
     * @param         index        position among the siblings. A negative one appends; so does one beyond their number,
     *                             with a warning.
     * @param         isNode       true to add a node, false to add a selection.
     * @return false when the path is empty or a name before the last one is missing. Then nothing is changed.
     *
     * Messages: "ConfigurationManifestHandler::addElement: invalid size of instancePath" with the size, for an empty
     * path; "The index for addElements is out of bounds, append the element", although the addition succeeds; those of
     * ConfigurationStructureElement::generateNodeData() or ConfigurationStructureElement::generateSelectionData().
     *
     * Cost: one look-up for each name of the path, the last one among all siblings, one copy of the description's
     * members, and moving the siblings behind the new position.
     */
    bool addElement(
        QJsonArray& array, const QStringList& instancePath, const QJsonObject& jsonObject, int index, bool isNode);
    /**
     * Removes an element with everything below it from an array of the caller. Does not save.
     *
     * A removal makes getModified() true.
     *
     * @param[in,out] array        array in which the first name is looked up.
     * @param         instancePath names from `array` down to the element. The last entry is looked up as it is.
     * @param         fullPath     name that is looked up in the same array when the last name is missing; none when
     *                             empty.
     * @return false when the path is empty or there is no such element. Then nothing is changed.
     *
     * Messages: "ConfigurationManifestHandler::deleteElement : Size of instancePath is NULL !" for an empty path.
     *
     * Cost: one look-up for each name of the path, and moving the siblings behind the element.
     */
    bool deleteElement(QJsonArray& array, const QStringList& instancePath, const QString& fullPath);
    /**
     * Replaces an element in an array of the caller by an object, as updateNode() does. Does not save.
     *
     * A replacement makes getModified() true, also one by an equal object.
     *
     * @param[in,out] array               array in which the first name is looked up.
     * @param         instancePath        names from `array` down to the element. Of the last entry, only the part after
     *                                    its last "/" is looked up.
     * @param         jsonObject          object to store.
     * @param         replaceSubstructure true to take the children, or their lack, from `jsonObject`; false to keep
     *                                    those of the element.
     * @return false when the path is empty or there is no such element. Then nothing is changed.
     *
     * Messages: "ConfigurationManifestHandler::replaceElement: invalid size of instancePath" with the size, for an
     * empty path; "InstancePath is wrong, replace failed" when only the last name is missing. Nothing is logged when an
     * earlier name is missing.
     *
     * Cost: one look-up for each name of the path, and one copy of the members of `jsonObject`.
     */
    bool replaceElement(
        QJsonArray& array, const QStringList& instancePath, const QJsonObject& jsonObject, bool replaceSubstructure);
    /**
     * Moves an element in an array of the caller to another position among its siblings. Does not save.
     *
     * A move makes getModified() true, also one to the position that the element already has.
     *
     * @param[in,out] array        array in which the first name is looked up.
     * @param         instancePath names from `array` down to the element. Of the last entry, only the part after its
     *                             last "/" is looked up.
     * @param         newIndex     position after the move, from 0 to the number of elements in the array less one.
     * @return false when the path is empty or there is no such element or no such position. Then nothing is changed.
     *
     * Messages: "ConfigurationManifestHandler::moveElement: invalid size of instancePath" with the size, for an empty
     * path; "Index out of bounds, move failed". A missing element is not reported.
     *
     * Cost: one look-up for each name of the path, and moving the siblings behind either position.
     */
    bool moveElement(QJsonArray& array, const QStringList& instancePath, int newIndex);
    /**
     * Sorts the children of an element in an array of the caller, or the array itself, into the order of a list of
     * names. Does not save.
     *
     * Which lists of names are accepted, and what becomes of children that are not objects and of elements without
     * children: see sortElements(const QString&, const QStringList&, bool). Sorting makes getModified() true, also when
     * the order stays.
     *
     * @param[in,out] array         array in which the first name is looked up.
     * @param         instancePath  names from `array` down to the element; empty for `array` itself.
     * @param         instanceNames names of the children in the wanted order.
     * @return false when there is no such element, or when the number of elements found is not the number of children.
     *         Then nothing is changed.
     *
     * Messages: none.
     *
     * Cost: one look-up for each name of the path, and n log n in children and names, whatever the names are.
     */
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
