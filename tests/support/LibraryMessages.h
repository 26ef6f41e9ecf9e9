#pragma once

#include "MessageRecorder.h"

// What the library logs, with the function that logs it.

// An element about its description.
Message positionMissing();
Message hideMissing();
Message noFolderDescription();
Message folderDescriptionNotJson();
Message folderDescriptionForbidden(const QString& path);
Message noFile();
Message fileNotJson();
Message fileForbidden(const QString& path);

// A handler that loads.
Message fileToLoadIsMissing();
Message fileCannotBeRead(const QString& path);
Message contentIsNotJson(const QString& error);
Message contentIsNoArray();

// A handler that saves.
Message fileToSaveIsMissing();
Message fileCannotBeWritten(const QString& path);
Message fileNotWrittenCompletely();

// An edit of a handler.
Message indexIsOutOfBounds();
Message nothingToReplace();
Message noSuchPosition();

// A creator that saves.
Message manifestCannotBeOpened(const QString& path);
Message manifestNotWrittenCompletely(int written, int size);
