#include "Using.h"

#include "ConfigurationManifestCreator.h"
#include "ConfigurationManifestHandler.h"
#include "ConfigurationStructureElement.h"

#include <QtCore/QJsonArray>
#include <QtCore/QJsonObject>

int useLibraryIn(const QString& folder)
{
    const QJsonObject description {{QStringLiteral("hide"), false}, {QStringLiteral("displayPosition"), 1}};
    const QJsonObject selection =
        ConfigurationStructureElement(description, QStringLiteral("one"), false).getElementAsJsonObject();
    ConfigurationManifestCreator().create2(folder, QStringLiteral("configuration"));
    ConfigurationManifestHandler handler(
        folder + QStringLiteral("/configuration.manifest.json"), QStringLiteral("module"), QString());
    handler.parseManifestFile();
    handler.addSelection(QStringLiteral("two"), description, -1, false);
    handler.addNode(QStringLiteral("three"), description, -1, false);
    handler.setProperty(QStringLiteral("two"), QStringLiteral("labelTextId"), QStringLiteral("TXT_TWO"), true);
    handler.parseManifestFile();
    return handler.getManifestJsonArray().size() + (selection.size() == 9 ? 1 : 0);
}
