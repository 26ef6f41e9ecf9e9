#include "LibraryMessages.h"

#include "Output.h"

#include <QtCore/QtGlobal>

#include <utility>

namespace {

QVector<LibraryMessage>* kept = nullptr;

void keepOrPrint(QtMsgType type, const QMessageLogContext& context, const QString& text)
{
    const QString message = qFormatLogMessage(type, context, text).trimmed();
    if (kept != nullptr) {
        kept->append({text.trimmed(), message});
    } else {
        remark(message);
    }
}

} // namespace

void printMessagesOfTheLibrary()
{
    qSetMessagePattern(QStringLiteral("%{if-debug}debug%{endif}%{if-info}info%{endif}%{if-warning}warning%{endif}"
                                      "%{if-critical}critical%{endif}%{if-fatal}fatal%{endif}: %{message}"));
    qInstallMessageHandler(keepOrPrint);
}

KeptMessages::KeptMessages(QVector<LibraryMessage>& messages)
    : outer(std::exchange(kept, &messages))
{
}

KeptMessages::~KeptMessages()
{
    kept = outer;
}
