#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QDebug>
#include <QtCore/QJsonArray>
#include <QtCore/QJsonObject>
#include <QtCore/QJsonValue>
#include <QtCore/QString>
#include <QtCore/QStringList>

#include <functional>
#include <map>
#include <optional>
#include <variant>
#include <vector>

struct Value;
using Items = std::vector<Value>;
using Members = std::map<QString, Value>;

/// A JSON value as plain data. Everything is copied, nothing is shared.
struct Value {
    std::variant<std::monostate, bool, double, QString, Items, Members> data;
};

bool operator==(const Value& a, const Value& b);

Value valueFrom(const QJsonValue& json);
Items itemsFrom(const QJsonArray& json);
Members membersFrom(const QJsonObject& json);

QJsonValue jsonFrom(const Value& value);
QJsonArray jsonFrom(const Items& items);
QJsonObject jsonFrom(const Members& members);

/// The instance name as a look-up reads it; null if the element is not an object or has no name.
QString nameOf(const Value& element);
bool isSelection(const Value& element);
const Items* childrenOf(const Value& element);

/// The content of a file to which this value is saved.
QByteArray compact(const Value& value);
QByteArray compact(const Items& items);

/// The text of a message that streams these parts.
template <typename... Parts>
QString messageText(const Parts&... parts)
{
    QString text;
    QDebug stream(&text);
    (stream << ... << parts);
    return text.endsWith(u' ') ? text.chopped(1) : text;
}

/**
 * A model of ConfigurationManifestHandler, implemented as simply as possible: every level is copied, edited and stored
 * again. Nothing is cached. The content of the file is a member.
 */
class ManifestModel {
public:
    using Edit = std::function<bool(Members& element, bool& changed)>;

    ManifestModel(const QString& moduleNameToStamp, const QString& objectNameToStamp);

    Items manifest;
    bool modified = false;
    /// The content of the file; none if there is no file.
    std::optional<QByteArray> file;
    /// The texts of all messages so far. The caller clears them after comparing.
    QStringList messages;
    /// How often each event has happened.
    std::map<QByteArray, int> events;

    /// parse() is a load of content whose root is an array; refuse() is a load that fails with this message.
    void parse(const Items& root);
    void refuse(const QString& message);
    void parseFile(const std::function<void()>& parseContent);
    void write();

    void stamp(Value& value) const;
    void stamp(Members& object) const;

    Members getElementFromInstance(const Items& array, const QString& instanceName, int& index);
    bool getNodeElement(const Items& array, const QStringList& instancePath, Members& element);
    bool getNodeElement(const QString& instancePath, Members& element);
    bool getListOfInstances(const QString& instancePath, QStringList& instances);
    bool getNumberOfInstances(const QString& instancePath, int& number);

    bool update(const QString& instancePath, const QString& key, const Value& value, bool writeToFile);
    bool setProperty(const QString& instancePath, const QString& key, const Value& value, bool writeToFile);
    bool removeProperty(const QString& instancePath, const QString& key, bool writeToFile);
    bool modifyPropertyFirst(const QString& instancePath, const Edit& edit, bool writeToFile);
    bool modifyProperty(
        Items& array, const QStringList& instancePath, const QString& fullPath, bool& changed, const Edit& edit);

    bool addNode(const QString& instancePath, const Members& description, int index, bool writeToFile);
    bool addSelection(const QString& instancePath, const Members& description, int index, bool writeToFile);
    bool deleteElement(const QString& instancePath, bool writeToFile);
    bool sortElements(const QString& instancePath, const QStringList& instanceNames, bool writeToFile);
    bool moveSelection(const QString& instancePath, int newIndex, bool writeToFile);
    bool moveNode(const QString& instancePath, int newIndex, bool writeToFile);
    bool updateSelection(const QString& instancePath, const Members& object, bool writeToFile);
    bool updateNode(const QString& instancePath, const Members& object, bool replaceSubstructure, bool writeToFile);

    bool addElement(Items& array, const QStringList& instancePath, const Members& description, int index, bool isNode);
    bool deleteElement(Items& array, const QStringList& instancePath, const QString& fullPath);
    bool replaceElement(Items& array, const QStringList& instancePath, const Members& object, bool replaceSubstructure);
    bool moveElement(Items& array, const QStringList& instancePath, int newIndex);
    bool sortElements(Items& array, const QStringList& instancePath, const QStringList& instanceNames);

private:
    template <typename... Parts>
    void warn(const Parts&... parts);

    bool descend(Items& array, const QStringList& instancePath,
        const std::function<bool(Items& children, const QStringList& rest)>& operation);
    bool saved(bool result, bool save);

    void reportDisplayPosition(const Members& description);
    Members nodeFrom(const Members& description, const QString& instanceName);
    Members selectionFrom(const Members& description, const QString& instanceName);
    QString readText(const Members& description, const QString& key);
    bool readBool(const Members& description, const QString& key);
    Items readItems(const Members& description, const QString& key);

    QString moduleName;
    QString objectName;
};
