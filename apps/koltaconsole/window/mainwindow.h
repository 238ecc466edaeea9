#pragma once

#include <koltacommon/eventmodel.h>
#include <koltaconsole/actions/actions.h>

#include <QDateTime>
#include <QMainWindow>
#include <QTimer>
#include <QVector>

class QFrame;
class QLabel;
class QLineEdit;
class QPushButton;
class QSplitter;
class QTabWidget;
class QTreeView;

namespace KoltaConsole {

class AttentionList;
class InstallationTree;
class Page;
class Palette;
class ServerActions;
class Session;
class TopBar;
struct Options;

/// The frame: bar at the top, the installation at the left, the pages, the `kolta` line of what they show,
/// and what happened. Layout and filter lines are remembered, but for pictures.
class MainWindow : public QMainWindow
{
    Q_OBJECT

public:
    MainWindow(Session& session, const Options& options);
    ~MainWindow() override;

    ActionTable& actions() { return m_actions; }
    /// Makes it if need be. Null for a name that none has.
    Page* showPage(const QString& id);
    Page* currentPage() const;
    /// Whether there is something to see: the installation is known and the page shows it.
    bool isFilled() const;

protected:
    void resizeEvent(QResizeEvent* event) override;

private:
    void arrange();
    void addReplay(QWidget& all);
    void connectAll();
    QWidget* makeCommandLine();
    void makeEvents();
    void makeActions();
    void makeRegionActions();
    void addKey(const char* id, const QString& text, const QKeySequence& keys,
                const std::function<void()>& run);
    void nextRegion();
    void leave();
    void showNewestEvent();
    void showRowMenu();
    void showLinks(const QString& server);
    Page* pageAt(int tab);
    void showTab(int tab);
    void copyRows() const;
    void showBanner();
    void showSettingsProblem();
    void showCommandLine(const QString& line);
    void fitCommandLine();
    void copyLines() const;
    void showServer(const QString& address);
    void showClasses(const QStringList& names);
    void restore(const QString& page);
    void save() const;

    Session& m_session;
    const bool m_isRemembered;
    ActionTable m_actions;
    ServerActions* m_serverActions;
    Kolta::EventModel m_eventModel;
    TopBar* m_top;
    InstallationTree* m_tree;
    QTabWidget* m_tabs;
    QLabel* m_banner;
    QLineEdit* m_commandLine;
    QLabel* m_moreLines;
    QPushButton* m_copy = nullptr;
    QString m_lines; ///< all that are told; the first of them is shown
    QTreeView* m_events;
    QSplitter* m_sideways;
    QSplitter* m_upright;
    AttentionList* m_attention;
    Palette* m_palette;
    QVector<Page*> m_pages; ///< by tab; null until shown
    QString m_server;
    QStringList m_classes;
    QDateTime m_goneSince; ///< that the link is down; invalid while it is up
    QTimer m_welcome;      ///< while the banner tells that it is back, or what is not kept
};

} // namespace KoltaConsole
