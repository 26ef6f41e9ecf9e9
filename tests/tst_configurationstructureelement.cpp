#include "ConfigurationStructureElement.h"
#include "Files.h"
#include "MessageRecorder.h"
#include "TestMain.h"

#include <QtCore/QTemporaryDir>

class tst_ConfigurationStructureElement : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void missingFolderDescriptionLeavesTheMinimalNode();
};

void tst_ConfigurationStructureElement::missingFolderDescriptionLeavesTheMinimalNode()
{
    const QTemporaryDir folder;
    MessageRecorder log;
    QJsonObject description;
    ConfigurationStructureElement().readFolderDescription(folder.path(), description);
    QCOMPARE(log.take(),
        QVector<Message>({debug(QStringLiteral("No description file found!"),
            "void ConfigurationStructureElement::readFolderDescription(const QString&, QJsonObject&)")}));
    QCOMPARE(description, QJsonObject());
}

MANIFEST_TEST_MAIN(tst_ConfigurationStructureElement)

#include "tst_configurationstructureelement.moc"
