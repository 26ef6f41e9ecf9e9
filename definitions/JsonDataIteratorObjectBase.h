#pragma once

#include <QtCore/QJsonObject>
#include <QtCore/QJsonValue>

/**
 * A visitor of the JSON objects of a document.
 *
 * Constructor, destructor, virtual table and type information are provided by the process that loads the library; the
 * library derives from this class and neither constructs a walk nor calls compute(). A provider keeps the two virtual
 * operations in this order and adds no data that a derived class would have to know.
 */
class Q_DECL_EXPORT JsonDataIteratorObjectBase {
public:
    JsonDataIteratorObjectBase();
    virtual ~JsonDataIteratorObjectBase();

    /**
     * Visits one object of a walk.
     *
     * @param object the object; a walk stores it back to where it came from when compute() changed it.
     * @param result the accumulator. It belongs to whoever started the walk, who hands in a Null value first and the
     *               same value, unchanged, on every further call.
     */
    virtual void compute(QJsonObject& object, QJsonValue& result) = 0;
};
