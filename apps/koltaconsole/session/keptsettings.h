#pragma once

#include <QSettings>

#include <functional>

namespace KoltaConsole {

/// The user's settings, for those who write something into them: it is on disk when this goes, or one hears
/// that it is not.
class KeptSettings : public QSettings
{
public:
    ~KeptSettings() override;

    using FailureTaker = std::function<void(const QString& file)>;
    /// Hears of every file that could not be written, at once of one that cannot be. There is one at most.
    static void setFailureTaker(FailureTaker taker);
};

} // namespace KoltaConsole
