#pragma once

#include "player.h"

namespace Chaos {

/// Mirrors the branch and, unless it is a mere reader, wishes for changes and writes down each before it
/// makes it, and each that failed:
///
///     made NUMBER PATH
///     not NUMBER              it could not be made here
///     failed PATH KNOWN       KNOWN: 1 when it was certainly not executed
///     key KEY NUMBER          the newest item under the writer's own key of the second collection
///     heard NUMBER            an announcement of another writer
///
/// A change carries its number, which is the writer's times a million and a count, behind a "#" in its
/// content or as its code.
class WriterPlayer final : public Player
{
    Q_OBJECT

public:
    explicit WriterPlayer(const Part& part);

protected:
    void act() override;
    QString status() const override;
    void OnItemAnnounced(values::TreeItem& item, TChangeCode code, IObserver* by) override;
    void OnWishFailed(const QString& path, values::WishFailure failure, const QString& reason) override;

private:
    void change(int kind, const QString& path);
    int numbered(const QString& path);
    void done(int number, bool wasMade);
    void write(const QString& path, const QString& text);
    void writeLine();
    void announce(const QString& path);
    void changeCollection();
    void lease();
    distribution::BranchState state() const;

    int m_count = 0;
    bool m_hasLease = false;
};

} // namespace Chaos
