#pragma once

#include "player.h"

#include <koltacommon/shorttimeffpassignmentitemmap.h>

#include <map>

namespace Chaos {

/// Publishes the branch, changes it, answers and reads what others ask for, and writes down every wish that
/// is executed:
///
///     did NUMBER            a wish with that number
///     mine WRITER NUMBER   the newest one for a writer's own value
///     lost TEXT             a writer has overwritten the line of another one
///     dump                  what the tree holds now:
///     own WRITER NUMBER    in a writer's own value
///     key KEY NUMBER        in the second collection, under a writer's own key
///     lease WRITER         of a value that a writer has added for as long as it lives
class OwnerPlayer final : public Player
{
    Q_OBJECT

public:
    explicit OwnerPlayer(const Part& part);

protected:
    void act() override;
    QString status() const override;
    void flood() override;
    void noteContent() override;
    void OnItemAdded(values::TreeItem& item) override;
    void OnItemChanged(values::TreeItem& item, TChangeCode code, IObserver* by) override;
    void OnItemAnnounced(values::TreeItem& item, TChangeCode code, IObserver* by) override;

private:
    void fill();
    void executed(values::TreeItem& item);
    void checkLines(const QString& whole);
    void changeLarge();
    void changeCollection();
    Kolta::ShortTimeFFPAssignmentItemMap* collection(int number);

    QTimer m_flooding;
    std::map<QString, QString> m_lines; ///< of the text that all write as a whole, by writer
    int m_flooded = 0;
    bool m_isOnline = false;
};

} // namespace Chaos
