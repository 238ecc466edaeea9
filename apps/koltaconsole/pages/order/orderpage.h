#pragma once

#include "cart.h"

#include <koltacommon/productionorder.h>
#include <koltaconsole/pages/page.h>

#include <QPointer>

#include <functional>

class QLabel;
class QPushButton;
class QTreeView;

namespace Kolta {
class Operation;
class ProductionJob;
} // namespace Kolta

namespace KoltaConsole {

class CandidatesTable;
class ElidedLabel;
class FilterBar;
class LookLabel;
class OrderForm;

/// An order, the tuners that come into question for it, and the cart of those that are to be started
/// together.
class OrderPage : public Page
{
    Q_OBJECT

public:
    OrderPage(Session& session, ActionTable& actions, QWidget* parent);

    bool isFilled() const override;
    QString commandLine() const override;
    QLineEdit* filterLine() const override;

    const Cart& cart() const { return m_cart; }

protected:
    void followServer() override;
    void showEvent(QShowEvent* event) override;

private:
    using Adder = std::function<void(const char* id, const QString& text, const QKeySequence& keys,
                                     const std::function<void()>& run, const std::function<QString()>& why,
                                     const std::function<QString()>& line)>;
    enum class Effect { Installation, Here };
    Adder adder(const std::function<QString()>& object, Effect effect);
    void connectAll();
    void makeActions();
    void makeCartActions();
    QWidget* makeLeft();
    QWidget* makeRight();
    QWidget* makeCart();
    void refresh();
    void applyFilter();
    QString headingText() const;
    void refreshLater();
    void refreshCart();
    QString problem() const;
    QString whyNotPlan() const;
    QString whyNotStart() const;
    Kolta::ProductionOrder wanted() const;
    QString objectOfOrder() const;
    QString serverOf(const Kolta::ProductionOrder& order) const;
    void start();
    void takeEnd(const Kolta::Operation& operation);
    void addToCart(bool isPlanned);

    OrderForm* m_form;
    CandidatesTable* m_candidates;
    FilterBar* m_filter;
    ElidedLabel* m_heading;
    LookLabel* m_state;
    Cart m_cart;
    ElidedLabel* m_cartHeading;
    QTreeView* m_cartTable;
    QPointer<Kolta::ProductionJob> m_job;
    bool m_isDue = false;
    bool m_isLineOfDone = false; ///< and not of what is being written
};

} // namespace KoltaConsole
