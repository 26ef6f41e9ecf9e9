#pragma once

#include <QtCore/QString>

/// Makes elements, edits, saves and creates a manifest in `folder`, which holds one description. Returns how many elements
/// came of it all.
int useLibraryIn(const QString& folder);
