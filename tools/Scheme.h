#pragma once

#include "Command.h"

#include <QtCore/QString>

/// The options that say which scheme a folder is read under, as create-folder takes them: what --scheme is for, in a
/// sentence, and then which files it collects.
Options schemeOptions(const QString& purpose);

/// The scheme that the options ask for; without them the configuration scheme. Complains, and is false, when it is no
/// scheme, or one that nobody else knows and that is not meant.
bool readScheme(const QCommandLineParser& arguments, QString& scheme);
