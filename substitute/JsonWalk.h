#pragma once

#include "JsonDataIteratorObjectBase.h"

#include <QtCore/QJsonValue>

/**
 * @file
 * The substitute's walk over a JSON document, for programs that have no walk of their own.
 */

/**
 * Visits every object of a document, at any depth.
 *
 * This is the walk of the substitute. The library never calls it.
 *
 * An object is visited before the values in it. Members come in the order of their keys, items in the order of their
 * array. The object as compute() leaves it is stored in the document and walked next: members that compute() has added
 * are visited, members that it has removed are not. So a walk never ends when compute() inserts another object into
 * every object.
 *
 * Objects and arrays in which nothing has changed are not stored again. They keep sharing their data with their copies.
 *
 * @param[in,out] document the document. A value that is neither an object nor an array contains nothing to visit.
 * @param[in,out] iterator its compute() is called once for each object.
 * @param[in,out] result   the accumulator, passed to every compute() and otherwise not touched. Pass Null for a new
 *                         one.
 *
 * Cost: linear in the number of values. In addition, each object that compute() has replaced or written to is compared
 * with its previous state, with everything below it, up to the first difference. Stack usage does not depend on the
 * depth of the document, except where Qt itself is recursive: in that comparison, and when replaced values are freed.
 * 60,000 levels fit into 8 MiB.
 */
Q_DECL_EXPORT void walkJson(QJsonValue& document, JsonDataIteratorObjectBase& iterator, QJsonValue& result);
