#pragma once

#include <koltacommon/export.h>

#include <QDateTime>
#include <QHash>
#include <QJsonObject>
#include <QMetaType>
#include <QString>

namespace Kolta {

/// What something that happens is about. Two are equal when server, type and GUID are.
struct EventSubject
{
    enum class Type : int {
        None,
        Server, ///< its GUID is empty
        Tuner,
        Unit, ///< for processing or storage
        Processor,
        Production,
        Link,   ///< its "GUID" is the link's name
        Branch, ///< its "GUID" is the branch's name
        User
    };

    Type type = Type::None;
    QString server; ///< address; empty for what belongs to no server
    QString guid;   ///< as the server writes it

    bool operator==(const EventSubject& other) const
    {
        return type == other.type && guid == other.guid && server == other.server;
    }
    bool operator!=(const EventSubject& other) const { return !(*this == other); }
};

KOLTA_COMMON_EXPORT uint qHash(const EventSubject& subject, uint seed = 0);

/// Something that happened in the installation, as a value. Copies are cheap.
struct KOLTA_COMMON_EXPORT Event
{
    enum class Weight : int {
        Note,
        Attention, ///< somebody should look at it
        Alarm      ///< something that worked does not any more, and nobody asked for it
    };
    enum class Kind : int {
        State,   ///< a server's working state; it has come or gone
        Message, ///< a server's status message
        Startup, ///< errors of a server's start-up
        Resource,
        Processor,
        Production, ///< answers to requests, ended productions
        Hardware,   ///< hardware processing
        Ownership,
        Link,
        Branch,
        Operation, ///< what was asked for here, and how it ended
        User,
        Program ///< the program that tells of it
    };
    static constexpr int kKindCount = static_cast<int>(Kind::Program) + 1;

    /// For `state`.
    static constexpr int kUnchanged = -2;
    static constexpr int kGone = -1;

    QDateTime time; ///< local
    Weight weight = Weight::Note;
    Kind kind = Kind::Program;
    EventSubject subject;
    /// What the subject is from now on: a SERVER_STATES::eServerState, a TunerBookingManager::eTunerState, 1
    /// for a unit that is registered and 0 for one that is not, 1 for a processor that runs; kGone,
    /// kUnchanged.
    int state = kUnchanged;
    bool sawBegin = true; ///< false: `state` was found, and had begun nobody knows when
    QString name;         ///< of the subject
    QString text;         ///< one line, without time and server: "tuner ZELM 1 Nord is in use"
    // GUIDs, of processors; empty for none.
    QString production;
    QString tuner;
    QString holder; ///< the processor that holds it

    const QString& server() const noexcept { return subject.server; }
    const QString& guid() const noexcept { return subject.guid; }

    /// "time", "server", "kind", "weight", "text", and "guid" where there is one.
    QJsonObject toJson() const;
    /// The time with milliseconds, as programs read it: "2026-11-21T09:58:05.803".
    QString timeText() const;

    /// One word in lower case for programs, the same in every language.
    static QString word(Kind kind);
    static QString word(Weight weight);
    /// The reverse; false for any other text.
    static bool fromWord(const QString& word, Kind& kind);
    static bool fromWord(const QString& word, Weight& weight);
    /// The same for people, translated.
    static QString title(Kind kind);
    static QString title(Weight weight);
};

} // namespace Kolta

Q_DECLARE_METATYPE(Kolta::Event)
