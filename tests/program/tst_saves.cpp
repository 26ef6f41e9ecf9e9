#include "FolderLock.h"
#include "Table.h"
#include "TestMain.h"
#include "Workplace.h"
#include "faults/FaultyCalls.h"

#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QFileInfo>

#include <csignal>
#include <functional>

#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

#if defined(EMULATED) || defined(MEMORY_CHECKED)
constexpr int randomKills = 5;
#else
constexpr int randomKills = 40;
#endif

// An edit opens the file at the start, when it has its turn, before it saves and afterwards.
constexpr int lookBeforeTheSave = 3;
constexpr int lookAfterTheSave = 4;

QByteArray before()
{
    return compact(saveRuleManifest());
}

// A file system of limited size. It is not mounted if this process is not allowed to mount.
class SmallDisk {
public:
    SmallDisk(const QString& folder, const char* size)
        : path(QFile::encodeName(folder))
        , mounted(mount("tmpfs", path.constData(), "tmpfs", 0, QByteArray("size=").append(size).constData()) == 0)
    {
    }
    ~SmallDisk()
    {
        if (mounted) {
            umount(path.constData());
        }
    }
    Q_DISABLE_COPY(SmallDisk)

    bool isMounted() const
    {
        return mounted;
    }

private:
    const QByteArray path;
    const bool mounted;
};

// A disk with room for one manifest but not for two. If this process may not mount file systems, a size limit simulates
// the disk.
class FullDisk {
public:
    FullDisk()
        : disk(place.path(), "64k")
    {
        writeFile(path(), content());
    }

    QString path() const
    {
        return place.path(u"manifest.json"_qs);
    }
    QByteArray content() const
    {
        return compact({with(selection(u"top"_qs), u"filler"_qs, QString(40000, u'x'))});
    }
    bool isReal() const
    {
        return disk.isMounted();
    }
    QString cause() const
    {
        return isReal() ? u"No space left on device"_qs : u"File too large"_qs;
    }
    ProgramRun run(const QString& commandLine) const
    {
        return (isReal() ? Program() : Program().prepared(onFullDisk)).run(commandLine);
    }

private:
    const Workplace place;
    const SmallDisk disk;
};

using Change = std::function<void(const QString& path)>;

void disappear(const QString& path)
{
    QFile::remove(path);
}

void beReplaced(const QString& path)
{
    writeFile(path + u".new"_qs, "[\"somebody else\"]");
    rename(qPrintable(path + u".new"_qs), qPrintable(path));
}

void beTruncated(const QString& path)
{
    truncate(qPrintable(path), 0);
}

/// Changes the content but not the inode and the size.
void beWrittenOver(const QString& path)
{
    QFile file(path);
    QVERIFY(file.open(QIODevice::ReadWrite));
    QCOMPARE(file.write(QByteArray(static_cast<int>(file.size()), ' ')), file.size());
}

void becomeFolder(const QString& path)
{
    QFile::remove(path);
    QDir().mkdir(path);
}

void becomePipe(const QString& path)
{
    QFile::remove(path);
    makePipe(path);
}

void becomeUnreadable(const QString& path)
{
    chmod(qPrintable(path), 0);
}

// Stops an edit before it opens the manifest for the `look`-th time, and calls `change` meanwhile.
ProgramRun editDuring(int look, const Change& change, const QString& path, const QString& options = {})
{
    const auto program =
        Program().prepared(asOrdinaryUser).stoppingAt(u"open"_qs, look, path).start(editOf(path) + options);
    if (!program->isStopped()) {
        return {};
    }
    change(path);
    program->send(SIGCONT);
    return program->finish();
}

// A killed save leaves the old or the new manifest, a complete backup or none, and at most one temporary file.
void checkWhatKillLeft(const ManifestFile& file)
{
    QVERIFY(file.content() == before() || file.content() == afterEdit());
    int others = 0;
    for (const QString& name : everythingIn(file.folder())) {
        if (name == u"manifest.json~"_qs) {
            QCOMPARE(readFile(file.folder() + u'/' + name), before());
        } else if (name != u"manifest.json"_qs) {
            QVERIFY2(isTemporaryFileOf(u"manifest.json"_qs, name) || isTemporaryFileOf(u"manifest.json~"_qs, name),
                qPrintable(name));
            ++others;
        }
    }
    QVERIFY(others <= 1);
    QVERIFY(FolderLock(file.folder()).isHeld());
}

} // namespace

Q_DECLARE_METATYPE(Change)

class tst_Saves : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void failedSaveLeavesEverything_data();
    void failedSaveLeavesEverything();
    void printNeverSaves_data();
    void printNeverSaves();
    void saveFollowsLink();
    void changeBetweenLoadAndSaveIsNotOverwritten_data();
    void changeBetweenLoadAndSaveIsNotOverwritten();
    void changeIsOverwrittenOnRequest();
    void removedManifestIsNotRecreatedDespiteOverwrite();
    void changeAfterSaveIsNoticed_data();
    void changeAfterSaveIsNoticed();
    void failureToReadBackIsReported_data();
    void failureToReadBackIsReported();
    void manifestRemovedBeforeSaveIsReported();
    void backupHoldsReplacedManifest_data();
    void backupHoldsReplacedManifest();
    void failedBackupPreventsSave_data();
    void failedBackupPreventsSave();
    void manifestOfAnotherUserInStickyFolderIsNamed();
    void mountPointIsNamed();
    void sizeLimitAtBackupIsNamed();
    void fullDiskIsNamed();
    void fullDiskAtBackupPreventsSave();
    void signalDoesNotInterruptSave_data();
    void signalDoesNotInterruptSave();
    void killAtAnyStepLeavesWholeManifest_data();
    void killAtAnyStepLeavesWholeManifest();
    void killAtAnyTimeLeavesWholeManifest();
};

void tst_Saves::failedSaveLeavesEverything_data()
{
    const Table<QString, QString, Program, mode_t, mode_t, QString, QString> row(
        "commandLine", "saved", "program", "ofFolder", "ofFile", "cause", "message");

    struct Command {
        const char* name;
        QString commandLine;
        QString saved;
        // Messages of the edit come before those of the save.
        QString messages = {};
    };
    const QString manifest = u"manifest.json"_qs;
    const Command commands[] = {
        {"set", u"set manifest.json top key value --save"_qs, manifest},
        {"update", u"update manifest.json top instanceName value --save"_qs, manifest},
        {"unset", u"unset manifest.json a substructure --force --save"_qs, manifest},
        {"add-node", u"add-node manifest.json b --description - --save"_qs, manifest},
        {"add-node, with a message", u"add-node manifest.json b --save"_qs, manifest,
            u"warning: Cannot find key displayPosition in Json object!\n"_qs},
        {"add-selection", u"add-selection manifest.json b --description - --save"_qs, manifest},
        {"delete", u"delete manifest.json a --save"_qs, manifest},
        {"move-node", u"move-node manifest.json spare 0 --save"_qs, manifest},
        {"move-selection", u"move-selection manifest.json top 2 --save"_qs, manifest},
        {"update-node", u"update-node manifest.json a --description - --force --save"_qs, manifest},
        {"update-selection", u"update-selection manifest.json top --description - --force --save"_qs, manifest},
        {"sort", u"sort manifest.json '' spare a top --save"_qs, manifest},
        {"stamp", u"stamp manifest.json --module M --save"_qs, manifest},
        {"rewrite", u"rewrite manifest.json top key value --add --save"_qs, manifest},
        {"edit without a change", u"set manifest.json top selectionType Selection --save"_qs, manifest},
        {"merge", u"merge base manifest.json new --save --keep-base"_qs, manifest},
        {"create-folder", u"create-folder . --keep-base"_qs, u"configuration.manifest.json"_qs},
        {"create-folder, first one", u"create-folder . --scheme process"_qs, u"process.manifest.json"_qs},
    };
    for (const Command& command : commands) {
        const bool isEdit = command.saved == manifest;
        const auto way = [&](const char* name, const Program& program, mode_t ofFolder, const QString& cause,
                             const QString& ofEdit, const QString& ofCreation, mode_t ofFile = 0644) {
            const QByteArray rowName = QByteArray(command.name) + ", " + name;
            row(rowName.constData(), command.commandLine, command.saved, program, ofFolder, ofFile, cause,
                command.messages + (isEdit ? ofEdit : ofCreation));
        };
        // Messages of the library. %1 is the path of the manifest, %2 its size.
        const QString incomplete = u"warning: Error on writing instance list to manifest file!\n"_qs;
        const QString incompletely = u"warning: Manifest file was not successful written: -1 , %2 !\n"_qs;
        const QString unopened =
            u"warning: Cannot open configuration manifest file for writing: \"manifest.json\" !\n"_qs;
        const QString notOpened = u"warning: Unable to open the manifest file for writing: \"%1\" !\n"_qs;
        const auto faulty = [](const char* call, int error) {
            return Program().withFaultyCalls(u"%1 %2"_qs.arg(QLatin1String(call)).arg(error));
        };
        way("size limit", Program().prepared(onFullDisk), 0700, u"File too large"_qs, incomplete, incompletely);
        way("full disk", faulty("write", ENOSPC), 0700, u"No space left on device"_qs, incomplete, incompletely);
        way("quota", faulty("write", EDQUOT), 0700, u"Disk quota exceeded"_qs, incomplete, incompletely);
        way("read-only file system", faulty("make", EROFS), 0700, u"Read-only file system"_qs, unopened, notOpened);
        way("unwritable folder", Program().prepared(asOrdinaryUser), 0555, u"Permission denied"_qs, unopened,
            notOpened);
        // A first manifest replaces no file: nothing is renamed over it, and nothing can be read-only.
        if (command.saved != u"process.manifest.json"_qs) {
            way("last step", Program().unableToRename(), 0700, u"cause unknown"_qs, {}, {});
            way("read-only file", Program().prepared(asOrdinaryUser), 0700, u"Permission denied"_qs, unopened,
                notOpened, 0444);
        }
    }
}

void tst_Saves::failedSaveLeavesEverything()
{
    QFETCH(QString, commandLine);
    QFETCH(QString, saved);
    QFETCH(Program, program);
    QFETCH(mode_t, ofFolder);
    QFETCH(mode_t, ofFile);
    QFETCH(QString, cause);
    QFETCH(QString, message);

    const Workplace place;
    place.write(u"manifest.json"_qs, saveRuleManifest()).write(u"base"_qs, saveRuleManifest()).write(u"new"_qs, {});
    place.write(u"configuration.manifest.json"_qs, {u"previous"_qs}).describe(u"page.config.json"_qs);
    const QByteArray input = "{\"displayPosition\":1,\"hide\":false}";
    const auto stateOfSaved = [&] {
        return QFile::exists(place.path(saved)) ? stateOf(place.path(saved)) : FileState {QByteArray(), 0};
    };
    const FileState state = stateOfSaved();
    const QStringList entries = everythingIn(place.path());
    chmod(qPrintable(place.path(saved)), ofFile);
    chmod(qPrintable(place.path()), ofFolder);
    const ProgramRun run = program.in(place.path()).reading(input).run(commandLine);
    chmod(qPrintable(place.path()), 0700);
    message.replace(u"%1"_qs, place.path(saved));
    if (message.contains(u"%2"_qs)) {
        const QByteArray unsaved = place.run(commandLine + u" --print"_qs).output.chopped(1);
        message.replace(u"%2"_qs, QString::number(unsaved.size()));
    }
    QCOMPARE(run, failed(u"could not save %1: %2"_qs.arg(saved, cause), message.toUtf8()));
    QCOMPARE(stateOfSaved(), state);
    QCOMPARE(everythingIn(place.path()), entries);
}

void tst_Saves::printNeverSaves_data()
{
    const Table<QString> row("commandLine");

    row("behind --save", u"set manifest.json top key value --save --print"_qs);
    row("before --save", u"set --print manifest.json top key value --save"_qs);
    row("beside --dry-run", u"set --print manifest.json top key value --dry-run"_qs);
}

void tst_Saves::printNeverSaves()
{
    QFETCH(QString, commandLine);

    const LoneManifest file;
    QCOMPARE(file.run(commandLine), done(QString::fromUtf8(afterEdit())));
    QVERIFY(file.isUntouched());
}

void tst_Saves::saveFollowsLink()
{
    const LoneManifest file;
    const QString link = file.folder() + u"/link.json"_qs;
    makeLink(file.path(), link);
    QCOMPARE(file.run(u"set link.json top key value --save"_qs), done(u"changed; saved"_qs));
    QCOMPARE(file.content(), afterEdit());
    QVERIFY(QFileInfo(link).isSymLink());
}

void tst_Saves::changeBetweenLoadAndSaveIsNotOverwritten_data()
{
    const Table<Change, QString> row("change", "reason");

    const QString gone = u": No such file or directory"_qs;
    row("disappears", disappear, gone);
    row("is replaced", beReplaced, {});
    row("is truncated", beTruncated, {});
    row("is written over with as many bytes", beWrittenOver, {});
    row("becomes a folder", becomeFolder, u": it is a folder"_qs);
    row("becomes a pipe", becomePipe, u": it is a pipe"_qs);
    row("becomes unreadable", becomeUnreadable, u": Permission denied"_qs);
    row(
        "loses its folder", [](const QString& path) { QDir(QFileInfo(path).path()).removeRecursively(); }, gone);
}

void tst_Saves::changeBetweenLoadAndSaveIsNotOverwritten()
{
    QFETCH(Change, change);
    QFETCH(QString, reason);

    const LoneManifest file;
    const QDir folder(file.folder());
    struct stat changed = {};
    struct stat after = {};
    QStringList entries;
    bool hasFolder = true;
    const auto changeAndLook = [&](const QString& path) {
        change(path);
        stat(qPrintable(path), &changed);
        entries = everythingIn(folder.path());
        hasFolder = folder.exists();
    };
    QCOMPARE(editDuring(lookBeforeTheSave, changeAndLook, file.path(), u" --backup"_qs),
        failed(file.path() + u" has changed since it was read"_qs + reason));
    stat(qPrintable(file.path()), &after);
    QCOMPARE(after.st_ino, changed.st_ino);
    QCOMPARE(after.st_mode, changed.st_mode);
    QCOMPARE(after.st_size, changed.st_size);
    QCOMPARE(after.st_mtim.tv_nsec, changed.st_mtim.tv_nsec);
    QCOMPARE(everythingIn(folder.path()), entries);
    QCOMPARE(folder.exists(), hasFolder);
}

void tst_Saves::changeIsOverwrittenOnRequest()
{
    const LoneManifest file;
    QCOMPARE(editDuring(lookBeforeTheSave, beReplaced, file.path(), u" --overwrite --backup=.old"_qs),
        done(u"changed; saved"_qs));
    QCOMPARE(file.content(), afterEdit());
    QCOMPARE(readFile(file.path() + u".old"_qs), QByteArray("[\"somebody else\"]"));
}

void tst_Saves::removedManifestIsNotRecreatedDespiteOverwrite()
{
    const LoneManifest file;
    QCOMPARE(editDuring(lookBeforeTheSave, disappear, file.path(), u" --overwrite"_qs),
        failed(u"could not save %1: No such file or directory"_qs.arg(file.path()),
            "warning: Configuration manifest file does not exist!\n"));
    QCOMPARE(everythingIn(file.folder()), QStringList());
}

void tst_Saves::changeAfterSaveIsNoticed_data()
{
    const Table<Change, QString> row("change", "complaint");

    const QString gone = u"%1 is gone: it was removed or moved while it was being saved"_qs;
    row("is replaced", beReplaced,
        u"another process has replaced %1 while it was being saved: the file does not hold what was to be saved"_qs);
    row("disappears", disappear, gone);
    row(
        "is moved with its folder",
        [](const QString& path) {
            const QString folder = QFileInfo(path).path();
            QDir().rename(folder, folder + u".moved"_qs);
        },
        gone);
}

void tst_Saves::changeAfterSaveIsNoticed()
{
    QFETCH(Change, change);
    QFETCH(QString, complaint);

    const QTemporaryDir directory;
    const QString path = directory.filePath(u"folder/manifest.json"_qs);
    writeFile(path, before());
    QCOMPARE(editDuring(lookAfterTheSave, change, path), failed(complaint.arg(path)));
}

void tst_Saves::failureToReadBackIsReported_data()
{
    const Table<QString, QString> row("fault", "reason");

    row("no descriptor left", u"open %1"_qs.arg(EMFILE), u"Too many open files"_qs);
    row("no permission", u"open %1"_qs.arg(EACCES), u"Permission denied"_qs);
    row("read error", u"open %1"_qs.arg(EIO), u"Input/output error"_qs);
}

void tst_Saves::failureToReadBackIsReported()
{
    QFETCH(QString, fault);
    QFETCH(QString, reason);

    const LoneManifest file;
    QCOMPARE(Program()
                 .withFaultyCalls(u"%1 %2 99 %3"_qs.arg(fault).arg(lookAfterTheSave).arg(file.path()))
                 .run(editOf(file.path())),
        failed(u"cannot tell whether %1 is saved: %2"_qs.arg(file.path(), reason)));
    QCOMPARE(file.content(), afterEdit());
}

void tst_Saves::manifestRemovedBeforeSaveIsReported()
{
    const LoneManifest file;
    const ProgramRun run = Program()
                               // The file vanishes before the library's first call.
                               .withFaultyCalls(u"access %1 1 1 %2"_qs.arg(Fault::Vanished).arg(file.path()))
                               .run(editOf(file.path()));
    QCOMPARE(run,
        failed(u"could not save %1: No such file or directory"_qs.arg(file.path()),
            "warning: Configuration manifest file does not exist!\n"));
    QCOMPARE(everythingIn(file.folder()), QStringList());
}

void tst_Saves::backupHoldsReplacedManifest_data()
{
    const Table<QString, QString> row("option", "name");

    row("usual suffix", u"--backup"_qs, u"manifest.json~"_qs);
    row("suffix of one's own", u"--backup=.old"_qs, u"manifest.json.old"_qs);
    row("blanks in it", u"'--backup= 1 2'"_qs, u"manifest.json 1 2"_qs);
}

void tst_Saves::backupHoldsReplacedManifest()
{
    QFETCH(QString, option);
    QFETCH(QString, name);

    const LoneManifest file;
    chmod(qPrintable(file.path()), 0640);
    const QString link = file.folder() + u"/elsewhere/link"_qs;
    QVERIFY(QDir().mkpath(QFileInfo(link).path()));
    makeLink(file.path(), link);
    const QString backup = file.folder() + u'/' + name;
    const Program program = file.program();
    QCOMPARE(program.run(u"set manifest.json top key 1 --save "_qs + option), done(u"changed; saved"_qs));
    QCOMPARE(readFile(backup), before());
    struct stat status = {};
    QCOMPARE(stat(qPrintable(backup), &status), 0);
    QCOMPARE(status.st_mode & ACCESSPERMS, mode_t(0640));
    // The backup is in the folder of the file, not in that of the link, and replaces the older one.
    QCOMPARE(program.run(u"set elsewhere/link top key 2 --save "_qs + option), done(u"changed; saved"_qs));
    QCOMPARE(readFile(backup), afterEdit(u"1"_qs));
    QCOMPARE(file.content(), afterEdit(u"2"_qs));
    QCOMPARE(everythingIn(file.folder() + u"/elsewhere"_qs), QStringList(u"link"_qs));
    QCOMPARE(everythingIn(file.folder()).size(), 3);
    // Without a save there is no new backup.
    QCOMPARE(program.run(u"set manifest.json top key 3 "_qs + option).status, 0);
    QCOMPARE(readFile(backup), afterEdit(u"1"_qs));
}

void tst_Saves::failedBackupPreventsSave_data()
{
    const Table<Change, QString> row("obstacle", "reason");

    row(
        "folder", [](const QString& path) { QDir().mkdir(path); }, u"it is a folder"_qs);
    row(
        "link", [](const QString& path) { makeLink(u"/dev/null"_qs, path); }, u"it is a link"_qs);
    row("pipe", makePipe, u"it is a pipe"_qs);
    row(
        "read-only",
        [](const QString& path) {
            writeFile(path, "older");
            chmod(qPrintable(path), 0444);
        },
        u"Permission denied"_qs);
}

void tst_Saves::failedBackupPreventsSave()
{
    QFETCH(Change, obstacle);
    QFETCH(QString, reason);

    const LoneManifest file;
    const FileState state = stateOf(file.path());
    const QString backup = file.path() + u'~';
    obstacle(backup);
    QCOMPARE(Program().prepared(asOrdinaryUser).run(editOf(file.path()) + u" --backup"_qs),
        failed(u"could not save %1: no backup %2: %3"_qs.arg(file.path(), backup, reason)));
    QCOMPARE(stateOf(file.path()), state);
    QCOMPARE(everythingIn(file.folder()).size(), 2);
}

void tst_Saves::manifestOfAnotherUserInStickyFolderIsNamed()
{
    constexpr uid_t somebody = 65534;
    const LoneManifest file;
    // Only root can change owners. For others this is an ordinary save.
    const bool isForeign = chown(qPrintable(file.folder()), somebody, gid_t(-1)) == 0
        && chown(qPrintable(file.path()), somebody, gid_t(-1)) == 0;
    chmod(qPrintable(file.folder()), 01777);
    chmod(qPrintable(file.path()), 0666);
    const ProgramRun run = Program().prepared(asOrdinaryUser).run(editOf(file.path()));
    QCOMPARE(run.status, isForeign ? 1 : 0);
    QVERIFY2(run.errors.endsWith(isForeign ? ": Operation not permitted\n" : ""), run.errors.constData());
    QCOMPARE(file.content() == before(), isForeign);
}

void tst_Saves::mountPointIsNamed()
{
    const LoneManifest file;
    const QString path = file.folder() + u"/a file.json"_qs;
    writeFile(path, before());
    // Only root can mount. For others this is an ordinary file.
    const bool isMounted = mount(qPrintable(file.path()), qPrintable(path), nullptr, MS_BIND, nullptr) == 0;
    const ProgramRun run = Program().run({u"set"_qs, path, u"top"_qs, u"key"_qs, u"value"_qs, u"--save"_qs});
    umount(qPrintable(path));
    QCOMPARE(run.status, isMounted ? 1 : 0);
    QVERIFY2(run.errors.endsWith(isMounted ? ": Device or resource busy\n" : ""), run.errors.constData());
    QCOMPARE(file.content(), before());
}

void tst_Saves::sizeLimitAtBackupIsNamed()
{
    const LoneManifest file(compact({with(selection(u"top"_qs), u"filler"_qs, QString(10000, u'x'))}));
    const Preparation withSizeLimit = [] {
        const rlimit limit {5000, 5000};
        setrlimit(RLIMIT_FSIZE, &limit);
        signal(SIGXFSZ, SIG_IGN);
    };
    QCOMPARE(Program().prepared(withSizeLimit).run(u"unset %1 top filler --save --backup"_qs.arg(file.path())),
        failed(u"could not save %1: no backup %1~: File too large"_qs.arg(file.path())));
    QVERIFY(file.isUntouched());
}

void tst_Saves::fullDiskIsNamed()
{
    const FullDisk disk;
    QCOMPARE(disk.run(editOf(disk.path())),
        failed(u"could not save %1: %2"_qs.arg(disk.path(), disk.cause()),
            "warning: Error on writing instance list to manifest file!\n"));
    QCOMPARE(readFile(disk.path()), disk.content());
    QCOMPARE(everythingIn(QFileInfo(disk.path()).path()), QStringList(u"manifest.json"_qs));
}

void tst_Saves::fullDiskAtBackupPreventsSave()
{
    const FullDisk disk;
    QCOMPARE(disk.run(u"unset %1 top filler --save --backup"_qs.arg(disk.path())),
        failed(u"could not save %1: no backup %1~: %2"_qs.arg(disk.path(), disk.cause())));
    QCOMPARE(readFile(disk.path()), disk.content());
    QCOMPARE(everythingIn(QFileInfo(disk.path()).path()), QStringList(u"manifest.json"_qs));
    // Without a backup the smaller manifest fits.
    if (disk.isReal()) {
        QCOMPARE(disk.run(u"unset %1 top filler --save"_qs.arg(disk.path())), done(u"changed; saved"_qs));
    }
}

void tst_Saves::signalDoesNotInterruptSave_data()
{
    const Table<int, bool> row("signal", "isSaving");

    row("SIGINT while it reads", SIGINT, false);
    row("SIGTERM while it reads", SIGTERM, false);
    row("SIGHUP while it reads", SIGHUP, false);
    row("SIGINT while it saves", SIGINT, true);
    row("SIGTERM while it saves", SIGTERM, true);
    row("SIGHUP while it saves", SIGHUP, true);
}

void tst_Saves::signalDoesNotInterruptSave()
{
    QFETCH(int, signal);
    QFETCH(bool, isSaving);

    const LoneManifest file;
    const Program stopping = isSaving ? Program().stoppingAt(u"rename"_qs, 1, file.folder())
                                      : Program().stoppingAt(u"read"_qs, 1, file.path());
    const auto program = stopping.start(editOf(file.path()));
    QVERIFY(program->isStopped());
    program->send(signal);
    program->send(SIGCONT);
    // The program reports the save, then the signal ends it.
    const QByteArray output = isSaving ? "changed; saved\n" : "";
    QCOMPARE(program->finish(), (ProgramRun {-1, output, QByteArray()}));
    QCOMPARE(file.content(), isSaving ? afterEdit() : before());
    QVERIFY(isSaving ? file.isReplaced() : file.isUntouched());
    QVERIFY(FolderLock(file.folder()).isHeld());
}

void tst_Saves::killAtAnyStepLeavesWholeManifest_data()
{
    const Table<QString> row("call");

    for (const char* const call : {"lock", "make", "write", "sync", "close", "link", "rename", "unlink", "chmod"}) {
        row(call, QString::fromUtf8(call));
    }
}

void tst_Saves::killAtAnyStepLeavesWholeManifest()
{
    QFETCH(QString, call);

    int kills = 0;
    for (bool isKilled = true; isKilled; kills += isKilled ? 1 : 0) {
        const LoneManifest file;
        const ProgramRun run =
            Program()
                .withFaultyCalls(u"%1 %2 %3 %3 %4"_qs.arg(call).arg(Fault::Killed).arg(kills + 1).arg(file.folder()))
                .run(editOf(file.path()) + u" --backup"_qs);
        isKilled = run.status == -1;
        checkWhatKillLeft(file);
        if (!isKilled) {
            QCOMPARE(run, done(u"changed; saved"_qs));
        }
        QVERIFY(kills < 30);
    }
    QVERIFY2(kills > 0 || call == u"unlink"_qs || call == u"sync"_qs, "the save makes no such call");
}

void tst_Saves::killAtAnyTimeLeavesWholeManifest()
{
    for (int number = 0; number < randomKills; ++number) {
        const LoneManifest file;
        const auto program = Program().start(editOf(file.path()) + u" --backup"_qs);
        // The kills are spread over the time of a run.
        usleep(static_cast<useconds_t>(number % 20) * 1000);
        program->send(SIGKILL);
        program->finish();
        checkWhatKillLeft(file);
    }
}

MANIFEST_TEST_MAIN(tst_Saves)

#include "tst_saves.moc"
