#include "QtFloor.h"

#include "JsonDataIteratorObjectBase.h"
#include "substitute/JsonWalk.h"

#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QJsonDocument>
#include <QtCore/QSaveFile>
#include <QtCore/QStringBuilder>
#include <QtCore/QStringView>
#include <QtCore/QVector>

#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <cstring>
#include <vector>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

const QLatin1String displayPosition("displayPosition");
const QLatin1String instanceName("instanceName");
const QLatin1String selectionSuffix(".config.json");
const QLatin1String folderDescription("/Folder.menu.json");
const QLatin1String selectionType("selectionType");
const QLatin1String selection("Selection");
const QLatin1String substructure("substructure");

// Creation

QFileInfoList entriesOf(const QString& folder)
{
    return QDir(folder).entryInfoList(QDir::Dirs | QDir::Files | QDir::NoDotAndDotDot);
}

QJsonObject description(const QString& path)
{
    // The file is read in one piece, so a buffer would only add a copy.
    QFile file(path);
    file.open(QIODevice::ReadOnly | QIODevice::Unbuffered);
    return QJsonDocument::fromJson(file.read(file.size())).object();
}

QJsonObject selectionOf(const QJsonObject& description, const QString& name)
{
    // Copying an object takes a fraction of the time that inserting its members takes.
    static const QJsonObject constant {{selectionType, selection},
        {QStringLiteral("closeMode"), QStringLiteral("Manual")},
        {QStringLiteral("uiJob"), QStringLiteral("OpenConfiguration")}, {QStringLiteral("hide"), false},
        {QStringLiteral("labelTextId"), QString()}, {QStringLiteral("dataModel"), QString()},
        {QStringLiteral("lastModified"), QString()}, {QStringLiteral("iconName"), QString()},
        {instanceName, QString()}};
    constexpr const char* taken[] = {"hide", "labelTextId", "dataModel", "lastModified", "iconName", "selectorTypeList",
        "selectorTypeListEndpoint", "connectorId", "templateType", "labelTextUrl", "dependencyFile",
        "dependencyFileExtern", "moduleName", "objectName", "bufferType"};
    QJsonObject element = constant;
    for (const char* const key : taken) {
        const QJsonValue value = description.value(QLatin1String(key));
        if (!value.isUndefined()) {
            element.insert(QLatin1String(key), value);
        }
    }
    element.insert(instanceName, description.value(instanceName).toString(name));
    return element;
}

QJsonObject nodeOf(QJsonObject description, const QString& name, const QJsonArray& children)
{
    for (const char* const key : {"displayPosition", "tolmVersion", "configurationVersion"}) {
        description.remove(QLatin1String(key));
    }
    description.insert(selectionType, QLatin1String("Node"));
    description.insert(QLatin1String("dataSourceType"), QLatin1String("JsonData"));
    description.insert(instanceName, name);
    description.insert(substructure, children);
    return description;
}

struct Element {
    bool isNode;
    int position;
    QJsonObject object;
};

bool operator<(const Element& left, const Element& right)
{
    return left.isNode == right.isNode ? left.position < right.position : right.isNode;
}

QJsonArray elementsOf(const QString& folder, const QString& prefix)
{
    QVector<Element> elements;
    const QFileInfoList entries = entriesOf(folder);
    elements.reserve(entries.size());
    for (const QFileInfo& entry : entries) {
        if (entry.isDir()) {
            const QJsonArray children = elementsOf(entry.filePath(), prefix % entry.fileName() % QLatin1Char('/'));
            if (!children.isEmpty()) {
                const QJsonObject described = description(entry.filePath() % folderDescription);
                const int position = described.value(displayPosition).toInt();
                elements.append({true, position, nodeOf(described, entry.baseName(), children)});
            }
        } else if (entry.fileName().endsWith(selectionSuffix)) {
            const QJsonObject described = description(entry.filePath());
            const int position = described.value(displayPosition).toInt();
            elements.append({false, position, selectionOf(described, prefix % entry.baseName())});
        }
    }
    std::sort(elements.begin(), elements.end());
    QJsonArray array;
    for (const Element& element : qAsConst(elements)) {
        array.append(element.object);
    }
    return array;
}

// Loading

struct Names {
    QJsonValue module;
    QJsonValue object;
};

// Takes each element and its children out of their containers while they are changed; otherwise they would detach.
void stamp(QJsonArray& array, const Names& names)
{
    for (int i = 0; i < array.size(); ++i) {
        QJsonObject element = array.at(i).toObject();
        array.replace(i, QJsonValue());
        if (element.value(selectionType).toString() == selection) {
            element.insert(QLatin1String("moduleName"), names.module);
            element.insert(QLatin1String("objectName"), names.object);
        } else {
            QJsonArray children = element.value(substructure).toArray();
            element.insert(substructure, QJsonValue());
            stamp(children, names);
            element.insert(substructure, children);
        }
        array.replace(i, element);
    }
}

// Queries and edits

QString nameAt(const QJsonArray& array, int position)
{
    return array.at(position).toObject().value(instanceName).toString();
}

int positionOf(const QJsonArray& array, const QString& name)
{
    for (int i = 0; i < array.size(); ++i) {
        if (nameAt(array, i) == name) {
            return i;
        }
    }
    return -1;
}

// Splits the path of a selection into stored names. The last one is the whole path, which a selection stores as its
// name.
QStringList namesOfSelection(const QString& path)
{
    QStringList names = path.split(QLatin1Char('/'));
    names.last() = path;
    return names;
}

QJsonObject find(const QJsonArray& manifest, const QStringList& names)
{
    QJsonObject element = manifest.at(positionOf(manifest, names.constFirst())).toObject();
    for (int level = 1; level < names.size(); ++level) {
        const QJsonArray children = element.value(substructure).toArray();
        element = children.at(positionOf(children, names.at(level))).toObject();
    }
    return element;
}

// Returns a new object with one string replaced, because Qt never frees a string that is replaced in an object.
QJsonObject withText(const QJsonObject& object, const QString& key, const QJsonValue& text)
{
    QJsonObject result;
    for (auto member = object.constBegin(); member != object.constEnd(); ++member) {
        const QString memberKey = member.key();
        result.insert(memberKey, memberKey == key ? text : member.value());
    }
    return result;
}

void setMember(QJsonObject& object, const QString& key, const QJsonValue& value)
{
    if (object.value(key).isString()) {
        object = withText(object, key, value);
    } else {
        object.insert(key, value);
    }
}

// Takes each container on the path out of its parent while it is changed; otherwise it would detach.
template <typename Change>
void changeArray(QJsonArray& array, const QStringList& names, int levels, const Change& change, int level = 0)
{
    if (level == levels) {
        change(array);
        return;
    }
    const int position = positionOf(array, names.at(level));
    QJsonObject element = array.at(position).toObject();
    array.replace(position, QJsonValue());
    QJsonArray children = element.value(substructure).toArray();
    element.insert(substructure, QJsonValue());
    changeArray(children, names, levels, change, level + 1);
    element.insert(substructure, children);
    array.replace(position, element);
}

template <typename Change>
void changeSiblings(QJsonArray& manifest, const QString& path, const Change& change)
{
    const QStringList names = namesOfSelection(path);
    changeArray(manifest, names, names.size() - 1, [&](QJsonArray& siblings) { change(siblings, names.constLast()); });
}

// A name to be looked up among siblings. The order does not matter, so it starts with the last four characters: they
// differ most, and they are stored here, so comparing them does not access the string.
struct Place {
    Place(QStringView wholeName, int at)
        : name(wholeName)
        , position(at)
    {
        const QStringView last = name.right(qMin<qsizetype>(name.size(), 4));
        std::memcpy(&end, last.data(), static_cast<std::size_t>(last.size()) * sizeof(QChar));
    }

    quint64 end = 0;
    QStringView name;
    int position;
};

bool operator<(const Place& left, const Place& right)
{
    return left.end == right.end ? left.name < right.name : left.end < right.end;
}

// Walks

class Collecting : public JsonDataIteratorObjectBase {
public:
    void compute(QJsonObject& object, QJsonValue&) override
    {
        if (object.value(selectionType).toString() == selection) {
            names.append(object.value(instanceName));
        }
    }

    QJsonArray names;
};

class Updating : public JsonDataIteratorObjectBase {
public:
    Updating(const QString& wantedName, const QString& wantedKey, const QJsonValue& wantedValue)
        : name(wantedName)
        , key(wantedKey)
        , value(wantedValue)
    {
    }

    void compute(QJsonObject& object, QJsonValue&) override
    {
        if (object.value(instanceName).toString() == name) {
            setMember(object, key, value);
            updated.append(object);
        }
    }

    QJsonArray updated;

private:
    const QString name;
    const QString key;
    const QJsonValue value;
};

} // namespace

void QtFloor::create(const QString& folder)
{
    save(elementsOf(folder, QString()), folder % QLatin1String("/configuration.manifest.json"));
}

QJsonArray QtFloor::load(const QString& path, const QString& moduleName, const QString& objectName)
{
    QJsonArray manifest = parse(path);
    stamp(manifest, {moduleName, objectName});
    return manifest;
}

void QtFloor::save(const QJsonArray& manifest, const QString& path)
{
    const QByteArray name = QFile::encodeName(path);
    QSaveFile file(path);
    file.open(QIODevice::WriteOnly);
    file.write(QJsonDocument(manifest).toJson(QJsonDocument::Compact));
    file.flush();
    struct stat replaced = {};
    if (stat(name.constData(), &replaced) == 0 && fchown(file.handle(), replaced.st_uid, replaced.st_gid) == 0) {
        fchmod(file.handle(), replaced.st_mode & ALLPERMS);
    }
    fsync(file.handle());
    file.commit();
    const int folder = open(name.left(name.lastIndexOf('/')).constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    fsync(folder);
    close(folder);
}

QStringList QtFloor::instances(const QJsonArray& manifest, const QString& path)
{
    QStringList names;
    const QJsonArray children = find(manifest, path.split(QLatin1Char('/'))).value(substructure).toArray();
    for (int i = 0; i < children.size(); ++i) {
        names << nameAt(children, i);
    }
    return names;
}

void QtFloor::sort(QJsonArray& manifest, const QString& path, const QStringList& order)
{
    const QStringList names = path.split(QLatin1Char('/'));
    changeArray(manifest, names, names.size(), [&](QJsonArray& children) {
        // Sort the names and use a binary search, because names may collide in a hash.
        QStringList stored;
        std::vector<Place> places;
        stored.reserve(children.size());
        places.reserve(static_cast<std::size_t>(children.size()));
        for (int i = 0; i < children.size(); ++i) {
            const QString name = nameAt(children, i);
            stored << name;
            places.emplace_back(QStringView(name).mid(name.lastIndexOf(QLatin1Char('/')) + 1), i);
        }
        std::sort(places.begin(), places.end());
        QJsonArray sorted;
        for (const QString& name : order) {
            sorted.append(children.at(std::lower_bound(places.cbegin(), places.cend(), Place(name, 0))->position));
        }
        children = sorted;
    });
}

QJsonObject QtFloor::element(const QJsonArray& manifest, const QString& path)
{
    return find(manifest, namesOfSelection(path));
}

void QtFloor::set(QJsonArray& manifest, const QString& path, const QString& key, const QJsonValue& value)
{
    changeSiblings(manifest, path, [&](QJsonArray& siblings, const QString& name) {
        const int position = positionOf(siblings, name);
        QJsonObject element = siblings.at(position).toObject();
        siblings.replace(position, QJsonValue());
        setMember(element, key, value);
        siblings.replace(position, element);
    });
}

void QtFloor::add(QJsonArray& manifest, const QString& path, const QJsonObject& description, int index)
{
    changeSiblings(manifest, path, [&](QJsonArray& siblings, const QString& name) {
        if (positionOf(siblings, name) < 0) {
            siblings.insert(index, selectionOf(description, path));
        }
    });
}

void QtFloor::remove(QJsonArray& manifest, const QString& path)
{
    changeSiblings(manifest, path,
        [](QJsonArray& siblings, const QString& name) { siblings.removeAt(positionOf(siblings, name)); });
}

void QtFloor::moveNode(QJsonArray& manifest, const QString& path, int index)
{
    const QStringList names = path.split(QLatin1Char('/'));
    changeArray(manifest, names, names.size() - 1, [&](QJsonArray& siblings) {
        siblings.insert(index, siblings.takeAt(positionOf(siblings, names.constLast())));
    });
}

void QtFloor::move(QJsonArray& manifest, const QString& path, int index)
{
    changeSiblings(manifest, path, [&](QJsonArray& siblings, const QString& name) {
        siblings.insert(index, siblings.takeAt(positionOf(siblings, name)));
    });
}

QJsonArray QtFloor::collect(QJsonValue& document)
{
    Collecting collecting;
    QJsonValue ignored;
    walkJson(document, collecting, ignored);
    return collecting.names;
}

QJsonArray QtFloor::update(QJsonValue& document, const QString& name, const QString& key, const QJsonValue& value)
{
    Updating updating(name, key, value);
    QJsonValue ignored;
    walkJson(document, updating, ignored);
    return updating.updated;
}

void QtFloor::parseAll(const QString& folder)
{
    const QFileInfoList entries = entriesOf(folder);
    for (const QFileInfo& entry : entries) {
        if (entry.isDir()) {
            description(entry.filePath() % folderDescription);
            parseAll(entry.filePath());
        } else if (entry.fileName().endsWith(selectionSuffix)) {
            description(entry.filePath());
        }
    }
}

QJsonArray QtFloor::parse(const QString& path)
{
    QFile file(path);
    file.open(QIODevice::ReadOnly);
    return QJsonDocument::fromJson(file.readAll()).array();
}

void QtFloor::saveUnsynced(const QJsonArray& manifest, const QString& path)
{
    const QString temporary = path % QLatin1String(".new");
    QFile file(temporary);
    file.open(QIODevice::WriteOnly);
    file.write(QJsonDocument(manifest).toJson(QJsonDocument::Compact));
    file.close();
    std::rename(QFile::encodeName(temporary).constData(), QFile::encodeName(path).constData());
}
