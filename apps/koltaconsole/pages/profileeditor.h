#pragma once

#include "profilefields.h"

#include <QJsonObject>
#include <QWidget>

#include <array>
#include <optional>

class QComboBox;
class QLabel;
class QLineEdit;
class QPushButton;
class QTreeWidget;

namespace KoltaConsole {

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
    /// Others have removed it.
    void takeRemoval();

    /// What somebody has typed, such that resume() shows it again; empty when that is nothing.
    QJsonObject written() const;
    /// Goes on with what was typed; nothing when it is empty. What is there by now is told afterwards.
    void resume(const QJsonObject& written);

    /// What the fields say, those that are wrong as before.
    const Kolta::ShortTimeProfile& draft() const noexcept { return m_draft; }
    /// As it was when it was shown, or as others have made it.
    const Kolta::ShortTimeProfile& original() const noexcept { return m_original; }
    bool isChanged() const noexcept { return m_isChanged; }
    bool isWrong() const noexcept { return m_wrong > 0; }
    /// For tests and the page: the line of that field.
    QLineEdit* line(ProfileField field) const { return m_lines[static_cast<std::size_t>(field)]; }
    /// Why saving is not possible; empty: it is.
    QString objectionToSave() const;
    /// From elsewhere: rights, the link.
    void setObjection(const QString& objection);
    /// Beside the name: who uses it.
    void setUse(const QString& use);

Q_SIGNALS:
    void si_Save();
    /// written() is another.
    void si_Written();

private:
    void makeFields();
    void makeHeading();
    void makeLists();
    void fill();
    void fillLists();
    void read();
    void showHeading();
    void showComparison();

    Kolta::ShortTimeProfile m_original;
    Kolta::ShortTimeProfile m_draft;
    std::optional<Kolta::ShortTimeProfile> m_theirs; ///< unseen so far
    bool m_isChanged = false;
    bool m_isFilling = false;
    bool m_isSaving = false;
    int m_wrong = 0;
    QString m_objection;
    QString m_use;
    QString m_news;    ///< what others did
    QString m_failure; ///< of saving
    QLabel* m_heading;
    QPushButton* m_save;
    QPushButton* m_undo;
    QPushButton* m_take;
    QPushButton* m_keep;
    QPushButton* m_compare;
    QTreeWidget* m_comparison;
    std::array<QLineEdit*, kProfileFieldCount> m_lines{};
    std::array<QLabel*, kProfileFieldCount> m_hints{};
    QComboBox* m_modulation;
    QComboBox* m_type;
};

} // namespace KoltaConsole
