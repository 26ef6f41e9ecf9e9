#include "ProgramRun.h"

#include "Patience.h"
#include "faults/FaultyCalls.h"

#include <QtCore/QDir>
#include <QtCore/QDirIterator>
#include <QtCore/QFile>
#include <QtCore/QFileInfo>
#include <QtCore/QProcess>
#include <QtCore/QRegularExpression>
#include <QtTest/QTest>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstddef>
#include <cstdlib>
#include <iterator>
#include <optional>
#include <utility>

#include <fcntl.h>
#include <linux/securebits.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

class PreparedProcess : public QProcess {
public:
    PreparedProcess(Preparation prepareProcess, int file)
        : prepare(prepareProcess)
        , outputFile(file)
    {
    }

protected:
    void setupChildProcess() override
    {
        if (outputFile >= 0) {
            dup2(outputFile, STDOUT_FILENO);
        }
        if (prepare) {
            prepare();
        }
    }

private:
    const Preparation prepare;
    const int outputFile;
};

/// A pseudo-terminal that buffers some kilobytes of output.
class Terminal {
public:
    Terminal()
        : reader(posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC))
    {
        char name[64];
        if (grantpt(reader) != 0 || unlockpt(reader) != 0 || ptsname_r(reader, name, sizeof name) != 0) {
            qFatal("cannot make a terminal");
        }
        writer = open(name, O_RDWR | O_NOCTTY | O_CLOEXEC);
    }

    ~Terminal()
    {
        close(reader);
    }

    Q_DISABLE_COPY(Terminal)

    int outputFile() const
    {
        return writer;
    }

    // Closes the terminal and returns what was written to it.
    QByteArray takeEverything()
    {
        close(writer);
        QByteArray text;
        char buffer[4096];
        for (ssize_t size = 0; (size = read(reader, buffer, sizeof buffer)) > 0;) {
            text.append(buffer, static_cast<int>(size));
        }
        return text.replace("\r\n", "\n");
    }

private:
    const int reader;
    int writer;
};

ProgramRun finished(QProcess& process)
{
    ProgramRun run;
    if (!process.waitForFinished(patience)) {
        process.kill();
        process.waitForFinished();
    } else if (process.exitStatus() == QProcess::NormalExit) {
        run.status = process.exitCode();
    }
    run.output = process.readAllStandardOutput();
    run.errors = process.readAllStandardError();
    return run;
}

QByteArray line(const QString& text)
{
    return text.toUtf8() + '\n';
}

bool isActedOn(uint codePoint)
{
    constexpr struct {
        uint first;
        uint last;
    } ranges[] = {
        {0x00, 0x1f}, // C0 controls
        {0x7f, 0x9f}, // DEL and C1 controls
        {0x61c, 0x61c}, // controls of the text direction, here and in the next three
        {0x200e, 0x200f}, {0x202a, 0x202e}, {0x2066, 0x2069}, {0x2028, 0x2029}, // line and paragraph separators
        {0x200b, 0x200d}, // invisible, as all that follow
        {0x2060, 0x2064}, {0xad, 0xad}, {0xfeff, 0xfeff}, {0xe0001, 0xe007f}, {0xd800, 0xdfff}, // lone surrogates
    };
    return std::any_of(std::begin(ranges), std::end(ranges),
        [codePoint](const auto& range) { return range.first <= codePoint && codePoint <= range.last; });
}

} // namespace

bool operator==(const ProgramRun& a, const ProgramRun& b)
{
    return a.status == b.status && a.output == b.output && a.errors == b.errors;
}

char* toString(const ProgramRun& run)
{
    const QByteArray text = "status " + QByteArray::number(run.status) + "\n--- output\n" + run.output + "--- errors\n"
        + run.errors + "---";
    return qstrdup(text.constData());
}

ProgramRun printed(const QByteArray& output)
{
    return {0, output, QByteArray()};
}

ProgramRun done(const QString& output, const QByteArray& messages)
{
    return {0, line(output), messages};
}

ProgramRun failed(const QString& complaint, const QByteArray& messages)
{
    return {1, QByteArray(), messages + line(u"configuration-manifest: "_qs + complaint)};
}

ProgramRun misused(const QString& complaint, const QByteArray& messages)
{
    return {2, QByteArray(), messages + line(u"configuration-manifest: "_qs + complaint)};
}

void asOrdinaryUser()
{
    // Root loses its privileges at the start of the program. For others the call fails, which is fine.
    prctl(PR_SET_SECUREBITS, SECBIT_NOROOT);
}

void onFullDisk()
{
    static const FileSizeLimit forTheProgram(0);
    // SIGXFSZ has its default action, which kills the process. Valgrind needs the signal to be ignored, because it
    // writes files itself.
#if !defined(EMULATED) || !defined(MEMORY_CHECKED)
    std::signal(SIGXFSZ, SIG_DFL);
#endif
}

void withClosedOutput()
{
    close(STDOUT_FILENO);
}

void withFullOutput()
{
    dup2(open("/dev/full", O_WRONLY | O_CLOEXEC), STDOUT_FILENO);
}

QStringList words(const QString& commandLine)
{
    static const QRegularExpression word(u"'([^']*)'|(\\S+)"_qs);
    QStringList result;
    for (auto matches = word.globalMatch(commandLine); matches.hasNext();) {
        const QRegularExpressionMatch match = matches.next();
        result.append(match.captured(match.lastCapturedIndex()));
    }
    return result;
}

QString withOption(const QString& commandLine, const QString& option)
{
    const int end = commandLine.indexOf(u' ');
    return QString(commandLine).insert(end, QString(u' ' + option));
}

QStringList linesOf(const QByteArray& output)
{
    return QString::fromUtf8(output).split(u'\n', Qt::SkipEmptyParts);
}

Program::Program()
    : Program(QStringLiteral(PROGRAM))
{
}

Program::Program(const QString& path)
    : executable(path)
    , environment(QProcessEnvironment::systemEnvironment())
{
    for (const QString& variable :
        {u"NO_COLOR"_qs, u"QT_LOGGING_CONF"_qs, u"QT_LOGGING_RULES"_qs, u"QT_MESSAGE_PATTERN"_qs}) {
        environment.remove(variable);
    }
    environment.insert(u"TERM"_qs, u"xterm"_qs);
}

Program& Program::in(const QString& path)
{
    folder = path;
    return *this;
}

Program& Program::with(const QString& variable, const QString& value)
{
    environment.insert(variable, value);
    return *this;
}

Program& Program::reading(const QByteArray& text)
{
    input = text;
    return *this;
}

Program& Program::prepared(Preparation function)
{
    preparation = function;
    return *this;
}

Program& Program::unableToRename()
{
    return withFaultyCalls(u"rename %1"_qs.arg(EIO));
}

Program& Program::stoppingAt(const QString& call, int number, const QString& path)
{
    return withFaultyCalls(u"%1 %2 %3 %3 %4"_qs.arg(call).arg(Fault::Stopped).arg(number).arg(path));
}

Program& Program::withFaultyCalls(const QString& faults)
{
    // By default a program with AddressSanitizer refuses to run if another library is preloaded before its runtime.
    const QString options = environment.value(u"ASAN_OPTIONS"_qs) + u":verify_asan_link_order=0"_qs;
#ifdef CROSS_COMPILED
    // The library is for the emulated machine, so the emulator itself must not load it.
    with(u"QEMU_SET_ENV"_qs, QStringLiteral("LD_PRELOAD=" FAULTY_CALLS ",LD_LIBRARY_PATH=" FAULTY_CALLS_FOLDER));
#else
    // A path in LD_PRELOAD would end at its first blank.
    with(u"LD_PRELOAD"_qs, QStringLiteral(FAULTY_CALLS));
    with(u"LD_LIBRARY_PATH"_qs, QStringLiteral(FAULTY_CALLS_FOLDER));
#endif
    return with(u"FAULTY_CALLS"_qs, faults).with(u"ASAN_OPTIONS"_qs, options);
}

Program& Program::onTerminal()
{
    terminal = true;
    return *this;
}

ProgramRun Program::run(const QString& commandLine) const
{
    return run(words(commandLine));
}

ProgramRun Program::run(const QStringList& arguments) const
{
    std::optional<Terminal> screen;
    if (terminal) {
        screen.emplace();
    }
    PreparedProcess process(preparation, screen ? screen->outputFile() : -1);
    process.setWorkingDirectory(folder);
    process.setProcessEnvironment(environment);
    process.start(executable, arguments);
    process.write(input);
    process.closeWriteChannel();
    ProgramRun run = finished(process);
    if (screen) {
        run.output = screen->takeEverything();
    }
    return run;
}

std::unique_ptr<RunningProgram> Program::start(const QString& commandLine) const
{
    auto process = std::make_unique<PreparedProcess>(preparation, -1);
    process->setWorkingDirectory(folder);
    process->setProcessEnvironment(environment);
    process->start(executable, words(commandLine));
    process->write(input);
    process->closeWriteChannel();
    process->waitForStarted(patience);
    return std::make_unique<RunningProgram>(std::move(process));
}

RunningProgram::RunningProgram(std::unique_ptr<QProcess> startedProcess)
    : process(std::move(startedProcess))
{
}

RunningProgram::~RunningProgram()
{
    process->kill();
    process->waitForFinished(patience);
}

qint64 RunningProgram::id() const
{
    return process->processId();
}

bool RunningProgram::isStopped() const
{
    const QString path = u"/proc/%1/stat"_qs.arg(id());
    // The state follows the name, which is in brackets.
    const auto state = [&] { return readFile(path).split(')').constLast().trimmed().left(1); };
    return QTest::qWaitFor([&] { return state() == "T" || state().isEmpty(); }, patience) && state() == "T";
}

bool RunningProgram::isAlive() const
{
    return process->state() == QProcess::Running && !process->waitForFinished(0);
}

void RunningProgram::send(int signal) const
{
    kill(static_cast<pid_t>(id()), signal);
}

ProgramRun RunningProgram::finish()
{
    return finished(*process);
}

bool operator==(const FileState& a, const FileState& b)
{
    return a.content == b.content && a.inode == b.inode;
}

FileState stateOf(const QString& path)
{
    struct stat status = {};
    if (stat(qPrintable(path), &status) != 0) {
        qFatal("there is no %s", qPrintable(path));
    }
    return {readFile(path), status.st_ino};
}

void copyFolder(const QString& from, const QString& to)
{
    QDirIterator entries(from, QDir::Files | QDir::Hidden, QDirIterator::Subdirectories);
    while (entries.hasNext()) {
        const QString path = entries.next();
        if (!path.endsWith(u".manifest.json"_qs)) {
            writeFile(to + path.mid(from.size()), readFile(path));
        }
    }
}

bool isHarmless(const QByteArray& text)
{
    const QString decoded = QString::fromUtf8(text);
    const QVector<uint> codePoints = decoded.toUcs4();
    return decoded.toUtf8() == text && std::none_of(codePoints.begin(), codePoints.end(), [](uint codePoint) {
        return codePoint != '\n' && isActedOn(codePoint);
    });
}
