#include "linktraffic.h"

#include <koltacommon/viewtime.h>

#include <QLocale>

#include <utility>

namespace KoltaConsole {

namespace {

constexpr int kShowMs = 100;

constexpr const char* kTitles[] = {
    QT_TRANSLATE_NOOP("KoltaConsole::LinkTraffic", "Time"),
    QT_TRANSLATE_NOOP("KoltaConsole::LinkTraffic", "Direction"),
    QT_TRANSLATE_NOOP("KoltaConsole::LinkTraffic", "Bytes"),
    QT_TRANSLATE_NOOP("KoltaConsole::LinkTraffic", "Took"),
    QT_TRANSLATE_NOOP("KoltaConsole::LinkTraffic", "Message"),
};

bool isNumber(int column)
{
    return column == LinkTraffic::eBytesColumn || column == LinkTraffic::eTookColumn;
}

} // namespace

LinkTraffic::LinkTraffic(MessageTap messages, QObject* parent)
    : NewestFirst(parent), m_messages(std::move(messages))
{
    m_showing.setSingleShot(true);
    m_showing.setInterval(kShowMs);
    connect(&m_showing, &QTimer::timeout, this, &LinkTraffic::showNew);
}

LinkTraffic::~LinkTraffic() = default;

bool LinkTraffic::start()
{
    if (m_tap)
        return true;
    auto tap = std::make_unique<QObject>();
    if (!m_messages(tap.get(), [this](LinkMessage message) { take(std::move(message)); }))
        return false;
    m_tap = std::move(tap);
    m_since = Kolta::ViewTime::now();
    return true;
}

void LinkTraffic::stop()
{
    if (!m_tap)
        return;
    m_tap.reset();
    m_since = Kolta::ViewTime::now();
    showNew();
}

void LinkTraffic::take(LinkMessage message)
{
    m_new.push_back(std::move(message));
    if (m_new.size() > kMost)
        m_new.pop_front(); // the view would drop it at once
    if (!m_showing.isActive())
        m_showing.start();
}

void LinkTraffic::showNew()
{
    m_showing.stop();
    putOnTop(m_new);
}

QString LinkTraffic::textOf(int row) const
{
    const LinkMessage& message = rowAt(row);
    QString text = QString::fromUtf8(message.text);
    if (message.isShortened)
        text += QLatin1Char('\n') +
                tr("… shortened: this is the beginning of %1 bytes.").arg(QLocale().toString(message.bytes));
    return text;
}

int LinkTraffic::columnCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : eColumnCount;
}

QVariant LinkTraffic::data(const QModelIndex& index, int role) const
{
    if (!index.isValid() || index.row() >= rowCount())
        return {};
    const LinkMessage& message = rowAt(index.row());
    if (role == Qt::TextAlignmentRole && isNumber(index.column()))
        return int(Qt::AlignRight | Qt::AlignVCenter);
    if (role != Qt::DisplayRole)
        return {};
    switch (index.column()) {
    case eTimeColumn:
        return message.time.toString(QStringLiteral("HH:mm:ss.zzz"));
    case eDirectionColumn:
        return message.isSent ? tr("sent") : tr("received");
    case eMessageColumn:
        return message.sentence;
    case eBytesColumn:
        return QLocale().toString(message.bytes);
    default:
        return message.tookMs < 0 ? QString() : tr("%1 ms").arg(message.tookMs);
    }
}

QVariant LinkTraffic::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation != Qt::Horizontal || section < 0 || section >= eColumnCount)
        return {};
    if (role == Qt::TextAlignmentRole && isNumber(section))
        return int(Qt::AlignRight | Qt::AlignVCenter);
    return role == Qt::DisplayRole ? QVariant(tr(kTitles[section])) : QVariant();
}

} // namespace KoltaConsole
