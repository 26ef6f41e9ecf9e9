#pragma once

#include <QtCore/QtGlobal>

#include <csignal>

/// Blocks the signals that end a program (SIGINT, SIGTERM, SIGHUP, SIGQUIT) during its lifetime. They are delivered
/// afterwards.
class HeldSignals {
public:
    HeldSignals()
    {
        sigset_t signals;
        sigemptyset(&signals);
        for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGQUIT}) {
            sigaddset(&signals, signal);
        }
        sigprocmask(SIG_BLOCK, &signals, &before);
    }
    ~HeldSignals()
    {
        sigprocmask(SIG_SETMASK, &before, nullptr);
    }
    Q_DISABLE_COPY(HeldSignals)

private:
    sigset_t before;
};
