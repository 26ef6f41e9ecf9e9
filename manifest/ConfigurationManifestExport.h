#pragma once

#include <QtCore/qglobal.h>

// Marks what the library exports; everything else in it is hidden.
#if defined(CONFIGURATION_MANIFEST_LIBRARY)
#define CONFIGURATION_MANIFEST_EXPORT Q_DECL_EXPORT
#else
#define CONFIGURATION_MANIFEST_EXPORT Q_DECL_IMPORT
#endif
