#pragma once

#include "Command.h"
#include "Pairing.h"
#include "Tree.h"

#include <QtCore/QJsonArray>
#include <QtCore/QString>
#include <QtCore/QStringList>

/// Why a folder gives no manifest; null when it gives one.
QString reasonForNothing(const QString& folder);

/// The path under which a folder is scanned. Instance names are what is left of a path without the scanned folder,
/// wherever its name occurs in it. Only of a whole path that does not end with "/" is that what everybody expects.
QString wholePath(const QString& folder);

/// A manifest that a command compares: that of a file, of standard input, or what would be created in a folder.
struct TreeOperand {
    QString path;
    QJsonArray manifest;
    TreeElements tree;
    /// Whether a folder could be read completely.
    bool isWhole = true;
};

/// Reads a manifest, "-" for standard input, or scans a folder and prints what is damaged in it. Complains when that is
/// not possible.
bool readTree(const QString& path, const QString& scheme, TreeOperand& operand);

/// The same of a folder only.
bool readFolder(const QString& path, const QString& scheme, TreeOperand& operand);

/// Whether hardly anything of the first operand is in the second one, too. Says so on standard error.
bool areUnrelated(const Pairing& pairing, const TreeOperand& before, const TreeOperand& after);

/// Whether no two operands are standard input, which can be read once. Complains when they are.
bool readStandardInputOnce(const QStringList& operands);

/// Options of commands that take folders for manifests.
Options treeOptions();
/// Asks for names of module and object to be compared.
Option stampsOption();
Stamps stampsWanted(const QCommandLineParser& arguments);
