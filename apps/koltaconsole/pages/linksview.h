#pragma once

#include <koltacommon/linksmodel.h>

#include <QWidget>

class QLabel;
class QTreeView;

namespace KoltaConsole {

class Session;

/// The broker, its branches and the links of this program with their figures.
class LinksView : public QWidget
{
    Q_OBJECT

public:
    LinksView(Session& session, QWidget* parent);

    const Kolta::LinksModel& model() const { return m_model; }

private:
    void showWhetherThereAreAny();

    Kolta::LinksModel m_model;
    QLabel* m_nothing;
    QTreeView* m_table;
};

} // namespace KoltaConsole
