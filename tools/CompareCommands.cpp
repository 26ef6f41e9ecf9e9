#include "Command.h"
#include "Difference.h"
#include "ElementOutput.h"
#include "Findings.h"
#include "Output.h"
#include "Scheme.h"
#include "TreeOperand.h"

#include <QtCore/QCommandLineParser>
#include <QtCore/QJsonArray>
#include <QtCore/QJsonObject>

namespace {

QJsonObject toJson(const Finding& finding)
{
    QJsonArray positions;
    for (const int position : finding.positions) {
        positions.append(position);
    }
    return {
        {QStringLiteral("finding"), toText(finding.kind)},
        {QStringLiteral("path"), finding.path.isEmpty() ? QJsonValue() : QJsonValue(finding.path)},
        {QStringLiteral("positions"), positions},
        {QStringLiteral("what"), finding.what},
        {QStringLiteral("advice"), finding.advice},
    };
}

QJsonArray toJson(const QVector<Finding>& findings)
{
    QJsonArray result;
    for (const Finding& finding : findings) {
        result.append(toJson(finding));
    }
    return result;
}

QVector<ElementChange> differencesBetween(const TreeOperand& before, const TreeOperand& after, Stamps stamps)
{
    const Pairing pairing(before.tree, after.tree, stamps);
    areUnrelated(pairing, before, after);
    return differencesOf(pairing, before.tree, after.tree, stamps);
}

ExitStatus check(const QCommandLineParser& arguments)
{
    const QString file = arguments.positionalArguments().constFirst();
    const QString folderOption = QStringLiteral("folder");
    const bool hasFolder = arguments.isSet(folderOption);
    QString scheme;
    TreeOperand checked;
    TreeOperand folder;
    if (!readScheme(arguments, scheme) || !readTree(file, scheme, checked)
        || (hasFolder && !readFolder(arguments.value(folderOption), scheme, folder))) {
        return Trouble;
    }
    const QVector<Finding> findings = check(checked.tree);
    const QVector<ElementChange> drift =
        hasFolder ? differencesBetween(checked, folder, stampsWanted(arguments)) : QVector<ElementChange>();
    if (arguments.isSet(elementsAsJsonOption().name)) {
        QJsonObject results {{QStringLiteral("findings"), toJson(findings)}};
        if (hasFolder) {
            results.insert(QStringLiteral("drift"), toJson(drift));
        }
        printResult(results);
    } else {
        for (const Finding& finding : findings) {
            print(printable(finding.place % QLatin1Char(' ') % finding.what % QLatin1String(". ") % finding.advice
                % QLatin1String(". [") % toText(finding.kind) % QLatin1Char(']')));
        }
        printChanges(drift, QLatin1String("drift: "));
    }
    return findings.isEmpty() && drift.isEmpty() ? Done : NotDone;
}

ExitStatus diff(const QCommandLineParser& arguments)
{
    const QStringList given = arguments.positionalArguments();
    QString scheme;
    TreeOperand before;
    TreeOperand after;
    if (!readStandardInputOnce(given) || !readScheme(arguments, scheme) || !readTree(given.at(0), scheme, before)
        || !readTree(given.at(1), scheme, after)) {
        return Trouble;
    }
    const QVector<ElementChange> changes = differencesBetween(before, after, stampsWanted(arguments));
    if (arguments.isSet(elementsAsJsonOption().name)) {
        printResult(toJson(changes));
    } else {
        printChanges(changes);
    }
    return changes.isEmpty() ? Done : NotDone;
}

} // namespace

QVector<Command> compareCommands()
{
    const Option asJson {QStringLiteral("json"), {}, QStringLiteral("Print JSON instead of lines."), {}};
    const Options options = treeOptions() + Options {stampsOption(), asJson};
    const Option folder {QStringLiteral("folder"), QStringLiteral("FOLDER"),
        QStringLiteral("Also print the drift between the manifest and FOLDER, as 'diff FILE FOLDER' does."), {}};
    return {
        {QStringLiteral("check"), QStringLiteral("FILE"),
            QStringLiteral("Print what is wrong with the structure of a manifest. Each line says where, what, what to "
                           "do about it and, in brackets, a fixed word for the kind of finding. FILE may "
                           "also be a folder, whose manifest is computed but not written, or - for standard input."),
            Options {folder} + options,
            {QStringLiteral("nothing is wrong and, with --folder, nothing has drifted"),
                QStringLiteral("there are findings or drift, or the output could not be printed"),
                QStringLiteral("wrong usage, or FILE cannot be read or is no manifest, or FOLDER cannot be read"), {}},
            check},
        {QStringLiteral("diff"), QStringLiteral("OLD NEW"),
            QStringLiteral(
                "Print the changes that turn the manifest OLD into NEW, one line each: elements added, removed, "
                "changed (with the old and the new value of every key) and moved, among their siblings or to another "
                "parent. OLD and NEW may each be a file, a folder, whose manifest is computed but not written, or - "
                "for standard input. On a terminal, only the beginning of a long value is shown."),
            options,
            {QStringLiteral("there is no difference"),
                QStringLiteral("there are differences, or the output could not be printed"),
                QStringLiteral("wrong usage, or OLD or NEW cannot be read or is no manifest"), {}},
            diff},
    };
}
