#include "ManifestModel.h"

#include "ConfigurationAndProcessDataDefinitions.h"
#include "Literals.h"
#include "SystemInformationManagerRegistryDefinitions.h"

#include <QtCore/QLocale>

#include <algorithm>
#include <cmath>
#include <limits>

namespace {

using Data = ConfigurationAndProcessDataDefinitions;
using Registry = SystemInformationManagerRegistryDefinitions;

const QString selectionType = u"selectionType"_qs;
const QString instanceNameKey = u"instanceName"_qs;
const QString substructure = u"substructure"_qs;
const QString displayPosition = u"displayPosition"_qs;
const QString iconName = u"iconName"_qs;

template <typename T>
const T* as(const Members& object, const QString& key)
{
    const auto found = object.find(key);
    return found == object.end() ? nullptr : std::get_if<T>(&found->second.data);
}

bool has(const Members& object, const QString& key)
{
    return object.count(key) != 0;
}

Members objectIn(const Value& value)
{
    const Members* object = std::get_if<Members>(&value.data);
    return object ? *object : Members {};
}

QString nameOf(const Members& element)
{
    const auto* name = as<QString>(element, instanceNameKey);
    return name ? *name : QString();
}

Items childrenOf(const Members& element)
{
    const auto* children = as<Items>(element, substructure);
    return children ? *children : Items {};
}

bool isSelection(const Members& element)
{
    const auto* type = as<QString>(element, selectionType);
    return type && *type == u"Selection"_qs;
}

QStringList namesIn(const QString& path)
{
    return path.split(u'/', Qt::KeepEmptyParts, Qt::CaseSensitive);
}

QStringList namesEndingInWhole(const QString& path)
{
    QStringList names = namesIn(path);
    names.last() = path;
    return names;
}

QByteArray number(double value)
{
    const bool whole = std::floor(value) == value && std::abs(value) < std::ldexp(1, 64);
    return QByteArray::number(value, whole ? 'f' : 'g', QLocale::FloatingPointShortest);
}

QByteArray quoted(const QString& text)
{
    QByteArray result = "\"";
    for (int i = 0; i < text.size(); ++i) {
        const ushort character = text.at(i).unicode();
        switch (character) {
        case '"':
        case '\\':
            result += '\\';
            result += static_cast<char>(character);
            break;
        case '\b':
            result += "\\b";
            break;
        case '\f':
            result += "\\f";
            break;
        case '\n':
            result += "\\n";
            break;
        case '\r':
            result += "\\r";
            break;
        case '\t':
            result += "\\t";
            break;
        default:
            if (QChar::isHighSurrogate(character) && i + 1 < text.size() && text.at(i + 1).isLowSurrogate()) {
                result += text.midRef(i, 2).toUtf8();
                ++i;
            } else if (character < 0x20 || QChar::isSurrogate(character)) {
                result += "\\u" + QByteArray::number(character, 16).rightJustified(4, '0');
            } else {
                result += text.midRef(i, 1).toUtf8();
            }
        }
    }
    return result + '"';
}

QByteArray joined(const QByteArrayList& parts, char open, char close)
{
    return open + parts.join(',') + close;
}

} // namespace

bool operator==(const Value& a, const Value& b)
{
    return a.data == b.data;
}

Value valueFrom(const QJsonValue& json)
{
    switch (json.type()) {
    case QJsonValue::Bool:
        return {json.toBool()};
    case QJsonValue::Double:
        return {json.toDouble()};
    case QJsonValue::String:
        return {json.toString()};
    case QJsonValue::Array:
        return {itemsFrom(json.toArray())};
    case QJsonValue::Object:
        return {membersFrom(json.toObject())};
    default:
        return {};
    }
}

Items itemsFrom(const QJsonArray& json)
{
    Items items;
    for (const QJsonValue& item : json) {
        items.push_back(valueFrom(item));
    }
    return items;
}

Members membersFrom(const QJsonObject& json)
{
    Members members;
    for (auto member = json.begin(); member != json.end(); ++member) {
        members[member.key()] = valueFrom(member.value());
    }
    return members;
}

QJsonValue jsonFrom(const Value& value)
{
    struct Convert {
        QJsonValue operator()(std::monostate) const
        {
            return QJsonValue::Null;
        }
        QJsonValue operator()(bool flag) const
        {
            return flag;
        }
        QJsonValue operator()(double amount) const
        {
            return amount;
        }
        QJsonValue operator()(const QString& text) const
        {
            return text;
        }
        QJsonValue operator()(const Items& items) const
        {
            return jsonFrom(items);
        }
        QJsonValue operator()(const Members& members) const
        {
            return jsonFrom(members);
        }
    };
    return std::visit(Convert {}, value.data);
}

QJsonArray jsonFrom(const Items& items)
{
    QJsonArray json;
    for (const Value& item : items) {
        json.append(jsonFrom(item));
    }
    return json;
}

QJsonObject jsonFrom(const Members& members)
{
    QJsonObject json;
    for (const auto& [key, value] : members) {
        json.insert(key, jsonFrom(value));
    }
    return json;
}

QString nameOf(const Value& element)
{
    const Members* members = std::get_if<Members>(&element.data);
    return members ? nameOf(*members) : QString();
}

bool isSelection(const Value& element)
{
    const Members* members = std::get_if<Members>(&element.data);
    return members && isSelection(*members);
}

const Items* childrenOf(const Value& element)
{
    const Members* members = std::get_if<Members>(&element.data);
    return members ? as<Items>(*members, substructure) : nullptr;
}

QByteArray compact(const Value& value)
{
    struct Write {
        QByteArray operator()(std::monostate) const
        {
            return "null";
        }
        QByteArray operator()(bool flag) const
        {
            return flag ? "true" : "false";
        }
        QByteArray operator()(double amount) const
        {
            return number(amount);
        }
        QByteArray operator()(const QString& text) const
        {
            return quoted(text);
        }
        QByteArray operator()(const Items& items) const
        {
            return compact(items);
        }
        QByteArray operator()(const Members& members) const
        {
            QByteArrayList parts;
            for (const auto& [key, member] : members) {
                parts << quoted(key) + ':' + compact(member);
            }
            return joined(parts, '{', '}');
        }
    };
    return std::visit(Write {}, value.data);
}

QByteArray compact(const Items& items)
{
    QByteArrayList parts;
    for (const Value& item : items) {
        parts << compact(item);
    }
    return joined(parts, '[', ']');
}

ManifestModel::ManifestModel(const QString& moduleNameToStamp, const QString& objectNameToStamp)
    : moduleName(moduleNameToStamp)
    , objectName(objectNameToStamp)
{
}

template <typename... Parts>
void ManifestModel::warn(const Parts&... parts)
{
    messages << messageText(parts...);
}

void ManifestModel::parse(const Items& root)
{
    Value stamped {root};
    stamp(stamped);
    manifest = std::get<Items>(stamped.data);
    ++events["parsed"];
}

void ManifestModel::refuse(const QString& message)
{
    messages << message;
    ++events["content refused"];
}

void ManifestModel::parseFile(const std::function<void()>& parseContent)
{
    manifest.clear();
    if (!file) {
        warn("Cannot find configuration manifest file!");
        return;
    }
    parseContent();
}

void ManifestModel::write()
{
    if (!file) {
        warn("Configuration manifest file does not exist!");
        return;
    }
    file = compact(manifest);
    ++events["written"];
}

void ManifestModel::stamp(Members& object) const
{
    if (!isSelection(object)) {
        return;
    }
    if (!moduleName.isEmpty()) {
        object[Registry::getKeyModuleName()] = Value {moduleName};
    }
    if (!objectName.isEmpty()) {
        object[Registry::getKeyObjectName()] = Value {objectName};
    }
}

void ManifestModel::stamp(Value& value) const
{
    if (Members* object = std::get_if<Members>(&value.data)) {
        stamp(*object);
        for (auto& [key, member] : *object) {
            stamp(member);
        }
    } else if (Items* items = std::get_if<Items>(&value.data)) {
        for (Value& item : *items) {
            stamp(item);
        }
    }
}

Members ManifestModel::getElementFromInstance(const Items& array, const QString& instanceName, int& index)
{
    index = -1;
    for (size_t i = 0; i < array.size(); ++i) {
        Members element = objectIn(array[i]);
        const QString name = isSelection(element) ? namesIn(nameOf(element)).constLast() : nameOf(element);
        if (name == instanceName) {
            index = static_cast<int>(i);
            return element;
        }
    }
    return {};
}

bool ManifestModel::getNodeElement(const Items& array, const QStringList& instancePath, Members& element)
{
    if (instancePath.isEmpty()) {
        warn("Received an empty instance path!");
        return false;
    }
    int index = -1;
    const Members found = getElementFromInstance(array, instancePath.first(), index);
    if (instancePath.size() == 1) {
        element = found;
        if (index == -1) {
            warn("Cannot find element for path", instancePath);
        }
        return index != -1;
    }
    if (index == -1) {
        return false;
    }
    Members below;
    if (!getNodeElement(childrenOf(found), instancePath.mid(1), below)) {
        return false;
    }
    element = below;
    return true;
}

bool ManifestModel::getNodeElement(const QString& instancePath, Members& element)
{
    return getNodeElement(manifest, instancePath.split(u'/', Qt::SkipEmptyParts, Qt::CaseSensitive), element);
}

bool ManifestModel::getListOfInstances(const QString& instancePath, QStringList& instances)
{
    Items children = manifest;
    if (!instancePath.isEmpty()) {
        Members element;
        if (!getNodeElement(instancePath, element)) {
            warn("Error on getting node element for path", instancePath, "!");
            return false;
        }
        if (!has(element, substructure)) {
            instances.clear();
            ++events["list cleared"];
            return true;
        }
        if (!as<Items>(element, substructure)) {
            warn("Cannot find key 'substructure' in json element", jsonFrom(element), "!");
            return false;
        }
        children = childrenOf(element);
    }
    for (const Value& child : children) {
        const Members element = objectIn(child);
        if (has(element, instanceNameKey)) {
            instances << nameOf(element);
        }
    }
    return true;
}

bool ManifestModel::getNumberOfInstances(const QString& instancePath, int& number)
{
    QStringList instances;
    const bool result = getListOfInstances(instancePath, instances);
    if (result) {
        number = instances.size();
    }
    return result;
}

bool ManifestModel::update(const QString& instancePath, const QString& key, const Value& value, bool writeToFile)
{
    const Edit edit = [&](Members& element, bool& changed) {
        if (!has(element, key)) {
            return false;
        }
        if (!(element[key] == value)) {
            element[key] = value;
            changed = true;
        }
        return true;
    };
    return modifyPropertyFirst(instancePath, edit, writeToFile);
}

bool ManifestModel::setProperty(const QString& instancePath, const QString& key, const Value& value, bool writeToFile)
{
    const Edit edit = [&](Members& element, bool& changed) {
        if (!has(element, key) || !(element[key] == value)) {
            element[key] = value;
            changed = true;
        }
        return true;
    };
    return modifyPropertyFirst(instancePath, edit, writeToFile);
}

bool ManifestModel::removeProperty(const QString& instancePath, const QString& key, bool writeToFile)
{
    const Edit edit = [&](Members& element, bool& changed) {
        if (has(element, key)) {
            element.erase(key);
            changed = true;
        }
        return true;
    };
    return modifyPropertyFirst(instancePath, edit, writeToFile);
}

bool ManifestModel::modifyPropertyFirst(const QString& instancePath, const Edit& edit, bool writeToFile)
{
    bool changed = false;
    const bool result = modifyProperty(manifest, namesIn(instancePath), instancePath, changed, edit);
    return saved(result, result && writeToFile && modified);
}

bool ManifestModel::modifyProperty(
    Items& array, const QStringList& instancePath, const QString& fullPath, bool& changed, const Edit& edit)
{
    if (instancePath.isEmpty()) {
        warn("ConfigurationManifestHandler::modifyProperty : Size of instancePath is NULL !");
        return false;
    }
    int index = -1;
    Members element = getElementFromInstance(array, instancePath.first(), index);
    if (index == -1) {
        if (instancePath.size() > 1 || fullPath.isEmpty()) {
            return false;
        }
        const bool result = modifyProperty(array, {fullPath}, QString(), changed, edit);
        ++events[result ? "modification by whole path" : "modification by whole path in vain"];
        return result;
    }
    // The edit may call the model again and leave fewer elements.
    const auto store = [&] {
        if (static_cast<size_t>(index) < array.size()) {
            array[static_cast<size_t>(index)] = Value {element};
        }
    };
    if (instancePath.size() == 1) {
        const bool result = edit(element, changed);
        if (changed) {
            store();
            modified = true;
            ++events[result ? "element changed" : "element changed by an edit that fails"];
        } else {
            ++events["element left as it was"];
        }
        return result;
    }
    Items children = childrenOf(element);
    const bool result = modifyProperty(children, instancePath.mid(1), fullPath, changed, edit);
    element[substructure] = Value {children};
    if (result && changed) {
        store();
        ++events["ancestor changed"];
    }
    return result;
}

bool ManifestModel::addNode(const QString& instancePath, const Members& description, int index, bool writeToFile)
{
    const bool result = addElement(manifest, namesIn(instancePath), description, index, true);
    return saved(result, result && writeToFile);
}

bool ManifestModel::addSelection(const QString& instancePath, const Members& description, int index, bool writeToFile)
{
    const bool result = addElement(manifest, namesEndingInWhole(instancePath), description, index, false);
    return saved(result, result && writeToFile);
}

bool ManifestModel::deleteElement(const QString& instancePath, bool writeToFile)
{
    const bool result = deleteElement(manifest, namesIn(instancePath), instancePath);
    return saved(result, result && writeToFile);
}

bool ManifestModel::sortElements(const QString& instancePath, const QStringList& instanceNames, bool writeToFile)
{
    const QStringList names = instancePath.isEmpty() ? QStringList() : namesIn(instancePath);
    const bool result = sortElements(manifest, names, instanceNames);
    return saved(result, result && writeToFile);
}

bool ManifestModel::moveSelection(const QString& instancePath, int newIndex, bool writeToFile)
{
    return saved(moveElement(manifest, namesEndingInWhole(instancePath), newIndex), writeToFile);
}

bool ManifestModel::moveNode(const QString& instancePath, int newIndex, bool writeToFile)
{
    return saved(moveElement(manifest, namesIn(instancePath), newIndex), writeToFile);
}

bool ManifestModel::updateSelection(const QString& instancePath, const Members& object, bool writeToFile)
{
    return saved(replaceElement(manifest, namesEndingInWhole(instancePath), object, false), writeToFile);
}

bool ManifestModel::updateNode(
    const QString& instancePath, const Members& object, bool replaceSubstructure, bool writeToFile)
{
    return saved(replaceElement(manifest, namesIn(instancePath), object, replaceSubstructure), writeToFile);
}

bool ManifestModel::saved(bool result, bool save)
{
    if (save) {
        ++events[result ? "save after a success" : "save after a failure"];
        write();
    }
    return result;
}

bool ManifestModel::descend(Items& array, const QStringList& instancePath,
    const std::function<bool(Items& children, const QStringList& rest)>& operation)
{
    int index = -1;
    Members element = getElementFromInstance(array, instancePath.first(), index);
    if (index == -1) {
        ++events["descent that finds no element"];
        return false;
    }
    Items children = childrenOf(element);
    const bool hadChildren = as<Items>(element, substructure);
    const bool result = operation(children, instancePath.mid(1));
    element[substructure] = Value {children};
    if (result && modified) {
        array[static_cast<size_t>(index)] = Value {element};
        ++events[hadChildren ? "descent" : "descent into an element without children"];
    }
    return result;
}

bool ManifestModel::addElement(
    Items& array, const QStringList& instancePath, const Members& description, int index, bool isNode)
{
    if (instancePath.isEmpty()) {
        warn("ConfigurationManifestHandler::addElement: invalid size of instancePath", 0);
        return false;
    }
    if (instancePath.size() > 1) {
        return descend(array, instancePath, [&](Items& children, const QStringList& rest) {
            return addElement(children, rest, description, index, isNode);
        });
    }
    const QString& name = instancePath.first();
    int found = -1;
    getElementFromInstance(array, name, found);
    if (found != -1) {
        ++events["addition of what is present"];
        return true;
    }
    const Value element {isNode ? nodeFrom(description, name) : selectionFrom(description, name)};
    const int size = static_cast<int>(array.size());
    if (index > size) {
        warn("The index for addElements is out of bounds, append the element");
    }
    if (index < 0 || index >= size) {
        array.push_back(element);
        ++events["appended"];
    } else {
        array.insert(array.begin() + index, element);
        ++events["inserted"];
    }
    modified = true;
    return true;
}

bool ManifestModel::deleteElement(Items& array, const QStringList& instancePath, const QString& fullPath)
{
    if (instancePath.isEmpty()) {
        warn("ConfigurationManifestHandler::deleteElement : Size of instancePath is NULL !");
        return false;
    }
    int index = -1;
    getElementFromInstance(array, instancePath.first(), index);
    if (index == -1) {
        if (instancePath.size() > 1 || fullPath.isEmpty()) {
            return false;
        }
        const bool result = deleteElement(array, {fullPath}, QString());
        ++events[result ? "deletion by whole path" : "deletion by whole path in vain"];
        return result;
    }
    if (instancePath.size() > 1) {
        return descend(array, instancePath,
            [&](Items& children, const QStringList& rest) { return deleteElement(children, rest, fullPath); });
    }
    array.erase(array.begin() + index);
    modified = true;
    ++events["deleted"];
    return true;
}

bool ManifestModel::replaceElement(
    Items& array, const QStringList& instancePath, const Members& object, bool replaceSubstructure)
{
    if (instancePath.isEmpty()) {
        warn("ConfigurationManifestHandler::replaceElement: invalid size of instancePath", 0);
        return false;
    }
    if (instancePath.size() > 1) {
        return descend(array, instancePath, [&](Items& children, const QStringList& rest) {
            return replaceElement(children, rest, object, replaceSubstructure);
        });
    }
    int index = -1;
    const Members old = getElementFromInstance(array, namesIn(instancePath.first()).constLast(), index);
    if (index == -1) {
        warn("InstancePath is wrong, replace failed");
        return false;
    }
    Members element = object;
    if (!replaceSubstructure) {
        element.erase(substructure);
        if (has(old, substructure)) {
            element[substructure] = old.at(substructure);
        }
    }
    array[static_cast<size_t>(index)] = Value {element};
    modified = true;
    ++events["replaced"];
    return true;
}

bool ManifestModel::moveElement(Items& array, const QStringList& instancePath, int newIndex)
{
    if (instancePath.isEmpty()) {
        warn("ConfigurationManifestHandler::moveElement: invalid size of instancePath", 0);
        return false;
    }
    if (instancePath.size() > 1) {
        return descend(array, instancePath,
            [&](Items& children, const QStringList& rest) { return moveElement(children, rest, newIndex); });
    }
    int index = -1;
    getElementFromInstance(array, namesIn(instancePath.first()).constLast(), index);
    if (index == -1) {
        return false;
    }
    if (newIndex < 0 || newIndex >= static_cast<int>(array.size())) {
        warn("Index out of bounds, move failed");
        return false;
    }
    const Value element = array[static_cast<size_t>(index)];
    array.erase(array.begin() + index);
    array.insert(array.begin() + newIndex, element);
    modified = true;
    ++events[newIndex == index ? "moved onto its own place" : "moved"];
    return true;
}

bool ManifestModel::sortElements(Items& array, const QStringList& instancePath, const QStringList& instanceNames)
{
    if (!instancePath.isEmpty()) {
        return descend(array, instancePath,
            [&](Items& children, const QStringList& rest) { return sortElements(children, rest, instanceNames); });
    }
    Items sorted;
    for (const QString& name : instanceNames) {
        int index = -1;
        const Members element = getElementFromInstance(array, name, index);
        if (index != -1) {
            sorted.push_back(Value {element});
        }
    }
    if (sorted.size() != array.size()) {
        ++events["sorting refused"];
        return false;
    }
    ++events[sorted == array ? "sorted as it was"
            : std::is_permutation(sorted.begin(), sorted.end(), array.begin())
            ? "sorted"
            : "sorted with one child twice or an item that is no object"];
    array = sorted;
    modified = true;
    return true;
}

void ManifestModel::reportDisplayPosition(const Members& description)
{
    if (!has(description, displayPosition)) {
        warn("Cannot find key displayPosition in Json object!");
    } else if (!as<double>(description, displayPosition)) {
        warn("Property displayPosition is not of type double!");
    }
}

Members ManifestModel::nodeFrom(const Members& description, const QString& instanceName)
{
    reportDisplayPosition(description);
    Members node = description;
    node.erase(displayPosition);
    node[selectionType] = Value {u"Node"_qs};
    node[Registry::getKeyDataSourceType()] = Value {Registry::DataSourceTypeValues::getJsonData()};
    node[instanceNameKey] = Value {instanceName};
    node.erase(Data::getKeyDataPropertyTolmVersion());
    node.erase(Data::getKeyDataPropertyConfigurationVersion());
    return node;
}

Members ManifestModel::selectionFrom(const Members& description, const QString& instanceName)
{
    reportDisplayPosition(description);
    Members selection;
    const auto copyText = [&](const QString& key) { selection[key] = Value {readText(description, key)}; };
    const auto copyTextUnlessEmpty = [&](const QString& key) {
        const QString text = readText(description, key);
        if (!text.isEmpty()) {
            selection[key] = Value {text};
        }
    };
    const auto copyItemsUnlessEmpty = [&](const QString& key) {
        const Items items = readItems(description, key);
        if (!items.empty()) {
            selection[key] = Value {items};
        }
    };

    copyText(Registry::getKeyLabelTextId());
    copyText(Registry::getKeyDataModel());
    copyText(Registry::getKeyLastModified());
    selection[selectionType] = Value {u"Selection"_qs};
    selection[Registry::getKeyCloseMode()] = Value {Registry::CloseModeValues::getManual()};
    selection[Registry::getKeyUiJob()] = Value {Registry::UiJobValues::getUiJobOpenConfiguration()};
    selection[Registry::getKeyHide()] = Value {readBool(description, Registry::getKeyHide())};
    copyItemsUnlessEmpty(Data::getKeyDataPropertySelectorTypeList());
    copyItemsUnlessEmpty(Data::getKeyDataPropertySelectorTypeListEndpoint());
    const auto* connector = as<double>(description, Data::getKeyDataPropertyConnectorId());
    if (connector && *connector >= 0 && *connector <= std::numeric_limits<int>::max()
        && std::floor(*connector) == *connector) {
        selection[Data::getKeyDataPropertyConnectorId()] = Value {*connector};
    }
    copyText(iconName);
    copyTextUnlessEmpty(Data::getKeyDataPropertyTemplateType());
    copyTextUnlessEmpty(Data::getKeyDataPropertyLabelTextUrl());
    copyTextUnlessEmpty(Data::getKeyDataPropertyDependencyFile());
    copyTextUnlessEmpty(Data::getKeyDataPropertyDependencyFileExtern());
    copyTextUnlessEmpty(Registry::getKeyModuleName());
    copyTextUnlessEmpty(Registry::getKeyObjectName());
    const QString ownName = readText(description, instanceNameKey);
    selection[instanceNameKey] = Value {ownName.isEmpty() ? instanceName : ownName};
    copyTextUnlessEmpty(Data::getKeyDataPropertyBufferType());
    return selection;
}

QString ManifestModel::readText(const Members& description, const QString& key)
{
    const auto* text = as<QString>(description, key);
    if (has(description, key) && !text) {
        warn("Property", key, "is not of type string!");
    }
    return text ? *text : QString();
}

bool ManifestModel::readBool(const Members& description, const QString& key)
{
    if (!has(description, key)) {
        warn("Cannot find key", key, "in Json object!");
        return false;
    }
    const bool* flag = as<bool>(description, key);
    if (!flag) {
        warn("Property", key, "is not of type bool!");
    }
    return flag && *flag;
}

Items ManifestModel::readItems(const Members& description, const QString& key)
{
    const auto* items = as<Items>(description, key);
    if (has(description, key) && !items) {
        warn("Property", key, "is not of type array!");
    }
    return items ? *items : Items {};
}
