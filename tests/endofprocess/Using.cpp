#include "Using.h"

#include "ConfigurationManifestCreator.h"
#include "ConfigurationManifestHandler.h"
#include "ConfigurationStructureElement.h"
#include "Literals.h"

#include <QtCore/QJsonArray>
#include <QtCore/QJsonObject>

int useLibraryIn(const QString& folder)
{
    const QJsonObject description {{u"hide"_qs, false}, {u"displayPosition"_qs, 1}};
    const QJsonObject selection = ConfigurationStructureElement(description, u"one"_qs, false).getElementAsJsonObject();
    ConfigurationManifestCreator().create2(folder, u"configuration"_qs);
    ConfigurationManifestHandler handler(folder + u"/configuration.manifest.json"_qs, u"module"_qs, QString());
    handler.parseManifestFile();
    handler.addSelection(u"two"_qs, description, -1, false);
    handler.addNode(u"three"_qs, description, -1, false);
    handler.setProperty(u"two"_qs, u"labelTextId"_qs, u"TXT_TWO"_qs, true);
    handler.parseManifestFile();
    return handler.getManifestJsonArray().size() + (selection.size() == 9 ? 1 : 0);
}
