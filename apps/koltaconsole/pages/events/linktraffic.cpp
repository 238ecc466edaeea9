#include "linktraffic.h"

#include <koltacommon/koltaconnection.h>
#include <koltacommon/koltaconnectionsviewer.h>
#include <koltaconsole/session/serverfacts.h>
#include <startup/clock.h>
#include <xmlmessaging/messagecodec.h>

#include <QLocale>

#include <algorithm>
#include <utility>

namespace KoltaConsole {

using XmlCommon::CMsgFragment;
using XmlCommon::CXmlMessage;

namespace {

constexpr int kShowMs = 100;
constexpr int kToldParts = 3; ///< of a message, in its sentence

constexpr const char* kTitles[] = {
    QT_TRANSLATE_NOOP("KoltaConsole::LinkTraffic", "Time"),
    QT_TRANSLATE_NOOP("KoltaConsole::LinkTraffic", "Direction"),
    QT_TRANSLATE_NOOP("KoltaConsole::LinkTraffic", "Bytes"),
    QT_TRANSLATE_NOOP("KoltaConsole::LinkTraffic", "Took"),
    QT_TRANSLATE_NOOP("KoltaConsole::LinkTraffic", "Message"),
};

QString partSentence(CXmlMessage::eSERVICE_TYPES service, const CMsgFragment& part)
{
    const QString component = part.getComponentName();
    if (part.hasFaultTree())
        return LinkTraffic::tr("%1 refuses: %2")
            .arg(component, Kolta::KoltaConnection::getFaultText(part).simplified());
    const QString asked = part.getRequestTree().getDataTree().getRootTagname().toString();
    const QString data = part.getDataTree().getRootTagname().toString();
    switch (service) {
    case CXmlMessage::eSERVICE_QUERY:
        return LinkTraffic::tr("asks %1 for %2").arg(component, asked);
    case CXmlMessage::eSERVICE_COMMAND:
        return LinkTraffic::tr("orders %2 from %1").arg(component, asked);
    case CXmlMessage::eSERVICE_QUERY_REPLY:
    case CXmlMessage::eSERVICE_COMMAND_REPLY:
        return data.isEmpty() ? LinkTraffic::tr("%1 has done it").arg(component)
                              : LinkTraffic::tr("%1 answers with %2").arg(component, data);
    case CXmlMessage::eSERVICE_BROADCAST:
        return LinkTraffic::tr("%1 tells of %2").arg(component, data);
    default:
        return LinkTraffic::tr("a message of an unknown kind, about %1").arg(component);
    }
}

QString sentenceOf(const CXmlMessage& message)
{
    QStringList parts;
    const int count = message.getNumberOfFragments();
    for (int place = 0; place < std::min(count, kToldParts); ++place)
        parts.append(partSentence(message.getServiceType(), message.getFragment(place)));
    if (count > kToldParts)
        parts.append(LinkTraffic::tr("%n more part(s)", nullptr, count - kToldParts));
    return count == 0 ? LinkTraffic::tr("an empty message") : parts.join(QStringLiteral("; "));
}

/// The beginning of an XML text, broken into lines; to indent all of a long one would take too long.
QByteArray beginningOf(const QByteArray& xml)
{
    int end = LinkTraffic::kMostText;
    while (end > 0 && (static_cast<unsigned char>(xml.at(end)) & 0xC0U) == 0x80U) // within a character
        --end;
    return xml.left(end).replace("><", ">\n<");
}

bool isNumber(int column)
{
    return column == LinkTraffic::eBytesColumn || column == LinkTraffic::eTookColumn;
}

} // namespace

LinkTraffic::LinkTraffic(quint32 link, QObject* parent) : NewestFirst(parent), m_link(link)
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
    const auto take = [this](bool isSent, const XmlCommon::ptrCXmlMessage& message) {
        this->take(isSent, *message);
    };
    if (!Kolta::KoltaConnectionsViewer::Instance().tap(m_link, tap.get(), take))
        return false;
    m_tap = std::move(tap);
    m_askedId = 0;
    m_since = QDateTime::currentDateTime();
    return true;
}

void LinkTraffic::stop()
{
    if (!m_tap)
        return;
    m_tap.reset();
    m_since = QDateTime::currentDateTime();
    showNew();
}

/// The message is filled with its reply later, so all of it that is shown is read now.
void LinkTraffic::take(bool isSent, const CXmlMessage& message)
{
    LinkMessage taken;
    taken.time = QDateTime::currentDateTime();
    taken.isSent = isSent;
    taken.sentence = sentenceOf(message);
    QByteArray xml;
    XmlCommon::MessageCodec::encode(message, xml);
    taken.bytes = xml.size();
    taken.text =
        xml.size() > kMostText ? beginningOf(xml) : XmlCommon::MessageCodec::toReadable(message).toUtf8();
    const qint64 now = Startup::Clock::instance().now();
    if (isSent) {
        m_askedId = message.getMessageID();
        m_askedAt = now;
    } else if (m_askedId != 0 && message.getMessageID() == m_askedId) {
        taken.tookMs = now - m_askedAt;
        m_askedId = 0;
    }
    m_new.push_back(std::move(taken));
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
    if (message.bytes > kMostText)
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
