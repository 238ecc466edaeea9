#pragma once

#include "productionorders.h"
#include "productionrows.h"
#include "productionsmodel.h"

#include <koltaconsole/actions/actions.h>
#include <koltaconsole/pages/page.h>
#include <koltaconsole/widgets/stillrows.h>

#include <QTimer>

class QLabel;

namespace KoltaConsole {

class FilterBar;
class ElidedLabel;
class ProductionsView;

/// What runs on which server, when it ran within the last day, and what is done about it.
class ProductionsPage : public Page
{
    Q_OBJECT

public:
    ProductionsPage(Session& session, ActionTable& actions, QWidget* parent);

    bool isFilled() const override;
    QString commandLine() const override;
    QLineEdit* filterLine() const override;

    const ProductionsModel& model() const { return m_model; }

protected:
    void followServer() override;
    void showEvent(QShowEvent* event) override;

private:
    void makeView();
    void makeActions();
    void follow();
    void followSession();
    void gather();
    void refresh();
    bool isOfServer(const ProductionRow& row) const { return server().isEmpty() || row.server == server(); }
    std::vector<ProductionRow> filtered(std::vector<ProductionRow> rows, bool isAll) const;
    void showCount();
    QString whyNothing() const;
    void showReasons();
    QString reasonShort(const QString& id) const;
    /// What an action does to rows, named by their keys: the selected ones, or those that a line names.
    struct Deed
    {
        std::function<QString(const QStringList&keys)> problem, object, line;
        std::function<void(const QStringList& keys)> run;
    };
    void add(ActionTable::Entry entry, const Deed& deed);
    std::optional<ActionTable::Asked> askedMove(const LineWords& words);
    /// Those that the words name. Nothing, with the reason, when one names none that is shown, or several
    /// that run.
    QStringList keysOf(const LineWords& words, QString& problem);
    QString nameOf(const QStringList& keys) const;
    void own(const QString& key, Kolta::OwnershipJob::Action action);
    void askToStop(const QStringList& keys);
    void offerTargets();
    void showMenu(const QPoint& place);

    ProductionRows m_rows;
    ProductionsModel m_model;
    ProductionOrders m_orders;
    FilterBar* m_filter;
    ProductionsView* m_view;
    ElidedLabel* m_reasons;
    QLabel* m_nothing;
    FilterWords m_words;
    QString m_line; ///< of the latest order
    QTimer m_gathering;
    StillRows m_still;
    QTimer m_minute;
    bool m_isDue = true;
};

} // namespace KoltaConsole
