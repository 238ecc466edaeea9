#pragma once

#include <koltacommon/productionorder.h>

#include <QObject>
#include <QString>

namespace KoltaConsole {

/// The order that somebody is writing. Pages that know nothing of each other meet here; it is kept on disk.
class OrderDraft : public QObject
{
    Q_OBJECT

public:
    explicit OrderDraft(QObject* parent = nullptr) : QObject(parent) {}

    const Kolta::ProductionOrder& order() const noexcept { return m_order; }
    /// The one that is to run it; empty: any.
    const QString& server() const noexcept { return m_server; }
    /// Nothing has been said of what is wanted.
    bool isEmpty() const;
    void set(const Kolta::ProductionOrder& order, const QString& server);
    /// A band somebody marked, in Hz.
    void setBand(double from, double to);

    void restore();
    void save() const;

Q_SIGNALS:
    void si_Changed();

private:
    Kolta::ProductionOrder m_order;
    QString m_server;
};

} // namespace KoltaConsole
