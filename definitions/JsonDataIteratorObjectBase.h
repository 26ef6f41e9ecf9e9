#pragma once

#include <QtCore/QJsonObject>
#include <QtCore/QJsonValue>

/**
 * Base class of iterators: objects that a walk over a JSON document calls for each JSON object.
 *
 * The process that loads the library provides the constructor, the destructor, the virtual table and the type
 * information. The library derives from this class. It contains no walk and never calls compute(). A provider keeps the
 * two virtual functions in this order and adds no data members, because the library is compiled against this layout.
 */
class Q_DECL_EXPORT JsonDataIteratorObjectBase {
public:
    /// Constructs an iterator.
    JsonDataIteratorObjectBase();
    /// Destroys the iterator.
    virtual ~JsonDataIteratorObjectBase();

    /**
     * Visits one object of a walk.
     *
     * @param[in,out] object the object. When compute() has changed it, the walk stores it back into the document.
     * @param[in,out] result the accumulator. It belongs to the caller of the walk, who passes a Null value to the first
     *                       call and passes that value, as the previous call left it, to every further one.
     */
    virtual void compute(QJsonObject& object, QJsonValue& result) = 0;
};
