#include "SystemFloor.h"

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <vector>

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace {

constexpr auto manifestName = "configuration.manifest.json";

struct Entry {
    std::uint64_t inode;
    std::int64_t offset;
    unsigned short length;
    unsigned char type;
    char name[1];
};

void read(int folder, const char* name, std::string& content)
{
    const int file = openat(folder, name, O_RDONLY | O_CLOEXEC);
    struct stat status = {};
    fstat(file, &status);
    content.resize(static_cast<std::size_t>(status.st_size));
    if (::read(file, &content[0], content.size()) != status.st_size) {
        std::perror(name);
    }
    close(file);
}

void scan(int parent, const char* name, std::string& content)
{
    const int folder = openat(parent, name, O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    // The same size as readdir() of the C library uses.
    std::vector<char> entries(32768);
    long size = 0;
    while ((size = syscall(SYS_getdents64, folder, entries.data(), entries.size())) > 0) {
        for (long at = 0; at < size;) {
            Entry entry;
            std::memcpy(&entry, &entries[static_cast<std::size_t>(at)], offsetof(Entry, name));
            const char* const entryName = &entries[static_cast<std::size_t>(at)] + offsetof(Entry, name);
            if (entry.type == DT_REG && std::strncmp(entryName, manifestName, std::strlen(manifestName)) != 0) {
                read(folder, entryName, content);
            } else if (entry.type == DT_DIR && entryName[0] != '.') {
                scan(folder, entryName, content);
            }
            at += entry.length;
        }
    }
    close(folder);
}

} // namespace

void SystemFloor::scan(const std::string& folder)
{
    std::string content;
    ::scan(AT_FDCWD, folder.c_str(), content);
}

std::string SystemFloor::load(const std::string& path)
{
    std::string content;
    read(AT_FDCWD, path.c_str(), content);
    return content;
}

void SystemFloor::save(const std::string& content, const std::string& path)
{
    const std::string temporary = path + ".new";
    const int file = open(temporary.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
    if (write(file, content.data(), content.size()) != static_cast<ssize_t>(content.size())) {
        std::perror(temporary.c_str());
    }
    struct stat replaced = {};
    if (stat(path.c_str(), &replaced) == 0 && fchown(file, replaced.st_uid, replaced.st_gid) == 0) {
        fchmod(file, replaced.st_mode & ALLPERMS);
    }
    fsync(file);
    close(file);
    renameat(AT_FDCWD, temporary.c_str(), AT_FDCWD, path.c_str());
    const int folder = open(path.substr(0, path.rfind('/')).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    fsync(folder);
    close(folder);
}
