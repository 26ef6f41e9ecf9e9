#pragma once

#include <QtCore/QString>
#include <QtCore/QStringList>

/// The one of `words` that somebody may have meant who wrote `word`; null when none is near.
QString nearestWord(const QString& word, const QStringList& words);
