#include "ProgramRun.h"
#include "TestMain.h"

#include <QtCore/QRegularExpression>

namespace {

const QString project = QStringLiteral(EXAMPLES "/..");

struct Help {
    QString syntax;
    QStringList options;
    /// The meanings of the exit statuses 0 to 3; an empty text if the command does not have the status.
    QStringList exits;
};

QStringList commandNames()
{
    static const QRegularExpression command(u"^  ([a-z-]+) [A-Z\\[]"_qs, QRegularExpression::MultilineOption);
    QStringList names;
    const QString help = QString::fromUtf8(Program().run(u"--help"_qs).output);
    for (auto matches = command.globalMatch(help); matches.hasNext();) {
        names.append(matches.next().captured(1));
    }
    return names;
}

QString simplified(const QString& text)
{
    return text.simplified();
}

Help helpOf(const QString& command)
{
    const QString text = QString::fromUtf8(Program().run(u"help "_qs + command).output);
    Help help;
    help.syntax = text.section(u'\n', 0, 0).section(command + u" [OPTIONS] "_qs, 1).trimmed();
    static const QRegularExpression option(u"^  (--[^\\n]+)"_qs, QRegularExpression::MultilineOption);
    for (auto matches = option.globalMatch(text); matches.hasNext();) {
        help.options.append(matches.next().captured(1));
    }
    help.exits = QStringList {QString(), QString(), QString(), QString()};
    static const QRegularExpression exit(u"^  ([0-3])  (([^\\n]|\\n     )*)"_qs, QRegularExpression::MultilineOption);
    const QString exits = text.section(u"Exit status:\n"_qs, 1);
    for (auto matches = exit.globalMatch(exits); matches.hasNext();) {
        const QRegularExpressionMatch match = matches.next();
        help.exits[match.captured(1).toInt()] = simplified(match.captured(2));
    }
    return help;
}

// The text of a manual page without markup, in one line.
QString readable(const QByteArray& manual)
{
    QString text = QString::fromUtf8(manual);
    text.replace(u"\\-"_qs, u"-"_qs).replace(u"\\(aq"_qs, u"'"_qs).replace(u"\\(ti"_qs, u"~"_qs);
    text.remove(u"\\fB"_qs).remove(u"\\fR"_qs).remove(u"\\&"_qs);
    return simplified(text);
}

} // namespace

class tst_Help : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void helpIsCommandAndOption();
    void newcomersSeeWhatThereIs();
    void helpOfShowSaysWhatPathsAdds();
    void manualPageNamesEverything();
    void manualPageIsInstalledOne();
    void readmeHasExitStatusesOfEveryCommand();
};

void tst_Help::helpIsCommandAndOption()
{
    const QStringList names = commandNames();
    QVERIFY(names.size() > 20);
    QCOMPARE(Program().run(u"help"_qs), Program().run(u"--help"_qs));
    for (const QString& name : names) {
        const ProgramRun run = Program().run(u"help "_qs + name);
        QCOMPARE(run.status, 0);
        QCOMPARE(run, Program().run(name + u" --help"_qs));
        const QStringList exits = helpOf(name).exits;
        for (int status = 0; status < 3; ++status) {
            QVERIFY2(!exits.at(status).isEmpty(), qPrintable(name));
        }
    }
}

void tst_Help::newcomersSeeWhatThereIs()
{
    const ProgramRun run = Program().run(QString());
    QCOMPARE(run.status, 2);
    QCOMPARE(run.output, QByteArray());
    QVERIFY(run.errors.startsWith("configuration-manifest: no command given\nUsage: configuration-manifest COMMAND"));
    const QStringList words = QString::fromUtf8(run.errors).split(QRegularExpression(u"\\s+"_qs));
    for (const QString& name : commandNames()) {
        QVERIFY2(words.contains(name), qPrintable(name));
    }
    QVERIFY(run.errors.contains("configuration-manifest --help describes each command."));
}

void tst_Help::helpOfShowSaysWhatPathsAdds()
{
    const QString help = simplified(QString::fromUtf8(Program().run(u"show --help"_qs).output));
    const QString description = help.section(u"Options:"_qs, 0, 0);
    QVERIFY2(description.contains(u"With --paths, also its position among its siblings and its path."_qs),
        qPrintable(description));
}

void tst_Help::manualPageNamesEverything()
{
    const ProgramRun run = Program().run(u"help --man"_qs);
    QCOMPARE(run.status, 0);
    const QString manual = readable(run.output);
    for (const QString& name : commandNames()) {
        const Help help = helpOf(name);
        QVERIFY2(manual.contains(name + u' ' + help.syntax), qPrintable(name));
        for (const QString& option : help.options) {
            QVERIFY2(manual.contains(option), qPrintable(option));
        }
        for (const QString& meaning : help.exits) {
            QVERIFY2(manual.contains(meaning), qPrintable(meaning));
        }
    }
    for (const QString& section : {u"NAME"_qs, u"SYNOPSIS"_qs, u"DESCRIPTION"_qs, u"COMMANDS"_qs, u"OPTIONS"_qs,
             u"EXIT STATUS"_qs, u"ENVIRONMENT"_qs, u"FILES"_qs, u"EXAMPLES"_qs, u"SEE ALSO"_qs}) {
        QVERIFY2(run.output.contains("\n.SH " + section.toUtf8() + '\n'), qPrintable(section));
    }
    for (const QString& word : {u"NO_COLOR"_qs, u"QT_LOGGING_RULES"_qs, u"MANIFEST.base"_qs, u"flock(1)"_qs}) {
        QVERIFY2(manual.contains(word), qPrintable(word));
    }
}

void tst_Help::manualPageIsInstalledOne()
{
    QCOMPARE(readFile(project + u"/tools/configuration-manifest.1"_qs), Program().run(u"help --man"_qs).output);
}

void tst_Help::readmeHasExitStatusesOfEveryCommand()
{
    // Neighbouring commands with the same statuses share a row.
    QStringList rows;
    QStringList alike;
    QStringList exits;
    const auto finishRow = [&] {
        if (!alike.isEmpty()) {
            rows.append(u"| `%1` | %2 |"_qs.arg(alike.join(u"`, `"_qs), exits.join(u" | "_qs)));
        }
        alike.clear();
    };
    for (const QString& name : commandNames()) {
        const QStringList own = helpOf(name).exits;
        if (own != exits) {
            finishRow();
        }
        exits = own;
        alike.append(name);
    }
    finishRow();
    const QString readme = QString::fromUtf8(readFile(project + u"/README.md"_qs));
    for (const QString& row : qAsConst(rows)) {
        QVERIFY2(readme.contains(row + u'\n'), qPrintable(row));
    }
    QCOMPARE(readme.count(QRegularExpression(u"^\\| `(create|show|exists|check|diff|explain|merge|set|help)\\b"_qs,
                 QRegularExpression::MultilineOption)),
        rows.size());
}

MANIFEST_TEST_MAIN(tst_Help)

#include "tst_help.moc"
