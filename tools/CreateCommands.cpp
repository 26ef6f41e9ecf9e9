#include "Command.h"
#include "ConfigurationAndProcessDataDefinitions.h"
#include "ConfigurationManifestCreator.h"
#include "ManifestFile.h"
#include "Output.h"
#include "PropertyManagerConst.h"

#include <QtCore/QCommandLineParser>
#include <QtCore/QDir>
#include <QtCore/QFileInfo>

namespace {

// Why there is nothing to write in a folder; null when there is something.
QString reasonForNothing(const QString& folder)
{
    const QFileInfo info(folder);
    if (!info.exists()) {
        return QStringLiteral("there is no such folder");
    }
    if (!info.isDir()) {
        return QStringLiteral("it is not a folder");
    }
    if (!info.isReadable() || !info.isExecutable()) {
        return QStringLiteral("the folder is not readable");
    }
    if (QDir(folder).isEmpty(QDir::Dirs | QDir::Files | QDir::NoDotAndDotDot)) {
        return QStringLiteral("the folder holds no visible entry");
    }
    return {};
}

// Instance names are what is left of a path without the scanned folder, wherever its name occurs in it. Only of a whole
// path that does not end with "/" is that what everybody expects.
QString wholePath(const QString& folder)
{
    const QString canonical = QFileInfo(folder).canonicalFilePath();
    return canonical.isEmpty() ? folder : canonical;
}

template <typename Create>
ExitStatus createManifest(const QString& folder, const QString& scheme, Create create)
{
    const QString path = folder % QLatin1Char('/') % scheme % QLatin1String(".manifest.json");
    // Behind a link ".." does not lead back; then the path is shown as it is.
    const bool isSimple = wholePath(QDir::cleanPath(folder)) == wholePath(folder);
    const QString shownPath = isSimple ? QDir::cleanPath(path) : path;
    const ReplacementCheck check(path);
    const bool created = create();
    if (!created || !check.wasReplaced()) {
        const QString reason = created ? reasonForNothing(folder) : QString();
        complain(reason.isNull()
                ? QString(QLatin1String("could not write ") % printable(shownPath))
                : QString(QLatin1String("nothing to write in ") % printable(folder) % QLatin1String(": ") % reason));
        return Failed;
    }
    QJsonArray manifest;
    QString problem;
    if (!readManifest(path, manifest, problem)) {
        complain(problem);
        return Failed;
    }
    print(printable(shownPath));
    print(toText(countElements(manifest)));
    return Done;
}

ExitStatus create(const QCommandLineParser& arguments)
{
    const QString base = arguments.positionalArguments().constFirst();
    return createManifest(base % QLatin1Char('/') % PropertyManagerConst::getConfigurationFolderName(),
        ConfigurationAndProcessDataDefinitions::getSelectorUrlSchemeConfiguration(),
        [&] { return ConfigurationManifestCreator().create(wholePath(base)); });
}

ExitStatus createFolder(const QCommandLineParser& arguments)
{
    const QString folder = arguments.positionalArguments().constFirst();
    const QString scheme = arguments.isSet(QStringLiteral("scheme"))
        ? arguments.value(QStringLiteral("scheme"))
        : ConfigurationAndProcessDataDefinitions::getSelectorUrlSchemeConfiguration();
    return createManifest(
        folder, scheme, [&] { return ConfigurationManifestCreator().create2(wholePath(folder), scheme); });
}

} // namespace

QList<Command> createCommands()
{
    const QCommandLineOption scheme(QStringLiteral("scheme"),
        QStringLiteral("Write SCHEME.manifest.json. The configuration scheme, which is the default, collects "
                       "configuration files, any other one process files."),
        QStringLiteral("SCHEME"));
    return {
        {QStringLiteral("create"), QStringLiteral("BASE"),
            QStringLiteral("Create the manifest of the configuration folder below BASE."), {}, create},
        {QStringLiteral("create-folder"), QStringLiteral("FOLDER"), QStringLiteral("Create the manifest of FOLDER."),
            {scheme}, createFolder},
    };
}
