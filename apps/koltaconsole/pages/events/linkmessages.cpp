#include "linkmessages.h"

#include "linktraffic.h"

#include <koltaconsole/actions/actions.h>
#include <koltaconsole/session/serverfacts.h>
#include <koltaconsole/widgets/columns.h>
#include <koltaconsole/widgets/elidedlabel.h>
#include <koltaconsole/widgets/stateitemdelegate.h>

#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QLocale>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QSplitter>
#include <QTreeView>
#include <QVBoxLayout>

#include <algorithm>

namespace KoltaConsole {

LinkMessages::LinkMessages(const ActionTable& actions, QWidget* parent)
    : QWidget(parent)
    , m_title(new QLabel(tr("Traffic"), this))
    , m_note(new ElidedLabel(this))
    , m_read(actions.makeButton(QStringLiteral("link-read"), this))
    , m_table(new QTreeView(this))
    , m_text(new QPlainTextEdit(this))
{
    m_title->setProperty("heading", true);
    m_note->setProperty("dim", true);
    const QFontMetrics metrics = m_read->fontMetrics();
    m_read->setMinimumWidth(std::max(metrics.horizontalAdvance(tr("Read the traffic")),
                                     metrics.horizontalAdvance(tr("Stop reading"))) +
                            24);
    m_table->setItemDelegate(new StateItemDelegate(m_table));
    dressTable(*m_table);
    m_table->setAccessibleName(tr("Messages of the link"));
    m_text->setReadOnly(true);
    m_text->setFrameShape(QFrame::NoFrame);
    m_text->setStyleSheet(QStringLiteral("font: 9pt \"DejaVu Sans Mono\", monospace;"));
    m_text->setAccessibleName(tr("Text of the message"));
    auto* const top = new QHBoxLayout;
    top->setContentsMargins(8, 4, 8, 4);
    top->setSpacing(8);
    top->addWidget(m_title);
    top->addWidget(m_note, 1);
    top->addWidget(m_read);
    auto* const parts = new QSplitter(Qt::Vertical, this);
    parts->setHandleWidth(1);
    parts->addWidget(m_table);
    parts->addWidget(m_text);
    parts->setSizes({200, 200});
    auto* const layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    layout->addLayout(top);
    layout->addWidget(parts, 1);
}

void LinkMessages::show(LinkTraffic* traffic, const QString& name, bool isGone, const QString& instead)
{
    m_isGone = isGone;
    m_instead = instead;
    m_title->setText(name.isEmpty() ? tr("Traffic") : tr("Traffic of %1").arg(name));
    m_read->setText(traffic && traffic->isReading() ? tr("Stop reading") : tr("Read the traffic"));
    if (traffic != m_traffic) {
        if (m_traffic)
            m_traffic->disconnect(this);
        m_traffic = traffic;
        m_table->setModel(traffic);
        if (traffic) {
            setColumnWidths(*m_table, {110, 100, 80, 80});
            connect(traffic, &QAbstractItemModel::rowsInserted, this, &LinkMessages::showNote);
            connect(traffic, &QObject::destroyed, this, [this] { m_traffic = nullptr; });
            connect(m_table->selectionModel(), &QItemSelectionModel::currentChanged, this,
                    &LinkMessages::showText);
        }
        showText();
    }
    m_table->setVisible(traffic != nullptr);
    m_text->setVisible(traffic != nullptr);
    showNote();
}

void LinkMessages::showNote()
{
    const QLocale locale;
    const int count = m_traffic ? m_traffic->rowCount() : 0;
    const QString since = m_traffic ? timeText(m_traffic->since()) : QString();
    QString note = m_instead;
    if (m_traffic && m_isGone)
        note = tr("The link is no more; %n message(s) were read until %1.", nullptr, count).arg(since);
    else if (m_traffic && m_traffic->isReading())
        note = tr("%n message(s), at most %1 are kept; read since %2", nullptr, count)
                   .arg(locale.toString(LinkTraffic::kMost), since);
    else if (m_traffic)
        note = tr("%n message(s); not read since %1", nullptr, count).arg(since);
    m_note->setText(note);
}

void LinkMessages::showText()
{
    const QModelIndex current = m_traffic ? m_table->currentIndex() : QModelIndex();
    m_text->setPlainText(current.isValid() ? m_traffic->textOf(current.row()) : QString());
    m_text->setPlaceholderText(tr("Choose a message to see all of it."));
}

} // namespace KoltaConsole
