#include "PythonPeer.h"

#include <QtCore/QJsonArray>
#include <QtCore/QJsonDocument>

PythonPeer::~PythonPeer()
{
    process.closeWriteChannel();
    process.waitForFinished();
}

double PythonPeer::run(const QStringList& command)
{
    if (process.state() == QProcess::NotRunning) {
        process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        process.start(QStringLiteral(PEER), QStringList());
    }
    process.write(QJsonDocument(QJsonArray::fromStringList(command)).toJson(QJsonDocument::Compact) + '\n');
    while (!process.canReadLine()) {
        if (!process.waitForReadyRead(-1)) {
            qFatal("the peer has ended: %s", qPrintable(process.errorString()));
        }
    }
    return process.readLine().trimmed().toDouble();
}
