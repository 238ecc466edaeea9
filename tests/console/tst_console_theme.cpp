#include "consoletest.h"

#include <QEvent>
#include <QToolTip>
#include <QWindow>

using KoltaConsole::Role;
using KoltaConsole::Theme;

/// Whatever is shown can be read.
class TestTheme : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void contrast_data()
    {
        QTest::addColumn<int>("kind");
        QTest::newRow("light") << static_cast<int>(Theme::Kind::Light);
        QTest::newRow("dark") << static_cast<int>(Theme::Kind::Dark);
    }
    void contrast()
    {
        QFETCH(int, kind);
        const auto color = [kind](Role role) { return Theme::color(static_cast<Theme::Kind>(kind), role); };
        const auto check = [&](Role front, Role back, double least) {
            const double found = Theme::contrast(color(front), color(back));
            if (found < least)
                QFAIL(qPrintable(QStringLiteral("role %1 on role %2: %3 is less than %4")
                                     .arg(static_cast<int>(front))
                                     .arg(static_cast<int>(back))
                                     .arg(found)
                                     .arg(least)));
        };
        Theme& theme = Theme::instance();
        theme.apply(kind == 0 ? Theme::Choice::Light : Theme::Choice::Dark);
        for (const Role word : {Role::Text, Role::Dim, Role::Alarm, Role::Attention, Role::Planned}) {
            for (const Role surface : {Role::Window, Role::Base, Role::Alternate})
                check(word, surface, 4.5);
            QVERIFY(Theme::contrast(theme.onSelection(word), theme.color(Role::Selection)) >= 4.5);
        }
        for (const Role surface : {Role::Window, Role::Base, Role::Alternate}) {
            check(Role::InUse, surface, 3);
            check(Role::Border, surface, 3);
        }
        check(Role::InUse, Role::Free, 3);
        check(Role::Text, Role::AttentionFill, 4.5);
        check(Role::Text, Role::AlarmFill, 4.5);
        QCOMPARE(Theme::contrast(Qt::black, Qt::white), 21.0);
    }

    /// Labels, tool tips among them, show what servers wrote, and do not take it for HTML.
    void plainTexts()
    {
        const QString text = QStringLiteral("<b>S1</b>");
        QLabel label(text);
        label.show();
        QToolTip::showText(QPoint(), text, &label);
        int seen = 0;
        for (const QWidget* const widget : QApplication::topLevelWidgets()) {
            if (const auto* const shown = qobject_cast<const QLabel*>(widget);
                shown && shown->text() == text) {
                QCOMPARE(shown->textFormat(), Qt::PlainText);
                ++seen;
            }
        }
        QCOMPARE(seen, 2);
    }

    /// A desktop that changes takes along who was told no theme, whichever way it tells.
    void desktop()
    {
        Theme& theme = Theme::instance();
        QWidget window;
        window.show();
        const auto wears = [&theme](Theme::Kind kind) {
            return theme.kind() == kind &&
                   QApplication::palette().color(QPalette::Window) == Theme::color(kind, Role::Window);
        };
        theme.apply(Theme::Choice::System);
        QApplication::setPalette(QPalette(Qt::black));
        QTRY_VERIFY(wears(Theme::Kind::Dark));
        QEvent change(QEvent::ThemeChange);
        QCoreApplication::sendEvent(window.windowHandle(), &change); // off screen it is a light one
        QTRY_VERIFY(wears(Theme::Kind::Light));
        theme.apply(Theme::Choice::Dark);
        QApplication::setPalette(QPalette(Qt::white));
        QTRY_VERIFY(wears(Theme::Kind::Dark));
    }
};

KOLTA_CONSOLE_TEST(TestTheme);
#include "tst_console_theme.moc"
