#pragma once

#include <koltacommon/processorindex.h>

#include <startup/clock.h>

#include <QObject>
#include <QPointer>

namespace Kolta {

class KoltaServerInterface;

/// What runs on one server as views show it: the mirror of running processors, but for the times when that is
/// empty and may well be wrong. An overview that is emptied, and one that goes with its server, is in doubt:
/// what ran before is kept until another overview comes, the observer says that all has stopped, or the
/// server has been operational again for kReturnMs without showing any.
class ProcessorLedger : public QObject
{
    Q_OBJECT

public:
    static constexpr int kReturnMs = 3000;

    /// Stands still when the server has died.
    explicit ProcessorLedger(KoltaServerInterface& server);
    ~ProcessorLedger() override;

    const ProcessorIndex& processors() const noexcept { return m_processors; }
    bool isInDoubt() const noexcept { return m_isInDoubt; }

Q_SIGNALS:
    /// Other processors, or in doubt, or no longer. A receiver may delete this.
    void changed();

private:
    bool isAway() const;
    void read();
    void believeEmpty();
    void believe(const ProcessorIndex& processors);
    void setLimit();

    const QPointer<KoltaServerInterface> m_server;
    ProcessorIndex m_processors;
    bool m_isInDoubt = false;
    Startup::ptrAlarm m_limit;
};

} // namespace Kolta
