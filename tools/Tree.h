#pragma once

#include <QtCore/QJsonArray>
#include <QtCore/QJsonObject>
#include <QtCore/QJsonValue>
#include <QtCore/QString>
#include <QtCore/QVector>

#include <functional>
#include <vector>

/// A message about a folder or a description file: one that the library logged while it read the file, or that the
/// folder cannot be read.
struct Remark {
    /// The description file; the folder if it has no description, if it cannot be read itself, or if it is not known
    /// which of its entries the message is about. Relative to the scanned folder; "." for the scanned folder itself.
    QString source;
    /// The text of the message, without a line end.
    QString text;
    /// Whether something could not be read or parsed, or has the wrong type. False for a folder without a description
    /// and for a missing key that is optional.
    bool isDamage = false;
};

/**
 * An item of a manifest, with its children and with what follows from its place in the tree.
 *
 * A value that owns its children. It shares the data of the JSON that it was made from. So as long as it exists,
 * editing that JSON detaches every container that changes.
 */
struct TreeElement {
    enum class Kind { Node, Selection, Unknown, NoObject };

    Kind kind = Kind::NoObject;
    /// The item of the manifest, with its children.
    QJsonValue value;
    /// The stored instance name; empty if there is none.
    QString name;
    /// The name by which look-ups find the element, unless an earlier sibling answers to the same name.
    QString answersTo;
    /// The position of the first sibling that answers to the same name; -1 if this element is the first one.
    int shadowedBy = -1;
    /// The instance path by which both queries and edits find the element; null if there is none.
    QString path;
    /// The path of the nearest ancestor that has one; null if there is none.
    QString pathAbove;
    /// The index of the element in the whole tree, from 0, in depth-first order: parents come before their children.
    int number = -1;
    /// The positions of the ancestors and of the element among their siblings, from the top level down.
    QVector<int> positions;
    std::vector<TreeElement> children;

    /// The description file of the element, or its folder if there is none; relative to the scanned folder. Null if the
    /// tree was read from a manifest.
    QString source;
    /// The display position by which the element was sorted; -1 if the description gives none, or if the tree was read
    /// from a manifest.
    int displayPosition = -1;
    /// The messages that were logged while the description was read.
    QVector<Remark> remarks;

    /// Returns the item as an object; an empty one if the item is not an object.
    QJsonObject object() const;
    QString label() const;
    bool isHidden() const;
    /// Returns whether the element has a path.
    bool isReachable() const;
    /// Returns the place of the element as text: its path in quotes, or its position if it has no path.
    QString place() const;
    /// Returns the position of the element among its siblings.
    int position() const;
    /// Returns the number of ancestors; 0 at the top level.
    int depth() const;
};

using TreeElements = std::vector<TreeElement>;

/// Returns "node", "selection", "unknown" or "no object".
QString toText(TreeElement::Kind kind);

/// Returns the number of descendants of an element, at every level.
int countBelow(const TreeElement& element);

/// Returns a copy of a value without the names that handlers stamp into the selections in it, at every level.
QJsonValue withoutStamps(const QJsonValue& value);

/// Returns the tree of a manifest. Cost: n log n in the number of siblings.
TreeElements treeOf(const QJsonArray& manifest);

/// Returns the manifest of a tree. The items share the data of the elements.
QJsonArray manifestOf(const TreeElements& elements);

/**
 * Returns the element that a path leads to; null if there is none.
 *
 * @param emptyNames Qt::SkipEmptyParts finds what queries find. Qt::KeepEmptyParts finds what edits find: an empty name
 *                   in the path is looked up like any other, and if the last name is not found, the whole path is
 *                   looked up as a name among the same siblings.
 */
const TreeElement* findElement(const TreeElements& elements, const QString& path, Qt::SplitBehavior emptyNames);

/// The result of scanning a folder.
struct FolderScan {
    /// The reason why the scan was given up, after the path of the entry, relative to the scanned folder. There are no
    /// elements in that case. Null if the scan was not given up.
    QString refusal;
    /// Whether there is nothing to create a manifest from: the folder is missing, unreadable or without visible
    /// entries.
    bool isEmpty = false;
    /// Whether every description could be opened and every folder could be read to its end. If not, there is a remark
    /// with isDamage for each exception.
    bool isWhole = true;
    TreeElements elements;
    /// All remarks, in the order in which the creator would log them. Some are about folders that are not in the tree.
    QVector<Remark> remarks;
};

/**
 * Reads a folder as ConfigurationManifestCreator::create2() does with the same arguments, but writes nothing.
 * manifestOf() of the elements is the manifest that the creator would write.
 *
 * Gives up at two kinds of entries, because the creator could take very long over them or never end: a folder that is
 * reached again through a link below it, and a description that is a device, a pipe or a socket. They are recognised
 * before anything in them is read.
 *
 * Replaces the message handler of the process and takes all messages for those of the library, so no other thread
 * should log meanwhile. If the library logs messages about the entries of a folder, these entries are read twice.
 */
FolderScan scanFolder(const QString& folder, const QString& scheme);

/// Returns the number of the error that keeps a folder from being listed completely; 0 if there is none.
int errorOfListing(const QString& folder);

/// Returns the suffix of the description files that a scheme collects.
QString descriptionSuffix(const QString& scheme);

/// An entry on which scanFolder() gives up.
struct Refusal {
    /// The path, relative to the scanned folder.
    QString path;
    /// The reason, as the rest of a sentence that begins with the path: "is a pipe".
    QString reason;
};

/**
 * Reads a folder as scanFolder() does, but does not give up. Leaves out the refused entries with everything below them,
 * and appends them to `refusals`. Reads every entry once and drops the messages of the library. So remarks, and
 * isWhole, are only about folders that cannot be listed.
 */
FolderScan scanWithoutRefused(const QString& folder, const QString& scheme, QVector<Refusal>& refusals);

/// Calls a function, and drops all messages that are logged during the call.
void callSilently(const std::function<void()>& function);
