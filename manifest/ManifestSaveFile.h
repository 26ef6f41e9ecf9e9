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
// QSaveFile::commit() replaces the old manifest even if the new one is incomplete: it ignores a short write, a failed
// flush and a failed sync. The new file belongs to the user who saves. So these functions check the write, flush and
// sync the file, and give it to the owner of the old one before the commit. They cancel the save when data is missing.

namespace ManifestSaveFile {

/// The access control list of a file in the kernel's binary format: a header of four bytes, then eight bytes an entry.
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

    /// Returns whether both lists could be read and are equal.
    bool operator==(const AccessControlList& other) const
    {
        return size >= 0 && size == other.size
            && std::memcmp(data.data(), other.data.data(), static_cast<std::size_t>(size)) == 0;
    }

    /// Returns the permission bits that the list grants to the group of the file. They are not in the mode of a file
    /// that has a list: there the group's bits are the mask of the list. Returns all bits if there is no list, and none
    /// if it could not be read.
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
    // Returns 0 when the file has no list, and a negative size when the list could not be read.
    static ssize_t sizeOf(ssize_t result)
    {
        return result < 0 && (errno == ENODATA || errno == EOPNOTSUPP) ? 0 : result;
    }

    static constexpr auto attribute = "system.posix_acl_access";
    // Declared before `size`, because the initialisation of `size` reads the list into it.
    std::array<char, 1024> data {};
    ssize_t size;
};

/// Returns the absolute path of a file, with all symbolic links resolved; null when there is no such file.
inline QByteArray resolved(const QByteArray& path)
{
    const std::unique_ptr<char, decltype(&std::free)> real(realpath(path.constData(), nullptr), &std::free);
    return real.get();
}

/// Returns the folder part of an absolute path.
inline QByteArray folderOf(const QByteArray& path)
{
    return path.left(qMax(1, path.lastIndexOf('/')));
}

/// Returns whether an open file lies in a folder. For a file that has no name yet, this is the folder that it was
/// created in.
inline bool isIn(const QByteArray& folder, int descriptor)
{
    std::array<char, PATH_MAX> path {};
    const QByteArray link = "/proc/self/fd/" + QByteArray::number(descriptor);
    const ssize_t size = readlink(link.constData(), path.data(), path.size());
    return size > 0 && folderOf(QByteArray::fromRawData(path.data(), static_cast<int>(size))) == folder;
}

/// Returns whether a folder has the sticky bit, so that only the owner of a file may rename or remove it there. Returns
/// true also when the folder cannot be examined.
inline bool isSticky(const QByteArray& folder)
{
    struct stat64 status = {};
    return stat64(folder.constData(), &status) != 0 || (status.st_mode & S_ISVTX) != 0;
}

/**
 * Gives an open file the group, permission bits and owner of the file that it is to replace, as far as the process is
 * permitted to.
 *
 * If the group cannot be kept, or if somebody in an access control list would get more access than before, the group's
 * bits are reduced to those that others have. Failures are not reported.
 *
 * @param descriptor the open file.
 * @param path       the file to replace, without symbolic links.
 * @param old        status of the file to replace, from before `descriptor` was opened.
 */
inline void keepOwnerAndPermissions(int descriptor, const QByteArray& path, const struct stat64& old)
{
    const QByteArray folder = folderOf(path);
    struct stat64 now = {};
    if (fstat64(descriptor, &now) != 0) {
        return;
    }
    // Somebody who can rename folders or files along the path may have made Qt replace another file than the one that
    // `old` describes. So a new file in another folder gets nothing from `old`. In the same folder, somebody who can
    // rename files could replace the other file directly and gains nothing. In a sticky folder that is not possible, so
    // the owner is not kept there.
    const bool isTheSameFolder = isIn(folder, descriptor);
    constexpr auto sameOwner = static_cast<uid_t>(-1);
    constexpr auto sameGroup = static_cast<gid_t>(-1);
    const auto setOwner = [&](uid_t owner, gid_t group) { return fchown(descriptor, owner, group) == 0; };
    const auto setMode = [&](mode_t mode) { return fchmod(descriptor, mode) == 0; };

    mode_t mode = (isTheSameFolder ? old : now).st_mode & (S_IRWXU | S_IRWXG | S_IRWXO);
    const AccessControlList list(path);
    // Qt has already set the bits, unless the old file seemed to be missing.
    const bool isKept = (old.st_gid == now.st_gid || (isTheSameFolder && setOwner(sameOwner, old.st_gid)))
        && ((now.st_mode & 07777) == mode || setMode(mode)) && list == AccessControlList(descriptor);
    if (!isKept) {
        constexpr mode_t group = S_IRWXG;
        mode &= ~group | (list.groupBits() & (mode & S_IRWXO) << 3);
        setMode(mode);
    }
    // A process may have the right to change owners (CAP_CHOWN) without the right to act as an owner (CAP_FOWNER). Then
    // it can no longer set the mode of the file, and possibly not rename it. In that case it takes the file back.
    if (isTheSameFolder && old.st_uid != now.st_uid && !isSticky(folder) && setOwner(old.st_uid, sameGroup)
        && !setMode(mode)) {
        setOwner(now.st_uid, sameGroup);
    }
}

/// Opens `file` for writing and gives it the owner and the permissions of the file that it is to replace. Those are
/// read before, because the old file may be removed at any time. Returns whether `file` is open.
inline bool open(QSaveFile& file)
{
    const QByteArray path = resolved(QFile::encodeName(file.fileName()));
    // A plain stat() fails on a 32-bit system when the inode number has 64 bits.
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

/// Syncs a file or folder. Returns whether its data is on the disk; true also for a file system that cannot sync.
inline bool sync(int descriptor)
{
    int result = 0;
    do {
        result = fsync(descriptor);
    } while (result != 0 && errno == EINTR);
    return result == 0 || errno == EINVAL || errno == ENOSYS;
}

/**
 * Writes all of `content` to `file` and syncs it. When any of that fails, the save is cancelled, and commit() discards
 * the temporary file.
 *
 * @param file    an empty file that is open for writing.
 * @param content the new content.
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

/// Replaces the old file by `file`, or discards `file` when its writing was cancelled. Then syncs the folder, so that a
/// power failure does not bring the old file back. Failures are not reported.
inline void commit(QSaveFile& file)
{
    const QByteArray path = QFile::encodeName(file.fileName());
    if (!file.commit()) {
        return;
    }
    // When the path is a symbolic link, sync the folder of its target.
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
