#pragma once

#include <QLabel>

namespace KoltaConsole {

/// One line that takes the room there is: what does not fit ends with an ellipsis and is whole in the tool
/// tip.
class ElidedLabel : public QLabel
{
    Q_OBJECT

public:
    explicit ElidedLabel(QWidget* parent = nullptr);

    /// Another tool tip than the text may be set behind it.
    void setText(const QString& text);

protected:
    void paintEvent(QPaintEvent* event) override;
};

} // namespace KoltaConsole
