#include "conversionsview.h"

#include "shorttimemaps.h"

#include <common/actionlines.h>
#include <koltacommon/conversionjob.h>
#include <koltacommon/installationevents.h>
#include <koltaconsole/actions/actions.h>
#include <koltaconsole/session/wishwatch.h>
#include <koltaconsole/widgets/columns.h>
#include <koltaconsole/widgets/filterbar.h>
#include <koltaconsole/widgets/filterwords.h>
#include <koltaconsole/widgets/rowtexts.h>
#include <koltaconsole/widgets/stateitemdelegate.h>

#include <QCheckBox>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QSpinBox>
#include <QTreeView>
#include <QUuid>
#include <QVBoxLayout>

#include <algorithm>

namespace KoltaConsole {

using Kolta::ConvertProductionResult;
using Kolta::ConvertProductionResultMap;
using Kolta::UserAction;
using sorel::RecordIdentifier;

namespace {

constexpr int kMostKept = 100000;

const char* const kActions[] = {"conversion-start", "conversion-finish", "conversion-fail",
                                "conversions-tidy"};

} // namespace

ConversionsView::ConversionsView(Session& session, ActionTable& actions, QWidget* parent)
    : QWidget(parent)
    , m_session(session)
    , m_actions(actions)
    , m_filter(new FilterBar(tr("Filter: failed, disk-1, !video"), tr("Filter of conversions"), this))
    , m_table(new QTreeView(this))
    , m_nothing(new QLabel(this))
    , m_record(new QLineEdit(this))
    , m_type(new QLineEdit(this))
    , m_production(new QLineEdit(this))
    , m_result(new QLineEdit(this))
    , m_keep(new QSpinBox(this))
    , m_failedToo(new QCheckBox(tr("failed ones too"), this))
{
    m_model.keepLastKnown();
    m_nothing->setProperty("dim", true);
    m_nothing->setContentsMargins(8, 8, 8, 8);
    m_nothing->setWordWrap(true);
    m_table->setModel(&m_model);
    m_table->setItemDelegate(new StateItemDelegate(m_table));
    dressTable(*m_table);
    m_table->setAccessibleName(tr("Conversions"));
    setColumnWidths(*m_table, {190, 110, 150, 110, 130, 120});
    makeActions();
    auto* const layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    m_filter->setContentsMargins(8, 5, 8, 5);
    layout->addWidget(m_filter);
    layout->addWidget(m_nothing);
    layout->addWidget(m_table, 1);
    layout->addLayout(makeFields());
    connectAll();
    showWhetherThereAreAny();
}

void ConversionsView::connectAll()
{
    const auto refresh = [this] { m_actions.refresh(); };
    const auto showAll = [this] { showWhetherThereAreAny(); };
    for (QLineEdit* const line : {m_record, m_type, m_production, m_result})
        connect(line, &QLineEdit::textChanged, this, refresh);
    connect(m_keep, qOverload<int>(&QSpinBox::valueChanged), this, refresh);
    connect(m_failedToo, &QCheckBox::toggled, this, refresh);
    connect(m_table->selectionModel(), &QItemSelectionModel::currentChanged, this, [this, refresh] {
        if (const auto* const item = m_model.itemAt(m_table->currentIndex()))
            m_record->setText(item->GetKey().toString());
        refresh();
    });
    for (const auto signal : {&QAbstractItemModel::rowsInserted, &QAbstractItemModel::rowsRemoved})
        connect(&m_model, signal, this, showAll);
    connect(&m_model, &QAbstractItemModel::dataChanged, this, showAll);
    connect(&m_model, &QAbstractItemModel::rowsInserted, this, &ConversionsView::playBeginnings);
    connect(&m_model, &QAbstractItemModel::dataChanged, this, &ConversionsView::playBeginnings);
    connect(m_filter->line(), &QLineEdit::textChanged, this, &ConversionsView::applyFilter);
}

QLineEdit* ConversionsView::filterLine() const
{
    return m_filter->line();
}

void ConversionsView::applyFilter()
{
    const FilterWords words(m_filter->text());
    const int all = m_model.rowCount();
    const int shown = FilterBar::showRows(
        *m_table, [&](int row) { return words.isEmpty() || words.matches(searchText(m_model, row), {}); });
    m_filter->tellCount(shown, all, tr("%1 of %2 conversions"), tr("No conversion matches \"%1\"."));
}

/// What to do where there is nothing, and since when what is shown is so no more.
void ConversionsView::showWhetherThereAreAny()
{
    const bool isEmpty = m_model.rowCount() == 0, isAway = !map();
    m_nothing->setVisible(isEmpty || isAway);
    m_nothing->setText(
        isEmpty && isAway ? objectionToShortTime(m_server, false)
        : isAway ? tr("%n conversion(s), %1", "", m_model.rowCount()).arg(lastKnownText(m_session, m_server))
                 : tr("No recording is being converted, nor has one been: name one in the "
                      "field Record and press Convert."));
    applyFilter();
    m_actions.refresh();
}

QLayout* ConversionsView::makeFields()
{
    m_record->setPlaceholderText(tr("SUBSYSTEM/DEVICE/RECORD"));
    m_type->setPlaceholderText(tr("what is to come of it"));
    m_production->setPlaceholderText(tr("name of the production"));
    m_result->setPlaceholderText(tr("what came of it"));
    m_keep->setRange(0, kMostKept);
    auto* const grid = new QGridLayout;
    grid->setContentsMargins(8, 6, 8, 6);
    grid->setHorizontalSpacing(8);
    grid->setVerticalSpacing(4);
    const auto place = [grid, this](int row, int column, const QString& title, QWidget* field) {
        auto* const label = new QLabel(title, this);
        label->setBuddy(field);
        field->setAccessibleName(title);
        grid->addWidget(label, row, column);
        grid->addWidget(field, row, column + 1);
        grid->setColumnStretch(column + 1, 1);
    };
    place(0, 0, tr("Record"), m_record);
    place(0, 2, tr("Result type"), m_type);
    place(0, 4, tr("Production"), m_production);
    place(1, 0, tr("Result"), m_result);
    place(1, 2, tr("Results to keep"), m_keep);
    grid->setColumnStretch(1, 2);
    m_failedToo->setAccessibleName(tr("Tidy up failed conversions too"));
    grid->addWidget(m_failedToo, 1, 5);
    auto* const buttons = new QHBoxLayout;
    buttons->setSpacing(8);
    buttons->addStretch(1);
    for (const char* const id : kActions)
        buttons->addWidget(m_actions.makeButton(QLatin1String(id), this));
    grid->addLayout(buttons, 2, 0, 1, 6);
    return grid;
}

void ConversionsView::makeActions()
{
    const auto add = [this](const char* id, const QString& text, UserAction action,
                            const std::function<QString()>& problem, const std::function<QString()>& line,
                            const std::function<void()>& run) {
        ActionTable::Entry entry;
        entry.id = QLatin1String(id);
        entry.text = text;
        entry.rights = Kolta::rightFor(action);
        entry.needsLink = true;
        entry.changes = true;
        entry.problem = problem;
        entry.line = line;
        entry.run = [this, line, run] {
            tellLine(line()); // of what is there before it
            run();
        };
        m_actions.add(entry, this);
    };
    const auto lines = [this] { return KoltaApps::ActionLines(m_server); };
    add(
        "conversion-start", tr("Convert"), UserAction::Convert, [this] { return objectionToStart(); },
        [this, lines] {
            return lines().startConversion(m_record->text().trimmed(), m_type->text(), m_production->text());
        },
        [this] { start(); });
    for (const bool success : {true, false})
        add(
            success ? "conversion-finish" : "conversion-fail",
            success ? tr("Finish") : tr("Finish as failed"), UserAction::Convert,
            [this] { return objectionToFinish(); }, [this, success] { return finishLine(success); },
            [this, success] { finish(success); });
    add(
        "conversions-tidy", tr("Tidy up"), UserAction::RemoveConversions,
        [this] { return objectionToTidy(); },
        [this, lines] {
            return lines().tidyConversions(m_keep->value(), QDateTime(), m_failedToo->isChecked());
        },
        [this] { tidy(); });
}

ConvertProductionResultMap* ConversionsView::map() const
{
    return shortTimeMap<ConvertProductionResultMap>(m_session, m_server);
}

void ConversionsView::showServer(const QString& address)
{
    const bool isOther = m_server != address;
    m_server = address;
    showShortTime(m_model, m_session, address, isOther);
    showWhetherThereAreAny();
}

RecordIdentifier ConversionsView::selected() const
{
    const ConvertProductionResult* const item = m_model.itemAt(m_table->currentIndex());
    return item ? item->GetKey() : RecordIdentifier();
}

QString ConversionsView::objection() const
{
    return objectionToShortTime(m_server, map() != nullptr);
}

QString ConversionsView::objectionToStart() const
{
    const QString text = m_record->text().trimmed();
    const QString general = objection();
    if (!general.isEmpty())
        return general;
    const RecordIdentifier record = RecordIdentifier::fromString(text);
    if (!record.valid())
        return tr("Which record? It is named as SUBSYSTEM/DEVICE/RECORD.");
    return map()->contains(record) && !map()->At(record).finished()
               ? tr("%1 is being converted already.").arg(text)
               : QString();
}

QString ConversionsView::objectionToFinish() const
{
    const QString general = objection();
    if (!general.isEmpty())
        return general;
    const RecordIdentifier record = selected();
    if (!record.valid() || !map()->contains(record))
        return tr("Nothing is selected.");
    return map()->At(record).state() == ConvertProductionResult::eConverting
               ? QString()
               : tr("%1 is not being converted.").arg(record.toString());
}

/// How many would go.
int ConversionsView::tidyCount() const
{
    const auto& results = map()->data();
    const auto mayGo = std::count_if(results.begin(), results.end(), [this](const auto& entry) {
        return m_failedToo->isChecked() ? entry.second.finished() : entry.second.sucessfullyFinished();
    });
    return std::min(static_cast<int>(mayGo), std::max(0, static_cast<int>(results.size()) - m_keep->value()));
}

QString ConversionsView::objectionToTidy() const
{
    const QString general = objection();
    if (!general.isEmpty())
        return general;
    return tidyCount() > 0 ? QString() : tr("No finished conversion is more than is to be kept.");
}

/// Asks for it; once it is there, its production begins.
void ConversionsView::start()
{
    ConvertProductionResultMap* const conversions = map();
    Kolta::ConvertProductionResultRequest request;
    request.record = RecordIdentifier::fromString(m_record->text().trimmed());
    request.productionID = QUuid::createUuid().toString();
    request.productionName = m_production->text().isEmpty() ? QStringLiteral("kolta") : m_production->text();
    request.pirmID = QStringLiteral("kolta");
    request.resultType = m_type->text();
    m_beginnings.append({m_server, request.record, request.productionID});
    auto* const job = new Kolta::ConversionJob(*conversions, request, this);
    m_session.events().followOperation(*job, m_server, tr("conversion of %1").arg(request.record.toString()));
    job->deleteWhenFinished();
    // Of a server that is not shown nobody tells that it is there.
    job->then(this, [this, production = request.productionID](const Kolta::Operation&) {
        playBeginnings();
        forgetBeginning(production);
    });
}

void ConversionsView::forgetBeginning(const QString& production)
{
    m_beginnings.erase(
        std::remove_if(m_beginnings.begin(), m_beginnings.end(),
                       [&production](const Beginning& each) { return each.production == production; }),
        m_beginnings.end());
}

void ConversionsView::playBeginnings()
{
    using Map = ConvertProductionResultMap;
    QVector<Beginning> due;
    for (const Beginning& asked : qAsConst(m_beginnings)) {
        const Map* const conversions = shortTimeMap<Map>(m_session, asked.server);
        if (conversions && conversions->contains(asked.record) &&
            conversions->At(asked.record).productionID() == asked.production &&
            conversions->At(asked.record).state() == ConvertProductionResult::eNotStarted)
            due.append(asked);
    }
    // Removed first: the change is told at once, and leads here again.
    for (const Beginning& asked : qAsConst(due))
        forgetBeginning(asked.production);
    for (const Beginning& asked : qAsConst(due)) {
        if (Map* const present = shortTimeMap<Map>(m_session, asked.server)) {
            present->startConverting(asked.record);
            watch(asked.server, tr("beginning of %1").arg(asked.record.toString()));
        }
    }
}

void ConversionsView::watch(const QString& server, const QString& what, const std::function<void()>& then)
{
    const Kolta::KoltaServerInterface* const known = m_session.server(server);
    if (!known)
        return;
    new WishWatch(
        m_session, server,
        Kolta::ServerNodes::shortTimePath<ConvertProductionResultMap>(known->getServerBasePath()),
        [this, server, what, then](const QString& reason) {
            if (!reason.isEmpty())
                m_session.tell(tr("conversions of %1, %2: %3").arg(server, what, reason),
                               Kolta::Event::Weight::Attention);
            else if (then)
                then();
        },
        this);
}

QString ConversionsView::finishLine(bool success) const
{
    return KoltaApps::ActionLines(m_server).finishConversion(selected().toString(), !success,
                                                             m_result->text());
}

void ConversionsView::finish(bool success)
{
    const RecordIdentifier record = selected();
    map()->setFinished(record, success, m_result->text());
    watch(m_server, tr("end of %1").arg(record.toString()));
}

void ConversionsView::tidy()
{
    const int erased =
        map()->tidyUp(static_cast<quint64>(m_keep->value()), QDateTime(), m_failedToo->isChecked());
    watch(m_server, tr("tidying"), [this, erased, server = m_server] {
        m_session.tell(tr("%n result(s) of conversions erased on %1", "", erased).arg(server),
                       Kolta::Event::Weight::Note);
    });
}

void ConversionsView::tellLine(const QString& line)
{
    m_line = line;
    Q_EMIT si_LineChanged();
}

} // namespace KoltaConsole
