#include "NlohmannPeer.h"

#include "SystemFloor.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string_view>
#include <tuple>
#include <unordered_map>
#include <utility>

using NlohmannPeer::Json;

namespace {

Json read(const std::filesystem::path& path)
{
    std::ifstream file(path, std::ios::binary);
    return Json::parse(file, nullptr, false);
}

Json stringIn(const Json& description, const char* key)
{
    const auto found = description.find(key);
    return found != description.end() && found->is_string() ? *found : Json(std::string());
}

Json selection(const Json& description, const std::string& instanceName)
{
    Json element = {{"selectionType", "Selection"}, {"closeMode", "Manual"}, {"uiJob", "OpenConfiguration"},
        {"hide", description.value("hide", false)}};
    for (const char* const key : {"labelTextId", "dataModel", "lastModified", "iconName"}) {
        element[key] = stringIn(description, key);
    }
    for (const char* const key : {"templateType", "labelTextUrl", "dependencyFile", "dependencyFileExtern",
             "moduleName", "objectName", "bufferType"}) {
        Json text = stringIn(description, key);
        if (!text.get_ref<const std::string&>().empty()) {
            element[key] = std::move(text);
        }
    }
    for (const char* const key : {"selectorTypeList", "selectorTypeListEndpoint"}) {
        const auto found = description.find(key);
        if (found != description.end() && found->is_array() && !found->empty()) {
            element[key] = *found;
        }
    }
    const int connectorId = description.value("connectorId", -1);
    if (connectorId >= 0) {
        element["connectorId"] = connectorId;
    }
    Json describedName = stringIn(description, "instanceName");
    element["instanceName"] = describedName.get_ref<const std::string&>().empty() ? Json(instanceName) : describedName;
    return element;
}

Json node(Json description, const std::string& instanceName)
{
    for (const char* const key : {"displayPosition", "tolmVersion", "configurationVersion"}) {
        description.erase(key);
    }
    description["selectionType"] = "Node";
    description["dataSourceType"] = "JsonData";
    description["instanceName"] = instanceName;
    return description;
}

std::string baseName(const std::string& name)
{
    return name.substr(0, name.find('.'));
}

bool endsWith(std::string_view text, std::string_view end)
{
    return text.size() >= end.size() && text.substr(text.size() - end.size()) == end;
}

Json scan(const std::filesystem::path& folder, const std::string& prefix)
{
    // Sorted by kind, with selections before nodes, then by display position, then by file name.
    std::vector<std::tuple<bool, int, std::string, Json>> found;
    for (const std::filesystem::directory_entry& entry : std::filesystem::directory_iterator(folder)) {
        const std::string name = entry.path().filename().string();
        if (name.front() == '.') {
            continue;
        }
        if (entry.is_directory()) {
            Json children = scan(entry.path(), prefix + name + '/');
            if (!children.empty()) {
                Json description = read(entry.path() / "Folder.menu.json");
                const int position = description.value("displayPosition", -1);
                Json element = node(std::move(description), baseName(name));
                element["substructure"] = std::move(children);
                found.emplace_back(true, position, name, std::move(element));
            }
        } else if (endsWith(name, ".config.json")) {
            const Json description = read(entry.path());
            found.emplace_back(
                false, description.value("displayPosition", -1), name, selection(description, prefix + baseName(name)));
        }
    }
    std::sort(found.begin(), found.end(), [](const auto& left, const auto& right) {
        return std::tie(std::get<0>(left), std::get<1>(left), std::get<2>(left))
            < std::tie(std::get<0>(right), std::get<1>(right), std::get<2>(right));
    });
    Json array = Json::array();
    for (auto& entry : found) {
        array.push_back(std::move(std::get<3>(entry)));
    }
    return array;
}

const std::string& nameOf(const Json& element)
{
    return element.find("instanceName")->get_ref<const std::string&>();
}

bool isSelection(const Json& element)
{
    const auto type = element.find("selectionType");
    return type != element.end() && *type == "Selection";
}

// Returns the name by which an element is found: for a selection, the last segment of its instance name.
std::string_view addressedName(const Json& element)
{
    const std::string_view name = nameOf(element);
    return isSelection(element) ? name.substr(name.rfind('/') + 1) : name;
}

bool answersTo(const Json& element, std::string_view wanted)
{
    return endsWith(nameOf(element), wanted) && addressedName(element) == wanted;
}

template <typename AnyJson, typename Visit>
void visitObjects(AnyJson& value, const Visit& visit)
{
    if (value.is_object()) {
        visit(value);
    }
    if (value.is_structured()) {
        for (auto& inner : value) {
            visitObjects(inner, visit);
        }
    }
}

// Returns the array that contains the last element of a path, and an iterator to that element.
template <typename AnyJson>
auto find(AnyJson& manifest, std::string_view path)
{
    AnyJson* array = &manifest;
    for (;;) {
        const std::size_t end = std::min(path.find('/'), path.size());
        const auto found = std::find_if(array->begin(), array->end(),
            [name = path.substr(0, end)](const Json& element) { return answersTo(element, name); });
        if (end == path.size() || found == array->end()) {
            return std::pair(array, found);
        }
        array = &*found->find("substructure");
        path.remove_prefix(end + 1);
    }
}

} // namespace

void NlohmannPeer::create(const std::string& folder)
{
    save(scan(folder, {}), folder + "/configuration.manifest.json");
}

Json NlohmannPeer::load(const std::string& path, const std::string& module, const std::string& object)
{
    Json manifest = read(path);
    visitObjects(manifest, [&](Json& value) {
        if (isSelection(value)) {
            if (!module.empty()) {
                value["moduleName"] = module;
            }
            if (!object.empty()) {
                value["objectName"] = object;
            }
        }
    });
    return manifest;
}

void NlohmannPeer::save(const Json& manifest, const std::string& path)
{
    SystemFloor::save(manifest.dump(), path);
}

Json NlohmannPeer::element(const Json& manifest, const std::string& path)
{
    const auto [array, position] = find(manifest, path);
    return position == array->end() ? Json() : *position;
}

Json NlohmannPeer::instances(const Json& manifest, const std::string& path)
{
    const auto [array, position] = find(manifest, path);
    Json names = Json::array();
    if (position != array->end()) {
        for (const Json& child : *position->find("substructure")) {
            names.push_back(nameOf(child));
        }
    }
    return names;
}

bool NlohmannPeer::set(Json& manifest, const std::string& path, const std::string& key, const Json& value)
{
    const auto [array, position] = find(manifest, path);
    if (position == array->end()) {
        return false;
    }
    (*position)[key] = value;
    return true;
}

bool NlohmannPeer::add(Json& manifest, const std::string& path, const Json& description, int index)
{
    const auto [array, position] = find(manifest, path);
    if (position == array->end()) {
        array->insert(array->begin() + index, selection(description, path));
    }
    return true;
}

bool NlohmannPeer::remove(Json& manifest, const std::string& path)
{
    const auto [array, position] = find(manifest, path);
    if (position == array->end()) {
        return false;
    }
    array->erase(position);
    return true;
}

bool NlohmannPeer::move(Json& manifest, const std::string& path, int index)
{
    const auto [array, position] = find(manifest, path);
    if (position == array->end()) {
        return false;
    }
    const auto target = array->begin() + index;
    if (position < target) {
        std::rotate(position, position + 1, target + 1);
    } else {
        std::rotate(target, position, position + 1);
    }
    return true;
}

bool NlohmannPeer::sort(Json& manifest, const std::string& path, const std::vector<std::string>& names)
{
    const auto [array, position] = find(manifest, path);
    if (position == array->end()) {
        return false;
    }
    Json& children = *position->find("substructure");
    std::unordered_map<std::string_view, Json*> byName;
    for (Json& child : children) {
        byName.emplace(addressedName(child), &child);
    }
    std::vector<Json*> order;
    for (const std::string& name : names) {
        const auto found = byName.find(name);
        if (found != byName.end()) {
            order.push_back(found->second);
        }
    }
    if (order.size() != children.size()) {
        return false;
    }
    Json sorted = Json::array();
    for (Json* const child : order) {
        sorted.push_back(std::move(*child));
    }
    children = std::move(sorted);
    return true;
}

Json NlohmannPeer::collect(const Json& manifest)
{
    Json names = Json::array();
    visitObjects(manifest, [&](const Json& value) {
        if (isSelection(value)) {
            names.push_back(nameOf(value));
        }
    });
    return names;
}

Json NlohmannPeer::update(Json& manifest, const std::string& name, const std::string& key, const Json& value)
{
    Json updated = Json::array();
    visitObjects(manifest, [&](Json& element) {
        if (element.contains("selectionType") && nameOf(element) == name) {
            element[key] = value;
            updated.push_back(element);
        }
    });
    return updated;
}
