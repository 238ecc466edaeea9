#pragma once

#include "profilefields.h"

#include <QJsonObject>
#include <QWidget>

#include <array>
#include <functional>
#include <optional>

class QComboBox;
class QHBoxLayout;
class QLineEdit;
class QPushButton;
class QTreeWidget;

namespace KoltaConsole {

class ActionTable;
class ElidedLabel;
class LookLabel;

/// The fields of one short-time profile. Each is read at every key; what is wrong says so below itself, and
/// nothing can be saved then. What others change meanwhile is told and does not overwrite what was typed.
class ProfileEditor : public QWidget
{
    Q_OBJECT

public:
    explicit ProfileEditor(QWidget* parent);

    /// Shows that profile, instead of a draft too; without a name: a new one.
    void edit(const Kolta::ShortTimeProfile& profile);
    /// What others have made of the one that is shown: taken over where nothing was typed.
    void takeTheirs(const Kolta::ShortTimeProfile& profile);
    /// It is so now on its server: by what was typed, or what was typed is to replace it.
    void takeSaved(const Kolta::ShortTimeProfile& profile);
    void setSaving(bool isSaving);
    /// Why what was typed is not on its server.
    void setFailure(const QString& failure);
    /// Others have removed it: what was typed stays and can be saved again.
    void takeRemoval();
    /// It is being removed here: it stays in the fields, to be saved again, until something else is shown.
    /// False when they hold what is typed of another one.
    bool keepRemoved(const Kolta::ShortTimeProfile& profile);
    /// Whether keepRemoved() would do so with the profile of that name.
    bool canKeep(const QString& name) const { return !m_isChanged || m_original.name == name; }

    /// What somebody has typed, such that resume() shows it again; empty when that is nothing.
    QJsonObject written() const;
    /// The profile of that, without what cannot be read.
    static Kolta::ShortTimeProfile draftOf(const QJsonObject& written);
    /// Goes on with what was typed; nothing when it is empty. What is there by now is told afterwards.
    void resume(const QJsonObject& written);

    /// What the fields say; where nothing was typed, or what is wrong, as in the original.
    const Kolta::ShortTimeProfile& draft() const noexcept { return m_draft; }
    /// As it was when it was shown, or as others have made it.
    const Kolta::ShortTimeProfile& original() const noexcept { return m_original; }
    bool isChanged() const noexcept { return m_isChanged; }
    bool isWrong() const noexcept { return m_wrong > 0; }
    /// For tests and the page: the line of that field.
    QLineEdit* line(ProfileField field) const { return m_lines[static_cast<std::size_t>(field)]; }
    /// What speaks against a name, beside that there is none; said below its line while another one is typed.
    void setObjectionToName(std::function<QString(const QString& name)> objection);
    /// Something else may speak against the name now.
    void checkName();
    /// As far as it is the fields that say so; empty: it is possible.
    QString objectionToSave() const;
    QString objectionToUndo() const;
    /// Others have changed what somebody changes here.
    bool hasTheirs() const noexcept { return m_theirs.has_value(); }
    /// Back to what it is on its server now.
    void undo();
    /// What was typed is to replace what others have made of it.
    void keepMine() { takeSaved(m_theirs.value_or(m_original)); }
    /// Shows where what was typed differs from theirs, or not any more.
    void compare();
    /// Puts the buttons of these actions beside the name; those of `news` are shown while others have changed
    /// it. The first of these compares, and shows whether it does.
    void addButtons(const ActionTable& actions, const QStringList& news, const QStringList& ids);
    /// Beside the name: who uses it.
    void setUse(const QString& use);

Q_SIGNALS:
    /// written() is another.
    void si_Written();
    /// What can be done with it may be something else.
    void si_StateChanged();

private:
    void makeFields();
    void makeHeading();
    void makeLists();
    void fill();
    void fillLists();
    void read();
    void takeGone(const QString& news);
    void showProblem(ProfileField field, const QString& problem);
    void showHeading();
    void showComparison();

    Kolta::ShortTimeProfile m_original;
    Kolta::ShortTimeProfile m_draft;
    std::optional<Kolta::ShortTimeProfile> m_theirs; ///< unseen so far
    bool m_isChanged = false;
    bool m_isFilling = false;
    bool m_isSaving = false;
    bool m_isGone = false; ///< m_original is what it was before it was removed
    int m_wrong = 0;
    bool m_isComparing = false;
    std::function<QString(const QString&)> m_objectionToName;
    QString m_use;
    QString m_news;    ///< what others did
    QString m_failure; ///< of saving
    ElidedLabel* m_heading;
    QHBoxLayout* m_top;
    QVector<QPushButton*> m_newsButtons;
    QPushButton* m_compare = nullptr;
    QTreeWidget* m_comparison;
    std::array<QLineEdit*, kTypedFieldCount> m_lines{};
    std::array<LookLabel*, kTypedFieldCount> m_hints{};
    QComboBox* m_modulation;
    QComboBox* m_type;
};

} // namespace KoltaConsole
