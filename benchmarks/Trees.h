#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QString>
#include <QtCore/QStringList>
#include <QtCore/QTemporaryDir>

#include <random>

using Random = std::mt19937;

/// Returns a random number from 0 to `bound` - 1. Unlike std::uniform_int_distribution, it is the same with every C++
/// library.
int below(Random& random, int bound);

/// The shape of a tree of description files. Folders are created breadth first. The scanned folder contains only
/// folders.
struct Shape {
    int folders;
    /// Number of folders in each folder.
    int branches;
    /// Number of selections in each folder, without the folder's own description.
    int files;
    /// Size of each selection's description; 0 for random sizes from 300 to 800.
    int bytes = 0;
    bool hasCollidingNames = false;
    bool isOnDisk = false;
};

/// Returns a template for QTemporaryDir in a folder whose files survive a restart, which usually is on a disk.
QString lastingFolder();
/// Returns whether the parent folder of such a template is on a file system in memory.
bool isInMemory(const QString& folderTemplate);

/// A configuration folder with its manifest, with the same content in every run. The destructor removes it.
class Tree {
public:
    explicit Tree(const Shape& shape);

    /// Returns the number of descriptions, which is also the number of elements.
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

/// Returns the tree of that name and creates it on the first call. Names are: a number of descriptions, a multiple of
/// 20; "deep"; "wide" followed by a number of siblings; "big"; "colliding"; "tmpfs" and "disk", with 100 descriptions
/// on such a file system.
const Tree& treeOf(const QString& name);
