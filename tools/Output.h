#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QString>

/// `text` with everything escaped that a terminal would act on instead of showing it. Takes one line.
QString printable(const QString& text);

/// Whether standard output is a terminal.
bool isTerminal();

enum class Style { Node, Selection, Unknown, Label };

/// `text` in a colour, when standard output is a terminal that wants colours.
QString styled(const QString& text, Style style);

/// Prints one line of results.
void print(const QString& line);

/// Prints a text of several lines, each as printable() makes it.
void printText(const QString& text);

/// Prints a JSON text as one result: as it is, but on a terminal with every character escaped that printable() escapes.
void printJson(const QByteArray& json);

/// Prints one line that says what went wrong, on standard error.
void complain(const QString& line);

/// Prints one line on standard error that is no complaint, as printable() makes it.
void remark(const QString& line);

/// Prints a text of several lines on standard error.
void explain(const QString& text);

/// Whether everything printed so far has arrived.
bool flushOutput();
