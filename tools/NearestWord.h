#pragma once

#include <QtCore/QString>
#include <QtCore/QStringList>

/// Returns the most similar of `words`. If none is similar, returns the only one that begins with `word`. Returns null
/// if there is no such word, or if `word` is empty or very long. `word` is converted to lower case first.
QString nearestWord(const QString& word, const QStringList& words);
