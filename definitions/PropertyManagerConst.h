#pragma once

#include <QtCore/QString>

/// Folder names of the surrounding software. Provided by the process that loads the library, under the rules of
/// SystemInformationManagerRegistryDefinitions.
class Q_DECL_EXPORT PropertyManagerConst {
public:
    /// Name of the configuration folder below a base path; one or more path segments, without a "/" at either end.
    static const QString& getConfigurationFolderName();
};
