// A window with the models: tuners to sort and to filter, running processors as a tree, and the servers. What
// is only known from before, because its server is away, is grey. With --check nobody needs to look: the
// played server starts a production, vanishes and returns, and the program prints what the models say to
// that.
#include "localserver.h"

#include <koltacommon/koltaserverregistry.h>
#include <koltacommon/processormodel.h>
#include <koltacommon/servermodel.h>
#include <koltacommon/tunermodel.h>
#include <koltacommon/viewroles.h>

#include <QApplication>
#include <QHeaderView>
#include <QLineEdit>
#include <QSortFilterProxyModel>
#include <QSplitter>
#include <QStyledItemDelegate>
#include <QTreeView>
#include <QVBoxLayout>

#include <cstdio>

namespace {

namespace Roles = Kolta::ViewRoles;

/// The one place that knows how old data looks.
class StaleDelegate : public QStyledItemDelegate
{
public:
    using QStyledItemDelegate::QStyledItemDelegate;

protected:
    void initStyleOption(QStyleOptionViewItem* option, const QModelIndex& index) const override
    {
        QStyledItemDelegate::initStyleOption(option, index);
        if (index.data(Roles::StaleRole).toBool())
            option->palette.setColor(QPalette::Text,
                                     option->palette.color(QPalette::Disabled, QPalette::Text));
    }
};

/// Sorts numbers as numbers and filters by all columns.
class View : public QWidget
{
public:
    View(QAbstractItemModel& model, const QString& title, QWidget* parent) : QWidget(parent)
    {
        m_proxy.setSourceModel(&model);
        m_proxy.setSortRole(Roles::SortRole);
        m_proxy.setFilterRole(Roles::SearchRole);
        m_proxy.setRecursiveFilteringEnabled(true);
        auto* const filter = new QLineEdit(this);
        filter->setPlaceholderText(title);
        connect(filter, &QLineEdit::textChanged, this,
                [this](const QString& text) { m_proxy.setFilterFixedString(text.toLower()); });
        auto* const view = new QTreeView(this);
        view->setModel(&m_proxy);
        view->setItemDelegate(new StaleDelegate(view));
        view->setUniformRowHeights(true);
        view->setSortingEnabled(true);
        view->sortByColumn(0, Qt::AscendingOrder);
        view->expandAll();
        auto* const layout = new QVBoxLayout(this);
        layout->addWidget(filter);
        layout->addWidget(view);
        m_filter = filter;
    }
    void filter(const QString& text) { m_filter->setText(text); }
    const QAbstractItemModel& rows() const { return m_proxy; }

private:
    QSortFilterProxyModel m_proxy;
    QLineEdit* m_filter = nullptr;
};

/// What the off-screen run tells: how many rows the filter leaves, the first of them, and whether it is
/// stale.
void print(const char* when, const QAbstractItemModel& rows)
{
    const QModelIndex first = rows.index(0, 0);
    const auto text = [&first](int column) { return first.sibling(0, column).data().toString(); };
    std::printf("%s: %d, %s %s%s\n", when, rows.rowCount(), qPrintable(text(Kolta::TunerModel::eNameColumn)),
                qPrintable(text(Kolta::TunerModel::eStateColumn)),
                first.data(Roles::StaleRole).toBool() ? ", stale" : "");
}

/// What becomes of the first tuner when something runs on it, when its server goes and when it returns.
void printLife(LocalServer& played, View& tunerView)
{
    print("all", tunerView.rows());
    RESOURCEMANAGEMENT::MCP mcp;
    mcp.EditKoltaProcessor().EditTavikResource().SetDisplayName(QStringLiteral("watch"));
    const QModelIndex first = tunerView.rows().index(0, 0);
    mcp.EditDataSource().SetTunerGUID(first.data(Roles::GuidRole).toString());
    played.start(mcp);
    tunerView.filter(QStringLiteral("watch"));
    print("used", tunerView.rows());
    played.vanish();
    print("away", tunerView.rows());
    played.forget();
    played.appear();
    tunerView.filter(QString());
    print("back", tunerView.rows());
    QApplication::processEvents(); // paints
}

} // namespace

int main(int argc, char* argv[])
{
    QApplication application(argc, argv);
    const QStringList arguments = QApplication::arguments();
    if (arguments.size() < 2 || arguments.size() > 3 ||
        (arguments.size() == 3 && arguments.at(2) != "--check")) {
        std::fputs("usage: window INSTALLATION-FOLDER [--check]\n", stderr);
        return 2;
    }
    LocalServer played(arguments.at(1));
    played.appear();
    auto& registry = Kolta::KoltaServerRegistry::Instance();
    registry.addServer(QStringLiteral("S1"), QStringLiteral("/AdminTree/S1"));

    Kolta::TunerModel tuners;
    Kolta::ProcessorModel processors;
    Kolta::ServerModel servers;
    tuners.followRegistry(registry);
    processors.followRegistry(registry);
    servers.followRegistry(registry);

    QSplitter window(Qt::Vertical);
    auto* const tunerView = new View(tuners, QStringLiteral("tuners"), &window);
    new View(processors, QStringLiteral("processors"), &window);
    new View(servers, QStringLiteral("servers"), &window);
    window.resize(1000, 800);
    window.show();
    if (arguments.size() == 2)
        return QApplication::exec();

    printLife(played, *tunerView);
    return 0;
}
