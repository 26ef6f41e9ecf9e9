// Prints, as JSON, the peak heap use of loads, and how much a process grows that saves one property again and again.

#include "ConfigurationManifestHandler.h"
#include "HeapUse.h"
#include "Jobs.h"
#include "Trees.h"

#include <QtCore/QFile>
#include <QtCore/QJsonDocument>
#include <QtCore/QJsonObject>

#include <cstdio>

#include <unistd.h>

namespace {

qint64 residentBytes()
{
    QFile file(QStringLiteral("/proc/self/statm"));
    return file.open(QIODevice::ReadOnly) ? file.readAll().split(' ').at(1).toLongLong() * sysconf(_SC_PAGESIZE) : -1;
}

QJsonObject peaksOf(const std::string& workload)
{
    QJsonObject peaks;
    const Job job = workloadOf(workload).make();
    for (const Side& side : job.sides) {
        if (side.name == "library" || side.name == "parsing") {
            side.prepare(0);
            peaks.insert(QString::fromStdString(side.name), heapUseOf([&] { side.run(); }).peak);
        }
    }
    return peaks;
}

void save(ConfigurationManifestHandler& handler, const QString& path, int times)
{
    const QString padding(990, QLatin1Char('x'));
    for (int i = 0; i < times; ++i) {
        const QString value = padding + QString::number(i).rightJustified(10, QLatin1Char('0'));
        if (!handler.setProperty(path, QStringLiteral("labelTextId"), value, true)) {
            qFatal("there is no element %s", qPrintable(path));
        }
    }
}

qint64 growth(int saves)
{
    const Tree& tree = treeOf(QStringLiteral("20"));
    ConfigurationManifestHandler handler(tree.manifestPath(), QString(), QString());
    handler.parseManifestFile();
    save(handler, tree.selections.constLast(), 1000);
    const qint64 before = residentBytes();
    save(handler, tree.selections.constLast(), saves);
    return residentBytes() - before;
}

} // namespace

int main(int argc, char* argv[])
{
    const bool quick = argc > 1 && QByteArray(argv[1]) == "--quick";
    QJsonObject result;
    for (const char* const workload : {"load/100", "load/2000", "load/20000"}) {
        if (!quick || workload != QByteArray("load/20000")) {
            result.insert(QLatin1String(workload), peaksOf(workload));
        }
    }
    const int saves = quick ? 10000 : 100000;
    result.insert(QStringLiteral("saves"), saves);
    result.insert(QStringLiteral("growth"), growth(saves));
    std::fputs(QJsonDocument(result).toJson().constData(), stdout);
    return 0;
}
