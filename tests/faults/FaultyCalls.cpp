#include "FaultyCalls.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdarg>
#include <cstdlib>
#include <cstring>
#include <map>
#include <memory>
#include <sstream>

#include <dirent.h>
#include <dlfcn.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

#define EXPORTED __attribute__((visibility("default")))

namespace {

struct Plan {
    std::string folder;
    std::vector<Fault> faults;
    std::map<std::string, int> counts;
    std::vector<FaultyCalls::Call> calls;
};

Plan* planOfTheEnvironment()
{
    const char* const text = getenv("FAULTY_CALLS");
    if (!text) {
        return nullptr;
    }
    static std::string call;
    int error = 0;
    int first = 1;
    int last = INT32_MAX;
    std::string folder;
    std::istringstream words(text);
    words >> call >> error;
    if (words >> first >> last) {
        words >> std::ws;
        std::getline(words, folder);
    }
    static Plan plan {folder, {{call.c_str(), first, last, error}}, {}, {}};
    return &plan;
}

Plan*& currentPlan()
{
    static Plan* plan = planOfTheEnvironment();
    return plan;
}

bool concerns(const Plan& plan, const std::string& path)
{
    const std::size_t length = plan.folder.size();
    return path.compare(0, length, plan.folder) == 0 && (path.size() == length || length == 0 || path[length] == '/');
}

template <typename Function>
Function* next(Function*, const char* name)
{
    Function* function = nullptr;
    *reinterpret_cast<void**>(&function) = dlsym(RTLD_NEXT, name);
    return function;
}

// The C library's own function, which the function of the same name in this file replaces.
#define NEXT(function)                                                                                                 \
    ([] {                                                                                                              \
        static const auto found = next(&::function, #function);                                                        \
        return found;                                                                                                  \
    }())

std::string pathOf(int file)
{
    char path[PATH_MAX];
    const std::string descriptor = "/proc/self/fd/" + std::to_string(file);
    const ssize_t length = NEXT(readlink)(descriptor.c_str(), path, sizeof path);
    return {path, length < 0 ? 0 : static_cast<std::size_t>(length)};
}

std::string pathOf(DIR* folder)
{
    return pathOf(dirfd(folder));
}

/// A call that is about to be made. Decides whether it fails on purpose, and records its result.
class Attempt {
public:
    template <typename Subject>
    Attempt(const char* name, const Subject& subject)
        : plan(currentPlan())
    {
        if (!plan) {
            return;
        }
        const int errorBefore = errno;
        // Look up the path of a descriptor only if it is needed.
        if constexpr (std::is_convertible_v<Subject, std::string>) {
            path = subject;
        } else {
            path = pathOf(subject);
        }
        errno = errorBefore;
        if (!concerns(*plan, path)) {
            plan = nullptr;
            return;
        }
        call = name;
        const int number = ++plan->counts[call];
        for (const Fault& fault : plan->faults) {
            if (fault.call == call && fault.first <= number && number <= fault.last) {
                error = fault.error;
            }
        }
        if (error == Fault::Killed) {
            kill(getpid(), SIGKILL);
        } else if (error == Fault::Stopped) {
            kill(getpid(), SIGSTOP);
        } else if (error == Fault::Vanished) {
            unlinkat(AT_FDCWD, path.c_str(), 0);
        } else if (error == Fault::Exchanged) {
            renameat(AT_FDCWD, (path + ".exchange").c_str(), AT_FDCWD, path.c_str());
        }
    }

    bool fails() const
    {
        return error > 0;
    }

    bool is(Fault::Special special) const
    {
        return error == special;
    }

    void append(const std::string& name)
    {
        path += '/' + name;
    }

    template <typename Result>
    Result failed(Result result)
    {
        errno = error;
        record(-1);
        errno = error;
        return result;
    }

    template <typename Result>
    Result done(Result result)
    {
        const int errorOfTheCall = errno;
        if constexpr (std::is_pointer_v<Result>) {
            record(result ? 0 : -1);
        } else {
            record(static_cast<long>(result));
        }
        errno = errorOfTheCall;
        return result;
    }

private:
    void record(long result)
    {
        if (plan) {
            plan->calls.push_back({call, path, result, error});
        }
    }

    Plan* plan;
    std::string call;
    std::string path;
    int error = 0;
};

template <typename Subject, typename Function, typename... Arguments>
auto attempt(const char* name, const Subject& subject, Function function, Arguments... arguments)
{
    Attempt call(name, subject);
    return call.fails() ? call.failed(decltype(function(arguments...))(-1)) : call.done(function(arguments...));
}

template <typename Function, typename Buffer>
ssize_t transfer(const char* name, Function function, int file, Buffer buffer, std::size_t size)
{
    Attempt call(name, file);
    if (call.fails()) {
        return call.failed<ssize_t>(-1);
    }
    return call.done(function(file, buffer, call.is(Fault::Short) ? (size + 1) / 2 : size));
}

bool makesFile(int flags)
{
    return (flags & O_CREAT) != 0 || (flags & O_TMPFILE) == O_TMPFILE;
}

mode_t modeOf(int flags, va_list arguments)
{
    return makesFile(flags) ? va_arg(arguments, mode_t) : 0;
}

template <typename Function>
int openFile(Function function, const char* path, int flags, mode_t mode)
{
    return attempt(makesFile(flags) ? "make" : "open", path, function, path, flags, mode);
}

template <typename Entry, typename Function>
Entry* nextEntry(Function function, DIR* folder)
{
    Attempt call("next", folder);
    if (call.fails()) {
        return call.failed<Entry*>(nullptr);
    }
    Entry* const entry = function(folder);
    if (entry) {
        call.append(entry->d_name);
    }
    return call.done(entry);
}

} // namespace

FaultyCalls::FaultyCalls(const std::string& folder, const std::vector<Fault>& faults)
{
    currentPlan() = new Plan {folder, faults, {}, {}};
}

FaultyCalls::~FaultyCalls()
{
    delete currentPlan();
    currentPlan() = nullptr;
}

const std::vector<FaultyCalls::Call>& FaultyCalls::made() const
{
    return currentPlan()->calls;
}

// These functions replace those of the C library.
extern "C" {

EXPORTED int open(const char* path, int flags, ...)
{
    va_list arguments;
    va_start(arguments, flags);
    const mode_t mode = modeOf(flags, arguments);
    va_end(arguments);
    return openFile(NEXT(open), path, flags, mode);
}

EXPORTED int open64(const char* path, int flags, ...)
{
    va_list arguments;
    va_start(arguments, flags);
    const mode_t mode = modeOf(flags, arguments);
    va_end(arguments);
    return openFile(NEXT(open64), path, flags, mode);
}

EXPORTED ssize_t read(int file, void* buffer, size_t size)
{
    return transfer("read", NEXT(read), file, buffer, size);
}

EXPORTED ssize_t write(int file, const void* buffer, size_t size)
{
    return transfer("write", NEXT(write), file, buffer, size);
}

EXPORTED int fsync(int file)
{
    return attempt("sync", file, NEXT(fsync), file);
}

EXPORTED int fdatasync(int file)
{
    return attempt("sync", file, NEXT(fdatasync), file);
}

EXPORTED int close(int file)
{
    Attempt call("close", file);
    // The system closes the file even if close() reports an error.
    const int result = NEXT(close)(file);
    return call.fails() ? call.failed(-1) : call.done(result);
}

EXPORTED int flock(int file, int operation) noexcept
{
    return attempt("lock", file, NEXT(flock), file, operation);
}

EXPORTED int link(const char* from, const char* to) noexcept
{
    return attempt("link", to, NEXT(link), from, to);
}

EXPORTED int linkat(int fromFolder, const char* from, int toFolder, const char* to, int flags) noexcept
{
    return attempt("link", to, NEXT(linkat), fromFolder, from, toFolder, to, flags);
}

EXPORTED int rename(const char* from, const char* to) noexcept
{
    return attempt("rename", to, NEXT(rename), from, to);
}

EXPORTED int renameat2(int fromFolder, const char* from, int toFolder, const char* to, unsigned flags) noexcept
{
    return attempt("rename", to, NEXT(renameat2), fromFolder, from, toFolder, to, flags);
}

EXPORTED int unlink(const char* path) noexcept
{
    return attempt("unlink", path, NEXT(unlink), path);
}

EXPORTED ssize_t readlink(const char* path, char* target, size_t size) noexcept
{
    return attempt("readlink", path, NEXT(readlink), path, target, size);
}

EXPORTED int stat64(const char* path, struct stat64* status) noexcept
{
    return attempt("stat", path, NEXT(stat64), path, status);
}

EXPORTED int lstat64(const char* path, struct stat64* status) noexcept
{
    return attempt("stat", path, NEXT(lstat64), path, status);
}

EXPORTED int fstat64(int file, struct stat64* status) noexcept
{
    return attempt("fstat", file, NEXT(fstat64), file, status);
}

EXPORTED int statx(int folder, const char* path, int flags, unsigned mask, struct statx* status) noexcept
{
    const auto look = [&](const char* name, auto subject) {
        Attempt call(name, subject);
        if (call.fails()) {
            return call.failed(-1);
        }
        const int result = NEXT(statx)(folder, path, flags, mask, status);
        if (result == 0 && call.is(Fault::Replaced)) {
            status->stx_nlink = 0;
        }
        return call.done(result);
    };
    return *path ? look("stat", path) : look("fstat", folder);
}

EXPORTED int access(const char* path, int mode) noexcept
{
    return attempt("access", path, NEXT(access), path, mode);
}

EXPORTED int fchmod(int file, mode_t mode) noexcept
{
    return attempt("chmod", file, NEXT(fchmod), file, mode);
}

EXPORTED int fchown(int file, uid_t owner, gid_t group) noexcept
{
    return attempt("chown", file, NEXT(fchown), file, owner, group);
}

EXPORTED ssize_t getxattr(const char* path, const char* name, void* value, size_t size) noexcept
{
    return attempt("attribute", path, NEXT(getxattr), path, name, value, size);
}

EXPORTED ssize_t fgetxattr(int file, const char* name, void* value, size_t size) noexcept
{
    return attempt("attribute", file, NEXT(fgetxattr), file, name, value, size);
}

EXPORTED char* realpath(const char* path, char* resolved) noexcept
{
    Attempt call("resolve", path);
    return call.fails() ? call.failed<char*>(nullptr) : call.done(NEXT(realpath)(path, resolved));
}

EXPORTED off64_t lseek64(int file, off64_t offset, int whence) noexcept
{
    return attempt("seek", file, NEXT(lseek64), file, offset, whence);
}

EXPORTED DIR* opendir(const char* path)
{
    Attempt call("list", path);
    return call.fails() ? call.failed<DIR*>(nullptr) : call.done(NEXT(opendir)(path));
}

EXPORTED struct dirent* readdir(DIR* folder)
{
    return nextEntry<struct dirent>(NEXT(readdir), folder);
}

EXPORTED struct dirent64* readdir64(DIR* folder)
{
    return nextEntry<struct dirent64>(NEXT(readdir64), folder);
}

EXPORTED int closedir(DIR* folder)
{
    Attempt call("end", folder);
    const int result = NEXT(closedir)(folder);
    return call.fails() ? call.failed(-1) : call.done(result);
}
}
