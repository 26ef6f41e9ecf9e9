#include "ConfigurationStructureElementList.h"
#include "Files.h"
#include "LibraryMessages.h"
#include "Literals.h"
#include "MessageRecorder.h"
#include "TestMain.h"

#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QMetaObject>
#include <QtCore/QPointer>
#include <QtCore/QSet>
#include <QtCore/QTemporaryDir>

#include <limits>
#include <memory>
#include <type_traits>

using Element = ConfigurationStructureElement;
using ElementList = ConfigurationStructureElementList;
static_assert(std::is_base_of_v<QObject, ElementList>);
static_assert(!std::is_copy_constructible_v<ElementList>);

namespace {

Message noSuchElement(int index, int count)
{
    return warning(u"Received invalid index for element list: %1 , %2 !"_qs.arg(index).arg(count),
        "ConfigurationStructureElement ConfigurationStructureElementList::getElement(int) const");
}

/// A folder of entries, each with a display position. Its listing has the order in which the entries were added.
class Listing {
public:
    void addFile(const QString& name, int position)
    {
        writeFile(root.filePath(name), content(position));
        listed.append(QFileInfo(root.filePath(name)));
    }

    void addFolder(const QString& name, int position)
    {
        writeFile(root.filePath(name) + u"/Folder.menu.json"_qs, content(position));
        listed.append(QFileInfo(root.filePath(name)));
    }

    // Adds an entry without a description.
    void addEntry(const QString& name)
    {
        listed.append(QFileInfo(root.filePath(name)));
    }

    const QList<QFileInfo>& entries() const
    {
        return listed;
    }

    QString path() const
    {
        return root.path();
    }

private:
    static QByteArray content(int position)
    {
        return "{\"displayPosition\":" + QByteArray::number(position) + ",\"hide\":false}";
    }

    QTemporaryDir root;
    QList<QFileInfo> listed;
};

QString instanceNameOf(const Element& element)
{
    return element.getElementAsJsonObject().value(u"instanceName"_qs).toString();
}

QStringList instanceNames(const ElementList& list)
{
    QStringList names;
    const QVector<Element> elements = list.getElementList();
    for (const Element& element : elements) {
        names.append(instanceNameOf(element));
    }
    return names;
}

const QString suffix = u".config.json"_qs;

} // namespace

class tst_ConfigurationStructureElementList : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void emptyListingGivesNoElements();
    void filesWithSuffixAndFoldersAreKept();
    void otherEntriesAreDroppedUnread();
    void elementsWithoutUsefulDescriptionAreKept();
    void entriesAreReadInOrderOfListing();
    void filesComeBeforeFoldersEachByPosition();
    void equalElementsKeepOrderOfListing_data();
    void equalElementsKeepOrderOfListing();
    void manyElementsAreSortedAndComplete_data();
    void manyElementsAreSortedAndComplete();
    void instanceNamesAreRelativeToPath();
    void indexBeyondEndGivesEmptyElement_data();
    void indexBeyondEndGivesEmptyElement();
    void elementsAreReturnedAsCopies();
    void folderIsNeverReadAgain();
    void suffixIsKeptByReference();
    void parentOwnsList();
    void metaObjectHoldsClassNameOnly();
    void castsByNameFindClassAndItsBase_data();
    void castsByNameFindClassAndItsBase();
    void metaCallsAreThoseOfBase();
};

void tst_ConfigurationStructureElementList::emptyListingGivesNoElements()
{
    MessageRecorder log;
    const ElementList list({}, u"/data/cfg"_qs, suffix);
    QCOMPARE(list.getCountElements(), 0);
    QVERIFY(list.getElementList().isEmpty());
    QCOMPARE(log.take(), Messages());

    QCOMPARE(list.getElement(0).isValid(), false);
    QCOMPARE(log.take(), Messages({noSuchElement(0, 0)}));
}

void tst_ConfigurationStructureElementList::filesWithSuffixAndFoldersAreKept()
{
    Listing listing;
    listing.addFolder(u"Net"_qs, -5);
    listing.addFile(u"b.process.json"_qs, 1);
    listing.addFile(u"a.config.json"_qs, 9);
    const MessageRecorder log;
    QCOMPARE(instanceNames(ElementList(listing.entries(), listing.path(), suffix)), QStringList({u"a"_qs, u"Net"_qs}));
    QCOMPARE(instanceNames(ElementList(listing.entries(), listing.path(), u".process.json"_qs)),
        QStringList({u"b"_qs, u"Net"_qs}));
}

void tst_ConfigurationStructureElementList::otherEntriesAreDroppedUnread()
{
    Listing listing;
    for (const QString& name : {u"notes.txt"_qs, u"a.CONFIG.JSON"_qs, u"a.config.json.old"_qs, u"a.process.json"_qs}) {
        writeFile(listing.path() % u'/' % name, "{");
        listing.addEntry(name);
    }
    listing.addFolder(u"x.config.json"_qs, 1);
    const MessageRecorder log;
    const ElementList list(listing.entries(), listing.path(), suffix);
    QCOMPARE(list.getCountElements(), 1);
    QCOMPARE(list.getElement(0).isDirectory(), true);
    QCOMPARE(list.getElement(0).isValid(), true);
    QCOMPARE(instanceNames(list), QStringList({u"x"_qs}));
}

void tst_ConfigurationStructureElementList::elementsWithoutUsefulDescriptionAreKept()
{
    Listing listing;
    writeFile(listing.path() + u"/broken.config.json"_qs, "{");
    QVERIFY(QDir(listing.path()).mkdir(u"Empty"_qs));
    listing.addEntry(u"Empty"_qs);
    listing.addEntry(u"broken.config.json"_qs);
    listing.addFile(u"a.config.json"_qs, 0);
    listing.addEntry(u"gone.config.json"_qs);

    MessageRecorder log;
    const ElementList list(listing.entries(), listing.path(), suffix);
    QCOMPARE(log.take(),
        Messages({noFolderDescription(), positionMissing(), fileNotJson(), positionMissing(), hideMissing(), noFile(),
            positionMissing(), hideMissing()}));
    QCOMPARE(instanceNames(list), QStringList({u"broken"_qs, u"gone"_qs, u"a"_qs, u"Empty"_qs}));
}

void tst_ConfigurationStructureElementList::entriesAreReadInOrderOfListing()
{
    Listing listing;
    QVERIFY(QDir(listing.path()).mkdir(u"Net"_qs));
    writeFile(listing.path() + u"/b.config.json"_qs, R"({"displayPosition":2})");
    writeFile(listing.path() + u"/a.config.json"_qs, R"({"hide":true})");
    listing.addEntry(u"b.config.json"_qs);
    listing.addEntry(u"Net"_qs);
    listing.addEntry(u"a.config.json"_qs);

    MessageRecorder log;
    const ElementList list(listing.entries(), listing.path(), suffix);
    QCOMPARE(log.take(), Messages({hideMissing(), noFolderDescription(), positionMissing(), positionMissing()}));
    QCOMPARE(instanceNames(list), QStringList({u"a"_qs, u"b"_qs, u"Net"_qs}));
}

void tst_ConfigurationStructureElementList::filesComeBeforeFoldersEachByPosition()
{
    Listing listing;
    listing.addFolder(u"D1"_qs, 1);
    listing.addFile(u"f5.config.json"_qs, 5);
    listing.addFile(u"f-1.config.json"_qs, -1);
    listing.addFolder(u"D0"_qs, 0);
    listing.addFile(u"f-3.config.json"_qs, -3);
    listing.addFolder(u"D-2"_qs, -2);
    const MessageRecorder log;
    const ElementList list(listing.entries(), listing.path(), suffix);
    QCOMPARE(instanceNames(list), QStringList({u"f-3"_qs, u"f-1"_qs, u"f5"_qs, u"D-2"_qs, u"D0"_qs, u"D1"_qs}));
    QCOMPARE(list.getCountElements(), 6);
    QCOMPARE(instanceNameOf(list.getElement(0)), u"f-3"_qs);
    QCOMPARE(instanceNameOf(list.getElement(5)), u"D1"_qs);
}

void tst_ConfigurationStructureElementList::equalElementsKeepOrderOfListing_data()
{
    QTest::addColumn<int>("files");
    QTest::addColumn<int>("folders");
    QTest::addColumn<int>("positions");
    QTest::addColumn<int>("droppedFiles");
    QTest::newRow("three files") << 3 << 0 << 1 << 0;
    QTest::newRow("three folders") << 0 << 3 << 1 << 0;
    QTest::newRow("sixteen files") << 16 << 0 << 1 << 0;
    QTest::newRow("sixteen folders") << 0 << 16 << 1 << 0;
    QTest::newRow("eight files, eight folders") << 8 << 8 << 1 << 0;
    QTest::newRow("eight files, eight folders, three positions") << 8 << 8 << 3 << 0;
    QTest::newRow("sixteen files, five positions") << 16 << 0 << 5 << 0;
    QTest::newRow("sixteen files among many others") << 16 << 0 << 2 << 40;
}

void tst_ConfigurationStructureElementList::equalElementsKeepOrderOfListing()
{
    QFETCH(int, files);
    QFETCH(int, folders);
    QFETCH(int, positions);
    QFETCH(int, droppedFiles);

    Listing listing;
    QVector<QStringList> fileNames(positions);
    QVector<QStringList> folderNames(positions);
    // The names count down, so that an order by name differs from the order of the listing.
    for (int i = 99; i > 0; --i) {
        const int position = i % positions;
        if (i > 99 - folders) {
            folderNames[position].append(u"D%1"_qs.arg(i));
            listing.addFolder(folderNames[position].constLast(), position);
        }
        if (i > 99 - files) {
            fileNames[position].append(u"f%1"_qs.arg(i));
            listing.addFile(fileNames[position].constLast() + suffix, position);
        }
        if (i > 99 - droppedFiles) {
            listing.addFile(u"%1.txt"_qs.arg(i), position);
        }
    }
    QStringList expected;
    for (const QVector<QStringList>& kind : {fileNames, folderNames}) {
        for (const QStringList& names : kind) {
            expected += names;
        }
    }

    const MessageRecorder log;
    QCOMPARE(instanceNames(ElementList(listing.entries(), listing.path(), suffix)), expected);
}

void tst_ConfigurationStructureElementList::manyElementsAreSortedAndComplete_data()
{
    QTest::addColumn<int>("count");
    QTest::addColumn<int>("positions");
    QTest::newRow("seventeen, one position") << 17 << 1;
    QTest::newRow("seventeen, all different") << 17 << 17;
    QTest::newRow("hundred, one position") << 100 << 1;
    QTest::newRow("hundred, all different") << 100 << 100;
    QTest::newRow("five hundred, seven positions") << 500 << 7;
}

void tst_ConfigurationStructureElementList::manyElementsAreSortedAndComplete()
{
    QFETCH(int, count);
    QFETCH(int, positions);

    Listing listing;
    for (int i = 0; i < count; ++i) {
        const int position = i * 37 % positions - positions / 2;
        if (i % 3 == 0) {
            listing.addFolder(u"D%1"_qs.arg(i), position);
        } else {
            listing.addFile(u"f%1"_qs.arg(i) + suffix, position);
        }
    }

    const MessageRecorder log;
    const ElementList list(listing.entries(), listing.path(), suffix);
    const QVector<Element> elements = list.getElementList();
    QCOMPARE(elements.size(), count);
    QCOMPARE(list.getCountElements(), count);
    QSet<QString> paths;
    for (int i = 0; i < count; ++i) {
        const Element& element = elements.at(i);
        paths.insert(element.getFileInfo().filePath());
        QCOMPARE(instanceNameOf(element), element.getFileInfo().baseName());
        if (i == 0) {
            continue;
        }
        const Element& previous = elements.at(i - 1);
        QVERIFY(!previous.isDirectory() || element.isDirectory());
        QVERIFY(previous.isDirectory() != element.isDirectory()
            || previous.getDisplayPosition() <= element.getDisplayPosition());
    }
    QSet<QString> listedPaths;
    for (const QFileInfo& entry : listing.entries()) {
        listedPaths.insert(entry.filePath());
    }
    QCOMPARE(paths, listedPaths);
}

void tst_ConfigurationStructureElementList::instanceNamesAreRelativeToPath()
{
    Listing listing;
    listing.addFile(u"Net/Eth/port.config.json"_qs, 0);
    listing.addFolder(u"Net/Eth/Sub"_qs, 0);
    const MessageRecorder log;
    QCOMPARE(instanceNames(ElementList(listing.entries(), listing.path(), suffix)),
        QStringList({u"Net/Eth/port"_qs, u"Sub"_qs}));
    QCOMPARE(instanceNames(ElementList(listing.entries(), listing.path() + u"/Net"_qs, suffix)),
        QStringList({u"Eth/port"_qs, u"Sub"_qs}));
}

void tst_ConfigurationStructureElementList::indexBeyondEndGivesEmptyElement_data()
{
    QTest::addColumn<int>("index");
    QTest::newRow("count") << 3;
    QTest::newRow("above the count") << 5;
    QTest::newRow("greatest") << std::numeric_limits<int>::max();
}

void tst_ConfigurationStructureElementList::indexBeyondEndGivesEmptyElement()
{
    QFETCH(int, index);

    Listing listing;
    listing.addFile(u"a.config.json"_qs, 1);
    listing.addFile(u"b.config.json"_qs, 2);
    listing.addFile(u"c.config.json"_qs, 3);
    MessageRecorder log;
    const ElementList list(listing.entries(), listing.path(), suffix);
    QCOMPARE(instanceNameOf(list.getElement(2)), u"c"_qs);
    QCOMPARE(log.take(), Messages());

    const Element element = list.getElement(index);
    QCOMPARE(log.take(), Messages({noSuchElement(index, 3)}));
    QCOMPARE(element.isValid(), false);
    QCOMPARE(element.isDirectory(), false);
    QCOMPARE(element.getDisplayPosition(), -1);
    QCOMPARE(element.getElementAsJsonObject(), QJsonObject());
    QCOMPARE(element.getFileInfo().filePath(), QString());
}

void tst_ConfigurationStructureElementList::elementsAreReturnedAsCopies()
{
    Listing listing;
    listing.addFile(u"a.config.json"_qs, 1);
    const MessageRecorder log;
    const ElementList list(listing.entries(), listing.path(), suffix);
    QVector<Element> elements = list.getElementList();
    elements[0].setIconName(u"changed.svg"_qs);
    elements.append(Element());
    Element element = list.getElement(0);
    element.setIconName(u"changed.svg"_qs);

    QCOMPARE(list.getCountElements(), 1);
    QCOMPARE(list.getElement(0).getIconName(), QString());
    QCOMPARE(list.getElementList().constFirst().getIconName(), QString());
}

void tst_ConfigurationStructureElementList::folderIsNeverReadAgain()
{
    const MessageRecorder log;
    std::unique_ptr<ElementList> list;
    {
        Listing listing;
        listing.addFile(u"a.config.json"_qs, 1);
        listing.addFolder(u"Net"_qs, 1);
        list = std::make_unique<ElementList>(listing.entries(), listing.path(), suffix);
    }
    QCOMPARE(list->getCountElements(), 2);
    QCOMPARE(instanceNames(*list), QStringList({u"a"_qs, u"Net"_qs}));
    QCOMPARE(list->getElement(1).isDirectory(), true);
    QCOMPARE(list->getElement(1).isValid(), true);
}

void tst_ConfigurationStructureElementList::suffixIsKeptByReference()
{
    const MessageRecorder log;
    QString callersSuffix = suffix;
    {
        const ElementList list({}, QString(), callersSuffix);
        const ElementList sublist({}, QString(), list.getSuffix());
        QCOMPARE(&list.getSuffix(), &callersSuffix);
        QCOMPARE(&sublist.getSuffix(), &callersSuffix);

        callersSuffix = u"changed"_qs;
        QCOMPARE(list.getSuffix(), u"changed"_qs);
        QCOMPARE(sublist.getSuffix(), u"changed"_qs);
    }
    QCOMPARE(callersSuffix, u"changed"_qs);
}

void tst_ConfigurationStructureElementList::parentOwnsList()
{
    const MessageRecorder log;
    QCOMPARE(ElementList({}, QString(), suffix).parent(), nullptr);
    QCOMPARE(ElementList({}, QString(), suffix, nullptr).parent(), nullptr);

    auto parent = std::make_unique<QObject>();
    const QPointer<ElementList> list = new ElementList({}, QString(), suffix, parent.get());
    QCOMPARE(list->parent(), parent.get());
    parent.reset();
    QVERIFY(list.isNull());
}

void tst_ConfigurationStructureElementList::metaObjectHoldsClassNameOnly()
{
    const MessageRecorder log;
    const ElementList list({}, QString(), suffix);
    const QMetaObject& metaObject = ElementList::staticMetaObject;
    const QMetaObject& baseMetaObject = QObject::staticMetaObject;
    QCOMPARE(list.metaObject(), &metaObject);
    QCOMPARE(metaObject.className(), "ConfigurationStructureElementList");
    QCOMPARE(metaObject.superClass(), &baseMetaObject);
    QCOMPARE(metaObject.methodCount(), baseMetaObject.methodCount());
    QCOMPARE(metaObject.propertyCount(), baseMetaObject.propertyCount());
    QCOMPARE(metaObject.enumeratorCount(), baseMetaObject.enumeratorCount());
    QCOMPARE(metaObject.classInfoCount(), baseMetaObject.classInfoCount());
    QCOMPARE(metaObject.constructorCount(), 0);
}

void tst_ConfigurationStructureElementList::castsByNameFindClassAndItsBase_data()
{
    QTest::addColumn<QByteArray>("name");
    QTest::addColumn<bool>("isOne");
    QTest::newRow("its own") << QByteArray("ConfigurationStructureElementList") << true;
    QTest::newRow("its base") << QByteArray("QObject") << true;
    QTest::newRow("another class") << QByteArray("ConfigurationManifestCreator") << false;
    QTest::newRow("its element") << QByteArray("ConfigurationStructureElement") << false;
    QTest::newRow("other case") << QByteArray("configurationstructureelementlist") << false;
    QTest::newRow("empty") << QByteArray("") << false;
    QTest::newRow("null") << QByteArray() << false;
}

void tst_ConfigurationStructureElementList::castsByNameFindClassAndItsBase()
{
    QFETCH(QByteArray, name);
    QFETCH(bool, isOne);

    const MessageRecorder log;
    ElementList list({}, QString(), suffix);
    const void* const expected = isOne ? &list : nullptr;
    QCOMPARE(static_cast<const void*>(list.qt_metacast(name.isNull() ? nullptr : name.constData())), expected);
}

void tst_ConfigurationStructureElementList::metaCallsAreThoseOfBase()
{
    const MessageRecorder log;
    ElementList list({}, QString(), suffix);
    QObject object;
    for (const int beyond : {0, 3}) {
        const int method = QObject::staticMetaObject.methodCount() + beyond;
        QCOMPARE(list.qt_metacall(QMetaObject::InvokeMetaMethod, method, nullptr), beyond);
        QCOMPARE(object.qt_metacall(QMetaObject::InvokeMetaMethod, method, nullptr), beyond);
    }
    QVERIFY(list.setProperty("objectName", u"named"_qs));
    QCOMPARE(list.objectName(), u"named"_qs);
}

MANIFEST_TEST_MAIN(tst_ConfigurationStructureElementList)

#include "tst_configurationstructureelementlist.moc"
