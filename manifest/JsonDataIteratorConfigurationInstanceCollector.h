#pragma once

#include "ConfigurationManifestExport.h"
#include "JsonDataIteratorObjectBase.h"

/**
 * Collects the instance names of all selections that a JSON walk presents.
 *
 * For a walk over a manifest or any other document that holds manifest elements. The accumulator of the walk becomes an
 * array of strings, in the order of the walk, with duplicates:
 *
 * | item   | type   | when present                                             | meaning                              |
 * |--------|--------|----------------------------------------------------------|--------------------------------------|
 * | a name | string | for every object with the selection type "Selection" and | its instance name as it is stored,   |
 * |        |        | a string as its instance name                            | folder prefix included               |
 *
 * Example: the manifest
 *
 *     [{"instanceName":"main","selectionType":"Selection"},
 *      {"instanceName":"Net","selectionType":"Node","substructure":[
 *        {"instanceName":"Net/port","selectionType":"Selection"}]}]
 *
 * gives `["main","Net/port"]`.
 *
 * Has no state: what is gathered lives in the accumulator, which belongs to whoever started the walk. One collector
 * serves any number of walks, also at the same time, each with an accumulator of its own.
 */
class CONFIGURATION_MANIFEST_EXPORT JsonDataIteratorConfigurationInstanceCollector : public JsonDataIteratorObjectBase {
public:
    JsonDataIteratorConfigurationInstanceCollector();
    ~JsonDataIteratorConfigurationInstanceCollector() override;

    /**
     * Appends the instance name of `jsonObject` to `result` when the object is a selection. Never changes the object.
     *
     * Cost: at most four lookups of a member, each logarithmic in the number of the object's members, and the
     * appending, which is amortised constant as long as nothing else refers to the array. A warning writes out the
     * object with everything below it.
     *
     * A Null `result` becomes an empty array first, whatever the object is. A `result` of any other type, Undefined
     * included, is left as it is and gathers nothing. Objects without a selection type and objects of another selection
     * type are skipped silently.
     *
     * Nothing is gathered after each of these warnings, followed by the object and "!": "Error on reading selection
     * type from json object:", "Selection does not contain an instanceName:", "Error on reading instance name from
     * selection:".
     */
    void compute(QJsonObject& jsonObject, QJsonValue& result) override;
};
