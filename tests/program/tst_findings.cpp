#include "Elements.h"
#include "Files.h"
#include "Findings.h"
#include "Handlers.h"
#include "Literals.h"
#include "MessageRecorder.h"
#include "ProgramManifests.h"
#include "Table.h"
#include "TestMain.h"

#include <QtCore/QElapsedTimer>
#include <QtCore/QJsonDocument>

#include <functional>
#include <random>

namespace {

QString line(const Finding& finding)
{
    return toText(finding.kind) + u": "_qs + finding.place + u' ' + finding.what;
}

QStringList lines(const QVector<Finding>& findings)
{
    QStringList lines;
    for (const Finding& finding : findings) {
        lines << line(finding);
    }
    return lines;
}

QStringList namesOf(const TreeElements& elements)
{
    QStringList names;
    for (const TreeElement& element : elements) {
        names << element.name;
    }
    return names;
}

QJsonValue nested(int levels)
{
    QJsonValue value = 1;
    for (int i = 0; i < levels; ++i) {
        value = i % 2 == 0 ? QJsonValue(QJsonArray {value}) : QJsonValue(QJsonObject {{u"k"_qs, value}});
    }
    return value;
}

bool isLoadable(const QJsonArray& manifest)
{
    QJsonParseError error;
    QJsonDocument::fromJson(compact(manifest), &error);
    return error.error == QJsonParseError::NoError;
}

using Change = std::function<bool(Handler& handler)>;

bool isOfName(const Finding& finding)
{
    static const QVector<FindingKind> kinds {FindingKind::NoObject, FindingKind::NameMissing, FindingKind::NameEmpty,
        FindingKind::NameNoText, FindingKind::NameWithSlash, FindingKind::NameTaken};
    return kinds.contains(finding.kind);
}

// An element has a finding about its name, or one that it is no object, if and only if look-ups cannot reach it below
// its parent.
void checkNames(const TreeElements& siblings, bool isParentReachable, const QVector<Finding>& findings)
{
    for (const TreeElement& element : siblings) {
        const auto isOfElement = [&](const Finding& finding) {
            return finding.positions == element.positions && isOfName(finding);
        };
        const auto number = std::count_if(findings.begin(), findings.end(), isOfElement);
        if (isParentReachable) {
            QCOMPARE(number, element.isReachable() ? 0 : 1);
        } else {
            QVERIFY(number <= 1);
        }
        checkNames(element.children, element.isReachable(), findings);
    }
}

const QJsonArray& network()
{
    static const QJsonArray manifest {selection(u"main"_qs),
        node(u"network"_qs, {selection(u"network/eth"_qs), node(u"wlan"_qs, {selection(u"network/wlan/key"_qs)})}),
        node(u"users"_qs, {selection(u"users/list"_qs)})};
    return manifest;
}

} // namespace

Q_DECLARE_METATYPE(FindingKind)
Q_DECLARE_METATYPE(Change)
Q_DECLARE_METATYPE(QVector<QVector<int>>)

// Damage in a manifest, and damage added by an edit.
class tst_Findings : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void everyKindHasItsWord_data();
    void everyKindHasItsWord();
    void onlyMissingChildrenAreNoDamage();
    void findingNamesElementAndDamage_data();
    void findingNamesElementAndDamage();
    void findingKnowsItsElement();
    void findingsDeepDownAreComparedQuickly();
    void findingOfNeitherManifestIsAdded();
    void everyUnreachableElementHasReason();
    void tooDeepIsWhatCannotBeLoaded_data();
    void tooDeepIsWhatCannotBeLoaded();
    void tooDeepIsReportedOncePerBranch();
    void exampleHasKnownFindings_data();
    void exampleHasKnownFindings();

    void addedDamageIsDistinguishedFromOldDamage_data();
    void addedDamageIsDistinguishedFromOldDamage();
    void damageAddedToManyElementsIsFoundQuickly();
    void damageOfEditIsFound_data();
    void damageOfEditIsFound();

    void lostElementsAreFound_data();
    void lostElementsAreFound();
    void elementsLostByEditAreFound_data();
    void elementsLostByEditAreFound();
    void otherOrderAloneIsPermutation_data();
    void otherOrderAloneIsPermutation();
    void sortThatNamesOneTwiceIsNoPermutation();

    void vocabularyKeyHasOneType_data();
    void vocabularyKeyHasOneType();
    void otherKeyKeepsItsType_data();
    void otherKeyKeepsItsType();
    void elementsInValueHaveRightTypes_data();
    void elementsInValueHaveRightTypes();
    void messageNamesBothTypes_data();
    void messageNamesBothTypes();
};

void tst_Findings::everyKindHasItsWord_data()
{
    const Table<FindingKind, QString> row("kind", "word");
    row("NoObject", FindingKind::NoObject, u"no-object"_qs);
    row("UnknownKind", FindingKind::UnknownKind, u"unknown-kind"_qs);
    row("NameMissing", FindingKind::NameMissing, u"name-missing"_qs);
    row("NameEmpty", FindingKind::NameEmpty, u"name-empty"_qs);
    row("NameNoText", FindingKind::NameNoText, u"name-no-text"_qs);
    row("NameWithSlash", FindingKind::NameWithSlash, u"name-with-slash"_qs);
    row("NameTaken", FindingKind::NameTaken, u"name-taken"_qs);
    row("ChildrenNoArray", FindingKind::ChildrenNoArray, u"children-no-array"_qs);
    row("ChildrenOfSelection", FindingKind::ChildrenOfSelection, u"children-of-selection"_qs);
    row("TooDeep", FindingKind::TooDeep, u"too-deep"_qs);
    row("NoChildren", FindingKind::NoChildren, u"no-children"_qs);
}

void tst_Findings::everyKindHasItsWord()
{
    QFETCH(const FindingKind, kind);
    QFETCH(const QString, word);
    QCOMPARE(toText(kind), word);
}

void tst_Findings::onlyMissingChildrenAreNoDamage()
{
    QVERIFY(!isDamage(FindingKind::NoChildren));
    for (const FindingKind kind : {FindingKind::NoObject, FindingKind::UnknownKind, FindingKind::NameMissing,
             FindingKind::NameEmpty, FindingKind::NameNoText, FindingKind::NameWithSlash, FindingKind::NameTaken,
             FindingKind::ChildrenNoArray, FindingKind::ChildrenOfSelection, FindingKind::TooDeep}) {
        QVERIFY2(isDamage(kind), qPrintable(toText(kind)));
    }
}

void tst_Findings::findingNamesElementAndDamage_data()
{
    const Table<QJsonArray, QStringList> row("manifest", "findings");
    row("nothing", {}, {});
    row("sound", network(), {});
    row("number", {1}, {u"no-object: position 0 of the top level is a number, not an element"_qs});
    row("null", {QJsonValue()}, {u"no-object: position 0 of the top level is null, not an element"_qs});
    row("elements in an array", {QJsonValue(QJsonArray {node(u"a"_qs)})},
        {u"no-object: position 0 of the top level is an array, not an element"_qs});
    row("another kind", {with(node(u"a"_qs), u"selectionType"_qs, u"node"_qs)},
        {u"unknown-kind: 'a' is of the kind 'node', which is neither 'Node' nor 'Selection'"_qs});
    row("without a kind", {without(node(u"a"_qs), u"selectionType"_qs)},
        {u"unknown-kind: 'a' has no 'selectionType'"_qs});
    row("kind that is no text", {with(node(u"a"_qs), u"selectionType"_qs, true)},
        {u"unknown-kind: 'a' has a 'selectionType' that is a boolean"_qs});
    row("without a name", {without(selection(u"a"_qs), u"instanceName"_qs)},
        {u"name-missing: position 0 of the top level has no 'instanceName'"_qs});
    row("several without a name",
        {without(selection(u"a"_qs), u"instanceName"_qs), without(selection(u"a"_qs), u"instanceName"_qs)},
        {u"name-missing: position 0 of the top level has no 'instanceName'"_qs,
            u"name-missing: position 1 of the top level has no 'instanceName'"_qs});
    row("empty name", {selection(u""_qs)}, {u"name-empty: position 0 of the top level has an empty name"_qs});
    row("empty last segment", {selection(u"Net/"_qs)},
        {u"name-empty: position 0 of the top level has the name 'Net/', whose last part is empty"_qs});
    row("name that is a number", {with(selection(u"a"_qs), u"instanceName"_qs, 7)},
        {u"name-no-text: position 0 of the top level has a name that is a number"_qs});
    row("name that is null", {with(selection(u"a"_qs), u"instanceName"_qs, QJsonValue())},
        {u"name-no-text: position 0 of the top level has a name that is null"_qs});
    row("node with a slash", {node(u"a/b"_qs, {selection(u"s"_qs)})},
        {u"name-with-slash: position 0 of the top level has the name 'a/b', which a path splits at '/'"_qs});
    row("selection with a slash", {selection(u"a/b"_qs)}, {});
    row("two of a name", {selection(u"x/a"_qs), selection(u"b"_qs), node(u"a"_qs, {selection(u"s"_qs)})},
        {u"name-taken: position 2 of the top level answers to 'a', but its sibling at position 0 is found first"_qs});
    row("three of a name", {selection(u"a"_qs), selection(u"a"_qs), selection(u"a"_qs)},
        {u"name-taken: position 1 of the top level answers to 'a', but its sibling at position 0 is found first"_qs,
            u"name-taken: position 2 of the top level answers to 'a', but its sibling at position 0 is found first"_qs});
    row("same name elsewhere", {node(u"a"_qs, {selection(u"a/a"_qs)}), node(u"b"_qs, {selection(u"b/a"_qs)})}, {});
    row("children that are an object", {with(node(u"a"_qs), u"substructure"_qs, node(u"b"_qs))},
        {u"children-no-array: 'a' has a 'substructure' that is an object, not an array"_qs});
    row("children of a selection that are null", {with(selection(u"a"_qs), u"substructure"_qs, QJsonValue())},
        {u"children-no-array: 'a' has a 'substructure' that is null, not an array"_qs});
    row("child of a selection", {with(selection(u"a"_qs), u"substructure"_qs, QJsonArray {selection(u"s"_qs)})},
        {u"children-of-selection: 'a' is a selection with a child"_qs});
    row("children of a selection",
        {with(selection(u"a"_qs), u"substructure"_qs, QJsonArray {selection(u"s"_qs), node(u"n"_qs)})},
        {u"children-of-selection: 'a' is a selection with 2 children"_qs,
            u"no-children: 'a/n' is a node without children"_qs});
    row("selection with an empty array", {with(selection(u"a"_qs), u"substructure"_qs, QJsonArray())}, {});
    row("node without children", {node(u"a"_qs), node(u"b"_qs, {})},
        {u"no-children: 'a' is a node without children"_qs, u"no-children: 'b' is a node without children"_qs});
    row("several of one element, and of one below it",
        {QJsonObject {{u"substructure"_qs, QJsonArray {node(u"a/b"_qs)}}}},
        {u"unknown-kind: position 0 of the top level has no 'selectionType'"_qs,
            u"name-missing: position 0 of the top level has no 'instanceName'"_qs,
            u"name-with-slash: position 0 below position 0 of the top level has the name 'a/b', which a path splits at '/'"_qs,
            u"no-children: position 0 below position 0 of the top level is a node without children"_qs});
}

void tst_Findings::findingNamesElementAndDamage()
{
    QFETCH(const QJsonArray, manifest);
    QFETCH(const QStringList, findings);
    QCOMPARE(lines(check(manifest)), findings);
}

void tst_Findings::findingKnowsItsElement()
{
    const QJsonObject child = selection(u"s"_qs);
    const QJsonArray manifest {selection(u"x"_qs), with(selection(u"a"_qs), u"substructure"_qs, QJsonArray {child, 1})};
    const QVector<Finding> findings = check(manifest);
    QCOMPARE(findings.size(), 2);
    QCOMPARE(findings.at(0).path, u"a"_qs);
    QCOMPARE(findings.at(0).positions, QVector<int>({1}));
    QCOMPARE(findings.at(0).value, manifest.at(1));
    QCOMPARE(findings.at(0).advice, u"Make it a node, or delete what is below it"_qs);
    QCOMPARE(findings.at(1).path, QString());
    QCOMPARE(findings.at(1).positions, QVector<int>({1, 1}));
    QCOMPARE(findings.at(1).value, QJsonValue(1));
    QVERIFY(!findings.at(1).advice.isEmpty());
}

void tst_Findings::everyUnreachableElementHasReason()
{
    std::mt19937 engine(1);
    int number = 0;
    for (int i = 0; i < 40; ++i) {
        const TreeElements tree = treeOf(oddlyNamed(engine));
        const QVector<Finding> findings = check(tree);
        checkNames(tree, true, findings);
        if (QTest::currentTestFailed()) {
            return;
        }
        number += findings.size();
    }
    QVERIFY(number > 500);
}

void tst_Findings::tooDeepIsWhatCannotBeLoaded_data()
{
    const Table<QJsonArray, bool> row("manifest", "isTooDeep");
    const QJsonObject empty = with(node(u"n"_qs), u"substructure"_qs, QJsonArray());
    row("512 elements", chain(511, {selection(u"s"_qs)}), false);
    row("with an empty array", chain(511, {empty}), true);
    row("511 elements with an empty array", chain(510, {empty}), false);
    row("513 elements", chain(512, {selection(u"s"_qs)}), true);
    row("array in the last", chain(511, {with(selection(u"s"_qs), u"list"_qs, QJsonArray())}), true);
    row("array in the last but one", chain(510, {with(selection(u"s"_qs), u"list"_qs, QJsonArray())}), false);
    row("deep member", {with(selection(u"s"_qs), u"m"_qs, nested(1022))}, false);
    row("too deep a member", {with(selection(u"s"_qs), u"m"_qs, nested(1023))}, true);
    row("deep array", {nested(1023)}, false);
    row("too deep an array", {nested(1024)}, true);
    row("deep children that are no array", {with(node(u"n"_qs), u"substructure"_qs, nested(1022).toObject())}, false);
    row("too deep children that are no array",
        {with(node(u"n"_qs), u"substructure"_qs, QJsonObject {{u"k"_qs, nested(1022)}})}, true);
}

void tst_Findings::tooDeepIsWhatCannotBeLoaded()
{
    QFETCH(const QJsonArray, manifest);
    QFETCH(const bool, isTooDeep);
    const QVector<Finding> findings = check(manifest);
    const bool isReported = std::any_of(
        findings.begin(), findings.end(), [](const Finding& finding) { return finding.kind == FindingKind::TooDeep; });
    QCOMPARE(isReported, isTooDeep);
    QCOMPARE(isLoadable(manifest), !isTooDeep);
}

void tst_Findings::tooDeepIsReportedOncePerBranch()
{
    const QJsonArray manifest {chain(520, {selection(u"s"_qs)}).at(0),
        with(chain(515, {selection(u"s"_qs)}).at(0).toObject(), u"instanceName"_qs, u"m"_qs)};
    const QVector<Finding> findings = check(manifest);
    QCOMPARE(findings.size(), 2);
    QCOMPARE(findings.at(0).kind, FindingKind::TooDeep);
    QCOMPARE(findings.at(0).positions, QVector<int>(512));
    QCOMPARE(findings.at(1).positions, QVector<int>({1}) + QVector<int>(511));
}

void tst_Findings::exampleHasKnownFindings_data()
{
    const Table<QString, QStringList> row("scheme", "findings");
    row("configuration", u"configuration"_qs,
        {u"name-taken: position 5 of the top level answers to 'network', but its sibling at position 4 is found first"_qs});
    row("process", u"process"_qs, {});
}

void tst_Findings::exampleHasKnownFindings()
{
    QFETCH(const QString, scheme);
    QFETCH(const QStringList, findings);
    const QByteArray manifest = readFile(QStringLiteral(TEST_DATA "/example.%1.manifest.json").arg(scheme));
    QVERIFY(!manifest.isEmpty());
    QCOMPARE(lines(check(arrayFrom(manifest.constData()))), findings);
}

void tst_Findings::addedDamageIsDistinguishedFromOldDamage_data()
{
    const Table<QJsonArray, QJsonArray, QStringList> row("before", "after", "words");
    const QJsonObject first = with(node(u"a"_qs), u"iconName"_qs, u"1"_qs);
    const QJsonObject second = with(node(u"a"_qs), u"iconName"_qs, u"2"_qs);
    const QJsonObject other = selection(u"b"_qs);
    const QJsonObject unknown = without(node(u"u"_qs, {other}), u"selectionType"_qs);
    const auto parent = [](const QJsonArray& children) {
        return with(selection(u"p"_qs), u"substructure"_qs, children);
    };
    row("nothing", network(), network(), {});
    row("sound to sound", {}, network(), {});
    row("damage to sound", {1}, network(), {});
    row("damage that was there", {1, first, second}, {1, first, second}, {});
    row("new", {other}, {other, 1}, {u"no-object"_qs});
    row("one more of the same", {1}, {1, 1}, {u"no-object"_qs});
    row("one less", {1, 1}, {1}, {});
    row("another one instead", {1}, {2}, {});
    row("another kind instead", {1}, {selection(u""_qs)}, {u"name-empty"_qs});
    row("moved by what comes in front", {1, first, second}, {other, 1, first, second}, {});
    row("moved to another level", {node(u"n"_qs, {other, 1})}, {other, 1}, {});
    row("the other of two is taken", {first, second}, {second, first}, {u"name-taken"_qs});
    row("the other one is taken, elsewhere", {first, other, second}, {other, second, first}, {u"name-taken"_qs});
    row("the other of two is taken, and changed", {first, second}, {second, with(first, u"hide"_qs, true)},
        {u"name-taken"_qs});
    row("the other of two is taken, and the found one changed", {first, second},
        {with(second, u"hide"_qs, true), first}, {u"name-taken"_qs});
    row("taken as before, changed", {first, second}, {with(first, u"hide"_qs, true), with(second, u"hide"_qs, true)},
        {});
    row("taken as before, stamped", {selection(u"a"_qs), with(selection(u"x/a"_qs), u"hide"_qs, true)},
        {stamped(selection(u"a"_qs)), stamped(with(selection(u"x/a"_qs), u"hide"_qs, true))}, {});
    row("taken as before, below changes", {first, node(u"a"_qs, {other})},
        {first, node(u"a"_qs, {other, selection(u"c"_qs)})}, {});
    row("changed beside what is unknown", {unknown}, {with(unknown, u"hide"_qs, true)}, {});
    row("renamed what is unknown", {unknown}, {with(unknown, u"instanceName"_qs, u"v"_qs)}, {});
    row("changed below what is unknown", {unknown},
        {with(unknown, u"substructure"_qs, QJsonArray {with(other, u"hide"_qs, true)})}, {});
    row("changed one of two that are unknown and equal", {unknown, unknown}, {with(unknown, u"hide"_qs, true), unknown},
        {});
    row("unknown in another way", {unknown}, {with(unknown, u"selectionType"_qs, u"x"_qs)}, {u"unknown-kind"_qs});
    row("unknown no more", {unknown}, {with(unknown, u"selectionType"_qs, u"Node"_qs)}, {});
    row("unknown no more, but without a name", {unknown},
        {without(with(unknown, u"selectionType"_qs, u"Node"_qs), u"instanceName"_qs)}, {u"name-missing"_qs});
    row("another name with a slash", {node(u"a/b"_qs)}, {node(u"c/d"_qs)}, {u"name-with-slash"_qs});
    row("another name that is no text", {with(node(u"a"_qs), u"instanceName"_qs, 1)},
        {with(node(u"a"_qs), u"instanceName"_qs, 2)}, {u"name-no-text"_qs});
    row("empty name, changed", {selection(u""_qs)}, {with(selection(u""_qs), u"hide"_qs, true)}, {});
    row("empty name gone for another one", {selection(u""_qs)}, {node(u"a/b"_qs)}, {u"name-with-slash"_qs});
    row("child more below a selection", {parent({other})}, {parent({other, selection(u"c"_qs)})},
        {u"children-of-selection"_qs});
    row("child less below a selection", {parent({other, selection(u"c"_qs)})}, {parent({other})}, {});
    row("changed child below a selection", {parent({other})}, {parent({with(other, u"hide"_qs, true)})}, {});
    row("other children that are no array", {with(node(u"n"_qs), u"substructure"_qs, 1)},
        {with(node(u"n"_qs), u"substructure"_qs, 2)}, {u"children-no-array"_qs});
    row("empty node", {}, {node(u"n"_qs)}, {});
    row("too deep", chain(511, {selection(u"s"_qs)}), chain(512, {selection(u"s"_qs)}), {u"too-deep"_qs});
    row("too deep as before", chain(512, {selection(u"s"_qs)}), chain(512, {selection(u"t"_qs)}), {});
}

void tst_Findings::addedDamageIsDistinguishedFromOldDamage()
{
    QFETCH(const QJsonArray, before);
    QFETCH(const QJsonArray, after);
    QFETCH(const QStringList, words);
    QStringList found;
    const QVector<Finding> findings = added(before, after);
    for (const Finding& finding : findings) {
        found << toText(finding.kind);
    }
    QCOMPARE(found, words);
}

void tst_Findings::damageAddedToManyElementsIsFoundQuickly()
{
    constexpr int count = 5000;
    QJsonArray before;
    QJsonArray after;
    for (int i = 0; i < count; ++i) {
        const QJsonObject element = selection(QString::number(i));
        const QJsonArray child {selection(u"a"_qs)};
        before.append(with(element, u"substructure"_qs, child));
        after.append(with(element, u"substructure"_qs, QJsonArray {child.at(0), selection(u"b"_qs)}));
    }
    const QByteArray text = compact(before);
    QElapsedTimer timer;
    timer.start();
    QCOMPARE(treeOf(QJsonDocument::fromJson(text).array()).size(), std::size_t(count));
    const qint64 load = timer.restart();
    QCOMPARE(added(before, after).size(), count);
    QCOMPARE(added(after, before).size(), 0);
    const qint64 comparison = timer.elapsed();
    qInfo("loaded in %lld ms, compared in %lld ms", load, comparison);
    // The limit is generous because other processes disturb the test. A quadratic algorithm would take as long as
    // hundreds of loads.
    constexpr qint64 disturbance = 500;
    QVERIFY(comparison < 50 * load + disturbance);
}

void tst_Findings::damageOfEditIsFound_data()
{
    const Table<Change, QStringList> row("change", "added");
    const auto set = [](const QString& path, const QString& key, const QString& value) -> Change {
        return [=](Handler& handler) { return handler.setProperty(path, key, value, false); };
    };
    row("key of a sound element", set(u"network/eth"_qs, u"iconName"_qs, u"x"_qs), {});
    row("free name", set(u"users"_qs, u"instanceName"_qs, u"people"_qs), {});
    row("taken name", set(u"users"_qs, u"instanceName"_qs, u"network"_qs),
        {u"name-taken: position 2 of the top level answers to 'network', but its sibling at position 1 is found first"_qs});
    row("empty name", set(u"users"_qs, u"instanceName"_qs, u""_qs),
        {u"name-empty: position 2 of the top level has an empty name"_qs});
    row("name with a slash", set(u"users"_qs, u"instanceName"_qs, u"a/b"_qs),
        {u"name-with-slash: position 2 of the top level has the name 'a/b', which a path splits at '/'"_qs});
    row("no name", [](Handler& handler) { return handler.removeProperty(u"users"_qs, u"instanceName"_qs, false); },
        {u"name-missing: position 2 of the top level has no 'instanceName'"_qs});
    row("children", set(u"network"_qs, u"substructure"_qs, u"x"_qs),
        {u"children-no-array: 'network' has a 'substructure' that is a string, not an array"_qs});
    row("child below a selection", [](Handler& handler) { return handler.addNode(u"main/x"_qs, {}, -1, false); },
        {u"children-of-selection: 'main' is a selection with a child"_qs});
    row("new node", [](Handler& handler) { return handler.addNode(u"network/x"_qs, {}, 0, false); }, {});
    row("move", [](Handler& handler) { return handler.moveNode(u"users"_qs, 0, false); }, {});
    row("deletion", [](Handler& handler) { return handler.deleteElement(u"network"_qs, false); }, {});
    row("description in place of an element",
        [](Handler& handler) { return handler.updateNode(u"network"_qs, {}, false, false); },
        {u"unknown-kind: position 1 of the top level has no 'selectionType'"_qs,
            u"name-missing: position 1 of the top level has no 'instanceName'"_qs});
}

void tst_Findings::damageOfEditIsFound()
{
    QFETCH(const Change, change);
    QFETCH(const QStringList, added);
    MessageRecorder log;
    HandlerWithoutFile handler(network());
    QVERIFY(change(handler));
    log.take();
    QCOMPARE(lines(::added(network(), handler.getManifestJsonArray())), added);
}

void tst_Findings::lostElementsAreFound_data()
{
    const Table<QJsonArray, QJsonArray, QVector<QVector<int>>, QStringList> row("before", "after", "edited", "lost");
    const QJsonObject a = selection(u"a"_qs);
    const QJsonObject b = selection(u"b"_qs);
    row("nothing", network(), network(), {}, {});
    row("all", network(), {}, {},
        {u"main"_qs, u"network"_qs, u"network/eth"_qs, u"wlan"_qs, u"network/wlan/key"_qs, u"users"_qs,
            u"users/list"_qs});
    row("one more", {a}, {a, b}, {}, {});
    row("moved", {a, node(u"n"_qs, {b})}, {node(u"n"_qs, {a}), b}, {}, {});
    row("stamped", {a, node(u"n"_qs, {b})}, {stamped(a), node(u"n"_qs, {stamped(b)})}, {}, {});
    row("stamps gone", {stamped(a)}, {a}, {}, {});
    row("node with stamps is changed", {stamped(node(u"n"_qs))}, {node(u"n"_qs)}, {}, {u"n"_qs});
    row("one of two equal ones", {a, b, a}, {a, b}, {}, {u"a"_qs});
    row("no object", {1, a}, {a}, {}, {QString()});
    row("only children", {node(u"n"_qs, {a, b})}, {node(u"n"_qs, {b})}, {}, {u"a"_qs});
    row("renamed", {a, b}, {with(a, u"instanceName"_qs, u"c"_qs), b}, {{0}}, {});
    row("renamed, which was not asked for", {a, b}, {with(a, u"instanceName"_qs, u"c"_qs), b}, {{1}}, {u"a"_qs});
    row("edited and gone", {a, b}, {a}, {{1}}, {u"b"_qs});
    row("other children as many as before", {node(u"n"_qs, {a, b})}, {node(u"n"_qs, {b, selection(u"c"_qs)})}, {{0}},
        {u"a"_qs});
    row("edited one equal to a lost one", {a, b}, {b, 1}, {{0}}, {u"b"_qs});
    row("several edited ones", {node(u"n"_qs, {a}), a},
        {node(u"n"_qs, {with(a, u"hide"_qs, true)}), with(a, u"hide"_qs, true)}, {{0, 0}, {1}}, {});
    const QJsonObject marked = with(a, u"important"_qs, 1);
    row("edited one in an edited one", {node(u"a"_qs, {marked})},
        {node(u"c"_qs, {with(marked, u"instanceName"_qs, u"c"_qs)})}, {{0}, {0, 0}}, {});
    row("another one in place of one in an edited one", {node(u"a"_qs, {marked, b})},
        {node(u"a"_qs, {selection(u"c"_qs), b})}, {{0}, {0, 0}}, {u"a"_qs});
    row("new name in an edited one that keeps its own", {node(u"a"_qs, {a})}, {node(u"a"_qs, {selection(u"c"_qs)})},
        {{0}, {0, 0}}, {u"a"_qs});
    row("less in an edited one", {node(u"a"_qs, {with(marked, u"hide"_qs, true)})}, {node(u"a"_qs, {a})}, {{0}, {0, 0}},
        {u"a"_qs});
}

void tst_Findings::lostElementsAreFound()
{
    QFETCH(const QJsonArray, before);
    QFETCH(const QJsonArray, after);
    QFETCH(const QVector<QVector<int>>, edited);
    QFETCH(const QStringList, lost);
    QCOMPARE(namesOf(lostElements(before, after, edited)), lost);
}

void tst_Findings::elementsLostByEditAreFound_data()
{
    const Table<QString, Change, QStringList> row("path", "change", "lost");
    const QStringList children {u"network/eth"_qs, u"wlan"_qs, u"network/wlan/key"_qs};
    const QString path = u"network"_qs;
    const auto set = [=](const QString& key, const QVariant& value) -> Change {
        return [=](Handler& handler) { return handler.setProperty(path, key, value, false); };
    };
    const QJsonArray others {selection(u"a"_qs), selection(u"b"_qs), selection(u"c"_qs)};
    row("key", path, set(u"iconName"_qs, u"x"_qs), {});
    row("name", path, set(u"instanceName"_qs, u"x"_qs), {});
    row("children", path, set(u"substructure"_qs, u"x"_qs), children);
    row("other children", path, set(u"substructure"_qs, others.toVariantList()), children);
    row(
        "no children", path, [=](Handler& handler) { return handler.removeProperty(path, u"substructure"_qs, false); },
        children);
    row("description that keeps the children", path,
        [=](Handler& handler) { return handler.updateNode(path, node(u"x"_qs), false, false); }, {});
    row(
        "description with other children", path,
        [=](Handler& handler) { return handler.updateNode(path, node(u"x"_qs), true, false); }, children);
    row(
        "deletion", {}, [=](Handler& handler) { return handler.deleteElement(path, false); },
        QStringList(path) + children);
    row("addition in front", {}, [](Handler& handler) { return handler.addNode(u"x"_qs, {}, 0, false); }, {});
    row("addition below children that are no array", {},
        [](Handler& handler) { return handler.addNode(u"odd/x"_qs, {}, 0, false); }, {});
    row("move", {}, [=](Handler& handler) { return handler.moveNode(path, 0, false); }, {});
}

void tst_Findings::elementsLostByEditAreFound()
{
    QFETCH(const QString, path);
    QFETCH(const Change, change);
    QFETCH(const QStringList, lost);
    QJsonArray before = network();
    before.append(with(node(u"odd"_qs), u"substructure"_qs, u"text"_qs));
    MessageRecorder log;
    HandlerWithoutFile handler(before);
    QVERIFY(change(handler));
    log.take();
    QVector<QVector<int>> edited;
    const TreeElements tree = treeOf(before);
    if (const TreeElement* const element = findElement(tree, path, Qt::KeepEmptyParts)) {
        edited.append(element->positions);
    }
    QCOMPARE(namesOf(lostElements(before, handler.getManifestJsonArray(), edited)), lost);
}

void tst_Findings::otherOrderAloneIsPermutation_data()
{
    const Table<QJsonArray, QJsonArray, bool> row("before", "after", "isPermutation");
    const QJsonObject a = selection(u"a"_qs);
    const QJsonObject b = selection(u"b"_qs);
    row("nothing", {}, {}, true);
    row("as it was", network(), network(), true);
    row("other order", {a, b, 1}, {b, 1, a}, true);
    row("other order below", {node(u"n"_qs, {a, b}), b}, {b, node(u"n"_qs, {b, a})}, true);
    row("stamped", {a, b}, {stamped(b), stamped(a)}, true);
    row("one missing", {a, b}, {a}, false);
    row("one twice", {a, b}, {a, a}, false);
    row("one changed", {a}, {with(a, u"hide"_qs, true)}, false);
    row("child on another level", {node(u"n"_qs, {a, b})}, {node(u"n"_qs, {a}), b}, false);
    row("child of another one", {node(u"n"_qs, {a}), node(u"m"_qs)}, {node(u"n"_qs), node(u"m"_qs, {a})}, false);
    row("empty children", {node(u"n"_qs, {})}, {node(u"n"_qs)}, false);
    row("other order in a member", {with(a, u"list"_qs, QJsonArray {1, 2})}, {with(a, u"list"_qs, QJsonArray {2, 1})},
        false);
    row("no object made one", {1}, {QJsonObject()}, false);
}

void tst_Findings::otherOrderAloneIsPermutation()
{
    QFETCH(const QJsonArray, before);
    QFETCH(const QJsonArray, after);
    QFETCH(const bool, isPermutation);
    QCOMPARE(::isPermutation(before, after), isPermutation);
    QCOMPARE(::isPermutation(after, before), isPermutation);
}

void tst_Findings::sortThatNamesOneTwiceIsNoPermutation()
{
    const QJsonArray before {node(u"network"_qs, {selection(u"a"_qs)}), node(u"network"_qs, {selection(u"b"_qs)})};
    HandlerWithoutFile handler(before);
    QStringList names;
    QVERIFY(handler.getListOfInstances(QString(), names));
    QVERIFY(handler.sortElements(QString(), names, false));
    const QJsonArray after = handler.getManifestJsonArray();
    QVERIFY(!isPermutation(before, after));
    QCOMPARE(namesOf(lostElements(before, after)), QStringList(u"b"_qs));
}

void tst_Findings::vocabularyKeyHasOneType_data()
{
    const Table<QString, QJsonValue> table("key", "value");
    const QJsonValue text(u"x"_qs);
    const auto row = [&](const char* key, const QJsonValue& value) { table(key, QString::fromUtf8(key), value); };
    for (const char* const key : {"selectionType", "instanceName", "iconName", "dataSourceType", "closeMode", "uiJob",
             "labelTextId", "dataModel", "lastModified", "moduleName", "objectName", "bufferType", "dependencyFile",
             "dependencyFileExtern", "labelTextUrl", "templateType"}) {
        row(key, text);
    }
    row("hide", false);
    row("displayPosition", 1.5);
    row("connectorId", 1);
    row("substructure", QJsonArray());
    row("selectorTypeList", QJsonArray());
    row("selectorTypeListEndpoint", QJsonArray());
}

void tst_Findings::vocabularyKeyHasOneType()
{
    QFETCH(const QString, key);
    QFETCH(const QJsonValue, value);
    const QVector<QJsonValue> values {QJsonValue(), true, 2, u"y"_qs, QJsonArray {1}, QJsonObject()};
    for (const QJsonValue& given : values) {
        const bool isRight = given.type() == value.type();
        // The present value makes no difference.
        for (const QJsonValue& present : {QJsonValue(QJsonValue::Undefined), value, given}) {
            QCOMPARE(typeProblem(key, present, given).isNull(), isRight);
        }
    }
}

void tst_Findings::otherKeyKeepsItsType_data()
{
    const Table<QString, QJsonValue, QJsonValue, bool> row("key", "present", "given", "isRight");
    const QJsonValue none(QJsonValue::Undefined);
    row("new key", u"own"_qs, none, u"x"_qs, true);
    row("text for text", u"own"_qs, u""_qs, u"x"_qs, true);
    row("text for a number", u"own"_qs, 1, u"1"_qs, false);
    row("number for a number", u"own"_qs, 1, 2.5, true);
    row("object for an array", u"own"_qs, QJsonArray(), QJsonObject(), false);
    row("null for a text", u"own"_qs, u"x"_qs, {}, false);
    row("text for null", u"own"_qs, {}, u"x"_qs, false);
    row("capitals make another key", u"Hide"_qs, none, u"true"_qs, true);
    row("key of any type", u"tolmVersion"_qs, 1, u"1"_qs, true);
    row("other key of any type", u"configurationVersion"_qs, 1, true, true);
}

void tst_Findings::otherKeyKeepsItsType()
{
    QFETCH(const QString, key);
    QFETCH(const QJsonValue, present);
    QFETCH(const QJsonValue, given);
    QFETCH(const bool, isRight);
    QCOMPARE(typeProblem(key, present, given).isNull(), isRight);
}

void tst_Findings::elementsInValueHaveRightTypes_data()
{
    const Table<QJsonArray, QJsonArray, QString> row("present", "given", "message");
    const QJsonObject a = selection(u"a"_qs);
    const QJsonObject wrong = with(a, u"hide"_qs, u"true"_qs);
    const QString message = u"'hide' of the element 'a' takes a boolean, not a string"_qs;
    row("right", {}, {with(a, u"hide"_qs, true), node(u"n"_qs, {a}), 1}, {});
    row("wrong", {}, {a, wrong}, message);
    row("wrong below", {}, {node(u"n"_qs, {node(u"m"_qs, {wrong})})}, message);
    row("wrong children", {}, {with(a, u"substructure"_qs, 1)},
        u"'substructure' of the element 'a' takes an array, not a number"_qs);
    row("wrong name", {}, {with(a, u"instanceName"_qs, 1)},
        u"'instanceName' of the element '' takes a string, not a number"_qs);
    row("own key", {}, {with(a, u"own"_qs, u"true"_qs)}, {});
    row("wrong before", {node(u"n"_qs, {wrong})}, {wrong, a}, {});
    row("another one wrong before", {with(selection(u"b"_qs), u"hide"_qs, u"true"_qs)}, {wrong}, message);
}

void tst_Findings::elementsInValueHaveRightTypes()
{
    QFETCH(const QJsonArray, present);
    QFETCH(const QJsonArray, given);
    QFETCH(const QString, message);
    QCOMPARE(typeProblem(u"substructure"_qs, present, given), message);
    QCOMPARE(typeProblem(u"own"_qs, present, given), QString());
}

void tst_Findings::messageNamesBothTypes_data()
{
    const Table<QString, QJsonValue, QJsonValue, QString> row("key", "present", "given", "message");
    row("text for a boolean", u"hide"_qs, true, u"true"_qs, u"'hide' takes a boolean, not a string"_qs);
    row("number for a text", u"iconName"_qs, QJsonValue::Undefined, 1, u"'iconName' takes a string, not a number"_qs);
    row("object for a list of the user's own", u"own"_qs, QJsonArray(), QJsonObject(),
        u"'own' takes an array, not an object"_qs);
}

void tst_Findings::messageNamesBothTypes()
{
    QFETCH(const QString, key);
    QFETCH(const QJsonValue, present);
    QFETCH(const QJsonValue, given);
    QFETCH(const QString, message);
    QCOMPARE(typeProblem(key, present, given), message);
}

void tst_Findings::findingsDeepDownAreComparedQuickly()
{
    constexpr int levels = 400;
    constexpr int leaves = 5000;
    const auto tree = [](const QJsonObject& last) {
        QJsonArray siblings;
        for (int i = 0; i < leaves; ++i) {
            siblings.append(selection(QString::number(i)));
        }
        siblings.append(last);
        for (int level = 0; level < levels; ++level) {
            // Every level adds a finding.
            siblings = {with(node(u"n"_qs, siblings), u"selectionType"_qs, u"other"_qs)};
        }
        return siblings;
    };
    const QJsonArray before = tree(selection(u"x"_qs));
    const QJsonArray after = tree(QJsonObject());
    QElapsedTimer timer;
    timer.start();
    const TreeElements treeAfter = treeOf(QJsonDocument::fromJson(compact(after)).array());
    const qint64 load = timer.restart();
    QCOMPARE(addedToBoth(before, before, treeAfter).size(), 2);
    QCOMPARE(added(before, after).size(), 2);
    const qint64 comparison = timer.elapsed();
    qInfo("loaded in %lld ms, compared in %lld ms", load, comparison);
    // The limit is generous because other processes disturb the test. An algorithm that visits all elements for each
    // level would take as long as hundreds of loads.
    constexpr qint64 disturbance = 1000;
    QVERIFY(comparison < 20 * load + disturbance);
}

void tst_Findings::findingOfNeitherManifestIsAdded()
{
    const QJsonObject empty = node(u"n"_qs);
    const QJsonArray healthy {selection(u"a"_qs)};
    const QJsonArray damaged {selection(u"a"_qs), empty};
    QCOMPARE(addedToBoth(healthy, healthy, treeOf(healthy)).size(), 0);
    QCOMPARE(addedToBoth(damaged, healthy, treeOf(damaged)).size(), 0);
    QCOMPARE(addedToBoth(healthy, damaged, treeOf(damaged)).size(), 0);
    QCOMPARE(addedToBoth(damaged, damaged, treeOf(damaged)).size(), 0);
    const QVector<Finding> findings = addedToBoth(healthy, healthy, treeOf(damaged));
    QCOMPARE(findings.size(), 1);
    QCOMPARE(findings.constFirst().kind, FindingKind::NoChildren);
    // The result has two findings of a kind, and each manifest has one, so one was added.
    const QJsonArray twice {node(u"k"_qs, {empty}), node(u"l"_qs, {empty})};
    QCOMPARE(addedToBoth(damaged, damaged, treeOf(twice)).size(), 1);
}

MANIFEST_TEST_MAIN(tst_Findings)

#include "tst_findings.moc"
