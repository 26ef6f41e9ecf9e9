#include "Elements.h"

#include "Files.h"
#include "Literals.h"

QJsonObject selection(const QString& instanceName)
{
    return {{u"instanceName"_qs, instanceName}, {u"selectionType"_qs, u"Selection"_qs}};
}

QJsonObject node(const QString& instanceName)
{
    return {{u"instanceName"_qs, instanceName}, {u"selectionType"_qs, u"Node"_qs}};
}

QJsonObject node(const QString& instanceName, const QJsonArray& children)
{
    return with(node(instanceName), u"substructure"_qs, children);
}

QJsonObject with(QJsonObject element, const QString& key, const QJsonValue& value)
{
    element.insert(key, value);
    return element;
}

QJsonObject builtNode(const QString& instanceName)
{
    return with(with(node(instanceName), u"dataSourceType"_qs, u"JsonData"_qs), u"hide"_qs, false);
}

QJsonObject builtSelection(const QString& instanceName)
{
    return with(objectFrom(R"({"closeMode":"Manual","dataModel":"","hide":false,"iconName":"","labelTextId":"",
                    "lastModified":"","selectionType":"Selection","uiJob":"OpenConfiguration"})"),
        u"instanceName"_qs, instanceName);
}

QByteArray nestedArrays(int levels)
{
    return QByteArray(levels, '[') + QByteArray(levels, ']');
}

QByteArray nestedNodes(int levels)
{
    const QByteArray open = R"([{"instanceName":"n","kept":[null],"selectionType":"Node","substructure":)";
    return open.repeated(levels) + "[]" + QByteArray("}]").repeated(levels);
}

QJsonArray saveRuleManifest()
{
    return {selection(u"top"_qs), node(u"a"_qs, {selection(u"a/first"_qs), node(u"second"_qs)}), node(u"spare"_qs)};
}
