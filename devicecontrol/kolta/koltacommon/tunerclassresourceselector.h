#pragma once

#include <koltacommon/export.h>
#include <koltacommon/tunerassignment.h>
#include <koltacommon/tunerclasscostfunction.h>
#include <koltacommon/tunerselection.h>

#include <QString>
#include <QStringList>
#include <QVector>

#include <memory>

namespace RESOURCEMANAGEMENT {
class ResourceOverview;
class TunerClassOverview;
} // namespace RESOURCEMANAGEMENT

namespace Kolta {

/// Picks tuners by their class.
///
/// The selector is given a tuner class overview and a resource overview, and builds the tuner class tree from
/// them at the first query after a change; the tree is then kept. The tuners of a class are all those below
/// the first class of that name, nested classes included. A class that does not exist has no tuners. Which
/// tuner is preferred is up to the cost function, which gets every new tree by its init().
///
/// A policy belongs to one selector: the init() of another would give it a tree in which the first one's
/// tuners have no place. Its init() must not query the selector.
///
/// Tuners are the same if their GUIDs are; all tuners without GUID count as one. Nothing throws but what a
/// cost function or exclude function throws; an exclude function may use the selector. Not thread-safe, and
/// const operations are no exception.
class KOLTA_COMMON_EXPORT TunerClassResourceSelector
{
public:
    /// Chooses by a DefaultCostFunction.
    TunerClassResourceSelector();
    /// Chooses by the given policy, which is shared; by a DefaultCostFunction if it is empty.
    explicit TunerClassResourceSelector(const std::shared_ptr<AbstractTunerClassCostFunction>& costFunction);
    ~TunerClassResourceSelector();
    TunerClassResourceSelector(TunerClassResourceSelector&&) noexcept;
    TunerClassResourceSelector& operator=(TunerClassResourceSelector&&) noexcept;

    /// These keep (implicitly shared) copies. The next query builds the tree anew, or keeps it when it turns
    /// out that no tuner came, went or got another tuner ID. A policy other than DefaultCostFunction always
    /// gets a new tree.
    void setResourceOverview(const RESOURCEMANAGEMENT::ResourceOverview& resources);
    /// Replaces the tuners alone.
    void setResourceOverview(const QVector<RESOURCEMANAGEMENT::Tuner>& tuners);
    void setTunerClassOverview(const RESOURCEMANAGEMENT::TunerClassOverview& tunerClasses);

    /// The tuner of that class to be used: the cost function's choice among those that are free, that
    /// `exclude` does not name and that have an interface to one of the storages, if any are given. An empty
    /// tuner if there is none.
    RESOURCEMANAGEMENT::Tuner selectTuner(const QString& className) const;
    RESOURCEMANAGEMENT::Tuner selectTuner(const QString& className, const TunerFilter::Exclude& exclude,
                                          const QStringList& storageGuids) const;
    /// The same among those that `filter` accepts.
    RESOURCEMANAGEMENT::Tuner selectTuner(const QString& className, const TunerFilter& filter) const;
    /// How selectTuner() comes to its result: all tuners of the class, each with the reason for its place in
    /// the order or for its refusal. Copies them, and orders them all; see
    /// DefaultCostFunction::orderOfChoice(). Other policies are asked once per candidate, with shrinking
    /// lists.
    TunerSelection explainSelection(const QString& className,
                                    const TunerFilter::Exclude& exclude = TunerFilter::Exclude(),
                                    const QStringList& storageGuids = QStringList()) const;
    /// The same for the choice among those that `filter` accepts; what they cannot do is said in detail.
    TunerSelection explainSelection(const QString& className, const TunerFilter& filter) const;

    /// Whether tuners for all these classes exist. Hands them out in order, to each class its cheapest one
    /// that is left, whether or not it is free at present (this is meant). Greedy: a class takes its cheapest
    /// tuner even if a later one needs that very tuner; assignTuners() does better. `errors`, which may be
    /// null, gets one message for each class that is left without, as often as it is.
    bool canBeRunSimultaneously(const QStringList& classNames, QStringList* errors = nullptr) const;
    /// Who gets what in canBeRunSimultaneously(), one entry per class.
    QVector<TunerAllotment> explainSimultaneousUse(const QStringList& classNames) const;

    /// Gives each class a tuner of its own whenever that is possible, at the least total cost; see
    /// matchTuners() for what else is promised. Without a filter, whether a tuner is free plays no part.
    TunerAssignment assignTuners(const QStringList& classNames,
                                 const TunerFilter& filter = TunerFilter()) const;

    /// Name of the resource demand class that a production on a tuner of that class needs; empty when there
    /// is no such class.
    QString getMCPResourceDemandClassForTunerClass(const QString& className) const;

private:
    struct Private;
    std::unique_ptr<Private> d;
};

} // namespace Kolta
