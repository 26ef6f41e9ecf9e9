// The texts of an input describe a folder. Both kinds of manifest are created from it, loaded, and compared with a
// model of the same tree in plain data. The first text has the options: "other" replaces the scheme of processes by an
// empty one, "slash" adds a scan of a path that ends with "/" and, after that, a scan by a base path.
//
// Each further text is a path, a line feed and the content of a file. A path that ends with "/" is a folder. A path
// that begins with "^" lies in a folder beside the scanned one. A path that begins with ">" is a symbolic link, and its
// content is the target in the folder beside. So no link leads back up, which a scan would not detect.

#include "ConfigurationManifestCreator.h"
#include "ConfigurationManifestHandler.h"
#include "ConfigurationStructureElementList.h"
#include "Files.h"
#include "Fuzzing.h"
#include "ManifestModel.h"
#include "MessageRecorder.h"

#include <QtCore/QDir>
#include <QtCore/QFile>

#include <algorithm>
#include <clocale>
#include <cmath>
#include <limits>
#include <map>
#include <optional>
#include <tuple>
#include <utility>

namespace {

const QString scanned = QStringLiteral("configuration");
const QString beside = QStringLiteral("beside");
const QString folderDescription = QStringLiteral("Folder.menu.json");
const QString manifestSuffix = QStringLiteral(".manifest.json");

/// Returns the content as read in Qt's text mode, which drops every carriage return.
QByteArray asText(QByteArray content)
{
    return content.replace('\r', "");
}

struct Entry {
    enum Kind { Folder, File, Link };

    Kind kind = Folder;
    /// Content of a file; for a link, the target's path in the folder beside.
    QByteArray content;
    std::map<QString, Entry> entries;
};

class Tree {
public:
    explicit Tree(Texts& texts)
    {
        while (!texts.atEnd()) {
            add(texts.next());
        }
    }

    void writeTo(const QString& folder) const
    {
        for (const auto& [name, root] : roots) {
            QDir(folder + QLatin1Char('/') + name).removeRecursively();
            if (!root.entries.empty()) {
                write(root, folder + QLatin1Char('/') + name, folder);
            }
        }
    }

    const Entry& root() const
    {
        return roots.at(scanned);
    }

    /// Returns the entry, or for a link its target; null if the target does not exist.
    const Entry* resolved(const Entry& entry) const
    {
        if (entry.kind != Entry::Link) {
            return &entry;
        }
        const Entry* target = &roots.at(beside);
        for (const QString& name : names(QString::fromUtf8(entry.content))) {
            const auto found = target->entries.find(name);
            if (found == target->entries.end()) {
                return nullptr;
            }
            target = &found->second;
        }
        // writeTo() does not create the folder beside when it is empty.
        return target == &roots.at(beside) && target->entries.empty() ? nullptr : target;
    }

private:
    static QStringList names(const QString& path)
    {
        return path.split(QLatin1Char('/'), Qt::SkipEmptyParts);
    }

    // Names and paths stay well below the limits of file systems. Those limits are not what is tested here.
    static constexpr int longestName = 200;
    static constexpr int deepest = 8;

    static bool areNames(const QStringList& names)
    {
        return std::all_of(names.begin(), names.end(), [](const QString& name) {
            // Qt drops a byte order mark at the beginning of a file name.
            return name != QLatin1String(".") && name != QLatin1String("..") && name.toUtf8().size() <= longestName
                && !name.startsWith(QChar::ByteOrderMark);
        });
    }

    void add(const QByteArray& text)
    {
        const int lineEnd = text.indexOf('\n');
        QString path = QString::fromUtf8(text.left(lineEnd));
        const QByteArray content = lineEnd < 0 ? QByteArray() : text.mid(lineEnd + 1);
        const bool isBeside = path.startsWith(QLatin1Char('^'));
        const bool isLink = path.startsWith(QLatin1Char('>'));
        if (isBeside || isLink) {
            path.remove(0, 1);
        }
        QStringList way = names(path);
        if (way.isEmpty() || way.size() > deepest || !areNames(way) || repeatsKey(asText(content))
            || (isLink && !areNames(names(QString::fromUtf8(content))))) {
            return;
        }
        // Leave out a link in place of a manifest: Qt decides where a save through it goes.
        if (isLink && way.size() == 1 && way.constFirst().endsWith(manifestSuffix)) {
            return;
        }
        const QString last = path.endsWith(QLatin1Char('/')) ? QString() : way.takeLast();
        Entry* entry = &roots[isBeside ? beside : scanned];
        for (const QString& name : std::as_const(way)) {
            entry = child(*entry, name, Entry::Folder);
            if (!entry) {
                return;
            }
        }
        if (!last.isEmpty()) {
            entry = child(*entry, last, isLink ? Entry::Link : Entry::File);
            if (entry) {
                entry->content = content;
            }
        }
    }

    static Entry* child(Entry& folder, const QString& name, Entry::Kind kind)
    {
        const auto found = folder.entries.find(name);
        if (found != folder.entries.end()) {
            return found->second.kind == kind ? &found->second : nullptr;
        }
        // Listings are sorted case-insensitively, so the order of two names that differ only in case is not defined.
        const bool isTaken = std::any_of(folder.entries.begin(), folder.entries.end(),
            [&](const auto& other) { return other.first.toLower() == name.toLower(); });
        if (isTaken) {
            return nullptr;
        }
        Entry& entry = folder.entries[name];
        entry.kind = kind;
        return &entry;
    }

    static void write(const Entry& entry, const QString& path, const QString& base)
    {
        if (entry.kind == Entry::File) {
            writeFile(path, entry.content);
        } else if (entry.kind == Entry::Link) {
            QFile::link(base + QLatin1Char('/') + beside + QLatin1Char('/')
                    + names(QString::fromUtf8(entry.content)).join(QLatin1Char('/')),
                path);
        } else {
            QDir().mkpath(path);
            for (const auto& [name, inner] : entry.entries) {
                write(inner, path + QLatin1Char('/') + name, base);
            }
        }
    }

    std::map<QString, Entry> roots {{scanned, {}}, {beside, {}}};
};

struct Element {
    bool isNode;
    int position;
    Members members;
    QString path;
    const Entry* folder;
};

/// The model of a scan: the elements, messages and manifest items that a tree has to give.
class Scan {
public:
    Scan(const Tree& scannedTree, const QString& rootPath, bool isConfiguration)
        : tree(scannedTree)
        , root(rootPath)
        , suffix(isConfiguration ? QStringLiteral(".config.json") : QStringLiteral(".process.json"))
        , model(QString(), QString())
    {
    }

    Items items(const Entry& folder, const QString& path)
    {
        Items result;
        for (Element& element : elements(folder, path)) {
            if (element.isNode) {
                const Items children = items(*element.folder, element.path);
                if (children.empty()) {
                    continue;
                }
                element.members[QStringLiteral("substructure")] = Value {children};
            }
            result.push_back({element.members});
        }
        return result;
    }

    std::vector<Element> elements(const Entry& folder, const QString& path)
    {
        std::vector<Element> result;
        for (const auto& [name, entry] : listing(folder)) {
            const QString entryPath = path + QLatin1Char('/') + name;
            const QString baseName = name.left(name.indexOf(QLatin1Char('.')));
            if (entry->kind == Entry::Folder) {
                const QString filePath = entryPath + QLatin1Char('/') + folderDescription;
                const auto file = entry->entries.find(folderDescription);
                const Members description =
                    file == entry->entries.end() ? missing() : described(tree.resolved(file->second), filePath);
                result.push_back(element(true, baseName, description, entryPath, entry));
            } else if (name.endsWith(suffix)) {
                result.push_back(
                    element(false, selectionName(path, baseName), described(entry, entryPath), entryPath, entry));
            }
        }
        const auto order = [](const Element& a, const Element& b) {
            return std::tie(a.isNode, a.position) < std::tie(b.isNode, b.position);
        };
        std::stable_sort(result.begin(), result.end(), order);
        constexpr std::size_t longestStable = 16;
        const auto sameOrder = [&](const Element& a, const Element& b) { return !order(a, b); };
        if (result.size() > longestStable
            && std::adjacent_find(result.begin(), result.end(), sameOrder) != result.end()) {
            orderIsOpen = true;
        }
        return result;
    }

    bool lists(const Entry& folder) const
    {
        return !listing(folder).empty();
    }

    QStringList messages() const
    {
        return model.messages;
    }

    /// Returns whether some order is not defined: a folder has more than 16 elements, and some have the same position.
    bool leavesOrderOpen() const
    {
        return orderIsOpen;
    }

private:
    std::vector<std::pair<QString, const Entry*>> listing(const Entry& folder) const
    {
        std::vector<std::pair<QString, const Entry*>> result;
        for (const auto& [name, entry] : folder.entries) {
            const Entry* const target = tree.resolved(entry);
            if (target && !name.startsWith(QLatin1Char('.'))) {
                result.emplace_back(name, target);
            }
        }
        std::sort(result.begin(), result.end(),
            [](const auto& a, const auto& b) { return a.first.toLower() < b.first.toLower(); });
        return result;
    }

    Members missing()
    {
        model.messages << QStringLiteral("No description file found!");
        return {};
    }

    Members described(const Entry* file, const QString& path)
    {
        // The description is a dangling link or a folder: it exists, but cannot be opened.
        if (!file || file->kind == Entry::Folder) {
            QFile unopened(path);
            unopened.open(QIODevice::ReadOnly);
            model.messages << messageText("Can't open file ", path, " IO Error: ", unopened.errorString());
            return {};
        }
        QJsonParseError error;
        const QJsonDocument document = QJsonDocument::fromJson(asText(file->content), &error);
        if (error.error != QJsonParseError::NoError) {
            model.messages << QStringLiteral("Can't parse Json!\n");
        }
        return membersFrom(document.object());
    }

    QString selectionName(const QString& folderPath, const QString& baseName) const
    {
        const QString inner = folderPath.split(root).join(QString());
        return inner.startsWith(QLatin1Char('/')) ? inner.mid(1) + QLatin1Char('/') + baseName : baseName;
    }

    Element element(
        bool isNode, const QString& name, const Members& description, const QString& path, const Entry* entry)
    {
        Items made;
        model.addElement(made, {name}, description, -1, isNode);
        return {isNode, position(description), std::get<Members>(made.front().data), path, entry};
    }

    static int position(const Members& description)
    {
        const auto found = description.find(QStringLiteral("displayPosition"));
        const double* const number = found == description.end() ? nullptr : std::get_if<double>(&found->second.data);
        if (!number) {
            return -1;
        }
        // A number outside the range of int becomes the nearest value of that range.
        constexpr double lowest = std::numeric_limits<int>::min();
        constexpr double highest = std::numeric_limits<int>::max();
        return static_cast<int>(std::trunc(std::min(std::max(*number, lowest), highest)));
    }

    const Tree& tree;
    QString root;
    QString suffix;
    ManifestModel model;
    bool orderIsOpen = false;
};

/// Returns the items in a normalised order, for comparing items in any order.
Items inAnyOrder(const Items& items)
{
    Items result;
    for (Value item : items) {
        if (Members* const members = std::get_if<Members>(&item.data)) {
            if (const Items* const children = childrenOf(item)) {
                (*members)[QStringLiteral("substructure")] = Value {inAnyOrder(*children)};
            }
        }
        result.push_back(item);
    }
    std::sort(result.begin(), result.end(), [](const Value& a, const Value& b) { return compact(a) < compact(b); });
    return result;
}

QStringList sorted(QStringList texts)
{
    texts.sort();
    return texts;
}

void compareMessages(Comparison& comparison, const Scan& scan, const QStringList& found, const QStringList& expected)
{
    if (scan.leavesOrderOpen()) {
        comparison.same("messages in any order", sorted(found), sorted(expected));
    } else {
        comparison.same("messages", found, expected);
    }
}

/// Creates a manifest, loads it, and compares both with the model. Calls create() if there is a base path, otherwise
/// create2().
void checkScan(const Tree& tree, ConfigurationManifestCreator& creator, const QString& folder, const QString& scheme,
    const std::optional<QString>& basePath = {})
{
    const bool isConfiguration = scheme == scanned;
    const QString entriesFolder = folder.endsWith(QLatin1Char('/')) ? folder.chopped(1) : folder;
    const QString manifestName = scheme + manifestSuffix;
    const QString manifestPath = folder + QLatin1Char('/') + manifestName;
    Scan scan(tree, folder, isConfiguration);
    const Items items = scan.items(tree.root(), entriesFolder);
    const auto obstacle = tree.root().entries.find(manifestName);
    const bool isListed = scan.lists(tree.root());
    const bool isBlocked = isListed && obstacle != tree.root().entries.end() && obstacle->second.kind == Entry::Folder;
    QStringList expectedMessages = scan.messages();
    if (isBlocked) {
        expectedMessages << messageText("Unable to open the manifest file for writing:", manifestPath, "!");
    }
    QStringList expectedNames = everythingIn(folder);
    if (isListed && !expectedNames.contains(manifestName)) {
        expectedNames << manifestName;
    }

    Comparison comparison;
    MessageRecorder recorder;
    const bool result = basePath ? creator.create(*basePath) : creator.create2(folder, scheme);
    comparison.same("result", result, !isBlocked);
    compareMessages(comparison, scan, textsOf(recorder.take()), expectedMessages);
    comparison.same("names", sorted(everythingIn(folder)), sorted(expectedNames));

    if (isListed && !isBlocked) {
        ConfigurationManifestHandler handler(manifestPath, QStringLiteral("module"), QString());
        handler.parseManifestFile();
        comparison.same("messages on loading", textsOf(recorder.take()), {});
        ManifestModel loaded(QStringLiteral("module"), QString());
        loaded.parse(items);
        const Items found = itemsFrom(handler.getManifestJsonArray());
        if (scan.leavesOrderOpen()) {
            comparison.same("loaded in any order", inAnyOrder(found), inAnyOrder(loaded.manifest));
        } else {
            comparison.same("loaded", found, loaded.manifest);
            comparison.same("file", std::optional(readFile(manifestPath)), std::optional(compact(items)));
        }
    }
    endIfDifferent(comparison.differences(), {folder, scheme});
}

void checkElements(const Tree& tree, const QString& folder)
{
    Scan scan(tree, folder, true);
    std::vector<Element> expected = scan.elements(tree.root(), folder);
    MessageRecorder recorder;
    const QString suffix = ConfigurationStructureElement::getConfigurationFileSuffix();
    const ConfigurationStructureElementList list(
        QDir(folder).entryInfoList(QDir::Dirs | QDir::Files | QDir::NoDotAndDotDot), folder, suffix);
    Comparison comparison;
    QStringList expectedMessages = scan.messages();
    const int count = static_cast<int>(expected.size());
    comparison.same("count", list.getCountElements(), count);
    std::vector<ConfigurationStructureElement> found;
    for (int i = 0; i < list.getCountElements(); ++i) {
        found.push_back(list.getElement(i));
        for (const ConfigurationStructureElement& earlier : found) {
            comparison.same("less", found.back() < earlier, false);
        }
    }
    if (scan.leavesOrderOpen()) {
        std::sort(expected.begin(), expected.end(), [](const auto& a, const auto& b) { return a.path < b.path; });
        std::sort(found.begin(), found.end(),
            [](const auto& a, const auto& b) { return a.getFileInfo().filePath() < b.getFileInfo().filePath(); });
    }
    for (std::size_t i = 0; i < std::min(expected.size(), found.size()); ++i) {
        const Element& wanted = expected[i];
        ConfigurationStructureElement& element = found[i];
        comparison.same("isValid", element.isValid(), true);
        comparison.same("isDirectory", element.isDirectory(), wanted.isNode);
        comparison.same("position", element.getDisplayPosition(), wanted.position);
        comparison.same("path", element.getFileInfo().filePath(), wanted.path);
        comparison.same("object", membersFrom(element.getElementAsJsonObject()), wanted.members);
        const auto icon = wanted.members.find(QStringLiteral("iconName"));
        const QString* const iconName =
            icon == wanted.members.end() ? nullptr : std::get_if<QString>(&icon->second.data);
        if (icon != wanted.members.end() && !iconName) {
            expectedMessages << QStringLiteral("Property iconName is not of type string!");
        }
        comparison.same("icon", element.getIconName(), iconName ? *iconName : QString());
        element.setIconName(wanted.path);
        comparison.same("icon set", element.getIconName(), wanted.path);
    }
    comparison.same("beyond the end", list.getElement(count).isValid(), false);
    expectedMessages << messageText("Received invalid index for element list:", count, ",", count, "!");
    compareMessages(comparison, scan, textsOf(recorder.take()), expectedMessages);
    endIfDifferent(comparison.differences(), {folder});
}

/// Makes the work folder the current one during its lifetime. Between inputs libFuzzer uses relative paths of its own.
class WorkingDirectory {
public:
    WorkingDirectory()
    {
        QDir::setCurrent(workFolder());
    }
    ~WorkingDirectory()
    {
        QDir::setCurrent(previous);
    }
    Q_DISABLE_COPY(WorkingDirectory)

private:
    const QString previous = QDir::currentPath();
};

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    // Encode file names as UTF-8 under any locale.
    return std::setlocale(LC_ALL, "C.UTF-8") ? 0 : 1;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    Texts texts(data, size);
    const QByteArray options = texts.next();
    const QString scheme = options.contains("other") ? QString() : QStringLiteral("process");
    const Tree tree(texts);
    tree.writeTo(workFolder());
    const WorkingDirectory inWorkFolder;

    ConfigurationManifestCreator creator;
    checkScan(tree, creator, workFolder() + QLatin1Char('/') + scanned, scanned, workFolder());
    checkScan(tree, creator, scanned, scheme);
    checkElements(tree, scanned);
    if (options.contains("slash")) {
        checkScan(tree, creator, scanned + QLatin1Char('/'), scanned);
        // After a scan of a path that ends with "/", create() inserts no "/". So an empty path gives the same folder.
        checkScan(tree, creator, scanned, scanned, QString());
    }
    return 0;
}
