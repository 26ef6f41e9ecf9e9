#pragma once

#include <QtCore/QStringList>

/// Different names of equal length that have the same qHash(), whatever its seed and whatever the processor.
QStringList collidingNames(int number);
