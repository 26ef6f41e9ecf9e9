#include "ProgramManifests.h"
#include "Table.h"
#include "TestMain.h"
#include "Workplace.h"

#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QJsonDocument>

#include <csignal>

#include <sys/stat.h>
#include <unistd.h>

namespace {

// A run that ends with status 1 and prints differences or findings.
ProgramRun found(const QByteArray& output, const QByteArray& errors = {})
{
    return {1, output, errors};
}

const QString key = u"key"_qs;

QJsonObject a()
{
    return selection(u"a"_qs);
}

QJsonObject b()
{
    return selection(u"b"_qs);
}

// Three manifests without conflicts, and the result of merging them.
QJsonArray base()
{
    return {a(), b()};
}

QJsonArray mine()
{
    return {with(a(), key, 1), b()};
}

QJsonArray theirs()
{
    return {a(), b(), selection(u"c"_qs)};
}

QJsonArray merged()
{
    return {with(a(), key, 1), b(), selection(u"c"_qs)};
}

const QByteArray change = "added: selection 'c', as position 2\nmerged: 1 added, 0 removed, 0 changed; ";

const Workplace& writeThree(const Workplace& place)
{
    return place.write(u"base"_qs, base()).write(u"mine"_qs, mine()).write(u"new"_qs, theirs());
}

} // namespace

class tst_Compare : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void everyOperandMayBeFileFolderOrStandardInput_data();
    void everyOperandMayBeFileFolderOrStandardInput();
    void folderNamedLikeStandardInputIsNotRead();
    void schemeChoosesWhatFolderHolds();
    void stampsCountWhenAskedFor();
    void roundedNumbersAreNoDrift();
    void checkSaysWhereWhatAndWhatToDo();
    void checkReportsDrift();
    void resultsAreSameAsJson();
    void terminalShowsStartOfLongValues();
    void hostileTextsAreHarmless();
    void foreignItemsInAnyOperandAreMerged();
    void mergeWithWhatCannotBeReadIsRefused_data();
    void mergeWithWhatCannotBeReadIsRefused();
    void damagedDescriptionsCauseWarnings();
    void unrelatedManifestsCauseWarning_data();
    void unrelatedManifestsCauseWarning();
    void mergeThatRemovesNearlyEverythingIsRefused_data();
    void mergeThatRemovesNearlyEverythingIsRefused();
    void folderThatCannotBeListedIsNotRemoval_data();
    void folderThatCannotBeListedIsNotRemoval();
    void mergeIsSavedOnRequest();
    void mergeWithNothingNewWritesNothing();
    void keptBaseServesNextMerge();
    void keptBaseHasPermissionsOfAnyFile();
    void mergePrintsWhatItWouldSave();
    void mergeKeepsBackup();
    void conflictsPreventSaving();
    void preferDecidesConflicts();
    void mergeThatAddsFindingIsRefused();
    void damageOfNewManifestIsTakenOver();
    void sameFileAsTwoOperandsCausesWarning();
    void manifestThatChangesMeanwhileIsNotReplaced();
    void baseThatCannotBeWrittenIsReported();
    void mergeSavesToLinkTarget();
};

void tst_Compare::everyOperandMayBeFileFolderOrStandardInput_data()
{
    const Table<QString, QByteArray, ProgramRun> row("commandLine", "input", "run");

    const QByteArray text = compact({selection(u"x"_qs)});
    const QByteArray removed = "removed: selection 'page'\n";
    const QByteArray added = "added: selection 'page', as position 0\n";
    const ProgramRun nothing {0, QByteArray(), QByteArray()};
    row("check of a file", u"check file"_qs, {}, nothing);
    row("check of a folder", u"check folder"_qs, {}, nothing);
    row("check of standard input", u"check -"_qs, text, nothing);
    row("check of nothing in standard input", u"check -"_qs, {},
        misused(u"- is not a manifest: illegal value at byte 0"_qs));
    row("check of a file with a folder", u"check file --folder folder"_qs, {}, nothing);
    row("check of a folder with itself", u"check folder --folder folder"_qs, {}, nothing);
    row("check of standard input with a folder", u"check - --folder folder"_qs, "[]", found("drift: " + added));
    row("diff of a file and a folder", u"diff file folder"_qs, {}, nothing);
    row("diff of a folder and a file", u"diff folder/ ./file"_qs, {}, nothing);
    row("diff of folders", u"diff folder folder"_qs, {}, nothing);
    row("diff of standard input and a file", u"diff - file"_qs, "[]", found(added));
    row("diff of a file and standard input", u"diff file -"_qs, "[]", found(removed));
    row("diff of standard input and a folder", u"diff - folder"_qs, "[]", found(added));
    row("diff of a folder and standard input", u"diff folder -"_qs, "[]", found(removed));
    row("merge of files", u"merge empty other file"_qs, {},
        ProgramRun {0, added + "merged: 1 added, 0 removed, 0 changed; not saved\n", {}});
    row("merge of folders", u"merge folder folder folder"_qs, {},
        ProgramRun {
            0, "unchanged\n", "warning: BASE and MINE are the same file, so nothing in MINE counts as changed\n"});
    row("merge with BASE from standard input", u"merge - file empty"_qs, text, ProgramRun {0, "unchanged\n", {}});
    row("merge with MINE from standard input", u"merge empty - file"_qs, "[]",
        ProgramRun {0, added + "merged: 1 added, 0 removed, 0 changed; not saved\n", {}});
    row("merge with NEW from standard input", u"merge file folder -"_qs, "[]",
        ProgramRun {0, removed + "merged: 0 added, 1 removed, 0 changed; not saved\n", {}});
    row("merge with a folder as BASE", u"merge folder file empty"_qs, {},
        ProgramRun {0, removed + "merged: 0 added, 1 removed, 0 changed; not saved\n", {}});
    const ProgramRun twice = misused(u"standard input can be read only once"_qs);
    row("diff of standard input with itself", u"diff - -"_qs, text, twice);
    row("merge of standard input with itself", u"merge - file -"_qs, text, twice);
}

void tst_Compare::everyOperandMayBeFileFolderOrStandardInput()
{
    QFETCH(QString, commandLine);
    QFETCH(QByteArray, input);
    QFETCH(ProgramRun, run);

    Workplace place;
    place.write(u"empty"_qs, {}).write(u"other"_qs, {}).describe(u"folder/page.config.json"_qs, 1);
    writeFile(place.path(u"file"_qs), place.run(u"create-folder folder --print"_qs).output);
    QCOMPARE(place.program().reading(input).run(commandLine), run);
    QCOMPARE(everythingIn(place.path()), (QStringList {u"empty"_qs, u"file"_qs, u"folder"_qs, u"other"_qs}));
    QCOMPARE(everythingIn(place.path(u"folder"_qs)), QStringList(u"page.config.json"_qs));
}

void tst_Compare::folderNamedLikeStandardInputIsNotRead()
{
    Workplace place;
    place.write(u"file"_qs, {a()}).describe(u"-/page.config.json"_qs, 1);
    QCOMPARE(place.program().reading(compact({a()})).run(u"diff - file"_qs), printed({}));
    QCOMPARE(place.run(u"diff ./- file"_qs).status, 1);
}

void tst_Compare::schemeChoosesWhatFolderHolds()
{
    Workplace place;
    place.write(u"empty"_qs, {}).describe(u"folder/page.config.json"_qs, 1).describe(u"folder/job.process.json"_qs, 1);
    const QByteArray page = "added: selection 'page', as position 0\n";
    const QByteArray job = "added: selection 'job', as position 0\n";
    QCOMPARE(place.run(u"diff empty folder"_qs), found(page));
    QCOMPARE(place.run(u"diff empty folder --scheme configuration"_qs), found(page));
    QCOMPARE(place.run(u"diff empty folder --scheme process"_qs), found(job));
    QCOMPARE(place.run(u"check empty --folder folder --scheme process"_qs), found("drift: " + job));
    QCOMPARE(place.run(u"merge empty empty folder --scheme process"_qs).output,
        job + "merged: 1 added, 0 removed, 0 changed; not saved\n");
    QCOMPARE(place.run(u"diff empty folder --scheme other"_qs),
        misused(u"'other' is neither 'configuration' nor 'process'; --any-scheme allows it"_qs));
    QCOMPARE(place.run(u"diff empty folder --scheme other --any-scheme"_qs), found(job));
}

void tst_Compare::stampsCountWhenAskedFor()
{
    Workplace place;
    place.describe(u"folder/page.config.json"_qs, 1);
    writeFile(place.path(u"new"_qs), place.run(u"create-folder folder --print"_qs).output);
    writeFile(place.path(u"stamped"_qs), place.run(u"stamp new --module M --object O --print"_qs).output);
    const QByteArray line =
        "changed: selection 'page', moduleName from \"M\" to nothing, objectName from \"O\" to nothing\n";
    QCOMPARE(place.run(u"diff stamped folder"_qs), printed({}));
    QCOMPARE(place.run(u"diff stamped folder --stamps"_qs), found(line));
    QCOMPARE(place.run(u"check stamped --folder folder"_qs), printed({}));
    QCOMPARE(place.run(u"check stamped --folder folder --stamps"_qs), found("drift: " + line));
    // A merge always keeps the stamps.
    QCOMPARE(place.run(u"merge new stamped folder"_qs), done(u"unchanged"_qs));
}

void tst_Compare::roundedNumbersAreNoDrift()
{
    Workplace place;
    place.describe(u"folder/Net/page.config.json"_qs, 1);
    writeFile(place.path(u"folder/Net/Folder.menu.json"_qs),
        "{\"displayPosition\":1,\"hide\":false,\"number\":9007199254740993,\"list\":[1.0,9007199254740993,1e300,0.1]}");
    const QString manifest = u"folder/configuration.manifest.json"_qs;
    QCOMPARE(place.run(u"create-folder folder --keep-base"_qs).status, 0);
    QCOMPARE(place.run(u"diff %1 folder"_qs.arg(manifest)), printed({}));
    QCOMPARE(place.run(u"check %1 --folder folder"_qs.arg(manifest)), printed({}));
    QCOMPARE(place.run(u"merge %1.base %1 folder"_qs.arg(manifest)), done(u"unchanged"_qs));
}

void tst_Compare::checkSaysWhereWhatAndWhatToDo()
{
    Workplace place;
    place.write(u"file"_qs, {1, node(u"n"_qs), node(u"m"_qs, {a(), a(), QJsonObject()})});
    QCOMPARE(place.run(u"check file"_qs),
        found("position 0 of the top level is a number, not an element. Remove it from the manifest with a text "
              "editor, or create the manifest again. [no-object]\n"
              "'n' is a node without children. Add elements below it, unless it is to be filled later. [no-children]\n"
              "position 1 below 'm' answers to 'a', but its sibling at position 0 is found first. Rename "
              "one of the two. [name-taken]\n"
              "position 2 below 'm' has no 'selectionType'. Set 'selectionType' to 'Node' or 'Selection'. "
              "[unknown-kind]\n"
              "position 2 below 'm' has no 'instanceName'. Name it in its description, or in the manifest with a text "
              "editor. [name-missing]\n"));
}

void tst_Compare::checkReportsDrift()
{
    Workplace place;
    place.describe(u"folder/page.config.json"_qs, 1).write(u"file"_qs, {node(u"n"_qs)});
    const QByteArray finding =
        "'n' is a node without children. Add elements below it, unless it is to be filled later. [no-children]\n";
    QCOMPARE(place.run(u"check file"_qs), found(finding));
    QCOMPARE(place.run(u"check file --folder folder"_qs),
        found(finding + "drift: removed: node 'n'\ndrift: added: selection 'page', as position 0\n"));
    QCOMPARE(place.run(u"check file --folder none"_qs), misused(u"cannot read none: there is no such folder"_qs));
    QCOMPARE(place.run(u"check file --folder file"_qs), misused(u"cannot read file: it is not a folder"_qs));
}

void tst_Compare::resultsAreSameAsJson()
{
    Workplace place;
    writeThree(place)
        .describe(u"folder/page.config.json"_qs, 1)
        .write(u"empty"_qs, {})
        .write(u"one"_qs, {node(u"n"_qs)});
    const auto json = [&](const QString& commandLine, int status) {
        const ProgramRun run = place.run(commandLine + u" --json"_qs);
        return run.status == status && run.errors.isEmpty()
            ? QJsonDocument::fromJson(run.output).toJson(QJsonDocument::Compact)
            : run.errors + run.output;
    };
    QCOMPARE(json(u"check empty"_qs, 0), QByteArray("{\"findings\":[]}"));
    QCOMPARE(json(u"check empty --folder folder"_qs, 1),
        QByteArray("{\"drift\":[{\"below\":0,\"change\":\"added\",\"kind\":\"selection\",\"path\":\"page\","
                   "\"positions\":[0]}],\"findings\":[]}"));
    QCOMPARE(json(u"check one"_qs, 1),
        QByteArray("{\"findings\":[{\"advice\":\"Add elements below it, unless it is to be filled "
                   "later\",\"finding\":\"no-children\",\"path\":\"n\",\"positions\":[0],\"what\":\"is a node without "
                   "children\"}]}"));
    QCOMPARE(json(u"diff empty empty"_qs, 0), QByteArray("[]"));
    QCOMPARE(json(u"diff empty one"_qs, 1),
        QByteArray("[{\"below\":0,\"change\":\"added\",\"kind\":\"node\",\"path\":\"n\",\"positions\":[0]}]"));
    const QByteArray addition = "\"changes\":[{\"below\":0,\"change\":\"added\",\"kind\":\"selection\",\"path\":\"c\","
                                "\"positions\":[2]}],\"conflicts\":[],\"decidedFor\":";
    QCOMPARE(json(u"merge base mine new"_qs, 0), "{" + addition + "null,\"saved\":false}");
    QCOMPARE(json(u"merge base mine new --prefer new --save"_qs, 0), "{" + addition + "\"new\",\"saved\":true}");
    QCOMPARE(json(u"merge base mine new --save"_qs, 0),
        QByteArray("{\"changes\":[],\"conflicts\":[],\"decidedFor\":null,\"saved\":true}"));
    place.write(u"new"_qs, {with(a(), key, 2), b()});
    const ProgramRun run = place.run(u"merge base mine new --json --save"_qs);
    QCOMPARE(run.status, 1);
    QCOMPARE(QJsonDocument::fromJson(run.output).toJson(QJsonDocument::Compact),
        QByteArray("{\"changes\":[],\"conflicts\":[{\"conflict\":\"value\",\"element\":\"selection "
                   "'a'\",\"key\":\"key\",\"mine\":1,\"new\":2}],\"decidedFor\":null,\"saved\":false}"));
    QCOMPARE(run.errors, QByteArray("configuration-manifest: 1 conflict; --prefer mine or --prefer new decides\n"));
}

void tst_Compare::terminalShowsStartOfLongValues()
{
    Workplace place;
    const QString longText(1000, u'x');
    place.write(u"base"_qs, {a()}).write(u"mine"_qs, {with(a(), key, longText)}).write(u"new"_qs, {with(a(), key, 1)});
    for (const QString& commandLine : {u"diff base mine"_qs, u"merge base mine new"_qs}) {
        QVERIFY(place.run(commandLine).output.contains(longText.toUtf8()));
        const ProgramRun shown = place.program().onTerminal().run(commandLine);
        QVERIFY(shown.output.contains("xxx..."));
        QVERIFY(shown.output.size() < 300);
    }
}

void tst_Compare::hostileTextsAreHarmless()
{
    Workplace place;
    const QString hostile = QString::fromUtf8("\x1b]0;x\x07\n\r\u202e\u2028");
    const QJsonObject element = with(selection(hostile), hostile, hostile);
    place.write(u"base"_qs, {node(hostile, {element}), node(u"n"_qs, {a()})})
        .write(u"mine"_qs, {node(hostile, {with(element, hostile, 1)}), node(u"n"_qs, {a(), element})})
        .write(u"new"_qs, {node(hostile, {with(element, hostile, 2)}), node(u"n"_qs, {element, a(), element})});
    for (const QString& commandLine : {u"check new"_qs, u"diff base mine"_qs, u"diff mine base"_qs,
             u"merge base mine new"_qs, u"merge base mine new --prefer new"_qs}) {
        for (const bool isTerminal : {false, true}) {
            Program program = place.program();
            const ProgramRun run = isTerminal ? program.onTerminal().run(commandLine) : program.run(commandLine);
            QVERIFY(!run.output.isEmpty());
            QVERIFY2(isHarmless(run.output), run.output.constData());
            QVERIFY2(isHarmless(run.errors), run.errors.constData());
        }
    }
    // Line feeds in values do not break the lines.
    QCOMPARE(place.run(u"diff base mine"_qs).output.count('\n'), 2);
}

void tst_Compare::foreignItemsInAnyOperandAreMerged()
{
    Workplace place;
    const QJsonArray foreign {1, QJsonValue::Null, QJsonArray {1}, QJsonObject(), QJsonObject {{u"instanceName"_qs, 1}},
        with(node(u"n"_qs), u"substructure"_qs, u"text"_qs), selection(QString()), selection(u"/"_qs), a(), a()};
    QJsonArray more = foreign;
    more.append(u"more"_qs);
    QJsonArray changed = foreign;
    changed.replace(8, with(a(), key, 1));
    QJsonArray both = more;
    both.replace(8, with(a(), key, 1));
    place.write(u"base"_qs, foreign).write(u"mine"_qs, changed).write(u"new"_qs, more);
    QCOMPARE(place.run(u"merge base mine new --print"_qs), done(QString::fromUtf8(compact(both))));
    QCOMPARE(place.run(u"merge base new mine --print"_qs), done(QString::fromUtf8(compact(both))));
    QCOMPARE(place.run(u"merge base base new --print"_qs).output, compact(more) + '\n');
    QCOMPARE(place.run(u"diff base base"_qs), printed({}));
    QCOMPARE(place.run(u"diff base mine"_qs), found("changed: selection 'a', key from nothing to 1\n"));
}

void tst_Compare::mergeWithWhatCannotBeReadIsRefused_data()
{
    const Table<QString, QByteArray> row("unreadable", "warning");

    row("folder", u"folder/in"_qs, "warning: folder/in: Can't read folder: Permission denied\n");
    row("file", u"folder/in/a.config.json"_qs, "warning: folder/in/a.config.json: Can't open file  \"");
}

void tst_Compare::mergeWithWhatCannotBeReadIsRefused()
{
    QFETCH(QString, unreadable);
    QFETCH(QByteArray, warning);

    Workplace place;
    for (const QString& page : {u"in/a"_qs, u"in/b"_qs, u"c"_qs}) {
        writeFile(place.path(u"folder/%1.config.json"_qs.arg(page)), "{\"hide\":false,\"displayPosition\":1}");
    }
    QCOMPARE(chmod(qPrintable(place.path()), 0755), 0);
    QCOMPARE(place.run(u"create-folder folder"_qs).status, 0);
    const QByteArray manifest = readFile(place.path(u"folder/configuration.manifest.json"_qs));
    writeFile(place.path(u"base"_qs), manifest);
    writeFile(place.path(u"mine"_qs), manifest);
    const FileState before = stateOf(place.path(u"mine"_qs));
    QCOMPARE(chmod(qPrintable(place.path(unreadable)), 0), 0);

    const Program program = place.program().prepared(asOrdinaryUser);
    const ProgramRun refused = program.run(u"merge base mine folder --save"_qs);
    QCOMPARE(refused.status, 1);
    QVERIFY2(refused.errors.startsWith(warning), refused.errors.constData());
    QVERIFY2(
        refused.errors.endsWith(
            "configuration-manifest: folder could not be read completely, and what is missing would count as removed\n"
            "configuration-manifest: the change is refused; --force applies it anyway\n"),
        refused.errors.constData());
    QCOMPARE(stateOf(place.path(u"mine"_qs)), before);
    QCOMPARE(program.run(u"merge base mine folder --force"_qs).status, 0);
    QCOMPARE(program.run(u"diff mine folder"_qs).errors.startsWith(warning), true);
    chmod(qPrintable(place.path(unreadable)), 0755);
}

void tst_Compare::damagedDescriptionsCauseWarnings()
{
    Workplace place;
    place.write(u"empty"_qs, {}).describe(u"folder/page.config.json"_qs, 1);
    writeFile(place.path(u"folder/bad.config.json"_qs), "{");
    const ProgramRun run = place.run(u"diff empty folder"_qs);
    QCOMPARE(run.status, 1);
    QCOMPARE(run.output, QByteArray("added: selection 'bad', as position 0\nadded: selection 'page', as position 1\n"));
    QVERIFY2(run.errors.startsWith("warning: folder/bad.config.json: "), run.errors.constData());
    QCOMPARE(place.run(u"merge empty empty folder"_qs).errors,
        run.errors + "warning: BASE and MINE are the same file, so nothing in MINE counts as changed\n");
}

void tst_Compare::unrelatedManifestsCauseWarning_data()
{
    const Table<QJsonArray, QJsonArray, QByteArray> row("before", "after", "warning");

    const QJsonArray many = manySelections(20, u"s"_qs);
    QJsonArray tenth = manySelections(18, u"t"_qs);
    tenth.append(many.at(0));
    QJsonArray twoTenths = tenth;
    twoTenths.append(many.at(1));
    const auto warning = [](const char* counts) -> QByteArray {
        return QByteArray("warning: old and new have hardly anything in common: ") + counts + " elements\n";
    };
    row("the same", many, many, {});
    row("nothing common", many, manySelections(20, u"t"_qs), warning("0 of 20 and 20"));
    row("hardly anything common", many, tenth, warning("1 of 20 and 19"));
    row("something common", many, twoTenths, {});
    row("nothing left", many, {}, warning("0 of 20 and 0"));
    row("hardly anything left", many, {many.at(3)}, warning("1 of 20 and 1"));
    row("nothing before", {}, many, {});
    row("grown", {many.at(0)}, many, {});
    row("too few to tell", manySelections(9, u"s"_qs), manySelections(9, u"t"_qs), {});
    row("everything in another place", many, {node(u"n"_qs, many)}, {});
}

void tst_Compare::unrelatedManifestsCauseWarning()
{
    QFETCH(QJsonArray, before);
    QFETCH(QJsonArray, after);
    QFETCH(QByteArray, warning);

    Workplace place;
    place.write(u"old"_qs, before).write(u"new"_qs, after);
    const ProgramRun run = place.run(u"diff old new"_qs);
    QCOMPARE(run.errors, warning);
    QCOMPARE(run.status, before == after ? 0 : 1);
    // The same with a base that belongs to another manifest.
    QCOMPARE(place.run(u"merge old new old"_qs).errors, warning);
}

void tst_Compare::mergeThatRemovesNearlyEverythingIsRefused_data()
{
    const Table<QJsonArray, QString> row("theirs", "option");

    const QJsonArray many = manySelections(20, u"s"_qs);
    row("all", {}, {});
    row("all but one", {many.at(0)}, {});
    row("everything for something else", manySelections(20, u"t"_qs), {});
    row("whoever decides", {}, u"--prefer new"_qs);
}

void tst_Compare::mergeThatRemovesNearlyEverythingIsRefused()
{
    QFETCH(QJsonArray, theirs);
    QFETCH(QString, option);

    Workplace place;
    const QJsonArray many = manySelections(20, u"s"_qs);
    place.write(u"base"_qs, many).write(u"mine"_qs, many).write(u"new"_qs, theirs);
    const FileState before = stateOf(place.path(u"mine"_qs));
    const ProgramRun run = place.run(u"merge base mine new --save --keep-base "_qs + option);
    QCOMPARE(run.status, 1);
    QVERIFY2(run.output.endsWith("; not saved\n"), run.output.constData());
    QVERIFY2(run.errors.endsWith("the change is refused; --force applies it anyway\n"), run.errors.constData());
    QCOMPARE(stateOf(place.path(u"mine"_qs)), before);
    QCOMPARE(everythingIn(place.path()).size(), 3);

    QCOMPARE(place.run(u"merge base mine new --save --force "_qs + option).status, 0);
    QCOMPARE(place.content(u"mine"_qs), compact(theirs));
}

void tst_Compare::folderThatCannotBeListedIsNotRemoval_data()
{
    const Table<QString, QString, int> row("faults", "option", "status");

    const QString list = u"list %1 1 99 "_qs.arg(EIO);
    row("not at all", list, {}, 1);
    row("not to its end", u"next %1 2 99 "_qs.arg(EIO), {}, 1);
    row("whoever decides", list, u"--prefer new"_qs, 1);
    row("on request", list, u"--force"_qs, 0);
}

void tst_Compare::folderThatCannotBeListedIsNotRemoval()
{
    QFETCH(QString, faults);
    QFETCH(QString, option);
    QFETCH(int, status);

    Workplace place;
    for (int i = 0; i < 9; ++i) {
        place.describe(u"folder/page%1.config.json"_qs.arg(i), i);
    }
    place.describe(u"folder/sub/Folder.menu.json"_qs, 9).describe(u"folder/sub/page.config.json"_qs, 0);
    for (const QString& file : {u"base"_qs, u"mine"_qs}) {
        writeFile(place.path(file), place.run(u"create-folder --print folder"_qs).output);
    }
    const FileState before = stateOf(place.path(u"mine"_qs));
    const Program faulty = place.program().withFaultyCalls(faults + place.path(u"folder/sub"_qs));
    const ProgramRun run = faulty.run(u"merge base mine folder --save --keep-base "_qs + option);
    QCOMPARE(run.status, status);
    QVERIFY2(
        run.errors.contains("warning: folder/sub: Can't read folder: Input/output error\n"), run.errors.constData());
    const QByteArray reason = "folder could not be read completely, and what is missing would count as removed\n";
    QCOMPARE(run.errors.contains(reason), status != 0);
    QCOMPARE(stateOf(place.path(u"mine"_qs)) == before, status != 0);
    QCOMPARE(QFile::exists(place.path(u"mine.base"_qs)), status == 0);
    QVERIFY(faulty.run(u"explain folder sub"_qs).output.contains("\tabsent\tunreadable: Input/output error\n"));
}

void tst_Compare::mergeIsSavedOnRequest()
{
    Workplace place;
    writeThree(place);
    const FileState before = stateOf(place.path(u"mine"_qs));
    QCOMPARE(place.run(u"merge base mine new"_qs), printed(change + "not saved\n"));
    QCOMPARE(stateOf(place.path(u"mine"_qs)), before);
    QCOMPARE(place.run(u"merge base mine new --keep-base"_qs), printed(change + "not saved\n"));
    QCOMPARE(everythingIn(place.path()).size(), 3);

    QCOMPARE(place.run(u"merge base mine new --save"_qs), printed(change + "saved\n"));
    QCOMPARE(place.content(u"mine"_qs), compact(merged()));
    QCOMPARE(place.content(u"base"_qs), compact(base()));
    QCOMPARE(place.content(u"new"_qs), compact(theirs()));
    QCOMPARE(everythingIn(place.path()).size(), 3);
}

void tst_Compare::mergeWithNothingNewWritesNothing()
{
    Workplace place;
    writeThree(place);
    QCOMPARE(place.run(u"merge base mine new --save --keep-base --backup"_qs).status, 0);
    const FileState saved = stateOf(place.path(u"mine"_qs));
    const FileState kept = stateOf(place.path(u"mine.base"_qs));
    QCOMPARE(kept.content, compact(theirs()));
    QFile::remove(place.path(u"mine~"_qs));

    // The merge with the old base repeats a run that was interrupted before it could replace the base.
    for (const QString& from : {u"mine.base"_qs, u"base"_qs}) {
        QCOMPARE(place.run(u"merge %1 mine new --save --keep-base --backup"_qs.arg(from)), done(u"unchanged"_qs));
        QCOMPARE(stateOf(place.path(u"mine"_qs)), saved);
        QCOMPARE(stateOf(place.path(u"mine.base"_qs)), kept);
    }
    QCOMPARE(everythingIn(place.path()), (QStringList {u"base"_qs, u"mine"_qs, u"mine.base"_qs, u"new"_qs}));
}

void tst_Compare::keptBaseServesNextMerge()
{
    Workplace place;
    const QString manifest = u"folder/configuration.manifest.json"_qs;
    const QString merge = u"merge %1.base %1 folder --save --keep-base"_qs.arg(manifest);
    place.describe(u"folder/page.config.json"_qs, 1).describe(u"folder/old.config.json"_qs, 2);
    QCOMPARE(place.run(u"create-folder folder --keep-base"_qs).status, 0);
    QCOMPARE(place.run(u"set %1 page key value --save"_qs.arg(manifest)).status, 0);
    QCOMPARE(place.run(merge), done(u"unchanged"_qs));

    place.describe(u"folder/added.config.json"_qs, 3);
    QCOMPARE(place.run(merge),
        done(u"added: selection 'added', as position 2\nmerged: 1 added, 0 removed, 0 changed; saved"_qs));
    QFile::remove(place.path(u"folder/old.config.json"_qs));
    QCOMPARE(place.run(merge), done(u"removed: selection 'old'\nmerged: 0 added, 1 removed, 0 changed; saved"_qs));
    QCOMPARE(place.run(u"diff %1.base folder"_qs.arg(manifest)), printed({}));
    QCOMPARE(place.run(u"diff folder %1"_qs.arg(manifest)),
        found("changed: selection 'page', key from nothing to \"value\"\n"));
}

void tst_Compare::keptBaseHasPermissionsOfAnyFile()
{
    Workplace place;
    writeThree(place);
    const auto permissionsOfTheBase = [&] {
        struct stat status = {};
        return stat(qPrintable(place.path(u"mine.base"_qs)), &status) == 0 ? int(status.st_mode & ACCESSPERMS) : -1;
    };
    const Program guarded = place.program().prepared([] { umask(077); });
    QCOMPARE(guarded.run(u"merge base mine new --save --keep-base"_qs).status, 0);
    QCOMPARE(permissionsOfTheBase(), 0600);

    QCOMPARE(chmod(qPrintable(place.path(u"mine.base"_qs)), 0660), 0);
    QCOMPARE(place.run(u"merge mine.base mine base --save --keep-base"_qs).status, 0);
    QCOMPARE(place.content(u"mine.base"_qs), compact(base()));
    QCOMPARE(permissionsOfTheBase(), 0660);
}

void tst_Compare::mergePrintsWhatItWouldSave()
{
    Workplace place;
    writeThree(place);
    const FileState before = stateOf(place.path(u"mine"_qs));
    const ProgramRun printed = done(QString::fromUtf8(compact(merged())));
    QCOMPARE(place.run(u"merge base mine new --print"_qs), printed);
    QCOMPARE(place.run(u"merge base mine new --print --save --keep-base --backup"_qs), printed);
    QCOMPARE(stateOf(place.path(u"mine"_qs)), before);
    QCOMPARE(everythingIn(place.path()).size(), 3);

    // Only the manifest goes to standard output; everything else goes to standard error.
    place.write(u"new"_qs, {with(a(), key, 2), b()});
    const QByteArray conflict = "selection 'a', key: base nothing, mine 1, new 2\n";
    QCOMPARE(place.run(u"merge base mine new --print"_qs),
        (ProgramRun {1, {},
            "conflict: " + conflict + "configuration-manifest: 1 conflict; --prefer mine or --prefer new decides\n"}));
    QCOMPARE(place.run(u"merge base mine new --print --prefer new"_qs),
        done(QString::fromUtf8(place.content(u"new"_qs)), "decided for new: " + conflict));
}

void tst_Compare::mergeKeepsBackup()
{
    Workplace place;
    writeThree(place);
    QCOMPARE(place.run(u"merge base mine new --save --backup=.old"_qs).status, 0);
    QCOMPARE(place.content(u"mine.old"_qs), compact(mine()));
    QCOMPARE(place.content(u"mine"_qs), compact(merged()));
}

void tst_Compare::conflictsPreventSaving()
{
    Workplace place;
    const auto n = [](const QJsonArray& children) { return node(u"n"_qs, children); };
    place.write(u"base"_qs, {n({a(), b()}), selection(u"x"_qs), selection(u"y"_qs), selection(u"z"_qs)})
        .write(u"mine"_qs, {n({a(), with(b(), key, 1)}), selection(u"z"_qs), selection(u"x"_qs), selection(u"y"_qs)})
        .write(u"new"_qs, {n({with(a(), key, 2)}), selection(u"y"_qs), selection(u"x"_qs), selection(u"z"_qs)});
    const FileState before = stateOf(place.path(u"mine"_qs));
    QCOMPARE(place.run(u"merge base mine new --save --keep-base"_qs),
        (ProgramRun {1,
            "conflict: selection 'n/b', removed by new, changed by mine: base "
            "{\"instanceName\":\"b\",\"selectionType\":\"Selection\"}, mine "
            "{\"instanceName\":\"b\",\"key\":1,\"selectionType\":\"Selection\"}, new nothing\n"
            "conflict: order of the top level: base [\"n\",\"x\",\"y\",\"z\"], mine [\"n\",\"z\",\"x\",\"y\"], new "
            "[\"n\",\"y\",\"x\",\"z\"]\n",
            "configuration-manifest: 2 conflicts; --prefer mine or --prefer new decides\n"}));
    QCOMPARE(stateOf(place.path(u"mine"_qs)), before);
    QCOMPARE(everythingIn(place.path()).size(), 3);
    // With --print only the manifest goes to standard output.
    for (const QString& options : {u"--print"_qs, u"--print --json"_qs}) {
        const ProgramRun printed = place.run(u"merge base mine new "_qs + options);
        QCOMPARE(printed.status, 1);
        QCOMPARE(printed.output, QByteArray());
        QCOMPARE(printed.errors.count("conflict: "), 2);
    }
    // --force does not decide conflicts.
    QCOMPARE(place.run(u"merge base mine new --save --force"_qs).status, 1);
    QCOMPARE(stateOf(place.path(u"mine"_qs)), before);
}

void tst_Compare::preferDecidesConflicts()
{
    const QByteArray conflict = "selection 'a', key: base nothing, mine 1, new 2\n";
    const auto run = [](const QString& options, QByteArray& content) {
        Workplace place;
        place.write(u"base"_qs, base()).write(u"mine"_qs, mine());
        place.write(u"new"_qs, {with(a(), key, 2), b(), selection(u"c"_qs)});
        const ProgramRun result = place.run(u"merge base mine new --save "_qs + options);
        content = place.content(u"mine"_qs);
        return result;
    };
    QByteArray content;
    QCOMPARE(run(u"--prefer mine"_qs, content), printed("decided for mine: " + conflict + change + "saved\n"));
    QCOMPARE(content, compact(merged()));
    QCOMPARE(run(u"--prefer new"_qs, content),
        (ProgramRun {0,
            "decided for new: " + conflict
                + "changed: selection 'a', key from 1 to 2\nadded: selection 'c', as position 2\nmerged: 1 added, 0 "
                  "removed, 1 changed; saved\n",
            {}}));
    QCOMPARE(content, compact({with(a(), key, 2), b(), selection(u"c"_qs)}));
}

void tst_Compare::mergeThatAddsFindingIsRefused()
{
    Workplace place;
    // Each side removes another child, which leaves an empty node.
    place.write(u"base"_qs, {node(u"n"_qs, {a(), b()})})
        .write(u"mine"_qs, {node(u"n"_qs, {a()})})
        .write(u"new"_qs, {node(u"n"_qs, {b()})});
    const FileState before = stateOf(place.path(u"mine"_qs));
    const QByteArray removal = "removed: selection 'n/a'\nmerged: 0 added, 1 removed, 0 changed; ";
    const QByteArray complaints = "configuration-manifest: 'n' is a node without children\n"
                                  "configuration-manifest: the change is refused; --force applies it anyway\n";
    QCOMPARE(
        place.run(u"merge base mine new --save --keep-base"_qs), (ProgramRun {1, removal + "not saved\n", complaints}));
    QCOMPARE(place.run(u"merge base mine new --print"_qs), (ProgramRun {1, {}, complaints}));
    QCOMPARE(stateOf(place.path(u"mine"_qs)), before);
    QCOMPARE(everythingIn(place.path()).size(), 3);
    QCOMPARE(place.run(u"merge base mine new --save --force"_qs), printed(removal + "saved\n"));
    QCOMPARE(place.content(u"mine"_qs), compact({node(u"n"_qs, QJsonArray())}));
}

void tst_Compare::damageOfNewManifestIsTakenOver()
{
    Workplace place;
    const QJsonArray damaged {a(), a(), node(u"n"_qs)};
    place.write(u"base"_qs, {a()}).write(u"mine"_qs, {with(a(), key, 1)}).write(u"new"_qs, damaged);
    QCOMPARE(place.run(u"merge base mine new --save"_qs).status, 0);
    QCOMPARE(place.content(u"mine"_qs), compact({with(a(), key, 1), a(), node(u"n"_qs)}));
}

void tst_Compare::sameFileAsTwoOperandsCausesWarning()
{
    Workplace place;
    writeThree(place);
    makeLink(place.path(u"mine"_qs), place.path(u"link"_qs));
    QCOMPARE(link(qPrintable(place.path(u"mine"_qs)), qPrintable(place.path(u"hardlink"_qs))), 0);
    const QByteArray warning = "warning: BASE and MINE are the same file, so nothing in MINE counts as changed\n";
    for (const QString& same : {u"mine"_qs, u"./mine"_qs, u"link"_qs, u"hardlink"_qs}) {
        const ProgramRun run = place.run(u"merge %1 mine new"_qs.arg(same));
        QCOMPARE(run.status, 0);
        QCOMPARE(run.errors, warning);
    }
    const FileState before = stateOf(place.path(u"mine"_qs));
    QCOMPARE(place.run(u"merge base mine mine --save"_qs), done(u"unchanged"_qs));
    const ProgramRun kept = place.run(u"merge base mine mine --save --keep-base"_qs);
    QCOMPARE(kept,
        (ProgramRun {0, "unchanged\n",
            "warning: MINE and NEW are the same file, so the kept base will contain the edits in MINE\n"}));
    QCOMPARE(place.run(u"merge new mine new"_qs).status, 0);
    QCOMPARE(place.run(u"merge base mine base --save"_qs), done(u"unchanged"_qs));
    QCOMPARE(stateOf(place.path(u"mine"_qs)), before);
    QCOMPARE(place.run(u"diff mine link"_qs), printed({}));
}

void tst_Compare::manifestThatChangesMeanwhileIsNotReplaced()
{
    for (const bool overwrites : {false, true}) {
        Workplace place;
        writeThree(place);
        const auto program = place.program()
                                 .stoppingAt(u"open"_qs, 1, place.path(u"new"_qs))
                                 .start(u"merge base mine %1 --save --keep-base %2"_qs.arg(
                                     place.path(u"new"_qs), overwrites ? u"--overwrite"_qs : QString()));
        QVERIFY(program->isStopped());
        const QJsonArray others {selection(u"other"_qs)};
        place.write(u"mine"_qs, others);
        program->send(SIGCONT);
        const ProgramRun run = program->finish();
        QCOMPARE(run, overwrites ? printed(change + "saved\n") : failed(u"mine has changed since it was read"_qs));
        QCOMPARE(place.content(u"mine"_qs), compact(overwrites ? merged() : others));
        QCOMPARE(QFile::exists(place.path(u"mine.base"_qs)), overwrites);
    }
}

void tst_Compare::baseThatCannotBeWrittenIsReported()
{
    Workplace place;
    writeThree(place);
    QVERIFY(QDir(place.path()).mkdir(u"mine.base"_qs));
    QCOMPARE(place.run(u"merge base mine new --save --keep-base"_qs),
        (ProgramRun {1, change + "saved\n",
            "configuration-manifest: the manifest is saved, but not mine.base: it is a folder\n"}));
    QCOMPARE(place.content(u"mine"_qs), compact(merged()));

    // Lost output does not hide it: with status 3, everything that was asked for would be saved.
    for (const QString& commandLine :
        {u"merge base mine new --save --keep-base"_qs, u"create-folder folder --keep-base"_qs}) {
        Workplace other;
        writeThree(other);
        other.describe(u"folder/a.config.json"_qs);
        other.write(u"folder/configuration.manifest.json"_qs, base());
        QVERIFY(QDir(other.path()).mkpath(u"folder/configuration.manifest.json.base"_qs));
        QVERIFY(QDir(other.path()).mkpath(u"mine.base"_qs));
        const ProgramRun run = other.program().prepared(withFullOutput).run(commandLine);
        QCOMPARE(run.status, 1);
        QVERIFY2(run.errors.contains(".base: it is a folder\n"), run.errors.constData());
    }
}

void tst_Compare::mergeSavesToLinkTarget()
{
    Workplace place;
    place.write(u"base"_qs, base()).write(u"there/mine"_qs, mine()).write(u"new"_qs, theirs());
    makeLink(u"there/mine"_qs, place.path(u"link"_qs));
    QCOMPARE(place.run(u"merge base link new --save --keep-base"_qs), printed(change + "saved\n"));
    QCOMPARE(QFile::symLinkTarget(place.path(u"link"_qs)), place.path(u"there/mine"_qs));
    QCOMPARE(place.content(u"there/mine"_qs), compact(merged()));
    QCOMPARE(place.content(u"link.base"_qs), compact(theirs()));
}

MANIFEST_TEST_MAIN(tst_Compare)

#include "tst_compare.moc"
