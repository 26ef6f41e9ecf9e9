#pragma once

#include "JsonDataIteratorObjectBase.h"

#include <QtCore/QJsonValue>

/**
 * Visits every object of a document, at any depth: the substitute's own walk, so that iterators can be used where the
 * surrounding software is not there. The library never calls it.
 *
 * An object comes before what it holds; members come in the order of their keys, items in the order of their array.
 * What compute() makes of an object takes its place in the document and is walked next: with the members that the edit
 * added, without those that it removed. So an iterator that gives every object another object never comes to an end.
 *
 * Containers in which nothing changed are not rewritten; they keep sharing their data with their copies.
 *
 * The cost is linear in the number of values. On top of that, each object that compute() has replaced or written to is
 * compared with what it was, with everything below it up to the first difference. Stack usage does not depend on the
 * depth of the document, except where Qt is recursive itself: in that comparison and in freeing what an edit replaced;
 * 60,000 levels fit into 8 MiB.
 *
 * @param document any value; one that is neither an object nor an array holds nothing to visit.
 * @param result   the accumulator, handed to every compute() and not touched otherwise. Null for a new one.
 */
Q_DECL_EXPORT void walkJson(QJsonValue& document, JsonDataIteratorObjectBase& iterator, QJsonValue& result);
