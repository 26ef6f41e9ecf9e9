#include "JsonWalk.h"

#include <QtCore/QJsonArray>

#include <vector>

namespace {

// An object or array on the path from the root to the current value. It is stored in its parent only once, after all of
// it has been walked. Storing an array after every edited item would detach and copy it every time.
class Level {
public:
    explicit Level(const QJsonArray& items)
        : array(items)
        , isObject(false)
    {
    }

    Level(const QJsonObject& members, bool edited)
        : object(members)
        , isObject(true)
        , changed(edited)
    {
    }

    bool advance()
    {
        return ++position < (isObject ? object.size() : array.size());
    }

    QJsonValue current() const
    {
        return isObject ? (object.constBegin() + position).value() : array.at(position);
    }

    void replaceCurrent(const QJsonValue& value)
    {
        if (isObject) {
            *(object.begin() + position) = value;
        } else {
            array.replace(position, value);
        }
        changed = true;
    }

    bool hasChanged() const
    {
        return changed;
    }

    QJsonValue value() const
    {
        return isObject ? QJsonValue(object) : QJsonValue(array);
    }

private:
    QJsonObject object;
    QJsonArray array;
    bool isObject;
    bool changed = false;
    int position = -1;
};

Level visit(QJsonObject object, JsonDataIteratorObjectBase& iterator, QJsonValue& result)
{
    const QJsonObject before = object;
    iterator.compute(object, result);
    return {object, object != before};
}

void enter(std::vector<Level>& path, const QJsonValue& value, JsonDataIteratorObjectBase& iterator, QJsonValue& result)
{
    if (value.isObject()) {
        path.push_back(visit(value.toObject(), iterator, result));
    } else if (value.isArray()) {
        path.emplace_back(value.toArray());
    }
}

} // namespace

void walkJson(QJsonValue& document, JsonDataIteratorObjectBase& iterator, QJsonValue& result)
{
    // Not recursive: a document built in memory may be nested deeper than the call stack can take.
    std::vector<Level> path;
    enter(path, document, iterator, result);
    while (!path.empty()) {
        if (path.back().advance()) {
            enter(path, path.back().current(), iterator, result);
            continue;
        }
        const Level walked = path.back();
        path.pop_back();
        if (walked.hasChanged()) {
            if (path.empty()) {
                document = walked.value();
            } else {
                path.back().replaceCurrent(walked.value());
            }
        }
    }
}
