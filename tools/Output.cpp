#include "Output.h"

#include <QtCore/QCoreApplication>

#include <cstdio>

#include <unistd.h>

namespace {

void writeLine(FILE* stream, const QString& line)
{
    const QByteArray bytes = line.toUtf8() + '\n';
    std::fwrite(bytes.constData(), 1, static_cast<size_t>(bytes.size()), stream);
}

bool wantsColours()
{
    return isatty(STDOUT_FILENO) != 0 && qEnvironmentVariableIsEmpty("NO_COLOR") && qgetenv("TERM") != "dumb";
}

bool isUnsafe(uint codePoint)
{
    switch (QChar::category(codePoint)) {
    case QChar::Other_Control:
    case QChar::Other_Format:
    case QChar::Other_Surrogate:
    case QChar::Separator_Line:
    case QChar::Separator_Paragraph:
        return true;
    default:
        return false;
    }
}

QString escaped(uint codePoint)
{
    switch (codePoint) {
    case '\n':
        return QStringLiteral("\\n");
    case '\r':
        return QStringLiteral("\\r");
    case '\t':
        return QStringLiteral("\\t");
    default:
        return QStringLiteral("\\u{%1}").arg(codePoint, 0, 16);
    }
}

void printMessage(QtMsgType type, const QMessageLogContext& context, const QString& text)
{
    writeLine(stderr, printable(qFormatLogMessage(type, context, text).trimmed()));
}

} // namespace

QString printable(const QString& text)
{
    QString result;
    result.reserve(text.size());
    const QVector<uint> codePoints = text.toUcs4();
    for (const uint codePoint : codePoints) {
        if (isUnsafe(codePoint)) {
            result += escaped(codePoint);
        } else {
            result += QString::fromUcs4(&codePoint, 1);
        }
    }
    return result;
}

QString styled(const QString& text, Style style)
{
    static const bool colours = wantsColours();
    if (!colours || style == Style::Plain) {
        return text;
    }
    const QLatin1String code = style == Style::Node ? QLatin1String("1;34")
        : style == Style::Selection                 ? QLatin1String("32")
        : style == Style::Label                     ? QLatin1String("2")
                                                    : QLatin1String("31");
    return QLatin1String("\x1b[") % code % QLatin1Char('m') % text % QLatin1String("\x1b[0m");
}

void print(const QString& line)
{
    writeLine(stdout, line);
}

void complain(const QString& line)
{
    // What was printed before stands before, also when both streams end in one file.
    std::fflush(stdout);
    writeLine(stderr, QCoreApplication::applicationName() % QLatin1String(": ") % line);
}

void printMessagesOfTheLibrary()
{
    qSetMessagePattern(QStringLiteral("%{if-debug}debug%{endif}%{if-info}info%{endif}%{if-warning}warning%{endif}"
                                      "%{if-critical}critical%{endif}%{if-fatal}fatal%{endif}: %{message}"));
    qInstallMessageHandler(printMessage);
}

bool flushOutput()
{
    return std::fflush(stdout) == 0 && std::ferror(stdout) == 0;
}
