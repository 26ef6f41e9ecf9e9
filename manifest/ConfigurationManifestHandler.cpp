#include "ConfigurationManifestHandler.h"

#include "ConfigurationStructureElement.h"
#include "EditPlace.h"
#include "FileExistence.h"
#include "InstanceNames.h"
#include "JsonReaders.h"
#include "JsonStorage.h"
#include "ManifestSaveFile.h"
#include "Stamp.h"
#include "SystemInformationManagerRegistryDefinitions.h"

#include <QtCore/QDebug>
#include <QtCore/QFile>
#include <QtCore/QJsonDocument>

#include <functional>

using Registry = SystemInformationManagerRegistryDefinitions;
using InstanceNames::lastSegment;
using InstanceNames::splitPath;
using InstanceNames::splitSelectionPath;

namespace {

void appendInstanceNames(const QJsonArray& array, QStringList& instances)
{
    for (const QJsonValue& item : array) {
        const QJsonValue name = item.toObject().value(Registry::getKeyInstanceName());
        if (!name.isUndefined()) {
            instances.append(name.toString());
        }
    }
}

void setMember(QJsonObject& object, const QString& key, const QJsonValue& current, const QVariant& value, bool& changed)
{
    const QJsonValue wanted = QJsonValue::fromVariant(value);
    if (current == wanted) {
        return;
    }
    // Qt never frees a replaced string or a removed key. Inserting an undefined value removes the key.
    if (current.isString() || wanted.isUndefined()) {
        object = JsonStorage::rebuiltWithout(object, key);
    }
    object.insert(key, wanted);
    changed = true;
}

// We cannot see what a caller's edit replaces, so rebuild whenever it has changed something.
template <typename Edit>
auto rebuilding(const Edit& edit)
{
    return [&edit](QJsonObject& element, bool& changed) {
        const bool applied = edit(element, changed);
        if (changed) {
            element = JsonStorage::rebuilt(element);
        }
        return applied;
    };
}

} // namespace

const QString& ConfigurationManifestHandler::getKeySelectionType()
{
    static const QString key = QStringLiteral("selectionType");
    return key;
}

const QString& ConfigurationManifestHandler::SelectionTypeValues::getSelection()
{
    static const QString value = QStringLiteral("Selection");
    return value;
}

const QString& ConfigurationManifestHandler::SelectionTypeValues::getNode()
{
    static const QString value = QStringLiteral("Node");
    return value;
}

ConfigurationManifestHandler::ConfigurationManifestHandler(
    const QString& filePath, const QString& module, const QString& object)
    : manifestFilePath(filePath)
    , moduleName(module)
    , objectName(object)
{
}

ConfigurationManifestHandler::~ConfigurationManifestHandler() = default;

QString ConfigurationManifestHandler::getManifestFilePath() const
{
    return manifestFilePath;
}

QString ConfigurationManifestHandler::getModuleName() const
{
    return moduleName;
}

QString ConfigurationManifestHandler::getObjectName() const
{
    return objectName;
}

QJsonArray ConfigurationManifestHandler::getManifestJsonArray() const
{
    return manifestJsonArray;
}

void ConfigurationManifestHandler::setManifestJsonArray(const QJsonArray& manifest)
{
    manifestJsonArray = manifest;
}

QByteArray ConfigurationManifestHandler::getManifestContent()
{
    return QJsonDocument(manifestJsonArray).toJson(QJsonDocument::Compact);
}

bool ConfigurationManifestHandler::getModified() const
{
    return modified;
}

void ConfigurationManifestHandler::parseManifestFile()
{
    manifestJsonArray = QJsonArray();

    if (!QFile::exists(manifestFilePath)) {
        qWarning() << "Cannot find configuration manifest file!";
        return;
    }
    QFile file(manifestFilePath);
    // Checked twice on purpose: the messages distinguish a missing file from one that has just been removed.
    if (!fileExists(file)) {
        qWarning() << "Configuration manifest file does not exist!";
        return;
    }
    if (!file.open(QIODevice::ReadOnly)) {
        qWarning() << "Cannot open configuration manifest file for reading:" << manifestFilePath << "!";
        return;
    }
    parseManifestFile(file.readAll());
    file.close();
}

void ConfigurationManifestHandler::parseManifestFile(const QByteArray& content)
{
    QJsonParseError parseError;
    QJsonDocument document = QJsonDocument::fromJson(content, &parseError);
    if (parseError.error != QJsonParseError::NoError) {
        qWarning() << "Error on paring configuration manifest file content to Json:" << parseError.errorString() << "!";
    } else if (document.isEmpty()) {
        qWarning() << "Configuration manifest json document is empty!";
    } else if (document.isArray()) {
        QJsonArray manifest = document.array();
        // Release the document's reference first; otherwise stamping detaches the array.
        document = QJsonDocument();
        addModuleAndObjectNameToManifest(manifest);
        manifestJsonArray = manifest;
    } else {
        qWarning() << "Configuration manifest file does not contain a Json array!";
    }
}

void ConfigurationManifestHandler::writeToManifestFile()
{
    if (!QFile::exists(manifestFilePath)) {
        qWarning() << "Configuration manifest file does not exist!";
        return;
    }
    QSaveFile file(manifestFilePath);
    if (!ManifestSaveFile::open(file)) {
        qWarning() << "Cannot open configuration manifest file for writing:" << manifestFilePath << "!";
        return;
    }
    const QByteArray content = getManifestContent();
    if (ManifestSaveFile::writeCompletely(file, content) == content.size()) {
        ManifestSaveFile::commit(file);
    } else {
        qWarning() << "Error on writing instance list to manifest file!";
    }
}

void ConfigurationManifestHandler::addModuleAndObjectNameToJsonObject(QJsonObject& object) const
{
    Stamp(moduleName, objectName).putOn(object);
}

void ConfigurationManifestHandler::addModuleAndObjectNameToManifest(QJsonValue& value) const
{
    Stamp(moduleName, objectName).putOnAll(value);
}

void ConfigurationManifestHandler::addModuleAndObjectNameToManifest(QJsonArray& array) const
{
    Stamp(moduleName, objectName).putOnItems(array);
}

QJsonObject ConfigurationManifestHandler::getElementFromInstance(
    const QJsonArray& array, const QString& instanceName, int& index) const
{
    index = -1;
    const QString& key = Registry::getKeyInstanceName();
    const int size = array.size();
    for (int i = 0; i < size; ++i) {
        QJsonObject element = array.at(i).toObject();
        const QString storedName = element.value(key).toString();
        // A cheap test first: the stored name of a match always ends with `instanceName`. An empty name skips the test,
        // because QString::endsWith() is false for a null string and an empty suffix.
        if (!instanceName.isEmpty() && !storedName.endsWith(instanceName)) {
            continue;
        }
        // Never true, because even an empty name has one segment. The message could only be logged if names were
        // split in another way.
        if (storedName.count(QLatin1Char('/')) + 1 == 0) {
            qWarning() << "Found an empty instance name:" << instanceName << "!";
            continue;
        }
        if (InstanceNames::addressedName(element, storedName) == instanceName) {
            index = i;
            return element;
        }
    }
    return {};
}

bool ConfigurationManifestHandler::getNodeElement(
    const QJsonArray& array, const QStringList& instancePath, QJsonObject& element) const
{
    if (instancePath.isEmpty()) {
        qWarning() << "Received an empty instance path!";
        return false;
    }
    const EditPlace place(*this, array, instancePath, instancePath.size() - 1);
    if (!place.exists()) {
        return false;
    }
    int index = -1;
    const QJsonObject found = getElementFromInstance(place.siblings(), instancePath.constLast(), index);
    // With a path of one name, `element` is assigned even if nothing was found; it is then empty.
    if (index >= 0 || place.isTop()) {
        element = found;
    }
    if (index < 0) {
        qWarning() << "Cannot find element for path" << QStringList(instancePath.constLast());
        return false;
    }
    return true;
}

bool ConfigurationManifestHandler::getNodeElement(const QString& instancePath, QJsonObject& element) const
{
    const QStringList names = instancePath.split(QLatin1Char('/'), Qt::SkipEmptyParts, Qt::CaseSensitive);
    return getNodeElement(manifestJsonArray, names, element);
}

bool ConfigurationManifestHandler::getListOfInstances(const QString& instancePath, QStringList& instances) const
{
    if (instancePath.isEmpty()) {
        appendInstanceNames(manifestJsonArray, instances);
        return true;
    }
    QJsonObject element;
    if (!getNodeElement(instancePath, element)) {
        qWarning() << "Error on getting node element for path" << instancePath << "!";
        return false;
    }
    if (!element.contains(Registry::getKeySubstructure())) {
        instances.clear();
        return true;
    }
    QJsonArray children;
    if (!readJsonArrayFromJson(Registry::getKeySubstructure(), element, children)) {
        qWarning() << "Cannot find key 'substructure' in json element" << element << "!";
        return false;
    }
    appendInstanceNames(children, instances);
    return true;
}

bool ConfigurationManifestHandler::getNumberOfInstances(const QString& instancePath, int& number) const
{
    QStringList instances;
    if (!getListOfInstances(instancePath, instances)) {
        return false;
    }
    number = instances.size();
    return true;
}

bool ConfigurationManifestHandler::update(
    const QString& instancePath, const QString& key, const QVariant& value, bool writeToFile)
{
    const auto replace = [&](QJsonObject& element, bool& changed) {
        const QJsonValue current = element.value(key);
        if (current.isUndefined()) {
            return false;
        }
        setMember(element, key, current, value, changed);
        return true;
    };
    return editAndSave(instancePath, std::cref(replace), writeToFile);
}

bool ConfigurationManifestHandler::setProperty(
    const QString& instancePath, const QString& key, const QVariant& value, bool writeToFile)
{
    const auto set = [&](QJsonObject& element, bool& changed) {
        setMember(element, key, element.value(key), value, changed);
        return true;
    };
    return editAndSave(instancePath, std::cref(set), writeToFile);
}

bool ConfigurationManifestHandler::removeProperty(const QString& instancePath, const QString& key, bool writeToFile)
{
    const auto remove = [&](QJsonObject& element, bool& changed) {
        if (element.contains(key)) {
            element = JsonStorage::rebuiltWithout(element, key);
            changed = true;
        }
        return true;
    };
    return editAndSave(instancePath, std::cref(remove), writeToFile);
}

bool ConfigurationManifestHandler::modifyPropertyFirst(
    const QString& instancePath, const std::function<bool(QJsonObject&, bool&)>& edit, bool writeToFile)
{
    return editAndSave(instancePath, rebuilding(edit), writeToFile);
}

bool ConfigurationManifestHandler::modifyProperty(QJsonArray& array, const QStringList& instancePath,
    const QString& fullPath, bool& changed, const std::function<bool(QJsonObject&, bool&)>& edit)
{
    if (instancePath.isEmpty()) {
        qWarning() << "ConfigurationManifestHandler::modifyProperty : Size of instancePath is NULL !";
        return false;
    }
    return editElement(array, instancePath, fullPath, changed, rebuilding(edit));
}

bool ConfigurationManifestHandler::editAndSave(const QString& instancePath, const ElementEdit& edit, bool writeToFile)
{
    bool changed = false;
    const bool applied = editElement(manifestJsonArray, splitPath(instancePath), instancePath, changed, edit);
    // Checks `modified` instead of `changed`, so that an edit without effect still saves earlier edits.
    if (applied && writeToFile && modified) {
        writeToManifestFile();
    }
    return applied;
}

bool ConfigurationManifestHandler::editElement(
    QJsonArray& array, const QStringList& instancePath, const QString& fullPath, bool& changed, const ElementEdit& edit)
{
    EditPlace place(*this, array, instancePath, instancePath.size() - 1);
    if (!place.exists()) {
        return false;
    }
    int index = -1;
    QJsonObject element = place.find(instancePath.constLast(), fullPath, index);
    if (index < 0) {
        return false;
    }
    const bool applied = edit(element, changed);
    if (changed) {
        if (applied || place.isTop()) {
            place.change(array, [&](QJsonArray& siblings) {
                if (index < siblings.size()) {
                    siblings.replace(index, element);
                }
            });
        }
        modified = true;
    }
    return applied;
}

bool ConfigurationManifestHandler::addNode(
    const QString& instancePath, const QJsonObject& jsonObject, int index, bool writeToFile)
{
    return saveIfDone(addElement(manifestJsonArray, splitPath(instancePath), jsonObject, index, true), writeToFile);
}

bool ConfigurationManifestHandler::addSelection(
    const QString& instancePath, const QJsonObject& jsonObject, int index, bool writeToFile)
{
    return saveIfDone(
        addElement(manifestJsonArray, splitSelectionPath(instancePath), jsonObject, index, false), writeToFile);
}

bool ConfigurationManifestHandler::deleteElement(const QString& instancePath, bool writeToFile)
{
    return saveIfDone(deleteElement(manifestJsonArray, splitPath(instancePath), instancePath), writeToFile);
}

bool ConfigurationManifestHandler::sortElements(
    const QString& instancePath, const QStringList& instanceNames, bool writeToFile)
{
    const QStringList names = instancePath.isEmpty() ? QStringList() : splitPath(instancePath);
    return saveIfDone(sortElements(manifestJsonArray, names, instanceNames), writeToFile);
}

bool ConfigurationManifestHandler::moveSelection(const QString& instancePath, int newIndex, bool writeToFile)
{
    return saveInAnyCase(moveElement(manifestJsonArray, splitSelectionPath(instancePath), newIndex), writeToFile);
}

bool ConfigurationManifestHandler::moveNode(const QString& instancePath, int newIndex, bool writeToFile)
{
    return saveInAnyCase(moveElement(manifestJsonArray, splitPath(instancePath), newIndex), writeToFile);
}

bool ConfigurationManifestHandler::updateSelection(
    const QString& instancePath, const QJsonObject& jsonObject, bool writeToFile)
{
    return saveInAnyCase(
        replaceElement(manifestJsonArray, splitSelectionPath(instancePath), jsonObject, false), writeToFile);
}

bool ConfigurationManifestHandler::updateNode(
    const QString& instancePath, const QJsonObject& jsonObject, bool replaceSubstructure, bool writeToFile)
{
    return saveInAnyCase(
        replaceElement(manifestJsonArray, splitPath(instancePath), jsonObject, replaceSubstructure), writeToFile);
}

bool ConfigurationManifestHandler::saveIfDone(bool result, bool writeToFile)
{
    if (result && writeToFile) {
        writeToManifestFile();
    }
    return result;
}

bool ConfigurationManifestHandler::saveInAnyCase(bool result, bool writeToFile)
{
    if (writeToFile) {
        writeToManifestFile();
    }
    return result;
}

// Each of the five edits below finds the array to change, prepares the new element, changes the array and sets
// `modified`. They differ in the name that they look up, in what they do when it is missing, and in the change.

bool ConfigurationManifestHandler::addElement(
    QJsonArray& array, const QStringList& instancePath, const QJsonObject& jsonObject, int index, bool isNode)
{
    if (instancePath.isEmpty()) {
        qWarning() << "ConfigurationManifestHandler::addElement: invalid size of instancePath" << instancePath.size();
        return false;
    }
    EditPlace place(*this, array, instancePath, instancePath.size() - 1);
    if (!place.exists()) {
        return false;
    }
    const QString& name = instancePath.constLast();
    int present = -1;
    getElementFromInstance(place.siblings(), name, present);
    if (present >= 0) {
        return true;
    }
    const QJsonObject element = ConfigurationStructureElement(jsonObject, name, isNode).getElementAsJsonObject();
    const int size = place.siblings().size();
    if (index > size) {
        qWarning() << "The index for addElements is out of bounds, append the element";
    }
    const int position = index < 0 || index > size ? size : index;
    place.change(array, [&](QJsonArray& siblings) { siblings.insert(qMin(position, siblings.size()), element); });
    modified = true;
    return true;
}

bool ConfigurationManifestHandler::deleteElement(
    QJsonArray& array, const QStringList& instancePath, const QString& fullPath)
{
    if (instancePath.isEmpty()) {
        qWarning() << "ConfigurationManifestHandler::deleteElement : Size of instancePath is NULL !";
        return false;
    }
    EditPlace place(*this, array, instancePath, instancePath.size() - 1);
    if (!place.exists()) {
        return false;
    }
    int index = -1;
    place.find(instancePath.constLast(), fullPath, index);
    if (index < 0) {
        return false;
    }
    place.change(array, [&](QJsonArray& siblings) { siblings.removeAt(index); });
    modified = true;
    return true;
}

bool ConfigurationManifestHandler::replaceElement(
    QJsonArray& array, const QStringList& instancePath, const QJsonObject& jsonObject, bool replaceSubstructure)
{
    if (instancePath.isEmpty()) {
        qWarning() << "ConfigurationManifestHandler::replaceElement: invalid size of instancePath"
                   << instancePath.size();
        return false;
    }
    EditPlace place(*this, array, instancePath, instancePath.size() - 1);
    if (!place.exists()) {
        return false;
    }
    int index = -1;
    const QJsonObject old =
        getElementFromInstance(place.siblings(), lastSegment(instancePath.constLast()).toString(), index);
    if (index < 0) {
        qWarning() << "InstancePath is wrong, replace failed";
        return false;
    }
    const QString& childrenKey = Registry::getKeySubstructure();
    QJsonObject element =
        replaceSubstructure ? JsonStorage::rebuilt(jsonObject) : JsonStorage::rebuiltWithout(jsonObject, childrenKey);
    if (!replaceSubstructure) {
        // If the old element has no children, the value is undefined and nothing is inserted.
        element.insert(childrenKey, old.value(childrenKey));
    }
    place.change(array, [&](QJsonArray& siblings) { siblings.replace(index, element); });
    modified = true;
    return true;
}

bool ConfigurationManifestHandler::moveElement(QJsonArray& array, const QStringList& instancePath, int newIndex)
{
    if (instancePath.isEmpty()) {
        qWarning() << "ConfigurationManifestHandler::moveElement: invalid size of instancePath" << instancePath.size();
        return false;
    }
    EditPlace place(*this, array, instancePath, instancePath.size() - 1);
    if (!place.exists()) {
        return false;
    }
    int index = -1;
    getElementFromInstance(place.siblings(), lastSegment(instancePath.constLast()).toString(), index);
    if (index < 0) {
        return false;
    }
    if (newIndex < 0 || newIndex >= place.siblings().size()) {
        qWarning() << "Index out of bounds, move failed";
        return false;
    }
    const auto move = [&](QJsonArray& siblings) { siblings.insert(newIndex, siblings.takeAt(index)); };
    // An item that is a string is found by the empty name. Moving a string copies its characters and can run out of
    // memory halfway, so move it in a copy of the array. Moving an object copies nothing.
    const bool isText = place.siblings().at(index).isString();
    place.change(array, [&](QJsonArray& siblings) {
        if (!isText) {
            move(siblings);
            return;
        }
        QJsonArray moved = siblings;
        move(moved);
        siblings = moved;
    });
    modified = true;
    return true;
}

bool ConfigurationManifestHandler::sortElements(
    QJsonArray& array, const QStringList& instancePath, const QStringList& instanceNames)
{
    EditPlace place(*this, array, instancePath, instancePath.size());
    if (!place.exists()) {
        return false;
    }
    const QJsonArray& children = place.siblings();
    const InstanceNames::Positions positions(children);
    QJsonArray sorted;
    for (const QString& name : instanceNames) {
        const int position = positions.of(name);
        if (position >= 0) {
            sorted.append(children.at(position).toObject());
        }
    }
    if (sorted.size() != children.size()) {
        return false;
    }
    place.change(array, [&](QJsonArray& siblings) { siblings = sorted; });
    modified = true;
    return true;
}
