// Takes one definition from its process, and another function if there happens to be one.

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
