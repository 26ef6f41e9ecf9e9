#include "ManifestFile.h"

#include "Output.h"
#include "SystemInformationManagerRegistryDefinitions.h"

#include <QtCore/QFile>
#include <QtCore/QJsonDocument>

using Registry = SystemInformationManagerRegistryDefinitions;

ElementKind kindOf(const QJsonObject& element)
{
    const QJsonValue type = element.value(Registry::getKeySelectionType());
    if (type == Registry::SelectionTypeValues::getNode()) {
        return ElementKind::Node;
    }
    if (type == Registry::SelectionTypeValues::getSelection()) {
        return ElementKind::Selection;
    }
    return ElementKind::Unknown;
}

ElementCounts countElements(const QJsonArray& manifest)
{
    ElementCounts counts;
    for (const QJsonValue& item : manifest) {
        const QJsonObject element = item.toObject();
        const ElementKind kind = kindOf(element);
        counts.selections += kind == ElementKind::Selection ? 1 : 0;
        counts.nodes += kind == ElementKind::Node ? 1 : 0;
        const ElementCounts below = countElements(element.value(Registry::getKeySubstructure()).toArray());
        counts.selections += below.selections;
        counts.nodes += below.nodes;
    }
    return counts;
}

QString toText(const ElementCounts& counts)
{
    return QStringLiteral("%1 %2, %3 %4")
        .arg(counts.selections)
        .arg(counts.selections == 1 ? QLatin1String("selection") : QLatin1String("selections"))
        .arg(counts.nodes)
        .arg(counts.nodes == 1 ? QLatin1String("node") : QLatin1String("nodes"));
}

bool readManifest(const QString& path, QJsonArray& manifest, QString& problem)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        problem = QLatin1String("cannot read ") % printable(path) % QLatin1String(": ") % file.errorString();
        return false;
    }
    QJsonParseError parseError;
    const QJsonDocument document = QJsonDocument::fromJson(file.readAll(), &parseError);
    if (parseError.error != QJsonParseError::NoError) {
        problem = printable(path) % QLatin1String(" is not a manifest: ") % parseError.errorString()
            % QStringLiteral(" at byte %1").arg(parseError.offset);
        return false;
    }
    if (!document.isArray()) {
        problem = printable(path) % QLatin1String(" is not a manifest: its root is not an array");
        return false;
    }
    manifest = document.array();
    return true;
}

ReplacementCheck::ReplacementCheck(const QString& path)
    : encodedPath(QFile::encodeName(path))
    , before(statusOf(encodedPath))
{
}

bool ReplacementCheck::wasReplaced() const
{
    const struct stat now = statusOf(encodedPath);
    return now.st_nlink != 0 && (now.st_ino != before.st_ino || now.st_dev != before.st_dev);
}

struct stat ReplacementCheck::statusOf(const QByteArray& encodedPath)
{
    struct stat status = {};
    if (stat(encodedPath.constData(), &status) != 0) {
        return {};
    }
    return status;
}
