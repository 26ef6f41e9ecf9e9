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

// What each kind of side keeps from one operation to the next: a manifest in its own form and a file of its own to save
// it in, and the results of its queries and walks.

struct Files {
    Files(const Tree& tree, const char* name);

    /// Everything that a side can come to.
    QJsonValue outcome(const QJsonArray& manifest, const QJsonValue& result) const;

    QString folder;
    QString created;
    QString path;
};

struct WithQt : Files {
    using Files::Files;

    QJsonValue outcome(const QJsonArray& manifest) const;

    // Of a query or walk.
    QJsonValue result;
    QStringList names;
    /// The document of a walk, which takes the manifest's place.
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

/// Plain Qt that only lists and parses, which leaves no results.
struct Parsing : Files {
    static constexpr auto name = "parsing";

    explicit Parsing(const Tree& tree);
    QJsonValue outcome() const;

    QJsonArray manifest;
};

/// Plain Qt that waits for no disk.
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

    /// Has a command carried out and adds its time.
    void run(const QJsonArray& command);

    double time = 0;

private:
    PythonPeer peer;
};
