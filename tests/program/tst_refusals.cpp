#include "ProgramRun.h"
#include "Table.h"
#include "TestMain.h"

#include <QtCore/QJsonDocument>

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace {

const QByteArray refused = "configuration-manifest: the edit is refused; --force carries it out all the same\n";

QByteArray complaint(const QString& text)
{
    return "configuration-manifest: " + text.toUtf8() + '\n';
}

QByteArray manifest()
{
    return compact({
        with(with(selection(u"main"_qs), u"hide"_qs, false), u"limit"_qs, 1.5),
        node(u"net"_qs, {selection(u"net/port"_qs), node(u"eth"_qs, {selection(u"net/eth/line"_qs)})}),
        node(u"menu"_qs),
        with(selection(u"twin"_qs), u"first"_qs, true),
        selection(u"twin"_qs),
    });
}

void addRefusal(const char* name, const QString& commandLine, const QByteArray& complaints,
    const QByteArray& input = {}, const QByteArray& messages = {})
{
    QTest::newRow(name) << commandLine << input << messages << complaints;
}

// Standard output is a pipe that nobody reads from.
void withoutReader()
{
    int ends[2];
    if (pipe(ends) == 0) {
        close(ends[0]);
        dup2(ends[1], STDOUT_FILENO);
        close(ends[1]);
    }
}

void withClosedInput()
{
    close(STDIN_FILENO);
}

void withClosedErrors()
{
    close(STDERR_FILENO);
}

} // namespace

class tst_Refusals : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void damageIsRefusedAndCanBeForced_data();
    void damageIsRefusedAndCanBeForced();
    void whatIsNoDamageIsDone_data();
    void whatIsNoDamageIsDone();
    void damageThatIsThereBlamesNobody_data();
    void damageThatIsThereBlamesNobody();
    void rewriteThatReplacesWhatItWouldRewriteIsRefused();
    void deletionOfOneOfSeveralIsSaid();
    void sortOfTheExamplesByTheirPrintedNamesIsRefused();
    void treeThatIsTooDeepToBeLoadedIsRefused();
    void readerThatHasGoneIsNoReasonToDie();
    void closedOutputIsAnErrorForEveryLength();
    void closedInputIsSaidToBeClosed();
    void namesThatBeginWithAColonAreFiles();
    void argumentsThatAreNoTextAreRefused_data();
    void argumentsThatAreNoTextAreRefused();
    void emptyPathIsWrongUsage_data();
    void emptyPathIsWrongUsage();
    void emptyPathOfWhatTakesTheTopLevelIsTheTopLevel();
    void socketIsSaidToBeOne();
    void dryRunSaysWhatWouldChange_data();
    void dryRunSaysWhatWouldChange();
};

void tst_Refusals::damageIsRefusedAndCanBeForced_data()
{
    const Table<QString, QByteArray, QByteArray, QByteArray> row("commandLine", "input", "messages", "complaints");

    const QByteArray noPosition = "warning: Cannot find key displayPosition in Json object!\n";
    const QByteArray noHide = "warning: Cannot find key \"hide\" in Json object!\n";
    addRefusal("text in place of the children", u"set manifest.json net substructure x"_qs,
        complaint(
            u"'substructure' takes an array, not a string; --json takes a value of another type than a string"_qs));
    addRefusal("other children", u"set manifest.json net substructure '[]' --json"_qs,
        complaint(u"selection 'net/port' would be lost"_qs) + complaint(u"node 'net/eth' would be lost"_qs)
            + complaint(u"selection 'net/eth/line' would be lost"_qs));
    addRefusal("children are removed", u"unset manifest.json net/eth substructure"_qs,
        complaint(u"selection 'net/eth/line' would be lost"_qs));
    addRefusal("text in place of a boolean", u"set manifest.json main hide true"_qs,
        complaint(u"'hide' takes a boolean, not a string; --json takes a value of another type than a string"_qs));
    addRefusal("text in place of a number", u"update manifest.json main limit 2"_qs,
        complaint(u"'limit' takes a number, not a string; --json takes a value of another type than a string"_qs));
    addRefusal("number in place of a text", u"set manifest.json main labelTextId 1 --json"_qs,
        complaint(u"'labelTextId' takes a string, not a number; without --json the value is a string"_qs));
    addRefusal("rewritten text in place of a boolean", u"rewrite manifest.json main hide true"_qs,
        complaint(u"'hide' takes a boolean, not a string; --json takes a value of another type than a string"_qs));
    addRefusal("description with a wrong type", u"update-selection manifest.json main --description -"_qs,
        complaint(u"'hide' takes a boolean, not a number; look at what --json was given"_qs),
        "{\"instanceName\":\"main\",\"selectionType\":\"Selection\",\"hide\":1}");
    addRefusal("description with a wrong type below", u"add-node manifest.json new --description -"_qs,
        complaint(u"'hide' of the element 'new/a' takes a boolean, not a string"_qs),
        "{\"substructure\":[{\"selectionType\":\"Selection\",\"instanceName\":\"new/a\",\"hide\":\"true\"}]}");
    addRefusal("children with a wrong type",
        u"set manifest.json menu substructure '[{\"selectionType\":\"Node\",\"instanceName\":\"a\",\"iconName\":1}]' --json"_qs,
        complaint(u"'iconName' of the element 'a' takes a string, not a number"_qs));
    addRefusal("name is removed", u"unset manifest.json main instanceName"_qs,
        complaint(u"position 0 of the top level has no 'instanceName'"_qs));
    addRefusal("empty name", u"set manifest.json menu instanceName ''"_qs,
        complaint(u"position 2 of the top level has an empty name"_qs));
    addRefusal("name of a sibling", u"set manifest.json menu instanceName net"_qs,
        complaint(
            u"position 2 of the top level answers to 'net', as its sibling at position 1 does, which is found instead"_qs));
    addRefusal("name of a node with a separator", u"set manifest.json menu instanceName a/b"_qs,
        complaint(u"position 2 of the top level has the name 'a/b', of which a path makes several"_qs));
    addRefusal("unknown kind", u"set manifest.json main selectionType Page"_qs,
        complaint(u"'main' is of the kind 'Page', which is neither 'Node' nor 'Selection'"_qs));
    addRefusal("selection of a node with children", u"set manifest.json net selectionType Selection"_qs,
        complaint(u"'net' is a selection with 2 children"_qs));
    addRefusal("children below a selection", u"add-node manifest.json main/b"_qs,
        complaint(u"'main' is a selection with a child"_qs), {}, noPosition);
    addRefusal("second selection of a name", u"add-selection manifest.json net/port"_qs,
        complaint(
            u"position 2 below 'net' answers to 'port', as its sibling at position 0 does, which is found instead"_qs),
        {}, noPosition + noHide);
    addRefusal("description without kind and name", u"update-node manifest.json menu --description -"_qs,
        complaint(u"position 2 of the top level has no 'selectionType'"_qs)
            + complaint(u"position 2 of the top level has no 'instanceName'"_qs),
        "{}");
    addRefusal("one twin twice, the other not at all", u"sort manifest.json '' twin twin main net menu"_qs,
        complaint(u"selection at position 4 of the top level would be lost"_qs));
}

void tst_Refusals::damageIsRefusedAndCanBeForced()
{
    QFETCH(QString, commandLine);
    QFETCH(QByteArray, input);
    QFETCH(QByteArray, messages);
    QFETCH(QByteArray, complaints);

    const ManifestFile file(manifest());
    const FileState state = stateOf(file.path());
    const Program program = Program().in(file.folder()).reading(input);
    const ProgramRun refusal {1, {}, messages + complaints + refused};
    for (const QString& option : {u""_qs, u" --save"_qs, u" --dry-run"_qs, u" --print"_qs}) {
        QCOMPARE(program.run(commandLine + option), refusal);
    }
    QCOMPARE(stateOf(file.path()), state);
    QVERIFY(file.isAlone());

    QCOMPARE(program.run(commandLine + u" --save --force"_qs).status, 0);
    QVERIFY(file.content() != manifest());
}

void tst_Refusals::whatIsNoDamageIsDone_data()
{
    const Table<QString, QByteArray> row("commandLine", "input");

    row("new name", u"set manifest.json net instanceName other"_qs, {});
    row("new key", u"set manifest.json main other true"_qs, {});
    row("new key of another type", u"set manifest.json main other '[1]' --json"_qs, {});
    row("key of the structure that is not there", u"set manifest.json menu substructure '[]' --json"_qs, {});
    row("right type", u"set manifest.json main hide true --json"_qs, {});
    row("empty node", u"add-node manifest.json net/empty"_qs, {});
    row("deletion with everything below", u"delete manifest.json net"_qs, {});
    row("removed key", u"unset manifest.json main limit"_qs, {});
    row("other children by a description", u"update-node manifest.json net --description - --replace-substructure"_qs,
        "{\"instanceName\":\"net\",\"selectionType\":\"Node\"}");
    row("description", u"update-node manifest.json net --description -"_qs,
        "{\"instanceName\":\"net\",\"selectionType\":\"Node\",\"columns\":3}");
    row("order", u"sort manifest.json net eth port"_qs, {});
    row("place", u"move-node manifest.json net 0"_qs, {});
    row("stamps", u"stamp manifest.json --module M"_qs, {});
}

void tst_Refusals::whatIsNoDamageIsDone()
{
    QFETCH(QString, commandLine);
    QFETCH(QByteArray, input);

    const ManifestFile file(manifest());
    const ProgramRun run = Program().in(file.folder()).reading(input).run(commandLine + u" --save"_qs);
    QCOMPARE(run.status, 0);
    QVERIFY2(!run.errors.contains("refused"), run.errors.constData());
    QVERIFY(file.content() != manifest());
}

void tst_Refusals::damageThatIsThereBlamesNobody_data()
{
    const Table<QString> row("commandLine");

    row("another element", u"set manifest.json main key value --save"_qs);
    row("damaged element", u"set manifest.json broken key value --save"_qs);
    row("repair", u"set manifest.json broken selectionType Node --save"_qs);
    row("what moves the damaged one", u"delete manifest.json main --save"_qs);
}

void tst_Refusals::damageThatIsThereBlamesNobody()
{
    QFETCH(QString, commandLine);

    const ManifestFile file(compact({selection(u"main"_qs), QJsonObject {{u"instanceName"_qs, u"broken"_qs}}, 7,
        node(u"broken"_qs), with(node(u"x"_qs), u"substructure"_qs, u"none"_qs)}));
    QCOMPARE(Program().in(file.folder()).run(commandLine), done(u"changed; saved"_qs));
}

void tst_Refusals::rewriteThatReplacesWhatItWouldRewriteIsRefused()
{
    const QByteArray content =
        compact({node(u"x"_qs, {with(selection(u"x"_qs), u"important"_qs, 1), selection(u"z"_qs)})});
    const ManifestFile file(content);
    const QString children = QString::fromUtf8(compact({selection(u"y"_qs), selection(u"z"_qs)}));
    QCOMPARE(
        Program().run({u"rewrite"_qs, file.path(), u"x"_qs, u"substructure"_qs, children, u"--json"_qs, u"--save"_qs}),
        (ProgramRun {1, {}, complaint(u"selection 'x/x' would be lost"_qs) + refused}));
    QCOMPARE(file.content(), content);
    QCOMPARE(Program().run({u"rewrite"_qs, file.path(), u"x"_qs, u"instanceName"_qs, u"y"_qs, u"--save"_qs}),
        done(u"2 changed; saved"_qs));
}

void tst_Refusals::deletionOfOneOfSeveralIsSaid()
{
    const ManifestFile file(manifest());
    const Program program = Program().in(file.folder());
    QCOMPARE(program.run(u"delete manifest.json twin --save"_qs),
        (ProgramRun {0, "changed; saved\n",
            complaint(u"only the first element that answers to 'twin' is deleted; there is another one"_qs)}));
    QCOMPARE(program.run(u"delete manifest.json twin --save"_qs), done(u"changed; saved"_qs));
    QCOMPARE(program.run(u"delete manifest.json twin --save"_qs), failed(u"there is no element 'twin'"_qs));
}

void tst_Refusals::sortOfTheExamplesByTheirPrintedNamesIsRefused()
{
    const QTemporaryDir directory;
    copyFolder(QStringLiteral(EXAMPLES "/device/configuration"), directory.path());
    const Program program = Program().in(directory.path());
    QCOMPARE(program.run(u"create-folder ."_qs).status, 0);
    const QString path = directory.filePath(u"configuration.manifest.json"_qs);
    const QByteArray created = readFile(path);
    QStringList names = QString::fromUtf8(program.run(u"list configuration.manifest.json"_qs).output).split(u'\n');
    names.removeLast();
    QVERIFY(names.count(u"network"_qs) == 2);
    const ProgramRun run = program.run(
        QStringList {u"sort"_qs, u"configuration.manifest.json"_qs, QString()} + names + QStringList(u"--save"_qs));
    QCOMPARE(run.status, 1);
    QVERIFY2(run.errors.contains(" would be lost\n"), run.errors.constData());
    QVERIFY2(run.errors.endsWith(refused), run.errors.constData());
    QCOMPARE(readFile(path), created);
}

void tst_Refusals::treeThatIsTooDeepToBeLoadedIsRefused()
{
    constexpr int deepest = 512;
    QJsonArray nodes {node(u"n"_qs)};
    for (int level = 1; level < deepest; ++level) {
        nodes = {node(u"n"_qs, nodes)};
    }
    const ManifestFile file(compact(nodes));
    const QString path = u"n/"_qs.repeated(deepest) + u"n"_qs;
    const ProgramRun run = Program().run({u"add-node"_qs, file.path(), path, u"--save"_qs});
    QCOMPARE(run.status, 1);
    QVERIFY2(run.errors.contains("reaches deeper than the 1024 levels that can be loaded\n"), run.errors.constData());
    QCOMPARE(file.content(), compact(nodes));
}

void tst_Refusals::dryRunSaysWhatWouldChange_data()
{
    const Table<QString, QString, QByteArray> row("commandLine", "lines", "messages");

    const auto add = [&](const char* name, const char16_t* commandLine, const char16_t* lines,
                         const QByteArray& messages = {}) {
        row(name, QString::fromUtf16(commandLine), QString::fromUtf16(lines), messages);
    };
    add("new key", u"set manifest.json main key value",
        u"changed: selection 'main', key from nothing to \"value\"\nchanged; not saved");
    add("other value", u"set manifest.json main hide true --json",
        u"changed: selection 'main', hide from false to true\nchanged; not saved");
    add("removed key", u"unset manifest.json main limit",
        u"changed: selection 'main', limit from 1.5 to nothing\nchanged; not saved");
    add("same value", u"set manifest.json main hide false --json", u"unchanged; not saved");
    add("added", u"add-node manifest.json net/new --index 0",
        u"added: node 'net/new', as position 0\nchanged; not saved",
        "warning: Cannot find key displayPosition in Json object!\n");
    add("deleted", u"delete manifest.json net", u"removed: node 'net', with 3 below\nchanged; not saved");
    add("moved", u"move-node manifest.json menu 0", u"moved: node 'menu', from position 2 to 0\nchanged; not saved");
    add("stamped", u"stamp manifest.json --module M",
        u"changed: selection 'main', moduleName from nothing to \"M\"\n"
        "changed: selection 'net/port', moduleName from nothing to \"M\"\n"
        "changed: selection 'net/eth/line', moduleName from nothing to \"M\"\n"
        "changed: selection 'twin', moduleName from nothing to \"M\"\n"
        "changed: selection at position 4 of the top level, moduleName from nothing to \"M\"\n"
        "stamped; not saved");
    add("rewritten", u"rewrite manifest.json main limit 2 --json",
        u"changed: selection 'main', limit from 1.5 to 2\n1 changed; not saved");
}

void tst_Refusals::dryRunSaysWhatWouldChange()
{
    QFETCH(QString, commandLine);
    QFETCH(QString, lines);
    QFETCH(QByteArray, messages);

    const ManifestFile file(manifest());
    const FileState state = stateOf(file.path());
    QCOMPARE(Program().in(file.folder()).run(commandLine + u" --dry-run --save --backup"_qs), done(lines, messages));
    QCOMPARE(stateOf(file.path()), state);
    QVERIFY(file.isAlone());
}

void tst_Refusals::readerThatHasGoneIsNoReasonToDie()
{
    const ManifestFile file(manifest());
    const Program program = Program().in(file.folder()).prepared(withoutReader);
    QCOMPARE(program.run(u"set manifest.json main key value --save"_qs),
        (ProgramRun {3, {}, "configuration-manifest: saved, but the results could not be printed\n"}));
    QVERIFY(file.content() != manifest());
    QCOMPARE(program.run(u"show manifest.json"_qs), failed(u"cannot write the results"_qs));
}

void tst_Refusals::closedOutputIsAnErrorForEveryLength()
{
    QJsonObject texts = selection(u"main"_qs);
    constexpr int longest = 17;
    for (int length = 0; length <= longest; ++length) {
        texts.insert(u"key%1"_qs.arg(length), QString(length, u'x'));
    }
    const ManifestFile file(compact({texts}));
    const Program program = Program().in(file.folder());
    for (int length = 0; length <= longest; ++length) {
        const QString query = u"get manifest.json main key%1"_qs.arg(length);
        QCOMPARE(Program(program).prepared(withClosedOutput).run(query), failed(u"cannot write the results"_qs));
    }
    QCOMPARE(Program(program).prepared(withClosedErrors).run(u"get manifest.json main key3"_qs), done(u"xxx"_qs));
    QCOMPARE(Program(program).prepared(withClosedErrors).run(u"get manifest.json none"_qs).status, 1);
}

void tst_Refusals::closedInputIsSaidToBeClosed()
{
    const ManifestFile file(manifest());
    const Program program = Program().in(file.folder()).prepared(withClosedInput);
    const ProgramRun closed = misused(u"cannot read -: standard input is closed for reading"_qs);
    QCOMPARE(program.run(u"show -"_qs), closed);
    QCOMPARE(program.run(u"add-node manifest.json new --description -"_qs), closed);
    QCOMPARE(program.run(u"count manifest.json"_qs), done(u"5"_qs));
}

void tst_Refusals::namesThatBeginWithAColonAreFiles()
{
    const ManifestFile file(manifest());
    const Program program = Program().in(file.folder());
    writeFile(file.folder() + u"/:m.json"_qs, manifest());
    QCOMPARE(program.run(u"set :m.json main key value --save"_qs), done(u"changed; saved"_qs));
    QCOMPARE(program.run(u"set --save :m.json --json -- main hide true"_qs), done(u"changed; saved"_qs));
    QCOMPARE(program.run(u"get :m.json main key"_qs), done(u"value"_qs));
    QCOMPARE(program.run(u"get :m.json main hide"_qs), done(u"true"_qs));
    writeFile(file.folder() + u"/:d/page.config.json"_qs, "{}");
    QCOMPARE(program.run(u"create-folder --scheme=process --scheme configuration :d"_qs).status, 0);
    QCOMPARE(program.run(u"count :d/configuration.manifest.json"_qs), done(u"1"_qs));
    QCOMPARE(program.run(u"help :m"_qs), misused(u"unknown command ':m'; see 'configuration-manifest --help'"_qs));
}

void tst_Refusals::argumentsThatAreNoTextAreRefused_data()
{
    const Table<QString, QString> row("arguments", "shown");

    row("value", u"set manifest.json main key $(printf 'caf\\351') --save"_qs, u"caf\\xe9"_qs);
    row("file", u"show $(printf 'caf\\351.json')"_qs, u"caf\\xe9.json"_qs);
    row("description", u"add-node manifest.json x --description=$(printf '\\033\\377')"_qs,
        u"--description=\\x1b\\xff"_qs);
    row("command", u"$(printf '\\303')"_qs, u"\\xc3"_qs);
    row("surrogate", u"get manifest.json $(printf '\\355\\240\\200')"_qs, u"\\xed\\xa0\\x80"_qs);
}

void tst_Refusals::argumentsThatAreNoTextAreRefused()
{
    QFETCH(QString, arguments);
    QFETCH(QString, shown);

    const ManifestFile file(manifest());
    const QString script = u"exec '%1' %2"_qs.arg(QStringLiteral(PROGRAM), arguments);
    QCOMPARE(Program(u"/bin/sh"_qs).in(file.folder()).run(QStringList {u"-c"_qs, script}),
        misused(u"the argument '%1' is not valid UTF-8"_qs.arg(shown)));
    QCOMPARE(file.content(), manifest());
    QVERIFY(file.isAlone());
}

void tst_Refusals::emptyPathIsWrongUsage_data()
{
    const Table<QString, QString, bool> row("command", "rest", "takesTopLevel");

    row("show", u"show"_qs, {}, true);
    row("list", u"list"_qs, {}, true);
    row("count", u"count"_qs, {}, true);
    row("sort", u"sort"_qs, u"main net menu twin twin"_qs, true);
    row("get", u"get"_qs, {}, false);
    row("exists", u"exists"_qs, {}, false);
    row("set", u"set"_qs, u"key value"_qs, false);
    row("update", u"update"_qs, u"key value"_qs, false);
    row("unset", u"unset"_qs, u"key"_qs, false);
    row("add-node", u"add-node"_qs, {}, false);
    row("add-selection", u"add-selection"_qs, {}, false);
    row("delete", u"delete"_qs, {}, false);
    row("move-node", u"move-node"_qs, u"0"_qs, false);
    row("move-selection", u"move-selection"_qs, u"0"_qs, false);
    row("update-node", u"update-node"_qs, u"--description -"_qs, false);
    row("update-selection", u"update-selection"_qs, u"--description -"_qs, false);
}

void tst_Refusals::emptyPathIsWrongUsage()
{
    QFETCH(QString, command);
    QFETCH(QString, rest);
    QFETCH(bool, takesTopLevel);

    const ManifestFile file(manifest());
    const Program program = Program().in(file.folder()).reading("{}");
    const QString commandLine = command + u" manifest.json %1 "_qs + rest;
    for (const QString& path : {u"/"_qs, u"//"_qs}) {
        QCOMPARE(program.run(commandLine.arg(path)), misused(u"PATH is empty"_qs));
    }
    const ProgramRun run = program.run(commandLine.arg(u"''"_qs));
    if (!takesTopLevel) {
        QCOMPARE(run, misused(u"PATH is empty"_qs));
    } else {
        QVERIFY(run.status != 2);
    }
    QCOMPARE(file.content(), manifest());
}

void tst_Refusals::emptyPathOfWhatTakesTheTopLevelIsTheTopLevel()
{
    const ManifestFile file(manifest());
    const Program program = Program().in(file.folder());
    for (const QString& command : {u"show"_qs, u"list"_qs, u"count"_qs}) {
        const ProgramRun run = program.run(command + u" manifest.json ''"_qs);
        QCOMPARE(run.status, 0);
        QCOMPARE(run, program.run(command + u" manifest.json"_qs));
    }
}

void tst_Refusals::socketIsSaidToBeOne()
{
    const ManifestFile file(manifest());
    const QByteArray path = QFile::encodeName(file.folder() + u"/sock"_qs);
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    QVERIFY(path.size() < static_cast<int>(sizeof address.sun_path));
    std::copy(path.begin(), path.end(), address.sun_path);
    const int socketFile = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    QCOMPARE(bind(socketFile, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
    const Program program = Program().in(file.folder());
    QCOMPARE(program.run(u"show sock"_qs), misused(u"cannot read sock: it is a socket"_qs));
    QCOMPARE(program.run(u"add-node manifest.json new --description sock"_qs),
        misused(u"cannot read sock: it is a socket"_qs));
    close(socketFile);
}

MANIFEST_TEST_MAIN(tst_Refusals)

#include "tst_refusals.moc"
