#pragma once

#include <QtCore/QJsonArray>
#include <QtCore/QJsonValue>

// Internal; not installed.

/// Makes a Null accumulator an empty array and leaves every other one as it is.
inline void startAccumulator(QJsonValue& result)
{
    if (result.isNull()) {
        result = QJsonArray();
    }
}

/**
 * Appends to an accumulator that is an array; drops `item` when it is anything else. Amortised constant time: the
 * accumulator lets go of its array while that grows, since an array with a second reference is copied by every change.
 */
inline void appendToAccumulator(QJsonValue& result, const QJsonValue& item)
{
    if (!result.isArray()) {
        return;
    }
    QJsonArray gathered = result.toArray();
    result = QJsonValue();
    gathered.append(item);
    result = gathered;
}
