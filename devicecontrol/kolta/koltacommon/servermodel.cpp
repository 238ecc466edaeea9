#include <koltacommon/servermodel.h>

#include <koltacommon/koltaresourceobserver.h>
#include <koltacommon/koltaserverinterface.h>
#include <koltacommon/processorledger.h>
#include <koltacommon/tunerboard.h>
#include <koltacommon/valuebinding.h>
#include <koltacommon/viewroles.h>
#include <koltacommon/viewtexts.h>
#include <koltacommon/viewtime.h>

#include <values/value.h>

#include <QDateTime>
#include <QVariant>

#include <algorithm>
#include <array>
#include <functional>
#include <tuple>
#include <utility>

namespace Kolta {

namespace {

constexpr ModelColumn kColumns[] = {{QT_TRANSLATE_NOOP("Kolta::ServerModel", "Server"), false},
                                    {QT_TRANSLATE_NOOP("Kolta::ServerModel", "State"), false},
                                    {QT_TRANSLATE_NOOP("Kolta::ServerModel", "Host"), false},
                                    {QT_TRANSLATE_NOOP("Kolta::ServerModel", "Free"), true},
                                    {QT_TRANSLATE_NOOP("Kolta::ServerModel", "In use"), true},
                                    {QT_TRANSLATE_NOOP("Kolta::ServerModel", "Planned here"), true},
                                    {QT_TRANSLATE_NOOP("Kolta::ServerModel", "Out of reach"), true},
                                    {QT_TRANSLATE_NOOP("Kolta::ServerModel", "Tuners"), true},
                                    {QT_TRANSLATE_NOOP("Kolta::ServerModel", "Running"), true},
                                    {QT_TRANSLATE_NOOP("Kolta::ServerModel", "Units"), true},
                                    {QT_TRANSLATE_NOOP("Kolta::ServerModel", "Progress"), true},
                                    {QT_TRANSLATE_NOOP("Kolta::ServerModel", "Message"), false},
                                    {QT_TRANSLATE_NOOP("Kolta::ServerModel", "Since"), false},
                                    {QT_TRANSLATE_NOOP("Kolta::ServerModel", "Start-up errors"), false}};

/// Follows a text of the server that its interface does not tell of.
class TextWatch final : public IObserver
{
public:
    explicit TextWatch(std::function<void()> changed) : m_changed(std::move(changed)), m_value(this) {}

    /// Binds to the value once it is there.
    QString text(const QString& path)
    {
        if (!m_value.Get() && !m_value.Bind(path))
            return QString();
        return m_value.Get()->IsDeleted() ? QString() : m_value.Get()->GetStringValue();
    }
    void Update(Observable*, TChangeCode) override
    {
        const auto call = m_changed; // which may delete this
        call();
    }

private:
    const std::function<void()> m_changed;
    ValueBinding<values::ValueBase> m_value;
};

/// "9 of 10", and the number of those that are registered.
std::pair<QString, int> unitsOf(const RESOURCEMANAGEMENT::ResourceOverview& resources)
{
    using namespace RESOURCEMANAGEMENT;
    const auto& units = resources.GetProcessingUnit();
    const auto registered =
        static_cast<int>(std::count_if(units.begin(), units.end(), isRegistered<ProcessingUnit>));
    return {units.isEmpty() ? QString() : ServerModel::tr("%1 of %2").arg(registered).arg(units.size()),
            registered};
}

/// "3 start-up errors: the first", and their number.
std::pair<QString, int> errorsOf(const QString& text)
{
    const QStringList lines = text.split(QLatin1Char('\n'), Qt::SkipEmptyParts);
    const int count = lines.size();
    return {count == 0
                ? QString()
                : ServerModel::tr("%n start-up error(s): %1", nullptr, count).arg(lines.first().simplified()),
            count};
}

} // namespace

/// What the columns hold: numbers, times and texts.
struct ServerModel::Facts
{
    std::array<QVariant, eColumnCount> cells;
    int state = SERVER_STATES::eDisconnected;
    int units = 0; ///< that are registered
    int errors = 0;
};

struct ServerModel::ServerRow : Row
{
    ServerRow(const Section& source, const Facts& shown) : Row(source.address, &source), facts(shown) {}
    ColumnSet update(Row& fresh) override
    {
        const Facts before = std::exchange(facts, static_cast<ServerRow&>(fresh).facts);
        ColumnSet columns = facts.state == before.state ? 0 : columnBit(eStateColumn);
        for (std::size_t column = 0; column < facts.cells.size(); ++column) {
            if (facts.cells[column] != before.cells[column])
                columns |= columnBit(static_cast<int>(column));
        }
        return columns;
    }
    const QVariant& cell(int column) const { return facts.cells[static_cast<std::size_t>(column)]; }
    QString text(int column) const override
    {
        return column == eSinceColumn ? ViewTexts::time(cell(column).toDateTime()) : cell(column).toString();
    }
    QVariant sortValue(int column) const override
    {
        if (column == eUnitsColumn)
            return facts.units;
        if (column == eErrorsColumn)
            return facts.errors;
        if (column == eStateColumn)
            return facts.state;
        return cell(column).type() == QVariant::String ? Row::sortValue(column) : cell(column);
    }
    QVariant value(int role) const override
    {
        if (role == ViewRoles::StateRole)
            return facts.state;
        return role == ViewRoles::SinceRole ? cell(eSinceColumn) : QVariant();
    }

    Facts facts;
};

struct ServerModel::ServerSection : Section
{
    ServerSection(KoltaServerInterface& shown, ServerModel& model);
    void read();
    void readWhatIsThere();

    TunerBoard board;
    ProcessorLedger processors;
    TextWatch progress;
    TextWatch errors;
    Facts facts;
};

ServerModel::ServerSection::ServerSection(KoltaServerInterface& shown, ServerModel& model)
    : Section(shown)
    , board(shown, TunerBoard::Detail::States)
    , processors(shown)
    , progress([this, &model] { model.follow(*this); })
    , errors([this, &model] { model.follow(*this); })
{
    const auto changed = [this, &model] { model.follow(*this); };
    connect(&board, &TunerBoard::changed, &context, changed);
    connect(&board, &TunerBoard::rebuilt, &context, changed);
    connect(&processors, &ProcessorLedger::changed, &context, changed);
    connect(&shown, &KoltaServerInterface::si_StatusMessageChanged, &context, changed);
    connect(&shown, &KoltaServerInterface::si_ConnectionReady, &context, changed);
    connect(&shown.getResourceObserver(), &KoltaResourceObserver::si_ResourcesChanged, &context, changed);
    connect(&shown, &KoltaServerInterface::si_StateChanged, &context, [this, changed] {
        facts.cells[eSinceColumn] = ViewTime::now();
        changed();
    });
    facts.cells[eAddressColumn] = address;
    readWhatIsThere(); // also of a server that is away: what its mirrors keep
}

/// Of a server that is away the rest stays as it was.
void ServerModel::ServerSection::read()
{
    if (!server)
        return;
    facts.state = server->getState();
    facts.cells[eStateColumn] = server->getStateString(server->getState());
    if (facts.state != SERVER_STATES::eDisconnected)
        readWhatIsThere();
}

void ServerModel::ServerSection::readWhatIsThere()
{
    facts.cells[eHostColumn] = server->getHostname();
    facts.cells[eFreeColumn] = board.count(TunerBookingManager::eFree);
    facts.cells[eInUseColumn] = board.count(TunerBookingManager::eInUse);
    facts.cells[ePlannedColumn] = board.count(TunerBookingManager::ePlanned);
    facts.cells[eOutOfReachColumn] = board.count(TunerBookingManager::eInaccessible);
    facts.cells[eTunersColumn] = static_cast<int>(board.tuners().size());
    const auto& running = processors.processors().processors();
    facts.cells[eRunningColumn] = static_cast<int>(std::count_if(
        running.begin(), running.end(), [](const auto& processor) { return processor.holder < 0; }));
    std::tie(facts.cells[eUnitsColumn], facts.units) =
        unitsOf(server->getResourceObserver().GetCurrentResources());
    facts.cells[eProgressColumn] =
        progress.text(ServerNodes::path(server->getServerBasePath(), ServerNodes::eStartupProgress));
    facts.cells[eMessageColumn] = server->getStatusMessage();
    std::tie(facts.cells[eErrorsColumn], facts.errors) =
        errorsOf(errors.text(ServerNodes::path(server->getServerBasePath(), ServerNodes::eStartupErrors)));
}

ServerModel::ServerModel(QObject* parent) : ServersModel("Kolta::ServerModel", kColumns, parent) {}

ServerModel::~ServerModel() = default;

std::unique_ptr<ServersModel::Section> ServerModel::makeSection(KoltaServerInterface& server)
{
    return std::make_unique<ServerSection>(server, *this);
}

bool ServerModel::show(Section& section)
{
    auto& due = static_cast<ServerSection&>(section);
    due.read();
    Rows wanted;
    wanted.push_back(std::make_unique<ServerRow>(due, due.facts));
    return replaceSection(due, wanted);
}

} // namespace Kolta
