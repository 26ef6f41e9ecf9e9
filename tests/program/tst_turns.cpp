#include "FolderLock.h"
#include "Patience.h"
#include "Table.h"
#include "TestMain.h"
#include "Workplace.h"
#include "tools/Descriptor.h"

#include <QtCore/QDir>
#include <QtCore/QElapsedTimer>
#include <QtCore/QFileInfo>
#include <QtCore/QJsonDocument>
#include <QtCore/QRegularExpression>

#include <csignal>
#include <memory>
#include <vector>

#include <sys/stat.h>

namespace {

#if defined(EMULATED) || defined(MEMORY_CHECKED)
constexpr int editsOfALoop = 15;
#else
constexpr int editsOfALoop = 250;
#endif

const QByteArray saved = "changed; saved\n";

// An open folder that child processes inherit.
struct OpenFolder {
    explicit OpenFolder(const QString& folder)
        : file(open(qPrintable(folder), O_RDONLY | O_DIRECTORY))
    {
    }

    const Descriptor file;
};

// The number of keys that loops of edits have stored.
int numberOfKeys(const QString& path)
{
    const QJsonObject top = QJsonDocument::fromJson(readFile(path)).array().at(0).toObject();
    return top.size() - selection(u"top"_qs).size();
}

} // namespace

class tst_Turns : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void parallelEditsAreAllKept();
    void parallelMergesAreAllKept();
    void turnIsWaitedFor();
    void manifestThatChangesBeforeTurnIsMerged();
    void turnIsNotWaitedForLongerThanAsked_data();
    void turnIsNotWaitedForLongerThanAsked();
    void waitForUnknownHolderIsGivenUp();
    void holderOfTurnIsNamed();
    void heirOfTurnIsNamed();
    void runThatSharesTurnIsNamed();
    void turnIsTakenInFolderOfLinkTarget();
    void onlySavingRunsTakeTurn_data();
    void onlySavingRunsTakeTurn();
    void turnOfCallerIsSharedByItsChildren();
    void editsThatShareTurnAreAllKept();
    void locksOfOthersStayAsTheyAre_data();
    void locksOfOthersStayAsTheyAre();
    void saveWithoutLocksCausesWarning();
    void saveInUnlistableFolderCausesWarning();
};

void tst_Turns::parallelEditsAreAllKept()
{
    const LoneManifest file;
    const QString link = file.folder() + u"/elsewhere/link.json"_qs;
    QVERIFY(QDir().mkpath(QFileInfo(link).path()));
    makeLink(file.path(), link);
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

void tst_Turns::parallelMergesAreAllKept()
{
    constexpr int merges = 8;
    Workplace place;
    place.write(u"base"_qs, {selection(u"a"_qs)}).write(u"mine"_qs, {with(selection(u"a"_qs), u"key"_qs, 1)});
    std::vector<std::unique_ptr<RunningProgram>> running;
    for (int i = 0; i < merges; ++i) {
        const QString name = u"new%1"_qs.arg(i);
        place.write(name, {selection(u"a"_qs), selection(name)});
        running.push_back(place.program().start(u"merge base mine %1 --save --wait 600"_qs.arg(name)));
    }
    for (const auto& program : running) {
        const ProgramRun run = program->finish();
        QCOMPARE(run.status, 0);
        QCOMPARE(run.errors, QByteArray());
    }
    const QByteArray content = place.content(u"mine"_qs);
    for (int i = 0; i < merges; ++i) {
        QVERIFY2(content.contains("\"new" + QByteArray::number(i) + '"'), content.constData());
    }
    QVERIFY(content.contains("\"key\":1"));
}

void tst_Turns::turnIsWaitedFor()
{
    const LoneManifest file;
    std::unique_ptr<RunningProgram> program;
    {
        const FolderLock lock(file.folder());
        QVERIFY(lock.isHeld());
        program = file.program().start(editOf(u"manifest.json"_qs));
        // The kernel's list of locks marks a waiting process with an arrow.
        const QByteArray entry = "-> FLOCK  ADVISORY  WRITE " + QByteArray::number(program->id()) + ' ';
        QVERIFY(QTest::qWaitFor([&] { return readFile(u"/proc/locks"_qs).contains(entry); }, patience));
        // The edit applies to what was saved meanwhile.
        writeFile(file.path(), compact({selection(u"top"_qs)}));
    }
    QCOMPARE(program->finish(), done(u"changed; saved"_qs));
    QCOMPARE(file.content(), compact({with(selection(u"top"_qs), u"key"_qs, u"value"_qs)}));
}

void tst_Turns::manifestThatChangesBeforeTurnIsMerged()
{
    const Workplace place;
    const QJsonObject other = with(selection(u"a"_qs), u"key"_qs, 7);
    const QJsonObject added = selection(u"c"_qs);
    place.write(u"base"_qs, {selection(u"a"_qs)}).write(u"mine"_qs, {selection(u"a"_qs)});
    place.write(u"new"_qs, {selection(u"a"_qs), added});
    const FolderLock lock(place.path());
    const auto program =
        place.program().stoppingAt(u"lock"_qs, 2, place.path()).start(u"merge base mine new --save"_qs);
    QVERIFY(program->isStopped());
    place.write(u"mine"_qs, {other});
    lock.release();
    program->send(SIGCONT);
    QCOMPARE(program->finish(),
        done(u"added: selection 'c', as position 1\nmerged: 1 added, 0 removed, 0 changed; saved"_qs));
    QCOMPARE(place.content(u"mine"_qs), compact({other, added}));
}

void tst_Turns::turnIsNotWaitedForLongerThanAsked_data()
{
    const Table<int> row("seconds");

    row("not at all", 0);
    row("one second", 1);
}

void tst_Turns::turnIsNotWaitedForLongerThanAsked()
{
    QFETCH(int, seconds);

    const LoneManifest file;
    const FolderLock lock(file.folder());
    QElapsedTimer timer;
    timer.start();
    Program().run(editOf(file.path()) + u" --dry-run"_qs);
    // Emulated programs, and those in a checker, take long to start.
    const qint64 withoutWait = timer.restart();
    const ProgramRun run = Program().run(u"%1 --wait %2"_qs.arg(editOf(file.path())).arg(seconds));
    const qint64 waited = timer.elapsed();
    QVERIFY(waited >= seconds * 1000);
    QVERIFY2(waited < seconds * 1000 + 5 * withoutWait + 3000, QByteArray::number(waited).constData());
    QCOMPARE(run.status, 1);
    QCOMPARE(run.output, QByteArray());
    const QByteArray complaint = "configuration-manifest: the folder " + file.folder().toUtf8()
        + " is locked by process " + QByteArray::number(getpid()) + " (tst_turns); gave up after "
        + QByteArray::number(seconds) + " s\n";
#if defined(EMULATED) || defined(MEMORY_CHECKED)
    QVERIFY2(run.errors.contains(" by process " + QByteArray::number(getpid()) + " ("), run.errors.constData());
#else
    QCOMPARE(run.errors, complaint);
#endif
    QVERIFY(file.isUntouched());
}

void tst_Turns::waitForUnknownHolderIsGivenUp()
{
    const LoneManifest file;
    QCOMPARE(Program()
                 .withFaultyCalls(u"lock %1 1 99 %2"_qs.arg(EWOULDBLOCK).arg(file.folder()))
                 .run(editOf(file.path()) + u" --wait 0"_qs),
        failed(u"the folder %1 is locked; gave up after 0 s"_qs.arg(file.folder())));
    QCOMPARE(file.content(), compact(saveRuleManifest()));
}

void tst_Turns::holderOfTurnIsNamed()
{
    // A stopped process keeps its lock.
    const LoneManifest file;
    const auto holder = Program().stoppingAt(u"make"_qs, 1, file.folder()).start(editOf(file.path()));
    QVERIFY(holder->isStopped());
    const ProgramRun run = Program().run(editOf(file.path()) + u" --wait 0"_qs);
    QCOMPARE(run.status, 1);
    QVERIFY2(run.errors.contains("process " + QByteArray::number(holder->id()) + " ("), run.errors.constData());
    QCOMPARE(file.content(), compact(saveRuleManifest()));
    holder->send(SIGCONT);
    QCOMPARE(holder->finish(), done(u"changed; saved"_qs));
    QCOMPARE(file.content(), afterEdit());
}

void tst_Turns::heirOfTurnIsNamed()
{
    const LoneManifest file;
    // flock(1) has ended; the shell holds the lock through its descriptor.
    QProcess shell;
    shell.start(u"/bin/sh"_qs, {u"-c"_qs, u"exec 9<'%1'; flock 9; echo locked; read line"_qs.arg(file.folder())});
    QVERIFY(shell.waitForReadyRead());
    const ProgramRun run = Program().run(editOf(file.path()) + u" --wait 0"_qs);
    QCOMPARE(run.status, 1);
    QVERIFY2(run.errors.contains("process " + QByteArray::number(shell.processId()) + " (sh); gave up"),
        run.errors.constData());
    shell.closeWriteChannel();
    QVERIFY(shell.waitForFinished());
    QCOMPARE(Program().run(editOf(file.path()) + u" --wait 0"_qs), done(u"changed; saved"_qs));
}

void tst_Turns::runThatSharesTurnIsNamed()
{
    const LoneManifest file;
    const OpenFolder folder(file.folder());
    QCOMPARE(flock(folder.file.get(), LOCK_EX), 0);
    const auto first = Program().stoppingAt(u"make"_qs, 1, file.folder()).start(editOf(file.path()));
    QVERIFY(first->isStopped());
    const ProgramRun run = Program().run(editOf(file.path()) + u" --wait 0"_qs);
    QCOMPARE(run.status, 1);
    QVERIFY2(run.errors.contains(" by process " + QByteArray::number(first->id()) + " ("), run.errors.constData());
    first->send(SIGCONT);
    QCOMPARE(first->finish(), done(u"changed; saved"_qs));
}

void tst_Turns::turnIsTakenInFolderOfLinkTarget()
{
    const LoneManifest file;
    const QTemporaryDir other;
    const QString link = other.filePath(u"link.json"_qs);
    makeLink(file.path(), link);
    {
        const FolderLock lockOfTheLink(other.path());
        QCOMPARE(Program().run(editOf(link) + u" --wait 0"_qs), done(u"changed; saved"_qs));
    }
    const FolderLock lock(file.folder());
    QCOMPARE(Program().run(editOf(link) + u" --wait 0"_qs).status, 1);
}

void tst_Turns::onlySavingRunsTakeTurn_data()
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
    row("merge", u"merge manifest.json manifest.json new --wait 0"_qs, 0);
    row("saved merge", u"merge manifest.json manifest.json new --save --wait 0"_qs, 1);
}

void tst_Turns::onlySavingRunsTakeTurn()
{
    QFETCH(QString, commandLine);
    QFETCH(int, status);

    const Workplace place;
    place.write(u"manifest.json"_qs, saveRuleManifest()).write(u"new"_qs, {});
    const FileState state = stateOf(place.path(u"manifest.json"_qs));
    const FolderLock lock(place.path());
    const ProgramRun run = place.run(commandLine);
    QCOMPARE(run.status, status);
    QCOMPARE(run.errors.contains(" is locked by process "), status == 1);
    QCOMPARE(run.errors.endsWith("gave up after 0 s\n"), status == 1);
    QCOMPARE(stateOf(place.path(u"manifest.json"_qs)), state);
    QCOMPARE(everythingIn(place.path()).size(), 2);
}

void tst_Turns::turnOfCallerIsSharedByItsChildren()
{
    const LoneManifest file;
    const QString edit = u"'%1' set '%2' top key value --save --wait 0"_qs.arg(QStringLiteral(PROGRAM), file.path());
    const Program flock = Program(u"flock"_qs);
    QCOMPARE(flock.run({file.folder(), u"sh"_qs, u"-c"_qs, edit}), done(u"changed; saved"_qs));
    // With --close the child does not inherit the lock.
    const ProgramRun run = flock.run({u"--close"_qs, file.folder(), u"sh"_qs, u"-c"_qs, edit});
    QCOMPARE(run.status, 1);
    QVERIFY2(run.errors.contains(" (flock); gave up"), run.errors.constData());
    // Afterwards the caller still holds the lock.
    QCOMPARE(flock.run({file.folder(), u"sh"_qs, u"-c"_qs,
                 edit + u"; flock --nonblock '%1' true || echo still held"_qs.arg(file.folder())}),
        done(u"unchanged; saved\nstill held"_qs));
}

void tst_Turns::editsThatShareTurnAreAllKept()
{
    constexpr int edits = editsOfALoop / 5;
    const LoneManifest file;
    const QString loops =
        u"for loop in 1 2 3 4; do for i in $(seq %1); do '%2' set '%3' top key$loop-$i x --save --wait 60 || echo failed; done & done; wait"_qs
            .arg(edits)
            .arg(QStringLiteral(PROGRAM), file.path());
    QCOMPARE(Program(u"flock"_qs).run({file.folder(), u"sh"_qs, u"-c"_qs, loops}), printed(saved.repeated(4 * edits)));
    QCOMPARE(numberOfKeys(file.path()), 4 * edits);
    QVERIFY(file.isAlone());
}

void tst_Turns::locksOfOthersStayAsTheyAre_data()
{
    const Table<int, bool, int> row("lock", "isShared", "status");

    row("shared lock", LOCK_SH, false, 1);
    row("lock that another one shares", LOCK_SH, true, 1);
    row("exclusive lock", LOCK_EX, false, 0);
    row("no lock", LOCK_UN, true, 1);
}

void tst_Turns::locksOfOthersStayAsTheyAre()
{
    QFETCH(int, lock);
    QFETCH(bool, isShared);
    QFETCH(int, status);

    const LoneManifest file;
    const OpenFolder folder(file.folder());
    QCOMPARE(flock(folder.file.get(), lock), 0);
    const OpenFolder other(file.folder());
    QCOMPARE(flock(other.file.get(), isShared ? LOCK_SH : LOCK_UN), 0);
    const QString list = u"/proc/self/fdinfo/%1"_qs.arg(folder.file.get());
    // The numbers at the beginning of the lines vary.
    const auto locks = [&] {
        return QString::fromLatin1(readFile(list)).remove(QRegularExpression(u"lock:\\s+\\d+"_qs));
    };
    const QString state = locks();
    QCOMPARE(state.contains(u"FLOCK"_qs), lock != LOCK_UN);
    QCOMPARE(Program().run(editOf(file.path()) + u" --wait 0"_qs).status, status);
    QCOMPARE(locks(), state);
}

void tst_Turns::saveWithoutLocksCausesWarning()
{
    const LoneManifest file;
    const ProgramRun run = Program().withFaultyCalls(u"lock %1"_qs.arg(EOPNOTSUPP)).run(editOf(file.path()));
    QCOMPARE(run,
        (ProgramRun {0, saved,
            u"configuration-manifest: cannot lock the folder %1: Operation not supported; others may save at the same time\n"_qs
                .arg(file.folder())
                .toUtf8()}));
    QCOMPARE(file.content(), afterEdit());
}

void tst_Turns::saveInUnlistableFolderCausesWarning()
{
    const LoneManifest file;
    chmod(qPrintable(file.folder()), 0333);
    const ProgramRun run = Program().prepared(asOrdinaryUser).run(editOf(file.path()));
    chmod(qPrintable(file.folder()), 0700);
    QCOMPARE(run.status, 0);
    QCOMPARE(run.output, saved);
    QVERIFY2(run.errors.contains(": Permission denied; others may save at the same time\n"), run.errors.constData());
    QCOMPARE(file.content(), afterEdit());
}

MANIFEST_TEST_MAIN(tst_Turns)

#include "tst_turns.moc"
