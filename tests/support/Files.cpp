#include "Files.h"

#include "Literals.h"

#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QFileInfo>
#include <QtCore/QJsonDocument>
#include <QtCore/QRegularExpression>
#include <QtCore/QStringList>

#include <csignal>

#include <sys/resource.h>
#include <unistd.h>

namespace {

QJsonDocument parsed(const char* json)
{
    QJsonParseError error;
    QJsonDocument document = QJsonDocument::fromJson(QByteArray(json), &error);
    if (error.error != QJsonParseError::NoError) {
        qFatal("test input is not JSON: %s", json);
    }
    return document;
}

void limitFileSize(rlim_t bytes)
{
    struct rlimit limit;
    getrlimit(RLIMIT_FSIZE, &limit);
    limit.rlim_cur = bytes;
    if (setrlimit(RLIMIT_FSIZE, &limit) != 0) {
        qFatal("cannot limit the file size");
    }
}

} // namespace

void writeFile(const QString& path, const QByteArray& content)
{
    QDir().mkpath(QFileInfo(path).path());
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size() || !file.flush()) {
        qFatal("cannot write %s", qPrintable(path));
    }
}

QByteArray readFile(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

QStringList everythingIn(const QString& folder)
{
    return QDir(folder).entryList(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot, QDir::Name);
}

bool isTemporaryFileOf(const QString& manifestName, const QString& name)
{
    static const QRegularExpression ending(QRegularExpression::anchoredPattern(u"\\.[A-Za-z]{6}"_qs));
    return name.startsWith(manifestName) && ending.match(name.mid(manifestName.size())).hasMatch();
}

QJsonObject objectFrom(const char* json)
{
    const QJsonDocument document = parsed(json);
    if (!document.isObject()) {
        qFatal("test input is not an object: %s", json);
    }
    return document.object();
}

QJsonArray arrayFrom(const char* json)
{
    const QJsonDocument document = parsed(json);
    if (!document.isArray()) {
        qFatal("test input is not an array: %s", json);
    }
    return document.array();
}

QByteArray compact(const QJsonArray& array)
{
    return QJsonDocument(array).toJson(QJsonDocument::Compact);
}

AsOrdinaryUser::AsOrdinaryUser()
    : user(geteuid())
{
    constexpr uid_t nobody = 65534;
    // Set the real user as well, because access() checks its permissions.
    if (user == 0 && setresuid(nobody, nobody, user) != 0) {
        qFatal("cannot become an ordinary user");
    }
}

AsOrdinaryUser::~AsOrdinaryUser()
{
    if (setresuid(user, user, user) != 0) {
        qFatal("cannot become the former user again");
    }
}

FileSizeLimit::FileSizeLimit(unsigned long bytes)
    : previousHandler(std::signal(SIGXFSZ, SIG_IGN))
{
    limitFileSize(bytes);
}

FileSizeLimit::~FileSizeLimit()
{
    limitFileSize(RLIM_INFINITY);
    std::signal(SIGXFSZ, previousHandler);
}
