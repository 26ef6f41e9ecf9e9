#pragma once

#include <string>

/// The least that the system takes for the library's work with files: its calls, with nothing done to the content.
namespace SystemFloor {

/// Reads every file in a folder and below it.
void scan(const std::string& folder);
std::string load(const std::string& path);
/// Atomically, and waiting for the disk.
void save(const std::string& content, const std::string& path);

} // namespace SystemFloor
