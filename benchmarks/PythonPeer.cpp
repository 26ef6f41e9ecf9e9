#include "PythonPeer.h"

#include <QtCore/QFile>
#include <QtCore/QJsonDocument>

bool PythonPeer::isAvailable()
{
    return QFile::exists(QStringLiteral(PEER)) && QFile::exists(QStringLiteral("/usr/bin/python3"));
}

PythonPeer::~PythonPeer()
{
    process.closeWriteChannel();
    process.waitForFinished();
}

double PythonPeer::run(const QJsonArray& nameAndArguments)
{
    if (process.state() == QProcess::NotRunning) {
        process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        process.start(QStringLiteral(PEER), QStringList());
    }
    process.write(QJsonDocument(nameAndArguments).toJson(QJsonDocument::Compact) + '\n');
    while (!process.canReadLine()) {
        if (!process.waitForReadyRead(-1)) {
            qFatal("the Python process has ended: %s", qPrintable(process.errorString()));
        }
    }
    return process.readLine().trimmed().toDouble();
}
