#pragma once

#include "JsonStorage.h"

// Internal; not installed.
//
// Both iterators collect their results in an array of the caller, the accumulator. A Null value becomes an array first.
// A value of any other type is left unchanged.

/// Turns a Null accumulator into an empty array and leaves any other value unchanged.
inline void startAccumulator(QJsonValue& result)
{
    if (result.isNull()) {
        result = QJsonArray();
    }
}

/// Appends `item` to the accumulator, in amortised constant time. Does nothing when the accumulator is not an array.
inline void appendToAccumulator(QJsonValue& result, const QJsonValue& item)
{
    if (result.isArray()) {
        JsonStorage::changeInPlace(result, result.toArray(), [&item](QJsonArray& gathered) { gathered.append(item); });
    }
}
