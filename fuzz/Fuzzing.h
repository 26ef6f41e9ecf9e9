#pragma once

#include "Comparison.h"
#include "ManifestModel.h"

#include <QtCore/QByteArray>
#include <QtCore/QByteArrayList>
#include <QtCore/QJsonDocument>
#include <QtCore/QTemporaryDir>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>

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

/// Plain data holds numbers as double, which integers beyond 2^53 do not fit into, and texts without the bytes that are no
/// characters but that Qt reads behind a backslash and writes in more than one way.
inline bool isPlain(const QByteArray& json)
{
    const QJsonDocument document = QJsonDocument::fromJson(json);
    return QString::fromUtf8(json).toUtf8() == json
        && QJsonDocument(jsonFrom(itemsFrom(document.array()))).toJson() == QJsonDocument(document.array()).toJson()
        && QJsonDocument(jsonFrom(membersFrom(document.object()))).toJson()
        == QJsonDocument(document.object()).toJson();
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
