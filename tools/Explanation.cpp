#include "Explanation.h"

#include "ConfigurationAndProcessDataDefinitions.h"
#include "ConfigurationStructureElement.h"
#include "Descriptor.h"
#include "NearestWord.h"
#include "SystemInformationManagerRegistryDefinitions.h"

#include <QtCore/QFile>
#include <QtCore/QJsonArray>
#include <QtCore/QJsonDocument>
#include <QtCore/QStringBuilder>

#include <algorithm>
#include <array>
#include <cerrno>
#include <map>
#include <memory>
#include <utility>
#include <vector>

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

using Registry = SystemInformationManagerRegistryDefinitions;
using Element = ConfigurationStructureElement;

namespace {

QString below(const QString& folder, const QString& name)
{
    return folder.isEmpty() ? name : QString(folder % QLatin1Char('/') % name);
}

QString quoted(const QString& text)
{
    return QLatin1Char('\'') % text % QLatin1Char('\'');
}

QString lastName(const QString& path)
{
    return path.mid(path.lastIndexOf(QLatin1Char('/')) + 1);
}

bool isText(const QByteArray& name)
{
    return QFile::encodeName(QFile::decodeName(name)) == name;
}

// The name as text. If it is not valid UTF-8, all bytes other than printable ASCII are escaped.
QString textOf(const QByteArray& name)
{
    if (isText(name)) {
        return QFile::decodeName(name);
    }
    QString text;
    for (const char byte : name) {
        const bool isPlain = byte >= ' ' && byte <= '~';
        text += isPlain ? QString(QLatin1Char(byte))
                        : QStringLiteral("\\x%1").arg(static_cast<uchar>(byte), 2, 16, QLatin1Char('0'));
    }
    return text;
}

// The word for an entry that is neither a file nor a folder.
const char* wordFor(mode_t mode)
{
    return S_ISFIFO(mode) ? "a pipe" : S_ISSOCK(mode) ? "a socket" : "a device";
}

struct CloseFolder {
    void operator()(DIR* folder) const
    {
        closedir(folder);
    }
};

// Reads the sorted names of all entries of a folder. Returns the error number.
int readNames(const QByteArray& path, std::vector<QByteArray>& names)
{
    const std::unique_ptr<DIR, CloseFolder> folder(opendir(path.constData()));
    if (folder == nullptr) {
        return errno;
    }
    errno = 0;
    while (const dirent* const entry = readdir(folder.get())) {
        const QByteArray name(entry->d_name);
        if (name != "." && name != "..") {
            names.push_back(name);
        }
        errno = 0;
    }
    const int error = errno;
    std::sort(names.begin(), names.end());
    return error;
}

struct Description {
    enum class State { Missing, Read, Damaged, NoFile };

    State state = State::Missing;
    QJsonObject object;
    Damage damage;
};

Description damaged(const QString& text, int line = 0, int column = 0)
{
    Description description;
    description.state = Description::State::Damaged;
    description.damage = {text, line, column};
    return description;
}

Description unreadable(int error)
{
    return damaged(QLatin1String("unreadable: ") % qt_error_string(error));
}

bool startsCharacter(char byte)
{
    return (static_cast<uchar>(byte) & 0xC0) != 0x80;
}

// Describes a parse error. The parser got the text without carriage returns, so its offset is converted to one in the
// file.
Description notJson(const QByteArray& content, const QJsonParseError& error)
{
    int line = 1;
    int lineStart = content.startsWith("\xEF\xBB\xBF") ? 3 : 0;
    int place = 0;
    for (int offset = 0; place < content.size() && (offset < error.offset || content.at(place) == '\r'); ++place) {
        offset += content.at(place) == '\r' ? 0 : 1;
        if (content.at(place) == '\n') {
            ++line;
            lineStart = place + 1;
        }
    }
    int column = 1;
    for (int i = lineStart; i < place; ++i) {
        const bool endsLine = content.at(i) == '\r' && (i + 1 == content.size() || content.at(i + 1) == '\n');
        column += startsCharacter(content.at(i)) && !endsLine ? 1 : 0;
    }
    return damaged(QLatin1String("not JSON: ") % error.errorString(), line, column);
}

Description parse(const QByteArray& content)
{
    QByteArray text = content;
    if (text.contains('\r')) {
        text.replace("\r", "");
    }
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(text, &error);
    if (error.error != QJsonParseError::NoError) {
        return notJson(content, error);
    }
    if (!document.isObject()) {
        return damaged(QStringLiteral("holds a JSON array instead of an object"));
    }
    Description description;
    description.state = Description::State::Read;
    description.object = document.object();
    return description;
}

Description noFile(mode_t mode)
{
    const QLatin1String word(S_ISDIR(mode) ? "a folder" : wordFor(mode));
    Description description = damaged(QLatin1String("is ") % word % QLatin1String(", not a file"));
    description.state = Description::State::NoFile;
    return description;
}

// Reads description files, one at a time.
class DescriptionReader {
public:
    // The scan has refused pipes and devices before, so opening cannot block.
    Description read(const QByteArray& path)
    {
        const Descriptor file(open(path.constData(), O_RDONLY | O_NONBLOCK | O_CLOEXEC | O_NOCTTY));
        struct stat status = {};
        if (!file.isOpen()) {
            const int error = errno;
            return error == ENOENT && lstat(path.constData(), &status) != 0 ? Description() : unreadable(error);
        }
        if (const int error = readContent(file.get())) {
            return fstat(file.get(), &status) == 0 && !S_ISREG(status.st_mode) ? noFile(status.st_mode)
                                                                               : unreadable(error);
        }
        return parse(QByteArray::fromRawData(buffer.constData(), length));
    }

private:
    // Returns the error number.
    int readContent(int file)
    {
        length = 0;
        for (;;) {
            const ssize_t count =
                ::read(file, buffer.data() + length, static_cast<std::size_t>(buffer.size() - length));
            if (count < 0 && errno != EINTR) {
                return errno;
            }
            length += count > 0 ? static_cast<int>(count) : 0;
            // A regular file returns fewer bytes than asked for only at its end.
            if (count >= 0 && length < buffer.size()) {
                return 0;
            }
            if (length == most) {
                return EFBIG;
            }
            if (length == buffer.size()) {
                buffer.resize(qMin(2 * length, most));
            }
        }
    }

    static constexpr int most = 1 << 30;

    // Reused for every file.
    QByteArray buffer {1 << 16, Qt::Uninitialized};
    int length = 0;
};

QString wordFor(QJsonValue::Type type)
{
    switch (type) {
    case QJsonValue::Null:
        return QStringLiteral("null");
    case QJsonValue::Bool:
        return QStringLiteral("a bool");
    case QJsonValue::Double:
        return QStringLiteral("a number");
    case QJsonValue::String:
        return QStringLiteral("a string");
    case QJsonValue::Array:
        return QStringLiteral("an array");
    case QJsonValue::Object:
        return QStringLiteral("an object");
    case QJsonValue::Undefined:
        break;
    }
    return QStringLiteral("undefined");
}

// The value as JSON text if that is short, otherwise its type.
QString inShort(const QJsonValue& value)
{
    if (value.isArray() || value.isObject()) {
        return wordFor(value.type());
    }
    constexpr int longest = 40;
    // QJsonDocument holds only arrays and objects, so the value is wrapped in an array.
    const QByteArray array = QJsonDocument(QJsonArray {value}).toJson(QJsonDocument::Compact);
    const QString text = QString::fromUtf8(array.chopped(1).mid(1));
    return text.size() <= longest ? text : wordFor(value.type());
}

// Finds out which keys the library takes from a description, by making elements of sample descriptions.
class KeyTrials {
public:
    explicit KeyTrials(bool forNodes)
        : isNode(forNodes)
        , withoutDescription(made(QJsonObject()).getElementAsJsonObject())
    {
    }

    /// The result of trying a key.
    struct Tried {
        bool takes(const QJsonValue& value) const
        {
            return types.contains(value.type());
        }

        /// Types of values that the library takes from a description.
        QVector<QJsonValue::Type> types;
        /// The value in an element without a description; undefined if such an element does not have the key.
        QJsonValue usualValue;
    };
    using Trial = std::pair<const QString, Tried>;

    /// Returns the result for a key of one of the two objects. If it has not been tried yet, tries all new keys of both
    /// objects at once.
    const Trial& find(const QString& key, const QJsonObject& description, const QJsonObject& element)
    {
        // Most objects have the same keys, and they are asked for in order. So the next result is usually the right
        // one.
        if (next == tried.end() || next->first != key) {
            next = tried.find(key);
        }
        if (next != tried.end()) {
            return *next++;
        }
        QStringList untried(key);
        tried.emplace(key, Tried());
        for (const QJsonObject* const object : {&description, &element}) {
            for (auto member = object->begin(); member != object->end(); ++member) {
                if (tried.emplace(member.key(), Tried()).second) {
                    untried.append(member.key());
                }
            }
        }
        for (const QJsonValue& sample : samples()) {
            trySample(untried, sample);
        }
        for (const QString& each : qAsConst(untried)) {
            tried[each].usualValue = withoutDescription.value(each);
        }
        next = tried.find(key);
        return *next++;
    }

    /// Returns the element that the library makes of a description.
    Element made(const QJsonObject& description, const QString& name = {}) const
    {
        std::unique_ptr<Element> element;
        callSilently([&] { element = std::make_unique<Element>(description, name, isNode); });
        return *element;
    }

private:
    // A value of each type but null. No element has one of them by default.
    static const std::array<QJsonValue, 5>& samples()
    {
        static const std::array<QJsonValue, 5> values {QJsonValue(QStringLiteral("?")), QJsonValue(7), QJsonValue(true),
            QJsonValue(QJsonArray {QStringLiteral("?")}),
            QJsonValue(QJsonObject {{QStringLiteral("?"), QStringLiteral("?")}})};
        return values;
    }

    void trySample(const QStringList& keys, const QJsonValue& sample)
    {
        QJsonObject description;
        for (const QString& key : keys) {
            description.insert(key, sample);
        }
        const Element element = made(description);
        const QJsonObject members = element.getElementAsJsonObject();
        for (const QString& key : keys) {
            const bool isTaken = key == Registry::getKeyDisplayPosition()
                ? element.getDisplayPosition() == sample.toInt(notThere)
                : members.value(key) == sample;
            if (isTaken) {
                tried[key].types.append(sample.type());
            }
        }
    }

    // Neither the default display position nor that of a sample.
    static constexpr int notThere = -2;

    const bool isNode;
    const QJsonObject withoutDescription;
    std::map<QString, Tried> tried;
    // The one after the result that was found last.
    std::map<QString, Tried>::const_iterator next = tried.end();
};

QString reasonAgainst(const QJsonValue& value, const QVector<QJsonValue::Type>& types)
{
    if (!types.contains(value.type())) {
        QString wanted = wordFor(types.constFirst());
        for (int i = 1; i < types.size(); ++i) {
            wanted += QLatin1String(" or ") % wordFor(types.at(i));
        }
        return QLatin1String("is ") % wordFor(value.type()) % QLatin1String(", not ") % wanted;
    }
    const bool isEmpty = value.isString() || value.isArray();
    return isEmpty ? QStringLiteral("is empty") : QString(QLatin1String("is ") % inShort(value));
}

QJsonObject withoutChildren(QJsonObject object)
{
    object.remove(Registry::getKeySubstructure());
    return object;
}

// Compares descriptions with the elements that were made from them.
class KeyComparison {
public:
    // Notes for each key of the description or the element whether it was taken, defaulted or ignored. Returns false if
    // the element was made from another version of the description.
    bool compare(const QJsonObject& description, const TreeElement& element, EntryExplanation& entry)
    {
        KeyTrials& trials = entry.fate == Fate::Node ? ofNodes : ofSelections;
        const QJsonObject members = element.object();
        isInDoubt = false;
        list(description, describedMembers);
        list(members, madeMembers);
        entry.taken.reserve(static_cast<int>(qMin(describedMembers.size(), madeMembers.size())));
        QJsonValue describedPosition(QJsonValue::Undefined);
        auto described = describedMembers.cbegin();
        for (auto made = madeMembers.cbegin(); described != describedMembers.cend() || made != madeMembers.cend();) {
            const bool isMade =
                made != madeMembers.cend() && (described == describedMembers.cend() || !(described->key < made->key));
            const bool isDescribed = described != describedMembers.cend() && (!isMade || described->key == made->key);
            const QString& key = isMade ? made->key : described->key;
            if (isDescribed && key == Registry::getKeyDisplayPosition()) {
                describedPosition = described->value;
            } else if (isMade) {
                compareMember(isDescribed ? described->value : QJsonValue(QJsonValue::Undefined), made->value,
                    trials.find(key, description, members), entry);
            } else {
                noteLeftOut(described->value, trials.find(key, description, members), entry);
            }
            made += isMade ? 1 : 0;
            described += isDescribed ? 1 : 0;
        }
        const QString& positionKey = Registry::getKeyDisplayPosition();
        comparePosition(describedPosition, trials.find(positionKey, description, members), element, entry);
        if (!isInDoubt) {
            return true;
        }
        const Element again = trials.made(description, element.name);
        return again.getDisplayPosition() == element.displayPosition
            && withoutChildren(again.getElementAsJsonObject()) == withoutChildren(members);
    }

private:
    using Trial = KeyTrials::Trial;

    struct Member {
        QString key;
        QJsonValue value;
    };

    // Lists the members of an object, sorted by key as QString compares.
    static void list(const QJsonObject& object, std::vector<Member>& members)
    {
        members.clear();
        for (auto member = object.begin(); member != object.end(); ++member) {
            members.push_back({member.key(), member.value()});
        }
        const auto isLess = [](const Member& a, const Member& b) { return a.key < b.key; };
        if (!std::is_sorted(members.begin(), members.end(), isLess)) {
            std::sort(members.begin(), members.end(), isLess);
        }
    }

    void compareMember(const QJsonValue& described, const QJsonValue& made, const Trial& trial, EntryExplanation& entry)
    {
        const QString& key = trial.first;
        const QVector<QJsonValue::Type>& types = trial.second.types;
        // The children come from the scan, not from the description.
        const bool isChildren = key == Registry::getKeySubstructure();
        if (described.isUndefined()) {
            if (!types.isEmpty() && !isChildren) {
                entry.defaulted.append({key, {}});
                // Every element has its own default name, so the name is left out of this comparison.
                isInDoubt = isInDoubt || (key != Registry::getKeyInstanceName() && made != trial.second.usualValue);
            }
        } else if (isChildren) {
            entry.ignored.append({key, QStringLiteral("is built from what the folder holds")});
        } else if (described == made) {
            entry.taken.append({key, {}});
        } else if (types.isEmpty()) {
            entry.ignored.append({key, QLatin1String("is always ") % inShort(made)});
        } else {
            isInDoubt = true;
            entry.defaulted.append({key, reasonAgainst(described, types)});
        }
    }

    // Notes a key of the description that the element does not have.
    void noteLeftOut(const QJsonValue& described, const Trial& trial, EntryExplanation& entry)
    {
        const QVector<QJsonValue::Type>& types = trial.second.types;
        isInDoubt = isInDoubt || !types.isEmpty();
        entry.ignored.append({trial.first, types.isEmpty() ? QString() : reasonAgainst(described, types)});
    }

    void comparePosition(
        const QJsonValue& described, const Trial& trial, const TreeElement& element, EntryExplanation& entry)
    {
        const QString& key = trial.first;
        entry.displayPosition = element.displayPosition;
        entry.hasDisplayPosition = trial.second.takes(described);
        if (!entry.hasDisplayPosition) {
            isInDoubt = isInDoubt || element.displayPosition != Element().getDisplayPosition();
            entry.defaulted.append(
                {key, described.isUndefined() ? QString() : reasonAgainst(described, trial.second.types)});
        } else if (described == QJsonValue(element.displayPosition)) {
            entry.taken.append({key, {}});
        } else {
            isInDoubt = true;
            entry.taken.append({key, QLatin1String("as ") % QString::number(element.displayPosition)});
        }
    }

    KeyTrials ofSelections {false};
    KeyTrials ofNodes {true};
    std::vector<Member> describedMembers;
    std::vector<Member> madeMembers;
    // Whether the element has a value that may come from another version of the description.
    bool isInDoubt = false;
};

struct FolderId {
    dev_t device;
    ino_t inode;
};

// The reason why the entries of a folder are not read.
struct Outside {
    Absence absence = Absence::None;
    QString reason;
};

// A folder whose entries are explained.
struct Surroundings {
    QByteArray path;
    QString relativePath;
    // The depth of its entries.
    int depth = 0;
    // The element of the folder; null for the scanned folder and for folders that are not in the manifest.
    const TreeElement* element = nullptr;
    Outside outside;
    // The description of the folder; null if it is not read.
    const Description* description = nullptr;
};

class Explainer {
public:
    Explainer(const QString& folder, const QString& wantedScheme)
        : root(folder)
        , scheme(wantedScheme)
    {
    }

    FolderExplanation explain()
    {
        const FolderScan scan = scanWithoutRefused(root, scheme, explanation.refusals);
        explanation.isEmpty = scan.isEmpty;
        for (const Refusal& refusal : std::as_const(explanation.refusals)) {
            refused.emplace(refusal.path, refusal.reason);
        }
        Surroundings folder;
        folder.path = QFile::encodeName(root);
        struct stat status = {};
        if (stat(folder.path.constData(), &status) == 0) {
            explainContent(folder, status, scan.elements);
        }
        return std::move(explanation);
    }

private:
    void explainContent(const Surroundings& folder, const struct stat& status, const TreeElements& elements)
    {
        std::vector<QByteArray> names;
        // The error number is ignored: an unreadable folder is reported with the folder's own entry.
        readNames(folder.path, names);
        folders.append({status.st_dev, status.st_ino});
        std::vector<QString> sources;
        std::vector<bool> isElement(names.size());
        for (const TreeElement& element : elements) {
            sources.push_back(sourceName(element, folder));
            const QByteArray source = QFile::encodeName(sources.back());
            const auto name = std::lower_bound(names.begin(), names.end(), source);
            if (name != names.end() && *name == source) {
                isElement[static_cast<std::size_t>(name - names.begin())] = true;
            }
        }
        const QByteArray descriptionName = QFile::encodeName(Element::getFolderDescriptionFilename());
        const auto explainRest = [&](bool descriptions) {
            for (std::size_t i = 0; i < names.size(); ++i) {
                if (!isElement[i] && (names[i] == descriptionName) == descriptions) {
                    explainAbsent(names[i], folder);
                }
            }
        };
        explainRest(true);
        for (std::size_t i = 0; i < elements.size(); ++i) {
            explainElement(elements[i], elements, sources[i], folder);
        }
        explainRest(false);
        folders.removeLast();
    }

    // The name of the entry that an element was made from.
    static QString sourceName(const TreeElement& element, const Surroundings& folder)
    {
        const int start = folder.relativePath.isEmpty() ? 0 : folder.relativePath.size() + 1;
        const int end = element.source.indexOf(QLatin1Char('/'), start);
        return element.source.mid(start, end < 0 ? -1 : end - start);
    }

    EntryExplanation& append(const QString& name, const Surroundings& folder)
    {
        explanation.entries.emplace_back();
        EntryExplanation& entry = explanation.entries.back();
        entry.path = below(folder.relativePath, name);
        entry.depth = folder.depth;
        return entry;
    }

    void explainElement(
        const TreeElement& element, const TreeElements& siblings, const QString& name, const Surroundings& folder)
    {
        EntryExplanation& entry = append(name, folder);
        entry.fate = element.kind == TreeElement::Kind::Node ? Fate::Node : Fate::Selection;
        entry.instancePath = element.path;
        entry.name = element.name;
        entry.label = element.label();
        entry.position = element.position();
        entry.isHidden = element.isHidden();
        if (!element.isReachable()) {
            entry.unreachable = reasonForUnreachable(element, siblings, folder);
        }
        const QByteArray path = folder.path + '/' + QFile::encodeName(name);
        if (entry.fate == Fate::Selection) {
            const Description description = reader.read(path);
            entry.description = entry.path;
            entry.damage = description.damage;
            compare(description, element, entry);
            return;
        }
        explainNode(element, path, folder);
    }

    // Explains the node of the last entry, and the contents of its folder.
    void explainNode(const TreeElement& element, const QByteArray& path, const Surroundings& folder)
    {
        EntryExplanation& entry = explanation.entries.back();
        const Description description = readFolderDescription(path);
        if (description.state != Description::State::Missing) {
            entry.description = below(entry.path, Element::getFolderDescriptionFilename());
        }
        if (description.state == Description::State::NoFile) {
            entry.damage.text = quoted(entry.description) % QLatin1Char(' ') % description.damage.text;
        }
        compare(description, element, entry);
        Surroundings inside;
        inside.path = path;
        inside.relativePath = entry.path;
        inside.depth = folder.depth + 1;
        inside.element = &element;
        inside.description = &description;
        struct stat status = {};
        if (stat(path.constData(), &status) != 0 || !mayBeListed(path)) {
            entry.damage.text = QLatin1String("unreadable: ") % qt_error_string(errno);
        } else if (!leadsBack(status)) {
            explainContent(inside, status, element.children);
        }
    }

    Description readFolderDescription(const QByteArray& path)
    {
        return reader.read(path + '/' + QFile::encodeName(Element::getFolderDescriptionFilename()));
    }

    void compare(const Description& description, const TreeElement& element, EntryExplanation& entry)
    {
        entry.isDescribed = description.state == Description::State::Read;
        // A file that has disappeared since the scan looks as if it had never been there.
        const bool hasGone = entry.fate == Fate::Selection && description.state == Description::State::Missing;
        if (!comparison.compare(description.object, element, entry) || hasGone) {
            entry.damage = {QStringLiteral("changed while the folder was being read"), 0, 0};
        }
    }

    static QString reasonForUnreachable(
        const TreeElement& element, const TreeElements& siblings, const Surroundings& folder)
    {
        if (element.shadowedBy >= 0) {
            const TreeElement& other = siblings.at(static_cast<TreeElements::size_type>(element.shadowedBy));
            return quoted(below(folder.relativePath, sourceName(other, folder))) % QLatin1String(" answers to ")
                % quoted(element.answersTo) % QLatin1String(" before it");
        }
        return folder.element == nullptr || folder.element->isReachable()
            ? QLatin1String("its name ") % quoted(element.name) % QLatin1String(" cannot be part of a path")
            : QStringLiteral("no path leads to its folder");
    }

    void explainAbsent(const QByteArray& name, const Surroundings& folder)
    {
        const QByteArray path = folder.path + '/' + name;
        const int index = static_cast<int>(explanation.entries.size());
        append(textOf(name), folder);
        struct stat status = {};
        const bool isThere = stat(path.constData(), &status) == 0;
        const int error = isThere ? 0 : errno;
        const bool isFolder = isThere && S_ISDIR(status.st_mode);
        const bool isListed = isFolder && !leadsBack(status) && mayBeListed(path);
        Description description;
        {
            EntryExplanation& entry = explanation.entries.back();
            entry.absence = folder.outside.absence;
            entry.reason = folder.outside.reason;
            if (entry.absence == Absence::None || !refusalOf(entry.path).isNull()) {
                findReason(name, path, isThere ? &status : nullptr, error, folder, entry);
            }
        }
        if (!isListed) {
            return;
        }
        Surroundings inside;
        inside.path = path;
        inside.relativePath = explanation.entries.back().path;
        inside.depth = folder.depth + 1;
        inside.outside = folder.outside;
        const Absence absence = explanation.entries.back().absence;
        if (inside.outside.absence == Absence::None && absence != Absence::None) {
            inside.outside = outsideOf(explanation.entries.back());
        }
        if (inside.outside.absence == Absence::None) {
            description = readFolderDescription(path);
            inside.description = &description;
        }
        explainContent(inside, status, {});
        if (absence == Absence::NoSelection && static_cast<int>(explanation.entries.size()) == index + 1) {
            explanation.entries.back().reason = QStringLiteral("there is nothing in it");
        }
    }

    // The reason why the contents of a folder that is not in the manifest are not read; Absence::None if they are read.
    static Outside outsideOf(const EntryExplanation& folder)
    {
        switch (folder.absence) {
        case Absence::NoSelection:
        case Absence::Changed:
            return {};
        case Absence::Hidden:
            return {Absence::Hidden, QLatin1String("it lies in the hidden folder ") % quoted(folder.path)};
        default:
            return {Absence::NotReached,
                QLatin1String("it lies in ") % quoted(folder.path) % QLatin1String(", which is not read")};
        }
    }

    // Sets why an entry is not in the manifest. `status` is null if stat() has failed with the number `error`.
    void findReason(const QByteArray& name, const QByteArray& path, const struct stat* status, int error,
        const Surroundings& folder, EntryExplanation& entry) const
    {
        const auto is = [&](Absence absence, const QString& reason) {
            entry.absence = absence;
            entry.reason = reason;
        };
        if (!isText(name)) {
            is(Absence::NoText, QStringLiteral("its name is not valid text"));
        } else if (name.startsWith('.')) {
            is(Absence::Hidden, QStringLiteral("its name begins with a dot"));
        } else if (status == nullptr) {
            findReasonWithoutStatus(path, error, entry);
        } else if (const QString reason = refusalOf(entry.path); !reason.isNull()) {
            is(leadsBack(*status) ? Absence::LoopingLink : Absence::NoFile,
                QLatin1String("it ") % reason % QLatin1String("; no manifest is created while it is there"));
        } else if (S_ISDIR(status->st_mode)) {
            findReasonOfFolder(path, *status, entry);
        } else if (!S_ISREG(status->st_mode)) {
            is(Absence::NoFile, QLatin1String("it is ") % QLatin1String(wordFor(status->st_mode)));
        } else {
            findReasonOfFile(folder, entry);
        }
    }

    static void findReasonWithoutStatus(const QByteArray& path, int error, EntryExplanation& entry)
    {
        struct stat link = {};
        const int linkError = lstat(path.constData(), &link) == 0 ? 0 : errno;
        if (linkError == 0 ? !S_ISLNK(link.st_mode) : linkError == ENOENT) {
            entry.absence = Absence::Changed;
            entry.reason = QStringLiteral("it changed while the folder was being read");
            return;
        }
        if (linkError != 0) {
            entry.absence = Absence::Unreadable;
            entry.reason = qt_error_string(linkError);
            return;
        }
        const QString target = QFile::symLinkTarget(QFile::decodeName(path));
        const QString words = QLatin1String("the link leads to ") % quoted(target);
        entry.absence = error == ENOENT || error == ENOTDIR ? Absence::DanglingLink
            : error == ELOOP                                ? Absence::LoopingLink
                                                            : Absence::Unreadable;
        entry.reason = error == ENOENT ? QString(words % QLatin1String(", which does not exist"))
                                       : QString(words % QLatin1String(": ") % qt_error_string(error));
    }

    void findReasonOfFolder(const QByteArray& path, const struct stat& status, EntryExplanation& entry) const
    {
        const QString description = below(entry.path, Element::getFolderDescriptionFilename());
        if (const QString reason = refusalOf(description); !reason.isNull()) {
            entry.absence = Absence::NotReached;
            entry.reason = quoted(description) % QLatin1Char(' ') % reason
                % QLatin1String("; no manifest is created while it is there");
        } else if (leadsBack(status)) {
            entry.absence = Absence::LoopingLink;
            entry.reason = QStringLiteral("it leads back to a folder that contains it");
        } else if (!mayBeListed(path)) {
            entry.absence = Absence::Unreadable;
            entry.reason = qt_error_string(errno);
        } else {
            entry.absence = Absence::NoSelection;
            entry.reason = QStringLiteral("there is no selection in it");
        }
    }

    void findReasonOfFile(const Surroundings& folder, EntryExplanation& entry) const
    {
        const QString name = lastName(entry.path);
        const QString& descriptionName = Element::getFolderDescriptionFilename();
        if (name == descriptionName) {
            explainDescription(folder, entry);
            return;
        }
        const QString suffix = descriptionSuffix(scheme);
        if (name.endsWith(suffix)) {
            entry.absence = Absence::Changed;
            entry.reason = QStringLiteral("it appeared while the folder was being read");
            return;
        }
        const QString otherScheme = suffix == Element::getConfigurationFileSuffix()
            ? QStringLiteral("process")
            : ConfigurationAndProcessDataDefinitions::getSelectorUrlSchemeConfiguration();
        const QString otherSuffix = descriptionSuffix(otherScheme);
        entry.absence = Absence::Almost;
        if (name.endsWith(otherSuffix)) {
            entry.reason = quoted(otherSuffix) % QLatin1String(" is for the scheme ") % quoted(otherScheme);
        } else if (name.endsWith(suffix, Qt::CaseInsensitive)) {
            entry.reason = almost(name.right(suffix.size()), suffix);
        } else if (name.endsWith(otherSuffix, Qt::CaseInsensitive)) {
            entry.reason = almost(name.right(otherSuffix.size()), otherSuffix)
                % QLatin1String(", and that is for the scheme ") % quoted(otherScheme);
        } else if (name.compare(descriptionName, Qt::CaseInsensitive) == 0) {
            entry.reason = QLatin1String("a folder is described by ") % quoted(descriptionName);
        } else if (name.contains(QLatin1String(".manifest.json"))) {
            entry.absence = Absence::Manifest;
            entry.reason = name.endsWith(QLatin1String(".manifest.json"))
                ? QStringLiteral("it is a manifest")
                : QStringLiteral("it was kept or left behind by a save of a manifest");
        } else {
            entry.absence = Absence::OtherSuffix;
            entry.reason = QLatin1String("its name does not end in ") % quoted(suffix);
        }
    }

    static QString almost(const QString& given, const QString& wanted)
    {
        return quoted(given) % QLatin1String(" is not ") % quoted(wanted);
    }

    static void explainDescription(const Surroundings& folder, EntryExplanation& entry)
    {
        if (folder.depth == 0) {
            entry.absence = Absence::NoElement;
            entry.reason = QStringLiteral("it describes the whole folder, which is no element");
            return;
        }
        entry.fate = Fate::Description;
        entry.reason = folder.element == nullptr
            ? quoted(folder.relativePath) % QLatin1String(", which is not in the manifest")
            : quoted(folder.relativePath);
        if (folder.description != nullptr) {
            entry.damage = folder.description->damage;
        }
    }

    QString refusalOf(const QString& path) const
    {
        const auto refusal = refused.find(path);
        return refusal == refused.end() ? QString() : refusal->second;
    }

    bool leadsBack(const struct stat& status) const
    {
        return std::any_of(folders.cbegin(), folders.cend(),
            [&](const FolderId& folder) { return folder.device == status.st_dev && folder.inode == status.st_ino; });
    }

    // Sets errno if it returns false.
    static bool mayBeListed(const QByteArray& path)
    {
        errno = errorOfListing(QFile::decodeName(path));
        return errno == 0;
    }

    const QString root;
    const QString scheme;
    std::map<QString, QString> refused;
    // The folders from the scanned one down to the one that is being explained.
    QVector<FolderId> folders;
    DescriptionReader reader;
    KeyComparison comparison;
    FolderExplanation explanation;
};

// Appends a candidate for the nearest name, and the path that it stands for.
void addName(const QString& name, const QString& path, QStringList& names, QStringList& paths)
{
    names.append(name);
    paths.append(path);
}

bool isNamesake(const QString& entryName, const QString& name)
{
    const QString visible = entryName.startsWith(QLatin1Char('.')) ? entryName.mid(1) : entryName;
    const QString baseName = visible.left(visible.indexOf(QLatin1Char('.')));
    return entryName == name || visible.compare(name, Qt::CaseInsensitive) == 0
        || baseName.compare(name, Qt::CaseInsensitive) == 0;
}

} // namespace

QString toText(Fate fate)
{
    switch (fate) {
    case Fate::Selection:
        return QStringLiteral("selection");
    case Fate::Node:
        return QStringLiteral("node");
    case Fate::Description:
        return QStringLiteral("description");
    case Fate::Absent:
        break;
    }
    return QStringLiteral("absent");
}

QString toText(Absence absence)
{
    switch (absence) {
    case Absence::None:
        break;
    case Absence::Hidden:
        return QStringLiteral("hidden");
    case Absence::OtherSuffix:
        return QStringLiteral("other-suffix");
    case Absence::Almost:
        return QStringLiteral("almost");
    case Absence::NoSelection:
        return QStringLiteral("no-selection");
    case Absence::Unreadable:
        return QStringLiteral("unreadable");
    case Absence::DanglingLink:
        return QStringLiteral("dangling-link");
    case Absence::LoopingLink:
        return QStringLiteral("looping-link");
    case Absence::NoFile:
        return QStringLiteral("no-file");
    case Absence::NoText:
        return QStringLiteral("no-text");
    case Absence::Manifest:
        return QStringLiteral("manifest");
    case Absence::NoElement:
        return QStringLiteral("no-element");
    case Absence::NotReached:
        return QStringLiteral("not-reached");
    case Absence::Changed:
        return QStringLiteral("changed");
    }
    return {};
}

FolderExplanation explainFolder(const QString& folder, const QString& scheme)
{
    return Explainer(folder, scheme).explain();
}

int entryAt(const FolderExplanation& explanation, const QString& path)
{
    const auto entry = std::find_if(explanation.entries.begin(), explanation.entries.end(),
        [&](const EntryExplanation& candidate) { return candidate.path == path; });
    return entry == explanation.entries.end() ? -1 : static_cast<int>(entry - explanation.entries.begin());
}

int entryOfInstance(const FolderExplanation& explanation, const QString& instancePath)
{
    const QString path = instancePath.split(QLatin1Char('/'), Qt::SkipEmptyParts).join(QLatin1Char('/'));
    const auto entry =
        std::find_if(explanation.entries.begin(), explanation.entries.end(), [&](const EntryExplanation& candidate) {
            return !candidate.instancePath.isNull() && candidate.instancePath == path;
        });
    return entry == explanation.entries.end() ? -1 : static_cast<int>(entry - explanation.entries.begin());
}

int endOfEntry(const FolderExplanation& explanation, int position)
{
    const auto entry = explanation.entries.begin() + position;
    const auto end = std::find_if(entry + 1, explanation.entries.end(),
        [&](const EntryExplanation& other) { return other.depth <= entry->depth; });
    return static_cast<int>(end - explanation.entries.begin());
}

DeadEnd deadEndOf(const FolderExplanation& explanation, const QString& instancePath)
{
    const QStringList names = instancePath.split(QLatin1Char('/'), Qt::SkipEmptyParts);
    DeadEnd deadEnd;
    int begin = 0;
    int end = static_cast<int>(explanation.entries.size());
    int depth = 0;
    for (const QString& name : names) {
        const QString path = below(deadEnd.reached, name);
        const int entry = entryOfInstance(explanation, path);
        if (entry < 0) {
            deadEnd.missing = name;
            break;
        }
        deadEnd.reached = path;
        begin = entry + 1;
        end = endOfEntry(explanation, entry);
        depth = explanation.entries.at(static_cast<std::size_t>(entry)).depth + 1;
    }
    QStringList knownNames;
    QStringList paths;
    for (int i = begin; i < end; ++i) {
        const EntryExplanation& entry = explanation.entries.at(static_cast<std::size_t>(i));
        if (entry.depth != depth) {
            continue;
        }
        if (!entry.instancePath.isNull()) {
            addName(lastName(entry.instancePath), entry.instancePath, knownNames, paths);
        }
        addName(lastName(entry.path), entry.path, knownNames, paths);
        if (isNamesake(lastName(entry.path), deadEnd.missing)) {
            deadEnd.namesakes.append(i);
        }
    }
    const QString nearest = nearestWord(deadEnd.missing, knownNames);
    if (!nearest.isNull() && deadEnd.namesakes.isEmpty()) {
        deadEnd.nearest = paths.at(knownNames.indexOf(nearest));
    }
    return deadEnd;
}
