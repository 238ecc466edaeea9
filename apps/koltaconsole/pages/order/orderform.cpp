#include "orderform.h"

#include <koltacommon/guidtext.h>
#include <koltacommon/koltaresourceobserver.h>
#include <koltacommon/koltaserverinterface.h>
#include <koltacommon/processormodel.h>
#include <koltacommon/resourcedemandclassobserver.h>
#include <koltacommon/tunerclassmodel.h>
#include <koltacommon/units.h>
#include <koltacommon/viewroles.h>
#include <koltaconsole/session/orderdraft.h>
#include <koltaconsole/session/runningprocessors.h>
#include <koltaconsole/session/session.h>
#include <koltaconsole/widgets/looklabel.h>
#include <koltaconsole/widgets/rowtexts.h>

#include <QAbstractItemView>
#include <QComboBox>
#include <QEvent>
#include <QFormLayout>
#include <QLabel>
#include <QLineEdit>
#include <QSignalBlocker>
#include <QStyle>
#include <QTimer>
#include <QVBoxLayout>

#include <utility>

namespace KoltaConsole {

namespace Roles = Kolta::ViewRoles;
using Kolta::ProcessorModel;
using Kolta::ProductionOrder;
using Kolta::Quantity;
using Kolta::TunerClassModel;

using Choices = QVector<QPair<QString, QString>>; ///< text and value

namespace {

constexpr int kWidth = 310;

void readClasses(const TunerClassModel& model, const QModelIndex& parent,
                 QMap<QString, QPair<int, int>>& free, QStringList& names)
{
    for (int row = 0; row < model.rowCount(parent); ++row) {
        const QModelIndex name = model.index(row, TunerClassModel::eNameColumn, parent);
        if (name.data(Roles::StateRole).isValid()) // a tuner
            continue;
        const QString text = name.data().toString();
        if (!names.contains(text))
            names.append(text);
        free[text].first += name.data(Roles::FreeRole).toInt();
        free[text].second += name.data(Roles::CountRole).toInt();
        readClasses(model, name, free, names);
    }
}

/// The classes of all servers, with how many of their tuners are free.
Choices classChoices(const TunerClassModel& model, bool isFfp)
{
    QMap<QString, QPair<int, int>> free;
    QStringList names;
    for (int row = 0; row < model.rowCount(); ++row)
        readClasses(model, model.index(row, 0), free, names);
    Choices choices{{isFfp ? OrderForm::tr("the MCP's tuner") : OrderForm::tr("choose a class"), QString()}};
    for (const QString& name : qAsConst(names))
        choices.append({OrderForm::tr("%1  (%2 of %3 free)")
                            .arg(name, countText(free.value(name).first), countText(free.value(name).second)),
                        name});
    return choices;
}

Choices mcpChoices(const ProcessorModel& model)
{
    Choices choices{{OrderForm::tr("choose an MCP"), QString()}};
    for (int row = 0; row < model.rowCount(); ++row) {
        const auto cell = [&](int column) { return model.index(row, column).data().toString(); };
        const QModelIndex index = model.index(row, 0);
        if (cell(ProcessorModel::eKindColumn) == QLatin1String("MCP") &&
            !index.data(Roles::StaleRole).toBool())
            choices.append({QStringLiteral("%1 · %2 · %3")
                                .arg(cell(ProcessorModel::eNameColumn), cell(ProcessorModel::eServerColumn),
                                     cell(ProcessorModel::eFrequencyColumn)),
                            Kolta::guidFromText(index.data(Roles::GuidRole).toString()).toString()});
    }
    return choices;
}

/// As the choices have it.
QString mcpText(const ProductionOrder& order)
{
    return order.mcp.isNull() ? QString() : order.mcp.toString();
}

Kolta::eAppType appTypeOf(ProductionOrder::Kind kind)
{
    return kind == ProductionOrder::Kind::Scp   ? Kolta::eAppSCP
           : kind == ProductionOrder::Kind::Mcp ? Kolta::eAppMCP
                                                : Kolta::eAppFFP;
}

} // namespace

OrderForm::OrderForm(Session& session, QWidget* parent)
    : QWidget(parent)
    , m_session(session)
    , m_kind(new QComboBox(this))
    , m_class(new QComboBox(this))
    , m_frequency(new QLineEdit(this))
    , m_bandwidth(new QLineEdit(this))
    , m_mcp(new QComboBox(this))
    , m_demandClass(new QComboBox(this))
    , m_storage(new QComboBox(this))
    , m_server(new QComboBox(this))
    , m_name(new QLineEdit(this))
{
    setFixedWidth(kWidth);
    setFocusProxy(m_class);
    auto* const layout = new QFormLayout(this);
    layout->setContentsMargins(8, 8, 8, 8);
    layout->setHorizontalSpacing(8);
    layout->setVerticalSpacing(5);
    layout->setFieldGrowthPolicy(QFormLayout::AllNonFixedFieldsGrow);
    layout->addRow(tr("Kind"), m_kind);
    layout->addRow(tr("Class"), m_class);
    layout->addRow(tr("Frequency"), m_frequency);
    m_frequencyHint = addHint(*layout);
    layout->addRow(tr("Bandwidth"), m_bandwidth);
    m_bandwidthHint = addHint(*layout);
    layout->addRow(tr("Runs in"), m_mcp);
    layout->addRow(tr("Demand class"), m_demandClass);
    layout->addRow(tr("Storage"), m_storage);
    layout->addRow(tr("Server"), m_server);
    layout->addRow(tr("Name"), m_name);
    m_frequency->setPlaceholderText(tr("98.5 MHz"));
    m_bandwidth->setPlaceholderText(tr("as the demand class"));
    m_name->setPlaceholderText(tr("kind and number"));
    for (int row = 0; row < layout->rowCount(); ++row) {
        QLayoutItem* const label = layout->itemAt(row, QFormLayout::LabelRole);
        if (QWidget* const field = layout->itemAt(row, QFormLayout::FieldRole)->widget(); label)
            field->setAccessibleName(static_cast<QLabel*>(label->widget())->text());
    }
    for (QComboBox* const box : {m_kind, m_class, m_mcp, m_demandClass, m_storage, m_server}) {
        box->setSizeAdjustPolicy(QComboBox::AdjustToMinimumContentsLengthWithIcon);
        connect(box, QOverload<int>::of(&QComboBox::activated), this, &OrderForm::take);
    }
    for (QLineEdit* const line : {m_frequency, m_bandwidth, m_name})
        connect(line, &QLineEdit::textEdited, this, &OrderForm::take);
    for (QLineEdit* const line : {m_frequency, m_bandwidth})
        connect(line, &QLineEdit::editingFinished, this, &OrderForm::show); // with its unit
    connect(&session.draft(), &OrderDraft::si_Changed, this, &OrderForm::show);
    show();
}

LookLabel* OrderForm::addHint(QFormLayout& layout)
{
    auto* const hint = new LookLabel(this);
    hint->hide();
    layout.addRow(QString(), hint);
    return hint;
}

void OrderForm::tell(LookLabel& hint, const QString& text, bool isWarning)
{
    hint.setVisible(!text.isEmpty());
    if (isWarning)
        hint.setLook({Mark::Triangle, Role::Attention, text, true});
    else
        hint.setNote(text);
}

/// What the order says is there to choose, also while nobody offers it. A list that is open stays as somebody
/// sees it; it is filled once it is closed.
void OrderForm::fill(QComboBox& box, Choices choices, const QString& value)
{
    if (auto* const list = box.findChild<QAbstractItemView*>(); list && list->isVisible()) {
        list->installEventFilter(this);
        return;
    }
    int place = 0;
    while (place < choices.size() && choices.at(place).second != value)
        ++place;
    if (place == choices.size() && !value.isEmpty())
        choices.append({Kolta::isGuid(value) ? tr("(not there)") : tr("%1 (not there)").arg(value), value});
    const QSignalBlocker blocker(&box);
    bool isSame = box.count() == choices.size();
    for (int row = 0; isSame && row < choices.size(); ++row)
        isSame = box.itemData(row).toString() == choices.at(row).second;
    if (!isSame)
        box.clear();
    for (int row = 0; row < choices.size(); ++row) {
        const auto& [text, key] = choices.at(row);
        if (!isSame)
            box.addItem(text, key);
        else if (box.itemText(row) != text)
            box.setItemText(row, text);
    }
    box.setCurrentIndex(place < choices.size() ? place : 0);
}

/// Of a list that was open: the choice that closed it comes first.
bool OrderForm::eventFilter(QObject* watched, QEvent* event)
{
    if (event->type() == QEvent::Hide) {
        watched->removeEventFilter(this);
        QTimer::singleShot(0, this, &OrderForm::readChoices);
    }
    return QWidget::eventFilter(watched, event);
}

void OrderForm::readChoices()
{
    m_isShowing = true;
    const ProductionOrder& order = m_session.draft().order();
    const bool isFfp = order.kind == ProductionOrder::Kind::Ffp;
    fill(*m_kind,
         {{QStringLiteral("MCP"), QStringLiteral("1")},
          {QStringLiteral("SCP"), QStringLiteral("0")},
          {QStringLiteral("FFP"), QStringLiteral("2")}},
         QString::number(static_cast<int>(order.kind)));
    fill(*m_class, classChoices(m_session.classes(), isFfp), order.tunerClass);
    fill(*m_mcp, isFfp ? mcpChoices(m_session.processors()) : Choices{{tr("a new one"), QString()}},
         mcpText(order));
    m_mcp->setEnabled(isFfp);
    Choices servers{{tr("any server"), QString()}};
    Choices demand{{tr("as the class says"), QString()}}, storages{{tr("any"), QString()}};
    QStringList demandNames;
    for (const ServerFacts& facts : m_session.facts()) {
        servers.append({facts.address, facts.address});
        Kolta::KoltaServerInterface* const server = m_session.server(facts.address);
        if (!server || facts.isStale())
            continue;
        for (const auto& each :
             server->getRdcObserver().GetDemandClassesForAppType(appTypeOf(order.kind), false)) {
            if (!demandNames.contains(each.GetDemandClassName()))
                demandNames.append(each.GetDemandClassName());
        }
        if (m_session.draft().server() != facts.address)
            continue; // units of different servers are never the same
        for (const auto& unit : server->getResourceObserver().GetCurrentResources().GetStorageUnit())
            storages.append({unit.GetTavikResource().GetDisplayName(), unit.GetTavikResource().GetGUID()});
    }
    for (const QString& name : qAsConst(demandNames))
        demand.append({name, name});
    fill(*m_server, servers, m_session.draft().server());
    fill(*m_demandClass, demand, order.demandClass);
    fill(*m_storage, storages, order.storageGuids.value(0));
    m_storage->setEnabled(storages.size() > 1);
    m_storage->setToolTip(storages.size() > 1 ? QString() : tr("choose a server first"));
    m_isShowing = false;
}

/// What is being typed stays as it is typed, and what cannot be read until there is something instead.
void OrderForm::show()
{
    if (m_isShowing)
        return;
    readChoices();
    m_isShowing = true;
    const ProductionOrder& order = m_session.draft().order();
    const auto write = [this](QLineEdit& line, const QString& text) {
        if (!m_isTaking && (!text.isEmpty() || !line.property("wrong").toBool()))
            line.setText(text);
    };
    const auto hertz = [](double value) { return value > 0 ? Kolta::hertzToText(value) : QString(); };
    write(*m_frequency, hertz(order.frequency));
    write(*m_bandwidth, hertz(order.bandwidth));
    write(*m_name, order.displayName);
    if (!m_isTaking && !m_problem.isEmpty()) { // a band that was dragged took the place of what was wrong
        m_problem.clear();
        readHertz(*m_frequency, *m_frequencyHint);
        readHertz(*m_bandwidth, *m_bandwidthHint);
    }
    m_isShowing = false;
}

double OrderForm::readHertz(QLineEdit& field, LookLabel& hint)
{
    const QString text = field.text().trimmed();
    const Kolta::QuantityReading reading =
        text.isEmpty() ? Kolta::QuantityReading()
                       : readQuantity(text, Quantity::Frequency, QStringLiteral("MHz"));
    field.setProperty("wrong", !reading.isGood());
    field.style()->unpolish(&field);
    field.style()->polish(&field);
    if (!reading.isGood()) {
        tell(hint, reading.problem, true);
        m_problem = reading.problem;
    }
    return reading.isGood() ? reading.value : 0.0;
}

void OrderForm::setHints(const QString& frequency, const QString& bandwidth, bool isBandwidthWarning)
{
    if (!m_frequency->property("wrong").toBool())
        tell(*m_frequencyHint, frequency, false);
    if (!m_bandwidth->property("wrong").toBool())
        tell(*m_bandwidthHint, bandwidth, isBandwidthWarning);
}

void OrderForm::take()
{
    if (m_isShowing)
        return;
    m_problem.clear();
    ProductionOrder order = m_session.draft().order();
    order.kind = static_cast<ProductionOrder::Kind>(m_kind->currentData().toInt());
    order.tunerClass = m_class->currentData().toString();
    order.frequency = readHertz(*m_frequency, *m_frequencyHint);
    order.bandwidth = readHertz(*m_bandwidth, *m_bandwidthHint);
    order.mcp = order.kind == ProductionOrder::Kind::Ffp
                    ? Kolta::guidFromText(m_mcp->currentData().toString())
                    : QUuid();
    order.demandClass = m_demandClass->currentData().toString();
    const QString storage = m_storage->currentData().toString();
    const QString host = serverOfProcessor(m_session, order.mcp); // an FFP's tuner is one of there
    const QString server = host.isEmpty() ? m_server->currentData().toString() : host;
    const bool isSameServer = server == m_session.draft().server();
    order.storageGuids = storage.isEmpty() || !isSameServer ? QStringList() : QStringList(storage);
    order.displayName = m_name->text().trimmed();
    m_isTaking = true;
    m_session.draft().set(order, server);
    m_isTaking = false;
}

} // namespace KoltaConsole
