#include <koltacommon/serversmodel.h>

#include <koltacommon/koltaserverinterface.h>
#include <koltacommon/koltaserverregistry.h>
#include <koltacommon/tunerssection.h>
#include <koltacommon/viewroles.h>
#include <koltacommon/viewtime.h>

#include <algorithm>
#include <utility>

namespace Kolta {

ServersModel::Section::Section(KoltaServerInterface& shown) : server(&shown)
{
    address = shown.getAddress();
    isStale = shown.getState() == SERVER_STATES::eDisconnected;
}

ServersModel::Section::~Section() = default;

/// The rows know their sections.
ServersModel::~ServersModel()
{
    root().rows.clear();
}

void ServersModel::followRegistry(KoltaServerRegistry& registry)
{
    connect(&registry, &KoltaServerRegistry::si_ServerAdded, this,
            [this, source = &registry](const QString& address) {
                if (KoltaServerInterface* const server = source->server(address))
                    addServer(*server);
            });
    connect(&registry, &KoltaServerRegistry::si_ServerRemoved, this, &ServersModel::removeServer);
    const QStringList known = registry.addresses();
    const QPointer<QObject> alive(this);
    for (const QString& address : known) {
        if (KoltaServerInterface* const server = alive ? registry.server(address) : nullptr)
            addServer(*server);
    }
}

bool ServersModel::addServer(KoltaServerInterface& server)
{
    if (find(server.getAddress()))
        return false;
    m_sections.push_back(makeSection(server));
    Section& section = *m_sections.back();
    QObject* const context = &section.context;
    connect(&server, &KoltaServerInterface::si_ConnectionChanged, context,
            [this, &section] { followDoubt(section); });
    connect(&server, &QObject::destroyed, context, [this, &section] { setGone(section); });
    work();
    return true;
}

bool ServersModel::removeServer(const QString& address)
{
    Section* const section = find(address);
    if (section)
        setGone(*section);
    return section != nullptr;
}

QStringList ServersModel::addresses() const
{
    QStringList all;
    for (const auto& section : m_sections) {
        if (!section->m_isGone)
            all << section->address;
    }
    return all;
}

ServersModel::Section* ServersModel::find(const QString& address) const
{
    const auto found = std::find_if(m_sections.begin(), m_sections.end(), [&address](const auto& section) {
        return section->address == address && !section->m_isGone;
    });
    return found == m_sections.end() ? nullptr : found->get();
}

void ServersModel::follow(Section& section)
{
    section.m_isDue = true;
    work();
}

void ServersModel::followBoard(TunersSection& section)
{
    connect(&section.board, &TunerBoard::changed, this, [this, &section](const std::vector<int>& places) {
        section.duePlaces.insert(section.duePlaces.end(), places.begin(), places.end());
        follow(section);
    });
    connect(&section.board, &TunerBoard::rebuilt, this, [this, &section] {
        section.isAllDue = true;
        follow(section);
    });
}

void ServersModel::followDoubt(Section& section)
{
    const bool isAway = !section.server || section.server->getState() == SERVER_STATES::eDisconnected;
    const bool isStale = isAway || section.isInDoubt();
    if (std::exchange(section.isStale, isStale) != isStale) {
        section.lastKnown = isStale ? ViewTime::now() : QDateTime();
        section.m_isStaleDue = true;
    }
    work();
}

void ServersModel::setGone(Section& section)
{
    section.m_isGone = true;
    work();
}

/// One at a time: what a slot changes is followed after the signals of the change before.
void ServersModel::work()
{
    if (m_isWorking)
        return;
    m_isWorking = true;
    const auto hasWork = [](const auto& section) {
        return section->m_isDue || section->m_isStaleDue || section->m_isGone;
    };
    for (;;) {
        const auto next = std::find_if(m_sections.begin(), m_sections.end(), hasWork);
        if (next == m_sections.end())
            break;
        if (!workOn(**next))
            return;
    }
    m_isWorking = false;
}

/// False when a slot has deleted the model.
bool ServersModel::workOn(Section& section)
{
    if (section.m_isGone) {
        const auto place = std::find_if(m_sections.begin(), m_sections.end(),
                                        [&section](const auto& other) { return other.get() == &section; });
        const int first = firstRow(section);
        const std::unique_ptr<Section> gone = std::move(*place); // the rows refer to it until they are gone
        m_sections.erase(place);
        return hide(*gone, first);
    }
    if (std::exchange(section.m_isDue, false))
        return show(section);
    section.m_isStaleDue = false;
    return showStale(section);
}

bool ServersModel::showStale(Section& section)
{
    return tellRoles(root(), firstRow(section), section.rowCount,
                     {ViewRoles::StaleRole, ViewRoles::LastKnownRole, Qt::ToolTipRole});
}

bool ServersModel::hide(Section& section, int firstRow)
{
    Rows none;
    return replaceRows(root(), firstRow, section.rowCount, none);
}

int ServersModel::firstRow(const Section& section) const
{
    int row = 0;
    for (const auto& each : m_sections) {
        if (each.get() == &section)
            break;
        row += each->rowCount;
    }
    return row;
}

bool ServersModel::replaceSection(Section& section, Rows& wanted)
{
    const int count = std::exchange(section.rowCount, static_cast<int>(wanted.size()));
    return replaceRows(root(), firstRow(section), count, wanted);
}

} // namespace Kolta
