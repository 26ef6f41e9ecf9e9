#pragma once

#include <cerrno>
#include <string>
#include <vector>

/**
 * One kind of call that fails from its `first` to its `last` occurrence, counted from 1.
 *
 * Calls are named "open" (of an existing file), "make" (of a new one), "read", "write", "sync", "close", "link",
 * "rename", "unlink", "readlink", "resolve" (of all links in a path), "stat" (of a path), "fstat" (of an open file),
 * "access", "chmod", "chown", "attribute" (an extended one), "seek", "list" (of a folder), "next" (entry of it), "end"
 * (of the listing) and "lock". A name can stand for several functions of the C library; FaultyCalls.cpp replaces them.
 */
struct Fault {
    enum Special {
        /// A read or write transfers only half of the data.
        Short = -1,
        /// The process is killed before the call.
        Killed = -2,
        /// The file is removed before the call.
        Vanished = -3,
        /// stat() finds a file that has just been replaced: its link count is 0.
        Replaced = -4,
        /// Before the call, the file of that name with ".exchange" appended is renamed to it.
        Exchanged = -5,
        /// The process stops itself before the call, and makes the call when it is continued.
        Stopped = -6,
    };

    const char* call;
    int first;
    int last;
    /// The value for errno, or one of the constants above.
    int error;
};

/// The faults that simulate a file system without unnamed temporary files; none if `hasUnnamedFiles` is true.
inline std::vector<Fault> faultsOfTheFileSystem(bool hasUnnamedFiles)
{
    return hasUnnamedFiles ? std::vector<Fault>() : std::vector<Fault> {{"make", 1, 1, EOPNOTSUPP}};
}

/**
 * Makes calls to the C library fail within its lifetime, on `folder` and everything below it. At most one object may
 * exist at a time, and only one thread may run.
 *
 * It takes effect in programs that are linked to it, and in those that it is preloaded into with the variable
 * FAULTY_CALLS: with "rename 5" every rename fails with error number 5, with "rename 5 2 3 /folder" the second and the
 * third one in that folder.
 */
class __attribute__((visibility("default"))) FaultyCalls {
public:
    struct Call {
        std::string name;
        /// The path of the file. For an entry of a listing, the folder's path with the entry's name. For an unnamed
        /// file, the path that /proc shows.
        std::string path;
        /// -1 if the call failed; otherwise, for a read or write, the number of bytes.
        long result;
        /// The error of the Fault that applied to the call; 0 if none did.
        int error;
    };

    FaultyCalls(const std::string& folder, const std::vector<Fault>& faults);
    ~FaultyCalls();
    FaultyCalls(const FaultyCalls&) = delete;
    FaultyCalls& operator=(const FaultyCalls&) = delete;

    /// The calls so far, in order.
    const std::vector<Call>& made() const;
};
