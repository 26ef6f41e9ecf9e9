#pragma once

#include <QtCore/QFile>

// Internal; not installed.

/**
 * Whether the file of a file object exists, also while another process replaces it. The object's own exists() can find
 * the old file just after it has lost its name, and says no. The static function looks the name up afresh, and never
 * misses.
 */
inline bool fileExists(const QFile& file)
{
    // Of a name with a NUL, which names nothing, Qt complains at every look.
    return file.exists() || (!file.fileName().contains(QChar::Null) && QFile::exists(file.fileName()));
}
