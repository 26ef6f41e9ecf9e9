#include "FileOperand.h"

#include "Output.h"

#include <QtCore/QFile>

#include <cerrno>
#include <cstring>

#include <fcntl.h>

namespace {

// A QByteArray holds at most 2 GB, and loading a manifest takes several times its size.
constexpr int mostBytes = 1 << 30;

QString cannotRead(const QString& path, const QString& reason)
{
    return QLatin1String("cannot read ") % (path.isEmpty() ? QStringLiteral("''") : printable(path))
        % QLatin1String(": ") % reason;
}

bool isStream(mode_t mode)
{
    return S_ISFIFO(mode) || S_ISSOCK(mode);
}

bool isOpenForReading(int file)
{
    const int flags = fcntl(file, F_GETFL);
    return flags >= 0 && (flags & O_ACCMODE) != O_WRONLY;
}

} // namespace

QString onTheDisk(const QString& path)
{
    return path.startsWith(QLatin1Char(':')) ? QString(QLatin1String("./") % path) : path;
}

QString textOf(int error)
{
    return QString::fromLocal8Bit(std::strerror(error));
}

QString whatItIs(mode_t mode)
{
    return S_ISREG(mode) ? QString()
        : S_ISDIR(mode)  ? QStringLiteral("it is a folder")
        : S_ISFIFO(mode) ? QStringLiteral("it is a pipe")
        : S_ISSOCK(mode) ? QStringLiteral("it is a socket")
                         : QStringLiteral("it is a device");
}

int openRegularFile(const QString& path, Descriptor& file, struct stat& status, QString& kind)
{
    const QByteArray encoded = QFile::encodeName(path);
    // Check the type first: just opening a device can have side effects.
    if (stat(encoded.constData(), &status) != 0) {
        return errno;
    }
    kind = whatItIs(status.st_mode);
    if (!kind.isNull()) {
        return 0;
    }
    file = Descriptor(open(encoded.constData(), O_RDONLY | O_NONBLOCK | O_CLOEXEC | O_NOCTTY));
    if (!file.isOpen() || fstat(file.get(), &status) != 0) {
        return errno;
    }
    kind = whatItIs(status.st_mode);
    if (!kind.isNull()) {
        file = Descriptor();
    }
    return 0;
}

int readToTheEnd(int file, QByteArray& content)
{
    content.clear();
    QFile reader;
    if (!reader.open(file, QIODevice::ReadOnly | QIODevice::Unbuffered)) {
        return EBADF;
    }
    if (reader.size() > mostBytes) {
        return EFBIG;
    }
    content.reserve(static_cast<int>(reader.size()));
    constexpr int step = 1 << 16;
    while (content.size() <= mostBytes) {
        // QFile reports an error as text only; errno tells which one it was.
        errno = 0;
        const QByteArray piece = reader.read(step);
        if (piece.isEmpty()) {
            return reader.error() == QFileDevice::NoError ? 0 : errno == 0 ? EIO : errno;
        }
        content += piece;
    }
    return EFBIG;
}

bool isRegularFile(const QString& path, QString& problem)
{
    Descriptor file;
    struct stat status = {};
    QString kind;
    const int error = openRegularFile(path, file, status, kind);
    if (error != 0) {
        problem = cannotRead(path, textOf(error));
    } else if (isStream(status.st_mode)) {
        problem = QLatin1String("cannot edit ") % printable(path) % QLatin1String(": ") % kind;
    } else if (!kind.isNull()) {
        problem = cannotRead(path, kind);
    }
    return problem.isNull();
}

bool readFileOperand(const QString& path, QByteArray& content, QString& problem)
{
    Descriptor file;
    struct stat status = {};
    QString kind;
    int error = 0;
    if (path == QLatin1String("-")) {
        if (!isOpenForReading(STDIN_FILENO)) {
            problem = cannotRead(path, QStringLiteral("standard input is closed for reading"));
            return false;
        }
        error = fstat(STDIN_FILENO, &status) == 0 ? 0 : errno;
        kind = whatItIs(status.st_mode);
        file = Descriptor(error == 0 ? fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, 0) : -1);
    } else {
        error = openRegularFile(path, file, status, kind);
        if (error == 0 && S_ISFIFO(status.st_mode)) {
            file = Descriptor(open(QFile::encodeName(path).constData(), O_RDONLY | O_CLOEXEC | O_NOCTTY));
            error = file.isOpen() ? 0 : errno;
        }
    }
    // A socket cannot be opened by its path, but may be standard input.
    const bool isReadable = S_ISFIFO(status.st_mode) || (file.isOpen() && S_ISSOCK(status.st_mode));
    if (error == 0 && !kind.isNull() && !isReadable) {
        problem = cannotRead(path, kind);
        return false;
    }
    if (error == 0) {
        error = readToTheEnd(file.get(), content);
    }
    if (error != 0) {
        problem = cannotRead(path, textOf(error));
        return false;
    }
    return true;
}
