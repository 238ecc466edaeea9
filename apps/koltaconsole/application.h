#pragma once

#include <QApplication>
#include <QString>

#include <functional>

namespace KoltaConsole {

/// Goes on after an exception that a slot or an event handler lets out, and tells of it. Follows the
/// desktop's theme.
class Application : public QApplication
{
    Q_OBJECT

public:
    using QApplication::QApplication;

    /// Who is told what an exception said; without anybody it is a line on standard error.
    void setFaultTaker(std::function<void(const QString&)> taker) { m_taker = std::move(taker); }

    bool notify(QObject* receiver, QEvent* event) override;

private:
    std::function<void(const QString&)> m_taker;
};

} // namespace KoltaConsole
