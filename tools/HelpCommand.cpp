#include "Command.h"
#include "CommandLine.h"
#include "Help.h"
#include "Output.h"

#include <QtCore/QCommandLineParser>

namespace {

ExitStatus help(const QCommandLineParser& arguments)
{
    if (arguments.isSet(QStringLiteral("man"))) {
        print(QString::fromUtf8(manualPage()).chopped(1));
        return Done;
    }
    const QStringList given = arguments.positionalArguments();
    if (given.isEmpty()) {
        printText(overview());
        return Done;
    }
    const Command* const command = findCommand(given.constFirst());
    if (command == nullptr) {
        return complainAboutCommand(given.constFirst());
    }
    printText(helpOf(*command));
    return Done;
}

} // namespace

QVector<Command> helpCommands()
{
    return {
        {QStringLiteral("help"), QStringLiteral("[COMMAND]"),
            QStringLiteral("Print the help of the program or of one command."),
            {{QStringLiteral("man"), {}, QStringLiteral("Print the source of the manual page."), {}}},
            {QStringLiteral("the help is printed"), QStringLiteral("the output could not be printed"),
                QStringLiteral("wrong usage, or there is no such command"), {}},
            help},
    };
}
