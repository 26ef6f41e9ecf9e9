#include "ConfigurationManifestHandler.h"

#include "ConfigurationStructureElement.h"
#include "FileExistence.h"
#include "JsonReaders.h"
#include "ManifestSaveFile.h"
#include "SystemInformationManagerRegistryDefinitions.h"

#include <QtCore/QCborMap>
#include <QtCore/QDebug>
#include <QtCore/QFile>
#include <QtCore/QHash>
#include <QtCore/QJsonDocument>
#include <QtCore/QVarLengthArray>
#include <QtCore/QVector>

#include <algorithm>
#include <utility>

using Registry = SystemInformationManagerRegistryDefinitions;

namespace {

bool isContainer(const QJsonValue& value)
{
    return value.isObject() || value.isArray();
}

// Leaves a null, so that the container no longer refers to what it held.
void release(QJsonValueRef place)
{
    place = QJsonValue();
}

// Most elements hold none, and taking their members out one by one to see it takes a tenth of a load. Where JSON is CBOR
// inside, the map is the object itself and knows.
bool holdsContainers(const QJsonObject& object)
{
#if QT_VERSION >= QT_VERSION_CHECK(5, 15, 0)
    const QCborMap members = QCborMap::fromJsonObject(object);
    return std::any_of(
        members.constBegin(), members.constEnd(), [](const auto& member) { return member.second.isContainer(); });
#else
    return !object.isEmpty();
#endif
}

bool isSelection(const QJsonObject& element)
{
    return element.value(Registry::getKeySelectionType()).toString() == Registry::SelectionTypeValues::getSelection();
}

QStringRef lastSegment(const QString& text)
{
    return text.midRef(text.lastIndexOf(QLatin1Char('/')) + 1);
}

// What "/" separates; a name without one is a segment, and so is an empty name.
int segmentCount(const QString& name)
{
    return name.count(QLatin1Char('/')) + 1;
}

// The name by which an element is found among its siblings. Only a selection's can carry the folders above it.
QStringRef addressedName(const QJsonObject& element, const QString& instanceName)
{
    const QStringRef last = lastSegment(instanceName);
    return last.size() == instanceName.size() || !isSelection(element) ? instanceName.midRef(0) : last;
}

QJsonArray childrenOf(const QJsonObject& element)
{
    return element.value(Registry::getKeySubstructure()).toArray();
}

void appendInstanceNames(const QJsonArray& array, QStringList& instances)
{
    for (const QJsonValue& item : array) {
        const QJsonValue name = item.toObject().value(Registry::getKeyInstanceName());
        if (!name.isUndefined()) {
            instances.append(name.toString());
        }
    }
}

// Qt never frees a string that is replaced inside a JSON container, so an element that is edited for the lifetime of a
// process has to be made anew from its members.
QJsonObject rebuilt(const QJsonObject& object)
{
    QJsonObject result;
    for (auto member = object.constBegin(); member != object.constEnd(); ++member) {
        result.insert(member.key(), member.value());
    }
    return result;
}

// The module and object name, each as JSON too: it takes part in every selection, and is made once.
class Stamp {
public:
    Stamp(const QString& moduleName, const QString& objectName)
        : module {moduleName, moduleName}
        , object {objectName, objectName}
    {
    }

    void putOn(QJsonObject& element) const
    {
        if (element.value(ConfigurationManifestHandler::getKeySelectionType()).toString()
            == ConfigurationManifestHandler::SelectionTypeValues::getSelection()) {
            insertIfDifferent(element, Registry::getKeyModuleName(), module);
            insertIfDifferent(element, Registry::getKeyObjectName(), object);
        }
    }

    void putOnAll(QJsonValue& value) const
    {
        if (value.isObject()) {
            QJsonObject element = value.toObject();
            value = QJsonValue();
            putOn(element);
            if (holdsContainers(element)) {
                putOnItems(element);
            }
            value = element;
        } else if (value.isArray()) {
            QJsonArray array = value.toArray();
            value = QJsonValue();
            putOnItems(array);
            value = array;
        }
    }

    // Like the edits, this takes each container out before it changes it, so that there is never a second copy.
    template <typename Container>
    void putOnItems(Container& container) const
    {
        const auto end = container.end();
        for (auto item = container.begin(); item != end; ++item) {
            QJsonValue value = *item;
            if (isContainer(value)) {
                release(*item);
                putOnAll(value);
                *item = value;
            }
        }
    }

private:
    struct Name {
        QString text;
        QJsonValue value;
    };

    static void insertIfDifferent(QJsonObject& element, const QString& key, const Name& name)
    {
        if (!name.text.isEmpty() && element.value(key).toString() != name.text) {
            element.insert(key, name.value);
        }
    }

    const Name module;
    const Name object;
};

void setMember(QJsonObject& object, const QString& key, const QJsonValue& current, const QVariant& value, bool& changed)
{
    const QJsonValue wanted = QJsonValue::fromVariant(value);
    if (current == wanted) {
        return;
    }
    object.insert(key, wanted);
    // A text, or the key of what an undefined value removes, is left behind.
    if (current.isString() || wanted.isUndefined()) {
        object = rebuilt(object);
    }
    changed = true;
}

// An edit of which only its author knows what it replaces.
template <typename Edit>
auto rebuilding(const Edit& edit)
{
    return [&edit](QJsonObject& element, bool& changed) {
        const bool applied = edit(element, changed);
        if (changed) {
            element = rebuilt(element);
        }
        return applied;
    };
}

// Whoever was called since the position was found may have shortened the array.
void replaceIfPresent(QJsonArray& array, int position, const QJsonValue& value)
{
    if (position < array.size()) {
        array.replace(position, value);
    }
}

QStringList splitPath(const QString& instancePath)
{
    return instancePath.split(QLatin1Char('/'), Qt::KeepEmptyParts, Qt::CaseSensitive);
}

// A selection stores its whole path as its name, so its path ends in the whole path.
QStringList splitSelectionPath(const QString& instancePath)
{
    QStringList names = splitPath(instancePath);
    names.last() = instancePath;
    return names;
}

// The way from an array down through the substructures of the elements that the first names of a path lead to.
class Descent {
public:
    Descent(const ConfigurationManifestHandler& handler, const QJsonArray& array, const QStringList& names, int levels)
        : end(array)
    {
        for (int level = 0; level < levels; ++level) {
            int position = -1;
            const QJsonObject ancestor = handler.getElementFromInstance(end, names.at(level), position);
            if (position < 0) {
                complete = false;
                return;
            }
            if (level == 0) {
                top = ancestor;
            }
            positions.append(position);
            end = childrenOf(ancestor);
        }
    }

    // Whether every name was found.
    bool isComplete() const
    {
        return complete;
    }

    // Whether the way ends in the array in which it began.
    bool isTop() const
    {
        return positions.isEmpty();
    }

    // The array at the end of the way, as it was found.
    const QJsonArray& siblings() const
    {
        return end;
    }

    // Changes the array at the end of the way, and with it every ancestor up to `array`, in which the way began.
    template <typename Change>
    void apply(QJsonArray& array, const Change& change)
    {
        end = QJsonArray();
        if (isTop()) {
            change(array);
            return;
        }
        replaceIfPresent(array, positions.at(0), QJsonValue());
        changeChildren(top, 1, change);
        replaceIfPresent(array, positions.at(0), top);
    }

private:
    // A container that is still referred to from elsewhere is copied when it changes. So each one is taken out, leaving
    // a null in its place, changed as its only owner and put back.
    template <typename Change>
    void changeChildren(QJsonObject& ancestor, int level, const Change& change) const
    {
        QJsonArray children = childrenOf(ancestor);
        ancestor.insert(Registry::getKeySubstructure(), QJsonValue());
        if (level == positions.size()) {
            change(children);
        } else {
            const int position = positions.at(level);
            QJsonObject child = children.at(position).toObject();
            children.replace(position, QJsonValue());
            changeChildren(child, level + 1, change);
            children.replace(position, child);
        }
        ancestor.insert(Registry::getKeySubstructure(), children);
    }

    QVarLengthArray<int, 16> positions;
    QJsonObject top;
    QJsonArray end;
    bool complete = true;
};

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
    // Asked once more on purpose: the two messages tell a file that was never there from one that has just gone.
    if (!exists(file)) {
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
        // The document lets go of the array, or stamping would have to copy it.
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
    if (!file.open(QIODevice::WriteOnly)) {
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
        // Whatever the rule for the element, its name ends with the one looked for. To Qt, a null name ends with nothing
        // that is merely empty.
        if (!instanceName.isEmpty() && !storedName.endsWith(instanceName)) {
            continue;
        }
        // Every name has a segment, so this never happens; kept on purpose, should names be split in another way.
        if (segmentCount(storedName) == 0) {
            qWarning() << "Found an empty instance name:" << instanceName << "!";
            continue;
        }
        if (addressedName(element, storedName) == instanceName) {
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
    const Descent descent(*this, array, instancePath, instancePath.size() - 1);
    if (!descent.isComplete()) {
        return false;
    }
    int index = -1;
    const QJsonObject found = getElementFromInstance(descent.siblings(), instancePath.constLast(), index);
    // A path of one name hands out what the lookup gave, found or not.
    if (index >= 0 || descent.isTop()) {
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
    return edit(instancePath, replace, writeToFile);
}

bool ConfigurationManifestHandler::setProperty(
    const QString& instancePath, const QString& key, const QVariant& value, bool writeToFile)
{
    const auto set = [&](QJsonObject& element, bool& changed) {
        setMember(element, key, element.value(key), value, changed);
        return true;
    };
    return edit(instancePath, set, writeToFile);
}

bool ConfigurationManifestHandler::removeProperty(const QString& instancePath, const QString& key, bool writeToFile)
{
    const auto remove = [&](QJsonObject& element, bool& changed) {
        if (element.contains(key)) {
            element.remove(key);
            element = rebuilt(element);
            changed = true;
        }
        return true;
    };
    return edit(instancePath, remove, writeToFile);
}

bool ConfigurationManifestHandler::modifyPropertyFirst(
    const QString& instancePath, const std::function<bool(QJsonObject&, bool&)>& edit, bool writeToFile)
{
    return this->edit(instancePath, rebuilding(edit), writeToFile);
}

bool ConfigurationManifestHandler::modifyProperty(QJsonArray& array, const QStringList& instancePath,
    const QString& fullPath, bool& changed, const std::function<bool(QJsonObject&, bool&)>& edit)
{
    if (instancePath.isEmpty()) {
        qWarning() << "ConfigurationManifestHandler::modifyProperty : Size of instancePath is NULL !";
        return false;
    }
    return this->edit(array, instancePath, fullPath, changed, rebuilding(edit));
}

bool ConfigurationManifestHandler::edit(const QString& instancePath, const Edit& edit, bool writeToFile)
{
    bool changed = false;
    const bool applied = this->edit(manifestJsonArray, splitPath(instancePath), instancePath, changed, edit);
    if (applied && writeToFile && modified) {
        writeToManifestFile();
    }
    return applied;
}

bool ConfigurationManifestHandler::edit(
    QJsonArray& array, const QStringList& instancePath, const QString& fullPath, bool& changed, const Edit& edit)
{
    Descent descent(*this, array, instancePath, instancePath.size() - 1);
    if (!descent.isComplete()) {
        return false;
    }
    int index = -1;
    QJsonObject element = getElementFromInstance(descent.siblings(), instancePath.constLast(), index);
    if (index < 0 && !fullPath.isEmpty()) {
        element = getElementFromInstance(descent.siblings(), fullPath, index);
    }
    if (index < 0) {
        return false;
    }
    // Until the edit has returned nothing is changed: it may throw, and it may use this handler itself.
    const bool applied = edit(element, changed);
    if (changed) {
        modified = true;
        if (applied || descent.isTop()) {
            descent.apply(array, [&](QJsonArray& siblings) { replaceIfPresent(siblings, index, element); });
        }
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

// The five edits below differ in the name by which they look the target up, in what they do without one, and in the
// change. A change marks the handler and is written back through every ancestor; a success without one leaves all
// arrays as they are.

bool ConfigurationManifestHandler::addElement(
    QJsonArray& array, const QStringList& instancePath, const QJsonObject& jsonObject, int index, bool isNode)
{
    if (instancePath.isEmpty()) {
        qWarning() << "ConfigurationManifestHandler::addElement: invalid size of instancePath" << instancePath.size();
        return false;
    }
    Descent descent(*this, array, instancePath, instancePath.size() - 1);
    if (!descent.isComplete()) {
        return false;
    }
    const QString& name = instancePath.constLast();
    int present = -1;
    getElementFromInstance(descent.siblings(), name, present);
    if (present >= 0) {
        return true;
    }
    const QJsonObject element = ConfigurationStructureElement(jsonObject, name, isNode).getElementAsJsonObject();
    const int size = descent.siblings().size();
    if (index > size) {
        qWarning() << "The index for addElements is out of bounds, append the element";
    }
    const int position = index < 0 || index > size ? size : index;
    // Whoever took the messages may have shortened the array.
    descent.apply(array, [&](QJsonArray& siblings) { siblings.insert(qMin(position, siblings.size()), element); });
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
    Descent descent(*this, array, instancePath, instancePath.size() - 1);
    if (!descent.isComplete()) {
        return false;
    }
    int index = -1;
    getElementFromInstance(descent.siblings(), instancePath.constLast(), index);
    if (index < 0 && !fullPath.isEmpty()) {
        getElementFromInstance(descent.siblings(), fullPath, index);
    }
    if (index < 0) {
        return false;
    }
    descent.apply(array, [&](QJsonArray& siblings) { siblings.removeAt(index); });
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
    Descent descent(*this, array, instancePath, instancePath.size() - 1);
    if (!descent.isComplete()) {
        return false;
    }
    int index = -1;
    const QJsonObject old =
        getElementFromInstance(descent.siblings(), lastSegment(instancePath.constLast()).toString(), index);
    if (index < 0) {
        qWarning() << "InstancePath is wrong, replace failed";
        return false;
    }
    QJsonObject element = jsonObject;
    if (!replaceSubstructure) {
        // Without children of the old element this inserts an undefined value, which removes the key.
        element.insert(Registry::getKeySubstructure(), old.value(Registry::getKeySubstructure()));
    }
    descent.apply(array, [&](QJsonArray& siblings) { siblings.replace(index, rebuilt(element)); });
    modified = true;
    return true;
}

bool ConfigurationManifestHandler::moveElement(QJsonArray& array, const QStringList& instancePath, int newIndex)
{
    if (instancePath.isEmpty()) {
        qWarning() << "ConfigurationManifestHandler::moveElement: invalid size of instancePath" << instancePath.size();
        return false;
    }
    Descent descent(*this, array, instancePath, instancePath.size() - 1);
    if (!descent.isComplete()) {
        return false;
    }
    int index = -1;
    getElementFromInstance(descent.siblings(), lastSegment(instancePath.constLast()).toString(), index);
    if (index < 0) {
        return false;
    }
    if (newIndex < 0 || newIndex >= descent.siblings().size()) {
        qWarning() << "Index out of bounds, move failed";
        return false;
    }
    descent.apply(array, [&](QJsonArray& siblings) { siblings.insert(newIndex, siblings.takeAt(index)); });
    modified = true;
    return true;
}

bool ConfigurationManifestHandler::sortElements(
    QJsonArray& array, const QStringList& instancePath, const QStringList& instanceNames)
{
    Descent descent(*this, array, instancePath, instancePath.size());
    if (!descent.isComplete()) {
        return false;
    }
    const QJsonArray children = descent.siblings();
    QVector<QString> names(children.size());
    QHash<QStringRef, int> firstPositions;
    firstPositions.reserve(children.size());
    for (int i = children.size() - 1; i >= 0; --i) {
        const QJsonObject child = children.at(i).toObject();
        names[i] = child.value(Registry::getKeyInstanceName()).toString();
        firstPositions.insert(addressedName(child, names.at(i)), i);
    }
    QJsonArray sorted;
    for (const QString& name : instanceNames) {
        const int position = firstPositions.value(name.midRef(0), -1);
        if (position >= 0) {
            sorted.append(children.at(position).toObject());
        }
    }
    if (sorted.size() != children.size()) {
        return false;
    }
    descent.apply(array, [&](QJsonArray& siblings) { siblings = sorted; });
    modified = true;
    return true;
}
