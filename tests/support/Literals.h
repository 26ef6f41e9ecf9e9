#pragma once

#include <QtCore/QString>

#include <cstddef>

/// u"text"_qs is a QString. Like QStringLiteral, it keeps every UTF-16 unit: NUL and lone surrogates, too.
inline QString operator""_qs(const char16_t* text, std::size_t size)
{
    return QString(reinterpret_cast<const QChar*>(text), static_cast<int>(size));
}
