#pragma once

#include <QtCore/QtGlobal>

#include <cerrno>
#include <csignal>

#include <sys/types.h>
#include <sys/wait.h>
#include <unistd.h>

/// A child process that runs a function. The destructor kills the process if it has not ended.
class Process {
public:
    template <typename Function>
    explicit Process(const Function& function)
        : id(fork())
    {
        if (id == 0) {
            function();
            _exit(0);
        }
    }
    ~Process()
    {
        if (id > 0) {
            end();
        }
    }
    Q_DISABLE_COPY(Process)

    void end()
    {
        kill(id, SIGKILL);
        wait();
    }

    /// Waits until the process ends. Returns whether it exited with 0.
    bool wait()
    {
        int status = 0;
        while (waitpid(id, &status, 0) < 0 && errno == EINTR) { }
        id = -1;
        return WIFEXITED(status) && WEXITSTATUS(status) == 0;
    }

private:
    pid_t id;
};
