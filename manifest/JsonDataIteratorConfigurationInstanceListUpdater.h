#pragma once

#include "ConfigurationManifestExport.h"
#include "JsonDataIteratorObjectBase.h"

#include <QtCore/QString>
#include <QtCore/QVariant>

/**
 * Overwrites, adds or removes one key in all elements of one instance name in a walk over a JSON document, and collects
 * the edited elements.
 *
 * The document is a manifest or any other one that contains manifest elements. Before the walk, call init() and set the
 * modes. Nothing resets them afterwards. What happens to an element of the instance name:
 *
 * | addKey() | removeKey() | the key is present | the key is missing |
 * |----------|-------------|--------------------|--------------------|
 * | false    | false       | overwritten        | warning, unchanged |
 * | true     | false       | overwritten        | added              |
 * | false    | true        | removed            | warning, unchanged |
 *
 * The accumulator of the walk becomes an array of the edited elements, each as compute() left it, in the order of the
 * walk. Example: with init("Net/port", "hide", true), the manifest
 *
 *     [{"hide":false,"instanceName":"main","selectionType":"Selection"},
 *      {"instanceName":"Net","selectionType":"Node","substructure":[
 *        {"hide":false,"instanceName":"Net/port","selectionType":"Selection"}]}]
 *
 * gives `[{"hide":true,"instanceName":"Net/port","selectionType":"Selection"}]`.
 *
 * An updater owns copies of the arguments of init(). It keeps nothing from one compute() to the next. One updater can
 * be used by any number of walks, also at the same time, as long as it is not reconfigured meanwhile. A message handler
 * may use the updater whose message it receives, see [Callbacks](docs/limits.md#callbacks).
 */
class CONFIGURATION_MANIFEST_EXPORT JsonDataIteratorConfigurationInstanceListUpdater
    : public JsonDataIteratorObjectBase {
public:
    /**
     * Key of the instance name. The library defines it itself: the updater does not use the imported getter.
     *
     * @return "instanceName".
     */
    static const QString& getKeyInstanceName();

    /// Constructs an updater with an empty instance name, an empty key, an invalid value, and both modes off.
    JsonDataIteratorConfigurationInstanceListUpdater();
    /// Destroys the updater.
    ~JsonDataIteratorConfigurationInstanceListUpdater() override;

    /**
     * Whether a missing key is added.
     *
     * @return true when adding is on; false after construction.
     */
    bool addKey() const;
    /**
     * Whether a present key is removed instead of overwritten.
     *
     * @return true when removing is on; false after construction.
     */
    bool removeKey() const;

    /**
     * Selects the elements and the edit. The modes do not change.
     *
     * @param instanceName whole instance name as stored, including the folders in it; compared case-sensitively.
     * @param key          key to overwrite, add or remove.
     * @param value        value to write under `key`, converted by QJsonValue::fromVariant(). An invalid value is
     *                     written as null.
     */
    void init(const QString& instanceName, const QString& key, const QVariant& value);

    /**
     * Switches adding on or off. Switching it on switches removing off.
     *
     * @param enable true to add a missing key.
     *
     * Messages: "Removing of keys is already enabled and will be disabled!" when removing was on. While this message is
     * handled, both modes are on: a compute() then removes a key that is present and adds one that is missing.
     */
    void setAddKey(bool enable);
    /**
     * Switches removing on or off. Switching it on switches adding off.
     *
     * @param enable true to remove a present key.
     *
     * Messages: "Adding of keys is already enabled and will be disabled!" when adding was on. While this message is
     * handled, both modes are on: a compute() then removes a key that is present and adds one that is missing.
     */
    void setRemoveKey(bool enable);

    /**
     * Edits an object if it is an element of the instance name, and appends a copy of the edited object to the
     * accumulator.
     *
     * An element is an object with a selection type of any value. It is edited also when it already has the value.
     * Other members keep their values, except that an integer beyond 2^53 becomes the nearest double, as it does when
     * it is written to a file. Objects without a selection type, with another instance name, or with one that is not a
     * string are skipped and not reported. When no element has the instance name, the only sign is the empty
     * accumulator.
     *
     * @param[in,out] jsonObject the object. Unchanged after a message.
     * @param[in,out] result     the accumulator. Null becomes an empty array first, whatever the object is. A value of
     *                           any other type, Undefined included, stays as it is: the object is edited but not
     *                           collected.
     *
     * Messages: "Unable to find key instanceName in current json object:" with the object, "(", the key and ")!", for
     * every element without an instance name; "Unable to find key" with the key, "in jsonObject:", the object and "!".
     * After a message the object is neither changed nor collected.
     *
     * Cost: an object that is skipped takes at most three look-ups of a member. An edit converts the object with
     * everything below it twice, and reinserts its own members one by one in no order, so its time grows with the
     * square of their number: half a millisecond for 1,000 members, 30 ms for 10,000. Appending takes amortised
     * constant time as long as nothing else refers to the array. A message writes the object with everything below it.
     */
    void compute(QJsonObject& jsonObject, QJsonValue& result) override;

private:
    QString targetInstanceName;
    QString keyName;
    QVariant keyValue;
    bool addKeyEnabled = false;
    bool removeKeyEnabled = false;
};
