#include "MessageRecorder.h"

#include "Literals.h"

#include <QtCore/QFileInfo>
#include <QtCore/QRegularExpression>
#include <QtTest/QTest>

#include <utility>

namespace {

Q_GLOBAL_STATIC(Messages, recorded)
QtMessageHandler previousHandler = nullptr;

void record(QtMsgType level, const QMessageLogContext& context, const QString& text)
{
    recorded->append({level, text, QString::fromUtf8(context.function),
        QFileInfo(QString::fromUtf8(context.file)).fileName(), QString::fromUtf8(context.category), context.line > 0});
}

Message expected(QtMsgType level, const QString& text, const char* function)
{
    const QString signature = QString::fromUtf8(function);
    static const QRegularExpression qualifiedName(u"(\\w+)::\\w+\\("_qs);
    const QString className = qualifiedName.match(signature).captured(1);
    return {level, text, signature, className + u".cpp"_qs, u"default"_qs, true};
}

} // namespace

bool operator==(const Message& a, const Message& b)
{
    return a.level == b.level && a.text == b.text && a.function == b.function && a.file == b.file
        && a.category == b.category && a.hasLine == b.hasLine;
}

char* toString(const Message& message)
{
    const QString level = message.level == QtWarningMsg ? u"warning"_qs
        : message.level == QtDebugMsg                   ? u"debug"_qs
                                                        : u"level %1"_qs.arg(message.level);
    return qstrdup(qPrintable(u"[%1, %2] '%3' from %4 in %5%6"_qs.arg(level, message.category, message.text,
        message.function, message.file, message.hasLine ? QString() : u" without a line"_qs)));
}

char* toString(const Messages& messages)
{
    QByteArray text;
    for (const Message& message : messages) {
        const char* const one = toString(message);
        text.append(text.isEmpty() ? "" : "\n").append(one);
        delete[] one;
    }
    return qstrdup(text.constData());
}

Message warning(const QString& text, const char* function)
{
    return expected(QtWarningMsg, text, function);
}

Message debug(const QString& text, const char* function)
{
    return expected(QtDebugMsg, text, function);
}

MessageRecorder::MessageRecorder()
{
    recorded->clear();
    previousHandler = qInstallMessageHandler(record);
}

MessageRecorder::~MessageRecorder()
{
    qInstallMessageHandler(previousHandler);
    for (const Message& message : std::as_const(*recorded)) {
        QTest::qFail(toString(message), __FILE__, __LINE__);
    }
}

Messages MessageRecorder::take()
{
    return std::exchange(*recorded, {});
}
