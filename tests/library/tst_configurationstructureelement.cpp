#include "ConfigurationStructureElement.h"
#include "Elements.h"
#include "Files.h"
#include "LibraryMessages.h"
#include "Literals.h"
#include "MessageRecorder.h"
#include "TestMain.h"

#include <QtCore/QFile>
#include <QtCore/QTemporaryDir>

#include <algorithm>
#include <limits>
#include <memory>
#include <type_traits>
#include <utility>

using Element = ConfigurationStructureElement;
using Transfer = Element (*)(const Element&);

Q_DECLARE_METATYPE(Transfer)

static_assert(std::has_virtual_destructor_v<Element>);
static_assert(std::is_copy_constructible_v<Element> && std::is_copy_assignable_v<Element>);
static_assert(std::is_nothrow_move_constructible_v<Element> && std::is_nothrow_move_assignable_v<Element>);

namespace {

constexpr int intMinimum = std::numeric_limits<int>::min();
constexpr int intMaximum = std::numeric_limits<int>::max();
const QJsonValue missing(QJsonValue::Undefined);

constexpr auto positionReader = "void ConfigurationStructureElement::extractDisplayPosition(const QJsonObject&, int&)";
constexpr auto stringReader =
    "QString ConfigurationStructureElement::extractSelectionString(const QJsonObject&, const QString&) const";
constexpr auto boolReader =
    "bool ConfigurationStructureElement::extractSelectionBool(const QJsonObject&, const QString&) const";
constexpr auto arrayReader =
    "QJsonArray ConfigurationStructureElement::extractSelectionArray(const QJsonObject&, const QString&) const";

Message positionNotANumber()
{
    return warning(u"Property displayPosition is not of type double!"_qs, positionReader);
}

Message iconNameNotAString()
{
    return warning(
        u"Property iconName is not of type string!"_qs, "QString ConfigurationStructureElement::getIconName() const");
}

// `key` is the key as the message prints it.
Message notAString(const QString& key)
{
    return warning(u"Property \""_qs % key % u"\" is not of type string!"_qs, stringReader);
}

Message boolMissing(const QString& key)
{
    return warning(u"Cannot find key \""_qs % key % u"\" in Json object!"_qs, boolReader);
}

Message notABool(const QString& key)
{
    return warning(u"Property \""_qs % key % u"\" is not of type bool!"_qs, boolReader);
}

Message notAnArray(const QString& key)
{
    return warning(u"Property \""_qs % key % u"\" is not of type array!"_qs, arrayReader);
}

bool haveTheSameState(const Element& a, const Element& b)
{
    return a.isValid() == b.isValid() && a.isDirectory() == b.isDirectory()
        && a.getDisplayPosition() == b.getDisplayPosition() && a.getElementAsJsonObject() == b.getElementAsJsonObject()
        && a.getFileInfo().filePath() == b.getFileInfo().filePath();
}

Element configurationElement(const QString& path, const QString& root)
{
    return Element(QFileInfo(path), root, Element::getConfigurationFileSuffix());
}

// A description that causes no message.
QJsonObject description(int position)
{
    return {{u"displayPosition"_qs, position}, {u"hide"_qs, false}};
}

Element elementAt(bool isNode, int position)
{
    return Element(description(position), QString(), isNode);
}

QJsonObject leastNode(const QString& instanceName)
{
    return {
        {u"dataSourceType"_qs, u"JsonData"_qs}, {u"instanceName"_qs, instanceName}, {u"selectionType"_qs, u"Node"_qs}};
}

QString instanceNameOf(const Element& element)
{
    return element.getElementAsJsonObject().value(u"instanceName"_qs).toString();
}

} // namespace

class tst_ConfigurationStructureElement : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void emptyElementStandsForNothing();
    void membershipIsDecidedByKindAndEnding_data();
    void membershipIsDecidedByKindAndEnding();
    void invalidEntryIsNotRead();
    void elementFromJsonIsNeverValid();
    void fileBecomesSelection();
    void folderBecomesNode();
    void initObjectChangesKindObjectAndPositionOnly();
    void everyTransferKeepsEveryField_data();
    void everyTransferKeepsEveryField();
    void copiesAreIndependent();
    void destructionReachesDerivedClass();
    void displayPositionIsConvertedToInt_data();
    void displayPositionIsConvertedToInt();
    void orderIsSelectionsBeforeNodesEachByPosition_data();
    void orderIsSelectionsBeforeNodesEachByPosition();
    void sortingPutsFilesBeforeFolders();
    void instanceNameIsPathBelowRootUpToFirstDot_data();
    void instanceNameIsPathBelowRootUpToFirstDot();
    void iconNameIsStringOrEmpty_data();
    void iconNameIsStringOrEmpty();
    void setIconNameReplacesAnyValue();

    void nodeInstanceNameEndsAtFirstDot_data();
    void nodeInstanceNameEndsAtFirstDot();
    void nodeCarriesItsDescription_data();
    void nodeCarriesItsDescription();
    void rebuiltNodeReplacesObject();

    void typedReadersFallBackToTheirDefaults_data();
    void typedReadersFallBackToTheirDefaults();
    void keyIsQuotedInMessages();
    void emptyStringsAreNotInserted();
    void selectionMembersFollowTheirRules_data();
    void selectionMembersFollowTheirRules();
    void selectionHoldsNothingButItsMembers();
    void messagesOfSelectionComeInOrderOfItsMembers();
    void emptyDescriptionBecomesMinimalSelection();
    void keysAreComparedCaseSensitively();
    void selectionOfFileIsNamedByItsDescriptionOrItsPath_data();
    void selectionOfFileIsNamedByItsDescriptionOrItsPath();
    void rebuiltSelectionOnlyInserts();
    void buildersLeaveKindAndValidityAlone();
};

void tst_ConfigurationStructureElement::emptyElementStandsForNothing()
{
    const MessageRecorder log;
    const Element element;
    QCOMPARE(element.isValid(), false);
    QCOMPARE(element.isDirectory(), false);
    QCOMPARE(element.getDisplayPosition(), -1);
    QCOMPARE(element.getElementAsJsonObject(), QJsonObject());
    QCOMPARE(element.getFileInfo().filePath(), QString());
    QCOMPARE(element.getIconName(), QString());
}

void tst_ConfigurationStructureElement::membershipIsDecidedByKindAndEnding_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("suffix");
    QTest::addColumn<bool>("belongs");

    const QString configuration = u".config.json"_qs;
    const QString process = u".process.json"_qs;
    QTest::newRow("folder") << u"Net"_qs << configuration << true;
    QTest::newRow("folder named like a file") << u"x.config.json"_qs << configuration << true;
    QTest::newRow("folder under a suffix that it does not have") << u"x.config.json"_qs << process << true;
    QTest::newRow("link to a folder") << u"link to Net"_qs << configuration << true;
    QTest::newRow("configuration file") << u"a.config.json"_qs << configuration << true;
    QTest::newRow("configuration file in a scan for processes") << u"a.config.json"_qs << process << false;
    QTest::newRow("process file") << u"a.process.json"_qs << process << true;
    QTest::newRow("process file in a scan for configurations") << u"a.process.json"_qs << configuration << false;
    QTest::newRow("whole name is the suffix") << u".config.json"_qs << configuration << true;
    QTest::newRow("other file") << u"notes.txt"_qs << configuration << false;
    QTest::newRow("capitals") << u"b.CONFIG.JSON"_qs << configuration << false;
    QTest::newRow("suffix not at the end") << u"a.config.json.old"_qs << configuration << false;
    QTest::newRow("suffix without its dot") << u"aconfig.json"_qs << configuration << false;
    QTest::newRow("empty suffix") << u"notes.txt"_qs << QString() << true;
    QTest::newRow("suffix that begins with the folder") << u"a.config.json"_qs << u"/a.config.json"_qs << false;
    QTest::newRow("file that does not exist") << u"ghost.config.json"_qs << configuration << true;
    QTest::newRow("link that leads nowhere") << u"dangling.config.json"_qs << configuration << true;
    QTest::newRow("link counts by its own name") << u"renamed.config.json"_qs << configuration << true;
}

void tst_ConfigurationStructureElement::membershipIsDecidedByKindAndEnding()
{
    QFETCH(QString, name);
    QFETCH(QString, suffix);
    QFETCH(bool, belongs);

    const QTemporaryDir folder;
    const QStringList files = {u"a.config.json"_qs, u"a.process.json"_qs, u".config.json"_qs, u"notes.txt"_qs,
        u"b.CONFIG.JSON"_qs, u"a.config.json.old"_qs, u"aconfig.json"_qs};
    for (const QString& file : files) {
        writeFile(folder.filePath(file), "{}");
    }
    writeFile(folder.filePath(u"Net/Folder.menu.json"_qs), "{}");
    writeFile(folder.filePath(u"x.config.json/Folder.menu.json"_qs), "{}");
    QVERIFY(QFile::link(u"Net"_qs, folder.filePath(u"link to Net"_qs)));
    QVERIFY(QFile::link(u"nowhere"_qs, folder.filePath(u"dangling.config.json"_qs)));
    QVERIFY(QFile::link(u"notes.txt"_qs, folder.filePath(u"renamed.config.json"_qs)));

    MessageRecorder log;
    const QFileInfo entry(folder.filePath(name));
    Element element;
    QCOMPARE(element.validateObject(entry, suffix), belongs);
    QVERIFY(haveTheSameState(element, Element()));
    QCOMPARE(log.take(), Messages());

    const Element constructed(entry, folder.path(), suffix);
    QCOMPARE(constructed.isValid(), belongs);
    QCOMPARE(log.take().isEmpty(), !belongs);
}

void tst_ConfigurationStructureElement::invalidEntryIsNotRead()
{
    const QTemporaryDir folder;
    const QString path = folder.filePath(u"Net/notes.txt"_qs);
    writeFile(path, R"({"displayPosition":"no number","hide":false,"labelTextId":"TXT"})");

    MessageRecorder log;
    Element element = configurationElement(path, folder.path());
    QCOMPARE(log.take(), Messages());
    QCOMPARE(element.isValid(), false);
    QCOMPARE(element.isDirectory(), false);
    QCOMPARE(element.getDisplayPosition(), -1);
    QCOMPARE(element.getElementAsJsonObject(), QJsonObject());
    QCOMPARE(element.getFileInfo(), QFileInfo(path));

    // The element still knows its root, so the name is relative to it.
    element.generateSelectionData(element.getFileInfo());
    QCOMPARE(log.take(), Messages({positionNotANumber()}));
    QCOMPARE(instanceNameOf(element), u"Net/notes"_qs);
}

void tst_ConfigurationStructureElement::elementFromJsonIsNeverValid()
{
    const MessageRecorder log;
    for (const bool isNode : {true, false}) {
        const Element element(description(3), u"name.config.json"_qs, isNode);
        QCOMPARE(element.isValid(), false);
        QCOMPARE(element.isDirectory(), isNode);
        QCOMPARE(element.getDisplayPosition(), 3);
        QCOMPARE(element.getFileInfo().filePath(), QString());
        QCOMPARE(instanceNameOf(element), u"name.config.json"_qs);
    }
}

void tst_ConfigurationStructureElement::fileBecomesSelection()
{
    const QTemporaryDir folder;
    const QString path = folder.filePath(u"Net/port.config.json"_qs);
    writeFile(path, R"({"labelTextId":"TXT_PORT","hide":false,"displayPosition":2,"connectorId":0})");

    const MessageRecorder log;
    const Element element = configurationElement(path, folder.path());
    QCOMPARE(element.isValid(), true);
    QCOMPARE(element.isDirectory(), false);
    QCOMPARE(element.getDisplayPosition(), 2);
    QCOMPARE(element.getFileInfo(), QFileInfo(path));
    QCOMPARE(element.getElementAsJsonObject(),
        objectFrom(R"({"closeMode":"Manual","connectorId":0,"dataModel":"","hide":false,"iconName":"",
            "instanceName":"Net/port","labelTextId":"TXT_PORT","lastModified":"","selectionType":"Selection",
            "uiJob":"OpenConfiguration"})"));
}

void tst_ConfigurationStructureElement::folderBecomesNode()
{
    const QTemporaryDir folder;
    const QString path = folder.filePath(u"Sub/x.config.json"_qs);
    writeFile(path + u"/Folder.menu.json"_qs, R"({"displayPosition":4,"iconName":"net.svg"})");

    const MessageRecorder log;
    const Element element = configurationElement(path, folder.path());
    QCOMPARE(element.isValid(), true);
    QCOMPARE(element.isDirectory(), true);
    QCOMPARE(element.getDisplayPosition(), 4);
    QCOMPARE(element.getFileInfo(), QFileInfo(path));
    QCOMPARE(element.getIconName(), u"net.svg"_qs);
    // The instance name of a node has no path.
    QCOMPARE(instanceNameOf(element), u"x"_qs);
}

void tst_ConfigurationStructureElement::initObjectChangesKindObjectAndPositionOnly()
{
    const QTemporaryDir folder;
    const QString filePath = folder.filePath(u"a.config.json"_qs);
    writeFile(filePath, R"({"displayPosition":7,"hide":false})");
    writeFile(folder.filePath(u"Net/Folder.menu.json"_qs), R"({"displayPosition":8})");

    const MessageRecorder log;
    Element element;
    element.initObject(QFileInfo(folder.filePath(u"Net"_qs)));
    QCOMPARE(element.isDirectory(), true);
    QCOMPARE(element.getDisplayPosition(), 8);
    QCOMPARE(element.getElementAsJsonObject(), leastNode(u"Net"_qs));
    QCOMPARE(element.isValid(), false);
    QCOMPARE(element.getFileInfo().filePath(), QString());

    element.initObject(QFileInfo(filePath));
    QCOMPARE(element.isDirectory(), false);
    QCOMPARE(element.getDisplayPosition(), 7);
    QCOMPARE(instanceNameOf(element), folder.path().mid(1) + u"/a"_qs);
    QCOMPARE(element.isValid(), false);
    QCOMPARE(element.getFileInfo().filePath(), QString());
}

void tst_ConfigurationStructureElement::everyTransferKeepsEveryField_data()
{
    QTest::addColumn<Transfer>("transfer");
    QTest::newRow("copy construction") << Transfer([](const Element& element) {
        Element copy(element);
        return copy;
    });
    QTest::newRow("copy assignment") << Transfer([](const Element& element) {
        Element copy = elementAt(true, 99);
        copy = element;
        return copy;
    });
    QTest::newRow("move construction") << Transfer([](const Element& element) {
        Element source(element);
        Element target(std::move(source));
        return target;
    });
    QTest::newRow("move assignment") << Transfer([](const Element& element) {
        Element source(element);
        Element target = elementAt(true, 99);
        target = std::move(source);
        return target;
    });
}

void tst_ConfigurationStructureElement::everyTransferKeepsEveryField()
{
    QFETCH(Transfer, transfer);
    const QTemporaryDir folder;
    const QString path = folder.filePath(u"Net/a.config.json"_qs);
    writeFile(path, R"({"displayPosition":5,"hide":true})");
    writeFile(folder.filePath(u"Net/Folder.menu.json"_qs), R"({"displayPosition":6,"any":[1,2]})");

    const MessageRecorder log;
    const QVector<Element> originals = {Element(), configurationElement(path, folder.path()),
        configurationElement(folder.filePath(u"Net"_qs), folder.path()),
        configurationElement(folder.filePath(u"notes.txt"_qs), folder.path()), elementAt(true, 3), elementAt(false, 4)};
    for (const Element& original : originals) {
        QVERIFY(haveTheSameState(transfer(original), original));
    }

    Element transferred = transfer(originals.at(1));
    transferred.generateSelectionData(QFileInfo(path));
    QCOMPARE(instanceNameOf(transferred), u"Net/a"_qs);
}

void tst_ConfigurationStructureElement::copiesAreIndependent()
{
    const MessageRecorder log;
    const Element original = elementAt(false, 1);
    Element copy = original;
    copy.setIconName(u"new.svg"_qs);
    copy.generateSelectionData(description(2), u"new"_qs);
    QCOMPARE(original.getElementAsJsonObject(), builtSelection(QString()));
    QCOMPARE(original.getDisplayPosition(), 1);
    QCOMPARE(copy.getDisplayPosition(), 2);
    QCOMPARE(instanceNameOf(copy), u"new"_qs);

    QJsonObject object = original.getElementAsJsonObject();
    object.insert(u"hide"_qs, true);
    QCOMPARE(original.getElementAsJsonObject(), builtSelection(QString()));
}

void tst_ConfigurationStructureElement::destructionReachesDerivedClass()
{
    class Derived : public Element {
    public:
        explicit Derived(bool& flag)
            : destroyed(flag)
        {
        }
        ~Derived() override
        {
            destroyed = true;
        }

    private:
        bool& destroyed;
    };

    bool destroyed = false;
    std::unique_ptr<Element>(new Derived(destroyed)).reset();
    QVERIFY(destroyed);
}

void tst_ConfigurationStructureElement::displayPositionIsConvertedToInt_data()
{
    QTest::addColumn<QJsonValue>("value");
    QTest::addColumn<int>("position");
    QTest::addColumn<Messages>("messages");

    constexpr int unchanged = 42;
    const Messages silent;
    const Messages refused = {positionNotANumber()};
    QTest::newRow("integer") << QJsonValue(3) << 3 << silent;
    QTest::newRow("zero") << QJsonValue(0) << 0 << silent;
    QTest::newRow("negative") << QJsonValue(-7) << -7 << silent;
    QTest::newRow("fraction") << QJsonValue(3.99) << 3 << silent;
    QTest::newRow("fraction below one") << QJsonValue(0.99) << 0 << silent;
    QTest::newRow("negative fraction above minus one") << QJsonValue(-0.5) << 0 << silent;
    QTest::newRow("negative fraction") << QJsonValue(-3.99) << -3 << silent;
    QTest::newRow("greatest") << QJsonValue(2147483647.0) << intMaximum << silent;
    QTest::newRow("greatest and a fraction") << QJsonValue(2147483647.5) << intMaximum << silent;
    QTest::newRow("one above the greatest") << QJsonValue(2147483648.0) << intMaximum << silent;
    QTest::newRow("what 64 bits hold") << QJsonValue(Q_INT64_C(1) << 53) << intMaximum << silent;
    QTest::newRow("far above") << QJsonValue(1e308) << intMaximum << silent;
    QTest::newRow("least") << QJsonValue(-2147483648.0) << intMinimum << silent;
    QTest::newRow("one below the least") << QJsonValue(-2147483649.0) << intMinimum << silent;
    QTest::newRow("far below") << QJsonValue(-1e308) << intMinimum << silent;
    QTest::newRow("infinite") << QJsonValue(qInf()) << intMaximum << silent;
    QTest::newRow("no number") << QJsonValue(qQNaN()) << 0 << silent;
    QTest::newRow("number as a string") << QJsonValue(u"2"_qs) << unchanged << refused;
    QTest::newRow("bool") << QJsonValue(true) << unchanged << refused;
    QTest::newRow("null") << QJsonValue(QJsonValue::Null) << unchanged << refused;
    QTest::newRow("array") << QJsonValue(QJsonArray {2}) << unchanged << refused;
    QTest::newRow("object") << QJsonValue(QJsonObject()) << unchanged << refused;
    QTest::newRow("missing") << missing << unchanged << Messages({positionMissing()});
}

void tst_ConfigurationStructureElement::displayPositionIsConvertedToInt()
{
    QFETCH(QJsonValue, value);
    QFETCH(int, position);
    QFETCH(Messages, messages);

    const QString key = u"displayPosition"_qs;
    QJsonObject object = {{u"hide"_qs, false}, {u"other"_qs, 1}};
    const QJsonObject withoutPosition = object;
    object.insert(key, value);

    MessageRecorder log;
    Element element;
    int read = 42;
    element.extractDisplayPosition(object, read);
    QCOMPARE(log.take(), messages);
    QCOMPARE(read, position);

    QJsonObject changed = object;
    read = 42;
    element.extractAndRemoveDisplayPosition(changed, read);
    QCOMPARE(log.take(), messages);
    QCOMPARE(read, position);
    QCOMPARE(changed, withoutPosition);
    QVERIFY(haveTheSameState(element, Element()));

    const int builtPosition = messages.isEmpty() ? position : -1;
    const Element node(object, u"n"_qs, true);
    QCOMPARE(log.take(), messages);
    QCOMPARE(node.getDisplayPosition(), builtPosition);
    QVERIFY(!node.getElementAsJsonObject().contains(key));

    const Element selection(object, u"s"_qs, false);
    QCOMPARE(log.take(), messages);
    QCOMPARE(selection.getDisplayPosition(), builtPosition);
    QVERIFY(!selection.getElementAsJsonObject().contains(key));
}

void tst_ConfigurationStructureElement::orderIsSelectionsBeforeNodesEachByPosition_data()
{
    QTest::addColumn<bool>("isNode");
    QTest::addColumn<int>("position");
    QTest::addColumn<bool>("otherIsNode");
    QTest::addColumn<int>("otherPosition");
    QTest::addColumn<bool>("less");

    const QVector<int> positions = {intMinimum, -1, 0, 1, intMaximum};
    QVector<std::pair<bool, int>> ordered;
    for (const bool isNode : {false, true}) {
        for (const int position : positions) {
            ordered.append({isNode, position});
        }
    }
    for (int a = 0; a < ordered.size(); ++a) {
        for (int b = 0; b < ordered.size(); ++b) {
            const auto& [isNode, position] = ordered.at(a);
            const auto& [otherIsNode, otherPosition] = ordered.at(b);
            QTest::addRow("%s %d, %s %d", isNode ? "node" : "selection", position, otherIsNode ? "node" : "selection",
                otherPosition)
                << isNode << position << otherIsNode << otherPosition << (a < b);
        }
    }
}

void tst_ConfigurationStructureElement::orderIsSelectionsBeforeNodesEachByPosition()
{
    QFETCH(bool, isNode);
    QFETCH(int, position);
    QFETCH(bool, otherIsNode);
    QFETCH(int, otherPosition);
    QFETCH(bool, less);

    const MessageRecorder log;
    const Element element = elementAt(isNode, position);
    const Element other = elementAt(otherIsNode, otherPosition);
    QCOMPARE(element < other, less);
}

void tst_ConfigurationStructureElement::sortingPutsFilesBeforeFolders()
{
    const MessageRecorder log;
    QVector<Element> elements = {elementAt(true, 1), elementAt(false, 5), elementAt(false, -1), elementAt(true, 0)};
    std::sort(elements.begin(), elements.end());
    QVector<std::pair<bool, int>> order;
    for (const Element& element : std::as_const(elements)) {
        order.append({element.isDirectory(), element.getDisplayPosition()});
    }
    const QVector<std::pair<bool, int>> expected = {{false, -1}, {false, 5}, {true, 0}, {true, 1}};
    QCOMPARE(order, expected);
}

void tst_ConfigurationStructureElement::instanceNameIsPathBelowRootUpToFirstDot_data()
{
    QTest::addColumn<QString>("root");
    QTest::addColumn<QString>("file");
    QTest::addColumn<QString>("name");

    const auto row = [](const char* title, const char* root, const char* file, const char* name) {
        QTest::newRow(title) << QString::fromUtf8(root) << QString::fromUtf8(file) << QString::fromUtf8(name);
    };
    row("in the root", "/data/cfg", "/data/cfg/main.config.json", "main");
    row("below the root", "/data/cfg", "/data/cfg/Net/Eth/port1.config.json", "Net/Eth/port1");
    row("many dots", "/data/cfg", "/data/cfg/port.v2.3.config.json", "port");
    row("nothing before the suffix", "/data/cfg", "/data/cfg/Net/.config.json", "Net/");
    row("dots in folders stay", "/data/cfg", "/data/cfg/Net.old/a.config.json", "Net.old/a");
    row("no dot at all", "/data/cfg", "/data/cfg/Net/README", "Net/README");
    row("not Latin", "/data/cfg", "/data/cfg/Größe/Ω.config.json", "Größe/Ω");
    row("root with a trailing slash", "/data/cfg/", "/data/cfg/Net/a.config.json", "a");
    row("root with a trailing slash, two levels", "/data/cfg/", "/data/cfg/Net/Eth/a.config.json", "a");
    row("root with a trailing slash, in the root", "/data/cfg/", "/data/cfg/main.config.json", "data/cfg/main");
    row("root occurs twice", "/cfg", "/cfg/sub/cfg/b.config.json", "sub/b");
    row("root occurs in a longer name", "/cfg", "/cfg/cfg2/b.config.json", "b");
    row("root occurs in the middle only", "/cfg", "/data/cfg/Net/b.config.json", "data/Net/b");
    row("root is the whole path, twice", "/cfg", "/cfg/cfg/b.config.json", "b");
    row("root written in capitals", "/DATA/CFG", "/data/cfg/a.config.json", "data/cfg/a");
    row("root elsewhere", "/other", "/data/cfg/a.config.json", "data/cfg/a");
    row("no root", "", "/data/cfg/Net/a.config.json", "data/cfg/Net/a");
    row("no root, in /", "", "/a.config.json", "/a");
    row("in /", "/data", "/a.config.json", "/a");
    row("in / as the root", "/", "/a.config.json", "a");
    row("below / as the root", "/", "/Net/Eth/a.config.json", "a");
    row("relative", "", "Net/a.config.json", "a");
    row("relative root", "cfg", "cfg/Net/a.config.json", "Net/a");
    row("no folder", "", "a.config.json", "a");
    row("dot segments stay", "/data/cfg", "/data/cfg/./Net/../a.config.json", "./Net/../a");
}

void tst_ConfigurationStructureElement::instanceNameIsPathBelowRootUpToFirstDot()
{
    QFETCH(QString, root);
    QFETCH(QString, file);
    QFETCH(QString, name);

    const MessageRecorder log;
    Element element;
    QString instanceName = u"former"_qs;
    element.extractInstanceNameFromPath(root, QFileInfo(file), instanceName);
    QCOMPARE(instanceName, name);
    QVERIFY(haveTheSameState(element, Element()));
}

void tst_ConfigurationStructureElement::iconNameIsStringOrEmpty_data()
{
    QTest::addColumn<QJsonValue>("value");
    QTest::addColumn<QString>("iconName");
    QTest::addColumn<Messages>("messages");

    const Messages refused = {iconNameNotAString()};
    QTest::newRow("missing") << missing << QString() << Messages();
    QTest::newRow("string") << QJsonValue(u"a.svg"_qs) << u"a.svg"_qs << Messages();
    QTest::newRow("empty string") << QJsonValue(QString()) << QString() << Messages();
    QTest::newRow("number") << QJsonValue(7) << QString() << refused;
    QTest::newRow("bool") << QJsonValue(true) << QString() << refused;
    QTest::newRow("null") << QJsonValue(QJsonValue::Null) << QString() << refused;
    QTest::newRow("array") << QJsonValue(QJsonArray {u"a.svg"_qs}) << QString() << refused;
    QTest::newRow("object") << QJsonValue(QJsonObject()) << QString() << refused;
}

void tst_ConfigurationStructureElement::iconNameIsStringOrEmpty()
{
    QFETCH(QJsonValue, value);
    QFETCH(QString, iconName);
    QFETCH(Messages, messages);

    const QString key = u"iconName"_qs;
    QJsonObject object = description(0);
    object.insert(key, value);
    MessageRecorder log;
    const Element node(object, QString(), true);
    QCOMPARE(log.take(), Messages());
    QCOMPARE(node.getIconName(), iconName);
    QCOMPARE(log.take(), messages);
    QCOMPARE(node.getElementAsJsonObject().value(key), value);
}

void tst_ConfigurationStructureElement::setIconNameReplacesAnyValue()
{
    const MessageRecorder log;
    Element element;
    element.setIconName(u"x"_qs);
    QCOMPARE(element.getIconName(), u"x"_qs);
    QCOMPARE(element.getElementAsJsonObject(), objectFrom(R"({"iconName":"x"})"));

    element.setIconName(QString());
    QCOMPARE(element.getIconName(), QString());
    QCOMPARE(element.getElementAsJsonObject(), objectFrom(R"({"iconName":""})"));

    Element node(objectFrom(R"({"displayPosition":1,"iconName":7,"other":[]})"), u"n"_qs, true);
    node.setIconName(u"y"_qs);
    QJsonObject expected = leastNode(u"n"_qs);
    expected.insert(u"iconName"_qs, u"y"_qs);
    expected.insert(u"other"_qs, QJsonArray());
    QCOMPARE(node.getElementAsJsonObject(), expected);
    QCOMPARE(node.getDisplayPosition(), 1);
}

void tst_ConfigurationStructureElement::nodeInstanceNameEndsAtFirstDot_data()
{
    QTest::addColumn<QString>("folderName");
    QTest::addColumn<QString>("instanceName");
    QTest::newRow("no dot") << u"Net"_qs << u"Net"_qs;
    QTest::newRow("one dot") << u"Net.old"_qs << u"Net"_qs;
    QTest::newRow("many dots") << u"Net.2.config.json"_qs << u"Net"_qs;
    QTest::newRow("dot first") << u".hidden"_qs << QString();
    QTest::newRow("below another folder") << u"Sub/Net.old"_qs << u"Net"_qs;
    QTest::newRow("trailing slash") << u"Net/"_qs << QString();
}

void tst_ConfigurationStructureElement::nodeInstanceNameEndsAtFirstDot()
{
    QFETCH(QString, folderName);
    QFETCH(QString, instanceName);

    const QTemporaryDir folder;
    const QString path = folder.filePath(folderName);
    writeFile(path + u"/Folder.menu.json"_qs, R"({"displayPosition":1,"instanceName":"Other"})");
    const MessageRecorder log;
    const Element element = configurationElement(path, folder.path());
    QCOMPARE(element.getElementAsJsonObject(), leastNode(instanceName));
}

void tst_ConfigurationStructureElement::nodeCarriesItsDescription_data()
{
    QTest::addColumn<QByteArray>("description");
    QTest::addColumn<QByteArray>("node");

    const auto row = [](const char* title, const char* description, const char* node) {
        QTest::newRow(title) << QByteArray(description) << QByteArray(node);
    };
    row("every type is copied", R"({"displayPosition":1,"string":"s","empty":"","number":1.5,"true":true,"false":false,
            "null":null,"array":[1,"a",{"b":[]}],"object":{"displayPosition":9,"tolmVersion":1}})",
        R"({"string":"s","empty":"","number":1.5,"true":true,"false":false,"null":null,"array":[1,"a",{"b":[]}],
            "object":{"displayPosition":9,"tolmVersion":1},
            "selectionType":"Node","dataSourceType":"JsonData","instanceName":"Net"})");
    row("presentation is copied", R"({"displayPosition":1,"iconName":"i.svg","labelTextId":"TXT","hide":true,
            "closeMode":"Auto","uiJob":"Other","moduleName":"m","objectName":"o","connectorId":-1})",
        R"({"iconName":"i.svg","labelTextId":"TXT","hide":true,"closeMode":"Auto","uiJob":"Other","moduleName":"m",
            "objectName":"o","connectorId":-1,
            "selectionType":"Node","dataSourceType":"JsonData","instanceName":"Net"})");
    row("kind, source and name are forced",
        R"({"displayPosition":1,"selectionType":"Selection","dataSourceType":"Other","instanceName":"Other"})",
        R"({"selectionType":"Node","dataSourceType":"JsonData","instanceName":"Net"})");
    row("and whatever their type was",
        R"({"displayPosition":1,"selectionType":1,"dataSourceType":null,"instanceName":["Other"]})",
        R"({"selectionType":"Node","dataSourceType":"JsonData","instanceName":"Net"})");
    row("versions are dropped", R"({"displayPosition":1,"tolmVersion":"1.0","configurationVersion":"2.0"})",
        R"({"selectionType":"Node","dataSourceType":"JsonData","instanceName":"Net"})");
    row("and whatever their type was, too", R"({"displayPosition":1,"tolmVersion":{"a":1},"configurationVersion":2})",
        R"({"selectionType":"Node","dataSourceType":"JsonData","instanceName":"Net"})");
    row("substructure is kept", R"({"displayPosition":1,"substructure":[{"instanceName":"child"}]})",
        R"({"substructure":[{"instanceName":"child"}],
            "selectionType":"Node","dataSourceType":"JsonData","instanceName":"Net"})");
}

void tst_ConfigurationStructureElement::nodeCarriesItsDescription()
{
    QFETCH(QByteArray, description);
    QFETCH(QByteArray, node);

    const QTemporaryDir folder;
    writeFile(folder.filePath(u"Net/Folder.menu.json"_qs), description);
    const MessageRecorder log;
    const QJsonObject expected = objectFrom(node.constData());
    const Element scanned = configurationElement(folder.filePath(u"Net"_qs), folder.path());
    QCOMPARE(scanned.getElementAsJsonObject(), expected);
    const Element given(objectFrom(description.constData()), u"Net"_qs, true);
    QCOMPARE(given.getElementAsJsonObject(), expected);
}

void tst_ConfigurationStructureElement::rebuiltNodeReplacesObject()
{
    MessageRecorder log;
    Element element(objectFrom(R"({"displayPosition":5,"first":1})"), u"first"_qs, true);
    element.setIconName(u"first.svg"_qs);
    QCOMPARE(log.take(), Messages());

    element.generateNodeData(objectFrom(R"({"second":2})"), QString());
    QCOMPARE(log.take(), Messages({positionMissing()}));
    QJsonObject expected = leastNode(QString());
    expected.insert(u"second"_qs, 2);
    QCOMPARE(element.getElementAsJsonObject(), expected);
    QCOMPARE(element.getDisplayPosition(), 5);

    element.generateNodeData(objectFrom(R"({"displayPosition":"6"})"), u"third"_qs);
    QCOMPARE(log.take(), Messages({positionNotANumber()}));
    QCOMPARE(element.getElementAsJsonObject(), leastNode(u"third"_qs));
    QCOMPARE(element.getDisplayPosition(), 5);

    element.generateNodeData(objectFrom(R"({"displayPosition":7})"), u"fourth"_qs);
    QCOMPARE(element.getDisplayPosition(), 7);
}

void tst_ConfigurationStructureElement::typedReadersFallBackToTheirDefaults_data()
{
    QTest::addColumn<QJsonValue>("value");
    QTest::addColumn<QString>("asString");
    QTest::addColumn<bool>("asBool");
    QTest::addColumn<QJsonArray>("asArray");
    QTest::addColumn<int>("asInt");
    QTest::addColumn<Messages>("messages");

    const QString key = u"key"_qs;
    const Messages number = {notAString(key), notABool(key), notAnArray(key)};
    const QString noString;
    const QJsonArray noArray;
    QTest::newRow("missing") << missing << noString << false << noArray << -1 << Messages({boolMissing(key)});
    QTest::newRow("null") << QJsonValue(QJsonValue::Null) << noString << false << noArray << -1
                          << Messages({notAString(key), notABool(key), notAnArray(key)});
    QTest::newRow("true") << QJsonValue(true) << noString << true << noArray << -1
                          << Messages({notAString(key), notAnArray(key)});
    QTest::newRow("false") << QJsonValue(false) << noString << false << noArray << -1
                           << Messages({notAString(key), notAnArray(key)});
    QTest::newRow("zero") << QJsonValue(0) << noString << false << noArray << 0 << number;
    QTest::newRow("one") << QJsonValue(1) << noString << false << noArray << 1 << number;
    QTest::newRow("negative") << QJsonValue(-7) << noString << false << noArray << -7 << number;
    QTest::newRow("greatest") << QJsonValue(2147483647.0) << noString << false << noArray << intMaximum << number;
    QTest::newRow("least") << QJsonValue(-2147483648.0) << noString << false << noArray << intMinimum << number;
    QTest::newRow("fraction") << QJsonValue(2.5) << noString << false << noArray << -1 << number;
    QTest::newRow("above int") << QJsonValue(1e10) << noString << false << noArray << -1 << number;
    QTest::newRow("below int") << QJsonValue(-1e10) << noString << false << noArray << -1 << number;
    QTest::newRow("string") << QJsonValue(u"5"_qs) << u"5"_qs << false << noArray << -1
                            << Messages({notABool(key), notAnArray(key)});
    QTest::newRow("empty string") << QJsonValue(QString()) << noString << false << noArray << -1
                                  << Messages({notABool(key), notAnArray(key)});
    QTest::newRow("array") << QJsonValue(arrayFrom(R"([1,"a",{}])")) << noString << false << arrayFrom(R"([1,"a",{}])")
                           << -1 << Messages({notAString(key), notABool(key)});
    QTest::newRow("empty array") << QJsonValue(QJsonArray()) << noString << false << noArray << -1
                                 << Messages({notAString(key), notABool(key)});
    QTest::newRow("object") << QJsonValue(QJsonObject {{key, 1}}) << noString << false << noArray << -1
                            << Messages({notAString(key), notABool(key), notAnArray(key)});
}

void tst_ConfigurationStructureElement::typedReadersFallBackToTheirDefaults()
{
    QFETCH(QJsonValue, value);
    QFETCH(QString, asString);
    QFETCH(bool, asBool);
    QFETCH(QJsonArray, asArray);
    QFETCH(int, asInt);
    QFETCH(Messages, messages);

    const QString key = u"key"_qs;
    QJsonObject object = {{u"other"_qs, u"not read"_qs}};
    object.insert(key, value);
    MessageRecorder log;
    const Element element;
    QCOMPARE(element.extractSelectionString(object, key), asString);
    QCOMPARE(element.extractSelectionBool(object, key), asBool);
    QCOMPARE(element.extractSelectionArray(object, key), asArray);
    QCOMPARE(element.extractSelectionInt(object, key), asInt);
    QCOMPARE(log.take(), messages);
    QVERIFY(haveTheSameState(element, Element()));
}

void tst_ConfigurationStructureElement::keyIsQuotedInMessages()
{
    const QString key = u"a \"b\"\n"_qs;
    const QString printed = uR"(a \"b\"\n)"_qs;
    const QJsonObject object = {{key, 1}};
    MessageRecorder log;
    const Element element;
    element.extractSelectionString(object, key);
    element.extractSelectionBool(object, key);
    element.extractSelectionBool(QJsonObject(), key);
    element.extractSelectionArray(object, key);
    QCOMPARE(log.take(), Messages({notAString(printed), notABool(printed), boolMissing(printed), notAnArray(printed)}));
}

void tst_ConfigurationStructureElement::emptyStringsAreNotInserted()
{
    const QString taken = u"taken"_qs;
    const QString free = u"free"_qs;
    const MessageRecorder log;
    Element element(objectFrom(R"({"displayPosition":1,"taken":7})"), u"n"_qs, true);
    QJsonObject expected = element.getElementAsJsonObject();
    for (const QString& empty : {QString(), u""_qs}) {
        element.insertStringPropertyIfNotEmpty(taken, empty);
        element.insertStringPropertyIfNotEmpty(free, empty);
        QCOMPARE(element.getElementAsJsonObject(), expected);
    }

    element.insertStringPropertyIfNotEmpty(taken, u"x"_qs);
    element.insertStringPropertyIfNotEmpty(free, u" "_qs);
    expected.insert(taken, u"x"_qs);
    expected.insert(free, u" "_qs);
    QCOMPARE(element.getElementAsJsonObject(), expected);
}

void tst_ConfigurationStructureElement::selectionMembersFollowTheirRules_data()
{
    QTest::addColumn<QString>("key");
    QTest::addColumn<QJsonValue>("described");
    QTest::addColumn<QJsonValue>("stored");
    QTest::addColumn<Messages>("messages");

    const auto row = [](const QString& key, const char* title, const QJsonValue& described, const QJsonValue& stored,
                         const Messages& messages = {}) {
        QTest::addRow("%s: %s", qPrintable(key), title) << key << described << stored << messages;
    };
    const QJsonValue null(QJsonValue::Null);
    const QJsonValue empty = QString();
    const QJsonValue text = u"text"_qs;
    const QJsonValue blank = u" "_qs;

    for (const QString& key : {u"labelTextId"_qs, u"dataModel"_qs, u"lastModified"_qs, u"iconName"_qs}) {
        row(key, "missing", missing, empty);
        row(key, "empty", empty, empty);
        row(key, "string", text, text);
        row(key, "number", 7, empty, {notAString(key)});
        row(key, "null", null, empty, {notAString(key)});
    }

    const std::pair<QString, QJsonValue> forced[] = {
        {u"selectionType"_qs, u"Selection"_qs},
        {u"closeMode"_qs, u"Manual"_qs},
        {u"uiJob"_qs, u"OpenConfiguration"_qs},
    };
    for (const auto& [key, value] : forced) {
        row(key, "missing", missing, value);
        row(key, "string", text, value);
        row(key, "number", 7, value);
    }

    const QString hide = u"hide"_qs;
    row(hide, "missing", missing, false, {boolMissing(hide)});
    row(hide, "true", true, true);
    row(hide, "false", false, false);
    row(hide, "number", 1, false, {notABool(hide)});
    row(hide, "string", u"true"_qs, false, {notABool(hide)});
    row(hide, "null", null, false, {notABool(hide)});

    const QJsonArray items = arrayFrom(R"(["a",1,null,{"b":[]},[]])");
    for (const QString& key : {u"selectorTypeList"_qs, u"selectorTypeListEndpoint"_qs}) {
        row(key, "missing", missing, missing);
        row(key, "empty", QJsonArray(), missing);
        row(key, "one item", QJsonArray {null}, QJsonArray {null});
        row(key, "items", items, items);
        row(key, "string", text, missing, {notAnArray(key)});
        row(key, "object", QJsonObject(), missing, {notAnArray(key)});
        row(key, "null", null, missing, {notAnArray(key)});
    }

    const QString connectorId = u"connectorId"_qs;
    row(connectorId, "missing", missing, missing);
    row(connectorId, "zero", 0, 0);
    row(connectorId, "one", 1, 1);
    row(connectorId, "greatest", 2147483647.0, intMaximum);
    row(connectorId, "above int", 2147483648.0, missing);
    row(connectorId, "far above int", 1e10, missing);
    row(connectorId, "minus one", -1, missing);
    row(connectorId, "minus two", -2, missing);
    row(connectorId, "fraction", 2.5, missing);
    row(connectorId, "string", u"5"_qs, missing);
    row(connectorId, "bool", true, missing);
    row(connectorId, "null", null, missing);

    for (const QString& key : {u"templateType"_qs, u"labelTextUrl"_qs, u"dependencyFile"_qs, u"dependencyFileExtern"_qs,
             u"moduleName"_qs, u"objectName"_qs, u"bufferType"_qs}) {
        row(key, "missing", missing, missing);
        row(key, "empty", empty, missing);
        row(key, "string", text, text);
        row(key, "blank", blank, blank);
        row(key, "number", 7, missing, {notAString(key)});
        row(key, "null", null, missing, {notAString(key)});
    }

    const QString instanceName = u"instanceName"_qs;
    const QJsonValue fallback = u"fallback"_qs;
    row(instanceName, "missing", missing, fallback);
    row(instanceName, "empty", empty, fallback);
    row(instanceName, "string", u"Custom"_qs, u"Custom"_qs);
    row(instanceName, "blank", blank, blank);
    row(instanceName, "number", 7, fallback, {notAString(instanceName)});
    row(instanceName, "null", null, fallback, {notAString(instanceName)});
}

void tst_ConfigurationStructureElement::selectionMembersFollowTheirRules()
{
    QFETCH(QString, key);
    QFETCH(QJsonValue, described);
    QFETCH(QJsonValue, stored);
    QFETCH(Messages, messages);

    QJsonObject object = description(3);
    object.insert(key, described);
    QJsonObject expected = builtSelection(u"fallback"_qs);
    expected.insert(key, stored);

    MessageRecorder log;
    const Element element(object, u"fallback"_qs, false);
    QCOMPARE(log.take(), messages);
    QCOMPARE(element.getElementAsJsonObject(), expected);
    QCOMPARE(element.getDisplayPosition(), 3);
}

void tst_ConfigurationStructureElement::selectionHoldsNothingButItsMembers()
{
    const MessageRecorder log;
    const Element element(objectFrom(R"({
        "labelTextId":"TXT","dataModel":"model","lastModified":"2020-01-01","selectionType":"Node","closeMode":"Auto",
        "uiJob":"Other","hide":true,"selectorTypeList":["a"],"selectorTypeListEndpoint":["b","c"],"connectorId":5.0,
        "iconName":"i.svg","templateType":"t","labelTextUrl":"url","dependencyFile":"d","dependencyFileExtern":"e",
        "moduleName":"m","objectName":"o","instanceName":"n","bufferType":"b",
        "displayPosition":9,"dataSourceType":"JsonData","substructure":[{"instanceName":"child"}],
        "tolmVersion":"1","configurationVersion":"2","unknown":{"hide":true}})"),
        u"fallback"_qs, false);
    QCOMPARE(element.getElementAsJsonObject(), objectFrom(R"({
        "labelTextId":"TXT","dataModel":"model","lastModified":"2020-01-01","selectionType":"Selection",
        "closeMode":"Manual","uiJob":"OpenConfiguration","hide":true,"selectorTypeList":["a"],
        "selectorTypeListEndpoint":["b","c"],"connectorId":5,"iconName":"i.svg","templateType":"t",
        "labelTextUrl":"url","dependencyFile":"d","dependencyFileExtern":"e","moduleName":"m","objectName":"o",
        "instanceName":"n","bufferType":"b"})"));
    QCOMPARE(element.getDisplayPosition(), 9);
    QCOMPARE(element.getIconName(), u"i.svg"_qs);
}

void tst_ConfigurationStructureElement::messagesOfSelectionComeInOrderOfItsMembers()
{
    MessageRecorder log;
    const Element element(objectFrom(R"({
        "displayPosition":"","labelTextId":1,"dataModel":1,"lastModified":1,"selectionType":1,"closeMode":1,"uiJob":1,
        "hide":1,"selectorTypeList":1,"selectorTypeListEndpoint":1,"connectorId":"","iconName":1,"templateType":1,
        "labelTextUrl":1,"dependencyFile":1,"dependencyFileExtern":1,"moduleName":1,"objectName":1,"instanceName":1,
        "bufferType":1})"),
        u"fallback"_qs, false);
    const Messages expected = {positionNotANumber(), notAString(u"labelTextId"_qs), notAString(u"dataModel"_qs),
        notAString(u"lastModified"_qs), notABool(u"hide"_qs), notAnArray(u"selectorTypeList"_qs),
        notAnArray(u"selectorTypeListEndpoint"_qs), notAString(u"iconName"_qs), notAString(u"templateType"_qs),
        notAString(u"labelTextUrl"_qs), notAString(u"dependencyFile"_qs), notAString(u"dependencyFileExtern"_qs),
        notAString(u"moduleName"_qs), notAString(u"objectName"_qs), notAString(u"instanceName"_qs),
        notAString(u"bufferType"_qs)};
    QCOMPARE(log.take(), expected);
    QCOMPARE(element.getElementAsJsonObject(), builtSelection(u"fallback"_qs));
    QCOMPARE(element.getDisplayPosition(), -1);
}

void tst_ConfigurationStructureElement::emptyDescriptionBecomesMinimalSelection()
{
    MessageRecorder log;
    const Element element(QJsonObject(), QString(), false);
    QCOMPARE(log.take(), Messages({positionMissing(), hideMissing()}));
    QCOMPARE(element.getElementAsJsonObject(), builtSelection(QString()));
    QCOMPARE(element.getDisplayPosition(), -1);
}

void tst_ConfigurationStructureElement::keysAreComparedCaseSensitively()
{
    const QJsonObject object = objectFrom(R"({"DISPLAYPOSITION":1,"Hide":true,"LabelTextId":"x","BUFFERTYPE":"x",
        "InstanceName":"x","TolmVersion":1,"SelectionType":"x"})");
    MessageRecorder log;
    const Element selection(object, QString(), false);
    QCOMPARE(log.take(), Messages({positionMissing(), hideMissing()}));
    QCOMPARE(selection.getElementAsJsonObject(), builtSelection(QString()));

    const Element node(object, QString(), true);
    QCOMPARE(log.take(), Messages({positionMissing()}));
    QCOMPARE(node.getElementAsJsonObject(), objectFrom(R"({"DISPLAYPOSITION":1,"Hide":true,"LabelTextId":"x",
        "BUFFERTYPE":"x","InstanceName":"x","TolmVersion":1,"SelectionType":"x",
        "selectionType":"Node","dataSourceType":"JsonData","instanceName":""})"));
}

void tst_ConfigurationStructureElement::selectionOfFileIsNamedByItsDescriptionOrItsPath_data()
{
    QTest::addColumn<QString>("file");
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<QString>("instanceName");

    const QByteArray nameless = R"({"displayPosition":0,"hide":false})";
    const QByteArray named = R"({"displayPosition":0,"hide":false,"instanceName":"Custom"})";
    const QByteArray namedEmpty = R"({"displayPosition":0,"hide":false,"instanceName":""})";
    QTest::newRow("path") << u"Net/a.config.json"_qs << nameless << u"Net/a"_qs;
    QTest::newRow("path, in the root") << u"a.config.json"_qs << nameless << u"a"_qs;
    QTest::newRow("path, deep") << u"A/B.x/C/a.b.config.json"_qs << nameless << u"A/B.x/C/a"_qs;
    QTest::newRow("description") << u"Net/a.config.json"_qs << named << u"Custom"_qs;
    QTest::newRow("empty in the description") << u"Net/a.config.json"_qs << namedEmpty << u"Net/a"_qs;
}

void tst_ConfigurationStructureElement::selectionOfFileIsNamedByItsDescriptionOrItsPath()
{
    QFETCH(QString, file);
    QFETCH(QByteArray, content);
    QFETCH(QString, instanceName);

    const QTemporaryDir folder;
    writeFile(folder.filePath(file), content);
    const MessageRecorder log;
    const Element element = configurationElement(folder.filePath(file), folder.path());
    QCOMPARE(element.getElementAsJsonObject(), builtSelection(instanceName));
}

void tst_ConfigurationStructureElement::rebuiltSelectionOnlyInserts()
{
    MessageRecorder log;
    Element element(objectFrom(R"({"displayPosition":5,"hide":true,"labelTextId":"TXT","selectorTypeList":["a"],
        "connectorId":3,"bufferType":"b","instanceName":"first"})"),
        QString(), false);
    element.setIconName(u"first.svg"_qs);
    QCOMPARE(log.take(), Messages());

    // Members that are always inserted fall back to their defaults. Members inserted under a condition stay.
    element.generateSelectionData(
        objectFrom(R"({"hide":false,"selectorTypeList":[],"connectorId":-1,"bufferType":"","moduleName":"m"})"),
        u"second"_qs);
    QCOMPARE(log.take(), Messages({positionMissing()}));
    QJsonObject expected = builtSelection(u"second"_qs);
    expected.insert(u"selectorTypeList"_qs, QJsonArray {u"a"_qs});
    expected.insert(u"connectorId"_qs, 3);
    expected.insert(u"bufferType"_qs, u"b"_qs);
    expected.insert(u"moduleName"_qs, u"m"_qs);
    QCOMPARE(element.getElementAsJsonObject(), expected);
    QCOMPARE(element.getDisplayPosition(), 5);

    element.generateSelectionData(objectFrom(R"({"displayPosition":6,"hide":false,"connectorId":0})"), u"second"_qs);
    expected.insert(u"connectorId"_qs, 0);
    QCOMPARE(element.getElementAsJsonObject(), expected);
    QCOMPARE(element.getDisplayPosition(), 6);
}

void tst_ConfigurationStructureElement::buildersLeaveKindAndValidityAlone()
{
    const QTemporaryDir folder;
    const QString path = folder.filePath(u"a.config.json"_qs);
    writeFile(path, R"({"displayPosition":1,"hide":false,"bufferType":"b"})");

    const MessageRecorder log;
    Element element = configurationElement(path, folder.path());
    element.generateNodeData(objectFrom(R"({"displayPosition":2,"other":[]})"), u"n"_qs);
    QJsonObject expected = leastNode(u"n"_qs);
    expected.insert(u"other"_qs, QJsonArray());
    QCOMPARE(element.getElementAsJsonObject(), expected);
    QCOMPARE(element.getDisplayPosition(), 2);
    QCOMPARE(element.isDirectory(), false);
    QCOMPARE(element.isValid(), true);
    QCOMPARE(element.getFileInfo(), QFileInfo(path));

    // A selection built over a node keeps the other members of the node.
    element.generateSelectionData(description(3), u"s"_qs);
    expected = builtSelection(u"s"_qs);
    expected.insert(u"other"_qs, QJsonArray());
    expected.insert(u"dataSourceType"_qs, u"JsonData"_qs);
    QCOMPARE(element.getElementAsJsonObject(), expected);
    QCOMPARE(element.getDisplayPosition(), 3);
    QCOMPARE(element.isDirectory(), false);

    Element node = elementAt(true, 0);
    node.generateSelectionData(QFileInfo(path));
    QCOMPARE(node.isDirectory(), true);
    QCOMPARE(node.isValid(), false);
    QCOMPARE(node.getFileInfo().filePath(), QString());
    QCOMPARE(node.getDisplayPosition(), 1);
}

MANIFEST_TEST_MAIN(tst_ConfigurationStructureElement)

#include "tst_configurationstructureelement.moc"
