#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>
#include <QVector>

#include <random>

namespace KoltaSimulation {

/// What a server may do wrong.
enum class Misbehaviour {
    None,
    // while listening
    Refuse, ///< does not listen: connections are refused
    // on a link that has just opened
    CloseAtOnce, ///< closes the link before anything was said
    StopReading, ///< accepts the link and never reads from it
    Garbage,     ///< sends random bytes nobody asked for; argument: how many (1000)
    // on a request
    Silent,         ///< never answers
    Reset,          ///< resets the link instead of answering
    Delay,          ///< answers later; argument: milliseconds (100)
    WrongId,        ///< answers with an ID that the request did not have
    Twice,          ///< sends the reply two times
    WrongComponent, ///< answers for a component that was not asked
    ForgedText,     ///< answers with a fault whose text looks like a line of its own
    // on the bytes of a reply
    Cut,   ///< closes the link after some bytes of the reply; argument: how many (any number, by the seed)
    Split, ///< sends the reply in pieces; argument: bytes in a piece (1)
    Merge, ///< collects replies and sends them in one go; argument: milliseconds (20)
    BrokenFrame, ///< a chunk header that is none; argument: which kind, 0 to 4 (any, by the seed)
    BrokenXml,   ///< the reply without its last closing tag
    Oversize,    ///< a reply that is too long; argument: bytes of its data (17 MiB)
    Deep,        ///< a reply that is nested too deep; argument: levels (10000)
    NonUtf8,     ///< a reply with bytes that are no UTF-8
    // on a request for a production or a move
    RefuseProduction, ///< refuses; text: the reason ("Refused on demand")
    DelayProduction,  ///< decides later; argument: milliseconds (100)
    SilentProduction, ///< does nothing and never answers
    BrokenProduction, ///< does as asked, with an answer that is none
    StrayStop         ///< first says that a production has ended which nobody knows
};

/// The word by which a misbehaviour is known on the command line, "cut" for instance.
QString misbehaviourName(Misbehaviour kind);
/// All words, in the order of the enumeration, without "none".
QStringList misbehaviourNames();

/// When a server misbehaves, and how.
struct MisbehaviourRule
{
    Misbehaviour kind = Misbehaviour::None;
    int argument = -1;   ///< see Misbehaviour; -1 takes the default
    QString text;        ///< see Misbehaviour; empty takes the default
    QString component;   ///< requests to this component only; empty for all. Means nothing for links. For
                         ///< productions it is "SCP", "MCP", "FFP" or "move".
    int after = 0;       ///< lets this many matching occasions pass first
    int times = -1;      ///< then misbehaves so often; -1 for always
    double chance = 1.0; ///< then misbehaves with this probability, decided by the plan's seed

    /// Reads "KIND[=ARGUMENT][,component=NAME][,after=N][,times=N][,chance=P]". False when the text is not
    /// one; `error` then says what is wrong and what was expected.
    static bool fromText(const QString& text, MisbehaviourRule& rule, QString& error);
};

/// Decides on each occasion what goes wrong: the first rule that applies wins. The same rules, seed and order
/// of occasions always give the same decisions.
class MisbehaviourPlan
{
public:
    explicit MisbehaviourPlan(quint32 seed = 1) : m_random(seed) {}

    /// The outcome of one occasion.
    struct Decision
    {
        Misbehaviour kind = Misbehaviour::None;
        int argument = -1; ///< never -1 where the kind has a default
        QString text;      ///< never empty where the kind has a default
    };

    void add(const MisbehaviourRule& rule) { m_rules.push_back({rule, 0, 0}); }
    void clear() { m_rules.clear(); }
    /// Starts the random numbers again.
    void reseed(quint32 seed) { m_random.seed(seed); }

    /// Whether connections are to be refused.
    bool refuses() const;
    /// A link has opened.
    Decision decideLink();
    /// A request to `component` is about to be answered.
    Decision decideRequest(const QString& component);
    /// A request for a production is about to be decided; `kind` is "SCP", "MCP", "FFP", "move", or empty for
    /// one that cannot be read.
    Decision decideProduction(const QString& kind);

    /// A number from 0 below `bound`, from the plan's random numbers.
    int randomBelow(int bound);
    /// Random bytes that never begin a frame.
    QByteArray garbage(int count);

private:
    struct Entry
    {
        MisbehaviourRule rule;
        int seen;
        int done;
    };
    bool fires(Entry& entry);
    Decision decide(int occasion, const QString& component);

    QVector<Entry> m_rules;
    std::mt19937 m_random;
};

} // namespace KoltaSimulation
