#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QFile>
#include <QtCore/QSaveFile>
#include <QtCore/QtEndian>

#include <array>
#include <cerrno>
#include <climits>
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

/// The access control list of a file, in the form of the kernel: four bytes, then eight for each entry.
class AccessControlList {
public:
    explicit AccessControlList(const QByteArray& path)
        : size(sizeOf(getxattr(path.constData(), attribute, data.data(), data.size())))
    {
    }
    explicit AccessControlList(int descriptor)
        : size(sizeOf(fgetxattr(descriptor, attribute, data.data(), data.size())))
    {
    }

    /// Lists that are not known are never equal.
    bool operator==(const AccessControlList& other) const
    {
        return size >= 0 && size == other.size
            && std::memcmp(data.data(), other.data.data(), static_cast<std::size_t>(size)) == 0;
    }

    /// The permission bits that the list leaves to the group of the file, whose own bits are a mask where there is a
    /// list.
    mode_t groupBits() const
    {
        constexpr quint16 groupOfTheFile = 0x04;
        mode_t bits = size == 0 ? S_IRWXG : 0;
        for (ssize_t entry = 4; entry + 8 <= size; entry += 8) {
            const char* const place = data.data() + entry;
            if (qFromLittleEndian<quint16>(place) == groupOfTheFile) {
                bits = static_cast<mode_t>(qFromLittleEndian<quint16>(place + 2) & S_IRWXO) << 3;
            }
        }
        return bits;
    }

private:
    // Negative when there may be a list that is not known.
    static ssize_t sizeOf(ssize_t result)
    {
        return result < 0 && (errno == ENODATA || errno == EOPNOTSUPP) ? 0 : result;
    }

    static constexpr auto attribute = "system.posix_acl_access";
    // Before the size, which is that of what was read into it.
    std::array<char, 1024> data {};
    ssize_t size;
};

/// The file that a path leads to, without links; null when there is none.
inline QByteArray resolved(const QByteArray& path)
{
    const std::unique_ptr<char, decltype(&std::free)> real(realpath(path.constData(), nullptr), &std::free);
    return real.get();
}

/// The folder in an absolute path.
inline QByteArray folderOf(const QByteArray& path)
{
    return path.left(qMax(1, path.lastIndexOf('/')));
}

/// Whether an open file lies in a folder, or would if it had a name.
inline bool isIn(const QByteArray& folder, int descriptor)
{
    std::array<char, PATH_MAX> path {};
    const QByteArray link = "/proc/self/fd/" + QByteArray::number(descriptor);
    const ssize_t size = readlink(link.constData(), path.data(), path.size());
    return size > 0 && folderOf(QByteArray::fromRawData(path.data(), static_cast<int>(size))) == folder;
}

/// Whether only a file's owner may rename or remove it in a folder (sticky bit). True also when that is not known.
inline bool isSticky(const QByteArray& folder)
{
    struct stat64 status = {};
    return stat64(folder.constData(), &status) != 0 || (status.st_mode & S_ISVTX) != 0;
}

/**
 * Gives an open file the group, permission bits and owner of the file `path` that it is to replace, as far as the
 * process may. Where the group cannot be kept, or somebody in an access control list would get more than before, the
 * group's bits are reduced to those that others have.
 */
inline void keepOwnerAndPermissions(int descriptor, const QByteArray& path, const struct stat64& old)
{
    const QByteArray folder = folderOf(path);
    struct stat64 now = {};
    if (fstat64(descriptor, &now) != 0) {
        return;
    }
    // Somebody who can exchange names along the path may have led Qt to another file than the one that `old` describes.
    // If the new file lies in another folder, it gets nothing from `old`. In the same folder he could have replaced the
    // other file himself, unless the folder is sticky; there the owner is not kept.
    const bool isTheSameFolder = isIn(folder, descriptor);
    constexpr auto sameOwner = static_cast<uid_t>(-1);
    constexpr auto sameGroup = static_cast<gid_t>(-1);
    const auto setOwner = [&](uid_t owner, gid_t group) { return fchown(descriptor, owner, group) == 0; };
    const auto setMode = [&](mode_t mode) { return fchmod(descriptor, mode) == 0; };

    mode_t mode = (isTheSameFolder ? old : now).st_mode & (S_IRWXU | S_IRWXG | S_IRWXO);
    const AccessControlList list(path);
    // Qt has set the bits already, unless it took the old file for missing.
    const bool isKept = (old.st_gid == now.st_gid || (isTheSameFolder && setOwner(sameOwner, old.st_gid)))
        && ((now.st_mode & 07777) == mode || setMode(mode)) && list == AccessControlList(descriptor);
    if (!isKept) {
        constexpr mode_t group = S_IRWXG;
        mode &= ~group | (list.groupBits() & (mode & S_IRWXO) << 3);
        setMode(mode);
    }
    // A process that may give a file away but not change a foreign one may not be able to rename it either: then it
    // takes the file back.
    if (isTheSameFolder && old.st_uid != now.st_uid && !isSticky(folder) && setOwner(old.st_uid, sameGroup)
        && !setMode(mode)) {
        setOwner(now.st_uid, sameGroup);
    }
}

/// Opens `file` for writing, with the owner and the permissions of the file that it is to replace. That one is looked
/// at before, because somebody may remove it meanwhile.
inline bool open(QSaveFile& file)
{
    const QByteArray path = resolved(QFile::encodeName(file.fileName()));
    // With 64-bit inode numbers also where a plain stat() fails for them.
    struct stat64 old = {};
    const bool replaces = !path.isNull() && lstat64(path.constData(), &old) == 0 && S_ISREG(old.st_mode);
    if (!file.open(QIODevice::WriteOnly)) {
        return false;
    }
    if (replaces) {
        keepOwnerAndPermissions(file.handle(), path, old);
    }
    return true;
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
    qint64 written = file.write(content.constData(), content.size());
    if (written == content.size() && !(file.flush() && sync(file.handle()))) {
        written = -1;
    }
    if (written != content.size()) {
        file.cancelWriting();
    }
    return written;
}

/// Lets `file` take the old one's place, or discards it when its writing was cancelled. Then syncs the folder, so that
/// a power cut does not bring the old one back; a failure of that is not reported.
inline void commit(QSaveFile& file)
{
    const QByteArray path = QFile::encodeName(file.fileName());
    if (!file.commit()) {
        return;
    }
    // Behind a symbolic link the folder is another one.
    const QByteArray target = resolved(path);
    if (target.isNull()) {
        return;
    }
    const int folder = open64(folderOf(target).constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (folder >= 0) {
        sync(folder);
        close(folder);
    }
}

} // namespace ManifestSaveFile
