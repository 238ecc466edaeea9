#pragma once

#include <QPair>
#include <QString>
#include <QVector>
#include <QWidget>

class QComboBox;
class QFormLayout;
class QLineEdit;

namespace KoltaConsole {

class LookLabel;
class Session;

/// The fields of the order that is being written. What is typed goes into the session's draft at once, and
/// what others put there is shown. A field that cannot be read says so below itself.
class OrderForm : public QWidget
{
    Q_OBJECT

public:
    OrderForm(Session& session, QWidget* parent);

    /// What a field says that cannot be read; empty when all can.
    const QString& problem() const noexcept { return m_problem; }
    /// Below the fields, where they can be read: what the class reaches, and what is too narrow.
    void setHints(const QString& frequency, const QString& bandwidth, bool isBandwidthWarning);
    /// Asks the servers anew what there is to choose from.
    void readChoices();

private:
    LookLabel* addHint(QFormLayout& layout);
    bool eventFilter(QObject* watched, QEvent* event) override;
    void fill(QComboBox& box, QVector<QPair<QString, QString>> choices, const QString& value);
    void show();
    void take();
    double readHertz(QLineEdit& field, LookLabel& hint);
    static void tell(LookLabel& hint, const QString& text, bool isWarning);

    Session& m_session;
    QComboBox* m_kind;
    QComboBox* m_class;
    QLineEdit* m_frequency;
    LookLabel* m_frequencyHint;
    QLineEdit* m_bandwidth;
    LookLabel* m_bandwidthHint;
    QComboBox* m_mcp;
    QComboBox* m_demandClass;
    QComboBox* m_storage;
    QComboBox* m_server;
    QLineEdit* m_name;
    QString m_problem;
    bool m_isShowing = false; ///< fields change because the draft has
    bool m_isTaking = false;  ///< the draft changes because a field has
};

} // namespace KoltaConsole
