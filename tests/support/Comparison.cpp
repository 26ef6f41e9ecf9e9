#include "Comparison.h"

QString shown(const QString& text)
{
    return text;
}

QString shown(const QStringList& texts)
{
    return QLatin1Char('(') + texts.join(QStringLiteral(" | ")) + QLatin1Char(')');
}

QString shown(bool flag)
{
    return flag ? QStringLiteral("true") : QStringLiteral("false");
}

QString shown(int number)
{
    return QString::number(number);
}

QString shown(const Value& value)
{
    return QString::fromUtf8(compact(value));
}

QString shown(const Items& items)
{
    return QString::fromUtf8(compact(items));
}

QString shown(const Members& members)
{
    return shown(Value {members});
}

QString shown(const std::optional<QByteArray>& content)
{
    return content ? QString::fromUtf8(*content) : QStringLiteral("no file");
}

QStringList textsOf(const QVector<Message>& messages)
{
    QStringList texts;
    for (const Message& message : messages) {
        const bool isDebug = message.text == QLatin1String("No description file found!");
        const bool asAgreed = message.level == (isDebug ? QtDebugMsg : QtWarningMsg)
            && message.category == QLatin1String("default") && message.hasLine
            && message.file.endsWith(QLatin1String(".cpp"))
            && message.function.contains(message.file.chopped(4) + QLatin1String("::"));
        texts << (asAgreed ? message.text : QLatin1String(toString(message)));
    }
    return texts;
}
