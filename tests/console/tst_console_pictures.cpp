#include "consoletest.h"

#include <koltaconsole/orderdraft.h>
#include <koltaconsole/pages/pages.h>
#include <koltaconsole/texts.h>

#include <simulation/simulatedserver.h>

#include <QAbstractButton>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QScrollBar>
#include <QTemporaryDir>
#include <QTreeView>

using namespace KoltaConsole;

/// Every page as people see it, in both languages and themes: nothing is cut off, stands outside or lacks a
/// name. KOLTA_PICTURES names a folder that the pictures are written to.
class TestPictures : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void everyPage_data()
    {
        const Rows<QString, QString, bool> row("language theme vanished");
        row("english light", "en", "light", false);
        row("english dark, a server vanished", "en", "dark", true);
        row("german light, a server vanished", "de", "light", true);
    }
    void everyPage();

private:
    static QImage small(const QImage& picture);
    static void prepare(Stage& stage, const QString& page);
    static QString faultOf(QWidget& window);
};

/// With the 256 colours that occur most, which makes files of half the size.
QImage TestPictures::small(const QImage& picture)
{
    QHash<QRgb, int> counts;
    const QImage whole = picture.convertToFormat(QImage::Format_RGB32);
    for (int y = 0; y < whole.height(); ++y) {
        for (int x = 0; x < whole.width(); ++x)
            ++counts[whole.pixel(x, y)];
    }
    QVector<QRgb> colors = counts.keys().toVector();
    // What is rare and coloured says most.
    const auto weight = [&counts](QRgb color) {
        return counts[color] * (1 + QColor(color).saturation() / 8);
    };
    std::sort(colors.begin(), colors.end(), [&](QRgb a, QRgb b) { return weight(a) > weight(b); });
    return whole.convertToFormat(QImage::Format_Indexed8, colors.mid(0, 256),
                                 Qt::ThresholdDither | Qt::AvoidDither);
}

/// Gives the page something to show.
void TestPictures::prepare(Stage& stage, const QString& page)
{
    ActionTable& actions = stage.window->actions();
    if (page == QLatin1String("tuners")) {
        auto* const table = stage.window->currentPage()->findChild<QTreeView*>();
        stage.window->currentPage()->filterLine()->setText(QStringLiteral("S1"));
        table->setCurrentIndex(table->model()->index(6, 0));
        QVERIFY(actions.run(QStringLiteral("tuner-why-not")));
        QTest::qWait(300); // the axis follows
    } else if (page == QLatin1String("order")) {
        for (int i = 0; i < 3; ++i)
            QVERIFY(actions.run(QStringLiteral("order-add")));
        QVERIFY(actions.run(QStringLiteral("cart-share")));
        QVERIFY(actions.run(QStringLiteral("order-add")));
        QCoreApplication::processEvents();
    }
}

/// What a person would complain of; empty for nothing.
QString TestPictures::faultOf(QWidget& window)
{
    for (const QWidget* const widget : window.findChildren<QWidget*>()) {
        if (!widget->isVisible())
            continue;
        const QString what =
            QStringLiteral("%1 \"%2\"")
                .arg(QLatin1String(widget->metaObject()->className()), widget->accessibleName());
        if (const auto* const button = qobject_cast<const QAbstractButton*>(widget);
            button && button->width() < button->fontMetrics().horizontalAdvance(button->text()))
            return what + QStringLiteral(" cuts ") + button->text();
        if (const auto* const header = qobject_cast<const QHeaderView*>(widget);
            header && header->orientation() == Qt::Horizontal) {
            for (int i = 0; i < header->count(); ++i) {
                const QString title = header->model()->headerData(i, Qt::Horizontal).toString();
                if (!header->isSectionHidden(i) && header->sectionSize(i) < header->sectionSizeHint(i))
                    return what + QStringLiteral(" cuts ") + title;
            }
        }
        if (const auto* const area = qobject_cast<const QAbstractScrollArea*>(widget);
            area && area->horizontalScrollBar()->isVisible())
            return what +
                   QStringLiteral(" has more to the side: %1").arg(area->horizontalScrollBar()->maximum());
        const QRect place(widget->mapTo(&window, QPoint()), widget->size());
        if (widget->parentWidget() == &window && !window.rect().contains(place))
            return what + QStringLiteral(" is outside");
    }
    return QString();
}

void TestPictures::everyPage()
{
    QFETCH(QString, language);
    QFETCH(QString, theme);
    QFETCH(bool, vanished);
    QVERIFY(installTexts(language));
    Theme::instance().apply(theme == QLatin1String("dark") ? Theme::Choice::Dark : Theme::Choice::Light);
    const QTemporaryDir folder;
    const QString target = qEnvironmentVariable("KOLTA_PICTURES", folder.path());
    Stage stage;
    stage.window->resize(1280, 800);
    QTRY_VERIFY(stage.isSettled());
    Kolta::ProductionOrder order;
    order.tunerClass = QStringLiteral("Wide");
    order.frequency = 98.5e6;
    order.bandwidth = 8e6;
    order.displayName = QStringLiteral("MCP 7");
    stage.session->draft().set(order, QString());
    if (vanished) {
        stage.session->simulation()->server(QStringLiteral("S3"))->vanish();
        QTRY_COMPARE(stage.session->attentionCount(), 2);
    }
    for (const QString& id : pageIds()) {
        QVERIFY(stage.window->showPage(id) != nullptr);
        QTRY_VERIFY(stage.isSettled());
        prepare(stage, id);
        QCoreApplication::processEvents();
        const QString fault = faultOf(*stage.window);
        const QString name = QStringLiteral("%1/console-%2-%3-%4.png").arg(target, id, language, theme);
        QVERIFY2(small(stage.window->grab().toImage()).save(name, "PNG", 0), qPrintable(name));
        QVERIFY2(fault.isEmpty(), qPrintable(id + QStringLiteral(": ") + fault));
        QCOMPARE(stage.window->size(), QSize(1280, 800));
    }
    for (const char* const id : {"attention-next", "palette"}) {
        QVERIFY(stage.window->actions().run(QLatin1String(id)));
        QTest::keyClicks(QApplication::focusWidget(), QStringLiteral("pro"));
        QCOMPARE(faultOf(*stage.window), QString());
        QVERIFY(
            small(stage.window->grab().toImage())
                .save(
                    QStringLiteral("%1/console-%2-%3-%4.png").arg(target, QLatin1String(id), language, theme),
                    "PNG", 0));
    }
    stage.window->resize(1024, 640);
    QCOMPARE(stage.window->size(), QSize(1024, 640));
    installTexts(QString());
}

KOLTA_CONSOLE_TEST(TestPictures);
#include "tst_console_pictures.moc"
