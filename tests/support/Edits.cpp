#include "Edits.h"

#include "Elements.h"
#include "Files.h"
#include "Literals.h"

#include <QtTest/QTest>

Edit updateEdit(const QString& path, const QString& key, const QVariant& value)
{
    return [=](Handler& handler, bool writeToFile) { return handler.update(path, key, value, writeToFile); };
}

Edit setEdit(const QString& path, const QString& key, const QVariant& value)
{
    return [=](Handler& handler, bool writeToFile) { return handler.setProperty(path, key, value, writeToFile); };
}

Edit removeEdit(const QString& path, const QString& key)
{
    return [=](Handler& handler, bool writeToFile) { return handler.removeProperty(path, key, writeToFile); };
}

Edit modifyEdit(const QString& path, const ElementEdit& edit)
{
    return [=](Handler& handler, bool writeToFile) { return handler.modifyPropertyFirst(path, edit, writeToFile); };
}

Edit deleteElement(const QString& path)
{
    return [=](Handler& handler, bool writeToFile) { return handler.deleteElement(path, writeToFile); };
}

Edit sortElements(const QString& path, const QStringList& names)
{
    return [=](Handler& handler, bool writeToFile) { return handler.sortElements(path, names, writeToFile); };
}

Edit moveSelection(const QString& path, int newIndex)
{
    return [=](Handler& handler, bool writeToFile) { return handler.moveSelection(path, newIndex, writeToFile); };
}

Edit moveNode(const QString& path, int newIndex)
{
    return [=](Handler& handler, bool writeToFile) { return handler.moveNode(path, newIndex, writeToFile); };
}

Edit updateSelection(const QString& path, const QJsonObject& element)
{
    return [=](Handler& handler, bool writeToFile) { return handler.updateSelection(path, element, writeToFile); };
}

Edit updateNode(const QString& path, const QJsonObject& element, bool replaceSubstructure)
{
    return [=](Handler& handler, bool writeToFile) {
        return handler.updateNode(path, element, replaceSubstructure, writeToFile);
    };
}

QJsonObject silentDescription()
{
    return {{u"displayPosition"_qs, 1}, {u"hide"_qs, false}};
}

Edit addNode(const QString& path, int index, const QJsonObject& description)
{
    return [=](Handler& handler, bool writeToFile) { return handler.addNode(path, description, index, writeToFile); };
}

Edit addSelection(const QString& path, int index, const QJsonObject& description)
{
    return
        [=](Handler& handler, bool writeToFile) { return handler.addSelection(path, description, index, writeToFile); };
}

ElementEdit editThat(bool applies, bool tellsOfTheChange)
{
    return [=](QJsonObject& element, bool& changed) {
        element.insert(u"key"_qs, u"edited"_qs);
        if (tellsOfTheChange) {
            changed = true;
        }
        return applies;
    };
}

void addEditColumns()
{
    QTest::addColumn<QJsonArray>("manifest");
    QTest::addColumn<Edit>("edit");
    QTest::addColumn<bool>("result");
    QTest::addColumn<QJsonArray>("after");
    QTest::addColumn<bool>("modifies");
    QTest::addColumn<Messages>("messages");
}

void addChange(
    const char* name, const QJsonArray& manifest, const Edit& edit, const QJsonArray& after, const Messages& messages)
{
    QTest::newRow(name) << manifest << edit << true << after << true << messages;
}

void addNoChange(const char* name, const QJsonArray& manifest, const Edit& edit)
{
    QTest::newRow(name) << manifest << edit << true << manifest << false << Messages();
}

void addFailure(const char* name, const QJsonArray& manifest, const Edit& edit, const Messages& messages)
{
    QTest::newRow(name) << manifest << edit << false << manifest << false << messages;
}

void checkEdit()
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
