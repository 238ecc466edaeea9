#include "keptsettings.h"

#include <QFileInfo>

#include <utility>

namespace KoltaConsole {

namespace {

KeptSettings::FailureTaker& failureTaker()
{
    static KeptSettings::FailureTaker taker;
    return taker;
}

} // namespace

KeptSettings::~KeptSettings()
{
    sync();
    if (status() == QSettings::AccessError && failureTaker())
        failureTaker()(fileName());
}

void KeptSettings::setFailureTaker(FailureTaker taker)
{
    failureTaker() = std::move(taker);
    if (!failureTaker())
        return;
    const QSettings settings;
    const bool isWritable = settings.isWritable(); // makes the folder, too
    // The file is replaced by another beside it.
    if (!isWritable || !QFileInfo(QFileInfo(settings.fileName()).path()).isWritable())
        failureTaker()(settings.fileName());
}

} // namespace KoltaConsole
