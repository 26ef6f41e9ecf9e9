#pragma once

#include "Literals.h"
#include "MessageRecorder.h"

// What elements say of descriptions in every scan, whatever is tested there.

inline Message positionMissing()
{
    return warning(u"Cannot find key displayPosition in Json object!"_qs,
        "void ConfigurationStructureElement::extractDisplayPosition(const QJsonObject&, int&)");
}

inline Message hideMissing()
{
    return warning(u"Cannot find key \"hide\" in Json object!"_qs,
        "bool ConfigurationStructureElement::extractSelectionBool(const QJsonObject&, const QString&) const");
}

inline Message noFolderDescription()
{
    return debug(u"No description file found!"_qs,
        "void ConfigurationStructureElement::readFolderDescription(const QString&, QJsonObject&)");
}

inline Message folderDescriptionNotJson()
{
    return warning(u"Can't parse Json!\n"_qs,
        "void ConfigurationStructureElement::readFolderDescription(const QString&, QJsonObject&)");
}

inline Message folderDescriptionForbidden(const QString& path)
{
    return warning(u"Can't open file  \"%1\"  IO Error:  \"Permission denied\""_qs.arg(path),
        "void ConfigurationStructureElement::readFolderDescription(const QString&, QJsonObject&)");
}

inline Message noFile()
{
    return debug(u"No description file found!"_qs,
        "void ConfigurationStructureElement::readFileRootNodeDescription(const QString&, QJsonObject&)");
}

inline Message fileNotJson()
{
    return warning(u"Can't parse Json!\n"_qs,
        "void ConfigurationStructureElement::readFileRootNodeDescription(const QString&, QJsonObject&)");
}

inline Message fileForbidden(const QString& path)
{
    return warning(u"Can't open file  \"%1\"  IO Error:  \"Permission denied\""_qs.arg(path),
        "void ConfigurationStructureElement::readFileRootNodeDescription(const QString&, QJsonObject&)");
}
