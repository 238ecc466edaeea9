#pragma once

#include <koltaconsole/session/runningontuners.h>
#include <koltaconsole/widgets/marks.h>

#include <QSortFilterProxyModel>
#include <QStringList>
#include <QTimer>
#include <QTreeView>

#include <optional>

namespace KoltaConsole {

class Session;

/// Servers, below them classes with what is free, below these what runs on the tuners that are in use.
class InstallationModel : public QSortFilterProxyModel
{
    Q_OBJECT

public:
    InstallationModel(Session& session, QObject* parent);

    /// Of a server or tuner in the second column.
    std::optional<Look> lookOf(const QModelIndex& index) const;
    int columnCount(const QModelIndex& parent = QModelIndex()) const override;
    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
    /// Of the class that stands in the row and of those within it; empty for a server or tuner.
    QStringList classesAt(const QModelIndex& index) const;

Q_SIGNALS:
    /// What runs, or where, is something else.
    void si_RunningChanged();

protected:
    bool filterAcceptsRow(int row, const QModelIndex& parent) const override;

private:
    RunningOnTuner runningAt(const QModelIndex& tuner) const;
    QString toolTipOf(const QModelIndex& tuner) const;
    QString countsText(const QModelIndex& tunerClass) const;

    Session& m_session;
    QHash<QString, RunningOnTuner> m_running;
    QTimer m_reading;
};

/// The tree at the left. What is selected there is what the pages show.
class InstallationTree : public QTreeView
{
    Q_OBJECT

public:
    InstallationTree(Session& session, QWidget* parent);

    void selectServer(const QString& address);

Q_SIGNALS:
    /// Empty: all of them.
    void si_ServerSelected(const QString& address);
    /// Empty: of all classes; comes before the server.
    void si_ClassesSelected(const QStringList& names);
    void si_MenuWanted(const QString& address, const QPoint& place);

protected:
    void keyPressEvent(QKeyEvent* event) override;
    void contextMenuEvent(QContextMenuEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
    void selectionChanged(const QItemSelection& selected, const QItemSelection& deselected) override;

private:
    InstallationModel m_model;
};

} // namespace KoltaConsole
