#include "Findings.h"

#include "ConfigurationAndProcessDataDefinitions.h"
#include "SystemInformationManagerRegistryDefinitions.h"

#include <QtCore/QCryptographicHash>
#include <QtCore/QJsonDocument>
#include <QtCore/QJsonObject>

#include <algorithm>
#include <map>
#include <set>
#include <tuple>
#include <utility>
#include <vector>

using Registry = SystemInformationManagerRegistryDefinitions;
using DataProperty = ConfigurationAndProcessDataDefinitions;

namespace {

// QJsonDocument::fromJson() refuses arrays and objects that are nested deeper than this.
constexpr int loadableLevels = 1024;

QString quoted(const QString& text)
{
    return QLatin1Char('\'') % text % QLatin1Char('\'');
}

QLatin1String typeWords(QJsonValue::Type type)
{
    switch (type) {
    case QJsonValue::Null:
        return QLatin1String("null");
    case QJsonValue::Bool:
        return QLatin1String("a boolean");
    case QJsonValue::Double:
        return QLatin1String("a number");
    case QJsonValue::String:
        return QLatin1String("a string");
    case QJsonValue::Array:
        return QLatin1String("an array");
    case QJsonValue::Object:
        return QLatin1String("an object");
    case QJsonValue::Undefined:
        break;
    }
    return QLatin1String("undefined");
}

int levelsOf(const QJsonValue& value);

template <typename Container>
int levelsOfItems(const Container& container)
{
    int levels = 0;
    for (auto item = container.constBegin(); item != container.constEnd(); ++item) {
        levels = std::max(levels, levelsOf(*item));
    }
    return levels;
}

// How deep arrays and objects are nested in a value: 1 for an array or object that contains no others, 0 for any other
// value.
int levelsOf(const QJsonValue& value)
{
    if (value.isArray()) {
        return 1 + levelsOfItems(value.toArray());
    }
    return value.isObject() ? 1 + levelsOfItems(value.toObject()) : 0;
}

QString adviceOnNames()
{
    return QStringLiteral("Name it in its description, or in the manifest with a text editor");
}

class Check {
public:
    QVector<Finding> findings;

    void examine(const TreeElements& siblings, bool isBelowTooDeep)
    {
        for (const TreeElement& element : siblings) {
            if (element.kind == TreeElement::Kind::NoObject) {
                add(element, FindingKind::NoObject,
                    QLatin1String("is ") % typeWords(element.value.type()) % QLatin1String(", not an element"),
                    QStringLiteral("Remove it from the manifest with a text editor, or create the manifest again"));
            } else {
                examineKind(element);
                examineName(element);
                examineChildren(element);
            }
            const bool isTooDeep = isBelowTooDeep || examineDepth(element);
            examineEmptiness(element);
            examine(element.children, isTooDeep);
        }
    }

private:
    void examineKind(const TreeElement& element)
    {
        if (element.kind != TreeElement::Kind::Unknown) {
            return;
        }
        const QString& key = Registry::getKeySelectionType();
        const QString& node = Registry::SelectionTypeValues::getNode();
        const QString& selection = Registry::SelectionTypeValues::getSelection();
        const QJsonValue type = element.object().value(key);
        QString what = QLatin1String("has a ") % quoted(key) % QLatin1String(" that is ") % typeWords(type.type());
        if (type.isUndefined()) {
            what = QLatin1String("has no ") % quoted(key);
        } else if (type.isString()) {
            what = QLatin1String("is of the kind ") % quoted(type.toString()) % QLatin1String(", which is neither ")
                % quoted(node) % QLatin1String(" nor ") % quoted(selection);
        }
        add(element, FindingKind::UnknownKind, what,
            QLatin1String("Set ") % quoted(key) % QLatin1String(" to ") % quoted(node) % QLatin1String(" or ")
                % quoted(selection));
    }

    // Adds at most one finding: the one that keeps look-ups from finding the element.
    void examineName(const TreeElement& element)
    {
        const QString& key = Registry::getKeyInstanceName();
        const QJsonValue name = element.object().value(key);
        if (name.isUndefined()) {
            add(element, FindingKind::NameMissing, QLatin1String("has no ") % quoted(key), adviceOnNames());
        } else if (!name.isString()) {
            add(element, FindingKind::NameNoText, QLatin1String("has a name that is ") % typeWords(name.type()),
                adviceOnNames());
        } else if (element.name.isEmpty()) {
            add(element, FindingKind::NameEmpty, QStringLiteral("has an empty name"), adviceOnNames());
        } else if (element.answersTo.isEmpty()) {
            add(element, FindingKind::NameEmpty,
                QLatin1String("has the name ") % quoted(element.name) % QLatin1String(", whose last part is empty"),
                adviceOnNames());
        } else if (element.answersTo.contains(QLatin1Char('/'))) {
            add(element, FindingKind::NameWithSlash,
                QLatin1String("has the name ") % quoted(element.name) % QLatin1String(", which a path splits at '/'"),
                QStringLiteral("Give it a name without '/'"));
        } else if (element.shadowedBy >= 0) {
            add(element, FindingKind::NameTaken,
                QLatin1String("answers to ") % quoted(element.answersTo)
                    % QLatin1String(", but its sibling at position ") % QString::number(element.shadowedBy)
                    % QLatin1String(" is found first"),
                QStringLiteral("Rename one of the two"));
        }
    }

    void examineChildren(const TreeElement& element)
    {
        const QString& key = Registry::getKeySubstructure();
        const QJsonValue children = element.object().value(key);
        if (!children.isUndefined() && !children.isArray()) {
            add(element, FindingKind::ChildrenNoArray,
                QLatin1String("has a ") % quoted(key) % QLatin1String(" that is ") % typeWords(children.type())
                    % QLatin1String(", not an array"),
                QLatin1String("Unset ") % quoted(key) % QLatin1String(", or set it to an array with --json"));
        } else if (element.kind == TreeElement::Kind::Selection && !element.children.empty()) {
            add(element, FindingKind::ChildrenOfSelection,
                element.children.size() == 1
                    ? QStringLiteral("is a selection with a child")
                    : QStringLiteral("is a selection with %1 children").arg(element.children.size()),
                QStringLiteral("Make it a node, or delete what is below it"));
        }
    }

    bool examineDepth(const TreeElement& element)
    {
        if (levelOf(element) <= loadableLevels) {
            return false;
        }
        add(element, FindingKind::TooDeep,
            QStringLiteral("reaches deeper than the %1 levels that can be loaded").arg(loadableLevels),
            QStringLiteral("Move it up, or delete what is below it"));
        return true;
    }

    void examineEmptiness(const TreeElement& element)
    {
        const QJsonValue children = element.object().value(Registry::getKeySubstructure());
        if (element.kind == TreeElement::Kind::Node && (children.isUndefined() || children.isArray())
            && element.children.empty()) {
            add(element, FindingKind::NoChildren, QStringLiteral("is a node without children"),
                QStringLiteral("Add elements below it, unless it is to be filled later"));
        }
    }

    // The deepest level of the element without its children. The array of the manifest is level 1. Every element is two
    // levels below its parent, because the array of children is between them.
    static int levelOf(const TreeElement& element)
    {
        const int levelAbove = 1 + 2 * element.depth();
        const QString& key = Registry::getKeySubstructure();
        if (!element.object().value(key).isArray()) {
            return levelAbove + levelsOf(element.value);
        }
        QJsonObject own = element.object();
        own.insert(key, QJsonArray());
        return levelAbove + levelsOf(own);
    }

    void add(const TreeElement& element, FindingKind kind, const QString& what, const QString& advice)
    {
        findings.append({kind, element.positions, element.path, element.place(), what, advice, element.value});
    }
};

// A text that is the same for equal values. QJsonDocument holds only arrays and objects, so the value is wrapped in an
// array.
QByteArray textOf(const QJsonValue& value)
{
    return QJsonDocument(QJsonArray {value}).toJson(QJsonDocument::Compact);
}

QByteArray contentOf(const QJsonValue& value)
{
    return textOf(withoutStamps(value));
}

QJsonValue withoutChildren(const QJsonValue& value)
{
    if (!value.isObject()) {
        return value;
    }
    QJsonObject object = value.toObject();
    object.remove(Registry::getKeySubstructure());
    return object;
}

template <typename Function>
void forEach(const TreeElements& elements, const Function& function)
{
    for (const TreeElement& element : elements) {
        function(element);
        forEach(element.children, function);
    }
}

/// Digests of the elements of a tree, with their descendants and without stamps. A digest is computed once, from the
/// digests of the children. Hashing the whole subtree would visit every level repeatedly.
class Contents {
public:
    const QByteArray& of(const TreeElement& element)
    {
        const auto index = static_cast<std::size_t>(element.number);
        digests.resize(std::max(digests.size(), index + 1));
        if (digests[index].isEmpty()) {
            const QByteArray digest = digestOf(element);
            digests[index] = digest;
        }
        return digests[index];
    }

private:
    QByteArray digestOf(const TreeElement& element)
    {
        // A cryptographic hash, so that nobody can construct collisions.
        QCryptographicHash digest(QCryptographicHash::Sha256);
        const bool hasChildren = element.object().value(Registry::getKeySubstructure()).isArray();
        digest.addData(contentOf(hasChildren ? withoutChildren(element.value) : element.value));
        digest.addData(hasChildren ? "a" : "n", 1);
        for (const TreeElement& child : element.children) {
            digest.addData(of(child));
        }
        return digest.result();
    }

    std::vector<QByteArray> digests;
};

// For each content, the number of elements that have it after an edit, minus the number before.
using Balance = std::map<QByteArray, int>;

Balance balanceOf(
    const TreeElements& before, Contents& contentsBefore, const TreeElements& after, Contents& contentsAfter)
{
    Balance balance;
    forEach(before, [&](const TreeElement& element) { --balance[contentsBefore.of(element)]; });
    forEach(after, [&](const TreeElement& element) { ++balance[contentsAfter.of(element)]; });
    return balance;
}

// The element at these positions; null when there is none.
const TreeElement* elementAt(const TreeElements& elements, const QVector<int>& positions)
{
    const TreeElements* siblings = &elements;
    const TreeElement* element = nullptr;
    for (const int position : positions) {
        const auto index = static_cast<TreeElements::size_type>(position);
        if (position < 0 || index >= siblings->size()) {
            return nullptr;
        }
        element = &siblings->at(index);
        siblings = &element->children;
    }
    return element;
}

struct FoundContent {
    Finding finding;
    QByteArray content;
};

using FoundContents = std::vector<FoundContent>;

enum class Counting { Damage, All };

FoundContents findingsIn(const TreeElements& elements, Contents& contents, Counting counting)
{
    FoundContents result;
    const QVector<Finding> findings = check(elements);
    for (const Finding& finding : findings) {
        if (counting == Counting::All || isDamage(finding.kind)) {
            result.push_back({finding, contents.of(*elementAt(elements, finding.positions))});
        }
    }
    return result;
}

// Findings by their kind and the content of their element.
using KnownFindings = std::multimap<std::pair<FindingKind, QByteArray>, FoundContent>;

int childrenIn(const Finding& finding)
{
    return finding.value.toObject().value(Registry::getKeySubstructure()).toArray().size();
}

// The value that causes a finding. If it is the same after an edit of the element, the finding is not new. The number
// of children of a selection is not part of it, see badnessOf().
QByteArray reasonOf(const Finding& finding)
{
    const auto valueOf = [&](const QString& key) { return textOf(finding.value.toObject().value(key)); };
    switch (finding.kind) {
    case FindingKind::UnknownKind:
        return valueOf(Registry::getKeySelectionType());
    case FindingKind::NameEmpty:
    case FindingKind::NameNoText:
    case FindingKind::NameWithSlash:
    case FindingKind::NameTaken:
        return valueOf(Registry::getKeyInstanceName());
    case FindingKind::ChildrenNoArray:
        return valueOf(Registry::getKeySubstructure());
    case FindingKind::ChildrenOfSelection:
    case FindingKind::NoObject:
    case FindingKind::NameMissing:
    case FindingKind::TooDeep:
    case FindingKind::NoChildren:
        break;
    }
    return {};
}

// Findings of elements that were changed: kind, reason and, for ChildrenOfSelection, the number of children.
using ChangedFindings = std::multiset<std::tuple<FindingKind, QByteArray, int>>;

ChangedFindings::value_type badnessOf(const Finding& finding)
{
    return {
        finding.kind, reasonOf(finding), finding.kind == FindingKind::ChildrenOfSelection ? childrenIn(finding) : 0};
}

// Removes a known finding that was at least as bad as this one. Returns false if there is none.
bool takeNoWorse(ChangedFindings& known, const Finding& finding)
{
    const ChangedFindings::value_type badness = badnessOf(finding);
    const auto found = known.lower_bound(badness);
    if (found == known.end() || std::get<FindingKind>(*found) != finding.kind
        || std::get<QByteArray>(*found) != std::get<QByteArray>(badness)) {
        return false;
    }
    known.erase(found);
    return true;
}

// The findings of `treeAfter` that `before` does not have.
QVector<Finding> addedTo(const QJsonArray& before, const TreeElements& treeAfter, Counting counting)
{
    Contents contentsAfter;
    FoundContents damage = findingsIn(treeAfter, contentsAfter, counting);
    if (damage.empty()) {
        return {};
    }
    const TreeElements treeBefore = treeOf(before);
    Contents contentsBefore;
    KnownFindings same;
    for (const FoundContent& found : findingsIn(treeBefore, contentsBefore, counting)) {
        same.emplace(std::make_pair(found.finding.kind, found.content), found);
    }
    const auto isKnown = [&](const FoundContent& found) {
        const auto candidate = same.find({found.finding.kind, found.content});
        if (candidate == same.end()) {
            return false;
        }
        same.erase(candidate);
        return true;
    };
    damage.erase(std::remove_if(damage.begin(), damage.end(), isKnown), damage.end());
    if (damage.empty()) {
        return {};
    }

    // Content that is less frequent than before belongs to changed elements of `before`, content that is more frequent
    // to changed elements of `treeAfter`. Only their findings are compared with each other.
    const Balance balance = balanceOf(treeBefore, contentsBefore, treeAfter, contentsAfter);
    ChangedFindings changed;
    for (const auto& known : same) {
        if (balance.at(known.second.content) < 0) {
            changed.insert(badnessOf(known.second.finding));
        }
    }
    QVector<Finding> result;
    for (const FoundContent& found : damage) {
        if (balance.at(found.content) <= 0 || !takeNoWorse(changed, found.finding)) {
            result.append(found.finding);
        }
    }
    return result;
}

int countOfDifferentMembers(const QJsonObject& a, const QJsonObject& b)
{
    QStringList keys = a.keys() + b.keys();
    keys.removeDuplicates();
    return static_cast<int>(
        std::count_if(keys.cbegin(), keys.cend(), [&](const QString& key) { return a.value(key) != b.value(key); }));
}

// Whether the element at the position of an edited element is still the same one.
//
// If an ancestor was edited as well, its children may have been replaced. Only an edit of all elements with one
// instance name edits both. It changes one member of each of them in the same way. So afterwards they still have the
// same name, and the element differs in one member at most.
bool isStillThere(const QVector<int>& positions, const TreeElements& before, const TreeElements& after,
    const QVector<QVector<int>>& edited)
{
    const TreeElement* const was = elementAt(before, positions);
    const TreeElement* const is = elementAt(after, positions);
    if (was == nullptr || is == nullptr) {
        return false;
    }
    for (int level = 1; level < positions.size(); ++level) {
        const QVector<int> above = positions.mid(0, level);
        if (!edited.contains(above)) {
            continue;
        }
        const TreeElement* const parent = elementAt(after, above);
        const int different = countOfDifferentMembers(withoutChildren(withoutStamps(was->value)).toObject(),
            withoutChildren(withoutStamps(is->value)).toObject());
        if (parent->name != is->name || different > 1) {
            return false;
        }
    }
    return true;
}

QByteArray unorderedTextOf(const QJsonArray& array)
{
    std::vector<QByteArray> texts;
    for (const QJsonValue& item : array) {
        const QJsonValue children = item.toObject().value(Registry::getKeySubstructure());
        texts.push_back(children.isArray()
                ? QByteArray(textOf(withoutChildren(item)) + unorderedTextOf(children.toArray()))
                : textOf(item));
    }
    std::sort(texts.begin(), texts.end());
    QByteArray result("(");
    for (const QByteArray& text : texts) {
        result += text;
    }
    return result + ')';
}

// The type that the definitions give a key; Undefined for a key that takes any type. Null for a key that they do not
// have.
const QJsonValue::Type* vocabularyType(const QString& key)
{
    static const std::map<QString, QJsonValue::Type> types {
        {Registry::getKeySelectionType(), QJsonValue::String},
        {Registry::getKeyInstanceName(), QJsonValue::String},
        {Registry::getKeySubstructure(), QJsonValue::Array},
        {Registry::getKeyDisplayPosition(), QJsonValue::Double},
        {Registry::getKeyIconName(), QJsonValue::String},
        {Registry::getKeyDataSourceType(), QJsonValue::String},
        {Registry::getKeyCloseMode(), QJsonValue::String},
        {Registry::getKeyUiJob(), QJsonValue::String},
        {Registry::getKeyHide(), QJsonValue::Bool},
        {Registry::getKeyLabelTextId(), QJsonValue::String},
        {Registry::getKeyDataModel(), QJsonValue::String},
        {Registry::getKeyLastModified(), QJsonValue::String},
        {Registry::getKeyModuleName(), QJsonValue::String},
        {Registry::getKeyObjectName(), QJsonValue::String},
        {DataProperty::getKeyDataPropertyBufferType(), QJsonValue::String},
        {DataProperty::getKeyDataPropertyConnectorId(), QJsonValue::Double},
        {DataProperty::getKeyDataPropertyDependencyFile(), QJsonValue::String},
        {DataProperty::getKeyDataPropertyDependencyFileExtern(), QJsonValue::String},
        {DataProperty::getKeyDataPropertyLabelTextUrl(), QJsonValue::String},
        {DataProperty::getKeyDataPropertySelectorTypeList(), QJsonValue::Array},
        {DataProperty::getKeyDataPropertySelectorTypeListEndpoint(), QJsonValue::Array},
        {DataProperty::getKeyDataPropertyTemplateType(), QJsonValue::String},
        {DataProperty::getKeyDataPropertyConfigurationVersion(), QJsonValue::Undefined},
        {DataProperty::getKeyDataPropertyTolmVersion(), QJsonValue::Undefined},
    };
    const auto type = types.find(key);
    return type == types.end() ? nullptr : &type->second;
}

QString typesWords(const QString& key, QJsonValue::Type wanted, QJsonValue::Type given, const QString& owner = {})
{
    return quoted(key) % owner % QLatin1String(" takes ") % typeWords(wanted) % QLatin1String(", not ")
        % typeWords(given);
}

// Appends a problem for every member of the wrong type, of the elements in an array and of their descendants.
void appendTypeProblems(const QJsonArray& elements, QStringList& problems)
{
    for (const QJsonValue& item : elements) {
        const QJsonObject element = item.toObject();
        const QString owner =
            QLatin1String(" of the element ") % quoted(element.value(Registry::getKeyInstanceName()).toString());
        for (auto member = element.constBegin(); member != element.constEnd(); ++member) {
            const QJsonValue::Type* const wanted = vocabularyType(member.key());
            if (wanted != nullptr && *wanted != QJsonValue::Undefined && *wanted != member.value().type()) {
                problems.append(typesWords(member.key(), *wanted, member.value().type(), owner));
            }
        }
        appendTypeProblems(element.value(Registry::getKeySubstructure()).toArray(), problems);
    }
}

// The first problem with a type in the given children that the present children do not have; null if there is none.
QString typeProblemBelow(const QJsonArray& present, const QJsonArray& given)
{
    QStringList known;
    QStringList problems;
    appendTypeProblems(present, known);
    appendTypeProblems(given, problems);
    const auto newOne = std::find_if(
        problems.cbegin(), problems.cend(), [&](const QString& problem) { return !known.contains(problem); });
    return newOne == problems.cend() ? QString() : *newOne;
}

} // namespace

QString toText(FindingKind kind)
{
    switch (kind) {
    case FindingKind::NoObject:
        return QStringLiteral("no-object");
    case FindingKind::UnknownKind:
        return QStringLiteral("unknown-kind");
    case FindingKind::NameMissing:
        return QStringLiteral("name-missing");
    case FindingKind::NameEmpty:
        return QStringLiteral("name-empty");
    case FindingKind::NameNoText:
        return QStringLiteral("name-no-text");
    case FindingKind::NameWithSlash:
        return QStringLiteral("name-with-slash");
    case FindingKind::NameTaken:
        return QStringLiteral("name-taken");
    case FindingKind::ChildrenNoArray:
        return QStringLiteral("children-no-array");
    case FindingKind::ChildrenOfSelection:
        return QStringLiteral("children-of-selection");
    case FindingKind::TooDeep:
        return QStringLiteral("too-deep");
    case FindingKind::NoChildren:
        break;
    }
    return QStringLiteral("no-children");
}

bool isDamage(FindingKind kind)
{
    return kind != FindingKind::NoChildren;
}

QVector<Finding> check(const TreeElements& elements)
{
    Check check;
    check.examine(elements, false);
    return check.findings;
}

QVector<Finding> check(const QJsonArray& manifest)
{
    return check(treeOf(manifest));
}

QVector<Finding> added(const QJsonArray& before, const QJsonArray& after)
{
    return addedTo(before, treeOf(after), Counting::Damage);
}

QVector<Finding> addedToBoth(const QJsonArray& one, const QJsonArray& other, const TreeElements& after)
{
    QVector<Finding> findings = addedTo(one, after, Counting::All);
    if (findings.isEmpty()) {
        return findings;
    }
    std::set<std::pair<QVector<int>, FindingKind>> others;
    const QVector<Finding> addedToOther = addedTo(other, after, Counting::All);
    for (const Finding& finding : addedToOther) {
        others.emplace(finding.positions, finding.kind);
    }
    const auto isOfOther = [&](const Finding& finding) { return others.count({finding.positions, finding.kind}) == 0; };
    findings.erase(std::remove_if(findings.begin(), findings.end(), isOfOther), findings.end());
    return findings;
}

TreeElements lostElements(const QJsonArray& before, const QJsonArray& after, const QVector<QVector<int>>& edited)
{
    const TreeElements treeBefore = treeOf(before);
    const TreeElements treeAfter = treeOf(after);
    const auto isKept = [&](const TreeElement& element) {
        return edited.contains(element.positions) && isStillThere(element.positions, treeBefore, treeAfter, edited);
    };
    std::multiset<QByteArray> present;
    forEach(treeAfter, [&](const TreeElement& element) {
        if (!isKept(element)) {
            present.insert(contentOf(withoutChildren(element.value)));
        }
    });
    TreeElements lost;
    forEach(treeBefore, [&](const TreeElement& element) {
        if (isKept(element)) {
            return;
        }
        const auto found = present.find(contentOf(withoutChildren(element.value)));
        if (found != present.end()) {
            present.erase(found);
        } else {
            lost.push_back(element);
        }
    });
    return lost;
}

bool isPermutation(const QJsonArray& before, const QJsonArray& after)
{
    return unorderedTextOf(withoutStamps(before).toArray()) == unorderedTextOf(withoutStamps(after).toArray());
}

QString typeProblem(const QString& key, const QJsonValue& present, const QJsonValue& given)
{
    const QJsonValue::Type* const fixed = vocabularyType(key);
    const QJsonValue::Type wanted = fixed != nullptr ? *fixed : present.type();
    if (wanted == QJsonValue::Undefined || wanted == given.type()) {
        return key == Registry::getKeySubstructure() ? typeProblemBelow(present.toArray(), given.toArray()) : QString();
    }
    return typesWords(key, wanted, given.type());
}
