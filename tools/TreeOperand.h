#pragma once

#include "Command.h"
#include "Pairing.h"
#include "Tree.h"

#include <QtCore/QJsonArray>
#include <QtCore/QString>
#include <QtCore/QStringList>

/// Returns why no manifest can be made of a folder: it is missing, not a folder, unreadable or without visible entries.
/// Returns null if one can be made.
QString reasonForNothing(const QString& folder);

/// Returns the canonical path of a folder, or the path itself if there is no such folder. Scan a folder by this path
/// only: the library forms instance names by removing every occurrence of the scanned path from the path of an entry.
/// A relative path can occur in it more than once. A path that ends with "/" gives wrong names at every level.
QString wholePath(const QString& folder);

/// A manifest that a command compares: read from a file or standard input, or as it would be created in a folder.
struct TreeOperand {
    QString path;
    QJsonArray manifest;
    TreeElements tree;
    /// Whether the folder could be read completely; true for a file.
    bool isWhole = true;
};

/// Reads a manifest from a file, or from standard input for "-", or scans a folder. Prints a warning to standard error
/// for everything that is damaged in the folder. On failure prints the reason to standard error and returns false.
bool readTree(const QString& path, const QString& scheme, TreeOperand& operand);

/// Scans a folder as readTree() does. Does not read a file.
bool readFolder(const QString& path, const QString& scheme, TreeOperand& operand);

/// Returns whether less than a tenth of the elements of `before` are also in `after`, and prints a warning to standard
/// error in that case. False if both have fewer than ten elements.
bool areUnrelated(const Pairing& pairing, const TreeOperand& before, const TreeOperand& after);

/// Returns whether at most one operand is standard input, which can be read only once. If there are more, prints that
/// to standard error.
bool readStandardInputOnce(const QStringList& operands);

/// Returns the options of commands that accept a folder in place of a manifest.
Options treeOptions();
/// Returns the option --stamps, which compares the names of module and object as well.
Option stampsOption();
/// Returns whether stamps count: they do with --stamps.
Stamps stampsWanted(const QCommandLineParser& arguments);
