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
                % QLatin1String(" The configuration scheme, which is the default, collects configuration files, any "
                                "other one process files."),
            {}},
        {QStringLiteral("any-scheme"), {},
            QStringLiteral("Take a scheme that is neither 'configuration' nor 'process'."), {}},
    };
}

bool readScheme(const QCommandLineParser& arguments, QString& scheme)
{
    const QString option = QStringLiteral("scheme");
    scheme = arguments.isSet(option) ? arguments.value(option) : Definitions::getSelectorUrlSchemeConfiguration();
    if (scheme.isEmpty() || scheme.contains(QLatin1Char('/'))) {
        complain(QStringLiteral("a scheme is not empty and has no '/'"));
        return false;
    }
    const bool isKnown =
        scheme == Definitions::getSelectorUrlSchemeConfiguration() || scheme == QLatin1String("process");
    if (!isKnown && !arguments.isSet(QStringLiteral("any-scheme"))) {
        complain(QLatin1Char('\'') % printable(scheme) % QLatin1String("' is neither '")
            % Definitions::getSelectorUrlSchemeConfiguration()
            % QLatin1String("' nor 'process'; --any-scheme takes it all the same"));
        return false;
    }
    return true;
}
