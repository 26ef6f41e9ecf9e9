#pragma once

#include "Command.h"

#include <QtCore/QStringList>

/// Carries out what the arguments, the program's name before them, ask for.
ExitStatus runCommandLine(const QStringList& arguments);

/// Complains about a word that should have been a command.
ExitStatus complainAboutCommand(const QString& word);
