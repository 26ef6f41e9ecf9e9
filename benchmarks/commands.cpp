// Prints, as JSON, the processor time and the memory of those commands of the program that compare trees. The time is
// also given relative to loads and creations of the same trees by the library alone. The memory is given relative to
// that of one loaded tree.

#include "ConfigurationManifestCreator.h"
#include "ConfigurationManifestHandler.h"
#include "Trees.h"

#include <QtCore/QByteArray>
#include <QtCore/QFile>
#include <QtCore/QJsonArray>
#include <QtCore/QJsonDocument>
#include <QtCore/QJsonObject>
#include <QtCore/QProcess>
#include <QtCore/QString>
#include <QtCore/QStringList>
#include <QtCore/QTemporaryDir>
#include <QtCore/QVector>

#include <algorithm>
#include <cstdio>
#include <ctime>

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

constexpr int repetitions = 7;

struct Use {
    double nanoseconds;
    double kilobytes;
};

double processorTime()
{
    timespec time {};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) * 1e9 + static_cast<double>(time.tv_nsec);
}

double nanosecondsOf(const timeval& time)
{
    return static_cast<double>(time.tv_sec) * 1e9 + static_cast<double>(time.tv_usec) * 1e3;
}

// Runs a program and prints its processor time and peak memory. This is done in a small process of its own: between
// fork() and exec a child has the memory of its parent, which counts for its peak.
int printUseOf(char** command)
{
    const pid_t child = fork();
    if (child == 0) {
        const int nowhere = open("/dev/null", O_WRONLY);
        dup2(nowhere, STDOUT_FILENO);
        dup2(nowhere, STDERR_FILENO);
        execv(command[0], command);
        _exit(127);
    }
    int status = 0;
    rusage usage {};
    if (wait4(child, &status, 0, &usage) != child || !WIFEXITED(status)) {
        return 1;
    }
    std::printf("%.0f %ld\n", nanosecondsOf(usage.ru_utime) + nanosecondsOf(usage.ru_stime), usage.ru_maxrss);
    return WEXITSTATUS(status) > 1 ? 1 : 0;
}

// Runs the program once. Its exit status may be 0 or 1.
Use useOf(const QStringList& arguments)
{
    QProcess process;
    process.start(QStringLiteral("/proc/self/exe"), QStringList(QStringLiteral(PROGRAM)) + arguments);
    const bool isDone = process.waitForFinished(-1) && process.exitStatus() == QProcess::NormalExit;
    const QList<QByteArray> numbers = process.readAllStandardOutput().trimmed().split(' ');
    if (!isDone || process.exitCode() != 0 || numbers.size() != 2) {
        qFatal("the program has failed: %s", qPrintable(arguments.join(QLatin1Char(' '))));
    }
    return {numbers.at(0).toDouble(), numbers.at(1).toDouble()};
}

template <typename Function>
double timeOf(const Function& function)
{
    const double start = processorTime();
    function();
    return processorTime() - start;
}

// The shortest times of a load and a creation by the library alone. They are measured in turns with the commands.
struct Yardsticks {
    QString manifest;
    QString folder;
    double load = 1e18;
    double creation = 1e18;

    void measure()
    {
        load = std::min(load, timeOf([&] {
            ConfigurationManifestHandler handler(manifest, QString(), QString());
            handler.parseManifestFile();
        }));
        creation = std::min(
            creation, timeOf([&] { ConfigurationManifestCreator().create2(folder, QStringLiteral("configuration")); }));
    }
};

QJsonArray manifestIn(const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        qFatal("cannot read %s", qPrintable(path));
    }
    return QJsonDocument::fromJson(file.readAll()).array();
}

QString written(const QString& path, const QJsonArray& manifest)
{
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(QJsonDocument(manifest).toJson(QJsonDocument::Compact)) <= 0) {
        qFatal("cannot write %s", qPrintable(path));
    }
    return path;
}

// Returns an edited copy of a tree: every third element gets another label, and of more than two siblings the first one
// is removed and the second one becomes the last.
QJsonArray edited(const QJsonArray& siblings, const QString& label, int& count)
{
    QJsonArray result;
    for (const QJsonValue& sibling : siblings) {
        QJsonObject element = sibling.toObject();
        if (++count % 3 == 0) {
            element.insert(QStringLiteral("labelTextId"), label);
        }
        const QString children = QStringLiteral("substructure");
        if (element.contains(children)) {
            element.insert(children, edited(element.value(children).toArray(), label, count));
        }
        result.append(element);
    }
    if (result.size() > 2) {
        result.removeFirst();
        result.append(result.takeAt(0));
    }
    return result;
}

QJsonArray reversed(const QJsonArray& siblings)
{
    QJsonArray result;
    for (const QJsonValue& sibling : siblings) {
        QJsonObject element = sibling.toObject();
        const QString children = QStringLiteral("substructure");
        if (element.contains(children)) {
            element.insert(children, reversed(element.value(children).toArray()));
        }
        result.prepend(element);
    }
    return result;
}

struct Command {
    const char* operation;
    const char* tree;
    QStringList arguments;
    int manifests;
    int folders;
};

QJsonObject rowOf(const Command& command, Yardsticks& yardsticks, double emptyTree, double oneTree)
{
    Use least {1e18, 1e18};
    for (int i = 0; i < repetitions; ++i) {
        yardsticks.measure();
        const Use use = useOf(command.arguments);
        least = {std::min(least.nanoseconds, use.nanoseconds), std::min(least.kilobytes, use.kilobytes)};
    }
    const double allowed = 3 * yardsticks.load * command.manifests + 2 * yardsticks.creation * command.folders;
    return {
        {QStringLiteral("operation"), QLatin1String(command.operation)},
        {QStringLiteral("tree"), QLatin1String(command.tree)},
        {QStringLiteral("library"), least.nanoseconds},
        {QStringLiteral("of allowed"), least.nanoseconds / allowed},
        {QStringLiteral("trees"), (least.kilobytes - emptyTree) / (oneTree - emptyTree)},
    };
}

} // namespace

int main(int argc, char** argv)
{
    if (argc > 1) {
        return printUseOf(argv + 1);
    }
    const QTemporaryDir temporary;
    const QString empty = written(temporary.filePath(QStringLiteral("empty")), {});
    QJsonArray rows;
    for (const char* const name : {"20000", "wide5000"}) {
        const Tree& tree = treeOf(QLatin1String(name));
        Yardsticks yardsticks {tree.manifestPath(), tree.folder()};
        yardsticks.measure();
        const QString base = tree.manifestPath();
        const QJsonArray manifest = manifestIn(base);
        int count = 0;
        const QString mine =
            written(temporary.filePath(QStringLiteral("mine")), edited(manifest, QStringLiteral("MINE"), count));
        const QString theirs = written(temporary.filePath(QStringLiteral("new")), reversed(manifest));
        const QString& folder = tree.folder();
        // Both runs differ only in the manifest that they load, so the difference is the memory of the tree.
        const double emptyTree = useOf({QStringLiteral("exists"), empty, QStringLiteral("x")}).kilobytes;
        const double oneTree = useOf({QStringLiteral("exists"), base, QStringLiteral("x")}).kilobytes;
        const QVector<Command> commands {
            {"check", name, {QStringLiteral("check"), base}, 1, 0},
            {"check-folder", name, {QStringLiteral("check"), mine, QStringLiteral("--folder"), folder}, 1, 1},
            {"diff", name, {QStringLiteral("diff"), mine, theirs}, 2, 0},
            {"diff-folder", name, {QStringLiteral("diff"), mine, folder}, 1, 1},
            {"merge", name,
                {QStringLiteral("merge"), base, mine, theirs, QStringLiteral("--prefer"), QStringLiteral("mine")}, 3,
                0},
            {"merge-folder", name,
                {QStringLiteral("merge"), base, mine, folder, QStringLiteral("--prefer"), QStringLiteral("mine")}, 2,
                1},
            {"explain", name, {QStringLiteral("explain"), folder}, 0, 1},
        };
        for (const Command& command : commands) {
            rows.append(rowOf(command, yardsticks, emptyTree, oneTree));
        }
    }
    std::fputs(QJsonDocument(rows).toJson().constData(), stdout);
    return 0;
}
