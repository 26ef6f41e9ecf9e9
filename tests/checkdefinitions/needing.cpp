// Needs one definition from the process, and another function only if it exists (weak symbol).

#include <PropertyManagerConst.h>

void happensToBeThere() __attribute__((weak));
Q_DECL_EXPORT bool isThere();

bool isThere()
{
    if (happensToBeThere != nullptr) {
        happensToBeThere();
    }
    return !PropertyManagerConst::getConfigurationFolderName().isEmpty();
}
