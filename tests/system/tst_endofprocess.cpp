#include "Files.h"
#include "Literals.h"
#include "Patience.h"
#include "TestMain.h"

#include <QtCore/QProcess>
#include <QtCore/QTemporaryDir>

namespace {

/// The standard output of a program, or how it ended if it failed.
QByteArray outputOf(const char* program, const QStringList& arguments)
{
    QProcess process;
    process.start(QString::fromLocal8Bit(program), arguments);
    if (!process.waitForFinished(patience)) {
        return "did not end";
    }
    if (process.exitStatus() != QProcess::NormalExit || process.exitCode() != 0) {
        return "crashed: " + process.readAllStandardOutput() + process.readAllStandardError();
    }
    return process.readAllStandardOutput();
}

/// A folder with one description. useLibraryIn() makes four elements: one from the description, two additions to the
/// manifest, and one outside of it.
class FolderToScan {
public:
    FolderToScan()
    {
        writeFile(path() + u"/a.config.json"_qs, R"({"displayPosition":1,"hide":false})");
    }
    QString path() const
    {
        return directory.path();
    }

private:
    const QTemporaryDir directory;
};

} // namespace

class tst_EndOfProcess : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void libraryWorksWhileStaticObjectsAreDestroyed_data();
    void libraryWorksWhileStaticObjectsAreDestroyed();
#ifndef MEMORY_CHECKED
    void reopeningLosesNoMemory();
#endif
};

void tst_EndOfProcess::libraryWorksWhileStaticObjectsAreDestroyed_data()
{
    QTest::addColumn<QString>("moment");
    QTest::newRow("in the destructor of an object made before the library's") << u"before"_qs;
    QTest::newRow("in the destructor of an object made after the library's") << u"after"_qs;
    QTest::newRow("in a handler of the exit") << u"atexit"_qs;
    QTest::newRow("on a thread that still scans") << u"thread"_qs;
}

void tst_EndOfProcess::libraryWorksWhileStaticObjectsAreDestroyed()
{
    QFETCH(const QString, moment);
    const FolderToScan folder;
    QCOMPARE(outputOf(END_OF_PROCESS, {moment, folder.path()}), QByteArray("4 elements\n4 elements\n"));
}

#ifndef MEMORY_CHECKED
void tst_EndOfProcess::reopeningLosesNoMemory()
{
    const FolderToScan folder;
    const QByteArray output = outputOf(REOPENING, {QStringLiteral(MODULE), folder.path()});
    bool isNumber = false;
    const int bytes = output.trimmed().toInt(&isNumber);
    QVERIFY2(isNumber, output.constData());
    // One selection without a description takes 500 bytes, so not even one may be lost.
    QVERIFY2(bytes < 400, output.constData());
}
#endif

MANIFEST_TEST_MAIN(tst_EndOfProcess)

#include "tst_endofprocess.moc"
