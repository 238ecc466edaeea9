#pragma once

#include <koltacommon/export.h>
#include <koltacommon/tunerclasscostfunction.h>
#include <koltacommon/tunerneeds.h>

#include <resourcemodel/resources.h>

#include <QSet>
#include <QString>
#include <QStringList>
#include <QVector>

#include <functional>

/// \file
/// Why a tuner was chosen or refused, in a form that can be shown.

namespace Kolta {

/// Why a tuner does not come into question. The first reason in this order is given, with what it cannot do
/// after everything that a caller's wishes say.
enum class TunerRefusal {
    None,              ///< it does come into question
    NotAccessible,     ///< the server does not reach it
    NotIdle,           ///< something uses it
    Excluded,          ///< the caller's exclude function said so
    NoMatchingStorage, ///< it has no direct interface to any of the wanted storages
    NotChosen,         ///< the cost function, asked for the cheapest of what was left, chose none
    NotInTree,         ///< it has no place in the tuner class tree: its tuner ID is empty
    OutOfRange,        ///< the needed frequency is not among its own
    TooNarrow          ///< its band is narrower than needed, or it has no hardware processing
};

/// What a tuner must be to come into question. Refuses nothing unless told to.
class KOLTA_COMMON_EXPORT TunerFilter
{
public:
    /// Returns true for a tuner that must not be used; may be empty.
    using Exclude = std::function<bool(const RESOURCEMANAGEMENT::Tuner&)>;

    TunerFilter() = default;
    /// Free tuners alone, less those that `exclude` names. If there are `storageGuids`, a tuner must have an
    /// interface to one of these storages (GUIDs are compared as texts, exactly).
    static TunerFilter freeTuners(const Exclude& exclude = Exclude(),
                                  const QStringList& storageGuids = QStringList());
    /// The same rules without accessibility and idleness.
    static TunerFilter anyTuners(const Exclude& exclude, const QStringList& storageGuids = QStringList());

    /// The same filter for tuners that can do what is needed; see misfitOf().
    TunerFilter withNeeds(const TunerNeeds& needs) const;
    const TunerNeeds& needs() const noexcept { return m_needs; }

    /// Asks the exclude function at most once.
    TunerRefusal refusalOf(const RESOURCEMANAGEMENT::Tuner& tuner) const
    {
        return refusalOf(tuner, refusalByState(tuner));
    }
    /// The same for those who have kept what refusalByState() said of the tuner.
    TunerRefusal refusalOf(const RESOURCEMANAGEMENT::Tuner& tuner, TunerRefusal byState) const
    {
        if (m_freeOnly && byState != TunerRefusal::None)
            return byState;
        return m_hasWishes ? refusalByWishes(tuner) : TunerRefusal::None;
    }
    /// Whether the tuner is not accessible or not idle.
    static TunerRefusal refusalByState(const RESOURCEMANAGEMENT::Tuner& tuner);

private:
    TunerRefusal refusalByWishes(const RESOURCEMANAGEMENT::Tuner& tuner) const;
    bool hasStorage(const RESOURCEMANAGEMENT::Tuner& tuner) const;

    bool m_freeOnly = false;
    bool m_hasWishes = false; ///< an exclude function, storages or needs
    Exclude m_exclude;
    TunerNeeds m_needs;
    QSet<QString> m_storageGuids;
};

/// A tuner that was considered.
struct TunerCandidate
{
    RESOURCEMANAGEMENT::Tuner tuner;
    int cost = 0;                                ///< as the policy says
    int depth = 0;                               ///< DefaultCostFunction::notInTree without a place
    double bandwidth = 0.0;                      ///< Hz, as the default policy weighs it
    bool hardwareProcessing = false;             ///< supports it
    bool panoramaScan = false;                   ///< supports it
    TunerRefusal refusal = TunerRefusal::None;   ///< why it does not come into question
    TunerCriterion ahead = TunerCriterion::None; ///< what puts it ahead of the next one in question
    QString detail;                              ///< more about a refusal, for people; may be empty
};

/// How a choice comes about.
struct KOLTA_COMMON_EXPORT TunerSelection
{
    QString className;
    bool classExists = false;
    /// The tuners in question in the order in which they would be chosen, one after the other; then the
    /// refused ones, in that order too; last the tuners of the overview without a place in the tree.
    QVector<TunerCandidate> candidates;

    /// The tuner that selectTuner() returns; null when it returns an empty one.
    const TunerCandidate* chosen() const;
};

/// What one class of several gets when tuners are handed out in order.
struct TunerAllotment
{
    QString className;
    bool served = false;
    /// What the class gets. Without being served: the tuner that it would have got first; empty if the class
    /// has no tuners at all.
    RESOURCEMANAGEMENT::Tuner tuner;
    /// Without being served: place in the list of the class that holds this tuner; else -1.
    int heldBy = -1;
};

/// Short translated texts, such as "lower cost" and "in use"; empty for None.
KOLTA_COMMON_EXPORT QString toText(TunerCriterion criterion);
KOLTA_COMMON_EXPORT QString toText(TunerRefusal refusal);
/// How many tuners were refused for which reason, "2 in use, 1 out of range", or the detail of a single
/// one.
KOLTA_COMMON_EXPORT QString refusalSummary(const TunerSelection& selection);

} // namespace Kolta
