#pragma once

#include "Descriptor.h"

#include <QtCore/QByteArray>
#include <QtCore/QString>

#include <functional>
#include <optional>

#include <sys/types.h>

/// The file at a path and its content, at one point in time.
struct Look {
    /// The error number of an attempt to read the file; 0 if it was read, and also if `kind` is set.
    int error = ENOENT;
    /// The reason why it is not a regular file, for example "it is a folder"; null otherwise.
    QString kind;
    QByteArray content;
    /// The file, kept open so that no other file can get its inode number.
    Descriptor file;

    bool isThere() const
    {
        return error == 0 && kind.isNull();
    }
    /// Returns why the file could not be read.
    QString problem() const;
};

/// Reads the file at a path.
Look lookAt(const QString& path);

/// The result of a save.
struct SaveReport {
    enum Result {
        Saved,
        /// The save has failed. The file is as it was before, unless another process has changed it.
        NotSaved,
        /// The save was not attempted, because the file has changed since it was read.
        ChangedSinceRead,
        /// Another process replaced or removed the file at about the same time.
        Overtaken,
        /// The file cannot be read after the save.
        Unknown,
    };

    Result result;
    /// The error message, with the system's text for the cause. Empty after a save that succeeded.
    QString problem;
    /// Whether there was a file immediately before the save.
    bool isReplacement = false;
    /// The content of the file immediately before the save.
    QByteArray replaced = {};
};

/// The options of a save.
struct SaveWishes {
    /// Whether to replace the file even if it has changed since it was read.
    bool overwrite = false;
    /// The suffix of the backup copy, appended to the path of the manifest; null for no copy.
    QString backupSuffix;
};

/**
 * The file of a manifest, from the time when it is read until a save has been verified.
 *
 * For some failures at the end of a save, the library reports success or nothing at all. It also cannot know what other
 * processes do to the file meanwhile. So every save is verified by reading the file again.
 */
class StoredManifest {
public:
    explicit StoredManifest(const QString& path);

    /// Reads the file and remembers what it found. save() expects to find the same.
    const Look& read();

    /**
     * Saves `wanted` by calling `write`, then reads the file to verify that it was saved. Does not call `write` if the
     * file has changed since it was read, unless the wishes say to overwrite it, or if a wanted backup cannot be made.
     *
     * @param write saves the manifest. Returns false if it knows that the save has failed.
     */
    SaveReport save(const QByteArray& wanted, const SaveWishes& wishes, const std::function<bool()>& write) const;

private:
    bool isAsRead(const Look& look) const;
    SaveReport changed(const Look& now) const;
    SaveReport judge(const Look& before, const QByteArray& wanted, bool reportsSuccess) const;

    const QString path;
    Look known;
};

/// Writes a file beside a manifest, completely or not at all. Without `permissions`, the file gets those of the file
/// that it replaces, or those of any new file. Returns why that failed; null on success.
QString writeBeside(const QString& path, const QByteArray& content, std::optional<mode_t> permissions);
