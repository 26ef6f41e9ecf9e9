#pragma once

#include "ConfigurationManifestHandler.h"
#include "Files.h"
#include "Literals.h"
#include "MessageRecorder.h"

#include <QtCore/QFile>
#include <QtCore/QTemporaryDir>
#include <QtTest/QTest>

#include <climits>
#include <functional>

using Handler = ConfigurationManifestHandler;
using Messages = QVector<Message>;
/// One public edit of a handler, with all arguments but the last one.
using Edit = std::function<bool(Handler& handler, bool writeToFile)>;

Q_DECLARE_METATYPE(Message)
Q_DECLARE_METATYPE(Edit)

/// Shows all messages in the output of a failed comparison.
inline char* toString(const Messages& messages)
{
    QByteArray text;
    for (const Message& message : messages) {
        const char* const one = toString(message);
        text.append(text.isEmpty() ? "" : "\n").append(one);
        delete[] one;
    }
    return qstrdup(text.constData());
}

/// True when `Member`, the exact type of a member function, is one that the handler has.
template <typename Member>
constexpr bool has(Member)
{
    return true;
}

// Elements with no more members than they need.

inline QJsonObject selection(const QString& instanceName)
{
    return {{u"instanceName"_qs, instanceName}, {u"selectionType"_qs, u"Selection"_qs}};
}

inline QJsonObject node(const QString& instanceName)
{
    return {{u"instanceName"_qs, instanceName}, {u"selectionType"_qs, u"Node"_qs}};
}

/// `element` with `value` under `key`; an array of children for example.
inline QJsonObject with(QJsonObject element, const QString& key, const QJsonValue& value)
{
    element.insert(key, value);
    return element;
}

inline QJsonObject node(const QString& instanceName, const QJsonArray& children)
{
    return with(node(instanceName), u"substructure"_qs, children);
}

/// A handler of no file, with a manifest in memory. Stamps nothing.
class HandlerWithoutFile : public ConfigurationManifestHandler {
public:
    explicit HandlerWithoutFile(const QJsonArray& manifest = {})
        : ConfigurationManifestHandler(QString(), QString(), QString())
    {
        setManifestJsonArray(manifest);
    }
};

/// A manifest file in a folder of its own.
class ManifestFile {
public:
    explicit ManifestFile(const QByteArray& content)
    {
        writeFile(path(), content);
    }

    QString folder() const
    {
        return directory.path();
    }
    QString path() const
    {
        return directory.filePath(u"manifest.json"_qs);
    }
    QByteArray content() const
    {
        return readFile(path());
    }
    /// Whether the folder holds the manifest and nothing else.
    bool isAlone() const
    {
        return everythingIn(folder()) == QStringList(u"manifest.json"_qs);
    }

private:
    const QTemporaryDir directory;
};

// What a save can report.

inline Message saveMessage(const QString& text)
{
    return warning(text, "void ConfigurationManifestHandler::writeToManifestFile()");
}

inline Message fileToSaveIsMissing()
{
    return saveMessage(u"Configuration manifest file does not exist!"_qs);
}

inline Message fileCannotBeWritten(const QString& path)
{
    return saveMessage(u"Cannot open configuration manifest file for writing: \"%1\" !"_qs.arg(path));
}

inline Message fileNotWrittenCompletely()
{
    return saveMessage(u"Error on writing instance list to manifest file!"_qs);
}

// A table of edits: what each one makes of a manifest in memory.

inline void addEditColumns()
{
    QTest::addColumn<QJsonArray>("manifest");
    QTest::addColumn<Edit>("edit");
    QTest::addColumn<bool>("result");
    QTest::addColumn<QJsonArray>("after");
    QTest::addColumn<bool>("modifies");
    QTest::addColumn<Messages>("messages");
}

/// An edit that carries out a change.
inline void addChange(const char* name, const QJsonArray& manifest, const Edit& edit, const QJsonArray& after,
    const Messages& messages = {})
{
    QTest::newRow(name) << manifest << edit << true << after << true << messages;
}

/// An edit that succeeds without a change.
inline void addNoChange(const char* name, const QJsonArray& manifest, const Edit& edit)
{
    QTest::newRow(name) << manifest << edit << true << manifest << false << Messages();
}

/// An edit that fails and leaves everything as it was.
inline void addFailure(const char* name, const QJsonArray& manifest, const Edit& edit, const Messages& messages = {})
{
    QTest::newRow(name) << manifest << edit << false << manifest << false << messages;
}

/// Checks a row. What an earlier edit did makes no difference, and a copy taken before is not touched.
inline void checkEdit()
{
    QFETCH(QJsonArray, manifest);
    QFETCH(Edit, edit);
    QFETCH(bool, result);
    QFETCH(QJsonArray, after);
    QFETCH(bool, modifies);
    QFETCH(Messages, messages);

    Handler handler(QString(), u"module"_qs, u"object"_qs);
    for (const bool modifiedBefore : {false, true}) {
        if (modifiedBefore) {
            handler.setManifestJsonArray({node(u"spare"_qs)});
            QVERIFY(handler.deleteElement(u"spare"_qs, false));
        }
        handler.setManifestJsonArray(manifest);
        const QJsonArray copy = handler.getManifestJsonArray();
        const QByteArray before = compact(manifest);
        MessageRecorder log;
        QCOMPARE(edit(handler, false), result);
        QCOMPARE(log.take(), messages);
        QCOMPARE(compact(handler.getManifestJsonArray()), compact(after));
        QCOMPARE(compact(copy), before);
        QCOMPARE(handler.getModified(), modifiedBefore || modifies);
    }
}

// A table of the rules by which edits save.

/// Whether an edit saves that is asked to.
struct Saves {
    bool whenUnmodified;
    bool whenModified;
};

inline void addSaveRuleColumns()
{
    QTest::addColumn<Edit>("edit");
    QTest::addColumn<bool>("writeToFile");
    QTest::addColumn<bool>("modifiedBefore");
    QTest::addColumn<bool>("result");
    QTest::addColumn<bool>("modifies");
    QTest::addColumn<Messages>("messages");
    QTest::addColumn<bool>("saves");
}

/// The four rows of an edit and its outcome. The edit works on saveRuleManifest().
inline void addSaveRule(
    const char* name, const Edit& edit, bool result, bool modifies, const Saves& saves, const Messages& messages = {})
{
    QTest::addRow("%s, unmodified, not asked", name)
        << edit << false << false << result << modifies << messages << false;
    QTest::addRow("%s, modified, not asked", name) << edit << false << true << result << modifies << messages << false;
    QTest::addRow("%s, unmodified, asked", name)
        << edit << true << false << result << modifies << messages << saves.whenUnmodified;
    QTest::addRow("%s, modified, asked", name)
        << edit << true << true << result << modifies << messages << saves.whenModified;
}

inline QJsonArray saveRuleManifest()
{
    return {selection(u"top"_qs), node(u"a"_qs, {selection(u"a/first"_qs), node(u"second"_qs)}), node(u"spare"_qs)};
}

/// Checks a row by the file itself, which held something else before the edit.
inline void checkSaveRule()
{
    QFETCH(Edit, edit);
    QFETCH(bool, writeToFile);
    QFETCH(bool, modifiedBefore);
    QFETCH(bool, result);
    QFETCH(bool, modifies);
    QFETCH(Messages, messages);
    QFETCH(bool, saves);

    const ManifestFile file(compact(saveRuleManifest()));
    Handler handler(file.path(), QString(), QString());
    handler.parseManifestFile();
    if (modifiedBefore) {
        QVERIFY(handler.setProperty(u"spare"_qs, u"earlier"_qs, u"edit"_qs, false));
    }
    QCOMPARE(handler.getModified(), modifiedBefore);
    const QByteArray before = handler.getManifestContent();
    const QByteArray elsewhere = "[\"written by somebody else\"]";
    writeFile(file.path(), elsewhere);

    MessageRecorder log;
    QCOMPARE(edit(handler, writeToFile), result);
    QCOMPARE(log.take(), messages);
    QCOMPARE(file.content(), saves ? compact(handler.getManifestJsonArray()) : elsewhere);
    QVERIFY(file.isAlone());
    QCOMPARE(handler.getModified(), modifiedBefore || modifies);
    if (!modifies) {
        QCOMPARE(handler.getManifestContent(), before);
    }
}

// A table of edits that succeed while the save that they are asked for fails.

inline void addFailedSaveColumns()
{
    QTest::addColumn<Edit>("edit");
    QTest::addColumn<QJsonArray>("after");
    QTest::addColumn<bool>("fileIsMissing");
}

inline void addFailedSave(const char* name, const Edit& edit, const QJsonArray& after)
{
    QTest::addRow("%s, full disk", name) << edit << after << false;
    QTest::addRow("%s, missing file", name) << edit << after << true;
}

inline void checkFailedSave()
{
    QFETCH(Edit, edit);
    QFETCH(QJsonArray, after);
    QFETCH(bool, fileIsMissing);

    const QByteArray previous = compact(saveRuleManifest());
    const ManifestFile file(previous);
    Handler handler(file.path(), QString(), QString());
    handler.parseManifestFile();

    MessageRecorder log;
    if (fileIsMissing) {
        QVERIFY(QFile::remove(file.path()));
        QCOMPARE(edit(handler, true), true);
        QCOMPARE(log.take(), Messages({fileToSaveIsMissing()}));
        QCOMPARE(everythingIn(file.folder()), QStringList());
    } else {
        {
            const FileSizeLimit fullDisk(0);
            QCOMPARE(edit(handler, true), true);
        }
        QCOMPARE(log.take(), Messages({fileNotWrittenCompletely()}));
        QCOMPARE(file.content(), previous);
        QVERIFY(file.isAlone());
    }
    QCOMPARE(compact(handler.getManifestJsonArray()), compact(after));
    QCOMPARE(handler.getModified(), true);
}
