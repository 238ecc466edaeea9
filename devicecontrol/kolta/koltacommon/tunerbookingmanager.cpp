#include <koltacommon/tunerbookingmanager.h>

#include <koltacommon/guidindex.h>
#include <koltacommon/koltaresourceobserver.h>
#include <koltacommon/listmatching.h>
#include <koltacommon/messagejoin.h>
#include <koltacommon/reportexceptiontext.h>
#include <koltacommon/servernodes.h>

#include <startup/tracesource.h>

#include <QPointer>
#include <QSet>

#include <algorithm>
#include <array>
#include <iterator>
#include <utility>
#include <vector>

namespace Kolta {

using RESOURCEMANAGEMENT::ResourceOverview;
using RESOURCEMANAGEMENT::Tuner;
using State = TunerBookingManager::eTunerState;

namespace {

constexpr std::size_t kTextCount = 3;
/// Three entries for four states, the third run together: support and other tools know these texts; meant.
constexpr std::array<const char*, kTextCount> kStateTexts{
    QT_TRANSLATE_NOOP("Kolta::TunerBookingManager", "free"),
    QT_TRANSLATE_NOOP("Kolta::TunerBookingManager", "already in use"),
    QT_TRANSLATE_NOOP("Kolta::TunerBookingManager", "inaccessiblealready planned")};
constexpr const char* kPlannedText = QT_TRANSLATE_NOOP("Kolta::TunerBookingManager", "already planned");

enum eTracePoint : int { eReportException = 100, eNotInitialized = 200 };
constexpr Startup::TraceSource kTrace("devicecontrol/kolta/koltacommon/tunerbookingmanager");

/// Goes along both lists. The places where another state is reported than before, new tuners included; the
/// same records have theirs already.
std::vector<int> otherStates(const QVector<Tuner>& before, const QVector<Tuner>& after,
                             ListMatching<Tuner>& matching)
{
    std::vector<int> places;
    for (int place = 0; place < after.size(); ++place) {
        bool isSame = false;
        const int old = matching.next(isSame);
        if (!isSame && (old < 0 || TunerBookingManager::reportedState(before.at(old)) !=
                                       TunerBookingManager::reportedState(after.at(place))))
            places.push_back(place);
    }
    return places;
}

/// False, with a trace line, when the text is not an overview.
bool read(REPORTGENERATOR::TextReader& reader, ResourceOverview& overview, const QString& text)
{
    try {
        reader.read(text, overview);
        return true;
    } catch (const REPORTGENERATOR::RGException& exception) {
        kTrace(eReportException, reportExceptionText(exception));
        return false;
    }
}

QString notFree(const QString& guid, State state)
{
    const auto index = static_cast<std::size_t>(state);
    const char* const text = index < kTextCount ? kStateTexts[index] : kPlannedText;
    return TunerBookingManager::tr("Tuner with GUID %1 is %2.").arg(guid, TunerBookingManager::tr(text));
}

QString invalidObject()
{
    return TunerBookingManager::tr("Invalid type of IRGObject passed.");
}

} // namespace

TunerBookingManager::TunerBookingManager(QObject* parent, eUpdateMode updateMode)
    : QObject(parent), m_updateMode(updateMode), m_binding(this)
{
    qRegisterMetaType<ResourceOverview>();
    qRegisterMetaType<State>();
}

TunerBookingManager::~TunerBookingManager() = default;

void TunerBookingManager::dropSource()
{
    disconnect(m_observerConnection);
    m_binding.Release();
    m_reader.forget();
}

void TunerBookingManager::init(const KoltaResourceObserver& resourceObserver)
{
    dropSource();
    if (m_updateMode == eFollowOverview)
        m_observerConnection = connect(&resourceObserver, &KoltaResourceObserver::si_ResourcesChanged, this,
                                       &TunerBookingManager::sl_updateTuners);
    sl_updateTuners(resourceObserver.GetCurrentResources());
}

bool TunerBookingManager::init(const QString& serverPath)
{
    // Made first: `serverPath` may belong to an item that goes with the value that is released.
    const QString path = serverPath + ServerNodes::suffix(ServerNodes::eResources);
    dropSource();
    const bool bound = m_binding.Bind(path);
    const QString text = bound ? m_binding.Get()->GetStringValue() : QString();
    ResourceOverview overview;
    const bool ready = bound && (text.isEmpty() || read(m_reader, overview, text));
    if (m_updateMode == eReadOnce)
        dropSource();
    if (!ready)
        kTrace(eNotInitialized, QStringLiteral("Could not initialize."));
    else if (!text.isEmpty())
        sl_updateTuners(overview); // a receiver may delete this
    return ready;
}

TunerBookingManager::eTunerState TunerBookingManager::reportedState(const Tuner& tuner)
{
    if (!tuner.GetAccessible())
        return eInaccessible;
    return tuner.GetIdle() ? eFree : eInUse;
}

State TunerBookingManager::getTunerState(const QString& guid) const
{
    return m_states.value(guid, isListed(guid) ? eFree : eInaccessible);
}

bool TunerBookingManager::existsTuner(const QString& guid) const
{
    return m_states.contains(guid) || isListed(guid);
}

bool TunerBookingManager::isListed(const QString& guid) const
{
    return !guid.isEmpty() && m_listedGuids.find(guid);
}

QVector<Tuner> TunerBookingManager::getAllTuners() const
{
    return tuners();
}

int TunerBookingManager::getOverallNumberOfTuners() const
{
    return tuners().size();
}

bool TunerBookingManager::isFree(const Tuner& tuner) const
{
    return !ResourceGuid::of(tuner).isEmpty() && !m_states.contains(ResourceGuid::of(tuner));
}

QVector<Tuner> TunerBookingManager::getFreeTuners() const
{
    QVector<Tuner> free;
    std::copy_if(tuners().begin(), tuners().end(), std::back_inserter(free),
                 [this](const Tuner& tuner) { return isFree(tuner); });
    return free;
}

int TunerBookingManager::getNumberOfFreeTuners() const
{
    return static_cast<int>(std::count_if(tuners().begin(), tuners().end(),
                                          [this](const Tuner& tuner) { return isFree(tuner); }));
}

bool TunerBookingManager::planTuner(const QString& guid, QString& errorText)
{
    if (!existsTuner(guid)) {
        addMessage(errorText, tr("No Tuner with GUID %1 exists").arg(guid));
        return false;
    }
    const State state = getTunerState(guid);
    if (state != eFree) {
        addMessage(errorText, notFree(guid, state));
        return false;
    }
    m_states.insert(guid, ePlanned);
    m_plans.insert(guid, ++m_lastPlan);
    Q_EMIT si_PlanningChanged(guid, true); // a receiver may delete this
    return true;
}

bool TunerBookingManager::planTuner(const QString& guid, const TunerNeeds& needs, QString& errorText)
{
    const Tuner* const tuner = guid.isEmpty() ? nullptr : m_listedGuids.find(guid);
    const QString problem = tuner ? problemWith(*tuner, needs) : QString();
    if (problem.isEmpty())
        return planTuner(guid, errorText);
    addMessage(errorText, tr("Tuner with GUID %1 does not fit: %2").arg(guid, problem));
    return false;
}

bool TunerBookingManager::undoTunerPlanning(const QString& guid)
{
    const QString undone = guid; // may be the key of an entry that goes
    if (m_plans.remove(undone) == 0)
        return false;
    m_states.remove(undone);
    Q_EMIT si_PlanningChanged(undone, false); // a receiver may delete this
    return true;
}

bool TunerBookingManager::undoTunerPlanning(const QString& guid, quint64 number)
{
    return number != 0 && planNumber(guid) == number && undoTunerPlanning(guid);
}

void TunerBookingManager::clearPlanning()
{
    const QHash<QString, quint64> plans = std::exchange(m_plans, {});
    for (auto plan = plans.begin(); plan != plans.end(); ++plan)
        m_states.remove(plan.key());
    const QPointer<TunerBookingManager> guard(this);
    for (auto plan = plans.begin(); guard && plan != plans.end(); ++plan)
        Q_EMIT si_PlanningChanged(plan.key(), false);
}

bool TunerBookingManager::verifyBooking(const Booking& booking, QString& errorText) const
{
    if (!booking.isValid()) {
        addMessage(errorText, invalidObject());
        return false;
    }
    bool ok = true;
    QSet<QString> taken;
    for (const QString& guid : booking.getTunerGUIDs()) {
        const State state = taken.contains(guid) ? ePlanned : getTunerState(guid);
        if (state == eFree) {
            taken.insert(guid);
        } else {
            addMessage(errorText, notFree(guid, state));
            ok = false;
        }
    }
    return ok;
}

bool TunerBookingManager::verifyBooking(const REPORTGENERATOR::IRGObject& object, QString& errorText) const
{
    return verifyBooking(Booking(object), errorText);
}

bool TunerBookingManager::planProductions(const Booking& booking, QString& errorText)
{
    QString messages;
    if (!booking.isValid())
        messages = invalidObject();
    const QPointer<TunerBookingManager> guard(this);
    const QStringList guids = booking.getTunerGUIDs();
    for (int i = 0; guard && i < guids.size(); ++i)
        planTuner(guids.at(i), messages);
    addMessage(errorText, messages);
    return messages.isEmpty();
}

bool TunerBookingManager::planProductions(const REPORTGENERATOR::IRGObject& object, QString& errorText)
{
    return planProductions(Booking(object), errorText);
}

void TunerBookingManager::undoProductionPlanning(const Booking& booking)
{
    const QPointer<TunerBookingManager> guard(this);
    const QStringList guids = booking.getTunerGUIDs();
    for (int i = 0; guard && i < guids.size(); ++i)
        undoTunerPlanning(guids.at(i));
}

void TunerBookingManager::undoProductionPlanning(const REPORTGENERATOR::IRGObject& object)
{
    undoProductionPlanning(Booking(object));
}

void TunerBookingManager::Update(Observable* source, TChangeCode code)
{
    const values::StringValue* const value = m_binding.Get();
    if (!source || source != value || code != eChangeValue || value->GetStringValue().isEmpty())
        return;
    ResourceOverview overview;
    if (read(m_reader, overview, value->GetStringValue()))
        sl_updateTuners(overview);
}

void TunerBookingManager::sl_updateTuners(const ResourceOverview& overview)
{
    const ResourceOverview previous = std::exchange(m_overview, overview);
    const QVector<Tuner>& after = tuners();
    const bool wasUnique = m_listedGuids.isUnique();
    ListMatching<Tuner> matching(previous.GetTuner(), after, m_listedGuids);
    const std::vector<int> places = otherStates(previous.GetTuner(), after, matching);
    matching.hand(m_listedGuids);
    if (wasUnique && m_listedGuids.isUnique()) {
        for (const int place : places)
            enter(after.at(place));
    } else {
        for (const Tuner& tuner : after)
            enter(tuner);
    }
    announceChanges();
}

void TunerBookingManager::enter(const Tuner& tuner)
{
    const QString& guid = ResourceGuid::of(tuner);
    const State reported = reportedState(tuner);
    const State old = m_states.value(guid, eFree);
    // A planned tuner stays planned while the server calls it idle; this is meant.
    if (guid.isEmpty() || old == reported || (old == ePlanned && reported == eFree))
        return;
    m_plans.remove(guid);
    if (reported == eFree)
        m_states.remove(guid);
    else
        m_states.insert(guid, reported);
    m_changes.push_back({guid, old, reported});
}

void TunerBookingManager::announceChanges()
{
    const QPointer<TunerBookingManager> guard(this);
    while (guard && !m_changes.empty()) {
        const Change change = std::move(m_changes.front());
        m_changes.pop_front();
        Q_EMIT si_TunerStateChanged(change.guid, change.oldState, change.newState);
    }
}

} // namespace Kolta
