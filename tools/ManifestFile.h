#pragma once

#include <QtCore/QJsonArray>
#include <QtCore/QJsonObject>
#include <QtCore/QString>

#include <sys/stat.h>

enum class ElementKind { Node, Selection, Unknown };

ElementKind kindOf(const QJsonObject& element);

struct ElementCounts {
    int selections = 0;
    int nodes = 0;
};

/// Counts the elements of a manifest at every level.
ElementCounts countElements(const QJsonArray& manifest);

/// "3 selections, 1 node"
QString toText(const ElementCounts& counts);

/// Reads a manifest file. When that fails, `problem` is one line that says why.
bool readManifest(const QString& path, QJsonArray& manifest, QString& problem);

/**
 * Tells whether a file was replaced since this was made.
 *
 * The library reports a save that fails at its very end as a success, or reports nothing at all; the file itself does
 * not lie: every save gives it a new inode.
 */
class ReplacementCheck {
public:
    explicit ReplacementCheck(const QString& path);
    bool wasReplaced() const;

private:
    static struct stat statusOf(const QByteArray& encodedPath);

    QByteArray encodedPath;
    struct stat before;
};
