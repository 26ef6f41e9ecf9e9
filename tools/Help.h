#pragma once

#include "Command.h"

#include <QtCore/QByteArray>

// Everything that is told of the commands, made from their table.

/// What the program can do, with every command in a line or two.
QString overview();
/// The commands alone, for whoever gave none.
QString shortOverview();
QString helpOf(const Command& command);
/// The source of the manual page.
QByteArray manualPage();
