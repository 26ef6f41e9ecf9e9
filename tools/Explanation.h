#pragma once

#include "Tree.h"

#include <QtCore/QString>
#include <QtCore/QVector>

#include <deque>

/// The part that an entry of a folder plays in the manifest.
enum class Fate {
    Selection,
    Node,
    /// The entry describes the folder that contains it.
    Description,
    Absent,
};

/// Returns "selection", "node", "description" or "absent".
QString toText(Fate fate);

/// The reason why an entry is not in the manifest.
enum class Absence {
    /// The entry is in the manifest, or it describes its folder.
    None,
    Hidden,
    OtherSuffix,
    /// The name is nearly a valid one. It has the suffix of the other scheme, or only the case of the suffix, or of the
    /// name of a folder description, is wrong.
    Almost,
    /// A folder that contains no selection at any level.
    NoSelection,
    Unreadable,
    DanglingLink,
    LoopingLink,
    /// A device, a pipe or a socket.
    NoFile,
    /// The name is not valid text.
    NoText,
    /// A manifest, or a file that a save of a manifest has kept or left behind.
    Manifest,
    /// The description of the scanned folder itself, which is not an element.
    NoElement,
    /// A folder above the entry is not read.
    NotReached,
    /// The entry has appeared, disappeared or changed while the folder was read.
    Changed,
};

/// Returns the fixed word for a reason: "hidden", "other-suffix", "almost", "no-selection", "unreadable",
/// "dangling-link", "looping-link", "no-file", "no-text", "manifest", "no-element", "not-reached" or "changed". Returns
/// a null string for Absence::None.
QString toText(Absence absence);

/// A key of a description, or of the element that was made from the description.
struct KeyNote {
    QString key;
    /// The reason why the element does not have the described value, for example "is a number, not a string". For a
    /// display position that was converted to an integer, the result: "as 2". Null if the element has the described
    /// value, if the description does not have the key, or if elements never have it.
    QString note;
};

using KeyNotes = QVector<KeyNote>;

/// An error in a description file, or of a folder.
struct Damage {
    /// The error; null if there is none.
    QString text;
    /// The line of a parse error, from 1; 0 for any other error.
    int line = 0;
    /// The column of a parse error in characters, from 1; 0 for any other error.
    int column = 0;
};

/// An entry of a scanned folder, at any level, with its place in the manifest or the reason why it has none.
struct EntryExplanation {
    /// The path relative to the scanned folder. In a name that is not valid text, each byte other than printable ASCII
    /// is written as "\xff".
    QString path;
    /// The number of folders between the entry and the scanned folder.
    int depth = 0;
    Fate fate = Fate::Absent;
    Absence absence = Absence::None;
    /// For an absent entry, why it is not in the manifest. For a folder description, the folder that it describes.
    QString reason;
    /// For a file, the error in it. For a folder, the reason why the folder cannot be read, or that its description is
    /// not a file. For both, also that the description has changed since the scan.
    Damage damage;

    // The remaining fields are only set for selections and nodes.

    /// The instance path of the element; null if queries and edits cannot find it.
    QString instancePath;
    /// The reason why queries and edits cannot find the element; null if they can.
    QString unreachable;
    QString name;
    QString label;
    /// The position among the siblings in the manifest.
    int position = 0;
    bool isHidden = false;
    /// The display position; -1 if the description gives none.
    int displayPosition = -1;
    bool hasDisplayPosition = false;
    /// The path of the element's description file, relative to the scanned folder; null if there is none.
    QString description;
    /// Whether the description could be read and is a JSON object.
    bool isDescribed = false;
    /// Keys of the description that the element has with the described value, and the key of the display position if it
    /// was used.
    KeyNotes taken;
    /// Keys that a description can set, but this one does not set to a usable value, so they have their default.
    KeyNotes defaulted;
    /// Keys of the description that the element does not have, or has with another value, which no description can
    /// change.
    KeyNotes ignored;
};

/// The explanation of all entries of a folder.
struct FolderExplanation {
    /// The entries of all levels. A folder's description comes first, then its elements in the order of the manifest,
    /// then the other entries by name. Each folder is followed directly by its contents.
    std::deque<EntryExplanation> entries;
    /// The entries that keep a manifest from being created. They are left out for the explanation of all other entries.
    QVector<Refusal> refusals;
    /// Whether no manifest is created because the folder has no visible entries.
    bool isEmpty = false;
};

/**
 * Explains for every entry of a folder whether and how it gets into the manifest, as scanFolder() reads the folder.
 *
 * To find out which keys were taken from a description, it is compared with the element that was made from it. So every
 * folder and every description is read once more after the scan. Messages of the library are suppressed by replacing
 * the message handler of the process, so no other thread should log meanwhile.
 */
FolderExplanation explainFolder(const QString& folder, const QString& scheme);

/// Returns the position of the entry with this path, relative to the scanned folder; -1 if there is none. Cost: linear
/// in the number of entries.
int entryAt(const FolderExplanation& explanation, const QString& path);

/// Returns the position of the entry whose element has this instance path; -1 if there is none. Empty names in the path
/// are ignored. Cost: linear in the number of entries.
int entryOfInstance(const FolderExplanation& explanation, const QString& instancePath);

/// Returns the position after the last entry below the one at `position`.
int endOfEntry(const FolderExplanation& explanation, int position);

/// The place where the look-up of an instance path fails.
struct DeadEnd {
    /// The instance path of the last element that was found; null if the first name was not found.
    QString reached;
    /// The name that was not found below `reached`.
    QString missing;
    /// The positions of entries in the folder of `reached` that have this name. A leading dot, everything from the next
    /// dot on, and case are ignored.
    QVector<int> namesakes;
    /// If there are no namesakes, the instance path of the child of `reached`, or the path of the entry in its folder,
    /// that has the most similar name. Null if no name is similar.
    QString nearest;
};

/// Returns how far an instance path leads that does not lead to an element.
DeadEnd deadEndOf(const FolderExplanation& explanation, const QString& instancePath);
