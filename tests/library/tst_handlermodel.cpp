#include "HandlerSequence.h"
#include "Literals.h"
#include "QuickFolder.h"
#include "TestMain.h"

#include <QtCore/QDebug>
#include <QtCore/QTemporaryDir>

#include <random>

namespace {

struct Run {
    QStringList calls;
    QStringList differences;
    QString state;
    std::map<QByteArray, int> events;
};

/// Runs a sequence. Stops after the first step in which handler and model differ.
Run runSequence(uint seed, int steps)
{
    const QTemporaryDir folder(quickFolder());
    std::mt19937 engine(seed);
    HandlerSequence sequence(
        [&](int bound) { return static_cast<int>(engine() % static_cast<uint>(bound)); }, folder.path());
    Run run;
    while (run.calls.size() < steps && run.differences.isEmpty()) {
        run.differences = sequence.step();
        run.calls << sequence.lastCall();
    }
    run.state = sequence.state();
    run.events = sequence.events();
    return run;
}

struct Frequency {
    const char* event;
    int minimum;
};

/// The events that the sequences must contain, with their minimum numbers.
const Frequency frequencies[] = {
    {"addElement: false", 300},
    {"addElement: true", 300},
    {"addNode: false", 300},
    {"addNode: true", 500},
    {"addSelection: false", 300},
    {"addSelection: true", 500},
    {"addition of what is present", 300},
    {"ancestor changed", 300},
    {"appended", 1000},
    {"content refused", 100},
    {"deleteElement in array: false", 400},
    {"deleteElement in array: true", 100},
    {"deleteElement: false", 500},
    {"deleteElement: true", 500},
    {"deleted", 700},
    {"deletion by whole path", 10},
    {"deletion by whole path in vain", 100},
    {"descent", 1000},
    {"descent into an element without children", 500},
    {"descent that finds no element", 2000},
    {"element changed", 900},
    {"element changed by an edit that fails", 100},
    {"element left as it was", 800},
    {"getElementFromInstance: found", 70},
    {"getElementFromInstance: none", 300},
    {"getListOfInstances: false", 100},
    {"getListOfInstances: true", 300},
    {"getNodeElement in array: false", 300},
    {"getNodeElement in array: true", 100},
    {"getNodeElement: false", 300},
    {"getNodeElement: true", 200},
    {"getNumberOfInstances: false", 100},
    {"getNumberOfInstances: true", 300},
    {"inserted", 100},
    {"list cleared", 100},
    {"message: Cannot find configuration manifest file!", 30},
    {"message: Cannot find element for path", 400},
    {"message: Cannot find key", 200},
    {"message: Cannot find key 'substructure' in json element", 10},
    {"message: Cannot find key displayPosition in Json object!", 500},
    {"message: Configuration manifest file does not contain a Json array!", 40},
    {"message: Configuration manifest file does not exist!", 400},
    {"message: ConfigurationManifestHandler::addElement: invalid size of instancePath 0", 10},
    {"message: ConfigurationManifestHandler::deleteElement : Size of instancePath is NULL !", 30},
    {"message: ConfigurationManifestHandler::modifyProperty : Size of instancePath is NULL !", 40},
    {"message: ConfigurationManifestHandler::moveElement: invalid size of instancePath 0", 40},
    {"message: ConfigurationManifestHandler::replaceElement: invalid size of instancePath 0", 30},
    {"message: Error on getting node element for path", 200},
    {"message: Error on paring configuration manifest file content to Json:", 100},
    {"message: Index out of bounds, move failed", 400},
    {"message: InstancePath is wrong, replace failed", 700},
    {"message: Property", 400},
    {"message: Property displayPosition is not of type double!", 70},
    {"message: Received an empty instance path!", 200},
    {"message: The index for addElements is out of bounds, append the element", 700},
    {"modification by whole path", 30},
    {"modification by whole path in vain", 400},
    {"modifyProperty: false", 700},
    {"modifyProperty: std::bad_function_call", 10},
    {"modifyProperty: the edit's exception", 10},
    {"modifyProperty: true", 100},
    {"modifyPropertyFirst: false", 500},
    {"modifyPropertyFirst: std::bad_function_call", 20},
    {"modifyPropertyFirst: the edit's exception", 30},
    {"modifyPropertyFirst: true", 200},
    {"moveElement: false", 500},
    {"moveElement: true", 60},
    {"moveNode: false", 500},
    {"moveNode: true", 100},
    {"moveSelection: false", 500},
    {"moveSelection: true", 100},
    {"moved", 200},
    {"moved onto its own place", 100},
    {"parsed", 400},
    {"removeProperty: false", 400},
    {"removeProperty: true", 300},
    {"replaceElement: false", 400},
    {"replaceElement: true", 100},
    {"replaced", 700},
    {"save after a failure", 500},
    {"save after a success", 1000},
    {"setProperty: false", 600},
    {"setProperty: true", 500},
    {"sortElements in array: false", 300},
    {"sortElements in array: true", 300},
    {"sortElements: false", 300},
    {"sortElements: true", 700},
    {"sorted", 90},
    {"sorted as it was", 800},
    {"sorted with one child twice or an item that is no object", 100},
    {"sorting refused", 60},
    {"update: false", 500},
    {"update: true", 100},
    {"updateNode: false", 400},
    {"updateNode: true", 300},
    {"updateSelection: false", 200},
    {"updateSelection: true", 200},
    {"written", 1000},
};

#ifdef EMULATED
// In the emulator everything takes ten times as long.
constexpr int share = 5;
#else
constexpr int share = 1;
#endif
constexpr uint sequences = 400 / share;
constexpr int stepsPerSequence = 100;

} // namespace

class tst_HandlerModel : public QObject {
    Q_OBJECT

private Q_SLOTS:
    /// If MANIFEST_TEST_SEED is set, runs only the sequence with that seed and prints each step.
    void handlerDoesWhatItsModelDoes();
};

void tst_HandlerModel::handlerDoesWhatItsModelDoes()
{
    std::map<QByteArray, int> events;
    bool replay = false;
    const uint replayed = qEnvironmentVariable("MANIFEST_TEST_SEED").toUInt(&replay);
    for (uint seed = replay ? replayed : 1; seed <= (replay ? replayed : sequences); ++seed) {
        const Run run = runSequence(seed, stepsPerSequence);
        if (replay) {
            qInfo().noquote() << run.calls.join(u'\n');
        }
        if (!run.differences.isEmpty()) {
            const QString failure = u"MANIFEST_TEST_SEED=%1, step %2\n  before: %3\n  call: %4\n  %5"_qs.arg(
                QString::number(seed), QString::number(run.calls.size()), runSequence(seed, run.calls.size() - 1).state,
                run.calls.last(), run.differences.join(u"\n  "_qs));
            QFAIL(failure.toUtf8().constData());
        }
        for (const auto& [event, count] : run.events) {
            events[event] += count;
        }
    }
    for (const auto& [event, count] : events) {
        qInfo("%7d  %s", count, event.constData());
    }
    for (const Frequency& frequency : frequencies) {
        QVERIFY2(replay || events[frequency.event] >= frequency.minimum / share, frequency.event);
    }
}

MANIFEST_TEST_MAIN(tst_HandlerModel)

#include "tst_handlermodel.moc"
