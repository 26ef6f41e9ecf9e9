// The module that reopening.cpp opens and closes.

#include "Using.h"

extern "C" Q_DECL_EXPORT int use(const char* folder)
{
    return useLibraryIn(QString::fromLocal8Bit(folder));
}
