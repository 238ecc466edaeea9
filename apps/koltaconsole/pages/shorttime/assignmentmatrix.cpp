#include "assignmentmatrix.h"

#include "profilefields.h"
#include "shorttimemaps.h"

#include <koltacommon/guidtext.h>
#include <koltacommon/processormodel.h>
#include <koltacommon/tunermodel.h>
#include <koltacommon/viewroles.h>

#include <QFont>

#include <algorithm>
#include <iterator>

namespace KoltaConsole {

namespace Roles = Kolta::ViewRoles;
using Kolta::ProcessorModel;
using Kolta::ShortTimeFFPAssignment;
using Kolta::ShortTimeProfile;

AssignmentMatrix::AssignmentMatrix(Session& session, QObject* parent)
    : QAbstractTableModel(parent)
    , m_session(session)
    , m_drafts(session, QStringLiteral("assignmentDrafts"), this)
{
}

void AssignmentMatrix::showServer(const QString& address)
{
    if (address == m_server)
        return;
    m_server = address;
    m_draft.clear();
    beginResetModel();
    m_ffps.clear();
    m_profiles.clear();
    m_uses.clear();
    endResetModel();
    const QJsonObject kept = m_drafts.of(address);
    for (auto ffp = kept.begin(); ffp != kept.end(); ++ffp) {
        const QJsonObject ticks = ffp.value().toObject();
        for (auto tick = ticks.begin(); tick != ticks.end(); ++tick)
            m_draft[ffp.key()][tick.key()] = tick.value().toBool();
    }
    tellDraft();
}

void AssignmentMatrix::keepDraft()
{
    QJsonObject kept;
    for (auto ffp = m_draft.cbegin(); ffp != m_draft.cend(); ++ffp) {
        QJsonObject ticks;
        for (auto tick = ffp->cbegin(); tick != ffp->cend(); ++tick)
            ticks.insert(tick.key(), tick.value());
        if (!ticks.isEmpty())
            kept.insert(ffp.key(), ticks);
    }
    m_drafts.set(m_server, kept);
}

/// All tuners are gone through once; of those with the same name the first counts.
void AssignmentMatrix::readReach(QVector<Ffp>& ffps) const
{
    if (ffps.isEmpty())
        return;
    const Kolta::TunerModel& model = m_session.tuners();
    QHash<QString, QModelIndex> tuners;
    for (int row = 0; row < model.rowCount(); ++row) {
        const QModelIndex index = model.index(row, Kolta::TunerModel::eNameColumn);
        if (index.data(Roles::ServerRole).toString() != m_server)
            continue;
        QModelIndex& first = tuners[index.data().toString()];
        if (!first.isValid())
            first = index;
    }
    for (Ffp& ffp : ffps) {
        const QModelIndex index = tuners.value(ffp.tuner);
        if (!index.isValid())
            continue;
        const auto record = index.data(Roles::ItemRole).value<RESOURCEMANAGEMENT::Tuner>();
        ffp.from = record.GetMinFrequency();
        ffp.to = record.GetMaxFrequency();
    }
}

void AssignmentMatrix::readFfps(const QModelIndex& parent, const QString& above, QVector<Ffp>& ffps) const
{
    const ProcessorModel& model = m_session.processors();
    for (int row = 0; row < model.rowCount(parent); ++row) {
        const auto cell = [&](int column) { return model.index(row, column, parent).data().toString(); };
        const QModelIndex index = model.index(row, 0, parent);
        if (index.data(Roles::ServerRole).toString() != m_server)
            continue;
        const QString name = cell(ProcessorModel::eNameColumn);
        if (cell(ProcessorModel::eKindColumn) == QLatin1String("FFP")) {
            Ffp ffp;
            ffp.guid = index.data(Roles::GuidRole).toString();
            ffp.name = above.isEmpty() ? name : QStringLiteral("%1 · %2").arg(above, name);
            ffp.tuner = cell(ProcessorModel::eTunerColumn);
            if (ffp.tuner.isEmpty() && parent.isValid())
                ffp.tuner = parent.sibling(parent.row(), ProcessorModel::eTunerColumn).data().toString();
            ffps.append(ffp);
        }
        readFfps(index, name, ffps);
    }
}

void AssignmentMatrix::readAssignments(QVector<Ffp>& ffps)
{
    const auto find = [](QVector<Ffp>& among, const QString& guid) {
        return std::find_if(among.begin(), among.end(),
                            [&guid](const Ffp& ffp) { return Kolta::isSameGuid(ffp.guid, guid); });
    };
    m_uses.clear();
    const auto* const assignments =
        shortTimeContent<Kolta::ShortTimeFFPAssignmentItemMap>(m_session, m_server);
    if (!assignments)
        return;
    for (const auto& entry : *assignments) {
        const auto found = find(ffps, entry.first);
        if (found != ffps.end()) {
            found->assignment = entry.second;
            found->assigned = QSet<QString>(entry.second.profiles.begin(), entry.second.profiles.end());
        }
        for (const QString& profile : entry.second.profiles)
            m_uses[profile].append(found == ffps.end() ? entry.first : found->name);
    }
    for (QStringList& names : m_uses)
        names.sort();
}

void AssignmentMatrix::refresh()
{
    QVector<Ffp> ffps;
    if (!m_server.isEmpty())
        readFfps(QModelIndex(), QString(), ffps);
    readReach(ffps);
    readAssignments(ffps);
    using ProfileMap = Kolta::ShortTimeProfileItemMap;
    m_isLastKnown = !m_server.isEmpty() && !shortTimeMap<ProfileMap>(m_session, m_server);
    if (m_isLastKnown && ffps.isEmpty())
        ffps = m_ffps;
    QVector<ShortTimeProfile> profiles;
    if (const auto* const content = shortTimeContent<ProfileMap>(m_session, m_server)) {
        for (const auto& entry : *content)
            profiles.append(entry.second);
    }
    std::sort(profiles.begin(), profiles.end(), [](const ShortTimeProfile& a, const ShortTimeProfile& b) {
        return Roles::sortText(a.name) < Roles::sortText(b.name);
    });
    const bool isSameShape =
        ffps == m_ffps && std::equal(profiles.begin(), profiles.end(), m_profiles.begin(), m_profiles.end(),
                                     [](const auto& a, const auto& b) { return a.name == b.name; });
    if (!isSameShape)
        beginResetModel();
    m_ffps = ffps;
    m_profiles = profiles;
    readSearches();
    if (!isSameShape)
        endResetModel();
    else if (!m_ffps.isEmpty() && !m_profiles.isEmpty())
        Q_EMIT dataChanged(index(0, 0), index(rowCount() - 1, columnCount() - 1));
    tellDraft();
}

bool AssignmentMatrix::isTicked(const Ffp& ffp, const QString& profile) const
{
    const auto ticks = m_draft.constFind(ffp.guid);
    if (ticks == m_draft.cend() || !ticks->contains(profile))
        return ffp.assigned.contains(profile);
    return ticks->value(profile);
}

bool AssignmentMatrix::fits(const FilterWords& words, int row, int column) const
{
    const ShortTimeProfile& profile = m_profiles.at(column);
    const QString search = m_ffps.at(row).name.toLower() + QLatin1Char('\n') + m_searches.value(profile.name);
    return words.matches(search, bandOf(profile));
}

void AssignmentMatrix::readSearches()
{
    m_searches.clear();
    for (const ShortTimeProfile& profile : qAsConst(m_profiles)) {
        QStringList texts{ShortTimeProfile::typeTitle(profile.type)};
        for (int field = 0; field < kProfileFieldCount; ++field)
            texts.append(fieldText(profile, static_cast<ProfileField>(field)));
        m_searches.insert(profile.name, texts.join(QLatin1Char('\n')).toLower());
    }
}

bool AssignmentMatrix::isOutOfReach(const Ffp& ffp, const ShortTimeProfile& profile)
{
    return profile.useFrequency && ffp.to > 0 &&
           (static_cast<double>(profile.frequencyMin) > ffp.to ||
            static_cast<double>(profile.frequencyMax) < ffp.from);
}

void AssignmentMatrix::set(const QModelIndexList& indexes, bool isOn)
{
    for (const QModelIndex& cell : indexes) {
        const Ffp& ffp = m_ffps.at(cell.row());
        const QString& profile = m_profiles.at(cell.column()).name;
        if (ffp.assigned.contains(profile) == isOn && !isSending(ffp))
            m_draft[ffp.guid].remove(profile);
        else
            m_draft[ffp.guid][profile] = isOn;
        if (m_draft.value(ffp.guid).isEmpty())
            m_draft.remove(ffp.guid);
        Q_EMIT dataChanged(cell, cell);
    }
    keepDraft();
    tellDraft();
}

void AssignmentMatrix::toggleAll(const QModelIndexList& indexes)
{
    const bool areAllOn = std::all_of(indexes.begin(), indexes.end(),
                                      [](const QModelIndex& index) { return index.data(TickRole).toBool(); });
    set(indexes, !areAllOn);
}

void AssignmentMatrix::tellDraft()
{
    m_changeCount = 0;
    for (const Ffp& ffp : qAsConst(m_ffps)) {
        const QMap<QString, bool> ticks = m_draft.value(ffp.guid);
        for (auto tick = ticks.begin(); tick != ticks.end(); ++tick) {
            const bool isShown = m_searches.contains(tick.key()); // its profile has not gone
            m_changeCount += isShown && tick.value() != ffp.assigned.contains(tick.key()) ? 1 : 0;
        }
    }
    Q_EMIT si_DraftChanged();
}

void AssignmentMatrix::undo()
{
    m_draft.clear();
    keepDraft();
    refresh();
}

QVector<ShortTimeFFPAssignment> AssignmentMatrix::wanted() const
{
    QVector<ShortTimeFFPAssignment> result;
    for (const Ffp& ffp : m_ffps) {
        if (!m_draft.contains(ffp.guid))
            continue;
        ShortTimeFFPAssignment assignment = ffp.assignment;
        if (assignment.isNull()) {
            assignment.ffpGuid = ffp.guid;
            assignment.minCoverage = ShortTimeFFPAssignment::kDefaultCoverage;
            assignment.enabled = true;
        }
        // What is assigned and not a column, because the profile has gone, stays as it is.
        for (const ShortTimeProfile& profile : m_profiles) {
            const bool isOn = isTicked(ffp, profile.name), was = ffp.assigned.contains(profile.name);
            if (isOn && !was)
                assignment.profiles.append(profile.name);
            else if (!isOn && was)
                assignment.profiles.removeAll(profile.name);
        }
        if (assignment.profiles != ffp.assignment.profiles)
            result.append(assignment);
    }
    return result;
}

bool AssignmentMatrix::isSending(const Ffp& ffp) const
{
    return std::any_of(m_sending.begin(), m_sending.end(),
                       [&ffp](const QString& guid) { return Kolta::isSameGuid(guid, ffp.guid); });
}

bool AssignmentMatrix::isSending() const
{
    return std::any_of(m_ffps.begin(), m_ffps.end(), [this](const Ffp& ffp) { return isSending(ffp); });
}

void AssignmentMatrix::takeEnd(const QString& server, const ShortTimeFFPAssignment& sent, bool isGranted)
{
    m_sending.removeOne(sent.ffpGuid);
    const QStringList ffps = server == m_server ? m_draft.keys() : m_drafts.of(server).keys();
    const auto found = std::find_if(ffps.begin(), ffps.end(), [&sent](const QString& guid) {
        return Kolta::isSameGuid(guid, sent.ffpGuid);
    });
    refresh();
    if (found == ffps.end() || (!isGranted && server != m_server))
        return;
    const auto present =
        std::find_if(m_ffps.begin(), m_ffps.end(), [&found](const Ffp& ffp) { return ffp.guid == *found; });
    if (isGranted)
        forgetTicks(server, *found, sent.profiles);
    else if (present != m_ffps.end())
        forgetTicks(server, *found, present->assignment.profiles);
    tellDraft();
}

void AssignmentMatrix::forgetTicks(const QString& server, const QString& ffp, const QStringList& sent)
{
    if (server == m_server) {
        QMap<QString, bool>& ticks = m_draft[ffp];
        for (auto tick = ticks.begin(); tick != ticks.end();)
            tick = tick.value() == sent.contains(tick.key()) ? ticks.erase(tick) : std::next(tick);
        if (ticks.isEmpty())
            m_draft.remove(ffp);
        keepDraft();
    } else {
        QJsonObject kept = m_drafts.of(server);
        QJsonObject ticks = kept.value(ffp).toObject();
        for (auto tick = ticks.begin(); tick != ticks.end();)
            tick = tick.value().toBool() == sent.contains(tick.key()) ? ticks.erase(tick) : tick + 1;
        kept.insert(ffp, ticks);
        if (ticks.isEmpty())
            kept.remove(ffp);
        m_drafts.set(server, kept);
    }
}

int AssignmentMatrix::rowCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : m_ffps.size();
}

int AssignmentMatrix::columnCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : m_profiles.size();
}

QString AssignmentMatrix::cellText(const Ffp& ffp, const ShortTimeProfile& profile) const
{
    const bool isOn = isTicked(ffp, profile.name);
    const bool isNew = isOn != ffp.assigned.contains(profile.name);
    if (isOn && isOutOfReach(ffp, profile))
        return tr("no cover");
    if (isNew)
        return isOn ? tr("new") : tr("taken off");
    return isOn ? tr("%1 %").arg(ffp.assignment.minCoverage) : QString();
}

QVariant AssignmentMatrix::data(const QModelIndex& index, int role) const
{
    if (!index.isValid())
        return QVariant();
    const Ffp& ffp = m_ffps.at(index.row());
    const ShortTimeProfile& profile = m_profiles.at(index.column());
    switch (role) {
    case Qt::DisplayRole:
        return cellText(ffp, profile);
    case Qt::ToolTipRole:
    case Qt::AccessibleTextRole:
        return QStringLiteral("%1, %2: %3 %4")
            .arg(ffp.name, profile.name, isTicked(ffp, profile.name) ? tr("assigned") : tr("not assigned"),
                 cellText(ffp, profile));
    case TickRole:
        return isTicked(ffp, profile.name);
    case NewRole:
        return isTicked(ffp, profile.name) != ffp.assigned.contains(profile.name);
    case NoCoverRole:
        return isTicked(ffp, profile.name) && isOutOfReach(ffp, profile);
    case CoverageRole:
        return ffp.assignment.minCoverage;
    case Roles::StaleRole:
        return m_isLastKnown;
    default:
        return QVariant();
    }
}

QVariant AssignmentMatrix::headerData(int section, Qt::Orientation orientation, int role) const
{
    const bool isAcross = orientation == Qt::Horizontal;
    if (section < 0 || section >= (isAcross ? m_profiles.size() : m_ffps.size()))
        return QVariant();
    if (role == Qt::TextAlignmentRole)
        return (isAcross ? static_cast<int>(Qt::AlignCenter) | static_cast<int>(Qt::TextWordWrap)
                         : static_cast<int>(Qt::AlignLeft | Qt::AlignVCenter));
    if (role != Qt::DisplayRole && role != Qt::ToolTipRole)
        return QVariant();
    if (isAcross)
        return m_profiles.at(section).name;
    const Ffp& ffp = m_ffps.at(section);
    return ffp.assignment.isNull() || ffp.assignment.enabled ? ffp.name
                                                             : tr("%1 (not enabled)").arg(ffp.name);
}

} // namespace KoltaConsole
