#pragma once

#include "marks.h"

#include <QLabel>

namespace KoltaConsole {

/// A state outside of tables: its painted mark and its word, which may take several lines.
class LookLabel : public QLabel
{
    Q_OBJECT

public:
    explicit LookLabel(QWidget* parent = nullptr);

    void setLook(const Look& look);
    /// What is no state: dim, without a mark.
    void setNote(const QString& text);
    const Look& look() const noexcept { return m_look; }

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    void dress(const QString& text, bool isMarked);

    Look m_look;
    bool m_isMarked = false;
};

} // namespace KoltaConsole
