#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QFile>
#include <QtCore/QSaveFile>

#include <array>
#include <cerrno>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <memory>

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/types.h>
#include <sys/xattr.h>
#include <unistd.h>

// Internal; not installed.
//
// QSaveFile::commit() replaces the old manifest whatever has become of the new one: it ignores a flush or a sync that
// fails and a write that was short, and the new file belongs to whoever saved it. So the save is made complete, synced
// and given to the old file's owner first, and is cancelled when that shows that data is missing.

namespace ManifestSaveFile {

/// The access control list of a file, in the form of the kernel.
struct AccessControlList {
    std::array<char, 1024> data {};
    /// Negative when there may be one that is not known.
    ssize_t size = -1;

    void read(ssize_t result)
    {
        size = result < 0 && (errno == ENODATA || errno == EOPNOTSUPP) ? 0 : result;
    }

    bool operator==(const AccessControlList& other) const
    {
        return size >= 0 && size == other.size
            && std::memcmp(data.data(), other.data.data(), static_cast<std::size_t>(size)) == 0;
    }
};

/// Whether nobody beside owner, group and others is given rights by one of the two files and not by the other.
inline bool haveSameAccessControlList(const QByteArray& path, int descriptor)
{
    constexpr auto attribute = "system.posix_acl_access";
    AccessControlList ofPath;
    AccessControlList ofDescriptor;
    ofPath.read(getxattr(path.constData(), attribute, ofPath.data.data(), ofPath.data.size()));
    ofDescriptor.read(fgetxattr(descriptor, attribute, ofDescriptor.data.data(), ofDescriptor.data.size()));
    return ofPath == ofDescriptor;
}

/**
 * Gives `file`, which is open and still empty, the group, permission bits and owner of the file that it is to replace,
 * as far as the process may. Nobody gets more than before: where the group cannot be kept, or an access control list
 * makes its bits a mask for others, the group gets what everybody has.
 */
inline void keepOwnerAndPermissions(QSaveFile& file)
{
    const QByteArray path = QFile::encodeName(file.fileName());
    const int descriptor = file.handle();
    // With 64-bit inode numbers also where a plain stat() fails for them. Not a QFileInfo, to which a file that is being
    // replaced meanwhile does not exist.
    struct stat64 old = {};
    struct stat64 now = {};
    if (stat64(path.constData(), &old) != 0 || !S_ISREG(old.st_mode) || fstat64(descriptor, &now) != 0) {
        return;
    }
    const auto setOwner = [&](uid_t owner, gid_t group) { return fchown(descriptor, owner, group) == 0; };
    const auto setMode = [&](mode_t mode) { return (now.st_mode & ALLPERMS) == mode || fchmod(descriptor, mode) == 0; };
    constexpr auto sameOwner = static_cast<uid_t>(-1);
    constexpr auto sameGroup = static_cast<gid_t>(-1);

    const mode_t mode = old.st_mode & ACCESSPERMS;
    const mode_t modeWithoutGroup = mode & ~(S_IRWXG & ~((mode & S_IRWXO) << 3));
    bool isKept = old.st_gid == now.st_gid || setOwner(sameOwner, old.st_gid);
    isKept = isKept && setMode(mode) && (mode == modeWithoutGroup || haveSameAccessControlList(path, descriptor));
    if (!isKept) {
        fchmod(descriptor, modeWithoutGroup);
    }
    // Last, for then the file may no longer be this process's to change.
    if (old.st_uid != now.st_uid) {
        setOwner(old.st_uid, sameGroup);
    }
}

/// Whether all data of a file is on the disk, as far as its file system knows of disks.
inline bool sync(int descriptor)
{
    int result = 0;
    do {
        result = fsync(descriptor);
    } while (result != 0 && errno == EINTR);
    return result == 0 || errno == EINVAL || errno == ENOSYS;
}

/**
 * Writes all of `content` to `file`, which is open for writing and empty, and makes sure that it is on the disk. When
 * anything is missing the save is cancelled, and commit() can only discard the temporary file.
 *
 * @return the number of bytes written; content.size() means complete. -1 when nothing was written, or when the flush or
 *         the sync failed.
 */
inline qint64 writeCompletely(QSaveFile& file, const QByteArray& content)
{
    keepOwnerAndPermissions(file);
    qint64 written = file.write(content.constData(), content.size());
    if (written == content.size() && !(file.flush() && sync(file.handle()))) {
        written = -1;
    }
    if (written != content.size()) {
        file.cancelWriting();
    }
    return written;
}

/// Lets `file` take the old one's place, or discards it when its writing was cancelled. Then syncs the folder, so that a
/// power cut does not bring the old one back; nothing depends on that, so its failure is nobody's business.
inline void commit(QSaveFile& file)
{
    const QByteArray path = QFile::encodeName(file.fileName());
    if (!file.commit()) {
        return;
    }
    // Behind a symbolic link the folder is another one.
    const std::unique_ptr<char, decltype(&std::free)> target(realpath(path.constData(), nullptr), &std::free);
    if (!target) {
        return;
    }
    char* const separator = std::strrchr(target.get(), '/');
    separator[separator == target.get() ? 1 : 0] = '\0';
    const int folder = open64(target.get(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (folder >= 0) {
        sync(folder);
        close(folder);
    }
}

} // namespace ManifestSaveFile
