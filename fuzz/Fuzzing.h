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

/// An input of texts, each ended by a NUL. Texts that are not there are empty.
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

/// The folder in which this process works.
inline const QString& workFolder()
{
    static const QTemporaryDir folder;
    static const QString path = folder.path();
    return path;
}

/// Whether a key comes again in its object. Qt's parser then never frees the container that was the former value.
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

/// Ends the process, with what led there, when two sides differ that must not.
inline void endIfDifferent(const QStringList& differences, const QStringList& calls)
{
    if (differences.isEmpty()) {
        return;
    }
    std::fprintf(stderr, "%s\n  %s\n", qPrintable(calls.join(QLatin1Char('\n'))),
        qPrintable(differences.join(QStringLiteral("\n  "))));
    std::abort();
}
