#include "OpenManifest.h"

#include "Difference.h"
#include "ElementOutput.h"
#include "FileOperand.h"
#include "Findings.h"
#include "HeldSignals.h"
#include "JsonInput.h"
#include "LibraryMessages.h"
#include "ManifestText.h"
#include "Output.h"
#include "SystemInformationManagerRegistryDefinitions.h"

#include <QtCore/QCommandLineParser>
#include <QtCore/QFile>
#include <QtCore/QFileInfo>
#include <QtCore/QJsonObject>

#include <linux/magic.h>
#include <sys/vfs.h>

namespace {

constexpr int usualWait = 10;

// The value of an option; null if it is not set. QCommandLineParser::value() warns if the command does not have it.
QString valueOf(const QCommandLineParser& arguments, const QString& option)
{
    return arguments.optionNames().contains(option) ? arguments.value(option) : QString();
}

void appendPositions(const TreeElements& elements, const QString& name, QVector<QVector<int>>& positions)
{
    for (const TreeElement& element : elements) {
        if (element.name == name) {
            positions.append(element.positions);
        }
        appendPositions(element.children, name, positions);
    }
}

// Whether a path ends with a link that the kernel provides for an open file, such as /dev/stdin or /dev/fd/7. After a
// save has replaced the file, such a link still leads to the old one.
bool leadsToAnOpenFile(const QString& path)
{
    constexpr int mostLinks = 40;
    QFileInfo file(path);
    for (int links = 0; links < mostLinks && file.isSymLink(); ++links) {
        struct statfs fileSystem = {};
        if (statfs(QFile::encodeName(file.path()).constData(), &fileSystem) == 0
            && fileSystem.f_type == PROC_SUPER_MAGIC) {
            return true;
        }
        file = QFileInfo(file.symLinkTarget());
    }
    return false;
}

QString baseOf(const QString& manifestPath)
{
    return manifestPath % QLatin1String(".base");
}

} // namespace

Options stampOptions()
{
    return {
        {QStringLiteral("module"), QStringLiteral("NAME"),
            QStringLiteral("Stamp every selection with this module name."), {}},
        {QStringLiteral("object"), QStringLiteral("NAME"),
            QStringLiteral("Stamp every selection with this object name."), {}},
    };
}

Options replaceOptions()
{
    return {
        {QStringLiteral("backup"), QStringLiteral("SUFFIX"),
            QStringLiteral("Keep a copy of the replaced manifest, under its name followed by SUFFIX, by default '~'. "
                           "An older copy is replaced."),
            QStringLiteral("~")},
        {QStringLiteral("overwrite"), {},
            QStringLiteral("Replace the manifest even if it has changed since it was read."), {}},
        {QStringLiteral("wait"), QStringLiteral("SECONDS"),
            QStringLiteral("How long to wait while another process is saving in the folder; by default 10 seconds."),
            {}},
    };
}

Options saveOptions()
{
    return stampOptions()
        + Options {saveOption(),
            {QStringLiteral("dry-run"), {}, QStringLiteral("Print what would change; save nothing."), {}},
            printOption(),
            {QStringLiteral("force"), {},
                QStringLiteral("Apply the edit even if it damages the structure of the manifest, loses elements or "
                               "gives a key a value of the wrong type."),
                {}}}
    + replaceOptions();
}

Option saveOption()
{
    return {QStringLiteral("save"), {},
        QStringLiteral(
            "Save the result, unless --dry-run or --print is given. Without this option, the file stays as it is."),
        {}};
}

Option printOption()
{
    return {QStringLiteral("print"), {}, QStringLiteral("Print the manifest that would be saved; save nothing."), {}};
}

ExitMeanings queryExits()
{
    return {QStringLiteral("the answer is printed"),
        QStringLiteral(
            "there is no such element or key, or its children are not an array, or the output could not be printed"),
        QStringLiteral("wrong usage, or FILE cannot be read or is no manifest"), {}};
}

ExitMeanings editExits()
{
    return {QStringLiteral("the edit applies and, with --save alone, is saved"),
        QStringLiteral("the edit does not apply, was refused, could not be saved or was overtaken by another process; "
                       "or nothing was to be saved and the output could not be printed"),
        QStringLiteral("wrong usage, or a problem with FILE, a value or a description"),
        QStringLiteral("the edit is saved, but the output could not be printed")};
}

Option keepBaseOption(const QString& description)
{
    return {QStringLiteral("keep-base"), {}, description, {}};
}

QString writeBase(const QString& manifestPath, const QByteArray& base)
{
    const QString path = baseOf(manifestPath);
    const Look present = lookAt(path);
    if (present.isThere() && present.content == base) {
        return {};
    }
    return writeBeside(path, base, {});
}

bool keepBase(const QString& manifestPath, const QByteArray& base)
{
    const QString problem = writeBase(manifestPath, base);
    if (problem.isNull()) {
        return true;
    }
    complain(QLatin1String("the manifest is saved, but not ") % printable(baseOf(manifestPath)) % QLatin1String(": ")
        % problem);
    return false;
}

bool readSaveWishes(const QCommandLineParser& arguments, SaveWishes& wishes, int& secondsToWait)
{
    secondsToWait = usualWait;
    const QString wait = QStringLiteral("wait");
    if (arguments.isSet(wait)) {
        if (!readNumber(arguments.value(wait), secondsToWait)) {
            return false;
        }
        constexpr int mostSeconds = 1000000;
        if (secondsToWait < 0 || secondsToWait > mostSeconds) {
            complain(QStringLiteral("--wait takes from 0 to %1 seconds").arg(mostSeconds));
            return false;
        }
    }
    wishes.overwrite = arguments.isSet(QStringLiteral("overwrite"));
    const QString backup = QStringLiteral("backup");
    if (arguments.isSet(backup)) {
        wishes.backupSuffix = arguments.value(backup);
        if (wishes.backupSuffix.isEmpty() || wishes.backupSuffix.contains(QLatin1Char('/'))) {
            complain(QStringLiteral("the suffix of a backup must not be empty or contain '/'"));
            return false;
        }
    }
    return true;
}

bool takeTurn(Turn& turn, const QString& manifestPath, int secondsToWait)
{
    switch (turn.take(manifestPath, secondsToWait)) {
    case Turn::Result::Taken:
        return true;
    case Turn::Result::Impossible:
        complain(QLatin1String("cannot lock the folder ") % printable(turn.folder()) % QLatin1String(": ")
            % turn.reason() % QLatin1String("; others may save at the same time"));
        return true;
    case Turn::Result::Busy:
        break;
    }
    const QString holder = turn.holder();
    complain(QLatin1String("the folder ") % printable(turn.folder()) % QLatin1String(" is locked")
        % (holder.isNull() ? QString() : QString(QLatin1String(" by ") % printable(holder)))
        % QStringLiteral("; gave up after %1 s").arg(secondsToWait));
    return false;
}

OpenManifest::OpenManifest(const QCommandLineParser& commandLine, int argument)
    : arguments(commandLine)
    , path(onTheDisk(commandLine.positionalArguments().at(argument)))
    , openHandler(path, valueOf(commandLine, QStringLiteral("module")), valueOf(commandLine, QStringLiteral("object")))
    , stored(path)
{
}

ExitStatus OpenManifest::loadToRead()
{
    QByteArray content;
    QString problem;
    if (!readFileOperand(path, content, problem)) {
        complain(problem);
        return Trouble;
    }
    return take(content) ? Done : Trouble;
}

ExitStatus OpenManifest::checkThatItCanBeEdited() const
{
    QString problem;
    if (isRegularFile(path, problem)) {
        if (!isToBeSaved() || !leadsToAnOpenFile(path)) {
            return Done;
        }
        problem = QLatin1String("cannot save to ") % printable(path)
            % QLatin1String(": it leads to an open file; give the path of the file itself");
    }
    complain(problem);
    return Trouble;
}

ExitStatus OpenManifest::loadToEdit()
{
    int secondsToWait = 0;
    if (!readSaveWishes(arguments, wishes, secondsToWait)) {
        return Trouble;
    }
    // Check first, so as not to wait for the turn in vain.
    if (const ExitStatus status = checkThatItCanBeEdited()) {
        return status;
    }
    if (isToBeSaved() && !takeTurn(turn, path, secondsToWait)) {
        return NotDone;
    }
    const Look& look = stored.read();
    if (!look.isThere()) {
        complain(QLatin1String("cannot read ") % printable(path) % QLatin1String(": ") % look.problem());
        return Trouble;
    }
    return take(look.content) ? Done : Trouble;
}

bool OpenManifest::take(const QByteArray& content)
{
    QString problem;
    if (!parseManifest(path, content, originalManifest, problem)) {
        complain(problem);
        return false;
    }
    openHandler.setManifestJsonArray(originalManifest);
    if (!openHandler.getModuleName().isEmpty() || !openHandler.getObjectName().isEmpty()) {
        QJsonArray stamped = originalManifest;
        openHandler.addModuleAndObjectNameToManifest(stamped);
        openHandler.setManifestJsonArray(stamped);
    }
    return true;
}

ConfigurationManifestHandler& OpenManifest::handler()
{
    return openHandler;
}

const QJsonArray& OpenManifest::original() const
{
    return originalManifest;
}

bool OpenManifest::leadsSomewhere(const QString& elementPath, Qt::SplitBehavior emptyNames) const
{
    const QStringList names = elementPath.split(QLatin1Char('/'), emptyNames);
    QJsonArray siblings = openHandler.getManifestJsonArray();
    for (int level = 0; level < names.size(); ++level) {
        int index = -1;
        const QJsonObject element = openHandler.getElementFromInstance(siblings, names.at(level), index);
        if (index < 0) {
            const QString missing = names.mid(0, level + 1).join(QLatin1Char('/'));
            complain(QLatin1String("there is no element '") % printable(missing) % QLatin1Char('\''));
            return false;
        }
        siblings = element.value(SystemInformationManagerRegistryDefinitions::getKeySubstructure()).toArray();
    }
    return true;
}

bool OpenManifest::isForced() const
{
    return arguments.isSet(QStringLiteral("force"));
}

bool OpenManifest::isToBeSaved() const
{
    const auto isSet = [this](const QString& option) { return arguments.optionNames().contains(option); };
    return isSet(QStringLiteral("save")) && !isSet(QStringLiteral("dry-run")) && !isSet(QStringLiteral("print"));
}

void OpenManifest::expectChangeOf(const QString& elementPath)
{
    const TreeElements tree = treeOf(originalManifest);
    const TreeElement* const element = findElement(tree, elementPath, Qt::KeepEmptyParts);
    if (element != nullptr) {
        editedPositions.append(element->positions);
    }
}

void OpenManifest::expectChangeOfInstances(const QString& instanceName)
{
    appendPositions(treeOf(originalManifest), instanceName, editedPositions);
}

bool OpenManifest::accepts(const QString& key, const QJsonValue& present, const QJsonValue& value) const
{
    const QString problem = isForced() ? QString() : typeProblem(key, present, value);
    if (problem.isNull()) {
        return true;
    }
    QLatin1String remedy;
    if (!arguments.isSet(jsonOption().name)) {
        remedy = QLatin1String("; use --json for a value that is not a string");
    } else if (typeProblem(key, present, QString()).isNull()) {
        remedy = QLatin1String("; without --json, VALUE is taken as a string");
    }
    complain(printable(problem) % remedy);
    refuse();
    return false;
}

bool OpenManifest::acceptsAll(const QJsonObject& element, const QJsonObject& description) const
{
    if (isForced()) {
        return true;
    }
    for (auto member = description.constBegin(); member != description.constEnd(); ++member) {
        const QString problem = typeProblem(member.key(), element.value(member.key()), member.value());
        if (!problem.isNull()) {
            complain(printable(problem));
            refuse();
            return false;
        }
    }
    return true;
}

bool OpenManifest::doesDamage(Loss loss) const
{
    const QJsonArray now = openHandler.getManifestJsonArray();
    QStringList damages;
    const QVector<Finding> findings = added(originalManifest, now);
    for (const Finding& finding : findings) {
        damages.append(finding.place % QLatin1Char(' ') % finding.what);
    }
    if (loss != Loss::IsIntended) {
        const TreeElements lost = lostElements(originalManifest, now, editedPositions);
        for (const TreeElement& element : lost) {
            damages.append(describe(element) % QLatin1String(" would be lost"));
        }
    }
    if (loss == Loss::IsDamageLikeAddition && damages.isEmpty() && !isPermutation(originalManifest, now)) {
        damages.append(QStringLiteral("the result would not be the same elements in another order"));
    }
    for (const QString& damage : qAsConst(damages)) {
        complain(printable(damage));
    }
    return !damages.isEmpty();
}

ExitStatus OpenManifest::finish(const QString& whatHappened, Loss loss)
{
    if (!isForced() && doesDamage(loss)) {
        return refuse();
    }
    const QJsonArray now = openHandler.getManifestJsonArray();
    const QString shown = now != originalManifest ? whatHappened : QStringLiteral("unchanged");
    if (isToBeSaved()) {
        // Block signals until the result of the save has been printed.
        const HeldSignals held;
        if (const ExitStatus status = save()) {
            return status;
        }
        print(shown % QLatin1String("; saved"));
        return flushOutput() ? Done : SavedButNotPrinted;
    }
    if (arguments.isSet(QStringLiteral("print"))) {
        printJson(openHandler.getManifestContent());
        return Done;
    }
    if (arguments.isSet(QStringLiteral("dry-run"))) {
        const TreeElements treeBefore = treeOf(originalManifest);
        const TreeElements treeNow = treeOf(now);
        printChanges(differencesOf(treeBefore, treeNow, Stamps::Count));
    }
    print(shown % QLatin1String("; not saved"));
    return Done;
}

ExitStatus OpenManifest::refuse() const
{
    if (isForced()) {
        return Done;
    }
    complain(QStringLiteral("the change is refused; --force applies it anyway"));
    return NotDone;
}

ExitStatus OpenManifest::save()
{
    const SaveReport report = stored.save(openHandler.getManifestContent(), wishes, [this] {
        QVector<LibraryMessage> messages;
        {
            const KeptMessages kept(messages);
            openHandler.writeToManifestFile();
        }
        for (const LibraryMessage& message : qAsConst(messages)) {
            remark(message.line);
        }
        return messages.isEmpty();
    });
    if (report.result == SaveReport::Saved) {
        return Done;
    }
    complain(report.problem);
    return NotDone;
}
