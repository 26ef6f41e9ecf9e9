#pragma once

#include <nlohmann/json.hpp>

#include <string>
#include <vector>

/// The library's jobs, with the same results, written with nlohmann::json and the standard library.
namespace NlohmannPeer {

using Json = nlohmann::json;

void create(const std::string& folder);
Json load(const std::string& path, const std::string& module, const std::string& object);
void save(const Json& manifest, const std::string& path);

/// Returns the element at a path; null if there is none.
Json element(const Json& manifest, const std::string& path);
/// Returns the instance names of the children of a node.
Json instances(const Json& manifest, const std::string& path);

// set(), remove(), move() and sort() return false if there is no element at the path.

bool set(Json& manifest, const std::string& path, const std::string& key, const Json& value);
/// Adds a selection unless there is an element at the path. Always returns true.
bool add(Json& manifest, const std::string& path, const Json& description, int index);
bool remove(Json& manifest, const std::string& path);
bool move(Json& manifest, const std::string& path, int index);
/// Returns false also if `names` are not the names of all children.
bool sort(Json& manifest, const std::string& path, const std::vector<std::string>& names);

/// Returns the instance names of all selections.
Json collect(const Json& manifest);
/// Sets a value in all elements with an instance name and returns the changed elements.
Json update(Json& manifest, const std::string& name, const std::string& key, const Json& value);

} // namespace NlohmannPeer
