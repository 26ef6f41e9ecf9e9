// Prints how much heap memory it takes to load a manifest of 10,000 elements, and to only read and parse it.

#include "ConfigurationManifestHandler.h"
#include "HeapUse.h"

#include <QtCore/QFile>
#include <QtCore/QJsonArray>
#include <QtCore/QJsonDocument>
#include <QtCore/QJsonObject>
#include <QtCore/QTemporaryFile>
#include <QtCore/QTextStream>

namespace {

QJsonObject selectionAt(int number)
{
    return {{QStringLiteral("closeMode"), QStringLiteral("Manual")},
        {QStringLiteral("dataModel"), QStringLiteral("network.port")}, {QStringLiteral("hide"), false},
        {QStringLiteral("iconName"), QStringLiteral("plug")},
        {QStringLiteral("instanceName"), QStringLiteral("network/port%1").arg(number)},
        {QStringLiteral("labelTextId"), QStringLiteral("TXT_PORT")},
        {QStringLiteral("lastModified"), QStringLiteral("2024-05-17T08:30:00Z")},
        {QStringLiteral("moduleName"), QStringLiteral("Device")},
        {QStringLiteral("objectName"), QStringLiteral("device1")},
        {QStringLiteral("selectionType"), QStringLiteral("Selection")},
        {QStringLiteral("uiJob"), QStringLiteral("OpenConfiguration")}};
}

QByteArray manifest()
{
    QJsonArray root;
    for (int folder = 0; folder < 100; ++folder) {
        QJsonArray children;
        for (int number = 0; number < 99; ++number) {
            children.append(selectionAt(number));
        }
        root.append(QJsonObject {{QStringLiteral("dataSourceType"), QStringLiteral("JsonData")},
            {QStringLiteral("instanceName"), QStringLiteral("folder%1").arg(folder)},
            {QStringLiteral("selectionType"), QStringLiteral("Node")}, {QStringLiteral("substructure"), children}});
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
    ConfigurationManifestHandler handler(file.fileName(), QStringLiteral("Device"), QStringLiteral("device1"));
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
