#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QString>
#include <QtCore/QStringList>

#include <functional>
#include <map>
#include <memory>

/// A number from 0 to bound - 1. A sequence of zeros ends every loop that asks for numbers.
using Choice = std::function<int(int bound)>;

/**
 * A handler and its model, which take the same steps: edits of every kind, queries, loads and saves. The choices decide
 * the kind of each step and its arguments.
 */
class HandlerSequence {
public:
    /// The folder may hold the manifest of an earlier sequence, and nothing else.
    HandlerSequence(Choice choice, const QString& folderPath);
    ~HandlerSequence();

    /// Takes one step. Returns the differences between both sides afterwards.
    QStringList step();

    QString lastCall() const;
    /// What the model holds.
    QString state() const;
    /// How often each event has happened.
    const std::map<QByteArray, int>& events() const;

private:
    class Steps;
    std::unique_ptr<Steps> steps;
};
