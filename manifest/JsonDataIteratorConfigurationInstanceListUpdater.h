#pragma once

#include "ConfigurationManifestExport.h"
#include "JsonDataIteratorObjectBase.h"

#include <QtCore/QString>
#include <QtCore/QVariant>

/**
 * Overwrites, adds or removes one key in all elements of one instance name that a JSON walk presents, and collects the
 * edited elements.
 *
 * For a walk over a manifest or any other document that holds manifest elements. Configured with init() and the two
 * modes before a walk; nothing resets the configuration afterwards. What becomes of an element that matches:
 *
 * | addKey() | removeKey() | the key is present | the key is missing      |
 * |----------|-------------|--------------------|-------------------------|
 * | false    | false       | overwritten        | warning, left unchanged |
 * | true     | false       | overwritten        | added                   |
 * | false    | true        | removed            | warning, left unchanged |
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
 * Owns copies of what init() received. Nothing is kept from one compute() to the next, so that a configured updater
 * serves any number of walks, also at the same time, as long as nobody reconfigures it meanwhile. Whoever takes its
 * messages may use it as well (docs/limits.md, Callbacks).
 */
class CONFIGURATION_MANIFEST_EXPORT JsonDataIteratorConfigurationInstanceListUpdater
    : public JsonDataIteratorObjectBase {
public:
    /// Key of the instance name: "instanceName".
    static const QString& getKeyInstanceName();

    /// Until init() is called, the instance name and the key are empty and the value is invalid.
    JsonDataIteratorConfigurationInstanceListUpdater();
    ~JsonDataIteratorConfigurationInstanceListUpdater() override;

    /// Whether a missing key is added.
    bool addKey() const;
    /// Whether a present key is removed instead of overwritten.
    bool removeKey() const;

    /**
     * Selects the elements and the edit; leaves the modes as they are.
     *
     * @param instanceName the whole instance name as it is stored, folder prefix included; compared case-sensitively.
     * @param value        what is written under `key`, converted as QJsonValue::fromVariant() does. An invalid value is
     *                     written as null.
     */
    void init(const QString& instanceName, const QString& key, const QVariant& value);

    /// Switching adding on switches removing off, with the warning "Removing of keys is already enabled and will be
    /// disabled!" when it was on. While the warning is given both are on: a compute() then removes a key that is
    /// present and adds one that is missing.
    void setAddKey(bool enable);
    /// Switching removing on switches adding off, with the warning "Adding of keys is already enabled and will be
    /// disabled!" when it was on. While the warning is given both are on, as in setAddKey().
    void setRemoveKey(bool enable);

    /**
     * Edits `jsonObject` when it is an element of the instance name, and then appends a copy of it to `result`. An
     * element is an object with a selection type, whatever that is. It is edited even when it already holds the value.
     * The other members keep their values, except that an integer beyond 2^53 becomes the nearest number of type
     * double, as it does whenever it is written to a file.
     *
     * Cost: an object that is skipped costs at most three lookups of a member. An edit converts the object with
     * everything below it twice, and puts its own members back one by one in no order, so that its time grows with the
     * square of their number: half a millisecond for 1,000 members, 30 ms for 10,000. The appending is amortised
     * constant as long as nothing else refers to the array. A warning writes out the object with everything below it.
     *
     * A Null `result` becomes an empty array first, whatever the object is. A `result` of any other type, Undefined
     * included, is left as it is: the object is edited and not collected. Objects without a selection type, with
     * another instance name or with one that is not a string are skipped silently; when no element has the
     * instance name, only the empty array says so.
     *
     * The object is neither changed nor collected after each of these warnings: "Unable to find key instanceName in
     * current json object:" with the object, "(", the key and ")!", for every element without an instance name;
     * "Unable to find key" with the key, "in jsonObject:", the object and "!".
     */
    void compute(QJsonObject& jsonObject, QJsonValue& result) override;

private:
    QString targetInstanceName;
    QString keyName;
    QVariant keyValue;
    bool addKeyEnabled = false;
    bool removeKeyEnabled = false;
};
