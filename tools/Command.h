#pragma once

#include <QtCore/QString>
#include <QtCore/QVector>

class QCommandLineParser;

/// The exit status of the program. The table of commands says what each status means for a command.
enum ExitStatus {
    Done = 0,
    /// The command could not do what was asked, or the answer to a question is "no".
    NotDone = 1,
    /// Wrong usage, or trouble with something that the command line names.
    Trouble = 2,
    /// The command was to save and has succeeded, but could not print its results.
    SavedButNotPrinted = 3,
};

/// An option of a command.
struct Option {
    QString name;
    /// The name of the option's value in the help; empty if the option takes no value.
    QString value;
    QString description;
    /// The value that "--name" alone stands for; null if the value is required or the option takes none. Where this is
    /// set, any other value must be given as "--name=VALUE".
    QString usualValue;
};

using Options = QVector<Option>;

/// The meanings of the exit statuses of a command. The text is empty for a status that the command never returns.
struct ExitMeanings {
    QString done;
    QString notDone;
    QString trouble;
    QString savedButNotPrinted;
};

/// A command of the program, with its arguments and options.
struct Command {
    QString name;
    /// The arguments as the help shows them. One in brackets is optional, one with "..." can be repeated.
    QString syntax;
    QString description;
    Options options;
    ExitMeanings exits;
    /// Runs the command. The number of positional arguments matches `syntax`. If there is a first one, it is not empty.
    ExitStatus (*run)(const QCommandLineParser& arguments);
};

/// A titled group of related commands.
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

/// Returns the table of all commands. The help, the manual page, usage errors and suggestions are made from it.
const QVector<CommandGroup>& commandGroups();
/// Returns the commands of all groups, in the order of the table.
QVector<Command> allCommands();
/// Returns the command with this name; null if there is none.
const Command* findCommand(const QString& name);
