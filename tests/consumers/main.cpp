// A program outside of the project, compiled with an installed library and without the project's own preprocessor
// macros.

// Headers can be included by name or with their folder.
#include <ConfigurationManifestHandler.h>
#include <ConfigurationManifestVersion.h>
#include <ConfigurationStructureElement.h>
#include <JsonDataIteratorConfigurationInstanceCollector.h>
#include <JsonDataIteratorConfigurationInstanceListUpdater.h>
#include <PropertyManagerConst.h>
#include <definitions/ConfigurationAndProcessDataDefinitions.h>
#include <definitions/JsonReaders.h>
#include <definitions/SystemInformationManagerRegistryDefinitions.h>
#include <manifest/ConfigurationManifestCreator.h>
#include <manifest/ConfigurationStructureElementList.h>
#if __has_include(<substitute/JsonWalk.h>)
#include <substitute/JsonWalk.h>
#endif

#include <QtCore/QTextStream>

#if CONFIGURATION_MANIFEST_VERSION < CONFIGURATION_MANIFEST_VERSION_CHECK(1, 0, 0)
#error "An older version has been found than any that there is."
#endif

int main(int, char* argv[])
{
    // Plain string literals have to compile. Only the project's own build forbids them.
    QTextStream out(stdout);
    const QString basePath = argv[1];
    const QString folder = basePath + "/" + PropertyManagerConst::getConfigurationFolderName();
    const QString scheme = ConfigurationAndProcessDataDefinitions::getSelectorUrlSchemeConfiguration();
    if (!ConfigurationManifestCreator().create(basePath)) {
        return 1;
    }
    // This file does not exist, so the library logs a warning.
    ConfigurationManifestHandler(folder + "/missing", "Device", "device1").parseManifestFile();

    ConfigurationManifestHandler handler(folder + "/" + scheme + ".manifest.json", "Device", "device1");
    handler.parseManifestFile();
    const bool edited = handler.setProperty("Net/port", "hide", true, true);
    out << "edited: " << edited << '\n';

    QStringList instances;
    handler.getListOfInstances(QString(), instances);
    out << "top level: " << instances.join(' ') << '\n';

    QJsonObject node;
    QJsonArray children;
    handler.getNodeElement("Net", node);
    readJsonArrayFromJson(SystemInformationManagerRegistryDefinitions::getKeySubstructure(), node, children);
    out << "in Net: " << children.size() << '\n';

    JsonDataIteratorConfigurationInstanceCollector collector;
    QJsonValue collected;
    for (const QJsonValue& child : qAsConst(children)) {
        QJsonObject object = child.toObject();
        collector.compute(object, collected);
    }
    out << "collected: " << collected.toArray().first().toString() << '\n';
    return 0;
}
