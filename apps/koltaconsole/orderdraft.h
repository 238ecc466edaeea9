#pragma once

#include <koltacommon/productionorder.h>

#include <QObject>
#include <QString>
#include <QTimer>

class QSettings;

namespace KoltaConsole {

/// What somebody can have written of an order, below the group that the settings are in.
void writeOrder(QSettings& settings, const Kolta::ProductionOrder& order);
Kolta::ProductionOrder readOrder(const QSettings& settings);

/// How long after a change what somebody writes is kept on disk, in milliseconds.
constexpr int kKeepMs = 1000;

/// The order that somebody is writing. Pages that know nothing of each other meet here.
class OrderDraft : public QObject
{
    Q_OBJECT

public:
    explicit OrderDraft(QObject* parent = nullptr);

    const Kolta::ProductionOrder& order() const noexcept { return m_order; }
    /// The one that is to run it; empty: any.
    const QString& server() const noexcept { return m_server; }
    /// Nothing has been said of what is wanted.
    bool isEmpty() const;
    void set(const Kolta::ProductionOrder& order, const QString& server);
    /// A band somebody marked, in Hz.
    void setBand(double from, double to);

    /// Takes what is on disk, and keeps all changes there from now on.
    void restore();
    bool isKept() const noexcept { return m_isKept; }
    void save() const;

Q_SIGNALS:
    void si_Changed();

private:
    Kolta::ProductionOrder m_order;
    QString m_server;
    bool m_isKept = false;
    QTimer m_keeping;
};

} // namespace KoltaConsole
