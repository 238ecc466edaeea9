#include "theme.h"

#include <QApplication>
#include <QFontDatabase>
#include <QPalette>
#include <QProxyStyle>
#include <QStyleFactory>

#include <cmath>

namespace KoltaConsole {

namespace {

struct Pair
{
    QRgb light;
    QRgb dark;
};

/// In the order of Role.
constexpr Pair kColors[] = {{0xffe9eaec, 0xff1f2327}, {0xfff7f7f8, 0xff262b30}, {0xfff0f1f2, 0xff2b3036},
                            {0xffcfe0f2, 0xff2c4a69}, {0xff1b1f23, 0xffe2e5e8}, {0xff565c63, 0xffa3abb3},
                            {0xffb3261e, 0xffff8a80}, {0xff8a5300, 0xfff2b84b}, {0xff2560a3, 0xff6caaf0},
                            {0xff566b7d, 0xff9db2c4}, {0xffcbd0d5, 0xff4a525a}, {0xffc4c8cc, 0xff454c54},
                            {0xff747c84, 0xff7f8891}, {0xfff5ddb0, 0xff4a3a16}, {0xfff6d3cf, 0xff552523}};

/// Words with an @ are colours.
constexpr char kSheet[] = R"(
QLineEdit, QPushButton { border: 1px solid @border; border-radius: 3px; padding: 3px 8px; background: @base;
    min-height: 18px; }
QPushButton:disabled { border: 1px dashed @line; color: @dim; }
QLineEdit:focus, QPushButton:focus { border: 2px solid @planned; padding: 2px 7px; }
QPushButton:default { border: 2px solid @planned; padding: 2px 7px; }
QPushButton:default:disabled { border: 1px dashed @line; padding: 3px 8px; color: @dim; }
QTreeView, QTableView { border: none; background: @base; alternate-background-color: @alternate; selection-
    background-color: @selection; selection-color: @text; }
QTreeView::item { height: 24px; }
QHeaderView::section { background: @window; border: none; border-bottom: 1px solid @line; padding: 4px 8px;
    min-height: 22px; }
QTabWidget::pane { border: none; border-top: 1px solid @line; }
QTabBar::tab { padding: 5px 11px; border: 1px solid @line; border-bottom: none; background: @window; margin-
    top: 3px; color: @text; }
QTabBar::tab:selected { background: @base; margin-top: 0px; }
QTabBar:focus { border-bottom: 2px solid @planned; }
QSplitter::handle { background: @line; }
QToolTip { background: @base; color: @text; border: 1px solid @border; }
*[dim="true"] { color: @dim; }
*[replay="true"] { border: 4px solid @warnfill; }
*[badge="attention"] { background: @warnfill; color: @text; font-weight: bold; border: none; }
*[warning="true"] { color: @attention; font-weight: bold; }
QLineEdit[wrong="true"] { border: 2px solid @attention; padding: 2px 7px; }
*[badge="quiet"] { background: transparent; color: @dim; border: none; }
*[badge="alarm"] { background: @alarmfill; color: @text; font-weight: bold; }
*[heading="true"] { font-size: 10.5pt; font-weight: bold; }
)";

/// Gives cells air.
class Style : public QProxyStyle
{
public:
    Style() : QProxyStyle(QStyleFactory::create(QStringLiteral("Fusion"))) {}
    int pixelMetric(PixelMetric metric, const QStyleOption* option, const QWidget* widget) const override
    {
        return metric == PM_FocusFrameHMargin ? 6 : QProxyStyle::pixelMetric(metric, option, widget);
    }
};

double luminance(const QColor& color)
{
    const auto linear = [](double part) {
        return part <= 0.04045 ? part / 12.92 : std::pow((part + 0.055) / 1.055, 2.4);
    };
    return 0.2126 * linear(color.redF()) + 0.7152 * linear(color.greenF()) + 0.0722 * linear(color.blueF());
}

QPalette paletteOf(const Theme& theme)
{
    QPalette palette;
    const auto set = [&](std::initializer_list<QPalette::ColorRole> targets, Role role) {
        for (const QPalette::ColorRole target : targets)
            palette.setColor(target, theme.color(role));
    };
    set({QPalette::Window, QPalette::Button}, Role::Window);
    set({QPalette::Base, QPalette::ToolTipBase, QPalette::Light}, Role::Base);
    set({QPalette::AlternateBase}, Role::Alternate);
    set({QPalette::Highlight}, Role::Selection);
    set({QPalette::WindowText, QPalette::Text, QPalette::ButtonText, QPalette::HighlightedText,
         QPalette::ToolTipText, QPalette::BrightText},
        Role::Text);
    set({QPalette::PlaceholderText}, Role::Dim);
    set({QPalette::Mid, QPalette::Dark, QPalette::Midlight}, Role::Line);
    set({QPalette::Link}, Role::Planned);
    for (const QPalette::ColorRole role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText})
        palette.setColor(QPalette::Disabled, role, theme.color(Role::Dim));
    return palette;
}

} // namespace

Theme& Theme::instance()
{
    static Theme theme;
    return theme;
}

QColor Theme::color(Kind kind, Role role)
{
    const Pair& pair = kColors[static_cast<std::size_t>(role)];
    return QColor::fromRgb(kind == Kind::Light ? pair.light : pair.dark);
}

QColor Theme::onSelection(Role role) const
{
    return m_kind == Kind::Dark ? color(Role::Text) : color(role);
}

QColor Theme::past(Role role) const
{
    constexpr double kKept = 0.45;
    const QColor loud = color(role), base = color(Role::Base);
    const auto mix = [](double a, double b) { return a * kKept + b * (1 - kKept); };
    return QColor::fromRgbF(mix(loud.redF(), base.redF()), mix(loud.greenF(), base.greenF()),
                            mix(loud.blueF(), base.blueF()));
}

void Theme::apply(Choice choice)
{
    connect(qApp, &QGuiApplication::paletteChanged, this, &Theme::followDesktop,
            Qt::ConnectionType(Qt::QueuedConnection | Qt::UniqueConnection));
    // A desktop's own palette is known only until this one is set.
    if (!isWorn())
        m_isDesktopDark = QApplication::palette().color(QPalette::Window).lightness() < 128;
    m_choice = choice;
    const bool isDark = choice == Choice::Dark || (choice == Choice::System && m_isDesktopDark);
    m_kind = isDark ? Kind::Dark : Kind::Light;
    QApplication::setStyle(new Style);
    QApplication::setPalette(paletteOf(*this));
    QFont font = QApplication::font();
    if (QFontDatabase().families().contains(QStringLiteral("Noto Sans")))
        font.setFamily(QStringLiteral("Noto Sans"));
    font.setPointSizeF(9.5);
    QApplication::setFont(font);
    qApp->setStyleSheet(styleSheet());
    Q_EMIT si_Changed();
}

bool Theme::isWorn() const
{
    const QPalette palette = QApplication::palette();
    return palette.color(QPalette::Window) == color(Role::Window) &&
           palette.color(QPalette::Base) == color(Role::Base) &&
           palette.color(QPalette::Text) == color(Role::Text);
}

/// Desktops set their palette over this one when they change.
void Theme::followDesktop()
{
    if (!isWorn())
        apply(m_choice);
}

/// Without one of its own the application has the desktop's palette, which is told as a change.
void Theme::askDesktop()
{
    QApplication::setPalette(QPalette());
}

QString Theme::styleSheet() const
{
    const auto name = [this](Role role) { return color(role).name(); };
    QString sheet = QLatin1String(kSheet);
    const std::pair<const char*, Role> names[] = {{"@border", Role::Border},
                                                  {"@base", Role::Base},
                                                  {"@line", Role::Line},
                                                  {"@planned", Role::Planned},
                                                  {"@alternate", Role::Alternate},
                                                  {"@selection", Role::Selection},
                                                  {"@text", Role::Text},
                                                  {"@window", Role::Window},
                                                  {"@dim", Role::Dim},
                                                  {"@attention", Role::Attention},
                                                  {"@warnfill", Role::AttentionFill},
                                                  {"@alarmfill", Role::AlarmFill}};
    for (const auto& [word, role] : names)
        sheet.replace(QLatin1String(word), name(role));
    return sheet;
}

double Theme::contrast(const QColor& a, const QColor& b)
{
    const double first = luminance(a) + 0.05, second = luminance(b) + 0.05;
    return first > second ? first / second : second / first;
}

} // namespace KoltaConsole
