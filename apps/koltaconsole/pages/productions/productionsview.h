#pragma once

#include <QStringList>
#include <QTreeView>

class QDateTime;

namespace KoltaConsole {

class ProductionsModel;
class TimelineHeader;

/// The tree of productions: what is new is open, servers have a row each. While an FFP is dragged it shows
/// where it may go.
class ProductionsView : public QTreeView
{
    Q_OBJECT

public:
    /// The model must outlive what somebody does here.
    ProductionsView(ProductionsModel& model, QWidget* parent);

    /// Of the timelines.
    void setRange(const QDateTime& from, const QDateTime& to);
    QStringList selectedKeys() const;
    /// Also what somebody has closed.
    void openAll();

protected:
    void startDrag(Qt::DropActions supported) override;

private:
    void dress();
    void span(const QModelIndex& parent, int first, int last);
    void spanAll();
    void open(const QModelIndex& index);

    ProductionsModel& m_model;
    TimelineHeader* m_timeline;
    QSet<QString> m_closed; ///< by key, what somebody has closed
};

} // namespace KoltaConsole
