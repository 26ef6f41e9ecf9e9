#pragma once

#include <QtCore/QString>
#include <QtCore/QVector>

class QCommandLineParser;

/// What the program tells its caller. What each status means to a command stands in the table of commands.
enum ExitStatus {
    Done = 0,
    /// Also the answer "no" to a question.
    NotDone = 1,
    /// Wrong usage, or trouble with something that the command line names.
    Trouble = 2,
    /// Something on the disk is new, and nobody could be told.
    SavedButNotPrinted = 3,
};

struct Option {
    QString name;
    /// What the help calls its value; empty when it takes none.
    QString value;
    QString description;
    /// The value of an option whose value may be left out; null when it may not. Such a value stands behind "=".
    QString usualValue;
};

using Options = QVector<Option>;

/// What the exit statuses mean to a command. Empty when it never ends with one.
struct ExitMeanings {
    QString done;
    QString notDone;
    QString trouble;
    QString savedButNotPrinted;
};

/// One word of the program, with its own arguments and options.
struct Command {
    QString name;
    /// The arguments as the help shows them; one in brackets may be left out, one with "..." given more than once.
    QString syntax;
    QString description;
    Options options;
    ExitMeanings exits;
    /// Gets as many positional arguments as `syntax` asks for; the first, if it has to be there, is not empty.
    ExitStatus (*run)(const QCommandLineParser& arguments);
};

/// Commands that belong together.
struct CommandGroup {
    QString title;
    QVector<Command> commands;
};

QVector<Command> createCommands();
QVector<Command> showCommands();
QVector<Command> queryCommands();
QVector<Command> existsCommands();
QVector<Command> compareCommands();
QVector<Command> explainCommands();
QVector<Command> mergeCommands();
QVector<Command> editCommands();
QVector<Command> instancesCommands();
QVector<Command> rewriteCommands();
QVector<Command> helpCommands();

/// The one table of all commands: help, man page, usage errors and suggestions come from it.
const QVector<CommandGroup>& commandGroups();
QVector<Command> allCommands();
/// The command of a name; null when there is none.
const Command* findCommand(const QString& name);
