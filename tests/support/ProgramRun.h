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

/// The outcome of a run of a program.
struct ProgramRun {
    /// The exit status; -1 if the program crashed or did not end.
    int status = -1;
    QByteArray output;
    QByteArray errors;
};

bool operator==(const ProgramRun& a, const ProgramRun& b);
/// Shows the run in the output of a failed comparison.
char* toString(const ProgramRun& run);

// Expected outcomes of the companion program. `messages` are the lines in which it prints the messages of the library.

/// Success with exactly this output; no line end is added.
ProgramRun printed(const QByteArray& output);
ProgramRun done(const QString& output, const QByteArray& messages = {});
ProgramRun failed(const QString& complaint, const QByteArray& messages = {});
/// Wrong usage, or trouble with something that the command line names.
ProgramRun misused(const QString& complaint, const QByteArray& messages = {});

/// Called in the new process before the program is executed.
using Preparation = void (*)();

/// File permissions apply even if root runs the tests.
void asOrdinaryUser();
/// No file can be written to.
void onFullDisk();
void withClosedOutput();
void withFullOutput();

/// Splits a command line at blanks. Single quotes hold a word together.
QStringList words(const QString& commandLine);
/// Inserts an option after the first word.
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
    /// Waits until a signal has stopped the program. Returns false if it does not happen in time.
    bool isStopped() const;
    /// Whether the process exists and has not ended.
    bool isAlive() const;
    void send(int signal) const;
    /// Waits until the program ends.
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
    /// Makes the last step of a save fail.
    Program& unableToRename();
    /// Makes calls to the C library fail. FaultyCalls.h describes the syntax of `faults`.
    Program& withFaultyCalls(const QString& faults);
    /// Stops the program before the `number`th of these calls on `path` or, if that is a folder, on a file in it.
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

/// Whether a terminal prints `text` without acting on any character except line ends.
bool isHarmless(const QByteArray& text);
