#include <koltacommon/event.h>

#include <QCoreApplication>

namespace Kolta {

namespace {

/// The word for programs and the title for people of each number.
struct Words
{
    const char* word;
    const char* title;
};

constexpr Words kWeights[] = {{"note", QT_TRANSLATE_NOOP("Kolta::Event", "Note")},
                              {"attention", QT_TRANSLATE_NOOP("Kolta::Event", "Attention")},
                              {"alarm", QT_TRANSLATE_NOOP("Kolta::Event", "Alarm")}};
constexpr Words kKinds[] = {{"state", QT_TRANSLATE_NOOP("Kolta::Event", "State")},
                            {"message", QT_TRANSLATE_NOOP("Kolta::Event", "Message")},
                            {"startup", QT_TRANSLATE_NOOP("Kolta::Event", "Start-up")},
                            {"resource", QT_TRANSLATE_NOOP("Kolta::Event", "Resource")},
                            {"processor", QT_TRANSLATE_NOOP("Kolta::Event", "Processor")},
                            {"production", QT_TRANSLATE_NOOP("Kolta::Event", "Production")},
                            {"hardware", QT_TRANSLATE_NOOP("Kolta::Event", "Hardware")},
                            {"ownership", QT_TRANSLATE_NOOP("Kolta::Event", "Ownership")},
                            {"link", QT_TRANSLATE_NOOP("Kolta::Event", "Link")},
                            {"branch", QT_TRANSLATE_NOOP("Kolta::Event", "Branch")},
                            {"operation", QT_TRANSLATE_NOOP("Kolta::Event", "Operation")},
                            {"user", QT_TRANSLATE_NOOP("Kolta::Event", "User")},
                            {"program", QT_TRANSLATE_NOOP("Kolta::Event", "Program")}};
static_assert(sizeof kKinds / sizeof *kKinds == Event::kKindCount, "one row for each kind");

template<class Enum, int N>
bool find(const Words (&table)[N], const QString& word, Enum& number)
{
    for (int i = 0; i < N; ++i) {
        if (word == QLatin1String(table[i].word)) {
            number = static_cast<Enum>(i);
            return true;
        }
    }
    return false;
}

template<class Enum>
QString title(const Words* table, Enum number)
{
    return QCoreApplication::translate("Kolta::Event", table[static_cast<int>(number)].title);
}

} // namespace

uint qHash(const EventSubject& subject, uint seed)
{
    return ::qHash(subject.guid, seed) ^ (::qHash(subject.server, seed) * 31U) ^
           static_cast<uint>(subject.type);
}

QJsonObject Event::toJson() const
{
    QJsonObject object{{QStringLiteral("time"), timeText()},
                       {QStringLiteral("server"), server()},
                       {QStringLiteral("kind"), word(kind)},
                       {QStringLiteral("weight"), word(weight)},
                       {QStringLiteral("text"), text}};
    if (!guid().isEmpty())
        object[QStringLiteral("guid")] = guid();
    return object;
}

QString Event::timeText() const
{
    return time.toString(Qt::ISODateWithMs);
}

QString Event::word(Kind kind)
{
    return QLatin1String(kKinds[static_cast<int>(kind)].word);
}

QString Event::word(Weight weight)
{
    return QLatin1String(kWeights[static_cast<int>(weight)].word);
}

bool Event::fromWord(const QString& word, Kind& kind)
{
    return find(kKinds, word, kind);
}

bool Event::fromWord(const QString& word, Weight& weight)
{
    return find(kWeights, word, weight);
}

QString Event::title(Kind kind)
{
    return Kolta::title(kKinds, kind);
}

QString Event::title(Weight weight)
{
    return Kolta::title(kWeights, weight);
}

} // namespace Kolta
