#include "ManifestFixture.h"
#include "Merge.h"
#include "Pairing.h"
#include "RandomManifest.h"
#include "TestMain.h"

#include <algorithm>
#include <map>

Q_DECLARE_METATYPE(RandomManifest::Names)

namespace {

#if defined(EMULATED) || defined(MEMORY_CHECKED)
constexpr unsigned seeds = 300;
#else
constexpr unsigned seeds = 3000;
#endif

// What a merge makes of manifests, and of its conflicts.
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

/// Holds a merge of trees in which every element has a path against what each side has changed.
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
    // Whether a conflict is about an element, one above it or, of one that was removed, one below it.
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

    // Whether an element that was removed is still there for what was below it, and was moved to a place in conflict.
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
                // Where that is in conflict, it may have stayed.
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

    // Whatever is decided, an element that is in all three trees stays in one place.
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

class tst_ProgramMerge : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void mergingObeysItsLaws_data();
    void mergingObeysItsLaws();
    void nothingIsLostWithoutALine();
};

void tst_ProgramMerge::mergingObeysItsLaws_data()
{
    QTest::addColumn<RandomManifest::Names>("names");

    QTest::newRow("any names") << RandomManifest::Names::Any;
    QTest::newRow("unique names") << RandomManifest::Names::Unique;
}

void tst_ProgramMerge::mergingObeysItsLaws()
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
        // Who repeats a merge, after a power cut for example, gets what he has. Of siblings of one name that is too much
        // to ask: one that was added looks like one that was removed.
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

void tst_ProgramMerge::nothingIsLostWithoutALine()
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

MANIFEST_TEST_MAIN(tst_ProgramMerge)

#include "tst_program_merge.moc"
