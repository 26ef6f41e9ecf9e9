#pragma once

#include "Command.h"

#include <QtCore/QString>

/// Returns the options --scheme and --any-scheme, which choose the scheme that a folder is read under. `purpose` is the
/// first sentence of the help of --scheme.
Options schemeOptions(const QString& purpose);

/// Reads the scheme from the options; the configuration scheme without --scheme. If the text cannot be a scheme, or is
/// an unknown one without --any-scheme, prints the reason to standard error and returns false.
bool readScheme(const QCommandLineParser& arguments, QString& scheme);
