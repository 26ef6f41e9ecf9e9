#pragma once

#include "Elements.h"
#include "Files.h"
#include "Handlers.h"
#include "Literals.h"
#include "MessageRecorder.h"

#include <QtCore/QByteArray>
#include <QtCore/QJsonArray>
#include <QtCore/QMetaType>
#include <QtCore/QProcess>
#include <QtCore/QProcessEnvironment>
#include <QtCore/QString>
#include <QtCore/QStringList>

#include <memory>

#include <sys/types.h>

/// What a run of a program leaves behind.
struct ProgramRun {
    /// The exit status; -1 of a program that crashed or came to no end.
    int status = -1;
    QByteArray output;
    QByteArray errors;
};

bool operator==(const ProgramRun& a, const ProgramRun& b);
/// Shows the run in the output of a failed comparison.
char* toString(const ProgramRun& run);

// What the companion program leaves behind. `messages` are those of the library, in lines as they are printed.

/// Exactly this output; no line end is added.
ProgramRun printed(const QByteArray& output);
ProgramRun done(const QString& output, const QByteArray& messages = {});
ProgramRun failed(const QString& complaint, const QByteArray& messages = {});
/// Wrong usage, or trouble with something that the command line names.
ProgramRun misused(const QString& complaint, const QByteArray& messages = {});

/// Called in the new process before the program is executed.
using Preparation = void (*)();

/// File permissions apply, even if root runs the tests.
void asOrdinaryUser();
/// No file can be written to.
void onFullDisk();
void withClosedOutput();
void withFullOutput();

/// Splits a command line at blanks. Single quotes hold a word together.
QStringList words(const QString& commandLine);
/// Inserts an option behind the first word.
QString withOption(const QString& commandLine, const QString& option);
/// The lines of a program's output without empty ones.
QStringList linesOf(const QByteArray& output);

/// A program that has been started. The destructor kills it.
class RunningProgram {
public:
    explicit RunningProgram(std::unique_ptr<QProcess> startedProcess);
    ~RunningProgram();
    Q_DISABLE_COPY(RunningProgram)

    qint64 id() const;
    /// Waits until it has been stopped by a signal.
    bool isStopped() const;
    /// Whether it runs or waits for something.
    bool isAlive() const;
    void send(int signal) const;
    /// Waits for its end.
    ProgramRun finish();

private:
    const std::unique_ptr<QProcess> process;
};

/// A program with its environment. By default the companion program with empty standard input.
class Program {
public:
    Program();
    explicit Program(const QString& path);

    Program& in(const QString& path);
    Program& with(const QString& variable, const QString& value);
    Program& reading(const QByteArray& text);
    Program& prepared(Preparation function);
    /// A save fails at its very last step.
    Program& unableToRename();
    /// Makes calls to the C library fail. FaultyCalls.h describes the syntax of `faults`.
    Program& withFaultyCalls(const QString& faults);
    /// Stops before the `number`th of these calls that concern `path` or what is in it.
    Program& stoppingAt(const QString& call, int number, const QString& path);
    Program& onTerminal();

    ProgramRun run(const QString& commandLine) const;
    ProgramRun run(const QStringList& arguments) const;
    std::unique_ptr<RunningProgram> start(const QString& commandLine) const;

private:
    QString executable;
    QString folder;
    QProcessEnvironment environment;
    QByteArray input;
    Preparation preparation = nullptr;
    bool terminal = false;
};

Q_DECLARE_METATYPE(ProgramRun)
Q_DECLARE_METATYPE(Preparation)
Q_DECLARE_METATYPE(Program)

/// Content and inode of a file. Every save changes the inode, even if the content stays the same.
struct FileState {
    QByteArray content;
    ino_t inode;
};

bool operator==(const FileState& a, const FileState& b);
FileState stateOf(const QString& path);

/// Copies a folder recursively, without its manifests.
void copyFolder(const QString& from, const QString& to);

/// Whether a terminal shows `text` and acts on none of it but line ends.
bool isHarmless(const QByteArray& text);
