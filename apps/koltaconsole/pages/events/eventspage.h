#pragma once

#include <koltacommon/eventmodel.h>
#include <koltaconsole/pages/page.h>

#include <QTimer>

class QComboBox;
class QPushButton;
class QTabWidget;
class QTreeView;

namespace KoltaConsole {

class FilterBar;
class LinksView;
class TraceView;

/// What happened, newest on top, to be filtered, stopped and saved; and how the links are.
class EventsPage : public Page
{
    Q_OBJECT

public:
    EventsPage(Session& session, ActionTable& actions, QWidget* parent);

    bool isFilled() const override;
    QString commandLine() const override;
    void save(QSettings& settings) const override;
    void restore(const QSettings& settings) override;
    void showPart(const QString& name) override;
    QLineEdit* filterLine() const override;

    const Kolta::EventModel& model() const { return m_model; }
    /// As CSV where the name ends so, else as JSON lines. Tells how that went.
    bool saveTo(const QString& file);

protected:
    void followServer() override;

private:
    QWidget* makeEvents();
    void makeTable();
    void makeKinds();
    void makeActions();
    void applyFilter();
    void followDay();
    void pause();
    QString saveLine() const;
    void askWhereTo();
    void showCount();
    QString whyNone() const;

    FilterBar* m_filter;
    QComboBox* m_kinds;
    LinksView* m_links = nullptr;
    TraceView* m_trace = nullptr;
    QPushButton* m_pause = nullptr;
    QTreeView* m_table;
    QTabWidget* m_tabs;
    Kolta::EventModel m_model;
    QTimer m_typing;
    QTimer m_counting;
    QTimer m_dayCheck; ///< whether midnight has passed
    QDate m_today;     ///< that times of the filter are of
};

} // namespace KoltaConsole
