#pragma once

#include <QtCore/QString>

/// Names of folders. The process that loads the library provides this class, under the rules of
/// SystemInformationManagerRegistryDefinitions.
class Q_DECL_EXPORT PropertyManagerConst {
public:
    /**
     * Name of the configuration folder below a base path.
     *
     * @return one or more path segments, without a "/" at either end; the provider's choice.
     */
    static const QString& getConfigurationFolderName();
};
