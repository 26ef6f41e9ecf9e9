#pragma once

#include "Literals.h"

#include <QtCore/QJsonObject>
#include <QtCore/QJsonValue>
#include <QtTest/QTest>

/// Rows of the column "accumulator": the values that no iterator appends to.
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
