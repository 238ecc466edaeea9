#pragma once

#include "page.h"

#include <koltacommon/shorttimemodels.h>

class QComboBox;
class QTabWidget;
class QTreeView;

namespace KoltaConsole {

class AssignmentsView;
class ProfilesView;
class ResultsView;

/// Short-time data of one server: profiles, which FFP looks for which, what they found, conversions.
class ShortTimePage : public Page
{
    Q_OBJECT

public:
    ShortTimePage(Session& session, ActionTable& actions, QWidget* parent);

    bool isFilled() const override;
    QString commandLine() const override;
    void showServer(const QString& address) override;

    ProfilesView& profiles() const { return *m_profiles; }
    AssignmentsView& assignments() const { return *m_assignments; }
    ResultsView& results() const { return *m_results; }
    QString server() const;

private:
    void readServers();
    void refresh();

    QComboBox* m_servers;
    QTabWidget* m_tabs;
    ProfilesView* m_profiles;
    AssignmentsView* m_assignments;
    ResultsView* m_results;
    QTreeView* m_conversions;
    Kolta::ConvertProductionResultModel m_conversionModel;
};

} // namespace KoltaConsole
