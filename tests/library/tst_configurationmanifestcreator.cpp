#include "ConfigurationAndProcessDataDefinitions.h"
#include "ConfigurationManifestCreator.h"
#include "ConfigurationStructureElement.h"
#include "ConfigurationStructureElementList.h"
#include "Files.h"
#include "LibraryMessages.h"
#include "Literals.h"
#include "MessageRecorder.h"
#include "PropertyManagerConst.h"
#include "TestMain.h"

#include <QtCore/QDir>
#include <QtCore/QJsonDocument>
#include <QtCore/QLocale>
#include <QtCore/QTemporaryDir>
#include <QtCore/QThread>

#include <memory>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

QT_BEGIN_NAMESPACE
// The functions that Qt calls for every object that it creates or destroys. Debugging tools rely on them.
extern quintptr Q_CORE_EXPORT qtHookData[];
QT_END_NAMESPACE

namespace {

const QString configuration = ConfigurationAndProcessDataDefinitions::getSelectorUrlSchemeConfiguration();
const QString folderName = PropertyManagerConst::getConfigurationFolderName();

// The messages about a folder without a description file.
Messages undescribedFolder()
{
    return {noFolderDescription(), positionMissing()};
}

// A description that causes no message.
QByteArray description(int position)
{
    return QByteArrayLiteral("{\"hide\":false,\"displayPosition\":") + QByteArray::number(position) + '}';
}

// The selection that is made from description().
QByteArray selection(const QByteArray& instanceName)
{
    return QByteArrayLiteral("{\"closeMode\":\"Manual\",\"dataModel\":\"\",\"hide\":false,\"iconName\":\"\","
                             "\"instanceName\":\"")
        + instanceName
        + QByteArrayLiteral("\",\"labelTextId\":\"\",\"lastModified\":\"\",\"selectionType\":\"Selection\","
                            "\"uiJob\":\"OpenConfiguration\"}");
}

// The node that is made from folderDescription().
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

/// Records all lists of elements that are created within its lifetime.
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
    // As in qhooks_p.h. Not every Qt installs that header.
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

// Lists the instance names in the order of the manifest, the children of a node in brackets after its name.
QString outline(const QJsonArray& elements)
{
    QStringList names;
    for (const QJsonValue& element : elements) {
        const QJsonValue children = element[u"substructure"_qs];
        names.append(element[u"instanceName"_qs].toString()
            + (children.isArray() ? u'[' + outline(children.toArray()) + u']' : QString()));
    }
    return names.join(u' ');
}

} // namespace

class tst_ConfigurationManifestCreator : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void metaObjectHasNothingOfItsOwn();

    void treeOfSelectionsAndNodesIsWrittenByteForByte();
    void elementsOfOneKindAndPositionKeepListingOrder();
    void listingOrderIgnoresLocale();
    void hundredElementsOfOnePositionAreAllThere();
    void displayPositionsOrderEachKindButAreNotStored();
    void selectionNamesCarryPathFromScannedFolderAtEveryLevel();
    void substructureOfFolderDescriptionIsReplacedByScan();
    void substructureOfFolderDescriptionKeepsNoEmptyFolder();
    void foldersWithoutMatchingFilesLeaveNoTrace();
    void hiddenEntriesNeverAppear();
    void onlyEmptyFoldersGiveEmptyArray();
    void manifestIsNotScannedAsDescription();
    void laterScanReplacesManifestCompletely();
    void scanStartedByMessageHandlerDisturbsNeither();
    void everyListOfScanRefersToSameSuffix();

    void schemeChoosesSuffixAndFileName_data();
    void schemeChoosesSuffixAndFileName();

    void createScansConfigurationFolderBelowBase();
    void createKeepsDoubledSeparatorOfBase();
    void createOmitsSeparatorIfPreviousFolderEndedWithOne();
    void createInsertsSeparatorIfPreviousFolderEndedWithoutOne();
    void folderOfEmptyScanCountsAsPreviousFolder();
    void trailingSeparatorStaysInFileName();
    void namesBelowFolderWithTrailingSeparatorAreWholeFolder();
    void relativeFolderStaysRelativeAtEveryLevel();
    void emptyPathListsCurrentFolderAndWritesToRoot();

    void nothingToListIsSuccessThatWritesNothing_data();
    void nothingToListIsSuccessThatWritesNothing();

    void messagesOfScanComeInListingOrder();
    void brokenDescriptionsKeepTheirElements();
    void unreadableDescriptionsKeepTheirElements();
    void unreadableSubfolderIsLeftOut();

    void missingFolderOfSchemeIsReported();

    void linksCountAsWhatTheyPointTo();
    void danglingLinksNeverAppear();
    void linkBackUpEnds();
    void awkwardNamesAreScanned_data();
    void awkwardNamesAreScanned();
    void nameThatIsNotUtf8IsSkipped();
    void longestPathsOfSystemAreScanned();

private:
    QString at(const QString& name) const
    {
        return folder + u'/' + name;
    }
    QByteArray manifest() const
    {
        return readFile(at(u"configuration.manifest.json"_qs));
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
    folder = temporary->filePath(u"cfg"_qs);
    QVERIFY(QDir().mkpath(folder));
    chmod(QFile::encodeName(temporary->path()).constData(), 0755);
}

void tst_ConfigurationManifestCreator::cleanup()
{
    temporary.reset();
}

void tst_ConfigurationManifestCreator::metaObjectHasNothingOfItsOwn()
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

void tst_ConfigurationManifestCreator::treeOfSelectionsAndNodesIsWrittenByteForByte()
{
    writeFile(at(u"main.config.json"_qs), description(2));
    writeFile(at(u"a.config.json"_qs), description(1));
    writeFile(at(u"Net/Folder.menu.json"_qs), folderDescription(1));
    writeFile(at(u"Net/port.config.json"_qs), description(1));
    writeFile(at(u"readme.txt"_qs), "text");
    QVERIFY(QDir().mkpath(at(u"Spare"_qs)));
    writeFile(at(u"Spare/Folder.menu.json"_qs), folderDescription(0));

    MessageRecorder log;
    QVERIFY(createConfiguration(folder));
    QCOMPARE(log.take(), Messages());
    QCOMPARE(manifest(),
        QByteArray('[' + selection("a") + ',' + selection("main") + ',' + node("Net", selection("Net/port")) + ']'));
    QCOMPARE(everythingIn(folder),
        QStringList({u"Net"_qs, u"Spare"_qs, u"a.config.json"_qs, u"configuration.manifest.json"_qs,
            u"main.config.json"_qs, u"readme.txt"_qs}));
}

void tst_ConfigurationManifestCreator::elementsOfOneKindAndPositionKeepListingOrder()
{
    // The listing ignores case. One of the sixteen entries is the empty folder x.
    for (const char* name : {"b", "A", "c", "D", "e", "F", "g", "H", "i"}) {
        writeFile(at(QString::fromLatin1(name) + u".config.json"_qs), description(7));
    }
    for (const char* name : {"t", "S", "u", "V", "w", "X"}) {
        writeFile(at(QString::fromLatin1(name) + u"/Folder.menu.json"_qs), folderDescription(7));
        writeFile(at(QString::fromLatin1(name) + u"/f.config.json"_qs), description(1));
    }
    writeFile(at(u"xx/Folder.menu.json"_qs), folderDescription(7));
    MessageRecorder log;
    QVERIFY(createConfiguration(folder));
    QCOMPARE(outlineOfManifest(), u"A b c D e F g H i S[S/f] t[t/f] u[u/f] V[V/f] w[w/f] X[X/f]"_qs);
}

void tst_ConfigurationManifestCreator::listingOrderIgnoresLocale()
{
    const QString umlaut = QString::fromUtf8("ä");
    const QString last = u"z"_qs;
    for (const QString& name : {umlaut, last}) {
        writeFile(at(name + u".config.json"_qs), description(1));
        writeFile(at(name + u"/Folder.menu.json"_qs), folderDescription(1));
        for (const QString& below : {umlaut, last}) {
            writeFile(at(name + u'/' + below + u".config.json"_qs), description(1));
        }
    }

    const QLocale previous;
    QLocale::setDefault(QLocale(QLocale::German, QLocale::Germany));
    bool localeMatters = false;
    bool created = false;
    MessageRecorder log;
    // Qt caches the collation locale per thread.
    const std::unique_ptr<QThread> thread(QThread::create([&] {
        localeMatters = umlaut.localeAwareCompare(last) < 0 && umlaut > last;
        created = createConfiguration(folder);
    }));
    thread->start();
    thread->wait();
    QLocale::setDefault(previous);
    QVERIFY(localeMatters);
    QVERIFY(created);
    QCOMPARE(log.take(), Messages());
    QCOMPARE(outlineOfManifest(), QString::fromUtf8("z ä z[z/z z/ä] ä[ä/z ä/ä]"));
}

void tst_ConfigurationManifestCreator::hundredElementsOfOnePositionAreAllThere()
{
    QStringList expected;
    for (int i = 0; i < 100; ++i) {
        expected.append(u"f%1"_qs.arg(i, 3, 10, QChar(u'0')));
        writeFile(at(expected.constLast() + u".config.json"_qs), description(3));
    }
    MessageRecorder log;
    QVERIFY(createConfiguration(folder));
    QStringList names = outlineOfManifest().split(u' ');
    names.sort();
    QCOMPARE(names, expected);
}

void tst_ConfigurationManifestCreator::displayPositionsOrderEachKindButAreNotStored()
{
    writeFile(at(u"a.config.json"_qs), description(30));
    writeFile(at(u"b.config.json"_qs), description(-5));
    writeFile(at(u"c.config.json"_qs), description(4));
    writeFile(at(u"m/Folder.menu.json"_qs), folderDescription(9));
    writeFile(at(u"m/x.config.json"_qs), description(1));
    writeFile(at(u"n/Folder.menu.json"_qs), folderDescription(2));
    writeFile(at(u"n/x.config.json"_qs), description(1));
    MessageRecorder log;
    QVERIFY(createConfiguration(folder));
    QCOMPARE(outlineOfManifest(), u"b c a n[n/x] m[m/x]"_qs);
    QVERIFY(!manifest().contains("displayPosition"));
}

void tst_ConfigurationManifestCreator::selectionNamesCarryPathFromScannedFolderAtEveryLevel()
{
    writeFile(at(u"one.old/two/three/f.v2.config.json"_qs), description(1));
    writeFile(
        at(u"one.old/two/named.config.json"_qs), "{\"hide\":true,\"displayPosition\":1,\"instanceName\":\"Custom\"}");
    for (const char* name : {"one.old", "one.old/two", "one.old/two/three"}) {
        writeFile(at(QString::fromLatin1(name) + u"/Folder.menu.json"_qs), folderDescription(1));
    }
    MessageRecorder log;
    QVERIFY(createConfiguration(folder));
    QCOMPARE(outlineOfManifest(), u"one[two[Custom three[one.old/two/three/f]]]"_qs);
}

void tst_ConfigurationManifestCreator::substructureOfFolderDescriptionIsReplacedByScan()
{
    writeFile(
        at(u"n/Folder.menu.json"_qs), "{\"displayPosition\":1,\"substructure\":[{\"instanceName\":\"described\"}]}");
    writeFile(at(u"n/x.config.json"_qs), description(1));
    MessageRecorder log;
    QVERIFY(createConfiguration(folder));
    QCOMPARE(manifest(), QByteArray('[' + node("n", selection("n/x")) + ']'));
}

void tst_ConfigurationManifestCreator::substructureOfFolderDescriptionKeepsNoEmptyFolder()
{
    writeFile(
        at(u"n/Folder.menu.json"_qs), "{\"displayPosition\":1,\"substructure\":[{\"instanceName\":\"described\"}]}");
    MessageRecorder log;
    QVERIFY(createConfiguration(folder));
    QCOMPARE(manifest(), QByteArrayLiteral("[]"));
}

void tst_ConfigurationManifestCreator::foldersWithoutMatchingFilesLeaveNoTrace()
{
    writeFile(at(u"p/Folder.menu.json"_qs), folderDescription(1));
    writeFile(at(u"p/x.process.json"_qs), description(1));
    writeFile(at(u"p/q/Folder.menu.json"_qs), folderDescription(1));
    writeFile(at(u"p/q/x.CONFIG.JSON"_qs), description(1));
    writeFile(at(u"f.config.json"_qs), description(1));
    MessageRecorder log;
    QVERIFY(createConfiguration(folder));
    QCOMPARE(manifest(), QByteArray('[' + selection("f") + ']'));
}

void tst_ConfigurationManifestCreator::hiddenEntriesNeverAppear()
{
    writeFile(at(u".hidden.config.json"_qs), description(1));
    writeFile(at(u".config.json"_qs), description(1));
    writeFile(at(u".folder/x.config.json"_qs), description(1));
    writeFile(at(u"n/Folder.menu.json"_qs), folderDescription(1));
    writeFile(at(u"n/.hidden.config.json"_qs), description(1));
    MessageRecorder log;
    QVERIFY(createConfiguration(folder));
    QCOMPARE(manifest(), QByteArrayLiteral("[]"));
}

void tst_ConfigurationManifestCreator::onlyEmptyFoldersGiveEmptyArray()
{
    QVERIFY(QDir().mkpath(at(u"a/b"_qs)));
    QVERIFY(QDir().mkpath(at(u"c"_qs)));
    MessageRecorder log;
    QVERIFY(createConfiguration(folder));
    QCOMPARE(log.take(), undescribedFolder() + undescribedFolder() + undescribedFolder());
    QCOMPARE(manifest(), QByteArrayLiteral("[]"));
}

void tst_ConfigurationManifestCreator::manifestIsNotScannedAsDescription()
{
    writeFile(at(u"a.config.json"_qs), description(1));
    MessageRecorder log;
    QVERIFY(createConfiguration(folder));
    const QByteArray first = manifest();
    QVERIFY(createConfiguration(folder));
    QCOMPARE(manifest(), first);
    QCOMPARE(log.take(), Messages());
}

void tst_ConfigurationManifestCreator::laterScanReplacesManifestCompletely()
{
    writeFile(at(u"a.config.json"_qs), description(1));
    writeFile(at(u"b.config.json"_qs), description(2));
    MessageRecorder log;
    ConfigurationManifestCreator creator;
    QVERIFY(creator.create2(folder, configuration));
    QVERIFY(QFile::remove(at(u"a.config.json"_qs)));
    QVERIFY(creator.create2(folder, configuration));
    QCOMPARE(manifest(), QByteArray('[' + selection("b") + ']'));
}

void tst_ConfigurationManifestCreator::scanStartedByMessageHandlerDisturbsNeither()
{
    // Each of these causes a message, above and below a folder.
    writeFile(at(u"outer/a.config.json"_qs), description(1) + '}');
    writeFile(at(u"outer/Net/Deep/port.config.json"_qs), description(1) + '}');
    writeFile(at(u"inner/b.process.json"_qs), description(1));
    const QString outer = at(u"outer"_qs);

    static ConfigurationManifestCreator* creator = nullptr;
    static QString inner;
    static int scans = 0;
    ConfigurationManifestCreator scanning;
    creator = &scanning;
    inner = at(u"inner"_qs);
    scans = 0;
    const QtMessageHandler previous = qInstallMessageHandler(
        [](QtMsgType, const QMessageLogContext&, const QString&) { scans += creator->create2(inner, u"process"_qs); });
    const bool created = scanning.create2(outer, configuration);
    qInstallMessageHandler(previous);
    QVERIFY(created);
    QVERIFY(scans >= 6);
    QCOMPARE(readFile(outer + u"/configuration.manifest.json"_qs),
        QByteArray('[' + selection("a") + ',' + node("Net", node("Deep", selection("Net/Deep/port"))) + ']'));
    QCOMPARE(readFile(inner + u"/process.manifest.json"_qs), QByteArray('[' + selection("b") + ']'));
    QCOMPARE(everythingIn(inner), QStringList({u"b.process.json"_qs, u"process.manifest.json"_qs}));
}

void tst_ConfigurationManifestCreator::everyListOfScanRefersToSameSuffix()
{
    // The last message is logged while the list of the innermost folder is built; those above are still on the stack.
    writeFile(at(u"n/m/f.config.json"_qs), "{}");

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
    QCOMPARE(outlineOfManifest(), u"n[m[n/m/f]]"_qs);
    QCOMPARE(suffixes.size(), 3);
    QCOMPARE(suffixes.at(1), suffixes.at(0));
    QCOMPARE(suffixes.at(2), suffixes.at(0));
}

void tst_ConfigurationManifestCreator::schemeChoosesSuffixAndFileName_data()
{
    QTest::addColumn<QString>("scheme");
    QTest::addColumn<QString>("outlineOfScheme");

    QTest::newRow("configuration") << configuration << u"c n[n/c]"_qs;
    QTest::newRow("process") << u"process"_qs << u"p m[m/p] n[n/p]"_qs;
    QTest::newRow("configuration in capitals") << configuration.toUpper() << u"p m[m/p] n[n/p]"_qs;
    QTest::newRow("configuration and a blank") << configuration + u' ' << u"p m[m/p] n[n/p]"_qs;
    QTest::newRow("empty") << QString() << u"p m[m/p] n[n/p]"_qs;
}

void tst_ConfigurationManifestCreator::schemeChoosesSuffixAndFileName()
{
    QFETCH(const QString, scheme);
    QFETCH(const QString, outlineOfScheme);

    writeFile(at(u"c.config.json"_qs), description(1));
    writeFile(at(u"p.process.json"_qs), description(1));
    writeFile(at(u"n/Folder.menu.json"_qs), folderDescription(2));
    writeFile(at(u"n/c.config.json"_qs), description(1));
    writeFile(at(u"n/p.process.json"_qs), description(1));
    writeFile(at(u"m/Folder.menu.json"_qs), folderDescription(1));
    writeFile(at(u"m/p.process.json"_qs), description(1));
    const QStringList before = everythingIn(folder);

    MessageRecorder log;
    QVERIFY(ConfigurationManifestCreator().create2(folder, scheme));
    QCOMPARE(log.take(), Messages());
    const QString manifestName = scheme + u".manifest.json"_qs;
    QCOMPARE(outline(QJsonDocument::fromJson(readFile(at(manifestName))).array()), outlineOfScheme);
    QStringList after = everythingIn(folder);
    QVERIFY(after.removeOne(manifestName));
    QCOMPARE(after, before);
}

void tst_ConfigurationManifestCreator::createScansConfigurationFolderBelowBase()
{
    writeFile(at(folderName + u"/a.config.json"_qs), description(1));
    writeFile(at(folderName + u"/p.process.json"_qs), description(1));
    MessageRecorder log;
    QVERIFY(ConfigurationManifestCreator().create(folder));
    QCOMPARE(readFile(at(folderName + u"/configuration.manifest.json"_qs)), QByteArray('[' + selection("a") + ']'));
    QCOMPARE(everythingIn(folder), QStringList(folderName));
}

void tst_ConfigurationManifestCreator::createKeepsDoubledSeparatorOfBase()
{
    // A folder in the place of the manifest causes a message that names the file.
    QVERIFY(QDir().mkpath(at(folderName + u"/configuration.manifest.json"_qs)));
    MessageRecorder log;
    QVERIFY(!ConfigurationManifestCreator().create(folder + u'/'));
    QCOMPARE(log.take(),
        undescribedFolder() << manifestCannotBeOpened(
            folder + u"//"_qs + folderName + u"/configuration.manifest.json"_qs));
}

void tst_ConfigurationManifestCreator::createOmitsSeparatorIfPreviousFolderEndedWithOne()
{
    writeFile(at(u"other/a.config.json"_qs), description(1));
    writeFile(folder + folderName + u"/joined.config.json"_qs, description(1));
    writeFile(at(folderName + u"/below.config.json"_qs), description(1));
    MessageRecorder log;
    ConfigurationManifestCreator creator;
    QVERIFY(creator.create2(at(u"other/"_qs), configuration));
    QVERIFY(creator.create(folder));
    QCOMPARE(readFile(folder + folderName + u"/configuration.manifest.json"_qs),
        QByteArray('[' + selection("joined") + ']'));
    QCOMPARE(everythingIn(at(folderName)), QStringList(u"below.config.json"_qs));
}

void tst_ConfigurationManifestCreator::createInsertsSeparatorIfPreviousFolderEndedWithoutOne()
{
    writeFile(at(u"other/a.config.json"_qs), description(1));
    writeFile(at(folderName + u"/below.config.json"_qs), description(1));
    MessageRecorder log;
    ConfigurationManifestCreator creator;
    QVERIFY(creator.create2(at(u"other/"_qs), configuration));
    QVERIFY(creator.create2(at(u"other"_qs), configuration));
    QVERIFY(creator.create(folder));
    QCOMPARE(readFile(at(folderName + u"/configuration.manifest.json"_qs)), QByteArray('[' + selection("below") + ']'));
}

void tst_ConfigurationManifestCreator::folderOfEmptyScanCountsAsPreviousFolder()
{
    writeFile(folder + folderName + u"/joined.config.json"_qs, description(1));
    MessageRecorder log;
    ConfigurationManifestCreator creator;
    QVERIFY(creator.create2(u"/missing/"_qs, u"process"_qs));
    QVERIFY(creator.create(folder));
    QCOMPARE(readFile(folder + folderName + u"/configuration.manifest.json"_qs),
        QByteArray('[' + selection("joined") + ']'));
}

void tst_ConfigurationManifestCreator::trailingSeparatorStaysInFileName()
{
    QVERIFY(QDir().mkpath(at(u"configuration.manifest.json"_qs)));
    MessageRecorder log;
    QVERIFY(!createConfiguration(folder + u'/'));
    QCOMPARE(log.take(), undescribedFolder() << manifestCannotBeOpened(folder + u"//configuration.manifest.json"_qs));
}

void tst_ConfigurationManifestCreator::namesBelowFolderWithTrailingSeparatorAreWholeFolder()
{
    writeFile(at(u"a.config.json"_qs), description(1));
    writeFile(at(u"n/Folder.menu.json"_qs), folderDescription(1));
    writeFile(at(u"n/b.config.json"_qs), description(1));
    MessageRecorder log;
    QVERIFY(createConfiguration(folder + u'/'));
    // For a file directly in the folder, the folder part of its path has no "/" at the end, so the scanned path is not
    // found in it and not removed. For a file in a sub-folder, it is removed together with the "/".
    QCOMPARE(outlineOfManifest(), folder.mid(1) + u"/a n[b]"_qs);
}

void tst_ConfigurationManifestCreator::relativeFolderStaysRelativeAtEveryLevel()
{
    writeFile(at(u"a.config.json"_qs), description(1));
    for (const char* name : {"n", "n/m"}) {
        writeFile(at(QString::fromLatin1(name) + u"/Folder.menu.json"_qs), folderDescription(1));
        writeFile(at(QString::fromLatin1(name) + u"/f.config.json"_qs), description(1));
    }
    QVERIFY(QDir::setCurrent(temporary->path()));
    MessageRecorder log;
    const bool created = createConfiguration(u"cfg"_qs);
    QVERIFY(QDir::setCurrent(QDir::rootPath()));
    QVERIFY(created);
    QCOMPARE(log.take(), Messages());
    // Instance names are paths from which the folder is removed as it was given, so the scan must not make paths
    // absolute.
    QCOMPARE(outlineOfManifest(), u"a n[n/f m[n/m/f]]"_qs);
}

void tst_ConfigurationManifestCreator::emptyPathListsCurrentFolderAndWritesToRoot()
{
    writeFile(at(u"a.config.json"_qs), description(1));
    QVERIFY(QDir::setCurrent(folder));
    MessageRecorder log;
    {
        const AsOrdinaryUser nobodyWritesToTheRoot;
        QVERIFY(!ConfigurationManifestCreator().create2(QString(), u"tst-scheme"_qs));
    }
    QVERIFY(QDir::setCurrent(QDir::rootPath()));
    QCOMPARE(log.take(), Messages({manifestCannotBeOpened(u"/tst-scheme.manifest.json"_qs)}));
    QCOMPARE(everythingIn(folder), QStringList(u"a.config.json"_qs));
}

void tst_ConfigurationManifestCreator::nothingToListIsSuccessThatWritesNothing_data()
{
    QTest::addColumn<QString>("path");
    QTest::newRow("missing") << u"missing"_qs;
    QTest::newRow("empty") << u"empty"_qs;
    QTest::newRow("only hidden entries") << u"hidden"_qs;
    QTest::newRow("a file") << u"file.config.json"_qs;
    QTest::newRow("unreadable") << u"unreadable"_qs;
    QTest::newRow("only a dangling link") << u"dangling"_qs;
}

void tst_ConfigurationManifestCreator::nothingToListIsSuccessThatWritesNothing()
{
    QFETCH(const QString, path);
    QVERIFY(QDir().mkpath(at(u"empty"_qs)));
    writeFile(at(u"hidden/.x.config.json"_qs), description(1));
    writeFile(at(u"file.config.json"_qs), description(1));
    writeFile(at(u"unreadable/a.config.json"_qs), description(1));
    chmod(QFile::encodeName(at(u"unreadable"_qs)).constData(), 0333);
    QVERIFY(QDir().mkpath(at(u"dangling"_qs)));
    QVERIFY(QFile::link(u"nowhere"_qs, at(u"dangling/x.config.json"_qs)));
    const QStringList before = everythingIn(folder);
    const QStringList beforeBelow = everythingIn(at(path));

    MessageRecorder log;
    {
        const AsOrdinaryUser permissionsCount;
        QVERIFY(createConfiguration(at(path)));
    }
    QCOMPARE(log.take(), Messages());
    chmod(QFile::encodeName(at(u"unreadable"_qs)).constData(), 0755);
    QCOMPARE(everythingIn(folder), before);
    if (path != u"unreadable"_qs) {
        QCOMPARE(everythingIn(at(path)), beforeBelow);
    } else {
        QCOMPARE(everythingIn(at(path)), QStringList(u"a.config.json"_qs));
    }
}

void tst_ConfigurationManifestCreator::messagesOfScanComeInListingOrder()
{
    writeFile(at(u"b.config.json"_qs), "{\"displayPosition\":1}");
    writeFile(at(u"a/x.config.json"_qs), "{\"hide\":true}");
    writeFile(at(u"c/Folder.menu.json"_qs), "{");
    MessageRecorder log;
    QVERIFY(createConfiguration(folder));
    // First come the messages of a whole level in the order of its listing, then those of the levels below in display
    // order.
    QCOMPARE(log.take(),
        Messages({noFolderDescription(), positionMissing(), hideMissing(), folderDescriptionNotJson(),
            positionMissing(), positionMissing()}));
}

void tst_ConfigurationManifestCreator::brokenDescriptionsKeepTheirElements()
{
    writeFile(at(u"n/Folder.menu.json"_qs), "no json");
    writeFile(at(u"n/x.config.json"_qs), "no json");
    MessageRecorder log;
    QVERIFY(createConfiguration(folder));
    QCOMPARE(log.take(),
        Messages({folderDescriptionNotJson(), positionMissing(), fileNotJson(), positionMissing(), hideMissing()}));
    QCOMPARE(manifest(), QByteArray('[' + node("n", selection("n/x")) + ']'));
}

void tst_ConfigurationManifestCreator::unreadableDescriptionsKeepTheirElements()
{
    writeFile(at(u"n/Folder.menu.json"_qs), folderDescription(7));
    writeFile(at(u"n/x.config.json"_qs), "{\"hide\":true,\"displayPosition\":7,\"instanceName\":\"unread\"}");
    writeFile(at(u"n/y.config.json"_qs), description(0));
    const QString ofFolder = at(u"n/Folder.menu.json"_qs);
    const QString ofFile = at(u"n/x.config.json"_qs);
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
        Messages({folderDescriptionForbidden(ofFolder), positionMissing(), fileForbidden(ofFile), positionMissing(),
            hideMissing()}));
    // Without a description the position is -1.
    QCOMPARE(manifest(), QByteArray('[' + node("n", selection("n/x") + ',' + selection("n/y")) + ']'));
}

void tst_ConfigurationManifestCreator::unreadableSubfolderIsLeftOut()
{
    writeFile(at(u"a.config.json"_qs), description(1));
    writeFile(at(u"n/Folder.menu.json"_qs), folderDescription(1));
    writeFile(at(u"n/x.config.json"_qs), description(1));
    chmod(QFile::encodeName(at(u"n"_qs)).constData(), 0311);
    chmod(QFile::encodeName(folder).constData(), 0777);
    MessageRecorder log;
    {
        const AsOrdinaryUser permissionsCount;
        QVERIFY(createConfiguration(folder));
    }
    chmod(QFile::encodeName(at(u"n"_qs)).constData(), 0755);
    QCOMPARE(log.take(), Messages());
    QCOMPARE(manifest(), QByteArray('[' + selection("a") + ']'));
}

void tst_ConfigurationManifestCreator::missingFolderOfSchemeIsReported()
{
    writeFile(at(u"a.config.json"_qs), description(1));
    MessageRecorder log;
    QVERIFY(!ConfigurationManifestCreator().create2(folder, u"missing/x"_qs));
    QCOMPARE(log.take(), Messages({manifestCannotBeOpened(at(u"missing/x.manifest.json"_qs))}));
}

void tst_ConfigurationManifestCreator::linksCountAsWhatTheyPointTo()
{
    writeFile(temporary->filePath(u"outside/Folder.menu.json"_qs), folderDescription(1));
    writeFile(temporary->filePath(u"outside/x.config.json"_qs), description(1));
    QVERIFY(QFile::link(temporary->filePath(u"outside"_qs), at(u"linked"_qs)));
    QVERIFY(QFile::link(temporary->filePath(u"outside/x.config.json"_qs), at(u"other.config.json"_qs)));
    MessageRecorder log;
    QVERIFY(createConfiguration(folder));
    QCOMPARE(outlineOfManifest(), u"other linked[linked/x]"_qs);
    QCOMPARE(log.take(), Messages());
}

void tst_ConfigurationManifestCreator::danglingLinksNeverAppear()
{
    writeFile(at(u"a.config.json"_qs), description(1));
    QVERIFY(QFile::link(u"nowhere"_qs, at(u"b.config.json"_qs)));
    QVERIFY(QFile::link(u"c.config.json"_qs, at(u"c.config.json"_qs)));
    MessageRecorder log;
    QVERIFY(createConfiguration(folder));
    QCOMPARE(outlineOfManifest(), u"a"_qs);
    QCOMPARE(log.take(), Messages());
}

void tst_ConfigurationManifestCreator::linkBackUpEnds()
{
    writeFile(at(u"n/Folder.menu.json"_qs), folderDescription(1));
    writeFile(at(u"n/a.config.json"_qs), description(1));
    QVERIFY(QFile::link(at(u"n"_qs), at(u"n/up"_qs)));
    MessageRecorder log;
    QVERIFY(createConfiguration(folder));
    // The scan ends where the system refuses to follow more links in one path.
    const QString names = outlineOfManifest();
    QVERIFY(names.startsWith(u"n[n/a up[n/up/a up[n/up/up/a up["_qs));
    QCOMPARE(names.count(u"/a"_qs), 41);
}

void tst_ConfigurationManifestCreator::awkwardNamesAreScanned_data()
{
    QTest::addColumn<QString>("name");
    QTest::newRow("blank") << u"a b"_qs;
    QTest::newRow("newline") << u"a\nb"_qs;
    QTest::newRow("quotes") << u"a\"'b"_qs;
    QTest::newRow("backslash") << u"a\\b"_qs;
    QTest::newRow("escape") << u"a\x1b[31mb"_qs;
    QTest::newRow("UTF-8") << QString::fromUtf8("Überwachung 日本語 𝄞");
    QTest::newRow("longest") << QString(255 - 12, u'x');
}

void tst_ConfigurationManifestCreator::awkwardNamesAreScanned()
{
    QFETCH(const QString, name);
    writeFile(at(name + u".config.json"_qs), description(1));
    writeFile(at(name + u"/Folder.menu.json"_qs), folderDescription(1));
    writeFile(at(name + u'/' + name + u".config.json"_qs), description(1));
    MessageRecorder log;
    QVERIFY(createConfiguration(folder));
    QCOMPARE(log.take(), Messages());
    QCOMPARE(outlineOfManifest(), name + u' ' + name + u'[' + name + u'/' + name + u']');
}

void tst_ConfigurationManifestCreator::nameThatIsNotUtf8IsSkipped()
{
    writeFile(at(u"a.config.json"_qs), description(1));
    const QByteArray path = QFile::encodeName(folder) + "/\xff.config.json";
    const int file = open(path.constData(), O_CREAT | O_WRONLY | O_CLOEXEC, 0644);
    QVERIFY(file >= 0);
    ::close(file);
    MessageRecorder log;
    QVERIFY(createConfiguration(folder));
    // Qt lists no such name.
    QCOMPARE(log.take(), Messages());
    QCOMPARE(outlineOfManifest(), u"a"_qs);
    QCOMPARE(unlink(path.constData()), 0);
}

void tst_ConfigurationManifestCreator::longestPathsOfSystemAreScanned()
{
    QString path = folder;
    int levels = 0;
    while (path.size() + 205 < 4000) {
        path += u'/' + QString(200, u'd');
        writeFile(path + u"/Folder.menu.json"_qs, folderDescription(1));
        ++levels;
    }
    writeFile(path + u"/f.config.json"_qs, description(1));
    MessageRecorder log;
    QVERIFY(createConfiguration(folder));
    QCOMPARE(outlineOfManifest().count(u'['), levels);
    QVERIFY(outlineOfManifest().contains(path.mid(folder.size() + 1) + u"/f]"_qs));
}

MANIFEST_TEST_MAIN(tst_ConfigurationManifestCreator)

#include "tst_configurationmanifestcreator.moc"
