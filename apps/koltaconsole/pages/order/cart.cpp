#include "cart.h"

#include <common/actionlines.h>
#include <koltaconsole/session/keptsettings.h>
#include <koltaconsole/session/orderdraft.h>
#include <koltaconsole/session/ordersunderway.h>
#include <koltaconsole/session/session.h>

#include <koltacommon/koltaserverinterface.h>
#include <koltacommon/productionjob.h>
#include <koltacommon/runningproduction.h>
#include <koltacommon/tunerassignment.h>
#include <koltacommon/tunerbookingmanager.h>
#include <koltacommon/tunermodel.h>
#include <koltacommon/units.h>

#include <algorithm>
#include <utility>

namespace KoltaConsole {

using Kolta::KoltaServerInterface;
using Kolta::Operation;
using Kolta::ProductionJob;
using Kolta::ProductionOrder;
using Kolta::RunningProduction;
using Kolta::TunerPlan;

namespace {

constexpr int kFollowMs = 250; ///< at most so often

} // namespace

struct Cart::Line
{
    ProductionOrder order;
    QString server; ///< that is to run it; empty: any
    State state = State::Waiting;
    QString text; ///< of the state, where the state alone does not say it
    Offer offer;  ///< what it gets
    TunerPlan plan;
    QPointer<ProductionJob> job;
    std::unique_ptr<RunningProduction> running; ///< once it was started
    bool isAway = false;                        ///< the server that has the tuner, or runs it

    /// It is no draft any more.
    bool isStarted() const
    {
        return state == State::Asked || state == State::Running || state == State::Ended;
    }
    /// An FFP that is fed by its MCP's tuner.
    bool needsNoTuner() const { return order.tunerClass.isEmpty() && order.tunerGuid.isEmpty(); }
};

Cart::Cart(Session& session, QObject* parent) : QAbstractTableModel(parent), m_session(session)
{
    m_keeping.setSingleShot(true);
    m_keeping.setInterval(kKeepMs);
    connect(&m_keeping, &QTimer::timeout, this, &Cart::save);
    connect(this, &Cart::si_Changed, this, [this] {
        if (m_isKept)
            m_keeping.start();
    });
    m_following.setSingleShot(true);
    m_following.setInterval(kFollowMs);
    connect(&m_following, &QTimer::timeout, this, &Cart::follow);
    connect(&session, &Session::si_FactsChanged, this, &Cart::followLater);
    connect(&session.tuners(), &QAbstractItemModel::dataChanged, this, &Cart::followLater);
}

/// Plans are undone with the lines, which changes tuners: of these nothing here is to hear any more.
Cart::~Cart()
{
    m_session.disconnect(this);
    m_session.tuners().disconnect(this);
    if (m_isKept)
        save();
}

void Cart::restore()
{
    QSettings settings;
    const int count = settings.beginReadArray(keptKey(QStringLiteral("cart"), {m_session.url()}));
    for (int row = 0; row < count; ++row) {
        settings.setArrayIndex(row);
        add(readOrder(settings), settings.value(QStringLiteral("server")).toString());
    }
    m_isKept = true;
}

/// What was started is no draft any more; plans end with the console.
void Cart::save() const
{
    KeptSettings settings;
    const QString key = keptKey(QStringLiteral("cart"), {m_session.url()});
    settings.remove(key);
    settings.beginWriteArray(key);
    int row = 0;
    for (const auto& line : m_lines) {
        if (line->isStarted())
            continue;
        settings.setArrayIndex(row++);
        writeOrder(settings, line->order);
        settings.setValue(QStringLiteral("server"), line->server);
    }
    settings.endArray();
}

void Cart::add(const ProductionOrder& order, const QString& server)
{
    const int row = rowCount();
    beginInsertRows({}, row, row);
    m_lines.push_back(std::make_unique<Line>());
    m_lines.back()->order = order;
    m_lines.back()->server = server;
    endInsertRows();
    Q_EMIT si_Changed();
}

int Cart::rowOf(const Line* line) const
{
    const auto found =
        std::find_if(m_lines.begin(), m_lines.end(), [line](const auto& each) { return each.get() == line; });
    return found == m_lines.end() ? -1 : static_cast<int>(found - m_lines.begin());
}

void Cart::setState(int row, State state, const QString& text)
{
    Line& line = *m_lines[static_cast<std::size_t>(row)];
    line.state = state;
    line.text = text;
    Q_EMIT dataChanged(index(row, 0), index(row, eColumnCount - 1));
    Q_EMIT si_Changed();
}

bool Cart::plan(int row, const Offer& offer)
{
    Line& line = *m_lines[static_cast<std::size_t>(row)];
    KoltaServerInterface* const server = m_session.server(offer.server);
    if (!server) {
        setState(row, State::Conflict, tr("%1 is not there").arg(offer.server));
        return false;
    }
    QString problem;
    const Kolta::TunerNeeds needs = needsOf(completed(line.order, *server), *server);
    line.plan = TunerPlan::make(server->getBookingManager(), offer.guid, needs, problem);
    line.offer = line.plan.stands() ? offer : Offer();
    line.isAway = false;
    setState(row, line.plan.stands() ? State::Planned : State::Conflict, problem);
    return line.plan.stands();
}

void Cart::remove(int row)
{
    beginRemoveRows({}, row, row);
    m_lines.erase(m_lines.begin() + row); // which undoes its plan
    endRemoveRows();
    Q_EMIT si_Changed();
}

bool Cart::isAsked(int row) const
{
    return row >= 0 && row < rowCount() && m_lines[static_cast<std::size_t>(row)]->state == State::Asked;
}

void Cart::clear()
{
    for (int row = rowCount() - 1; row >= 0; --row) {
        if (!isAsked(row))
            remove(row);
    }
}

void Cart::share()
{
    std::vector<int> rows;
    for (int row = 0; row < rowCount(); ++row) {
        Line& line = *m_lines[static_cast<std::size_t>(row)];
        if (line.isStarted() || line.needsNoTuner())
            continue;
        rows.push_back(row);
        line.plan.undo(); // all of them before, so that they share out the same
        line.offer = Offer();
    }
    Offers offers(m_session);
    for (const int row : rows)
        offers.add(m_lines[static_cast<std::size_t>(row)]->order,
                   m_lines[static_cast<std::size_t>(row)]->server);
    const Kolta::TunerMatching matching = offers.match();
    std::size_t conflicts = 0;
    for (std::size_t place = 0; place < rows.size(); ++place) {
        const int tuner = matching.tunerOfRequest[place];
        if (tuner >= 0) {
            plan(rows[place], offers.tuner(tuner));
            continue;
        }
        QStringList others;
        for (const int other : matching.conflicts[conflicts++]) {
            if (static_cast<std::size_t>(other) != place)
                others.append(QString::number(rows[static_cast<std::size_t>(other)] + 1));
        }
        setState(rows[place], State::Conflict,
                 others.isEmpty()
                     ? offers.refusalOf(place)
                     : tr("conflict with %1: too few tuners").arg(others.join(QStringLiteral(", "))));
    }
}

bool Cart::isReady(const Line& line) const
{
    return (line.state == State::Planned && m_session.isThere(serverOf(line))) ||
           (line.needsNoTuner() && !line.isStarted() && !line.server.isEmpty());
}

QVector<Kolta::UserAction> Cart::actionsToStart() const
{
    QVector<Kolta::UserAction> actions;
    for (const auto& line : m_lines) {
        if (isReady(*line))
            actions.append(Kolta::actionToRun(kindName(line->order.kind)));
    }
    return actions;
}

int Cart::start()
{
    int started = 0;
    for (int row = 0; row < rowCount(); ++row) {
        if (!isReady(*m_lines[static_cast<std::size_t>(row)]))
            continue;
        startLine(row);
        ++started;
    }
    return started;
}

/// The plan is undone for the job, which makes its own.
void Cart::startLine(int row)
{
    Line* const line = m_lines[static_cast<std::size_t>(row)].get();
    KoltaServerInterface* const server = m_session.server(serverOf(*line));
    if (!server)
        return setState(row, State::Failed, tr("the server is not there"));
    const ProductionOrder order = orderOf(*line);
    line->plan.undo();
    line->job = new ProductionJob(*server, order, this);
    line->job->deleteWhenFinished();
    m_session.ordersUnderWay().follow(
        *line->job, server->getAddress(),
        tr("order %1").arg(order.displayName.isEmpty() ? kindName(order.kind) : order.displayName));
    connect(line->job, &Operation::progressed, this, [this, line](const QString& text) {
        if (const int now = rowOf(line); now >= 0 && line->state == State::Asked)
            setState(now, State::Asked, text);
    });
    line->job->then(this, [this, line](const Operation& operation) { takeEnd(line, operation); });
    setState(row, State::Asked, tr("asked %1").arg(server->getAddress()));
}

void Cart::takeEnd(Line* line, const Operation& operation)
{
    const int row = rowOf(line); // it may have been taken out meanwhile
    if (row < 0)
        return;
    const auto& job = static_cast<const ProductionJob&>(operation);
    KoltaServerInterface* const server = m_session.server(serverOf(*line));
    if (operation.state() == Operation::State::Done && server) {
        line->running =
            std::make_unique<RunningProduction>(*server, job.production(), job.processor(), nullptr);
        connect(line->running.get(), &RunningProduction::stateChanged, this,
                [this, line] { followRunning(line); });
    }
    setState(row, operation.state() == Operation::State::Done ? State::Running : State::Failed,
             operation.text());
}

/// What has ended has ended for good; what nobody sees is known from before.
void Cart::followRunning(const Line* line)
{
    const int row = rowOf(line);
    if (row >= 0)
        setState(row,
                 line->running->state() == RunningProduction::State::Ended ? State::Ended : State::Running,
                 line->running->text());
}

void Cart::followLater()
{
    if (!m_lines.empty() && !m_following.isActive())
        m_following.start();
}

/// A plan that somebody was faster than is none; one on a server that is away waits for it.
void Cart::follow()
{
    for (int row = 0; row < rowCount(); ++row) {
        Line& line = *m_lines[static_cast<std::size_t>(row)];
        if (line.state != State::Planned && line.state != State::Running)
            continue;
        const QString server = serverOf(line);
        const ServerFacts facts = m_session.factsOf(server);
        const bool isAway = facts.address.isEmpty() || facts.isStale();
        const bool isOther = std::exchange(line.isAway, isAway) != isAway;
        if (line.state == State::Planned && !line.plan.stands()) {
            line.offer = Offer();
            setState(row, State::Conflict, isAway ? tr("%1 is away").arg(server) : tr("taken meanwhile"));
        } else if (isOther) {
            setState(row, line.state, line.text);
        }
    }
}

QString Cart::summary() const
{
    if (m_lines.empty())
        return tr("The cart is empty");
    qint64 cost = 0;
    int conflicts = 0;
    for (const auto& line : m_lines) {
        cost += line->state == State::Ended ? 0 : line->offer.cost;
        conflicts += line->state == State::Conflict ? 1 : 0;
    }
    const QString text = tr("Cart: %n order(s), total cost %1", nullptr, rowCount()).arg(cost);
    return conflicts == 0 ? text : text + tr(", %n conflict(s)", nullptr, conflicts);
}

ProductionOrder Cart::orderOf(const Line& line)
{
    ProductionOrder order = line.order;
    if (!line.offer.isNone())
        order.tunerGuid = line.offer.guid;
    return order;
}

QString Cart::serverOf(const Line& line)
{
    return line.offer.isNone() ? line.server : line.offer.server;
}

QString Cart::planLines() const
{
    QStringList lines;
    for (const auto& line : m_lines) {
        if (line->state == State::Planned)
            lines.append(KoltaApps::ActionLines(serverOf(*line)).plan(orderOf(*line)));
    }
    return lines.join(QLatin1Char('\n'));
}

QString Cart::startLines() const
{
    QStringList lines;
    for (const auto& line : m_lines) {
        if (isReady(*line))
            lines.append(KoltaApps::ActionLines(serverOf(*line)).produce(orderOf(*line)));
    }
    return lines.join(QLatin1Char('\n'));
}

Look Cart::lookOf(int row) const
{
    const Line& line = *m_lines[static_cast<std::size_t>(row)];
    switch (line.state) {
    case State::Planned:
        if (line.isAway)
            return {Mark::Cross, Role::Dim, tr("%1 is away").arg(serverOf(line)), false};
        return tunerLook(Kolta::TunerBookingManager::ePlanned);
    case State::Conflict:
        return {Mark::Triangle, Role::Attention, line.text, true};
    case State::Asked:
        return {Mark::Half, Role::InUse, line.text, false};
    case State::Running:
        if (line.isAway || (line.running && line.running->state() == RunningProduction::State::Unknown))
            return {Mark::Cross, Role::Dim, tr("last known"), false};
        return {Mark::Square, Role::InUse, tr("running"), false};
    case State::Ended:
        return {Mark::Box, Role::Dim, tr("ended"), false};
    case State::Failed:
        return {Mark::Triangle, Role::Attention, line.text, true};
    case State::Waiting:
        break;
    }
    return {Mark::Box, Role::InUse, isReady(line) ? tr("ready to start") : tr("not shared out yet"), false};
}

int Cart::rowCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : static_cast<int>(m_lines.size());
}

int Cart::columnCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : eColumnCount;
}

QVariant Cart::data(const QModelIndex& index, int role) const
{
    const bool isNumber = index.column() == eNumberColumn || index.column() == eFrequencyColumn ||
                          index.column() == eBandwidthColumn || index.column() == eCostColumn;
    if (role == Qt::TextAlignmentRole)
        return QVariant(int(Qt::AlignVCenter) | int(isNumber ? Qt::AlignRight : Qt::AlignLeft));
    if (role != Qt::DisplayRole)
        return {};
    const Line& line = *m_lines[static_cast<std::size_t>(index.row())];
    const auto hertz = [](double value) { return value > 0 ? Kolta::hertzToText(value) : QString(); };
    switch (index.column()) {
    case eNumberColumn:
        return index.row() + 1;
    case eOrderColumn:
        return line.needsNoTuner() ? kindName(line.order.kind)
                                   : tr("%1, class %2").arg(kindName(line.order.kind), line.order.tunerClass);
    case eFrequencyColumn:
        return hertz(line.order.frequency);
    case eBandwidthColumn:
        return hertz(line.order.bandwidth);
    case eGetsColumn:
        if (!line.offer.isNone())
            return QStringLiteral("%1 · %2").arg(line.offer.name, line.offer.server);
        return line.needsNoTuner() ? tr("the MCP's tuner") : QStringLiteral("–");
    case eCostColumn:
        return line.offer.isNone() ? QVariant(QStringLiteral("–")) : QVariant(line.offer.cost);
    default:
        return lookOf(index.row()).word;
    }
}

QVariant Cart::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation != Qt::Horizontal)
        return {};
    if (role == Qt::TextAlignmentRole)
        return QVariant(int(Qt::AlignVCenter) |
                        int(section == eNumberColumn || section == eFrequencyColumn ||
                                    section == eBandwidthColumn || section == eCostColumn
                                ? Qt::AlignRight
                                : Qt::AlignLeft));
    const QString titles[] = {QStringLiteral("#"), tr("Order"), tr("Frequency"), tr("Bandwidth"),
                              tr("Gets"),          tr("Cost"),  tr("State")};
    return role == Qt::DisplayRole ? QVariant(titles[section]) : QVariant();
}

} // namespace KoltaConsole
