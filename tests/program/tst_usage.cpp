#include "Table.h"
#include "TestMain.h"
#include "Workplace.h"

#include <QtCore/QRegularExpression>

namespace {

struct CommandHelp {
    const char* name;
    const char* syntax;
    QStringList options;
};

QVector<CommandHelp> commands()
{
    const QStringList replacing = {u"backup"_qs, u"overwrite"_qs, u"wait"_qs};
    const QStringList creating = QStringList {u"dry-run"_qs, u"print"_qs, u"stamps"_qs, u"keep-base"_qs} + replacing;
    const QStringList stamping = {u"module"_qs, u"object"_qs};
    const QStringList printing = {u"paths"_qs, u"json"_qs};
    const QStringList comparing = {u"scheme"_qs, u"any-scheme"_qs, u"stamps"_qs, u"json"_qs};
    const QStringList saving = stamping + QStringList {u"save"_qs, u"dry-run"_qs, u"print"_qs, u"force"_qs} + replacing;
    const QStringList values = saving + QStringList {u"json"_qs};
    const QStringList adding = saving + QStringList {u"description"_qs, u"index"_qs};
    return {
        {"create", "BASE", creating},
        {"create-folder", "FOLDER", QStringList {u"scheme"_qs, u"any-scheme"_qs} + creating},
        {"show", "FILE [PATH]", QStringList {u"depth"_qs} + printing},
        {"list", "FILE [PATH]", stamping + printing},
        {"count", "FILE [PATH]", stamping},
        {"get", "FILE PATH [KEY]", stamping + QStringList {u"json"_qs}},
        {"instances", "FILE", stamping + printing},
        {"exists", "FILE PATH", {}},
        {"check", "FILE", QStringList {u"folder"_qs} + comparing},
        {"diff", "OLD NEW", comparing},
        {"explain", "FOLDER [PATH|FILE]", {u"scheme"_qs, u"any-scheme"_qs, u"json"_qs}},
        {"merge", "BASE MINE NEW",
            QStringList {u"prefer"_qs, u"save"_qs, u"print"_qs, u"keep-base"_qs, u"force"_qs, u"json"_qs, u"scheme"_qs,
                u"any-scheme"_qs}
                + replacing},
        {"set", "FILE PATH KEY VALUE", values},
        {"update", "FILE PATH KEY VALUE", values},
        {"unset", "FILE PATH KEY", saving},
        {"add-node", "FILE PATH", adding},
        {"add-selection", "FILE PATH", adding},
        {"delete", "FILE PATH", saving},
        {"move-node", "FILE PATH INDEX", saving},
        {"move-selection", "FILE PATH INDEX", saving},
        {"update-node", "FILE PATH", saving + QStringList {u"description"_qs, u"replace-substructure"_qs}},
        {"update-selection", "FILE PATH", saving + QStringList {u"description"_qs}},
        {"sort", "FILE PATH NAME...", saving},
        {"stamp", "FILE", saving},
        {"rewrite", "FILE INSTANCE KEY [VALUE]", values + QStringList {u"add"_qs, u"remove"_qs}},
        {"help", "[COMMAND]", {u"man"_qs}},
    };
}

void addCommandRows()
{
    const Table<QString, QString, QStringList> row("name", "syntax", "options");
    for (const CommandHelp& command : commands()) {
        row(command.name, QString::fromUtf8(command.name), QString::fromUtf8(command.syntax), command.options);
    }
}

} // namespace

class tst_Usage : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void helpNamesEveryCommand_data();
    void helpNamesEveryCommand();
    void helpOfCommandNamesItsArgumentsAndOptions_data();
    void helpOfCommandNamesItsArgumentsAndOptions();
    void versionIsPrinted_data();
    void versionIsPrinted();
    void commandsTakeTheirArgumentsAndNoOthers_data();
    void commandsTakeTheirArgumentsAndNoOthers();
    void wrongUsageAndFailureDifferInStatus_data();
    void wrongUsageAndFailureDifferInStatus();
    void argumentsThatAreNotTextAreRefused_data();
    void argumentsThatAreNotTextAreRefused();
    void emptyPathIsWrongUsage_data();
    void emptyPathIsWrongUsage();
    void emptyPathIsTopLevelForWhatTakesIt();
};

void tst_Usage::helpNamesEveryCommand_data()
{
    const Table<QString> row("commandLine");

    row("long", u"--help"_qs);
    row("short", u"-h"_qs);
    row("before a command", u"--help show"_qs);
}

void tst_Usage::helpNamesEveryCommand()
{
    QFETCH(QString, commandLine);

    const ProgramRun run = Program().run(commandLine);
    QCOMPARE(run.status, 0);
    QCOMPARE(run.errors, QByteArray());
    QStringList expected;
    for (const CommandHelp& command : commands()) {
        expected.append(u"  %1 %2"_qs.arg(QString::fromUtf8(command.name), QString::fromUtf8(command.syntax)));
    }
    static const QRegularExpression command(u"^  [a-z].*"_qs);
    QCOMPARE(linesOf(run.output).filter(command).mid(0, expected.size()), expected);
    for (const char* const text :
        {"--help", "--version", "COMMAND --help", "\nExit status:\n  0  done\n  1  not done; for a question: no\n"}) {
        QVERIFY2(run.output.contains(text), text);
    }
}

void tst_Usage::helpOfCommandNamesItsArgumentsAndOptions_data()
{
    addCommandRows();
}

void tst_Usage::helpOfCommandNamesItsArgumentsAndOptions()
{
    QFETCH(QString, name);
    QFETCH(QString, syntax);
    QFETCH(QStringList, options);

    const Workplace place;
    const ProgramRun run = place.run(name + u" --help"_qs);
    QCOMPARE(run.status, 0);
    QCOMPARE(run.errors, QByteArray());
    const QString usage = linesOf(run.output).constFirst();
    QCOMPARE(usage, u"Usage: configuration-manifest %1 [OPTIONS] %2"_qs.arg(name, syntax));
    static const QRegularExpression option(u"^  (?:-h, )?--([a-z-]+)"_qs, QRegularExpression::MultilineOption);
    QStringList named;
    for (auto matches = option.globalMatch(QString::fromUtf8(run.output)); matches.hasNext();) {
        named.append(matches.next().captured(1));
    }
    QCOMPARE(named, QStringList(u"help"_qs) + options);

    QCOMPARE(place.run(name + u" -h"_qs), run);
    QCOMPARE(place.run(name + u" too --help many arguments for any command at all"_qs), run);
    QCOMPARE(everythingIn(place.path()), QStringList());
}

void tst_Usage::versionIsPrinted_data()
{
    const Table<QString> row("commandLine");

    row("long", u"--version"_qs);
    row("short", u"-v"_qs);
}

void tst_Usage::versionIsPrinted()
{
    QFETCH(QString, commandLine);

    const ProgramRun run = Program().run(commandLine);
    QCOMPARE(run.status, 0);
    QCOMPARE(run.errors, QByteArray());
    static const QRegularExpression version(u"^configuration-manifest \\d+\\.\\d+\\.\\d+\\n$"_qs);
    QVERIFY2(version.match(QString::fromUtf8(run.output)).hasMatch(), run.output.constData());
}

void tst_Usage::commandsTakeTheirArgumentsAndNoOthers_data()
{
    addCommandRows();
}

void tst_Usage::commandsTakeTheirArgumentsAndNoOthers()
{
    QFETCH(QString, name);
    QFETCH(QString, syntax);

    const Workplace place;
    const QStringList arguments = syntax.split(u' ');
    const int least = arguments.filter(QRegularExpression(u"^[^\\[]"_qs)).size();
    const QString help = u"; see 'configuration-manifest %1 --help'"_qs.arg(name);
    const ProgramRun wrongArguments = misused(name + u" takes "_qs + syntax + help);
    const auto runWith = [&](const QStringList& given) { return place.program().run(QStringList(name) + given); };
    const auto some = [](int count) { return QVector<QString>(count, u"x"_qs).toList(); };

    for (int count = 0; count < least; ++count) {
        QCOMPARE(runWith(some(count)), wrongArguments);
    }
    if (!syntax.endsWith(u"..."_qs)) {
        QCOMPARE(runWith(some(arguments.size() + 1)), wrongArguments);
    }
    QCOMPARE(runWith(QStringList(QString()) + some(qMax(0, least - 1))),
        misused(arguments.constFirst() + u" is empty"_qs + help));
    QCOMPARE(runWith(some(least) << u"--none"_qs),
        misused(u"Unknown option 'none' (put '--' before a value that begins with '-')"_qs + help));
    QCOMPARE(everythingIn(place.path()), QStringList());
}

void tst_Usage::wrongUsageAndFailureDifferInStatus_data()
{
    const Table<QString, QString> row("commandLine", "complaint");
    const auto add = [&](const char* name, const char16_t* commandLine, const QString& complaint) {
        row(name, QString::fromUtf16(commandLine), complaint);
    };
    const auto see = [](const QString& command = QString()) {
        return u"; see 'configuration-manifest%1 --help'"_qs.arg(command);
    };
    const QString before = u" (put '--' before a value that begins with '-')"_qs;

    add("empty command", u"''", u"unknown command ''"_qs + see());
    add("unknown command", u"display manifest.json", u"unknown command 'display'"_qs + see());
    add("command in capitals", u"SHOW manifest.json", u"unknown command 'SHOW' (did you mean 'show'?)"_qs + see());
    add("option before the command", u"--save stamp manifest.json",
        u"Unknown option 'save' (options follow the command)"_qs + see());
    add("option of another command", u"show manifest.json --save",
        u"Unknown option 'save'"_qs + before + see(u" show"_qs));
    add("version of a command", u"show manifest.json --version",
        u"Unknown option 'version'"_qs + before + see(u" show"_qs));
    add("one dash", u"stamp manifest.json -x", u"Unknown option 'x'"_qs + before + see(u" stamp"_qs));
    add("option without its value", u"create-folder . --scheme",
        u"Missing value after '--scheme'"_qs + see(u" create-folder"_qs));
    add("value of an option that takes none", u"stamp manifest.json --save=yes",
        u"Unexpected value after '--save'"_qs + see(u" stamp"_qs));

    add("index is a word", u"add-node manifest.json b --index first",
        u"'first' is not a whole number, or is too large"_qs);
    add("index is a fraction", u"add-node manifest.json b --index 1.0",
        u"'1.0' is not a whole number, or is too large"_qs);
    add("index is empty", u"add-selection manifest.json b --index ''", u"'' is not a whole number, or is too large"_qs);
    add("index is too large", u"move-node manifest.json spare 2147483648",
        u"'2147483648' is not a whole number, or is too large"_qs);
    add("index has a tail", u"move-selection manifest.json top 1x", u"'1x' is not a whole number, or is too large"_qs);
    add("negative index looks like an option", u"move-node manifest.json spare -1",
        u"Unknown option '1'"_qs + before + see(u" move-node"_qs));
    add("no description of a node", u"update-node manifest.json a", u"--description is missing"_qs);
    add("no description of a selection", u"update-selection manifest.json top --save", u"--description is missing"_qs);
    add("empty second operand", u"diff manifest.json ''", u"cannot read '': No such file or directory"_qs);
    add("adding and removing", u"rewrite manifest.json top key --add --remove",
        u"--add and --remove exclude each other"_qs);
    add("removing a value", u"rewrite manifest.json top key value --remove --save", u"--remove takes no VALUE"_qs);
    add("overwriting without a value", u"rewrite manifest.json top key", u"VALUE is missing"_qs);
    add("adding without a value", u"rewrite manifest.json top key --add", u"VALUE is missing"_qs);
    add("before the file is looked for", u"move-node none.json a first",
        u"'first' is not a whole number, or is too large"_qs);
    add("depth of nothing", u"show manifest.json --depth 0", u"--depth takes 1 or more"_qs);
    add("depth is a word", u"show manifest.json --depth all", u"'all' is not a whole number, or is too large"_qs);
    add("nobody to decide", u"merge a b c --prefer both", u"--prefer takes 'mine' or 'new'"_qs);
    add("nothing to decide", u"merge a b c --prefer ''", u"--prefer takes 'mine' or 'new'"_qs);

    const QString seconds = u"--wait takes from 0 to 1000000 seconds"_qs;
    for (const QString& command : {u"stamp manifest.json --module M --save"_qs, u"create-folder ."_qs,
             u"merge manifest.json manifest.json manifest.json --save"_qs,
             u"merge manifest.json manifest.json manifest.json"_qs}) {
        const auto wait = [&](const char* name, const QString& value, const QString& complaint) {
            row(qPrintable(QString(QLatin1String(name) + u", "_qs + command)), command + u" --wait="_qs + value,
                complaint);
        };
        wait("wait is a word", u"long"_qs, u"'long' is not a whole number, or is too large"_qs);
        wait("wait is a fraction", u"0.5"_qs, u"'0.5' is not a whole number, or is too large"_qs);
        wait("wait is negative", u"-1"_qs, seconds);
        wait("wait is too long", u"1000001"_qs, seconds);
    }
    const QString suffix = u"the suffix of a backup must not be empty or contain '/'"_qs;
    add("empty suffix", u"set manifest.json top key value --save --backup=", suffix);
    add("suffix with a folder", u"set manifest.json top key value --save --backup=/../b", suffix);

    for (const QString& command : {u"create-folder ."_qs, u"diff manifest.json ."_qs, u"explain ."_qs}) {
        const auto scheme = [&](const char* name, const QString& options, const QString& complaint) {
            row(qPrintable(QString(QLatin1String(name) + u", "_qs + command)), command + u" --scheme "_qs + options,
                complaint);
        };
        const QString empty = u"a scheme must not be empty or contain '/'"_qs;
        const QString neither = u"'%1' is neither 'configuration' nor 'process'; --any-scheme allows it"_qs;
        scheme("misspelled scheme", u"proces"_qs, neither.arg(u"proces"_qs));
        scheme("scheme in capitals", u"Configuration"_qs, neither.arg(u"Configuration"_qs));
        scheme("empty scheme", u"''"_qs, empty);
        scheme("empty scheme, meant", u"'' --any-scheme"_qs, empty);
        scheme("scheme of another folder", u"../process --any-scheme"_qs, empty);
    }

    const QString command = u"unknown command '%1' (did you mean '%2'?)"_qs;
    const QString option = u"Unknown option '%1' (did you mean '--%2'?)"_qs;
    add("misspelled command", u"delte M a", command.arg(u"delte"_qs, u"delete"_qs) + see());
    add("misspelled command to help with", u"help shw", command.arg(u"shw"_qs, u"show"_qs) + see());
    add("misspelled option", u"delete M a --sve", option.arg(u"sve"_qs, u"save"_qs) + see(u" delete"_qs));
    add("misspelled option with a value", u"delete M a --bakup=x",
        option.arg(u"bakup"_qs, u"backup"_qs) + see(u" delete"_qs));
    add("misspelled option of the program", u"--versoin", option.arg(u"versoin"_qs, u"version"_qs) + see());
    add("command that is not the first word", u"-- show M", u"'show' is a command and must come first"_qs + see());
}

void tst_Usage::wrongUsageAndFailureDifferInStatus()
{
    QFETCH(QString, commandLine);
    QFETCH(QString, complaint);

    const LoneManifest file;
    QCOMPARE(file.run(commandLine), misused(complaint));
    QVERIFY(file.isUntouched());
}

void tst_Usage::argumentsThatAreNotTextAreRefused_data()
{
    const Table<QString, QString> row("arguments", "shown");

    row("value", u"set manifest.json main key $(printf 'caf\\351') --save"_qs, u"caf\\xe9"_qs);
    row("file", u"show $(printf 'caf\\351.json')"_qs, u"caf\\xe9.json"_qs);
    row("description", u"add-node manifest.json x --description=$(printf '\\033\\377')"_qs,
        u"--description=\\x1b\\xff"_qs);
    row("command", u"$(printf '\\303')"_qs, u"\\xc3"_qs);
    row("surrogate", u"get manifest.json $(printf '\\355\\240\\200')"_qs, u"\\xed\\xa0\\x80"_qs);
}

void tst_Usage::argumentsThatAreNotTextAreRefused()
{
    QFETCH(QString, arguments);
    QFETCH(QString, shown);

    const LoneManifest file;
    const QString script = u"exec '%1' %2"_qs.arg(QStringLiteral(PROGRAM), arguments);
    QCOMPARE(Program(u"/bin/sh"_qs).in(file.folder()).run(QStringList {u"-c"_qs, script}),
        misused(u"the argument '%1' is not valid UTF-8"_qs.arg(shown)));
    QVERIFY(file.isUntouched());
}

void tst_Usage::emptyPathIsWrongUsage_data()
{
    const Table<QString, QString, bool> row("command", "rest", "takesTopLevel");

    row("show", u"show"_qs, {}, true);
    row("list", u"list"_qs, {}, true);
    row("count", u"count"_qs, {}, true);
    row("sort", u"sort"_qs, u"top a spare"_qs, true);
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

void tst_Usage::emptyPathIsWrongUsage()
{
    QFETCH(QString, command);
    QFETCH(QString, rest);
    QFETCH(bool, takesTopLevel);

    const LoneManifest file;
    const Program program = file.program().reading("{}");
    const QString commandLine = command + u" manifest.json %1 "_qs + rest;
    for (const QString& path : {u"/"_qs, u"//"_qs}) {
        QCOMPARE(program.run(commandLine.arg(path)), misused(u"PATH contains no name"_qs));
    }
    const ProgramRun run = program.run(commandLine.arg(u"''"_qs));
    if (!takesTopLevel) {
        QCOMPARE(run, misused(u"PATH contains no name"_qs));
    } else {
        QVERIFY(run.status != 2);
    }
    QVERIFY(file.isUntouched());
}

void tst_Usage::emptyPathIsTopLevelForWhatTakesIt()
{
    const LoneManifest file;
    const Program program = file.program();
    for (const QString& command : {u"show"_qs, u"list"_qs, u"count"_qs}) {
        const ProgramRun run = program.run(command + u" manifest.json ''"_qs);
        QCOMPARE(run.status, 0);
        QCOMPARE(run, program.run(command + u" manifest.json"_qs));
    }
}

MANIFEST_TEST_MAIN(tst_Usage)

#include "tst_usage.moc"
