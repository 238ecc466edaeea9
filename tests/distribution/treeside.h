#pragma once

#include <distribution/treelink.h>

#include <values/tree.h>
#include <values/value.h>

#include <support/test.h>

namespace distribution {

inline QString at(const char* name)
{
    return QStringLiteral("/ConnectManager/AdminTree/S1/ADMINISTRATION/") + QLatin1String(name);
}

/// A process's tree and its link, and what is said of it.
struct Side : values::ITreeListener
{
    /// Without `factory` over MQTT; without `given` with a tree of its own.
    explicit Side(const LinkOptions& linkOptions, TreeLink::CarrierFactory factory = {},
                  values::Tree* given = nullptr)
        : tree(given ? *given : own), options(linkOptions), carriers(std::move(factory))
    {
        options.beatMs = 200;
        options.graceMs = 1000;
        options.deathGraceMs = 300;
        options.wishTimeoutMs = kPatienceMs;
        tree.AddListener(this);
    }
    ~Side() override
    {
        tree.RemoveListener(this);
        link.reset();
        tree.Clear();
    }
    void join()
    {
        link.reset();
        link = carriers ? std::make_unique<TreeLink>(tree, carriers, options)
                        : std::make_unique<TreeLink>(tree, options);
    }
    void publish(std::unique_ptr<IWritePolicy> policy = std::make_unique<OpenPolicy>())
    {
        join();
        QSignalSpy published(link.get(), &TreeLink::si_Published);
        link->publish(QStringLiteral("S1"), {QStringLiteral("/ConnectManager/AdminTree/S1")},
                      at("WorkingState"), std::move(policy));
        QVERIFY(published.wait(kPatienceMs));
    }
    void mirror()
    {
        join();
        link->mirror({QStringLiteral("*")});
        QVERIFY(link->waitForLive({QStringLiteral("S1")}, kPatienceMs));
    }
    values::StringValue* value(const char* name) const { return tree.FindAs<values::StringValue>(at(name)); }
    QString text(const char* name) const
    {
        return !value(name)               ? QStringLiteral("none")
               : value(name)->IsDeleted() ? QStringLiteral("deleted")
                                          : value(name)->GetValue();
    }
    void set(const char* name, const QString& text) { value(name)->SetValue(text); }

    void OnItemAdded(values::TreeItem&) override {}
    void OnItemRemoved(values::TreeItem&) override {}
    void OnItemChanged(values::TreeItem& item, TChangeCode code, IObserver*) override
    {
        log << item.GetName() + QLatin1Char(':') + QString::number(code);
    }
    void OnItemAnnounced(values::TreeItem& item, TChangeCode code, IObserver*) override
    {
        log << item.GetName() + QLatin1Char('!') + QString::number(code);
    }
    void OnWishFailed(const QString& path, values::WishFailure failure, const QString&) override
    {
        failures << path.section(QLatin1Char('/'), -1) + QLatin1Char('=') + QString::number(int(failure));
    }

    values::Tree own;
    values::Tree& tree;
    LinkOptions options;
    TreeLink::CarrierFactory carriers;
    QStringList log;
    QStringList failures;
    std::unique_ptr<TreeLink> link; ///< the first to go
};

} // namespace distribution
