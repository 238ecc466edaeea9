#pragma once

#include <distribution/export.h>
#include <distribution/messages.h>

#include <QString>
#include <QUuid>

namespace distribution {

/// Who wishes for a change.
struct Writer
{
    Bytes user; ///< name of the broker's user, which the broker vouches for
    QUuid session;
};

/// Decides at the owner what writers may change. On the owner's thread; it changes nothing.
class KOLTA_DISTRIBUTION_EXPORT IWritePolicy
{
public:
    virtual ~IWritePolicy() = default;
    /// `path` is below the branch's roots. `compare`: the wish names what the writer has seen. `ownItem`: the
    /// writer's session has added the item.
    struct Request
    {
        const Writer& writer;
        const QString& path;
        Operation operation;
        bool compare;
        bool ownItem;
    };
    virtual bool Allows(const Request& request) const = 0;

    IWritePolicy(const IWritePolicy&) = delete;
    IWritePolicy& operator=(const IWritePolicy&) = delete;

protected:
    IWritePolicy() = default;
};

/// Everybody may change everything.
class KOLTA_DISTRIBUTION_EXPORT OpenPolicy final : public IWritePolicy
{
public:
    bool Allows(const Request& /*request*/) const override { return true; }
};

/// What clients of a server do below its administrative node, and nothing else:
/// add below RequestsNode, Clients and ConnectionInfo, change there what the own session has added, and
/// remove it; set and announce the request values; compare-and-set the texts that are written as a whole;
/// commands on the collections of short-time data.
class KOLTA_DISTRIBUTION_EXPORT ServerPolicy final : public IWritePolicy
{
public:
    /// `administration`: path of the node, ".../ADMINISTRATION".
    explicit ServerPolicy(const QString& administration);
    bool Allows(const Request& request) const override;

private:
    QString m_administration;
    QString m_shortTime; ///< what the paths of the collections begin with
};

} // namespace distribution
