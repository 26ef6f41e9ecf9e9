#include "ManifestText.h"

#include "Output.h"

#include <QtCore/QJsonDocument>

bool parseManifest(const QString& path, const QByteArray& content, QJsonArray& manifest, QString& problem)
{
    QJsonParseError parseError;
    const QJsonDocument document = QJsonDocument::fromJson(content, &parseError);
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
