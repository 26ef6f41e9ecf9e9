#pragma once

#include <QtCore/QProcess>
#include <QtCore/QStringList>

/// The library's jobs as somebody might do them in Python: a process that does one after the other and times itself.
class PythonPeer {
public:
    ~PythonPeer();

    /// Has a job done, starting the process for the first one. @return the nanoseconds that it took.
    double run(const QStringList& command);

private:
    QProcess process;
};
