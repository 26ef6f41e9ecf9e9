#pragma once

#include <QtCore/QJsonArray>
#include <QtCore/QJsonObject>
#include <QtCore/QJsonValue>
#include <QtCore/QString>
#include <QtCore/QVector>

#include <functional>
#include <vector>

/// What was reported while a folder or a description file was read.
struct Remark {
    /// The description file that it is about, or the folder where that has none; relative to the scanned folder.
    QString source;
    /// As the library words it, without a line end.
    QString text;
    /// Whether something could not be read, could not be parsed or has a wrong type. What is no damage is ordinary: a
    /// folder without a description file, and keys that a description may leave out.
    bool isDamage = false;
};

/**
 * An item of a manifest with what its place in the tree makes of it. A value; its children are its own.
 *
 * It refers to the JSON that it was made from. While it lives, an edit of that JSON copies every container that it
 * changes.
 */
struct TreeElement {
    enum class Kind { Node, Selection, Unknown, NoObject };

    Kind kind = Kind::NoObject;
    /// The item itself, children included.
    QJsonValue value;
    /// The instance name as it is stored; empty when it has none.
    QString name;
    /// The name that finds it among its siblings, if none of those before it answers to the same one.
    QString answersTo;
    /// Position of the earlier sibling that answers to the same name; -1 when there is none.
    int shadowedBy = -1;
    /// The path under which queries and edits alike find it; null when there is none.
    QString path;
    /// The path of the nearest element above it that has one; null when there is none.
    QString pathAbove;
    /// Number in the order of the tree, from 0.
    int number = -1;
    /// Positions from the top level down to this element.
    QVector<int> positions;
    std::vector<TreeElement> children;

    /// The description file that it was made from, or the folder where that has none; relative to the scanned folder.
    /// Null when the tree was read from a manifest.
    QString source;
    /// The position that it was sorted by; -1 when the description gives none, and of what was read from a manifest.
    int displayPosition = -1;
    /// What was reported while it was read from there.
    QVector<Remark> remarks;

    QJsonObject object() const;
    QString label() const;
    bool isHidden() const;
    /// Whether a path leads to it.
    bool isReachable() const;
    /// Where it is, in words: its path in quotes or, without one, its position.
    QString place() const;
    /// Position among its siblings.
    int position() const;
    /// 0 at the top level.
    int depth() const;
};

using TreeElements = std::vector<TreeElement>;

/// "node", "selection", "unknown" or "no object".
QString toText(TreeElement::Kind kind);

/// The number of elements below one, at every level.
int countBelow(const TreeElement& element);

/// A value without the names that handlers stamp into the selections in it.
QJsonValue withoutStamps(const QJsonValue& value);

/// The tree of a manifest. Cost: n log n in the number of siblings.
TreeElements treeOf(const QJsonArray& manifest);

/// The manifest of a tree.
QJsonArray manifestOf(const TreeElements& elements);

/**
 * The element that a path leads to; null when it leads nowhere.
 *
 * @param emptyNames Qt::SkipEmptyParts for what queries find. Qt::KeepEmptyParts for what edits find: they take an empty
 *                   name for one, and look for the whole path where there is no element of its last name.
 */
const TreeElement* findElement(const TreeElements& elements, const QString& path, Qt::SplitBehavior emptyNames);

/// What the scan of a folder found.
struct FolderScan {
    /// Why the scan was given up, with the path that it is about, relative to the scanned folder; null when it was not.
    /// Without a complete scan there is no tree.
    QString refusal;
    /// Whether there is nothing to create a manifest from: the folder is missing, unreadable or without visible
    /// entries.
    bool isEmpty = false;
    /// Whether every description could be opened and every folder read to its end. What is missing otherwise is reported
    /// as damage.
    bool isWhole = true;
    TreeElements elements;
    /// All remarks in the order of the creator, also those about folders that are not in the tree.
    QVector<Remark> remarks;
};

/**
 * Reads a folder as ConfigurationManifestCreator::create2() does, with the same arguments, but writes nothing:
 * manifestOf() of the result is what the creator would write.
 *
 * It refuses what the creator would never finish: a folder that leads back to one that it lies in, through a link, and
 * a description that is neither a regular file nor a folder - a device, a pipe, a socket. Both are seen before anything
 * of theirs is read.
 *
 * While it runs, the messages of the process are taken for what the library reports, so no other thread should log.
 * A folder about which nothing is reported is read once, any other one twice.
 */
FolderScan scanFolder(const QString& folder, const QString& scheme);

/// The number of the error that keeps the list of a folder from being read to its end; 0 when nothing does.
int errorOfListing(const QString& folder);

/// The ending of the description files that a scheme collects.
QString descriptionSuffix(const QString& scheme);

/// What scanFolder() refuses.
struct Refusal {
    /// Relative to the scanned folder.
    QString path;
    /// As the rest of a sentence that begins with the path: "is a pipe".
    QString reason;
};

/**
 * Reads a folder as scanFolder() does, but goes on where that refuses: the entry that it is about is left out, with
 * everything below it. Reads every folder once, so there are no remarks.
 */
FolderScan scanWithoutRefused(const QString& folder, const QString& scheme, QVector<Refusal>& refusals);

/// Calls a function whose messages nobody is to see.
void callSilently(const std::function<void()>& function);
