#pragma once

#include "ConfigurationManifestExport.h"
#include "JsonDataIteratorObjectBase.h"

/**
 * Collects the instance names of all selections in a walk over a JSON document.
 *
 * The document is a manifest or any other one that contains manifest elements. The accumulator of the walk becomes an
 * array of strings, in the order of the walk, with duplicates:
 *
 * | item   | type   | when present                                           | meaning                               |
 * |--------|--------|--------------------------------------------------------|---------------------------------------|
 * | a name | string | for every selection with a string as its instance name | whole instance name, folders included |
 *
 * A selection is an object with the selection type "Selection".
 *
 * Example: the manifest
 *
 *     [{"instanceName":"main","selectionType":"Selection"},
 *      {"instanceName":"Net","selectionType":"Node","substructure":[
 *        {"instanceName":"Net/port","selectionType":"Selection"}]}]
 *
 * gives `["main","Net/port"]`.
 *
 * A collector has no state. The names are in the accumulator, which belongs to the caller of the walk. One collector
 * can be used by any number of walks, also at the same time, when each has its own accumulator.
 */
class CONFIGURATION_MANIFEST_EXPORT JsonDataIteratorConfigurationInstanceCollector : public JsonDataIteratorObjectBase {
public:
    /// Constructs a collector.
    JsonDataIteratorConfigurationInstanceCollector();
    /// Destroys the collector.
    ~JsonDataIteratorConfigurationInstanceCollector() override;

    /**
     * Appends the instance name of an object to the accumulator if the object is a selection.
     *
     * Objects without a selection type and objects of another selection type are skipped and not reported.
     *
     * @param         jsonObject the object. It is never changed.
     * @param[in,out] result     the accumulator. Null becomes an empty array first, whatever the object is. A value of
     *                           any other type, Undefined included, stays as it is, and nothing is collected.
     *
     * Messages, each followed by the object and "!": "Error on reading selection type from json object:", "Selection
     * does not contain an instanceName:", "Error on reading instance name from selection:". After a message nothing is
     * appended.
     *
     * Cost: at most four look-ups of a member, each logarithmic in the number of the object's members. Appending takes
     * amortised constant time as long as nothing else refers to the array. A message writes the object with everything
     * below it.
     */
    void compute(QJsonObject& jsonObject, QJsonValue& result) override;
};
