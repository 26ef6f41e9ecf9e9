#pragma once

#include <QtCore/QJsonArray>
#include <QtCore/QProcess>

/// The library's jobs, written in Python: a process that does one job after the other and measures its own time.
class PythonPeer {
public:
    /// Returns false on a device without Python or without this source tree.
    static bool isAvailable();

    ~PythonPeer();

    /// Calls a function in the process and returns the nanoseconds that it took. The first call starts the process.
    double run(const QJsonArray& nameAndArguments);

private:
    QProcess process;
};
