#pragma once

#include "Descriptor.h"

#include <QtCore/QString>

/**
 * The right to replace a manifest: an exclusive lock (flock) on its folder. The destructor releases it.
 *
 * The folder is locked because a save replaces the manifest by a new file. When the holder ends, for whatever reason,
 * the kernel releases the lock. No lock file is left behind. Other programs take part by flock(2) or flock(1). A
 * process that flock(1) has started inherits its lock, and so has the turn. If several runs of this program inherit the
 * same lock, they use locks of another kind to run one after the other.
 */
class Turn {
public:
    enum class Result {
        Taken,
        /// Another process has held the turn for the whole time.
        Busy,
        /// The folder cannot be opened or locked, see reason(). There is no turn to wait for.
        Impossible,
    };

    /// Waits at most `seconds` for the turn at a manifest. Follows links to the folder in which a save replaces it.
    Result take(const QString& manifestPath, int seconds);

    /// Returns the folder of the last take().
    QString folder() const;
    /// Returns the system's text for the error after which take() returned Impossible.
    QString reason() const;
    /// Returns the process that has the turn: "process 12 (name)". Null if it cannot be found.
    QString holder() const;

private:
    Result lock(int seconds);
    Result share(int seconds);

    QString lockedFolder;
    Descriptor file;
    /// Whether this process has inherited the turn from the one that started it.
    bool isShared = false;
    int error = 0;
};
