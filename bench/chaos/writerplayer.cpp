#include "writerplayer.h"

#include <koltacommon/shorttimeffpassignmentitemmap.h>
#include <values/value.h>

namespace Chaos {

using distribution::BranchState;
using Kolta::ShortTimeFFPAssignment;
using Kolta::ShortTimeFFPAssignmentItemMap;
using values::StringValue;

namespace {
constexpr int kNumbersOfOne = 1000000;
}

WriterPlayer::WriterPlayer(const Part& part) : Player(part)
{
    m_link->mirror({QStringLiteral("*")});
    say(QStringLiteral("online"));
    if (part.role == QLatin1String("writer"))
        begin();
}

BranchState WriterPlayer::state() const
{
    const auto branches = m_link->branches();
    return branches.isEmpty() ? BranchState::Unknown : branches.first().state;
}

/// While the branch is lost, only now and then: everything ends at once there.
void WriterPlayer::act()
{
    const BranchState now = state();
    const bool isWritable = now == BranchState::Live || now == BranchState::Suspect;
    if (!m_tree.Find(kRoot) || (!isWritable && roll(20) != 0))
        return;
    for (quint64 i = 1 + roll(3); i > 0; --i)
        change(int(roll(20)), pathOf("v", int(roll(6))));
}

void WriterPlayer::change(int kind, const QString& path)
{
    const auto* const value = m_tree.FindAs<StringValue>(path);
    const QString filler(roll(3) == 0 ? 1300 : 3, QLatin1Char('w'));
    if (kind < 4)
        write(path, filler);
    else if (kind < 6 && value && value->GetValue().size() > 1100)
        write(path, QString(value->GetValue().section(QLatin1Char('#'), 0, 0))
                        .replace(int(roll(1000)), 4, QStringLiteral("edit")));
    else if (kind < 8)
        write(pathOf("q", m_part.id * kNumbersOfOne + m_count + 1), QStringLiteral("please"));
    else if (kind < 10)
        announce(path);
    else if (kind < 14)
        changeCollection();
    else if (kind < 16)
        write(pathOf("own", m_part.id), QStringLiteral("mine"));
    else if (kind < 17)
        write(pathOf("no"), QStringLiteral("forbidden"));
    else if (kind < 18)
        lease();
    else
        writeLine();
}

int WriterPlayer::numbered(const QString& path)
{
    const int number = m_part.id * kNumbersOfOne + ++m_count;
    note(QStringLiteral("made %1 %2").arg(number).arg(path));
    return number;
}

void WriterPlayer::done(int number, bool wasMade)
{
    if (!wasMade)
        note(QStringLiteral("not %1").arg(number));
}

/// Sets the value or adds it.
void WriterPlayer::write(const QString& path, const QString& text)
{
    const int number = numbered(path);
    const QString content = QStringLiteral("%1#%2").arg(text).arg(number);
    auto* const value = m_tree.FindAs<StringValue>(path);
    done(number, value && !value->IsDeleted() ? value->SetValue(content)
                                              : m_tree.Emplace<StringValue>(path, content) != nullptr);
}

/// Its line is taken out of the text as this process sees it, and put behind it anew.
void WriterPlayer::writeLine()
{
    const auto* const value = m_tree.FindAs<StringValue>(pathOf("whole"));
    if (!value)
        return;
    QStringList lines = value->GetValue().split(QLatin1Char('\n'), Qt::SkipEmptyParts);
    const QString name = QStringLiteral("<%1>").arg(m_part.id);
    for (int i = lines.size() - 1; i >= 0; --i) {
        if (lines[i].startsWith(name))
            lines.removeAt(i);
    }
    lines.append(name);
    write(pathOf("whole"), lines.join(QLatin1Char('\n')));
}

void WriterPlayer::announce(const QString& path)
{
    auto* const value = m_tree.FindAs<StringValue>(path);
    if (value && !value->IsDeleted())
        value->Announce(static_cast<TChangeCode>(numbered(path)));
}

void WriterPlayer::changeCollection()
{
    const int which = int(1 + roll(2));
    auto* const map = m_tree.FindAs<ShortTimeFFPAssignmentItemMap>(pathOf("c", which));
    if (!map || map->IsDeleted())
        return;
    const quint64 what = which == 1 ? roll(6) : roll(10);
    ShortTimeFFPAssignment item;
    item.ffpGuid = QStringLiteral("k%1").arg(roll(6));
    item.radioId = quint32(++m_count);
    if (what == 0) {
        map->EraseAt(item.ffpGuid);
    } else if (what < 3) {
        map->RequestAssignmentChange(item);
    } else if (what < 6) {
        map->Add(item);
    } else {
        // In the second collection, which nobody clears.
        item.ffpGuid = QStringLiteral("own%1").arg(m_part.id);
        note(QStringLiteral("key %1 %2").arg(item.ffpGuid).arg(item.radioId));
        map->Add(item);
    }
}

/// A value that goes with this process.
void WriterPlayer::lease()
{
    if (std::exchange(m_hasLease, true))
        return;
    write(pathOf("Clients/", m_part.id), QStringLiteral("here"));
}

QString WriterPlayer::status() const
{
    const auto branches = m_link->branches();
    const bool isReady =
        state() == BranchState::Live && branches.size() == 1 && branches.first().openWishes == 0;
    return QStringLiteral("%1 %2")
        .arg(isReady ? 1 : 0)
        .arg(branches.isEmpty() ? QString() : branches.first().epoch.toString(QUuid::Id128));
}

void WriterPlayer::OnItemAnnounced(values::TreeItem& /*item*/, TChangeCode code, IObserver* by)
{
    if (by && int(code) > 0)
        note(QStringLiteral("heard %1").arg(int(code)));
}

void WriterPlayer::OnWishFailed(const QString& path, values::WishFailure failure, const QString& reason)
{
    const bool isKnown = failure == values::WishFailure::Refused || failure == values::WishFailure::Conflict;
    note(QStringLiteral("failed %1 %2 %3").arg(path).arg(isKnown ? 1 : 0).arg(reason));
}

} // namespace Chaos
