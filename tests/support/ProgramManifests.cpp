#include "ProgramManifests.h"

#include "Elements.h"
#include "Files.h"
#include "Handlers.h"
#include "Literals.h"
#include "MessageRecorder.h"

#include <QtCore/QVector>

namespace {

QJsonArray oddlyNamed(std::mt19937& engine, int depth)
{
    static const QVector<QJsonValue> names {
        u"a"_qs, u"b"_qs, u"ab"_qs, u"a/b"_qs, u"b/a"_qs, u"b/b"_qs, u""_qs, u"a/"_qs, u"/a"_qs, 1, QJsonValue()};
    const auto below = [&](int bound) { return static_cast<int>(engine() % static_cast<uint>(bound)); };
    QJsonArray siblings;
    for (int count = below(6); count > 0; --count) {
        const QJsonObject kind = below(2) == 0 ? node(QString()) : selection(QString());
        QJsonObject element = with(kind, u"instanceName"_qs, names.at(below(names.size())));
        if (below(8) == 0) {
            element.remove(below(2) == 0 ? u"selectionType"_qs : u"instanceName"_qs);
        }
        if (depth < 4) {
            element.insert(u"substructure"_qs, oddlyNamed(engine, depth + 1));
        }
        siblings.append(below(12) == 0 ? QJsonValue(1) : QJsonValue(element));
    }
    return siblings;
}

} // namespace

QJsonObject without(QJsonObject element, const QString& key)
{
    element.remove(key);
    return element;
}

QJsonObject stamped(const QJsonObject& element, const QString& module, const QString& object)
{
    const QJsonObject halfway = module.isEmpty() ? element : with(element, u"moduleName"_qs, module);
    return object.isEmpty() ? halfway : with(halfway, u"objectName"_qs, object);
}

QJsonArray chain(int nodes, const QJsonArray& last)
{
    QJsonArray siblings = last;
    for (int level = 0; level < nodes; ++level) {
        siblings = {node(u"n"_qs, siblings)};
    }
    return siblings;
}

QJsonArray reversed(const QJsonArray& siblings)
{
    QJsonArray result;
    for (int index = siblings.size() - 1; index >= 0; --index) {
        result.append(siblings.at(index));
    }
    return result;
}

QJsonArray manySelections(int count, const QString& start)
{
    QJsonArray manifest;
    for (int number = 0; number < count; ++number) {
        manifest.append(selection(QString(start + QString::number(number))));
    }
    return manifest;
}

QJsonArray everyKind()
{
    return arrayFrom(R"([null,true,false,0,-1.5,1e300,"","text",[],[[1]],{},{"key":{"key":2}}])");
}

QJsonArray oddlyNamed(std::mt19937& engine)
{
    return oddlyNamed(engine, 0);
}
