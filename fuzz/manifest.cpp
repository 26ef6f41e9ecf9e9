// The first text of an input is a manifest. It is loaded from memory and from a file, queried, saved and loaded again.
// The next two texts are the module name and the object name, all others are instance paths for queries.

#include "ConfigurationManifestHandler.h"
#include "Files.h"
#include "Fuzzing.h"
#include "ManifestModel.h"
#include "MessageRecorder.h"

#include <QtCore/QJsonDocument>

#include <optional>

namespace {

class LoadedManifest {
public:
    LoadedManifest(const QString& path, const QString& moduleName, const QString& objectName)
        : handler(path, moduleName, objectName)
        , model(moduleName, objectName)
    {
    }

    void load(const QByteArray& content)
    {
        handler.parseManifestFile(content);
        expect(content);
        compareManifest("loaded from memory");
    }

    /// Loads the manifest from its file, which has that content.
    void loadFile(const QByteArray& content)
    {
        handler.parseManifestFile();
        model.file = content;
        model.parseFile([&] { expect(content); });
        compareManifest("loaded from the file");
    }

    void ask(const QString& path)
    {
        const QStringList names = path.split(QLatin1Char('/'));
        const QJsonArray array = handler.getManifestJsonArray();
        const Members before {{QStringLiteral("before"), {}}};

        Members element = before;
        QJsonObject found = jsonFrom(before);
        comparison.same("getNodeElement", handler.getNodeElement(path, found), model.getNodeElement(path, element));
        comparison.same("element", membersFrom(found), element);

        element = before;
        found = jsonFrom(before);
        comparison.same("getNodeElement in array", handler.getNodeElement(array, names, found),
            model.getNodeElement(model.manifest, names, element));
        comparison.same("element in array", membersFrom(found), element);

        for (const QString& name : {path, names.constLast()}) {
            int index = 99;
            int expectedIndex = 99;
            comparison.same("getElementFromInstance", membersFrom(handler.getElementFromInstance(array, name, index)),
                model.getElementFromInstance(model.manifest, name, expectedIndex));
            comparison.same("index", index, expectedIndex);
        }

        QStringList expectedInstances {QStringLiteral("before")};
        QStringList instances = expectedInstances;
        comparison.same("getListOfInstances", handler.getListOfInstances(path, instances),
            model.getListOfInstances(path, expectedInstances));
        comparison.same("instances", instances, expectedInstances);

        int number = 99;
        int expectedNumber = 99;
        comparison.same("getNumberOfInstances", handler.getNumberOfInstances(path, number),
            model.getNumberOfInstances(path, expectedNumber));
        comparison.same("number", number, expectedNumber);
        finish("asked for " + path.toUtf8());
    }

    void save()
    {
        handler.writeToManifestFile();
        model.write();
        comparison.same("file", std::optional(readFile(handler.getManifestFilePath())), model.file);
        compareManifest("saved");
    }

    const Items& items() const
    {
        return model.manifest;
    }

    QByteArray content()
    {
        return handler.getManifestContent();
    }

private:
    void expect(const QByteArray& content)
    {
        QJsonParseError error;
        const QJsonDocument document = QJsonDocument::fromJson(content, &error);
        if (error.error != QJsonParseError::NoError) {
            model.refuse(QStringLiteral("Error on paring configuration manifest file content to Json: \"%1\" !")
                             .arg(error.errorString()));
        } else if (!document.isArray()) {
            model.refuse(QStringLiteral("Configuration manifest file does not contain a Json array!"));
        } else {
            model.parse(itemsFrom(document.array()));
        }
    }

    void compareManifest(const QByteArray& call)
    {
        comparison.same("manifest", itemsFrom(handler.getManifestJsonArray()), model.manifest);
        comparison.same("content", std::optional(content()), std::optional(compact(model.manifest)));
        comparison.same("modified", handler.getModified(), model.modified);
        finish(call);
    }

    void finish(const QByteArray& call)
    {
        comparison.same("messages", textsOf(recorder.take()), model.messages);
        model.messages.clear();
        endIfDifferent(comparison.differences(), {QString::fromUtf8(call)});
    }

    MessageRecorder recorder;
    ConfigurationManifestHandler handler;
    ManifestModel model;
    Comparison comparison;
};

/// Appends the instance paths of elements until there are six paths, because queries of all would take too long.
void addPaths(const Items& items, const QString& above, QStringList& paths)
{
    constexpr int enough = 6;
    for (const Value& item : items) {
        if (paths.size() == enough) {
            return;
        }
        const QString name = nameOf(item);
        const QString path = above + (isSelection(item) ? name.section(QLatin1Char('/'), -1) : name);
        paths << path;
        if (const Items* const children = childrenOf(item)) {
            addPaths(*children, path + QLatin1Char('/'), paths);
        }
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    Texts texts(data, size);
    const QByteArray content = texts.next();
    const QString moduleName = texts.nextString();
    const QString objectName = texts.nextString();
    if (repeatsKey(content)) {
        return 0;
    }
    const QString path = workFolder() + QStringLiteral("/manifest.json");
    writeFile(path, content);

    LoadedManifest manifest(path, moduleName, objectName);
    manifest.load(content);
    manifest.loadFile(content);
    QStringList paths {QString()};
    addPaths(manifest.items(), QString(), paths);
    while (!texts.atEnd()) {
        paths << texts.nextString();
    }
    for (const QString& asked : std::as_const(paths)) {
        manifest.ask(asked);
    }
    manifest.save();
    const QByteArray saved = readFile(path);
    manifest.loadFile(saved);

    Comparison comparison;
    comparison.same("content", std::optional(manifest.content()), std::optional(saved));
    endIfDifferent(comparison.differences(), {QStringLiteral("saved and loaded again")});
    return 0;
}
