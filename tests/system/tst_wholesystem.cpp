#include "ConfigurationManifestCreator.h"
#include "ConfigurationManifestHandler.h"
#include "Files.h"
#include "Literals.h"
#include "MessageRecorder.h"
#include "Patience.h"
#include "TestMain.h"

#include <QtCore/QDirIterator>
#include <QtCore/QJsonDocument>
#include <QtCore/QProcess>
#include <QtCore/QTemporaryDir>

namespace {

QByteArray expectedManifest(const QString& scheme)
{
    return readFile(QStringLiteral(TEST_DATA "/example.%1.manifest.json").arg(scheme));
}

void copyTree(const QString& from, const QString& to)
{
    QDirIterator files(from, QDir::Files | QDir::Hidden, QDirIterator::Subdirectories);
    while (files.hasNext()) {
        const QString file = files.next();
        writeFile(to + file.mid(from.size()), readFile(file));
    }
}

} // namespace

// Tests the classes together on real folders.
class tst_WholeSystem : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void typicalRunGivesKnownManifest();
    void exampleTreeGivesKnownManifests_data();
    void exampleTreeGivesKnownManifests();
    void manifestOfExampleSurvivesLoadingAndSaving();
    void smallestProgramCreatesListsAndEdits();
};

void tst_WholeSystem::typicalRunGivesKnownManifest()
{
    const QTemporaryDir base;
    const QString folder = base.filePath(u"configuration"_qs);
    const QString path = folder + u"/configuration.manifest.json"_qs;
    writeFile(folder + u"/a.config.json"_qs, "{\"displayPosition\":1,\"hide\":false}");
    writeFile(folder + u"/main.config.json"_qs, "{\"displayPosition\":2,\"hide\":true}");
    writeFile(folder + u"/Net/Folder.menu.json"_qs, "{\"displayPosition\":1}");
    writeFile(folder + u"/Net/port.config.json"_qs, "{\"displayPosition\":1,\"hide\":false}");
    writeFile(folder + u"/readme.txt"_qs, "text");

    MessageRecorder log;
    QVERIFY(ConfigurationManifestCreator().create(base.path()));
    ConfigurationManifestHandler handler(path, u"Drives"_qs, u"drive1"_qs);
    handler.parseManifestFile();
    QVERIFY(handler.setProperty(u"Net/port"_qs, u"iconName"_qs, u"plug"_qs, true));

    const auto selection = [](const char* name, const char* hide, const char* icon) -> QByteArray {
        return QByteArrayLiteral("{\"closeMode\":\"Manual\",\"dataModel\":\"\",\"hide\":") + hide + ",\"iconName\":\""
            + icon + "\",\"instanceName\":\"" + name
            + "\",\"labelTextId\":\"\",\"lastModified\":\"\",\"moduleName\":\"Drives\",\"objectName\":\"drive1\","
              "\"selectionType\":\"Selection\",\"uiJob\":\"OpenConfiguration\"}";
    };
    const QByteArray expected = '[' + selection("a", "false", "") + ',' + selection("main", "true", "")
        + ",{\"dataSourceType\":\"JsonData\",\"instanceName\":\"Net\",\"selectionType\":\"Node\","
          "\"substructure\":["
        + selection("Net/port", "false", "plug") + "]}]";
    QCOMPARE(readFile(path), expected);
}

void tst_WholeSystem::exampleTreeGivesKnownManifests_data()
{
    QTest::addColumn<QString>("scheme");
    QTest::addColumn<int>("messages");
    QTest::newRow("configuration") << u"configuration"_qs << 35;
    QTest::newRow("process") << u"process"_qs << 12;
}

void tst_WholeSystem::exampleTreeGivesKnownManifests()
{
    QFETCH(const QString, scheme);
    QFETCH(const int, messages);
    const QTemporaryDir base;
    copyTree(QStringLiteral(EXAMPLE_TREE), base.path());
    const QString folder = base.filePath(u"configuration"_qs);
    MessageRecorder log;
    QVERIFY(ConfigurationManifestCreator().create2(folder, scheme));
    QCOMPARE(log.take().size(), messages);
    const QByteArray manifest = readFile(folder + u'/' + scheme + u".manifest.json"_qs);
    QCOMPARE(manifest, expectedManifest(scheme));
    // Bytes are compared, so that no difference in reading or writing is hidden.
    QCOMPARE(QJsonDocument::fromJson(manifest).toJson(QJsonDocument::Compact), manifest);
}

void tst_WholeSystem::manifestOfExampleSurvivesLoadingAndSaving()
{
    const QTemporaryDir folder;
    const QString path = folder.filePath(u"configuration.manifest.json"_qs);
    writeFile(path, expectedManifest(u"configuration"_qs));
    MessageRecorder log;
    ConfigurationManifestHandler handler(path, QString(), QString());
    handler.parseManifestFile();
    handler.writeToManifestFile();
    QCOMPARE(readFile(path), expectedManifest(u"configuration"_qs));
}

void tst_WholeSystem::smallestProgramCreatesListsAndEdits()
{
    const QTemporaryDir folder;
    writeFile(folder.filePath(u"a.config.json"_qs), "{\"displayPosition\":2,\"hide\":false}");
    writeFile(folder.filePath(u"b.config.json"_qs), "{\"displayPosition\":1,\"hide\":false}");
    QProcess program;
    program.start(QStringLiteral(EMBEDDING), QStringList(folder.path()));
    QVERIFY(program.waitForFinished(patience));
    QCOMPARE(program.exitCode(), 0);
    QCOMPARE(program.readAllStandardError(), QByteArray());
    QCOMPARE(program.readAllStandardOutput(), QByteArrayLiteral("b\na\n"));
    const QJsonArray manifest =
        QJsonDocument::fromJson(readFile(folder.filePath(u"configuration.manifest.json"_qs))).array();
    QCOMPARE(manifest.size(), 2);
    QCOMPARE(manifest.at(0)[u"hide"_qs], QJsonValue(true));
    QCOMPARE(manifest.at(1)[u"hide"_qs], QJsonValue(false));
    QCOMPARE(manifest.at(1)[u"objectName"_qs], QJsonValue(u"device1"_qs));
}

MANIFEST_TEST_MAIN(tst_WholeSystem)

#include "tst_wholesystem.moc"
