#include "CommandLine.h"
#include "ElementOutput.h"
#include "JsonInput.h"
#include "OpenManifest.h"
#include "Output.h"
#include "Tree.h"

#include <QtCore/QCommandLineParser>
#include <QtCore/QJsonArray>

#include <limits>

namespace {

struct KindFace {
    QLatin1String word;
    Style style;
};

KindFace faceOf(TreeElement::Kind kind)
{
    switch (kind) {
    case TreeElement::Kind::Node:
        return {QLatin1String("node     "), Style::Node};
    case TreeElement::Kind::Selection:
        return {QLatin1String("selection"), Style::Selection};
    case TreeElement::Kind::Unknown:
    case TreeElement::Kind::NoObject:
        break;
    }
    return {QLatin1String("unknown  "), Style::Unknown};
}

QString lineOf(const TreeElement& element, int level)
{
    const KindFace face = faceOf(element.kind);
    const QString label = printable(element.label());
    QString line = QString(2 * level, QLatin1Char(' ')) % styled(face.word, face.style) % QLatin1Char(' ')
        % printable(element.name);
    if (!label.isEmpty()) {
        line += styled(QLatin1String("  [") % label % QLatin1Char(']'), Style::Label);
    }
    return element.isHidden() ? QString(line % QLatin1String("  HIDDEN")) : line;
}

/// Prints trees, or converts them to JSON, down to a given level.
class TreePrinter {
public:
    TreePrinter(int levelCount, bool printsPaths)
        : levels(levelCount)
        , withPaths(printsPaths)
    {
    }

    void printTree(const TreeElement& element, int level = 0) const
    {
        QString line = lineOf(element, level);
        const bool isLast = level + 1 == levels;
        if (isLast && !element.children.empty()) {
            line += QStringLiteral("  (%1 below)").arg(countBelow(element));
        }
        if (withPaths) {
            line += QLatin1Char('\t') % QString::number(element.position()) % QLatin1Char('\t') % pathColumn(element);
        }
        print(line);
        for (const TreeElement& child : element.children) {
            if (!isLast) {
                printTree(child, level + 1);
            }
        }
    }

    QJsonObject toTree(const TreeElement& element, int level = 0) const
    {
        QJsonObject result = toJson(element);
        QJsonArray children;
        for (const TreeElement& child : element.children) {
            if (level + 1 < levels) {
                children.append(toTree(child, level + 1));
            }
        }
        if (level + 1 < levels) {
            result.insert(QStringLiteral("children"), children);
        }
        return result;
    }

private:
    const int levels;
    const bool withPaths;
};

bool readDepth(const QCommandLineParser& arguments, int& depth)
{
    depth = std::numeric_limits<int>::max();
    const QString option = QStringLiteral("depth");
    if (!arguments.isSet(option)) {
        return true;
    }
    if (!readNumber(arguments.value(option), depth)) {
        return false;
    }
    if (depth < 1) {
        complain(QStringLiteral("--depth takes 1 or more"));
        return false;
    }
    return true;
}

ExitStatus show(const QCommandLineParser& arguments)
{
    int depth = 0;
    if (!readDepth(arguments, depth)) {
        return Trouble;
    }
    const QString path = arguments.positionalArguments().value(1);
    if (!path.isEmpty() && isWithoutNames(path)) {
        return complainAboutEmptyPath();
    }
    OpenManifest manifest(arguments);
    if (const ExitStatus status = manifest.loadToRead()) {
        return status;
    }
    const TreeElements tree = treeOf(manifest.handler().getManifestJsonArray());
    const TreeElement* const root = findElement(tree, path, Qt::SkipEmptyParts);
    if (root == nullptr && !manifest.leadsSomewhere(path, Qt::SkipEmptyParts)) {
        return NotDone;
    }
    const TreePrinter printer(depth, arguments.isSet(pathsOption().name));
    QVector<const TreeElement*> shown;
    if (root != nullptr) {
        shown.append(root);
    } else {
        for (const TreeElement& element : tree) {
            shown.append(&element);
        }
    }
    QJsonArray trees;
    const bool asJson = arguments.isSet(elementsAsJsonOption().name);
    for (const TreeElement* element : qAsConst(shown)) {
        if (asJson) {
            trees.append(printer.toTree(*element));
        } else {
            printer.printTree(*element);
        }
    }
    if (asJson) {
        printResult(trees);
    }
    return Done;
}

} // namespace

QVector<Command> showCommands()
{
    const Option paths {QStringLiteral("paths"), {},
        QStringLiteral(
            "Also print, separated by tabs, the position among the siblings (the first is 0) and the path that other "
            "commands take. An element that no path reaches is marked unreachable, with its place in the tree. One "
            "whose path contains unprintable characters is marked unprintable; --json prints that path."),
        {}};
    return {
        {QStringLiteral("show"), QStringLiteral("FILE [PATH]"),
            QStringLiteral(
                "Print a manifest, or one element and everything below it, as a tree: kind, instance name, [label] and "
                "HIDDEN of every element. With --paths, also its position among its siblings and its path."),
            {{QStringLiteral("depth"), QStringLiteral("N"),
                 QStringLiteral("Print N levels, and how many elements are below the last one."), {}},
                paths, elementsAsJsonOption()},
            queryExits(), show},
    };
}
