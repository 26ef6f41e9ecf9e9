// The smallest process that uses the library. It finds its imports in the substitute; on a device the surrounding
// software provides them instead, and nothing here changes.

#include <ConfigurationManifestCreator.h>
#include <ConfigurationManifestHandler.h>

#include <QtCore/QCoreApplication>
#include <QtCore/QDir>
#include <QtCore/QTextStream>

int main(int argc, char* argv[])
{
    const QCoreApplication application(argc, argv);
    QTextStream out(stdout);
    if (argc != 2) {
        out << "usage: embedding FOLDER\n";
        return 2;
    }

    // Instance names are what is left of a path without the folder's, so that has to be a whole one.
    const QString folder = QDir(QString::fromLocal8Bit(argv[1])).canonicalPath();
    if (!ConfigurationManifestCreator().create2(folder, QStringLiteral("configuration"))) {
        return 1;
    }

    const QString path = folder + QStringLiteral("/configuration.manifest.json");
    ConfigurationManifestHandler handler(path, QStringLiteral("Device"), QStringLiteral("device1"));
    handler.parseManifestFile();

    QStringList instances;
    handler.getListOfInstances(QString(), instances);
    for (const QString& instance : qAsConst(instances)) {
        out << instance << '\n';
    }

    if (instances.isEmpty()) {
        return 0;
    }

    // Saved at once, because the last argument asks for it.
    const bool hidden = handler.setProperty(instances.constFirst(), QStringLiteral("hide"), true, true);
    return hidden ? 0 : 1;
}
