#pragma once

#include <koltacommon/stretchbook.h>
#include <koltaconsole/widgets/stateitemdelegate.h>

#include <QHeaderView>
#include <QMetaType>
#include <QVector>

namespace KoltaConsole {

/// When something ran within the hours that are shown.
struct Timeline
{
    static constexpr int kHours = 24;
    /// The role under which a model gives it.
    static constexpr int kRole = Qt::UserRole + 100;

    QDateTime from;
    QDateTime to;
    QVector<Kolta::Stretch> stretches; ///< of a processor, without gaps
    bool isLost = false;               ///< it ended and nobody had asked for that
    bool isPast = false;               ///< it does not run any more, or is only known from before

    bool isEmpty() const { return stretches.isEmpty(); }
    /// Where that time is between the left and the right of the place.
    double placeOf(const QDateTime& time, double left, double right) const;
    /// The full hours of which lines are drawn.
    QVector<QDateTime> ticks() const;
};

/// Paints a Timeline as bars: what ran solid, what nobody watched hatched and never as quiet, and open in
/// dots where it was running when watching ended. All other cells are StateItemDelegate's.
class TimelineDelegate : public StateItemDelegate
{
    Q_OBJECT

public:
    using StateItemDelegate::StateItemDelegate;

    void paint(QPainter* painter, const QStyleOptionViewItem& option,
               const QModelIndex& index) const override;
    bool helpEvent(QHelpEvent* event, QAbstractItemView* view, const QStyleOptionViewItem& option,
                   const QModelIndex& index) override;
};

/// A header whose last section has the hours of the timelines below it.
class TimelineHeader : public QHeaderView
{
    Q_OBJECT

public:
    explicit TimelineHeader(QWidget* parent);
    void setRange(const QDateTime& from, const QDateTime& to);

protected:
    void paintSection(QPainter* painter, const QRect& rect, int section) const override;

private:
    Timeline m_range;
};

} // namespace KoltaConsole

Q_DECLARE_METATYPE(KoltaConsole::Timeline)
