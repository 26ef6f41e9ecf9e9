#pragma once

#include "ConfigurationManifestExport.h"
#include "ConfigurationStructureElement.h"

#include <QtCore/QFileInfo>
#include <QtCore/QList>
#include <QtCore/QObject>
#include <QtCore/QString>
#include <QtCore/QVector>

/**
 * The elements of one folder, in display order.
 *
 * Filled by the constructor from the folder's listing and never changed afterwards: the valid entries (every folder,
 * every file with the suffix) as elements, selections before nodes, each kind by ascending display position. In a list
 * of at most 16 elements, those of one kind and position keep the order of the listing; in a longer one their order is
 * not defined.
 *
 * Owns its elements. Refers to the suffix, which must outlive it. Used by one thread at a time.
 */
class CONFIGURATION_MANIFEST_EXPORT ConfigurationStructureElementList : public QObject {
    Q_OBJECT

public:
    /**
     * Makes the elements of `fileInfoList`, reading the description of every valid one.
     *
     * @param path       folder of the whole scan, the same at every level below it.
     * @param fileSuffix ending of the description files. Referred to, not copied, by the list and by getSuffix(): pass
     *                   a string that lives longer than the list. A QStringLiteral, or a literal of C++ where it
     *                   converts, makes a temporary string that is gone when the constructor returns.
     */
    ConfigurationStructureElementList(const QList<QFileInfo>& fileInfoList, const QString& path,
        const QString& fileSuffix, QObject* parent = nullptr);
    ~ConfigurationStructureElementList() override;

    /// All elements; shares its data with the list.
    QVector<ConfigurationStructureElement> getElementList() const;

    /**
     * The element at `index`, which must not be negative. From the number of elements up, an empty element, with the
     * warning "Received invalid index for element list:" and index and count.
     */
    ConfigurationStructureElement getElement(int index) const;

    int getCountElements() const;

    /// The very string that was given to the constructor, not a copy.
    const QString& getSuffix() const;

private:
    // Hands the root on to the lists of the folders below.
    friend class ConfigurationManifestCreator;

    Q_DECL_HIDDEN void createElementList(const QList<QFileInfo>& fileInfoList);

    QVector<ConfigurationStructureElement> elementList;
    QString rootPath;
    const QString& suffix;
};
