#include "ConfigurationManifestCreator.h"
#include "Elements.h"
#include "Files.h"
#include "Handlers.h"
#include "LibraryMessages.h"
#include "Literals.h"
#include "MessageRecorder.h"
#include "TestMain.h"
#include "faults/FaultyCalls.h"

#include <QtCore/QByteArrayList>
#include <QtCore/QDir>
#include <QtCore/QFileInfo>
#include <QtCore/QSharedPointer>
#include <QtCore/QTemporaryDir>

#include <algorithm>
#include <cerrno>
#include <functional>

#include <sys/stat.h>

// Every way to save is combined with every reason to fail. Failures of single system calls are in tst_faults.

namespace {

const QString name = u"configuration.manifest.json"_qs;
const QByteArray previous = "[{\"instanceName\":\"a\",\"selectionType\":\"Node\"} ]\n";

void setMode(const QString& path, mode_t mode)
{
    if (chmod(qPrintable(path), mode) != 0) {
        qFatal("cannot change the permissions of %s", qPrintable(path));
    }
}

/// A folder that every user may read, with a manifest.
class Place {
public:
    Place()
    {
        setMode(directory.path(), 0755);
        QDir(directory.path()).mkdir(u"cfg"_qs);
        writeFile(manifest(), previous);
        // Every user may write to the file itself.
        setMode(manifest(), 0666);
    }
    QString folder() const
    {
        return directory.filePath(u"cfg"_qs);
    }
    QString manifest() const
    {
        return folder() + u'/' + name;
    }

private:
    const QTemporaryDir directory;
};

/// One way to save a manifest over the previous one.
class Way {
public:
    virtual ~Way() = default;
    /// Prepares a manifest of `size` bytes to be saved.
    virtual void prepare(const Place& place, int size) = 0;
    virtual bool save() = 0;
    virtual bool saveAgain() = 0;
    /// The content that a save writes.
    virtual QByteArray content() const = 0;
    /// Whether the result is true even when the save fails.
    virtual bool hidesFailures() const = 0;
    virtual Message notOpened(const Place& place) const = 0;
    virtual Message notWritten(int size, int room) const = 0;
    /// Checks the state in memory after a save, whether it failed or not.
    virtual void checkMemory() const
    {
    }
};

enum class State { Unmodified, Modified };

/// A handler that saves what it holds.
class HandlerSave : public Way {
public:
    explicit HandlerSave(State stateBefore)
        : state(stateBefore)
    {
    }
    void prepare(const Place& place, int size) override
    {
        handler.reset(new Handler(place.manifest(), QString(), QString()));
        handler->parseManifestFile();
        text = QString(size - compact({with(node(u"a"_qs), u"text"_qs, QString())}).size(), u'x');
        change();
    }
    bool save() override
    {
        return saveAgain();
    }
    bool saveAgain() override
    {
        handler->writeToManifestFile();
        return true;
    }
    QByteArray content() const override
    {
        return compact({with(node(u"a"_qs), u"text"_qs, text)});
    }
    bool hidesFailures() const override
    {
        return true;
    }
    Message notOpened(const Place& place) const override
    {
        return fileCannotBeWritten(place.manifest());
    }
    Message notWritten(int, int) const override
    {
        return fileNotWrittenCompletely();
    }
    void checkMemory() const override
    {
        QCOMPARE(handler->getManifestContent(), content());
        QCOMPARE(handler->getModified(), state == State::Modified);
    }

protected:
    QSharedPointer<Handler> handler;
    QString text;

private:
    virtual void change()
    {
        if (state == State::Modified) {
            QVERIFY(handler->moveNode(u"a"_qs, 0, false));
        }
        handler->setManifestJsonArray({with(node(u"a"_qs), u"text"_qs, text)});
    }

    const State state;
};

/// An edit that is asked to save.
class EditWithSave : public HandlerSave {
public:
    EditWithSave()
        : HandlerSave(State::Modified)
    {
    }
    bool save() override
    {
        return handler->setProperty(u"a"_qs, u"text"_qs, text, true);
    }

private:
    void change() override
    {
    }
};

/// A creator that scans a folder again.
class Creation : public Way {
public:
    void prepare(const Place& place, int size) override
    {
        folder = place.folder();
        writeFile(folder + u"/n/f.config.json"_qs, R"({"displayPosition":1,"hide":false})");
        describe(0);
        save();
        describe(size - readFile(place.manifest()).size());
        save();
        saved = readFile(place.manifest());
        writeFile(place.manifest(), previous);
    }
    bool save() override
    {
        return ConfigurationManifestCreator().create2(folder, u"configuration"_qs);
    }
    bool saveAgain() override
    {
        return save();
    }
    QByteArray content() const override
    {
        return saved;
    }
    bool hidesFailures() const override
    {
        return false;
    }
    Message notOpened(const Place& place) const override
    {
        return manifestCannotBeOpened(place.manifest());
    }
    Message notWritten(int size, int room) const override
    {
        return manifestNotWrittenCompletely(size > bufferSize && room > 0 ? room : -1, size);
    }

private:
    void describe(int padding) const
    {
        writeFile(
            folder + u"/n/Folder.menu.json"_qs, R"({"displayPosition":1,"text":")" + QByteArray(padding, 'x') + "\"}");
    }

    /// Longer documents bypass the buffer of QFile, so the number of bytes written is known.
    static constexpr int bufferSize = 16384;
    QString folder;
    QByteArray saved;
};

using Save = std::function<bool()>;

enum class Outcome { Saved, NotOpened, NotWritten, Unnoticed };

/// A cause of failing saves, and the expected outcome.
struct Trouble {
    Outcome outcome;
    bool (*around)(const Place& place, const Save& save, int room);
    /// The number of bytes that fit on the disk.
    int room;
};

bool onFullDisk(const Place&, const Save& save, int room)
{
    const FileSizeLimit disk(static_cast<unsigned long>(room));
    return save();
}

bool inReadOnlyFolder(const Place& place, const Save& save, int)
{
    setMode(place.folder(), 0555);
    bool result = false;
    {
        const AsOrdinaryUser user;
        result = save();
    }
    setMode(place.folder(), 0755);
    return result;
}

bool overFolder(const Place& place, const Save& save, int)
{
    const QString description = u"Folder.menu.json"_qs;
    QFile::remove(place.manifest());
    writeFile(place.manifest() + u'/' + description, R"({"displayPosition":1})");
    const bool result = save();
    if (everythingIn(place.manifest()) != QStringList(description)) {
        qFatal("the folder was changed");
    }
    QDir(place.manifest()).removeRecursively();
    writeFile(place.manifest(), previous);
    return result;
}

bool withoutRename(const Place& place, const Save& save, int)
{
    const FaultyCalls faulty(place.folder().toStdString(), {{"rename", 1, 1, EPERM}});
    return save();
}

using Ways = QVector<QPair<const char*, QSharedPointer<Way>>>;

Ways allWays()
{
    return {{"save", QSharedPointer<Way>(new HandlerSave(State::Unmodified))},
        {"save, modified", QSharedPointer<Way>(new HandlerSave(State::Modified))},
        {"edit", QSharedPointer<Way>(new EditWithSave)}, {"create", QSharedPointer<Way>(new Creation)}};
}

} // namespace

Q_DECLARE_METATYPE(QSharedPointer<Way>)
Q_DECLARE_METATYPE(Trouble)

class tst_FailedSaves : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void failedSaveKeepsOldFile_data();
    void failedSaveKeepsOldFile();
    void handlerNeverCreatesFile_data();
    void handlerNeverCreatesFile();
    void failedFirstSaveLeavesNothing();
    void onlyHandlerReportsFailureBeforeTemporaryFileIsRemoved_data();
    void onlyHandlerReportsFailureBeforeTemporaryFileIsRemoved();
};

void tst_FailedSaves::failedSaveKeepsOldFile_data()
{
    QTest::addColumn<QSharedPointer<Way>>("way");
    QTest::addColumn<int>("size");
    QTest::addColumn<Trouble>("trouble");

    const Ways ways = allWays();
    for (const auto& [wayName, way] : ways) {
        // QFile buffers up to 16 KiB; longer documents are written directly.
        for (const int size : {400, 16384, 16385, 40000}) {
            const auto addRoom = [&, wayName = wayName, way = way](const char* room, Outcome outcome, int bytes) {
                QTest::addRow("%s, %d bytes, %s", wayName, size, room)
                    << way << size << Trouble {outcome, onFullDisk, bytes};
            };
            addRoom("no room", Outcome::NotWritten, 0);
            addRoom("half the room", Outcome::NotWritten, size / 2);
            addRoom("room for all but one", Outcome::NotWritten, size - 1);
            addRoom("just enough room", Outcome::Saved, size);
        }
        QTest::addRow("%s, read-only folder", wayName)
            << way << 400 << Trouble {Outcome::NotOpened, inReadOnlyFolder, 0};
        QTest::addRow("%s, folder in place of file", wayName)
            << way << 400 << Trouble {Outcome::NotOpened, overFolder, 0};
        QTest::addRow("%s, failed replacement", wayName)
            << way << 400 << Trouble {Outcome::Unnoticed, withoutRename, 0};
    }
}

void tst_FailedSaves::failedSaveKeepsOldFile()
{
    QFETCH(const QSharedPointer<Way>, way);
    QFETCH(const int, size);
    QFETCH(const Trouble, trouble);

    const Place place;
    MessageRecorder log;
    way->prepare(place, size);
    QCOMPARE(way->content().size(), size);
    QCOMPARE(readFile(place.manifest()), previous);
    QCOMPARE(log.take(), Messages());
    const QStringList before = everythingIn(place.folder());

    const bool result = trouble.around(
        place, [&] { return way->save(); }, trouble.room);
    const bool isReported = trouble.outcome == Outcome::NotOpened || trouble.outcome == Outcome::NotWritten;
    QCOMPARE(result, way->hidesFailures() || !isReported);
    if (trouble.outcome == Outcome::NotOpened) {
        QCOMPARE(log.take(), Messages({way->notOpened(place)}));
    } else if (trouble.outcome == Outcome::NotWritten) {
        QCOMPARE(log.take(), Messages({way->notWritten(size, trouble.room)}));
    }
    QCOMPARE(log.take(), Messages());
    QCOMPARE(readFile(place.manifest()), trouble.outcome == Outcome::Saved ? way->content() : previous);
    QCOMPARE(everythingIn(place.folder()), before);
    way->checkMemory();

    // The next save succeeds and writes what this one could not.
    QVERIFY(way->saveAgain());
    QCOMPARE(log.take(), Messages());
    QCOMPARE(readFile(place.manifest()), way->content());
    QCOMPARE(everythingIn(place.folder()), before);
    way->checkMemory();
}

void tst_FailedSaves::handlerNeverCreatesFile_data()
{
    QTest::addColumn<QString>("path");
    QTest::newRow("no file") << "missing.json";
    QTest::newRow("no folder") << "missing/manifest.json";
    QTest::newRow("link that leads nowhere") << "dangling.json";
    QTest::newRow("removed after loading") << "removed.json";
    QTest::newRow("folder removed after loading") << "removed/manifest.json";
}

void tst_FailedSaves::handlerNeverCreatesFile()
{
    QFETCH(const QString, path);
    const QTemporaryDir folder;
    QVERIFY(QFile::link(u"nowhere.json"_qs, folder.filePath(u"dangling.json"_qs)));
    const QStringList before = everythingIn(folder.path());
    MessageRecorder log;
    Handler handler(folder.filePath(path), QString(), QString());
    if (path.startsWith(u"removed"_qs)) {
        writeFile(folder.filePath(path), previous);
        handler.parseManifestFile();
        QVERIFY(QFile::remove(folder.filePath(path)));
        QDir(folder.path()).rmdir(u"removed"_qs);
    } else {
        handler.setManifestJsonArray({node(u"a"_qs)});
    }
    handler.writeToManifestFile();
    QCOMPARE(log.take(), Messages({fileToSaveIsMissing()}));
    QCOMPARE(everythingIn(folder.path()), before);

    // A failed save does not change the result of an edit.
    QCOMPARE(handler.setProperty(u"a"_qs, u"key"_qs, 1, true), true);
    QCOMPARE(log.take(), Messages({fileToSaveIsMissing()}));
    QCOMPARE(handler.getModified(), true);
    QCOMPARE(handler.getManifestContent(), compact({with(node(u"a"_qs), u"key"_qs, 1)}));
    QCOMPARE(everythingIn(folder.path()), before);
}

void tst_FailedSaves::failedFirstSaveLeavesNothing()
{
    const QTemporaryDir folder;
    QVERIFY(QDir(folder.path()).mkdir(u"empty"_qs));
    MessageRecorder log;
    bool result = true;
    {
        const FileSizeLimit nothing(0);
        result = ConfigurationManifestCreator().create2(folder.path(), u"configuration"_qs);
    }
    QVERIFY(!result);
    QCOMPARE(log.take(), Messages({noFolderDescription(), positionMissing(), manifestNotWrittenCompletely(-1, 2)}));
    QCOMPARE(everythingIn(folder.path()), QStringList(u"empty"_qs));
}

void tst_FailedSaves::onlyHandlerReportsFailureBeforeTemporaryFileIsRemoved_data()
{
    QTest::addColumn<QSharedPointer<Way>>("way");
    QTest::addColumn<bool>("isThere");
    for (const auto& [wayName, way] : allWays()) {
        QTest::newRow(wayName) << way << way->hidesFailures();
    }
}

void tst_FailedSaves::onlyHandlerReportsFailureBeforeTemporaryFileIsRemoved()
{
    QFETCH(const QSharedPointer<Way>, way);
    QFETCH(const bool, isThere);
    const Place place;
    way->prepare(place, 400);
    const QStringList before = everythingIn(place.folder());

    // The message handler records the names in the folder and the content of the manifest.
    static const Place* saved;
    static QVector<QStringList> names;
    static QByteArrayList contents;
    saved = &place;
    names.clear();
    contents.clear();
    bool hadTemporaryFile = false;
    {
        std::vector<Fault> faults = faultsOfTheFileSystem(false);
        faults.push_back({"write", 1, 1, ENOSPC});
        const FaultyCalls faulty(place.folder().toStdString(), faults);
        const QtMessageHandler formerHandler =
            qInstallMessageHandler([](QtMsgType, const QMessageLogContext&, const QString&) {
                names.append(everythingIn(saved->folder()));
                contents.append(readFile(saved->manifest()));
            });
        way->save();
        qInstallMessageHandler(formerHandler);
        hadTemporaryFile = std::any_of(faulty.made().begin(), faulty.made().end(), [](const FaultyCalls::Call& call) {
            return call.name == "make" && call.result >= 0
                && isTemporaryFileOf(name, QFileInfo(QString::fromStdString(call.path)).fileName());
        });
    }
    QVERIFY(hadTemporaryFile);
    QCOMPARE(contents, QByteArrayList({previous}));
    QStringList temporary = names.first();
    for (const QString& one : before) {
        QVERIFY(temporary.removeOne(one));
    }
    QCOMPARE(temporary.size(), isThere ? 1 : 0);
    QVERIFY(!isThere || isTemporaryFileOf(name, temporary.first()));
    QCOMPARE(readFile(place.manifest()), previous);
    QCOMPARE(everythingIn(place.folder()), before);
}

MANIFEST_TEST_MAIN(tst_FailedSaves)

#include "tst_failedsaves.moc"
