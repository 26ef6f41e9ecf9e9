#include "ConfigurationStructureElement.h"

#include "ConfigurationAndProcessDataDefinitions.h"
#include "FileExistence.h"
#include "SystemInformationManagerRegistryDefinitions.h"

#include <QtCore/QDebug>
#include <QtCore/QFile>
#include <QtCore/QJsonDocument>
#include <QtCore/QStringBuilder>

#include <cmath>
#include <cstddef>
#include <cstring>
#include <limits>
#include <type_traits>
#include <utility>

using Registry = SystemInformationManagerRegistryDefinitions;
using DataProperty = ConfigurationAndProcessDataDefinitions;

// Sorting a wide folder moves many elements. Containers copy elements whose move constructor may throw.
static_assert(std::is_nothrow_move_constructible_v<ConfigurationStructureElement>);
static_assert(std::is_nothrow_move_assignable_v<ConfigurationStructureElement>);

namespace {

// Never destroyed, because elements can still be constructed in the destructors of static objects, and on threads that
// scan while the process exits. The getters' strings need no such care: they are made from QStringLiteral.
const QJsonObject& selectionWithoutDescription()
{
    static const QJsonObject& selection = *new QJsonObject {{Registry::getKeyLabelTextId(), QString()},
        {Registry::getKeyDataModel(), QString()}, {Registry::getKeyLastModified(), QString()},
        {Registry::getKeySelectionType(), Registry::SelectionTypeValues::getSelection()},
        {Registry::getKeyCloseMode(), Registry::CloseModeValues::getManual()},
        {Registry::getKeyUiJob(), Registry::UiJobValues::getUiJobOpenConfiguration()}, {Registry::getKeyHide(), false},
        {Registry::getKeyIconName(), QString()}, {Registry::getKeyInstanceName(), QString()}};
    return selection;
}

void insertAll(QJsonObject& object, const QJsonObject& members)
{
    // Sharing the data takes a fraction of the time that inserting the members takes.
    if (object.isEmpty()) {
        object = members;
        return;
    }
    for (auto member = members.constBegin(); member != members.constEnd(); ++member) {
        object.insert(member.key(), member.value());
    }
}

// C++ leaves the conversion of NaN and of values outside the range of int undefined. Do what the device's processor
// does: saturate, and convert NaN to 0.
int toIntSaturated(double value)
{
    if (std::isnan(value)) {
        return 0;
    }
    return static_cast<int>(qBound<double>(std::numeric_limits<int>::min(), value, std::numeric_limits<int>::max()));
}

// Returns whether a path begins with a prefix that QDir::searchPaths() or the resource system resolves. Qt may then
// resolve the path and a file below it to different folders.
bool isAmbiguous(const QString& path)
{
    const int colon = path.indexOf(QLatin1Char(':'));
    return colon >= 0 && path.lastIndexOf(QLatin1Char('/'), colon) < 0;
}

// QFile::open() warns about an empty name and cuts names at NUL; here both mean "no such file". The file is read in one
// piece, so a buffer would only add a copy and a system call.
bool openDescription(QFile& file)
{
    const QString name = file.fileName();
    return !name.isEmpty() && !name.contains(QChar::Null) && file.open(QIODevice::ReadOnly | QIODevice::Unbuffered);
}

// readFolderDescription() and readFileRootNodeDescription() share the two functions below. `reader` is the function
// that the messages name as their origin.

void parseDescription(QFile& file, QJsonObject& description, const char* reader)
{
    // readAll() queries the size again. It is needed only when the size is unknown or large.
    constexpr int usualSize = 64 * 1024;
    const qint64 size = file.size();
    QByteArray content = size > 0 && size <= usualSize ? file.read(size) : file.readAll();
    // QIODevice::Text drops every carriage return too, but examines the content byte by byte.
    if (std::memchr(content.constData(), '\r', static_cast<std::size_t>(content.size())) != nullptr) {
        content.replace("\r", "");
    }
    QJsonParseError parseError;
    const QJsonDocument document = QJsonDocument::fromJson(content, &parseError);
    if (parseError.error != QJsonParseError::NoError) {
        QMessageLogger(QT_MESSAGELOG_FILE, QT_MESSAGELOG_LINE, reader).warning() << "Can't parse Json!\n";
        return;
    }
    description = document.object();
}

void reportUnopenedDescription(const QFile& file, const char* reader)
{
    if (!fileExists(file)) {
        QMessageLogger(QT_MESSAGELOG_FILE, QT_MESSAGELOG_LINE, reader).debug() << "No description file found!";
        return;
    }
    QMessageLogger(QT_MESSAGELOG_FILE, QT_MESSAGELOG_LINE, reader).warning()
        << "Can't open file " << file.fileName() << " IO Error: " << file.errorString();
}

} // namespace

const QString& ConfigurationStructureElement::getFolderDescriptionFilename()
{
    static const QString filename = QStringLiteral("Folder.menu.json");
    return filename;
}

const QString& ConfigurationStructureElement::getConfigurationFileSuffix()
{
    static const QString suffix = QStringLiteral(".config.json");
    return suffix;
}

const QString& ConfigurationStructureElement::getProcessFileSuffix()
{
    static const QString suffix = QStringLiteral(".process.json");
    return suffix;
}

ConfigurationStructureElement::ConfigurationStructureElement() = default;

ConfigurationStructureElement::ConfigurationStructureElement(
    const QFileInfo& entry, const QString& scanRoot, const QString& suffix)
    : rootPath(scanRoot)
    , fileInfo(entry)
    , valid(validateObject(entry, suffix))
{
    if (valid) {
        initObject(entry);
    }
}

ConfigurationStructureElement::ConfigurationStructureElement(
    const QJsonObject& object, const QString& instanceName, bool isNode)
    : directory(isNode)
{
    if (isNode) {
        generateNodeData(object, instanceName);
    } else {
        generateSelectionData(object, instanceName);
    }
}

ConfigurationStructureElement::ConfigurationStructureElement(const ConfigurationStructureElement& other) = default;
ConfigurationStructureElement::ConfigurationStructureElement(ConfigurationStructureElement&& other) noexcept = default;
ConfigurationStructureElement& ConfigurationStructureElement::operator=(
    const ConfigurationStructureElement& other) = default;
ConfigurationStructureElement& ConfigurationStructureElement::operator=(
    ConfigurationStructureElement&& other) noexcept = default;
ConfigurationStructureElement::~ConfigurationStructureElement() = default;

bool ConfigurationStructureElement::isValid() const
{
    return valid;
}

bool ConfigurationStructureElement::isDirectory() const
{
    return directory;
}

int ConfigurationStructureElement::getDisplayPosition() const
{
    return displayPosition;
}

QJsonObject ConfigurationStructureElement::getElementAsJsonObject() const
{
    return elementObject;
}

QFileInfo ConfigurationStructureElement::getFileInfo() const
{
    return fileInfo;
}

QString ConfigurationStructureElement::getIconName() const
{
    const QJsonValue value = elementObject.value(Registry::getKeyIconName());
    if (!value.isUndefined() && !value.isString()) {
        qWarning() << "Property iconName is not of type string!";
    }
    return value.toString();
}

bool ConfigurationStructureElement::operator<(const ConfigurationStructureElement& other) const
{
    if (directory == other.directory) {
        return displayPosition < other.displayPosition;
    }
    return !directory;
}

void ConfigurationStructureElement::setIconName(const QString& iconName)
{
    elementObject.insert(Registry::getKeyIconName(), iconName);
}

bool ConfigurationStructureElement::validateObject(const QFileInfo& entry, const QString& suffix)
{
    return entry.isDir() || entry.fileName().endsWith(suffix, Qt::CaseSensitive);
}

void ConfigurationStructureElement::initObject(const QFileInfo& entry)
{
    directory = entry.isDir();
    if (directory) {
        generateNodeData(entry);
    } else {
        generateSelectionData(entry);
    }
}

void ConfigurationStructureElement::extractDisplayPosition(const QJsonObject& object, int& position)
{
    const QJsonValue value = object.value(Registry::getKeyDisplayPosition());
    if (value.isUndefined()) {
        qWarning() << "Cannot find key displayPosition in Json object!";
    } else if (!value.isDouble()) {
        qWarning() << "Property displayPosition is not of type double!";
    } else {
        position = toIntSaturated(value.toDouble());
    }
}

void ConfigurationStructureElement::extractAndRemoveDisplayPosition(QJsonObject& object, int& position)
{
    extractDisplayPosition(object, position);
    object.remove(Registry::getKeyDisplayPosition());
}

void ConfigurationStructureElement::extractInstanceNameFromPath(
    const QString& scanRoot, const QFileInfo& entry, QString& instanceName)
{
    QString folder = entry.path();
    folder.remove(scanRoot, Qt::CaseSensitive);
    if (folder.startsWith(QLatin1Char('/'))) {
        folder.remove(0, 1);
        instanceName = folder % QLatin1Char('/') % entry.baseName();
    } else {
        instanceName = entry.baseName();
    }
}

// Both readers try to open the file first and check whether `path` is a folder only when that fails. In a scan the
// list has already distinguished files and folders.

void ConfigurationStructureElement::readFolderDescription(const QString& path, QJsonObject& description)
{
    // An empty path is not a folder. Appending the file name to it would give a file in the root of the file system.
    if (path.isEmpty() || (isAmbiguous(path) && !QFileInfo(path).isDir())) {
        return;
    }
    QFile file(path % QLatin1Char('/') % getFolderDescriptionFilename());
    if (openDescription(file)) {
        parseDescription(file, description, QT_MESSAGELOG_FUNC);
    } else if (QFileInfo(path).isDir()) {
        reportUnopenedDescription(file, QT_MESSAGELOG_FUNC);
    }
}

void ConfigurationStructureElement::readFileRootNodeDescription(const QString& path, QJsonObject& description)
{
    QFile file(path);
    if (openDescription(file)) {
        parseDescription(file, description, QT_MESSAGELOG_FUNC);
    } else if (!QFileInfo(path).isDir()) {
        reportUnopenedDescription(file, QT_MESSAGELOG_FUNC);
    }
}

void ConfigurationStructureElement::generateNodeData(const QFileInfo& entry)
{
    QJsonObject description;
    readFolderDescription(entry.filePath(), description);
    generateNodeData(description, entry.baseName());
}

void ConfigurationStructureElement::generateNodeData(const QJsonObject& description, const QString& instanceName)
{
    elementObject = description;
    extractAndRemoveDisplayPosition(elementObject, displayPosition);
    elementObject.insert(Registry::getKeySelectionType(), Registry::SelectionTypeValues::getNode());
    elementObject.insert(Registry::getKeyDataSourceType(), Registry::DataSourceTypeValues::getJsonData());
    elementObject.insert(Registry::getKeyInstanceName(), instanceName);
    elementObject.remove(DataProperty::getKeyDataPropertyTolmVersion());
    elementObject.remove(DataProperty::getKeyDataPropertyConfigurationVersion());
}

void ConfigurationStructureElement::generateSelectionData(const QFileInfo& entry)
{
    QJsonObject description;
    readFileRootNodeDescription(entry.filePath(), description);
    QString instanceName;
    extractInstanceNameFromPath(rootPath, entry, instanceName);
    generateSelectionData(description, instanceName);
}

void ConfigurationStructureElement::generateSelectionData(const QJsonObject& description, const QString& instanceName)
{
    extractDisplayPosition(description, displayPosition);
    insertAll(elementObject, selectionWithoutDescription());

    // Insert the QJsonValue itself; going through QString converts twice.
    const auto insertString = [&](const QString& key) {
        const QJsonValue value = description.value(key);
        elementObject.insert(key, value.isString() ? value : extractSelectionString(description, key));
    };
    const auto insertStringIfNotEmpty = [&](const QString& key) {
        insertStringPropertyIfNotEmpty(key, extractSelectionString(description, key));
    };
    const auto insertArrayIfNotEmpty = [&](const QString& key) {
        const QJsonArray array = extractSelectionArray(description, key);
        if (!array.isEmpty()) {
            elementObject.insert(key, array);
        }
    };

    insertString(Registry::getKeyLabelTextId());
    insertString(Registry::getKeyDataModel());
    insertString(Registry::getKeyLastModified());
    if (extractSelectionBool(description, Registry::getKeyHide())) {
        elementObject.insert(Registry::getKeyHide(), true);
    }
    insertArrayIfNotEmpty(DataProperty::getKeyDataPropertySelectorTypeList());
    insertArrayIfNotEmpty(DataProperty::getKeyDataPropertySelectorTypeListEndpoint());

    const QString& connectorIdKey = DataProperty::getKeyDataPropertyConnectorId();
    const int connectorId = extractSelectionInt(description, connectorIdKey);
    if (connectorId >= 0) {
        elementObject.insert(connectorIdKey, connectorId);
    }

    insertString(Registry::getKeyIconName());
    insertStringIfNotEmpty(DataProperty::getKeyDataPropertyTemplateType());
    insertStringIfNotEmpty(DataProperty::getKeyDataPropertyLabelTextUrl());
    insertStringIfNotEmpty(DataProperty::getKeyDataPropertyDependencyFile());
    insertStringIfNotEmpty(DataProperty::getKeyDataPropertyDependencyFileExtern());
    insertStringIfNotEmpty(Registry::getKeyModuleName());
    insertStringIfNotEmpty(Registry::getKeyObjectName());

    const QString& instanceNameKey = Registry::getKeyInstanceName();
    const QString describedName = extractSelectionString(description, instanceNameKey);
    insertStringPropertyIfNotEmpty(instanceNameKey, describedName.isEmpty() ? instanceName : describedName);

    insertStringIfNotEmpty(DataProperty::getKeyDataPropertyBufferType());
}

QString ConfigurationStructureElement::extractSelectionString(const QJsonObject& description, const QString& key) const
{
    const QJsonValue value = description.value(key);
    if (!value.isUndefined() && !value.isString()) {
        qWarning() << "Property" << key << "is not of type string!";
    }
    return value.toString();
}

bool ConfigurationStructureElement::extractSelectionBool(const QJsonObject& description, const QString& key) const
{
    const QJsonValue value = description.value(key);
    if (value.isUndefined()) {
        qWarning() << "Cannot find key" << key << "in Json object!";
    } else if (!value.isBool()) {
        qWarning() << "Property" << key << "is not of type bool!";
    }
    return value.toBool();
}

QJsonArray ConfigurationStructureElement::extractSelectionArray(
    const QJsonObject& description, const QString& key) const
{
    const QJsonValue value = description.value(key);
    if (!value.isUndefined() && !value.isArray()) {
        qWarning() << "Property" << key << "is not of type array!";
    }
    return value.toArray();
}

int ConfigurationStructureElement::extractSelectionInt(const QJsonObject& description, const QString& key) const
{
    return description.value(key).toInt(-1);
}

void ConfigurationStructureElement::insertStringPropertyIfNotEmpty(const QString& key, const QString& value)
{
    if (!value.isEmpty()) {
        elementObject.insert(key, value);
    }
}
