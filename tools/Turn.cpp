#include "Turn.h"

#include "FileOperand.h"

#include <QtCore/QDir>
#include <QtCore/QElapsedTimer>
#include <QtCore/QFile>
#include <QtCore/QFileInfo>
#include <QtCore/QStringList>

#include <algorithm>
#include <cerrno>
#include <csignal>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <sys/time.h>

namespace {

// The folder in which a save replaces the manifest; where there is no such folder, what the path says.
QString folderOf(const QString& manifestPath)
{
    const QString manifest = QFileInfo(manifestPath).canonicalFilePath();
    const QString folder =
        manifest.isEmpty() ? QFileInfo(QFileInfo(manifestPath).path()).canonicalFilePath() : QFileInfo(manifest).path();
    return folder.isEmpty() ? QFileInfo(manifestPath).path() : folder;
}

bool isStillThere(int file, const QString& folder)
{
    struct stat open = {};
    struct stat now = {};
    return fstat(file, &open) == 0 && stat(QFile::encodeName(folder).constData(), &now) == 0
        && open.st_dev == now.st_dev && open.st_ino == now.st_ino;
}

// Whether this process was started by one that has the turn and gave it its open folder, as flock(1) does. Of the same
// open folder the kernel gives the lock again.
bool isInherited(int own)
{
    struct stat folder = {};
    fstat(own, &folder);
    const QStringList files =
        QDir(QStringLiteral("/proc/self/fd")).entryList(QDir::NoDotAndDotDot | QDir::AllEntries | QDir::System);
    return std::any_of(files.begin(), files.end(), [&](const QString& name) {
        const int file = name.toInt();
        struct stat status = {};
        return file > STDERR_FILENO && file != own && fstat(file, &status) == 0 && status.st_dev == folder.st_dev
            && status.st_ino == folder.st_ino && flock(file, LOCK_EX | LOCK_NB) == 0;
    });
}

QByteArray readSystemFile(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

// A file as the system's lists of locks have it: "08:01:5678".
QByteArray placeInLists(const struct stat& status)
{
    return QByteArray::number(major(status.st_dev), 16).rightJustified(2, '0') + ':'
        + QByteArray::number(minor(status.st_dev), 16).rightJustified(2, '0') + ':'
        + QByteArray::number(static_cast<qulonglong>(status.st_ino));
}

// The process that a list of locks names for a file. "1: FLOCK  ADVISORY  WRITE 1234 08:01:5678 0 EOF"; who only waits
// has an arrow behind the number.
QString lockerIn(const QByteArray& list, const QByteArray& place)
{
    const QList<QByteArray> lines = list.split('\n');
    for (const QByteArray& line : lines) {
        QList<QByteArray> words = line.simplified().split(' ');
        if (words.constFirst() == "lock:") {
            words.removeFirst();
        }
        if (words.size() > 5 && words.at(1) == "FLOCK" && words.at(5) == place) {
            return QString::fromLatin1(words.at(4));
        }
    }
    return {};
}

// A process that has the file open by which somebody locked it.
QString heirOf(const QByteArray& place)
{
    const QStringList processes = QDir(QStringLiteral("/proc")).entryList({QStringLiteral("[0-9]*")}, QDir::Dirs);
    for (const QString& process : processes) {
        const QString folder = QLatin1String("/proc/") + process + QLatin1String("/fdinfo");
        const QStringList files = QDir(folder).entryList(QDir::Files);
        const bool isHeir = std::any_of(files.begin(), files.end(), [&](const QString& file) {
            return !lockerIn(readSystemFile(folder + QLatin1Char('/') + file), place).isNull();
        });
        if (isHeir) {
            return process;
        }
    }
    return {};
}

QString commandOf(const QString& process)
{
    const QByteArray name = readSystemFile(QLatin1String("/proc/") + process + QLatin1String("/comm")).trimmed();
    return name.isEmpty() ? QString() : QString::fromUtf8(name);
}

void interrupt(int)
{
}

/// Interrupts what the process waits for, some time from now and then again and again.
class Alarm {
public:
    explicit Alarm(int milliseconds)
    {
        struct sigaction action = {};
        action.sa_handler = interrupt;
        sigaction(SIGALRM, &action, &previous);
        // Again, because the first one may come before the wait has begun.
        const itimerval times {{0, 20000}, {milliseconds / 1000, suseconds_t {1000} * (milliseconds % 1000)}};
        setitimer(ITIMER_REAL, &times, nullptr);
    }
    ~Alarm()
    {
        const itimerval never {};
        setitimer(ITIMER_REAL, &never, nullptr);
        sigaction(SIGALRM, &previous, nullptr);
    }
    Q_DISABLE_COPY(Alarm)

private:
    struct sigaction previous = {};
};

} // namespace

Turn::Result Turn::take(const QString& manifestPath, int seconds)
{
    QElapsedTimer timer;
    timer.start();
    for (;;) {
        lockedFolder = folderOf(manifestPath);
        file = Descriptor(open(QFile::encodeName(lockedFolder).constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
        if (!file.isOpen()) {
            error = errno;
            return Result::Impossible;
        }
        const int left = qMax(0, seconds - static_cast<int>(timer.elapsed() / 1000));
        const Result result = lock(left);
        // While this waited, the folder may have been replaced or the manifest become a link to another one.
        if (result != Result::Taken
            || (folderOf(manifestPath) == lockedFolder && isStillThere(file.get(), lockedFolder))) {
            return result;
        }
        if (left == 0) {
            return Result::Busy;
        }
    }
}

Turn::Result Turn::lock(int seconds)
{
    if (flock(file.get(), LOCK_EX | LOCK_NB) == 0) {
        return Result::Taken;
    }
    if (errno != EWOULDBLOCK) {
        error = errno;
        return Result::Impossible;
    }
    if (isInherited(file.get())) {
        return Result::Taken;
    }
    QElapsedTimer timer;
    timer.start();
    // Waiting in the kernel's queue instead of asking again and again: whoever came first is served first.
    const Alarm alarm(qMax(1, seconds * 1000));
    while (timer.elapsed() < qint64 {1000} * seconds) {
        if (flock(file.get(), LOCK_EX) == 0) {
            return Result::Taken;
        }
        if (errno != EINTR) {
            error = errno;
            return Result::Impossible;
        }
    }
    return Result::Busy;
}

QString Turn::folder() const
{
    return lockedFolder;
}

QString Turn::reason() const
{
    return textOf(error);
}

QString Turn::holder() const
{
    struct stat status = {};
    if (!file.isOpen() || fstat(file.get(), &status) != 0) {
        return {};
    }
    const QByteArray place = placeInLists(status);
    QString process = lockerIn(readSystemFile(QStringLiteral("/proc/locks")), place);
    // Who locked the folder may be gone, and have left it, open and locked, to others.
    if (!process.isNull() && commandOf(process).isNull()) {
        process = heirOf(place);
    }
    return process.isNull()
        ? QString()
        : QString(QLatin1String("process ") + process + QLatin1String(" (") + commandOf(process) + QLatin1Char(')'));
}
