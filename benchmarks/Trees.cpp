#include "Trees.h"

#include "CollidingNames.h"
#include "ConfigurationManifestCreator.h"
#include "QuickFolder.h"

#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QStorageInfo>
#include <QtCore/QStringBuilder>

#include <map>
#include <memory>

namespace {

QByteArray numbered(const char* prefix, int number)
{
    return prefix + QByteArray::number(number).rightJustified(4, '0');
}

void write(const QString& path, const QByteArray& content)
{
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size() || !file.flush()) {
        qFatal("cannot write %s", qPrintable(path));
    }
}

QByteArray member(const char* key, const QByteArray& value)
{
    return QByteArray("    \"") + key + "\": " + value + ",\n";
}

QByteArray parameter(int number, Random& random)
{
    return "        {\"name\": \"" + numbered("parameter", number)
        + "\", \"value\": " + QByteArray::number(below(random, 100000)) + ", \"unit\": \"mm/s\"}";
}

// Returns a typical description: first members that the library reads, then parameters that only the page needs.
QByteArray description(int position, int bytes, Random& random)
{
    QByteArray text = "{\n" + member("labelTextId", '"' + numbered("TXT_", below(random, 10000)) + '"')
        + member("dataModel", R"("network.address")") + member("lastModified", R"("2024-05-17T08:30:00Z")")
        + member("iconName", R"("address")") + member("hide", "false")
        + member("displayPosition", QByteArray::number(position));
    if (below(random, 2) == 0) {
        text += member("connectorId", QByteArray::number(below(random, 16)));
    }
    if (below(random, 4) == 0) {
        text += member("selectorTypeList", R"(["Parameter", "Value"])");
    }
    text += "    \"parameters\": [";
    const QByteArray end = "\n    ]\n}\n";
    const char* separator = "\n";
    for (int i = 0;; ++i) {
        const QByteArray line = separator + parameter(i, random);
        if (text.size() + line.size() + end.size() > bytes) {
            break;
        }
        text += line;
        separator = ",\n";
    }
    text += end;
    return text.leftJustified(bytes);
}

QStringList plainNames(int number)
{
    QStringList names;
    for (int i = 0; i < number; ++i) {
        names << QLatin1String(numbered("selection", i));
    }
    return names;
}

Shape shapeOf(const QString& name)
{
    if (name == QLatin1String("deep")) {
        return {60, 1, 5};
    }
    if (name == QLatin1String("big")) {
        return {20, 4, 19, 20000};
    }
    if (name == QLatin1String("colliding")) {
        return {1, 1, 20000, 0, true};
    }
    if (name == QLatin1String("tmpfs") || name == QLatin1String("disk")) {
        return {5, 4, 19, 0, false, name == QLatin1String("disk")};
    }
    if (name.startsWith(QLatin1String("wide"))) {
        return {1, 1, name.midRef(4).toInt()};
    }
    return {name.toInt() / 20, 4, 19};
}

} // namespace

int below(Random& random, int bound)
{
    return static_cast<int>(random() % static_cast<unsigned>(bound));
}

QString lastingFolder()
{
    return QStringLiteral("/var/tmp/manifest-XXXXXX");
}

bool isInMemory(const QString& folderTemplate)
{
    const QByteArray type =
        QStorageInfo(folderTemplate.left(folderTemplate.lastIndexOf(QLatin1Char('/')))).fileSystemType();
    return type == "tmpfs" || type == "ramfs";
}

Tree::Tree(const Shape& wanted)
    : shape(wanted)
    , directory(shape.isOnDisk ? lastingFolder() : quickFolder())
{
    Random random(1);
    const QStringList fileNames = shape.hasCollidingNames ? collidingNames(shape.files) : plainNames(shape.files);
    const auto someBytes = [&] { return 300 + below(random, 501); };
    for (int i = 0; i < shape.folders; ++i) {
        const QString parent = i < shape.branches ? QString() : nodes.at(i / shape.branches - 1) % QLatin1Char('/');
        nodes << parent % QLatin1String(numbered("folder", i));
        const QString path = folder() % QLatin1Char('/') % nodes.constLast();
        QDir().mkpath(path);
        write(path % QLatin1String("/Folder.menu.json"), description(shape.folders - i, someBytes(), random));
        for (int j = 0; j < shape.files; ++j) {
            selections << nodes.constLast() % QLatin1Char('/') % fileNames.at(j);
            // Every display position occurs once, so that the order is defined.
            write(folder() % QLatin1Char('/') % selections.constLast() % QLatin1String(".config.json"),
                description(j * 7919 % shape.files, shape.bytes > 0 ? shape.bytes : someBytes(), random));
        }
    }
    if (!ConfigurationManifestCreator().create2(folder(), QStringLiteral("configuration"))) {
        qFatal("cannot create a manifest");
    }
}

int Tree::size() const
{
    return nodes.size() + selections.size();
}

QString Tree::folder() const
{
    return directory.filePath(QStringLiteral("tree"));
}

QString Tree::manifestPath() const
{
    return folder() % QLatin1String("/configuration.manifest.json");
}

QByteArray Tree::manifest() const
{
    QFile file(manifestPath());
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

const Tree& treeOf(const QString& name)
{
    static std::map<QString, std::unique_ptr<Tree>> trees;
    std::unique_ptr<Tree>& tree = trees[name];
    if (!tree) {
        tree = std::make_unique<Tree>(shapeOf(name));
    }
    return *tree;
}
