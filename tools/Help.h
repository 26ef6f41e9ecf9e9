#pragma once

#include "Command.h"

#include <QtCore/QByteArray>

// The texts of the help and of the manual page. They are made from the table of commands.

/// Returns the help of the program: usage, a short description of each command, options and exit statuses.
QString overview();
/// Returns the names of all commands and some examples, for a call without a command.
QString shortOverview();
/// Returns the help of a command.
QString helpOf(const Command& command);
/// Returns the source of the manual page, as UTF-8.
QByteArray manualPage();
