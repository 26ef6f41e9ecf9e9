#include "Elements.h"

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

QJsonArray saveRuleManifest()
{
    return {selection(u"top"_qs), node(u"a"_qs, {selection(u"a/first"_qs), node(u"second"_qs)}), node(u"spare"_qs)};
}
