#include <simulation/misbehaviour.h>

namespace KoltaSimulation {

namespace {

enum class Occasion { Listening, Link, Request, Production };

struct KindInfo
{
    Misbehaviour kind;
    const char* name;
    Occasion occasion;
    int defaultArgument; ///< -1 where there is none or the seed decides
    bool takesArgument;
};

constexpr KindInfo kKindInfos[] = {
    {Misbehaviour::Refuse, "refuse", Occasion::Listening, -1, false},
    {Misbehaviour::CloseAtOnce, "close-at-once", Occasion::Link, -1, false},
    {Misbehaviour::StopReading, "stop-reading", Occasion::Link, -1, false},
    {Misbehaviour::Garbage, "garbage", Occasion::Link, 1000, true},
    {Misbehaviour::Silent, "silent", Occasion::Request, -1, false},
    {Misbehaviour::Reset, "reset", Occasion::Request, -1, false},
    {Misbehaviour::Delay, "delay", Occasion::Request, 100, true},
    {Misbehaviour::WrongId, "wrong-id", Occasion::Request, -1, false},
    {Misbehaviour::Twice, "twice", Occasion::Request, -1, false},
    {Misbehaviour::WrongComponent, "wrong-component", Occasion::Request, -1, false},
    {Misbehaviour::ForgedText, "forged-text", Occasion::Request, -1, false},
    {Misbehaviour::Cut, "cut", Occasion::Request, -1, true},
    {Misbehaviour::Split, "split", Occasion::Request, 1, true},
    {Misbehaviour::Merge, "merge", Occasion::Request, 20, true},
    {Misbehaviour::BrokenFrame, "broken-frame", Occasion::Request, -1, true},
    {Misbehaviour::BrokenXml, "broken-xml", Occasion::Request, -1, false},
    {Misbehaviour::Oversize, "oversize", Occasion::Request, 17 * 1024 * 1024, true},
    {Misbehaviour::Deep, "deep", Occasion::Request, 10000, true},
    {Misbehaviour::NonUtf8, "non-utf8", Occasion::Request, -1, false},
    {Misbehaviour::RefuseProduction, "refuse-production", Occasion::Production, -1, true},
    {Misbehaviour::DelayProduction, "delay-production", Occasion::Production, 100, true},
    {Misbehaviour::SilentProduction, "silent-production", Occasion::Production, -1, false},
    {Misbehaviour::BrokenProduction, "broken-production", Occasion::Production, -1, false},
    {Misbehaviour::StrayStop, "stray-stop", Occasion::Production, -1, false},
};

const KindInfo* infoOf(Misbehaviour kind)
{
    for (const KindInfo& info : kKindInfos) {
        if (info.kind == kind)
            return &info;
    }
    return nullptr;
}

const KindInfo* infoOf(const QString& name)
{
    for (const KindInfo& info : kKindInfos) {
        if (name == QLatin1String(info.name))
            return &info;
    }
    return nullptr;
}

bool readNumber(const QString& text, int& number)
{
    bool ok = false;
    const int value = text.toInt(&ok);
    if (!ok || value < 0)
        return false;
    number = value;
    return true;
}

bool readKind(const QString& part, MisbehaviourRule& rule, QString& error)
{
    const QString name = part.section(QLatin1Char('='), 0, 0);
    const KindInfo* info = infoOf(name);
    if (!info) {
        error = QStringLiteral("unknown misbehaviour \"%1\", expected one of %2")
                    .arg(name, misbehaviourNames().join(QStringLiteral(", ")));
        return false;
    }
    rule.kind = info->kind;
    if (!part.contains(QLatin1Char('=')))
        return true;
    const QString argument = part.section(QLatin1Char('='), 1);
    if (!info->takesArgument) {
        error = QStringLiteral("\"%1\" takes no argument, found \"%2\"").arg(name, argument);
        return false;
    }
    if (info->kind == Misbehaviour::RefuseProduction) {
        rule.text = argument;
        return true;
    }
    // Pieces of no bytes would never make a whole reply.
    if (!readNumber(argument, rule.argument) || (info->kind == Misbehaviour::Split && rule.argument == 0)) {
        error = QStringLiteral("\"%1\" expects a number as its argument, found \"%2\"").arg(name, argument);
        return false;
    }
    return true;
}

bool readOption(const QString& part, MisbehaviourRule& rule, QString& error)
{
    const QString name = part.section(QLatin1Char('='), 0, 0);
    const QString value = part.section(QLatin1Char('='), 1);
    bool ok = false;
    if (name == QLatin1String("component")) {
        rule.component = value;
        ok = !value.isEmpty();
    } else if (name == QLatin1String("after")) {
        ok = readNumber(value, rule.after);
    } else if (name == QLatin1String("times")) {
        ok = readNumber(value, rule.times);
    } else if (name == QLatin1String("chance")) {
        rule.chance = value.toDouble(&ok);
        ok = ok && rule.chance >= 0.0 && rule.chance <= 1.0;
    }
    if (!ok) {
        error =
            QStringLiteral("found \"%1\", expected component=NAME, after=N, times=N or chance=0…1").arg(part);
    }
    return ok;
}

} // namespace

QString misbehaviourName(Misbehaviour kind)
{
    const KindInfo* info = infoOf(kind);
    return info ? QString(QLatin1String(info->name)) : QStringLiteral("none");
}

QStringList misbehaviourNames()
{
    QStringList names;
    for (const KindInfo& info : kKindInfos)
        names.append(QLatin1String(info.name));
    return names;
}

bool MisbehaviourRule::fromText(const QString& text, MisbehaviourRule& rule, QString& error)
{
    MisbehaviourRule read;
    const QStringList parts = text.split(QLatin1Char(','));
    if (!readKind(parts.first(), read, error))
        return false;
    for (int i = 1; i < parts.size(); ++i) {
        if (!readOption(parts.at(i), read, error))
            return false;
    }
    rule = read;
    return true;
}

bool MisbehaviourPlan::refuses() const
{
    for (const Entry& entry : m_rules) {
        if (entry.rule.kind == Misbehaviour::Refuse)
            return true;
    }
    return false;
}

MisbehaviourPlan::Decision MisbehaviourPlan::decideLink()
{
    return decide(static_cast<int>(Occasion::Link), QString());
}

MisbehaviourPlan::Decision MisbehaviourPlan::decideRequest(const QString& component)
{
    return decide(static_cast<int>(Occasion::Request), component);
}

MisbehaviourPlan::Decision MisbehaviourPlan::decideProduction(const QString& kind)
{
    Decision decision = decide(static_cast<int>(Occasion::Production), kind);
    if (decision.kind == Misbehaviour::RefuseProduction && decision.text.isEmpty())
        decision.text = QStringLiteral("Refused on demand");
    return decision;
}

MisbehaviourPlan::Decision MisbehaviourPlan::decide(int occasion, const QString& component)
{
    for (Entry& entry : m_rules) {
        const MisbehaviourRule& rule = entry.rule;
        const KindInfo* info = infoOf(rule.kind);
        if (!info || static_cast<int>(info->occasion) != occasion)
            continue;
        const bool meant =
            info->occasion == Occasion::Link || rule.component.isEmpty() || rule.component == component;
        if (meant && fires(entry))
            return {info->kind, rule.argument < 0 ? info->defaultArgument : rule.argument, rule.text};
    }
    return {};
}

bool MisbehaviourPlan::fires(Entry& entry)
{
    if (entry.seen < entry.rule.after) {
        ++entry.seen;
        return false;
    }
    if (entry.rule.times >= 0 && entry.done >= entry.rule.times)
        return false;
    if (entry.rule.chance < 1.0) {
        // Not a standard distribution: those give other numbers with other libraries.
        const double drawn = static_cast<double>(m_random()) / 4294967296.0;
        if (drawn >= entry.rule.chance)
            return false;
    }
    ++entry.done;
    return true;
}

int MisbehaviourPlan::randomBelow(int bound)
{
    return bound <= 0 ? 0 : static_cast<int>(m_random() % static_cast<quint32>(bound));
}

QByteArray MisbehaviourPlan::garbage(int count)
{
    QByteArray bytes(count, '\0');
    for (char& byte : bytes)
        byte = static_cast<char>(m_random() & 0xFF);
    if (count > 0 && bytes.at(0) == '\n')
        bytes[0] = '\xFF';
    return bytes;
}

} // namespace KoltaSimulation
