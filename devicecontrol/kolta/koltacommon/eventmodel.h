#pragma once

#include <koltacommon/event.h>
#include <koltacommon/export.h>

#include <QAbstractItemModel>
#include <QDateTime>
#include <QPointer>
#include <QSet>
#include <QStringList>
#include <QVector>

#include <deque>

namespace Kolta {

class Journal;

/// Which events are wanted. What is empty, or invalid, wants all.
struct KOLTA_COMMON_EXPORT EventFilter
{
    QStringList servers;
    QVector<Event::Kind> kinds;
    Event::Weight least = Event::Weight::Note;
    QDateTime from;
    QDateTime to;        ///< not included
    QStringList words;   ///< each is in text, server, kind or weight in any letter case; see hasWord()
    QStringList without; ///< none of these does

    bool matches(const Event& event) const;
};

/// The lines of a journal that a filter lets through, newest first. The key is the line's number, the item
/// an Event, the state (ViewRoles::StateRole) an Event::Weight; ViewRoles::SinceRole is the time of the
/// first of several. The journal may go first; the model is empty then.
class KOLTA_COMMON_EXPORT EventModel final : public QAbstractItemModel
{
    Q_OBJECT

public:
    enum eColumn : int { eTimeColumn, eWeightColumn, eServerColumn, eKindColumn, eTextColumn, eColumnCount };

    explicit EventModel(Journal& journal, QObject* parent = nullptr);
    ~EventModel() override;

    /// Resets the model.
    void setFilter(const EventFilter& filter);
    const EventFilter& filter() const noexcept { return m_filter; }
    /// While it is held, lines that come, or that come to be wanted, do not appear and none is taken out, but
    /// for those that the journal forgets.
    void setHeld(bool isHeld);
    bool isHeld() const noexcept { return m_isHeld; }
    /// How many lines that the filter wants have come while it was held.
    int heldBack() const noexcept { return static_cast<int>(m_heldBack.size()); }

    QModelIndex index(int row, int column, const QModelIndex& parent = QModelIndex()) const override;
    QModelIndex parent(const QModelIndex& child) const override;
    using QObject::parent;
    int rowCount(const QModelIndex& parent = QModelIndex()) const override;
    int columnCount(const QModelIndex& parent = QModelIndex()) const override;
    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role = Qt::DisplayRole) const override;
    QHash<int, QByteArray> roleNames() const override;

Q_SIGNALS:
    void heldBackChanged(int count);

private:
    void takeAdded();
    void takeForgotten(quint64 count);
    void takeChanged(const QVector<quint64>& numbers);
    void readAll();
    void show(const std::deque<quint64>& numbers);
    void insert(quint64 number);
    void holdBack(quint64 number);
    bool wants(quint64 number) const;
    quint64 numberAt(int row) const
    {
        return m_numbers[m_numbers.size() - 1 - static_cast<std::size_t>(row)];
    }

    QPointer<Journal> m_journal;
    EventFilter m_filter;
    std::deque<quint64> m_numbers; ///< of the lines that are shown, oldest first
    quint64 m_next = 0;            ///< the first line that was not looked at
    bool m_isHeld = false;
    QSet<quint64> m_heldChanges; ///< lines that are shown and say something else since
    quint64 m_heldFrom = 0;      ///< the first line that came while it is held
    std::deque<quint64> m_heldBack;
};

} // namespace Kolta
