#include "ConfigurationAndProcessDataDefinitions.h"
#include "ConfigurationManifestCreator.h"
#include "ConfigurationStructureElement.h"
#include "ConfigurationStructureElementList.h"
#include "ElementMessages.h"
#include "Files.h"
#include "MessageRecorder.h"
#include "PropertyManagerConst.h"
#include "TestMain.h"
#include "faults/FaultyCalls.h"

#include <QtCore/QDir>
#include <QtCore/QJsonDocument>
#include <QtCore/QLocale>
#include <QtCore/QTemporaryDir>
#include <QtCore/QThread>

#include <algorithm>
#include <cerrno>
#include <memory>
#include <type_traits>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

QT_BEGIN_NAMESPACE
// What Qt calls for every object that it makes or destroys. Tools that look into a running program rely on it.
extern quintptr Q_CORE_EXPORT qtHookData[];
QT_END_NAMESPACE

namespace {

const QString configuration = ConfigurationAndProcessDataDefinitions::getSelectorUrlSchemeConfiguration();
const QString folderName = PropertyManagerConst::getConfigurationFolderName();

constexpr auto writeManifestFile = "bool ConfigurationManifestCreator::writeManifestFile()";

Message cannotOpen(const QString& path)
{
    return warning(
        QStringLiteral("Unable to open the manifest file for writing: \"%1\" !").arg(path), writeManifestFile);
}

// What is said of a folder without a description file.
QVector<Message> undescribedFolder()
{
    return {noFolderDescription(), positionMissing()};
}

// A description that gives no cause for a message.
QByteArray description(int position)
{
    return QByteArrayLiteral("{\"hide\":false,\"displayPosition\":") + QByteArray::number(position) + '}';
}

// What description() becomes.
QByteArray selection(const QByteArray& instanceName)
{
    return QByteArrayLiteral("{\"closeMode\":\"Manual\",\"dataModel\":\"\",\"hide\":false,\"iconName\":\"\","
                             "\"instanceName\":\"")
        + instanceName
        + QByteArrayLiteral("\",\"labelTextId\":\"\",\"lastModified\":\"\",\"selectionType\":\"Selection\","
                            "\"uiJob\":\"OpenConfiguration\"}");
}

// What a folder described by {"displayPosition":...} becomes.
QByteArray node(const QByteArray& instanceName, const QByteArray& children)
{
    return QByteArrayLiteral("{\"dataSourceType\":\"JsonData\",\"instanceName\":\"") + instanceName
        + QByteArrayLiteral("\",\"selectionType\":\"Node\",\"substructure\":[") + children + QByteArrayLiteral("]}");
}

QByteArray folderDescription(int position)
{
    return QByteArrayLiteral("{\"displayPosition\":") + QByteArray::number(position) + '}';
}

bool createConfiguration(const QString& folder)
{
    return ConfigurationManifestCreator().create2(folder, configuration);
}

/// Knows all lists of elements that are made within its life, from the moment at which they are made.
class LivingLists {
public:
    LivingLists()
    {
        qtHookData[addHook] = reinterpret_cast<quintptr>(&add);
        qtHookData[removeHook] = reinterpret_cast<quintptr>(&remove);
    }
    ~LivingLists()
    {
        qtHookData[addHook] = 0;
        qtHookData[removeHook] = 0;
        objects.clear();
    }
    Q_DISABLE_COPY(LivingLists)

    /// The suffixes that the lists refer to, from the oldest list to the youngest.
    static QVector<const QString*> suffixes()
    {
        QVector<const QString*> result;
        for (const QObject* object : std::as_const(objects)) {
            if (const auto* list = qobject_cast<const ConfigurationStructureElementList*>(object)) {
                result.append(&list->getSuffix());
            }
        }
        return result;
    }

private:
    // As in qhooks_p.h, a header that not every Qt comes with.
    static constexpr int addHook = 3;
    static constexpr int removeHook = 4;

    static void add(QObject* object)
    {
        objects.append(object);
    }
    static void remove(QObject* object)
    {
        objects.removeOne(object);
    }

    static inline QVector<const QObject*> objects;
};

// Instance names at every level in the order of the manifest, children behind their node in brackets.
QString outline(const QJsonArray& elements)
{
    QStringList names;
    for (const QJsonValue& element : elements) {
        const QJsonValue children = element[QStringLiteral("substructure")];
        names.append(element[QStringLiteral("instanceName")].toString()
            + (children.isArray() ? QLatin1Char('[') + outline(children.toArray()) + QLatin1Char(']') : QString()));
    }
    return names.join(QLatin1Char(' '));
}

} // namespace

class tst_ConfigurationManifestCreator : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void hasNothingOfItsOwnInTheMetaObject();

    void writesTheTreeOfSelectionsAndNodesByteForByte();
    void elementsOfOneKindAndPositionKeepTheListingOrder();
    void listingOrderIgnoresTheLocale();
    void hundredElementsOfOnePositionAreAllThere();
    void displayPositionsOrderEachKindButAreNotStored();
    void selectionNamesCarryThePathFromTheScannedFolderAtEveryLevel();
    void substructureOfAFolderDescriptionIsReplacedByTheScan();
    void substructureOfAFolderDescriptionKeepsNoEmptyFolder();
    void foldersWithoutMatchingFilesLeaveNoTrace();
    void hiddenEntriesNeverAppear();
    void onlyEmptyFoldersGiveAnEmptyArray();
    void manifestIsNoDescriptionOfALaterScan();
    void laterScanReplacesTheManifestCompletely();
    void scanBegunByAMessageOfAnotherDisturbsNeither();
    void everyListOfAScanRefersToTheSameSuffix();

    void schemeChoosesSuffixAndFileName_data();
    void schemeChoosesSuffixAndFileName();

    void createScansTheConfigurationFolderBelowTheBase();
    void createKeepsASeparatorOfTheBaseDoubled();
    void createLeavesOutTheSeparatorAfterAFolderThatEndedInOne();
    void createSeparatesAgainAfterAFolderThatDidNot();
    void folderOfAScanThatFoundNothingCountsAsThePrevious();
    void trailingSeparatorStaysInTheFileName();
    void namesBelowAFolderWithTrailingSeparatorAreTheWholeFolder();
    void relativeFolderStaysRelativeAtEveryLevel();
    void emptyPathListsTheCurrentFolderAndWritesToTheRoot();

    void nothingToListIsASuccessThatWritesNothing_data();
    void nothingToListIsASuccessThatWritesNothing();

    void messagesOfAScanComeInListingOrder();
    void brokenDescriptionsKeepTheirElements();
    void unreadableDescriptionsKeepTheirElements();
    void unreadableSubfolderIsLeftOut();

    void unwritableFolderIsReportedAndKeepsThePreviousManifest();
    void folderInPlaceOfTheManifestIsReported();
    void missingFolderOfTheSchemeIsReported();
    void incompleteWriteKeepsThePreviousManifest_data();
    void incompleteWriteKeepsThePreviousManifest();
    void incompleteWriteIsReportedWhenItsTemporaryFileIsGone();
    void incompleteFirstWriteLeavesNothing();
    void failingCommitGoesUnnoticedAndKeepsThePreviousManifest();
    void manifestThatIsALinkIsWrittenWhereItPoints();

    void linksCountAsWhatTheyPointTo();
    void danglingLinksNeverAppear();
    void linkBackUpEnds();
    void awkwardNames_data();
    void awkwardNames();
    void nameThatIsNotUtf8IsPassedOver();
    void longestPathsOfTheSystemAreScanned();

private:
    QString at(const QString& name) const
    {
        return folder + QLatin1Char('/') + name;
    }
    QByteArray manifest() const
    {
        return readFile(at(QStringLiteral("configuration.manifest.json")));
    }
    QString outlineOfManifest() const
    {
        return outline(QJsonDocument::fromJson(manifest()).array());
    }

    QScopedPointer<QTemporaryDir> temporary;
    QString folder;
};

void tst_ConfigurationManifestCreator::init()
{
    temporary.reset(new QTemporaryDir);
    folder = temporary->filePath(QStringLiteral("cfg"));
    QVERIFY(QDir().mkpath(folder));
    chmod(QFile::encodeName(temporary->path()).constData(), 0755);
}

void tst_ConfigurationManifestCreator::cleanup()
{
    temporary.reset();
}

void tst_ConfigurationManifestCreator::hasNothingOfItsOwnInTheMetaObject()
{
    const ConfigurationManifestCreator creator;
    const QMetaObject* meta = creator.metaObject();
    QCOMPARE(meta->className(), "ConfigurationManifestCreator");
    QCOMPARE(meta->superClass(), &QObject::staticMetaObject);
    QCOMPARE(meta->methodCount(), QObject::staticMetaObject.methodCount());
    QCOMPARE(meta->propertyCount(), QObject::staticMetaObject.propertyCount());
    QCOMPARE(meta->enumeratorCount(), 0);
    QCOMPARE(meta->classInfoCount(), 0);
    QVERIFY(creator.parent() == nullptr);
    QObject owner;
    QCOMPARE((new ConfigurationManifestCreator(&owner))->parent(), &owner);

    ConfigurationManifestCreator other;
    QCOMPARE(other.qt_metacast("ConfigurationManifestCreator"), static_cast<void*>(&other));
    QVERIFY(other.qt_metacast("QObject") != nullptr);
    QVERIFY(other.qt_metacast("Other") == nullptr);
}

void tst_ConfigurationManifestCreator::writesTheTreeOfSelectionsAndNodesByteForByte()
{
    writeFile(at(QStringLiteral("main.config.json")), description(2));
    writeFile(at(QStringLiteral("a.config.json")), description(1));
    writeFile(at(QStringLiteral("Net/Folder.menu.json")), folderDescription(1));
    writeFile(at(QStringLiteral("Net/port.config.json")), description(1));
    writeFile(at(QStringLiteral("readme.txt")), "text");
    QVERIFY(QDir().mkpath(at(QStringLiteral("Spare"))));
    writeFile(at(QStringLiteral("Spare/Folder.menu.json")), folderDescription(0));

    MessageRecorder log;
    QVERIFY(createConfiguration(folder));
    QCOMPARE(log.take(), QVector<Message>());
    QCOMPARE(manifest(),
        QByteArray('[' + selection("a") + ',' + selection("main") + ',' + node("Net", selection("Net/port")) + ']'));
    QCOMPARE(everythingIn(folder),
        QStringList({QStringLiteral("Net"), QStringLiteral("Spare"), QStringLiteral("a.config.json"),
            QStringLiteral("configuration.manifest.json"), QStringLiteral("main.config.json"),
            QStringLiteral("readme.txt")}));
}

void tst_ConfigurationManifestCreator::elementsOfOneKindAndPositionKeepTheListingOrder()
{
    // Ignoring case, and with the empty folder x among the sixteen.
    for (const char* name : {"b", "A", "c", "D", "e", "F", "g", "H", "i"}) {
        writeFile(at(QString::fromLatin1(name) + QStringLiteral(".config.json")), description(7));
    }
    for (const char* name : {"t", "S", "u", "V", "w", "X"}) {
        writeFile(at(QString::fromLatin1(name) + QStringLiteral("/Folder.menu.json")), folderDescription(7));
        writeFile(at(QString::fromLatin1(name) + QStringLiteral("/f.config.json")), description(1));
    }
    writeFile(at(QStringLiteral("xx/Folder.menu.json")), folderDescription(7));
    MessageRecorder log;
    QVERIFY(createConfiguration(folder));
    QCOMPARE(outlineOfManifest(), QStringLiteral("A b c D e F g H i S[S/f] t[t/f] u[u/f] V[V/f] w[w/f] X[X/f]"));
}

void tst_ConfigurationManifestCreator::listingOrderIgnoresTheLocale()
{
    const QString umlaut = QString::fromUtf8("ä");
    const QString last = QStringLiteral("z");
    for (const QString& name : {umlaut, last}) {
        writeFile(at(name + QStringLiteral(".config.json")), description(1));
        writeFile(at(name + QStringLiteral("/Folder.menu.json")), folderDescription(1));
        for (const QString& below : {umlaut, last}) {
            writeFile(at(name + QLatin1Char('/') + below + QStringLiteral(".config.json")), description(1));
        }
    }

    const QLocale previous;
    QLocale::setDefault(QLocale(QLocale::German, QLocale::Germany));
    bool localeMatters = false;
    bool created = false;
    MessageRecorder log;
    // A thread keeps the locale in which it first compared texts.
    const std::unique_ptr<QThread> thread(QThread::create([&] {
        localeMatters = umlaut.localeAwareCompare(last) < 0 && umlaut > last;
        created = createConfiguration(folder);
    }));
    thread->start();
    thread->wait();
    QLocale::setDefault(previous);
    QVERIFY(localeMatters);
    QVERIFY(created);
    QCOMPARE(log.take(), QVector<Message>());
    QCOMPARE(outlineOfManifest(), QString::fromUtf8("z ä z[z/z z/ä] ä[ä/z ä/ä]"));
}

void tst_ConfigurationManifestCreator::hundredElementsOfOnePositionAreAllThere()
{
    QStringList expected;
    for (int i = 0; i < 100; ++i) {
        expected.append(QStringLiteral("f%1").arg(i, 3, 10, QLatin1Char('0')));
        writeFile(at(expected.constLast() + QStringLiteral(".config.json")), description(3));
    }
    MessageRecorder log;
    QVERIFY(createConfiguration(folder));
    QStringList names = outlineOfManifest().split(QLatin1Char(' '));
    names.sort();
    QCOMPARE(names, expected);
}

void tst_ConfigurationManifestCreator::displayPositionsOrderEachKindButAreNotStored()
{
    writeFile(at(QStringLiteral("a.config.json")), description(30));
    writeFile(at(QStringLiteral("b.config.json")), description(-5));
    writeFile(at(QStringLiteral("c.config.json")), description(4));
    writeFile(at(QStringLiteral("m/Folder.menu.json")), folderDescription(9));
    writeFile(at(QStringLiteral("m/x.config.json")), description(1));
    writeFile(at(QStringLiteral("n/Folder.menu.json")), folderDescription(2));
    writeFile(at(QStringLiteral("n/x.config.json")), description(1));
    MessageRecorder log;
    QVERIFY(createConfiguration(folder));
    QCOMPARE(outlineOfManifest(), QStringLiteral("b c a n[n/x] m[m/x]"));
    QVERIFY(!manifest().contains("displayPosition"));
}

void tst_ConfigurationManifestCreator::selectionNamesCarryThePathFromTheScannedFolderAtEveryLevel()
{
    writeFile(at(QStringLiteral("one.old/two/three/f.v2.config.json")), description(1));
    writeFile(at(QStringLiteral("one.old/two/named.config.json")),
        "{\"hide\":true,\"displayPosition\":1,\"instanceName\":\"Custom\"}");
    for (const char* name : {"one.old", "one.old/two", "one.old/two/three"}) {
        writeFile(at(QString::fromLatin1(name) + QStringLiteral("/Folder.menu.json")), folderDescription(1));
    }
    MessageRecorder log;
    QVERIFY(createConfiguration(folder));
    QCOMPARE(outlineOfManifest(), QStringLiteral("one[two[Custom three[one.old/two/three/f]]]"));
}

void tst_ConfigurationManifestCreator::substructureOfAFolderDescriptionIsReplacedByTheScan()
{
    writeFile(at(QStringLiteral("n/Folder.menu.json")),
        "{\"displayPosition\":1,\"substructure\":[{\"instanceName\":\"described\"}]}");
    writeFile(at(QStringLiteral("n/x.config.json")), description(1));
    MessageRecorder log;
    QVERIFY(createConfiguration(folder));
    QCOMPARE(manifest(), QByteArray('[' + node("n", selection("n/x")) + ']'));
}

void tst_ConfigurationManifestCreator::substructureOfAFolderDescriptionKeepsNoEmptyFolder()
{
    writeFile(at(QStringLiteral("n/Folder.menu.json")),
        "{\"displayPosition\":1,\"substructure\":[{\"instanceName\":\"described\"}]}");
    MessageRecorder log;
    QVERIFY(createConfiguration(folder));
    QCOMPARE(manifest(), QByteArrayLiteral("[]"));
}

void tst_ConfigurationManifestCreator::foldersWithoutMatchingFilesLeaveNoTrace()
{
    writeFile(at(QStringLiteral("p/Folder.menu.json")), folderDescription(1));
    writeFile(at(QStringLiteral("p/x.process.json")), description(1));
    writeFile(at(QStringLiteral("p/q/Folder.menu.json")), folderDescription(1));
    writeFile(at(QStringLiteral("p/q/x.CONFIG.JSON")), description(1));
    writeFile(at(QStringLiteral("f.config.json")), description(1));
    MessageRecorder log;
    QVERIFY(createConfiguration(folder));
    QCOMPARE(manifest(), QByteArray('[' + selection("f") + ']'));
}

void tst_ConfigurationManifestCreator::hiddenEntriesNeverAppear()
{
    writeFile(at(QStringLiteral(".hidden.config.json")), description(1));
    writeFile(at(QStringLiteral(".config.json")), description(1));
    writeFile(at(QStringLiteral(".folder/x.config.json")), description(1));
    writeFile(at(QStringLiteral("n/Folder.menu.json")), folderDescription(1));
    writeFile(at(QStringLiteral("n/.hidden.config.json")), description(1));
    MessageRecorder log;
    QVERIFY(createConfiguration(folder));
    QCOMPARE(manifest(), QByteArrayLiteral("[]"));
}

void tst_ConfigurationManifestCreator::onlyEmptyFoldersGiveAnEmptyArray()
{
    QVERIFY(QDir().mkpath(at(QStringLiteral("a/b"))));
    QVERIFY(QDir().mkpath(at(QStringLiteral("c"))));
    MessageRecorder log;
    QVERIFY(createConfiguration(folder));
    QCOMPARE(log.take(), undescribedFolder() + undescribedFolder() + undescribedFolder());
    QCOMPARE(manifest(), QByteArrayLiteral("[]"));
}

void tst_ConfigurationManifestCreator::manifestIsNoDescriptionOfALaterScan()
{
    writeFile(at(QStringLiteral("a.config.json")), description(1));
    MessageRecorder log;
    QVERIFY(createConfiguration(folder));
    const QByteArray first = manifest();
    QVERIFY(createConfiguration(folder));
    QCOMPARE(manifest(), first);
    QCOMPARE(log.take(), QVector<Message>());
}

void tst_ConfigurationManifestCreator::laterScanReplacesTheManifestCompletely()
{
    writeFile(at(QStringLiteral("a.config.json")), description(1));
    writeFile(at(QStringLiteral("b.config.json")), description(2));
    MessageRecorder log;
    ConfigurationManifestCreator creator;
    QVERIFY(creator.create2(folder, configuration));
    QVERIFY(QFile::remove(at(QStringLiteral("a.config.json"))));
    QVERIFY(creator.create2(folder, configuration));
    QCOMPARE(manifest(), QByteArray('[' + selection("b") + ']'));
}

void tst_ConfigurationManifestCreator::scanBegunByAMessageOfAnotherDisturbsNeither()
{
    // Each of these has a message, above and below a folder.
    writeFile(at(QStringLiteral("outer/a.config.json")), description(1) + '}');
    writeFile(at(QStringLiteral("outer/Net/Deep/port.config.json")), description(1) + '}');
    writeFile(at(QStringLiteral("inner/b.process.json")), description(1));
    const QString outer = at(QStringLiteral("outer"));

    static ConfigurationManifestCreator* creator = nullptr;
    static QString inner;
    static int scans = 0;
    ConfigurationManifestCreator scanning;
    creator = &scanning;
    inner = at(QStringLiteral("inner"));
    scans = 0;
    const QtMessageHandler previous = qInstallMessageHandler([](QtMsgType, const QMessageLogContext&, const QString&) {
        scans += creator->create2(inner, QStringLiteral("process"));
    });
    const bool created = scanning.create2(outer, configuration);
    qInstallMessageHandler(previous);
    QVERIFY(created);
    QVERIFY(scans >= 6);
    QCOMPARE(readFile(outer + QStringLiteral("/configuration.manifest.json")),
        QByteArray('[' + selection("a") + ',' + node("Net", node("Deep", selection("Net/Deep/port"))) + ']'));
    QCOMPARE(readFile(inner + QStringLiteral("/process.manifest.json")), QByteArray('[' + selection("b") + ']'));
    QCOMPARE(
        everythingIn(inner), QStringList({QStringLiteral("b.process.json"), QStringLiteral("process.manifest.json")}));
}

void tst_ConfigurationManifestCreator::everyListOfAScanRefersToTheSameSuffix()
{
    // The last message comes while the list of the innermost folder is made, and those above wait for it.
    writeFile(at(QStringLiteral("n/m/f.config.json")), "{}");

    static QVector<const QString*> suffixes;
    suffixes.clear();
    bool created = false;
    {
        const LivingLists lists;
        const QtMessageHandler previous = qInstallMessageHandler(
            [](QtMsgType, const QMessageLogContext&, const QString&) { suffixes = LivingLists::suffixes(); });
        created = createConfiguration(folder);
        qInstallMessageHandler(previous);
    }
    QVERIFY(created);
    QCOMPARE(outlineOfManifest(), QStringLiteral("n[m[n/m/f]]"));
    QCOMPARE(suffixes.size(), 3);
    QCOMPARE(suffixes.at(1), suffixes.at(0));
    QCOMPARE(suffixes.at(2), suffixes.at(0));
}

void tst_ConfigurationManifestCreator::schemeChoosesSuffixAndFileName_data()
{
    QTest::addColumn<QString>("scheme");
    QTest::addColumn<QString>("outlineOfScheme");

    QTest::newRow("configuration") << configuration << QStringLiteral("c n[n/c]");
    QTest::newRow("process") << QStringLiteral("process") << QStringLiteral("p m[m/p] n[n/p]");
    QTest::newRow("configuration in capitals") << configuration.toUpper() << QStringLiteral("p m[m/p] n[n/p]");
    QTest::newRow("configuration and a blank") << configuration + QLatin1Char(' ') << QStringLiteral("p m[m/p] n[n/p]");
    QTest::newRow("empty") << QString() << QStringLiteral("p m[m/p] n[n/p]");
}

void tst_ConfigurationManifestCreator::schemeChoosesSuffixAndFileName()
{
    QFETCH(const QString, scheme);
    QFETCH(const QString, outlineOfScheme);

    writeFile(at(QStringLiteral("c.config.json")), description(1));
    writeFile(at(QStringLiteral("p.process.json")), description(1));
    writeFile(at(QStringLiteral("n/Folder.menu.json")), folderDescription(2));
    writeFile(at(QStringLiteral("n/c.config.json")), description(1));
    writeFile(at(QStringLiteral("n/p.process.json")), description(1));
    writeFile(at(QStringLiteral("m/Folder.menu.json")), folderDescription(1));
    writeFile(at(QStringLiteral("m/p.process.json")), description(1));
    const QStringList before = everythingIn(folder);

    MessageRecorder log;
    QVERIFY(ConfigurationManifestCreator().create2(folder, scheme));
    QCOMPARE(log.take(), QVector<Message>());
    const QString manifestName = scheme + QStringLiteral(".manifest.json");
    QCOMPARE(outline(QJsonDocument::fromJson(readFile(at(manifestName))).array()), outlineOfScheme);
    QStringList after = everythingIn(folder);
    QVERIFY(after.removeOne(manifestName));
    QCOMPARE(after, before);
}

void tst_ConfigurationManifestCreator::createScansTheConfigurationFolderBelowTheBase()
{
    writeFile(at(folderName + QStringLiteral("/a.config.json")), description(1));
    writeFile(at(folderName + QStringLiteral("/p.process.json")), description(1));
    MessageRecorder log;
    QVERIFY(ConfigurationManifestCreator().create(folder));
    QCOMPARE(readFile(at(folderName + QStringLiteral("/configuration.manifest.json"))),
        QByteArray('[' + selection("a") + ']'));
    QCOMPARE(everythingIn(folder), QStringList(folderName));
}

void tst_ConfigurationManifestCreator::createKeepsASeparatorOfTheBaseDoubled()
{
    // A folder in the manifest's place makes the library say which file it wanted.
    QVERIFY(QDir().mkpath(at(folderName + QStringLiteral("/configuration.manifest.json"))));
    MessageRecorder log;
    QVERIFY(!ConfigurationManifestCreator().create(folder + QLatin1Char('/')));
    QCOMPARE(log.take(),
        undescribedFolder() << cannotOpen(
            folder + QStringLiteral("//") + folderName + QStringLiteral("/configuration.manifest.json")));
}

void tst_ConfigurationManifestCreator::createLeavesOutTheSeparatorAfterAFolderThatEndedInOne()
{
    writeFile(at(QStringLiteral("other/a.config.json")), description(1));
    writeFile(folder + folderName + QStringLiteral("/joined.config.json"), description(1));
    writeFile(at(folderName + QStringLiteral("/below.config.json")), description(1));
    MessageRecorder log;
    ConfigurationManifestCreator creator;
    QVERIFY(creator.create2(at(QStringLiteral("other/")), configuration));
    QVERIFY(creator.create(folder));
    QCOMPARE(readFile(folder + folderName + QStringLiteral("/configuration.manifest.json")),
        QByteArray('[' + selection("joined") + ']'));
    QCOMPARE(everythingIn(at(folderName)), QStringList(QStringLiteral("below.config.json")));
}

void tst_ConfigurationManifestCreator::createSeparatesAgainAfterAFolderThatDidNot()
{
    writeFile(at(QStringLiteral("other/a.config.json")), description(1));
    writeFile(at(folderName + QStringLiteral("/below.config.json")), description(1));
    MessageRecorder log;
    ConfigurationManifestCreator creator;
    QVERIFY(creator.create2(at(QStringLiteral("other/")), configuration));
    QVERIFY(creator.create2(at(QStringLiteral("other")), configuration));
    QVERIFY(creator.create(folder));
    QCOMPARE(readFile(at(folderName + QStringLiteral("/configuration.manifest.json"))),
        QByteArray('[' + selection("below") + ']'));
}

void tst_ConfigurationManifestCreator::folderOfAScanThatFoundNothingCountsAsThePrevious()
{
    writeFile(folder + folderName + QStringLiteral("/joined.config.json"), description(1));
    MessageRecorder log;
    ConfigurationManifestCreator creator;
    QVERIFY(creator.create2(QStringLiteral("/missing/"), QStringLiteral("process")));
    QVERIFY(creator.create(folder));
    QCOMPARE(readFile(folder + folderName + QStringLiteral("/configuration.manifest.json")),
        QByteArray('[' + selection("joined") + ']'));
}

void tst_ConfigurationManifestCreator::trailingSeparatorStaysInTheFileName()
{
    QVERIFY(QDir().mkpath(at(QStringLiteral("configuration.manifest.json"))));
    MessageRecorder log;
    QVERIFY(!createConfiguration(folder + QLatin1Char('/')));
    QCOMPARE(log.take(), undescribedFolder() << cannotOpen(folder + QStringLiteral("//configuration.manifest.json")));
}

void tst_ConfigurationManifestCreator::namesBelowAFolderWithTrailingSeparatorAreTheWholeFolder()
{
    writeFile(at(QStringLiteral("a.config.json")), description(1));
    writeFile(at(QStringLiteral("n/Folder.menu.json")), folderDescription(1));
    writeFile(at(QStringLiteral("n/b.config.json")), description(1));
    MessageRecorder log;
    QVERIFY(createConfiguration(folder + QLatin1Char('/')));
    // Of a file directly in the folder the path does not end with "/", so nothing is removed from it; of one below,
    // what is left does not start with one.
    QCOMPARE(outlineOfManifest(), folder.mid(1) + QStringLiteral("/a n[b]"));
}

void tst_ConfigurationManifestCreator::relativeFolderStaysRelativeAtEveryLevel()
{
    writeFile(at(QStringLiteral("a.config.json")), description(1));
    for (const char* name : {"n", "n/m"}) {
        writeFile(at(QString::fromLatin1(name) + QStringLiteral("/Folder.menu.json")), folderDescription(1));
        writeFile(at(QString::fromLatin1(name) + QStringLiteral("/f.config.json")), description(1));
    }
    QVERIFY(QDir::setCurrent(temporary->path()));
    MessageRecorder log;
    const bool created = createConfiguration(QStringLiteral("cfg"));
    QVERIFY(QDir::setCurrent(QDir::rootPath()));
    QVERIFY(created);
    QCOMPARE(log.take(), QVector<Message>());
    // What is removed from the path of a file is the folder as it was given: no absolute path may meet it.
    QCOMPARE(outlineOfManifest(), QStringLiteral("a n[n/f m[n/m/f]]"));
}

void tst_ConfigurationManifestCreator::emptyPathListsTheCurrentFolderAndWritesToTheRoot()
{
    writeFile(at(QStringLiteral("a.config.json")), description(1));
    QVERIFY(QDir::setCurrent(folder));
    MessageRecorder log;
    {
        const AsOrdinaryUser nobodyWritesToTheRoot;
        QVERIFY(!ConfigurationManifestCreator().create2(QString(), QStringLiteral("tst-scheme")));
    }
    QVERIFY(QDir::setCurrent(QDir::rootPath()));
    QCOMPARE(log.take(), QVector<Message>({cannotOpen(QStringLiteral("/tst-scheme.manifest.json"))}));
    QCOMPARE(everythingIn(folder), QStringList(QStringLiteral("a.config.json")));
}

void tst_ConfigurationManifestCreator::nothingToListIsASuccessThatWritesNothing_data()
{
    QTest::addColumn<QString>("path");
    QTest::newRow("missing") << QStringLiteral("missing");
    QTest::newRow("empty") << QStringLiteral("empty");
    QTest::newRow("only hidden entries") << QStringLiteral("hidden");
    QTest::newRow("a file") << QStringLiteral("file.config.json");
    QTest::newRow("unreadable") << QStringLiteral("unreadable");
    QTest::newRow("only a dangling link") << QStringLiteral("dangling");
}

void tst_ConfigurationManifestCreator::nothingToListIsASuccessThatWritesNothing()
{
    QFETCH(const QString, path);
    QVERIFY(QDir().mkpath(at(QStringLiteral("empty"))));
    writeFile(at(QStringLiteral("hidden/.x.config.json")), description(1));
    writeFile(at(QStringLiteral("file.config.json")), description(1));
    writeFile(at(QStringLiteral("unreadable/a.config.json")), description(1));
    chmod(QFile::encodeName(at(QStringLiteral("unreadable"))).constData(), 0333);
    QVERIFY(QDir().mkpath(at(QStringLiteral("dangling"))));
    QVERIFY(QFile::link(QStringLiteral("nowhere"), at(QStringLiteral("dangling/x.config.json"))));
    const QStringList before = everythingIn(folder);
    const QStringList beforeBelow = everythingIn(at(path));

    MessageRecorder log;
    {
        const AsOrdinaryUser permissionsCount;
        QVERIFY(createConfiguration(at(path)));
    }
    QCOMPARE(log.take(), QVector<Message>());
    chmod(QFile::encodeName(at(QStringLiteral("unreadable"))).constData(), 0755);
    QCOMPARE(everythingIn(folder), before);
    if (path != QStringLiteral("unreadable")) {
        QCOMPARE(everythingIn(at(path)), beforeBelow);
    } else {
        QCOMPARE(everythingIn(at(path)), QStringList(QStringLiteral("a.config.json")));
    }
}

void tst_ConfigurationManifestCreator::messagesOfAScanComeInListingOrder()
{
    writeFile(at(QStringLiteral("b.config.json")), "{\"displayPosition\":1}");
    writeFile(at(QStringLiteral("a/x.config.json")), "{\"hide\":true}");
    writeFile(at(QStringLiteral("c/Folder.menu.json")), "{");
    MessageRecorder log;
    QVERIFY(createConfiguration(folder));
    // A whole level first, in the order of its listing; then level by level in display order.
    QCOMPARE(log.take(),
        QVector<Message>({noFolderDescription(), positionMissing(), hideMissing(), folderDescriptionNotJson(),
            positionMissing(), positionMissing()}));
}

void tst_ConfigurationManifestCreator::brokenDescriptionsKeepTheirElements()
{
    writeFile(at(QStringLiteral("n/Folder.menu.json")), "no json");
    writeFile(at(QStringLiteral("n/x.config.json")), "no json");
    MessageRecorder log;
    QVERIFY(createConfiguration(folder));
    QCOMPARE(log.take(),
        QVector<Message>(
            {folderDescriptionNotJson(), positionMissing(), fileNotJson(), positionMissing(), hideMissing()}));
    QCOMPARE(manifest(), QByteArray('[' + node("n", selection("n/x")) + ']'));
}

void tst_ConfigurationManifestCreator::unreadableDescriptionsKeepTheirElements()
{
    writeFile(at(QStringLiteral("n/Folder.menu.json")), folderDescription(7));
    writeFile(
        at(QStringLiteral("n/x.config.json")), "{\"hide\":true,\"displayPosition\":7,\"instanceName\":\"unread\"}");
    writeFile(at(QStringLiteral("n/y.config.json")), description(0));
    const QString ofFolder = at(QStringLiteral("n/Folder.menu.json"));
    const QString ofFile = at(QStringLiteral("n/x.config.json"));
    for (const QString& path : {ofFolder, ofFile}) {
        chmod(QFile::encodeName(path).constData(), 0);
    }
    chmod(QFile::encodeName(folder).constData(), 0777);
    MessageRecorder log;
    {
        const AsOrdinaryUser permissionsCount;
        QVERIFY(createConfiguration(folder));
    }
    QCOMPARE(log.take(),
        QVector<Message>({folderDescriptionForbidden(ofFolder), positionMissing(), fileForbidden(ofFile),
            positionMissing(), hideMissing()}));
    // Without a description the position is -1.
    QCOMPARE(manifest(), QByteArray('[' + node("n", selection("n/x") + ',' + selection("n/y")) + ']'));
}

void tst_ConfigurationManifestCreator::unreadableSubfolderIsLeftOut()
{
    writeFile(at(QStringLiteral("a.config.json")), description(1));
    writeFile(at(QStringLiteral("n/Folder.menu.json")), folderDescription(1));
    writeFile(at(QStringLiteral("n/x.config.json")), description(1));
    chmod(QFile::encodeName(at(QStringLiteral("n"))).constData(), 0311);
    chmod(QFile::encodeName(folder).constData(), 0777);
    MessageRecorder log;
    {
        const AsOrdinaryUser permissionsCount;
        QVERIFY(createConfiguration(folder));
    }
    chmod(QFile::encodeName(at(QStringLiteral("n"))).constData(), 0755);
    QCOMPARE(log.take(), QVector<Message>());
    QCOMPARE(manifest(), QByteArray('[' + selection("a") + ']'));
}

void tst_ConfigurationManifestCreator::unwritableFolderIsReportedAndKeepsThePreviousManifest()
{
    writeFile(at(QStringLiteral("a.config.json")), description(1));
    writeFile(at(QStringLiteral("configuration.manifest.json")), "previous");
    // The file itself could be written to, but not replaced.
    chmod(QFile::encodeName(at(QStringLiteral("configuration.manifest.json"))).constData(), 0666);
    chmod(QFile::encodeName(folder).constData(), 0555);
    MessageRecorder log;
    {
        const AsOrdinaryUser permissionsCount;
        QVERIFY(!createConfiguration(folder));
    }
    chmod(QFile::encodeName(folder).constData(), 0755);
    QCOMPARE(log.take(), QVector<Message>({cannotOpen(at(QStringLiteral("configuration.manifest.json")))}));
    QCOMPARE(manifest(), QByteArrayLiteral("previous"));
    QCOMPARE(everythingIn(folder),
        QStringList({QStringLiteral("a.config.json"), QStringLiteral("configuration.manifest.json")}));
}

void tst_ConfigurationManifestCreator::folderInPlaceOfTheManifestIsReported()
{
    writeFile(at(QStringLiteral("a.config.json")), description(1));
    writeFile(at(QStringLiteral("process.manifest.json/Folder.menu.json")), folderDescription(1));
    MessageRecorder log;
    QVERIFY(!ConfigurationManifestCreator().create2(folder, QStringLiteral("process")));
    QCOMPARE(log.take(), QVector<Message>({cannotOpen(at(QStringLiteral("process.manifest.json")))}));
    QCOMPARE(
        everythingIn(folder), QStringList({QStringLiteral("a.config.json"), QStringLiteral("process.manifest.json")}));
}

void tst_ConfigurationManifestCreator::missingFolderOfTheSchemeIsReported()
{
    writeFile(at(QStringLiteral("a.config.json")), description(1));
    MessageRecorder log;
    QVERIFY(!ConfigurationManifestCreator().create2(folder, QStringLiteral("missing/x")));
    QCOMPARE(log.take(), QVector<Message>({cannotOpen(at(QStringLiteral("missing/x.manifest.json")))}));
}

void tst_ConfigurationManifestCreator::incompleteWriteKeepsThePreviousManifest_data()
{
    QTest::addColumn<int>("padding");
    QTest::addColumn<int>("limit");
    QTest::addColumn<int>("bytesWritten");

    // A small document stays in Qt's buffer until it is flushed, a big one is written at once.
    QTest::newRow("small, nothing written") << 0 << 0 << -1;
    QTest::newRow("small, a part written") << 0 << 40 << -1;
    QTest::newRow("big, nothing written") << 40000 << 0 << -1;
    QTest::newRow("big, a part written") << 40000 << 10000 << 10000;
}

void tst_ConfigurationManifestCreator::incompleteWriteKeepsThePreviousManifest()
{
    QFETCH(const int, padding);
    QFETCH(const int, limit);
    QFETCH(const int, bytesWritten);

    writeFile(at(QStringLiteral("n/Folder.menu.json")),
        QByteArrayLiteral("{\"displayPosition\":1,\"text\":\"") + QByteArray(padding, 'x') + "\"}");
    writeFile(at(QStringLiteral("n/f.config.json")), description(1));
    MessageRecorder log;
    QVERIFY(createConfiguration(folder));
    const int size = manifest().size();
    QVERIFY(size > padding);
    writeFile(at(QStringLiteral("configuration.manifest.json")), "previous");

    bool result = true;
    {
        const FileSizeLimit tooSmall(static_cast<unsigned long>(limit));
        result = createConfiguration(folder);
    }
    QVERIFY(!result);
    QCOMPARE(log.take(),
        QVector<Message>(
            {warning(QStringLiteral("Manifest file was not successful written: %1 , %2 !").arg(bytesWritten).arg(size),
                writeManifestFile)}));
    QCOMPARE(manifest(), QByteArrayLiteral("previous"));
    QCOMPARE(everythingIn(folder), QStringList({QStringLiteral("configuration.manifest.json"), QStringLiteral("n")}));
}

void tst_ConfigurationManifestCreator::incompleteWriteIsReportedWhenItsTemporaryFileIsGone()
{
    writeFile(at(QStringLiteral("a.config.json")), description(1));
    writeFile(at(QStringLiteral("configuration.manifest.json")), "previous");

    static QString watched;
    static QStringList found;
    watched = folder;
    found.clear();
    bool result = true;
    bool hadTemporaryFile = false;
    {
        std::vector<Fault> faults = faultsOfTheFileSystem(false);
        faults.push_back({"write", 1, 1, ENOSPC});
        const FaultyCalls faulty(folder.toStdString(), faults);
        const QtMessageHandler previous =
            qInstallMessageHandler([](QtMsgType, const QMessageLogContext&, const QString&) {
                found.append(everythingIn(watched).join(QLatin1Char(' ')));
            });
        result = createConfiguration(folder);
        qInstallMessageHandler(previous);
        hadTemporaryFile = std::any_of(faulty.made().begin(), faulty.made().end(), [](const FaultyCalls::Call& call) {
            return call.name == "make" && call.result >= 0
                && isTemporaryFileOf(QStringLiteral("configuration.manifest.json"),
                    QFileInfo(QString::fromStdString(call.path)).fileName());
        });
    }
    QVERIFY(!result);
    QVERIFY(hadTemporaryFile);
    QCOMPARE(found, QStringList(QStringLiteral("a.config.json configuration.manifest.json")));
    QCOMPARE(manifest(), QByteArrayLiteral("previous"));
}

void tst_ConfigurationManifestCreator::incompleteFirstWriteLeavesNothing()
{
    QVERIFY(QDir().mkpath(at(QStringLiteral("empty"))));
    MessageRecorder log;
    bool result = true;
    {
        const FileSizeLimit nothing(0);
        result = createConfiguration(folder);
    }
    QVERIFY(!result);
    QCOMPARE(log.take(),
        undescribedFolder() << warning(
            QStringLiteral("Manifest file was not successful written: -1 , 2 !"), writeManifestFile));
    QCOMPARE(everythingIn(folder), QStringList(QStringLiteral("empty")));
}

void tst_ConfigurationManifestCreator::failingCommitGoesUnnoticedAndKeepsThePreviousManifest()
{
    writeFile(at(QStringLiteral("a.config.json")), description(1));
    writeFile(at(QStringLiteral("configuration.manifest.json")), "previous");
    MessageRecorder log;
    {
        const FaultyCalls faulty(folder.toStdString(), {{"rename", 1, 1, EIO}});
        QVERIFY(createConfiguration(folder));
    }
    QCOMPARE(log.take(), QVector<Message>());
    QCOMPARE(manifest(), QByteArrayLiteral("previous"));
    QCOMPARE(everythingIn(folder),
        QStringList({QStringLiteral("a.config.json"), QStringLiteral("configuration.manifest.json")}));
}

void tst_ConfigurationManifestCreator::manifestThatIsALinkIsWrittenWhereItPoints()
{
    writeFile(at(QStringLiteral("a.config.json")), description(1));
    writeFile(temporary->filePath(QStringLiteral("elsewhere.json")), "previous");
    QVERIFY(QFile::link(
        temporary->filePath(QStringLiteral("elsewhere.json")), at(QStringLiteral("configuration.manifest.json"))));
    MessageRecorder log;
    QVERIFY(createConfiguration(folder));
    QVERIFY(QFileInfo(at(QStringLiteral("configuration.manifest.json"))).isSymLink());
    QCOMPARE(readFile(temporary->filePath(QStringLiteral("elsewhere.json"))), QByteArray('[' + selection("a") + ']'));
}

void tst_ConfigurationManifestCreator::linksCountAsWhatTheyPointTo()
{
    writeFile(temporary->filePath(QStringLiteral("outside/Folder.menu.json")), folderDescription(1));
    writeFile(temporary->filePath(QStringLiteral("outside/x.config.json")), description(1));
    QVERIFY(QFile::link(temporary->filePath(QStringLiteral("outside")), at(QStringLiteral("linked"))));
    QVERIFY(QFile::link(
        temporary->filePath(QStringLiteral("outside/x.config.json")), at(QStringLiteral("other.config.json"))));
    MessageRecorder log;
    QVERIFY(createConfiguration(folder));
    QCOMPARE(outlineOfManifest(), QStringLiteral("other linked[linked/x]"));
    QCOMPARE(log.take(), QVector<Message>());
}

void tst_ConfigurationManifestCreator::danglingLinksNeverAppear()
{
    writeFile(at(QStringLiteral("a.config.json")), description(1));
    QVERIFY(QFile::link(QStringLiteral("nowhere"), at(QStringLiteral("b.config.json"))));
    QVERIFY(QFile::link(QStringLiteral("c.config.json"), at(QStringLiteral("c.config.json"))));
    MessageRecorder log;
    QVERIFY(createConfiguration(folder));
    QCOMPARE(outlineOfManifest(), QStringLiteral("a"));
    QCOMPARE(log.take(), QVector<Message>());
}

void tst_ConfigurationManifestCreator::linkBackUpEnds()
{
    writeFile(at(QStringLiteral("n/Folder.menu.json")), folderDescription(1));
    writeFile(at(QStringLiteral("n/a.config.json")), description(1));
    QVERIFY(QFile::link(at(QStringLiteral("n")), at(QStringLiteral("n/up"))));
    MessageRecorder log;
    QVERIFY(createConfiguration(folder));
    // The system follows a limited number of links in one path; there the scan turns back.
    const QString names = outlineOfManifest();
    QVERIFY(names.startsWith(QStringLiteral("n[n/a up[n/up/a up[n/up/up/a up[")));
    QCOMPARE(names.count(QStringLiteral("/a")), 41);
}

void tst_ConfigurationManifestCreator::awkwardNames_data()
{
    QTest::addColumn<QString>("name");
    QTest::newRow("blank") << QStringLiteral("a b");
    QTest::newRow("newline") << QStringLiteral("a\nb");
    QTest::newRow("quotes") << QStringLiteral("a\"'b");
    QTest::newRow("backslash") << QStringLiteral("a\\b");
    QTest::newRow("escape") << QStringLiteral("a\x1b[31mb");
    QTest::newRow("UTF-8") << QString::fromUtf8("Überwachung 日本語 𝄞");
    QTest::newRow("longest") << QString(255 - 12, QLatin1Char('x'));
}

void tst_ConfigurationManifestCreator::awkwardNames()
{
    QFETCH(const QString, name);
    writeFile(at(name + QStringLiteral(".config.json")), description(1));
    writeFile(at(name + QStringLiteral("/Folder.menu.json")), folderDescription(1));
    writeFile(at(name + QLatin1Char('/') + name + QStringLiteral(".config.json")), description(1));
    MessageRecorder log;
    QVERIFY(createConfiguration(folder));
    QCOMPARE(log.take(), QVector<Message>());
    QCOMPARE(outlineOfManifest(),
        name + QLatin1Char(' ') + name + QLatin1Char('[') + name + QLatin1Char('/') + name + QLatin1Char(']'));
}

void tst_ConfigurationManifestCreator::nameThatIsNotUtf8IsPassedOver()
{
    writeFile(at(QStringLiteral("a.config.json")), description(1));
    const QByteArray path = QFile::encodeName(folder) + "/\xff.config.json";
    const int file = open(path.constData(), O_CREAT | O_WRONLY | O_CLOEXEC, 0644);
    QVERIFY(file >= 0);
    ::close(file);
    MessageRecorder log;
    QVERIFY(createConfiguration(folder));
    // Qt lists no such name.
    QCOMPARE(log.take(), QVector<Message>());
    QCOMPARE(outlineOfManifest(), QStringLiteral("a"));
    QCOMPARE(unlink(path.constData()), 0);
}

void tst_ConfigurationManifestCreator::longestPathsOfTheSystemAreScanned()
{
    QString path = folder;
    int levels = 0;
    while (path.size() + 205 < 4000) {
        path += QLatin1Char('/') + QString(200, QLatin1Char('d'));
        writeFile(path + QStringLiteral("/Folder.menu.json"), folderDescription(1));
        ++levels;
    }
    writeFile(path + QStringLiteral("/f.config.json"), description(1));
    MessageRecorder log;
    QVERIFY(createConfiguration(folder));
    QCOMPARE(outlineOfManifest().count(QLatin1Char('[')), levels);
    QVERIFY(outlineOfManifest().contains(path.mid(folder.size() + 1) + QStringLiteral("/f]")));
}

MANIFEST_TEST_MAIN(tst_ConfigurationManifestCreator)

#include "tst_configurationmanifestcreator.moc"
