#pragma once

#include "Literals.h"

#include <QtCore/QDir>
#include <QtCore/QFileInfo>
#include <QtCore/QString>

/// Template of a QTemporaryDir for thousands of saves: in memory if possible, because each save waits for the disk.
inline QString quickFolder()
{
    const QString inMemory = u"/dev/shm"_qs;
    const QString folder = QFileInfo(inMemory).isWritable() ? inMemory : QDir::tempPath();
    return folder + u"/manifest-XXXXXX"_qs;
}
