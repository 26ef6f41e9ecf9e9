#include "ConfigurationStructureElementList.h"
#include "Files.h"
#include "MessageRecorder.h"
#include "TestMain.h"

#include <QtCore/QTemporaryDir>

class tst_ConfigurationStructureElementList : public QObject {
    Q_OBJECT

private Q_SLOTS:
};

MANIFEST_TEST_MAIN(tst_ConfigurationStructureElementList)

#include "tst_configurationstructureelementlist.moc"
