#pragma once

#include <distribution/branchowner.h>
#include <distribution/changecollector.h>

#include <functional>
#include <memory>

namespace distribution {

/// A branch of a value tree for the owner that publishes it.
class OwnedTree final : public IOwnedTree
{
public:
    /// `changed`: see ChangeCollector::MakeRegion().
    OwnedTree(ChangeCollector& collector, const QStringList& roots, std::function<void()> changed);

    /// Nothing is collected any more: somebody else may publish or mirror what is there.
    void LetGo();

    Changes TakeChanges() override;
    Executed Execute(const Writer& writer, const Changes& changes) override;
    Content ReadCollection(const QString& path) override;

private:
    QString perform(const Change& change);
    QString add(const Change& change);
    QString set(const Change& change);
    QString order(const Change& change);
    QString runCommands(const Change& change);

    ChangeCollector& m_collector;
    std::unique_ptr<ChangeRegion> m_region;
    Changes m_before; ///< collected, but not in Execute()
};

} // namespace distribution
