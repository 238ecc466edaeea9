#pragma once

#include <koltacommon/export.h>

#include <QString>
#include <QVector>

#include <cmath>
#include <memory>
#include <vector>

namespace RESOURCEMANAGEMENT {
class Tuner;
}

namespace Kolta {

class TunerClassTree;
struct TunerPlace;

/// A policy that says which of several tuners is to be used. Derive from it, or from DefaultCostFunction, and
/// hand it to TunerClassResourceSelector. What its operations throw passes through the selector.
class KOLTA_COMMON_EXPORT AbstractTunerClassCostFunction
{
public:
    virtual ~AbstractTunerClassCostFunction();

    /// The tree in which the tuners are looked up from now on.
    virtual void init(const std::shared_ptr<TunerClassTree>& tree) = 0;
    /// What the use of the tuner costs; the lower the better.
    virtual int calculateCost(const RESOURCEMANAGEMENT::Tuner& tuner) const = 0;
    /// Whether `a` is to be preferred to `b`.
    virtual bool cheaperThan(const RESOURCEMANAGEMENT::Tuner& a,
                             const RESOURCEMANAGEMENT::Tuner& b) const = 0;
    /// The preferred tuner of the list; its end when the list is empty. Scans from the front: a later tuner
    /// replaces the best so far only if it is cheaper than that.
    virtual QVector<RESOURCEMANAGEMENT::Tuner>::const_iterator
    cheapestOf(const QVector<RESOURCEMANAGEMENT::Tuner>& tuners) const;

protected:
    AbstractTunerClassCostFunction() = default;
    AbstractTunerClassCostFunction(const AbstractTunerClassCostFunction&) = default;
    AbstractTunerClassCostFunction& operator=(const AbstractTunerClassCostFunction&) = default;
};

/// What decided between two tuners.
enum class TunerCriterion {
    None,               ///< nothing: there is no second tuner
    Cost,               ///< lower cost
    Depth,              ///< fewer enclosing classes
    Bandwidth,          ///< smaller bandwidth, by at least 1 Hz
    HardwareProcessing, ///< does without hardware processing
    PanoramaScan,       ///< does without panorama scan
    DisplayName,        ///< name sorts first
    Guid,               ///< GUID sorts first
    ListOrder,          ///< equal in everything; stands first in the list
    Policy              ///< a policy other than the default one said so
};

/// What the default policy weighs in a tuner.
struct TunerWeights
{
    const RESOURCEMANAGEMENT::Tuner* tuner; ///< for its names; not owned
    int cost;
    int depth;
    double bandwidth; ///< Hz
    bool hardwareProcessing;
    bool panoramaScan;
};

/// Outcome of a comparison: `order` is negative when the first tuner is preferred, positive when the second,
/// 0 (with the criterion ListOrder) when they are equal in everything.
struct TunerVerdict
{
    int order;
    TunerCriterion criterion;
};

/// The policy that is used unless another is given: a cheap, small and plain tuner is used first, and the
/// capable ones stay free. The first criterion that differs decides, in the order of TunerCriterion.
///
/// Bandwidths that differ by less than 1 Hz do not decide, and so preference is not transitive: 0 Hz may lose
/// to 0.6 Hz by name, that to 1.2 Hz by name too, and 1.2 Hz to 0 Hz by bandwidth. Which of them is chosen
/// depends on their order in the list.
class KOLTA_COMMON_EXPORT DefaultCostFunction : public AbstractTunerClassCostFunction
{
public:
    /// Cost and depth of a tuner that is not in the tree.
    static constexpr int kNotInTree = 2147483647;

    void init(const std::shared_ptr<TunerClassTree>& tree) override;
    /// Sum of the cost penalties of all classes that enclose the tuner, kept within the range of int;
    /// `kNotInTree` for a tuner that is not in the tree, -1 without a tree. Of several tuners with one tuner
    /// ID all have the cost and the depth of the first item with that ID. Takes the time of a look-up.
    int calculateCost(const RESOURCEMANAGEMENT::Tuner& tuner) const override;
    /// Without a tree cost and depth are the same for all tuners.
    bool cheaperThan(const RESOURCEMANAGEMENT::Tuner& a, const RESOURCEMANAGEMENT::Tuner& b) const override;
    /// The same tuner as the scan of the base finds, but each tuner is weighed only once. (In a class derived
    /// from this one it is that scan.)
    QVector<RESOURCEMANAGEMENT::Tuner>::const_iterator
    cheapestOf(const QVector<RESOURCEMANAGEMENT::Tuner>& tuners) const override;

    const std::shared_ptr<TunerClassTree>& tree() const noexcept { return m_tree; }
    /// Whether this is the default policy itself and not one derived from it.
    static bool isExactly(const AbstractTunerClassCostFunction& policy);

    /// Looks the tuner up in the tree. The result refers to `tuner`.
    TunerWeights weigh(const RESOURCEMANAGEMENT::Tuner& tuner) const;
    static TunerWeights weigh(const TunerPlace& place);
    static TunerVerdict compare(const TunerWeights& a, const TunerWeights& b)
    {
        if (a.cost != b.cost)
            return {a.cost < b.cost ? -1 : 1, TunerCriterion::Cost};
        if (a.depth != b.depth)
            return {a.depth < b.depth ? -1 : 1, TunerCriterion::Depth};
        if (isDecisive(a.bandwidth, b.bandwidth))
            return {a.bandwidth < b.bandwidth ? -1 : 1, TunerCriterion::Bandwidth};
        return compareCapabilities(a, b);
    }
    /// The places of `candidates` in the order in which they are chosen: first the one that the scan of
    /// cheapestOf() chooses, then the one it chooses among the rest, and so on. No tuner is less preferred
    /// than the next one. Takes the time of sorting, save for chains of bandwidths that are neighbours within
    /// 1 Hz but more than 1 Hz apart from end to end: these take time in the square of their length.
    static std::vector<int> orderOfChoice(const std::vector<TunerWeights>& candidates);

private:
    class ChoiceSorter;
    /// Whether bandwidths decide; two infinite ones do not.
    static bool isDecisive(double a, double b) { return std::abs(a - b) >= 1.0; }
    /// The criteria after the bandwidth.
    static TunerVerdict compareCapabilities(const TunerWeights& a, const TunerWeights& b);

    std::shared_ptr<TunerClassTree> m_tree;
};

} // namespace Kolta
