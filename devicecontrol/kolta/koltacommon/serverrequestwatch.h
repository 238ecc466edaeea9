#pragma once

#include <koltacommon/servernodes.h>
#include <koltacommon/valuebinding.h>

#include <values/value.h>

#include <QHash>
#include <QString>

#include <array>
#include <functional>

namespace Kolta {

/// Sees what all clients ask of one server in the values that they share, and the errors of its start-up:
/// for telling what ends because somebody wanted it from what ends by itself.
class ServerRequestWatch final : public IObserver
{
public:
    /// How long what was asked for counts as the reason, in milliseconds.
    static constexpr qint64 kCountsMs = 15000;

    /// `startupErrors` is called with each new text of that value.
    explicit ServerRequestWatch(std::function<void(const QString&)> startupErrors);
    ~ServerRequestWatch() override;

    /// Binds to what is there of the server at `basePath`; may be repeated.
    void bind(const QString& basePath);

    /// Whether its stop was asked for lately: by the GUID of a production or a processor, or all.
    bool isStopAskedFor(const QString& guid) const;
    /// Whether the stop of something was asked for lately that is not in `known`, FFPs' productions above
    /// all: these are shown nowhere.
    bool isUnknownStopAskedFor(const std::function<bool(const QString&)>& isKnown) const;
    /// Whether reset or quit of the server was asked for lately.
    bool isEndAskedFor() const;
    /// Whether units were switched lately.
    bool isSwitched() const;

    void Update(Observable* source, TChangeCode code) override;

private:
    using Binding = ValueBinding<values::ValueBase>;
    enum eWatched : int { eQuit, eReset, eStopAll, ePower, eStop, eErrors, eWatchedCount };

    bool isLate(qint64 time) const;

    const std::function<void(const QString&)> m_startupErrors;
    std::array<Binding, eWatchedCount> m_bindings;
    std::array<qint64, eWatchedCount> m_askedAt; ///< by the clock; -1 for never
    QHash<QString, qint64> m_stops;              ///< times by GUID
};

} // namespace Kolta
