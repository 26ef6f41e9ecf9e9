#include "Edits.h"
#include "Handlers.h"
#include "HeapUse.h"
#include "Literals.h"
#include "TestMain.h"

#include <QtCore/QFile>
#include <QtCore/QJsonDocument>

#include <algorithm>
#include <cstdlib>
#include <ctime>
#include <limits>

#include <unistd.h>

namespace {

qint64 residentBytes()
{
    QFile file(u"/proc/self/statm"_qs);
    return file.open(QIODevice::ReadOnly) ? file.readAll().split(' ').at(1).toLongLong() * sysconf(_SC_PAGESIZE) : -1;
}

const QString key = u"key"_qs;

enum class Way { Set, SetAndRemove, SetAndUndefine, EditInPlace, ReadAndReplace };

QString numbered(int number)
{
    return u"e%1"_qs.arg(number);
}

QJsonObject element(const QString& name, bool isSelection)
{
    return {{u"iconName"_qs, u"icon"_qs}, {u"instanceName"_qs, name},
        {u"selectionType"_qs, isSelection ? u"Selection"_qs : u"Node"_qs}};
}

/// Elements called e0, e1 and so on.
QJsonArray elements(int count, bool areSelections)
{
    QJsonArray array;
    for (int i = 0; i < count; ++i) {
        const QString prefix = areSelections ? u"folder/"_qs : QString();
        array.append(element(prefix + numbered(i), areSelections));
    }
    return array;
}

/// `siblings` nodes on every level; the first of them has the next level as children.
QJsonArray tree(int depth, int siblings)
{
    QJsonArray level;
    for (int i = 0; i < depth; ++i) {
        QJsonArray above = elements(siblings, false);
        QJsonObject parent = above.first().toObject();
        parent.insert(u"substructure"_qs, level);
        above.replace(0, parent);
        level = above;
    }
    return level;
}

QString pathOf(int depth, const QString& name)
{
    return u"e0/"_qs.repeated(depth - 1) + name;
}

/// A handler that holds the only reference to its manifest.
struct Fixture {
    explicit Fixture(const QJsonArray& manifest)
        : handler(QString(), QString(), QString())
    {
        handler.parseManifestFile(QJsonDocument(manifest).toJson(QJsonDocument::Compact));
    }

    Handler handler;
};

/// An edit of one sibling, and the edit that undoes it.
struct Job {
    const char* name;
    Edit (*edit)(const QString& path, int siblings);
    Edit (*undo)(const QString& path, int index);
    /// Whether the edit reads the names of all siblings, not only of those up to the element.
    bool looksAtAll;
};

Edit nothing(const QString&, int)
{
    return [](Handler&, bool) { return true; };
}

/// An edit that succeeds if `edit` fails.
Edit failing(const Edit& edit)
{
    return [=](Handler& handler, bool writeToFile) { return !edit(handler, writeToFile); };
}

Edit both(const Edit& first, const Edit& second)
{
    return
        [=](Handler& handler, bool writeToFile) { return first(handler, writeToFile) && second(handler, writeToFile); };
}

const QString icon = u"iconName"_qs;
const QJsonObject description {{u"displayPosition"_qs, 1}};

const Job jobs[] = {
    {"setProperty", [](const QString& path, int) { return setEdit(path, key, u"value"_qs); },
        [](const QString& path, int) { return removeEdit(path, key); }, false},
    {"setProperty to what it is", [](const QString& path, int) { return setEdit(path, icon, u"icon"_qs); }, nothing,
        false},
    {"update", [](const QString& path, int) { return updateEdit(path, icon, u"other"_qs); },
        [](const QString& path, int) { return updateEdit(path, icon, u"icon"_qs); }, false},
    {"update that fails", [](const QString& path, int) { return failing(updateEdit(path, key, 1)); }, nothing, false},
    {"removeProperty", [](const QString& path, int) { return removeEdit(path, icon); },
        [](const QString& path, int) { return setEdit(path, icon, u"icon"_qs); }, false},
    {"addNode below", [](const QString& path, int) { return addNode(path + u"/added"_qs, -1, description); },
        [](const QString& path, int) { return removeEdit(path, u"substructure"_qs); }, false},
    {"addNode that is present", [](const QString& path, int) { return addNode(path, -1, description); }, nothing,
        false},
    {"updateNode",
        [](const QString& path, int) { return updateNode(path, element(path.section(u'/', -1), false), false); },
        nothing, false},
    {"moveNode", [](const QString& path, int siblings) { return moveNode(path, siblings / 2); }, moveNode, false},
    {"moveSelection onto its own place",
        [](const QString& path, int siblings) {
            return moveSelection(path, path.endsWith(u"e0"_qs) ? 0 : siblings - 1);
        },
        nothing, false},
    {"deleteElement", [](const QString& path, int) { return deleteElement(path); },
        [](const QString& path, int index) { return addNode(path, index, description); }, false},
    {"deleteElement, and addNode at the end",
        [](const QString& path, int) { return both(deleteElement(path), addNode(path, -1, description)); }, moveNode,
        true},
};

} // namespace

Q_DECLARE_METATYPE(Way)

class tst_HandlerCost : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void overwritingPropertyTakesNoMoreMemory_data();
    void overwritingPropertyTakesNoMoreMemory();
    void lookupReadsEachNameOnce_data();
    void lookupReadsEachNameOnce();
    void editsTakeNoMoreMemoryInLongArrays_data();
    void editsTakeNoMoreMemoryInLongArrays();
    void replacementLeavesBehindWhatWasReplacedInIt();
    void sortingIsLinear();
    void sortingCollidingNamesTakesHardlyLonger_data();
    void sortingCollidingNamesTakesHardlyLonger();
    void loadingHoldsOneTree_data();
    void loadingHoldsOneTree();
};

void tst_HandlerCost::overwritingPropertyTakesNoMoreMemory_data()
{
    QTest::addColumn<int>("depth");
    QTest::addColumn<int>("siblings");
    QTest::addColumn<QChar>("letter");
    QTest::addColumn<Way>("way");

    QTest::newRow("set") << 1 << 1 << QChar(u'x') << Way::Set;
    QTest::newRow("set, not Latin") << 1 << 1 << QChar(u'漢') << Way::Set;
    QTest::newRow("set, five levels deep") << 5 << 1 << QChar(u'x') << Way::Set;
    QTest::newRow("set, five levels deep among siblings") << 5 << 20 << QChar(u'x') << Way::Set;
    QTest::newRow("set and removed") << 1 << 1 << QChar(u'x') << Way::SetAndRemove;
    QTest::newRow("set and removed, five levels deep") << 5 << 1 << QChar(u'x') << Way::SetAndRemove;
    QTest::newRow("a number set and made undefined") << 1 << 1 << QChar(u'x') << Way::SetAndUndefine;
    QTest::newRow("edited in place") << 1 << 1 << QChar(u'x') << Way::EditInPlace;
    QTest::newRow("edited in place, five levels deep") << 5 << 1 << QChar(u'x') << Way::EditInPlace;
    QTest::newRow("read, changed and replaced") << 1 << 1 << QChar(u'x') << Way::ReadAndReplace;
}

void tst_HandlerCost::overwritingPropertyTakesNoMoreMemory()
{
    QFETCH(const int, depth);
    QFETCH(const int, siblings);
    QFETCH(const QChar, letter);
    QFETCH(const Way, way);

    Fixture fixture(tree(depth, siblings));
    Handler& handler = fixture.handler;
    const QString path = pathOf(depth, numbered(0));
    const QString padding(990, letter);
    const auto overwrite = [&](int times) {
        bool done = true;
        for (int i = 0; i < times; ++i) {
            const QString value = padding + QString::number(i).rightJustified(10, u'0');
            if (way == Way::EditInPlace) {
                done = done
                    && handler.modifyPropertyFirst(
                        path,
                        [&](QJsonObject& object, bool& changed) {
                            object.insert(key, value);
                            changed = true;
                            return true;
                        },
                        false);
            } else if (way == Way::ReadAndReplace) {
                QJsonObject object;
                done = done && handler.getNodeElement(path, object);
                object.insert(key, value);
                done = done && handler.updateNode(path, object, false, false);
            } else if (way == Way::SetAndUndefine) {
                const QVariant undefined = QJsonValue(QJsonValue::Undefined);
                done = done && handler.setProperty(path, key, i, false)
                    && handler.setProperty(path, key, undefined, false);
            } else {
                done = done && handler.setProperty(path, key, value, false);
            }
            if (way == Way::SetAndRemove) {
                done = done && handler.removeProperty(path, key, false);
            }
        }
        return done;
    };

    QVERIFY(overwrite(1000));
    const qint64 resident = residentBytes();
    const qint64 live = heapUse().kept;
    QVERIFY(resident > 0);
    for (int i = 0; i < 100; ++i) {
        QVERIFY(overwrite(1000));
        const qint64 more = heapUse().kept - live;
        QVERIFY2(more < 10000, QByteArray::number(more).constData());
    }
    const qint64 more = residentBytes() - resident;
    QVERIFY2(more < 2000000, QByteArray::number(more).constData());
}

void tst_HandlerCost::lookupReadsEachNameOnce_data()
{
    QTest::addColumn<int>("siblings");
    QTest::addColumn<bool>("selections");

    for (const int siblings : {100, 1000, 10000}) {
        QTest::addRow("%d nodes", siblings) << siblings << false;
        QTest::addRow("%d selections", siblings) << siblings << true;
    }
}

void tst_HandlerCost::lookupReadsEachNameOnce()
{
    QFETCH(const int, siblings);
    QFETCH(const bool, selections);
    const QJsonArray array = elements(siblings, selections);
    const QString last = numbered(siblings - 1);
    const QString missing = numbered(siblings);

    // Reading a name takes one allocation, which is freed before the next one.
    Fixture fixture(array);
    int index = 0;
    const HeapUse miss = heapUseOf([&] { fixture.handler.getElementFromInstance(array, missing, index); });
    QCOMPARE(index, -1);
    QVERIFY2(miss.calls <= siblings + 10, QByteArray::number(miss.calls).constData());
    QVERIFY2(miss.peak < 1000, QByteArray::number(miss.peak).constData());

    QJsonObject found;
    bool done = false;
    const HeapUse hit = heapUseOf([&] { done = fixture.handler.getNodeElement(last, found); });
    QVERIFY(done);
    QVERIFY2(hit.calls <= siblings + 20, QByteArray::number(hit.calls).constData());
    QVERIFY2(hit.peak < 2000, QByteArray::number(hit.peak).constData());
}

void tst_HandlerCost::editsTakeNoMoreMemoryInLongArrays_data()
{
    QTest::addColumn<int>("siblings");
    QTest::addColumn<int>("index");

    for (const int siblings : {100, 1000, 10000}) {
        QTest::addRow("first of %d", siblings) << siblings << 0;
        QTest::addRow("last of %d", siblings) << siblings << siblings - 1;
    }
}

void tst_HandlerCost::editsTakeNoMoreMemoryInLongArrays()
{
    QFETCH(const int, siblings);
    QFETCH(const int, index);
    constexpr int depth = 4;
    const QString path = pathOf(depth, numbered(index));

    Fixture fixture(tree(depth, siblings));
    const QJsonArray before = QJsonDocument::fromJson(fixture.handler.getManifestContent()).array();
    for (const Job& job : jobs) {
        const Edit edit = job.edit(path, siblings);
        bool done = false;
        const HeapUse cost = heapUseOf([&] { done = edit(fixture.handler, false); });
        QVERIFY2(done && job.undo(path, index)(fixture.handler, false), job.name);

        // A copied array would show in the peak. Reading names takes one allocation each.
        const qint64 lookups = (job.looksAtAll ? siblings : 0) + index;
        const QByteArray figures = QByteArray(job.name) + ": " + QByteArray::number(cost.peak) + " bytes at once, "
            + QByteArray::number(cost.calls - lookups) + " calls besides the names";
        QVERIFY2(cost.peak < 6000 && cost.calls < lookups + 200, figures.constData());
    }
    const QString parent = pathOf(depth - 1, numbered(0));
    int number = 0;
    QVERIFY(fixture.handler.getNumberOfInstances(parent, number));
    QCOMPARE(number, siblings);
}

// JSON objects never free replaced strings. The handler rebuilds the object before storing it, which drops them.
void tst_HandlerCost::replacementLeavesBehindWhatWasReplacedInIt()
{
    Fixture fixture(elements(10, false));
    const QString name = numbered(3);
    const HeapUse use = heapUseOf([&] {
        for (const bool replacesChildren : {false, true}) {
            QJsonObject replacement = element(name, false);
            for (int i = 0; i < 100; ++i) {
                replacement.insert(u"labelTextId"_qs, QString(10000, u'a'));
            }
            fixture.handler.updateNode(name, replacement, replacesChildren, false);
        }
    });
    QVERIFY2(use.peak > 1000000 && use.kept < 100000, QByteArray::number(use.kept).constData());
}

void tst_HandlerCost::sortingIsLinear()
{
    std::clock_t time = 0;
    const auto sort = [&](int count) {
        Fixture fixture(elements(count, false));
        QStringList names;
        for (int i = count - 1; i >= 0; --i) {
            names << numbered(i);
        }
        bool done = false;
        const std::clock_t start = std::clock();
        const HeapUse cost = heapUseOf([&] { done = fixture.handler.sortElements(QString(), names, false); });
        time = std::clock() - start;
        const QJsonArray sorted = fixture.handler.getManifestJsonArray();
        const bool reversed = sorted.first().toObject() == element(names.first(), false)
            && sorted.last().toObject() == element(names.last(), false);
        return done && reversed ? cost : HeapUse {};
    };

    std::clock_t shortTime = std::numeric_limits<std::clock_t>::max();
    std::clock_t longTime = shortTime;
    for (int i = 0; i < 10; ++i) {
        const HeapUse few = sort(2000);
        shortTime = std::min(shortTime, time);
        const HeapUse many = sort(20000);
        longTime = std::min(longTime, time);
        QVERIFY(few.taken > 0 && many.taken > 0);
        QVERIFY2(many.taken < 15 * few.taken && many.calls < 15 * few.calls,
            qPrintable(u"%1 to %2 bytes"_qs.arg(few.taken).arg(many.taken)));
    }
    QVERIFY2(longTime < 30 * shortTime, qPrintable(u"%1 to %2 ticks"_qs.arg(shortTime).arg(longTime)));
}

// Two texts of equal length whose hashes are equal with any common prefix. Without a seed qHash() uses another
// function.
QPair<QString, QString> collision(uint seed)
{
    constexpr quint64 texts = Q_UINT64_C(36) * 36 * 36 * 36 * 36 * 36 * 36;
    QHash<uint, QString> seen;
    for (quint64 i = 1;; ++i) {
        const QString text = QString::number(i * Q_UINT64_C(2654435761) % texts, 36).rightJustified(7, u'0');
        const uint hash = qHash(text, seed);
        if (seen.contains(hash)) {
            return {seen.value(hash), text};
        }
        seen.insert(hash, text);
    }
}

void tst_HandlerCost::sortingCollidingNamesTakesHardlyLonger_data()
{
    QTest::addColumn<uint>("seed");
    QTest::newRow("without a seed") << 0U;
    QTest::newRow("with a seed") << 1U;
}

void tst_HandlerCost::sortingCollidingNamesTakesHardlyLonger()
{
    constexpr int bits = 14;
    constexpr int count = 1 << bits;
    QFETCH(const uint, seed);
    const auto blocks = collision(seed);
    const auto names = [&](const QString& zero, const QString& one) {
        QStringList all;
        for (int i = 0; i < count; ++i) {
            QString name;
            for (int bit = 0; bit < bits; ++bit) {
                name += (i >> bit) % 2 == 0 ? zero : one;
            }
            all.append(name);
        }
        return all;
    };
    const auto ticks = [](const QStringList& order) {
        QJsonArray siblings;
        for (const QString& name : order) {
            siblings.prepend(element(name, false));
        }
        std::clock_t best = std::numeric_limits<std::clock_t>::max();
        for (int i = 0; i < 3; ++i) {
            Fixture fixture(siblings);
            const std::clock_t start = std::clock();
            const bool done = fixture.handler.sortElements(QString(), order, false);
            best = std::min(best, std::clock() - start);
            if (!done || fixture.handler.getManifestJsonArray().first().toObject() != element(order.first(), false)) {
                qFatal("not sorted");
            }
        }
        return best;
    };
    const QStringList colliding = names(blocks.first, blocks.second);
    QCOMPARE(qHash(colliding.first(), 2 * seed), qHash(colliding.last(), 2 * seed));
    const std::clock_t ordinary = ticks(names(u"0000000"_qs, u"0000001"_qs));
    const std::clock_t collided = ticks(colliding);
    QVERIFY2(collided < 8 * ordinary, qPrintable(u"%1 to %2 ticks"_qs.arg(ordinary).arg(collided)));
}

void tst_HandlerCost::loadingHoldsOneTree_data()
{
    QTest::addColumn<QString>("nameInFile");
    QTest::addColumn<QString>("name");

    QTest::newRow("nothing to stamp") << QString() << QString();
    QTest::newRow("stamped already") << u"drive"_qs << u"drive"_qs;
    QTest::newRow("stamped by another") << u"drive"_qs << u"motor"_qs;
    QTest::newRow("stamped anew") << QString() << u"drive"_qs;
}

void tst_HandlerCost::loadingHoldsOneTree()
{
    QFETCH(const QString, nameInFile);
    QFETCH(const QString, name);
    QJsonArray selections = elements(10000, true);
    ConfigurationManifestHandler(QString(), nameInFile, nameInFile).addModuleAndObjectNameToManifest(selections);
    const QByteArray content = QJsonDocument(selections).toJson(QJsonDocument::Compact);
    selections = QJsonArray();

    ConfigurationManifestHandler handler(QString(), name, name);
    const HeapUse loading = heapUseOf([&] { handler.parseManifestFile(content); });
    QCOMPARE(handler.getManifestJsonArray().size(), 10000);

    // Parse the loaded content without the handler, for comparison.
    const QByteArray loaded = handler.getManifestContent();
    QJsonDocument document;
    const HeapUse parser = heapUseOf([&] { document = QJsonDocument::fromJson(loaded); });
    const QByteArray figures = QByteArray::number(loading.peak) + " bytes instead of " + QByteArray::number(parser.peak)
        + ", kept " + QByteArray::number(loading.kept);
    QVERIFY2(loading.peak < parser.peak * 13 / 10, figures.constData());
}

MANIFEST_TEST_MAIN(tst_HandlerCost)

#include "tst_handlercost.moc"
