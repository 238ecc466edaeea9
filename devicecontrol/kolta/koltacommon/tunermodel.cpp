#include <koltacommon/tunermodel.h>

#include <koltacommon/koltaserverinterface.h>
#include <koltacommon/tunerssection.h>
#include <koltacommon/viewroles.h>
#include <koltacommon/viewtexts.h>

#include <algorithm>
#include <map>
#include <utility>
#include <vector>

namespace Kolta {

using RESOURCEMANAGEMENT::Tuner;

namespace {

constexpr ModelColumn kColumns[] = {{QT_TRANSLATE_NOOP("Kolta::TunerModel", "Tuner"), false},
                                    {QT_TRANSLATE_NOOP("Kolta::TunerModel", "Class"), false},
                                    {QT_TRANSLATE_NOOP("Kolta::TunerModel", "Type"), false},
                                    {QT_TRANSLATE_NOOP("Kolta::TunerModel", "Range"), true},
                                    {QT_TRANSLATE_NOOP("Kolta::TunerModel", "Bandwidth"), true},
                                    {QT_TRANSLATE_NOOP("Kolta::TunerModel", "State"), false},
                                    {QT_TRANSLATE_NOOP("Kolta::TunerModel", "Used by"), false},
                                    {QT_TRANSLATE_NOOP("Kolta::TunerModel", "Since"), false},
                                    {QT_TRANSLATE_NOOP("Kolta::TunerModel", "Server"), false},
                                    {QT_TRANSLATE_NOOP("Kolta::TunerModel", "Address"), false},
                                    {QT_TRANSLATE_NOOP("Kolta::TunerModel", "Options"), false}};

/// What the columns show differently.
ColumnSet differenceOf(const TunerEntry& a, const TunerEntry& b)
{
    ColumnSet columns = 0;
    const auto note = [&columns](int column, bool isSame) { columns |= isSame ? 0 : columnBit(column); };
    note(TunerModel::eClassColumn, a.tunerClass == b.tunerClass);
    note(TunerModel::eStateColumn, a.state == b.state);
    const bool isSameUser = a.user == b.user && a.holder == b.holder;
    note(TunerModel::eUserColumn, isSameUser && (a.state == b.state || !b.user.isEmpty()));
    note(TunerModel::eSinceColumn, a.since == b.since && a.seen == b.seen);
    if (a.record.IsSameAs(b.record))
        return columns;
    const Tuner& before = a.record;
    const Tuner& after = b.record;
    // The item is data of the first column, whatever has changed in it.
    note(TunerModel::eNameColumn, before == after);
    note(TunerModel::eTypeColumn, before.GetType() == after.GetType());
    note(TunerModel::eRangeColumn, before.GetMinFrequency() == after.GetMinFrequency() &&
                                       before.GetMaxFrequency() == after.GetMaxFrequency());
    note(TunerModel::eAddressColumn,
         before.GetTavikResource().GetAddress() == after.GetTavikResource().GetAddress());
    note(TunerModel::eOptionsColumn, before.GetOptions() == after.GetOptions());
    note(TunerModel::eBandwidthColumn, before.GetMaxSWBandwidth() == after.GetMaxSWBandwidth());
    return columns;
}

} // namespace

struct TunerModel::TunerRow : Row
{
    TunerRow(TunerSection& source, const TunerEntry& shown);
    ColumnSet take(const TunerEntry& now)
    {
        const ColumnSet columns = differenceOf(entry, now);
        entry = now;
        return columns;
    }
    ColumnSet update(Row& fresh) override
    {
        const auto& now = static_cast<TunerRow&>(fresh);
        tunerPlace = now.tunerPlace;
        const ColumnSet columns = take(now.entry);
        if (section == now.section)
            return columns;
        section = now.section; // the server was removed and is shown anew
        origin = now.origin;
        return columnBit(eColumnCount) - 1;
    }
    QString text(int column) const override;
    QVariant sortValue(int column) const override;
    QVariant value(int role) const override { return entry.value(role); }

    bool isInUse() const { return entry.state == TunerBookingManager::eInUse; }
    bool isBeginUnknown() const { return isInUse() && !entry.since.isValid(); }
    bool isUserUnknown() const { return isInUse() && entry.user.isEmpty(); }
    QString sinceText() const;

    TunerSection* section;
    TunerEntry entry;
    int tunerPlace = 0; ///< below a group: that of the tuner in its section
};

QString TunerModel::TunerRow::text(int column) const
{
    const Tuner& tuner = entry.record;
    switch (column) {
    case eNameColumn:
        return tuner.GetTavikResource().GetDisplayName();
    case eClassColumn:
        return entry.tunerClass;
    case eTypeColumn:
        return tuner.GetType();
    case eRangeColumn:
        return ViewTexts::range(tuner.GetMinFrequency(), tuner.GetMaxFrequency());
    case eBandwidthColumn:
        return ViewTexts::hertz(tuner.GetMaxSWBandwidth());
    case eStateColumn:
        return stateText(entry.state);
    case eUserColumn:
        return isUserUnknown() ? tr("no processor shown") : entry.user;
    case eSinceColumn:
        return sinceText();
    case eAddressColumn:
        return tuner.GetTavikResource().GetAddress();
    case eOptionsColumn:
        return tuner.GetOptions();
    default:
        return origin->address;
    }
}

/// Of a server that is away, when it was known last.
QString TunerModel::TunerRow::sinceText() const
{
    if (origin->isStale)
        return ViewTexts::lastKnown(origin->lastKnown);
    return isBeginUnknown() ? tr("before %1").arg(ViewTexts::time(entry.seen)) : ViewTexts::time(entry.since);
}

QVariant TunerModel::TunerRow::sortValue(int column) const
{
    switch (column) {
    case eRangeColumn:
        return entry.record.GetMinFrequency();
    case eBandwidthColumn:
        return entry.record.GetMaxSWBandwidth();
    case eStateColumn:
        return static_cast<int>(entry.state);
    case eSinceColumn:
        return isBeginUnknown() ? entry.seen : entry.since;
    default:
        return Row::sortValue(column);
    }
}

/// Tuners of servers that are away count as tuners, and never as free.
struct TunerModel::GroupRow : Row
{
    explicit GroupRow(const QString& name) : Row(QLatin1Char('\n') + name, nullptr) {}

    void count(const TunerRow& row, int by)
    {
        all += by;
        if (row.entry.state == TunerBookingManager::eFree && !row.origin->isStale)
            free += by;
    }
    ColumnSet update(Row& fresh) override
    {
        const auto& now = static_cast<GroupRow&>(fresh);
        const bool isSame = free == now.free && all == now.all;
        free = now.free;
        all = now.all;
        return isSame ? 0 : columnBit(eStateColumn);
    }
    QString name() const { return key.mid(1); }
    QString text(int column) const override
    {
        if (column == eStateColumn)
            return tr("%1 of %2 free").arg(free).arg(all);
        return column == eNameColumn ? name() : QString();
    }
    QVariant sortValue(int column) const override
    {
        return column == eStateColumn ? QVariant(free) : Row::sortValue(column);
    }
    QVariant value(int role) const override { return role == ViewRoles::GroupRole ? name() : QVariant(); }

    int free = 0;
    int all = 0;
};

struct TunerModel::TunerSection : TunersSection
{
    using TunersSection::TunersSection;

    std::vector<TunerRow*> rows; ///< by place; with groups only
};

TunerModel::TunerRow::TunerRow(TunerSection& source, const TunerEntry& shown)
    : Row(source.keyOf(shown.key), &source), section(&source), entry(shown)
{
}

TunerModel::TunerModel(QObject* parent, Grouping grouping)
    : ServersModel("Kolta::TunerModel", kColumns, parent), m_grouping(grouping)
{
}

TunerModel::~TunerModel() = default;

QString TunerModel::stateText(TunerBookingManager::eTunerState state)
{
    switch (state) {
    case TunerBookingManager::eFree:
        return tr("free");
    case TunerBookingManager::eInUse:
        return tr("in use");
    case TunerBookingManager::ePlanned:
        return tr("planned here");
    case TunerBookingManager::eInaccessible:
        break;
    }
    return tr("out of reach");
}

std::unique_ptr<ServersModel::Section> TunerModel::makeSection(KoltaServerInterface& server)
{
    auto made = std::make_unique<TunerSection>(server);
    followBoard(*made);
    return made;
}

bool TunerModel::show(Section& section)
{
    auto& due = static_cast<TunerSection&>(section);
    std::vector<int> places = std::exchange(due.duePlaces, {});
    if (std::exchange(due.isAllDue, false))
        return m_grouping == Grouping::None ? showAll(due) : showGroups();
    // Neighbours are told together; several changes may have gathered.
    std::sort(places.begin(), places.end());
    places.erase(std::unique(places.begin(), places.end()), places.end());
    return m_grouping == Grouping::None ? showPlaces(due, places) : showInGroups(due, places);
}

bool TunerModel::showAll(TunerSection& section)
{
    Rows wanted;
    for (const TunerEntry& entry : section.board.tuners())
        wanted.push_back(std::make_unique<TunerRow>(section, entry));
    return replaceSection(section, wanted);
}

bool TunerModel::showPlaces(TunerSection& section, const std::vector<int>& places)
{
    const auto rows = root().rows.begin() + firstRow(section);
    std::vector<RowChange> changes;
    for (const int place : places) {
        auto& row = static_cast<TunerRow&>(*rows[place]);
        if (const ColumnSet columns = row.take(section.board.tuner(place)))
            changes.push_back({row.place, columns});
    }
    return tellRows(root(), changes);
}

bool TunerModel::showStale(Section& section)
{
    if (m_grouping == Grouping::None)
        return tellRoles(root(), firstRow(section), section.rowCount,
                         {ViewRoles::StaleRole, ViewRoles::LastKnownRole, Qt::ToolTipRole, Qt::DisplayRole,
                          ViewRoles::SearchRole});
    if (!showGroups())
        return false;
    std::map<int, std::vector<RowChange>> changes;
    for (const TunerRow* const row : static_cast<TunerSection&>(section).rows)
        changes[row->parent->place].push_back({row->place, columnBit(eColumnCount) - 1});
    return tellInGroups(changes);
}

bool TunerModel::hide(Section& section, int firstRow)
{
    return m_grouping == Grouping::None ? ServersModel::hide(section, firstRow) : showGroups();
}

QString TunerModel::groupOf(const Section& section, const TunerEntry& entry) const
{
    switch (m_grouping) {
    case Grouping::ByClass:
        return entry.tunerClass;
    case Grouping::ByServer:
        return section.address;
    case Grouping::ByType:
        return entry.record.GetType();
    case Grouping::None:
        break;
    }
    return QString();
}

/// The rows of all servers anew.
bool TunerModel::showGroups()
{
    std::map<std::pair<QString, QString>, std::unique_ptr<GroupRow>> groups;
    for (const auto& each : sections()) {
        auto& section = static_cast<TunerSection&>(*each);
        if (section.isGone())
            continue;
        section.rows.assign(section.board.tuners().size(), nullptr);
        for (const TunerEntry& entry : section.board.tuners()) {
            const QString name = groupOf(section, entry);
            auto& group = groups[{ViewRoles::sortText(name), name}];
            if (!group)
                group = std::make_unique<GroupRow>(name);
            auto row = std::make_unique<TunerRow>(section, entry);
            row->tunerPlace = static_cast<int>(&entry - section.board.tuners().data());
            group->count(*row, 1);
            group->append(std::move(row));
        }
    }
    Rows wanted;
    for (auto& group : groups)
        wanted.push_back(std::move(group.second));
    int count = rowCount();
    if (!moveBetweenParents(root(), 0, count, wanted) || !replaceRows(root(), 0, count, wanted))
        return false;
    for (const auto& group : root().rows) {
        for (const auto& each : group->rows) {
            auto& row = static_cast<TunerRow&>(*each);
            row.section->rows[static_cast<std::size_t>(row.tunerPlace)] = &row;
        }
    }
    return true;
}

bool TunerModel::showInGroups(TunerSection& section, const std::vector<int>& places)
{
    const auto changesGroup = [&](int place) {
        const TunerEntry& shown = section.rows[static_cast<std::size_t>(place)]->entry;
        return groupOf(section, shown) != groupOf(section, section.board.tuner(place));
    };
    if (std::any_of(places.begin(), places.end(), changesGroup))
        return showGroups();
    std::map<int, int> freeBefore; // by place of the group
    std::map<int, std::vector<RowChange>> changes;
    for (const int place : places) {
        TunerRow& row = *section.rows[static_cast<std::size_t>(place)];
        auto& group = static_cast<GroupRow&>(*row.parent);
        freeBefore.emplace(group.place, group.free);
        group.count(row, -1);
        if (const ColumnSet columns = row.take(section.board.tuner(place)))
            changes[group.place].push_back({row.place, columns});
        group.count(row, 1);
    }
    std::vector<RowChange> groups;
    for (const auto& [place, free] : freeBefore) {
        if (static_cast<GroupRow&>(*root().rows[static_cast<std::size_t>(place)]).free != free)
            groups.push_back({place, columnBit(eStateColumn)});
    }
    return tellRows(root(), groups) && tellInGroups(changes);
}

/// Changes of the rows of groups, by the place of the group.
bool TunerModel::tellInGroups(const std::map<int, std::vector<RowChange>>& changes)
{
    return std::all_of(changes.begin(), changes.end(), [this](const auto& group) {
        return tellRows(*root().rows[static_cast<std::size_t>(group.first)], group.second);
    });
}

} // namespace Kolta
