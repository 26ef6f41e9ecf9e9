#pragma once

#include <QtCore/QStringList>

/// Names, in any order but all different, for which qHash() gives the same number, whatever its seed: on processors that
/// compute checksums and on those that do not.
QStringList collidingNames(int number);
