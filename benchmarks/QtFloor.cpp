#include "QtFloor.h"

#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QHash>
#include <QtCore/QJsonDocument>
#include <QtCore/QSaveFile>

namespace {

const QLatin1String instanceName("instanceName");
const QLatin1String substructure("substructure");

bool isDescription(const QString& name)
{
    return name.endsWith(QLatin1String(".config.json")) || name == QLatin1String("Folder.menu.json");
}

void parse(const QString& path)
{
    QFile file(path);
    if (file.open(QIODevice::ReadOnly)) {
        QJsonDocument::fromJson(file.readAll());
    }
}

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

// The names as they are stored: a selection's is its whole path.
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

// Takes every container on the way out while it changes, for one that is referred to twice is copied.
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

} // namespace

void QtFloor::create(const QString& folder)
{
    const QFileInfoList entries = QDir(folder).entryInfoList(QDir::Dirs | QDir::Files | QDir::NoDotAndDotDot);
    for (const QFileInfo& entry : entries) {
        if (entry.isDir()) {
            create(entry.filePath());
        } else if (isDescription(entry.fileName())) {
            parse(entry.filePath());
        }
    }
}

QJsonArray QtFloor::load(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? QJsonDocument::fromJson(file.readAll()).array() : QJsonArray();
}

void QtFloor::save(const QJsonArray& manifest, const QString& path)
{
    QSaveFile file(path);
    if (file.open(QIODevice::WriteOnly)) {
        file.write(QJsonDocument(manifest).toJson(QJsonDocument::Compact));
        file.commit();
    }
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
        QHash<QString, int> positions;
        positions.reserve(children.size());
        for (int i = 0; i < children.size(); ++i) {
            const QString name = nameAt(children, i);
            positions.insert(name.mid(name.lastIndexOf(QLatin1Char('/')) + 1), i);
        }
        QJsonArray sorted;
        for (const QString& name : order) {
            sorted.append(children.at(positions.value(name)));
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
        element.insert(key, value);
        siblings.replace(position, element);
    });
}

void QtFloor::add(QJsonArray& manifest, const QString& path, const QJsonObject& element, int index)
{
    changeSiblings(manifest, path, [&](QJsonArray& siblings, const QString& name) {
        if (positionOf(siblings, name) < 0) {
            siblings.insert(index, element);
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
