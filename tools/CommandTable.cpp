#include "Command.h"

#include <algorithm>

const QVector<CommandGroup>& commandGroups()
{
    static const QVector<CommandGroup> groups {
        {QStringLiteral("Create a manifest"), createCommands()},
        {QStringLiteral("Look at a manifest"),
            showCommands() + queryCommands() + instancesCommands() + existsCommands()},
        {QStringLiteral("Compare manifests and folders"), compareCommands() + explainCommands() + mergeCommands()},
        {QStringLiteral("Edit a manifest"), editCommands() + rewriteCommands()},
        {QStringLiteral("Help"), helpCommands()},
    };
    return groups;
}

QVector<Command> allCommands()
{
    QVector<Command> commands;
    for (const CommandGroup& group : commandGroups()) {
        commands += group.commands;
    }
    return commands;
}

const Command* findCommand(const QString& name)
{
    for (const CommandGroup& group : commandGroups()) {
        const auto command = std::find_if(group.commands.begin(), group.commands.end(),
            [&](const Command& candidate) { return candidate.name == name; });
        if (command != group.commands.end()) {
            return &*command;
        }
    }
    return nullptr;
}
