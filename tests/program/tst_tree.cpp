#include "ConfigurationManifestCreator.h"
#include "Elements.h"
#include "Files.h"
#include "Handlers.h"
#include "Literals.h"
#include "MessageRecorder.h"
#include "ProgramManifests.h"
#include "QuickFolder.h"
#include "Table.h"
#include "TestMain.h"
#include "Tree.h"
#include "Workplace.h"

#include <QtCore/QDir>
#include <QtCore/QDirIterator>
#include <QtCore/QTemporaryDir>

#include <algorithm>
#include <functional>
#include <random>
#include <vector>

#include <sys/stat.h>

namespace {

using Kind = TreeElement::Kind;

const QString configurationScheme = u"configuration"_qs;

void copyTree(const QString& from, const QString& to)
{
    QDirIterator files(from, QDir::Files | QDir::Hidden, QDirIterator::Subdirectories);
    while (files.hasNext()) {
        const QString file = files.next();
        writeFile(to + file.mid(from.size()), readFile(file));
    }
}

QStringList lines(const QVector<Remark>& remarks)
{
    QStringList lines;
    for (const Remark& remark : remarks) {
        lines << (remark.isDamage ? u"damage "_qs : u"ordinary "_qs) + remark.source + u": "_qs + remark.text;
    }
    return lines;
}

// The manifest that the creator writes for the same arguments, and its messages.
struct Creation {
    QByteArray manifest;
    QStringList messages;
};

Creation create(const QString& folder, const QString& scheme)
{
    MessageRecorder log;
    Creation creation;
    if (!ConfigurationManifestCreator().create2(folder, scheme)) {
        qFatal("cannot create a manifest");
    }
    const Messages messages = log.take();
    for (const Message& message : messages) {
        creation.messages << message.text.trimmed();
    }
    creation.manifest = readFile(folder + u'/' + scheme + u".manifest.json"_qs);
    return creation;
}

QStringList textsOf(const QVector<Remark>& remarks)
{
    QStringList texts;
    for (const Remark& remark : remarks) {
        texts << remark.text;
    }
    return texts;
}

void compareWithCreator(const QString& folder, const QString& scheme, FolderScan& scan)
{
    MessageRecorder log;
    scan = scanFolder(folder, scheme);
    // A scan logs nothing.
    QCOMPARE(log.take(), Messages());
    QCOMPARE(scan.refusal, QString());
    const Creation creation = create(folder, scheme);
    QCOMPARE(scan.isEmpty ? QByteArray() : compact(manifestOf(scan.elements)), creation.manifest);
    QCOMPARE(textsOf(scan.remarks), creation.messages);
}

const TreeElement* elementFrom(const TreeElements& elements, const QString& source)
{
    for (const TreeElement& element : elements) {
        if (element.source == source) {
            return &element;
        }
        if (const TreeElement* const found = elementFrom(element.children, source)) {
            return found;
        }
    }
    return nullptr;
}

class RandomTree {
public:
    RandomTree(uint seed, const QString& folder)
        : engine(seed)
        , root(folder)
    {
        QDir().mkpath(root);
        fill(root, 0);
    }

    int below(int bound)
    {
        return static_cast<int>(engine() % static_cast<uint>(bound));
    }

private:
    template <std::size_t size>
    const char* oneOf(const char* const (&texts)[size])
    {
        return texts[below(size)];
    }

    QByteArray description()
    {
        static const char* const whole[] = {"", "{", "[1,2]", "\"text\"", "{}\r\n",
            "{\"hide\":1,\"displayPosition\":\"1\"}", "{\"substructure\":[{\"instanceName\":\"described\"}]}"};
        static const char* const members[] = {R"("instanceName":"taken")", R"("instanceName":"Net/port")",
            R"("instanceName":"")", R"("hide":true)", R"("hide":false)", R"("labelTextId":"ü")", R"("labelTextId":1)",
            R"("connectorId":3)", R"("selectorTypeList":["a"])", R"("selectorTypeList":{})", R"("moduleName":"M")",
            R"("own":{"deep":[1,2,3]})", R"("selectionType":"Node")", R"("tolmVersion":1)"};
        static const char* const positions[] = {"0", "1", "1.5", "-7", "1e99", "null"};
        if (below(5) == 0) {
            return oneOf(whole);
        }
        QByteArray text = "{\"last\":0";
        for (int i = below(4); i > 0; --i) {
            const QByteArray member = oneOf(members);
            // Qt leaks the first array or object if a key occurs twice.
            if (!text.contains(member.left(member.indexOf(':')))) {
                text += ',' + member;
            }
        }
        if (below(4) > 0) {
            text += QByteArray(",\"displayPosition\":") + oneOf(positions);
        }
        return text + '}';
    }

    QString name()
    {
        static const char* const names[] = {"a", "B", "b", "net", "net.old", "Net", "ü", "日本", " ", "a b", "a\nb",
            ".", "-x", "configuration", "%1", "\\", "'", "é"};
        const QString text = QString::fromUtf8(oneOf(names)) + (below(3) > 0 ? QString::number(below(60)) : QString());
        return text == u"."_qs ? u"..."_qs : text;
    }

    QString fileName()
    {
        static const char* const suffixes[] = {".config.json", ".config.json", ".config.json", ".config.json",
            ".process.json", ".process.json", ".CONFIG.JSON", ".txt"};
        return name() + QLatin1String(oneOf(suffixes));
    }

    void fill(const QString& folder, int depth)
    {
        // Sometimes more than 16 entries: only with so many would an unstable sort show.
        const int files = below(6) == 0 ? 17 + below(40) : below(5);
        for (int i = 0; i < files; ++i) {
            add(folder, fileName(), [&](const QString& path) { writeFile(path, description()); });
        }
        if (below(4) > 0) {
            add(folder, u"Folder.menu.json"_qs, [&](const QString& path) { writeFile(path, description()); });
        }
        for (int i = below(3); i > 0; --i) {
            add(folder, fileName(), [&](const QString& path) { makeLink(root + u"/nowhere"_qs, path); });
            add(folder, below(4) == 0 ? u"Folder.menu.json"_qs : fileName(), [&](const QString& path) {
                writeFile(root + u".linked/file"_qs + QString::number(++linked), description());
                makeLink(root + u".linked/file"_qs + QString::number(linked), path);
            });
        }
        const int folders = depth > 3 ? 0 : below(depth == 0 && below(8) == 0 ? 30 : 4);
        for (int i = 0; i < folders; ++i) {
            add(folder, below(9) == 0 ? fileName() : name(), [&](const QString& path) {
                QDir().mkpath(path);
                fill(path, depth + 1);
                if (below(3) == 0) {
                    add(folder, name(), [&](const QString& other) { makeLink(path, other); });
                }
            });
        }
    }

    template <typename Make>
    void add(const QString& folder, const QString& name, const Make& make)
    {
        const QString path = folder + u'/' + name;
        const QFileInfo info(path);
        if (!info.exists() && !info.isSymLink()) {
            make(path);
        }
    }

    std::mt19937 engine;
    const QString root;
    int linked = 0;
};

struct Frequencies {
    int trees = 0;
    int empty = 0;
    int wideWithTies = 0;
    int damaged = 0;
    int unreachable = 0;
};

int unreachableIn(const TreeElements& elements)
{
    int number = 0;
    for (const TreeElement& element : elements) {
        number += (element.isReachable() ? 0 : 1) + unreachableIn(element.children);
    }
    return number;
}

bool isWide(const TreeElements& elements)
{
    return elements.size() > 16 || std::any_of(elements.begin(), elements.end(), [](const TreeElement& child) {
        return isWide(child.children);
    });
}

// Queries and edits find each element by its path. No path finds an unreachable element.
void checkPaths(const TreeElements& tree, const TreeElements& siblings, const QString& wayTo)
{
    const HandlerWithoutFile handler(manifestOf(tree));
    for (const TreeElement& element : siblings) {
        const QString way = wayTo + element.answersTo;
        QCOMPARE(findElement(tree, way, Qt::SkipEmptyParts) == &element, element.isReachable());
        if (element.isReachable()) {
            QCOMPARE(element.path, way);
            QCOMPARE(findElement(tree, element.path, Qt::KeepEmptyParts), &element);
            QJsonObject found;
            QVERIFY(handler.getNodeElement(element.path, found));
            QCOMPARE(found, element.object());
        }
        checkPaths(tree, element.children, way + u'/');
    }
}

} // namespace

Q_DECLARE_METATYPE(Kind)

// The model of a tree, read from manifests and from folders.
class tst_Tree : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void kindFollowsFromType_data();
    void kindFollowsFromType();
    void pathLeadsToElement_data();
    void pathLeadsToElement();
    void everyPathIsOneThatLookupsTake();
    void elementKnowsItsPlace();
    void labelAndHiddenAreThoseOfElement();
    void treeConvertsBackToItsManifest();
    void editsFindWhatQueriesDoNot_data();
    void editsFindWhatQueriesDoNot();

    void scanOfExampleIsWhatCreatorWrites_data();
    void scanOfExampleIsWhatCreatorWrites();
    void scansOfRandomTreesAreWhatCreatorWrites();
    void remarksNameTheirFiles_data();
    void remarksNameTheirFiles();
    void everyElementKnowsItsSource();
    void scanWritesNothing();
    void folderWithoutDescriptionsIsScanned_data();
    void folderWithoutDescriptionsIsScanned();
    void unreadableFolderIsDamage();
    void deviceIsRefusedUnread_data();
    void deviceIsRefusedUnread();
    void deviceThatIsNoDescriptionIsNotRefused();
    void linkThatLeadsBackIsRefused_data();
    void linkThatLeadsBackIsRefused();
    void refusedScanLeavesMessagesAlone();
};

void tst_Tree::kindFollowsFromType_data()
{
    const Table<QJsonValue, Kind, QString> row("value", "kind", "word");
    row("node", node(u"a"_qs), Kind::Node, u"node"_qs);
    row("selection", selection(u"a"_qs), Kind::Selection, u"selection"_qs);
    row("another type", with(node(u"a"_qs), u"selectionType"_qs, u"node"_qs), Kind::Unknown, u"unknown"_qs);
    row("type that is no text", with(node(u"a"_qs), u"selectionType"_qs, 1), Kind::Unknown, u"unknown"_qs);
    row("without a type", QJsonObject(), Kind::Unknown, u"unknown"_qs);
    row("array", QJsonArray {node(u"a"_qs)}, Kind::NoObject, u"no object"_qs);
    row("null", QJsonValue::Null, Kind::NoObject, u"no object"_qs);
}

void tst_Tree::kindFollowsFromType()
{
    QFETCH(const QJsonValue, value);
    QFETCH(const Kind, kind);
    QFETCH(const QString, word);
    const TreeElements tree = treeOf({value});
    QCOMPARE(tree.size(), std::size_t(1));
    QCOMPARE(tree.at(0).kind, kind);
    QCOMPARE(toText(tree.at(0).kind), word);
    QCOMPARE(tree.at(0).value, value);
}

void tst_Tree::pathLeadsToElement_data()
{
    // The paths of all elements, level by level.
    const Table<QJsonArray, QStringList> row("manifest", "paths");
    const QString none;
    row("node", {node(u"a.b c"_qs)}, {u"a.b c"_qs});
    row("selection at the top", {selection(u"main"_qs)}, {u"main"_qs});
    row("selection answers to its last segment", {selection(u"Net/eth/port"_qs)}, {u"port"_qs});
    row("below a node", {node(u"Net"_qs, {selection(u"Net/port"_qs), node(u"x"_qs)})},
        {u"Net"_qs, u"Net/port"_qs, u"Net/x"_qs});
    row("below a selection", {with(selection(u"a/s"_qs), u"substructure"_qs, QJsonArray {node(u"x"_qs)})},
        {u"s"_qs, u"s/x"_qs});
    row("below an unknown kind", {arrayFrom(R"([{"instanceName":"u","substructure":[{"instanceName":"v"}]}])").at(0)},
        {u"u"_qs, u"u/v"_qs});
    row("node with a slash", {node(u"a/b"_qs, {node(u"x"_qs)})}, {none, none});
    row("unknown kind with a slash", {QJsonObject {{u"instanceName"_qs, u"a/b"_qs}}}, {none});
    row("empty name", {node(u""_qs, {node(u"x"_qs)})}, {none, none});
    row("empty last segment", {selection(u"Net/"_qs)}, {none});
    row("without a name", {QJsonObject {{u"selectionType"_qs, u"Node"_qs}}}, {none});
    row("name that is no text", {with(node(none), u"instanceName"_qs, 7)}, {none});
    row("no object", {7, QJsonArray {node(u"x"_qs)}}, {none, none});
    row("two of a name", {node(u"a"_qs, {node(u"x"_qs)}), node(u"a"_qs, {node(u"x"_qs)})},
        {u"a"_qs, none, u"a/x"_qs, none});
    row("selection behind a node of its last segment", {node(u"port"_qs), selection(u"Net/port"_qs)},
        {u"port"_qs, none});
    row("node behind a selection of its name", {selection(u"x/port"_qs), node(u"port"_qs)}, {u"port"_qs, none});
    row("one of a name with a slash does not stand in the way", {node(u"x/port"_qs), selection(u"x/port"_qs)},
        {none, u"port"_qs});
    row("same name elsewhere", {node(u"a"_qs, {node(u"a"_qs)}), node(u"b"_qs, {node(u"a"_qs)})},
        {u"a"_qs, u"b"_qs, u"a/a"_qs, u"b/a"_qs});
    row("capitals count", {node(u"a"_qs), node(u"A"_qs)}, {u"a"_qs, u"A"_qs});
    row("children that are no array", {with(node(u"a"_qs), u"substructure"_qs, node(u"x"_qs))}, {u"a"_qs});
}

void tst_Tree::pathLeadsToElement()
{
    QFETCH(const QJsonArray, manifest);
    QFETCH(const QStringList, paths);
    const TreeElements tree = treeOf(manifest);
    QStringList found;
    std::vector<const TreeElements*> levels {&tree};
    for (std::size_t i = 0; i < levels.size(); ++i) {
        for (const TreeElement& element : *levels.at(i)) {
            found << element.path;
            QCOMPARE(element.isReachable(), !element.path.isNull());
            levels.push_back(&element.children);
        }
    }
    QCOMPARE(found, paths);
    checkPaths(tree, tree, QString());
}

void tst_Tree::everyPathIsOneThatLookupsTake()
{
    std::mt19937 engine(1);
    int unreachable = 0;
    for (int i = 0; i < 40; ++i) {
        const TreeElements tree = treeOf(oddlyNamed(engine));
        checkPaths(tree, tree, QString());
        if (QTest::currentTestFailed()) {
            return;
        }
        unreachable += unreachableIn(tree);
    }
    QVERIFY(unreachable > 500);
}

void tst_Tree::elementKnowsItsPlace()
{
    const TreeElements tree =
        treeOf({node(u"a"_qs), node(u"b"_qs, {node(u"c"_qs), node(u"c"_qs, {node(u"d"_qs)})}), 1});
    const TreeElement& b = tree.at(1);
    QCOMPARE(b.position(), 1);
    QCOMPARE(b.depth(), 0);
    QCOMPARE(b.positions, QVector<int>({1}));
    QCOMPARE(b.place(), u"'b'"_qs);
    QCOMPARE(b.shadowedBy, -1);
    const TreeElement& second = b.children.at(1);
    QCOMPARE(second.position(), 1);
    QCOMPARE(second.depth(), 1);
    QCOMPARE(second.place(), u"position 1 below 'b'"_qs);
    QCOMPARE(second.answersTo, u"c"_qs);
    QCOMPARE(second.shadowedBy, 0);
    const TreeElement& deepest = second.children.at(0);
    QCOMPARE(deepest.positions, QVector<int>({1, 1, 0}));
    QCOMPARE(deepest.depth(), 2);
    QCOMPARE(deepest.place(), u"position 0 below position 1 below 'b'"_qs);
    QCOMPARE(tree.at(2).place(), u"position 2 of the top level"_qs);
}

void tst_Tree::labelAndHiddenAreThoseOfElement()
{
    const TreeElements tree = treeOf(arrayFrom(
        R"([{"labelTextId":"TXT","hide":true},{"labelTextId":1,"hide":1},{"instanceName":"Net/port"},{"hide":false}])"));
    QCOMPARE(tree.at(0).label(), u"TXT"_qs);
    QCOMPARE(tree.at(0).isHidden(), true);
    QCOMPARE(tree.at(1).label(), QString());
    QCOMPARE(tree.at(1).isHidden(), false);
    QCOMPARE(tree.at(2).name, u"Net/port"_qs);
    QCOMPARE(tree.at(3).isHidden(), false);
}

void tst_Tree::treeConvertsBackToItsManifest()
{
    const QJsonArray manifest = {node(u"a"_qs, {1, node(u"b"_qs, {})}), QJsonArray {1}, selection(u"s"_qs)};
    QCOMPARE(compact(manifestOf(treeOf(manifest))), compact(manifest));
    QCOMPARE(manifestOf(treeOf({})), QJsonArray());
}

void tst_Tree::editsFindWhatQueriesDoNot_data()
{
    const Table<QString, QVector<int>, QVector<int>> row("path", "query", "edit");
    const QVector<int> nothing;
    row("plain", u"a/b"_qs, {0, 0}, {0, 0});
    row("empty", u""_qs, nothing, {1});
    row("only slashes", u"//"_qs, nothing, nothing);
    row("slash in front", u"/a"_qs, {0}, {1, 0});
    row("two slashes", u"a//b"_qs, {0, 0}, nothing);
    row("slash at the end", u"a/"_qs, {0}, nothing);
    row("whole path where the last name is missing", u"a/c"_qs, nothing, {0, 1});
    row("first name missing", u"c/a"_qs, nothing, nothing);
}

void tst_Tree::editsFindWhatQueriesDoNot()
{
    QFETCH(const QString, path);
    QFETCH(const QVector<int>, query);
    QFETCH(const QVector<int>, edit);
    const TreeElements tree =
        treeOf({node(u"a"_qs, {node(u"b"_qs), node(u"a/c"_qs)}), node(u""_qs, {node(u"a"_qs)}), node(u"b/c"_qs)});
    const auto positionsOf = [](const TreeElement* element) { return element ? element->positions : QVector<int>(); };
    QCOMPARE(positionsOf(findElement(tree, path, Qt::SkipEmptyParts)), query);
    const TreeElement* const edited = findElement(tree, path, Qt::KeepEmptyParts);
    QCOMPARE(positionsOf(edited), edit);
    // The handler's edits find the same element.
    HandlerWithoutFile handler(manifestOf(tree));
    QCOMPARE(handler.setProperty(path, u"mark"_qs, true, false), edited != nullptr);
    const TreeElements after = treeOf(handler.getManifestJsonArray());
    const TreeElement* const marked = findElement(after, path, Qt::KeepEmptyParts);
    QCOMPARE(marked != nullptr && marked->object().contains(u"mark"_qs), edited != nullptr);
}

void tst_Tree::scanOfExampleIsWhatCreatorWrites_data()
{
    const Table<QString> row("scheme");
    row("configuration", configurationScheme);
    row("process", u"process"_qs);
    row("another one", u"Configuration"_qs);
}

void tst_Tree::scanOfExampleIsWhatCreatorWrites()
{
    QFETCH(const QString, scheme);
    const QTemporaryDir base;
    copyTree(QStringLiteral(EXAMPLE_TREE), base.path());
    FolderScan scan;
    compareWithCreator(base.filePath(u"configuration"_qs), scheme, scan);
    QCOMPARE(scan.elements.empty(), false);
}

void tst_Tree::scansOfRandomTreesAreWhatCreatorWrites()
{
    Frequencies frequencies;
    const QStringList schemes {configurationScheme, configurationScheme, u"process"_qs, u"x"_qs};
    for (uint seed = 1; seed <= 500; ++seed) {
        const QTemporaryDir base(quickFolder());
        const QString folder = base.filePath(u"tree"_qs);
        RandomTree random(seed, folder);
        const QString scheme = schemes.at(random.below(schemes.size()));
        FolderScan scan;
        compareWithCreator(folder, scheme, scan);
        if (QTest::currentTestFailed()) {
            qWarning("seed %u", seed);
            return;
        }
        const TreeElements read = treeOf(arrayFrom(compact(manifestOf(scan.elements)).constData()));
        QCOMPARE(unreachableIn(scan.elements), unreachableIn(read));
        ++frequencies.trees;
        frequencies.empty += scan.elements.empty() ? 1 : 0;
        frequencies.wideWithTies += isWide(scan.elements) ? 1 : 0;
        frequencies.damaged +=
            std::any_of(scan.remarks.begin(), scan.remarks.end(), [](const Remark& remark) { return remark.isDamage; });
        frequencies.unreachable += unreachableIn(scan.elements) > 0 ? 1 : 0;
    }
    // The random trees have to contain each special case often enough.
    QCOMPARE(frequencies.trees, 500);
    QVERIFY2(frequencies.empty > 10, qPrintable(QString::number(frequencies.empty)));
    QVERIFY2(frequencies.wideWithTies > 100, qPrintable(QString::number(frequencies.wideWithTies)));
    QVERIFY2(frequencies.damaged > 200, qPrintable(QString::number(frequencies.damaged)));
    QVERIFY2(frequencies.unreachable > 100, qPrintable(QString::number(frequencies.unreachable)));
}

void tst_Tree::remarksNameTheirFiles_data()
{
    using Files = QVector<QPair<QString, QByteArray>>;
    const Table<Files, QStringList> row("files", "remarks");
    const QByteArray good = R"({"displayPosition":1,"hide":false})";
    row("nothing to say", {{u"a.config.json"_qs, good}}, {});
    row("cut short", {{u"a.config.json"_qs, good}, {u"b.config.json"_qs, "{"}},
        {u"damage b.config.json: Can't parse Json!"_qs,
            u"ordinary b.config.json: Cannot find key displayPosition in Json object!"_qs,
            u"ordinary b.config.json: Cannot find key \"hide\" in Json object!"_qs});
    row("below", {{u"x/Folder.menu.json"_qs, good}, {u"x/y/Folder.menu.json"_qs, good}, {u"x/y/a.config.json"_qs, "{"}},
        {u"damage x/y/a.config.json: Can't parse Json!"_qs,
            u"ordinary x/y/a.config.json: Cannot find key displayPosition in Json object!"_qs,
            u"ordinary x/y/a.config.json: Cannot find key \"hide\" in Json object!"_qs});
    row("wrong types", {{u"a.config.json"_qs, R"({"displayPosition":"1","hide":1,"iconName":2,"selectorTypeList":3})"}},
        {u"damage a.config.json: Property displayPosition is not of type double!"_qs,
            u"damage a.config.json: Property \"hide\" is not of type bool!"_qs,
            u"damage a.config.json: Property \"selectorTypeList\" is not of type array!"_qs,
            u"damage a.config.json: Property \"iconName\" is not of type string!"_qs});
    row("folder without a description", {{u"x/a.config.json"_qs, good}},
        {u"ordinary x: No description file found!"_qs,
            u"ordinary x: Cannot find key displayPosition in Json object!"_qs});
    row("description of a folder cut short", {{u"x/Folder.menu.json"_qs, "{"}, {u"x/a.config.json"_qs, good}},
        {u"damage x/Folder.menu.json: Can't parse Json!"_qs,
            u"ordinary x/Folder.menu.json: Cannot find key displayPosition in Json object!"_qs});
    row("folder that is not in the tree", {{u"x/Folder.menu.json"_qs, "{"}},
        {u"damage x/Folder.menu.json: Can't parse Json!"_qs,
            u"ordinary x/Folder.menu.json: Cannot find key displayPosition in Json object!"_qs});
    row("same message about two files, in the order of the listing",
        {{u"b.config.json"_qs, R"({"displayPosition":1})"}, {u"a.config.json"_qs, R"({"displayPosition":2})"}},
        {u"ordinary a.config.json: Cannot find key \"hide\" in Json object!"_qs,
            u"ordinary b.config.json: Cannot find key \"hide\" in Json object!"_qs});
    row("file of the other kind", {{u"a.process.json"_qs, "{"}}, {});
}

void tst_Tree::remarksNameTheirFiles()
{
    using Files = QVector<QPair<QString, QByteArray>>;
    QFETCH(const Files, files);
    QFETCH(const QStringList, remarks);
    const QTemporaryDir folder;
    for (const auto& file : files) {
        writeFile(folder.filePath(file.first), file.second);
    }
    const FolderScan scan = scanFolder(folder.path(), configurationScheme);
    QCOMPARE(lines(scan.remarks), remarks);
}

void tst_Tree::everyElementKnowsItsSource()
{
    const QTemporaryDir base;
    copyTree(QStringLiteral(EXAMPLE_TREE), base.path());
    const QString folder = base.filePath(u"configuration"_qs);
    QVERIFY(QDir().mkpath(folder + u"/broken"_qs));
    writeFile(folder + u"/broken/a.config.json"_qs, "{\"displayPosition\":1,\"hide\":true}");
    makeLink(folder + u"/nowhere"_qs, folder + u"/broken/Folder.menu.json"_qs);
    const FolderScan scan = scanFolder(folder, configurationScheme);

    const TreeElement* const cutShort = elementFrom(scan.elements, u"imported/cut-short.config.json"_qs);
    QVERIFY(cutShort != nullptr);
    QCOMPARE(cutShort->path, u"imported/cut-short"_qs);
    QCOMPARE(lines(cutShort->remarks).constFirst(), u"damage imported/cut-short.config.json: Can't parse Json!"_qs);
    const TreeElement* const menu = elementFrom(scan.elements, u"imported/menu-cut-short/Folder.menu.json"_qs);
    QVERIFY(menu != nullptr);
    QCOMPARE(menu->kind, Kind::Node);
    QCOMPARE(
        lines(menu->remarks).constFirst(), u"damage imported/menu-cut-short/Folder.menu.json: Can't parse Json!"_qs);
    // A dangling link is damage; a missing description is not.
    const TreeElement* const broken = elementFrom(scan.elements, u"broken/Folder.menu.json"_qs);
    QVERIFY(broken != nullptr);
    QVERIFY(lines(broken->remarks).constFirst().startsWith(u"damage broken/Folder.menu.json: Can't open file"_qs));
    const TreeElement* const hidden = elementFrom(scan.elements, u"broken/a.config.json"_qs);
    QVERIFY(hidden != nullptr);
    QCOMPARE(hidden->isHidden(), true);
    QVERIFY(hidden->remarks.isEmpty());
    // One of the two nodes named network.
    const TreeElement* const old = elementFrom(scan.elements, u"network.old/Folder.menu.json"_qs);
    QVERIFY(old != nullptr);
    QCOMPARE(old->name, u"network"_qs);
}

void tst_Tree::scanWritesNothing()
{
    const QTemporaryDir base;
    writeFile(base.filePath(u"a.config.json"_qs), "{}");
    scanFolder(base.path(), configurationScheme);
    QCOMPARE(everythingIn(base.path()), QStringList({u"a.config.json"_qs}));
}

void tst_Tree::folderWithoutDescriptionsIsScanned_data()
{
    const Table<QStringList, bool> row("files", "isEmpty");
    row("missing", {}, true);
    row("only hidden entries", {u".hidden"_qs}, true);
    row("no description", {u"readme.txt"_qs}, false);
}

void tst_Tree::folderWithoutDescriptionsIsScanned()
{
    QFETCH(const QStringList, files);
    QFETCH(const bool, isEmpty);
    const QTemporaryDir base;
    for (const QString& file : files) {
        writeFile(base.filePath(u"tree/"_qs + file), "{}");
    }
    const FolderScan scan = scanFolder(base.filePath(u"tree"_qs), configurationScheme);
    QCOMPARE(scan.isEmpty, isEmpty);
    QVERIFY(scan.elements.empty());
    QCOMPARE(scan.refusal, QString());
}

void tst_Tree::unreadableFolderIsDamage()
{
    const QTemporaryDir base;
    writeFile(base.filePath(u"x/a.config.json"_qs), "{}");
    writeFile(base.filePath(u"y.config.json"_qs), "{\"displayPosition\":1,\"hide\":true}");
    writeFile(base.filePath(u"z.config.json"_qs), "{}");
    QVERIFY(QFile::setPermissions(base.filePath(u"z.config.json"_qs), QFile::Permissions()));
    QVERIFY(chmod(QFile::encodeName(base.path()).constData(), 0755) == 0);
    QVERIFY(chmod(QFile::encodeName(base.filePath(u"x"_qs)).constData(), 0) == 0);
    FolderScan scan;
    {
        const AsOrdinaryUser user;
        scan = scanFolder(base.path(), configurationScheme);
    }
    QVERIFY(chmod(QFile::encodeName(base.filePath(u"x"_qs)).constData(), 0700) == 0);
    QCOMPARE(scan.elements.size(), std::size_t(2));
    QCOMPARE(scan.elements.at(1).source, u"y.config.json"_qs);
    const QStringList remarks = lines(scan.remarks);
    QVERIFY2(remarks.contains(u"damage x: Can't read folder: Permission denied"_qs), qPrintable(remarks.join(u'\n')));
    QVERIFY2(remarks.filter(u"damage z.config.json: Can't open file"_qs).size() == 1, qPrintable(remarks.join(u'\n')));
}

void tst_Tree::deviceIsRefusedUnread_data()
{
    const Table<QString, QString, QString> row("name", "target", "refusal");
    row("endless device", u"x/a.config.json"_qs, u"/dev/zero"_qs, u"x/a.config.json: it is a device"_qs);
    row("description of a folder", u"x/Folder.menu.json"_qs, u"/dev/zero"_qs, u"x/Folder.menu.json: it is a device"_qs);
    // Opening a pipe for reading waits for a writer.
    row("pipe", u"a.config.json"_qs, {}, u"a.config.json: it is a pipe"_qs);
    row("pipe describing a folder", u"x/Folder.menu.json"_qs, {}, u"x/Folder.menu.json: it is a pipe"_qs);
}

void tst_Tree::deviceIsRefusedUnread()
{
    QFETCH(const QString, name);
    QFETCH(QString, target);
    QFETCH(const QString, refusal);
    const QTemporaryDir base;
    writeFile(base.filePath(u"tree/x/b.config.json"_qs), "{}");
    if (target.isEmpty()) {
        target = base.filePath(u"pipe"_qs);
        makePipe(target);
    }
    makeLink(target, base.filePath(u"tree/"_qs + name));
    const FolderScan scan = scanFolder(base.filePath(u"tree"_qs), configurationScheme);
    QCOMPARE(scan.refusal, refusal);
    QVERIFY(scan.elements.empty());
}

void tst_Tree::deviceThatIsNoDescriptionIsNotRefused()
{
    const QTemporaryDir base;
    writeFile(base.filePath(u"tree/a.config.json"_qs), "{}");
    // The library lists no pipes, so it does not read this one.
    makePipe(base.filePath(u"tree/b.config.json"_qs));
    makeLink(u"/dev/zero"_qs, base.filePath(u"tree/c.process.json"_qs));
    makeLink(u"/dev/zero"_qs, base.filePath(u"tree/zero"_qs));
    // The description of the scanned folder itself is never read.
    makeLink(u"/dev/zero"_qs, base.filePath(u"tree/Folder.menu.json"_qs));
    FolderScan scan;
    compareWithCreator(base.filePath(u"tree"_qs), configurationScheme, scan);
    QCOMPARE(scan.elements.size(), std::size_t(1));
}

void tst_Tree::linkThatLeadsBackIsRefused_data()
{
    const Table<QString, QString, QString> row("target", "path", "refusal");
    const auto leadsBack = [](const QString& path) -> QString {
        return path + u": it leads back to a folder that contains it"_qs;
    };
    row("to its own folder", u"x"_qs, u"x/up"_qs, leadsBack(u"x/up"_qs));
    row("to the scanned folder", u"."_qs, u"x/y/up"_qs, leadsBack(u"x/y/up"_qs));
    row("above the scanned folder", u".."_qs, u"x/up"_qs, leadsBack(u"x/up/tree"_qs));
    row("to a folder beside it", u"other"_qs, u"x/y/other"_qs, {});
}

void tst_Tree::linkThatLeadsBackIsRefused()
{
    QFETCH(const QString, target);
    QFETCH(const QString, path);
    QFETCH(const QString, refusal);
    const QTemporaryDir base;
    const QString folder = base.filePath(u"tree"_qs);
    writeFile(folder + u"/x/y/a.config.json"_qs, "{}");
    writeFile(folder + u"/other/b.config.json"_qs, "{}");
    makeLink(folder + u'/' + target, folder + u'/' + path);
    const FolderScan scan = scanFolder(folder, configurationScheme);
    QCOMPARE(scan.refusal, refusal);
    QCOMPARE(scan.elements.empty(), !refusal.isNull());
}

void tst_Tree::refusedScanLeavesMessagesAlone()
{
    const QTemporaryDir base;
    makeLink(base.path(), base.filePath(u"up"_qs));
    MessageRecorder log;
    QVERIFY(!scanFolder(base.path(), configurationScheme).refusal.isNull());
    qWarning("afterwards");
    const Messages messages = log.take();
    QCOMPARE(messages.size(), 1);
    QCOMPARE(messages.at(0).text, u"afterwards"_qs);
}

MANIFEST_TEST_MAIN(tst_Tree)

#include "tst_tree.moc"
