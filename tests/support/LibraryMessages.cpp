#include "LibraryMessages.h"

#include "Literals.h"

namespace {

constexpr auto extractPosition = "void ConfigurationStructureElement::extractDisplayPosition(const QJsonObject&, int&)";
constexpr auto extractBool =
    "bool ConfigurationStructureElement::extractSelectionBool(const QJsonObject&, const QString&) const";
constexpr auto readFolder = "void ConfigurationStructureElement::readFolderDescription(const QString&, QJsonObject&)";
constexpr auto readFile =
    "void ConfigurationStructureElement::readFileRootNodeDescription(const QString&, QJsonObject&)";
constexpr auto load = "void ConfigurationManifestHandler::parseManifestFile()";
constexpr auto parse = "void ConfigurationManifestHandler::parseManifestFile(const QByteArray&)";
constexpr auto save = "void ConfigurationManifestHandler::writeToManifestFile()";
constexpr auto add =
    "bool ConfigurationManifestHandler::addElement(QJsonArray&, const QStringList&, const QJsonObject&, int, bool)";
constexpr auto replace =
    "bool ConfigurationManifestHandler::replaceElement(QJsonArray&, const QStringList&, const QJsonObject&, bool)";
constexpr auto move = "bool ConfigurationManifestHandler::moveElement(QJsonArray&, const QStringList&, int)";
constexpr auto create = "bool ConfigurationManifestCreator::writeManifestFile()";

Message forbidden(const QString& path, const char* function)
{
    return warning(u"Can't open file  \"%1\"  IO Error:  \"Permission denied\""_qs.arg(path), function);
}

} // namespace

Message positionMissing()
{
    return warning(u"Cannot find key displayPosition in Json object!"_qs, extractPosition);
}

Message hideMissing()
{
    return warning(u"Cannot find key \"hide\" in Json object!"_qs, extractBool);
}

Message noFolderDescription()
{
    return debug(u"No description file found!"_qs, readFolder);
}

Message folderDescriptionNotJson()
{
    return warning(u"Can't parse Json!\n"_qs, readFolder);
}

Message folderDescriptionForbidden(const QString& path)
{
    return forbidden(path, readFolder);
}

Message noFile()
{
    return debug(u"No description file found!"_qs, readFile);
}

Message fileNotJson()
{
    return warning(u"Can't parse Json!\n"_qs, readFile);
}

Message fileForbidden(const QString& path)
{
    return forbidden(path, readFile);
}

Message fileToLoadIsMissing()
{
    return warning(u"Cannot find configuration manifest file!"_qs, load);
}

Message fileCannotBeRead(const QString& path)
{
    return warning(u"Cannot open configuration manifest file for reading: \"%1\" !"_qs.arg(path), load);
}

Message contentIsNotJson(const QString& error)
{
    return warning(u"Error on paring configuration manifest file content to Json: \"%1\" !"_qs.arg(error), parse);
}

Message contentIsNoArray()
{
    return warning(u"Configuration manifest file does not contain a Json array!"_qs, parse);
}

Message fileToSaveIsMissing()
{
    return warning(u"Configuration manifest file does not exist!"_qs, save);
}

Message fileCannotBeWritten(const QString& path)
{
    return warning(u"Cannot open configuration manifest file for writing: \"%1\" !"_qs.arg(path), save);
}

Message fileNotWrittenCompletely()
{
    return warning(u"Error on writing instance list to manifest file!"_qs, save);
}

Message indexIsOutOfBounds()
{
    return warning(u"The index for addElements is out of bounds, append the element"_qs, add);
}

Message nothingToReplace()
{
    return warning(u"InstancePath is wrong, replace failed"_qs, replace);
}

Message noSuchPosition()
{
    return warning(u"Index out of bounds, move failed"_qs, move);
}

Message manifestCannotBeOpened(const QString& path)
{
    return warning(u"Unable to open the manifest file for writing: \"%1\" !"_qs.arg(path), create);
}

Message manifestNotWrittenCompletely(int written, int size)
{
    return warning(u"Manifest file was not successful written: %1 , %2 !"_qs.arg(written).arg(size), create);
}
