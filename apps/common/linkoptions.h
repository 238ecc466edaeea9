#pragma once

#include <koltacommon/servernodes.h>

#include <distribution/linkoptions.h>

namespace KoltaApps {

/// The configuration's options for an installation's tree, as LinkOptions::FromConfiguration() gives them,
/// and with the values that are written as a whole.
inline std::optional<distribution::LinkOptions> linkOptions(const QString& url, QString& error,
                                                            const QString& server = QString())
{
    auto options = distribution::LinkOptions::FromConfiguration(url, error, server);
    if (options)
        options->compared = Kolta::ServerNodes::pathEnds(Kolta::ServerNodes::eWhole);
    return options;
}

} // namespace KoltaApps
