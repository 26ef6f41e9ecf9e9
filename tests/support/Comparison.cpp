#include "Comparison.h"

#include "Literals.h"

QString shown(const QString& text)
{
    return text;
}

QString shown(const QStringList& texts)
{
    return u'(' + texts.join(u" | "_qs) + u')';
}

QString shown(bool flag)
{
    return flag ? u"true"_qs : u"false"_qs;
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
    return content ? QString::fromUtf8(*content) : u"no file"_qs;
}

QStringList textsOf(const Messages& messages)
{
    QStringList texts;
    for (const Message& message : messages) {
        const bool isDebug = message.text == u"No description file found!"_qs;
        const bool asAgreed = message.level == (isDebug ? QtDebugMsg : QtWarningMsg)
            && message.category == u"default"_qs && message.hasLine && message.file.endsWith(u".cpp"_qs)
            && message.function.contains(message.file.chopped(4) + u"::"_qs);
        texts << (asAgreed ? message.text : QLatin1String(toString(message)));
    }
    return texts;
}
