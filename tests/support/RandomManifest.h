#pragma once

#include <QtCore/QJsonArray>
#include <QtCore/QJsonObject>
#include <QtCore/QJsonValue>
#include <QtCore/QString>

#include <random>

/// Random manifests and edits of them, reproducible with every run and every C++ library.
class RandomManifest {
public:
    enum class Names {
        /// Some siblings have the same name, some elements have no name, and some items are not elements.
        Any,
        /// Every element has a path.
        Unique,
    };

    RandomManifest(unsigned seed, Names names);

    /// A number from 0 to bound - 1.
    int below(int bound);
    QJsonArray manifest();
    /// Returns `manifest` after random edits: members changed, elements added, removed, moved and stamped.
    QJsonArray edited(QJsonArray manifest);

private:
    QJsonValue element(int level, const QString& pathAbove);
    QJsonArray siblings(int level, int most, const QString& pathAbove);
    QString name();
    QJsonObject changed(QJsonObject object);
    QJsonArray editedOnce(QJsonArray siblings, const QString& pathAbove, int level);
    void add(QJsonArray& siblings, const QJsonValue& element);
    QJsonValue takeAnywhere(QJsonArray& siblings);
    void putAnywhere(QJsonArray& siblings, const QJsonValue& element);

    std::mt19937 engine;
    const Names names;
    int addedNames = 0;
};

/// Returns `value` without the stamps of the selections in it.
QJsonValue stripped(const QJsonValue& value);
/// Returns `manifest` with a module name in every selection: `stamp` and the position of the selection.
QJsonArray stamped(const QJsonArray& manifest, const QString& stamp);
