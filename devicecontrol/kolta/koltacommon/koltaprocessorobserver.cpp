#include <koltacommon/koltaprocessorobserver.h>

#include <koltacommon/guidtext.h>

#include <QPointer>
#include <QSet>

#include <utility>

namespace Kolta {

using RESOURCEMANAGEMENT::ProcessorOverview;

namespace {

template<class Node>
void appendProductions(const QVector<Node>& nodes, QStringList& ids, QSet<QString>& seen)
{
    for (const Node& node : nodes) {
        const QString& id = node.GetProductionID();
        if (!id.isEmpty() && !seen.contains(id)) {
            seen.insert(id);
            ids.append(id);
        }
    }
}

/// The GUIDs of `before` that `now` lacks. `isUnique`: no GUID occurs twice in either.
QStringList missingIn(const ProcessorIndex& now, const ProcessorIndex& before, bool isUnique)
{
    QStringList missing;
    int after = -1;
    for (int place = 0; place < before.processors().size(); ++place) {
        if (isUnique && before.isUnchanged(place, now, after + 1)) {
            ++after;
            continue;
        }
        if (!before.isFirst(place))
            continue;
        const QString& guid = before.processors().at(place).guid();
        const int match = now.find(guid, after + 1);
        if (match < 0)
            missing.append(guid);
        else
            after = match;
    }
    return missing;
}

} // namespace

KoltaProcessorObserver::KoltaProcessorObserver(QObject* parent) : KoltaProcessorObserver(QString(), parent) {}

KoltaProcessorObserver::KoltaProcessorObserver(const QString& path, QObject* parent)
    : AbstractRGValueObserver(QString(), parent), m_doubt(new QTimer(this))
{
    qRegisterMetaType<RESOURCEMANAGEMENT::ProcessorOverview>();
    m_doubt->setSingleShot(true);
    connect(m_doubt, &QTimer::timeout, this, [this] {
        compareWith(index());
        announceDue();
    });
    if (!path.isEmpty())
        KoltaProcessorObserver::init(path);
}

KoltaProcessorObserver::~KoltaProcessorObserver() = default;

bool KoltaProcessorObserver::init(const QString& path)
{
    if (path != getVtPath()) {
        m_due.clear();
        forget();
    }
    return AbstractRGValueObserver::init(path);
}

bool KoltaProcessorObserver::initForOffline(const ProcessorOverview& value)
{
    m_due.clear();
    m_doubt->stop();
    m_announced = ProcessorIndex();
    return AbstractRGValueObserver::initForOffline(value);
}

void KoltaProcessorObserver::setEmptyOverviewDelay(int milliseconds)
{
    m_emptyOverviewDelay = milliseconds;
}

const ProcessorOverview& KoltaProcessorObserver::GetCurrentProcessors() const
{
    return getCurrentValue();
}

QString KoltaProcessorObserver::GetCurrentProcessorsAsString() const
{
    return getCurrentValueAsString();
}

RunningProcessor KoltaProcessorObserver::FindProcessor(const QString& guid) const
{
    RunningProcessor found;
    const int place = isGuid(guid) ? index().find(guid) : -1;
    if (place < 0)
        return found;
    const auto& processors = index().processors();
    const ProcessorIndex::Processor& processor = processors.at(place);
    found.kind = processor.kind;
    found.object = processor.object;
    found.record = processor.record;
    found.parent = &currentValue;
    if (processor.holder >= 0) {
        found.parent = processors.at(processor.holder).object;
        found.parentRecord = processors.at(processor.holder).record;
    }
    return found;
}

QString KoltaProcessorObserver::GetDisplayNameByGUID(const QString& guid) const
{
    if (!isGuid(guid))
        return QString();
    int place = index().find(guid);
    if (place < 0)
        place = index().findProduction(guid);
    return place < 0 ? QString() : index().processors().at(place).GetTavikResource().GetDisplayName();
}

QString KoltaProcessorObserver::GetParentGUID(const QString& guid) const
{
    const int place = isGuid(guid) ? index().find(guid) : -1;
    return place < 0 ? QString() : index().holderGuid(place);
}

QString KoltaProcessorObserver::GetMcpGUIDFor(const QString& guid) const
{
    const auto& processors = index().processors();
    int place = isGuid(guid) ? index().find(guid) : -1;
    while (place >= 0) {
        place = processors.at(place).holder;
        if (place >= 0 && processors.at(place).kind == eAppMCP)
            return processors.at(place).guid();
    }
    return QString();
}

QStringList KoltaProcessorObserver::GetProductionIDs() const
{
    QStringList ids;
    QSet<QString> seen;
    appendProductions(currentValue.GetSCP(), ids, seen);
    appendProductions(currentValue.GetMCP(), ids, seen);
    return ids;
}

QString KoltaProcessorObserver::GetGUIDForProductionID(const QString& productionId) const
{
    const int place = isGuid(productionId) ? index().findProduction(productionId) : -1;
    return place < 0 ? QString() : index().processors().at(place).guid();
}

QStringList KoltaProcessorObserver::GetGUIDsFedByTuner(const QString& tunerGuid) const
{
    QStringList guids;
    if (!isGuid(tunerGuid))
        return guids;
    for (const int place : index().findFedBy(tunerGuid)) {
        if (index().isFirst(place))
            guids.append(index().processors().at(place).guid());
    }
    return guids;
}

const ProcessorIndex& KoltaProcessorObserver::index() const
{
    if (!m_index.isFor(currentValue))
        m_index = ProcessorIndex(currentValue);
    return m_index;
}

void KoltaProcessorObserver::forget()
{
    m_doubt->stop();
    m_announced = ProcessorIndex();
    m_index = ProcessorIndex();
    forgetMirror();
}

void KoltaProcessorObserver::onValueChange(const ProcessorOverview&, const ProcessorOverview& newOverview)
{
    m_index = ProcessorIndex(newOverview, m_announced);
    if (m_index.isEmpty() && m_emptyOverviewDelay > 0) {
        if (!m_announced.isEmpty() && !m_doubt->isActive())
            m_doubt->start(m_emptyOverviewDelay);
    } else {
        m_doubt->stop();
        compareWith(m_index);
    }
    m_due.push_back({eOverview, {}, newOverview});
    announceDue();
}

void KoltaProcessorObserver::onVtDelete()
{
    forget();
    m_due.push_back({eOverview, {}, {}});
    announceDue();
}

/// Makes due what is different in `now` from what was announced. That nothing is left comes first, so that a
/// listener who clears a list does so once.
void KoltaProcessorObserver::compareWith(const ProcessorIndex& now)
{
    if (now.isEmpty() && !m_announced.isEmpty())
        m_due.push_back({eAllStopped, {}, {}});
    const bool isUnique = now.isUnique() && m_announced.isUnique();
    int before = -1;
    for (int place = 0; place < now.processors().size(); ++place) {
        if (isUnique && now.isUnchanged(place, m_announced, before + 1)) {
            ++before;
            continue;
        }
        if (!now.isFirst(place))
            continue;
        const QString& guid = now.processors().at(place).guid();
        const int match = m_announced.find(guid, before + 1);
        if (match < 0) {
            m_due.push_back({eStarted, {guid}, {}});
            continue;
        }
        before = match;
        if (!now.sameAt(place, m_announced, match))
            m_due.push_back({eChanged, {guid}, {}});
    }
    const QStringList stopped = missingIn(now, m_announced, isUnique);
    if (!stopped.isEmpty())
        m_due.push_back({eSeveralStopped, stopped, {}});
    for (const QString& guid : qAsConst(stopped))
        m_due.push_back({eStopped, {guid}, {}});
    m_announced = now;
}

void KoltaProcessorObserver::announceDue()
{
    const QPointer<KoltaProcessorObserver> guard(this);
    while (guard && !m_due.empty()) {
        const Announcement next = std::move(m_due.front());
        m_due.pop_front();
        announce(next);
    }
}

void KoltaProcessorObserver::announce(const Announcement& announcement)
{
    switch (announcement.kind) {
    case eStarted:
        Q_EMIT si_ProcessorStarted(announcement.guids.first());
        break;
    case eChanged:
        Q_EMIT si_ProcessorChanged(announcement.guids.first());
        break;
    case eStopped:
        Q_EMIT si_ProcessorStopped(announcement.guids.first());
        break;
    case eSeveralStopped:
        Q_EMIT si_ProcessorsStopped(announcement.guids);
        break;
    case eAllStopped:
        Q_EMIT si_AllProcessorsStopped();
        break;
    case eOverview:
        Q_EMIT si_RunningProcessorsChanged(announcement.overview);
        break;
    }
}

} // namespace Kolta
