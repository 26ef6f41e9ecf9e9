#include "ConfigurationManifestCreator.h"
#include "Elements.h"
#include "Files.h"
#include "Handlers.h"
#include "LibraryMessages.h"
#include "Literals.h"
#include "MessageRecorder.h"
#include "Process.h"
#include "QuickFolder.h"
#include "TestMain.h"
#include "faults/FaultyCalls.h"

#include <QtCore/QByteArrayList>
#include <QtCore/QDir>
#include <QtCore/QElapsedTimer>
#include <QtCore/QJsonDocument>
#include <QtCore/QMap>
#include <QtCore/QSet>
#include <QtCore/QThread>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstring>

#include <sys/stat.h>
#include <unistd.h>

namespace {

const QString manifestName = u"configuration.manifest.json"_qs;
const QString targetName = u"real.json"_qs;
const QByteArray previous = R"([{"instanceName":"previous","selectionType":"Node"}])";
constexpr mode_t previousMode = 0640;

/// A fault that is tried on each call of an operation in turn.
struct Trouble {
    const char* name;
    std::vector<Fault> (*faults)(const char* call, int number);
};

template <int error>
std::vector<Fault> failing(const char* call, int number)
{
    return {{call, number, number, error}};
}

std::vector<Fault> halfThenFailing(const char* call, int number)
{
    return {{call, number, number, Fault::Short}, {call, number + 1, number + 1, EIO}};
}

/// The names are those that metBy() returns.
constexpr Trouble troubles[] = {
    {"EIO", failing<EIO>},
    {"ENOSPC", failing<ENOSPC>},
    {"EMFILE", failing<EMFILE>},
    {"EACCES", failing<EACCES>},
    {"EINTR", failing<EINTR>},
};

constexpr Trouble troublesOfTransfers[] = {
    {"short", failing<Fault::Short>},
    {"short, EIO", halfThenFailing},
};

constexpr const char* calls[] = {"open", "make", "read", "write", "sync", "close", "link", "rename", "unlink",
    "readlink", "resolve", "stat", "fstat", "access", "chmod", "chown", "attribute", "seek", "list", "next", "end"};

std::vector<Trouble> troublesOf(const QByteArray& call)
{
    std::vector<Trouble> all(std::begin(troubles), std::end(troubles));
    if (call == "read" || call == "write") {
        all.insert(all.end(), std::begin(troublesOfTransfers), std::end(troublesOfTransfers));
    }
    return all;
}

/// The faults that took effect on the calls of a name.
QByteArray metBy(const QByteArray& call, const std::vector<FaultyCalls::Call>& made)
{
    QByteArrayList faults;
    for (const FaultyCalls::Call& one : made) {
        if (one.name != call.toStdString()) {
            continue;
        }
        if (one.error == Fault::Short) {
            faults.append("short");
        } else if (one.error > 0 && one.result < 0) {
            faults.append(strerrorname_np(one.error));
        }
    }
    return faults.join(", ");
}

int countOf(const std::vector<FaultyCalls::Call>& made, const char* call)
{
    return static_cast<int>(
        std::count_if(made.begin(), made.end(), [call](const FaultyCalls::Call& one) { return one.name == call; }));
}

/// The number of the first `call` on a file with one of these names, counted from 1 as in a Fault.
int numberOfFirst(const std::vector<FaultyCalls::Call>& made, const char* call, const QStringList& names)
{
    const auto first = std::find_if(made.begin(), made.end(), [&](const FaultyCalls::Call& one) {
        return one.name == call && names.contains(QFileInfo(QString::fromStdString(one.path)).fileName());
    });
    return countOf({made.begin(), first}, call) + 1;
}

constexpr Fault noFault {"none", 1, 1, 0};

int openFiles()
{
    return everythingIn(u"/proc/self/fd"_qs).size();
}

/// Everything that an operation leaves behind.
struct Result {
    bool value = true;
    Messages messages;
    /// What the handler holds; null for a creator.
    QByteArray memory;
    /// The content of the manifest file; null if there is none.
    QByteArray content;
    mode_t mode = 0;
    /// Whether the manifest is a symbolic link. `target` is the content of the file that the link points to, null if
    /// the manifest never was a link.
    bool isLink = false;
    QByteArray target = {};
};

bool operator==(const Result& a, const Result& b)
{
    return a.value == b.value && a.messages == b.messages && a.memory == b.memory && a.content == b.content
        && a.mode == b.mode && a.isLink == b.isLink && a.target == b.target;
}

char* toString(const Result& result)
{
    const char* const messages = toString(result.messages);
    const QByteArray text = QByteArray(result.value ? "true" : "false") + "\nmessages:\n" + messages
        + "\nmemory: " + result.memory.left(200) + "\ncontent: " + QByteArray::number(result.content.size())
        + " bytes, " + result.content.left(400) + "\nmode: " + QByteArray::number(result.mode, 8)
        + (result.isLink ? "\nlink to: " : "\nno link to: ") + result.target.left(400);
    delete[] messages;
    return qstrdup(text.constData());
}

/// A folder in which an operation runs once. It is the current folder, so that files with relative names are noticed.
class Place {
public:
    /// `linked` makes the manifest a symbolic link to another file.
    explicit Place(bool linked)
        : directory(quickFolder())
        , isLinked(linked)
    {
        chmod(qPrintable(directory.path()), 0700);
        QDir::setCurrent(directory.path());
    }
    ~Place()
    {
        QDir::setCurrent(previousFolder);
    }
    Q_DISABLE_COPY(Place)

    QString path(const QString& name = {}) const
    {
        return name.isEmpty() ? directory.path() : directory.filePath(name);
    }
    QString manifest() const
    {
        return path(manifestName);
    }
    /// The file that holds the manifest.
    QString target() const
    {
        return isLinked ? path(targetName) : manifest();
    }
    void writeManifest(const QByteArray& content) const
    {
        writeFile(target(), content);
        chmod(qPrintable(target()), previousMode);
        if (isLinked) {
            QFile::link(targetName, manifest());
        }
    }
    /// Reads the manifest even if its permissions forbid that.
    void takeManifest(Result& result) const
    {
        struct stat status = {};
        if (stat(qPrintable(manifest()), &status) == 0) {
            result.mode = status.st_mode & 07777;
            chmod(qPrintable(manifest()), 0600);
            result.content = readFile(manifest());
        }
        if (isLinked) {
            result.isLink = QFileInfo(manifest()).isSymLink();
            result.target = readFile(target());
        }
    }

private:
    const QString previousFolder = QDir::currentPath();
    const QTemporaryDir directory;
    const bool isLinked;
};

/// The call that failed. The tables below name calls by kind, file and number: "stat manifest 2" is the second stat
/// call on the manifest.
struct Failure {
    QByteArray call;
    QString path;
    int error = 0;
    /// Whether the temporary file has a name from the beginning.
    bool isNamed = false;
};

QByteArray subject(const Place& place, const QString& path)
{
    if (path == place.path()) {
        return "folder";
    }
    if (path == place.manifest()) {
        return place.manifest() == place.target() ? "manifest" : "link";
    }
    if (path == place.target()) {
        return "target";
    }
    if (path.endsWith(u" (deleted)"_qs) || path.startsWith(place.target() + u'.')
        || path.startsWith(place.manifest() + u'.')) {
        return "temporary";
    }
    return path.mid(place.path().size() + 1).toUtf8();
}

/// Whether Qt repeats the call when a signal interrupts it.
bool isRetried(const std::string& call)
{
    return call == "open" || call == "make" || call == "read" || call == "write" || call == "sync" || call == "close";
}

Failure failureIn(const Place& place, const std::vector<FaultyCalls::Call>& made, const Fault& fault)
{
    QMap<std::string, int> callsOfName;
    QMap<QByteArray, int> callsOfKind;
    for (const FaultyCalls::Call& call : made) {
        const QString path = QString::fromStdString(call.path);
        const QByteArray kind = QByteArray::fromStdString(call.name) + ' ' + subject(place, path);
        const int number = ++callsOfKind[kind];
        if (++callsOfName[call.name] == fault.first && call.name == fault.call && fault.error > 0
            && !(fault.error == EINTR && isRetried(call.name))) {
            return {kind + ' ' + QByteArray::number(number), path, fault.error,
                metBy("make", made).startsWith("EOPNOTSUPP")};
        }
    }
    return {};
}

/// The effect of a failing call on a save.
enum class Consequence {
    None,
    NotFound,
    NotOpened,
    NotWritten,
    /// The save reports success. The file is unchanged.
    Unnoticed,
    /// The group gets the permissions of others.
    GroupsPermissionsLost,
    /// The new file replaces the link. The target of the link is unchanged.
    LinkReplaced,
    ComplaintOfThePosition,
    ComplaintOfTheName,
};

/// The failure, counted without the first call of a kind, which is made before the save.
Failure withoutFirst(const QByteArray& kind, Failure failure)
{
    if (failure.call.startsWith(kind + ' ')) {
        failure.call = kind + ' ' + QByteArray::number(failure.call.mid(kind.size()).toInt() - 1);
    }
    return failure;
}

mode_t modeOfNewFile()
{
    const mode_t mask = umask(0);
    umask(mask);
    return 0666 & ~mask;
}

Consequence consequenceOfSaving(const Failure& failure)
{
    const QMap<QByteArray, Consequence> consequences {
        {"make folder 1", Consequence::NotOpened},
        {"make temporary 1", Consequence::NotOpened},
        // QSaveFile checks that the old file is writable.
        {"access manifest 2", Consequence::NotOpened},
        {"access link 2", Consequence::NotOpened},
        // QSaveFile follows the link.
        {"stat link 2", Consequence::LinkReplaced},
        // Without a name to rename to, Qt logs a warning. linkat() just fails.
        {"readlink link 1", failure.isNamed ? Consequence::ComplaintOfTheName : Consequence::Unnoticed},
        // The group bits may be the mask of an access control list.
        {"attribute manifest 1", Consequence::GroupsPermissionsLost},
        {"attribute target 1", Consequence::GroupsPermissionsLost},
        {"attribute temporary 1", Consequence::GroupsPermissionsLost},
        {"sync temporary 1", Consequence::NotWritten},
        {"seek temporary 1", Consequence::ComplaintOfThePosition},
        {"link manifest 1", Consequence::Unnoticed},
        {"link target 1", Consequence::Unnoticed},
        {"rename manifest 1", Consequence::Unnoticed},
        {"rename target 1", Consequence::Unnoticed},
    };
    if (failure.call.startsWith("write ")) {
        return Consequence::NotWritten;
    }
    return consequences.value(failure.call, Consequence::None);
}

Message complaintOfQt(const QString& text)
{
    return {QtWarningMsg, text, {}, {}, u"default"_qs, false};
}

const QString complaintOfThePosition = u"QFile::at: Cannot set file position 0"_qs;
const QString complaintOfTheName = u"Empty filename passed to function"_qs;

/// The result of an undisturbed run, changed by the effect of the failing call.
Result withConsequence(Result result, Consequence consequence, const Result& before, const Messages& messages)
{
    switch (consequence) {
    case Consequence::None:
        break;
    case Consequence::NotFound:
    case Consequence::NotOpened:
    case Consequence::NotWritten:
        result.messages += messages;
        Q_FALLTHROUGH();
    case Consequence::Unnoticed:
        result.content = before.content;
        result.mode = before.mode;
        break;
    case Consequence::GroupsPermissionsLost:
        result.mode = 0600;
        break;
    case Consequence::LinkReplaced:
        result.isLink = false;
        result.target = before.content;
        break;
    case Consequence::ComplaintOfThePosition:
        result.messages.append(complaintOfQt(complaintOfThePosition));
        break;
    case Consequence::ComplaintOfTheName:
        return withConsequence(result, Consequence::NotWritten, before, {complaintOfQt(complaintOfTheName)});
    }
    if (result.isLink) {
        result.target = result.content;
    }
    return result;
}

/// The bytes that were read of a file before reading failed.
QByteArray readOf(const QString& path, const QByteArray& content, const std::vector<FaultyCalls::Call>& made)
{
    long size = 0;
    for (const FaultyCalls::Call& call : made) {
        if (call.name == "read" && QString::fromStdString(call.path) == path && call.result > 0) {
            size += call.result;
        }
    }
    return content.left(static_cast<int>(size));
}

/// An operation, and its expected result when one call fails.
class Operation {
public:
    virtual ~Operation() = default;
    virtual void prepare(const Place& place) = 0;
    virtual void run(const Place& place, Result& result) = 0;
    virtual void look(const Place&, Result&)
    {
    }
    virtual Result expected(
        const Place& place, const Failure& failure, const std::vector<FaultyCalls::Call>& made) const = 0;

    bool large = false;
    /// The manifest is a symbolic link.
    bool linked = false;

protected:
    QString text() const
    {
        return QString(large ? 40000 : 20, u'x');
    }
    /// The name in the tables of the file at the manifest's path: a link or the manifest itself.
    QByteArray named() const
    {
        return linked ? "link" : "manifest";
    }
};

class Load : public Operation {
public:
    void prepare(const Place& place) override
    {
        content = compact({with(selection(u"a"_qs), u"text"_qs, text())});
        place.writeManifest(content);
        handler.reset(new Handler(place.manifest(), QString(), QString()));
        handler->setManifestJsonArray({u"loaded before"_qs});
    }
    void run(const Place&, Result&) override
    {
        handler->parseManifestFile();
    }
    void look(const Place&, Result& result) override
    {
        result.memory = handler->getManifestContent();
    }
    Result expected(
        const Place& place, const Failure& failure, const std::vector<FaultyCalls::Call>& made) const override
    {
        Result result {true, {}, content, content, previousMode, linked, linked ? content : QByteArray()};
        if (failure.call == "access " + named() + " 1") {
            result.messages = {fileToLoadIsMissing()};
        } else if (failure.call == "open " + named() + " 1") {
            result.messages = {fileCannotBeRead(place.manifest())};
        } else if (failure.call.startsWith("read ")) {
            QJsonParseError error;
            QJsonDocument::fromJson(readOf(place.target(), content, made), &error);
            if (error.error != QJsonParseError::NoError) {
                result.messages = {contentIsNotJson(error.errorString())};
            }
        }
        if (!result.messages.isEmpty()) {
            result.memory = "[]";
        }
        return result;
    }

private:
    QByteArray content;
    QScopedPointer<Handler> handler;
};

class EditAndSave : public Operation {
public:
    void prepare(const Place& place) override
    {
        place.writeManifest(previous);
        handler.reset(new Handler(place.manifest(), QString(), QString()));
        handler->parseManifestFile();
    }
    void run(const Place&, Result& result) override
    {
        result.value = handler->setProperty(u"previous"_qs, u"text"_qs, text(), true) && handler->getModified();
    }
    void look(const Place&, Result& result) override
    {
        result.memory = handler->getManifestContent();
    }
    Result expected(const Place& place, const Failure& failure, const std::vector<FaultyCalls::Call>&) const override
    {
        const QByteArray content = compact({with(node(u"previous"_qs), u"text"_qs, text())});
        // The handler checks for the file once before QSaveFile does.
        const Failure ofTheSave = withoutFirst("access " + named(), failure);
        const Consequence consequence =
            ofTheSave.call.endsWith(" 0") ? Consequence::NotFound : consequenceOfSaving(ofTheSave);
        return withConsequence({true, {}, content, content, previousMode, linked}, consequence,
            {true, {}, {}, previous, previousMode}, messagesOf(consequence, place));
    }

private:
    static Messages messagesOf(Consequence consequence, const Place& place)
    {
        return {consequence == Consequence::NotFound    ? fileToSaveIsMissing()
                : consequence == Consequence::NotOpened ? fileCannotBeWritten(place.manifest())
                                                        : fileNotWrittenCompletely()};
    }

    QScopedPointer<Handler> handler;
};

/// The description of an element that the scan below finds.
struct Description {
    QByteArray content;
    /// The members of the element, without the position.
    QJsonObject members;
    int position;
};

class Create : public Operation {
public:
    explicit Create(bool replacesManifest)
        : replaces(replacesManifest)
    {
    }

    void prepare(const Place& place) override
    {
        descriptions = {
            {u"a.config.json"_qs, describedAs(1, text())},
            {u"b.config.json"_qs, describedAs(2, u"b"_qs)},
            {u"Net/Folder.menu.json"_qs, describedAs(1, text())},
            {u"Net/port.config.json"_qs, describedAs(1, u"port"_qs)},
            {u"Net/Deep/inner.config.json"_qs, describedAs(1, u"inner"_qs)},
            {u"Other/page.config.json"_qs, describedAs(1, u"page"_qs)},
        };
        for (auto one = descriptions.cbegin(); one != descriptions.cend(); ++one) {
            writeFile(place.path(behind(one.key())), one->content);
        }
        writeFile(place.path(u"readme.txt"_qs), "");
        // A link to a folder. Only a stat of the target shows that it is a folder.
        QFile::link(place.path(behind(u"Other"_qs)), place.path(u"Other"_qs));
        if (replaces) {
            place.writeManifest(previous);
        }
    }
    void run(const Place& place, Result& result) override
    {
        result.value = ConfigurationManifestCreator().create2(place.path(), u"configuration"_qs);
    }
    Result expected(
        const Place& place, const Failure& failure, const std::vector<FaultyCalls::Call>& made) const override
    {
        const Result before {true, {}, {}, replaces ? previous : QByteArray(), replaces ? previousMode : 0, linked,
            linked ? previous : QByteArray()};
        Scan scan {place, failure, made, {}};
        if (scan.namesIn(QString()).isEmpty()) {
            return before;
        }
        const QByteArray content = compact(elementsOf(QString(), scan));
        // The listing calls stat for links.
        const Consequence consequence = consequenceOfSaving(withoutFirst("stat link", failure));
        Result result =
            withConsequence({true, scan.messages, {}, content, replaces ? previousMode : modeOfNewFile(), linked},
                consequence, before, messagesOf(consequence, place, content, made));
        result.value = consequence != Consequence::NotOpened && consequence != Consequence::NotWritten;
        return result;
    }

private:
    // The path after resolving "Other", which is a link.
    static QString behind(const QString& path)
    {
        return path.startsWith(u"Other"_qs) ? u'.' + path : path;
    }

    /// The calls of a scan, and the messages that it has to log.
    struct Scan {
        const Place& place;
        const Failure& failure;
        const std::vector<FaultyCalls::Call>& made;
        Messages messages;

        /// The entries that the system returned before a listing failed, sorted like a listing.
        QStringList namesIn(const QString& folder) const
        {
            const QString prefix = place.path(behind(folder)) + u'/';
            QStringList names;
            for (const FaultyCalls::Call& call : made) {
                const QString name = QString::fromStdString(call.path).mid(prefix.size());
                if (call.name == "next" && call.result == 0 && QString::fromStdString(call.path).startsWith(prefix)
                    && !name.startsWith(u'.') && !name.contains(u'/')) {
                    names.append(name);
                }
            }
            names.sort(Qt::CaseInsensitive);
            return names;
        }
    };

    static Description describedAs(int position, const QString& label)
    {
        const QJsonObject members {{u"labelTextId"_qs, label}, {u"hide"_qs, false}};
        return {QJsonDocument(with(members, u"displayPosition"_qs, position)).toJson(), members, position};
    }

    // The description as the scan reads it; empty and without a position when reading failed.
    Description seen(const QString& path, bool isFolder, Scan& scan) const
    {
        const Description described = descriptions.value(path);
        const QString absolute = scan.place.path(path);
        const QString real = scan.place.path(behind(path));
        const auto function = isFolder
            ? "void ConfigurationStructureElement::readFolderDescription(const QString&, QJsonObject&)"
            : "void ConfigurationStructureElement::readFileRootNodeDescription(const QString&, QJsonObject&)";
        if (scan.failure.path == absolute && scan.failure.call.startsWith("open ")) {
            scan.messages.append(warning(u"Can't open file  \"%1\"  IO Error:  \"%2\""_qs.arg(
                                             absolute, QString::fromLocal8Bit(strerror(scan.failure.error))),
                function));
        } else if (scan.failure.path == real && scan.failure.call.startsWith("read ")
            && readOf(real, described.content, scan.made) != described.content) {
            scan.messages.append(warning(u"Can't parse Json!\n"_qs, function));
        } else {
            return described;
        }
        return {{}, {}, -1};
    }

    Description seenOfFolder(const QString& folder, Scan& scan) const
    {
        const QString path = folder + u"/Folder.menu.json"_qs;
        if (descriptions.contains(path)) {
            return seen(path, true, scan);
        }
        // If this stat fails, the library does not take the path for a folder and logs nothing about its description.
        if (scan.failure.call != "stat " + folder.toUtf8() + (folder == u"Other"_qs ? " 2" : " 1")) {
            scan.messages.append(noFolderDescription());
        }
        return {{}, {}, -1};
    }

    QJsonArray elementsOf(const QString& folder, Scan& scan) const
    {
        struct Element {
            int position;
            bool isFolder;
            QString path;
            QJsonObject object;
        };
        QVector<Element> elements;
        const QStringList names = scan.namesIn(folder);
        for (const QString& name : names) {
            const QString path = folder.isEmpty() ? name : folder + u'/' + name;
            if (name == u"Net"_qs || name == u"Deep"_qs || name == u"Other"_qs) {
                const Description description = seenOfFolder(path, scan);
                if (description.position < 0) {
                    scan.messages.append(positionMissing());
                }
                QJsonObject object = description.members;
                object.insert(u"selectionType"_qs, u"Node"_qs);
                object.insert(u"dataSourceType"_qs, u"JsonData"_qs);
                object.insert(u"instanceName"_qs, name);
                elements.append({description.position, true, path, object});
            } else if (name.endsWith(u".config.json"_qs)) {
                const Description description = seen(path, false, scan);
                if (description.position < 0) {
                    scan.messages += {positionMissing(), hideMissing()};
                }
                const QString instance = path.chopped(static_cast<int>(qstrlen(".config.json")));
                elements.append({description.position, false, path,
                    {{u"labelTextId"_qs, description.members.value(u"labelTextId"_qs).toString()},
                        {u"dataModel"_qs, QString()}, {u"lastModified"_qs, QString()},
                        {u"selectionType"_qs, u"Selection"_qs}, {u"closeMode"_qs, u"Manual"_qs},
                        {u"uiJob"_qs, u"OpenConfiguration"_qs}, {u"hide"_qs, false}, {u"iconName"_qs, QString()},
                        {u"instanceName"_qs, instance}}});
            }
        }
        std::stable_sort(elements.begin(), elements.end(), [](const Element& a, const Element& b) {
            return a.isFolder != b.isFolder ? b.isFolder : a.position < b.position;
        });

        QJsonArray array;
        for (const Element& element : qAsConst(elements)) {
            if (!element.isFolder) {
                array.append(element.object);
                continue;
            }
            const QJsonArray children = elementsOf(element.path, scan);
            if (!children.isEmpty()) {
                array.append(with(element.object, u"substructure"_qs, children));
            }
        }
        return array;
    }

    Messages messagesOf(Consequence consequence, const Place& place, const QByteArray& content,
        const std::vector<FaultyCalls::Call>& made) const
    {
        if (consequence == Consequence::NotOpened) {
            return {manifestCannotBeOpened(place.manifest())};
        }
        // A large document is written directly, so the number of written bytes is known. A small one is buffered. The
        // number is -1 for a buffered document and after a failed sync.
        const auto half = std::find_if(made.begin(), made.end(),
            [](const FaultyCalls::Call& call) { return call.name == "write" && call.result > 0; });
        const bool isKnown = large && half != made.end() && half->result < content.size();
        return {manifestNotWrittenCompletely(isKnown ? static_cast<int>(half->result) : -1, content.size())};
    }

    const bool replaces;
    QMap<QString, Description> descriptions;
};

struct Run {
    Result result;
    Result expected;
    Failure failure;
    std::vector<FaultyCalls::Call> made;
    QStringList leftovers;
    int leaked;
};

Run runOnce(Operation& operation, const std::vector<Fault>& faults)
{
    const Place place(operation.linked);
    operation.prepare(place);
    const QStringList before = everythingIn(place.path());
    const int openBefore = openFiles();
    Run run;
    {
        MessageRecorder log;
        {
            const FaultyCalls faulty(place.path().toStdString(), faults);
            operation.run(place, run.result);
            run.made = faulty.made();
        }
        run.result.messages = log.take();
    }
    run.leaked = openFiles() - openBefore;
    operation.look(place, run.result);
    place.takeManifest(run.result);
    run.leftovers = everythingIn(place.path());
    for (const QString& name : before + QStringList(manifestName)) {
        run.leftovers.removeAll(name);
    }
    run.failure = failureIn(place, run.made, faults.back());
    run.expected = operation.expected(place, run.failure, run.made);
    return run;
}

using Operations = std::function<QSharedPointer<Operation>()>;
/// Reads a manifest in a place.
using Reading = std::function<QJsonArray(const Place& place)>;

template <typename Kind, bool... replaces>
QSharedPointer<Operation> make()
{
    return QSharedPointer<Operation>(new Kind(replaces...));
}

QStringList namesIn(const Result& result)
{
    QStringList names;
    const QJsonArray elements = arrayFrom(result.content.constData());
    for (const QJsonValue& element : elements) {
        names.append(element.toObject().value(u"instanceName"_qs).toString());
    }
    return names;
}

QByteArray described(const Run& run, const Result& untroubled)
{
    if (run.result == untroubled) {
        return "as if nothing had happened";
    }
    QByteArray text = run.result.content == untroubled.content ? "saved"
        : run.result.content == previous                       ? "previous manifest kept"
        : run.result.content.isNull()                          ? "no manifest"
                                                               : "manifest without what is missing";
    if (run.result.memory != untroubled.memory) {
        text = "nothing loaded";
    }
    if (run.result.mode != untroubled.mode && run.result.content == untroubled.content) {
        text += ", mode " + QByteArray::number(run.result.mode, 8);
    }
    if (run.result.isLink != untroubled.isLink) {
        text += " in the place of the link";
    }
    const bool isSilent = std::all_of(run.result.messages.begin(), run.result.messages.end(),
        [&](const Message& message) { return untroubled.messages.contains(message); });
    return text + (isSilent ? ", silently" : ", with a message");
}

} // namespace

Q_DECLARE_METATYPE(Operations)
Q_DECLARE_METATYPE(Reading)

class tst_Faults : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void everyFailingCallHasItsConsequence_data();
    void everyFailingCallHasItsConsequence();
    void manifestIsNeverWrittenDirectly();
    void failedSyncKeepsPreviousManifest_data();
    void failedSyncKeepsPreviousManifest();
    void fileSystemThatCannotSyncIsNoFailure_data();
    void fileSystemThatCannotSyncIsNoFailure();
    void interruptedSyncIsRepeated();
    void savesSyncFileBeforeItTakesItsPlaceAndFolderAfterwards_data();
    void savesSyncFileBeforeItTakesItsPlaceAndFolderAfterwards();
    void folderOfLinkTargetIsSynced();
    void errorAtCloseGoesUnnoticed();
    void failedLinkGoesUnnoticed();
    void temporaryFileThatCannotBeRemovedStays_data();
    void temporaryFileThatCannotBeRemovedStays();
    void failedSeekMakesQtLogMessage();
    void manifestReplacedAtEveryLookIsLoaded();
    void manifestReplacedAtEveryLookKeepsItsPermissions();
    void descriptionReplacedAtEveryLookIsNotReportedMissing();
    void groupKeepsItsPermissionsWithoutAccessLists();
    void groupLosesItsPermissionsIfAccessListsCannotBeRead();
    void permissionsThatCannotBeSetAreOwnersOnly();
    void linkThatCannotBeExaminedIsReplaced();
    void linkThatCannotBeReadKeepsPreviousManifest();
    void readErrorInManifestIsReportedAsSyntaxError();
    void readErrorInDescriptionLeavesElementEmpty();
    void listingCutShortLosesRestSilently();
    void listingCutShortAtOnceLeavesPreviousManifest();
    void folderThatCannotBeListedIsLostWithItsTree();
    void folderThatCannotBeExaminedIsNotReportedAsUndescribed();
    void linkedFolderThatCannotBeExaminedIsLost();
    void pipesAreWaitedFor_data();
    void pipesAreWaitedFor();
    void cleanupTestCase();

private:
    // The number of runs by operation, call, fault and effect.
    QMap<QByteArray, int> table;
};

void tst_Faults::everyFailingCallHasItsConsequence_data()
{
    QTest::addColumn<Operations>("operations");
    QTest::addColumn<QByteArray>("name");
    QTest::addColumn<bool>("large");
    QTest::addColumn<bool>("unnamed");
    QTest::addColumn<bool>("linked");
    QTest::addColumn<QByteArray>("necessary");

    // The calls that each operation must make.
    const struct {
        const char* name;
        QSharedPointer<Operation> (*make)();
        bool unnamed;
        bool linked;
        const char* necessary;
    } operations[] = {
        {"load", make<Load>, true, false, "access stat open fstat read close"},
        {"load, linked", make<Load>, true, true, "access stat open fstat read close"},
        {"save", make<EditAndSave>, true, false,
            "access stat make chmod fstat attribute write seek sync link close rename resolve open"},
        {"save", make<EditAndSave>, false, false,
            "access stat make chmod fstat attribute write seek sync close rename resolve open"},
        {"save, linked", make<EditAndSave>, true, true,
            "access stat readlink make chmod fstat attribute write seek sync link close rename resolve open"},
        {"save, linked", make<EditAndSave>, false, true,
            "access stat readlink make chmod fstat attribute write seek sync close rename resolve open"},
        {"create", make<Create, true>, true, false,
            "list next end open read access stat make chmod fstat attribute write seek sync link close rename resolve"},
        {"create", make<Create, true>, false, false,
            "list next end open read access stat make chmod fstat attribute write seek sync close rename resolve"},
        {"create, linked", make<Create, true>, true, true,
            "list next end open read access stat readlink make chmod fstat attribute write seek sync link close rename "
            "resolve"},
        {"create the first", make<Create, false>, true, false,
            "list next end open read access stat make fstat write seek sync link close resolve"},
        {"create the first", make<Create, false>, false, false,
            "list next end open read access stat make fstat write seek sync close rename resolve"},
    };
    for (const auto& operation : operations) {
        for (const bool large : {false, true}) {
            QTest::addRow("%s, %s, %s", operation.name, large ? "large" : "small",
                operation.unnamed ? "unnamed temporary file" : "named temporary file")
                << Operations(operation.make) << QByteArray(operation.name) << large << operation.unnamed
                << operation.linked << QByteArray(operation.necessary);
        }
    }
}

void tst_Faults::everyFailingCallHasItsConsequence()
{
    QFETCH(const Operations, operations);
    QFETCH(const QByteArray, name);
    QFETCH(const bool, large);
    QFETCH(const bool, unnamed);
    QFETCH(const bool, linked);
    QFETCH(const QByteArray, necessary);

    const QSharedPointer<Operation> operation = operations();
    operation->large = large;
    operation->linked = linked;
    const auto runWith = [&](const std::vector<Fault>& more) {
        std::vector<Fault> faults = faultsOfTheFileSystem(unnamed);
        faults.insert(faults.end(), more.begin(), more.end());
        return runOnce(*operation, faults);
    };
    const Run untroubled = runWith({noFault});
    for (const QByteArray& call : necessary.split(' ')) {
        QVERIFY2(countOf(untroubled.made, call.constData()) > 0, call.constData());
    }

    QSet<QByteArray> met;
    const auto tryOn = [&](const char* call, const Trouble& trouble) {
        for (int number = 1;; ++number) {
            const Run run = runWith(trouble.faults(call, number));
            const QByteArray where =
                QByteArray(call) + ' ' + QByteArray::number(number) + ' ' + trouble.name + ": " + run.failure.call;
            QVERIFY2(run.leaked == 0, where.constData());
            QVERIFY2(run.leftovers.isEmpty(), where.constData());
            if (!(run.result == run.expected)) {
                qInfo("%s", where.constData());
            }
            QCOMPARE(run.result.messages, run.expected.messages);
            QCOMPARE(run.result.content, run.expected.content);
            QCOMPARE(run.result, run.expected);
            if (countOf(run.made, call) < number) {
                return;
            }
            met.insert(call + QByteArray(" meets ") + metBy(call, run.made));
            const bool isError = qstrcmp(trouble.name, "EINTR") != 0 && trouble.faults != failing<Fault::Short>;
            ++table[name.leftJustified(18) + QByteArray(call).leftJustified(9)
                + QByteArray(isError ? "error" : trouble.name).leftJustified(7) + described(run, untroubled.expected)];
        }
    };

    for (const char* const call : calls) {
        for (const Trouble& trouble : troublesOf(call)) {
            tryOn(call, trouble);
        }
    }
    for (const QByteArray& call : necessary.split(' ')) {
        for (const Trouble& trouble : troublesOf(call)) {
            const QByteArray wanted = call + " meets " + trouble.name;
            QVERIFY2(met.contains(wanted), wanted.constData());
        }
    }
}

void tst_Faults::manifestIsNeverWrittenDirectly()
{
    EditAndSave edit;
    QVERIFY(countOf(runOnce(edit, {noFault}).made, "write") > 0);
    const Run run = runOnce(edit, {{"make", 1, 1, EACCES}});
    QCOMPARE(countOf(run.made, "write"), 0);
    QCOMPARE(run.result.content, previous);
    QCOMPARE(run.result.messages.size(), 1);
}

void tst_Faults::failedSyncKeepsPreviousManifest_data()
{
    QTest::addColumn<Operations>("operations");
    QTest::addColumn<int>("error");
    QTest::addColumn<Message>("message");

    const Message notSaved = fileNotWrittenCompletely();
    const Message notCreated = manifestNotWrittenCompletely(-1, 80);
    for (const int error : {EIO, ENOSPC, EDQUOT, EROFS, EBADF}) {
        QTest::addRow("save, %s", strerrorname_np(error)) << Operations(make<EditAndSave>) << error << notSaved;
        QTest::addRow("create, %s", strerrorname_np(error)) << Operations(make<Create, true>) << error << notCreated;
    }
}

void tst_Faults::failedSyncKeepsPreviousManifest()
{
    QFETCH(const Operations, operations);
    QFETCH(const int, error);
    QFETCH(Message, message);

    const Run run = runOnce(*operations(), {{"sync", 1, 1, error}});
    QCOMPARE(run.failure.call, QByteArray("sync temporary 1"));
    QCOMPARE(run.result.content, previous);
    QCOMPARE(run.result.mode, previousMode);
    QCOMPARE(countOf(run.made, "rename"), 0);
    QVERIFY(run.leftovers.isEmpty());
    QCOMPARE(run.result.messages.size(), run.expected.messages.size());
    Message last = run.result.messages.constLast();
    if (message.text.contains(u"-1"_qs)) {
        // The size in the message depends on the descriptions.
        QVERIFY(last.text.startsWith(u"Manifest file was not successful written: -1 , "_qs));
        last.text = message.text;
    }
    QCOMPARE(last, message);
}

void tst_Faults::fileSystemThatCannotSyncIsNoFailure_data()
{
    QTest::addColumn<int>("error");
    QTest::newRow("EINVAL") << EINVAL;
    QTest::newRow("ENOSYS") << ENOSYS;
}

void tst_Faults::fileSystemThatCannotSyncIsNoFailure()
{
    QFETCH(const int, error);
    EditAndSave edit;
    const Run run = runOnce(edit, {{"sync", 1, INT_MAX, error}});
    QCOMPARE(run.failure.call, QByteArray("sync temporary 1"));
    QCOMPARE(run.result.messages, Messages());
    QCOMPARE(run.result.content, run.result.memory);
}

void tst_Faults::interruptedSyncIsRepeated()
{
    EditAndSave edit;
    const Run run = runOnce(edit, {{"sync", 1, 3, EINTR}});
    QCOMPARE(run.result.messages, Messages());
    QCOMPARE(run.result.content, run.result.memory);
    // Three interrupted syncs, then one by the library, one by Qt, and one of the folder.
    QCOMPARE(countOf(run.made, "sync"), 6);
}

void tst_Faults::savesSyncFileBeforeItTakesItsPlaceAndFolderAfterwards_data()
{
    QTest::addColumn<Operations>("operations");
    QTest::addColumn<bool>("unnamed");
    QTest::addColumn<bool>("linked");

    for (const bool unnamed : {true, false}) {
        for (const bool linked : {true, false}) {
            const char* const file = unnamed ? "unnamed" : "named";
            const char* const link = linked ? ", linked" : "";
            QTest::addRow("save, %s%s", file, link) << Operations(make<EditAndSave>) << unnamed << linked;
            QTest::addRow("create, %s%s", file, link) << Operations(make<Create, true>) << unnamed << linked;
        }
    }
}

void tst_Faults::savesSyncFileBeforeItTakesItsPlaceAndFolderAfterwards()
{
    QFETCH(const Operations, operations);
    QFETCH(const bool, unnamed);
    QFETCH(const bool, linked);

    const QSharedPointer<Operation> operation = operations();
    operation->linked = linked;
    std::vector<Fault> faults = faultsOfTheFileSystem(unnamed);
    faults.push_back(noFault);
    const Run run = runOnce(*operation, faults);
    QByteArrayList order;
    for (const FaultyCalls::Call& call : run.made) {
        const QString path = QString::fromStdString(call.path);
        if (call.name == "write" || call.name == "rename") {
            order.append(QByteArray::fromStdString(call.name));
        } else if (call.name == "sync") {
            const bool isFile = path.endsWith(u" (deleted)"_qs) || path.contains(u".json."_qs);
            order.append(isFile ? "sync of the file" : "sync of the folder");
        }
    }
    // The second sync of the file is made by QSaveFile::commit().
    QCOMPARE(order, QByteArrayList({"write", "sync of the file", "sync of the file", "rename", "sync of the folder"}));
}

void tst_Faults::folderOfLinkTargetIsSynced()
{
    const Place place(false);
    writeFile(place.path(u"target/real.json"_qs), previous);
    writeFile(place.path(u"links/readme.txt"_qs), "");
    const QString link = place.path(u"links/manifest.json"_qs);
    QVERIFY(QFile::link(u"../target/real.json"_qs, link));
    Handler handler(link, QString(), QString());
    handler.parseManifestFile();

    const FaultyCalls faulty(place.path().toStdString(), {});
    handler.writeToManifestFile();
    const FaultyCalls::Call& close = faulty.made().back();
    const FaultyCalls::Call& sync = *(faulty.made().end() - 2);
    QCOMPARE(QByteArray::fromStdString(close.name + ' ' + close.path), "close " + place.path(u"target"_qs).toUtf8());
    QCOMPARE(QByteArray::fromStdString(sync.name + ' ' + sync.path), "sync " + place.path(u"target"_qs).toUtf8());
}

void tst_Faults::errorAtCloseGoesUnnoticed()
{
    EditAndSave edit;
    const Run run = runOnce(edit, {{"close", 1, INT_MAX, ENOSPC}});
    QCOMPARE(run.failure.call, QByteArray("close temporary 1"));
    QCOMPARE(run.result.messages, Messages());
    QCOMPARE(run.result.content, run.result.memory);
}

void tst_Faults::failedLinkGoesUnnoticed()
{
    EditAndSave edit;
    const Run run = runOnce(edit, {{"link", 1, INT_MAX, EIO}});
    QCOMPARE(run.result.messages, Messages());
    QCOMPARE(run.result.content, previous);
    QVERIFY(run.result.value);
}

void tst_Faults::temporaryFileThatCannotBeRemovedStays_data()
{
    QTest::addColumn<Operations>("operations");
    QTest::addColumn<QByteArray>("call");
    QTest::addColumn<bool>("unnamed");
    QTest::addColumn<bool>("stays");

    const struct {
        const char* name;
        QSharedPointer<Operation> (*make)();
        const char* call;
        bool unnamed;
        bool stays;
    } saves[] = {
        {"edit and save", make<EditAndSave>, "write", true, false},
        {"edit and save", make<EditAndSave>, "write", false, true},
        {"edit and save", make<EditAndSave>, "link", true, false},
        {"edit and save", make<EditAndSave>, "rename", true, true},
        {"edit and save", make<EditAndSave>, "rename", false, true},
        {"create", make<Create, true>, "write", true, false},
        {"create", make<Create, true>, "write", false, true},
        {"create", make<Create, true>, "link", true, false},
        {"create", make<Create, true>, "rename", true, true},
        {"create", make<Create, true>, "rename", false, true},
        {"create the first", make<Create, false>, "write", true, false},
        {"create the first", make<Create, false>, "write", false, true},
        // Without an old file the link succeeds under the final name, and nothing is renamed.
        {"create the first", make<Create, false>, "link", true, false},
        {"create the first", make<Create, false>, "rename", false, true},
    };
    for (const auto& save : saves) {
        QTest::addRow("%s, %s, %s", save.name, save.call, save.unnamed ? "unnamed" : "named")
            << Operations(save.make) << QByteArray(save.call) << save.unnamed << save.stays;
    }
}

void tst_Faults::temporaryFileThatCannotBeRemovedStays()
{
    QFETCH(const Operations, operations);
    QFETCH(const QByteArray, call);
    QFETCH(const bool, unnamed);
    QFETCH(const bool, stays);

    const QSharedPointer<Operation> operation = operations();
    std::vector<Fault> faults = faultsOfTheFileSystem(unnamed);
    faults.push_back({"unlink", 1, INT_MAX, EACCES});
    faults.push_back({call.constData(), 1, INT_MAX, EIO});
    const Run run = runOnce(*operation, faults);
    QVERIFY(run.failure.call.startsWith(call));
    QVERIFY(run.result.content == previous || run.result.content.isNull());
    QCOMPARE(run.result, run.expected);
    QCOMPARE(countOf(run.made, "unlink") > 0, stays);
    QCOMPARE(run.leftovers.size(), stays ? 1 : 0);
    for (const QString& name : run.leftovers) {
        QVERIFY2(isTemporaryFileOf(manifestName, name), qPrintable(name));
    }
}

void tst_Faults::failedSeekMakesQtLogMessage()
{
    EditAndSave edit;
    const Run run = runOnce(edit, {{"seek", 1, 1, EIO}});
    QCOMPARE(run.failure.call, QByteArray("seek temporary 1"));
    QCOMPARE(run.result.messages, Messages({complaintOfQt(complaintOfThePosition)}));
    QCOMPARE(run.result.content, run.result.memory);
}

void tst_Faults::manifestReplacedAtEveryLookIsLoaded()
{
    Load load;
    const Run run = runOnce(load, {{"stat", 1, INT_MAX, Fault::Replaced}, {"fstat", 1, INT_MAX, Fault::Replaced}});
    QCOMPARE(run.result.messages, Messages());
    QVERIFY(run.result.memory != "[]");
    QCOMPARE(run.result.memory, run.result.content);
}

void tst_Faults::manifestReplacedAtEveryLookKeepsItsPermissions()
{
    EditAndSave edit;
    const Run run = runOnce(edit, {{"stat", 1, INT_MAX, Fault::Replaced}});
    QCOMPARE(run.result.messages, Messages());
    QCOMPARE(run.result.content, run.result.memory);
    QCOMPARE(run.result.mode, previousMode);
}

void tst_Faults::descriptionReplacedAtEveryLookIsNotReportedMissing()
{
    Create create(true);
    const Run whole = runOnce(create, {noFault});
    const int number = numberOfFirst(whole.made, "open", {u"a.config.json"_qs});
    const Run run = runOnce(create, {{"stat", 1, INT_MAX, Fault::Replaced}, {"open", number, number, EACCES}});
    QCOMPARE(run.failure.call, QByteArray("open a.config.json 1"));
    const auto isOfTheFile = [](const Message& message) {
        return message.function.contains(u"readFileRootNodeDescription"_qs);
    };
    const auto reported = std::find_if(run.result.messages.begin(), run.result.messages.end(), isOfTheFile);
    QVERIFY(reported != run.result.messages.end());
    QCOMPARE(reported->level, QtWarningMsg);
    QVERIFY2(reported->text.contains(u"Permission denied"_qs), qPrintable(reported->text));
}

void tst_Faults::groupKeepsItsPermissionsWithoutAccessLists()
{
    EditAndSave edit;
    const Run run = runOnce(edit, {{"attribute", 1, INT_MAX, EOPNOTSUPP}});
    QCOMPARE(run.failure.call, QByteArray("attribute manifest 1"));
    QCOMPARE(run.result.mode, previousMode);
}

void tst_Faults::groupLosesItsPermissionsIfAccessListsCannotBeRead()
{
    EditAndSave edit;
    const Run run = runOnce(edit, {{"attribute", 1, INT_MAX, EIO}});
    QCOMPARE(run.failure.call, QByteArray("attribute manifest 1"));
    QCOMPARE(run.result.mode, mode_t(0600));
}

void tst_Faults::permissionsThatCannotBeSetAreOwnersOnly()
{
    EditAndSave edit;
    const Run run = runOnce(edit, {{"chmod", 1, INT_MAX, EPERM}});
    QCOMPARE(run.failure.call, QByteArray("chmod temporary 1"));
    QCOMPARE(run.result.mode, mode_t(0600));
    QCOMPARE(run.result.content, run.result.memory);
    QCOMPARE(run.result.messages, Messages());
}

void tst_Faults::linkThatCannotBeExaminedIsReplaced()
{
    EditAndSave edit;
    edit.linked = true;
    const Run run = runOnce(edit, {{"stat", 3, 3, EIO}});
    QCOMPARE(run.failure.call, QByteArray("stat link 2"));
    QVERIFY(!run.result.isLink);
    QCOMPARE(run.result.content, run.result.memory);
    QCOMPARE(run.result.target, previous);
    QCOMPARE(run.result.messages, Messages());
}

void tst_Faults::linkThatCannotBeReadKeepsPreviousManifest()
{
    EditAndSave edit;
    edit.linked = true;
    const Run run = runOnce(edit, {{"readlink", 1, 1, EIO}});
    QVERIFY(run.result.isLink);
    QVERIFY(run.result.memory != previous);
    QCOMPARE(run.result.target, previous);
    QCOMPARE(run.result.messages, Messages());
}

void tst_Faults::readErrorInManifestIsReportedAsSyntaxError()
{
    Load load;
    load.large = true;
    const Run run = runOnce(load, halfThenFailing("read", 1));
    QCOMPARE(run.result.messages, Messages({contentIsNotJson(u"unterminated string"_qs)}));
    QCOMPARE(run.result.memory, QByteArray("[]"));
}

void tst_Faults::readErrorInDescriptionLeavesElementEmpty()
{
    Create create(true);
    const Run run = runOnce(create, {{"read", 1, 1, EIO}});
    QCOMPARE(run.failure.call, QByteArray("read a.config.json 1"));
    QVERIFY(run.result.value);
    QVERIFY(run.result.messages.contains(fileNotJson()));
    const QJsonObject first = arrayFrom(run.result.content.constData()).first().toObject();
    QCOMPARE(first.value(u"instanceName"_qs).toString(), u"a"_qs);
    QCOMPARE(first.value(u"labelTextId"_qs).toString(), QString());
}

void tst_Faults::listingCutShortLosesRestSilently()
{
    Create create(true);
    const Run whole = runOnce(create, {noFault});
    // The order of readdir is not defined.
    const int number =
        numberOfFirst(whole.made, "next", {u"a.config.json"_qs, u"b.config.json"_qs, u"Net"_qs, u"Other"_qs});
    const Run run = runOnce(create, {{"next", number + 1, number + 1, EIO}});
    QVERIFY(run.result.value);
    QVERIFY(run.result.content != previous);
    QVERIFY(run.result.content.size() < whole.result.content.size());
    for (const Message& message : run.result.messages) {
        QVERIFY(whole.result.messages.contains(message));
    }
}

void tst_Faults::listingCutShortAtOnceLeavesPreviousManifest()
{
    Create create(true);
    const Run run = runOnce(create, {{"next", 1, 1, EIO}});
    QVERIFY(run.result.value);
    QCOMPARE(run.result.messages, Messages());
    QCOMPARE(run.result.content, previous);
}

void tst_Faults::folderThatCannotBeListedIsLostWithItsTree()
{
    Create create(true);
    const Run whole = runOnce(create, {noFault});
    QCOMPARE(namesIn(whole.result), QStringList({u"a"_qs, u"b"_qs, u"Other"_qs, u"Net"_qs}));
    const int number = numberOfFirst(whole.made, "list", {u"Net"_qs});
    const Run run = runOnce(create, {{"list", number, number, EACCES}});
    QCOMPARE(run.failure.call, QByteArray("list Net 1"));
    QVERIFY(run.result.value);
    QCOMPARE(namesIn(run.result), QStringList({u"a"_qs, u"b"_qs, u"Other"_qs}));
    // The messages are about the folder "Other".
    QCOMPARE(run.result.messages, Messages({noFolderDescription(), positionMissing()}));
}

void tst_Faults::folderThatCannotBeExaminedIsNotReportedAsUndescribed()
{
    Create create(true);
    const Run whole = runOnce(create, {noFault});
    const int number = numberOfFirst(whole.made, "stat", {u"Deep"_qs});
    const Run run = runOnce(create, {{"stat", number, number, EACCES}});
    QCOMPARE(run.failure.call, QByteArray("stat Net/Deep 1"));
    QCOMPARE(whole.result.messages.count(noFolderDescription()), 2);
    // The first two messages are about the folder "Other".
    QCOMPARE(run.result.messages, Messages({noFolderDescription(), positionMissing(), positionMissing()}));
    QCOMPARE(run.result.content, whole.result.content);
}

void tst_Faults::linkedFolderThatCannotBeExaminedIsLost()
{
    Create create(true);
    const Run run = runOnce(create, {{"stat", 1, INT_MAX, EACCES}});
    QVERIFY(run.result.value);
    QCOMPARE(namesIn(run.result), QStringList({u"a"_qs, u"b"_qs, u"Net"_qs}));
    // The message is about the folder "Net/Deep".
    QCOMPARE(run.result.messages, Messages({positionMissing()}));
}

void tst_Faults::pipesAreWaitedFor_data()
{
    QTest::addColumn<QString>("pipe");
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<Reading>("reading");

    const Reading load = [](const Place& place) {
        Handler handler(place.manifest(), QString(), QString());
        handler.parseManifestFile();
        return handler.getManifestJsonArray();
    };
    const Reading scan = [](const Place& place) {
        return ConfigurationManifestCreator().create2(place.path(), u"configuration"_qs)
            ? arrayFrom(readFile(place.manifest()).constData())
            : QJsonArray();
    };
    const QByteArray description = R"({"labelTextId":"late","displayPosition":1,"hide":false})";
    QTest::newRow("manifest") << manifestName << QByteArray('[' + description + ']') << load;
    QTest::newRow("description of a folder") << u"Net/Folder.menu.json"_qs << description << scan;
    QTest::newRow("description of a file, behind a link") << u"pipe"_qs << description << scan;
}

void tst_Faults::pipesAreWaitedFor()
{
    QFETCH(const QString, pipe);
    QFETCH(const QByteArray, content);
    QFETCH(const Reading, reading);
    constexpr int delay = 200;
    const Place place(false);
    for (const QString& name : {u"Net/Folder.menu.json"_qs, u"Net/port.config.json"_qs}) {
        writeFile(place.path(name), R"({"displayPosition":1,"hide":false})");
    }
    QVERIFY(QFile::link(u"pipe"_qs, place.path(u"a.config.json"_qs)));
    QFile::remove(place.path(pipe));
    QCOMPARE(mkfifo(qPrintable(place.path(pipe)), 0600), 0);

    MessageRecorder log;
    QElapsedTimer timer;
    timer.start();
    Process writer([&] {
        QThread::msleep(delay);
        writeFile(place.path(pipe), content);
    });
    const QJsonObject first = reading(place).first().toObject();
    QVERIFY(timer.elapsed() >= delay);
    QCOMPARE(first.value(u"labelTextId"_qs).toString(), u"late"_qs);
    QCOMPARE(log.take(), Messages());
    QVERIFY(writer.wait());
}

void tst_Faults::cleanupTestCase()
{
    int runs = 0;
    for (auto row = table.cbegin(); row != table.cend(); ++row) {
        qInfo("%5d  %s", row.value(), row.key().constData());
        runs += row.value();
    }
    qInfo("%5d  failing calls in all", runs);
}

MANIFEST_TEST_MAIN(tst_Faults)

#include "tst_faults.moc"
