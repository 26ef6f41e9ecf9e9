#include "Output.h"

#include <QtCore/QCoreApplication>

#include <algorithm>
#include <cstdio>

#include <unistd.h>

namespace {

void writeLine(FILE* stream, const QByteArray& line)
{
    std::fwrite(line.constData(), 1, static_cast<size_t>(line.size()), stream);
    std::fputc('\n', stream);
}

bool wantsColours()
{
    return isTerminal() && qEnvironmentVariableIsEmpty("NO_COLOR") && qgetenv("TERM") != "dumb";
}

bool isUnsafe(uint codePoint)
{
    switch (QChar::category(codePoint)) {
    case QChar::Other_Control:
    case QChar::Other_Format:
    case QChar::Separator_Line:
    case QChar::Separator_Paragraph:
        return true;
    default:
        return false;
    }
}

// Most characters are plain ASCII; this spares them the slower tests.
bool isPlainAscii(QChar character)
{
    return character >= QLatin1Char(' ') && character <= QLatin1Char('~');
}

// `text` with every unsafe character replaced.
template <typename Escape>
QString withoutUnsafe(const QString& text, Escape escape)
{
    QString result;
    result.reserve(text.size());
    const QVector<uint> codePoints = text.toUcs4();
    for (const uint codePoint : codePoints) {
        result += isUnsafe(codePoint) ? escape(codePoint) : QString::fromUcs4(&codePoint, 1);
    }
    return result;
}

QString escapedInText(uint codePoint)
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

QString escapedInJson(uint codePoint)
{
    // A line end between tokens. Inside a string, JSON has escaped it already.
    if (codePoint == '\n') {
        return QStringLiteral("\n");
    }
    QString result;
    const QString utf16 = QString::fromUcs4(&codePoint, 1);
    for (const QChar unit : utf16) {
        result += QStringLiteral("\\u%1").arg(unit.unicode(), 4, 16, QLatin1Char('0'));
    }
    return result;
}

} // namespace

bool isTerminal()
{
    return isatty(STDOUT_FILENO) != 0;
}

QString printable(const QString& text)
{
    if (std::all_of(text.cbegin(), text.cend(), isPlainAscii)) {
        return text;
    }
    return withoutUnsafe(text, escapedInText);
}

QString styled(const QString& text, Style style)
{
    static const bool colours = wantsColours();
    if (!colours) {
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
    writeLine(stdout, line.toUtf8());
}

void printJson(const QByteArray& json)
{
    writeLine(stdout, isTerminal() ? withoutUnsafe(QString::fromUtf8(json), escapedInJson).toUtf8() : json);
}

void printText(const QString& text)
{
    const QStringList lines = text.split(QLatin1Char('\n'));
    for (const QString& line : lines) {
        print(printable(line));
    }
}

void complain(const QString& line)
{
    // Keeps the order of results and messages if both streams go to the same file.
    std::fflush(stdout);
    writeLine(stderr, QCoreApplication::applicationName().toUtf8() + ": " + line.toUtf8());
}

void remark(const QString& line)
{
    std::fflush(stdout);
    writeLine(stderr, printable(line).toUtf8());
}

void explain(const QString& text)
{
    const QStringList lines = text.split(QLatin1Char('\n'));
    for (const QString& line : lines) {
        remark(line);
    }
}

bool flushOutput()
{
    return std::fflush(stdout) == 0 && std::ferror(stdout) == 0;
}
