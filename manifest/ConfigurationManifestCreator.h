#pragma once

#include "ConfigurationManifestExport.h"

#include <QtCore/QJsonArray>
#include <QtCore/QObject>
#include <QtCore/QString>

class ConfigurationStructureElementList;

/**
 * Creates the manifest of a configuration folder.
 *
 * A scan reads the folder with everything below it and writes one JSON array into it, as the file
 * `<folder>/<scheme>.manifest.json`:
 *
 * | item of an array | when present                            | members                                              |
 * |------------------|-----------------------------------------|------------------------------------------------------|
 * | selection        | for every description file of the scan  | see ConfigurationStructureElement                    |
 * | node             | for every folder with a selection below | see there; the items of the folder as "substructure" |
 *
 * Every array holds the items of one folder, in the order of ConfigurationStructureElementList. Hidden entries are
 * never included. A symbolic link counts as what it points to. A link to a parent folder is not detected. Example, with
 * most members left out:
 *
 *     [{"instanceName":"main","selectionType":"Selection"},
 *      {"instanceName":"Net","selectionType":"Node","substructure":[
 *        {"instanceName":"Net/port","selectionType":"Selection"}]}]
 *
 * The file is compact UTF-8 JSON without a line break at its end. It is written to a temporary file, synced, and then
 * replaces the previous manifest atomically. After every failure that is reported, the previous manifest is unchanged.
 * [Saving](docs/limits.md#saving) lists the failures that are not reported and the cases in which a temporary file
 * remains. [Owner and permissions](docs/limits.md#owner-and-permissions) describes who owns the new file.
 * [SECURITY.md](SECURITY.md) says which folders may be scanned.
 *
 * A creator can make any number of scans. Each one makes a new manifest. The creator accesses the file system only in
 * create() and create2(), on the thread of the caller. It is used by one thread at a time. A message handler may scan
 * with the creator whose message it receives, see [Callbacks](docs/limits.md#callbacks). When memory runs out,
 * std::bad_alloc is thrown or Qt ends the process, see [Memory](docs/limits.md#memory).
 */
class CONFIGURATION_MANIFEST_EXPORT ConfigurationManifestCreator : public QObject {
    Q_OBJECT

public:
    /**
     * Constructs a creator without touching the file system.
     *
     * @param parent owner of the creator; null for none.
     */
    explicit ConfigurationManifestCreator(QObject* parent = nullptr);
    /// Destroys the creator. Writes nothing.
    ~ConfigurationManifestCreator() override;

    /**
     * Creates the configuration manifest below a base path.
     *
     * Calls create2() for the folder `path`, "/" and PropertyManagerConst::getConfigurationFolderName(), with the
     * scheme ConfigurationAndProcessDataDefinitions::getSelectorUrlSchemeConfiguration(). The "/" is inserted whether
     * or not `path` ends with one. It is left out only when the folder of the previous scan of this creator ended with
     * "/".
     *
     * @param path folder that contains the configuration folder.
     * @return true when the manifest was written, and when the folder has nothing to scan; false when the manifest
     *         could not be written. The previous manifest is then unchanged.
     *
     * Messages and cost: those of create2().
     */
    bool create(const QString& path);

    /**
     * Creates the manifest of a folder.
     *
     * When the folder is missing, unreadable or has no visible entry, nothing is written and no message is logged; the
     * result is true. An empty `path` lists the current folder and writes to the root of the file system.
     *
     * @param path   folder to scan. The names of selections are right only for an absolute path without a "/" at its
     *               end, see [Names](docs/limits.md#names).
     * @param scheme first part of the manifest's file name. The scheme of configurations collects the files that end
     *               with ".config.json", every other scheme, also an empty one, those that end with ".process.json".
     * @return true when the manifest was written or nothing was to be done; false after one of the two warnings below.
     *         The previous manifest is then unchanged. A rename that fails at the very end is not noticed: the result
     *         is true and the previous file stays.
     *
     * Messages: "Unable to open the manifest file for writing:" with the file name; "Manifest file was not successful
     * written:" with the numbers of bytes written and needed. -1 bytes written means that nothing was written or that a
     * flush or sync failed. The messages about descriptions are those of ConfigurationStructureElement.
     *
     * Cost: one listing for each folder and one read for each folder description and description file. Sorting a folder
     * takes n log n of its entries. The whole manifest is in memory. Saving takes as long as the disk takes to sync.
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
