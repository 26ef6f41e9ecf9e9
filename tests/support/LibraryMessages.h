#pragma once

#include "MessageRecorder.h"

// The messages of the library with the functions that log them.

// Messages of an element about its description.
Message positionMissing();
Message hideMissing();
Message noFolderDescription();
Message folderDescriptionNotJson();
Message folderDescriptionForbidden(const QString& path);
Message noFile();
Message fileNotJson();
Message fileForbidden(const QString& path);

// Messages of a handler that loads.
Message fileToLoadIsMissing();
Message fileCannotBeRead(const QString& path);
Message contentIsNotJson(const QString& error);
Message contentIsNoArray();

// Messages of a handler that saves.
Message fileToSaveIsMissing();
Message fileCannotBeWritten(const QString& path);
Message fileNotWrittenCompletely();

// Messages of edits.
Message indexIsOutOfBounds();
Message nothingToReplace();
Message noSuchPosition();

// Messages of a creator that saves.
Message manifestCannotBeOpened(const QString& path);
Message manifestNotWrittenCompletely(int written, int size);
