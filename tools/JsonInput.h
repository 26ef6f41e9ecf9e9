#pragma once

#include "Command.h"

#include <QtCore/QJsonObject>
#include <QtCore/QVariant>

class QCommandLineParser;

/// Returns the option --json, which makes the value on the command line JSON text instead of a string.
Option jsonOption();
/// Returns the option --description, which names a JSON file that describes an element.
Option descriptionOption();

/// Reads the value on the command line: JSON text with --json, otherwise a string. If the text is not JSON, prints the
/// reason to standard error and returns false.
bool readValue(const QCommandLineParser& arguments, const QString& text, QVariant& value);

/// Reads the JSON object in the file that --description names. Without the option, the object is empty. If the file
/// cannot be read or does not contain an object, prints the reason to standard error and returns false.
bool readDescription(const QCommandLineParser& arguments, QJsonObject& description);

/// Reads an integer. If `text` is not one, prints that to standard error and returns false.
bool readNumber(const QString& text, int& number);
