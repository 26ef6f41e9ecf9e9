#include "NlohmannPeer.h"

#include "SystemFloor.h"

#include <algorithm>
#include <array>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string_view>
#include <tuple>
#include <utility>
#include <vector>

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
    // Nodes behind selections, then by position, then by name.
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

void stamp(Json& value, const std::string& module, const std::string& object)
{
    if (value.is_object()) {
        const auto type = value.find("selectionType");
        if (type != value.end() && *type == "Selection") {
            if (!module.empty()) {
                value["moduleName"] = module;
            }
            if (!object.empty()) {
                value["objectName"] = object;
            }
        }
    }
    if (value.is_structured()) {
        for (Json& inner : value) {
            stamp(inner, module, object);
        }
    }
}

// A selection answers to the last segment of its name.
bool answersTo(const Json& element, std::string_view wanted)
{
    std::string_view name = element.find("instanceName")->get_ref<const std::string&>();
    if (!endsWith(name, wanted)) {
        return false;
    }
    if (*element.find("selectionType") == "Selection") {
        name = name.substr(name.rfind('/') + 1);
    }
    return name == wanted;
}

// The array that holds the last element of a path, and where in it that is.
std::pair<Json*, Json::iterator> find(Json& manifest, std::string_view path)
{
    Json* array = &manifest;
    for (;;) {
        const std::size_t end = std::min(path.find('/'), path.size());
        const auto found = std::find_if(array->begin(), array->end(),
            [name = path.substr(0, end)](const Json& element) { return answersTo(element, name); });
        if (end == path.size() || found == array->end()) {
            return {array, found};
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
    stamp(manifest, module, object);
    return manifest;
}

void NlohmannPeer::save(const Json& manifest, const std::string& path)
{
    SystemFloor::save(manifest.dump(), path);
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
