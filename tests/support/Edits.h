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
/// What a caller does to an element.
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

/// Sets "key" to "edited", and returns and reports what it is told to.
ElementEdit editThat(bool applies, bool tellsOfTheChange);

// A table of edits: what each one makes of a manifest in memory.

void addEditColumns();
/// An edit that carries out a change.
void addChange(const char* name, const QJsonArray& manifest, const Edit& edit, const QJsonArray& after,
    const Messages& messages = {});
/// An edit that succeeds without a change.
void addNoChange(const char* name, const QJsonArray& manifest, const Edit& edit);
/// An edit that fails and leaves everything as it was.
void addFailure(const char* name, const QJsonArray& manifest, const Edit& edit, const Messages& messages = {});
/// Checks a row. What an earlier edit did makes no difference, and a copy taken before is not touched.
void checkEdit();
