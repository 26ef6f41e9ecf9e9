#pragma once

#include <QtCore/QString>

/// Creates a manifest in `folder`, which contains one description, loads and edits it, and makes an element. Returns
/// the number of elements; 4 if everything worked.
int useLibraryIn(const QString& folder);
