// A minimal program that uses the library. The substitute provides the definitions that the library imports. On a
// device the surrounding software provides them instead, and this file stays the same.

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

    // Instance names are paths relative to the scanned folder. They are right only if its path is absolute.
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

    // The last argument saves the manifest at once.
    const bool hidden = handler.setProperty(instances.constFirst(), QStringLiteral("hide"), true, true);
    return hidden ? 0 : 1;
}
