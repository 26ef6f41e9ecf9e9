#pragma once

#include <QtCore/QStringList>

/// Returns different names of equal length that have the same qHash(), whatever the seed and the processor.
QStringList collidingNames(int number);
