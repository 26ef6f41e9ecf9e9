#pragma once

#include "ManifestFixture.h"

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

/// Nothing but this output, which has its last line end.
ProgramRun printed(const QByteArray& output);
ProgramRun done(const QString& output, const QByteArray& messages = {});
ProgramRun failed(const QString& complaint, const QByteArray& messages = {});
/// Wrong usage, or trouble with something that the command line names.
ProgramRun misused(const QString& complaint, const QByteArray& messages = {});

/// What a process does to itself before it becomes the program.
using Preparation = void (*)();

/// File permissions apply, also when the tests run as root.
void asOrdinaryUser();
/// No file can be written to.
void onFullDisk();
void withClosedOutput();
void withFullOutput();

/// The words of a command line, separated by blanks. What stands between single quotes is one word.
QStringList words(const QString& commandLine);
/// A command line with an option directly behind the command.
QString withOption(const QString& commandLine, const QString& option);
/// The lines of what a program has printed, without those that are empty.
QStringList linesOf(const QByteArray& output);

/// A program that has been started. What is left of it is killed in the end.
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

/// A program and the surroundings that it is started in: by default the companion program, with nothing to read.
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
    /// Calls to the C library meet `faults`, in the words of FAULTY_CALLS.
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

/// A file as it lies on the disk: a save gives it a new inode, also when it writes the same content.
struct FileState {
    QByteArray content;
    ino_t inode;
};

bool operator==(const FileState& a, const FileState& b);
FileState stateOf(const QString& path);

/// Copies a folder with everything in it, but for manifests.
void copyFolder(const QString& from, const QString& to);

/// Whether a terminal would show all of `text` instead of acting on a part of it. Line ends count as shown.
bool isHarmless(const QByteArray& text);
