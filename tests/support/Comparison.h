#pragma once

#include "Literals.h"
#include "ManifestModel.h"
#include "MessageRecorder.h"

#include <QtCore/QByteArray>
#include <QtCore/QString>
#include <QtCore/QStringList>

#include <optional>
#include <vector>

// How values are shown where two sides differ.

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

/// The texts of messages of the library. A message whose level, category, file, function or line is not as the library
/// logs it is shown as a whole. The library has one debug message.
QStringList textsOf(const Messages& messages);

/// Collects the differences between two sides that must do the same.
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
