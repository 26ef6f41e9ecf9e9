#pragma once

#include "Command.h"

#include <QtCore/QStringList>

/// Carries out what the arguments, the program's name before them, ask for.
ExitStatus runCommandLine(const QStringList& arguments);

/// Whether a path holds no name.
bool isWithoutNames(const QString& path);

/// Complains about a path that holds no name.
ExitStatus complainAboutEmptyPath();

/// Complains about a word that should have been a command.
ExitStatus complainAboutCommand(const QString& word);
