#pragma once

#include <QColor>
#include <QObject>

namespace KoltaConsole {

/// What a colour is for. Red, amber and blue occur only as alarm, attention and what is planned here.
enum class Role {
    Window,
    Base,
    Alternate,
    Selection,
    Text,
    Dim, ///< of secondary texts, and of all that is only known from before
    Alarm,
    Attention,
    Planned, ///< and the focus
    InUse,   ///< of graphics alone, as Free
    Free,
    Line,
    Border, ///< of fields and buttons
    AttentionFill,
    AlarmFill
};

/// The two sets of colours, and which of them the program wears. Main thread.
class Theme : public QObject
{
    Q_OBJECT

public:
    enum class Kind { Light, Dark };
    enum class Choice { Light, Dark, System };

    static Theme& instance();

    static QColor color(Kind kind, Role role);
    QColor color(Role role) const { return color(m_kind, role); }
    Kind kind() const noexcept { return m_kind; }
    /// Of what is over, in strips: mixed with the base.
    QColor past(Role role) const;
    /// Text that stands on a selection is Text where the dark theme's other colours would be too weak.
    QColor onSelection(Role role) const;

    /// Dresses the application: style, palette and style sheet. System goes on following the desktop.
    void apply(Choice choice);
    /// Looks anew at what the desktop has.
    static void askDesktop();
    /// Contrast of two opaque colours as the accessibility guidelines define it, 1 to 21.
    static double contrast(const QColor& a, const QColor& b);

Q_SIGNALS:
    void si_Changed();

private:
    Theme() = default;
    QString styleSheet() const;
    bool isWorn() const;
    void followDesktop();

    Choice m_choice = Choice::System;
    bool m_isDesktopDark = false;
    Kind m_kind = Kind::Light;
};

} // namespace KoltaConsole
