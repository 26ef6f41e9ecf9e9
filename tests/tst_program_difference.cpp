#include "Difference.h"
#include "ManifestFixture.h"
#include "NearestWord.h"
#include "TestMain.h"

#include <QtCore/QRegularExpression>

namespace {

QStringList linesBetween(const QJsonArray& before, const QJsonArray& after, Stamps stamps = Stamps::DoNotCount)
{
    const TreeElements treeBefore = treeOf(before);
    const TreeElements treeAfter = treeOf(after);
    QStringList lines;
    const QVector<ElementChange> changes = differencesOf(treeBefore, treeAfter, stamps);
    for (const ElementChange& change : changes) {
        lines.append(toLine(change, ValueLength::Short));
    }
    return lines;
}

} // namespace

class tst_ProgramDifference : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void differencesAreTold_data();
    void differencesAreTold();
    void stampsCountOnlyWhenTheyAreToCount();
    void summaryCountsWhatIsBelow();
    void fewestElementsAreMoved_data();
    void fewestElementsAreMoved();
    void longValuesAreCutShort();
    void nearestWordIsWhatWasMeant_data();
    void nearestWordIsWhatWasMeant();
};

void tst_ProgramDifference::differencesAreTold_data()
{
    QTest::addColumn<QJsonArray>("before");
    QTest::addColumn<QJsonArray>("after");
    QTest::addColumn<QStringList>("lines");

    const QJsonObject a = selection(u"a"_qs);
    const QJsonObject b = selection(u"b"_qs);
    const QString key = u"key"_qs;
    const QString children = u"substructure"_qs;
    QTest::newRow("nothing") << QJsonArray() << QJsonArray() << QStringList();
    QTest::newRow("the same") << QJsonArray {a, node(u"n"_qs, {b})} << QJsonArray {a, node(u"n"_qs, {b})}
                              << QStringList();
    QTest::newRow("added") << QJsonArray {b} << QJsonArray {a, b}
                           << QStringList(u"added: selection 'a', as position 0"_qs);
    QTest::newRow("removed") << QJsonArray {a, b} << QJsonArray {b} << QStringList(u"removed: selection 'a'"_qs);
    QTest::newRow("added with children") << QJsonArray() << QJsonArray {node(u"n"_qs, {a, node(u"m"_qs, {b})})}
                                         << QStringList(u"added: node 'n', as position 0, with 3 below"_qs);
    QTest::newRow("added below") << QJsonArray {node(u"n"_qs)} << QJsonArray {node(u"n"_qs, {a})}
                                 << QStringList(u"added: selection 'n/a', as position 0"_qs);
    QTest::newRow("removed below") << QJsonArray {node(u"n"_qs, {a, b})} << QJsonArray {node(u"n"_qs, {b})}
                                   << QStringList(u"removed: selection 'n/a'"_qs);
    QTest::newRow("all removed below") << QJsonArray {node(u"n"_qs, {a})} << QJsonArray {node(u"n"_qs)}
                                       << QStringList(u"removed: selection 'n/a'"_qs);
    QTest::newRow("no children and an empty array of them")
        << QJsonArray {node(u"n"_qs)} << QJsonArray {node(u"n"_qs, {})}
        << QStringList(u"changed: node 'n', substructure from nothing to []"_qs);
    QTest::newRow("children that are no array any more")
        << QJsonArray {node(u"n"_qs, {a})} << QJsonArray {with(node(u"n"_qs), children, 1)}
        << QStringList {
               u"changed: node 'n', substructure from [{\"instanceName\":\"a\",\"selectionType\":\"Selection\"}] "
               "to 1"_qs,
               u"removed: selection 'n/a'"_qs};
    QTest::newRow("new key") << QJsonArray {a} << QJsonArray {with(a, key, QJsonValue::Null)}
                             << QStringList(u"changed: selection 'a', key from nothing to null"_qs);
    QTest::newRow("removed key") << QJsonArray {with(a, key, true)} << QJsonArray {a}
                                 << QStringList(u"changed: selection 'a', key from true to nothing"_qs);
    QTest::newRow("other values") << QJsonArray {with(with(a, key, 1), u"other"_qs, u"x"_qs)}
                                  << QJsonArray {with(with(a, key, 2), u"other"_qs, QJsonArray {1})}
                                  << QStringList(
                                         u"changed: selection 'a', key from 1 to 2, other from \"x\" to [1]"_qs);
    QTest::newRow("other kind") << QJsonArray {a} << QJsonArray {node(u"a"_qs)}
                                << QStringList(u"changed: node 'a', selectionType from \"Selection\" to \"Node\""_qs);
    QTest::newRow("other name") << QJsonArray {
        a} << QJsonArray {b} << QStringList {u"removed: selection 'a'"_qs, u"added: selection 'b', as position 0"_qs};
    QTest::newRow("moved and changed") << QJsonArray {a, b, node(u"n"_qs)}
                                       << QJsonArray {b, node(u"n"_qs), with(a, key, 1)}
                                       << QStringList {u"changed: selection 'a', key from nothing to 1"_qs,
                                              u"moved: selection 'a', from position 0 to 2"_qs};
    QTest::newRow("one of two of a name")
        << QJsonArray {a, a} << QJsonArray {a} << QStringList(u"removed: selection at position 1 of the top level"_qs);
    QTest::newRow("first of two of a name")
        << QJsonArray {with(a, key, 1), b, with(a, key, 2)} << QJsonArray {b, with(a, key, 2)}
        << QStringList(u"removed: selection 'a'"_qs);
    QTest::newRow("no objects") << QJsonArray {1, 2} << QJsonArray {1, 3}
                                << QStringList(u"changed: no object at position 1 of the top level, 2 to 3"_qs);
}

void tst_ProgramDifference::differencesAreTold()
{
    QFETCH(QJsonArray, before);
    QFETCH(QJsonArray, after);
    QFETCH(QStringList, lines);

    QCOMPARE(linesBetween(before, after), lines);
    QCOMPARE(linesBetween(after, before).isEmpty(), lines.isEmpty());
}

void tst_ProgramDifference::stampsCountOnlyWhenTheyAreToCount()
{
    const QJsonObject stamped = with(with(selection(u"a"_qs), u"moduleName"_qs, u"M"_qs), u"objectName"_qs, u"O"_qs);
    const QJsonArray before {selection(u"a"_qs)};
    QCOMPARE(linesBetween(before, {stamped}), QStringList());
    QCOMPARE(linesBetween(before, {stamped}, Stamps::Count),
        QStringList(u"changed: selection 'a', moduleName from nothing to \"M\", objectName from nothing to \"O\""_qs));
    QCOMPARE(linesBetween(before, {with(stamped, u"key"_qs, 1)}),
        QStringList(u"changed: selection 'a', key from nothing to 1"_qs));
}

void tst_ProgramDifference::summaryCountsWhatIsBelow()
{
    const QJsonObject tree = node(u"n"_qs, {selection(u"a"_qs), node(u"m"_qs, {selection(u"b"_qs)})});
    const auto summary = [](const QJsonArray& before, const QJsonArray& after) {
        const TreeElements treeBefore = treeOf(before);
        const TreeElements treeAfter = treeOf(after);
        return summaryOf(differencesOf(treeBefore, treeAfter, Stamps::Count));
    };
    QCOMPARE(summary({}, {}), u"0 added, 0 removed, 0 changed"_qs);
    QCOMPARE(summary({}, {tree}), u"4 added, 0 removed, 0 changed"_qs);
    QCOMPARE(summary({tree}, {}), u"0 added, 4 removed, 0 changed"_qs);
    QCOMPARE(summary({tree, selection(u"x"_qs)}, {selection(u"x"_qs), with(tree, u"key"_qs, 1)}),
        u"0 added, 0 removed, 1 changed, 1 moved"_qs);
}

void tst_ProgramDifference::fewestElementsAreMoved_data()
{
    QTest::addColumn<QString>("after");
    QTest::addColumn<int>("moved");

    QTest::newRow("none") << u"abcdef"_qs << 0;
    QTest::newRow("first to the end") << u"bcdefa"_qs << 1;
    QTest::newRow("last to the start") << u"fabcde"_qs << 1;
    QTest::newRow("neighbours") << u"bacdef"_qs << 1;
    QTest::newRow("two") << u"cabfde"_qs << 2;
    QTest::newRow("turned round") << u"fedcba"_qs << 5;
    QTest::newRow("with others among them") << u"xaybzc"_qs << 0;
}

void tst_ProgramDifference::fewestElementsAreMoved()
{
    QFETCH(QString, after);
    QFETCH(int, moved);

    const auto manifestOfLetters = [](const QString& letters) {
        QJsonArray manifest;
        for (const QChar letter : letters) {
            manifest.append(selection(QString(letter)));
        }
        return manifest;
    };
    const QStringList lines = linesBetween(manifestOfLetters(u"abcdef"_qs), manifestOfLetters(after));
    static const QRegularExpression isMove(u"^moved: "_qs);
    QCOMPARE(lines.filter(isMove).size(), moved);
}

void tst_ProgramDifference::longValuesAreCutShort()
{
    const QString line =
        linesBetween({selection(u"a"_qs)}, {with(selection(u"a"_qs), u"key"_qs, QString(1000, u'x'))}).constFirst();
    QVERIFY(line.endsWith(u"xxx..."_qs));
    QVERIFY(line.size() < 150);
}

void tst_ProgramDifference::nearestWordIsWhatWasMeant_data()
{
    QTest::addColumn<QString>("word");
    QTest::addColumn<QString>("nearest");

    QTest::newRow("letter missing") << u"shw"_qs << u"show"_qs;
    QTest::newRow("letter too many") << u"showw"_qs << u"show"_qs;
    QTest::newRow("other letter") << u"zet"_qs << u"set"_qs;
    QTest::newRow("letters exchanged") << u"udpate"_qs << u"update"_qs;
    QTest::newRow("capitals") << u"SHOW"_qs << u"show"_qs;
    QTest::newRow("beginning of one word") << u"updat"_qs << u"update"_qs;
    QTest::newRow("short beginning of one word") << u"upd"_qs << u"update-node"_qs.left(6);
    QTest::newRow("beginning of many") << u"a"_qs << QString();
    QTest::newRow("another word") << u"frobnicate"_qs << QString();
    QTest::newRow("nothing") << u""_qs << QString();
    QTest::newRow("very much") << QString(100000, u's') << QString();
}

void tst_ProgramDifference::nearestWordIsWhatWasMeant()
{
    QFETCH(QString, word);
    QFETCH(QString, nearest);

    QCOMPARE(nearestWord(word, {u"show"_qs, u"set"_qs, u"update"_qs, u"add-node"_qs, u"add-selection"_qs}), nearest);
}

MANIFEST_TEST_MAIN(tst_ProgramDifference)

#include "tst_program_difference.moc"
