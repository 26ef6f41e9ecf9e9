#pragma once

#include "ConfigurationManifestExport.h"

#include <QtCore/QJsonArray>
#include <QtCore/QObject>
#include <QtCore/QString>

class ConfigurationStructureElementList;

/**
 * Creates the manifest of a configuration folder: scans the folder with everything below it and writes one JSON array
 * into it, as <folder>/<scheme>.manifest.json.
 *
 * | item of an array | when present                            | members                                            |
 * |------------------|-----------------------------------------|----------------------------------------------------|
 * | selection        | for every description file of the scan  | see ConfigurationStructureElement                  |
 * | node             | for every folder with a selection below | see there; the folder's items under "substructure" |
 *
 * Every array holds one folder's items in the order of ConfigurationStructureElementList. Hidden entries never appear.
 * Symbolic links count as what they point to; there is no guard against one that leads back up. Example, members
 * shortened:
 *
 *     [{"instanceName":"main","selectionType":"Selection"},
 *      {"instanceName":"Net","selectionType":"Node","substructure":[
 *        {"instanceName":"Net/port","selectionType":"Selection"}]}]
 *
 * The file is compact UTF-8 JSON without a line end. It is synced and then replaces the previous one atomically; that
 * is untouched after any failure that is reported. docs/limits.md says which failures go unnoticed, whose the new file
 * is and when a temporary one is left (Saving, Owner and permissions), and SECURITY.md which folders to scan.
 *
 * A creator serves any number of scans, each from nothing. It reads the file system only within the two create
 * operations, on the caller's thread. Used by one thread at a time. Whoever takes its messages may scan with it as well
 * (docs/limits.md, Callbacks). When memory runs out, std::bad_alloc is thrown.
 */
class CONFIGURATION_MANIFEST_EXPORT ConfigurationManifestCreator : public QObject {
    Q_OBJECT

public:
    explicit ConfigurationManifestCreator(QObject* parent = nullptr);
    ~ConfigurationManifestCreator() override;

    /**
     * Creates the manifest of the configuration folder below the base path `path`, under the configuration scheme. The
     * folder is `path`, "/" and PropertyManagerConst::getConfigurationFolderName(); the "/" is left out when the folder
     * of this creator's previous scan ended with one, whatever `path` ends with.
     *
     * @return what create2() returns.
     */
    bool create(const QString& path);

    /**
     * Creates the manifest of the folder `path`. Under the scheme of configurations it holds the ".config.json" files,
     * under any other one the ".process.json" files. An empty `path` lists the current folder and writes to the root of
     * the file system.
     *
     * @return true when the manifest was written, and when there was nothing to do because the folder is missing,
     *         unreadable or has no visible entry: then nothing is written. False after a warning: "Unable to open the
     *         manifest file for writing:" with the file's name, or "Manifest file was not successful written:" with the
     *         number of bytes written and needed; -1 written means that it is not sure of any, as after a failed sync.
     *         A rename that fails at the very end goes unnoticed: true, with the previous file in place.
     */
    bool create2(const QString& path, const QString& scheme);

private:
    Q_DECL_HIDDEN void generateInstanceList(
        const ConfigurationStructureElementList& elementList, QJsonArray& instanceList);
    Q_DECL_HIDDEN bool writeManifestFile();

    QString configurationFolderPath;
    QString selectorUrlScheme;
    QJsonArray manifestJsonArray;
};
