// Definitions with hidden visibility, as if their headers did not export them.

#include <QtCore/QJsonArray>
#include <QtCore/QJsonObject>
#include <QtCore/QString>

#undef Q_DECL_EXPORT
#define Q_DECL_EXPORT Q_DECL_HIDDEN

#include "../provider/Definitions.cpp"
#include "../provider/JsonDataIteratorObjectBase.cpp"
#include "../provider/JsonReaders.cpp"
