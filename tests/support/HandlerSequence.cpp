#include "HandlerSequence.h"

#include "Comparison.h"
#include "ConfigurationAndProcessDataDefinitions.h"
#include "ConfigurationManifestHandler.h"
#include "Files.h"
#include "Literals.h"
#include "ManifestModel.h"
#include "MessageRecorder.h"
#include "SystemInformationManagerRegistryDefinitions.h"

#include <QtCore/QFile>
#include <QtCore/QFileInfo>
#include <QtCore/QJsonDocument>
#include <QtCore/QRegularExpression>

#include <algorithm>
#include <exception>
#include <limits>
#include <utility>

namespace {

using Data = ConfigurationAndProcessDataDefinitions;
using Registry = SystemInformationManagerRegistryDefinitions;
using ::shown;

const QString selectionType = u"selectionType"_qs;
const QString instanceName = u"instanceName"_qs;
const QString substructure = u"substructure"_qs;

/// The content of the file until the handler writes to it. It makes every write visible, even one of equal content.
const QByteArray untouched = QByteArrayLiteral("untouched");
const QString untouchedRefused = u"Error on paring configuration manifest file content to Json: \"illegal value\" !"_qs;

struct Content {
    const char* text;
    const char* message;
};

const Content noManifests[] = {
    {"", "Error on paring configuration manifest file content to Json: \"illegal value\" !"},
    {"null", "Error on paring configuration manifest file content to Json: \"illegal value\" !"},
    {"[1,]", "Error on paring configuration manifest file content to Json: \"object is missing after a comma\" !"},
    {"[] x", "Error on paring configuration manifest file content to Json: \"garbage at the end of the document\" !"},
    {"[\"\xff\"]", "Error on paring configuration manifest file content to Json: \"invalid UTF8 string\" !"},
    {"{}", "Configuration manifest file does not contain a Json array!"},
    {R"({"selectionType":"Selection"})", "Configuration manifest file does not contain a Json array!"},
};

/// The name under which a look-up finds the element among its siblings.
QString calledName(const Value& element)
{
    return isSelection(element) ? nameOf(element).split(u'/').last() : nameOf(element);
}

size_t sizeOf(const Value& value)
{
    size_t size = 1;
    if (const Items* items = std::get_if<Items>(&value.data)) {
        for (const Value& item : *items) {
            size += sizeOf(item);
        }
    } else if (const Members* members = std::get_if<Members>(&value.data)) {
        for (const auto& [key, member] : *members) {
            size += sizeOf(member);
        }
    }
    return size;
}

/// Input from few names and keys, so that they often match.
class Generator {
public:
    explicit Generator(Choice choice)
        : below(std::move(choice))
    {
    }

    const Choice below;

    bool chance(int percent)
    {
        return below(100) < percent;
    }

    template <typename List>
    auto oneOf(const List& list)
    {
        return list[static_cast<decltype(list.size())>(below(static_cast<int>(list.size())))];
    }

    QString name()
    {
        static const QStringList plain {u"a"_qs, u"b"_qs, u"c"_qs};
        static const QStringList odd {QString(), u"a/b"_qs, u"b/c"_qs, u"a/b/c"_qs, u"/"_qs, u"a/"_qs, u"/b"_qs,
            u"a//b"_qs, u"A"_qs, u"Ä \"ö\"\n"_qs};
        return oneOf(chance(75) ? plain : odd);
    }

    QString key()
    {
        static const QStringList keys {u"iconName"_qs, u"label"_qs, QString(), u"ключ"_qs, Registry::getKeyModuleName(),
            instanceName, selectionType, substructure};
        return oneOf(keys);
    }

    Value scalar()
    {
        static const std::vector<Value> scalars {{}, {true}, {false}, {0.0}, {1.0}, {-1.0}, {2.5}, {-3e20}, {QString()},
            {u"text"_qs}, {u"\"\\/\b\f\n\r\t\u0001 é 漢 😀"_qs}, {u"Selection"_qs}};
        return oneOf(scalars);
    }

    Value value(int depth = 2)
    {
        if (depth == 0 || chance(70)) {
            return scalar();
        }
        if (chance(50)) {
            Items items;
            for (int i = below(4); i > 0; --i) {
                items.push_back(value(depth - 1));
            }
            return {items};
        }
        Members members;
        for (int i = below(4); i > 0; --i) {
            const QString memberKey = key();
            members[memberKey] = valueFor(memberKey, depth - 1);
        }
        return {members};
    }

    /// A value, often of the type that the key requires.
    Value valueFor(const QString& memberKey, int depth = 2)
    {
        static const QStringList types {u"Node"_qs, u"Selection"_qs, u"Selection"_qs, u"selection"_qs, QString()};
        if (chance(25)) {
            return value(depth);
        }
        return memberKey == instanceName ? Value {name()}
            : memberKey == selectionType ? Value {oneOf(types)}
            : memberKey == substructure  ? Value {elements(QString(), depth)}
                                         : value(depth);
    }

    Value element(const QString& parentPath, int depth)
    {
        if (chance(6)) {
            return value(1);
        }
        const QString prefix = parentPath.isEmpty() ? QString() : parentPath + u'/';
        const QString ownName = name();
        const bool selection = chance(35);
        Members members;
        members[selectionType] = Value {selection ? u"Selection"_qs : u"Node"_qs};
        members[instanceName] = Value {chance(selection ? 80 : 25) ? prefix + ownName : ownName};
        if (selection ? chance(10) : chance(85)) {
            members[substructure] = Value {elements(prefix + ownName, depth - 1)};
        }
        for (int i = below(3); i > 0; --i) {
            const QString memberKey = key();
            if (memberKey != instanceName && memberKey != selectionType && memberKey != substructure) {
                members[memberKey] = value();
            }
        }
        if (chance(8)) {
            const QString memberKey = oneOf(QStringList {instanceName, selectionType, substructure});
            members[memberKey] = value();
        }
        if (chance(6)) {
            members.erase(oneOf(QStringList {instanceName, selectionType, substructure}));
        }
        return {members};
    }

    Items elements(const QString& parentPath, int depth)
    {
        Items items;
        if (depth > 0) {
            for (int i = below(6); i > 0; --i) {
                items.push_back(element(parentPath, depth));
            }
        }
        return items;
    }

    /// A description for a new element, with all keys that the library reads. Some are missing, and some values have a
    /// wrong type.
    Members description()
    {
        static const QStringList texts {Registry::getKeyLabelTextId(), Registry::getKeyDataModel(),
            Registry::getKeyLastModified(), selectionType, Registry::getKeyCloseMode(), Registry::getKeyUiJob(),
            Registry::getKeyIconName(), Data::getKeyDataPropertyTemplateType(), Data::getKeyDataPropertyLabelTextUrl(),
            Data::getKeyDataPropertyDependencyFile(), Data::getKeyDataPropertyDependencyFileExtern(),
            Registry::getKeyModuleName(), Registry::getKeyObjectName(), instanceName,
            Data::getKeyDataPropertyBufferType(), Registry::getKeyDataSourceType(),
            Data::getKeyDataPropertyTolmVersion(), Data::getKeyDataPropertyConfigurationVersion()};
        static const std::vector<Value> numbers {{0.0}, {7.0}, {-1.0}, {2.9}, {-0.5}, {2147483647.0}, {2147483648.0}};
        Members members;
        for (const QString& textKey : texts) {
            if (chance(15)) {
                members[textKey] = chance(70) ? Value {name()} : value();
            }
        }
        for (const QString& numberKey : {Registry::getKeyDisplayPosition(), Data::getKeyDataPropertyConnectorId()}) {
            if (chance(50)) {
                members[numberKey] = chance(80) ? oneOf(numbers) : value();
            }
        }
        for (const QString& listKey :
            {Data::getKeyDataPropertySelectorTypeList(), Data::getKeyDataPropertySelectorTypeListEndpoint()}) {
            if (chance(30)) {
                members[listKey] = chance(70) ? Value {Items {value(), value()}} : value();
            }
        }
        if (chance(60)) {
            members[Registry::getKeyHide()] = chance(70) ? Value {chance(50)} : value();
        }
        if (chance(15)) {
            members[substructure] = valueFor(substructure);
        }
        return members;
    }

    /// The value as one of the types that a caller may pass.
    QVariant variant(const Value& of)
    {
        const QJsonValue json = jsonFrom(of);
        switch (below(4)) {
        case 0:
            return QVariant::fromValue(json);
        case 1:
            return json.isArray() ? QVariant(json.toArray())
                : json.isObject() ? QVariant(json.toObject())
                                  : json.toVariant();
        case 2:
            return json.isObject()                                   ? QVariant(json.toObject().toVariantHash())
                : json.isDouble() && json.toInt() == json.toDouble() ? QVariant(json.toInt())
                                                                     : json.toVariant();
        default:
            return json.isNull() ? QVariant() : json.toVariant();
        }
    }

    /// A path, mostly of an element that exists.
    QString path(const Items& top)
    {
        const Items* level = &top;
        QStringList names;
        while (level && !level->empty() && (names.isEmpty() || chance(65))) {
            const Value& chosen = (*level)[static_cast<size_t>(below(static_cast<int>(level->size())))];
            QString wholeName = nameOf(chosen);
            const bool namedByPath = !names.isEmpty() && wholeName.startsWith(names.join(u'/'));
            if (wholeName.contains(u'/') && chance(namedByPath ? 80 : 15)) {
                return wholeName;
            }
            names << calledName(chosen);
            level = childrenOf(chosen);
        }
        switch (below(24)) {
        case 0:
            names << name();
            break;
        case 1:
            names.insert(below(names.size() + 1), QString());
            break;
        case 2:
            names.prepend(QString());
            break;
        case 3:
            names.append(QString());
            break;
        case 4:
            if (!names.isEmpty()) {
                names[below(names.size())] = name();
            }
            break;
        case 5:
            names = QStringList {name(), name()};
            break;
        default:
            break;
        }
        return chance(3) ? QString() : names.join(u'/');
    }

    QStringList listPath(const Items& top)
    {
        if (chance(6)) {
            return {};
        }
        const QString whole = path(top);
        QStringList names = whole.split(u'/');
        if (chance(20)) {
            names.last() = whole;
        }
        return names;
    }

    int index()
    {
        static const std::vector<int> extremes {
            -1, -2, std::numeric_limits<int>::min(), std::numeric_limits<int>::max(), 1000};
        return chance(15) ? oneOf(extremes) : below(5);
    }

    /// A list of names for sorting the children at a path: complete, without one name, with one name twice, or with
    /// unknown names.
    QStringList order(const Items& top, const QStringList& path)
    {
        const Items* level = &top;
        for (const QString& segment : path) {
            const auto found = std::find_if(
                level->begin(), level->end(), [&](const Value& element) { return calledName(element) == segment; });
            level = found == level->end() ? nullptr : childrenOf(*found);
            if (!level) {
                return {name()};
            }
        }
        QStringList names;
        for (const Value& sibling : *level) {
            names << calledName(sibling);
        }
        for (int i = names.size() - 1; i > 0; --i) {
            names.swapItemsAt(i, below(i + 1));
        }
        switch (below(10)) {
        case 0:
            names << name();
            break;
        case 1:
            if (!names.isEmpty()) {
                names.removeLast();
            }
            break;
        case 2:
            if (!names.isEmpty()) {
                names.first() = oneOf(names);
            }
            break;
        default:
            break;
        }
        return names;
    }
};

/// An array of a caller, for the handler and for the model.
struct Pair {
    QJsonArray json;
    Items items;
};

/// The behaviour of an edit function, the same for handler and model.
struct EditPlan {
    enum Alteration { Nothing, Insertion, Removal, Clearing };
    enum Nested { NoCall, Change, Deletion, Emptying };

    bool result;
    bool reportsChange;
    Alteration alteration;
    QString key;
    Value value;
    bool throws;
    /// The nested call of the edit function to the handler, and its path.
    Nested nested;
    QString nestedAt;

    QString text() const
    {
        static const char* const alterations[] = {"leave it", "insert", "remove", "clear"};
        static const char* const calls[] = {"no call", "change of", "deletion of", "emptying from"};
        return u"{%1 %2 %3, changed %4, %5, %6 %7}"_qs.arg(QLatin1String(alterations[alteration]), key, shown(value),
            shown(reportsChange), throws ? u"throw"_qs : shown(result), QLatin1String(calls[nested]), nestedAt);
    }
};

struct Refusal : std::exception { };

/// What an edit function was called with.
struct Encounter {
    Value element;
    bool changed;
    Items manifest;
    Items array;
    bool modified;
};

bool operator==(const Encounter& a, const Encounter& b)
{
    return a.element == b.element && a.changed == b.changed && a.manifest == b.manifest && a.array == b.array
        && a.modified == b.modified;
}

QString shown(const Encounter& encounter)
{
    return u"{element %1, changed %2, manifest %3, array %4, modified %5}"_qs.arg(shown(encounter.element),
        shown(encounter.changed), shown(encounter.manifest), shown(encounter.array), shown(encounter.modified));
}

enum class Outcome { False, True, EmptyFunction, Refused };

QString shown(Outcome outcome)
{
    static const char* const texts[] = {"false", "true", "std::bad_function_call", "the edit's exception"};
    return QLatin1String(texts[static_cast<int>(outcome)]);
}

template <typename Function>
Outcome outcomeOf(Function function)
{
    try {
        return function() ? Outcome::True : Outcome::False;
    } catch (const std::bad_function_call&) {
        return Outcome::EmptyFunction;
    } catch (const Refusal&) {
        return Outcome::Refused;
    }
}

} // namespace

class HandlerSequence::Steps {
public:
    Steps(Choice choice, const QString& folderPath)
        : random(std::move(choice))
        , folder(folderPath)
        , path(folderPath + u"/configuration.manifest.json"_qs)
        , moduleName(random.chance(70) ? u"module"_qs : QString())
        , objectName(random.chance(70) ? u"object"_qs : QString())
        , handler(std::in_place, path, moduleName, objectName)
        , model(moduleName, objectName)
    {
        putFile(untouched);
        setManifest();
    }

    /// Takes the next step and returns the differences between handler and model.
    QStringList step()
    {
        if (sizeOf(Value {model.manifest}) > 400 || sizeOf(Value {foreign.items}) > 400) {
            setManifest();
            takeForeign();
        } else {
            takeStep();
        }
        compare();
        if (model.file && *model.file != untouched) {
            putFile(untouched);
        }
        return comparison.differences();
    }

    QString call;

    QString state() const
    {
        return u"manifest %1, modified %2, array %3, file %4"_qs.arg(
            shown(model.manifest), shown(model.modified), shown(foreign.items), shown(model.file));
    }

    const std::map<QByteArray, int>& events() const
    {
        return model.events;
    }

private:
    using Step = void (Steps::*)();

    void takeStep()
    {
        struct Weighted {
            Step step;
            int weight;
        };
        static const Weighted steps[] = {{&Steps::setProperty, 8}, {&Steps::update, 5}, {&Steps::removeProperty, 5},
            {&Steps::modifyPropertyFirst, 6}, {&Steps::modifyProperty, 6}, {&Steps::add, 12},
            {&Steps::deleteElement, 7}, {&Steps::sortElements, 7}, {&Steps::move, 9}, {&Steps::replace, 8},
            {&Steps::addToArray, 4}, {&Steps::deleteFromArray, 4}, {&Steps::replaceInArray, 4},
            {&Steps::moveInArray, 4}, {&Steps::sortArray, 4}, {&Steps::getNodeElement, 4},
            {&Steps::getNodeElementInArray, 3}, {&Steps::getElementFromInstance, 3}, {&Steps::getInstances, 6},
            {&Steps::setManifest, 1}, {&Steps::parseContent, 3}, {&Steps::parseFile, 1}, {&Steps::write, 1},
            {&Steps::replaceFile, 1}, {&Steps::replaceHandler, 6}, {&Steps::takeSnapshot, 2}, {&Steps::takeForeign, 2},
            {&Steps::stamp, 1}};
        int sum = 0;
        for (const Weighted& weighted : steps) {
            sum += weighted.weight;
        }
        int chosen = random.below(sum);
        const Weighted* weighted = steps;
        while (chosen >= weighted->weight) {
            chosen -= weighted->weight;
            ++weighted;
        }
        (this->*weighted->step)();
    }

    template <typename... Arguments>
    void calling(const char* function, const Arguments&... arguments)
    {
        const QStringList texts {shown(arguments)...};
        call = QLatin1String(function) + u'(' + texts.join(u", "_qs) + u')';
    }

    void compare()
    {
        comparison.same("manifest", itemsFrom(handler->getManifestJsonArray()), model.manifest);
        comparison.same(
            "content", std::optional(handler->getManifestContent()), std::optional(compact(model.manifest)));
        comparison.same("modified", handler->getModified(), model.modified);
        comparison.same("array", itemsFrom(foreign.json), foreign.items);
        comparison.same("snapshot", itemsFrom(snapshot.json), snapshot.items);
        comparison.same("file", QFileInfo::exists(path) ? std::optional(readFile(path)) : std::nullopt, model.file);
        comparison.same(
            "folder", everythingIn(folder), model.file ? QStringList {QFileInfo(path).fileName()} : QStringList());

        comparison.same("messages", textsOf(recorder.take()), model.messages);
        static const QRegularExpression appended(u" (\"|\\(|QJsonObject).*"_qs);
        for (QString text : std::as_const(model.messages)) {
            ++model.events["message: " + text.remove(appended).toUtf8()];
        }
        model.messages.clear();
    }

    void putFile(const std::optional<QByteArray>& content)
    {
        if (content) {
            writeFile(path, *content);
        } else {
            QFile::remove(path);
        }
        model.file = content;
    }

    void result(bool actual, bool expected)
    {
        comparison.same("result", actual, expected);
        ++model.events[call.section(u'(', 0, 0).toUtf8() + (expected ? ": true" : ": false")];
    }

    /// A property to store in the element at a path; sometimes one that the element already has.
    std::pair<QString, Value> property(const QString& at)
    {
        Members element;
        model.getNodeElement(model.manifest, at.split(u'/'), element);
        model.messages.clear();
        if (!element.empty() && random.chance(25)) {
            return *std::next(element.begin(), random.below(static_cast<int>(element.size())));
        }
        const QString key = random.key();
        return {key, random.valueFor(key)};
    }

    void setProperty()
    {
        const QString at = random.path(model.manifest);
        const auto [key, value] = property(at);
        const bool save = random.chance(30);
        calling("setProperty", at, key, value, save);
        result(handler->setProperty(at, key, random.variant(value), save), model.setProperty(at, key, value, save));
    }

    void update()
    {
        const QString at = random.path(model.manifest);
        const auto [key, value] = property(at);
        const bool save = random.chance(30);
        calling("update", at, key, value, save);
        result(handler->update(at, key, random.variant(value), save), model.update(at, key, value, save));
    }

    void removeProperty()
    {
        const QString at = random.path(model.manifest);
        const QString key = random.key();
        const bool save = random.chance(30);
        calling("removeProperty", at, key, save);
        result(handler->removeProperty(at, key, save), model.removeProperty(at, key, save));
    }

    EditPlan editPlan()
    {
        const QString key = random.key();
        return {random.chance(70), random.chance(60), static_cast<EditPlan::Alteration>(random.below(4)), key,
            random.valueFor(key), random.chance(8),
            random.chance(25) ? static_cast<EditPlan::Nested>(random.below(4)) : EditPlan::NoCall,
            random.path(model.manifest)};
    }

    /// The edit function for the handler. `array` is the array that the edit works on.
    std::function<bool(QJsonObject&, bool&)> handlerEdit(
        const EditPlan& plan, const QJsonArray& array, std::vector<Encounter>& encounters)
    {
        return [this, &plan, &array, &encounters](QJsonObject& element, bool& changed) {
            encounters.push_back({{membersFrom(element)}, changed, itemsFrom(handler->getManifestJsonArray()),
                itemsFrom(array), handler->getModified()});
            if (plan.nested == EditPlan::Change) {
                handler->setProperty(plan.nestedAt, u"nested"_qs, true, false);
            } else if (plan.nested == EditPlan::Deletion) {
                handler->deleteElement(plan.nestedAt, false);
            } else if (plan.nested == EditPlan::Emptying) {
                handler->setManifestJsonArray({});
            }
            if (plan.alteration == EditPlan::Insertion) {
                element.insert(plan.key, jsonFrom(plan.value));
            } else if (plan.alteration == EditPlan::Removal) {
                element.remove(plan.key);
            } else if (plan.alteration == EditPlan::Clearing) {
                element = QJsonObject();
            }
            changed = changed || plan.reportsChange;
            if (plan.throws) {
                throw Refusal();
            }
            return plan.result;
        };
    }

    ManifestModel::Edit modelEdit(const EditPlan& plan, const Items& array, std::vector<Encounter>& encounters)
    {
        return [this, &plan, &array, &encounters](Members& element, bool& changed) {
            encounters.push_back({{element}, changed, model.manifest, array, model.modified});
            if (plan.nested == EditPlan::Change) {
                model.setProperty(plan.nestedAt, u"nested"_qs, {true}, false);
            } else if (plan.nested == EditPlan::Deletion) {
                model.deleteElement(plan.nestedAt, false);
            } else if (plan.nested == EditPlan::Emptying) {
                model.manifest.clear();
            }
            if (plan.alteration == EditPlan::Insertion) {
                element[plan.key] = plan.value;
            } else if (plan.alteration == EditPlan::Removal) {
                element.erase(plan.key);
            } else if (plan.alteration == EditPlan::Clearing) {
                element.clear();
            }
            changed = changed || plan.reportsChange;
            if (plan.throws) {
                throw Refusal();
            }
            return plan.result;
        };
    }

    void outcome(Outcome actual, Outcome expected)
    {
        comparison.same("outcome", actual, expected);
        ++model.events[call.section(u'(', 0, 0).toUtf8() + ": " + shown(expected).toUtf8()];
    }

    void modifyPropertyFirst()
    {
        const QString at = random.path(model.manifest);
        const EditPlan plan = editPlan();
        const bool save = random.chance(30);
        const bool empty = random.chance(6);
        calling("modifyPropertyFirst", at, empty ? u"no function"_qs : plan.text(), save);
        std::vector<Encounter> actual;
        std::vector<Encounter> expected;
        const std::function<bool(QJsonObject&, bool&)> edit = handlerEdit(plan, foreign.json, actual);
        const ManifestModel::Edit wanted = modelEdit(plan, foreign.items, expected);
        outcome(outcomeOf([&] { return handler->modifyPropertyFirst(at, empty ? nullptr : edit, save); }),
            outcomeOf([&] { return model.modifyPropertyFirst(at, empty ? nullptr : wanted, save); }));
        comparison.same("calls of the edit", actual, expected);
    }

    void modifyProperty()
    {
        const QStringList at = random.listPath(foreign.items);
        const QString whole = random.chance(30) ? QString() : at.join(u'/');
        const EditPlan plan = editPlan();
        const bool changedBefore = random.chance(20);
        const bool empty = random.chance(6);
        calling("modifyProperty", at, whole, changedBefore, empty ? u"no function"_qs : plan.text());
        std::vector<Encounter> actual;
        std::vector<Encounter> expected;
        const std::function<bool(QJsonObject&, bool&)> edit = handlerEdit(plan, foreign.json, actual);
        const ManifestModel::Edit wanted = modelEdit(plan, foreign.items, expected);
        bool changed = changedBefore;
        bool changedWanted = changedBefore;
        outcome(outcomeOf(
                    [&] { return handler->modifyProperty(foreign.json, at, whole, changed, empty ? nullptr : edit); }),
            outcomeOf([&] {
                return model.modifyProperty(foreign.items, at, whole, changedWanted, empty ? nullptr : wanted);
            }));
        comparison.same("changed", changed, changedWanted);
        comparison.same("calls of the edit", actual, expected);
    }

    void add()
    {
        const bool node = random.chance(50);
        const QString parent = random.path(model.manifest);
        const QString at =
            random.chance(30) ? parent : parent + QLatin1String(parent.isEmpty() ? "" : "/") + random.name();
        const Members description = random.description();
        const int index = random.index();
        const bool save = random.chance(30);
        calling(node ? "addNode" : "addSelection", at, description, index, save);
        result(node ? handler->addNode(at, jsonFrom(description), index, save)
                    : handler->addSelection(at, jsonFrom(description), index, save),
            node ? model.addNode(at, description, index, save) : model.addSelection(at, description, index, save));
    }

    void deleteElement()
    {
        const QString at = random.path(model.manifest);
        const bool save = random.chance(30);
        calling("deleteElement", at, save);
        result(handler->deleteElement(at, save), model.deleteElement(at, save));
    }

    void sortElements()
    {
        const QString at = random.chance(30) ? QString() : random.path(model.manifest);
        const QStringList names = random.order(model.manifest, at.isEmpty() ? QStringList() : at.split(u'/'));
        const bool save = random.chance(30);
        calling("sortElements", at, names, save);
        result(handler->sortElements(at, names, save), model.sortElements(at, names, save));
    }

    void move()
    {
        const bool node = random.chance(50);
        const QString at = random.path(model.manifest);
        const int index = random.index();
        const bool save = random.chance(30);
        calling(node ? "moveNode" : "moveSelection", at, index, save);
        result(node ? handler->moveNode(at, index, save) : handler->moveSelection(at, index, save),
            node ? model.moveNode(at, index, save) : model.moveSelection(at, index, save));
    }

    Members replacement()
    {
        const Value element = random.element(random.name(), 2);
        const Members* members = std::get_if<Members>(&element.data);
        return members ? *members : Members();
    }

    void replace()
    {
        const bool node = random.chance(60);
        const QString at = random.path(model.manifest);
        const Members object = replacement();
        const bool withChildren = random.chance(50);
        const bool save = random.chance(30);
        calling(node ? "updateNode" : "updateSelection", at, object, withChildren, save);
        result(node ? handler->updateNode(at, jsonFrom(object), withChildren, save)
                    : handler->updateSelection(at, jsonFrom(object), save),
            node ? model.updateNode(at, object, withChildren, save) : model.updateSelection(at, object, save));
    }

    void addToArray()
    {
        QStringList at = random.listPath(foreign.items);
        if (random.chance(70)) {
            at << random.name();
        }
        const Members description = random.description();
        const int index = random.index();
        const bool node = random.chance(50);
        calling("addElement", at, description, index, node);
        result(handler->addElement(foreign.json, at, jsonFrom(description), index, node),
            model.addElement(foreign.items, at, description, index, node));
    }

    void deleteFromArray()
    {
        const QStringList at = random.listPath(foreign.items);
        const QString whole = random.chance(30) ? QString() : at.join(u'/');
        calling("deleteElement in array", at, whole);
        result(handler->deleteElement(foreign.json, at, whole), model.deleteElement(foreign.items, at, whole));
    }

    void replaceInArray()
    {
        const QStringList at = random.listPath(foreign.items);
        const Members object = replacement();
        const bool withChildren = random.chance(50);
        calling("replaceElement", at, object, withChildren);
        result(handler->replaceElement(foreign.json, at, jsonFrom(object), withChildren),
            model.replaceElement(foreign.items, at, object, withChildren));
    }

    void moveInArray()
    {
        const QStringList at = random.listPath(foreign.items);
        const int index = random.index();
        calling("moveElement", at, index);
        result(handler->moveElement(foreign.json, at, index), model.moveElement(foreign.items, at, index));
    }

    void sortArray()
    {
        const QStringList at = random.chance(30) ? QStringList() : random.listPath(foreign.items);
        const QStringList names = random.order(foreign.items, at);
        calling("sortElements in array", at, names);
        result(handler->sortElements(foreign.json, at, names), model.sortElements(foreign.items, at, names));
    }

    void getNodeElement()
    {
        const QString at = random.path(model.manifest);
        calling("getNodeElement", at);
        Members expected {{u"before"_qs, {}}};
        QJsonObject actual = jsonFrom(expected);
        result(handler->getNodeElement(at, actual), model.getNodeElement(at, expected));
        comparison.same("element", membersFrom(actual), expected);
    }

    void getNodeElementInArray()
    {
        const QStringList at = random.listPath(foreign.items);
        calling("getNodeElement in array", at);
        Members expected {{u"before"_qs, {}}};
        QJsonObject actual = jsonFrom(expected);
        result(handler->getNodeElement(foreign.json, at, actual), model.getNodeElement(foreign.items, at, expected));
        comparison.same("element", membersFrom(actual), expected);
    }

    void getElementFromInstance()
    {
        const QString name = random.chance(60) ? random.name() : random.path(foreign.items);
        calling("getElementFromInstance", name);
        int actual = 99;
        int expected = 99;
        comparison.same("element", membersFrom(handler->getElementFromInstance(foreign.json, name, actual)),
            model.getElementFromInstance(foreign.items, name, expected));
        comparison.same("index", actual, expected);
        ++model.events[expected == -1 ? "getElementFromInstance: none" : "getElementFromInstance: found"];
    }

    void getInstances()
    {
        const QString at = random.chance(15) ? QString() : random.path(model.manifest);
        if (random.chance(50)) {
            calling("getListOfInstances", at);
            QStringList expected {u"before"_qs};
            QStringList actual = expected;
            result(handler->getListOfInstances(at, actual), model.getListOfInstances(at, expected));
            comparison.same("instances", actual, expected);
        } else {
            calling("getNumberOfInstances", at);
            int expected = 99;
            int actual = expected;
            result(handler->getNumberOfInstances(at, actual), model.getNumberOfInstances(at, expected));
            comparison.same("number", actual, expected);
        }
    }

    void setManifest()
    {
        model.manifest = random.chance(20) ? foreign.items : random.elements(QString(), 4);
        calling("setManifestJsonArray", model.manifest);
        handler->setManifestJsonArray(jsonFrom(model.manifest));
    }

    QByteArray contentOf(const Items& root)
    {
        const QJsonDocument document(jsonFrom(root));
        return random.chance(50) ? compact(root) : document.toJson(QJsonDocument::Indented);
    }

    void parseContent()
    {
        if (random.chance(30)) {
            const Content& content = noManifests[random.below(static_cast<int>(std::size(noManifests)))];
            calling("parseManifestFile", QString::fromUtf8(content.text));
            handler->parseManifestFile(QByteArray(content.text));
            model.refuse(QLatin1String(content.message));
            return;
        }
        const Items root = random.elements(QString(), 4);
        calling("parseManifestFile", root);
        handler->parseManifestFile(contentOf(root));
        model.parse(root);
    }

    void parseFile()
    {
        calling("parseManifestFile");
        const Items root = random.elements(QString(), 4);
        const bool withManifest = model.file && random.chance(70);
        if (withManifest) {
            putFile(contentOf(root));
        }
        handler->parseManifestFile();
        model.parseFile([&] { withManifest ? model.parse(root) : model.refuse(untouchedRefused); });
    }

    void write()
    {
        calling("writeToManifestFile");
        handler->writeToManifestFile();
        model.write();
    }

    void replaceHandler()
    {
        calling("another handler");
        handler.emplace(path, moduleName, objectName);
        model.modified = false;
        handler->setManifestJsonArray(jsonFrom(model.manifest));
    }

    void replaceFile()
    {
        calling("the file disappears or comes back");
        putFile(model.file ? std::nullopt : std::optional(untouched));
    }

    void takeSnapshot()
    {
        calling("getManifestJsonArray");
        snapshot = {handler->getManifestJsonArray(), model.manifest};
    }

    void takeForeign()
    {
        calling("another array for the array operations");
        if (random.chance(50)) {
            foreign = {handler->getManifestJsonArray(), model.manifest};
        } else {
            const Items items = random.elements(QString(), 4);
            foreign = {jsonFrom(items), items};
        }
    }

    void stamp()
    {
        calling("addModuleAndObjectNameToManifest", foreign.items);
        Value expected {foreign.items};
        model.stamp(expected);
        QJsonValue actual = foreign.json;
        handler->addModuleAndObjectNameToManifest(actual);
        comparison.same("value", valueFrom(actual), expected);
        handler->addModuleAndObjectNameToManifest(foreign.json);
        foreign.items = std::get<Items>(expected.data);
    }

    Comparison comparison;
    Generator random;
    QString folder;
    QString path;
    QString moduleName;
    QString objectName;
    MessageRecorder recorder;
    std::optional<ConfigurationManifestHandler> handler;
    ManifestModel model;
    Pair foreign;
    Pair snapshot;
};

HandlerSequence::HandlerSequence(Choice choice, const QString& folderPath)
    : steps(std::make_unique<Steps>(std::move(choice), folderPath))
{
}

HandlerSequence::~HandlerSequence() = default;

QStringList HandlerSequence::step()
{
    return steps->step();
}

QString HandlerSequence::lastCall() const
{
    return steps->call;
}

QString HandlerSequence::state() const
{
    return steps->state();
}

const std::map<QByteArray, int>& HandlerSequence::events() const
{
    return steps->events();
}
