#pragma once

#include <distribution/carrier.h>
#include <distribution/export.h>

#include <QString>
#include <QUuid>

#include <optional>
#include <vector>

namespace distribution {

/// What a topic is for.
enum class TopicKind { Live, Beat, Log, State, Up, Presence };

/// A topic taken apart. What its kind does not have is empty or 0.
struct Topic
{
    TopicKind kind = TopicKind::Live;
    QString branch;
    quint16 channel = 0; ///< log, state
    quint16 part = 0;    ///< state
    Bytes user;          ///< up, presence: the broker's user name
    QUuid session;       ///< up, presence
};

/// The names of all topics below one prefix: written and read here alone. The major version of the encoding
/// is a level of each, so that peers of another version do not meet.
class KOLTA_DISTRIBUTION_EXPORT Topics
{
public:
    /// `prefix` may have several levels; "kolta" gives "kolta/1/b/S1/live".
    explicit Topics(const Bytes& prefix = "kolta");

    Bytes Live(const QString& branch) const { return ofBranch(branch) + "/live"; }
    Bytes Beat(const QString& branch) const { return ofBranch(branch) + "/beat"; }
    Bytes Log(const QString& branch, quint16 channel) const;
    /// Without the level of the part, which follows as a number.
    Bytes State(const QString& branch, quint16 channel) const;
    Bytes Up(const QString& branch, const Bytes& user, const QUuid& session) const;
    Bytes Presence(const Bytes& user, const QUuid& session) const;

    /// Filters: what all writers say to an owner; all parts of a channel's state; what a mirror follows for
    /// good, of one branch or (empty) of all; what an owner does.
    Bytes UpFilter(const QString& branch) const { return ofBranch(branch) + "/up/#"; }
    Bytes StateFilter(const QString& branch, quint16 channel) const;
    std::vector<Bytes> MirrorFilters(const QString& branch = QString(), bool collections = true) const;
    std::vector<Bytes> OwnerFilters(const QString& branch) const;

    /// Whether a filter of MirrorFilters() or StateFilter() concerns this branch and no other.
    bool IsReadOf(const QString& branch, const Bytes& filter) const;
    /// Nothing for a topic that is none of these.
    std::optional<Topic> Parse(const Bytes& topic) const;

private:
    Bytes ofBranch(const QString& branch) const;

    Bytes m_prefix; ///< with the version, without a slash at the end
};

/// Whether a text can be one level of a topic as it is: not empty, without "+", "#", "/", broken characters
/// and those that nobody sees.
KOLTA_DISTRIBUTION_EXPORT bool IsTopicLevel(const QString& text);
/// Whether it can be the first levels of all topics.
KOLTA_DISTRIBUTION_EXPORT bool IsTopicPrefix(const QString& text);
/// Whether the broker's user name, in UTF-8, can be a level, which access lists need.
KOLTA_DISTRIBUTION_EXPORT bool IsUsableUser(const Bytes& user);
/// Why a branch cannot have this name, in one line; empty when it can. Names are shown in lines and tables,
/// and typed by people: they are not empty, at most 256 bytes long in UTF-8, and without "/", "+", "#",
/// broken characters and those that nobody sees.
KOLTA_DISTRIBUTION_EXPORT QString WhyNoBranchName(const QString& name);
/// Client identifier of a branch's owner, of which the broker admits one.
KOLTA_DISTRIBUTION_EXPORT Bytes OwnerClientId(const QString& branch);
/// Whether a filter as of ICarrier::Subscribe() covers a topic.
KOLTA_DISTRIBUTION_EXPORT bool MatchesFilter(const Bytes& filter, const Bytes& topic);

} // namespace distribution
