// For tests in an emulator that start processes. QProcess checks whether the kernel supports process descriptors. The
// kernel does but the emulator does not, so this function makes the check fail.

#include <cerrno>
#include <cstdarg>

#include <dlfcn.h>
#include <sys/syscall.h>
#include <sys/wait.h>

extern "C" __attribute__((visibility("default"))) long syscall(long number, ...)
{
    va_list list;
    va_start(list, number);
    long arguments[6];
    for (long& argument : arguments) {
        argument = va_arg(list, long);
    }
    va_end(list);
    if (number == SYS_waitid && arguments[0] == P_PIDFD) {
        errno = EINVAL;
        return -1;
    }
    static const auto inLibc = reinterpret_cast<decltype(&syscall)>(dlsym(RTLD_NEXT, "syscall"));
    return inLibc(number, arguments[0], arguments[1], arguments[2], arguments[3], arguments[4], arguments[5]);
}
