#include "ConfigurationManifestVersion.h"
#include "Literals.h"
#include "Patience.h"
#include "TestMain.h"

#include <QtCore/QProcess>
#include <QtCore/QRegularExpression>

namespace {

QStringList linesOf(const QString& tool, const QStringList& arguments)
{
    QProcess process;
    process.start(tool, arguments);
    if (!process.waitForFinished(patience) || process.exitCode() != 0) {
        qFatal("%s does not run", qPrintable(tool));
    }
    return QString::fromUtf8(process.readAllStandardOutput()).split(u'\n', Qt::SkipEmptyParts);
}

// The names of symbols, demangled, without address and version.
QStringList symbols(const QString& kind)
{
    static const QRegularExpression line(u"^\\s*[0-9a-f]* *\\w (.*?)(@.*)?$"_qs);
    QStringList names;
    const QStringList lines =
        linesOf(QStringLiteral(NM), {u"--dynamic"_qs, u"--demangle"_qs, kind, QStringLiteral(LIBRARY)});
    for (const QString& text : lines) {
        names.append(line.match(text).captured(1));
    }
    return names;
}

} // namespace

// Tests the exports and imports of the shared library file.
class tst_Library : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void importsStayUndefined_data();
    void importsStayUndefined();
    void libraryIsLinkedAgainstQtCoreOnly();
    void libraryExportsNothingButItsClasses();
    void processThatProvidesNothingCannotLoadLibrary();
    void versionOfHeadersIsProjects();
    void versionsCompareAsOneNumber();
};

void tst_Library::importsStayUndefined_data()
{
    QTest::addColumn<QString>("symbol");
    for (const char* symbol : {
             "SystemInformationManagerRegistryDefinitions::SelectionTypeValues::getSelection()",
             "SystemInformationManagerRegistryDefinitions::SelectionTypeValues::getNode()",
             "SystemInformationManagerRegistryDefinitions::CloseModeValues::getManual()",
             "SystemInformationManagerRegistryDefinitions::DataSourceTypeValues::getJsonData()",
             "SystemInformationManagerRegistryDefinitions::UiJobValues::getUiJobOpenConfiguration()",
             "SystemInformationManagerRegistryDefinitions::getKeySelectionType()",
             "SystemInformationManagerRegistryDefinitions::getKeyInstanceName()",
             "SystemInformationManagerRegistryDefinitions::getKeySubstructure()",
             "SystemInformationManagerRegistryDefinitions::getKeyDisplayPosition()",
             "SystemInformationManagerRegistryDefinitions::getKeyIconName()",
             "SystemInformationManagerRegistryDefinitions::getKeyDataSourceType()",
             "SystemInformationManagerRegistryDefinitions::getKeyCloseMode()",
             "SystemInformationManagerRegistryDefinitions::getKeyUiJob()",
             "SystemInformationManagerRegistryDefinitions::getKeyHide()",
             "SystemInformationManagerRegistryDefinitions::getKeyLabelTextId()",
             "SystemInformationManagerRegistryDefinitions::getKeyDataModel()",
             "SystemInformationManagerRegistryDefinitions::getKeyLastModified()",
             "SystemInformationManagerRegistryDefinitions::getKeyModuleName()",
             "SystemInformationManagerRegistryDefinitions::getKeyObjectName()",
             "ConfigurationAndProcessDataDefinitions::getKeyDataPropertyBufferType()",
             "ConfigurationAndProcessDataDefinitions::getKeyDataPropertyConnectorId()",
             "ConfigurationAndProcessDataDefinitions::getKeyDataPropertyDependencyFile()",
             "ConfigurationAndProcessDataDefinitions::getKeyDataPropertyDependencyFileExtern()",
             "ConfigurationAndProcessDataDefinitions::getKeyDataPropertyLabelTextUrl()",
             "ConfigurationAndProcessDataDefinitions::getKeyDataPropertySelectorTypeList()",
             "ConfigurationAndProcessDataDefinitions::getKeyDataPropertySelectorTypeListEndpoint()",
             "ConfigurationAndProcessDataDefinitions::getKeyDataPropertyTemplateType()",
             "ConfigurationAndProcessDataDefinitions::getKeyDataPropertyConfigurationVersion()",
             "ConfigurationAndProcessDataDefinitions::getKeyDataPropertyTolmVersion()",
             "ConfigurationAndProcessDataDefinitions::getSelectorUrlSchemeConfiguration()",
             "PropertyManagerConst::getConfigurationFolderName()",
             "readJsonArrayFromJson(QString const&, QJsonObject const&, QJsonArray&)",
             "readStringValueFromJson(QString const&, QJsonObject const&, QString&)",
             "JsonDataIteratorObjectBase::JsonDataIteratorObjectBase()",
             "JsonDataIteratorObjectBase::~JsonDataIteratorObjectBase()",
             "typeinfo for JsonDataIteratorObjectBase",
         }) {
        QTest::newRow(symbol) << QString::fromLatin1(symbol);
    }
}

void tst_Library::importsStayUndefined()
{
    QFETCH(const QString, symbol);
    static const QStringList undefined = symbols(u"--undefined-only"_qs);
    static const QStringList defined = symbols(u"--defined-only"_qs);
    QVERIFY(undefined.contains(symbol));
    QVERIFY(!defined.contains(symbol));
}

void tst_Library::libraryIsLinkedAgainstQtCoreOnly()
{
    QStringList libraries;
    const QStringList lines =
        linesOf(QStringLiteral(READELF), {u"--dynamic"_qs, u"--wide"_qs, QStringLiteral(LIBRARY)});
    for (const QString& line : lines) {
        static const QRegularExpression needed(u"\\(NEEDED\\).*\\[(.*)\\]"_qs);
        const QRegularExpressionMatch match = needed.match(line);
        if (match.hasMatch()) {
            libraries.append(match.captured(1));
        }
    }
    // Runtime libraries of C and C++ are needed as well.
    static const QRegularExpression runtime(u"^(libc|libm|libgcc_s|libstdc\\+\\+|ld-linux.*)\\.so\\."_qs);
    QCOMPARE(QStringList(libraries.filter(u"Qt"_qs)), QStringList(u"libQt5Core.so.5"_qs));
    for (const QString& library : qAsConst(libraries)) {
        QVERIFY2(library.contains(u"Qt"_qs) || runtime.match(library).hasMatch(), qPrintable(library));
    }
}

void tst_Library::libraryExportsNothingButItsClasses()
{
    static const QRegularExpression ofOneClass(
        u"^((vtable|typeinfo|typeinfo name) for )?"
        "(ConfigurationManifest(Creator|Handler)|ConfigurationStructureElement(List)?"
        "|JsonDataIteratorConfigurationInstance(Collector|ListUpdater))(::|$)"_qs);
    const QStringList exported = symbols(u"--defined-only"_qs);
    QVERIFY(exported.contains(u"ConfigurationManifestCreator::create(QString const&)"_qs));
    for (const QString& symbol : exported) {
        QVERIFY2(ofOneClass.match(symbol).hasMatch(), qPrintable(symbol));
    }
}

void tst_Library::processThatProvidesNothingCannotLoadLibrary()
{
    QProcess loader;
    loader.start(QStringLiteral(LOADER), QStringList(QStringLiteral(LIBRARY)));
    QVERIFY(loader.waitForFinished(patience));
    QCOMPARE(loader.exitStatus(), QProcess::NormalExit);
    QCOMPARE(loader.exitCode(), 1);
    // The loader prints the mangled symbol, which contains the name of the class.
    static const QRegularExpression missing(
        u"undefined symbol: _Z\\w*(SystemInformationManagerRegistryDefinitions|"
        "ConfigurationAndProcessDataDefinitions|PropertyManagerConst|JsonDataIteratorObjectBase|"
        "readJsonArrayFromJson|readStringValueFromJson)"_qs);
    const QString said = QString::fromUtf8(loader.readAllStandardOutput());
    QVERIFY2(missing.match(said).hasMatch(), qPrintable(said));
}

void tst_Library::versionOfHeadersIsProjects()
{
    const QString numbers = u"%1.%2.%3"_qs.arg(CONFIGURATION_MANIFEST_VERSION_MAJOR)
                                .arg(CONFIGURATION_MANIFEST_VERSION_MINOR)
                                .arg(CONFIGURATION_MANIFEST_VERSION_PATCH);
    QCOMPARE(numbers, QStringLiteral(PROJECT_VERSION));
    QCOMPARE(QStringLiteral(CONFIGURATION_MANIFEST_VERSION_STRING), QStringLiteral(PROJECT_VERSION));
}

void tst_Library::versionsCompareAsOneNumber()
{
    QCOMPARE(CONFIGURATION_MANIFEST_VERSION,
        CONFIGURATION_MANIFEST_VERSION_CHECK(CONFIGURATION_MANIFEST_VERSION_MAJOR, CONFIGURATION_MANIFEST_VERSION_MINOR,
            CONFIGURATION_MANIFEST_VERSION_PATCH));
    QCOMPARE(CONFIGURATION_MANIFEST_VERSION_CHECK(1, 2, 3), 0x010203);
    QVERIFY(CONFIGURATION_MANIFEST_VERSION_CHECK(1, 255, 255) < CONFIGURATION_MANIFEST_VERSION_CHECK(2, 0, 0));
    QVERIFY(CONFIGURATION_MANIFEST_VERSION_CHECK(1, 0, 255) < CONFIGURATION_MANIFEST_VERSION_CHECK(1, 1, 0));
}

MANIFEST_TEST_MAIN(tst_Library)

#include "tst_library.moc"
