#pragma once

#include <QtCore/QString>
#include <QtCore/QVector>

/// Sends every message of the library to standard error, one line each.
void printMessagesOfTheLibrary();

/// A message of the library.
struct LibraryMessage {
    QString text;
    /// As it is printed.
    QString line;
};

/// Keeps the messages of the library instead of printing them, as long as it lives.
class KeptMessages {
public:
    explicit KeptMessages(QVector<LibraryMessage>& messages);
    ~KeptMessages();
    Q_DISABLE_COPY(KeptMessages)

private:
    QVector<LibraryMessage>* const outer;
};
