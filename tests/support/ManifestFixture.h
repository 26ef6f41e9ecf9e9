#pragma once

#include "Elements.h"
#include "Files.h"
#include "Handlers.h"
#include "Literals.h"
#include "MessageRecorder.h"

#include <QtCore/QFile>
#include <QtCore/QTemporaryDir>
#include <QtTest/QTest>

#include <climits>
#include <functional>

// What the tests of the program share with those of the library.
