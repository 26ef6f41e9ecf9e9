#pragma once

#include "ConfigurationManifestHandler.h"
#include "NlohmannPeer.h"
#include "PythonPeer.h"
#include "Trees.h"

#include <QtCore/QJsonArray>
#include <QtCore/QJsonObject>
#include <QtCore/QJsonValue>
#include <QtCore/QString>
#include <QtCore/QStringList>

#include <optional>
#include <string>

// The state that each kind of side keeps between operations: a manifest in its own representation, a file of its own
// for saving it, and the results of its queries and walks.

struct Files {
    Files(const Tree& tree, const char* name);

    /// Returns all results of a side: the manifest in memory, the saved file, the created file, and the result of a
    /// query or walk.
    QJsonValue outcome(const QJsonArray& manifest, const QJsonValue& result) const;

    QString folder;
    QString created;
    QString path;
};

struct WithQt : Files {
    using Files::Files;

    QJsonValue outcome(const QJsonArray& manifest) const;

    // Results of a query or walk.
    QJsonValue result;
    QStringList names;
    /// The document of a walk. If not null, it replaces the manifest in outcome().
    QJsonValue walked;
};

struct Library : WithQt {
    static constexpr auto name = "library";

    explicit Library(const Tree& tree);
    QJsonValue outcome() const;

    std::optional<ConfigurationManifestHandler> handler;
};

struct PlainQt : WithQt {
    static constexpr auto name = "qt";

    explicit PlainQt(const Tree& tree, const char* sideName = name);
    QJsonValue outcome() const;

    QJsonArray manifest;
};

/// Plain Qt that only lists folders and parses files. It has no results.
struct Parsing : Files {
    static constexpr auto name = "parsing";

    explicit Parsing(const Tree& tree);
    QJsonValue outcome() const;

    QJsonArray manifest;
};

/// Plain Qt that saves without syncing.
struct Unsynced : PlainQt {
    static constexpr auto name = "unsynced";

    explicit Unsynced(const Tree& tree);
};

struct System : Files {
    static constexpr auto name = "system";

    explicit System(const Tree& tree);
    QJsonValue outcome() const;

    std::string content;
};

struct Nlohmann : Files {
    static constexpr auto name = "nlohmann";

    explicit Nlohmann(const Tree& tree);
    QJsonValue outcome() const;

    NlohmannPeer::Json manifest;
    NlohmannPeer::Json result;
};

struct Python : Files {
    static constexpr auto name = "python";

    explicit Python(const Tree& tree);
    QJsonValue outcome();

    /// Runs a command in the Python process and adds its time to `time`.
    void run(const QJsonArray& command);

    double time = 0;

private:
    PythonPeer peer;
};
