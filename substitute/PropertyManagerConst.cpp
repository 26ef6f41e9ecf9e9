#include "PropertyManagerConst.h"

const QString& PropertyManagerConst::getConfigurationFolderName()
{
    static const QString text = QStringLiteral("configuration");
    return text;
}
