#pragma once

#include "Command.h"

#include <QtCore/QJsonObject>
#include <QtCore/QVariant>

class QCommandLineParser;

/// Makes a value on the command line a JSON text instead of a string.
Option jsonOption();
Option descriptionOption();

/// Reads a value as the options say. Complains when it is not one.
bool readValue(const QCommandLineParser& arguments, const QString& text, QVariant& value);

/// Reads the object that --description names; an empty one without the option. Complains when there is none.
bool readDescription(const QCommandLineParser& arguments, QJsonObject& description);

/// Reads a whole number. Complains when `text` is none.
bool readNumber(const QString& text, int& number);
