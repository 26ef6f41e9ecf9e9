#pragma once

#include "Descriptor.h"

#include <QtCore/QByteArray>
#include <QtCore/QString>

#include <sys/stat.h>

/// A path that leads to the disk. Qt looks for a file whose name begins with ":" among the resources of the program.
QString onTheDisk(const QString& path);

/// The words of the system for an error number.
QString textOf(int error);

/// What a file is that is none to read or to replace: "it is a folder". Null when it is a regular file.
QString whatItIs(mode_t mode);

/// Opens a file to be read without waiting for anybody and without following up what is no regular file. The error
/// number is 0 when `file` is open.
int openRegularFile(const QString& path, Descriptor& file, struct stat& status, QString& kind);

/// Reads an open file to its end. Returns the error number.
int readToTheEnd(int file, QByteArray& content);

/// Whether a file is one that an edit can replace. When it is not, `problem` is one line that says why.
bool isRegularFile(const QString& path, QString& problem);

/// Reads a file that the command line names, a pipe or, as "-", standard input; never a device, which may have no end.
/// When that is not possible, `problem` is one line that says why.
bool readFileOperand(const QString& path, QByteArray& content, QString& problem);
