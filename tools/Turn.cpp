#include "Turn.h"

#include "FileOperand.h"

#include <QtCore/QDir>
#include <QtCore/QElapsedTimer>
#include <QtCore/QFile>
#include <QtCore/QFileInfo>
#include <QtCore/QRandomGenerator>
#include <QtCore/QStringList>
#include <QtCore/QVector>

#include <algorithm>
#include <cerrno>
#include <csignal>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <sys/time.h>

namespace {

// The folder in which a save replaces the manifest, with all links resolved. If it does not exist, the folder that the
// path names.
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

QByteArray readSystemFile(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

// The device and inode of a file, as in the kernel's lists of locks: "08:01:5678".
QByteArray placeInLists(const struct stat& status)
{
    return QByteArray::number(major(status.st_dev), 16).rightJustified(2, '0') + ':'
        + QByteArray::number(minor(status.st_dev), 16).rightJustified(2, '0') + ':'
        + QByteArray::number(static_cast<qulonglong>(status.st_ino));
}

// A line of a list of locks, for example "1: FLOCK ADVISORY WRITE 1234 08:01:5678 0 EOF". In the line of a process that
// is still waiting, an arrow "->" follows the number.
struct ListedLock {
    QByteArray kind;
    QByteArray access;
    QByteArray process;
    QByteArray place;
};

QVector<ListedLock> locksIn(const QByteArray& list)
{
    QVector<ListedLock> locks;
    const QList<QByteArray> lines = list.split('\n');
    for (const QByteArray& line : lines) {
        QList<QByteArray> words = line.simplified().split(' ');
        if (words.constFirst() == "lock:") {
            words.removeFirst();
        }
        if (words.size() > 5 && words.at(1) != "->") {
            locks.append({words.at(1), words.at(3), words.at(4), words.at(5)});
        }
    }
    return locks;
}

// The process that holds a lock of this kind on a file according to a list of locks; null if there is none.
QString lockerIn(const QByteArray& list, const char* kind, const QByteArray& place)
{
    const QVector<ListedLock> locks = locksIn(list);
    const auto found = std::find_if(
        locks.begin(), locks.end(), [&](const ListedLock& lock) { return lock.kind == kind && lock.place == place; });
    if (found == locks.end()) {
        return {};
    }
    const ListedLock& lock = *found;
    return QString::fromLatin1(lock.process);
}

// Whether this process has inherited a descriptor of the locked folder from a process that has the turn, as flock(1)
// passes it on. This is read from the lists of locks. Calling flock() on the descriptor would change the lock for every
// process that shares it.
bool isInherited(int own)
{
    struct stat folder = {};
    fstat(own, &folder);
    const QString list = QStringLiteral("/proc/self/fdinfo");
    const QStringList files = QDir(list).entryList(QDir::Files);
    return std::any_of(files.begin(), files.end(), [&](const QString& name) {
        struct stat status = {};
        if (fstat(name.toInt(), &status) != 0 || status.st_dev != folder.st_dev || status.st_ino != folder.st_ino) {
            return false;
        }
        const QVector<ListedLock> locks = locksIn(readSystemFile(list + QLatin1Char('/') + name));
        return std::any_of(locks.begin(), locks.end(),
            [](const ListedLock& lock) { return lock.kind == "FLOCK" && lock.access == "WRITE"; });
    });
}

// A process that has the descriptor open through which the file was locked; null if none can be found.
QString heirOf(const char* kind, const QByteArray& place)
{
    const QStringList processes = QDir(QStringLiteral("/proc")).entryList({QStringLiteral("[0-9]*")}, QDir::Dirs);
    for (const QString& process : processes) {
        const QString folder = QLatin1String("/proc/") + process + QLatin1String("/fdinfo");
        const QStringList files = QDir(folder).entryList(QDir::Files);
        const bool isHeir = std::any_of(files.begin(), files.end(), [&](const QString& file) {
            return !lockerIn(readSystemFile(folder + QLatin1Char('/') + file), kind, place).isNull();
        });
        if (isHeir) {
            return process;
        }
    }
    return {};
}

// A lock on the first byte of a file. It belongs to the open file description, not to the process.
struct flock lockOfTheFirstByte(short type)
{
    struct flock lock = {};
    lock.l_type = type;
    lock.l_whence = SEEK_SET;
    lock.l_len = 1;
    return lock;
}

bool setMark(int folder, short type)
{
    struct flock lock = lockOfTheFirstByte(type);
    return fcntl(folder, F_OFD_SETLK, &lock) == 0;
}

bool isMarkedByOthers(int folder)
{
    struct flock lock = lockOfTheFirstByte(F_WRLCK);
    return fcntl(folder, F_OFD_GETLK, &lock) == 0 && lock.l_type != F_UNLCK;
}

QString commandOf(const QString& process)
{
    const QByteArray name = readSystemFile(QLatin1String("/proc/") + process + QLatin1String("/comm")).trimmed();
    return name.isEmpty() ? QString() : QString::fromUtf8(name);
}

void interrupt(int)
{
}

/// Interrupts blocking system calls by SIGALRM, first after a delay and then every 20 ms, during its lifetime.
class Alarm {
public:
    explicit Alarm(int milliseconds)
    {
        struct sigaction action = {};
        action.sa_handler = interrupt;
        sigaction(SIGALRM, &action, &previous);
        // Repeat the signal, because the first one may come before the wait has begun.
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
        // During the wait, the folder may have been replaced, or the manifest by a link into another folder.
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
    isShared = false;
    if (flock(file.get(), LOCK_EX | LOCK_NB) == 0) {
        return Result::Taken;
    }
    if (errno != EWOULDBLOCK) {
        error = errno;
        return Result::Impossible;
    }
    if (isInherited(file.get())) {
        return share(seconds);
    }
    QElapsedTimer timer;
    timer.start();
    // Wait in the kernel's queue instead of polling, so that processes get the lock in the order of their requests.
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

// Excludes other processes that have inherited the same turn. A folder cannot be opened for writing, so it can only get
// read locks, which any number of processes can hold. But F_OFD_GETLK tells whether there is a read lock of another
// process. So each process sets a read lock as its mark, and has the turn if it then sees no other mark. If two
// processes set their marks at the same time, both remove them and try again after different delays.
Turn::Result Turn::share(int seconds)
{
    isShared = true;
    QElapsedTimer timer;
    timer.start();
    for (;;) {
        if (!isMarkedByOthers(file.get())) {
            if (!setMark(file.get(), F_RDLCK)) {
                error = errno;
                return Result::Impossible;
            }
            if (!isMarkedByOthers(file.get())) {
                return Result::Taken;
            }
            setMark(file.get(), F_UNLCK);
        }
        if (timer.elapsed() >= qint64 {1000} * seconds) {
            return Result::Busy;
        }
        usleep(QRandomGenerator::global()->bounded(1000U, 10000U));
    }
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
    QString process =
        isShared ? heirOf("OFDLCK", place) : lockerIn(readSystemFile(QStringLiteral("/proc/locks")), "FLOCK", place);
    // The process that locked the folder may have ended and left the locked descriptor to others.
    if (!isShared && !process.isNull() && commandOf(process).isNull()) {
        process = heirOf("FLOCK", place);
    }
    return process.isNull()
        ? QString()
        : QString(QLatin1String("process ") + process + QLatin1String(" (") + commandOf(process) + QLatin1Char(')'));
}
