#pragma once

#include "MessageRecorder.h"

// What elements say of descriptions in every scan, whatever is tested there.

inline Message positionMissing()
{
    return warning(QStringLiteral("Cannot find key displayPosition in Json object!"),
        "void ConfigurationStructureElement::extractDisplayPosition(const QJsonObject&, int&)");
}

inline Message hideMissing()
{
    return warning(QStringLiteral("Cannot find key \"hide\" in Json object!"),
        "bool ConfigurationStructureElement::extractSelectionBool(const QJsonObject&, const QString&) const");
}

inline Message noFolderDescription()
{
    return debug(QStringLiteral("No description file found!"),
        "void ConfigurationStructureElement::readFolderDescription(const QString&, QJsonObject&)");
}

inline Message folderDescriptionNotJson()
{
    return warning(QStringLiteral("Can't parse Json!\n"),
        "void ConfigurationStructureElement::readFolderDescription(const QString&, QJsonObject&)");
}

inline Message folderDescriptionForbidden(const QString& path)
{
    return warning(QStringLiteral("Can't open file  \"%1\"  IO Error:  \"Permission denied\"").arg(path),
        "void ConfigurationStructureElement::readFolderDescription(const QString&, QJsonObject&)");
}

inline Message noFile()
{
    return debug(QStringLiteral("No description file found!"),
        "void ConfigurationStructureElement::readFileRootNodeDescription(const QString&, QJsonObject&)");
}

inline Message fileNotJson()
{
    return warning(QStringLiteral("Can't parse Json!\n"),
        "void ConfigurationStructureElement::readFileRootNodeDescription(const QString&, QJsonObject&)");
}

inline Message fileForbidden(const QString& path)
{
    return warning(QStringLiteral("Can't open file  \"%1\"  IO Error:  \"Permission denied\"").arg(path),
        "void ConfigurationStructureElement::readFileRootNodeDescription(const QString&, QJsonObject&)");
}
