#pragma once

#include <QtCore/QString>
#include <QtCore/QVector>

/// Installs a message handler that prints every message of the library to standard error, one line each.
void printMessagesOfTheLibrary();

/// A message of the library.
struct LibraryMessage {
    QString text;
    /// The text with its level, as it is printed to standard error.
    QString line;
};

/// During its lifetime, appends the messages of the library to a vector instead of printing them.
class KeptMessages {
public:
    explicit KeptMessages(QVector<LibraryMessage>& messages);
    ~KeptMessages();
    Q_DISABLE_COPY(KeptMessages)

private:
    QVector<LibraryMessage>* const outer;
};
