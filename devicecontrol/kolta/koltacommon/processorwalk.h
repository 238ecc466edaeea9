#pragma once

#include <koltacommon/guidindex.h>
#include <resourcemodel/processors.h>

#include <type_traits>

/// The one place that knows how running processors are nested. Searching, collecting GUIDs, clearing them,
/// counting and booking are visitors of this walk.
///
///     ProcessorWalk::walk(overview, plan, [](auto& node, auto& parent) { ...; return ProcessorWalk::eInto;
///     });
///
/// A visitor is called with every node before the node's children and decides how to go on. Node and parent
/// come with their own types (SCP, MCP, FFP, DSC, FHP, FHA; the parent of an SCP or MCP is the
/// ProcessorOverview, the parent of the walk's root is a NoParent), const when the walked object is const.
/// Walking a const object copies nothing; walking a non-const one detaches the lists on its way from their
/// shared copies.
namespace Kolta::ProcessorWalk {

using RESOURCEMANAGEMENT::DSC;
using RESOURCEMANAGEMENT::FFP;
using RESOURCEMANAGEMENT::FHA;
using RESOURCEMANAGEMENT::FHP;
using RESOURCEMANAGEMENT::MCP;
using RESOURCEMANAGEMENT::ProcessorOverview;
using RESOURCEMANAGEMENT::SCP;

enum eStep {
    eInto, ///< go on with the node's children
    eOver, ///< skip the node's children, and its leaving
    eStop  ///< end the walk
};

/// Which branches are walked, and in which order. The default is the order of searches.
struct Plan
{
    bool mcpsFirst = false;      ///< MCPs before SCPs
    bool dscsBeforeFhps = false; ///< in an MCP: FFPs, DSCs, FHPs instead of FFPs, FHPs, DSCs
    bool ffpOfScp = true;
    bool fhpOfScp = false;
};

/// Stands for the parent of the object that a walk starts from.
struct NoParent
{
};

/// Whether A is B, const or not.
template<class A, class B>
constexpr bool isA = std::is_same_v<std::remove_const_t<A>, B>;

// One walk, in pieces; users call walk() and walkBranch().
namespace Detail {

template<class Node>
auto& scps(Node& n)
{
    if constexpr (std::is_const_v<Node>)
        return n.GetSCP();
    else
        return n.EditSCP();
}
template<class Node>
auto& mcps(Node& n)
{
    if constexpr (std::is_const_v<Node>)
        return n.GetMCP();
    else
        return n.EditMCP();
}
template<class Node>
auto& ffps(Node& n)
{
    if constexpr (std::is_const_v<Node>)
        return n.GetFFP();
    else
        return n.EditFFP();
}
template<class Node>
auto& dscs(Node& n)
{
    if constexpr (std::is_const_v<Node>)
        return n.GetDSC();
    else
        return n.EditDSC();
}
template<class Node>
auto& fhps(Node& n)
{
    if constexpr (std::is_const_v<Node>)
        return n.GetFHP();
    else
        return n.EditFHP();
}
template<class Node>
auto& fhas(Node& n)
{
    if constexpr (std::is_const_v<Node>)
        return n.GetFHA();
    else
        return n.EditFHA();
}

/// The walk itself; plan and visitors must outlive it.
template<class Enter, class Leave>
class Walker
{
public:
    Walker(const Plan& plan, Enter& enter, Leave& leave) : m_plan(plan), m_enter(enter), m_leave(leave) {}

    /// These return false when the visitor stopped the walk.
    template<class Node, class Parent>
    bool node(Node& n, Parent& parent)
    {
        const eStep step = m_enter(n, parent);
        if (step != eInto)
            return step == eOver;
        if (!children(n))
            return false;
        m_leave(n);
        return true;
    }

    template<class Node>
    bool children(Node& n)
    {
        if constexpr (isA<Node, ProcessorOverview>)
            return m_plan.mcpsFirst ? each(mcps(n), n) && each(scps(n), n)
                                    : each(scps(n), n) && each(mcps(n), n);
        else if constexpr (isA<Node, SCP>)
            return (!m_plan.ffpOfScp || !n.IsFFPSet() || node(ffps(n), n)) &&
                   (!n.IsDSCSet() || node(dscs(n), n)) &&
                   (!m_plan.fhpOfScp || !n.IsFHPSet() || node(fhps(n), n));
        else if constexpr (isA<Node, MCP>)
            return each(ffps(n), n) && (m_plan.dscsBeforeFhps ? each(dscs(n), n) && each(fhps(n), n)
                                                              : each(fhps(n), n) && each(dscs(n), n));
        else if constexpr (isA<Node, FHP>)
            return each(fhas(n), n) && each(ffps(n), n);
        else if constexpr (isA<Node, DSC>)
            return each(ffps(n), n);
        else
            return true;
    }

private:
    template<class List, class Parent>
    bool each(List& list, Parent& parent)
    {
        for (auto& n : list) {
            if (!node(n, parent))
                return false;
        }
        return true;
    }

    const Plan& m_plan;
    Enter& m_enter;
    Leave& m_leave;
};

/// Leaves nodes without a word.
struct NoLeave
{
    template<class Node>
    void operator()(Node&) const
    {
    }
};

} // namespace Detail

/// Walks `root` and everything below it; a ProcessorOverview itself is not visited, its SCPs and MCPs are.
/// `enter(node, parent)` returns an eStep; `leave(node)` is called after the children of a node that was gone
/// into. False when the visitor stopped the walk.
template<class Root, class Enter, class Leave = Detail::NoLeave>
bool walk(Root& root, const Plan& plan, Enter&& enter, Leave&& leave = Leave())
{
    Detail::Walker<std::remove_reference_t<Enter>, std::remove_reference_t<Leave>> walker(plan, enter, leave);
    if constexpr (isA<Root, ProcessorOverview>) {
        return walker.children(root);
    } else {
        const NoParent none;
        return walker.node(root, none);
    }
}

/// Walks one SCP or MCP of an overview as the walk of the whole overview would.
template<class Node, class Overview, class Enter>
bool walkBranch(Node& node, Overview& overview, const Plan& plan, Enter&& enter)
{
    Detail::NoLeave leave;
    return Detail::Walker<std::remove_reference_t<Enter>, Detail::NoLeave>(plan, enter, leave)
        .node(node, overview);
}

/// Calls `function` with `object` as what it is: ProcessorOverview, SCP, MCP, DSC, FFP, FHP or FHA. False,
/// and nothing is called, for any other object.
template<class Object, class Function>
bool withProcessorType(Object& object, Function&& function)
{
    const auto tryAs = [&](auto* type) {
        using Type = std::remove_pointer_t<decltype(type)>;
        using Target = std::conditional_t<std::is_const_v<Object>, const Type, Type>;
        auto* const target = dynamic_cast<Target*>(&object);
        if (target)
            function(*target);
        return target != nullptr;
    };
    return tryAs(static_cast<ProcessorOverview*>(nullptr)) || tryAs(static_cast<SCP*>(nullptr)) ||
           tryAs(static_cast<MCP*>(nullptr)) || tryAs(static_cast<DSC*>(nullptr)) ||
           tryAs(static_cast<FFP*>(nullptr)) || tryAs(static_cast<FHP*>(nullptr)) ||
           tryAs(static_cast<FHA*>(nullptr));
}

/// A copy of the node without what is below it.
template<class Node>
Node withoutChildren(Node node)
{
    if constexpr (isA<Node, SCP> || isA<Node, MCP>) {
        node.ResetFFP();
        node.ResetDSC();
        node.ResetFHP();
    } else if constexpr (isA<Node, FHP>) {
        node.ResetFHA();
        node.ResetFFP();
    } else if constexpr (isA<Node, DSC>) {
        node.ResetFFP();
    }
    return node;
}

/// Whether two nodes of one kind are equal but for what is below them.
template<class Node>
bool sameOwnData(const Node& a, const Node& b)
{
    if constexpr (isA<Node, FFP> || isA<Node, FHA>)
        return a == b;
    else // copies instead of a list of fields: a field that the model gains is compared, too
        return withoutChildren(a) == withoutChildren(b);
}

/// The GUID of a node's resource; empty when it has none.
template<class Node>
const QString& guidOf(const Node& node)
{
    return ResourceGuid::of(node.GetKoltaProcessor());
}

/// What stands for the GUID of a tuner where there is none.
inline constexpr char kNoTuner[] = "none";

/// The GUID of the tuner that an FFP or a data source names; empty when that is none.
template<class Owner>
QString tunerIn(const Owner& owner)
{
    return owner.GetTunerGUID() == QLatin1String(kNoTuner) ? QString() : owner.GetTunerGUID();
}

/// The GUID of the tuner that feeds a node; empty when none does so directly.
template<class Node>
QString tunerOf(const Node& node)
{
    if constexpr (isA<Node, FFP>)
        return tunerIn(node);
    else if constexpr (isA<Node, SCP> || isA<Node, MCP>)
        return tunerIn(node.GetDataSource());
    else
        return QString();
}

} // namespace Kolta::ProcessorWalk
