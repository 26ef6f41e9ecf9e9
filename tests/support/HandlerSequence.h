#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QString>
#include <QtCore/QStringList>

#include <functional>
#include <map>
#include <memory>

/// A number from 0 up to, not including, the bound. Zeros without end bring everything that asks for them to an end.
using Choice = std::function<int(int bound)>;

/**
 * A handler and the model of it, which take the same steps: edits of every kind, queries, loads, saves. What a step is
 * and what it is done with follows from choices.
 */
class HandlerSequence {
public:
    /// Works in a folder that holds nothing else than the manifest of an earlier sequence.
    HandlerSequence(Choice choice, const QString& folderPath);
    ~HandlerSequence();

    /// Takes one step. In what both sides differ afterwards.
    QStringList step();

    QString lastCall() const;
    /// What the model holds.
    QString state() const;
    /// How often what has happened.
    const std::map<QByteArray, int>& events() const;

private:
    class Steps;
    std::unique_ptr<Steps> steps;
};
