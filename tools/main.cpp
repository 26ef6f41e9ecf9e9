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

// If the caller has closed a standard stream, the next file that is opened gets its descriptor. If that is the
// manifest, output would be written into it. So each missing stream is replaced by /dev/null: an input opened for writing,
// an output opened for reading, so that using it is still an error.
void occupyClosedStreams()
{
    for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        if (fcntl(stream, F_GETFD) < 0) {
            // open() returns the lowest free descriptor, which is this one.
            open("/dev/null", stream == STDIN_FILENO ? O_WRONLY : O_RDONLY);
        }
    }
}

// Whether an argument is valid UTF-8: only then does it survive the conversion to QString and back.
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
    // File names are UTF-8 on the device. In another locale, Qt would not find all of them.
    QTextCodec::setCodecForLocale(QTextCodec::codecForName("UTF-8"));
    printMessagesOfTheLibrary();
    // Let a write beyond the limit of file sizes fail with an error instead of ending the program.
    std::signal(SIGXFSZ, SIG_IGN);
    // Let a write to a closed pipe fail with an error, which the exit status reports, instead of ending the program.
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
