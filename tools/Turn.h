#pragma once

#include "Descriptor.h"

#include <QtCore/QString>

/**
 * The right to replace a manifest: an exclusive lock (flock) on the folder that it lies in.
 *
 * A folder, because the manifest itself is another file after each save. The kernel takes the lock back when its holder
 * ends, however it ends, and it leaves no file. Other software takes part with flock(2) or the command of that name;
 * what such a command starts has the turn with it, and runs of this program that share one take turns among themselves.
 */
class Turn {
public:
    enum class Result {
        Taken,
        /// Somebody else has it all the time.
        Busy,
        /// The folder cannot be opened, or its file system has no locks. There is no turn to wait for.
        Impossible,
    };

    /// Waits for the turn at the manifest of a path, wherever links lead; for `seconds` at most.
    Result take(const QString& manifestPath, int seconds);

    /// The folder of the last take().
    QString folder() const;
    /// Why there is no turn to wait for, in the words of the system.
    QString reason() const;
    /// Who has the turn: "process 12 (name)". Null when that cannot be found out.
    QString holder() const;

private:
    Result lock(int seconds);
    Result share(int seconds);

    QString lockedFolder;
    Descriptor file;
    /// Whether who started this process has the turn.
    bool isShared = false;
    int error = 0;
};
