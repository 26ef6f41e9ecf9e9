#include "ConfigurationManifestCreator.h"

#include "ConfigurationAndProcessDataDefinitions.h"
#include "ConfigurationStructureElementList.h"
#include "ManifestSaveFile.h"
#include "PropertyManagerConst.h"
#include "SystemInformationManagerRegistryDefinitions.h"

#include <QtCore/QDebug>
#include <QtCore/QDir>
#include <QtCore/QJsonDocument>
#include <QtCore/QStringBuilder>

namespace {

QFileInfoList listFolder(const QString& path)
{
    QDir folder(path);
    folder.setFilter(QDir::Dirs | QDir::Files | QDir::NoDotAndDotDot);
    return folder.entryInfoList();
}

} // namespace

ConfigurationManifestCreator::ConfigurationManifestCreator(QObject* parent)
    : QObject(parent)
{
}

ConfigurationManifestCreator::~ConfigurationManifestCreator() = default;

bool ConfigurationManifestCreator::create(const QString& path)
{
    QString folderPath = path;
    // Checks the folder of the previous scan, not `path`: callers rely on that.
    if (!configurationFolderPath.endsWith(QLatin1Char('/'))) {
        folderPath += QLatin1Char('/');
    }
    folderPath += PropertyManagerConst::getConfigurationFolderName();
    return create2(folderPath, ConfigurationAndProcessDataDefinitions::getSelectorUrlSchemeConfiguration());
}

bool ConfigurationManifestCreator::create2(const QString& path, const QString& scheme)
{
    configurationFolderPath = path;
    selectorUrlScheme = scheme;

    const QFileInfoList entries = listFolder(configurationFolderPath);
    if (entries.isEmpty()) {
        return true;
    }

    const QString folderScheme = selectorUrlScheme;
    const bool isConfiguration =
        folderScheme == ConfigurationAndProcessDataDefinitions::getSelectorUrlSchemeConfiguration();
    // Every ConfigurationStructureElementList of the scan keeps a reference to this string.
    const QString suffix = isConfiguration ? ConfigurationStructureElement::getConfigurationFileSuffix()
                                           : ConfigurationStructureElement::getProcessFileSuffix();
    const QString folderPath = configurationFolderPath;
    const ConfigurationStructureElementList elementList(entries, folderPath, suffix);
    manifestJsonArray = QJsonArray();
    QJsonArray instanceList;
    generateInstanceList(elementList, instanceList);
    // A message handler may have run another scan with this creator, which overwrites these members.
    configurationFolderPath = folderPath;
    selectorUrlScheme = folderScheme;
    manifestJsonArray = instanceList;
    return writeManifestFile();
}

void ConfigurationManifestCreator::generateInstanceList(
    const ConfigurationStructureElementList& elementList, QJsonArray& instanceList)
{
    const QVector<ConfigurationStructureElement> elements = elementList.getElementList();
    for (const ConfigurationStructureElement& element : elements) {
        QJsonObject object = element.getElementAsJsonObject();
        if (element.isDirectory()) {
            const ConfigurationStructureElementList childList(
                listFolder(element.getFileInfo().filePath()), elementList.rootPath, elementList.getSuffix());
            QJsonArray children;
            generateInstanceList(childList, children);
            if (children.isEmpty()) {
                continue;
            }
            object.insert(SystemInformationManagerRegistryDefinitions::getKeySubstructure(), children);
        }
        instanceList.append(object);
    }
}

bool ConfigurationManifestCreator::writeManifestFile()
{
    const QByteArray document = QJsonDocument(manifestJsonArray).toJson(QJsonDocument::Compact);
    QSaveFile file(configurationFolderPath % QLatin1Char('/') % selectorUrlScheme % QLatin1String(".manifest.json"));
    if (!ManifestSaveFile::open(file)) {
        qWarning() << "Unable to open the manifest file for writing:" << file.fileName() << "!";
        return false;
    }

    const qint64 written = ManifestSaveFile::writeCompletely(file, document);
    ManifestSaveFile::commit(file);
    if (written != document.size()) {
        qWarning() << "Manifest file was not successful written:" << written << "," << document.size() << "!";
        return false;
    }
    return true;
}
