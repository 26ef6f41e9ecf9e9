// Prints how much heap memory it takes to load a manifest of 10,000 elements, and to only read and parse it.

#include "ConfigurationManifestHandler.h"
#include "HeapUse.h"
#include "Literals.h"

#include <QtCore/QFile>
#include <QtCore/QJsonArray>
#include <QtCore/QJsonDocument>
#include <QtCore/QJsonObject>
#include <QtCore/QTemporaryFile>
#include <QtCore/QTextStream>

namespace {

QJsonObject selectionAt(int number)
{
    return {{u"closeMode"_qs, u"Manual"_qs}, {u"dataModel"_qs, u"network.port"_qs}, {u"hide"_qs, false},
        {u"iconName"_qs, u"plug"_qs}, {u"instanceName"_qs, u"network/port%1"_qs.arg(number)},
        {u"labelTextId"_qs, u"TXT_PORT"_qs}, {u"lastModified"_qs, u"2024-05-17T08:30:00Z"_qs},
        {u"moduleName"_qs, u"Device"_qs}, {u"objectName"_qs, u"device1"_qs}, {u"selectionType"_qs, u"Selection"_qs},
        {u"uiJob"_qs, u"OpenConfiguration"_qs}};
}

QByteArray manifest()
{
    QJsonArray root;
    for (int folder = 0; folder < 100; ++folder) {
        QJsonArray children;
        for (int number = 0; number < 99; ++number) {
            children.append(selectionAt(number));
        }
        root.append(
            QJsonObject {{u"dataSourceType"_qs, u"JsonData"_qs}, {u"instanceName"_qs, u"folder%1"_qs.arg(folder)},
                {u"selectionType"_qs, u"Node"_qs}, {u"substructure"_qs, children}});
    }
    return QJsonDocument(root).toJson(QJsonDocument::Compact);
}

} // namespace

int main()
{
    const QByteArray content = manifest();
    QTemporaryFile file;
    if (!file.open() || file.write(content) != content.size() || !file.flush()) {
        return 1;
    }
    ConfigurationManifestHandler handler(file.fileName(), u"Device"_qs, u"device1"_qs);
    const HeapUse loading = heapUseOf([&] { handler.parseManifestFile(); });
    QJsonDocument document;
    const HeapUse parsing = heapUseOf([&] {
        QFile again(file.fileName());
        if (again.open(QIODevice::ReadOnly)) {
            document = QJsonDocument::fromJson(again.readAll());
        }
    });
    if (handler.getManifestContent() != content || document.isEmpty()) {
        return 1;
    }

    QTextStream out(stdout);
    const auto print = [&out](const char* what, qint64 bytes) {
        out << qSetFieldWidth(0) << what << qSetFieldWidth(12) << right << bytes << qSetFieldWidth(0) << '\n';
    };
    print("manifest of 10,000 elements         ", content.size());
    print("peak of the heap while loading it   ", loading.peak);
    print("the same for reading and parsing it ", parsing.peak);
    print("kept of the heap once it is loaded  ", loading.kept);
    return 0;
}
