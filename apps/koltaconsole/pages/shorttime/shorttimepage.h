#pragma once

#include <koltaconsole/pages/page.h>

class QComboBox;
class QTabWidget;

namespace KoltaConsole {

class AssignmentsView;
class ConversionsView;
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

    ProfilesView& profiles() const { return *m_profiles; }
    AssignmentsView& assignments() const { return *m_assignments; }
    ResultsView& results() const { return *m_results; }
    ConversionsView& conversions() const { return *m_conversions; }
    QString chosenServer() const;
    QLineEdit* filterLine() const override;

protected:
    void followServer() override;
    void showEvent(QShowEvent* event) override;
    void hideEvent(QHideEvent* event) override;

private:
    void readServers();
    void refresh();
    void refreshConversions();

    QComboBox* m_servers;
    QTabWidget* m_tabs;
    ProfilesView* m_profiles;
    AssignmentsView* m_assignments;
    ResultsView* m_results;
    ConversionsView* m_conversions;
    QString m_conversionsOf; ///< the server that they are shown of
};

} // namespace KoltaConsole
