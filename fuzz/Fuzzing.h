#pragma once

#include "Comparison.h"
#include "ManifestModel.h"

#include <QtCore/QByteArray>
#include <QtCore/QByteArrayList>
#include <QtCore/QJsonDocument>
#include <QtCore/QSet>
#include <QtCore/QTemporaryDir>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <vector>

/// The bytes of an input as a sequence of texts that are separated by NUL. After the last one, all texts are empty.
class Texts {
public:
    Texts(const std::uint8_t* data, std::size_t size)
        : texts(QByteArray(reinterpret_cast<const char*>(data), static_cast<int>(size)).split('\0'))
    {
    }

    QByteArray next()
    {
        return atEnd() ? QByteArray() : texts.takeFirst();
    }

    QString nextString()
    {
        return QString::fromUtf8(next());
    }

    bool atEnd() const
    {
        return texts.isEmpty();
    }

private:
    QByteArrayList texts;
};

/// Returns the path of a temporary folder of this process.
inline const QString& workFolder()
{
    static const QTemporaryDir folder;
    static const QString path = folder.path();
    return path;
}

/// Returns whether an object has a key twice. Qt's parser leaks the first value then if it is an object or array.
inline bool repeatsKey(const QByteArray& json)
{
    std::vector<QSet<QString>> keys;
    QByteArray text;
    for (int i = 0; i < json.size(); ++i) {
        const char character = json.at(i);
        if (character == '"') {
            const int start = i++;
            while (i < json.size() && json.at(i) != '"') {
                i += json.at(i) == '\\' ? 2 : 1;
            }
            text = json.mid(start, i - start + 1);
        } else if (character == '{' || character == '[') {
            keys.emplace_back();
        } else if ((character == '}' || character == ']') && !keys.empty()) {
            keys.pop_back();
        } else if (character == ':' && !keys.empty()) {
            const QString key = QJsonDocument::fromJson('[' + text + ']').array().at(0).toString();
            if (keys.back().contains(key)) {
                return true;
            }
            keys.back().insert(key);
        }
    }
    return false;
}

/// Prints the calls and the differences and aborts the process, unless there are no differences.
inline void endIfDifferent(const QStringList& differences, const QStringList& calls)
{
    if (differences.isEmpty()) {
        return;
    }
    std::fprintf(stderr, "%s\n  %s\n", qPrintable(calls.join(QLatin1Char('\n'))),
        qPrintable(differences.join(QStringLiteral("\n  "))));
    std::abort();
}
