#pragma once

#include <QtCore/QString>

/// `text` with everything escaped that a terminal would act on instead of showing it. Takes one line.
QString printable(const QString& text);

enum class Style { Plain, Node, Selection, Unknown, Label };

/// `text` in a colour, when standard output is a terminal that wants colours.
QString styled(const QString& text, Style style);

/// Prints one line of results.
void print(const QString& line);

/// Prints one line that says what went wrong, on standard error.
void complain(const QString& line);

/// Sends every message of the library to standard error, one line each.
void printMessagesOfTheLibrary();

/// Whether everything printed so far has arrived.
bool flushOutput();
