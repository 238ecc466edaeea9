#pragma once

#include <koltacommon/productionorder.h>

#include <QDateTime>
#include <QObject>
#include <QPointer>
#include <QString>

#include <vector>

namespace Kolta {
class InstallationEvents;
class Operation;
class ProductionJob;
} // namespace Kolta

namespace KoltaConsole {

/// What was ordered here and does not run: orders that are being started, and for a while those that came to
/// nothing.
class OrdersUnderWay : public QObject
{
    Q_OBJECT

public:
    struct Entry
    {
        quint64 number = 0; ///< unlike that of all others
        QString server;
        Kolta::ProductionOrder order;
        QPointer<Kolta::ProductionJob> job; ///< null once it has ended
        QString tuner;                      ///< name
        QDateTime began;
        QDateTime ended;        ///< invalid while it is being started
        bool isRefused = false; ///< it was decided against it; otherwise something failed
        QString reason;
    };
    /// How long the latter are kept.
    static constexpr qint64 kKeepSeconds = 600;

    explicit OrdersUnderWay(Kolta::InstallationEvents& events) : m_events(events) {}

    /// Follows one that has just been made; its end is told as an event, too.
    void follow(Kolta::ProductionJob& job, const QString& server, const QString& purpose);
    /// As they were ordered.
    const std::vector<Entry>& entries() const noexcept { return m_entries; }
    /// Takes out those that ended too long before that time.
    void forget(const QDateTime& now);

Q_SIGNALS:
    void si_Changed();

private:
    void takeEnd(quint64 number, const Kolta::Operation& operation);
    void remove(quint64 number);

    Kolta::InstallationEvents& m_events;
    std::vector<Entry> m_entries;
    quint64 m_last = 0;
};

} // namespace KoltaConsole
