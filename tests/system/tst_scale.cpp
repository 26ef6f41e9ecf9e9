#include "ConfigurationAndProcessDataDefinitions.h"
#include "ConfigurationManifestCreator.h"
#include "Elements.h"
#include "Files.h"
#include "Handlers.h"
#include "LibraryMessages.h"
#include "Literals.h"
#include "MessageRecorder.h"
#include "QuickFolder.h"
#include "TestMain.h"
#include "faults/FaultyCalls.h"

#include <QtCore/QDir>
#include <QtCore/QElapsedTimer>
#include <QtCore/QThread>

#include <climits>
#include <memory>
#include <optional>
#include <utility>

#include <sys/resource.h>
#include <unistd.h>

namespace {

const QString manifestName = u"configuration.manifest.json"_qs;
const QByteArray plainDescription = R"({"displayPosition":1,"hide":false})";
// The largest number of nested nodes in a manifest that can be loaded; the innermost one has children.
constexpr int deepest = 511;

Message tooDeep()
{
    return contentIsNotJson(u"too deeply nested document"_qs);
}

bool create(const QString& folder, const QString& scheme = u"configuration"_qs)
{
    return ConfigurationManifestCreator().create2(folder, scheme);
}

QByteArray nested(int levels)
{
    return QByteArray(levels, '[') + QByteArray(levels, ']');
}

QString numbered(int number)
{
    return u"e%1"_qs.arg(number, 6, 10, QChar(u'0'));
}

QString chainPath(int levels)
{
    return u"n/"_qs.repeated(levels).chopped(1);
}

/// The peak memory of this process so far, in megabytes.
long peakMemory()
{
    struct rusage usage = {};
    getrusage(RUSAGE_SELF, &usage);
    return usage.ru_maxrss / 1024;
}

/// Calls `function` in a thread with a stack of this size.
template <typename Function>
void runWithStack(uint kilobytes, const Function& function)
{
#ifdef MEMORY_CHECKED
    // The sanitizer puts redzones around every variable.
    kilobytes *= 20;
#endif
    const std::unique_ptr<QThread> thread(QThread::create(function));
    thread->setStackSize(kilobytes * 1024);
    thread->start();
    thread->wait();
}

/// The path of a folder below `folder`; the whole path is `length` bytes long.
QString longFolder(const QString& folder, int length)
{
    constexpr int most = 200;
    QString path = folder;
    while (path.size() + 1 + most < length - 1) {
        path += u'/' + QString(most, u'd');
    }
    return path + u'/' + QString(length - path.size() - 1, u'd');
}

} // namespace

class tst_Scale : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void hundredThousandDescriptionsInOneFolderAreScanned();
    void hundredThousandElementsInDeepestTreeAreEdited();
    void manifestOf200MegabytesIsLoadedAndSaved();
    void deepFoldersAreScanned_data();
    void deepFoldersAreScanned();
    void deepDescriptionsAreScanned_data();
    void deepDescriptionsAreScanned();
    void longNamesAreSavedUpToLimit_data();
    void longNamesAreSavedUpToLimit();
    void longNamesAreCreatedUpToLimit_data();
    void longNamesAreCreatedUpToLimit();
};

void tst_Scale::hundredThousandDescriptionsInOneFolderAreScanned()
{
    constexpr int count = 100000;
    constexpr int mostLinks = 30000;
    const QTemporaryDir folder(quickFolder());
    QByteArray file;
    for (int i = 0; i < count; ++i) {
        const QByteArray path = QFile::encodeName(folder.filePath(numbered(i) + u".config.json"_qs));
        if (i % mostLinks == 0) {
            file = path;
            writeFile(QFile::decodeName(path), plainDescription);
        } else {
            QCOMPARE(link(file.constData(), path.constData()), 0);
        }
    }

    std::optional<MessageRecorder> log(std::in_place);
    QElapsedTimer timer;
    timer.start();
    QVERIFY(create(folder.path()));
    const qint64 scanned = timer.restart();

    Handler handler(folder.filePath(manifestName), QString(), QString());
    handler.parseManifestFile();
    const qint64 loaded = timer.restart();
    QStringList names;
    QVERIFY(handler.getListOfInstances(QString(), names));
    names.sort();
    QCOMPARE(names.size(), count);
    for (int i = 0; i < count; ++i) {
        QCOMPARE(names.at(i), numbered(i));
    }
    QCOMPARE(log->take(), Messages());
    log.reset();
    qInfo("scanned in %lld ms, loaded in %lld ms, %ld MB", scanned, loaded, peakMemory());
}

void tst_Scale::hundredThousandElementsInDeepestTreeAreEdited()
{
    constexpr int inEach = 200;
    const QJsonObject leaf = selection(u"leaf"_qs);
    QJsonArray manifest;
    for (int level = 0; level <= deepest; ++level) {
        QJsonArray elements;
        for (int i = 0; i < inEach; ++i) {
            elements.append(leaf);
        }
        if (level > 0) {
            elements.append(node(u"n"_qs, manifest));
        }
        manifest = elements;
    }
    const QTemporaryDir folder(quickFolder());
    const QString path = folder.filePath(manifestName);
    const QByteArray content = compact(manifest);
    writeFile(path, content);

    MessageRecorder log;
    Handler handler(path, u"module"_qs, QString());
    handler.parseManifestFile();
    QCOMPARE(handler.getManifestContent().count("\"module\""), (deepest + 1) * inEach);
    int number = 0;
    QVERIFY(handler.getNumberOfInstances(chainPath(deepest), number));
    QCOMPARE(number, inEach);
    QVERIFY(handler.setProperty(chainPath(deepest) + u"/leaf"_qs, u"key"_qs, 1, true));
    QVERIFY(handler.deleteElement(chainPath(deepest), true));
    QCOMPARE(readFile(path).count("\"module\""), deepest * inEach);

    Handler reader(path, QString(), QString());
    reader.parseManifestFile();
    QVERIFY(reader.getManifestContent() == handler.getManifestContent());
    QCOMPARE(log.take(), Messages());
}

void tst_Scale::manifestOf200MegabytesIsLoadedAndSaved()
{
    constexpr int count = 200000;
    QByteArray content = "[";
    content.reserve(count * 1100);
    const QByteArray filler(930, 'x');
    for (int i = 0; i < count; ++i) {
        content += (i == 0 ? "" : ",") + QByteArray("{\"instanceName\":\"") + numbered(i).toLatin1() + "\",\"label\":\""
            + filler + "\",\"selectionType\":\"Node\",\"substructure\":[]}";
    }
    content += ']';
    QVERIFY(content.size() > 200 * 1000 * 1000);
    const QTemporaryDir folder(quickFolder());
    const QString path = folder.filePath(manifestName);
    writeFile(path, content);

    std::optional<MessageRecorder> log(std::in_place);
    QElapsedTimer timer;
    timer.start();
    Handler handler(path, QString(), QString());
    handler.parseManifestFile();
    const qint64 loaded = timer.restart();
    const QString last = numbered(count - 1);
    QVERIFY(handler.setProperty(last, u"key"_qs, 1, true));
    const qint64 saved = timer.restart();
    QCOMPARE(log->take(), Messages());
    log.reset();

    content.insert(content.lastIndexOf("\"label\""), "\"key\":1,");
    QVERIFY(readFile(path) == content);
    qInfo("loaded in %lld ms, saved in %lld ms, %ld MB", loaded, saved, peakMemory());
#ifndef MEMORY_CHECKED
    QVERIFY(peakMemory() < 1000);
#endif
}

void tst_Scale::deepFoldersAreScanned_data()
{
    QTest::addColumn<int>("levels");
    QTest::addColumn<uint>("stack");
    QTest::newRow("deepest that can be loaded") << deepest << 320U;
    QTest::newRow("one more") << deepest + 1 << 320U;
    QTest::newRow("as deep as paths go") << 1900 << 1100U;
}

void tst_Scale::deepFoldersAreScanned()
{
    QFETCH(const int, levels);
    QFETCH(const uint, stack);
    const QTemporaryDir folder(quickFolder());
    const QString inner = folder.filePath(chainPath(levels));
    writeFile(inner + u"/a.config.json"_qs, plainDescription);

    MessageRecorder log;
    bool done = false;
    runWithStack(stack, [&] { done = create(folder.path()); });
    QVERIFY(done);
    log.take();
    const QByteArray content = readFile(folder.filePath(manifestName));
    QCOMPARE(content.count("\"substructure\""), levels);

    Handler handler(folder.filePath(manifestName), u"module"_qs, QString());
    runWithStack(stack, [&] { handler.parseManifestFile(); });
    if (levels > deepest) {
        QCOMPARE(log.take(), Messages({tooDeep()}));
        QCOMPARE(handler.getManifestJsonArray(), QJsonArray());
        QCOMPARE(readFile(folder.filePath(manifestName)), content);
        return;
    }
    QCOMPARE(log.take(), Messages());
    runWithStack(stack, [&] { done = handler.setProperty(chainPath(levels) + u"/a"_qs, u"hide"_qs, true, true); });
    QVERIFY(done);
    QVERIFY(readFile(folder.filePath(manifestName)) != content);
}

void tst_Scale::deepDescriptionsAreScanned_data()
{
    QTest::addColumn<int>("levels");
    QTest::addColumn<bool>("isRead");
    QTest::addColumn<bool>("isLoaded");
    QTest::newRow("deepest that a manifest can hold") << 1023 << true << true;
    QTest::newRow("deepest that can be read") << 1024 << true << false;
    QTest::newRow("deeper") << 1025 << false << true;
    QTest::newRow("much deeper") << 1000000 << false << true;
}

void tst_Scale::deepDescriptionsAreScanned()
{
    QFETCH(const int, levels);
    QFETCH(const bool, isRead);
    QFETCH(const bool, isLoaded);
    const QTemporaryDir folder(quickFolder());
    const QString key = ConfigurationAndProcessDataDefinitions::getKeyDataPropertySelectorTypeList();
    writeFile(folder.filePath(u"a.config.json"_qs),
        R"({"displayPosition":1,"hide":false,")" + key.toUtf8() + R"(":[)" + nested(levels - 2) + "]}");

    MessageRecorder log;
    QVERIFY(create(folder.path()));
    QCOMPARE(log.take(), isRead ? Messages() : Messages({fileNotJson(), positionMissing(), hideMissing()}));

    Handler handler(folder.filePath(manifestName), QString(), QString());
    handler.parseManifestFile();
    QCOMPARE(log.take(), isLoaded ? Messages() : Messages({tooDeep()}));
    QCOMPARE(handler.getManifestJsonArray().size(), isLoaded ? 1 : 0);
    if (isLoaded) {
        QCOMPARE(handler.getManifestJsonArray().first().toObject().contains(key), isRead);
    }
}

namespace {

constexpr int longestPath = PATH_MAX - 1;
// The name of a temporary file is that of the manifest, a dot and six letters.
constexpr int more = 7;

/// Lengths of manifest names and paths. `hasRoom` is true if the name of the temporary file fits as well.
constexpr struct {
    const char* name;
    int folderLength;
    int nameLength;
    bool hasRoom;
} longNames[] = {
    {"longest name", 300, NAME_MAX - more, true},
    {"too long for the temporary file's name", 300, NAME_MAX - more + 1, false},
    {"longest name of a file", 300, NAME_MAX, false},
    {"longest path", longestPath - more - 31, 30, true},
    {"too long for the temporary file's path", longestPath - more - 30, 30, false},
    {"longest path of a file", longestPath - 31, 30, false},
};

const char* kindOfTemporaryFile(bool unnamed)
{
    return unnamed ? "unnamed temporary file" : "named temporary file";
}

} // namespace

void tst_Scale::longNamesAreSavedUpToLimit_data()
{
    QTest::addColumn<int>("folderLength");
    QTest::addColumn<int>("nameLength");
    QTest::addColumn<bool>("unnamed");
    QTest::addColumn<bool>("isSaved");

    for (const auto& manifest : longNames) {
        for (const bool unnamed : {true, false}) {
            QTest::addRow("%s, %s", manifest.name, kindOfTemporaryFile(unnamed))
                << manifest.folderLength << manifest.nameLength << unnamed << manifest.hasRoom;
        }
    }
}

void tst_Scale::longNamesAreSavedUpToLimit()
{
    QFETCH(const int, folderLength);
    QFETCH(const int, nameLength);
    QFETCH(const bool, unnamed);
    QFETCH(const bool, isSaved);
    const QTemporaryDir directory(quickFolder());
    const QString folder = longFolder(directory.path(), folderLength);
    const QString name(nameLength, u'm');
    const QString path = folder + u'/' + name;
    const QByteArray content = compact({node(u"a"_qs)});
    writeFile(path, content);

    MessageRecorder log;
    Handler handler(path, QString(), QString());
    handler.parseManifestFile();
    {
        const FaultyCalls faulty(folder.toStdString(), faultsOfTheFileSystem(unnamed));
        QVERIFY(handler.setProperty(u"a"_qs, u"key"_qs, 1, true));
    }
    // An unnamed file gets its name only after the last check for errors.
    QCOMPARE(log.take(), isSaved || unnamed ? Messages() : Messages({fileCannotBeWritten(path)}));
    QCOMPARE(readFile(path), isSaved ? handler.getManifestContent() : content);
    QCOMPARE(everythingIn(folder), QStringList(name));
}

void tst_Scale::longNamesAreCreatedUpToLimit_data()
{
    QTest::addColumn<int>("folderLength");
    QTest::addColumn<int>("nameLength");
    QTest::addColumn<bool>("unnamed");
    QTest::addColumn<bool>("isMade");
    QTest::addColumn<bool>("isReplaced");

    for (const bool unnamed : {true, false}) {
        for (const auto& manifest : longNames) {
            QTest::addRow("%s, %s", manifest.name, kindOfTemporaryFile(unnamed))
                << manifest.folderLength << manifest.nameLength << unnamed << (manifest.hasRoom || unnamed)
                << manifest.hasRoom;
        }
        QTest::addRow("too long a name, %s", kindOfTemporaryFile(unnamed))
            << 300 << NAME_MAX + 1 << unnamed << false << false;
        QTest::addRow("too long a path, %s", kindOfTemporaryFile(unnamed))
            << longestPath - 30 << 30 << unnamed << false << false;
    }
}

void tst_Scale::longNamesAreCreatedUpToLimit()
{
    QFETCH(const int, folderLength);
    QFETCH(const int, nameLength);
    QFETCH(const bool, unnamed);
    QFETCH(const bool, isMade);
    QFETCH(const bool, isReplaced);
    const QTemporaryDir directory(quickFolder());
    const QString folder = longFolder(directory.path(), folderLength);
    const QString ending = u".manifest.json"_qs;
    const QString scheme(nameLength - ending.size(), u'm');
    const QString manifest = folder + u'/' + scheme + ending;
    const auto createThere = [&] {
        const FaultyCalls faulty(folder.toStdString(), faultsOfTheFileSystem(unnamed));
        return create(folder, scheme);
    };
    const bool isQuiet = isReplaced || unnamed;
    writeFile(folder + u"/a.process.json"_qs, plainDescription);

    MessageRecorder log;
    QCOMPARE(createThere(), isQuiet);
    const QByteArray first = readFile(manifest);
    QCOMPARE(first.contains("\"a\""), isMade);
    QVERIFY(QFile::rename(folder + u"/a.process.json"_qs, folder + u"/b.process.json"_qs));
    QCOMPARE(createThere(), isQuiet);
    QCOMPARE(readFile(manifest), isReplaced ? QByteArray(first).replace("\"a\"", "\"b\"") : first);
    QCOMPARE(everythingIn(folder).size(), isMade ? 2 : 1);
    const Message complaint = manifestCannotBeOpened(manifest);
    QCOMPARE(log.take(), isQuiet ? Messages() : Messages({complaint, complaint}));
}

MANIFEST_TEST_MAIN(tst_Scale)

#include "tst_scale.moc"
