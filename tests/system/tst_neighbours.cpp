#include "Elements.h"
#include "Files.h"
#include "Handlers.h"
#include "Literals.h"
#include "MessageRecorder.h"
#include "Process.h"
#include "QuickFolder.h"
#include "TestMain.h"

#include <QtCore/QElapsedTimer>

#include <algorithm>
#include <memory>
#include <vector>

#include <fcntl.h>
#include <unistd.h>

// Processes that use one manifest at the same time, without locks. The last save wins, but every load finds the
// complete manifest of some save.

namespace {

constexpr int nodes = 20;

/// How long the processes work on one file. MANIFEST_NEIGHBOUR_SECONDS=60 makes a long run, and
/// MANIFEST_NEIGHBOUR_FOLDER sets the folder.
qint64 milliseconds()
{
    const int seconds = qEnvironmentVariableIntValue("MANIFEST_NEIGHBOUR_SECONDS");
    return seconds > 0 ? 1000 * qint64(seconds) : 2000;
}

QString place()
{
    const QString folder = qEnvironmentVariable("MANIFEST_NEIGHBOUR_FOLDER");
    return folder.isEmpty() ? quickFolder() : folder + u"/manifest-XXXXXX"_qs;
}

QJsonArray allNodes()
{
    QJsonArray manifest;
    for (int i = 0; i < nodes; ++i) {
        manifest.append(node(u"node%1"_qs.arg(i), {selection(u"child"_qs)}));
    }
    return manifest;
}

/// Whether a manifest holds each of the nodes once, in any order.
bool isWhole(const QJsonArray& manifest)
{
    QStringList names;
    for (const QJsonValue& element : manifest) {
        names.append(element.toObject().value(u"instanceName"_qs).toString());
    }
    names.removeDuplicates();
    const auto isNode = [](const QString& name) { return name.startsWith(u"node"_qs); };
    return manifest.size() == nodes && names.size() == nodes && std::all_of(names.begin(), names.end(), isNode);
}

/// Ends a process at its first message.
void failWithAnyMessage()
{
    qInstallMessageHandler([](QtMsgType, const QMessageLogContext&, const QString& text) {
        fprintf(stderr, "unexpected message: %s\n", qPrintable(text));
        _exit(EXIT_FAILURE);
    });
}

void loadMoveAndSave(const QString& path, int seed)
{
    failWithAnyMessage();
    Handler handler(path, QString(), QString());
    unsigned random = static_cast<unsigned>(seed);
    QElapsedTimer timer;
    timer.start();
    for (int round = 0; timer.elapsed() < milliseconds(); ++round) {
        handler.parseManifestFile();
        random = random * 1103515245 + 12345;
        const int which = static_cast<int>(random >> 16) % nodes;
        if (!isWhole(handler.getManifestJsonArray())
            || !handler.moveNode(u"node%1"_qs.arg(which), round % nodes, true)) {
            fprintf(stderr, "round %d: %s\n", round, handler.getManifestContent().left(100).constData());
            _exit(EXIT_FAILURE);
        }
    }
}

} // namespace

class tst_Neighbours : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void saversFindEachOthersManifestsWhole_data();
    void saversFindEachOthersManifestsWhole();
    void loaderBesideBusyReplacerNeverMissesManifest();
};

void tst_Neighbours::saversFindEachOthersManifestsWhole_data()
{
    QTest::addColumn<int>("processes");
    QTest::newRow("two") << 2;
    QTest::newRow("four") << 4;
}

void tst_Neighbours::saversFindEachOthersManifestsWhole()
{
    QFETCH(const int, processes);
    const QTemporaryDir folder(place());
    const QString path = folder.filePath(u"manifest.json"_qs);
    writeFile(path, compact(allNodes()));

    std::vector<std::unique_ptr<Process>> savers;
    for (int i = 0; i < processes; ++i) {
        savers.push_back(std::make_unique<Process>([&path, i] { loadMoveAndSave(path, i); }));
    }
    bool allWell = true;
    for (const auto& saver : savers) {
        allWell = saver->wait() && allWell;
    }
    QVERIFY(allWell);
    QVERIFY(isWhole(arrayFrom(readFile(path).constData())));
    QCOMPARE(everythingIn(folder.path()), QStringList(u"manifest.json"_qs));
}

void tst_Neighbours::loaderBesideBusyReplacerNeverMissesManifest()
{
    const QTemporaryDir folder(place());
    const QString path = folder.filePath(u"manifest.json"_qs);
    writeFile(path, compact(allNodes()));
    // Replaces the file as fast as possible, so that look-ups happen during replacements.
    const QByteArray manifest = QFile::encodeName(path);
    const QByteArray next = manifest + ".next";
    Process replacer([&] {
        const QByteArray content = readFile(path);
        while (true) {
            const int file = open(next.constData(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
            if (write(file, content.constData(), static_cast<size_t>(content.size())) != content.size()
                || close(file) != 0 || rename(next.constData(), manifest.constData()) != 0) {
                _exit(EXIT_FAILURE);
            }
        }
    });

    int loads = 0;
    {
        MessageRecorder log;
        Handler handler(path, QString(), QString());
        QElapsedTimer timer;
        timer.start();
        for (; timer.elapsed() < milliseconds(); ++loads) {
            handler.parseManifestFile();
            QVERIFY(isWhole(handler.getManifestJsonArray()));
        }
        QCOMPARE(log.take(), Messages());
    }
    qInfo("%d loads", loads);
}

MANIFEST_TEST_MAIN(tst_Neighbours)

#include "tst_neighbours.moc"
