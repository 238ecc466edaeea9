#include "actionlines.h"

#include "commalist.h"
#include "profilemembers.h"
#include "shellwords.h"

#include <koltacommon/guidtext.h>
#include <koltacommon/productionorder.h>
#include <koltacommon/shorttimeffpassignment.h>
#include <koltacommon/shorttimeprofile.h>
#include <koltacommon/units.h>

#include <algorithm>

namespace KoltaApps {

using Kolta::OwnershipJob;
using Kolta::ProductionOrder;
using Kolta::ShortTimeProfile;

namespace {

/// An option with its value, in one word where a value of its own would look like an option.
void add(QStringList& words, const char* option, const QString& value)
{
    const QString name = QStringLiteral("--") + QLatin1String(option);
    if (value.startsWith(QLatin1Char('-')))
        words.append(name + QLatin1Char('=') + value);
    else
        words << name << value;
}

void addUnlessEmpty(QStringList& words, const char* option, const QString& value)
{
    if (!value.isEmpty())
        add(words, option, value);
}

void addHertz(QStringList& words, const char* option, double hertz)
{
    if (hertz > 0)
        add(words, option, Kolta::hertzToText(hertz).remove(QLatin1Char(' ')));
}

/// What the command line takes: of a number without a word it has no word either.
QString typeWord(Kolta::eShortTimeProfileType type)
{
    const QString word = ShortTimeProfile::typeWord(type);
    return word.isNull() ? ShortTimeProfile::typeWord(Kolta::eShortTimeProfileUnspecified) : word;
}

QString guidText(const QUuid& guid)
{
    return guid.toString(QUuid::WithoutBraces);
}

/// GUIDs without braces, which mean something to shells, and everything else as it is.
QString thing(const QString& guidOrName)
{
    const QUuid guid = Kolta::guidFromText(guidOrName);
    return guid.isNull() ? guidOrName : guidText(guid);
}

void addNeeds(QStringList& words, const ProductionOrder& order)
{
    addHertz(words, "frequency", order.frequency);
    addHertz(words, "bandwidth", order.bandwidth);
    for (const QString& storage : order.storageGuids)
        add(words, "storage", thing(storage));
}

QStringList things(const QStringList& guidsOrNames)
{
    QStringList texts;
    for (const QString& text : guidsOrNames)
        texts.append(thing(text));
    return texts;
}

/// Behind "--", what begins with "-" is no option.
QStringList arguments(const QStringList& words)
{
    const auto looksLikeOption = [](const QString& word) { return word.startsWith(QLatin1Char('-')); };
    return std::any_of(words.begin(), words.end(), looksLikeOption)
               ? QStringList{QStringLiteral("--")} + words
               : words;
}

QString kindWord(const ProductionOrder& order)
{
    return kindName(order.kind).toLower();
}

} // namespace

/// `words` without their arguments, which come last.
QString ActionLines::line(const QStringList& words) const
{
    QStringList all{QStringLiteral("kolta")};
    all += words;
    if (!m_server.isEmpty())
        all = all.mid(0, 2) + QStringList{QStringLiteral("--server"), m_server} + all.mid(2);
    return shellLine(all);
}

namespace {

/// Lines are for a program without translations: what is a title of a kind or weight here is the word there.
QString untranslated(const QString& word)
{
    using Kolta::Event;
    const auto isTitle = [&word](auto value) {
        return word.compare(Event::title(value), Qt::CaseInsensitive) == 0;
    };
    for (int kind = 0; kind < Event::kKindCount; ++kind) {
        if (isTitle(static_cast<Event::Kind>(kind)))
            return Event::word(static_cast<Event::Kind>(kind));
    }
    for (const Event::Weight weight : {Event::Weight::Note, Event::Weight::Attention, Event::Weight::Alarm}) {
        if (isTitle(weight))
            return Event::word(weight);
    }
    return word;
}

} // namespace

QString ActionLines::events(const QString& journal, const Kolta::EventFilter& filter) const
{
    QStringList words{QStringLiteral("events"), QStringLiteral("--csv"), QStringLiteral("--count"),
                      QStringLiteral("0")};
    for (const Kolta::Event::Kind kind : filter.kinds)
        add(words, "kind", Kolta::Event::word(kind));
    if (filter.least != Kolta::Event::Weight::Note)
        add(words, "weight", Kolta::Event::word(filter.least));
    for (const QString& word : filter.words)
        add(words, "word", untranslated(word));
    for (const QString& word : filter.without)
        add(words, "without", untranslated(word));
    addUnlessEmpty(words, "from", filter.from.toString(Qt::ISODate));
    addUnlessEmpty(words, "to", filter.to.toString(Qt::ISODate));
    return line(words + arguments({journal}));
}

QString ActionLines::produce(const ProductionOrder& order) const
{
    if (order.processor || !order.production.isNull() || order.attempts != ProductionOrder().attempts)
        return QString();
    QStringList words{QStringLiteral("produce"), kindWord(order)};
    if (order.tunerGuid.isEmpty())
        addUnlessEmpty(words, "class", order.tunerClass);
    else
        add(words, "tuner", thing(order.tunerGuid));
    if (!order.mcp.isNull())
        add(words, "mcp", guidText(order.mcp));
    addHertz(words, "frequency", order.frequency);
    addHertz(words, "bandwidth", order.bandwidth);
    addUnlessEmpty(words, "demand-class", order.demandClass);
    for (const QString& storage : order.storageGuids)
        add(words, "storage", thing(storage));
    addUnlessEmpty(words, "name", order.displayName);
    return line(words);
}

QString ActionLines::explain(const ProductionOrder& order) const
{
    if (order.tunerClass.isEmpty())
        return QString();
    QStringList words{QStringLiteral("select"), QStringLiteral("--explain")};
    addNeeds(words, order);
    return line(words + arguments({order.tunerClass}));
}

QString ActionLines::plan(const ProductionOrder& order) const
{
    QStringList words{QStringLiteral("plan")};
    if (!order.tunerGuid.isEmpty())
        add(words, "tuner", thing(order.tunerGuid));
    else if (order.tunerClass.isEmpty())
        return QString();
    addNeeds(words, order);
    return line(order.tunerGuid.isEmpty() ? words + arguments({order.tunerClass}) : words);
}

QString ActionLines::stop(const QStringList& processors) const
{
    return line(QStringList{QStringLiteral("stop")} + arguments(things(processors)));
}

QString ActionLines::stopAll() const
{
    return line({QStringLiteral("stop"), QStringLiteral("--all")});
}

QString ActionLines::move(const QString& ffp, const QString& mcp) const
{
    return line(QStringList{QStringLiteral("move")} + arguments(things({ffp, mcp})));
}

QString ActionLines::own(const QString& processor, OwnershipJob::Action action) const
{
    QStringList words{QStringLiteral("own")};
    if (action == OwnershipJob::Action::ForceTake || action == OwnershipJob::Action::ForceRelease)
        words.append(QStringLiteral("--force"));
    if (action == OwnershipJob::Action::Release || action == OwnershipJob::Action::ForceRelease)
        words.append(QStringLiteral("--release"));
    return line(processor.isEmpty() ? words : words + arguments(things({processor})));
}

QString ActionLines::frontEnd(const QString& processor) const
{
    return line(QStringList{QStringLiteral("front-end")} + arguments(things({processor})));
}

QString ActionLines::power(const QString& action, const QStringList& units) const
{
    return line(QStringList{QStringLiteral("power")} + arguments(QStringList{action} + things(units)));
}

QString ActionLines::setProfile(const ShortTimeProfile& p, const QString& before) const
{
    QStringList words{QStringLiteral("profiles"), QStringLiteral("--type"), typeWord(p.type)};
    for (const ProfileMember& member : profileMembers())
        add(words, member.option, member.typed(p));
    if (!before.isEmpty())
        add(words, "rename", p.name);
    return line(words + arguments({QStringLiteral("set"), before.isEmpty() ? p.name : before}));
}

QString ActionLines::removeProfiles(const QStringList& names) const
{
    return line(QStringList{QStringLiteral("profiles")} +
                arguments(QStringList{QStringLiteral("remove")} + names));
}

QString ActionLines::importProfiles(const QString& file, bool replace) const
{
    QStringList words{QStringLiteral("profiles")};
    if (replace)
        words.append(QStringLiteral("--replace"));
    return line(words + arguments({QStringLiteral("import"), file}));
}

QString ActionLines::assign(const Kolta::ShortTimeFFPAssignment& assignment) const
{
    QStringList words{QStringLiteral("assignments")};
    add(words, "profiles", commaList(assignment.profiles));
    add(words, "radio", QString::number(assignment.radioId));
    add(words, "resource", QString::number(assignment.tavikResourceId));
    add(words, "coverage", QString::number(assignment.minCoverage));
    if (!assignment.enabled)
        words.append(QStringLiteral("--disabled"));
    if (assignment.autoRecording)
        words.append(QStringLiteral("--record"));
    return line(words + QStringList{QStringLiteral("set"), thing(assignment.ffpGuid)});
}

QString ActionLines::startConversion(const QString& record, const QString& resultType,
                                     const QString& production) const
{
    QStringList words{QStringLiteral("conversions")};
    addUnlessEmpty(words, "type", resultType);
    addUnlessEmpty(words, "production", production);
    return line(words + arguments({QStringLiteral("start"), record}));
}

QString ActionLines::finishConversion(const QString& record, bool failed, const QString& result) const
{
    QStringList words{QStringLiteral("conversions")};
    if (failed)
        words.append(QStringLiteral("--failed"));
    addUnlessEmpty(words, "result", result);
    return line(words + arguments({QStringLiteral("finish"), record}));
}

QString ActionLines::tidyConversions(int keep, const QDateTime& olderThan, bool failedToo) const
{
    QStringList words{QStringLiteral("conversions"), QStringLiteral("tidy")};
    add(words, "keep", QString::number(keep));
    if (olderThan.isValid())
        add(words, "older-than", olderThan.toUTC().toString(Qt::ISODate));
    if (failedToo)
        words.append(QStringLiteral("--failed"));
    return line(words);
}

QString ActionLines::terminate(Kolta::TerminationJob::Action action) const
{
    const bool isReset = action == Kolta::TerminationJob::Action::Reset;
    return shellLine(QStringList{QStringLiteral("kolta"), QStringLiteral("server")} +
                     arguments({isReset ? QStringLiteral("reset") : QStringLiteral("quit"), m_server}));
}

} // namespace KoltaApps
