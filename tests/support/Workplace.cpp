#include "Workplace.h"

#include "Literals.h"

#include <QtCore/QFile>

#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

QString Workplace::path(const QString& name) const
{
    return name.isEmpty() ? directory.path() : directory.filePath(name);
}

const Workplace& Workplace::write(const QString& name, const QJsonArray& manifest) const
{
    writeFile(path(name), compact(manifest));
    return *this;
}

const Workplace& Workplace::describe(const QString& name, int position) const
{
    writeFile(path(name), QByteArray(R"({"hide":false,"displayPosition":)") + QByteArray::number(position) + '}');
    return *this;
}

QByteArray Workplace::content(const QString& name) const
{
    return readFile(path(name));
}

Program Workplace::program() const
{
    return Program().in(path());
}

ProgramRun Workplace::run(const QString& commandLine) const
{
    return program().run(commandLine);
}

ProgramRun Workplace::run(const QStringList& arguments) const
{
    return program().run(arguments);
}

LoneManifest::LoneManifest(const QByteArray& content)
    : ManifestFile(content)
    , original(stateOf(path()))
{
}

Program LoneManifest::program() const
{
    return Program().in(folder());
}

ProgramRun LoneManifest::run(const QString& commandLine) const
{
    return program().run(commandLine);
}

ProgramRun LoneManifest::run(const QStringList& arguments) const
{
    return program().run(arguments);
}

bool LoneManifest::isUntouched() const
{
    return isAlone() && stateOf(path()) == original;
}

bool LoneManifest::isReplaced() const
{
    return isAlone() && stateOf(path()).inode != original.inode;
}

QString editOf(const QString& path)
{
    return u"set %1 top key value --save"_qs.arg(path);
}

QByteArray afterEdit(const QString& value)
{
    QJsonArray manifest = saveRuleManifest();
    manifest.replace(0, with(manifest.at(0).toObject(), u"key"_qs, value));
    return compact(manifest);
}

void makeLink(const QString& target, const QString& path)
{
    if (!QFile::link(target, path)) {
        qFatal("cannot link %s", qPrintable(path));
    }
}

void makePipe(const QString& path)
{
    if (mkfifo(QFile::encodeName(path).constData(), 0600) != 0) {
        qFatal("cannot make the pipe %s", qPrintable(path));
    }
}

void makeSocket(const QString& path)
{
    const int file = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    qstrncpy(address.sun_path, QFile::encodeName(path).constData(), sizeof address.sun_path);
    if (bind(file, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
        qFatal("cannot make the socket %s", qPrintable(path));
    }
    close(file);
}
