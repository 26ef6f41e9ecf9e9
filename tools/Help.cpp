#include "Help.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QMap>
#include <QtCore/QStringList>

#include <array>
#include <cstddef>

namespace {

constexpr int width = 100;

struct Subject {
    const char* name;
    const char* text;
};

constexpr int statusCount = 4;

constexpr std::array<Subject, 4> environment {{
    {"NO_COLOR", "If set and not empty, show prints without colours even on a terminal."},
    {"TERM", "If it is 'dumb', show prints without colours."},
    {"QT_LOGGING_RULES", "Switches messages of the library on or off by level."},
    {"QT_MESSAGE_PATTERN",
        "The format of messages that the library logs when it loads or saves. Messages about scanned folders have a "
        "fixed format."},
}};

constexpr std::array<Subject, 6> files {{
    {"FOLDER/configuration.manifest.json", "The manifest of the pages of a folder."},
    {"FOLDER/process.manifest.json", "The manifest of the pages that show live values."},
    {"*.config.json, *.process.json, Folder.menu.json",
        "The descriptions of pages and folders from which a manifest is made."},
    {"MANIFEST~", "The copy that --backup keeps."},
    {"MANIFEST.base", "The base that --keep-base saves."},
    {"MANIFEST.XXXXXX",
        "A temporary file, with six letters for XXXXXX, that a process may leave behind if it is killed during a save. "
        "It can be removed."},
}};

constexpr std::array<const char*, 3> examples {
    "create-folder configuration",
    "show configuration/configuration.manifest.json --paths",
    "set configuration/configuration.manifest.json network/port hide true --json --save",
};

const QLatin1String purpose("create and maintain configuration manifests");

const QLatin1String turns(
    "Runs of the program that save take turns: from load to save, each holds an exclusive lock (flock(2)) on the "
    "folder that contains the manifest, after following symbolic links. Scripts take part with 'flock FOLDER COMMAND'. "
    "Immediately before saving, the program reads the manifest again and, without --overwrite, refuses to replace one "
    "that has changed.");

// `text` in lines of at most `width` characters, each indented by `indent` blanks.
QString wrapped(const QString& text, int indent)
{
    QStringList lines;
    QString line;
    const QStringList words = text.split(QLatin1Char(' '));
    for (const QString& word : words) {
        if (!line.isEmpty() && indent + line.size() + 1 + word.size() > width) {
            lines.append(line);
            line.clear();
        }
        line += line.isEmpty() ? word : QLatin1Char(' ') + word;
    }
    lines.append(line);
    const QString margin(indent, QLatin1Char(' '));
    return margin + lines.join(QLatin1Char('\n') + margin);
}

QString programName()
{
    return QCoreApplication::applicationName();
}

// "--backup[=SUFFIX]", "--depth N"
QString writtenOut(const Option& option)
{
    QString name = QLatin1String("--") + option.name;
    if (option.value.isEmpty()) {
        return name;
    }
    return option.usualValue.isNull() ? QString(name + QLatin1Char(' ') + option.value)
                                      : QString(name + QLatin1String("[=") + option.value + QLatin1Char(']'));
}

QString commandLine(const Command& command)
{
    return command.name + QLatin1Char(' ') + command.syntax;
}

QStringList meaningsOf(const ExitMeanings& exits)
{
    return {exits.done, exits.notDone, exits.trouble, exits.savedButNotPrinted};
}

const QStringList& generalMeanings()
{
    static const QStringList meanings {
        QStringLiteral("done"),
        QStringLiteral("not done; for a question: no"),
        QStringLiteral("wrong usage, or a problem with what the command line names"),
        QStringLiteral("saved, but the output could not be printed"),
    };
    return meanings;
}

QString statusLines(const QStringList& meanings, int indent = 2)
{
    QString text;
    for (int status = 0; status < meanings.size(); ++status) {
        if (!meanings.at(status).isEmpty()) {
            text += QLatin1Char('\n') + QString(indent, QLatin1Char(' '))
                + QStringLiteral("%1  %2").arg(status).arg(wrapped(meanings.at(status), indent + 3).trimmed());
        }
    }
    return text;
}

QString optionLines(const Options& options)
{
    QString text = QLatin1String("\n  -h, --help\n") + wrapped(QStringLiteral("Show this help."), 6);
    for (const Option& option : options) {
        text += QLatin1String("\n  ") + writtenOut(option) + QLatin1Char('\n') + wrapped(option.description, 6);
    }
    return text;
}

// An option, and the commands that have it.
struct SharedOption {
    Option option;
    QStringList commands;
};

QVector<SharedOption> sharedOptions()
{
    QMap<QString, SharedOption> byName;
    for (const CommandGroup& group : commandGroups()) {
        for (const Command& command : group.commands) {
            for (const Option& option : command.options) {
                SharedOption& shared = byName[option.name + QLatin1Char('\n') + option.description];
                shared.option = option;
                shared.commands.append(command.name);
            }
        }
    }
    QVector<SharedOption> options;
    options.reserve(byName.size());
    for (const SharedOption& shared : qAsConst(byName)) {
        options.append(shared);
    }
    return options;
}

// The meanings of exit statuses, and consecutive commands that share them.
struct SharedExits {
    QStringList meanings;
    QStringList commands;
};

QVector<SharedExits> sharedExits()
{
    QVector<SharedExits> result;
    for (const CommandGroup& group : commandGroups()) {
        for (const Command& command : group.commands) {
            const QStringList meanings = meaningsOf(command.exits);
            if (result.isEmpty() || result.constLast().meanings != meanings) {
                result.append({meanings, {}});
            }
            result.last().commands.append(command.name);
        }
    }
    return result;
}

// `text`, escaped for the formatter of manual pages.
QString inManual(const QString& text)
{
    QString result = text;
    result.replace(QLatin1Char('\\'), QLatin1String("\\e"))
        .replace(QLatin1Char('-'), QLatin1String("\\-"))
        .replace(QLatin1Char('~'), QLatin1String("\\(ti"))
        .replace(QLatin1Char('\''), QLatin1String("\\(aq"));
    return result.startsWith(QLatin1Char('.')) ? QLatin1String("\\&") + result : result;
}

QString bold(const QString& text)
{
    return QLatin1String("\\fB") + inManual(text) + QLatin1String("\\fR");
}

QString tagged(const QString& tag, const QString& text)
{
    return QLatin1String(".TP\n") + tag + QLatin1Char('\n') + inManual(text) + QLatin1Char('\n');
}

QString manualOfCommands()
{
    QString text = QStringLiteral(".SH COMMANDS\n");
    for (const CommandGroup& group : commandGroups()) {
        text += QLatin1String(".SS ") + inManual(group.title) + QLatin1Char('\n');
        for (const Command& command : group.commands) {
            QStringList names;
            for (const Option& option : command.options) {
                names.append(QLatin1String("--") + option.name);
            }
            text += tagged(bold(command.name) + QLatin1Char(' ') + inManual(command.syntax), command.description);
            if (!names.isEmpty()) {
                text += QLatin1String(".br\n")
                    + inManual(QLatin1String("Options: ") + names.join(QLatin1String(", ")) + QLatin1Char('.'))
                    + QLatin1Char('\n');
            }
        }
    }
    return text;
}

QString manualOfOptions()
{
    QString text = QStringLiteral(".SH OPTIONS\n")
        + tagged(bold(QStringLiteral("-h")) + QLatin1String(", ") + bold(QStringLiteral("--help")),
            QStringLiteral("Show the help of the program or, after a command, of that command."))
        + tagged(bold(QStringLiteral("-v")) + QLatin1String(", ") + bold(QStringLiteral("--version")),
            QStringLiteral("Show the version."));
    const QVector<SharedOption> options = sharedOptions();
    for (const SharedOption& shared : options) {
        text += tagged(bold(writtenOut(shared.option)),
            shared.option.description + QLatin1String(" (") + shared.commands.join(QLatin1String(", "))
                + QLatin1Char(')'));
    }
    return text;
}

QString manualOfExits()
{
    QString text = QStringLiteral(".SH EXIT STATUS\n");
    for (int status = 0; status < statusCount; ++status) {
        text += tagged(bold(QString::number(status)), generalMeanings().at(status) + QLatin1Char('.'));
    }
    const QVector<SharedExits> exits = sharedExits();
    for (const SharedExits& shared : exits) {
        text += QLatin1String(".SS ") + inManual(shared.commands.join(QLatin1String(", "))) + QLatin1Char('\n');
        for (int status = 0; status < statusCount; ++status) {
            const QString& meaning = shared.meanings.at(status);
            text += meaning.isEmpty() ? QString() : tagged(bold(QString::number(status)), meaning + QLatin1Char('.'));
        }
    }
    return text;
}

template <std::size_t size>
QString manualOf(const char* title, const std::array<Subject, size>& subjects)
{
    QString text = QLatin1String(".SH ") + QLatin1String(title) + QLatin1Char('\n');
    for (const Subject& subject : subjects) {
        text += tagged(bold(QString::fromLatin1(subject.name)), QString::fromLatin1(subject.text));
    }
    return text;
}

} // namespace

QString overview()
{
    QString text = QLatin1String("Usage: ") + programName() + QLatin1String(" COMMAND [ARGUMENTS]\n")
        + QLatin1String("Creates and maintains configuration manifests.\n");
    for (const CommandGroup& group : commandGroups()) {
        text += QLatin1Char('\n') + group.title + QLatin1String(":\n");
        for (const Command& command : group.commands) {
            text += QLatin1String("  ") + commandLine(command) + QLatin1Char('\n') + wrapped(command.description, 6)
                + QLatin1Char('\n');
        }
    }
    text += QLatin1String("\nOptions:\n  -h, --help     Show this help.\n  -v, --version  Show the version.\n");
    text += QLatin1String("\n'COMMAND --help' shows the options of a command and what its exit status means.\n"
                          "Put '--' before arguments that begin with '-'.\n\nExit status:");
    text += statusLines(generalMeanings());
    const QVector<SharedExits> exits = sharedExits();
    for (const SharedExits& shared : exits) {
        text += QLatin1Char('\n') + wrapped(shared.commands.join(QLatin1String(", ")) + QLatin1Char(':'), 2)
            + statusLines(shared.meanings, 4);
    }
    return text;
}

QString shortOverview()
{
    QString text = QLatin1String("Usage: ") + programName() + QLatin1String(" COMMAND [ARGUMENTS]\n");
    for (const CommandGroup& group : commandGroups()) {
        QStringList names;
        for (const Command& command : group.commands) {
            names.append(command.name);
        }
        text += QLatin1Char('\n') + group.title + QLatin1String(":\n") + wrapped(names.join(QLatin1Char(' ')), 2)
            + QLatin1Char('\n');
    }
    text += QLatin1String("\nTry:\n");
    for (const char* const example : examples) {
        text += QLatin1String("  ") + programName() + QLatin1Char(' ') + QLatin1String(example) + QLatin1Char('\n');
    }
    return text + QLatin1Char('\n') + programName() + QLatin1String(" --help describes each command.");
}

QString helpOf(const Command& command)
{
    return QLatin1String("Usage: ") + programName() + QLatin1Char(' ') + command.name + QLatin1String(" [OPTIONS] ")
        + command.syntax + QLatin1Char('\n') + wrapped(command.description, 0) + QLatin1String("\n\nOptions:")
        + optionLines(command.options) + QLatin1String("\n\nExit status:") + statusLines(meaningsOf(command.exits));
}

QByteArray manualPage()
{
    const QString name = programName();
    QString text = QLatin1String(".\\\" Made by '") + name + QLatin1String(" help --man'.\n.TH ")
        + inManual(name.toUpper()) + QLatin1String(" 1\n.SH NAME\n") + inManual(name) + QLatin1String(" \\- ") + purpose
        + QLatin1String("\n.SH SYNOPSIS\n") + bold(name) + QLatin1String(" COMMAND [ARGUMENTS]\n.br\n") + bold(name)
        + QLatin1String(" help [COMMAND]\n.br\n") + bold(name) + QLatin1Char(' ') + bold(QStringLiteral("--version"))
        + QLatin1String(
            "\n.SH DESCRIPTION\n"
            "A configuration manifest is one JSON document that says, as a tree, which description files a "
            "configuration\nfolder holds, how sub\\-folders group them, in which order they are shown and under which "
            "instance names they\nare addressed. A PATH names the elements from the top level down to the one that is "
            "meant, each by the last segment\nof its instance name, separated by \"/\"; show \\-\\-paths prints it. "
            "Queries ignore empty names in it; edits do not. An empty PATH is the top level for show, list, count, "
            "sort and explain, and wrong usage for all other commands.\nA PATH "
            "that has nothing but \"/\" is always wrong usage.\n.PP\n"
            "Results go to standard output, messages to standard error. An edit is saved only with ")
        + bold(QStringLiteral("--save"))
        + QLatin1String(".\nCommands that only read FILE also take a pipe, or \"\\-\" for standard input. Put "
                        "\"\\-\\-\" before arguments that\nbegin with \"\\-\".\n.PP\n")
        + inManual(turns) + QLatin1Char('\n') + manualOfCommands() + manualOfOptions() + manualOfExits()
        + manualOf("ENVIRONMENT", environment) + manualOf("FILES", files)
        + QLatin1String(
            ".SH EXAMPLES\nCreate the manifest of a folder, show it, and hide one of its pages:\n.PP\n.nf\n");
    for (const char* const example : examples) {
        text += inManual(name + QLatin1Char(' ') + QLatin1String(example)) + QLatin1Char('\n');
    }
    text += QLatin1String(".fi\n.SH SEE ALSO\n\\fBflock\\fR(1), \\fBflock\\fR(2), \\fBrename\\fR(2)\n");
    return text.toUtf8();
}
