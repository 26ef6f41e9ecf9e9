#pragma once

#include <QtTest/QTest>

/// The table of a data-driven test. The constructor adds the columns, and each call adds a row.
template <typename... Columns>
class Table {
public:
    template <typename... Names>
    explicit Table(Names... names)
    {
        static_assert(sizeof...(Names) == sizeof...(Columns), "every column has a name");
        (QTest::addColumn<Columns>(names), ...);
    }

    void operator()(const char* name, const Columns&... values) const
    {
        (QTest::newRow(name) << ... << values);
    }
};
