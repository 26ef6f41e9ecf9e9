#include "Patience.h"
#include "Process.h"
#include "ProgramRun.h"
#include "Table.h"
#include "TestMain.h"
#include "faults/FaultyCalls.h"
#include "tools/Descriptor.h"

#include <QtCore/QDir>
#include <QtCore/QElapsedTimer>
#include <QtCore/QFile>
#include <QtCore/QFileInfo>
#include <QtCore/QJsonDocument>
#include <QtCore/QRegularExpression>

#include <csignal>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>

namespace {

#if defined(EMULATED) || defined(MEMORY_CHECKED)
constexpr int editsOfALoop = 15;
constexpr int randomKills = 5;
#else
constexpr int editsOfALoop = 250;
constexpr int randomKills = 40;
#endif

const QByteArray saved = "changed; saved\n";

QByteArray before()
{
    return compact(saveRuleManifest());
}

QByteArray afterSettingKey(const QString& value = u"value"_qs)
{
    return compact({with(selection(u"top"_qs), u"key"_qs, value),
        node(u"a"_qs, {selection(u"a/first"_qs), node(u"second"_qs)}), node(u"spare"_qs)});
}

// An exclusive lock on a folder, held as long as it lives.
class FolderLock {
public:
    explicit FolderLock(const QString& folder)
        : file(open(qPrintable(folder), O_RDONLY | O_DIRECTORY | O_CLOEXEC))
        , held(flock(file, LOCK_EX | LOCK_NB) == 0)
    {
    }
    ~FolderLock()
    {
        close(file);
    }
    Q_DISABLE_COPY(FolderLock)

    bool isHeld() const
    {
        return held;
    }

private:
    const int file;
    const bool held;
};

// A folder that is open for what this process starts as well.
struct OpenFolder {
    explicit OpenFolder(const QString& folder)
        : file(open(qPrintable(folder), O_RDONLY | O_DIRECTORY))
    {
    }

    const Descriptor file;
};

// A file system of its own, as large as asked for. Nothing when this process may not have one.
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

QString editOf(const QString& path)
{
    return u"set %1 top key value --save"_qs.arg(path);
}

ProgramRun overtaken(const QString& path)
{
    return failed(
        u"another process has replaced %1 while it was saved: what is there is not what was to be saved"_qs.arg(path));
}

// All values of "key<n>" that loops of edits have stored.
int numberOfKeys(const QString& path)
{
    const QJsonObject top = QJsonDocument::fromJson(readFile(path)).array().at(0).toObject();
    return top.size() - selection(u"top"_qs).size();
}

} // namespace

class tst_Disk : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void parallelEditsAreAllKept();
    void turnIsWaitedFor();
    void turnIsNotWaitedForLongerThanAsked_data();
    void turnIsNotWaitedForLongerThanAsked();
    void turnWhoseHolderIsUnknownIsGivenUp();
    void holderOfTheTurnIsNamed();
    void heirOfTheTurnIsNamed();
    void turnIsTakenWhereALinkLeads();
    void turnIsTakenByWhoSavesOnly_data();
    void turnIsTakenByWhoSavesOnly();
    void turnOfTheCallerIsSharedByWhatItStarts();
    void editsThatShareATurnAreAllKept();
    void runThatSharesTheTurnIsNamed();
    void locksOfOthersStayAsTheyAre_data();
    void locksOfOthersStayAsTheyAre();
    void withoutLocksItWarnsAndGoesOn();
    void folderThatCannotBeListedIsSavedInWithAWarning();
    void wrongWaitIsWrongUsage_data();
    void wrongWaitIsWrongUsage();

    void changeBetweenLoadAndSaveIsNotOverwritten_data();
    void changeBetweenLoadAndSaveIsNotOverwritten();
    void changeIsOverwrittenOnRequest();
    void manifestThatIsGoneIsNotMadeAnewOnRequest();
    void changeBetweenScanAndCreationIsNotOverwritten();
    void replacementAfterTheSaveIsNoticed();
    void lookThatFailsAfterTheSaveIsSaidSo_data();
    void lookThatFailsAfterTheSaveIsSaidSo();
    void manifestThatIsGoneAfterTheSaveIsSaidSo();
    void manifestThatGoesBeforeTheSaveIsSaidSo();
    void folderThatIsRemovedIsSaidSo();
    void contentThatIsThereAlreadyIsNoProofOfASave();

    void backupIsTheReplacedManifest_data();
    void backupIsTheReplacedManifest();
    void backupThatCannotBeMadeIsNoSave_data();
    void backupThatCannotBeMadeIsNoSave();
    void wrongSuffixIsWrongUsage_data();
    void wrongSuffixIsWrongUsage();
    void baseIsTheManifestAsCreated();
    void baseIsKeptBeforeAFirstManifestAndAfterALaterOne();

    void causeOfAFailedSaveIsNamed_data();
    void causeOfAFailedSaveIsNamed();
    void manifestOfAnotherUserInAStickyFolderIsNamed();
    void mountPointIsNamed();
    void sizeLimitAtTheBackupIsNamed();
    void fullDiskIsNamed();
    void fullDiskAtTheBackupIsNoSave();

    void signalWaitsForTheEndOfASave_data();
    void signalWaitsForTheEndOfASave();
    void signalBeforeTheSaveLeavesNothing_data();
    void signalBeforeTheSaveLeavesNothing();
    void killAtAnyStepLeavesAWholeManifest_data();
    void killAtAnyStepLeavesAWholeManifest();
    void killAtAnyTimeLeavesAWholeManifest();

    void editsTakeNothingButRegularFiles_data();
    void editsTakeNothingButRegularFiles();
    void editsSaveToNoOpenFile_data();
    void editsSaveToNoOpenFile();
    void queriesTakePipes_data();
    void queriesTakePipes();
    void queriesTakeStandardInput_data();
    void queriesTakeStandardInput();
    void queriesTakeNoDevices_data();
    void queriesTakeNoDevices();
    void manifestThatCannotBeReadToItsEndIsNoManifest_data();
    void manifestThatCannotBeReadToItsEndIsNoManifest();
    void descriptionBehindALinkToADeviceIsRefused();

    void outputThatDoesNotArriveAfterASaveIsToldApart_data();
    void outputThatDoesNotArriveAfterASaveIsToldApart();
};

void tst_Disk::parallelEditsAreAllKept()
{
    const ManifestFile file(before());
    const QString link = file.folder() + u"/elsewhere/link.json"_qs;
    QVERIFY(QDir().mkpath(QFileInfo(link).path()));
    QVERIFY(QFile::link(file.path(), link));
    const QString loop =
        u"for i in $(seq %1); do '%2' set \"$0\" top key$1-$i x --save --wait 600 || exit 1; done"_qs.arg(editsOfALoop)
            .arg(QStringLiteral(PROGRAM));
    std::vector<std::unique_ptr<QProcess>> loops;
    for (int number = 0; number < 4; ++number) {
        loops.push_back(std::make_unique<QProcess>());
        loops.back()->start(
            u"/bin/sh"_qs, {u"-c"_qs, loop, number % 2 == 0 ? file.path() : link, QString::number(number)});
    }
    for (const auto& process : loops) {
        QVERIFY(process->waitForFinished(patience));
        QCOMPARE(process->readAllStandardError(), QByteArray());
        QCOMPARE(process->readAllStandardOutput(), saved.repeated(editsOfALoop));
        QCOMPARE(process->exitCode(), 0);
    }
    QCOMPARE(numberOfKeys(file.path()), 4 * editsOfALoop);
    QCOMPARE(everythingIn(file.folder()), QStringList({u"elsewhere"_qs, u"manifest.json"_qs}));
}

void tst_Disk::turnIsWaitedFor()
{
    const ManifestFile file(before());
    std::unique_ptr<RunningProgram> program;
    {
        const FolderLock lock(file.folder());
        QVERIFY(lock.isHeld());
        program = Program().in(file.folder()).start(editOf(u"manifest.json"_qs));
        // Waiting, it shows in the list of locks behind an arrow.
        const QByteArray entry = "-> FLOCK  ADVISORY  WRITE " + QByteArray::number(program->id()) + ' ';
        QVERIFY(QTest::qWaitFor([&] { return readFile(u"/proc/locks"_qs).contains(entry); }, 10000));
        // What somebody saves meanwhile is edited, not overwritten.
        writeFile(file.path(), compact({selection(u"top"_qs)}));
    }
    QCOMPARE(program->finish(), (ProgramRun {0, saved, QByteArray()}));
    QCOMPARE(file.content(), compact({with(selection(u"top"_qs), u"key"_qs, u"value"_qs)}));
}

void tst_Disk::turnIsNotWaitedForLongerThanAsked_data()
{
    const Table<int> row("seconds");

    row("not at all", 0);
    row("one second", 1);
}

void tst_Disk::turnIsNotWaitedForLongerThanAsked()
{
    QFETCH(int, seconds);

    const ManifestFile file(before());
    const FileState state = stateOf(file.path());
    const FolderLock lock(file.folder());
    QElapsedTimer timer;
    timer.start();
    const ProgramRun run = Program().run(u"%1 --wait %2"_qs.arg(editOf(file.path())).arg(seconds));
    QVERIFY(timer.elapsed() >= seconds * 1000);
    QCOMPARE(run.status, 1);
    QCOMPARE(run.output, QByteArray());
    const QByteArray complaint = "configuration-manifest: somebody else is saving in " + file.folder().toUtf8()
        + ": process " + QByteArray::number(getpid()) + " (tst_disk) holds the lock; gave up after "
        + QByteArray::number(seconds) + " s\n";
#if defined(EMULATED) || defined(MEMORY_CHECKED)
    QVERIFY2(run.errors.contains(": process " + QByteArray::number(getpid()) + " ("), run.errors.constData());
#else
    QCOMPARE(run.errors, complaint);
#endif
    QCOMPARE(stateOf(file.path()), state);
    QVERIFY(file.isAlone());
}

void tst_Disk::turnWhoseHolderIsUnknownIsGivenUp()
{
    const ManifestFile file(before());
    QCOMPARE(Program()
                 .withFaultyCalls(u"lock %1 1 99 %2"_qs.arg(EWOULDBLOCK).arg(file.folder()))
                 .run(editOf(file.path()) + u" --wait 0"_qs),
        failed(u"the folder %1 is locked; gave up after 0 s"_qs.arg(file.folder())));
    QCOMPARE(file.content(), before());
}

void tst_Disk::holderOfTheTurnIsNamed()
{
    // One that has been stopped holds it as well.
    const ManifestFile file(before());
    const auto holder = Program().stoppingAt(u"make"_qs, 1, file.folder()).start(editOf(file.path()));
    QVERIFY(holder->isStopped());
    const ProgramRun run = Program().run(editOf(file.path()) + u" --wait 0"_qs);
    QCOMPARE(run.status, 1);
    QVERIFY2(run.errors.contains("process " + QByteArray::number(holder->id()) + " ("), run.errors.constData());
    QCOMPARE(file.content(), before());
    holder->send(SIGCONT);
    QCOMPARE(holder->finish(), (ProgramRun {0, saved, QByteArray()}));
    QCOMPARE(file.content(), afterSettingKey());
}

void tst_Disk::heirOfTheTurnIsNamed()
{
    const ManifestFile file(before());
    // flock(1) locks what the shell has open, and is gone.
    QProcess shell;
    shell.start(u"/bin/sh"_qs, {u"-c"_qs, u"exec 9<'%1'; flock 9; echo locked; read line"_qs.arg(file.folder())});
    QVERIFY(shell.waitForReadyRead());
    const ProgramRun run = Program().run(editOf(file.path()) + u" --wait 0"_qs);
    QCOMPARE(run.status, 1);
    QVERIFY2(run.errors.contains("process " + QByteArray::number(shell.processId()) + " (sh) holds the lock"),
        run.errors.constData());
    shell.closeWriteChannel();
    QVERIFY(shell.waitForFinished());
    QCOMPARE(Program().run(editOf(file.path()) + u" --wait 0"_qs), (ProgramRun {0, saved, QByteArray()}));
}

void tst_Disk::turnIsTakenWhereALinkLeads()
{
    const ManifestFile file(before());
    const QTemporaryDir other;
    const QString link = other.filePath(u"link.json"_qs);
    QVERIFY(QFile::link(file.path(), link));
    {
        const FolderLock lockOfTheLink(other.path());
        QCOMPARE(Program().run(editOf(link) + u" --wait 0"_qs), (ProgramRun {0, saved, QByteArray()}));
    }
    const FolderLock lock(file.folder());
    QCOMPARE(Program().run(editOf(link) + u" --wait 0"_qs).status, 1);
}

void tst_Disk::turnIsTakenByWhoSavesOnly_data()
{
    const Table<QString, int> row("commandLine", "status");

    row("query", u"get manifest.json top"_qs, 0);
    row("edit", u"set manifest.json top key value"_qs, 0);
    row("dry run", u"set manifest.json top key value --save --dry-run"_qs, 0);
    row("print", u"set manifest.json top key value --save --print"_qs, 0);
    row("saved edit", u"set manifest.json top key value --save --wait 0"_qs, 1);
    row("edit that does not apply", u"set manifest.json none key value --save --wait 0"_qs, 1);
    row("dry creation", u"create-folder . --dry-run"_qs, 0);
    row("printed creation", u"create-folder . --print"_qs, 0);
    row("creation", u"create-folder . --wait 0"_qs, 1);
}

void tst_Disk::turnIsTakenByWhoSavesOnly()
{
    QFETCH(QString, commandLine);
    QFETCH(int, status);

    const ManifestFile file(before());
    const FolderLock lock(file.folder());
    const ProgramRun run = Program().in(file.folder()).run(commandLine);
    QCOMPARE(run.status, status);
    QCOMPARE(run.errors.contains("somebody else is saving in "), status == 1);
    QVERIFY(file.isAlone());
}

void tst_Disk::turnOfTheCallerIsSharedByWhatItStarts()
{
    const ManifestFile file(before());
    const QString edit = u"'%1' set '%2' top key value --save --wait 0"_qs.arg(QStringLiteral(PROGRAM), file.path());
    const Program flock = Program(u"flock"_qs);
    QCOMPARE(flock.run({file.folder(), u"sh"_qs, u"-c"_qs, edit}), (ProgramRun {0, saved, QByteArray()}));
    // Only who gives its lock away shares it.
    const ProgramRun run = flock.run({u"--close"_qs, file.folder(), u"sh"_qs, u"-c"_qs, edit});
    QCOMPARE(run.status, 1);
    QVERIFY2(run.errors.contains(" (flock) holds the lock; "), run.errors.constData());
    // It is the caller's afterwards, and not the program's.
    QCOMPARE(flock.run({file.folder(), u"sh"_qs, u"-c"_qs,
                 edit + u"; flock --nonblock '%1' true || echo still held"_qs.arg(file.folder())}),
        done(u"unchanged; saved\nstill held"_qs));
}

void tst_Disk::editsThatShareATurnAreAllKept()
{
    constexpr int edits = editsOfALoop / 5;
    const ManifestFile file(before());
    const QString loops =
        u"for loop in 1 2 3 4; do for i in $(seq %1); do '%2' set '%3' top key$loop-$i x --save --wait 60 || echo failed; done & done; wait"_qs
            .arg(edits)
            .arg(QStringLiteral(PROGRAM), file.path());
    QCOMPARE(Program(u"flock"_qs).run({file.folder(), u"sh"_qs, u"-c"_qs, loops}),
        (ProgramRun {0, saved.repeated(4 * edits), QByteArray()}));
    QCOMPARE(numberOfKeys(file.path()), 4 * edits);
    QVERIFY(file.isAlone());
}

void tst_Disk::runThatSharesTheTurnIsNamed()
{
    const ManifestFile file(before());
    const OpenFolder folder(file.folder());
    QCOMPARE(flock(folder.file.get(), LOCK_EX), 0);
    const auto first = Program().stoppingAt(u"make"_qs, 1, file.folder()).start(editOf(file.path()));
    QVERIFY(first->isStopped());
    const ProgramRun run = Program().run(editOf(file.path()) + u" --wait 0"_qs);
    QCOMPARE(run.status, 1);
    QVERIFY2(run.errors.contains(": process " + QByteArray::number(first->id()) + " ("), run.errors.constData());
    first->send(SIGCONT);
    QCOMPARE(first->finish(), (ProgramRun {0, saved, QByteArray()}));
}

void tst_Disk::locksOfOthersStayAsTheyAre_data()
{
    const Table<int, bool, int> row("lock", "isShared", "status");

    row("shared lock", LOCK_SH, false, 1);
    row("lock that another one shares", LOCK_SH, true, 1);
    row("exclusive lock", LOCK_EX, false, 0);
    row("no lock", LOCK_UN, true, 1);
}

void tst_Disk::locksOfOthersStayAsTheyAre()
{
    QFETCH(int, lock);
    QFETCH(bool, isShared);
    QFETCH(int, status);

    const ManifestFile file(before());
    const OpenFolder folder(file.folder());
    QCOMPARE(flock(folder.file.get(), lock), 0);
    const OpenFolder other(file.folder());
    QCOMPARE(flock(other.file.get(), isShared ? LOCK_SH : LOCK_UN), 0);
    const QString list = u"/proc/self/fdinfo/%1"_qs.arg(folder.file.get());
    // Without the numbers of the list's lines.
    const auto locks = [&] {
        return QString::fromLatin1(readFile(list)).remove(QRegularExpression(u"lock:\\s+\\d+"_qs));
    };
    const QString state = locks();
    QCOMPARE(state.contains(u"FLOCK"_qs), lock != LOCK_UN);
    QCOMPARE(Program().run(editOf(file.path()) + u" --wait 0"_qs).status, status);
    QCOMPARE(locks(), state);
}

void tst_Disk::withoutLocksItWarnsAndGoesOn()
{
    const ManifestFile file(before());
    const ProgramRun run = Program().withFaultyCalls(u"lock %1"_qs.arg(EOPNOTSUPP)).run(editOf(file.path()));
    QCOMPARE(run,
        (ProgramRun {0, saved,
            u"configuration-manifest: cannot lock the folder %1: Operation not supported; others may save at the same time\n"_qs
                .arg(file.folder())
                .toUtf8()}));
    QCOMPARE(file.content(), afterSettingKey());
}

void tst_Disk::folderThatCannotBeListedIsSavedInWithAWarning()
{
    const ManifestFile file(before());
    chmod(qPrintable(file.folder()), 0333);
    const ProgramRun run = Program().prepared(asOrdinaryUser).run(editOf(file.path()));
    chmod(qPrintable(file.folder()), 0700);
    QCOMPARE(run.status, 0);
    QCOMPARE(run.output, saved);
    QVERIFY2(run.errors.contains(": Permission denied; others may save at the same time\n"), run.errors.constData());
    QCOMPARE(file.content(), afterSettingKey());
}

void tst_Disk::wrongWaitIsWrongUsage_data()
{
    const Table<QString, QString> row("seconds", "complaint");

    row("word", u"long"_qs, u"'long' is not a whole number"_qs);
    row("fraction", u"0.5"_qs, u"'0.5' is not a whole number"_qs);
    row("less than nothing", u"-1"_qs, u"--wait takes from 0 to 1000000 seconds"_qs);
    row("too long", u"1000001"_qs, u"--wait takes from 0 to 1000000 seconds"_qs);
}

void tst_Disk::wrongWaitIsWrongUsage()
{
    QFETCH(QString, seconds);
    QFETCH(QString, complaint);

    const ManifestFile file(before());
    QCOMPARE(Program().in(file.folder()).run(u"stamp manifest.json --module M --save --wait="_qs + seconds),
        misused(complaint));
    QCOMPARE(Program().in(file.folder()).run(u"create-folder . --wait="_qs + seconds), misused(complaint));
    QVERIFY(file.isAlone());
}

namespace {

using Change = void (*)(const QString& path);

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

void becomeAFolder(const QString& path)
{
    QFile::remove(path);
    QDir().mkdir(path);
}

void becomeAPipe(const QString& path)
{
    QFile::remove(path);
    mkfifo(qPrintable(path), 0600);
}

void becomeUnreadable(const QString& path)
{
    chmod(qPrintable(path), 0);
}

} // namespace

Q_DECLARE_METATYPE(Change)

// An edit looks at the file when it begins, when it has its turn, before it saves and afterwards.
constexpr int lookBeforeTheSave = 3;
constexpr int lookAfterTheSave = 4;

void tst_Disk::changeBetweenLoadAndSaveIsNotOverwritten_data()
{
    const Table<Change, QString> row("change", "reason");

    row("disappears", disappear, u": No such file or directory"_qs);
    row("is replaced", beReplaced, {});
    row("is truncated", beTruncated, {});
    row("becomes a folder", becomeAFolder, u": it is a folder"_qs);
    row("becomes a pipe", becomeAPipe, u": it is a pipe"_qs);
    row("becomes unreadable", becomeUnreadable, u": Permission denied"_qs);
}

void tst_Disk::changeBetweenLoadAndSaveIsNotOverwritten()
{
    QFETCH(Change, change);
    QFETCH(QString, reason);

    const ManifestFile file(before());
    const auto program = Program()
                             .prepared(asOrdinaryUser)
                             .stoppingAt(u"open"_qs, lookBeforeTheSave, file.path())
                             .start(editOf(file.path()) + u" --backup"_qs);
    QVERIFY(program->isStopped());
    change(file.path());
    struct stat changed = {};
    stat(qPrintable(file.path()), &changed);
    program->send(SIGCONT);
    QCOMPARE(program->finish(), failed(file.path() + u" has changed since it was read"_qs + reason));
    struct stat after = {};
    stat(qPrintable(file.path()), &after);
    QCOMPARE(after.st_ino, changed.st_ino);
    QCOMPARE(after.st_mode, changed.st_mode);
    QCOMPARE(after.st_size, changed.st_size);
    QVERIFY(everythingIn(file.folder()).size() <= 1);
}

void tst_Disk::changeIsOverwrittenOnRequest()
{
    const ManifestFile file(before());
    const auto program = Program()
                             .stoppingAt(u"open"_qs, lookBeforeTheSave, file.path())
                             .start(editOf(file.path()) + u" --overwrite --backup=.old"_qs);
    QVERIFY(program->isStopped());
    beReplaced(file.path());
    program->send(SIGCONT);
    QCOMPARE(program->finish(), (ProgramRun {0, saved, QByteArray()}));
    QCOMPARE(file.content(), afterSettingKey());
    QCOMPARE(readFile(file.path() + u".old"_qs), QByteArray("[\"somebody else\"]"));
}

void tst_Disk::manifestThatIsGoneIsNotMadeAnewOnRequest()
{
    const ManifestFile file(before());
    const auto program = Program()
                             .stoppingAt(u"open"_qs, lookBeforeTheSave, file.path())
                             .start(editOf(file.path()) + u" --overwrite"_qs);
    QVERIFY(program->isStopped());
    disappear(file.path());
    program->send(SIGCONT);
    QCOMPARE(program->finish(),
        failed(u"could not save %1: No such file or directory"_qs.arg(file.path()),
            "warning: Configuration manifest file does not exist!\n"));
    QCOMPARE(everythingIn(file.folder()), QStringList());
}

void tst_Disk::changeBetweenScanAndCreationIsNotOverwritten()
{
    const QTemporaryDir directory;
    const QString path = directory.filePath(u"configuration.manifest.json"_qs);
    writeFile(directory.filePath(u"page.config.json"_qs), "{\"hide\":false,\"displayPosition\":1}");
    const auto program = Program().stoppingAt(u"stat"_qs, 3, path).start(u"create-folder "_qs + directory.path());
    QVERIFY(program->isStopped());
    writeFile(path, "[]");
    program->send(SIGCONT);
    QCOMPARE(program->finish(), failed(path + u" has changed since it was read"_qs));
    QCOMPARE(readFile(path), QByteArray("[]"));
}

void tst_Disk::replacementAfterTheSaveIsNoticed()
{
    const ManifestFile file(before());
    const auto program = Program().stoppingAt(u"open"_qs, lookAfterTheSave, file.path()).start(editOf(file.path()));
    QVERIFY(program->isStopped());
    beReplaced(file.path());
    program->send(SIGCONT);
    QCOMPARE(program->finish(), overtaken(file.path()));
}

void tst_Disk::lookThatFailsAfterTheSaveIsSaidSo_data()
{
    const Table<QString, QString> row("fault", "reason");

    row("no descriptor left", u"open %1"_qs.arg(EMFILE), u"Too many open files"_qs);
    row("no permission", u"open %1"_qs.arg(EACCES), u"Permission denied"_qs);
    row("read error", u"open %1"_qs.arg(EIO), u"Input/output error"_qs);
}

void tst_Disk::lookThatFailsAfterTheSaveIsSaidSo()
{
    QFETCH(QString, fault);
    QFETCH(QString, reason);

    const ManifestFile file(before());
    QCOMPARE(Program()
                 .withFaultyCalls(u"%1 %2 99 %3"_qs.arg(fault).arg(lookAfterTheSave).arg(file.path()))
                 .run(editOf(file.path())),
        failed(u"cannot tell whether %1 is saved: %2"_qs.arg(file.path(), reason)));
    QCOMPARE(file.content(), afterSettingKey());
}

void tst_Disk::manifestThatIsGoneAfterTheSaveIsSaidSo()
{
    const QTemporaryDir directory;
    const QString folder = directory.filePath(u"folder"_qs);
    const QString path = folder + u"/manifest.json"_qs;
    for (const bool isMoved : {false, true}) {
        writeFile(path, before());
        const auto program = Program().stoppingAt(u"open"_qs, lookAfterTheSave, path).start(editOf(path));
        QVERIFY(program->isStopped());
        QVERIFY(isMoved ? QDir().rename(folder, directory.filePath(u"elsewhere"_qs)) : QFile::remove(path));
        program->send(SIGCONT);
        QCOMPARE(program->finish(), failed(path + u" is gone: it was removed or moved while it was saved"_qs));
    }
}

void tst_Disk::manifestThatGoesBeforeTheSaveIsSaidSo()
{
    const ManifestFile file(before());
    const ProgramRun run = Program()
                               // The first thing that the library asks.
                               .withFaultyCalls(u"access %1 1 1 %2"_qs.arg(Fault::Vanished).arg(file.path()))
                               .run(editOf(file.path()));
    QCOMPARE(run,
        failed(u"could not save %1: No such file or directory"_qs.arg(file.path()),
            "warning: Configuration manifest file does not exist!\n"));
    QCOMPARE(everythingIn(file.folder()), QStringList());
}

void tst_Disk::folderThatIsRemovedIsSaidSo()
{
    const QTemporaryDir directory;
    const QString folder = directory.filePath(u"folder"_qs);
    const QString path = folder + u"/manifest.json"_qs;
    writeFile(path, before());
    const auto program = Program().stoppingAt(u"open"_qs, lookBeforeTheSave, path).start(editOf(path));
    QVERIFY(program->isStopped());
    QVERIFY(QDir(folder).removeRecursively());
    program->send(SIGCONT);
    QCOMPARE(program->finish(), failed(path + u" has changed since it was read: No such file or directory"_qs));
    QCOMPARE(everythingIn(directory.path()), QStringList());
}

void tst_Disk::contentThatIsThereAlreadyIsNoProofOfASave()
{
    const ManifestFile file(before());
    const auto program = Program()
                             .withFaultyCalls(u"rename %1 1 9 %2"_qs.arg(EIO).arg(file.folder()))
                             .run(u"set %1 top selectionType Selection --save"_qs.arg(file.path()));
    QCOMPARE(program, failed(u"could not save %1: cause unknown"_qs.arg(file.path())));
    QCOMPARE(file.content(), before());
    QVERIFY(file.isAlone());
}

void tst_Disk::backupIsTheReplacedManifest_data()
{
    const Table<QString, QString> row("option", "name");

    row("usual suffix", u"--backup"_qs, u"manifest.json~"_qs);
    row("suffix of one's own", u"--backup=.old"_qs, u"manifest.json.old"_qs);
    row("blanks in it", u"'--backup= 1 2'"_qs, u"manifest.json 1 2"_qs);
}

void tst_Disk::backupIsTheReplacedManifest()
{
    QFETCH(QString, option);
    QFETCH(QString, name);

    const ManifestFile file(before());
    chmod(qPrintable(file.path()), 0640);
    const QString link = file.folder() + u"/elsewhere/link"_qs;
    QVERIFY(QDir().mkpath(QFileInfo(link).path()));
    QVERIFY(QFile::link(file.path(), link));
    const QString backup = file.folder() + u'/' + name;
    const Program program = Program().in(file.folder());
    QCOMPARE(program.run(u"set manifest.json top key 1 --save "_qs + option), (ProgramRun {0, saved, QByteArray()}));
    QCOMPARE(readFile(backup), before());
    struct stat status = {};
    QCOMPARE(stat(qPrintable(backup), &status), 0);
    QCOMPARE(status.st_mode & ACCESSPERMS, mode_t(0640));
    // Beside the file that is replaced, and in place of the older one.
    QCOMPARE(program.run(u"set elsewhere/link top key 2 --save "_qs + option), (ProgramRun {0, saved, QByteArray()}));
    QCOMPARE(readFile(backup), afterSettingKey(u"1"_qs));
    QCOMPARE(file.content(), afterSettingKey(u"2"_qs));
    QCOMPARE(everythingIn(file.folder() + u"/elsewhere"_qs), QStringList(u"link"_qs));
    QCOMPARE(everythingIn(file.folder()).size(), 3);
    // Nothing is kept of what is not replaced.
    QCOMPARE(program.run(u"set manifest.json top key 3 "_qs + option).status, 0);
    QCOMPARE(readFile(backup), afterSettingKey(u"1"_qs));
}

void tst_Disk::backupThatCannotBeMadeIsNoSave_data()
{
    const Table<Change, QString> row("obstacle", "reason");

    row(
        "folder", [](const QString& path) { QDir().mkdir(path); }, u"it is a folder"_qs);
    row(
        "link", [](const QString& path) { QFile::link(u"/dev/null"_qs, path); }, u"it is a link"_qs);
    row(
        "pipe", [](const QString& path) { mkfifo(qPrintable(path), 0600); }, u"it is a pipe"_qs);
    row(
        "read-only",
        [](const QString& path) {
            writeFile(path, "older");
            chmod(qPrintable(path), 0444);
        },
        u"Permission denied"_qs);
}

void tst_Disk::backupThatCannotBeMadeIsNoSave()
{
    QFETCH(Change, obstacle);
    QFETCH(QString, reason);

    const ManifestFile file(before());
    const FileState state = stateOf(file.path());
    const QString backup = file.path() + u'~';
    obstacle(backup);
    QCOMPARE(Program().prepared(asOrdinaryUser).run(editOf(file.path()) + u" --backup"_qs),
        failed(u"could not save %1: no backup %2: %3"_qs.arg(file.path(), backup, reason)));
    QCOMPARE(stateOf(file.path()), state);
    QCOMPARE(everythingIn(file.folder()).size(), 2);
}

void tst_Disk::wrongSuffixIsWrongUsage_data()
{
    const Table<QString> row("option");

    row("empty", u"--backup="_qs);
    row("another folder", u"--backup=/../b"_qs);
}

void tst_Disk::wrongSuffixIsWrongUsage()
{
    QFETCH(QString, option);

    const ManifestFile file(before());
    QCOMPARE(Program().run(u"%1 %2"_qs.arg(editOf(file.path()), option)),
        misused(u"the suffix of a backup is not empty and has no '/'"_qs));
    QVERIFY(file.isAlone());
}

void tst_Disk::baseIsTheManifestAsCreated()
{
    const QTemporaryDir directory;
    const QString path = directory.filePath(u"configuration.manifest.json"_qs);
    writeFile(directory.filePath(u"page.config.json"_qs), "{\"hide\":false,\"displayPosition\":1}");
    const Program program = Program().in(directory.path());
    QCOMPARE(program.run(u"create-folder . --keep-base"_qs).status, 0);
    const QByteArray created = readFile(path);
    QVERIFY(!created.isEmpty());
    QCOMPARE(program.run(u"set configuration.manifest.json page key value --save"_qs).status, 0);
    QCOMPARE(readFile(path + u".base"_qs), created);
    // Who does not ask for it leaves the older one.
    writeFile(directory.filePath(u"other.config.json"_qs), "{\"hide\":false,\"displayPosition\":2}");
    QCOMPARE(program.run(u"create-folder . --backup"_qs).status, 0);
    QCOMPARE(readFile(path + u".base"_qs), created);
    QVERIFY(readFile(path + u'~').contains("\"key\":\"value\""));

    QFile::remove(path + u".base"_qs);
    mkfifo(qPrintable(path + u".base"_qs), 0600);
    QCOMPARE(program.run(u"create-folder . --keep-base"_qs),
        (ProgramRun {1, "configuration.manifest.json\n2 selections, 0 nodes\nthe same as before\n",
            "configuration-manifest: the manifest is saved, but not configuration.manifest.json.base: it is a "
            "pipe\n"}));
}

void tst_Disk::baseIsKeptBeforeAFirstManifestAndAfterALaterOne()
{
    const QTemporaryDir directory;
    const QString path = directory.filePath(u"configuration.manifest.json"_qs);
    const QString base = path + u".base"_qs;
    const QString creation = u"create-folder %1 --keep-base"_qs.arg(directory.path());
    const auto killBetweenTheFiles = [&] {
        const auto program = Program().stoppingAt(u"make"_qs, 2, directory.path()).start(creation);
        QVERIFY(program->isStopped());
        program->send(SIGKILL);
        QCOMPARE(program->finish().status, -1);
    };
    writeFile(directory.filePath(u"page.config.json"_qs), "{\"hide\":false,\"displayPosition\":1}");
    killBetweenTheFiles();
    QVERIFY(!QFile::exists(path));
    const QByteArray first = readFile(base);
    QVERIFY(first.contains("\"page\""));
    QCOMPARE(Program().run(creation), done(path + u"\n1 selection, 0 nodes"_qs));
    QCOMPARE(readFile(path), first);
    QCOMPARE(readFile(base), first);

    // What the older base lacks comes by the next merge. A newer one would say that an edit has removed it.
    writeFile(directory.filePath(u"other.config.json"_qs), "{\"hide\":false,\"displayPosition\":2}");
    killBetweenTheFiles();
    QVERIFY(readFile(path).contains("\"other\""));
    QCOMPARE(readFile(base), first);
}

void tst_Disk::causeOfAFailedSaveIsNamed_data()
{
    const Table<QString, QString> row("faults", "cause");

    row("disk full", u"write %1"_qs.arg(ENOSPC), u"No space left on device"_qs);
    row("quota", u"write %1"_qs.arg(EDQUOT), u"Disk quota exceeded"_qs);
    row("read-only file system", u"make %1"_qs.arg(EROFS), u"Read-only file system"_qs);
    row("new file does not get the name", u"rename %1"_qs.arg(EIO), u"cause unknown"_qs);
}

void tst_Disk::causeOfAFailedSaveIsNamed()
{
    QFETCH(QString, faults);
    QFETCH(QString, cause);

    const ManifestFile file(before());
    const FileState state = stateOf(file.path());
    const ProgramRun run =
        Program().withFaultyCalls(u"%1 1 99 %2"_qs.arg(faults, file.folder())).run(editOf(file.path()));
    QCOMPARE(run.status, 1);
    QCOMPARE(run.output, QByteArray());
    const QByteArray complaint = u"configuration-manifest: could not save %1: %2\n"_qs.arg(file.path(), cause).toUtf8();
    QVERIFY2(run.errors.endsWith(complaint), run.errors.constData());
    QCOMPARE(stateOf(file.path()), state);
    QVERIFY(file.isAlone());
}

void tst_Disk::manifestOfAnotherUserInAStickyFolderIsNamed()
{
    constexpr uid_t somebody = 65534;
    const ManifestFile file(before());
    // Only root can give them away; others' own manifest is saved.
    const bool isForeign = chown(qPrintable(file.folder()), somebody, gid_t(-1)) == 0
        && chown(qPrintable(file.path()), somebody, gid_t(-1)) == 0;
    chmod(qPrintable(file.folder()), 01777);
    chmod(qPrintable(file.path()), 0666);
    const ProgramRun run = Program().prepared(asOrdinaryUser).run(editOf(file.path()));
    QCOMPARE(run.status, isForeign ? 1 : 0);
    QVERIFY2(run.errors.endsWith(isForeign ? ": Operation not permitted\n" : ""), run.errors.constData());
    QCOMPARE(file.content() == before(), isForeign);
}

void tst_Disk::mountPointIsNamed()
{
    const ManifestFile file(before());
    const QString path = file.folder() + u"/a file.json"_qs;
    writeFile(path, before());
    // Only root can mount something; elsewhere it stays an ordinary file.
    const bool isMounted = mount(qPrintable(file.path()), qPrintable(path), nullptr, MS_BIND, nullptr) == 0;
    const ProgramRun run = Program().run({u"set"_qs, path, u"top"_qs, u"key"_qs, u"value"_qs, u"--save"_qs});
    umount(qPrintable(path));
    QCOMPARE(run.status, isMounted ? 1 : 0);
    QVERIFY2(run.errors.endsWith(isMounted ? ": Device or resource busy\n" : ""), run.errors.constData());
    QCOMPARE(file.content(), before());
}

void tst_Disk::sizeLimitAtTheBackupIsNamed()
{
    const ManifestFile file(compact({with(selection(u"top"_qs), u"filler"_qs, QString(10000, u'x'))}));
    const FileState state = stateOf(file.path());
    const Preparation withSizeLimit = [] {
        const rlimit limit {5000, 5000};
        setrlimit(RLIMIT_FSIZE, &limit);
        signal(SIGXFSZ, SIG_IGN);
    };
    QCOMPARE(Program().prepared(withSizeLimit).run(u"unset %1 top filler --save --backup"_qs.arg(file.path())),
        failed(u"could not save %1: no backup %1~: File too large"_qs.arg(file.path())));
    QCOMPARE(stateOf(file.path()), state);
    QVERIFY(file.isAlone());
}

void tst_Disk::fullDiskIsNamed()
{
    const QTemporaryDir directory;
    const SmallDisk disk(directory.path(), "64k");
    const bool isReal = disk.isMounted();
    const QString path = directory.filePath(u"manifest.json"_qs);
    // Room for one manifest, not for two.
    const QByteArray manifest = compact({with(selection(u"top"_qs), u"filler"_qs, QString(40000, u'x'))});
    writeFile(path, manifest);
    Program program;
    if (!isReal) {
        program.prepared(onFullDisk);
    }
    const ProgramRun run = program.run(editOf(path));
    QCOMPARE(run,
        failed(u"could not save %1: %2"_qs.arg(path, isReal ? u"No space left on device"_qs : u"File too large"_qs),
            "warning: Error on writing instance list to manifest file!\n"));
    QCOMPARE(readFile(path), manifest);
    QCOMPARE(everythingIn(directory.path()), QStringList(u"manifest.json"_qs));
}

void tst_Disk::fullDiskAtTheBackupIsNoSave()
{
    const QTemporaryDir directory;
    const SmallDisk disk(directory.path(), "64k");
    const bool isReal = disk.isMounted();
    const QString path = directory.filePath(u"manifest.json"_qs);
    const QByteArray manifest = compact({with(selection(u"top"_qs), u"filler"_qs, QString(40000, u'x'))});
    writeFile(path, manifest);
    Program program;
    if (!isReal) {
        program.prepared(onFullDisk);
    }
    QCOMPARE(program.run(u"unset %1 top filler --save --backup"_qs.arg(path)),
        failed(u"could not save %1: no backup %1~: %2"_qs.arg(
            path, isReal ? u"No space left on device"_qs : u"File too large"_qs)));
    QCOMPARE(readFile(path), manifest);
    QCOMPARE(everythingIn(directory.path()), QStringList(u"manifest.json"_qs));
    // Without it there is room for what is to be saved.
    if (isReal) {
        QCOMPARE(program.run(u"unset %1 top filler --save"_qs.arg(path)), done(u"changed; saved"_qs));
    }
}

namespace {

void addEndingSignals()
{
    const Table<int> row("signal");

    row("SIGINT", SIGINT);
    row("SIGTERM", SIGTERM);
    row("SIGHUP", SIGHUP);
}

} // namespace

void tst_Disk::signalWaitsForTheEndOfASave_data()
{
    addEndingSignals();
}

void tst_Disk::signalWaitsForTheEndOfASave()
{
    QFETCH(int, signal);

    const ManifestFile file(before());
    const auto program = Program().stoppingAt(u"rename"_qs, 1, file.folder()).start(editOf(file.path()));
    QVERIFY(program->isStopped());
    program->send(signal);
    program->send(SIGCONT);
    const ProgramRun run = program->finish();
    // It ends by the signal, when it has told what became of the save.
    QCOMPARE(run, (ProgramRun {-1, saved, QByteArray()}));
    QCOMPARE(file.content(), afterSettingKey());
    QVERIFY(file.isAlone());
}

void tst_Disk::signalBeforeTheSaveLeavesNothing_data()
{
    addEndingSignals();
}

void tst_Disk::signalBeforeTheSaveLeavesNothing()
{
    QFETCH(int, signal);

    const ManifestFile file(before());
    const FileState state = stateOf(file.path());
    const auto program = Program().stoppingAt(u"read"_qs, 1, file.path()).start(editOf(file.path()));
    QVERIFY(program->isStopped());
    program->send(signal);
    program->send(SIGCONT);
    QCOMPARE(program->finish(), (ProgramRun {-1, QByteArray(), QByteArray()}));
    QCOMPARE(stateOf(file.path()), state);
    QVERIFY(file.isAlone());
    QVERIFY(FolderLock(file.folder()).isHeld());
}

namespace {

// What a killed save may leave: the old manifest or the new one, the backup likewise, and one temporary file.
void checkWhatAKillLeft(const ManifestFile& file)
{
    QVERIFY(file.content() == before() || file.content() == afterSettingKey());
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

void tst_Disk::killAtAnyStepLeavesAWholeManifest_data()
{
    const Table<QString> row("call");

    for (const char* const call : {"lock", "make", "write", "sync", "close", "link", "rename", "unlink", "chmod"}) {
        row(call, QString::fromUtf8(call));
    }
}

void tst_Disk::killAtAnyStepLeavesAWholeManifest()
{
    QFETCH(QString, call);

    int kills = 0;
    for (bool isKilled = true; isKilled; kills += isKilled ? 1 : 0) {
        const ManifestFile file(before());
        const ProgramRun run =
            Program()
                .withFaultyCalls(u"%1 %2 %3 %3 %4"_qs.arg(call).arg(Fault::Killed).arg(kills + 1).arg(file.folder()))
                .run(editOf(file.path()) + u" --backup"_qs);
        isKilled = run.status == -1;
        checkWhatAKillLeft(file);
        if (!isKilled) {
            QCOMPARE(run, (ProgramRun {0, saved, QByteArray()}));
        }
        QVERIFY(kills < 30);
    }
    QVERIFY2(kills > 0 || call == u"unlink"_qs || call == u"sync"_qs, "the save makes no such call");
}

void tst_Disk::killAtAnyTimeLeavesAWholeManifest()
{
    for (int number = 0; number < randomKills; ++number) {
        const ManifestFile file(before());
        const auto program = Program().start(editOf(file.path()) + u" --backup"_qs);
        // Spread over the time that a run takes.
        usleep(static_cast<useconds_t>(number % 20) * 1000);
        program->send(SIGKILL);
        program->finish();
        checkWhatAKillLeft(file);
    }
}

namespace {

void addSpecialFiles()
{
    const Table<QString, QString> row("path", "complaint");

    row("folder", u"."_qs, u"cannot read .: it is a folder"_qs);
    row("endless device", u"/dev/zero"_qs, u"cannot read /dev/zero: it is a device"_qs);
    row("empty device", u"/dev/null"_qs, u"cannot read /dev/null: it is a device"_qs);
    row("link to a device", u"zero"_qs, u"cannot read zero: it is a device"_qs);
    row("link that leads nowhere", u"nowhere"_qs, u"cannot read nowhere: No such file or directory"_qs);
    row("link to itself", u"itself"_qs, u"cannot read itself: Too many levels of symbolic links"_qs);
}

// The folder that they are in.
void makeSpecialFiles(const QTemporaryDir& directory)
{
    mkfifo(qPrintable(directory.filePath(u"pipe"_qs)), 0600);
    QFile::link(u"/dev/zero"_qs, directory.filePath(u"zero"_qs));
    QFile::link(u"none"_qs, directory.filePath(u"nowhere"_qs));
    QFile::link(u"itself"_qs, directory.filePath(u"itself"_qs));
}

} // namespace

void tst_Disk::editsTakeNothingButRegularFiles_data()
{
    addSpecialFiles();
    QTest::newRow("pipe") << u"pipe"_qs << u"cannot edit pipe: it is a pipe"_qs;
    QTest::newRow("standard input") << u"-"_qs << u"cannot read -: No such file or directory"_qs;
}

void tst_Disk::editsTakeNothingButRegularFiles()
{
    QFETCH(QString, path);
    QFETCH(QString, complaint);

    const QTemporaryDir directory;
    makeSpecialFiles(directory);
    const QStringList content = everythingIn(directory.path());
    for (const QString& edit : {u"set %1 top key value"_qs, u"add-node %1 b --description -"_qs, u"delete %1 a"_qs,
             u"stamp %1 --module M"_qs, u"rewrite %1 top key value --add"_qs}) {
        for (const QString& option : {QString(), u" --save --backup"_qs, u" --print"_qs}) {
            QCOMPARE(Program().in(directory.path()).reading("{}").run(edit.arg(path) + option), misused(complaint));
        }
    }
    QCOMPARE(everythingIn(directory.path()), content);
}

void tst_Disk::editsSaveToNoOpenFile_data()
{
    const Table<QString> row("path");

    row("standard input", u"/dev/stdin"_qs);
    row("descriptor", u"/dev/fd/7"_qs);
    row("descriptor of a process", u"/proc/self/fd/7"_qs);
    row("link to a descriptor", u"link"_qs);
}

void tst_Disk::editsSaveToNoOpenFile()
{
    QFETCH(QString, path);

    const ManifestFile file(before());
    const FileState state = stateOf(file.path());
    const QTemporaryDir other;
    QVERIFY(QFile::link(u"/dev/fd/7"_qs, other.filePath(u"link"_qs)));
    const Program shell = Program(u"sh"_qs).in(other.path());
    const QString edit =
        u"'%1' set %2 top key value %3 < '%4' 7< '%4'"_qs.arg(QStringLiteral(PROGRAM), path, u"%1"_qs, file.path());
    QCOMPARE(shell.run({u"-c"_qs, edit.arg(u"--save"_qs)}),
        misused(u"cannot save to %1: it leads to an open file; give the path of the file itself"_qs.arg(path)));
    QCOMPARE(stateOf(file.path()), state);
    // It may be read.
    QCOMPARE(shell.run({u"-c"_qs, edit.arg(QString())}), done(u"changed; not saved"_qs));
}

void tst_Disk::queriesTakePipes_data()
{
    const Table<QString, QByteArray> row("commandLine", "output");

    row("show", u"show pipe"_qs,
        "selection top\nnode      a\n  selection a/first\n  node      second\nnode      spare\n");
    row("list", u"list pipe a"_qs, "a/first\nsecond\n");
    row("count", u"count pipe"_qs, "3\n");
    row("get", u"get pipe a/first instanceName"_qs, "a/first\n");
    row("exists", u"exists pipe a/first"_qs, {});
    row("instances", u"instances pipe"_qs, "top\na/first\n");
}

void tst_Disk::queriesTakePipes()
{
    QFETCH(QString, commandLine);
    QFETCH(QByteArray, output);

    const QTemporaryDir directory;
    const QString pipe = directory.filePath(u"pipe"_qs);
    mkfifo(qPrintable(pipe), 0600);
    // In two pieces.
    const Process writer([&] {
        const int file = open(qPrintable(pipe), O_WRONLY);
        const QByteArray manifest = before();
        const bool written = write(file, manifest.constData(), 10) == 10
            && write(file, manifest.constData() + 10, static_cast<size_t>(manifest.size() - 10)) > 0;
        close(file);
        _exit(written ? 0 : 1);
    });
    QCOMPARE(Program().in(directory.path()).run(commandLine), (ProgramRun {0, output, QByteArray()}));
}

void tst_Disk::queriesTakeStandardInput_data()
{
    const Table<QString> row("file");

    row("-", u"-"_qs);
    row("/dev/stdin", u"/dev/stdin"_qs);
    row("/proc/self/fd/0", u"/proc/self/fd/0"_qs);
}

void tst_Disk::queriesTakeStandardInput()
{
    QFETCH(QString, file);

    const Program program = Program().reading(before());
    QCOMPARE(program.run(u"list %1 a"_qs.arg(file)), done(u"a/first\nsecond"_qs));
    QCOMPARE(program.run(u"instances "_qs + file), done(u"top\na/first"_qs));
    QCOMPARE(Program().run(u"show "_qs + file), misused(file + u" is not a manifest: illegal value at byte 0"_qs));

    // From a file, which may be read from its middle on.
    const ManifestFile manifest("junk" + before());
    QCOMPARE(Program(u"/bin/sh"_qs)
                 .run({u"-c"_qs,
                     u"exec < '%1'; dd bs=4 count=1 status=none of=/dev/null; exec '%2' count -"_qs.arg(
                         manifest.path(), QStringLiteral(PROGRAM))}),
        done(u"3"_qs));
}

void tst_Disk::queriesTakeNoDevices_data()
{
    addSpecialFiles();
}

void tst_Disk::queriesTakeNoDevices()
{
    QFETCH(QString, path);
    QFETCH(QString, complaint);

    const QTemporaryDir directory;
    makeSpecialFiles(directory);
    const Program program = Program().in(directory.path());
    for (const QString& query :
        {u"show %1"_qs, u"list %1"_qs, u"count %1"_qs, u"get %1 top"_qs, u"exists %1 top"_qs, u"instances %1"_qs}) {
        QCOMPARE(program.run(query.arg(path)), misused(complaint));
    }
    QCOMPARE(Program(u"/bin/sh"_qs).run({u"-c"_qs, u"exec '%1' show - </dev/zero"_qs.arg(QStringLiteral(PROGRAM))}),
        misused(u"cannot read -: it is a device"_qs));
}

void tst_Disk::manifestThatCannotBeReadToItsEndIsNoManifest_data()
{
    const Table<QString, int> row("commandLine", "number");

    row("query, nothing", u"count %1"_qs, 1);
    row("query, only the beginning", u"count %1"_qs, 2);
    row("edit, nothing", u"set %1 top key value --save"_qs, 1);
    row("edit, only the beginning", u"set %1 top key value --save"_qs, 2);
}

void tst_Disk::manifestThatCannotBeReadToItsEndIsNoManifest()
{
    QFETCH(QString, commandLine);
    QFETCH(int, number);

    // A whole manifest is in the first piece, and nobody can know.
    const QByteArray manifest = before() + QByteArray(60000, ' ');
    const ManifestFile file(manifest);
    QCOMPARE(Program()
                 .withFaultyCalls(u"read %1 %2 99 %3"_qs.arg(EIO).arg(number).arg(file.path()))
                 .run(commandLine.arg(file.path())),
        misused(u"cannot read %1: Input/output error"_qs.arg(file.path())));
    QCOMPARE(file.content(), manifest);
    QVERIFY(file.isAlone());
}

void tst_Disk::descriptionBehindALinkToADeviceIsRefused()
{
    const QTemporaryDir directory;
    QVERIFY(QDir().mkpath(directory.filePath(u"folder/sub"_qs)));
    QVERIFY(QFile::link(u"/dev/zero"_qs, directory.filePath(u"folder/sub/page.config.json"_qs)));
    const Program program = Program().in(directory.path());
    for (const QString& option : {QString(), u" --dry-run"_qs, u" --print"_qs}) {
        const ProgramRun run = program.run(u"create-folder folder"_qs + option);
        QCOMPARE(run.status, 2);
        QVERIFY2(run.errors.endsWith("configuration-manifest: cannot read folder/sub/page.config.json: is a device\n"),
            run.errors.constData());
    }
    QCOMPARE(everythingIn(directory.filePath(u"folder"_qs)), QStringList(u"sub"_qs));

    const ManifestFile file(before());
    QCOMPARE(Program().run(u"add-node %1 b --description /dev/zero"_qs.arg(file.path())),
        misused(u"cannot read /dev/zero: it is a device"_qs));
}

void tst_Disk::outputThatDoesNotArriveAfterASaveIsToldApart_data()
{
    const Table<QString, QString> row("commandLine", "savedName");

    row("edit", u"set manifest.json top key value --save"_qs, u"manifest.json"_qs);
    row("rewrite", u"rewrite manifest.json top key value --add --save"_qs, u"manifest.json"_qs);
    row("creation", u"create-folder ."_qs, u"configuration.manifest.json"_qs);
}

void tst_Disk::outputThatDoesNotArriveAfterASaveIsToldApart()
{
    QFETCH(QString, commandLine);
    QFETCH(QString, savedName);

    for (const Preparation output : {withFullOutput, withClosedOutput}) {
        const ManifestFile file(before());
        QCOMPARE(Program().in(file.folder()).prepared(output).run(commandLine),
            (ProgramRun {3, QByteArray(), "configuration-manifest: saved, but the results could not be printed\n"}));
        QVERIFY(readFile(file.folder() + u'/' + savedName) != before());
    }
}

MANIFEST_TEST_MAIN(tst_Disk)

#include "tst_disk.moc"
