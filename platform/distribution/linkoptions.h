#pragma once

#include <distribution/defaults.h>
#include <distribution/export.h>
#include <distribution/mqttoptions.h>

#include <QString>
#include <QStringList>
#include <QUuid>

#include <cstddef>
#include <memory>
#include <optional>

namespace distribution {

class Replay;

/// How a program takes part in a distributed tree. The names of the members are those of the configuration's
/// group "Distribution", where they may be set.
struct KOLTA_DISTRIBUTION_EXPORT LinkOptions
{
    /// Url, User, PasswordFile, CaFile, CertFile, KeyFile, Prefix, KeepAliveS, MaxInboxBytes
    MqttOptions mqtt;
    QStringList branches{QStringLiteral("*")}; ///< that are mirrored; "*": all
    bool collections = true;                   ///< are mirrored, too
    qint64 beatMs = Defaults::kBeatMs;         ///< between two signs of life of an own branch
    qint64 graceMs =
        Defaults::kGraceMs; ///< for which a silent owner is only suspect, and a lost client's items stay
    qint64 deathGraceMs = Defaults::kDeathGraceMs;     ///< the same for an owner that the broker says is dead
    qint64 wishTimeoutMs = Defaults::kWishTimeoutMs;   ///< after which an unanswered change has failed
    std::size_t logBytes = Defaults::kLogBytes;        ///< that an own branch keeps of a channel's log
    std::size_t maxStateBytes = Defaults::kStateBytes; ///< largest unpacked state and content that is taken
    bool takeOver = false;                             ///< an own branch displaces another owner of its name

    // What the configuration has nothing to say about.
    QString host;    ///< of this process, for people
    QString program; ///< the same
    QUuid session = QUuid::createUuid();
    std::shared_ptr<Replay> replay; ///< that is played in the place of a broker; null: none
    QString refusal;                ///< why nothing can be changed; empty: it can
    /// Ends of the paths of values that programs read, change and write back as a whole; of two that do so at
    /// once one is told. To be filled by who knows the installation's nodes.
    QStringList compared;

    /// Those of the configuration; `url` stands for the one there unless it is empty. The URL of a recording
    /// (see ReplayAddress) gives an opened replay. Unless the URL names a user, the broker's access file, if
    /// this user has one, goes before the configuration's user, password, prefix and certificates: the user
    /// of `server` if there is one of that name, else the first. Nothing, and what is wrong in one line, when
    /// a URL does not fit or a recording cannot be played.
    static std::optional<LinkOptions> FromConfiguration(const QString& url, QString& error,
                                                        const QString& server = QString());

    /// The broker's user under which this process is known; "anonymous" for none.
    std::string User() const;
};

/// Where the users of a broker on this machine are written down for the programs of the user who has started
/// it: one `name:password` a line, and `ca=FILE` for the authorities that its certificate is checked by. Only
/// that user can read it.
KOLTA_DISTRIBUTION_EXPORT QString AccessFilePath(const BrokerAddress& address);

} // namespace distribution
