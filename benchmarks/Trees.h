#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QString>
#include <QtCore/QStringList>
#include <QtCore/QTemporaryDir>

#include <random>

using Random = std::mt19937;

/// A number from 0 up to, not including, the bound; the same with every C++ library.
int below(Random& random, int bound);

/// How description files lie in a tree. Folders are filled breadth first; the scanned one holds nothing but folders.
struct Shape {
    int folders;
    /// Folders in each folder.
    int branches;
    /// Selections in each folder, which has a description of its own besides.
    int files;
    /// Of each selection's description; 0 for any number from 300 to 800.
    int bytes = 0;
    bool hasCollidingNames = false;
    bool isOnDisk = false;
};

/// Template of a QTemporaryDir where temporary files survive a restart, which usually is on a disk.
QString lastingFolder();
/// Whether the file system of such a folder is in memory.
bool isInMemory(const QString& folderTemplate);

/// A configuration folder, the same for every run, with its manifest. Gone with its last copy.
class Tree {
public:
    explicit Tree(const Shape& shape);

    /// Descriptions, and so elements.
    int size() const;
    QString folder() const;
    QString manifestPath() const;
    QByteArray manifest() const;

    // Instance paths.
    QStringList nodes;
    QStringList selections;
    Shape shape;

private:
    QTemporaryDir directory;
};

/// Makes a tree when it is asked for first. Names: the number of descriptions, by tens; "deep"; "wide" and the number of
/// siblings; "big"; "colliding"; "tmpfs" and "disk" for 100 descriptions there.
const Tree& treeOf(const QString& name);
