#include "ConfigurationManifestCreator.h"
#include "Literals.h"
#include "ProgramRun.h"
#include "TestMain.h"

#include <QtCore/QDir>
#include <QtCore/QDirIterator>
#include <QtCore/QMap>
#include <QtCore/QRegularExpression>

#include <algorithm>

namespace {

const QString project = QStringLiteral(EXAMPLES "/..");
/// Stands for a value that a message inserts.
const QChar inserted = QChar(0x2026);

QString textOf(const QString& path)
{
    return QString::fromUtf8(readFile(path));
}

QString document(const QString& name)
{
    return textOf(project + u'/' + name);
}

/// The first captured group of every match of a regular expression.
QStringList captures(const QString& text, const QString& pattern)
{
    const QRegularExpression expression(pattern, QRegularExpression::MultilineOption);
    QStringList found;
    for (auto matches = expression.globalMatch(text); matches.hasNext();) {
        found.append(matches.next().captured(1));
    }
    return found;
}

/// The name of the last function whose definition begins before `end`.
QString enclosingFunction(const QString& source, int end)
{
    const QStringList functions = captures(source.left(end), u"^[A-Za-z][^(\\n]*?([\\w:~]+)\\("_qs);
    return functions.isEmpty() ? QString() : functions.constLast();
}

/// The functions that appear in the messages that `function` logs: `function` itself or, if it is not a member of a
/// class, the callers that pass it QT_MESSAGELOG_FUNC.
QStringList speakers(const QString& source, const QString& function)
{
    if (function.contains(u"::"_qs)) {
        return {function};
    }
    const QRegularExpression call(u"\\b%1\\([^;]*QT_MESSAGELOG_FUNC\\)"_qs.arg(function));
    QStringList callers;
    for (auto calls = call.globalMatch(source); calls.hasNext();) {
        callers.append(enclosingFunction(source, calls.next().capturedStart()));
    }
    return callers;
}

/// The text of a message, made from the streamed operands.
QString messageText(const QString& streamed)
{
    QStringList parts;
    const QStringList operands = streamed.split(u"<<"_qs).mid(1);
    for (const QString& operand : operands) {
        const QString part = operand.trimmed();
        parts.append(part.startsWith(u'"') ? part.mid(1, part.size() - 2).remove(u"\\n"_qs) : QString(inserted));
    }
    return parts.join(u' ');
}

QString entry(const QString& level, const QString& text, const QString& function)
{
    return level.toLower() + u", " + function + u": " + text;
}

/// All messages in a source file, as entry() formats them.
QStringList messagesOf(const QString& source)
{
    static const QRegularExpression message(
        u"(?:\\bq(Debug|Info|Warning|Critical)\\(\\)|\\bQMessageLogger\\([^;]*?\\)\\s*\\.(\\w+)\\(\\))([^;]*);"_qs);
    static const QRegularExpression anyMessage(
        u"\\bq(?:Debug|Info|Warning|Critical|Fatal|ErrnoWarning|C[A-Z]\\w+)\\s*\\(|\\bQMessageLogger\\b"_qs);
    QStringList entries;
    int count = 0;
    for (auto messages = message.globalMatch(source); messages.hasNext(); ++count) {
        const QRegularExpressionMatch match = messages.next();
        const QStringList functions = speakers(source, enclosingFunction(source, match.capturedStart()));
        for (const QString& function : functions) {
            entries.append(entry(match.captured(1) + match.captured(2), messageText(match.captured(3)), function));
        }
    }
    if (count != source.count(anyMessage)) {
        qFatal("a message is logged in a way that this test does not read");
    }
    return entries;
}

QStringList messagesOfTheSources()
{
    QStringList entries;
    for (const QString& folder : {u"/manifest"_qs, u"/substitute"_qs}) {
        QDirIterator sources(project + folder, {u"*.cpp"_qs, u"*.h"_qs}, QDir::Files);
        while (sources.hasNext()) {
            entries.append(messagesOf(textOf(sources.next())));
        }
    }
    entries.sort();
    return entries;
}

/// The sections of the document on messages that describe one message each, without "### ".
QStringList descriptionsOfMessages()
{
    QString text = document(u"docs/messages.md"_qs);
    text.replace(QRegularExpression(u"^## "_qs, QRegularExpression::MultilineOption), u"### -"_qs);
    QStringList parts = text.split(u"\n### "_qs).mid(1);
    parts.erase(std::remove_if(parts.begin(), parts.end(), [](const QString& part) { return part.startsWith(u'-'); }),
        parts.end());
    return parts;
}

QStringList describedMessages()
{
    static const QRegularExpression value(u"\\(\"<[^>]+>\"\\)|\"<[^>]+>\"|<[^>]+>"_qs);
    QStringList entries;
    const QStringList descriptions = descriptionsOfMessages();
    for (const QString& description : descriptions) {
        const QString text = description.section(u'`', 1, 1).replace(value, QString(inserted));
        const QString said = description.section(u'\n', 2).section(u".\n"_qs, 0, 0);
        const QStringList functions = captures(said, u"`([^`]+)`"_qs);
        for (const QString& function : functions) {
            entries.append(entry(said.section(u' ', 0, 0), text, function));
        }
    }
    entries.sort();
    return entries;
}

/// The items that are in `list` more often than in `other`.
QString missing(QStringList list, const QStringList& other)
{
    for (const QString& item : other) {
        list.removeOne(item);
    }
    return list.join(u'\n');
}

/// The contents of all fenced blocks of one kind in a document.
QStringList blocks(const QString& text, const QString& kind)
{
    const QRegularExpression block(u"^```%1\\n(.*?)^```$"_qs.arg(kind),
        QRegularExpression::MultilineOption | QRegularExpression::DotMatchesEverythingOption);
    QStringList found;
    for (auto matches = block.globalMatch(text); matches.hasNext();) {
        found.append(matches.next().captured(1));
    }
    return found;
}

/// The slots of a test, without those for data, initialisation and cleanup.
QStringList slotsOf(const QString& file)
{
    static const QRegularExpression belongsToOthers(u"_data$|^(init|cleanup)(TestCase)?$"_qs);
    QStringList slots;
    const QString declared = document(u"tests/"_qs + file).section(u"private Q_SLOTS:\n"_qs, 1);
    for (const QString& slot : captures(
             declared.section(QRegularExpression(u"\\n(\\};|private:)"_qs), 0, 0), u"^    void (\\w+)\\(\\);$"_qs)) {
        if (!slot.contains(belongsToOthers)) {
            slots.append(slot);
        }
    }
    return slots;
}

/// The slots that the map of the tests names for each file.
QMap<QString, QStringList> slotsIn(const QString& map)
{
    static const QRegularExpression fileOrSlot(
        u"^[#-].*\\((\\w+/tst_\\w+\\.cpp)\\)|`([a-z]\\w*[A-Z]\\w*)`"_qs, QRegularExpression::MultilineOption);
    QMap<QString, QStringList> slots;
    QString file;
    for (auto names = fileOrSlot.globalMatch(map); names.hasNext();) {
        const QRegularExpressionMatch match = names.next();
        if (match.captured(1).isEmpty()) {
            slots[file].append(match.captured(2));
        } else {
            file = match.captured(1);
            slots.insert(file, {});
        }
    }
    return slots;
}

// The code between the two marks has to be that of the README.
bool createAndHide(const QString& basePath, const QString& path)
{
    // README
    if (ConfigurationManifestCreator().create(basePath)) {
        ConfigurationManifestHandler handler(path, QStringLiteral("Device"), QStringLiteral("device1"));
        handler.parseManifestFile();
        return handler.setProperty(QStringLiteral("network/ethernet/port"), QStringLiteral("hide"), true, true);
    }
    return false;
    // END
}

} // namespace

class tst_Documents : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void everyMessageIsDescribed();
    void onlyMessagesOfSourcesAreDescribed();
    void everyDescriptionOfMessageSaysWhatToDo();
    void recommendedPatternPrintsWhatIsShown();
    void readmeShowsWhatRunPrints();
    void readmesCodeDoesWhatItSays();
    void changelogHasThisVersion();
    void mapOfTestsIsThatOfTree();
};

void tst_Documents::everyMessageIsDescribed()
{
    QVERIFY(messagesOfTheSources().size() > 40);
    QCOMPARE(missing(messagesOfTheSources(), describedMessages()), QString());
}

void tst_Documents::onlyMessagesOfSourcesAreDescribed()
{
    QCOMPARE(missing(describedMessages(), messagesOfTheSources()), QString());
}

void tst_Documents::everyDescriptionOfMessageSaysWhatToDo()
{
    const QStringList descriptions = descriptionsOfMessages();
    QVERIFY(!descriptions.isEmpty());
    for (const QString& description : descriptions) {
        for (const QString& field : {u"\n- Cause: "_qs, u"\n- Consequence: "_qs, u"\n- What to do: "_qs}) {
            QVERIFY2(description.count(field) == 1, qPrintable(description));
        }
    }
}

void tst_Documents::recommendedPatternPrintsWhatIsShown()
{
    const QString messages = document(u"docs/messages.md"_qs);
    const QString pattern = messages.section(u"export QT_MESSAGE_PATTERN='"_qs, 1).section(u'\'', 0, 0);
    QStringList shown = blocks(messages, u"console"_qs).value(0).split(u'\n');
    QVERIFY(shown.size() > 3);
    QCOMPARE(shown.takeFirst(), u"$ cp -R examples/device/configuration/imported/positions build/pages"_qs);
    QCOMPARE(shown.takeFirst(), u"$ build/native/bin/embedding build/pages >build/names"_qs);

    const QTemporaryDir folder;
    const QString pages = folder.filePath(u"pages"_qs);
    copyFolder(project + u"/examples/device/configuration/imported/positions", pages);
    const ProgramRun run =
        Program(QStringLiteral(EMBEDDING)).with(u"QT_MESSAGE_PATTERN"_qs, pattern).run(QStringList(pages));
    QCOMPARE(run.status, 0);
    static const QRegularExpression time(
        u"^\\d{4}-\\d\\d-\\d\\d \\d\\d:\\d\\d:\\d\\d\\.\\d{3} "_qs, QRegularExpression::MultilineOption);
    const QString printed = QString::fromUtf8(run.errors);
    QCOMPARE(printed.count(time), shown.filter(u" "_qs).size());
    QCOMPARE(QString(printed).remove(time), shown.join(u'\n').remove(time));
}

void tst_Documents::readmeShowsWhatRunPrints()
{
    const QTemporaryDir folder;
    const QString pages = folder.filePath(u"configuration"_qs);
    copyFolder(project + u"/examples/device/configuration", pages);
    const ProgramRun created = Program().run(QStringList {u"create-folder"_qs, pages});
    const ProgramRun shown = Program().run(QStringList {u"show"_qs, pages + u"/configuration.manifest.json"});
    QCOMPARE(shown.status, 0);
    const QString printed =
        QString::fromUtf8(created.output + shown.output)
            .replace(QDir(folder.path()).canonicalPath() + u'/', u"/home/you/project/build/example/"_qs);

    QStringList lines = blocks(document(u"README.md"_qs), u"console"_qs).value(0).split(u'\n');
    QVERIFY(lines.takeFirst().startsWith(u"$ ./run "_qs));
    QStringList ofTheProgram;
    for (const QString& line : qAsConst(lines)) {
        if (line == u"..."_qs) {
            break;
        }
        if (!line.startsWith(u"== "_qs)) {
            ofTheProgram.append(line);
        }
    }
    QVERIFY(ofTheProgram.size() > 5);
    QCOMPARE(ofTheProgram, printed.split(u'\n').mid(0, ofTheProgram.size()));
    const QString reported = u"(%1 lines)"_qs.arg(created.errors.count('\n'));
    QVERIFY2(lines.filter(u"the messages of the library are in"_qs).value(0).endsWith(reported), qPrintable(reported));
}

void tst_Documents::readmesCodeDoesWhatItSays()
{
    const QString here = document(u"tests/system/tst_documents.cpp"_qs);
    const QString tested = here.section(u"    // README\n"_qs, 1, 1).section(u"    // END\n"_qs, 0, 0);
    const QString shown = blocks(document(u"README.md"_qs), u"cpp"_qs).value(0);
    QVERIFY(!shown.isEmpty());
    QCOMPARE(shown, QString(tested).remove(QRegularExpression(u"^    "_qs, QRegularExpression::MultilineOption)));

    const QTemporaryDir folder;
    copyFolder(project + u"/examples/device", folder.filePath(u"base"_qs));
    const QString path = folder.filePath(u"base/configuration/configuration.manifest.json"_qs);
    MessageRecorder recorder;
    QVERIFY(createAndHide(folder.filePath(u"base"_qs), path));
    QVERIFY(!recorder.take().isEmpty());
    const ProgramRun run = Program().run(QStringList {u"get"_qs, path, u"network/ethernet/port"_qs, u"hide"_qs});
    QCOMPARE(run.output, QByteArray("true\n"));
}

void tst_Documents::changelogHasThisVersion()
{
    const QStringList versions = captures(document(u"CHANGELOG.md"_qs), u"^## (\\d+\\.\\d+\\.\\d+) "_qs);
    QCOMPARE(versions.value(0), QStringLiteral(VERSION));
    QCOMPARE(versions.constLast(), u"1.0.0"_qs);
}

void tst_Documents::mapOfTestsIsThatOfTree()
{
    const QString map =
        document(u"tests/README.md"_qs).section(u"## The map\n"_qs, 1).section(u"\n### Scripts\n"_qs, 0, 0);
    QStringList files;
    for (const QString& folder : {u"library"_qs, u"program"_qs, u"system"_qs}) {
        const QStringList sources = QDir(project + u"/tests/"_qs + folder).entryList({u"tst_*.cpp"_qs}, QDir::Files);
        for (const QString& source : sources) {
            files.append(folder + u'/' + source);
        }
    }
    QVERIFY(files.size() > 30);
    const QMap<QString, QStringList> mapped = slotsIn(map);
    QCOMPARE(mapped.keys(), files);
    QStringList wrong;
    for (const QString& file : files) {
        const QStringList named = mapped.value(file);
        const QStringList slots = slotsOf(file);
        for (const QString& slot : named + slots) {
            if (!named.contains(slot) || !slots.contains(slot)) {
                wrong.append(file + u": "_qs + slot);
            }
        }
    }
    QCOMPARE(wrong.join(u'\n'), QString());
}

MANIFEST_TEST_MAIN(tst_Documents)

#include "tst_documents.moc"
