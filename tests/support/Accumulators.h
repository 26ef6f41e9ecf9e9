#pragma once

#include "Literals.h"

#include <QtCore/QJsonObject>
#include <QtCore/QJsonValue>
#include <QtTest/QTest>

/// Adds rows with the column "accumulator": values that are not arrays, so the iterators do not append to them.
inline void addAccumulatorsThatAreNoArray()
{
    QTest::addColumn<QJsonValue>("accumulator");
    QTest::newRow("undefined") << QJsonValue(QJsonValue::Undefined);
    QTest::newRow("string") << QJsonValue(u"text"_qs);
    QTest::newRow("empty string") << QJsonValue(QString());
    QTest::newRow("number") << QJsonValue(1.5);
    QTest::newRow("zero") << QJsonValue(0);
    QTest::newRow("true") << QJsonValue(true);
    QTest::newRow("false") << QJsonValue(false);
    QTest::newRow("object") << QJsonValue(QJsonObject {{u"a"_qs, QJsonValue()}});
    QTest::newRow("empty object") << QJsonValue(QJsonObject());
}
