#pragma once

#include <QtCore/qglobal.h>

// Marks the classes that the library exports. All its other symbols are hidden.
#if defined(CONFIGURATION_MANIFEST_LIBRARY)
#define CONFIGURATION_MANIFEST_EXPORT Q_DECL_EXPORT
#else
#define CONFIGURATION_MANIFEST_EXPORT Q_DECL_IMPORT
#endif
