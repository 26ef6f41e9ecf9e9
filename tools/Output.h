#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QString>

/// Returns one line of text in which control and format characters and the separators of lines and paragraphs are
/// escaped, so that a terminal shows them instead of acting on them. A line end becomes "\n".
QString printable(const QString& text);

/// Returns whether standard output is a terminal.
bool isTerminal();

enum class Style { Node, Selection, Unknown, Label };

/// Returns `text` in the colour of the style. Returns it unchanged if standard output is not a terminal, or if NO_COLOR
/// or TERM switches colours off.
QString styled(const QString& text, Style style);

/// Prints one line of results. The caller escapes it with printable().
void print(const QString& line);

/// Prints a text of several lines, each escaped with printable().
void printText(const QString& text);

/// Prints a JSON text as one result. On a terminal, the characters that printable() escapes are written as JSON
/// escapes, except for line ends.
void printJson(const QByteArray& json);

/// Prints an error message, one line, to standard error, after the name of the program. The caller escapes it with
/// printable().
void complain(const QString& line);

/// Prints a warning or other message, one line, to standard error, escaped with printable().
void remark(const QString& line);

/// Prints a text of several lines to standard error, each escaped with printable().
void explain(const QString& text);

/// Flushes standard output. Returns whether everything printed so far could be written.
bool flushOutput();
