#pragma once

#include <distribution/export.h>
#include <distribution/messages.h>

#include <QString>
#include <QStringList>
#include <QUuid>

#include <functional>

namespace distribution {

/// Who wishes for a change.
struct Writer
{
    Bytes user; ///< name of the broker's user, for which the broker's access list vouches
    QUuid session;
    QString host; ///< what the writer says of itself, for people; empty when it has not
    QString program;
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
        const Bytes& content; ///< of Add, Set and Commands
    };
    virtual bool Allows(const Request& request) const = 0;
    /// Why a request is not allowed, for the writer and the record.
    virtual QString WhyNot(const Request& request) const;
    /// Calls `wish`, which changes the tree as `writer` wishes and is allowed to: for policies whose program
    /// wants to know who is writing.
    virtual void Execute(const Writer& writer, const std::function<void()>& wish);

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

/// Where clients of a server write: names of nodes below its administrative node, and its collections.
struct ServerPlaces
{
    QStringList shelves;  ///< below these they keep items of their own
    QStringList requests; ///< values by which they ask for something
    QStringList wholes;   ///< values that they read, change and write back as a whole
    QString collections;  ///< what the paths of those begin with that take commands; empty: none
};

/// What clients of a server do below its administrative node, and nothing else:
/// add below the shelves, change there what the own session has added, and remove it; set and announce the
/// request values; compare-and-set the texts that are written as a whole; commands on the collections of
/// short-time data.
class KOLTA_DISTRIBUTION_EXPORT ServerPolicy final : public IWritePolicy
{
public:
    /// `administration`: path of the node, ".../ADMINISTRATION".
    ServerPolicy(const QString& administration, const ServerPlaces& places);
    bool Allows(const Request& request) const override;

private:
    QString m_administration;
    ServerPlaces m_places;
};

} // namespace distribution
