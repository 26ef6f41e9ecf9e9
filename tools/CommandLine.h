#pragma once

#include "Command.h"

#include <QtCore/QStringList>

/// Runs the command that the arguments name. The first argument is the name of the program.
ExitStatus runCommandLine(const QStringList& arguments);

/// Returns whether a path contains no names: it is empty or consists of "/" only.
bool isWithoutNames(const QString& path);

/// Prints to standard error that PATH contains no name, and returns Trouble.
ExitStatus complainAboutEmptyPath();

/// Prints to standard error that `word` is not a command, with a suggestion if there is a similar one, and returns
/// Trouble.
ExitStatus complainAboutCommand(const QString& word);
