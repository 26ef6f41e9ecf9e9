#include "RandomManifest.h"

#include "Elements.h"
#include "Literals.h"

#include <algorithm>

namespace {

const QString nameKey = u"instanceName"_qs;
const QString typeKey = u"selectionType"_qs;
const QString childrenKey = u"substructure"_qs;

bool isNode(const QJsonValue& element)
{
    return element.toObject().value(typeKey) == u"Node"_qs;
}

QString lastName(const QJsonValue& element)
{
    return element.toObject().value(nameKey).toString().section(u'/', -1);
}

bool hasName(const QJsonArray& siblings, const QString& name)
{
    return std::any_of(
        siblings.begin(), siblings.end(), [&](const QJsonValue& sibling) { return lastName(sibling) == name; });
}

} // namespace

RandomManifest::RandomManifest(unsigned seed, Names namesOfElements)
    : engine(seed)
    , names(namesOfElements)
{
}

int RandomManifest::below(int bound)
{
    return static_cast<int>(engine() % static_cast<unsigned>(bound));
}

QJsonArray RandomManifest::manifest()
{
    return siblings(0, 6, QString());
}

QString RandomManifest::name()
{
    if (names == Names::Any && below(12) == 0) {
        return {};
    }
    return {QChar(u'a' + below(names == Names::Any ? 5 : 12))};
}

QJsonValue RandomManifest::element(int level, const QString& pathAbove)
{
    if (names == Names::Any && below(20) == 0) {
        return below(2) == 0 ? QJsonValue(below(3)) : QJsonValue(QJsonArray {below(2)});
    }
    const QString itsName = name();
    const bool hasChildren = level < 3 && below(3) == 0;
    // Selections are named as in a scan: by their whole path.
    const bool hasPathAsName = !hasChildren && !itsName.isEmpty() && below(2) == 0;
    const QString storedName = hasPathAsName ? QString(pathAbove + itsName) : itsName;
    QJsonObject object = hasChildren ? node(storedName, siblings(level + 1, 4, pathAbove + itsName + u'/'))
        : below(10) == 0             ? node(names == Names::Unique ? itsName : storedName)
                                     : selection(storedName);
    if (names == Names::Any && below(20) == 0) {
        object.remove(nameKey);
    }
    for (int members = below(4); members > 0; --members) {
        object = changed(object);
    }
    return object;
}

QJsonArray RandomManifest::siblings(int level, int most, const QString& pathAbove)
{
    QJsonArray result;
    for (int count = below(most + 1); count > 0; --count) {
        add(result, element(level, pathAbove));
    }
    return result;
}

QJsonObject RandomManifest::changed(QJsonObject object)
{
    const QString key(QChar(u'k' + below(3)));
    switch (below(6)) {
    case 0:
        object.remove(key);
        break;
    case 1:
        object.insert(key, QJsonObject {{u"x"_qs, below(3)}});
        break;
    case 2:
        object.insert(below(2) == 0 ? u"moduleName"_qs : u"objectName"_qs, below(3));
        break;
    default:
        object.insert(key, below(4));
        break;
    }
    return object;
}

// Inserts an element at a random place. If names must be unique and the name is taken, the element gets a new one.
void RandomManifest::add(QJsonArray& siblings, const QJsonValue& element)
{
    QJsonValue added = element;
    if (names == Names::Unique && hasName(siblings, lastName(element))) {
        added = with(element.toObject(), nameKey, u"z%1"_qs.arg(++addedNames));
    }
    siblings.insert(below(siblings.size() + 1), added);
}

QJsonValue RandomManifest::takeAnywhere(QJsonArray& siblings)
{
    if (siblings.isEmpty()) {
        return {QJsonValue::Undefined};
    }
    const int index = below(siblings.size());
    QJsonObject parent = siblings.at(index).toObject();
    QJsonArray children = parent.value(childrenKey).toArray();
    if (!isNode(parent) || children.isEmpty() || below(2) == 0) {
        return siblings.takeAt(index);
    }
    QJsonValue taken = takeAnywhere(children);
    siblings.replace(index, with(parent, childrenKey, children));
    return taken;
}

void RandomManifest::putAnywhere(QJsonArray& siblings, const QJsonValue& element)
{
    const int index = siblings.isEmpty() ? 0 : below(siblings.size());
    QJsonObject parent = siblings.isEmpty() ? QJsonObject() : siblings.at(index).toObject();
    if (!isNode(parent) || below(3) == 0) {
        add(siblings, element);
        return;
    }
    QJsonArray children = parent.value(childrenKey).toArray();
    putAnywhere(children, element);
    siblings.replace(index, with(parent, childrenKey, children));
}

QJsonArray RandomManifest::editedOnce(QJsonArray siblings, const QString& pathAbove, int level)
{
    const int index = siblings.isEmpty() ? 0 : below(siblings.size());
    const QJsonObject object = siblings.isEmpty() ? QJsonObject() : siblings.at(index).toObject();
    if (isNode(object) && below(3) != 0) {
        const QJsonArray children = object.value(childrenKey).toArray();
        const QJsonArray editedChildren = editedOnce(children, pathAbove + lastName(object) + u'/', level + 1);
        siblings.replace(index, with(object, childrenKey, editedChildren));
        return siblings;
    }
    switch (siblings.isEmpty() ? 0 : below(7)) {
    case 0:
        add(siblings, element(level + 1, pathAbove));
        break;
    case 1:
        siblings.removeAt(index);
        break;
    case 2: {
        const QJsonValue taken = siblings.takeAt(index);
        siblings.insert(below(siblings.size() + 1), taken);
        break;
    }
    case 3:
        if (names == Names::Any && !object.isEmpty()) {
            siblings.replace(index, with(object, below(2) == 0 ? typeKey : childrenKey, u"Selection"_qs));
        }
        break;
    default:
        if (!object.isEmpty()) {
            siblings.replace(index, changed(object));
        } else if (names == Names::Any) {
            siblings.replace(index, below(4));
        }
        break;
    }
    return siblings;
}

QJsonArray RandomManifest::edited(QJsonArray manifest)
{
    for (int edits = below(6); edits > 0; --edits) {
        if (below(4) != 0) {
            manifest = editedOnce(manifest, QString(), 0);
            continue;
        }
        const QJsonValue taken = takeAnywhere(manifest);
        if (!taken.isUndefined()) {
            putAnywhere(manifest, taken);
        }
    }
    return manifest;
}

QJsonValue stripped(const QJsonValue& value)
{
    if (value.isArray()) {
        QJsonArray result;
        const QJsonArray items = value.toArray();
        for (const QJsonValue& item : items) {
            result.append(stripped(item));
        }
        return result;
    }
    if (!value.isObject()) {
        return value;
    }
    QJsonObject object = value.toObject();
    if (object.value(typeKey) == u"Selection"_qs) {
        object.remove(u"moduleName"_qs);
        object.remove(u"objectName"_qs);
    }
    if (object.value(childrenKey).isArray()) {
        object.insert(childrenKey, stripped(object.value(childrenKey)));
    }
    return object;
}

QJsonArray stamped(const QJsonArray& manifest, const QString& stamp)
{
    QJsonArray result;
    for (const QJsonValue& item : manifest) {
        QJsonObject object = item.toObject();
        if (object.value(typeKey) == u"Selection"_qs) {
            object.insert(u"moduleName"_qs, QString(stamp + QString::number(result.size())));
        }
        if (object.value(childrenKey).isArray()) {
            object.insert(childrenKey, stamped(object.value(childrenKey).toArray(), stamp));
        }
        result.append(item.isObject() ? QJsonValue(object) : item);
    }
    return result;
}
