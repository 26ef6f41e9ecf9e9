#include "TreeOperand.h"

#include "FileOperand.h"
#include "ManifestText.h"
#include "Output.h"
#include "Scheme.h"

#include <QtCore/QCommandLineParser>
#include <QtCore/QDir>
#include <QtCore/QFileInfo>
#include <QtCore/QJsonDocument>

#include <algorithm>
#include <cmath>
#include <numeric>
#include <utility>

namespace {

int countOf(const TreeElements& tree)
{
    return std::accumulate(tree.begin(), tree.end(), 0,
        [](int count, const TreeElement& element) { return count + 1 + countBelow(element); });
}

bool isRounded(const QJsonValue& value);

template <typename Container>
bool holdsRounded(const Container& container)
{
    return std::any_of(container.begin(), container.end(), [](const QJsonValue& item) { return isRounded(item); });
}

// Whether a value contains a number so large that it may change when it is saved and read.
bool isRounded(const QJsonValue& value)
{
    constexpr double mostExact = 9007199254740992.0;
    if (value.isArray()) {
        return holdsRounded(value.toArray());
    }
    return value.isObject() ? holdsRounded(value.toObject())
                            : value.isDouble() && std::abs(value.toDouble()) >= mostExact;
}

// The manifest as it is after saving and reading it. Returned unchanged if it is nested too deeply to be read.
QJsonArray asSaved(const QJsonArray& manifest)
{
    const QJsonDocument saved = QJsonDocument::fromJson(QJsonDocument(manifest).toJson(QJsonDocument::Compact));
    return saved.isArray() ? saved.array() : manifest;
}

bool scan(const QString& folder, const QString& scheme, TreeOperand& operand)
{
    const QString reason = reasonForNothing(folder);
    if (!reason.isNull()) {
        complain(QLatin1String("cannot read ") % printable(folder) % QLatin1String(": ") % reason);
        return false;
    }
    FolderScan found = scanFolder(wholePath(folder), scheme);
    for (const Remark& reported : qAsConst(found.remarks)) {
        if (reported.isDamage) {
            remark(QLatin1String("warning: ") % folder % QLatin1Char('/') % reported.source % QLatin1String(": ")
                % reported.text);
        }
    }
    if (!found.refusal.isNull()) {
        complain(QLatin1String("cannot read ") % printable(folder) % QLatin1Char('/') % printable(found.refusal));
        return false;
    }
    operand.isWhole = found.isWhole;
    operand.manifest = manifestOf(found.elements);
    if (holdsRounded(operand.manifest)) {
        found.elements.clear();
        operand.manifest = asSaved(operand.manifest);
        operand.tree = treeOf(operand.manifest);
    } else {
        operand.tree = std::move(found.elements);
    }
    return true;
}

} // namespace

QString reasonForNothing(const QString& folder)
{
    const QFileInfo info(folder);
    if (!info.exists()) {
        return QStringLiteral("there is no such folder");
    }
    if (!info.isDir()) {
        return QStringLiteral("it is not a folder");
    }
    if (!info.isReadable() || !info.isExecutable()) {
        return QStringLiteral("the folder is not readable");
    }
    if (QDir(folder).isEmpty(QDir::Dirs | QDir::Files | QDir::NoDotAndDotDot)) {
        const int error = errorOfListing(folder);
        return error == 0 ? QStringLiteral("the folder holds no visible entry") : textOf(error);
    }
    return {};
}

QString wholePath(const QString& folder)
{
    const QString canonical = QFileInfo(folder).canonicalFilePath();
    return canonical.isEmpty() ? folder : canonical;
}

bool readFolder(const QString& path, const QString& scheme, TreeOperand& operand)
{
    operand.path = onTheDisk(path);
    return scan(operand.path, scheme, operand);
}

bool readTree(const QString& path, const QString& scheme, TreeOperand& operand)
{
    operand.path = onTheDisk(path);
    if (operand.path != QLatin1String("-") && QFileInfo(operand.path).isDir()) {
        return scan(operand.path, scheme, operand);
    }
    QByteArray content;
    QString problem;
    if (!readFileOperand(operand.path, content, problem)
        || !parseManifest(operand.path, content, operand.manifest, problem)) {
        complain(problem);
        return false;
    }
    operand.tree = treeOf(operand.manifest);
    return true;
}

bool areUnrelated(const Pairing& pairing, const TreeOperand& before, const TreeOperand& after)
{
    constexpr int fewElements = 10;
    constexpr int hardlyAny = 10;
    const int sizeBefore = countOf(before.tree);
    const int sizeAfter = countOf(after.tree);
    // Compare with the size before only: a manifest that keeps all elements and gets many new ones is not unrelated.
    if (std::max(sizeBefore, sizeAfter) < fewElements || pairing.count() * hardlyAny >= sizeBefore) {
        return false;
    }
    remark(QLatin1String("warning: ") % before.path % QLatin1String(" and ") % after.path
        % QStringLiteral(" have hardly anything in common: %1 of %2 and %3 elements")
              .arg(pairing.count())
              .arg(sizeBefore)
              .arg(sizeAfter));
    return true;
}

bool readStandardInputOnce(const QStringList& operands)
{
    if (operands.count(QStringLiteral("-")) < 2) {
        return true;
    }
    complain(QStringLiteral("standard input can be read only once"));
    return false;
}

Options treeOptions()
{
    return schemeOptions(QStringLiteral("Read folders under SCHEME."));
}

Option stampsOption()
{
    return {QStringLiteral("stamps"), {},
        QStringLiteral("Also compare the module and object names that are stamped into selections."), {}};
}

Stamps stampsWanted(const QCommandLineParser& arguments)
{
    return arguments.isSet(stampsOption().name) ? Stamps::Count : Stamps::DoNotCount;
}
