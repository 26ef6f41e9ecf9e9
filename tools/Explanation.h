#pragma once

#include "Tree.h"

#include <QtCore/QString>
#include <QtCore/QVector>

#include <deque>

/// What became of an entry of a folder.
enum class Fate {
    Selection,
    Node,
    /// It describes the folder that it lies in.
    Description,
    Absent,
};

/// "selection", "node", "description" or "absent".
QString toText(Fate fate);

/// Why an entry is not in the manifest.
enum class Absence {
    /// It is there, or describes its folder.
    None,
    Hidden,
    OtherSuffix,
    /// It would be in the manifest with a suffix in other letters or under another scheme, or would describe its
    /// folder.
    Almost,
    /// A folder without a selection at any level.
    NoSelection,
    Unreadable,
    DanglingLink,
    LoopingLink,
    /// A device, a pipe or a socket.
    NoFile,
    NoText,
    Manifest,
    /// A description of the scanned folder, which is no element.
    NoElement,
    /// A folder around it is not read.
    NotReached,
    /// It came or went while the folder was read.
    Changed,
};

/// The word for a reason, which never changes: "hidden", "other-suffix", "almost", "no-selection", "unreadable",
/// "dangling-link", "looping-link", "no-file", "no-text", "manifest", "no-element", "not-reached", "changed". Null
/// for none.
QString toText(Absence absence);

/// A key of a description or of the element that was made from it.
struct KeyNote {
    QString key;
    /// What else there is to say: "is a number, not a string". Null where the description has no such key or, of an
    /// ignored one, the element never has.
    QString note;
};

using KeyNotes = QVector<KeyNote>;

/// What is wrong with a description file.
struct Damage {
    /// Null when nothing is.
    QString text;
    /// Where the parser gave up, the first is 1, with characters for columns; 0 where it is not about that.
    int line = 0;
    int column = 0;
};

/// An entry of a scanned folder, at any level, with what became of it and why.
struct EntryExplanation {
    /// Relative to the scanned folder. Bytes that are no text are written like "\xff".
    QString path;
    /// 0 in the scanned folder.
    int depth = 0;
    Fate fate = Fate::Absent;
    Absence absence = Absence::None;
    /// Why it is not in the manifest or, of a description of a folder, what it describes.
    QString reason;
    /// About this file, and of a folder whose description is not a file, about that.
    Damage damage;

    // The rest is said of selections and nodes.

    /// The path under which queries and edits find it; null when there is none.
    QString instancePath;
    /// Why there is none.
    QString unreachable;
    QString name;
    QString label;
    /// Among its siblings in the manifest.
    int position = 0;
    bool isHidden = false;
    /// -1 without one.
    int displayPosition = -1;
    bool hasDisplayPosition = false;
    /// The description that it was made from, relative to the scanned folder; null when there is none.
    QString description;
    /// Whether that was an object, which the element was made from.
    bool isDescribed = false;
    /// Keys of the description that are in the element as they are, or that decide about its place.
    KeyNotes taken;
    /// Keys of the element whose value the description could have given.
    KeyNotes defaulted;
    /// Keys of the description that are not in the element, or are there with a value that no description can change.
    KeyNotes ignored;
};

/// What became of everything in a folder.
struct FolderExplanation {
    /// Every entry at every level: the description of a folder first, then its elements in the order of the manifest,
    /// then the rest by name; behind a folder what is in it.
    std::deque<EntryExplanation> entries;
    /// Why no manifest of the folder can be created. Everything is explained as if these entries were not there.
    QVector<Refusal> refusals;
    /// Whether no manifest is created, since the folder has no visible entries.
    bool isEmpty = false;
};

/**
 * Explains a folder as scanFolder() reads it. Which keys were taken is found by a comparison of the descriptions with
 * the elements that were made from them.
 *
 * Reads every folder and every description once more than the scan. While it runs, no other thread should log.
 */
FolderExplanation explainFolder(const QString& folder, const QString& scheme);

/// Position of the entry with a path; -1 when there is none.
int entryAt(const FolderExplanation& explanation, const QString& path);

/// Position of the entry that became the element with an instance path; -1 when there is none.
int entryOfInstance(const FolderExplanation& explanation, const QString& instancePath);

/// Position behind the last entry that lies in the one at a position.
int endOfEntry(const FolderExplanation& explanation, int position);

/// How far an instance path that leads nowhere leads.
struct DeadEnd {
    /// The instance path of the last element on the way; null when the way ends at the top level.
    QString reached;
    /// The name that there is not below it.
    QString missing;
    /// Entries of that name in the folder of the last element.
    QVector<int> namesakes;
    /// Without any, the instance path below it, or the path of the entry there, whose name comes nearest; null when
    /// none is near.
    QString nearest;
};

DeadEnd deadEndOf(const FolderExplanation& explanation, const QString& instancePath);
