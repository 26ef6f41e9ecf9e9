#pragma once

#include <nlohmann/json.hpp>

#include <string>

/// The library's jobs as somebody might do them who uses nlohmann::json and the standard library, with the same results.
namespace NlohmannPeer {

using Json = nlohmann::json;

void create(const std::string& folder);
Json load(const std::string& path, const std::string& module, const std::string& object);
void save(const Json& manifest, const std::string& path);

// False when the path leads nowhere.

bool set(Json& manifest, const std::string& path, const std::string& key, const Json& value);
bool add(Json& manifest, const std::string& path, const Json& description, int index);
bool remove(Json& manifest, const std::string& path);
bool move(Json& manifest, const std::string& path, int index);

} // namespace NlohmannPeer
