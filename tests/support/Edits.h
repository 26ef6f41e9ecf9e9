#pragma once

#include "Handlers.h"
#include "MessageRecorder.h"

#include <QtCore/QJsonArray>
#include <QtCore/QJsonObject>
#include <QtCore/QStringList>
#include <QtCore/QVariant>

#include <functional>

/// One public edit of a handler, with all arguments but the last one.
using Edit = std::function<bool(Handler& handler, bool writeToFile)>;
/// An edit function of a caller.
using ElementEdit = std::function<bool(QJsonObject& element, bool& changed)>;

Q_DECLARE_METATYPE(Edit)
Q_DECLARE_METATYPE(ElementEdit)

// The edits of a handler.

Edit updateEdit(const QString& path, const QString& key, const QVariant& value);
Edit setEdit(const QString& path, const QString& key, const QVariant& value);
Edit removeEdit(const QString& path, const QString& key);
Edit modifyEdit(const QString& path, const ElementEdit& edit);
Edit deleteElement(const QString& path);
Edit sortElements(const QString& path, const QStringList& names);
Edit moveSelection(const QString& path, int newIndex);
Edit moveNode(const QString& path, int newIndex);
Edit updateSelection(const QString& path, const QJsonObject& element);
Edit updateNode(const QString& path, const QJsonObject& element, bool replaceSubstructure);

/// A description that causes no message, neither for a node nor for a selection.
QJsonObject silentDescription();
Edit addNode(const QString& path, int index = -1, const QJsonObject& description = silentDescription());
Edit addSelection(const QString& path, int index = -1, const QJsonObject& description = silentDescription());

/// An edit function that sets "key" to "edited", returns `applies` and sets its flag to `tellsOfTheChange`.
ElementEdit editThat(bool applies, bool tellsOfTheChange);

// The columns and rows of a table of edits and their results in memory.

void addEditColumns();
/// An edit that carries out a change.
void addChange(const char* name, const QJsonArray& manifest, const Edit& edit, const QJsonArray& after,
    const Messages& messages = {});
/// An edit that succeeds without a change.
void addNoChange(const char* name, const QJsonArray& manifest, const Edit& edit);
/// An edit that fails and leaves everything as it was.
void addFailure(const char* name, const QJsonArray& manifest, const Edit& edit, const Messages& messages = {});
/// Checks a row. The result must not depend on earlier edits, and a copy of the manifest that was taken before must not
/// change.
void checkEdit();
