#include "Command.h"
#include "ManifestFile.h"
#include "Output.h"
#include "SystemInformationManagerRegistryDefinitions.h"

#include <QtCore/QCommandLineParser>

namespace {

using Registry = SystemInformationManagerRegistryDefinitions;

struct KindFace {
    QLatin1String word;
    Style style;
};

KindFace faceOf(ElementKind kind)
{
    switch (kind) {
    case ElementKind::Node:
        return {QLatin1String("node     "), Style::Node};
    case ElementKind::Selection:
        return {QLatin1String("selection"), Style::Selection};
    case ElementKind::Unknown:
        break;
    }
    return {QLatin1String("unknown  "), Style::Unknown};
}

void printTree(const QJsonArray& elements, int level)
{
    for (const QJsonValue& item : elements) {
        const QJsonObject element = item.toObject();
        const KindFace face = faceOf(kindOf(element));
        const QString name = printable(element.value(Registry::getKeyInstanceName()).toString());
        const QString label = printable(element.value(Registry::getKeyLabelTextId()).toString());
        const QString shownLabel =
            label.isEmpty() ? QString() : styled(QLatin1String("  [") % label % QLatin1Char(']'), Style::Label);
        print(QString(2 * level, QLatin1Char(' ')) % styled(face.word, face.style) % QLatin1Char(' ') % name
            % shownLabel);
        printTree(element.value(Registry::getKeySubstructure()).toArray(), level + 1);
    }
}

ExitStatus show(const QCommandLineParser& arguments)
{
    QJsonArray manifest;
    QString problem;
    if (!readManifest(arguments.positionalArguments().constFirst(), manifest, problem)) {
        complain(problem);
        return Failed;
    }
    printTree(manifest, 0);
    return Done;
}

} // namespace

QList<Command> showCommands()
{
    return {
        {QStringLiteral("show"), QStringLiteral("FILE"),
            QStringLiteral("Print a manifest as a tree: kind, instance name and [label] of every element."), {}, show},
    };
}
