#pragma once

#include <koltacommon/productionorder.h>

#include <QObject>
#include <QString>
#include <QStringList>
#include <QTimer>

class QSettings;

namespace KoltaConsole {

/// What somebody can have written of an order, below the group that the settings are in.
void writeOrder(QSettings& settings, const Kolta::ProductionOrder& order);
Kolta::ProductionOrder readOrder(const QSettings& settings);

/// Where in the settings something of that kind is kept of an installation, and there of a server. Addresses
/// have slashes, which settings would take for groups.
QString keptKey(const QString& kind, const QStringList& of);

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
    /// GUID of the tuner that somebody pointed at for it; empty: none, or the order was changed since.
    const QString& tuner() const noexcept { return m_tuner; }
    void set(const Kolta::ProductionOrder& order, const QString& server, const QString& tuner = QString());
    /// A band somebody marked, in Hz.
    void setBand(double from, double to);

    /// Whose order it is: each installation has its own on disk.
    void setInstallation(const QString& installation) { m_installation = installation; }
    /// Takes what is on disk, and keeps all changes there from now on.
    void restore();
    bool isKept() const noexcept { return m_isKept; }
    void save() const;

Q_SIGNALS:
    void si_Changed();

private:
    Kolta::ProductionOrder m_order;
    QString m_server;
    QString m_tuner;
    QString m_installation;
    bool m_isKept = false;
    QTimer m_keeping;
};

} // namespace KoltaConsole
