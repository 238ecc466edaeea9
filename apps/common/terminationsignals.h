#pragma once

#include <QObject>

/// Turns SIGINT, SIGTERM and SIGHUP into a Qt signal while it lives. Main thread.
///
/// Instances nest, as a command within a shell does: SIGINT, which Ctrl-C sends, reaches only the one that
/// was made last. The others want the end of the process and reach all, the last one first.
class TerminationSignals : public QObject
{
    Q_OBJECT

public:
    explicit TerminationSignals(QObject* parent = nullptr);
    ~TerminationSignals() override;

Q_SIGNALS:
    void terminationRequested(int signalNumber);
};
