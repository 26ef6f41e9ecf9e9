#include "Tree.h"

#include "ConfigurationAndProcessDataDefinitions.h"
#include "ConfigurationManifestHandler.h"
#include "ConfigurationStructureElement.h"
#include "ConfigurationStructureElementList.h"
#include "SystemInformationManagerRegistryDefinitions.h"

#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QFileInfo>
#include <QtCore/QStringList>

#include <algorithm>
#include <cerrno>
#include <map>
#include <memory>
#include <numeric>
#include <utility>

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

using Registry = SystemInformationManagerRegistryDefinitions;

namespace {

TreeElement::Kind kindOf(const QJsonObject& object)
{
    const QString type = object.value(Registry::getKeySelectionType()).toString();
    if (type == Registry::SelectionTypeValues::getNode()) {
        return TreeElement::Kind::Node;
    }
    return type == Registry::SelectionTypeValues::getSelection() ? TreeElement::Kind::Selection
                                                                 : TreeElement::Kind::Unknown;
}

// Finds out which name an element answers to: its whole instance name, or the last segment of it. That depends on its
// kind only, so one look-up by the library for each kind shows it.
class NameRule {
public:
    NameRule()
        : selectionsAnswerToTheWhole(answersToTheWhole(Registry::SelectionTypeValues::getSelection()))
        , nodesAnswerToTheWhole(answersToTheWhole(Registry::SelectionTypeValues::getNode()))
        , othersAnswerToTheWhole(answersToTheWhole(QString()))
    {
    }

    QString answeredName(const TreeElement& element) const
    {
        const bool isWhole = element.kind == TreeElement::Kind::Selection ? selectionsAnswerToTheWhole
            : element.kind == TreeElement::Kind::Node                     ? nodesAnswerToTheWhole
                                                                          : othersAnswerToTheWhole;
        return isWhole ? element.name : element.name.mid(element.name.lastIndexOf(QLatin1Char('/')) + 1);
    }

private:
    static bool answersToTheWhole(const QString& type)
    {
        const QString name = QStringLiteral("a/b");
        const QJsonObject element {{Registry::getKeySelectionType(), type}, {Registry::getKeyInstanceName(), name}};
        int index = -1;
        ConfigurationManifestHandler(QString(), QString(), QString())
            .getElementFromInstance(QJsonArray {element}, name, index);
        return index == 0;
    }

    const bool selectionsAnswerToTheWhole;
    const bool nodesAnswerToTheWhole;
    const bool othersAnswerToTheWhole;
};

QString pathOf(const TreeElement& element, const TreeElement* parent)
{
    const bool isName = !element.answersTo.isEmpty() && !element.answersTo.contains(QLatin1Char('/'));
    if (!isName || element.shadowedBy >= 0 || (parent != nullptr && !parent->isReachable())) {
        return {};
    }
    return parent == nullptr ? element.answersTo : QString(parent->path % QLatin1Char('/') % element.answersTo);
}

// Sets shadowedBy of the siblings that look-ups do not find because an earlier one answers to the same name.
void findShadowed(TreeElements& siblings)
{
    std::vector<TreeElement*> byName(siblings.size());
    std::transform(siblings.begin(), siblings.end(), byName.begin(), [](TreeElement& element) { return &element; });
    std::sort(byName.begin(), byName.end(), [](const TreeElement* a, const TreeElement* b) {
        const int order = QString::compare(a->answersTo, b->answersTo);
        return order != 0 ? order < 0 : a->position() < b->position();
    });
    const TreeElement* first = nullptr;
    for (TreeElement* const element : byName) {
        if (first == nullptr || first->answersTo != element->answersTo) {
            first = element;
        } else {
            element->shadowedBy = first->position();
        }
    }
}

// Sets the fields that follow from the place of an element, for the siblings and their descendants.
void locate(const NameRule& rule, TreeElements& siblings, const TreeElement* parent, int& count)
{
    int position = 0;
    for (TreeElement& element : siblings) {
        element.positions = parent == nullptr ? QVector<int>() : parent->positions;
        element.positions.append(position++);
        if (element.value.isObject()) {
            const QJsonObject object = element.object();
            element.kind = kindOf(object);
            element.name = object.value(Registry::getKeyInstanceName()).toString();
            element.answersTo = rule.answeredName(element);
        }
    }
    findShadowed(siblings);
    for (TreeElement& element : siblings) {
        element.number = count++;
        element.path = pathOf(element, parent);
        if (parent != nullptr) {
            element.pathAbove = parent->isReachable() ? parent->path : parent->pathAbove;
        }
        locate(rule, element.children, &element, count);
    }
}

void locate(TreeElements& elements)
{
    int count = 0;
    locate(NameRule(), elements, nullptr, count);
}

TreeElements elementsOf(const QJsonArray& array)
{
    TreeElements elements;
    elements.reserve(static_cast<TreeElements::size_type>(array.size()));
    for (const QJsonValue& item : array) {
        TreeElement element;
        element.value = item;
        element.children = elementsOf(item.toObject().value(Registry::getKeySubstructure()).toArray());
        elements.push_back(std::move(element));
    }
    return elements;
}

struct ReportedMessage {
    QtMsgType level;
    QString text;
};

bool operator==(const ReportedMessage& a, const ReportedMessage& b)
{
    return a.level == b.level && a.text == b.text;
}

// Records the messages that are logged during its lifetime.
class MessageCapture {
public:
    MessageCapture()
        : outer(std::exchange(current, this))
        , previousHandler(qInstallMessageHandler(take))
    {
    }
    ~MessageCapture()
    {
        qInstallMessageHandler(previousHandler);
        current = outer;
    }
    Q_DISABLE_COPY(MessageCapture)

    QVector<ReportedMessage> messages;

private:
    static void take(QtMsgType level, const QMessageLogContext&, const QString& text)
    {
        current->messages.append({level, text.trimmed()});
    }

    static MessageCapture* current;

    MessageCapture* const outer;
    const QtMessageHandler previousHandler;
};

MessageCapture* MessageCapture::current = nullptr;

// Drops the messages that are logged during its lifetime.
class Silence {
public:
    Silence()
        : previousHandler(qInstallMessageHandler([](QtMsgType, const QMessageLogContext&, const QString&) {}))
    {
    }
    ~Silence()
    {
        qInstallMessageHandler(previousHandler);
    }
    Q_DISABLE_COPY(Silence)

private:
    const QtMessageHandler previousHandler;
};

template <typename Function>
QVector<ReportedMessage> messagesOf(const Function& function)
{
    MessageCapture capture;
    function();
    return std::move(capture.messages);
}

QString below(const QString& folder, const QString& name)
{
    return folder.isEmpty() ? name : QString(folder % QLatin1Char('/') % name);
}

// The status of the file that a path leads to through all links; all zero if there is none.
struct stat statusOf(const QString& path)
{
    struct stat status = {};
    if (stat(QFile::encodeName(path).constData(), &status) != 0) {
        return {};
    }
    return status;
}

// The word for a kind of file that must not be opened; null for any other kind.
const char* deviceWord(mode_t mode)
{
    if (S_ISCHR(mode) || S_ISBLK(mode)) {
        return "a device";
    }
    if (S_ISFIFO(mode)) {
        return "a pipe";
    }
    return S_ISSOCK(mode) ? "a socket" : nullptr;
}

// Scans a folder in the same steps as the creator. Each folder has two paths: the complete one is passed to the
// library, the one relative to the scanned folder is shown to the user.
class FolderReader {
public:
    // With `refusals`, appends the refused entries there and leaves them out instead of giving up, and drops the
    // messages of the library.
    FolderReader(const QString& folder, const QString& scheme, QVector<Refusal>* refusals = nullptr)
        : root(folder)
        , suffix(descriptionSuffix(scheme))
        , leftOut(refusals)
    {
    }

    FolderScan read()
    {
        const QFileInfoList entries = list(root, QString());
        scan.isEmpty = entries.isEmpty();
        if (!readEntries(root, QString(), entries, scan.elements)) {
            scan.elements.clear();
        }
        locate(scan.elements);
        const bool isAnyUnopened = std::any_of(scan.remarks.cbegin(), scan.remarks.cend(),
            [](const Remark& remark) { return remark.text.startsWith(QLatin1String("Can't open file ")); });
        scan.isWhole = scan.isWhole && !isAnyUnopened;
        return std::move(scan);
    }

private:
    struct FolderId {
        dev_t device;
        ino_t inode;
    };

    QFileInfoList list(const QString& path, const QString& relativePath)
    {
        QDir folder(path);
        folder.setFilter(QDir::Dirs | QDir::Files | QDir::NoDotAndDotDot);
        const QFileInfoList entries = folder.entryInfoList();
        // To QDir, and so to the library, an unreadable folder looks like an empty one.
        if (const int error = errorOfListing(path)) {
            scan.isWhole = false;
            addRemark({relativePath.isEmpty() ? QStringLiteral(".") : relativePath,
                QLatin1String("Can't read folder: ") % qt_error_string(error), true});
        }
        return entries;
    }

    // Returns false if the scan is given up.
    bool readEntries(
        const QString& path, const QString& relativePath, const QFileInfoList& entries, TreeElements& elements)
    {
        const struct stat status = statusOf(path);
        const bool leadsBack = std::any_of(folders.cbegin(), folders.cend(),
            [&](const FolderId& folder) { return folder.device == status.st_dev && folder.inode == status.st_ino; });
        if (leadsBack && status.st_mode != 0) {
            refuse(relativePath, QLatin1String("leads back to a folder that contains it"));
            return goesOn();
        }
        QFileInfoList safeEntries;
        for (const QFileInfo& entry : entries) {
            if (isSafeToRead(entry, relativePath)) {
                safeEntries.append(entry);
            } else if (!goesOn()) {
                return false;
            }
        }
        folders.append({status.st_dev, status.st_ino});
        const bool wasRead = readList(relativePath, safeEntries, elements);
        folders.removeLast();
        return wasRead;
    }

    bool readList(const QString& relativePath, const QFileInfoList& entries, TreeElements& elements)
    {
        QVector<ConfigurationStructureElement> described;
        const auto describe = [&] {
            // Only this class knows the order of elements with the same display position.
            described = ConfigurationStructureElementList(entries, root, suffix).getElementList();
        };
        std::map<QString, QVector<Remark>> remarks;
        if (goesOn()) {
            callSilently(describe);
        } else {
            remarks = attributed(messagesOf(describe), relativePath, entries);
        }
        for (const ConfigurationStructureElement& source : std::as_const(described)) {
            const QFileInfo entry = source.getFileInfo();
            QJsonObject object = source.getElementAsJsonObject();
            TreeElement element;
            if (source.isDirectory()) {
                const QString relativeFolder = below(relativePath, entry.fileName());
                const QFileInfoList entriesBelow = list(entry.filePath(), relativeFolder);
                if (!readEntries(entry.filePath(), relativeFolder, entriesBelow, element.children)) {
                    return false;
                }
                if (element.children.empty()) {
                    continue;
                }
                object.insert(Registry::getKeySubstructure(), manifestOf(element.children));
            }
            element.value = object;
            element.source = sourceOf(entry, relativePath);
            element.displayPosition = source.getDisplayPosition();
            const auto own = remarks.find(entry.fileName());
            if (own != remarks.end()) {
                element.remarks = own->second;
            }
            elements.push_back(std::move(element));
        }
        return true;
    }

    // Returns the messages about a list of entries by the name of the entry. The library does not tell which entry a
    // message is about, so each entry is read once more on its own.
    std::map<QString, QVector<Remark>> attributed(
        const QVector<ReportedMessage>& messages, const QString& relativePath, const QFileInfoList& entries)
    {
        std::map<QString, QVector<Remark>> remarks;
        if (messages.isEmpty()) {
            return remarks;
        }
        QVector<ReportedMessage> messagesAgain;
        for (const QFileInfo& entry : entries) {
            const QVector<ReportedMessage> ofEntry =
                messagesOf([&] { ConfigurationStructureElement(entry, root, suffix); });
            messagesAgain += ofEntry;
            for (const ReportedMessage& message : ofEntry) {
                remarks[entry.fileName()].append(remarkOn(entry, relativePath, message));
            }
        }
        // If the messages differ, a file has changed in between. Then only the folder of the messages is known.
        if (messagesAgain != messages) {
            remarks.clear();
            for (const ReportedMessage& message : messages) {
                addRemark({relativePath.isEmpty() ? QStringLiteral(".") : relativePath, message.text, true});
            }
            return remarks;
        }
        for (const QFileInfo& entry : entries) {
            const auto ofEntry = remarks.find(entry.fileName());
            if (ofEntry != remarks.end()) {
                scan.remarks += ofEntry->second;
            }
        }
        return remarks;
    }

    Remark remarkOn(const QFileInfo& entry, const QString& relativePath, const ReportedMessage& message) const
    {
        const QString source = sourceOf(entry, relativePath);
        const bool isWithoutDescription = entry.isDir() && source == below(relativePath, entry.fileName());
        const bool isOrdinary = message.text.startsWith(QLatin1String("Cannot find key"))
            || (isWithoutDescription && message.text == QLatin1String("No description file found!"));
        return {source, message.text, !isOrdinary};
    }

    static QString sourceOf(const QFileInfo& entry, const QString& relativePath)
    {
        QString relativeEntry = below(relativePath, entry.fileName());
        if (!entry.isDir()) {
            return relativeEntry;
        }
        const QString& name = ConfigurationStructureElement::getFolderDescriptionFilename();
        const QFileInfo description(entry.filePath() % QLatin1Char('/') % name);
        // A dangling link counts as well, because it is what the user has to correct.
        const bool isThere = description.exists() || description.isSymLink();
        return isThere ? below(relativeEntry, name) : relativeEntry;
    }

    bool isSafeToRead(const QFileInfo& entry, const QString& relativePath)
    {
        // The listing already knows which entries are regular files. This saves a call of the system for each of them.
        if (entry.isFile() || !judge.validateObject(entry, suffix)) {
            return true;
        }
        const QString relativeEntry = below(relativePath, entry.fileName());
        if (!entry.isDir()) {
            return isSafeToOpen(entry.filePath(), relativeEntry);
        }
        const QString& name = ConfigurationStructureElement::getFolderDescriptionFilename();
        return isSafeToOpen(below(entry.filePath(), name), below(relativeEntry, name));
    }

    bool isSafeToOpen(const QString& path, const QString& relativePath)
    {
        const char* const word = deviceWord(statusOf(path).st_mode);
        return word == nullptr || refuse(relativePath, QLatin1String("is ") % QLatin1String(word));
    }

    // Returns false, so that callers can return the result.
    bool refuse(const QString& relativePath, const QString& reason)
    {
        if (goesOn()) {
            leftOut->append({relativePath, reason});
        } else {
            scan.refusal = relativePath % QLatin1String(": it ") % reason;
        }
        return false;
    }

    bool goesOn() const
    {
        return leftOut != nullptr;
    }

    void addRemark(const Remark& remark)
    {
        scan.remarks.append(remark);
    }

    const QString root;
    // A member, because each ConfigurationStructureElementList keeps a reference to it.
    const QString suffix;
    QVector<Refusal>* const leftOut;
    // Its validateObject() tells which entries are read.
    ConfigurationStructureElement judge;
    // The folders from the scanned one down to the one that is being read.
    QVector<FolderId> folders;
    FolderScan scan;
};

} // namespace

QJsonObject TreeElement::object() const
{
    return value.toObject();
}

QString TreeElement::label() const
{
    return object().value(Registry::getKeyLabelTextId()).toString();
}

bool TreeElement::isHidden() const
{
    return object().value(Registry::getKeyHide()).toBool();
}

bool TreeElement::isReachable() const
{
    return !path.isEmpty();
}

QString TreeElement::place() const
{
    if (isReachable()) {
        return QLatin1Char('\'') % path % QLatin1Char('\'');
    }
    // The path of a reachable element has one name for each level.
    const int levelsAbove = pathAbove.isEmpty() ? 0 : pathAbove.count(QLatin1Char('/')) + 1;
    QString text;
    for (int level = positions.size() - 1; level >= levelsAbove; --level) {
        text += (text.isEmpty() ? QLatin1String("position ") : QLatin1String(" below position "))
            % QString::number(positions.at(level));
    }
    return text
        % (levelsAbove == 0 ? QStringLiteral(" of the top level")
                            : QString(QLatin1String(" below '") % pathAbove % QLatin1Char('\'')));
}

int TreeElement::position() const
{
    return positions.constLast();
}

int TreeElement::depth() const
{
    return positions.size() - 1;
}

QString toText(TreeElement::Kind kind)
{
    switch (kind) {
    case TreeElement::Kind::Node:
        return QStringLiteral("node");
    case TreeElement::Kind::Selection:
        return QStringLiteral("selection");
    case TreeElement::Kind::Unknown:
        return QStringLiteral("unknown");
    case TreeElement::Kind::NoObject:
        break;
    }
    return QStringLiteral("no object");
}

int countBelow(const TreeElement& element)
{
    return std::accumulate(element.children.begin(), element.children.end(), 0,
        [](int count, const TreeElement& child) { return count + 1 + countBelow(child); });
}

QJsonValue withoutStamps(const QJsonValue& value)
{
    if (value.isArray()) {
        QJsonArray result;
        const QJsonArray items = value.toArray();
        for (const QJsonValue& item : items) {
            result.append(withoutStamps(item));
        }
        return result;
    }
    if (!value.isObject()) {
        return value;
    }
    const QJsonObject object = value.toObject();
    const bool isStamped =
        object.value(Registry::getKeySelectionType()) == Registry::SelectionTypeValues::getSelection();
    QJsonObject result;
    for (auto member = object.constBegin(); member != object.constEnd(); ++member) {
        const bool isStamp =
            member.key() == Registry::getKeyModuleName() || member.key() == Registry::getKeyObjectName();
        if (!isStamped || !isStamp) {
            result.insert(member.key(), withoutStamps(member.value()));
        }
    }
    return result;
}

TreeElements treeOf(const QJsonArray& manifest)
{
    TreeElements elements = elementsOf(manifest);
    locate(elements);
    return elements;
}

QJsonArray manifestOf(const TreeElements& elements)
{
    QJsonArray manifest;
    for (const TreeElement& element : elements) {
        manifest.append(element.value);
    }
    return manifest;
}

const TreeElement* findElement(const TreeElements& elements, const QString& path, Qt::SplitBehavior emptyNames)
{
    const QStringList names = path.split(QLatin1Char('/'), emptyNames);
    const ConfigurationManifestHandler handler {QString(), QString(), QString()};
    const TreeElements* siblings = &elements;
    const TreeElement* found = nullptr;
    for (int level = 0; level < names.size(); ++level) {
        const QJsonArray array = manifestOf(*siblings);
        int index = -1;
        handler.getElementFromInstance(array, names.at(level), index);
        if (index < 0 && emptyNames == Qt::KeepEmptyParts && level == names.size() - 1) {
            handler.getElementFromInstance(array, path, index);
        }
        if (index < 0) {
            return nullptr;
        }
        found = &siblings->at(static_cast<TreeElements::size_type>(index));
        siblings = &found->children;
    }
    return found;
}

int errorOfListing(const QString& folder)
{
    const QByteArray path = QFile::encodeName(folder);
    // Without the right to search the folder, the names of its entries can be listed, but not whether they are files or
    // folders, and they cannot be opened.
    if (faccessat(AT_FDCWD, path.constData(), R_OK | X_OK, AT_EACCESS) != 0) {
        return errno;
    }
    const std::unique_ptr<DIR, int (*)(DIR*)> list(opendir(path.constData()), closedir);
    if (list == nullptr) {
        return errno;
    }
    // QDir takes an error for the end of the listing, so read the whole listing here.
    do {
        errno = 0;
    } while (readdir(list.get()) != nullptr);
    return errno;
}

QString descriptionSuffix(const QString& scheme)
{
    return scheme == ConfigurationAndProcessDataDefinitions::getSelectorUrlSchemeConfiguration()
        ? ConfigurationStructureElement::getConfigurationFileSuffix()
        : ConfigurationStructureElement::getProcessFileSuffix();
}

FolderScan scanFolder(const QString& folder, const QString& scheme)
{
    return FolderReader(folder, scheme).read();
}

FolderScan scanWithoutRefused(const QString& folder, const QString& scheme, QVector<Refusal>& refusals)
{
    return FolderReader(folder, scheme, &refusals).read();
}

void callSilently(const std::function<void()>& function)
{
    const Silence silence;
    function();
}
