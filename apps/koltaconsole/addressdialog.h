#pragma once

#include <QDialog>
#include <QString>
#include <QTimer>

#include <memory>

class QLineEdit;
class QPushButton;

namespace KoltaConsole {

class LookLabel;
class Session;
struct Options;

/// Asks which installation to show, for those who started the console without a terminal to be told there. An
/// address that cannot be one is told while it is typed.
class AddressDialog : public QDialog
{
    Q_OBJECT

public:
    /// `problem`: why what `options` ask for could not be shown; empty at first.
    AddressDialog(const Options& options, const QString& problem);

    /// Makes the options ask for what was chosen.
    void choose(Options& options) const;

private:
    void judge();
    void tell(const QString& problem);

    QLineEdit* m_address;
    LookLabel* m_hint;
    QPushButton* m_show;
    QTimer m_judging; ///< a long recording is not read at every key
    bool m_isSimulated = false;
};

/// The session that the options ask for. Where they say so, somebody is asked in a window while nothing names
/// an installation, and again while that one cannot be shown. Null, and why in `error`, when there is none.
std::unique_ptr<Session> startSession(Options& options, QString& error);

} // namespace KoltaConsole
