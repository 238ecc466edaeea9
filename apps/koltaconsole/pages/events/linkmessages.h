#pragma once

#include <QString>
#include <QWidget>

class QLabel;
class QPlainTextEdit;
class QPushButton;
class QTreeView;

namespace KoltaConsole {

class ActionTable;
class ElidedLabel;
class LinkTraffic;

/// The messages of the link that was chosen, and the whole text of one of them.
class LinkMessages : public QWidget
{
    Q_OBJECT

public:
    /// The action "link-read" must be there.
    LinkMessages(const ActionTable& actions, QWidget* parent);

    /// Null where `instead` is all there is to say. `isGone`: the link is no more.
    void show(LinkTraffic* traffic, const QString& name, bool isGone, const QString& instead);

private:
    void showNote();
    void showText();

    QLabel* m_title;
    ElidedLabel* m_note;
    QPushButton* m_read;
    QTreeView* m_table;
    QPlainTextEdit* m_text;
    LinkTraffic* m_traffic = nullptr; ///< whose rows are shown
    bool m_isGone = false;
    QString m_instead;
};

} // namespace KoltaConsole
