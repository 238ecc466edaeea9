#pragma once

#include <QApplication>
#include <QString>

#include <functional>

namespace KoltaConsole {

/// Goes on after an exception that a slot or an event handler lets out, and tells of it. Follows the
/// desktop's theme. No label, tool tip or question takes a text that servers wrote for HTML.
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

/// Keeps memory that is freed for what comes next. The texts of a large installation have some 10 MB and are
/// made anew with every change: given back to the system in between, each would have to come page by page,
/// which holds the window up for tens of milliseconds. To be called before threads are there.
void keepFreedMemory();

} // namespace KoltaConsole
