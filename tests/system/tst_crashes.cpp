#include "ConfigurationManifestCreator.h"
#include "Elements.h"
#include "Files.h"
#include "Handlers.h"
#include "Literals.h"
#include "MessageRecorder.h"
#include "Patience.h"
#include "Process.h"
#include "QuickFolder.h"
#include "TestMain.h"
#include "faults/FaultyCalls.h"

#include <QtCore/QElapsedTimer>
#include <QtCore/QJsonDocument>
#include <QtCore/QThread>

#include <algorithm>
#include <array>
#include <memory>
#include <random>
#include <utility>

namespace {

const QString fileName = u"configuration.manifest.json"_qs;

/// The element that a writer saves as its `number`th state. Sizes alternate, so that a mixture of two states would
/// show.
QJsonObject state(const QString& writer, int number)
{
    const QChar letter(u'a' + number % 26);
    QJsonObject element = node(u"state"_qs);
    element.insert(u"writer"_qs, writer);
    element.insert(u"a number"_qs, number);
    element.insert(u"filler"_qs, QString(number % 2 == 0 ? 30 : 40000 + number % 7000, letter));
    element.insert(u"z number"_qs, number);
    return element;
}

bool save(Handler& handler, const QJsonObject& element)
{
    return handler.updateNode(u"state"_qs, element, true, true);
}

void saveForEver(const QString& path, const QString& writer)
{
    Handler handler(path, QString(), QString());
    // Repeat a load that fails because the other writer saves at the same time.
    while (handler.getManifestJsonArray().isEmpty()) {
        handler.parseManifestFile();
    }
    int number = handler.getManifestJsonArray().first().toObject().value(u"a number"_qs).toInt();
    while (save(handler, state(writer, ++number))) { }
}

/// The number of kills. MANIFEST_KILLS=2000 makes a long run.
int numberOfKills()
{
    const int number = qEnvironmentVariableIntValue("MANIFEST_KILLS");
    return number > 0 ? number : 100;
}

struct Place {
    Place()
        : folder(quickFolder())
        , path(folder.filePath(fileName))
    {
        writeFile(path, compact({state(u"one"_qs, 0)}));
    }

    QStringList leftovers() const
    {
        QStringList names = everythingIn(folder.path());
        names.removeAll(fileName);
        return names;
    }

    /// Whether the manifest has exactly this content; null means that there is no manifest.
    bool holds(const QByteArray& content) const
    {
        return content.isNull() ? !QFile::exists(path) : readFile(path) == content;
    }

    const QTemporaryDir folder;
    const QString path;
};

/// The number of the state in the content of a file; -1 if the content is not exactly one complete state.
int numberIn(const QByteArray& content)
{
    const QJsonObject element = QJsonDocument::fromJson(content).array().first().toObject();
    const int number = element.value(u"a number"_qs).toInt(-1);
    return content == compact({state(element.value(u"writer"_qs).toString(), number)}) ? number : -1;
}

} // namespace

class tst_Crashes : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void readersSeeOnlyWholeManifests_data();
    void readersSeeOnlyWholeManifests();
    void savesKilledBeforeAnyCallLeaveOldOrNewManifest_data();
    void savesKilledBeforeAnyCallLeaveOldOrNewManifest();
    void creationsKilledBeforeAnyCallLeaveOldOrNewManifest_data();
    void creationsKilledBeforeAnyCallLeaveOldOrNewManifest();
    void creationsKilledAtAnyMomentLeaveOldOrNewManifest_data();
    void creationsKilledAtAnyMomentLeaveOldOrNewManifest();
    void leftoversDisturbNothingAndStay();
};

void tst_Crashes::readersSeeOnlyWholeManifests_data()
{
    QTest::addColumn<QStringList>("writers");
    QTest::newRow("one writer") << QStringList {u"one"_qs};
    QTest::newRow("two writers") << QStringList {u"one"_qs, u"two"_qs};
}

void tst_Crashes::readersSeeOnlyWholeManifests()
{
    QFETCH(const QStringList, writers);

    const Place place;
    std::mt19937 engine(20240229);
    std::uniform_int_distribution<int> microseconds(0, 4000);
    int readings = 0;
    int changes = 0;
    int latest = 0;
    QByteArray content;
    const auto isGood = [&] {
        const QByteArray previousContent = std::exchange(content, readFile(place.path));
        ++readings;
        if (content == previousContent) {
            return true;
        }
        ++changes;
        const int previousNumber = std::exchange(latest, numberIn(content));
        // With one writer, the numbers never decrease.
        return latest >= (writers.size() == 1 ? previousNumber : 0);
    };

    for (int killed = 0; killed < numberOfKills(); ++killed) {
        std::vector<std::unique_ptr<Process>> processes;
        for (const QString& writer : writers) {
            processes.push_back(std::make_unique<Process>([&] { saveForEver(place.path, writer); }));
        }
        // Every second round waits for a save. Of the others, half end immediately.
        const bool waitsForChange = killed % 2 == 0;
        const int changesBefore = changes;
        const qint64 moment = killed % 4 == 1 ? 0 : microseconds(engine) * qint64(1000);
        QElapsedTimer timer;
        timer.start();
        while (timer.nsecsElapsed() < moment
            || (waitsForChange && changes == changesBefore && !timer.hasExpired(patience))) {
            QVERIFY2(isGood(), content.left(1000).constData());
        }
        QVERIFY(!waitsForChange || changes > changesBefore);
        processes.clear();
        QVERIFY2(isGood(), content.left(1000).constData());
    }

    qInfo("%d rounds: %d readings, %d of them new, the last one number %d; %d temporary files left behind",
        numberOfKills(), readings, changes, latest, place.leftovers().size());
    for (const QString& name : place.leftovers()) {
        QVERIFY2(isTemporaryFileOf(fileName, name), qPrintable(name));
    }
}

namespace {

/// The expected state of a folder after the process was killed before the `index`th call of an operation.
struct Progress {
    bool isDone = false;
    int leftovers = 0;
};

Progress progressBefore(std::size_t index, const std::vector<FaultyCalls::Call>& made, const Place& place)
{
    Progress progress;
    for (std::size_t i = 0; i < index; ++i) {
        const FaultyCalls::Call& call = made.at(i);
        const QString path = QString::fromStdString(call.path);
        if (call.result < 0) {
            continue;
        }
        if ((call.name == "make" || call.name == "link") && path.startsWith(place.path + u'.')) {
            ++progress.leftovers;
        } else if (call.name == "link" && path == place.path) {
            progress.isDone = true;
        } else if (call.name == "rename") {
            progress = {true, 0};
        }
    }
    return progress;
}

/// Runs the operation once for each of its calls and kills the process before that call. `makePlace` prepares the
/// folder, and `check` checks what is left in it.
template <typename MakePlace, typename Operation, typename Check>
void killBeforeEachCall(
    const std::vector<Fault>& always, const MakePlace& makePlace, const Operation& operation, const Check& check)
{
    std::vector<FaultyCalls::Call> made;
    {
        const auto place = makePlace();
        const FaultyCalls faulty(place->folder.path().toStdString(), always);
        operation(*place);
        made = faulty.made();
        for (FaultyCalls::Call& call : made) {
            // The path relative to the place.
            const QString path = QString::fromStdString(call.path);
            call.path = path.mid(place->folder.path().size()).toStdString();
        }
    }
    QMap<std::string, int> numbers;
    for (std::size_t index = 0; index < made.size(); ++index) {
        const int number = ++numbers[made[index].name];
        std::vector<Fault> faults = always;
        faults.push_back({made[index].name.c_str(), number, number, Fault::Killed});
        const auto place = makePlace();
        Process process([&] {
            const FaultyCalls faulty(place->folder.path().toStdString(), faults);
            operation(*place);
        });
        QVERIFY(!process.wait());

        std::vector<FaultyCalls::Call> here = made;
        for (FaultyCalls::Call& call : here) {
            call.path = place->folder.path().toStdString() + call.path;
        }
        const QByteArray where = QByteArray::fromStdString(made[index].name) + ' ' + QByteArray::number(number);
        check(*place, progressBefore(index, here, *place), where);
        if (QTest::currentTestFailed()) {
            return;
        }
    }
}

} // namespace

namespace {

/// After the new file has replaced the old one, the folder is looked up, opened, synced and closed.
constexpr int callsOfTheFolder = 4;

} // namespace

void tst_Crashes::savesKilledBeforeAnyCallLeaveOldOrNewManifest_data()
{
    QTest::addColumn<bool>("unnamed");
    QTest::addColumn<int>("number");
    QTest::newRow("unnamed temporary file, large") << true << 1;
    QTest::newRow("unnamed temporary file, small") << true << 2;
    QTest::newRow("named temporary file, large") << false << 1;
    QTest::newRow("named temporary file, small") << false << 2;
}

void tst_Crashes::savesKilledBeforeAnyCallLeaveOldOrNewManifest()
{
    QFETCH(const bool, unnamed);
    QFETCH(const int, number);

    int leftovers = 0;
    int before = 0;
    int after = 0;
    killBeforeEachCall(
        faultsOfTheFileSystem(unnamed), [] { return std::make_unique<Place>(); },
        [&](const Place& place) {
            Handler handler(place.path, QString(), QString());
            handler.setManifestJsonArray({state(u"one"_qs, 0)});
            save(handler, state(u"one"_qs, number));
        },
        [&](const Place& place, const Progress& progress, const QByteArray& where) {
            const int found = numberIn(readFile(place.path));
            QVERIFY2(found == (progress.isDone ? number : 0), where.constData());
            QVERIFY2(place.leftovers().size() == progress.leftovers, where.constData());
            leftovers += progress.leftovers;
            ++(progress.isDone ? after : before);
        });
    // An unnamed file is visible only between the link and the rename, so before two calls: the close and the rename.
    QVERIFY(unnamed ? leftovers == 2 : leftovers > 4);
    QVERIFY(before > 10);
    QCOMPARE(after, callsOfTheFolder);
}

namespace {

/// A place with folders of descriptions and, if `hasManifest` is true, an old manifest.
std::unique_ptr<Place> placeToScan(bool hasManifest, int folders, int filesInEach)
{
    auto place = std::make_unique<Place>();
    if (!hasManifest) {
        QFile::remove(place->path);
    }
    const QByteArray label(2000, 'x');
    for (int folder = 0; folder < folders; ++folder) {
        const QString path = place->folder.filePath(u"Net%1/"_qs.arg(folder));
        writeFile(path + u"Folder.menu.json"_qs, R"({"displayPosition":1})");
        for (int file = 1; file < filesInEach; ++file) {
            writeFile(path + u"a%1.config.json"_qs.arg(file),
                R"({"displayPosition":1,"hide":false,"labelTextId":")" + label + R"("})");
        }
    }
    return place;
}

bool create(const Place& place)
{
    return ConfigurationManifestCreator().create2(place.folder.path(), u"configuration"_qs);
}

void addCreations()
{
    QTest::addColumn<bool>("replaces");
    QTest::addColumn<bool>("unnamed");
    QTest::newRow("old manifest, unnamed temporary file") << true << true;
    QTest::newRow("old manifest, named temporary file") << true << false;
    QTest::newRow("no manifest, unnamed temporary file") << false << true;
    QTest::newRow("no manifest, named temporary file") << false << false;
}

} // namespace

void tst_Crashes::creationsKilledBeforeAnyCallLeaveOldOrNewManifest_data()
{
    addCreations();
}

void tst_Crashes::creationsKilledBeforeAnyCallLeaveOldOrNewManifest()
{
    QFETCH(const bool, replaces);
    QFETCH(const bool, unnamed);

    const auto makePlace = [&] { return placeToScan(replaces, 1, 2); };
    const auto untroubled = makePlace();
    const QByteArray old = readFile(untroubled->path);
    QVERIFY(create(*untroubled));
    const QByteArray whole = readFile(untroubled->path);
    QVERIFY(whole.contains("Net0/a1"));

    int leftovers = 0;
    int before = 0;
    int after = 0;
    killBeforeEachCall(faultsOfTheFileSystem(unnamed), makePlace, create,
        [&](const Place& place, const Progress& progress, const QByteArray& where) {
            QVERIFY2(place.holds(progress.isDone ? whole : old), where.constData());
            QStringList names = place.leftovers();
            QVERIFY2(names.removeOne(u"Net0"_qs) && names.size() == progress.leftovers, where.constData());
            leftovers += progress.leftovers;
            ++(progress.isDone ? after : before);
        });
    QVERIFY(unnamed ? leftovers == (replaces ? 2 : 0) : leftovers > 4);
    QVERIFY(before > 20);
    // If there was no manifest, an unnamed file is linked directly to its final name and then closed, which is one call
    // more.
    QCOMPARE(after, callsOfTheFolder + (unnamed && !replaces ? 1 : 0));
}

void tst_Crashes::creationsKilledAtAnyMomentLeaveOldOrNewManifest_data()
{
    addCreations();
}

void tst_Crashes::creationsKilledAtAnyMomentLeaveOldOrNewManifest()
{
    QFETCH(const bool, replaces);
    QFETCH(const bool, unnamed);

    const auto makePlace = [&] { return placeToScan(replaces, 6, 10); };
    const auto creationIn = [&](const Place& place) {
        return std::make_unique<Process>([&] {
            const FaultyCalls faulty(place.folder.path().toStdString(), faultsOfTheFileSystem(unnamed));
            create(place);
        });
    };
    const auto untroubled = makePlace();
    const QByteArray old = readFile(untroubled->path);
    const QStringList folders = untroubled->leftovers();
    QVERIFY(create(*untroubled));
    const QByteArray whole = readFile(untroubled->path);
    QVERIFY(whole.contains("Net5/a9"));

    std::array<qint64, 5> durations;
    for (qint64& duration : durations) {
        const auto place = makePlace();
        QElapsedTimer timer;
        timer.start();
        QVERIFY(creationIn(*place)->wait());
        duration = timer.nsecsElapsed() / 1000;
        QVERIFY(place->holds(whole));
        QCOMPARE(place->leftovers(), folders);
    }
    std::sort(durations.begin(), durations.end());
    const qint64 duration = durations[durations.size() / 2];

    std::mt19937 engine(20240301);
    // Some moments are after the end of the creation.
    std::uniform_int_distribution<qint64> microseconds(0, duration + duration / 5);
    int cutShort = 0;
    int temporaryFiles = 0;
    for (int killed = 0; killed < numberOfKills(); ++killed) {
        const auto place = makePlace();
        const qint64 moment = microseconds(engine);
        const auto creation = creationIn(*place);
        QThread::usleep(static_cast<unsigned long>(moment));
        creation->end();
        const QByteArray where = QByteArray::number(moment) + " of " + QByteArray::number(duration);
        const bool isOld = place->holds(old);
        QVERIFY2(isOld || place->holds(whole), where.constData());
        cutShort += isOld;
        QStringList leftovers = place->leftovers();
        const auto isTemporaryFile = [](const QString& name) { return isTemporaryFileOf(fileName, name); };
        const auto end = std::remove_if(leftovers.begin(), leftovers.end(), isTemporaryFile);
        temporaryFiles += static_cast<int>(leftovers.end() - end);
        leftovers.erase(end, leftovers.end());
        QCOMPARE(leftovers, folders);
    }
    QVERIFY(cutShort > 0);
    qInfo("%d creations of %lld microseconds: %d cut short, %d temporary files left behind", numberOfKills(), duration,
        cutShort, temporaryFiles);
}

void tst_Crashes::leftoversDisturbNothingAndStay()
{
    const Place place;
    const QString leftover = fileName + u".Abcdef"_qs;
    writeFile(place.folder.filePath(u"a.config.json"_qs), R"({"displayPosition":1,"hide":false})");
    writeFile(place.folder.filePath(leftover), "[{\"half");

    MessageRecorder log;
    QVERIFY(ConfigurationManifestCreator().create2(place.folder.path(), u"configuration"_qs));
    Handler handler(place.path, QString(), QString());
    handler.parseManifestFile();
    QStringList names;
    QVERIFY(handler.getListOfInstances(QString(), names));
    QCOMPARE(names, QStringList(u"a"_qs));
    QVERIFY(handler.setProperty(u"a"_qs, u"key"_qs, 1, true));
    QCOMPARE(log.take(), Messages());
    QCOMPARE(readFile(place.path), handler.getManifestContent());
    QCOMPARE(readFile(place.folder.filePath(leftover)), QByteArray("[{\"half"));
}

MANIFEST_TEST_MAIN(tst_Crashes)

#include "tst_crashes.moc"
