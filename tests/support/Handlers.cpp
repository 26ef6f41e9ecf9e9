#include "Handlers.h"

#include "Files.h"
#include "Literals.h"

HandlerWithoutFile::HandlerWithoutFile(const QJsonArray& manifest)
    : ConfigurationManifestHandler(QString(), QString(), QString())
{
    setManifestJsonArray(manifest);
}

ManifestFile::ManifestFile(const QByteArray& content)
{
    writeFile(path(), content);
}

QString ManifestFile::folder() const
{
    return directory.path();
}

QString ManifestFile::path() const
{
    return directory.filePath(u"manifest.json"_qs);
}

QByteArray ManifestFile::content() const
{
    return readFile(path());
}

bool ManifestFile::isAlone() const
{
    return everythingIn(folder()) == QStringList(u"manifest.json"_qs);
}
