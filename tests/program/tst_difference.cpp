#include "Difference.h"
#include "ManifestFixture.h"
#include "NearestWord.h"
#include "RandomManifest.h"
#include "TestMain.h"

#include <QtCore/QElapsedTimer>
#include <QtCore/QJsonDocument>
#include <QtCore/QRegularExpression>

#include <algorithm>
#include <functional>
#include <vector>

Q_DECLARE_METATYPE(RandomManifest::Names)

namespace {

#if defined(EMULATED) || defined(MEMORY_CHECKED)
constexpr unsigned seeds = 300;
#else
constexpr unsigned seeds = 3000;
#endif

QStringList linesBetween(const QJsonArray& before, const QJsonArray& after, Stamps stamps = Stamps::DoNotCount,
    ValueLength length = ValueLength::Short)
{
    const TreeElements treeBefore = treeOf(before);
    const TreeElements treeAfter = treeOf(after);
    QStringList lines;
    const QVector<ElementChange> changes = differencesOf(treeBefore, treeAfter, stamps);
    for (const ElementChange& change : changes) {
        lines.append(toLine(change, length));
    }
    return lines;
}

// The only change, as JSON.
QByteArray jsonBetween(const QJsonArray& before, const QJsonArray& after)
{
    const TreeElements treeBefore = treeOf(before);
    const TreeElements treeAfter = treeOf(after);
    QByteArray json;
    const QVector<ElementChange> changes = differencesOf(treeBefore, treeAfter, Stamps::DoNotCount);
    for (const ElementChange& change : changes) {
        json += QJsonDocument(toJson(change)).toJson(QJsonDocument::Compact);
    }
    return json;
}

// A selection as a scan names it, with a member of its own.
QJsonObject page(const QString& name)
{
    return with(selection(name), u"label"_qs, name.section(u'/', -1));
}

int countElements(const TreeElements& tree)
{
    int count = 0;
    for (const TreeElement& element : tree) {
        count += 1 + countBelow(element);
    }
    return count;
}

// The length of the longest rising sequence, found in the simplest way.
int longestRising(const std::vector<int>& numbers)
{
    std::vector<int> lengths(numbers.size(), 1);
    int longest = 0;
    for (std::size_t i = 0; i < numbers.size(); ++i) {
        for (std::size_t j = 0; j < i; ++j) {
            lengths[i] = numbers[j] < numbers[i] ? std::max(lengths[i], lengths[j] + 1) : lengths[i];
        }
        longest = std::max(longest, lengths[i]);
    }
    return longest;
}

// A manifest with the siblings of every level in a random order, and how few of them must have been moved for that.
QJsonArray shuffled(RandomManifest& random, const QJsonArray& siblings, int& moves)
{
    std::vector<int> order;
    for (int i = 0; i < siblings.size(); ++i) {
        order.insert(order.begin() + random.below(i + 1), i);
    }
    moves += static_cast<int>(order.size()) - longestRising(order);
    QJsonArray result;
    for (const int index : order) {
        const QJsonObject element = siblings.at(index).toObject();
        const QString children = u"substructure"_qs;
        result.append(element.contains(children)
                ? with(element, children, shuffled(random, element.value(children).toArray(), moves))
                : element);
    }
    return result;
}

} // namespace

class tst_Difference : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void differencesAreTold_data();
    void differencesAreTold();
    void movesToAnotherParentAreTold_data();
    void movesToAnotherParentAreTold();
    void changesAreTheSameAsJson_data();
    void changesAreTheSameAsJson();
    void stampsDoNotKeepAMoveFromBeingFound();
    void equalTreesHaveNoDifference_data();
    void equalTreesHaveNoDifference();
    void everyDifferenceIsTold_data();
    void everyDifferenceIsTold();
    void fewestElementsOfRandomTreesAreMoved();
    void hugeTreesAreComparedQuickly_data();
    void hugeTreesAreComparedQuickly();
    void stampsCountOnlyWhenTheyAreToCount();
    void summaryCountsWhatIsBelow();
    void fewestElementsAreMoved_data();
    void fewestElementsAreMoved();
    void longValuesAreCutShort();
    void nearestWordIsWhatWasMeant_data();
    void nearestWordIsWhatWasMeant();
};

void tst_Difference::differencesAreTold_data()
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
    QTest::newRow("key without a letter") << QJsonArray {with(a, u""_qs, 1)} << QJsonArray {with(a, u""_qs, 2)}
                                          << QStringList(u"changed: selection 'a', \"\" from 1 to 2"_qs);
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
    QTest::newRow("first of two of a name, which pairs with the one that is left")
        << QJsonArray {with(a, key, 1), b, with(a, key, 2)} << QJsonArray {b, with(a, key, 2)}
        << QStringList {u"removed: selection at position 2 of the top level"_qs,
               u"moved: selection 'b', from position 1 to 0"_qs, u"changed: selection 'a', key from 1 to 2"_qs};
    QTest::newRow("two of a name that change places")
        << QJsonArray {with(a, key, 1), with(a, key, 2)} << QJsonArray {with(a, key, 2), with(a, key, 1)}
        << QStringList {u"changed: selection 'a', key from 1 to 2"_qs,
               u"changed: selection at position 1 of the top level, key from 2 to 1"_qs};
    QTest::newRow("one name written in two ways")
        << QJsonArray {node(u"n"_qs, {selection(u"n/a"_qs)})} << QJsonArray {node(u"n"_qs, {a})}
        << QStringList(u"changed: selection 'n/a', instanceName from \"n/a\" to \"a\""_qs);
    QTest::newRow("a node and a selection of one name")
        << QJsonArray {a, node(u"a"_qs, {b})} << QJsonArray {node(u"a"_qs, {b}), a}
        << QStringList {u"changed: node 'a', selectionType from \"Selection\" to \"Node\""_qs,
               u"moved: selection at position 0 below position 1 of the top level, to 'a/b', as position 0"_qs,
               u"changed: selection at position 1 of the top level, selectionType from \"Node\" to "
               "\"Selection\""_qs};
    QTest::newRow("without names") << QJsonArray {QJsonObject {{key, 1}}, QJsonObject {{key, 2}}}
                                   << QJsonArray {QJsonObject {{key, 1}}, QJsonObject {{key, 3}}}
                                   << QStringList(
                                          u"changed: unknown at position 1 of the top level, key from 2 to 3"_qs);
    QTest::newRow("foreign items added") << QJsonArray {a} << QJsonArray {a, QJsonValue::Null, QJsonArray {a}}
                                         << QStringList {
                                                u"added: no object at position 1 of the top level, as position 1"_qs,
                                                u"added: no object at position 2 of the top level, as position 2"_qs};
    QTest::newRow("no object becomes an element") << QJsonArray {
        1} << QJsonArray {QJsonObject()} << QStringList(u"changed: unknown at position 0 of the top level, 1 to {}"_qs);
    QTest::newRow("no objects") << QJsonArray {1, 2} << QJsonArray {1, 3}
                                << QStringList(u"changed: no object at position 1 of the top level, 2 to 3"_qs);
}

void tst_Difference::differencesAreTold()
{
    QFETCH(QJsonArray, before);
    QFETCH(QJsonArray, after);
    QFETCH(QStringList, lines);

    QCOMPARE(linesBetween(before, after), lines);
    QCOMPARE(linesBetween(after, before).isEmpty(), lines.isEmpty());
}

void tst_Difference::movesToAnotherParentAreTold_data()
{
    QTest::addColumn<QJsonArray>("before");
    QTest::addColumn<QJsonArray>("after");
    QTest::addColumn<QStringList>("lines");

    const auto n = [](const QJsonArray& children) { return node(u"n"_qs, children); };
    const auto m = [](const QJsonArray& children) { return node(u"m"_qs, children); };
    const QJsonObject other = page(u"other"_qs);
    const QString key = u"key"_qs;
    QTest::newRow("leaf") << QJsonArray {n({page(u"n/p"_qs), other}), m({other})}
                          << QJsonArray {n({other}), m({other, page(u"m/p"_qs)})}
                          << QStringList(u"moved: selection 'n/p', to 'm/p', as position 1"_qs);
    QTest::newRow("leaf up") << QJsonArray {n({page(u"n/p"_qs), other})} << QJsonArray {page(u"p"_qs), n({other})}
                             << QStringList(u"moved: selection 'n/p', to 'p', as position 0"_qs);
    QTest::newRow("leaf down") << QJsonArray {page(u"p"_qs), n({other})} << QJsonArray {n({other, page(u"n/p"_qs)})}
                               << QStringList(u"moved: selection 'p', to 'n/p', as position 1"_qs);
    QTest::newRow("leaf with a name that does not follow from the place")
        << QJsonArray {n({page(u"elsewhere/p"_qs)}), m({other})}
        << QJsonArray {n({}), m({other, page(u"nowhere/p"_qs)})}
        << QStringList {u"changed: selection 'm/p', instanceName from \"elsewhere/p\" to \"nowhere/p\""_qs,
               u"moved: selection 'n/p', to 'm/p', as position 1"_qs};
    QTest::newRow("leaf with another name")
        << QJsonArray {n({page(u"n/p"_qs)}), m({other})} << QJsonArray {n({}), m({other, page(u"m/q"_qs)})}
        << QStringList {u"removed: selection 'n/p'"_qs, u"added: selection 'm/q', as position 1"_qs};
    QTest::newRow("leaf with other content")
        << QJsonArray {n({page(u"n/p"_qs)}), m({other})}
        << QJsonArray {n({}), m({other, with(page(u"m/p"_qs), key, 1)})}
        << QStringList {u"removed: selection 'n/p'"_qs, u"added: selection 'm/p', as position 1"_qs};
    QTest::newRow("leaf that gets an empty array of children")
        << QJsonArray {n({page(u"n/p"_qs)}), m({other})}
        << QJsonArray {n({}), m({other, with(page(u"m/p"_qs), u"substructure"_qs, QJsonArray())})}
        << QStringList {u"removed: selection 'n/p'"_qs, u"added: selection 'm/p', as position 1"_qs};
    QTest::newRow("leaf for one of its name")
        << QJsonArray {n({page(u"n/p"_qs)}), m({with(page(u"m/p"_qs), key, 1)})}
        << QJsonArray {n({}), m({page(u"m/p"_qs)})}
        << QStringList {u"removed: selection 'n/p'"_qs, u"changed: selection 'm/p', key from 1 to nothing"_qs};
    const QJsonArray subtree {page(u"a"_qs), node(u"k"_qs, {page(u"b"_qs)})};
    QTest::newRow("sub-tree") << QJsonArray {n(subtree), m({other})} << QJsonArray {m({other, n(subtree)})}
                              << QStringList(u"moved: node 'n', to 'm/n', as position 1"_qs);
    QTest::newRow("sub-tree as scans name what is in it")
        << QJsonArray {n({page(u"n/a"_qs), node(u"k"_qs, {page(u"n/k/b"_qs)})}), m({other})}
        << QJsonArray {m({other, n({page(u"m/n/a"_qs), node(u"k"_qs, {page(u"m/n/k/b"_qs)})})})}
        << QStringList(u"moved: node 'n', to 'm/n', as position 1"_qs);
    QTest::newRow("sub-tree with a child changed")
        << QJsonArray {n(subtree), m({other})}
        << QJsonArray {m({other, n({with(page(u"a"_qs), key, 1), node(u"k"_qs, {page(u"b"_qs)})})})}
        << QStringList {
               u"moved: node 'n', to 'm/n', as position 1"_qs, u"changed: selection 'm/n/a', key from nothing to 1"_qs};
    QTest::newRow("sub-tree with a child changed two levels down")
        << QJsonArray {n({node(u"k"_qs, {page(u"a"_qs), page(u"b"_qs)})}), m({other})}
        << QJsonArray {m({other, n({node(u"k"_qs, {with(page(u"a"_qs), key, 1), page(u"b"_qs)})})})}
        << QStringList {u"moved: node 'n', to 'm/n', as position 1"_qs,
               u"changed: selection 'm/n/k/a', key from nothing to 1"_qs};
    QTest::newRow("sub-tree with fewer children without names")
        << QJsonArray {n({QJsonObject {{key, 1}}, QJsonObject {{key, 2}}, page(u"a"_qs)}), m({other})}
        << QJsonArray {m({other, n({QJsonObject {{key, 1}}, page(u"a"_qs)})})}
        << QStringList {u"moved: node 'n', to 'm/n', as position 1"_qs, u"removed: unknown at position 1 below 'n'"_qs};
    QTest::newRow("sub-tree with a child removed and one added")
        << QJsonArray {n(subtree), m({other})}
        << QJsonArray {m({other, n({node(u"k"_qs, {page(u"b"_qs)}), page(u"c"_qs)})})}
        << QStringList {u"moved: node 'n', to 'm/n', as position 1"_qs, u"removed: selection 'n/a'"_qs,
               u"added: selection 'm/n/c', as position 1"_qs};
    QTest::newRow("sub-tree in another order")
        << QJsonArray {n(subtree), m({other})}
        << QJsonArray {m({other, n({node(u"k"_qs, {page(u"b"_qs)}), page(u"a"_qs)})})}
        << QStringList {
               u"moved: node 'n', to 'm/n', as position 1"_qs, u"moved: node 'm/n/k', from position 1 to 0"_qs};
    QTest::newRow("sub-tree with nothing left as it was")
        << QJsonArray {n({page(u"a"_qs)}), m({other})} << QJsonArray {m({other, n({with(page(u"a"_qs), key, 1)})})}
        << QStringList {u"removed: node 'n', with 1 below"_qs, u"added: node 'm/n', as position 1, with 1 below"_qs};
    QTest::newRow("out of a removed parent")
        << QJsonArray {n({page(u"n/p"_qs), other}), m({other})} << QJsonArray {m({other, page(u"m/p"_qs)})}
        << QStringList {u"removed: node 'n', with 1 below"_qs, u"moved: selection 'n/p', to 'm/p', as position 1"_qs};
    QTest::newRow("into an added parent")
        << QJsonArray {page(u"p"_qs), other} << QJsonArray {n({page(u"n/p"_qs), page(u"n/q"_qs)}), other}
        << QStringList {
               u"added: node 'n', as position 0, with 1 below"_qs, u"moved: selection 'p', to 'n/p', as position 0"_qs};
    QTest::newRow("deep into added parents")
        << QJsonArray {page(u"p"_qs), other} << QJsonArray {n({m({page(u"n/m/p"_qs)})}), other}
        << QStringList {u"added: node 'n', as position 0, with 1 below"_qs,
               u"moved: selection 'p', to 'n/m/p', as position 0"_qs};
    QTest::newRow("parent and child change places")
        << QJsonArray {n({page(u"a"_qs), m({page(u"b"_qs)})})} << QJsonArray {m({page(u"b"_qs), n({page(u"a"_qs)})})}
        << QStringList {u"moved: node 'n/m', to 'm', as position 0"_qs, u"moved: node 'n', to 'm/n', as position 1"_qs};
    QTest::newRow("the first of several equal ones goes to the first place")
        << QJsonArray {n({page(u"p"_qs)}), m({page(u"p"_qs)}), node(u"x"_qs, {}), node(u"y"_qs, {})}
        << QJsonArray {n({}), m({}), node(u"x"_qs, {page(u"p"_qs)}), node(u"y"_qs, {page(u"p"_qs)})}
        << QStringList {u"moved: selection 'n/p', to 'x/p', as position 0"_qs,
               u"moved: selection 'm/p', to 'y/p', as position 0"_qs};
    QTest::newRow("more equal ones than places")
        << QJsonArray {n({page(u"p"_qs)}), m({page(u"p"_qs)}), node(u"x"_qs, {})}
        << QJsonArray {n({}), m({}), node(u"x"_qs, {page(u"p"_qs)})}
        << QStringList {u"removed: selection 'm/p'"_qs, u"moved: selection 'n/p', to 'x/p', as position 0"_qs};
    QTest::newRow("out of one node into another one that is none of the same")
        << QJsonArray {n({node(u"k"_qs, {page(u"p"_qs)})}), m({other})}
        << QJsonArray {n({}), m({other, node(u"q"_qs, {page(u"p"_qs)})})}
        << QStringList {u"removed: node 'n/k'"_qs, u"added: node 'm/q', as position 1"_qs,
               u"moved: selection 'n/k/p', to 'm/q/p', as position 0"_qs};
    const auto several = [](const QString& letters) {
        QJsonArray pages;
        for (const QChar letter : letters) {
            pages.append(page(QString(letter)));
        }
        return pages;
    };
    QTest::newRow("several before others, which stay in their order")
        << QJsonArray {n(several(u"fghxyz"_qs)), m(several(u"ab"_qs))}
        << QJsonArray {n(several(u"fgh"_qs)), m(several(u"xyzab"_qs))}
        << QStringList {u"moved: selection 'n/x', to 'm/x', as position 0"_qs,
               u"moved: selection 'n/y', to 'm/y', as position 1"_qs,
               u"moved: selection 'n/z', to 'm/z', as position 2"_qs};
    QTest::newRow("without a name") << QJsonArray {n({QJsonObject {{key, 1}}}), m({other})}
                                    << QJsonArray {n({}), m({other, QJsonObject {{key, 1}}})}
                                    << QStringList {u"removed: unknown at position 0 below 'n'"_qs,
                                           u"added: unknown at position 1 below 'm', as position 1"_qs};
    QTest::newRow("node with a nameless child, which went with the others")
        << QJsonArray {n({page(u"a"_qs), QJsonObject {{key, 1}}}), m({other})}
        << QJsonArray {m({other, n({page(u"a"_qs), QJsonObject {{key, 1}}})})}
        << QStringList(u"moved: node 'n', to 'm/n', as position 1"_qs);
}

void tst_Difference::movesToAnotherParentAreTold()
{
    QFETCH(QJsonArray, before);
    QFETCH(QJsonArray, after);
    QFETCH(QStringList, lines);

    QCOMPARE(linesBetween(before, after), lines);
}

void tst_Difference::changesAreTheSameAsJson_data()
{
    QTest::addColumn<QJsonArray>("before");
    QTest::addColumn<QJsonArray>("after");
    QTest::addColumn<QByteArray>("json");

    const QJsonObject a = selection(u"a"_qs);
    const QJsonObject b = selection(u"b"_qs);
    const QString key = u"key"_qs;
    QTest::newRow("added") << QJsonArray() << QJsonArray {node(u"n"_qs, {a, b})}
                           << QByteArray("{\"below\":2,\"change\":\"added\",\"kind\":\"node\",\"path\":\"n\","
                                         "\"positions\":[0]}");
    QTest::newRow("removed") << QJsonArray {node(u"n"_qs, {a, b})} << QJsonArray {node(u"n"_qs, {a})}
                             << QByteArray("{\"below\":0,\"change\":\"removed\",\"kind\":\"selection\","
                                           "\"path\":\"n/b\",\"positions\":[0,1]}");
    QTest::newRow("changed, with keys that one of the two has not")
        << QJsonArray {with(with(a, key, 1), u"old"_qs, QJsonValue::Null)}
        << QJsonArray {with(with(a, key, 2), u"new"_qs, QJsonArray {1})}
        << QByteArray("{\"change\":\"changed\",\"keys\":[{\"after\":2,\"before\":1,\"key\":\"key\"},"
                      "{\"after\":[1],\"key\":\"new\"},{\"before\":null,\"key\":\"old\"}],"
                      "\"kind\":\"selection\",\"path\":\"a\",\"positions\":[0]}");
    QTest::newRow("key without a letter") << QJsonArray {a} << QJsonArray {with(a, u""_qs, 1)}
                                          << QByteArray("{\"change\":\"changed\",\"keys\":[{\"after\":1,\"key\":\"\"}],"
                                                        "\"kind\":\"selection\",\"path\":\"a\",\"positions\":[0]}");
    QTest::newRow("changed without a path and a key")
        << QJsonArray {1} << QJsonArray {u"x"_qs}
        << QByteArray("{\"change\":\"changed\",\"keys\":[{\"after\":\"x\",\"before\":1,\"key\":null}],"
                      "\"kind\":\"no object\",\"path\":null,\"positions\":[0]}");
    QTest::newRow("moved") << QJsonArray {a, b} << QJsonArray {b, a}
                           << QByteArray("{\"change\":\"moved\",\"from\":{\"path\":\"b\",\"positions\":[1]},"
                                         "\"kind\":\"selection\",\"path\":\"b\",\"positions\":[0]}");
    QTest::newRow("moved to another parent")
        << QJsonArray {a, node(u"n"_qs, {b})} << QJsonArray {node(u"n"_qs, {b, a})}
        << QByteArray("{\"change\":\"moved\",\"from\":{\"path\":\"a\",\"positions\":[0]},"
                      "\"kind\":\"selection\",\"path\":\"n/a\",\"positions\":[0,1]}");
}

void tst_Difference::changesAreTheSameAsJson()
{
    QFETCH(QJsonArray, before);
    QFETCH(QJsonArray, after);
    QFETCH(QByteArray, json);

    QCOMPARE(jsonBetween(before, after), json);
}

void tst_Difference::stampsDoNotKeepAMoveFromBeingFound()
{
    const QJsonObject other = page(u"other"_qs);
    const QJsonObject stampedPage = with(page(u"p"_qs), u"moduleName"_qs, u"M"_qs);
    const QJsonArray before {node(u"n"_qs, {stampedPage}), node(u"m"_qs, {other})};
    const QJsonArray after {node(u"n"_qs, {}), node(u"m"_qs, {other, page(u"p"_qs)})};
    QCOMPARE(linesBetween(before, after), QStringList(u"moved: selection 'n/p', to 'm/p', as position 1"_qs));
    QCOMPARE(linesBetween(before, after, Stamps::Count),
        (QStringList {u"removed: selection 'n/p'"_qs, u"added: selection 'm/p', as position 1"_qs}));
    // Of a node it is a member like any other.
    const QJsonObject k = with(node(u"k"_qs), u"moduleName"_qs, u"M"_qs);
    QCOMPARE(
        linesBetween({k}, {node(u"k"_qs)}), QStringList(u"changed: node 'k', moduleName from \"M\" to nothing"_qs));
}

void tst_Difference::equalTreesHaveNoDifference_data()
{
    QTest::addColumn<RandomManifest::Names>("names");

    QTest::newRow("any names") << RandomManifest::Names::Any;
    QTest::newRow("unique names") << RandomManifest::Names::Unique;
}

void tst_Difference::equalTreesHaveNoDifference()
{
    QFETCH(RandomManifest::Names, names);

    for (unsigned seed = 0; seed < seeds; ++seed) {
        const QJsonArray manifest = RandomManifest(seed, names).manifest();
        QCOMPARE(linesBetween(manifest, manifest, Stamps::Count), QStringList());
        QCOMPARE(linesBetween(manifest, stamped(manifest, u"M"_qs)), QStringList());
        QCOMPARE(linesBetween(stamped(manifest, u"M"_qs), stripped(manifest).toArray()), QStringList());
    }
}

void tst_Difference::everyDifferenceIsTold_data()
{
    equalTreesHaveNoDifference_data();
}

void tst_Difference::everyDifferenceIsTold()
{
    QFETCH(RandomManifest::Names, names);

    unsigned unequal = 0;
    for (unsigned seed = 0; seed < seeds; ++seed) {
        RandomManifest random(seed, names);
        const QJsonArray before = random.manifest();
        // Also one that has nothing to do with it.
        const QJsonArray after = random.below(4) == 0 ? random.manifest() : random.edited(before);
        const QByteArray both = "before " + compact(before) + "\nafter " + compact(after);
        QVERIFY2(linesBetween(before, after, Stamps::Count).isEmpty() == (before == after), both.constData());
        QVERIFY2(linesBetween(before, after).isEmpty() == (stripped(before) == stripped(after)), both.constData());
        unequal += before == after ? 0U : 1U;

        // Nothing is told twice, and nothing is left out.
        const TreeElements treeBefore = treeOf(before);
        const TreeElements treeAfter = treeOf(after);
        int count = countElements(treeBefore);
        const QVector<ElementChange> changes = differencesOf(treeBefore, treeAfter, Stamps::DoNotCount);
        for (const ElementChange& change : changes) {
            count += change.kind == ElementChange::Added ? 1 + change.below
                : change.kind == ElementChange::Removed  ? -1 - change.below
                                                         : 0;
        }
        QVERIFY2(count == countElements(treeAfter), both.constData());
    }
    QVERIFY(unequal > seeds / 2);
}

void tst_Difference::fewestElementsOfRandomTreesAreMoved()
{
    static const QRegularExpression move(u"^moved: "_qs);
    int allMoves = 0;
    for (unsigned seed = 0; seed < seeds; ++seed) {
        RandomManifest random(seed, RandomManifest::Names::Unique);
        const QJsonArray before = random.manifest();
        int moves = 0;
        const QJsonArray after = shuffled(random, before, moves);
        const QStringList lines = linesBetween(before, after);
        const QByteArray both = "before " + compact(before) + "\nafter " + compact(after);
        QVERIFY2(lines.filter(move).size() == moves, both.constData());
        QVERIFY2(lines.size() == moves, both.constData());
        allMoves += moves;
    }
    QVERIFY(allMoves > 0);
}

void tst_Difference::hugeTreesAreComparedQuickly_data()
{
    QTest::addColumn<QJsonArray>("before");
    QTest::addColumn<QJsonArray>("after");
    QTest::addColumn<int>("changes");

    constexpr int many = 20000;
    const auto manyOf = [](const std::function<QString(int)>& name) {
        QJsonArray manifest;
        for (int i = 0; i < many; ++i) {
            manifest.append(with(selection(name(i)), u"key"_qs, i));
        }
        return manifest;
    };
    const auto number = [](int i) { return QString::number(i); };
    const auto reversed = [](const QJsonArray& manifest) {
        QJsonArray result;
        for (int i = manifest.size() - 1; i >= 0; --i) {
            result.append(manifest.at(i));
        }
        return result;
    };
    const auto inChain = [](const QJsonArray& manifest) {
        constexpr int levels = 500;
        QJsonArray result = manifest;
        for (int level = 0; level < levels; ++level) {
            result = {node(u"n"_qs, result)};
        }
        return result;
    };
    const QJsonArray numbers = manyOf(number);
    const QJsonArray twins = manyOf([](int) { return u"twin"_qs; });
    QJsonArray veryMany;
    for (int i = 0; i < 3 * many; ++i) {
        veryMany.append(selection(number(i)));
    }
    QJsonArray fewer = twins;
    fewer.removeFirst();
    QTest::newRow("reversed") << numbers << reversed(numbers) << many - 1;
    QTest::newRow("twins, of which the first is gone") << twins << fewer << many;
    QTest::newRow("twins reversed") << twins << reversed(twins) << many;
    QTest::newRow("everything moved to another parent")
        << QJsonArray {node(u"a"_qs, numbers), node(u"b"_qs, {})}
        << QJsonArray {node(u"a"_qs, {}), node(u"b"_qs, numbers)} << many;
    QTest::newRow("node with all its children moved to another parent")
        << QJsonArray {node(u"a"_qs, veryMany), node(u"b"_qs, {})}
        << QJsonArray {node(u"b"_qs, {node(u"a"_qs, veryMany)})} << 1;
    QTest::newRow("everything below many levels moved with its parent")
        << QJsonArray {node(u"a"_qs, {node(u"x"_qs, inChain(numbers))}), node(u"b"_qs, {})}
        << QJsonArray {node(u"a"_qs, {}), node(u"b"_qs, {node(u"x"_qs, inChain(numbers))})} << 1;
    QTest::newRow("reversed below many levels") << inChain(numbers) << inChain(reversed(numbers)) << many - 1;
}

void tst_Difference::hugeTreesAreComparedQuickly()
{
    QFETCH(QJsonArray, before);
    QFETCH(QJsonArray, after);
    QFETCH(int, changes);

    const QByteArray text = compact(before);
    QElapsedTimer timer;
    timer.start();
    const TreeElements treeBefore = treeOf(QJsonDocument::fromJson(text).array());
    const qint64 load = timer.restart();
    const TreeElements treeAfter = treeOf(after);
    timer.restart();
    QCOMPARE(differencesOf(treeBefore, treeAfter, Stamps::DoNotCount).size(), changes);
    const qint64 comparison = timer.elapsed();
    qInfo("loaded in %lld ms, compared in %lld ms", load, comparison);
    // What is quadratic takes hundreds of loads, and more than this.
    constexpr qint64 disturbance = 500;
    QVERIFY(comparison < 10 * load + disturbance);
}

void tst_Difference::stampsCountOnlyWhenTheyAreToCount()
{
    const QJsonObject stamped = with(with(selection(u"a"_qs), u"moduleName"_qs, u"M"_qs), u"objectName"_qs, u"O"_qs);
    const QJsonArray before {selection(u"a"_qs)};
    QCOMPARE(linesBetween(before, {stamped}), QStringList());
    QCOMPARE(linesBetween(before, {stamped}, Stamps::Count),
        QStringList(u"changed: selection 'a', moduleName from nothing to \"M\", objectName from nothing to \"O\""_qs));
    QCOMPARE(linesBetween(before, {with(stamped, u"key"_qs, 1)}),
        QStringList(u"changed: selection 'a', key from nothing to 1"_qs));
    // Also of what is a selection in one of the trees only.
    const QString becomesNode = u"changed: node 'a', selectionType from \"Selection\" to \"Node\""_qs;
    QCOMPARE(linesBetween({stamped}, {node(u"a"_qs)}), QStringList(becomesNode));
    const QString becomesSelection = u"changed: selection 'a', selectionType from \"Node\" to \"Selection\""_qs;
    QCOMPARE(linesBetween({node(u"a"_qs)}, {stamped}), QStringList(becomesSelection));
}

void tst_Difference::summaryCountsWhatIsBelow()
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

void tst_Difference::fewestElementsAreMoved_data()
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

void tst_Difference::fewestElementsAreMoved()
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

void tst_Difference::longValuesAreCutShort()
{
    const QString line =
        linesBetween({selection(u"a"_qs)}, {with(selection(u"a"_qs), u"key"_qs, QString(1000, u'x'))}).constFirst();
    QVERIFY(line.endsWith(u"xxx..."_qs));
    QVERIFY(line.size() < 150);
    // Where nobody has to read it on a screen it is all there.
    const QString whole = linesBetween({selection(u"a"_qs)}, {with(selection(u"a"_qs), u"key"_qs, QString(1000, u'x'))},
        Stamps::DoNotCount, ValueLength::Whole)
                              .constFirst();
    QCOMPARE(whole, QString(u"changed: selection 'a', key from nothing to \""_qs + QString(1000, u'x') + u'"'));
}

void tst_Difference::nearestWordIsWhatWasMeant_data()
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

void tst_Difference::nearestWordIsWhatWasMeant()
{
    QFETCH(QString, word);
    QFETCH(QString, nearest);

    QCOMPARE(nearestWord(word, {u"show"_qs, u"set"_qs, u"update"_qs, u"add-node"_qs, u"add-selection"_qs}), nearest);
}

MANIFEST_TEST_MAIN(tst_Difference)

#include "tst_difference.moc"
