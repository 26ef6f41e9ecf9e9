#include "Scheme.h"

#include "ConfigurationAndProcessDataDefinitions.h"
#include "Output.h"

#include <QtCore/QCommandLineParser>

using Definitions = ConfigurationAndProcessDataDefinitions;

Options schemeOptions(const QString& purpose)
{
    return {
        {QStringLiteral("scheme"), QStringLiteral("SCHEME"),
            purpose
                % QLatin1String(" The scheme 'configuration', the default, collects configuration files; any other "
                                "scheme collects process files."),
            {}},
        {QStringLiteral("any-scheme"), {}, QStringLiteral("Allow a scheme other than 'configuration' and 'process'."),
            {}},
    };
}

bool readScheme(const QCommandLineParser& arguments, QString& scheme)
{
    const QString option = QStringLiteral("scheme");
    scheme = arguments.isSet(option) ? arguments.value(option) : Definitions::getSelectorUrlSchemeConfiguration();
    if (scheme.isEmpty() || scheme.contains(QLatin1Char('/'))) {
        complain(QStringLiteral("a scheme must not be empty or contain '/'"));
        return false;
    }
    const bool isKnown =
        scheme == Definitions::getSelectorUrlSchemeConfiguration() || scheme == QLatin1String("process");
    if (!isKnown && !arguments.isSet(QStringLiteral("any-scheme"))) {
        complain(QLatin1Char('\'') % printable(scheme) % QLatin1String("' is neither '")
            % Definitions::getSelectorUrlSchemeConfiguration()
            % QLatin1String("' nor 'process'; --any-scheme allows it"));
        return false;
    }
    return true;
}
