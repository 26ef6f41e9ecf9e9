// The texts of an input are a JSON document, letters that choose modes and types, and the instance name, key and value
// for an updater. The collector and the updater walk over the document and are called directly for its outer objects.
// Both are compared with models.

#include "Fuzzing.h"
#include "JsonDataIteratorConfigurationInstanceCollector.h"
#include "JsonDataIteratorConfigurationInstanceListUpdater.h"
#include "ManifestModel.h"
#include "MessageRecorder.h"
#include "substitute/JsonWalk.h"

#include <QtCore/QJsonArray>
#include <QtCore/QJsonDocument>

#include <functional>
#include <optional>

namespace {

const QString selectionType = QStringLiteral("selectionType");
const QString instanceName = QStringLiteral("instanceName");

/// The accumulator of a walk; nullopt stands for Undefined.
using Accumulator = std::optional<Value>;
using Visit = std::function<void(Members& object, Accumulator& result)>;

Accumulator accumulatorFrom(const QJsonValue& json)
{
    return json.isUndefined() ? std::nullopt : Accumulator(valueFrom(json));
}

QString textOf(const Accumulator& accumulator)
{
    return accumulator ? shown(*accumulator) : QStringLiteral("undefined");
}

void start(Accumulator& result)
{
    if (result && std::holds_alternative<std::monostate>(result->data)) {
        result->data = Items();
    }
}

void gather(Accumulator& result, const Value& value)
{
    if (result) {
        if (Items* const items = std::get_if<Items>(&result->data)) {
            items->push_back(value);
        }
    }
}

const QString* textIn(const Members& object, const QString& key)
{
    const auto found = object.find(key);
    return found == object.end() ? nullptr : std::get_if<QString>(&found->second.data);
}

void walk(Value& value, const Visit& visit, Accumulator& result)
{
    if (Members* const object = std::get_if<Members>(&value.data)) {
        visit(*object, result);
        for (auto& [key, member] : *object) {
            walk(member, visit, result);
        }
    } else if (Items* const items = std::get_if<Items>(&value.data)) {
        for (Value& item : *items) {
            walk(item, visit, result);
        }
    }
}

class CollectorModel {
public:
    QStringList messages;

    void visit(const Members& object, Accumulator& result)
    {
        start(result);
        if (object.count(selectionType) == 0) {
            return;
        }
        const QString* const type = textIn(object, selectionType);
        const QString* const name = textIn(object, instanceName);
        if (!type) {
            report("Error on reading selection type from json object:", object);
        } else if (*type == QLatin1String("Selection") && object.count(instanceName) == 0) {
            report("Selection does not contain an instanceName:", object);
        } else if (*type == QLatin1String("Selection") && !name) {
            report("Error on reading instance name from selection:", object);
        } else if (*type == QLatin1String("Selection")) {
            gather(result, {*name});
        }
    }

private:
    void report(const char* text, const Members& object)
    {
        messages << messageText(text, jsonFrom(object), "!");
    }
};

class UpdaterModel {
public:
    QString target;
    QString key;
    Value value;
    bool adds = false;
    bool removes = false;
    QStringList messages;

    void setAddKey(bool enable)
    {
        if (enable && removes) {
            messages << QStringLiteral("Removing of keys is already enabled and will be disabled!");
            removes = false;
        }
        adds = enable;
    }

    void setRemoveKey(bool enable)
    {
        if (enable && adds) {
            messages << QStringLiteral("Adding of keys is already enabled and will be disabled!");
            adds = false;
        }
        removes = enable;
    }

    void visit(Members& object, Accumulator& result)
    {
        start(result);
        if (object.count(selectionType) == 0) {
            return;
        }
        if (object.count(instanceName) == 0) {
            messages << messageText(
                "Unable to find key instanceName in current json object:", jsonFrom(object), "(", key, ")!");
            return;
        }
        if (!isTarget(object)) {
            return;
        }
        if (!edits(object)) {
            messages << messageText("Unable to find key", key, "in jsonObject:", jsonFrom(object), "!");
            return;
        }
        if (removes) {
            object.erase(key);
        } else {
            object[key] = value;
        }
        gather(result, {object});
    }

    /// Returns whether a walk would never end, because the updater would write the value into an object inside it.
    bool neverEnds() const
    {
        bool found = false;
        Value written = value;
        Accumulator none;
        walk(
            written,
            [&](Members& object, Accumulator&) {
                found = found || (object.count(selectionType) != 0 && isTarget(object) && !removes && edits(object));
            },
            none);
        return found;
    }

private:
    bool isTarget(const Members& object) const
    {
        const QString* const name = textIn(object, instanceName);
        return name && *name == target;
    }

    bool edits(const Members& object) const
    {
        return adds || object.count(key) != 0;
    }
};

void check(JsonDataIteratorObjectBase& iterator, const Visit& visit, QStringList& expectedMessages,
    const Value& document, const QJsonValue& accumulator, bool walks, const QStringList& calls)
{
    Comparison comparison;
    MessageRecorder recorder;
    if (walks) {
        QJsonValue json = jsonFrom(document);
        const QJsonValue copy = json;
        QJsonValue result = accumulator;
        Value expected = document;
        Accumulator expectedResult = accumulatorFrom(accumulator);
        walkJson(json, iterator, result);
        walk(expected, visit, expectedResult);
        comparison.same("document", valueFrom(json), expected);
        comparison.same("copy", valueFrom(copy), document);
        comparison.same("result", textOf(accumulatorFrom(result)), textOf(expectedResult));
    }

    const Items* const items = std::get_if<Items>(&document.data);
    QJsonValue result = accumulator;
    Accumulator expectedResult = accumulatorFrom(accumulator);
    for (const Value& item : items ? *items : Items {document}) {
        if (const Members* const members = std::get_if<Members>(&item.data)) {
            QJsonObject object = jsonFrom(*members);
            Members expected = *members;
            iterator.compute(object, result);
            visit(expected, expectedResult);
            comparison.same("object", membersFrom(object), expected);
        }
    }
    comparison.same("result of compute", textOf(accumulatorFrom(result)), textOf(expectedResult));
    comparison.same("messages", textsOf(recorder.take()), expectedMessages);
    expectedMessages.clear();
    endIfDifferent(comparison.differences(), calls);
}

void checkModes(JsonDataIteratorConfigurationInstanceListUpdater& updater, UpdaterModel& model, const QString& letters,
    const QStringList& calls)
{
    MessageRecorder recorder;
    for (const QChar letter : letters) {
        const bool enable = letter.isLower();
        if (letter.toLower() == QLatin1Char('a')) {
            updater.setAddKey(enable);
            model.setAddKey(enable);
        } else if (letter.toLower() == QLatin1Char('r')) {
            updater.setRemoveKey(enable);
            model.setRemoveKey(enable);
        }
    }
    Comparison comparison;
    comparison.same("addKey", updater.addKey(), model.adds);
    comparison.same("removeKey", updater.removeKey(), model.removes);
    comparison.same("messages", textsOf(recorder.take()), model.messages);
    model.messages.clear();
    endIfDifferent(comparison.differences(), calls);
}

Value parsed(const QByteArray& json)
{
    const QJsonDocument document = QJsonDocument::fromJson(json);
    return document.isArray() ? Value {itemsFrom(document.array())} : Value {membersFrom(document.object())};
}

QJsonValue accumulatorOf(const QString& letters)
{
    return letters.contains(QLatin1Char('u')) ? QJsonValue(QJsonValue::Undefined)
        : letters.contains(QLatin1Char('t'))  ? QJsonValue(QStringLiteral("text"))
        : letters.contains(QLatin1Char('o'))  ? QJsonValue(QJsonObject())
        : letters.contains(QLatin1Char('i'))  ? QJsonValue(QJsonArray {QStringLiteral("item")})
                                              : QJsonValue();
}

QVariant variantOf(const QJsonValue& value, const QString& letters)
{
    return letters.contains(QLatin1Char('j'))                    ? QVariant::fromValue(value)
        : letters.contains(QLatin1Char('h')) && value.isObject() ? QVariant(value.toObject().toVariantHash())
        : value.isNull()                                         ? QVariant()
                                                                 : value.toVariant();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    Texts texts(data, size);
    const QByteArray json = texts.next();
    const QString letters = texts.nextString();
    UpdaterModel updaterModel;
    updaterModel.target = texts.nextString();
    updaterModel.key = texts.nextString();
    const QByteArray values = '[' + texts.next() + ']';
    if (repeatsKey(json) || repeatsKey(values)) {
        return 0;
    }
    const Value document = parsed(json);
    updaterModel.value = valueFrom(QJsonDocument::fromJson(values).array().at(0));
    const QJsonValue accumulator = accumulatorOf(letters);
    const QStringList calls {
        shown(document), letters, updaterModel.target, updaterModel.key, shown(updaterModel.value)};

    JsonDataIteratorConfigurationInstanceCollector collector;
    CollectorModel collectorModel;
    check(
        collector, [&](Members& object, Accumulator& result) { collectorModel.visit(object, result); },
        collectorModel.messages, document, accumulator, true, calls);

    JsonDataIteratorConfigurationInstanceListUpdater updater;
    updater.init(updaterModel.target, updaterModel.key, variantOf(jsonFrom(updaterModel.value), letters));
    checkModes(updater, updaterModel, letters, calls);
    check(
        updater, [&](Members& object, Accumulator& result) { updaterModel.visit(object, result); },
        updaterModel.messages, document, accumulator, !updaterModel.neverEnds(), calls);
    return 0;
}
