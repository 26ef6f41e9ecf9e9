#include "ConfigurationStructureElement.h"
#include "Elements.h"
#include "Files.h"
#include "LibraryMessages.h"
#include "Literals.h"
#include "MessageRecorder.h"
#include "TestMain.h"

#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QTemporaryDir>

#include <algorithm>
#include <cstdlib>
#include <utility>

#include <sys/wait.h>
#include <unistd.h>

using Element = ConfigurationStructureElement;

/// One of the two functions that read descriptions. Tests use both to read the folder description file of a folder.
struct Reader {
    const char* name;
    const char* signature;
    void (Element::*read)(const QString&, QJsonObject&);
    /// The argument of the function: the path of the file or of the folder.
    QString (*pathFor)(const QString& folder);
};

Q_DECLARE_METATYPE(Reader)

namespace {

const Reader folderReader = {"folder reader",
    "void ConfigurationStructureElement::readFolderDescription(const QString&, QJsonObject&)",
    &Element::readFolderDescription, [](const QString& folder) { return folder; }};
const Reader fileReader = {"file reader",
    "void ConfigurationStructureElement::readFileRootNodeDescription(const QString&, QJsonObject&)",
    &Element::readFileRootNodeDescription,
    [](const QString& folder) -> QString { return folder % u"/Folder.menu.json"_qs; }};
const Reader bothReaders[] = {folderReader, fileReader};

const QJsonObject former = {{u"former"_qs, 1}};

Message noFile(const Reader& reader)
{
    return debug(u"No description file found!"_qs, reader.signature);
}

// `name` and `reason` are the texts as the message prints them.
Message notOpened(const Reader& reader, const QString& name, const QString& reason)
{
    return warning(u"Can't open file  \""_qs % name % u"\"  IO Error:  \""_qs % reason % u'"', reader.signature);
}

Message notJson(const Reader& reader)
{
    return warning(u"Can't parse Json!\n"_qs, reader.signature);
}

// Returns what a reader reads. Also checks that the reader does not change the state of its element.
QJsonObject readBy(const Reader& reader, const QString& path)
{
    Element element;
    QJsonObject description = former;
    (element.*reader.read)(path, description);
    if (element.isValid() || element.isDirectory() || element.getDisplayPosition() != -1
        || !element.getElementAsJsonObject().isEmpty()) {
        QTest::qFail("the reader changed its element", __FILE__, __LINE__);
    }
    return description;
}

QString descriptionFile(const QString& folder)
{
    return folder % u"/Folder.menu.json"_qs;
}

void forbidEverything(const QString& path)
{
    QVERIFY(QFile::setPermissions(path, {}));
}

// Only its owner may enter a QTemporaryDir.
void letEverybodyEnter(const QString& folder)
{
    QVERIFY(QFile::setPermissions(folder,
        QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner | QFile::ReadGroup | QFile::ExeGroup | QFile::ReadOther
            | QFile::ExeOther));
}

} // namespace

class tst_DescriptionFiles : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void contentIsReadWhole_data();
    void contentIsReadWhole();
    void hugeFilesAreRead();
    void fileTooLargeForByteArrayIsNotJson();
    void missingFileIsDebugOutput_data();
    void missingFileIsDebugOutput();
    void unreadableFileIsReported_data();
    void unreadableFileIsReported();
    void fileInUnsearchableFolderIsNotFound_data();
    void fileInUnsearchableFolderIsNotFound();
    void linksCountAsWhatTheyPointTo_data();
    void linksCountAsWhatTheyPointTo();
    void folderInPlaceOfFileIsReported();
    void nameInMessageIsPathAsGiven_data();
    void nameInMessageIsPathAsGiven();
    void pathWithTrailingSlashIsRead();
    void pathOfWrongKindIsIgnored_data();
    void pathOfWrongKindIsIgnored();
    void searchPathOfFileIsNotReadAsFolderOfAnotherSearchFolder();
    void searchPathOfFolderIsRead();
    void messagesNameTheirSourceLine_data();
    void messagesNameTheirSourceLine();
    void emptyPathNamesNoFile();
    void emptyPathIsNotRootFolder();
    void pathWithNulCharacterNamesNoFile();
    void noFileStaysOpen_data();
    void noFileStaysOpen();
    void folderWithoutUsefulDescriptionStaysInManifest();
    void fileWithoutUsefulDescriptionStaysInManifest();

private:
    void addRowForEachReader();
};

void tst_DescriptionFiles::addRowForEachReader()
{
    QTest::addColumn<Reader>("reader");
    for (const Reader& reader : bothReaders) {
        QTest::newRow(reader.name) << reader;
    }
}

void tst_DescriptionFiles::contentIsReadWhole_data()
{
    QTest::addColumn<Reader>("reader");
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<QJsonObject>("description");
    QTest::addColumn<bool>("isJson");

    const auto readable = [](const char* title, const QByteArray& content, const QJsonObject& description) {
        for (const Reader& reader : bothReaders) {
            QTest::addRow("%s: %s", reader.name, title) << reader << content << description << true;
        }
    };
    const auto broken = [](const char* title, const QByteArray& content) {
        for (const Reader& reader : bothReaders) {
            QTest::addRow("%s: %s", reader.name, title) << reader << content << former << false;
        }
    };
    const auto nested = [](int levels) -> QByteArray {
        return QByteArray("{\"a\":").repeated(levels) + '1' + QByteArray(levels, '}');
    };

    readable("object", R"({"a":[1,"b",null],"c":{"d":true}})", objectFrom(R"({"a":[1,"b",null],"c":{"d":true}})"));
    readable("empty object", "{}", QJsonObject());
    readable("array", "[1,2]", QJsonObject());
    readable("array of objects", R"([{"a":1}])", QJsonObject());
    readable("empty array", "[]", QJsonObject());
    readable("white space around", " \t\n{ \"a\" : 1 }\n\n", objectFrom(R"({"a":1})"));
    readable("line feeds", "{\n\"a\":\n1\n}\n", objectFrom(R"({"a":1})"));
    readable("carriage returns and line feeds", "\r\n{\r\n\"a\":\r\n1\r\n}\r\n", objectFrom(R"({"a":1})"));
    // Only inside a string a file opened in text mode would make a difference; between tokens both line ends are white
    // space.
    readable("carriage return and line feed in a string", "{\"a\":\"x\r\ny\"}", objectFrom(R"({"a":"x\ny"})"));
    readable("carriage return alone in a string", "{\"a\":\"x\ry\"}", objectFrom(R"({"a":"xy"})"));
    readable("two carriage returns and line feed in a string", "{\"a\":\"x\r\r\ny\"}", objectFrom(R"({"a":"x\ny"})"));
    readable("carriage return in a key", "{\"a\rb\":1}", objectFrom(R"({"ab":1})"));
    readable("escaped carriage return", R"({"a":"x\r\ny"})", objectFrom(R"({"a":"x\r\ny"})"));
    readable("byte-order mark", "\xEF\xBB\xBF{\"a\":1}", objectFrom(R"({"a":1})"));
    readable("UTF-8", "{\"Größe\":\"Ω\"}", objectFrom("{\"Größe\":\"Ω\"}"));
    readable("key given twice", R"({"a":1,"a":2})", objectFrom(R"({"a":2})"));
    readable("1,024 nested levels", nested(1024), objectFrom(nested(1024).constData()));
    // Up to 64 KiB are read in one piece.
    for (const int size : {65535, 65536, 65537}) {
        const QByteArray title = QByteArray::number(size) + " bytes";
        const QByteArray content = "{\"a\":\"" + QByteArray(size - 8, 'x') + "\"}";
        readable(title.constData(), content, {{u"a"_qs, QString(size - 8, u'x')}});
    }

    broken("empty file", "");
    broken("opening brace alone", "{");
    broken("white space alone", "\r\n\r\n");
    broken("byte-order mark alone", "\xEF\xBB\xBF");
    broken("cut off", R"({"a":1)");
    broken("comma at the end", R"({"a":1,})");
    broken("text behind", R"({"a":1} x)");
    broken("second object behind", R"({"a":1}{"b":2})");
    broken("NUL behind", QByteArray("{\"a\":1}\0", 8));
    broken("comment", "{\"a\":1} // one");
    broken("single quotes", "{'a':1}");
    broken("number", "1");
    broken("string", "\"a\"");
    broken("null", "null");
    broken("number out of range", R"({"a":1e999})");
    broken("Latin-1 in a string",
        "{\"a\":\"Gr\xF6\xDF"
        "e\"}");
    broken("Latin-1 in a key", "{\"Gr\xF6\":1}");
    broken("UTF-16", QByteArray("\xFF\xFE{\0\"\0a\0\"\0:\0001\0}\0", 16));
    broken("1,025 nested levels", nested(1025));
    broken("1,200 nested levels", nested(1200));
}

void tst_DescriptionFiles::contentIsReadWhole()
{
    QFETCH(Reader, reader);
    QFETCH(QByteArray, content);
    QFETCH(QJsonObject, description);
    QFETCH(bool, isJson);

    const QTemporaryDir folder;
    writeFile(descriptionFile(folder.path()), content);
    MessageRecorder log;
    QCOMPARE(readBy(reader, reader.pathFor(folder.path())), description);
    QCOMPARE(log.take(), isJson ? Messages() : Messages({notJson(reader)}));
}

void tst_DescriptionFiles::hugeFilesAreRead()
{
    constexpr int size = 100 * 1024 * 1024;
    const QTemporaryDir folder;
    const QString path = descriptionFile(folder.path());
    MessageRecorder log;

    writeFile(path, "{\"text\":\"" + QByteArray(size, 'x') + "\"}");
    for (const Reader& reader : bothReaders) {
        const QJsonObject description = readBy(reader, reader.pathFor(folder.path()));
        QCOMPARE(log.take(), Messages());
        QCOMPARE(description.keys(), QStringList({u"text"_qs}));
        const QString text = description.value(u"text"_qs).toString();
        QCOMPARE(text.size(), size);
        QVERIFY(std::all_of(text.begin(), text.end(), [](QChar character) { return character == u'x'; }));
    }

    writeFile(path, QByteArray(size, '{'));
    for (const Reader& reader : bothReaders) {
        QCOMPARE(readBy(reader, reader.pathFor(folder.path())), former);
        QCOMPARE(log.take(), Messages({notJson(reader)}));
    }
}

void tst_DescriptionFiles::fileTooLargeForByteArrayIsNotJson()
{
    const QTemporaryDir folder;
    const QString path = descriptionFile(folder.path());
    writeFile(path, "{}");
    // A sparse file: it takes no space on the disk.
    QVERIFY(QFile::resize(path, Q_INT64_C(3) << 30));
    MessageRecorder log;
    for (const Reader& reader : bothReaders) {
        QCOMPARE(readBy(reader, reader.pathFor(folder.path())), former);
        QCOMPARE(log.take(), Messages({notJson(reader)}));
    }
}

void tst_DescriptionFiles::missingFileIsDebugOutput_data()
{
    addRowForEachReader();
}

void tst_DescriptionFiles::missingFileIsDebugOutput()
{
    QFETCH(Reader, reader);
    const QTemporaryDir folder;
    // Names are compared case-sensitively.
    writeFile(folder.filePath(u"folder.menu.json"_qs), R"({"a":1})");
    MessageRecorder log;
    QCOMPARE(readBy(reader, reader.pathFor(folder.path())), former);
    QCOMPARE(log.take(), Messages({noFile(reader)}));
}

void tst_DescriptionFiles::unreadableFileIsReported_data()
{
    addRowForEachReader();
}

void tst_DescriptionFiles::unreadableFileIsReported()
{
    QFETCH(Reader, reader);
    const QTemporaryDir folder;
    const QString path = descriptionFile(folder.path());
    writeFile(path, R"({"a":1})");
    letEverybodyEnter(folder.path());
    forbidEverything(path);

    MessageRecorder log;
    const AsOrdinaryUser ordinary;
    QCOMPARE(readBy(reader, reader.pathFor(folder.path())), former);
    QCOMPARE(log.take(), Messages({notOpened(reader, path, u"Permission denied"_qs)}));
}

void tst_DescriptionFiles::fileInUnsearchableFolderIsNotFound_data()
{
    addRowForEachReader();
}

void tst_DescriptionFiles::fileInUnsearchableFolderIsNotFound()
{
    QFETCH(Reader, reader);
    const QTemporaryDir root;
    const QString folder = root.filePath(u"Net"_qs);
    writeFile(descriptionFile(folder), R"({"a":1})");
    letEverybodyEnter(root.path());
    forbidEverything(folder);

    MessageRecorder log;
    {
        const AsOrdinaryUser ordinary;
        QCOMPARE(readBy(reader, reader.pathFor(folder)), former);
    }
    QCOMPARE(log.take(), Messages({noFile(reader)}));
    // Otherwise QTemporaryDir could not remove it.
    letEverybodyEnter(folder);
}

void tst_DescriptionFiles::linksCountAsWhatTheyPointTo_data()
{
    addRowForEachReader();
}

void tst_DescriptionFiles::linksCountAsWhatTheyPointTo()
{
    QFETCH(Reader, reader);
    const QTemporaryDir folder;
    const QString link = descriptionFile(folder.path());
    const QString path = reader.pathFor(folder.path());
    MessageRecorder log;

    writeFile(folder.filePath(u"target"_qs), R"({"a":1})");
    QVERIFY(QFile::link(u"target"_qs, link));
    QCOMPARE(readBy(reader, path), objectFrom(R"({"a":1})"));
    QCOMPARE(log.take(), Messages());

    // A dangling link is an entry, so the file is not missing.
    QVERIFY(QFile::remove(link) && QFile::link(u"nowhere"_qs, link));
    QCOMPARE(readBy(reader, path), former);
    QCOMPARE(log.take(), Messages({notOpened(reader, link, u"No such file or directory"_qs)}));

    QVERIFY(QFile::remove(link) && QFile::link(u"Folder.menu.json"_qs, link));
    QCOMPARE(readBy(reader, path), former);
    QCOMPARE(log.take(), Messages({notOpened(reader, link, u"Too many levels of symbolic links"_qs)}));
}

void tst_DescriptionFiles::folderInPlaceOfFileIsReported()
{
    const QTemporaryDir folder;
    const QString path = descriptionFile(folder.path());
    QVERIFY(QDir().mkdir(path));
    MessageRecorder log;
    QCOMPARE(readBy(folderReader, folder.path()), former);
    QCOMPARE(log.take(), Messages({notOpened(folderReader, path, u"file to open is a directory"_qs)}));
}

void tst_DescriptionFiles::nameInMessageIsPathAsGiven_data()
{
    QTest::addColumn<QString>("folder");
    QTest::addColumn<QString>("printed");
    QTest::newRow("relative") << u"Net"_qs << u"Net/Folder.menu.json"_qs;
    QTest::newRow("dot segments") << u"./Net/../Net"_qs << u"./Net/../Net/Folder.menu.json"_qs;
    QTest::newRow("trailing slash") << u"Net/"_qs << u"Net//Folder.menu.json"_qs;
    QTest::newRow("doubled slashes") << u".//Net//"_qs << u".//Net///Folder.menu.json"_qs;
    QTest::newRow("blank and not Latin") << u"Größe Ω"_qs << u"Größe Ω/Folder.menu.json"_qs;
    QTest::newRow("quote and line feed") << u"a\"b\n"_qs << uR"(a\"b\n/Folder.menu.json)"_qs;
}

void tst_DescriptionFiles::nameInMessageIsPathAsGiven()
{
    QFETCH(QString, folder);
    QFETCH(QString, printed);

    const QTemporaryDir root;
    const QString formerFolder = QDir::currentPath();
    QVERIFY(QDir::setCurrent(root.path()));
    writeFile(descriptionFile(folder), R"({"a":1})");
    forbidEverything(descriptionFile(folder));
    letEverybodyEnter(root.path());
    MessageRecorder log;
    {
        const AsOrdinaryUser ordinary;
        for (const Reader& reader : bothReaders) {
            QCOMPARE(readBy(reader, reader.pathFor(folder)), former);
            QCOMPARE(log.take(), Messages({notOpened(reader, printed, u"Permission denied"_qs)}));
        }
        Element element;
        element.generateNodeData(QFileInfo(folder));
        QCOMPARE(log.take(), Messages({notOpened(folderReader, printed, u"Permission denied"_qs), positionMissing()}));
        element.generateSelectionData(QFileInfo(descriptionFile(folder)));
        QCOMPARE(log.take(),
            Messages({notOpened(fileReader, printed, u"Permission denied"_qs), positionMissing(), hideMissing()}));
    }
    QVERIFY(QDir::setCurrent(formerFolder));
}

void tst_DescriptionFiles::pathWithTrailingSlashIsRead()
{
    const QTemporaryDir folder;
    writeFile(descriptionFile(folder.path()), R"({"a":1})");
    const MessageRecorder log;
    QCOMPARE(readBy(folderReader, folder.path() + u'/'), objectFrom(R"({"a":1})"));
}

void tst_DescriptionFiles::pathOfWrongKindIsIgnored_data()
{
    QTest::addColumn<Reader>("reader");
    QTest::addColumn<QString>("name");
    QTest::newRow("folder reader, file") << folderReader << u"file"_qs;
    QTest::newRow("folder reader, description file") << folderReader << u"Net/Folder.menu.json"_qs;
    QTest::newRow("folder reader, file with a slash") << folderReader << u"file/"_qs;
    QTest::newRow("folder reader, link to a file") << folderReader << u"link to file"_qs;
    QTest::newRow("folder reader, link that leads nowhere") << folderReader << u"dangling"_qs;
    QTest::newRow("folder reader, nothing") << folderReader << u"nothing"_qs;
    QTest::newRow("file reader, folder") << fileReader << u"Net"_qs;
    QTest::newRow("file reader, folder with a slash") << fileReader << u"Net/"_qs;
    QTest::newRow("file reader, link to a folder") << fileReader << u"link to Net"_qs;
    QTest::newRow("file reader, folder named like a file") << fileReader << u"x.config.json"_qs;
}

void tst_DescriptionFiles::pathOfWrongKindIsIgnored()
{
    QFETCH(Reader, reader);
    QFETCH(QString, name);

    const QTemporaryDir folder;
    writeFile(folder.filePath(u"file"_qs), R"({"a":1})");
    writeFile(folder.filePath(u"Net/Folder.menu.json"_qs), R"({"a":1})");
    writeFile(folder.filePath(u"x.config.json/Folder.menu.json"_qs), R"({"a":1})");
    QVERIFY(QFile::link(u"file"_qs, folder.filePath(u"link to file"_qs)));
    QVERIFY(QFile::link(u"Net"_qs, folder.filePath(u"link to Net"_qs)));
    QVERIFY(QFile::link(u"nowhere"_qs, folder.filePath(u"dangling"_qs)));
    MessageRecorder log;
    QCOMPARE(readBy(reader, folder.filePath(name)), former);
    QCOMPARE(log.take(), Messages());
}

void tst_DescriptionFiles::searchPathOfFileIsNotReadAsFolderOfAnotherSearchFolder()
{
    const QTemporaryDir folder;
    writeFile(folder.filePath(u"first/sub"_qs), "a file");
    writeFile(folder.filePath(u"second/sub/Folder.menu.json"_qs), R"({"from":"second"})");
    QDir::setSearchPaths(u"pre"_qs, {folder.filePath(u"first"_qs), folder.filePath(u"second"_qs)});

    MessageRecorder log;
    QJsonObject description = former;
    Element().readFolderDescription(u"pre:sub"_qs, description);
    QDir::setSearchPaths(u"pre"_qs, {});
    QCOMPARE(description, former);
    QCOMPARE(log.take(), Messages());
}

void tst_DescriptionFiles::searchPathOfFolderIsRead()
{
    const QTemporaryDir folder;
    writeFile(folder.filePath(u"second/sub/Folder.menu.json"_qs), R"({"from":"second"})");
    QDir::setSearchPaths(u"pre"_qs, {folder.filePath(u"first"_qs), folder.filePath(u"second"_qs)});

    QJsonObject description = former;
    Element().readFolderDescription(u"pre:sub"_qs, description);
    QDir::setSearchPaths(u"pre"_qs, {});
    QCOMPARE(description, (QJsonObject {{u"from"_qs, u"second"_qs}}));
}

void tst_DescriptionFiles::messagesNameTheirSourceLine_data()
{
    addRowForEachReader();
}

void tst_DescriptionFiles::messagesNameTheirSourceLine()
{
    QFETCH(const Reader, reader);
    const QTemporaryDir folder;
    const QString path = reader.pathFor(folder.path());
    const QString file = folder.filePath(u"Folder.menu.json"_qs);
    const QStringList source = QString::fromUtf8(readFile(QStringLiteral(ELEMENT_SOURCE))).split(u'\n');

    static int line = 0;
    const auto lineOfMessage = [&](auto prepare) {
        prepare();
        line = 0;
        const QtMessageHandler previous = qInstallMessageHandler(
            [](QtMsgType, const QMessageLogContext& context, const QString&) { line = context.line; });
        QJsonObject description;
        (Element().*reader.read)(path, description);
        qInstallMessageHandler(previous);
        // The statement may continue on the next line.
        return line < 1 ? QString() : QString(source.at(line - 1) + source.at(line));
    };
    const QString missing = lineOfMessage([] {});
    const QString notParsed = lineOfMessage([&] { writeFile(file, "{"); });
    letEverybodyEnter(folder.path());
    forbidEverything(file);
    const AsOrdinaryUser ordinary;
    const QString unreadable = lineOfMessage([] {});
    QVERIFY2(missing.contains(u"\"No description file found!\""_qs), qPrintable(missing));
    QVERIFY2(notParsed.contains(u"\"Can't parse Json!\\n\""_qs), qPrintable(notParsed));
    QVERIFY2(unreadable.contains(u"\"Can't open file \""_qs), qPrintable(unreadable));
}

void tst_DescriptionFiles::emptyPathNamesNoFile()
{
    MessageRecorder log;
    for (const QString& path : {QString(), u""_qs}) {
        QCOMPARE(readBy(folderReader, path), former);
        QCOMPARE(log.take(), Messages());
        QCOMPARE(readBy(fileReader, path), former);
        QCOMPARE(log.take(), Messages({noFile(fileReader)}));
    }
}

void tst_DescriptionFiles::emptyPathIsNotRootFolder()
{
    const QTemporaryDir folder;
    writeFile(descriptionFile(folder.path()), R"({"a":1})");
    const QByteArray root = QFile::encodeName(folder.path());
    const pid_t child = fork();
    if (child == 0) {
        // Root can write a description file into the root folder. Other users cannot, and find none.
        [[maybe_unused]] const int changed = chroot(root.constData());
        MessageRecorder log;
        const bool nothingRead = readBy(folderReader, QString()) == former && log.take().isEmpty();
        _exit(nothingRead ? EXIT_SUCCESS : EXIT_FAILURE);
    }
    int status = -1;
    QCOMPARE(waitpid(child, &status, 0), child);
    QCOMPARE(status, EXIT_SUCCESS);
}

void tst_DescriptionFiles::pathWithNulCharacterNamesNoFile()
{
    const QTemporaryDir folder;
    const QString path = descriptionFile(folder.path());
    writeFile(path, R"({"a":1})");
    MessageRecorder log;
    // Every call of Qt with such a name may log a warning.
    const auto takeOurs = [&log] {
        Messages messages = log.take();
        const auto isOfQt = [](const Message& message) {
            return message.function.isEmpty() && message.text == u"Broken filename passed to function"_qs;
        };
        messages.erase(std::remove_if(messages.begin(), messages.end(), isOfQt), messages.end());
        return messages;
    };
    const QString tail = QChar(QChar::Null) % u"x"_qs;

    QCOMPARE(readBy(fileReader, path + tail), former);
    QCOMPARE(takeOurs(), Messages({noFile(fileReader)}));
    QCOMPARE(readBy(folderReader, path + tail), former);
    QCOMPARE(takeOurs(), Messages());
    QCOMPARE(readBy(folderReader, folder.path() + tail), former);
    QCOMPARE(takeOurs(), Messages());
}

void tst_DescriptionFiles::noFileStaysOpen_data()
{
    addRowForEachReader();
}

void tst_DescriptionFiles::noFileStaysOpen()
{
    QFETCH(Reader, reader);
    const QString openFiles = u"/proc/self/fd"_qs;
    MessageRecorder log;
    for (const QByteArray& content : {QByteArray("{}"), QByteArray("{")}) {
        const QTemporaryDir folder;
        writeFile(descriptionFile(folder.path()), content);
        const QStringList before = everythingIn(openFiles);
        readBy(reader, reader.pathFor(folder.path()));
        QCOMPARE(everythingIn(openFiles), before);
    }
    QCOMPARE(log.take(), Messages({notJson(reader)}));
}

void tst_DescriptionFiles::folderWithoutUsefulDescriptionStaysInManifest()
{
    const QTemporaryDir root;
    const QString occupied = descriptionFile(root.filePath(u"Occupied"_qs));
    const QString forbidden = descriptionFile(root.filePath(u"Forbidden"_qs));
    QVERIFY(QDir(root.path()).mkdir(u"Empty"_qs));
    QVERIFY(QDir().mkpath(occupied));
    writeFile(descriptionFile(root.filePath(u"Broken"_qs)), R"({"displayPosition":1)");
    writeFile(descriptionFile(root.filePath(u"Array"_qs)), R"([{"displayPosition":1}])");
    writeFile(forbidden, R"({"displayPosition":1})");
    forbidEverything(forbidden);
    letEverybodyEnter(root.path());

    const std::pair<QString, Messages> expectations[] = {
        {u"Empty"_qs, {noFile(folderReader)}},
        {u"Broken"_qs, {notJson(folderReader)}},
        {u"Array"_qs, {}},
        {u"Forbidden"_qs, {notOpened(folderReader, forbidden, u"Permission denied"_qs)}},
        {u"Occupied"_qs, {notOpened(folderReader, occupied, u"file to open is a directory"_qs)}},
    };
    MessageRecorder log;
    const AsOrdinaryUser ordinary;
    for (const auto& [name, messages] : expectations) {
        const Element element(QFileInfo(root.filePath(name)), root.path(), Element::getConfigurationFileSuffix());
        QCOMPARE(log.take(), messages + Messages({positionMissing()}));
        QCOMPARE(element.isValid(), true);
        QCOMPARE(element.isDirectory(), true);
        QCOMPARE(element.getDisplayPosition(), -1);
        QJsonObject node = objectFrom(R"({"dataSourceType":"JsonData","selectionType":"Node"})");
        node.insert(u"instanceName"_qs, name);
        QCOMPARE(element.getElementAsJsonObject(), node);
    }
}

void tst_DescriptionFiles::fileWithoutUsefulDescriptionStaysInManifest()
{
    const QTemporaryDir root;
    const QString forbidden = root.filePath(u"forbidden.config.json"_qs);
    const QString dangling = root.filePath(u"dangling.config.json"_qs);
    writeFile(root.filePath(u"broken.config.json"_qs), R"({"displayPosition":1)");
    writeFile(root.filePath(u"array.config.json"_qs), R"([{"displayPosition":1,"hide":true}])");
    writeFile(forbidden, R"({"displayPosition":1,"hide":true})");
    forbidEverything(forbidden);
    QVERIFY(QFile::link(u"nowhere"_qs, dangling));
    letEverybodyEnter(root.path());

    const std::pair<QString, Messages> expectations[] = {
        {u"missing"_qs, {noFile(fileReader)}},
        {u"broken"_qs, {notJson(fileReader)}},
        {u"array"_qs, {}},
        {u"forbidden"_qs, {notOpened(fileReader, forbidden, u"Permission denied"_qs)}},
        {u"dangling"_qs, {notOpened(fileReader, dangling, u"No such file or directory"_qs)}},
    };
    MessageRecorder log;
    const AsOrdinaryUser ordinary;
    for (const auto& [name, messages] : expectations) {
        const QString path = root.filePath(name % u".config.json"_qs);
        const Element element(QFileInfo(path), root.path(), Element::getConfigurationFileSuffix());
        QCOMPARE(log.take(), messages + Messages({positionMissing(), hideMissing()}));
        QCOMPARE(element.isValid(), true);
        QCOMPARE(element.isDirectory(), false);
        QCOMPARE(element.getDisplayPosition(), -1);
        QCOMPARE(element.getElementAsJsonObject(), builtSelection(name));
    }
}

MANIFEST_TEST_MAIN(tst_DescriptionFiles)

#include "tst_descriptionfiles.moc"
