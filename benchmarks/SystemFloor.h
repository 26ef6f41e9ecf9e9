#pragma once

#include <string>

/// The lower bound for the library's file access: the same system calls, without any processing of the content.
namespace SystemFloor {

/// Reads every file in a folder and below it, except manifests.
void scan(const std::string& folder);
std::string load(const std::string& path);
/// Replaces the file atomically and syncs it.
void save(const std::string& content, const std::string& path);

} // namespace SystemFloor
