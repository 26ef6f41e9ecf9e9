#pragma once

#include "JsonStorage.h"

// Internal; not installed.
//
// Both iterators gather in a value of the caller's that they turn into an array; anything but Null and an array is left
// alone.

/// Makes a Null accumulator an empty array and leaves every other one as it is.
inline void startAccumulator(QJsonValue& result)
{
    if (result.isNull()) {
        result = QJsonArray();
    }
}

/// Appends to an accumulator that is an array, in amortised constant time; drops `item` when it is anything else.
inline void appendToAccumulator(QJsonValue& result, const QJsonValue& item)
{
    if (result.isArray()) {
        JsonStorage::changeInPlace(result, result.toArray(), [&item](QJsonArray& gathered) { gathered.append(item); });
    }
}
