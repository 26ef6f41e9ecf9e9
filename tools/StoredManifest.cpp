#include "StoredManifest.h"

#include "FileOperand.h"
#include "Output.h"

#include <QtCore/QFile>
#include <QtCore/QFileInfo>
#include <QtCore/QSaveFile>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdlib>

#include <fcntl.h>

namespace {

// The temporary file of a save has a name that is this much longer: a dot and six letters.
constexpr int temporaryLength = 7;

bool isSameFile(const Look& a, const Look& b)
{
    struct stat statusOfA = {};
    struct stat statusOfB = {};
    return fstat(a.file.get(), &statusOfA) == 0 && fstat(b.file.get(), &statusOfB) == 0
        && statusOfA.st_dev == statusOfB.st_dev && statusOfA.st_ino == statusOfB.st_ino;
}

QString behindLinks(const QString& path)
{
    const QString real = QFileInfo(path).canonicalFilePath();
    return real.isEmpty() ? path : real;
}

int writeAll(int file, const QByteArray& content)
{
    for (int done = 0; done < content.size();) {
        const ssize_t written = write(file, content.constData() + done, static_cast<size_t>(content.size() - done));
        if (written < 0 && errno != EINTR) {
            return errno;
        }
        done += static_cast<int>(qMax<ssize_t>(written, 0));
    }
    return fsync(file) == 0 ? 0 : errno;
}

// Tries to write a file of this content in a folder, and removes it again. Returns the error number, 0 for success.
int probe(const QByteArray& folder, const QByteArray& content)
{
    const Descriptor unnamed(open(folder.constData(), O_TMPFILE | O_WRONLY | O_CLOEXEC, 0600));
    if (unnamed.isOpen()) {
        return writeAll(unnamed.get(), content);
    }
    if (errno != EOPNOTSUPP && errno != EISDIR) {
        return errno;
    }
    QByteArray name = folder + "/.manifest.XXXXXX";
    const Descriptor named(mkostemp(name.data(), O_CLOEXEC));
    if (!named.isOpen()) {
        return errno;
    }
    unlink(name.constData());
    return writeAll(named.get(), content);
}

bool isTooLong(const QByteArray& path, const QByteArray& folder)
{
    const long longestName = pathconf(folder.constData(), _PC_NAME_MAX);
    const int nameLength = path.size() - path.lastIndexOf('/') - 1;
    return path.size() + temporaryLength >= PATH_MAX
        || (longestName > 0 && nameLength + temporaryLength > static_cast<int>(longestName));
}

// Whether this process has the capability to act as the owner of any file (CAP_FOWNER).
bool mayActAsOwner()
{
    constexpr int bitOfTheRight = 3; // CAP_FOWNER
    QFile status(QStringLiteral("/proc/self/status"));
    if (!status.open(QIODevice::ReadOnly)) {
        return false;
    }
    const QByteArray text = status.readAll();
    const QByteArray title = "\nCapEff:\t";
    const QByteArray rights = text.mid(text.indexOf(title) + title.size()).split('\n').constFirst();
    return (rights.toULongLong(nullptr, 16) >> bitOfTheRight & 1) != 0;
}

// Whether the folder is sticky, so that only the owner of the file or the folder may replace the file, and this process
// may not act as either of them.
bool isProtectedFromOthers(const struct stat& file, const QByteArray& folder)
{
    struct stat status = {};
    return stat(folder.constData(), &status) == 0 && (status.st_mode & S_ISVTX) != 0 && file.st_uid != geteuid()
        && status.st_uid != geteuid() && !mayActAsOwner();
}

// Whether something is mounted at the path of a file. Lines of the list are like "36 35 98:0 /in-it /path rw ...", with
// blanks in paths written as "\040".
bool isMountPoint(const QByteArray& path)
{
    QFile list(QStringLiteral("/proc/self/mountinfo"));
    if (!list.open(QIODevice::ReadOnly)) {
        return false;
    }
    const QByteArray escaped =
        QByteArray(path).replace('\\', "\\134").replace(' ', "\\040").replace('\t', "\\011").replace('\n', "\\012");
    const QList<QByteArray> lines = list.readAll().split('\n');
    return std::any_of(
        lines.begin(), lines.end(), [&](const QByteArray& line) { return line.split(' ').value(4) == escaped; });
}

// Finds out why a save of `content` has failed, by trying its steps without touching the manifest. Returns the error
// number; 0 if all steps are possible.
int causeOfFailure(const QString& path, const QByteArray& content)
{
    const QByteArray file = QFile::encodeName(behindLinks(path));
    const QByteArray folder = QFile::encodeName(QFileInfo(behindLinks(path)).path());
    struct stat status = {};
    const bool isThere = stat(file.constData(), &status) == 0;
    if (isThere && S_ISDIR(status.st_mode)) {
        return EISDIR;
    }
    if ((isThere && access(file.constData(), W_OK) != 0) || access(folder.constData(), W_OK | X_OK) != 0) {
        return errno;
    }
    if (isThere && isProtectedFromOthers(status, folder)) {
        return EPERM;
    }
    if (isThere && isMountPoint(file)) {
        return EBUSY;
    }
    const int error = isTooLong(file, folder) ? ENAMETOOLONG : probe(folder, content);
    // Without any other cause, a link that leads nowhere is one.
    return error == 0 && !isThere && QFileInfo(path).isSymLink() ? ENOENT : error;
}

QString causeAsText(const QString& path, const QByteArray& content)
{
    const int error = causeOfFailure(path, content);
    return error == 0 ? QStringLiteral("cause unknown") : textOf(error);
}

} // namespace

QString Look::problem() const
{
    return kind.isNull() ? textOf(error) : kind;
}

Look lookAt(const QString& path)
{
    Look look;
    struct stat status = {};
    look.error = openRegularFile(path, look.file, status, look.kind);
    if (look.isThere()) {
        look.error = readToTheEnd(look.file.get(), look.content);
    }
    return look;
}

QString writeBeside(const QString& path, const QByteArray& content, std::optional<mode_t> permissions)
{
    const QByteArray encoded = QFile::encodeName(path);
    struct stat status = {};
    if (lstat(encoded.constData(), &status) == 0 && !S_ISREG(status.st_mode)) {
        return S_ISLNK(status.st_mode) ? QStringLiteral("it is a link") : whatItIs(status.st_mode);
    }
    if (access(encoded.constData(), F_OK) == 0 && access(encoded.constData(), W_OK) != 0) {
        return textOf(errno);
    }
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly)) {
        return file.errorString();
    }
    if (permissions) {
        fchmod(file.handle(), *permissions);
    }
    // Write to the descriptor: QSaveFile ignores errors of a flush and does not keep error numbers.
    const int error = writeAll(file.handle(), content);
    if (error != 0) {
        file.cancelWriting();
        return textOf(error);
    }
    return file.commit() ? QString() : file.errorString();
}

StoredManifest::StoredManifest(const QString& manifestPath)
    : path(manifestPath)
{
}

const Look& StoredManifest::read()
{
    known = lookAt(path);
    return known;
}

bool StoredManifest::isAsRead(const Look& look) const
{
    return look.isThere() == known.isThere() && look.kind == known.kind && look.content == known.content;
}

SaveReport StoredManifest::changed(const Look& now) const
{
    return {SaveReport::ChangedSinceRead,
        printable(path) % QLatin1String(" has changed since it was read")
            % (now.isThere() ? QString() : QString(QLatin1String(": ") % now.problem()))};
}

SaveReport StoredManifest::save(
    const QByteArray& wanted, const SaveWishes& wishes, const std::function<bool()>& write) const
{
    Look before = lookAt(path);
    if (!wishes.overwrite && !isAsRead(before)) {
        return changed(before);
    }
    if (!wishes.backupSuffix.isNull() && before.isThere()) {
        struct stat status = {};
        fstat(before.file.get(), &status);
        const QString backup = behindLinks(path) % wishes.backupSuffix;
        const QString problem = writeBeside(backup, before.content, status.st_mode & ACCESSPERMS);
        if (!problem.isNull()) {
            return {SaveReport::NotSaved,
                QLatin1String("could not save ") % printable(path) % QLatin1String(": no backup ") % printable(backup)
                    % QLatin1String(": ") % problem};
        }
        // The manifest may have changed while the backup was written.
        before = lookAt(path);
        if (!wishes.overwrite && !isAsRead(before)) {
            return changed(before);
        }
    }

    const bool reportsSuccess = write();

    SaveReport report = judge(before, wanted, reportsSuccess);
    report.isReplacement = before.isThere();
    report.replaced = before.content;
    return report;
}

SaveReport StoredManifest::judge(const Look& before, const QByteArray& wanted, bool reportsSuccess) const
{
    const Look after = lookAt(path);
    if (after.error != 0 && after.error != ENOENT) {
        return {SaveReport::Unknown,
            QLatin1String("cannot tell whether ") % printable(path) % QLatin1String(" is saved: ") % after.problem()};
    }
    const bool isTheSame = before.isThere() && after.isThere() && isSameFile(before, after);
    if (after.isThere() && after.content == wanted && !isTheSame) {
        return {SaveReport::Saved, {}};
    }
    const bool isGone = known.isThere() && after.error == ENOENT;
    if (isGone && reportsSuccess) {
        return {SaveReport::Overtaken,
            printable(path) % QLatin1String(" is gone: it was removed or moved while it was being saved")};
    }
    const bool isAsBefore = isTheSame || (!before.isThere() && !after.isThere());
    if (isAsBefore || !reportsSuccess) {
        // If the manifest is gone, that is the cause: the library does not create a missing one.
        return {SaveReport::NotSaved,
            QLatin1String("could not save ") % printable(path) % QLatin1String(": ")
                % (isGone ? textOf(ENOENT) : causeAsText(path, wanted))};
    }
    return {SaveReport::Overtaken,
        QLatin1String("another process has replaced ") % printable(path)
            % QLatin1String(" while it was being saved: the file does not hold what was to be saved")};
}
