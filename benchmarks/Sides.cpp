#include "Sides.h"

#include <QtCore/QFile>
#include <QtCore/QJsonDocument>
#include <QtCore/QStringBuilder>

namespace {

QJsonArray parsed(const QByteArray& content)
{
    return QJsonDocument::fromJson(content).array();
}

QJsonArray contentOf(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? parsed(file.readAll()) : QJsonArray();
}

} // namespace

Files::Files(const Tree& tree, const char* name)
    : folder(tree.folder())
    , created(tree.manifestPath())
    , path(created % QLatin1Char('.') % QLatin1String(name))
{
    QFile::remove(path);
    QFile::copy(created, path);
}

QJsonValue Files::outcome(const QJsonArray& manifest, const QJsonValue& result) const
{
    return QJsonArray {manifest, contentOf(path), contentOf(created), result};
}

QJsonValue WithQt::outcome(const QJsonArray& manifest) const
{
    return Files::outcome(
        walked.isNull() ? manifest : walked.toArray(), names.isEmpty() ? result : QJsonArray::fromStringList(names));
}

Library::Library(const Tree& tree)
    : WithQt(tree, name)
{
    handler.emplace(path, QString(), QString());
    handler->parseManifestFile();
}

QJsonValue Library::outcome() const
{
    return WithQt::outcome(handler->getManifestJsonArray());
}

PlainQt::PlainQt(const Tree& tree, const char* sideName)
    : WithQt(tree, sideName)
    , manifest(parsed(tree.manifest()))
{
}

QJsonValue PlainQt::outcome() const
{
    return WithQt::outcome(manifest);
}

Parsing::Parsing(const Tree& tree)
    : Files(tree, name)
{
}

QJsonValue Parsing::outcome() const
{
    return QJsonValue::Undefined;
}

Unsynced::Unsynced(const Tree& tree)
    : PlainQt(tree, name)
{
}

System::System(const Tree& tree)
    : Files(tree, name)
    , content(tree.manifest().toStdString())
{
}

QJsonValue System::outcome() const
{
    return QJsonValue::Undefined;
}

Nlohmann::Nlohmann(const Tree& tree)
    : Files(tree, name)
    , manifest(NlohmannPeer::load(tree.manifestPath().toStdString(), {}, {}))
{
}

QJsonValue Nlohmann::outcome() const
{
    const NlohmannPeer::Json all = {manifest, result};
    const QJsonArray array = parsed(QByteArray::fromStdString(all.dump()));
    return Files::outcome(array.at(0).toArray(), array.at(1));
}

Python::Python(const Tree& tree)
    : Files(tree, name)
{
    run({QStringLiteral("load"), path, QString(), QString()});
}

QJsonValue Python::outcome()
{
    const QString told = path % QLatin1String(".told");
    run({QStringLiteral("tell"), told});
    const QJsonArray array = contentOf(told);
    return Files::outcome(array.at(0).toArray(), array.at(1));
}

void Python::run(const QJsonArray& command)
{
    time += peer.run(command);
}
