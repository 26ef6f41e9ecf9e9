#include "OpenManifest.h"

#include "ManifestFile.h"
#include "Output.h"
#include "SystemInformationManagerRegistryDefinitions.h"

#include <QtCore/QCommandLineParser>
#include <QtCore/QJsonObject>

QList<QCommandLineOption> stampOptions()
{
    return {
        {QStringLiteral("module"), QStringLiteral("Stamp every selection with this module name."),
            QStringLiteral("NAME")},
        {QStringLiteral("object"), QStringLiteral("Stamp every selection with this object name."),
            QStringLiteral("NAME")},
    };
}

QList<QCommandLineOption> saveOptions()
{
    return stampOptions()
        + QList<QCommandLineOption> {
            {QStringLiteral("save"), QStringLiteral("Save the result. Without it the file stays as it is.")},
            {QStringLiteral("dry-run"), QStringLiteral("Print the manifest that would be saved, and save nothing.")},
        };
}

OpenManifest::OpenManifest(const QCommandLineParser& arguments)
    : openHandler(arguments.positionalArguments().constFirst(), arguments.value(QStringLiteral("module")),
        arguments.value(QStringLiteral("object")))
{
}

bool OpenManifest::load()
{
    openHandler.parseManifestFile();
    if (!openHandler.getManifestJsonArray().isEmpty()) {
        return true;
    }
    // Either it is empty, or it could not be loaded, which the handler only logs.
    QJsonArray manifest;
    QString problem;
    if (!readManifest(openHandler.getManifestFilePath(), manifest, problem)) {
        complain(problem);
        return false;
    }
    if (!manifest.isEmpty()) {
        complain(printable(openHandler.getManifestFilePath()) % QLatin1String(" has changed while it was read"));
        return false;
    }
    return true;
}

ConfigurationManifestHandler& OpenManifest::handler()
{
    return openHandler;
}

bool OpenManifest::leadsSomewhere(const QString& path, Qt::SplitBehavior emptyNames) const
{
    const QStringList names = path.split(QLatin1Char('/'), emptyNames);
    if (names.isEmpty()) {
        complain(QStringLiteral("PATH is empty"));
        return false;
    }
    QJsonArray siblings = openHandler.getManifestJsonArray();
    for (int level = 0; level < names.size(); ++level) {
        int index = -1;
        const QJsonObject element = openHandler.getElementFromInstance(siblings, names.at(level), index);
        if (index < 0) {
            const QString missing = names.mid(0, level + 1).join(QLatin1Char('/'));
            complain(QLatin1String("there is no element '") % printable(missing) % QLatin1Char('\''));
            return false;
        }
        siblings = element.value(SystemInformationManagerRegistryDefinitions::getKeySubstructure()).toArray();
    }
    return true;
}

ExitStatus OpenManifest::finish(const QCommandLineParser& arguments, const QString& whatHappened)
{
    if (arguments.isSet(QStringLiteral("dry-run"))) {
        printJson(openHandler.getManifestContent());
        return Done;
    }
    if (!arguments.isSet(QStringLiteral("save"))) {
        print(whatHappened % QLatin1String("; not saved"));
        return Done;
    }
    if (!save()) {
        complain(QLatin1String("could not save ") % printable(openHandler.getManifestFilePath()));
        return Failed;
    }
    print(whatHappened % QLatin1String("; saved"));
    return Done;
}

bool OpenManifest::save()
{
    const ReplacementCheck check(openHandler.getManifestFilePath());
    openHandler.writeToManifestFile();
    return check.wasReplaced();
}
