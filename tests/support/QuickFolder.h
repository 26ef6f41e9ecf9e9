#pragma once

#include "Literals.h"

#include <QtCore/QDir>
#include <QtCore/QFileInfo>
#include <QtCore/QString>

/// A QTemporaryDir template for thousands of saves. The folder is in memory if possible, because each save waits for
/// the disk.
inline QString quickFolder()
{
    const QString inMemory = u"/dev/shm"_qs;
    const QString folder = QFileInfo(inMemory).isWritable() ? inMemory : QDir::tempPath();
    return folder + u"/manifest-XXXXXX"_qs;
}
