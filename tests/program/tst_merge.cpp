#include "Elements.h"
#include "Files.h"
#include "Handlers.h"
#include "Literals.h"
#include "Merge.h"
#include "MessageRecorder.h"
#include "Pairing.h"
#include "ProgramManifests.h"
#include "RandomManifest.h"
#include "Table.h"
#include "TestMain.h"

#include <QtCore/QElapsedTimer>
#include <QtCore/QJsonDocument>

#include <algorithm>
#include <map>

Q_DECLARE_METATYPE(RandomManifest::Names)

namespace {

#if defined(EMULATED) || defined(MEMORY_CHECKED)
constexpr unsigned seeds = 300;
#else
constexpr unsigned seeds = 3000;
#endif

// The result of a merge and its conflicts.
struct Outcome {
    QJsonArray manifest;
    QStringList conflicts;
};

Outcome mergeOf(
    const QJsonArray& base, const QJsonArray& mine, const QJsonArray& theirs, Decision decision = Decision::Nobody)
{
    const MergeResult result = merge(treeOf(base), treeOf(mine), treeOf(theirs), decision);
    QStringList conflicts;
    for (const MergeConflict& conflict : result.conflicts) {
        conflicts.append(toLine(conflict, ValueLength::Whole));
    }
    return {result.manifest, conflicts};
}

using Elements = std::map<QString, const TreeElement*>;

void addElements(const TreeElements& tree, Elements& elements)
{
    for (const TreeElement& element : tree) {
        elements.emplace(element.path, &element);
        addElements(element.children, elements);
    }
}

Elements elementsIn(const TreeElements& tree)
{
    Elements elements;
    addElements(tree, elements);
    return elements;
}

const TreeElement* at(const Elements& elements, const QString& path)
{
    const auto found = elements.find(path);
    return found == elements.end() ? nullptr : found->second;
}

QString parentOf(const QString& path)
{
    return path.left(qMax(0, path.lastIndexOf(u'/')));
}

QStringList namesOf(const TreeElements& siblings)
{
    QStringList names;
    for (const TreeElement& element : siblings) {
        names.append(element.answersTo);
    }
    return names;
}

QStringList commonTo(const QStringList& names, const QStringList& others)
{
    QStringList result = names;
    result.erase(
        std::remove_if(result.begin(), result.end(), [&](const QString& name) { return !others.contains(name); }),
        result.end());
    return result;
}

/// Compares a merge with the changes of each side. Every element of the trees has a path.
class LossCheck {
public:
    LossCheck(const QJsonArray& base, const QJsonArray& mine, const QJsonArray& theirs, Decision decision)
        : baseTree(treeOf(base))
        , mineTree(treeOf(mine))
        , theirTree(treeOf(theirs))
        , merged(merge(baseTree, mineTree, theirTree, decision))
        , resultTree(treeOf(merged.manifest))
        , result(elementsIn(resultTree))
    {
        checkSide("mine", mineTree, theirTree);
        checkSide("new", theirTree, mineTree);
        checkStamps();
        checkWhatAllHave();
    }

    const QStringList& allLosses() const
    {
        return losses;
    }
    const QJsonArray& manifest() const
    {
        return merged.manifest;
    }

private:
    // Whether a conflict concerns an element, one above it or one below it.
    bool isInConflict(const QString& path) const
    {
        return std::any_of(merged.conflicts.begin(), merged.conflicts.end(), [&](const MergeConflict& conflict) {
            for (const QString& text : {conflict.element, conflict.movedTo, conflict.otherMovedTo}) {
                const QString place = text.section(u'\'', 1, 1);
                const bool isAboveOrSame = path == place || path.startsWith(QString(place + u'/'));
                if (!place.isEmpty() && (isAboveOrSame || place.startsWith(QString(path + u'/')))) {
                    return true;
                }
            }
            return false;
        });
    }

    void expect(bool isKept, const char* side, const QString& path, const char* what)
    {
        if (!isKept && !isInConflict(path)) {
            losses.append(u"%1: %2 %3"_qs.arg(QString::fromUtf8(side), path, QString::fromUtf8(what)));
        }
    }

    void expectWhole(const char* side, const TreeElement& element)
    {
        const TreeElement* const there = at(result, element.path);
        expect(there != nullptr, side, element.path, "is not there");
        const QJsonObject object = element.object();
        for (auto member = object.constBegin(); there != nullptr && member != object.constEnd(); ++member) {
            expect(member.key() == u"substructure"_qs || isStamp(member.key(), element)
                    || there->object().value(member.key()) == member.value(),
                side, element.path, "has another member");
        }
    }

    // Whether a removed element has to stay because an element below it was moved, and that move is in conflict.
    bool hasKeptBelow(const QVector<ElementChange>& changes, const TreeElement& removed) const
    {
        return std::any_of(changes.begin(), changes.end(), [&](const ElementChange& change) {
            return change.kind == ElementChange::MovedElsewhere && isInConflict(change.after->path)
                && change.before->path.startsWith(QString(removed.path + u'/'));
        });
    }

    void checkSide(const char* side, const TreeElements& tree, const TreeElements& otherTree)
    {
        const Elements elements = elementsIn(tree);
        const QVector<ElementChange> changes = differencesOf(baseTree, tree, Stamps::DoNotCount);
        for (const ElementChange& change : changes) {
            switch (change.kind) {
            case ElementChange::Added:
                expectWhole(side, *change.after);
                break;
            case ElementChange::MovedElsewhere:
                expectWhole(side, *change.after);
                // It stays if the move is in conflict.
                expect(at(result, change.before->path) == nullptr || at(elements, change.before->path) != nullptr
                        || isInConflict(change.after->path),
                    side, change.before->path, "is still there");
                break;
            case ElementChange::Removed:
                expect(at(result, change.before->path) == nullptr || hasKeptBelow(changes, *change.before), side,
                    change.before->path, "is still there");
                break;
            case ElementChange::Changed:
                for (const KeyChange& key : change.keys) {
                    const TreeElement* const there = at(result, change.after->path);
                    expect(there != nullptr
                            && (key.key == u"substructure"_qs || there->object().value(key.key) == key.after),
                        side, change.after->path, "has another value");
                }
                break;
            case ElementChange::Moved:
                checkOrder(side, parentOf(change.after->path), tree, otherTree);
                break;
            }
        }
    }

    static const TreeElements* childrenAt(const TreeElements& tree, const QString& path)
    {
        if (path.isEmpty()) {
            return &tree;
        }
        const TreeElement* const element = at(elementsIn(tree), path);
        return element == nullptr ? nullptr : &element->children;
    }

    void checkOrder(const char* side, const QString& parent, const TreeElements& tree, const TreeElements& otherTree)
    {
        const TreeElements* const base = childrenAt(baseTree, parent);
        const TreeElements* const here = childrenAt(tree, parent);
        const TreeElements* const other = childrenAt(otherTree, parent);
        const TreeElements* const there = childrenAt(resultTree, parent);
        if (there == nullptr) {
            expect(false, side, parent, "is gone, in another order");
            return;
        }
        if (base == nullptr || other == nullptr) {
            return;
        }
        const QStringList common = commonTo(namesOf(*there), commonTo(namesOf(*base), namesOf(*other)));
        const QStringList wanted = commonTo(namesOf(*here), common);
        const bool isOfTopLevel = std::any_of(merged.conflicts.begin(), merged.conflicts.end(),
            [](const MergeConflict& conflict) { return conflict.element.isNull(); });
        expect(commonTo(common, wanted) == wanted || wanted == commonTo(namesOf(*base), wanted)
                || (parent.isEmpty() && isOfTopLevel),
            side, parent, "has another order");
    }

    void checkStamps()
    {
        for (const auto& [path, element] : elementsIn(mineTree)) {
            const TreeElement* const there = at(result, path);
            for (const QString& key : {u"moduleName"_qs, u"objectName"_qs}) {
                if (there != nullptr && isStamp(key, *element) && isStamp(key, *there)
                    && there->object().value(key) != element->object().value(key) && !isInConflict(path)) {
                    losses.append(u"%1 has another stamp"_qs.arg(path));
                }
            }
        }
    }

    // An element that all three trees have must be in the result, whatever the decision.
    void checkWhatAllHave()
    {
        const Pairing toMine(baseTree, mineTree, Stamps::DoNotCount);
        const Pairing toTheirs(baseTree, theirTree, Stamps::DoNotCount);
        for (const auto& [path, element] : elementsIn(baseTree)) {
            const TreeElement* const mine = toMine.laterOf(*element);
            const TreeElement* const theirs = toTheirs.laterOf(*element);
            if (mine != nullptr && theirs != nullptr && at(result, mine->path) == nullptr
                && at(result, theirs->path) == nullptr && at(result, path) == nullptr) {
                losses.append(u"%1 is in all three trees, but not in the result"_qs.arg(path));
            }
        }
    }

    const TreeElements baseTree;
    const TreeElements mineTree;
    const TreeElements theirTree;
    const MergeResult merged;
    const TreeElements resultTree;
    const Elements result;
    QStringList losses;
};

} // namespace

class tst_Merge : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void mergingObeysItsLaws_data();
    void mergingObeysItsLaws();
    void nothingIsLostUnreported();
    void changesOfBothSidesAreMerged_data();
    void changesOfBothSidesAreMerged();
    void conflictsAreReportedAndDecided_data();
    void conflictsAreReportedAndDecided();
    void stampsOfMineStay();
    void hugeTreesAreMergedQuickly_data();
    void hugeTreesAreMergedQuickly();
};

void tst_Merge::mergingObeysItsLaws_data()
{
    const Table<RandomManifest::Names> row("names");

    row("any names", RandomManifest::Names::Any);
    row("unique names", RandomManifest::Names::Unique);
}

void tst_Merge::mergingObeysItsLaws()
{
    QFETCH(RandomManifest::Names, names);

    int conflicting = 0;
    for (unsigned seed = 0; seed < seeds; ++seed) {
        RandomManifest random(seed, names);
        const QJsonArray a = random.manifest();
        const QJsonArray b = random.edited(a);
        const QJsonArray c = random.edited(a);

        const auto expect = [&](const char* law, const Outcome& outcome, const Outcome& wanted) {
            const QByteArray found = QByteArray(law) + ", seed " + QByteArray::number(seed) + "\na " + compact(a)
                + "\nb " + compact(b) + "\nc " + compact(c) + "\nfound " + compact(outcome.manifest) + "\nwanted "
                + compact(wanted.manifest) + "\n" + outcome.conflicts.join(u'\n').toUtf8();
            if (outcome.manifest != wanted.manifest || outcome.conflicts != wanted.conflicts) {
                fprintf(stderr, "%s\n", found.constData());
            }
            QVERIFY2(outcome.manifest == wanted.manifest && outcome.conflicts == wanted.conflicts, found.constData());
        };
        const Outcome taken = mergeOf(a, a, b);
        expect(
            "merge(A, A, B) = B", {stripped(taken.manifest).toArray(), taken.conflicts}, {stripped(b).toArray(), {}});
        expect("merge(A, B, A) = B", mergeOf(a, b, a), {b, {}});
        expect("merge(A, B, B) = B", mergeOf(a, b, b), {b, {}});
        const Outcome merged = mergeOf(a, b, c);
        // A repeated merge changes nothing, for example after a power cut. This is impossible if siblings have the same
        // name, because an added element then looks like a removed one.
        if (names == RandomManifest::Names::Unique) {
            for (const Decision decision : {Decision::Mine, Decision::Theirs}) {
                const QJsonArray decided = mergeOf(a, b, c, decision).manifest;
                expect("repeated", {mergeOf(a, decided, c, decision).manifest, {}}, {decided, {}});
            }
            if (merged.conflicts.isEmpty()) {
                expect("repeated without conflicts", mergeOf(a, merged.manifest, c), merged);
            }
        }
        const Outcome ofStamped = mergeOf(stamped(a, u"A"_qs), stamped(b, u"B"_qs), stamped(c, u"C"_qs));
        expect("stamps", {stripped(ofStamped.manifest).toArray(), {}}, {stripped(merged.manifest).toArray(), {}});
        if (QTest::currentTestFailed()) {
            return;
        }
        conflicting += merged.conflicts.isEmpty() ? 0 : 1;
    }
    qInfo("%d of %u merges have conflicts", conflicting, seeds);
}

void tst_Merge::nothingIsLostUnreported()
{
    for (unsigned seed = 0; seed < 3 * seeds; ++seed) {
        RandomManifest random(seed, RandomManifest::Names::Unique);
        const QJsonArray base = random.manifest();
        const QJsonArray mine = random.edited(base);
        const QJsonArray theirs = random.edited(base);
        for (const Decision decision : {Decision::Nobody, Decision::Mine, Decision::Theirs}) {
            const LossCheck check(base, mine, theirs, decision);
            const QByteArray found = check.allLosses().join(u'\n').toUtf8() + "\nseed " + QByteArray::number(seed)
                + "\nbase " + compact(base) + "\nmine " + compact(mine) + "\nnew " + compact(theirs) + "\nmerged "
                + compact(check.manifest());
            QVERIFY2(check.allLosses().isEmpty(), found.constData());
        }
    }
}

void tst_Merge::changesOfBothSidesAreMerged_data()
{
    const Table<QJsonArray, QJsonArray, QJsonArray, QJsonArray> row("base", "mine", "theirs", "result");

    const QJsonObject a = selection(u"a"_qs);
    const QJsonObject b = selection(u"b"_qs);
    const QJsonObject c = selection(u"c"_qs);
    const QJsonObject x = selection(u"x"_qs);
    const QJsonObject y = selection(u"y"_qs);
    const QString k = u"k"_qs;
    const QString l = u"l"_qs;
    const auto n = [](const QJsonArray& children) { return node(u"n"_qs, children); };
    const auto m = [](const QJsonArray& children) { return node(u"m"_qs, children); };

    row("different members of one element", {a}, {with(a, k, 1)}, {with(a, l, 2)}, {with(with(a, k, 1), l, 2)});
    row("member removed and member changed", {with(with(a, k, 1), l, 1)}, {with(a, l, 1)}, {with(with(a, k, 1), l, 2)},
        {with(a, l, 2)});
    row("the same change", {a}, {with(a, k, 1)}, {with(a, k, 1)}, {with(a, k, 1)});
    row("additions of both", {a}, {a, x}, {a, y}, {a, x, y});
    row("the same addition", {a}, {a, x}, {x, a}, {x, a});
    row("additions behind different elements", {a, b}, {a, x, b}, {a, b, y}, {a, x, b, y});
    row("addition before all others", {a}, {x, a}, {with(a, k, 1)}, {x, with(a, k, 1)});
    row("addition in an element that the other changed", {n({a})}, {n({a, x})}, {with(n({a}), k, 1)},
        {with(n({a, x}), k, 1)});
    row("addition behind a removed element", {a, b}, {a, x, b}, {b}, {x, b});
    row("removals of both", {a, b, c}, {b, c}, {a, b}, {b});
    row("removal of what the other left alone", {a, b}, {a}, {a, b, c}, {a, c});
    row("removal of a node that the other left alone", {n({a, b}), c}, {c}, {n({a, b}), with(c, k, 1)},
        {with(c, k, 1)});
    row("removal by mine", {a, b}, {a}, {with(a, k, 1), b}, {with(a, k, 1)});
    row("order of mine", {a, b, c}, {c, a, b}, {a, with(b, k, 1), c}, {c, a, with(b, k, 1)});
    row("order of new", {a, b, c}, {a, with(b, k, 1), c}, {c, a, b}, {c, a, with(b, k, 1)});
    row("the same order", {a, b, c}, {c, b, a}, {c, b, a}, {c, b, a});
    row("order of mine with an addition of new", {a, b}, {b, a}, {a, x, b}, {b, a, x});
    row("order of what is left", {a, b, c}, {c, b, a}, {c, a}, {c, a});
    row("move to another parent by mine", {n({a, b}), m({c})}, {n({b}), m({c, a})}, {n({a, with(b, k, 1)}), m({c})},
        {n({with(b, k, 1)}), m({c, a})});
    row("move to another parent by new", {n({a, b}), m({c})}, {n({a, with(b, k, 1)}), m({c})}, {n({b}), m({c, a})},
        {n({with(b, k, 1)}), m({c, a})});
    row("the same move to another parent", {n({a, b}), m({c})}, {n({b}), m({c, a})}, {n({b}), m({a, c})},
        {n({b}), m({a, c})});
    row("move of what the other removed", {n({a, b}), m({c})}, {n({b}), m({c, a})}, {n({b}), m({c})},
        {n({b}), m({c, a})});
    row("move out of what the other removed", {n({a}), m({c})}, {n({}), m({c, a})}, {m({c})}, {m({c, a})});
    row("move to one of two places that the other has", {a, n({}), m({})}, {n({}), m({a})}, {n({a}), m({a})},
        {n({a}), m({a})});
    row("children of a node that had none", {node(u"n"_qs)}, {n({a})}, {with(node(u"n"_qs), k, 1)},
        {with(n({a}), k, 1)});
    row("array of no children, unset by new", {n({})}, {n({})}, {node(u"n"_qs)}, {node(u"n"_qs)});
    row("last children removed by both sides", {n({a, b})}, {n({b})}, {n({a})}, {n({})});
    row("twins of which mine removed the second", {a, a}, {a}, {with(a, k, 1), a}, {with(a, k, 1)});
    row("twin added by both", {a}, {a, a}, {a, a}, {a, a});
    row("foreign items", {1, a}, {1, a}, {2, a}, {2, a});
    row("foreign item of mine", {1, a}, {3, with(a, k, 1)}, {1, a}, {3, with(a, k, 1)});
    row("elements without names", {QJsonObject {{k, 1}}}, {QJsonObject {{k, 1}, {l, 1}}}, {QJsonObject {{k, 2}}},
        {QJsonObject {{k, 2}, {l, 1}}});
    row("children that are no array", {with(node(u"n"_qs), u"substructure"_qs, 1)},
        {with(with(node(u"n"_qs), u"substructure"_qs, 1), k, 1)}, {with(node(u"n"_qs), u"substructure"_qs, 2)},
        {with(with(node(u"n"_qs), u"substructure"_qs, 2), k, 1)});
    row("everything new", {}, {}, {a, n({b})}, {a, n({b})});
    row("nothing left", {a, b}, {a, b}, {}, {});
}

void tst_Merge::changesOfBothSidesAreMerged()
{
    QFETCH(QJsonArray, base);
    QFETCH(QJsonArray, mine);
    QFETCH(QJsonArray, theirs);
    QFETCH(QJsonArray, result);

    for (const Decision decision : {Decision::Nobody, Decision::Mine, Decision::Theirs}) {
        const Outcome outcome = mergeOf(base, mine, theirs, decision);
        QCOMPARE(outcome.conflicts, QStringList());
        QCOMPARE(compact(outcome.manifest), compact(result));
    }
}

void tst_Merge::conflictsAreReportedAndDecided_data()
{
    const Table<QJsonArray, QJsonArray, QJsonArray, QStringList, QByteArray, QJsonArray, QJsonArray> row(
        "base", "mine", "theirs", "conflicts", "json", "forMine", "forTheirs");

    const QJsonObject a = selection(u"a"_qs);
    const QJsonObject b = selection(u"b"_qs);
    const QJsonObject c = selection(u"c"_qs);
    const QJsonObject x = selection(u"x"_qs);
    const QString k = u"k"_qs;
    const auto n = [](const QJsonArray& children) { return node(u"n"_qs, children); };
    const auto m = [](const QJsonArray& children) { return node(u"m"_qs, children); };
    const QString asText = u"{\"instanceName\":\"a\",\"selectionType\":\"Selection\"}"_qs;
    const QString asChangedText = u"{\"instanceName\":\"a\",\"k\":1,\"selectionType\":\"Selection\"}"_qs;

    row("one value", {with(a, k, 0)}, {with(a, k, 1)}, {with(a, k, 2)}, {u"selection 'a', k: base 0, mine 1, new 2"_qs},
        "[{\"base\":0,\"conflict\":\"value\",\"element\":\"selection 'a'\",\"key\":\"k\",\"mine\":1,\"new\":2}]",
        {with(a, k, 1)}, {with(a, k, 2)});
    row("value of a key that the base has not", {a}, {with(a, k, 1)}, {with(a, k, QJsonValue::Null)},
        {u"selection 'a', k: base nothing, mine 1, new null"_qs},
        "[{\"conflict\":\"value\",\"element\":\"selection 'a'\",\"key\":\"k\",\"mine\":1,\"new\":null}]",
        {with(a, k, 1)}, {with(a, k, QJsonValue::Null)});
    row("value of a key without a letter", {a}, {with(a, u""_qs, 1)}, {with(a, u""_qs, 2)},
        {u"selection 'a', \"\": base nothing, mine 1, new 2"_qs},
        "[{\"conflict\":\"value\",\"element\":\"selection 'a'\",\"key\":\"\",\"mine\":1,\"new\":2}]",
        {with(a, u""_qs, 1)}, {with(a, u""_qs, 2)});
    row("value changed and unset", {with(a, k, 0)}, {a}, {with(a, k, 2)},
        {u"selection 'a', k: base 0, mine nothing, new 2"_qs},
        "[{\"base\":0,\"conflict\":\"value\",\"element\":\"selection 'a'\",\"key\":\"k\",\"new\":2}]", {a},
        {with(a, k, 2)});
    row("one name added twice", {}, {with(a, k, 1)}, {with(a, k, 2)},
        {u"selection 'a', k: base nothing, mine 1, new 2"_qs},
        "[{\"conflict\":\"value\",\"element\":\"selection 'a'\",\"key\":\"k\",\"mine\":1,\"new\":2}]", {with(a, k, 1)},
        {with(a, k, 2)});
    row("foreign item", {0}, {1}, {2}, {u"no object at position 0 of the top level: base 0, mine 1, new 2"_qs},
        "[{\"base\":0,\"conflict\":\"value\",\"element\":\"no object at position 0 of the top "
        "level\",\"mine\":1,\"new\":2}]",
        {1}, {2});
    row("removed by mine, changed by new", {a, b}, {b}, {with(a, k, 1), b},
        {QString(u"selection 'a', removed by mine, changed by new: base "_qs + asText + u", mine nothing, new "_qs
            + asChangedText)},
        "[{\"base\":" + asText.toUtf8()
            + ",\"by\":\"mine\",\"conflict\":\"removed\",\"element\":\"selection 'a'\",\"new\":"
            + asChangedText.toUtf8() + "}]",
        {b}, {with(a, k, 1), b});
    row("removed by new, changed by mine", {a, b}, {with(a, k, 1), b}, {b},
        {QString(u"selection 'a', removed by new, changed by mine: base "_qs + asText + u", mine "_qs + asChangedText
            + u", new nothing"_qs)},
        "[{\"base\":" + asText.toUtf8()
            + ",\"by\":\"new\",\"conflict\":\"removed\",\"element\":\"selection 'a'\",\"mine\":"
            + asChangedText.toUtf8() + "}]",
        {with(a, k, 1), b}, {b});
    row("node removed with a child that the other changed", {n({a, b}), c}, {n({with(a, k, 1), b}), c}, {c},
        {QString(u"selection 'n/a', removed by new, changed by mine: base "_qs + asText + u", mine "_qs + asChangedText
            + u", new nothing"_qs)},
        {}, {n({with(a, k, 1)}), c}, {c});
    row("node removed to which the other added a child", {n({}), c}, {c}, {n({a}), c},
        {QString(
            u"node 'n', removed by mine, changed by new: base {\"instanceName\":\"n\",\"selectionType\":\"Node\",\"substructure\":[]}, mine nothing, new {\"instanceName\":\"n\",\"selectionType\":\"Node\",\"substructure\":["_qs
            + asText + u"]}"_qs)},
        {}, {c}, {n({a}), c});
    const QString ab =
        u"[{\"instanceName\":\"a\",\"selectionType\":\"Selection\"},{\"instanceName\":\"b\",\"selectionType\":\"Selection\"}]"_qs;
    const QString ba =
        u"[{\"instanceName\":\"b\",\"selectionType\":\"Selection\"},{\"instanceName\":\"a\",\"selectionType\":\"Selection\"}]"_qs;
    const QString nodeText = u"{\"instanceName\":\"n\",\"selectionType\":\"Node\",\"substructure\":%1}"_qs;
    row("node removed of which the other reordered the children", {n({a, b}), c}, {n({b, a}), c}, {c},
        {QString(u"node 'n', removed by new, changed by mine: base "_qs + nodeText.arg(ab) + u", mine "_qs
            + nodeText.arg(ba) + u", new nothing"_qs)},
        {}, {n({b, a}), c}, {c});
    row("moved by mine, changed by new", {n({a}), m({c})}, {n({}), m({c, a})}, {n({with(a, k, 1)}), m({c})},
        {QString(u"selection 'n/a', moved to 'm/a' by mine, changed by new: base "_qs + asText + u", mine "_qs + asText
            + u", new "_qs + asChangedText)},
        "[{\"base\":" + asText.toUtf8()
            + ",\"by\":\"mine\",\"conflict\":\"moved\",\"element\":\"selection 'n/a'\",\"mine\":" + asText.toUtf8()
            + ",\"movedTo\":\"'m/a'\",\"new\":" + asChangedText.toUtf8() + "}]",
        {n({}), m({c, a})}, {n({with(a, k, 1)}), m({c})});
    row("moved by mine, children reordered by new", {n({a, b}), m({c})}, {m({c, n({a, b})})}, {n({b, a}), m({c})},
        {QString(u"node 'n', moved to 'm/n' by mine, changed by new: base "_qs + nodeText.arg(ab) + u", mine "_qs
            + nodeText.arg(ab) + u", new "_qs + nodeText.arg(ba))},
        {}, {m({c, n({a, b})})}, {n({b, a}), m({c})});
    row("moved by new, changed by mine", {n({a}), m({c})}, {n({with(a, k, 1)}), m({c})}, {n({}), m({c, a})},
        {QString(u"selection 'n/a', moved to 'm/a' by new, changed by mine: base "_qs + asText + u", mine "_qs
            + asChangedText + u", new "_qs + asText)},
        {}, {n({with(a, k, 1)}), m({c})}, {n({}), m({c, a})});
    row("moved by new, children reordered by mine", {n({a, b}), m({c})}, {n({b, a}), m({c})}, {m({c, n({a, b})})},
        {QString(u"node 'n', moved to 'm/n' by new, changed by mine: base "_qs + nodeText.arg(ab) + u", mine "_qs
            + nodeText.arg(ba) + u", new "_qs + nodeText.arg(ab))},
        {}, {n({b, a}), m({c})}, {m({c, n({a, b})})});
    row("moved to two places", {n({a}), m({c}), x}, {n({}), m({c, a}), x}, {n({}), m({c}), a, x},
        {QString(u"selection 'n/a', moved to 'a' by new, to 'm/a' by mine: base "_qs + asText + u", mine "_qs + asText
            + u", new "_qs + asText)},
        "[{\"base\":" + asText.toUtf8()
            + ",\"by\":\"new\",\"conflict\":\"moved\",\"element\":\"selection 'n/a'\",\"mine\":" + asText.toUtf8()
            + ",\"movedTo\":\"'a'\",\"new\":" + asText.toUtf8() + ",\"otherMovedTo\":\"'m/a'\"}]",
        {n({}), m({c, a}), x}, {n({}), m({c}), a, x});
    row("moved into what the other removed", {a, n({c}), x}, {n({c, a}), x}, {a, x},
        {QString(u"node 'n', removed by new, changed by mine: base "_qs
            + nodeText.arg(u"[{\"instanceName\":\"c\",\"selectionType\":\"Selection\"}]"_qs) + u", mine "_qs
            + nodeText.arg(
                u"[{\"instanceName\":\"c\",\"selectionType\":\"Selection\"},{\"instanceName\":\"a\",\"selectionType\":\"Selection\"}]"_qs)
            + u", new nothing"_qs)},
        {}, {n({c, a}), x}, {a, x});
    row("moved into what the other moved", {a, n({c}), m({x})}, {n({c, a}), m({x})}, {a, m({x, n({c})})},
        {QString(u"node 'n', moved to 'm/n' by new, changed by mine: base "_qs
            + nodeText.arg(u"[{\"instanceName\":\"c\",\"selectionType\":\"Selection\"}]"_qs) + u", mine "_qs
            + nodeText.arg(
                u"[{\"instanceName\":\"c\",\"selectionType\":\"Selection\"},{\"instanceName\":\"a\",\"selectionType\":\"Selection\"}]"_qs)
            + u", new "_qs + nodeText.arg(u"[{\"instanceName\":\"c\",\"selectionType\":\"Selection\"}]"_qs))},
        {}, {n({c, a}), m({x})}, {a, m({x, n({c})})});
    row("order", {a, b, c}, {c, a, b}, {b, a, c},
        {u"order of the top level: base [\"a\",\"b\",\"c\"], mine [\"c\",\"a\",\"b\"], new [\"b\",\"a\",\"c\"]"_qs},
        "[{\"base\":[\"a\",\"b\",\"c\"],\"conflict\":\"order\",\"element\":null,\"mine\":[\"c\",\"a\",\"b\"],\"new\":["
        "\"b\",\"a\",\"c\"]}]",
        {c, a, b}, {b, a, c});
    row("order of children, with an addition", {n({a, b, c})}, {n({c, a, b, x})}, {n({b, a, c})},
        {u"order of the children of node 'n': base [\"a\",\"b\",\"c\"], mine [\"c\",\"a\",\"b\"], new [\"b\",\"a\",\"c\"]"_qs},
        {}, {n({c, a, b, x})}, {n({b, x, a, c})});
    row("twins of which each side changed one after mine removed the first", {with(a, k, 1), with(a, k, 2)},
        {with(a, k, 2)}, {with(a, k, 1), with(a, k, 3)},
        {u"selection at position 1 of the top level, removed by mine, changed by new: base {\"instanceName\":\"a\",\"k\":2,\"selectionType\":\"Selection\"}, mine nothing, new {\"instanceName\":\"a\",\"k\":3,\"selectionType\":\"Selection\"}"_qs},
        {}, {with(a, k, 2)}, {with(a, k, 2), with(a, k, 3)});
}

void tst_Merge::conflictsAreReportedAndDecided()
{
    QFETCH(QJsonArray, base);
    QFETCH(QJsonArray, mine);
    QFETCH(QJsonArray, theirs);
    QFETCH(QStringList, conflicts);
    QFETCH(QByteArray, json);
    QFETCH(QJsonArray, forMine);
    QFETCH(QJsonArray, forTheirs);

    for (const Decision decision : {Decision::Nobody, Decision::Mine, Decision::Theirs}) {
        const Outcome outcome = mergeOf(base, mine, theirs, decision);
        QCOMPARE(outcome.conflicts, conflicts);
        QCOMPARE(compact(outcome.manifest), compact(decision == Decision::Theirs ? forTheirs : forMine));
    }
    if (!json.isNull()) {
        QJsonArray found;
        const QVector<MergeConflict> all =
            merge(treeOf(base), treeOf(mine), treeOf(theirs), Decision::Nobody).conflicts;
        for (const MergeConflict& conflict : all) {
            found.append(toJson(conflict));
        }
        QCOMPARE(compact(found), json);
    }
}

void tst_Merge::stampsOfMineStay()
{
    const auto stamp = [](const QJsonObject& element, const QString& text) {
        return with(with(element, u"moduleName"_qs, text), u"objectName"_qs, text);
    };
    const QString k = u"k"_qs;
    const QJsonObject a = selection(u"a"_qs);
    const auto merged = [&](const QJsonObject& base, const QJsonObject& mine, const QJsonObject& theirs) {
        const Outcome outcome = mergeOf({base}, {mine}, {theirs});
        return outcome.conflicts.isEmpty() ? compact(outcome.manifest) : outcome.conflicts.join(u'\n').toUtf8();
    };
    QCOMPARE(merged(a, stamp(a, u"M"_qs), stamp(with(a, k, 1), u"N"_qs)), compact({stamp(with(a, k, 1), u"M"_qs)}));
    QCOMPARE(merged(stamp(a, u"B"_qs), a, stamp(with(a, k, 1), u"N"_qs)), compact({with(a, k, 1)}));
    QCOMPARE(merged(stamp(a, u"B"_qs), stamp(a, u"M"_qs), with(a, k, 1)), compact({stamp(with(a, k, 1), u"M"_qs)}));
    // Stamps of a removed element are no change.
    QCOMPARE(compact(mergeOf({stamp(a, u"B"_qs)}, {stamp(a, u"M"_qs)}, {}).manifest), compact({}));
    // Only selections have stamps. A selection that becomes a node loses them.
    const QJsonObject asNode = node(u"a"_qs);
    QCOMPARE(merged(a, stamp(a, u"M"_qs), asNode), compact({asNode}));
    QCOMPARE(merged(asNode, with(asNode, u"moduleName"_qs, 1), with(asNode, k, 1)),
        compact({with(with(asNode, u"moduleName"_qs, 1), k, 1)}));
    // Stamps cause no conflict with a foreign item.
    QCOMPARE(compact(mergeOf({stamp(QJsonObject {{u"selectionType"_qs, u"Selection"_qs}}, u"B"_qs)},
                 {stamp(QJsonObject {{u"selectionType"_qs, u"Selection"_qs}}, u"M"_qs)}, {1})
                         .manifest),
        compact({1}));
}

void tst_Merge::hugeTreesAreMergedQuickly_data()
{
    const Table<QJsonArray, QJsonArray, QJsonArray> row("base", "mine", "theirs");

    constexpr int many = 20000;
    const auto manyOf = [](const char* name, int key) {
        QJsonArray manifest;
        for (int i = 0; i < many; ++i) {
            const QString itsName = *name == '\0' ? QString::number(i) : QString::fromUtf8(name);
            manifest.append(with(with(selection(itsName), u"number"_qs, i), u"key"_qs, key));
        }
        return manifest;
    };
    const auto a = [](const QJsonArray& children) { return node(u"a"_qs, children); };
    const auto b = [](const QJsonArray& children) { return node(u"b"_qs, children); };
    const QJsonArray before = manyOf("", 0);
    const QJsonArray after = manyOf("", 1);
    row("reversed by mine, changed by new", before, reversed(before), after);
    QJsonArray rotated = before;
    rotated.append(rotated.takeAt(0));
    row("reordered by both, in conflict", before, reversed(before), rotated);
    row("conflicts only", before, after, manyOf("", 2));
    row("twins", manyOf("twin", 0), reversed(manyOf("twin", 0)), manyOf("twin", 1));
    row("all additions at the start", {}, before, {selection(u"x"_qs)});
    row("moved by mine, changed by new", {a(before), b({})}, {a({}), b(before)}, {a(after), b({})});
    row("moved to two places", {a(before), b({})}, {a({}), b(before)}, {a({}), b({}), node(u"c"_qs, before)});
    row("removed by new, changed by mine", {a(before)}, {a(after)}, {});
    row("below many levels", chain(500, before), chain(500, reversed(before)), chain(500, after));
    row("many levels moved by mine, changed by new", {a(chain(500, before)), b({})}, {a({}), b(chain(500, before))},
        {a(chain(500, after)), b({})});
    row("many levels removed by new, changed by mine", {a(chain(500, before))}, {a(chain(500, after))}, {});
}

void tst_Merge::hugeTreesAreMergedQuickly()
{
    QFETCH(QJsonArray, base);
    QFETCH(QJsonArray, mine);
    QFETCH(QJsonArray, theirs);

    const QByteArray text = compact(base);
    QElapsedTimer timer;
    timer.start();
    const TreeElements baseTree = treeOf(QJsonDocument::fromJson(text).array());
    const qint64 load = timer.elapsed();
    const TreeElements mineTree = treeOf(mine);
    const TreeElements theirTree = treeOf(theirs);
    for (const Decision decision : {Decision::Mine, Decision::Theirs}) {
        timer.restart();
        const MergeResult result = merge(baseTree, mineTree, theirTree, decision);
        const qint64 duration = timer.elapsed();
        qInfo("loaded in %lld ms, merged in %lld ms, %d conflicts", load, duration, result.conflicts.size());
        // The limit is generous because other processes disturb the test. A quadratic algorithm would take as long as
        // hundreds of loads.
        constexpr qint64 disturbance = 1500;
        QVERIFY(duration < 20 * load + disturbance);
    }
}

MANIFEST_TEST_MAIN(tst_Merge)

#include "tst_merge.moc"
