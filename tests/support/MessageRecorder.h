#pragma once

#include <QtCore/QMetaType>
#include <QtCore/QString>
#include <QtCore/QVector>
#include <QtCore/QtGlobal>

/// One message as it reached the Qt message logger. `file` is without its folder. `hasLine` says whether the line is
/// known; the line itself is not recorded.
struct Message {
    QtMsgType level;
    QString text;
    QString function;
    QString file;
    QString category;
    bool hasLine;
};

using Messages = QVector<Message>;

Q_DECLARE_METATYPE(Message)

bool operator==(const Message& a, const Message& b);
// For the output of a failed comparison.
char* toString(const Message& message);
char* toString(const Messages& messages);

/// The message that the library has to log in `function`, which is given as its whole signature: in the default
/// category, with a line, from the source file named after the function's class.
Message warning(const QString& text, const char* function);
Message debug(const QString& text, const char* function);

/**
 * Records all messages within its lifetime instead of printing them. A test compares take() with the exact sequence
 * that it expects. The destructor fails the test if there are messages that were not taken.
 */
class MessageRecorder {
public:
    MessageRecorder();
    ~MessageRecorder();
    Q_DISABLE_COPY(MessageRecorder)

    /// The messages since the last take(), in order.
    Messages take();
};
