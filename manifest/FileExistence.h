#pragma once

#include <QtCore/QFile>

// Internal; not installed.

/**
 * Returns whether the file that `file` names exists, also while another process replaces it. QFile's member exists()
 * returns false when the old file loses its name during the call. The static QFile::exists() is not affected.
 */
inline bool fileExists(const QFile& file)
{
    // A name with a NUL names no file, and Qt would log a warning about it a second time.
    return file.exists() || (!file.fileName().contains(QChar::Null) && QFile::exists(file.fileName()));
}
