#pragma once

#include <QtCore/QCoreApplication>
#include <QtTest/QTest>

/// Runs a test class. File names are UTF-8 in every test, whatever the locale.
template <typename TestClass>
int runTest(int argc, char** argv)
{
    qputenv("LC_ALL", "C.UTF-8");
    QCoreApplication application(argc, argv);
    TestClass test;
    return QTest::qExec(&test, argc, argv);
}

#define MANIFEST_TEST_MAIN(TestClass)                                                                                  \
    int main(int argc, char** argv)                                                                                    \
    {                                                                                                                  \
        return runTest<TestClass>(argc, argv);                                                                         \
    }
