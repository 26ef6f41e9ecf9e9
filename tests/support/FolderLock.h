#pragma once

#include <QtCore/QString>

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

/// An exclusive lock on a folder, as the program takes one before it saves.
class FolderLock {
public:
    explicit FolderLock(const QString& folder)
        : file(open(qPrintable(folder), O_RDONLY | O_DIRECTORY | O_CLOEXEC))
        , held(flock(file, LOCK_EX | LOCK_NB) == 0)
    {
    }
    ~FolderLock()
    {
        close(file);
    }
    Q_DISABLE_COPY(FolderLock)

    bool isHeld() const
    {
        return held;
    }
    void release() const
    {
        flock(file, LOCK_UN);
    }

private:
    const int file;
    const bool held;
};
