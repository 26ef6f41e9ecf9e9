#include "CommandLine.h"

#include "Help.h"
#include "NearestWord.h"
#include "Output.h"

#include <QtCore/QCommandLineParser>
#include <QtCore/QCoreApplication>

#include <algorithm>

namespace {

const QCommandLineOption& helpOption()
{
    static const QCommandLineOption option(QStringList {QStringLiteral("h"), QStringLiteral("help")});
    return option;
}

const QCommandLineOption& versionOption()
{
    static const QCommandLineOption option(QStringList {QStringLiteral("v"), QStringLiteral("version")});
    return option;
}

QStringList namesOf(const QVector<Command>& commands)
{
    QStringList names;
    for (const Command& command : commands) {
        names.append(command.name);
    }
    return names;
}

QStringList namesOf(const Options& options)
{
    QStringList names {QStringLiteral("help")};
    for (const Option& option : options) {
        names.append(option.name);
    }
    return names;
}

ExitStatus complainAboutUsage(const QString& problem, const QString& helpWords)
{
    complain(printable(problem) % QLatin1String("; see '") % QCoreApplication::applicationName() % helpWords
        % QLatin1String(" --help'"));
    return Trouble;
}

// Qt's error text for a command line, without its full stop. For an unknown option it suggests the nearest one.
QString problemOf(const QCommandLineParser& parser, const QStringList& knownOptions, QLatin1String advice)
{
    const QString text = parser.errorText();
    QString problem = text.endsWith(QLatin1Char('.')) ? text.chopped(1) : text;
    const QStringList unknown = parser.unknownOptionNames();
    if (unknown.isEmpty()) {
        return problem;
    }
    const QString nearest = nearestWord(unknown.constFirst(), knownOptions);
    return problem
        % (nearest.isNull() ? QString(advice)
                            : QString(QLatin1String(" (did you mean '--") % nearest % QLatin1String("'?)")));
}

// QCommandLineParser has no options with optional values, so an option without a value gets its usual one here.
QStringList withUsualValues(const Command& command, QStringList arguments)
{
    const int end = arguments.indexOf(QStringLiteral("--"));
    for (const Option& option : command.options) {
        const QString name = QLatin1String("--") % option.name;
        for (int i = 0; !option.usualValue.isNull() && i < (end < 0 ? arguments.size() : end); ++i) {
            if (arguments.at(i) == name) {
                arguments[i] = name % QLatin1Char('=') % option.usualValue;
            }
        }
    }
    return arguments;
}

void addOptions(QCommandLineParser& parser, const Command& command)
{
    parser.addOption(helpOption());
    for (const Option& option : command.options) {
        parser.addOption({option.name, QString(), option.value});
    }
}

// Whether as many arguments were given as the syntax asks for.
bool isRightNumber(int given, const QString& syntax)
{
    const QStringList asked = syntax.split(QLatin1Char(' '));
    const auto isOptional = [](const QString& argument) { return argument.startsWith(QLatin1Char('[')); };
    const auto optional = std::count_if(asked.begin(), asked.end(), isOptional);
    return given >= asked.size() - optional && (given <= asked.size() || syntax.endsWith(QLatin1String("...")));
}

// Whether Qt would look for a file of this name among the resources of the program.
bool isLikeAResource(const QString& name)
{
    return name.startsWith(QLatin1Char(':'));
}

// The arguments as `parser` has understood them. The path of the command's file or folder is made relative to the
// current folder, so that Qt does not take it for a resource or a search path.
QStringList withFileOnTheDisk(const QCommandLineParser& parser, const Command& command, const QString& programName)
{
    QStringList arguments(programName);
    for (const Option& option : command.options) {
        const QString name = QLatin1String("--") % option.name;
        const QStringList values = parser.values(option.name);
        for (const QString& value : values) {
            arguments.append(name % QLatin1Char('=') % value);
        }
        if (option.value.isEmpty() && parser.isSet(option.name)) {
            arguments.append(name);
        }
    }
    QStringList given = parser.positionalArguments();
    given.first().prepend(QLatin1String("./"));
    return arguments << QStringLiteral("--") << given;
}

ExitStatus runCommand(const Command& command, const QStringList& words)
{
    const QString helpWords = QLatin1Char(' ') % command.name;
    QStringList arguments = withUsualValues(command, words);
    // Remove the name of the command, so that only its own arguments are left.
    arguments.removeAt(1);
    QCommandLineParser parser;
    addOptions(parser, command);
    if (!parser.parse(arguments)) {
        return complainAboutUsage(problemOf(parser, namesOf(command.options),
                                      QLatin1String(" (put '--' before a value that begins with '-')")),
            helpWords);
    }
    if (parser.isSet(helpOption())) {
        printText(helpOf(command));
        return Done;
    }
    const QStringList given = parser.positionalArguments();
    if (!isRightNumber(given.size(), command.syntax)) {
        return complainAboutUsage(command.name % QLatin1String(" takes ") % command.syntax, helpWords);
    }
    if (!given.isEmpty() && given.constFirst().isEmpty()) {
        return complainAboutUsage(
            command.syntax.section(QLatin1Char(' '), 0, 0) % QLatin1String(" is empty"), helpWords);
    }
    const bool isOfFile = !command.syntax.startsWith(QLatin1Char('['));
    if (isOfFile && isLikeAResource(given.constFirst())) {
        parser.parse(withFileOnTheDisk(parser, command, arguments.constFirst()));
    }
    return command.run(parser);
}

ExitStatus runWithoutCommand(const QStringList& arguments)
{
    QCommandLineParser parser;
    parser.addOption(helpOption());
    parser.addOption(versionOption());
    if (!parser.parse(arguments)) {
        return complainAboutUsage(problemOf(parser, {QStringLiteral("help"), QStringLiteral("version")},
                                      QLatin1String(" (options follow the command)")),
            QString());
    }
    if (parser.isSet(helpOption())) {
        printText(overview());
        return Done;
    }
    if (parser.isSet(versionOption())) {
        print(QCoreApplication::applicationName() % QLatin1Char(' ') % QCoreApplication::applicationVersion());
        return Done;
    }
    const QStringList words = parser.positionalArguments();
    if (words.isEmpty()) {
        complain(QStringLiteral("no command given"));
        explain(shortOverview());
        return Trouble;
    }
    if (findCommand(words.constFirst()) != nullptr) {
        return complainAboutUsage(
            QLatin1Char('\'') % words.constFirst() % QLatin1String("' is a command and must come first"), QString());
    }
    return complainAboutCommand(words.constFirst());
}

} // namespace

bool isWithoutNames(const QString& path)
{
    return path.count(QLatin1Char('/')) == path.size();
}

ExitStatus complainAboutEmptyPath()
{
    complain(QStringLiteral("PATH contains no name"));
    return Trouble;
}

ExitStatus complainAboutCommand(const QString& word)
{
    const QString nearest = nearestWord(word, namesOf(allCommands()));
    return complainAboutUsage(QLatin1String("unknown command '") % word % QLatin1Char('\'')
            % (nearest.isNull() ? QString()
                                : QString(QLatin1String(" (did you mean '") % nearest % QLatin1String("'?)"))),
        QString());
}

ExitStatus runCommandLine(const QStringList& arguments)
{
    const Command* const command = arguments.size() > 1 ? findCommand(arguments.at(1)) : nullptr;
    return command == nullptr ? runWithoutCommand(arguments) : runCommand(*command, arguments);
}
