#include "ConfigurationStructureElementList.h"

#include <QtCore/QDebug>

#include <algorithm>
#include <utility>

ConfigurationStructureElementList::ConfigurationStructureElementList(
    const QList<QFileInfo>& fileInfoList, const QString& path, const QString& fileSuffix, QObject* parent)
    : QObject(parent)
    , rootPath(path)
    , suffix(fileSuffix)
{
    createElementList(fileInfoList);
}

ConfigurationStructureElementList::~ConfigurationStructureElementList() = default;

QVector<ConfigurationStructureElement> ConfigurationStructureElementList::getElementList() const
{
    return elementList;
}

ConfigurationStructureElement ConfigurationStructureElementList::getElement(int index) const
{
    if (index >= elementList.size()) {
        qWarning() << "Received invalid index for element list:" << index << "," << elementList.size() << "!";
        return {};
    }
    return elementList.at(index);
}

int ConfigurationStructureElementList::getCountElements() const
{
    return elementList.size();
}

const QString& ConfigurationStructureElementList::getSuffix() const
{
    return suffix;
}

void ConfigurationStructureElementList::createElementList(const QList<QFileInfo>& fileInfoList)
{
    elementList.reserve(fileInfoList.size());
    for (const QFileInfo& fileInfo : fileInfoList) {
        ConfigurationStructureElement element(fileInfo, rootPath, suffix);
        if (element.isValid()) {
            elementList.append(std::move(element));
        }
    }
    std::sort(elementList.begin(), elementList.end());
}
