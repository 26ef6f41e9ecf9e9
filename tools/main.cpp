#include "CommandLine.h"
#include "ConfigurationManifestVersion.h"
#include "LibraryMessages.h"
#include "Output.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QTextCodec>

#include <csignal>

#include <fcntl.h>
#include <unistd.h>

namespace {

// If the caller has closed a standard stream, the next file to be opened gets its number, the manifest for example, and
// output would be written there. So the number is taken by a file that cannot be read or written in the stream's way.
void occupyClosedStreams()
{
    for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        if (fcntl(stream, F_GETFD) < 0) {
            // The lowest number that is free, so this one.
            open("/dev/null", stream == STDIN_FILENO ? O_WRONLY : O_RDONLY);
        }
    }
}

// Whether a text is what it was made from. What is no UTF-8 loses something on the way.
bool isText(const char* argument)
{
    return QString::fromLocal8Bit(argument).toLocal8Bit() == argument;
}

QString escaped(const QByteArray& bytes)
{
    QString result;
    for (const char byte : bytes) {
        const bool isPlain = byte >= ' ' && byte <= '~';
        result += isPlain ? QString(QLatin1Char(byte))
                          : QStringLiteral("\\x%1").arg(static_cast<uchar>(byte), 2, 16, QLatin1Char('0'));
    }
    return result;
}

} // namespace

int main(int argc, char* argv[])
{
    occupyClosedStreams();
    QCoreApplication application(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("configuration-manifest"));
    QCoreApplication::setApplicationVersion(QStringLiteral(CONFIGURATION_MANIFEST_VERSION_STRING));
    // File names are UTF-8 on the device. A Qt that asked the locale would not find all of them under another one.
    QTextCodec::setCodecForLocale(QTextCodec::codecForName("UTF-8"));
    printMessagesOfTheLibrary();
    // A save that reaches the limit of file sizes is to fail, not to end the program.
    std::signal(SIGXFSZ, SIG_IGN);
    // A reader that has gone is an error of the output, of which the status tells.
    std::signal(SIGPIPE, SIG_IGN);

    for (int i = 1; i < argc; ++i) {
        if (!isText(argv[i])) {
            complain(QLatin1String("the argument '") % escaped(argv[i]) % QLatin1String("' is not valid UTF-8"));
            return Trouble;
        }
    }
    const ExitStatus status = runCommandLine(QCoreApplication::arguments());
    const bool isPrinted = flushOutput();
    if (status == SavedButNotPrinted) {
        complain(QStringLiteral("saved, but the results could not be printed"));
        return status;
    }
    if (isPrinted) {
        return status;
    }
    complain(QStringLiteral("cannot write the results"));
    return status == Done ? NotDone : status;
}
