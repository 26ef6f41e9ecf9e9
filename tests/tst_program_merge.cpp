#include "ManifestFixture.h"
#include "Merge.h"
#include "RandomManifest.h"
#include "TestMain.h"

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

} // namespace

class tst_ProgramMerge : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void mergingObeysItsLaws_data();
    void mergingObeysItsLaws();
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

MANIFEST_TEST_MAIN(tst_ProgramMerge)

#include "tst_program_merge.moc"
