#pragma once

#include <QtCore/QCommandLineOption>
#include <QtCore/QList>
#include <QtCore/QString>

class QCommandLineParser;

enum ExitStatus { Done = 0, Failed = 1, WrongUsage = 2 };

/// One word of the program, with its own arguments and options.
struct Command {
    QString name;
    /// The arguments as the help shows them; one in brackets may be left out, one with "..." given more than once.
    QString syntax;
    QString description;
    QList<QCommandLineOption> options;
    /// Gets as many positional arguments as `syntax` asks for; the first is not empty.
    ExitStatus (*run)(const QCommandLineParser& arguments);
};

QList<Command> createCommands();
QList<Command> showCommands();
QList<Command> queryCommands();
QList<Command> editCommands();
QList<Command> iteratorCommands();
