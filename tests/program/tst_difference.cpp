#include "Difference.h"
#include "Elements.h"
#include "Files.h"
#include "Handlers.h"
#include "Literals.h"
#include "MessageRecorder.h"
#include "NearestWord.h"
#include "ProgramManifests.h"
#include "RandomManifest.h"
#include "Table.h"
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

// The JSON of all changes, concatenated.
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

// A selection with an instance name as in a scan, and a label.
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

// The length of the longest rising subsequence, by comparing all pairs.
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

// Shuffles the siblings at every level. Adds to `moves` the least number of moves that do the same.
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
    void differencesAreReported_data();
    void differencesAreReported();
    void movesToAnotherParentAreReported_data();
    void movesToAnotherParentAreReported();
    void changesAreSameAsJson_data();
    void changesAreSameAsJson();
    void moveIsFoundDespiteStamps();
    void equalTreesHaveNoDifference_data();
    void equalTreesHaveNoDifference();
    void everyDifferenceIsReported_data();
    void everyDifferenceIsReported();
    void fewestElementsOfRandomTreesAreMoved();
    void hugeTreesAreComparedQuickly_data();
    void hugeTreesAreComparedQuickly();
    void stampsCountOnlyOnRequest();
    void summaryCountsDescendants();
    void fewestElementsAreMoved_data();
    void fewestElementsAreMoved();
    void longValuesAreCutShort();
    void nearestWordIsWhatWasMeant_data();
    void nearestWordIsWhatWasMeant();
};

void tst_Difference::differencesAreReported_data()
{
    const Table<QJsonArray, QJsonArray, QStringList> row("before", "after", "lines");

    const QJsonObject a = selection(u"a"_qs);
    const QJsonObject b = selection(u"b"_qs);
    const QString key = u"key"_qs;
    const QString children = u"substructure"_qs;
    row("nothing", {}, {}, {});
    row("the same", {a, node(u"n"_qs, {b})}, {a, node(u"n"_qs, {b})}, {});
    row("added", {b}, {a, b}, {u"added: selection 'a', as position 0"_qs});
    row("removed", {a, b}, {b}, {u"removed: selection 'a'"_qs});
    row("added with children", {}, {node(u"n"_qs, {a, node(u"m"_qs, {b})})},
        {u"added: node 'n', as position 0, with 3 below"_qs});
    row("added below", {node(u"n"_qs)}, {node(u"n"_qs, {a})}, {u"added: selection 'n/a', as position 0"_qs});
    row("removed below", {node(u"n"_qs, {a, b})}, {node(u"n"_qs, {b})}, {u"removed: selection 'n/a'"_qs});
    row("all removed below", {node(u"n"_qs, {a})}, {node(u"n"_qs)}, {u"removed: selection 'n/a'"_qs});
    row("no children and an empty array of them", {node(u"n"_qs)}, {node(u"n"_qs, {})},
        {u"changed: node 'n', substructure from nothing to []"_qs});
    row("children that are no array any more", {node(u"n"_qs, {a})}, {with(node(u"n"_qs), children, 1)},
        {u"changed: node 'n', substructure from [{\"instanceName\":\"a\",\"selectionType\":\"Selection\"}] to 1"_qs,
            u"removed: selection 'n/a'"_qs});
    row("new key", {a}, {with(a, key, QJsonValue::Null)}, {u"changed: selection 'a', key from nothing to null"_qs});
    row("removed key", {with(a, key, true)}, {a}, {u"changed: selection 'a', key from true to nothing"_qs});
    row("other values", {with(with(a, key, 1), u"other"_qs, u"x"_qs)},
        {with(with(a, key, 2), u"other"_qs, QJsonArray {1})},
        {u"changed: selection 'a', key from 1 to 2, other from \"x\" to [1]"_qs});
    row("key without a letter", {with(a, u""_qs, 1)}, {with(a, u""_qs, 2)},
        {u"changed: selection 'a', \"\" from 1 to 2"_qs});
    row("other kind", {a}, {node(u"a"_qs)}, {u"changed: node 'a', selectionType from \"Selection\" to \"Node\""_qs});
    row("other name", {a}, {b}, {u"removed: selection 'a'"_qs, u"added: selection 'b', as position 0"_qs});
    row("moved and changed", {a, b, node(u"n"_qs)}, {b, node(u"n"_qs), with(a, key, 1)},
        {u"changed: selection 'a', key from nothing to 1"_qs, u"moved: selection 'a', from position 0 to 2"_qs});
    row("one of two of a name", {a, a}, {a}, {u"removed: selection at position 1 of the top level"_qs});
    row("first of two of a name, which pairs with the one that is left", {with(a, key, 1), b, with(a, key, 2)},
        {b, with(a, key, 2)},
        {u"removed: selection at position 2 of the top level"_qs, u"moved: selection 'b', from position 1 to 0"_qs,
            u"changed: selection 'a', key from 1 to 2"_qs});
    row("two of a name that change places", {with(a, key, 1), with(a, key, 2)}, {with(a, key, 2), with(a, key, 1)},
        {u"changed: selection 'a', key from 1 to 2"_qs,
            u"changed: selection at position 1 of the top level, key from 2 to 1"_qs});
    row("one name written in two ways", {node(u"n"_qs, {selection(u"n/a"_qs)})}, {node(u"n"_qs, {a})},
        {u"changed: selection 'n/a', instanceName from \"n/a\" to \"a\""_qs});
    row("a node and a selection of one name", {a, node(u"a"_qs, {b})}, {node(u"a"_qs, {b}), a},
        {u"changed: node 'a', selectionType from \"Selection\" to \"Node\""_qs,
            u"moved: selection at position 0 below position 1 of the top level, to 'a/b', as position 0"_qs,
            u"changed: selection at position 1 of the top level, selectionType from \"Node\" to \"Selection\""_qs});
    row("without names", {QJsonObject {{key, 1}}, QJsonObject {{key, 2}}},
        {QJsonObject {{key, 1}}, QJsonObject {{key, 3}}},
        {u"changed: unknown at position 1 of the top level, key from 2 to 3"_qs});
    row("foreign items added", {a}, {a, QJsonValue::Null, QJsonArray {a}},
        {u"added: no object at position 1 of the top level, as position 1"_qs,
            u"added: no object at position 2 of the top level, as position 2"_qs});
    row("no object becomes an element", {1}, {QJsonObject()},
        {u"changed: unknown at position 0 of the top level, 1 to {}"_qs});
    row("no objects", {1, 2}, {1, 3}, {u"changed: no object at position 1 of the top level, 2 to 3"_qs});
}

void tst_Difference::differencesAreReported()
{
    QFETCH(QJsonArray, before);
    QFETCH(QJsonArray, after);
    QFETCH(QStringList, lines);

    QCOMPARE(linesBetween(before, after), lines);
    QCOMPARE(linesBetween(after, before).isEmpty(), lines.isEmpty());
}

void tst_Difference::movesToAnotherParentAreReported_data()
{
    const Table<QJsonArray, QJsonArray, QStringList> row("before", "after", "lines");

    const auto n = [](const QJsonArray& children) { return node(u"n"_qs, children); };
    const auto m = [](const QJsonArray& children) { return node(u"m"_qs, children); };
    const QJsonObject other = page(u"other"_qs);
    const QString key = u"key"_qs;
    row("leaf", {n({page(u"n/p"_qs), other}), m({other})}, {n({other}), m({other, page(u"m/p"_qs)})},
        {u"moved: selection 'n/p', to 'm/p', as position 1"_qs});
    row("leaf up", {n({page(u"n/p"_qs), other})}, {page(u"p"_qs), n({other})},
        {u"moved: selection 'n/p', to 'p', as position 0"_qs});
    row("leaf down", {page(u"p"_qs), n({other})}, {n({other, page(u"n/p"_qs)})},
        {u"moved: selection 'p', to 'n/p', as position 1"_qs});
    row("leaf with a name that does not follow from the place", {n({page(u"elsewhere/p"_qs)}), m({other})},
        {n({}), m({other, page(u"nowhere/p"_qs)})},
        {u"changed: selection 'm/p', instanceName from \"elsewhere/p\" to \"nowhere/p\""_qs,
            u"moved: selection 'n/p', to 'm/p', as position 1"_qs});
    row("leaf with another name", {n({page(u"n/p"_qs)}), m({other})}, {n({}), m({other, page(u"m/q"_qs)})},
        {u"removed: selection 'n/p'"_qs, u"added: selection 'm/q', as position 1"_qs});
    row("leaf with other content", {n({page(u"n/p"_qs)}), m({other})},
        {n({}), m({other, with(page(u"m/p"_qs), key, 1)})},
        {u"removed: selection 'n/p'"_qs, u"added: selection 'm/p', as position 1"_qs});
    row("leaf that gets an empty array of children", {n({page(u"n/p"_qs)}), m({other})},
        {n({}), m({other, with(page(u"m/p"_qs), u"substructure"_qs, QJsonArray())})},
        {u"removed: selection 'n/p'"_qs, u"added: selection 'm/p', as position 1"_qs});
    row("leaf for one of its name", {n({page(u"n/p"_qs)}), m({with(page(u"m/p"_qs), key, 1)})},
        {n({}), m({page(u"m/p"_qs)})},
        {u"removed: selection 'n/p'"_qs, u"changed: selection 'm/p', key from 1 to nothing"_qs});
    const QJsonArray subtree {page(u"a"_qs), node(u"k"_qs, {page(u"b"_qs)})};
    row("sub-tree", {n(subtree), m({other})}, {m({other, n(subtree)})},
        {u"moved: node 'n', to 'm/n', as position 1"_qs});
    row("sub-tree as scans name what is in it", {n({page(u"n/a"_qs), node(u"k"_qs, {page(u"n/k/b"_qs)})}), m({other})},
        {m({other, n({page(u"m/n/a"_qs), node(u"k"_qs, {page(u"m/n/k/b"_qs)})})})},
        {u"moved: node 'n', to 'm/n', as position 1"_qs});
    row("sub-tree with a child changed", {n(subtree), m({other})},
        {m({other, n({with(page(u"a"_qs), key, 1), node(u"k"_qs, {page(u"b"_qs)})})})},
        {u"moved: node 'n', to 'm/n', as position 1"_qs, u"changed: selection 'm/n/a', key from nothing to 1"_qs});
    row("sub-tree with a child changed two levels down",
        {n({node(u"k"_qs, {page(u"a"_qs), page(u"b"_qs)})}), m({other})},
        {m({other, n({node(u"k"_qs, {with(page(u"a"_qs), key, 1), page(u"b"_qs)})})})},
        {u"moved: node 'n', to 'm/n', as position 1"_qs, u"changed: selection 'm/n/k/a', key from nothing to 1"_qs});
    row("sub-tree with fewer children without names",
        {n({QJsonObject {{key, 1}}, QJsonObject {{key, 2}}, page(u"a"_qs)}), m({other})},
        {m({other, n({QJsonObject {{key, 1}}, page(u"a"_qs)})})},
        {u"moved: node 'n', to 'm/n', as position 1"_qs, u"removed: unknown at position 1 below 'n'"_qs});
    row("sub-tree with a child removed and one added", {n(subtree), m({other})},
        {m({other, n({node(u"k"_qs, {page(u"b"_qs)}), page(u"c"_qs)})})},
        {u"moved: node 'n', to 'm/n', as position 1"_qs, u"removed: selection 'n/a'"_qs,
            u"added: selection 'm/n/c', as position 1"_qs});
    row("sub-tree in another order", {n(subtree), m({other})},
        {m({other, n({node(u"k"_qs, {page(u"b"_qs)}), page(u"a"_qs)})})},
        {u"moved: node 'n', to 'm/n', as position 1"_qs, u"moved: node 'm/n/k', from position 1 to 0"_qs});
    row("sub-tree with nothing left as it was", {n({page(u"a"_qs)}), m({other})},
        {m({other, n({with(page(u"a"_qs), key, 1)})})},
        {u"removed: node 'n', with 1 below"_qs, u"added: node 'm/n', as position 1, with 1 below"_qs});
    row("out of a removed parent", {n({page(u"n/p"_qs), other}), m({other})}, {m({other, page(u"m/p"_qs)})},
        {u"removed: node 'n', with 1 below"_qs, u"moved: selection 'n/p', to 'm/p', as position 1"_qs});
    row("into an added parent", {page(u"p"_qs), other}, {n({page(u"n/p"_qs), page(u"n/q"_qs)}), other},
        {u"added: node 'n', as position 0, with 1 below"_qs, u"moved: selection 'p', to 'n/p', as position 0"_qs});
    row("deep into added parents", {page(u"p"_qs), other}, {n({m({page(u"n/m/p"_qs)})}), other},
        {u"added: node 'n', as position 0, with 1 below"_qs, u"moved: selection 'p', to 'n/m/p', as position 0"_qs});
    row("parent and child change places", {n({page(u"a"_qs), m({page(u"b"_qs)})})},
        {m({page(u"b"_qs), n({page(u"a"_qs)})})},
        {u"moved: node 'n/m', to 'm', as position 0"_qs, u"moved: node 'n', to 'm/n', as position 1"_qs});
    row("the first of several equal ones goes to the first place",
        {n({page(u"p"_qs)}), m({page(u"p"_qs)}), node(u"x"_qs, {}), node(u"y"_qs, {})},
        {n({}), m({}), node(u"x"_qs, {page(u"p"_qs)}), node(u"y"_qs, {page(u"p"_qs)})},
        {u"moved: selection 'n/p', to 'x/p', as position 0"_qs, u"moved: selection 'm/p', to 'y/p', as position 0"_qs});
    row("more equal ones than places", {n({page(u"p"_qs)}), m({page(u"p"_qs)}), node(u"x"_qs, {})},
        {n({}), m({}), node(u"x"_qs, {page(u"p"_qs)})},
        {u"removed: selection 'm/p'"_qs, u"moved: selection 'n/p', to 'x/p', as position 0"_qs});
    row("out of one node into another one that is none of the same", {n({node(u"k"_qs, {page(u"p"_qs)})}), m({other})},
        {n({}), m({other, node(u"q"_qs, {page(u"p"_qs)})})},
        {u"removed: node 'n/k'"_qs, u"added: node 'm/q', as position 1"_qs,
            u"moved: selection 'n/k/p', to 'm/q/p', as position 0"_qs});
    const auto several = [](const QString& letters) {
        QJsonArray pages;
        for (const QChar letter : letters) {
            pages.append(page(QString(letter)));
        }
        return pages;
    };
    row("several before others, which stay in their order", {n(several(u"fghxyz"_qs)), m(several(u"ab"_qs))},
        {n(several(u"fgh"_qs)), m(several(u"xyzab"_qs))},
        {u"moved: selection 'n/x', to 'm/x', as position 0"_qs, u"moved: selection 'n/y', to 'm/y', as position 1"_qs,
            u"moved: selection 'n/z', to 'm/z', as position 2"_qs});
    row("without a name", {n({QJsonObject {{key, 1}}}), m({other})}, {n({}), m({other, QJsonObject {{key, 1}}})},
        {u"removed: unknown at position 0 below 'n'"_qs, u"added: unknown at position 1 below 'm', as position 1"_qs});
    row("node with a nameless child, which went with the others",
        {n({page(u"a"_qs), QJsonObject {{key, 1}}}), m({other})},
        {m({other, n({page(u"a"_qs), QJsonObject {{key, 1}}})})}, {u"moved: node 'n', to 'm/n', as position 1"_qs});
}

void tst_Difference::movesToAnotherParentAreReported()
{
    QFETCH(QJsonArray, before);
    QFETCH(QJsonArray, after);
    QFETCH(QStringList, lines);

    QCOMPARE(linesBetween(before, after), lines);
}

void tst_Difference::changesAreSameAsJson_data()
{
    const Table<QJsonArray, QJsonArray, QByteArray> row("before", "after", "json");

    const QJsonObject a = selection(u"a"_qs);
    const QJsonObject b = selection(u"b"_qs);
    const QString key = u"key"_qs;
    row("added", {}, {node(u"n"_qs, {a, b})},
        "{\"below\":2,\"change\":\"added\",\"kind\":\"node\",\"path\":\"n\",\"positions\":[0]}");
    row("removed", {node(u"n"_qs, {a, b})}, {node(u"n"_qs, {a})},
        "{\"below\":0,\"change\":\"removed\",\"kind\":\"selection\",\"path\":\"n/b\",\"positions\":[0,1]}");
    row("changed, with keys that one of the two has not", {with(with(a, key, 1), u"old"_qs, QJsonValue::Null)},
        {with(with(a, key, 2), u"new"_qs, QJsonArray {1})},
        "{\"change\":\"changed\",\"keys\":[{\"after\":2,\"before\":1,\"key\":\"key\"},{\"after\":[1],\"key\":\"new\"},{"
        "\"before\":null,\"key\":\"old\"}],\"kind\":\"selection\",\"path\":\"a\",\"positions\":[0]}");
    row("key without a letter", {a}, {with(a, u""_qs, 1)},
        "{\"change\":\"changed\",\"keys\":[{\"after\":1,\"key\":\"\"}],\"kind\":\"selection\",\"path\":\"a\","
        "\"positions\":[0]}");
    row("changed without a path and a key", {1}, {u"x"_qs},
        "{\"change\":\"changed\",\"keys\":[{\"after\":\"x\",\"before\":1,\"key\":null}],\"kind\":\"no "
        "object\",\"path\":null,\"positions\":[0]}");
    row("moved", {a, b}, {b, a},
        "{\"change\":\"moved\",\"from\":{\"path\":\"b\",\"positions\":[1]},\"kind\":\"selection\",\"path\":\"b\","
        "\"positions\":[0]}");
    row("moved to another parent", {a, node(u"n"_qs, {b})}, {node(u"n"_qs, {b, a})},
        "{\"change\":\"moved\",\"from\":{\"path\":\"a\",\"positions\":[0]},\"kind\":\"selection\",\"path\":\"n/"
        "a\",\"positions\":[0,1]}");
}

void tst_Difference::changesAreSameAsJson()
{
    QFETCH(QJsonArray, before);
    QFETCH(QJsonArray, after);
    QFETCH(QByteArray, json);

    QCOMPARE(jsonBetween(before, after), json);
}

void tst_Difference::moveIsFoundDespiteStamps()
{
    const QJsonObject other = page(u"other"_qs);
    const QJsonObject stampedPage = with(page(u"p"_qs), u"moduleName"_qs, u"M"_qs);
    const QJsonArray before {node(u"n"_qs, {stampedPage}), node(u"m"_qs, {other})};
    const QJsonArray after {node(u"n"_qs, {}), node(u"m"_qs, {other, page(u"p"_qs)})};
    QCOMPARE(linesBetween(before, after), QStringList(u"moved: selection 'n/p', to 'm/p', as position 1"_qs));
    QCOMPARE(linesBetween(before, after, Stamps::Count),
        (QStringList {u"removed: selection 'n/p'"_qs, u"added: selection 'm/p', as position 1"_qs}));
    // In a node, moduleName is a member like any other.
    const QJsonObject k = with(node(u"k"_qs), u"moduleName"_qs, u"M"_qs);
    QCOMPARE(
        linesBetween({k}, {node(u"k"_qs)}), QStringList(u"changed: node 'k', moduleName from \"M\" to nothing"_qs));
}

void tst_Difference::equalTreesHaveNoDifference_data()
{
    const Table<RandomManifest::Names> row("names");

    row("any names", RandomManifest::Names::Any);
    row("unique names", RandomManifest::Names::Unique);
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

void tst_Difference::everyDifferenceIsReported_data()
{
    equalTreesHaveNoDifference_data();
}

void tst_Difference::everyDifferenceIsReported()
{
    QFETCH(RandomManifest::Names, names);

    unsigned unequal = 0;
    for (unsigned seed = 0; seed < seeds; ++seed) {
        RandomManifest random(seed, names);
        const QJsonArray before = random.manifest();
        // Every fourth manifest is an unrelated one.
        const QJsonArray after = random.below(4) == 0 ? random.manifest() : random.edited(before);
        const QByteArray both = "before " + compact(before) + "\nafter " + compact(after);
        QVERIFY2(linesBetween(before, after, Stamps::Count).isEmpty() == (before == after), both.constData());
        QVERIFY2(linesBetween(before, after).isEmpty() == (stripped(before) == stripped(after)), both.constData());
        unequal += before == after ? 0U : 1U;

        // Every difference is reported exactly once.
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
    const Table<QJsonArray, QJsonArray, int> row("before", "after", "changes");

    constexpr int many = 20000;
    const auto manyOf = [](const std::function<QString(int)>& name) {
        QJsonArray manifest;
        for (int i = 0; i < many; ++i) {
            manifest.append(with(selection(name(i)), u"key"_qs, i));
        }
        return manifest;
    };
    const auto number = [](int i) { return QString::number(i); };
    const QJsonArray numbers = manyOf(number);
    const QJsonArray twins = manyOf([](int) { return u"twin"_qs; });
    const QJsonArray veryMany = manySelections(3 * many, QString());
    QJsonArray fewer = twins;
    fewer.removeFirst();
    row("reversed", numbers, reversed(numbers), many - 1);
    row("twins, of which the first is gone", twins, fewer, many);
    row("twins reversed", twins, reversed(twins), many);
    row("everything moved to another parent", {node(u"a"_qs, numbers), node(u"b"_qs, {})},
        {node(u"a"_qs, {}), node(u"b"_qs, numbers)}, many);
    row("node with all its children moved to another parent", {node(u"a"_qs, veryMany), node(u"b"_qs, {})},
        {node(u"b"_qs, {node(u"a"_qs, veryMany)})}, 1);
    row("everything below many levels moved with its parent",
        {node(u"a"_qs, {node(u"x"_qs, chain(500, numbers))}), node(u"b"_qs, {})},
        {node(u"a"_qs, {}), node(u"b"_qs, {node(u"x"_qs, chain(500, numbers))})}, 1);
    row("reversed below many levels", chain(500, numbers), chain(500, reversed(numbers)), many - 1);
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
    // The limit is generous because other processes disturb the test. A quadratic algorithm would take as long as
    // hundreds of loads.
    constexpr qint64 disturbance = 500;
    QVERIFY(comparison < 10 * load + disturbance);
}

void tst_Difference::stampsCountOnlyOnRequest()
{
    const QJsonObject stamped = with(with(selection(u"a"_qs), u"moduleName"_qs, u"M"_qs), u"objectName"_qs, u"O"_qs);
    const QJsonArray before {selection(u"a"_qs)};
    QCOMPARE(linesBetween(before, {stamped}), QStringList());
    QCOMPARE(linesBetween(before, {stamped}, Stamps::Count),
        QStringList(u"changed: selection 'a', moduleName from nothing to \"M\", objectName from nothing to \"O\""_qs));
    QCOMPARE(linesBetween(before, {with(stamped, u"key"_qs, 1)}),
        QStringList(u"changed: selection 'a', key from nothing to 1"_qs));
    // Stamps do not count either if the element is a selection in only one of the trees.
    const QString becomesNode = u"changed: node 'a', selectionType from \"Selection\" to \"Node\""_qs;
    QCOMPARE(linesBetween({stamped}, {node(u"a"_qs)}), QStringList(becomesNode));
    const QString becomesSelection = u"changed: selection 'a', selectionType from \"Node\" to \"Selection\""_qs;
    QCOMPARE(linesBetween({node(u"a"_qs)}, {stamped}), QStringList(becomesSelection));
}

void tst_Difference::summaryCountsDescendants()
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
    const Table<QString, int> row("after", "moved");

    row("none", u"abcdef"_qs, 0);
    row("first to the end", u"bcdefa"_qs, 1);
    row("last to the start", u"fabcde"_qs, 1);
    row("neighbours", u"bacdef"_qs, 1);
    row("two", u"cabfde"_qs, 2);
    row("turned round", u"fedcba"_qs, 5);
    row("with others among them", u"xaybzc"_qs, 0);
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
    // Values are cut only on a terminal.
    const QString whole = linesBetween({selection(u"a"_qs)}, {with(selection(u"a"_qs), u"key"_qs, QString(1000, u'x'))},
        Stamps::DoNotCount, ValueLength::Whole)
                              .constFirst();
    QCOMPARE(whole, QString(u"changed: selection 'a', key from nothing to \""_qs + QString(1000, u'x') + u'"'));
}

void tst_Difference::nearestWordIsWhatWasMeant_data()
{
    const Table<QString, QString> row("word", "nearest");

    row("letter missing", u"shw"_qs, u"show"_qs);
    row("letter too many", u"showw"_qs, u"show"_qs);
    row("other letter", u"zet"_qs, u"set"_qs);
    row("letters exchanged", u"udpate"_qs, u"update"_qs);
    row("capitals", u"SHOW"_qs, u"show"_qs);
    row("beginning of one word", u"updat"_qs, u"update"_qs);
    row("short beginning of one word", u"upd"_qs, u"update-node"_qs.left(6));
    row("beginning of many", u"a"_qs, {});
    row("another word", u"frobnicate"_qs, {});
    row("nothing", u""_qs, {});
    row("very much", QString(100000, u's'), {});
}

void tst_Difference::nearestWordIsWhatWasMeant()
{
    QFETCH(QString, word);
    QFETCH(QString, nearest);

    QCOMPARE(nearestWord(word, {u"show"_qs, u"set"_qs, u"update"_qs, u"add-node"_qs, u"add-selection"_qs}), nearest);
}

MANIFEST_TEST_MAIN(tst_Difference)

#include "tst_difference.moc"
