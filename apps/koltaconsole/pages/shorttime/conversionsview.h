#pragma once

#include <koltacommon/actionrights.h>
#include <koltacommon/shorttimemodels.h>

#include <recording/recordidentifier.h>

#include <QVector>
#include <QWidget>

#include <functional>

class QCheckBox;
class QLabel;
class QLayout;
class QLineEdit;
class QSpinBox;
class QTreeView;

namespace KoltaConsole {

class ActionTable;
class FilterBar;
class Session;

/// The conversions of a server's recordings: which there are, and what is done about them. What is begun and
/// ended here plays the production that converts, as `kolta conversions` does.
class ConversionsView : public QWidget
{
    Q_OBJECT

public:
    ConversionsView(Session& session, ActionTable& actions, QWidget* parent);

    /// Empty for none.
    void showServer(const QString& address);
    const Kolta::ConvertProductionResultModel& model() const { return m_model; }
    /// The `kolta` line of what was done last; empty for nothing.
    const QString& line() const noexcept { return m_line; }
    QLineEdit* filterLine() const;

Q_SIGNALS:
    void si_LineChanged();

private:
    void makeActions();
    QLayout* makeFields();
    void connectAll();
    void applyFilter();
    void showWhetherThereAreAny();
    Kolta::ConvertProductionResultMap* map() const;
    sorel::RecordIdentifier selected() const;
    QString objection() const;
    QString objectionToStart() const;
    QString objectionToFinish() const;
    QString objectionToTidy() const;
    int tidyCount() const;
    void start();
    void playBeginnings();
    void forgetBeginning(const QString& production);
    /// Tells in an event when the server does not let stand what was just changed of its conversions.
    void watch(const QString& server, const QString& what, const std::function<void()>& then = {});
    void finish(bool success);
    void tidy();
    QString finishLine(bool success) const;
    void tellLine(const QString& line);

    Session& m_session;
    ActionTable& m_actions;
    QString m_server;
    Kolta::ConvertProductionResultModel m_model;
    FilterBar* m_filter;
    QTreeView* m_table;
    QLabel* m_nothing;
    QLineEdit* m_record;
    QLineEdit* m_type;
    QLineEdit* m_production;
    QLineEdit* m_result;
    QSpinBox* m_keep;
    QCheckBox* m_failedToo;
    /// Asked for here, and to begin once it is there.
    struct Beginning
    {
        QString server;
        sorel::RecordIdentifier record;
        QString production; ///< its ID
    };
    QVector<Beginning> m_beginnings;
    QString m_line;
};

} // namespace KoltaConsole
