#pragma once

#include <QtCore/QJsonArray>
#include <QtCore/QProcess>

/// The library's jobs as somebody might do them in Python: a process that does one after the other and times itself.
class PythonPeer {
public:
    /// False on a device without Python or without this tree.
    static bool isAvailable();

    ~PythonPeer();

    /// Has a function of the process called, starting it for the first one. @return the nanoseconds that it took.
    double run(const QJsonArray& nameAndArguments);

private:
    QProcess process;
};
