// A minimal program with its own definitions, which are in Definitions.cpp. Creates the manifest of a configuration
// folder, loads it and lists its instance names.

#include <ConfigurationAndProcessDataDefinitions.h>
#include <ConfigurationManifestCreator.h>
#include <ConfigurationManifestHandler.h>
#include <JsonReaders.h>
#include <PropertyManagerConst.h>
#include <SystemInformationManagerRegistryDefinitions.h>

#include <QtCore/QCoreApplication>
#include <QtCore/QDir>
#include <QtCore/QTextStream>

namespace {

void list(const QJsonArray& elements, const QString& indentation, QTextStream& out)
{
    for (const QJsonValue& element : elements) {
        const QJsonObject object = element.toObject();
        QString name;
        readStringValueFromJson(SystemInformationManagerRegistryDefinitions::getKeyInstanceName(), object, name);
        out << indentation << name << '\n';
        QJsonArray children;
        readJsonArrayFromJson(SystemInformationManagerRegistryDefinitions::getKeySubstructure(), object, children);
        list(children, indentation + QStringLiteral("  "), out);
    }
}

} // namespace

int main(int argc, char* argv[])
{
    const QCoreApplication application(argc, argv);
    QTextStream out(stdout);
    if (argc != 2) {
        out << "usage: provider FOLDER, which has the configuration's folder in it\n";
        return 2;
    }

    // Instance names are paths relative to the scanned folder. They are right only if its path is absolute.
    const QString base = QDir(QString::fromLocal8Bit(argv[1])).canonicalPath();
    if (base.isEmpty() || !ConfigurationManifestCreator().create(base)) {
        return 1;
    }

    const QString path = base + QLatin1Char('/') + PropertyManagerConst::getConfigurationFolderName() + QLatin1Char('/')
        + ConfigurationAndProcessDataDefinitions::getSelectorUrlSchemeConfiguration()
        + QStringLiteral(".manifest.json");
    ConfigurationManifestHandler handler(path, QStringLiteral("Device"), QStringLiteral("device1"));
    handler.parseManifestFile();
    list(handler.getManifestJsonArray(), QString(), out);
    return 0;
}
