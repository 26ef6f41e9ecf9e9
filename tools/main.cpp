#include "Command.h"
#include "Output.h"

#include <QtCore/QCommandLineParser>
#include <QtCore/QCoreApplication>
#include <QtCore/QTextCodec>

#include <algorithm>
#include <csignal>

namespace {

const QCommandLineOption& helpOption()
{
    static const QCommandLineOption option(
        {QStringLiteral("h"), QStringLiteral("help")}, QStringLiteral("Show this help."));
    return option;
}

const QCommandLineOption& versionOption()
{
    static const QCommandLineOption option(
        {QStringLiteral("v"), QStringLiteral("version")}, QStringLiteral("Show the version."));
    return option;
}

QString overview(const QList<Command>& commands)
{
    QString text = QStringLiteral("Creates and maintains configuration manifests.\n\nCommands:");
    for (const Command& command : commands) {
        text += QLatin1String("\n  ") % command.name % QLatin1Char(' ') % command.syntax % QLatin1String("\n      ")
            % command.description;
    }
    text += QLatin1String("\n\n'COMMAND --help' shows the options of a command. "
                          "Arguments that begin with '-' stand behind '--'.\n"
                          "Exit status: 0 done, 1 the operation failed, 2 wrong usage.");
    return text;
}

// What Qt says of a command line, without its full stop.
QString problemOf(const QCommandLineParser& parser)
{
    const QString text = parser.errorText();
    return text.endsWith(QLatin1Char('.')) ? text.chopped(1) : text;
}

ExitStatus complainAboutUsage(const QString& problem, const QString& helpWords)
{
    complain(printable(problem) % QLatin1String("; see '") % QCoreApplication::applicationName() % helpWords
        % QLatin1String(" --help'"));
    return WrongUsage;
}

ExitStatus runWithoutCommand(const QStringList& arguments, const QList<Command>& commands)
{
    QCommandLineParser parser;
    parser.setApplicationDescription(overview(commands));
    parser.addOption(helpOption());
    parser.addOption(versionOption());
    parser.addPositionalArgument(
        QStringLiteral("command"), QStringLiteral("What to do."), QStringLiteral("COMMAND [ARGUMENTS]"));
    if (!parser.parse(arguments)) {
        return complainAboutUsage(problemOf(parser), QString());
    }
    if (parser.isSet(helpOption())) {
        printText(parser.helpText().trimmed());
        return Done;
    }
    if (parser.isSet(versionOption())) {
        print(QCoreApplication::applicationName() % QLatin1Char(' ') % QCoreApplication::applicationVersion());
        return Done;
    }
    const QStringList words = parser.positionalArguments();
    return complainAboutUsage(words.isEmpty()
            ? QStringLiteral("no command given")
            : QLatin1String("unknown command '") % words.constFirst() % QLatin1Char('\''),
        QString());
}

ExitStatus runCommand(const Command& command, QStringList arguments)
{
    const QString helpWords = QLatin1Char(' ') % command.name;
    const QStringList syntax = command.syntax.split(QLatin1Char(' '));

    QCommandLineParser parser;
    parser.setApplicationDescription(command.description);
    parser.addOption(helpOption());
    parser.addOptions(command.options);
    parser.addPositionalArgument(command.name, QString(), command.name);
    for (const QString& argument : syntax) {
        parser.addPositionalArgument(argument, QString(), argument);
    }
    if (!parser.parse(arguments)) {
        return complainAboutUsage(problemOf(parser), helpWords);
    }
    if (parser.isSet(helpOption())) {
        printText(parser.helpText().trimmed());
        return Done;
    }

    // The command has taken its name; what it sees are its own arguments.
    arguments.removeAt(1);
    parser.parse(arguments);
    const QStringList given = parser.positionalArguments();
    const auto optional = std::count_if(
        syntax.begin(), syntax.end(), [](const QString& argument) { return argument.startsWith(QLatin1Char('[')); });
    const bool tooMany = given.size() > syntax.size() && !command.syntax.endsWith(QLatin1String("..."));
    if (given.size() < syntax.size() - optional || tooMany) {
        return complainAboutUsage(command.name % QLatin1String(" takes ") % command.syntax, helpWords);
    }
    if (given.constFirst().isEmpty()) {
        return complainAboutUsage(syntax.constFirst() % QLatin1String(" is empty"), helpWords);
    }
    return command.run(parser);
}

ExitStatus run(const QStringList& arguments)
{
    const QList<Command> commands =
        createCommands() + showCommands() + queryCommands() + editCommands() + iteratorCommands();
    const auto command = std::find_if(commands.begin(), commands.end(),
        [&](const Command& candidate) { return arguments.size() > 1 && candidate.name == arguments.at(1); });
    return command == commands.end() ? runWithoutCommand(arguments, commands) : runCommand(*command, arguments);
}

} // namespace

int main(int argc, char* argv[])
{
    QCoreApplication application(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("configuration-manifest"));
    QCoreApplication::setApplicationVersion(QStringLiteral(CONFIGURATION_MANIFEST_VERSION));
    // File names are UTF-8 on the device. A Qt that asked the locale would not find all of them under another one.
    QTextCodec::setCodecForLocale(QTextCodec::codecForName("UTF-8"));
    printMessagesOfTheLibrary();
    // A save that reaches the limit of file sizes is to fail, not to end the program.
    std::signal(SIGXFSZ, SIG_IGN);

    const ExitStatus status = run(QCoreApplication::arguments());
    if (!flushOutput()) {
        complain(QStringLiteral("cannot write the results"));
        return Failed;
    }
    return status;
}
