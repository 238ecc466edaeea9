#pragma once

#include <QObject>
#include <QSocketNotifier>

/// Turns SIGINT, SIGTERM and SIGHUP into a Qt signal. One instance per process.
class TerminationSignals : public QObject
{
    Q_OBJECT

public:
    explicit TerminationSignals(QObject* parent = nullptr);
    ~TerminationSignals() override;

Q_SIGNALS:
    void terminationRequested();

private:
    QSocketNotifier m_notifier;
};
