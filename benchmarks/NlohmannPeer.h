#pragma once

#include <nlohmann/json.hpp>

#include <string>
#include <vector>

/// The library's jobs as somebody might do them who uses nlohmann::json and the standard library, with the same results.
namespace NlohmannPeer {

using Json = nlohmann::json;

void create(const std::string& folder);
Json load(const std::string& path, const std::string& module, const std::string& object);
void save(const Json& manifest, const std::string& path);

// Null when the path leads nowhere.
Json element(const Json& manifest, const std::string& path);
/// Of the children of a node.
Json instances(const Json& manifest, const std::string& path);

// False when the path leads nowhere.

bool set(Json& manifest, const std::string& path, const std::string& key, const Json& value);
bool add(Json& manifest, const std::string& path, const Json& description, int index);
bool remove(Json& manifest, const std::string& path);
bool move(Json& manifest, const std::string& path, int index);
/// False also when `names` are not those of all children.
bool sort(Json& manifest, const std::string& path, const std::vector<std::string>& names);

/// The instance names of all selections.
Json collect(const Json& manifest);
/// Sets a value in the elements of an instance name; what they become.
Json update(Json& manifest, const std::string& name, const std::string& key, const Json& value);

} // namespace NlohmannPeer
