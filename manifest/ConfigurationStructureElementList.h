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
 * The constructor fills the list from the listing of the folder. It does not change afterwards. Every valid entry, that
 * is every folder and every file with the suffix, becomes an element. Selections come before nodes, each kind by
 * ascending display position. Elements of one kind and position keep the order of the listing when the list has at most
 * 16 elements. In a longer list their order is not defined.
 *
 * The list owns its elements. It refers to the suffix, which must outlive it. It is used by one thread at a time.
 */
class CONFIGURATION_MANIFEST_EXPORT ConfigurationStructureElementList : public QObject {
    Q_OBJECT

public:
    /**
     * Constructs the elements of a folder and reads the description of every valid one.
     *
     * @param fileInfoList the listing of the folder.
     * @param path         folder of the whole scan, the same at every level below it.
     * @param fileSuffix   suffix of the description files. The list and getSuffix() refer to it instead of copying it,
     *                     so pass a string that lives longer than the list. A QStringLiteral or a string literal that
     *                     is converted makes a temporary string, which is destroyed when the constructor returns.
     * @param parent       owner of the list; null for none.
     *
     * Messages: those of ConfigurationStructureElement::initObject(), for each valid entry. Other entries are left out
     * and not reported.
     *
     * Cost: one read for each valid entry; n log n in their number for sorting.
     */
    ConfigurationStructureElementList(const QList<QFileInfo>& fileInfoList, const QString& path,
        const QString& fileSuffix, QObject* parent = nullptr);
    /// Destroys the list and its elements, but not the suffix.
    ~ConfigurationStructureElementList() override;

    /**
     * All elements.
     *
     * @return the elements in display order. The vector shares its data with the list.
     */
    QVector<ConfigurationStructureElement> getElementList() const;

    /**
     * One element.
     *
     * @param index position of the element. It must not be negative.
     * @return the element; a default-constructed one when `index` is not below the number of elements.
     *
     * Messages: "Received invalid index for element list:" with the index and the number of elements.
     */
    ConfigurationStructureElement getElement(int index) const;

    /**
     * Number of elements.
     *
     * @return the number of valid entries of the listing.
     */
    int getCountElements() const;

    /**
     * Suffix of the description files.
     *
     * @return a reference to the string that was passed to the constructor, not to a copy.
     */
    const QString& getSuffix() const;

private:
    // The creator passes rootPath on to the lists of the folders below.
    friend class ConfigurationManifestCreator;

    Q_DECL_HIDDEN void createElementList(const QList<QFileInfo>& fileInfoList);

    QVector<ConfigurationStructureElement> elementList;
    QString rootPath;
    const QString& suffix;
};
