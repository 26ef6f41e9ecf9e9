#pragma once

#include "Literals.h"
#include "ManifestModel.h"
#include "MessageRecorder.h"

#include <QtCore/QByteArray>
#include <QtCore/QString>
#include <QtCore/QStringList>

#include <optional>
#include <vector>

// Texts that show values in the differences between two sides.

QString shown(const QString& text);
QString shown(const QStringList& texts);
QString shown(bool flag);
QString shown(int number);
QString shown(const Value& value);
QString shown(const Items& items);
QString shown(const Members& members);
QString shown(const std::optional<QByteArray>& content);

template <typename T>
QString shown(const std::vector<T>& values)
{
    QStringList texts;
    for (const T& value : values) {
        texts << shown(value);
    }
    return shown(texts);
}

/// The texts of messages. A message is shown with all its fields if its level, category, file, function or line is not
/// one that the library logs. Only one message of the library has the level debug.
QStringList textsOf(const Messages& messages);

/// Collects the differences between the actual and the expected values.
class Comparison {
public:
    template <typename T>
    void same(const char* what, const T& actual, const T& expected)
    {
        if (!(actual == expected)) {
            found << u"%1:\n      is %2\n  wanted %3"_qs.arg(QLatin1String(what), shown(actual), shown(expected));
        }
    }

    const QStringList& differences() const
    {
        return found;
    }

private:
    QStringList found;
};
