#pragma once

#include "Descriptor.h"

#include <QtCore/QByteArray>
#include <QtCore/QString>

#include <functional>
#include <optional>

#include <sys/types.h>

/// A file as one look at its path finds it.
struct Look {
    /// 0 when there is a regular file that can be read.
    int error = ENOENT;
    /// What there is instead of a regular file; null when that is not the trouble.
    QString kind;
    QByteArray content;
    /// Keeps the file from giving its inode number to another one.
    Descriptor file;

    bool isThere() const
    {
        return error == 0 && kind.isNull();
    }
    /// Why there is no content.
    QString problem() const;
};

Look lookAt(const QString& path);

/// How a save ended.
struct SaveReport {
    enum Result {
        Saved,
        /// The file is as it was before.
        NotSaved,
        /// Nothing was tried, for the manifest is not the one that was read.
        ChangedSinceRead,
        /// Another process has replaced or removed the manifest just after this one has saved it, or just before.
        Overtaken,
        /// The file cannot be looked at any more.
        Unknown,
    };

    Result result;
    /// What went wrong, with the cause as the system words it.
    QString problem;
    /// Whether there was a manifest immediately before the save, and what it was.
    bool isReplacement = false;
    QByteArray replaced = {};
};

struct SaveWishes {
    /// Replace the manifest also when it has changed since it was read.
    bool overwrite = false;
    /// Behind the name of the manifest, the name of the copy that is made of it; null for none.
    QString backupSuffix;
};

/**
 * A manifest as a file: what was read from it, and whether what was to be saved is there afterwards.
 *
 * The library reports a save that fails at its very end as a success, or reports nothing at all, and nobody but the
 * file can tell what other processes did meanwhile. So a save is followed by another look at the path.
 */
class StoredManifest {
public:
    explicit StoredManifest(const QString& path);

    /// Reads the file. What this finds is what a later save expects to find again.
    const Look& read();

    /**
     * Lets `write` save `wanted`, unless the file has changed since it was read, and looks what is there then.
     *
     * @param write returns whether nothing went wrong that it knows of.
     */
    SaveReport save(const QByteArray& wanted, const SaveWishes& wishes, const std::function<bool()>& write) const;

private:
    bool isAsRead(const Look& look) const;
    SaveReport changed(const Look& now) const;
    SaveReport judge(const Look& before, const QByteArray& wanted, bool reportsSuccess) const;

    const QString path;
    Look known;
};

/// Writes a file beside a manifest, as a whole or not at all. Without permissions it gets those of the file that it
/// replaces, or of any new one. Returns what went wrong; null for nothing.
QString writeBeside(const QString& path, const QByteArray& content, std::optional<mode_t> permissions);
