#include "ConfigurationManifestCreator.h"
#include "Files.h"
#include "Handlers.h"
#include "Literals.h"
#include "MessageRecorder.h"
#include "Process.h"
#include "QuickFolder.h"
#include "TestMain.h"
#include "faults/FaultyCalls.h"

#include <QtCore/QDir>
#include <QtCore/QFileInfo>
#include <QtCore/QSharedPointer>
#include <QtCore/QtEndian>

#include <cerrno>
#include <climits>

#include <linux/capability.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/xattr.h>
#include <unistd.h>

// A save creates a new file. It gets owner, group and permissions of the old one as far as the process may set them,
// and nobody gets more permissions than before.

namespace {

const QByteArray previous = R"([{"instanceName":"previous","selectionType":"Node"}])";
constexpr uid_t nobody = 65534;
constexpr uid_t someUser = 1234;
constexpr gid_t someGroup = 5678;

struct Ownership {
    uid_t owner;
    gid_t group;
    mode_t mode;
};

bool operator==(const Ownership& a, const Ownership& b)
{
    return a.owner == b.owner && a.group == b.group && a.mode == b.mode;
}

char* toString(const Ownership& ownership)
{
    return qstrdup(qPrintable(u"%1:%2 mode %3"_qs.arg(ownership.owner).arg(ownership.group).arg(ownership.mode, 0, 8)));
}

Ownership ownershipOf(const QString& path)
{
    struct stat status = {};
    if (stat(qPrintable(path), &status) != 0) {
        qFatal("cannot look at %s", qPrintable(path));
    }
    return {status.st_uid, status.st_gid, status.st_mode & 07777};
}

void give(const QString& path, const Ownership& ownership)
{
    if (chown(qPrintable(path), ownership.owner, ownership.group) != 0
        || chmod(qPrintable(path), ownership.mode) != 0) {
        qFatal("cannot change the owner or the permissions of %s", qPrintable(path));
    }
}

/// A way to replace the manifest of a folder.
using Save = void (*)(const QString& folder);

void saveByHandler(const QString& folder)
{
    Handler handler(folder + u"/configuration.manifest.json"_qs, QString(), QString());
    handler.setManifestJsonArray({u"saved"_qs});
    handler.writeToManifestFile();
}

void saveByCreator(const QString& folder)
{
    ConfigurationManifestCreator().create2(folder, u"configuration"_qs);
}

/// The user who saves, if root runs the test. The group of the process stays that of the test.
enum class By { TheTest, AnOrdinaryUser, AUserWhoMayGiveFilesAway };

/// Changes the process to that of an ordinary user whose only capability is CAP_CHOWN. This cannot be undone.
void becomeUserWhoMayGiveFilesAway()
{
    __user_cap_header_struct header {_LINUX_CAPABILITY_VERSION_3, 0};
    __user_cap_data_struct rights[2] {};
    rights[0].effective = rights[0].permitted = 1U << CAP_CHOWN;
    if (prctl(PR_SET_KEEPCAPS, 1) != 0 || setresuid(nobody, nobody, nobody) != 0
        || syscall(SYS_capset, &header, rights) != 0) {
        qFatal("cannot give up the rights of root");
    }
}

/// A folder that everybody may write to, with a manifest and something to scan.
class Place {
public:
    Place()
        : directory(quickFolder())
    {
        chmod(qPrintable(folder()), 0777);
        writeFile(folder() + u"/readme.txt"_qs, "");
        writeFile(manifest(), previous);
    }
    QString folder() const
    {
        return directory.path();
    }
    QString manifest() const
    {
        return directory.filePath(u"configuration.manifest.json"_qs);
    }
    void saveBy(Save save, By whom) const
    {
        MessageRecorder log;
        if (whom == By::AUserWhoMayGiveFilesAway) {
            Process process([&] {
                becomeUserWhoMayGiveFilesAway();
                save(folder());
            });
            QVERIFY(process.wait());
        } else if (whom == By::AnOrdinaryUser) {
            const AsOrdinaryUser ordinary;
            save(folder());
        } else {
            save(folder());
        }
        QCOMPARE(log.take(), Messages());
        QVERIFY(readFile(manifest()) != previous);
    }

private:
    const QTemporaryDir directory;
};

// Access control lists in the kernel's format: a version, and for each entry its tag, rights and user.

constexpr auto accessList = "system.posix_acl_access";
constexpr auto defaultList = "system.posix_acl_default";

struct Entry {
    quint16 tag;
    quint16 rights;
    quint32 id;
};

constexpr quint32 noId = 0xffffffff;
constexpr Entry owner(quint16 rights)
{
    return {0x01, rights, noId};
}
constexpr Entry user(quint32 id, quint16 rights)
{
    return {0x02, rights, id};
}
constexpr Entry group(quint16 rights)
{
    return {0x04, rights, noId};
}
constexpr Entry mask(quint16 rights)
{
    return {0x10, rights, noId};
}
constexpr Entry others(quint16 rights)
{
    return {0x20, rights, noId};
}

QByteArray listOf(const QVector<Entry>& entries)
{
    QByteArray list(4 + 8 * entries.size(), '\0');
    auto* data = reinterpret_cast<uchar*>(list.data());
    qToLittleEndian<quint32>(2, data);
    data += 4;
    for (const Entry& entry : entries) {
        qToLittleEndian(entry.tag, data);
        qToLittleEndian(entry.rights, data + 2);
        qToLittleEndian(entry.id, data + 4);
        data += 8;
    }
    return list;
}

void setList(const QString& path, const char* name, const QByteArray& list)
{
    if (setxattr(qPrintable(path), name, list.constData(), static_cast<size_t>(list.size()), 0) != 0) {
        qFatal("cannot give %s a list: %s", qPrintable(path), strerror(errno));
    }
}

/// Null when there is none.
QByteArray listAt(const QString& path)
{
    QByteArray list(1024, '\0');
    const ssize_t size = getxattr(qPrintable(path), accessList, list.data(), static_cast<size_t>(list.size()));
    return size < 0 ? QByteArray() : list.left(static_cast<int>(size));
}

void addSaves(const char* name, const std::function<QTestData&(QTestData&)>& addRest)
{
    addRest(QTest::addRow("%s, handler", name) << Save(saveByHandler));
    addRest(QTest::addRow("%s, creator", name) << Save(saveByCreator));
}

} // namespace

Q_DECLARE_METATYPE(Save)
Q_DECLARE_METATYPE(By)
Q_DECLARE_METATYPE(Ownership)

class tst_SavedFile : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void savedFileKeepsOwnerGroupAndPermissions_data();
    void savedFileKeepsOwnerGroupAndPermissions();
    void firstManifestBelongsToItsCreator();
    void linkStaysAndItsTargetIsReplaced_data();
    void linkStaysAndItsTargetIsReplaced();
    void removedManifestGivesGroupNoAccess();
    void linkThatAppearsMeanwhileGivesAwayNoOtherFile();
    void foreignManifestInStickyFolderIsNotGivenBack();
    void groupGetsNoMoreThanOldAccessListGranted_data();
    void groupGetsNoMoreThanOldAccessListGranted();
    void inheritedAccessListGivesNobodyMore_data();
    void inheritedAccessListGivesNobodyMore();
    void equalAccessListTakesNoPermissionsAway_data();
    void equalAccessListTakesNoPermissionsAway();
};

void tst_SavedFile::savedFileKeepsOwnerGroupAndPermissions_data()
{
    QTest::addColumn<Save>("save");
    QTest::addColumn<By>("whom");
    QTest::addColumn<Ownership>("before");
    QTest::addColumn<Ownership>("after");

    const auto add = [](const char* name, By whom, const Ownership& before, const Ownership& after) {
        addSaves(name, [&](QTestData& row) -> QTestData& { return row << whom << before << after; });
    };
    const uid_t user = geteuid();
    const gid_t ownGroup = getegid();
    for (const mode_t mode :
        std::initializer_list<mode_t> {0600, 0640, 0660, 0644, 0664, 0666, 0604, 0606, 0750, 0777}) {
        const QByteArray name = "mode " + QByteArray::number(mode, 8);
        add(name.constData(), By::TheTest, {user, ownGroup, mode}, {user, ownGroup, mode});
    }
    add("bits that set the user", By::TheTest, {user, ownGroup, 06755}, {user, ownGroup, 0755});
    if (user != 0) {
        return;
    }
    // Only root can give files away.
    add("another's", By::TheTest, {someUser, someGroup, 0640}, {someUser, someGroup, 0640});
    add("another's, read by all", By::TheTest, {someUser, someGroup, 0664}, {someUser, someGroup, 0664});
    add("another's, for nobody", By::TheTest, {someUser, someGroup, 0}, {someUser, someGroup, 0});
    add("another user's", By::TheTest, {someUser, ownGroup, 0640}, {someUser, ownGroup, 0640});
    add("another group's", By::TheTest, {user, someGroup, 0460}, {user, someGroup, 0460});
    // Other users cannot keep owner and group of others.
    add("own", By::AnOrdinaryUser, {nobody, ownGroup, 0640}, {nobody, ownGroup, 0640});
    add("foreign user", By::AnOrdinaryUser, {someUser, ownGroup, 0666}, {nobody, ownGroup, 0666});
    add("foreign group", By::AnOrdinaryUser, {nobody, someGroup, 0660}, {nobody, ownGroup, 0600});
    add("foreign group, read by all", By::AnOrdinaryUser, {nobody, someGroup, 0664}, {nobody, ownGroup, 0644});
    add("foreign group with fewer rights", By::AnOrdinaryUser, {nobody, someGroup, 0606}, {nobody, ownGroup, 0606});
    // The owner is not restored: after that, the process could not rename the file.
    add("foreign user, by a process that may give files away", By::AUserWhoMayGiveFilesAway,
        {someUser, someGroup, 0662}, {nobody, someGroup, 0662});
    add("own, foreign group", By::AUserWhoMayGiveFilesAway, {nobody, someGroup, 0640}, {nobody, someGroup, 0640});
    add("foreign user and group", By::AnOrdinaryUser, {someUser, someGroup, 0676}, {nobody, ownGroup, 0666});
}

void tst_SavedFile::savedFileKeepsOwnerGroupAndPermissions()
{
    QFETCH(const Save, save);
    QFETCH(const By, whom);
    QFETCH(const Ownership, before);
    QFETCH(const Ownership, after);

    const Place place;
    give(place.manifest(), before);
    place.saveBy(save, whom);
    QCOMPARE(ownershipOf(place.manifest()), after);
}

void tst_SavedFile::firstManifestBelongsToItsCreator()
{
    const Place place;
    QVERIFY(QFile::remove(place.manifest()));
    const mode_t previousMask = umask(0027);
    QVERIFY(ConfigurationManifestCreator().create2(place.folder(), u"configuration"_qs));
    umask(previousMask);
    QCOMPARE(ownershipOf(place.manifest()), (Ownership {geteuid(), getegid(), 0640}));
}

void tst_SavedFile::linkStaysAndItsTargetIsReplaced_data()
{
    QTest::addColumn<Save>("save");
    QTest::addColumn<bool>("isAbsolute");
    addSaves("absolute", [](QTestData& row) -> QTestData& { return row << true; });
    addSaves("relative", [](QTestData& row) -> QTestData& { return row << false; });
}

void tst_SavedFile::linkStaysAndItsTargetIsReplaced()
{
    QFETCH(const Save, save);
    QFETCH(const bool, isAbsolute);

    const Place place;
    const QTemporaryDir elsewhere(quickFolder());
    const QString target = elsewhere.filePath(u"target.json"_qs);
    const QString link = isAbsolute ? target : QDir(place.folder()).relativeFilePath(target);
    QVERIFY(QFile::rename(place.manifest(), target));
    QVERIFY(QFile::link(link, place.manifest()));
    const QStringList before = everythingIn(place.folder());
    const Ownership ownership =
        geteuid() == 0 ? Ownership {someUser, someGroup, 0460} : Ownership {geteuid(), getegid(), 0660};
    give(target, ownership);

    {
        const MessageRecorder log;
        Handler reader(place.manifest(), QString(), QString());
        reader.parseManifestFile();
        QCOMPARE(reader.getManifestContent(), previous);
    }
    place.saveBy(save, By::TheTest);
    char stored[PATH_MAX] = {};
    QVERIFY(readlink(qPrintable(place.manifest()), stored, sizeof stored - 1) > 0);
    QCOMPARE(QFile::decodeName(stored), link);
    QCOMPARE(readFile(target), QByteArray(save == saveByHandler ? R"(["saved"])" : "[]"));
    QCOMPARE(ownershipOf(target), ownership);
    QCOMPARE(everythingIn(elsewhere.path()), QStringList(u"target.json"_qs));
    QCOMPARE(everythingIn(place.folder()), before);
}

// QSaveFile would copy the permissions of the old file, whose group was another one.
void tst_SavedFile::removedManifestGivesGroupNoAccess()
{
    const Place place;
    const bool isRoot = geteuid() == 0;
    give(place.manifest(), {isRoot ? nobody : geteuid(), isRoot ? someGroup : getegid(), 0660});
    {
        const AsOrdinaryUser ordinary;
        const FaultyCalls faulty(place.folder().toStdString(), {{"access", 5, 5, Fault::Vanished}});
        saveByHandler(place.folder());
    }
    QCOMPARE(readFile(place.manifest()), QByteArray(R"(["saved"])"));
    QCOMPARE(ownershipOf(place.manifest()).mode & S_IRWXG, mode_t(0));
}

// The owner of the manifest may replace it with a link during a save, so that another file is overwritten. That file
// must not be given to him as well.
void tst_SavedFile::linkThatAppearsMeanwhileGivesAwayNoOtherFile()
{
    const Place place;
    const bool isRoot = geteuid() == 0;
    const QString other = place.folder() + u"/secret/important.json"_qs;
    writeFile(other, previous);
    const Ownership ownership {geteuid(), getegid(), 0600};
    give(other, ownership);
    give(place.manifest(), {isRoot ? someUser : geteuid(), isRoot ? someGroup : getegid(), 0666});
    QVERIFY(QFile::link(u"secret/important.json"_qs, place.manifest() + u".exchange"_qs));
    {
        const FaultyCalls faulty(place.folder().toStdString(), {{"access", 2, 2, Fault::Exchanged}});
        saveByHandler(place.folder());
    }
    QCOMPARE(readFile(other), QByteArray(R"(["saved"])"));
    QCOMPARE(ownershipOf(other), ownership);
}

void tst_SavedFile::foreignManifestInStickyFolderIsNotGivenBack()
{
    const Place place;
    const bool isRoot = geteuid() == 0;
    QCOMPARE(chmod(qPrintable(place.folder()), 01777), 0);
    give(place.manifest(), {isRoot ? someUser : geteuid(), isRoot ? someGroup : getegid(), 0644});
    saveByHandler(place.folder());
    QCOMPARE(ownershipOf(place.manifest()), (Ownership {geteuid(), isRoot ? someGroup : getegid(), 0644}));
}

void tst_SavedFile::groupGetsNoMoreThanOldAccessListGranted_data()
{
    QTest::addColumn<Save>("save");
    QTest::addColumn<int>("groupsRights");
    QTest::addColumn<int>("othersRights");
    QTest::addColumn<int>("modeAfter");
    const auto add = [](const char* name, int groupsRights, int othersRights, int modeAfter) {
        addSaves(name, [&](QTestData& row) -> QTestData& { return row << groupsRights << othersRights << modeAfter; });
    };
    add("nothing, like others", 0, 0, 0600);
    add("nothing, unlike others", 0, 4, 0604);
    add("reading, like others", 4, 4, 0644);
    add("reading, unlike others", 4, 0, 0600);
    add("everything, others read", 6, 4, 0644);
}

// If a file has a list, its group bits are the mask of the list. Here they limit what the one user may do.
void tst_SavedFile::groupGetsNoMoreThanOldAccessListGranted()
{
    QFETCH(const Save, save);
    QFETCH(const int, groupsRights);
    QFETCH(const int, othersRights);
    QFETCH(const int, modeAfter);

    const Place place;
    const QVector<Entry> list {owner(6), user(someUser, 6), group(static_cast<quint16>(groupsRights)), mask(6),
        others(static_cast<quint16>(othersRights))};
    setList(place.manifest(), accessList, listOf(list));
    QCOMPARE(ownershipOf(place.manifest()).mode, mode_t(0660 | othersRights));
    place.saveBy(save, By::TheTest);
    QCOMPARE(listAt(place.manifest()), QByteArray());
    QCOMPARE(ownershipOf(place.manifest()).mode, static_cast<mode_t>(modeAfter));
}

void tst_SavedFile::inheritedAccessListGivesNobodyMore_data()
{
    QTest::addColumn<Save>("save");
    QTest::addColumn<bool>("hadList");
    addSaves("none before", [](QTestData& row) -> QTestData& { return row << false; });
    addSaves("a stricter one before", [](QTestData& row) -> QTestData& { return row << true; });
}

// The default list of the folder lets one user write to new files. The old manifest did not.
void tst_SavedFile::inheritedAccessListGivesNobodyMore()
{
    QFETCH(const Save, save);
    QFETCH(const bool, hadList);

    const Place place;
    give(place.manifest(), {geteuid(), getegid(), 0660});
    if (hadList) {
        setList(place.manifest(), accessList, listOf({owner(6), user(someUser, 0), group(6), mask(6), others(0)}));
    }
    setList(place.folder(), defaultList, listOf({owner(7), user(someUser, 7), group(7), mask(7), others(0)}));
    place.saveBy(save, By::TheTest);
    QVERIFY(!listAt(place.manifest()).isNull());
    // An empty mask: nobody in the list may do anything.
    QCOMPARE(ownershipOf(place.manifest()).mode, mode_t(0600));
}

void tst_SavedFile::equalAccessListTakesNoPermissionsAway_data()
{
    QTest::addColumn<Save>("save");
    addSaves("inherited", [](QTestData& row) -> QTestData& { return row; });
}

void tst_SavedFile::equalAccessListTakesNoPermissionsAway()
{
    QFETCH(const Save, save);
    const Place place;
    setList(place.folder(), defaultList, listOf({owner(6), user(someUser, 6), group(4), mask(6), others(0)}));
    QVERIFY(QFile::remove(place.manifest()));
    writeFile(place.manifest(), previous);
    const Ownership ownership = ownershipOf(place.manifest());
    const QByteArray list = listAt(place.manifest());
    QVERIFY(!list.isNull());
    place.saveBy(save, By::TheTest);
    QCOMPARE(ownershipOf(place.manifest()), ownership);
    QCOMPARE(listAt(place.manifest()), list);
}

MANIFEST_TEST_MAIN(tst_SavedFile)

#include "tst_savedfile.moc"
