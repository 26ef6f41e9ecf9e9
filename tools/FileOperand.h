#pragma once

#include "Descriptor.h"

#include <QtCore/QByteArray>
#include <QtCore/QString>

#include <sys/stat.h>

/// Returns a path that Qt looks up on the disk. Qt looks up a name that begins with ":" among the resources of the
/// program, so "./" is put before it.
QString onTheDisk(const QString& path);

/// Returns the system's text for an error number.
QString textOf(int error);

/// Returns why a file cannot be read or replaced like a regular file, for example "it is a folder". Returns null for a
/// regular file.
QString whatItIs(mode_t mode);

/**
 * Opens a regular file for reading. Does not block. Does not open folders, devices, pipes or sockets.
 *
 * @param[out] file   the open file, if 0 is returned and `kind` is null.
 * @param[out] status the status of whatever the path leads to.
 * @param[out] kind   the result of whatItIs() for it.
 * @return the error number; 0 if the file was opened, or if `kind` says why not.
 */
int openRegularFile(const QString& path, Descriptor& file, struct stat& status, QString& kind);

/// Reads an open file to its end. Returns the error number; 0 on success.
int readToTheEnd(int file, QByteArray& content);

/// Returns whether a path leads to a regular file that can be read, as an edit requires. If not, sets `problem` to one
/// line with the reason.
bool isRegularFile(const QString& path, QString& problem);

/// Reads a file or pipe that the command line names, or standard input for "-". Refuses devices, which may have no end.
/// On failure returns false and sets `problem` to one line with the reason.
bool readFileOperand(const QString& path, QByteArray& content, QString& problem);
