#include "Edits.h"
#include "Elements.h"
#include "Files.h"
#include "Handlers.h"
#include "LibraryMessages.h"
#include "Literals.h"
#include "MessageRecorder.h"
#include "TestMain.h"

#include <QtCore/QFile>
#include <QtCore/QTemporaryDir>

namespace {

/// Whether an edit with writeToFile saves.
struct Saves {
    bool whenUnmodified;
    bool whenModified;
};

constexpr Saves always = {true, true};
constexpr Saves ifModified = {false, true};
constexpr Saves never = {false, false};

/// The four rows of an edit of saveRuleManifest() and its outcome.
void addRule(const QByteArray& name, const Edit& edit, bool result, bool modifies, const Saves& saves,
    const Messages& messages = {})
{
    for (const bool asked : {false, true}) {
        for (const bool modified : {false, true}) {
            QTest::addRow(
                "%s, %s, %s", name.constData(), modified ? "modified" : "unmodified", asked ? "asked" : "not asked")
                << edit << asked << modified << result << modifies << messages
                << (asked && (modified ? saves.whenModified : saves.whenUnmodified));
        }
    }
}

void addChange(const QByteArray& name, const Edit& edit, const Saves& saves = always)
{
    addRule(name, edit, true, true, saves);
}

void addNoChange(const QByteArray& name, const Edit& edit, const Saves& saves)
{
    addRule(name, edit, true, false, saves);
}

void addFailure(const QByteArray& name, const Edit& edit, const Saves& saves, const Messages& messages = {})
{
    addRule(name, edit, false, false, saves, messages);
}

} // namespace

class tst_SaveRules : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void editSavesByItsRule_data();
    void editSavesByItsRule();
    void failedSaveChangesNoResult_data();
    void failedSaveChangesNoResult();
    void failedEditAndFailedSaveAreReportedInTurn();
};

void tst_SaveRules::editSavesByItsRule_data()
{
    QTest::addColumn<Edit>("edit");
    QTest::addColumn<bool>("writeToFile");
    QTest::addColumn<bool>("modifiedBefore");
    QTest::addColumn<bool>("result");
    QTest::addColumn<bool>("modifies");
    QTest::addColumn<Messages>("messages");
    QTest::addColumn<bool>("saves");

    const QString kind = u"selectionType"_qs;
    const QString key = u"key"_qs;
    const QString first = u"a/first"_qs;
    const QString second = u"a/second"_qs;
    const QString missing = u"a/missing"_qs;
    const QString below = u"missing/second"_qs;

    // Properties: a successful edit saves if the manifest has been modified, by itself or earlier.
    addChange("update with a change", updateEdit(second, kind, 1));
    addNoChange("update without a change", updateEdit(second, kind, u"Node"_qs), ifModified);
    addFailure("update of a missing property", updateEdit(second, key, 1), never);
    addFailure("update of a missing element", updateEdit(missing, kind, 1), never);
    addChange("setProperty with a change", setEdit(second, kind, 1));
    addChange("setProperty of a missing property", setEdit(u"top"_qs, key, 1));
    addNoChange("setProperty without a change", setEdit(second, kind, u"Node"_qs), ifModified);
    addFailure("setProperty of a missing element", setEdit(below, kind, 1), never);
    addChange("removeProperty with a change", removeEdit(first, kind));
    addNoChange("removeProperty without a change", removeEdit(first, key), ifModified);
    addFailure("removeProperty of a missing element", removeEdit(u"x"_qs, kind), never);
    addChange("edit function with a change", modifyEdit(second, editThat(true, true)));
    addNoChange("edit function without a change", modifyEdit(second, editThat(true, false)), ifModified);
    addFailure("edit function that does not apply", modifyEdit(second, editThat(false, false)), never);
    addRule("edit function whose change does not apply, top", modifyEdit(u"top"_qs, editThat(false, true)), false, true,
        never);
    addRule("edit function whose change does not apply, below", modifyEdit(second, editThat(false, true)), false, true,
        never);
    addFailure("edit function for a missing element", modifyEdit(missing, editThat(true, true)), never);

    // Adding, deleting, sorting: saves if it succeeds.
    addChange("addNode with a change", addNode(u"a/new"_qs));
    addNoChange("addNode of what is present", addNode(second), always);
    addFailure("addNode that fails", addNode(below), never);
    addChange("addSelection with a change", addSelection(second));
    addNoChange("addSelection of what is present", addSelection(u"top"_qs), always);
    addFailure("addSelection that fails", addSelection(below), never);
    addChange("deleteElement with a change", deleteElement(second));
    addFailure("deleteElement that fails", deleteElement(missing), never);
    addFailure("deleteElement that fails on the way", deleteElement(below), never);
    addChange("sortElements with a change", sortElements(u"a"_qs, {u"second"_qs, u"first"_qs}));
    addChange("sortElements in the same order", sortElements(u"a"_qs, {u"first"_qs, u"second"_qs}));
    addChange("sortElements at the top", sortElements(QString(), {u"a"_qs, u"spare"_qs, u"top"_qs}));
    addFailure("sortElements that fails", sortElements(u"a"_qs, {u"second"_qs}), never);
    addFailure("sortElements that fails on the way", sortElements(below, {}), never);

    // Moving and replacing: saves even if it fails.
    addChange("moveNode with a change", moveNode(second, 0));
    addChange("moveNode onto its own place", moveNode(second, 1));
    addFailure("moveNode too far", moveNode(second, 2), always, {noSuchPosition()});
    addFailure("moveNode of a missing element", moveNode(missing, 0), always);
    addFailure("moveNode that fails on the way", moveNode(below, 0), always);
    addChange("moveSelection with a change", moveSelection(first, 1));
    addChange("moveSelection onto its own place", moveSelection(first, 0));
    addFailure("moveSelection too far", moveSelection(first, -1), always, {noSuchPosition()});
    addFailure("moveSelection of a missing element", moveSelection(missing, 0), always);
    addFailure("moveSelection that fails on the way", moveSelection(below, 0), always);

    using Update = std::function<Edit(const QString& path, const QJsonObject& element)>;
    const auto addUpdate = [&](const QByteArray& name, const Update& update) {
        addChange(name + " with a change", update(second, node(u"other"_qs)));
        addChange(name + " by an equal one", update(second, node(u"second"_qs)));
        addFailure(name + " of a missing element", update(missing, node(u"other"_qs)), always, {nothingToReplace()});
        addFailure(name + " that fails on the way", update(below, node(u"other"_qs)), always);
    };
    addUpdate("updateNode keeping",
        [](const QString& path, const QJsonObject& element) { return updateNode(path, element, false); });
    addUpdate("updateNode replacing",
        [](const QString& path, const QJsonObject& element) { return updateNode(path, element, true); });
    addUpdate("updateSelection", updateSelection);
}

/// The file is overwritten before the edit, so that its content shows whether the edit saved.
void tst_SaveRules::editSavesByItsRule()
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

void tst_SaveRules::failedSaveChangesNoResult_data()
{
    QTest::addColumn<Edit>("edit");
    QTest::addColumn<QJsonArray>("after");
    QTest::addColumn<bool>("fileIsMissing");

    const QJsonObject first = selection(u"a/first"_qs);
    const QJsonObject second = node(u"second"_qs);
    const QJsonObject other = node(u"other"_qs);
    const auto addEdit = [](const char* name, const Edit& edit, const QJsonArray& after) {
        QTest::addRow("%s, full disk", name) << edit << after << false;
        QTest::addRow("%s, missing file", name) << edit << after << true;
    };
    const auto withChildren = [](const QJsonArray& children) {
        QJsonArray manifest = saveRuleManifest();
        manifest.replace(1, node(u"a"_qs, children));
        return manifest;
    };
    const auto withLast = [](const QJsonObject& element) {
        QJsonArray manifest = saveRuleManifest();
        manifest.replace(2, element);
        return manifest;
    };
    const QJsonArray edited = withChildren({first, with(second, u"key"_qs, u"edited"_qs)});
    addEdit("setProperty", setEdit(u"a/second"_qs, u"key"_qs, u"edited"_qs), edited);
    addEdit("edit function", modifyEdit(u"a/second"_qs, editThat(true, true)), edited);
    addEdit("update", updateEdit(u"spare"_qs, u"instanceName"_qs, u"renamed"_qs), withLast(node(u"renamed"_qs)));
    addEdit("removeProperty", removeEdit(u"spare"_qs, u"selectionType"_qs),
        withLast(objectFrom(R"({"instanceName":"spare"})")));
    addEdit("addNode", addNode(u"a/new"_qs), withChildren({first, second, builtNode(u"new"_qs)}));
    addEdit("addSelection", addSelection(u"a/new"_qs), withChildren({first, second, builtSelection(u"a/new"_qs)}));
    addEdit("deleteElement", deleteElement(u"a/first"_qs), withChildren({second}));
    addEdit("sortElements", sortElements(u"a"_qs, {u"second"_qs, u"first"_qs}), withChildren({second, first}));
    addEdit("moveNode", moveNode(u"a/second"_qs, 0), withChildren({second, first}));
    addEdit("moveSelection", moveSelection(u"a/first"_qs, 1), withChildren({second, first}));
    addEdit("updateNode", updateNode(u"a/second"_qs, other, true), withChildren({first, other}));
    addEdit("updateSelection", updateSelection(u"a/first"_qs, other), withChildren({other, second}));
}

void tst_SaveRules::failedSaveChangesNoResult()
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

void tst_SaveRules::failedEditAndFailedSaveAreReportedInTurn()
{
    const QTemporaryDir folder;
    MessageRecorder log;
    Handler handler(folder.filePath(u"missing.json"_qs), QString(), QString());
    handler.setManifestJsonArray(saveRuleManifest());
    QCOMPARE(handler.moveNode(u"a"_qs, 3, true), false);
    QCOMPARE(log.take(), Messages({noSuchPosition(), fileToSaveIsMissing()}));
    QCOMPARE(handler.updateSelection(u"x"_qs, QJsonObject(), true), false);
    QCOMPARE(log.take(), Messages({nothingToReplace(), fileToSaveIsMissing()}));
    QCOMPARE(handler.addNode(u"x"_qs, silentDescription(), 4, true), true);
    QCOMPARE(log.take(), Messages({indexIsOutOfBounds(), fileToSaveIsMissing()}));
    QCOMPARE(everythingIn(folder.path()), QStringList());
}

MANIFEST_TEST_MAIN(tst_SaveRules)

#include "tst_saverules.moc"
