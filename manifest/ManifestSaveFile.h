#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QSaveFile>

// Internal; not installed.

/**
 * Writes all of `content` to `file`, which is open for writing, and makes sure that the bytes have left Qt's buffer.
 *
 * QSaveFile::commit() replaces the previous file even when its own flush fails or a write was short, so this must come
 * first: when anything is missing the save is cancelled here, and commit() can only discard the temporary file.
 *
 * @return the number of bytes written; content.size() means complete. -1 when nothing was written or the flush failed.
 */
inline qint64 writeCompletely(QSaveFile& file, const QByteArray& content)
{
    qint64 written = file.write(content.constData(), content.size());
    if (written == content.size() && !file.flush()) {
        written = -1;
    }
    if (written != content.size()) {
        file.cancelWriting();
    }
    return written;
}
