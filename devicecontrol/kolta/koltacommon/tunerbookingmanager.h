#pragma once

#include <koltacommon/export.h>
#include <koltacommon/guidindex.h>
#include <koltacommon/instancecount.h>
#include <koltacommon/tunerbooking.h>
#include <koltacommon/tunerneeds.h>
#include <koltacommon/valuebinding.h>

#include <resourcemodel/resources.h>
#include <resourcemodel/textreader.h>
#include <values/value.h>

#include <QHash>
#include <QObject>

#include <deque>

namespace Kolta {

class KoltaResourceObserver;

/// Plans the tuners of one server before productions are started, so that no tuner is promised twice.
///
/// A state is kept per tuner GUID. It comes from the resource overview, except that a free tuner can be
/// planned; it stays planned while the server reports it idle, and leaves that state when the server reports
/// it in use (the production has started) or inaccessible, when planning is undone, or by clearPlanning().
/// Plans are local: the server and other processes do not know of them. Each has a number, by which whoever
/// made it can undo it and no other; see TunerPlan.
///
/// Free is what has no entry in the table of states. A tuner is known when the last overview lists it or the
/// table has it: a listed tuner can be planned although it has always been free, and a tuner that vanished
/// from the overview is unknown if it was free, but keeps any other state, above all a plan, until an
/// overview names it again. The empty text is no GUID: such a tuner is listed, but never free, planned or
/// reported. Of several tuners with one GUID the last in the overview counts, and each change on the way to
/// it is announced.
///
/// Error texts collect messages (see addMessage()); they are added to and never cleared here. Lives on the
/// thread of its server interface; nothing throws.
class KOLTA_COMMON_EXPORT TunerBookingManager : public QObject, public IObserver
{
    Q_OBJECT

public:
    enum eTunerState : int {
        eFree = 0,         ///< accessible and idle
        eInUse = 1,        ///< accessible, not idle
        eInaccessible = 2, ///< also the answer for unknown GUIDs
        ePlanned = 3       ///< planned by this manager
    };
    Q_ENUM(eTunerState)

    /// What init() leads to.
    enum eUpdateMode : int {
        eFollowOverview = 0, ///< the present overview is taken over, then every later one
        eReadOnce = 1        ///< only the present one; the owner calls sl_updateTuners() with later ones
    };
    Q_ENUM(eUpdateMode)

    using Booking = TunerBooking;

    explicit TunerBookingManager(QObject* parent = nullptr, eUpdateMode updateMode = eFollowOverview);
    ~TunerBookingManager() override;

    /// Each of these replaces the source of overviews that was given before and keeps the states.
    /// `resourceObserver` is not owned and may die first.
    void init(const KoltaResourceObserver& resourceObserver);
    /// Reads the overview in the value "/Resources" below `serverPath`, the path of the server's
    /// administrative node. False, with a trace line, when there is no such value or its text cannot be read;
    /// in the latter case a good text that follows is still taken over. An empty text is no overview yet.
    bool init(const QString& serverPath);

    /// What a server's record says of its tuner.
    static eTunerState reportedState(const RESOURCEMANAGEMENT::Tuner& tuner);
    /// Inaccessible for an unknown GUID.
    eTunerState getTunerState(const QString& guid) const;
    /// Whether the tuner is known.
    bool existsTuner(const QString& guid) const;
    /// The tuners of the last overview.
    QVector<RESOURCEMANAGEMENT::Tuner> getAllTuners() const;
    int getOverallNumberOfTuners() const;
    /// Those of the last overview that can be planned.
    QVector<RESOURCEMANAGEMENT::Tuner> getFreeTuners() const;
    int getNumberOfFreeTuners() const;

    /// True when the tuner was free and now is planned; else a message is added and nothing changes.
    bool planTuner(const QString& guid, QString& errorText);
    /// The same for a tuner that must be able to do what is needed, see misfitOf().
    bool planTuner(const QString& guid, const TunerNeeds& needs, QString& errorText);
    /// Number of the tuner's plan, which no other plan of this manager has or will have; 0 when it is not
    /// planned.
    quint64 planNumber(const QString& guid) const { return m_plans.value(guid); }
    /// Makes a planned tuner free, whoever planned it; false when it was not planned.
    bool undoTunerPlanning(const QString& guid);
    /// The same for that plan alone.
    bool undoTunerPlanning(const QString& guid, quint64 number);
    /// Makes all planned tuners free.
    void clearPlanning();

    /// Whether planProductions() would succeed now; else one message per tuner that stands in the way, where
    /// an unknown tuner is called inaccessible, and one that an earlier production of the same booking takes
    /// is called planned. For a booking that is not valid, one message. Changes nothing.
    bool verifyBooking(const Booking& booking, QString& errorText) const;
    bool verifyBooking(const REPORTGENERATOR::IRGObject& object, QString& errorText) const;
    /// Plans every tuner of the booking, in its order. True when all are planned; else one message per tuner
    /// that is not, and the others stay planned. Undoing such a booking would also free tuners that another
    /// booking planned: verify first, or undo single tuners. A booking that is not valid fails.
    bool planProductions(const Booking& booking, QString& errorText);
    bool planProductions(const REPORTGENERATOR::IRGObject& object, QString& errorText);
    /// Makes every planned tuner of the booking free, whoever planned it.
    void undoProductionPlanning(const Booking& booking);
    void undoProductionPlanning(const REPORTGENERATOR::IRGObject& object);

    /// Called by the value tree: reads the overview again. A text that cannot be read is traced and changes
    /// nothing; neither does an empty text or the value's deletion.
    void Update(Observable* source, TChangeCode code) override;

public Q_SLOTS:
    /// Takes a new overview: first all states, then the announcements in the order of the overview.
    /// Receivers may plan, undo, give a further overview, or delete this. A nested overview first announces
    /// what is still due from the one before, so the changes of a tuner always arrive in their order.
    void sl_updateTuners(const RESOURCEMANAGEMENT::ResourceOverview& overview);

Q_SIGNALS:
    /// An overview changed the tuner's state. One that is seen for the first time counts as free until then.
    void si_TunerStateChanged(const QString& guid, Kolta::TunerBookingManager::eTunerState oldState,
                              Kolta::TunerBookingManager::eTunerState newState);
    /// The tuner was planned here, or its plan was undone. When an overview ends a plan, si_TunerStateChanged
    /// tells it.
    void si_PlanningChanged(const QString& guid, bool planned);

private:
    struct Change
    {
        QString guid;
        eTunerState oldState;
        eTunerState newState;
    };

    void dropSource();
    const QVector<RESOURCEMANAGEMENT::Tuner>& tuners() const { return m_overview.GetTuner(); }
    bool isListed(const QString& guid) const;
    bool isFree(const RESOURCEMANAGEMENT::Tuner& tuner) const;
    void enter(const RESOURCEMANAGEMENT::Tuner& tuner);
    void announceChanges();

    const eUpdateMode m_updateMode;
    ValueBinding<values::StringValue> m_binding;
    REPORTGENERATOR::TextReader m_reader; ///< of the bound value
    QMetaObject::Connection m_observerConnection;

    RESOURCEMANAGEMENT::ResourceOverview m_overview;    ///< the last one
    GuidIndex<RESOURCEMANAGEMENT::Tuner> m_listedGuids; ///< of the last overview's tuners, always
    QHash<QString, eTunerState> m_states;               ///< never eFree
    QHash<QString, quint64> m_plans;                    ///< the number of each that is planned
    quint64 m_lastPlan = 0;
    std::deque<Change> m_changes; ///< made and not announced yet
    InstanceCount<TunerBookingManager> m_instanceCount;
};

} // namespace Kolta
