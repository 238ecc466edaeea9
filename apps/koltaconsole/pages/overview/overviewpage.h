#pragma once

#include <koltaconsole/pages/page.h>

class QLabel;
class QScrollArea;

namespace KoltaConsole {

class FilterBar;
class ServerCards;

/// All servers, worst first.
class OverviewPage : public Page
{
    Q_OBJECT

public:
    OverviewPage(Session& session, ActionTable& actions, QWidget* parent);

    bool isFilled() const override;
    QString commandLine() const override;
    QLineEdit* filterLine() const override;

protected:
    void followServer() override;
    void showEvent(QShowEvent* event) override;

private:
    void refresh();

    QLabel* m_heading;
    QLabel* m_explanation; ///< while there is no server
    FilterBar* m_filter;
    QScrollArea* m_area;
    ServerCards* m_cards;
};

} // namespace KoltaConsole
