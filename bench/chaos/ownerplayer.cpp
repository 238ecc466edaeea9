#include "ownerplayer.h"

#include <values/value.h>

#include <QCoreApplication>

namespace Chaos {

using Kolta::ShortTimeFFPAssignment;
using Kolta::ShortTimeFFPAssignmentItemMap;
using values::StringValue;

namespace {

constexpr int kNameIsTaken = 3; ///< exit code
constexpr int kFloodMessages = 2500;
constexpr int kSharedValues = 6;
constexpr int kSharedKeys = 6;
constexpr int kLargeText = 200000; ///< more than a broker with small packets takes at once

/// Refuses what is there to be refused.
class Policy final : public distribution::IWritePolicy
{
public:
    bool Allows(const Request& request) const override { return request.path != pathOf("no"); }
};

/// The number that a content carries behind its last "#"; 0 for none.
int numberOf(const QString& content)
{
    return content.section(QLatin1Char('#'), 1).isEmpty() ? 0 : content.section(QLatin1Char('#'), -1).toInt();
}

/// "<WRITER>#NUMBER" of each writer.
std::map<QString, QString> linesOf(const QString& whole)
{
    std::map<QString, QString> lines;
    const QStringList all = whole.split(QLatin1Char('\n'));
    for (const QString& line : all) {
        if (line.startsWith(QLatin1Char('<')))
            lines[line.section(QLatin1Char('#'), 0, 0)] = line;
    }
    return lines;
}

} // namespace

OwnerPlayer::OwnerPlayer(const Part& part) : Player(part)
{
    fill();
    connect(m_link.get(), &distribution::TreeLink::si_Published, this, [this] {
        if (!std::exchange(m_isOnline, true)) {
            say(QStringLiteral("online"));
            begin();
        }
    });
    connect(m_link.get(), &distribution::TreeLink::si_PublicationFailed, this,
            [](const QString&, distribution::PublicationState, const QString& reason) {
                std::fprintf(stderr, "%s\n", qPrintable(reason));
                QCoreApplication::exit(kNameIsTaken);
            });
    connect(&m_flooding, &QTimer::timeout, this, [this] {
        m_tree.FindAs<StringValue>(pathOf("flood"))->SetValue(QString::number(++m_flooded));
        if (m_flooded % kFloodMessages == 0)
            m_flooding.stop();
    });
    m_link->publish(kBranch, {kRoot}, pathOf("state"), std::make_unique<Policy>());
}

void OwnerPlayer::fill()
{
    m_tree.Emplace<values::SelectionValue>(pathOf("state"), QMap<int, QString>{{5, QStringLiteral("up")}}, 5);
    m_tree.Emplace<StringValue>(pathOf("whole"), QString(1500, QLatin1Char('.')) + QLatin1Char('\n'));
    m_tree.Emplace<StringValue>(pathOf("no"), QStringLiteral("no"));
    m_tree.Emplace<StringValue>(pathOf("flood"), QStringLiteral("0"));
    m_tree.EnsureNode(pathOf("Clients"));
    for (const char* const name : {"c1", "c2"})
        m_tree.Emplace<ShortTimeFFPAssignmentItemMap>(pathOf(name));
    for (quint64 i = roll(kSharedValues); i > 0; --i)
        m_tree.Emplace<StringValue>(pathOf("v", int(i)),
                                    QString(int(roll(3000)), QLatin1Char(char('a' + roll(20)))));
    m_tree.Emplace<StringValue>(pathOf("large"));
    changeLarge();
}

ShortTimeFFPAssignmentItemMap* OwnerPlayer::collection(int number)
{
    return m_tree.FindAs<ShortTimeFFPAssignmentItemMap>(pathOf("c", number));
}

/// Sometimes all of it, which no packing makes much smaller.
void OwnerPlayer::changeLarge()
{
    auto* const value = m_tree.FindAs<StringValue>(pathOf("large"));
    QString text = value->GetValue();
    if (text.isEmpty() || roll(4) == 0) {
        text.resize(kLargeText);
        for (QChar& letter : text)
            letter = QLatin1Char(char('$' + roll(90)));
    } else {
        text.replace(int(roll(kLargeText - 10)), 5, QString::number(roll(100000)));
    }
    value->SetValue(text);
}

void OwnerPlayer::changeCollection()
{
    const int number = int(1 + roll(2));
    auto* const map = collection(number);
    const QString key = QStringLiteral("k%1").arg(roll(kSharedKeys));
    const auto& open = map->GetPendingRequests();
    const quint64 what = roll(8);
    if (!open.empty() && roll(2)) {
        const QUuid request = open.begin()->first;
        map->ReplyAssignmentChange(request, QString());
    } else if (what == 0 && number == 1) {
        map->Clear();
    } else if (what < 3) {
        map->EraseAt(key);
    } else {
        ShortTimeFFPAssignment item;
        item.ffpGuid = key;
        item.radioId = quint32(roll(1000));
        map->Add(item);
    }
}

void OwnerPlayer::act()
{
    const QString path = pathOf("v", int(roll(kSharedValues)));
    auto* const value = m_tree.FindAs<StringValue>(path);
    const quint64 what = roll(40);
    if (what == 0) {
        changeLarge();
    } else if (what < 4) {
        m_tree.Remove(path);
    } else if (what < 12) {
        changeCollection();
    } else if (!value) {
        m_tree.Emplace<StringValue>(path, QString(int(roll(2) * 1200), QLatin1Char('o')));
    } else if (what < 16) {
        value->Announce(static_cast<TChangeCode>(-1 - int(roll(1000))));
    } else if (value->GetValue().size() > 1100) {
        value->SetValue(QString(value->GetValue())
                            .replace(int(roll(1000)), 5, QStringLiteral("owner%1").arg(roll(100)))
                            .section(QLatin1Char('#'), 0, 0));
    } else {
        value->SetValue(QStringLiteral("o%1").arg(roll(100000)));
    }
}

void OwnerPlayer::flood()
{
    m_flooding.start(0);
}

void OwnerPlayer::noteContent()
{
    note(QStringLiteral("dump"));
    const QString own = pathOf("own");
    const auto children = m_tree.Find(kRoot)->GetChildren();
    for (const values::TreeItem* const child : children) {
        if (child->GetPath().startsWith(own))
            note(QStringLiteral("own %1 %2")
                     .arg(child->GetPath().mid(own.size()))
                     .arg(numberOf(dynamic_cast<const StringValue&>(*child).GetValue())));
    }
    for (const auto& [key, item] : collection(2)->data())
        note(QStringLiteral("key %1 %2").arg(key).arg(item.radioId));
    const QStringList leases = m_tree.Find(pathOf("Clients"))->GetChildNames();
    for (const QString& lease : leases)
        note(QStringLiteral("lease %1").arg(lease));
}

QString OwnerPlayer::status() const
{
    const auto branches = m_link->branches();
    const bool isReady = m_isOnline && !branches.isEmpty() && !m_flooding.isActive() &&
                         branches.first().state == distribution::BranchState::Live;
    return QStringLiteral("%1 %2")
        .arg(isReady ? 1 : 0)
        .arg(branches.isEmpty() ? QString() : branches.first().epoch.toString(QUuid::Id128));
}

void OwnerPlayer::OnItemAdded(values::TreeItem& item)
{
    executed(item);
    // Requests are read and removed.
    if (item.GetPath().startsWith(pathOf("q")))
        m_tree.Remove(item.GetPath());
}

void OwnerPlayer::OnItemChanged(values::TreeItem& item, TChangeCode /*code*/, IObserver* /*by*/)
{
    executed(item);
    // An observer that makes something else of some of what is written.
    if (item.GetPath().startsWith(pathOf("v")) && roll(10) == 0) {
        if (auto* const value = dynamic_cast<StringValue*>(&item))
            value->SetValue(QStringLiteral("answer%1").arg(roll(1000)));
    }
}

void OwnerPlayer::OnItemAnnounced(values::TreeItem& /*item*/, TChangeCode code, IObserver* /*by*/)
{
    if (int(code) > 0)
        note(QStringLiteral("did %1").arg(int(code)));
}

void OwnerPlayer::executed(values::TreeItem& item)
{
    const auto* const value = dynamic_cast<const StringValue*>(&item);
    const int number = value ? numberOf(value->GetValue()) : 0;
    if (number == 0)
        return;
    note(QStringLiteral("did %1").arg(number));
    const QString own = pathOf("own");
    if (item.GetPath().startsWith(own))
        note(QStringLiteral("mine %1 %2").arg(item.GetPath().mid(own.size())).arg(number));
    else if (item.GetPath() == pathOf("whole"))
        checkLines(value->GetValue());
}

/// Of the text that all write as a whole each writer changes its own line only.
void OwnerPlayer::checkLines(const QString& whole)
{
    auto lines = linesOf(whole);
    const QString author = whole.trimmed().section(QLatin1Char('\n'), -1).section(QLatin1Char('#'), 0, 0);
    for (const auto& [writer, line] : m_lines) {
        if (writer != author && lines[writer] != line)
            note(QStringLiteral("lost %1 of %2, by %3").arg(line, writer, author));
    }
    m_lines = std::move(lines);
}

} // namespace Chaos
