#include "consoletest.h"
#include "installation.h"

#include <koltaconsole/pages/events/linkmessages.h>
#include <koltaconsole/pages/events/linksview.h>
#include <koltaconsole/pages/events/linktraffic.h>
#include <koltaconsole/pages/pages.h>
#include <koltaconsole/pages/productions/productionspage.h>
#include <koltaconsole/pages/shorttime/assignmentsview.h>
#include <koltaconsole/pages/shorttime/profilesview.h>
#include <koltaconsole/pages/shorttime/shorttimemaps.h>
#include <koltaconsole/pages/shorttime/shorttimepage.h>
#include <koltaconsole/plots/frequencyaxis.h>
#include <koltaconsole/plots/frequencylanes.h>
#include <koltaconsole/session/orderdraft.h>
#include <koltaconsole/session/ordersunderway.h>
#include <koltaconsole/texts.h>
#include <koltaconsole/widgets/elidedlabel.h>

#include <koltacommon/koltaserverinterface.h>
#include <koltacommon/productionjob.h>

#include <QAccessible>
#include <QComboBox>
#include <QHeaderView>
#include <QPushButton>
#include <QRegularExpression>
#include <QScrollBar>
#include <QStyleOptionButton>
#include <QTabBar>
#include <QTabWidget>
#include <QTableView>
#include <QTemporaryDir>
#include <QTreeView>

#include <algorithm>

using namespace KoltaConsole;

namespace {

constexpr QSize kUsual(1280, 800), kLeast(1024, 640);

} // namespace

/// Every page as people see it, in both languages and themes, also as small as it can be: nothing is cut off,
/// stands outside or lacks a name. KOLTA_PICTURES names a folder that the pictures are written to.
class TestPictures : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void everyPage_data()
    {
        const Rows<QString, QString, QString> row("language theme state");
        row("english light", "en", "light", "");
        row("english dark, a server vanished", "en", "dark", "vanished");
        row("german light, a server vanished", "de", "light", "vanished");
        row("german dark, a server vanished", "de", "dark", "vanished");
        row("english light, 100 servers", "en", "light", "hundred");
        row("german dark, 100 servers", "de", "dark", "hundred");
#ifdef KOLTA_WITH_DISTRIBUTION
        row("english light, nothing published", "en", "light", "empty");
        row("german dark, nothing published", "de", "dark", "empty");
        row("english light, the broker is gone", "en", "light", "gone");
        row("german dark, the broker is gone", "de", "dark", "gone");
#endif
    }
    void everyPage();

private:
    static QImage small(const QImage& picture);
    static void prepare(Stage& stage, const QString& page);
    static void assign(const Stage& stage, const QString& server);
    static bool readBranch(const Stage& stage);
    static bool isCut(const QWidget& widget);
    static bool isNameless(QWidget& widget);
    static bool isWide(const QWidget& widget);
    static QStringList faultsOf(QWidget& window);
    bool reaches(const Stage& stage, const QString& state) const;
    void look(MainWindow& window, const QSize& size, const QString& name);

    const QTemporaryDir m_folder;
    const QString m_target = qEnvironmentVariable("KOLTA_PICTURES", m_folder.path());
    std::unique_ptr<Installation> m_installation;
    QStringList m_faults;
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
    if (page == QLatin1String("tuners")) {
        auto* const table = stage.window->currentPage()->findChild<QTreeView*>();
        const auto* const axis = stage.window->currentPage()->findChild<FrequencyAxis*>();
        const QVector<Lane> before = axis->lanes();
        stage.window->currentPage()->filterLine()->setText(QStringLiteral("S1"));
        table->setCurrentIndex(table->model()->index(6, 0));
        QVERIFY(stage.run("tuner-why-not"));
        QTRY_VERIFY(axis->lanes().constData() != before.constData());
    } else if (page == QLatin1String("order")) {
        for (int i = 0; i < 3; ++i)
            QVERIFY(stage.run("order-add"));
        QVERIFY(stage.run("cart-share"));
        QVERIFY(stage.run("order-add"));
        QCoreApplication::processEvents();
    } else if (page == QLatin1String("productions")) {
        // One that is refused, one that nobody answers.
        auto& server = *stage.session->server(QStringLiteral("S1"));
        const auto& rows = static_cast<ProductionsPage*>(stage.window->currentPage())->model();
        const int before = rows.rowCount(rows.index(0, 0));
        for (const char* const rule : {"refuse-production,times=1", "silent-production"}) {
            KoltaSimulation::MisbehaviourRule wanted;
            QString error;
            QVERIFY2(wanted.fromText(QLatin1String(rule), wanted, error), qPrintable(error));
            stage.session->simulation()->server(server.getAddress())->addMisbehaviour(wanted);
            auto* const job =
                new Kolta::ProductionJob(server, stage.session->draft().order(), stage.window.get());
            job->deleteWhenFinished();
            stage.session->ordersUnderWay().follow(*job, server.getAddress(), QStringLiteral("order"));
        }
        QTRY_COMPARE(rows.rowCount(rows.index(0, 0)), before + 2);
    } else if (page == QLatin1String("short-time")) {
        auto& shown = static_cast<ShortTimePage&>(*stage.window->currentPage());
        AssignmentMatrix& matrix = shown.assignments().matrix();
        matrix.toggle(matrix.index(0, 2));
        auto* const table = shown.profiles().findChild<QTreeView*>();
        table->setCurrentIndex(table->model()->index(1, 0));
        for (int cell = 0; cell < table->model()->rowCount() * table->model()->columnCount(); ++cell) {
            const int column = cell % table->model()->columnCount();
            const QModelIndex index = table->model()->index(cell / table->model()->columnCount(), column);
            QVERIFY2(table->isColumnHidden(column) ||
                         table->sizeHintForIndex(index).width() <= table->columnWidth(column),
                     qPrintable(index.data().toString()));
        }
    }
}

/// Has an FFP of the server look for something.
void TestPictures::assign(const Stage& stage, const QString& server)
{
    Page& page = *stage.window->showPage(QStringLiteral("short-time"));
    page.showServer(server);
    AssignmentMatrix& matrix = static_cast<ShortTimePage&>(page).assignments().matrix();
    QTRY_VERIFY(matrix.rowCount() > 0);
    for (const int column : {1, 3})
        matrix.toggle(matrix.index(0, column));
    QVERIFY(stage.run("short-send"));
    QTRY_COMPARE(matrix.changeCount(), 0);
    auto& results = *shortTimeMap<Kolta::ShortTimeResultItemMap>(*stage.session, server);
    Kolta::ShortTimeResult result;
    for (int i = 0; i < 40; ++i) {
        result.startTime = (QDateTime::currentMSecsSinceEpoch() - i * 12000) * 1000;
        result.duration = 120000;
        result.frequency = 3000000 + static_cast<quint64>(i * i % 17) * 1300000;
        result.bandwidth = 2400;
        result.level = 12.5F;
        result.profileName = matrix.headerData(1 + i % 3, Qt::Horizontal).toString();
        results.AddNew(result);
    }
}

/// Reads what passes about a branch while something is ordered of its server.
bool TestPictures::readBranch(const Stage& stage)
{
    stage.window->showPage(QStringLiteral("events"));
    auto& view = *stage.window->findChild<LinksView*>();
    stage.window->currentPage()->findChild<QTabWidget*>()->setCurrentWidget(&view);
    auto& links = *view.findChild<QTreeView*>();
    if (!waitFor([&] { return links.model()->rowCount() >= 2; }))
        return false;
    links.setCurrentIndex(links.model()->index(1, 0));
    if (!stage.run("link-read"))
        return false;
    Kolta::ProductionOrder order;
    order.tunerClass = QStringLiteral("HF");
    order.frequency = 5e6;
    order.bandwidth = 800e3;
    for (int i = 0; i < 2; ++i) {
        auto* const job =
            new Kolta::ProductionJob(*stage.session->server(QStringLiteral("S1")), order, stage.window.get());
        job->deleteWhenFinished();
    }
    if (!waitFor([&] { return view.traffic()->rowCount() >= 2; }))
        return false;
    QTreeView& messages = *view.findChild<LinkMessages*>()->findChild<QTreeView*>();
    messages.setCurrentIndex(view.traffic()->index(0, 0));
    return true;
}

/// Whether the text does not fit into what the widget has for it.
bool TestPictures::isCut(const QWidget& widget)
{
    const auto isWider = [&widget](const QString& text, const QRect& room) {
        QString shown = text;
        shown.remove(QRegularExpression(QStringLiteral("&(?!&)")));
        return widget.fontMetrics().horizontalAdvance(shown) > room.width();
    };
    if (const auto* const button = qobject_cast<const QPushButton*>(&widget)) {
        QStyleOptionButton option;
        option.initFrom(button);
        const int icon = button->icon().isNull() ? 0 : button->iconSize().width();
        return isWider(button->text(), button->style()
                                           ->subElementRect(QStyle::SE_PushButtonContents, &option, button)
                                           .adjusted(icon, 0, 0, 0));
    }
    if (const auto* const button = qobject_cast<const QAbstractButton*>(&widget))
        return !button->text().isEmpty() && button->width() < button->sizeHint().width();
    if (const auto* const box = qobject_cast<const QComboBox*>(&widget)) {
        QStyleOptionComboBox option;
        option.initFrom(box);
        return isWider(box->currentText(), box->style()->subControlRect(QStyle::CC_ComboBox, &option,
                                                                        QStyle::SC_ComboBoxEditField, box));
    }
    const auto* const label = qobject_cast<const QLabel*>(&widget);
    if (!label || qobject_cast<const ElidedLabel*>(label) || label->text().isEmpty())
        return false;
    return label->wordWrap() ? label->height() < label->heightForWidth(label->width())
                             : label->width() < label->sizeHint().width();
}

/// Whether keys can reach it and nobody who does not see it is told what it is.
bool TestPictures::isNameless(QWidget& widget)
{
    // Rows and titles have names of their own, the edge of a splitter none.
    if (!(widget.focusPolicy() & Qt::TabFocus) || widget.focusProxy() || qobject_cast<QTabBar*>(&widget))
        return false;
    const QAccessibleInterface* const shown = QAccessible::queryAccessibleInterface(&widget);
    return !shown || shown->text(QAccessible::Name).isEmpty();
}

/// The matrix goes on to the side: it has as many columns as there are profiles, with names in two lines.
bool TestPictures::isWide(const QWidget& widget)
{
    return qobject_cast<const QTableView*>(&widget) ||
           (qobject_cast<const QHeaderView*>(&widget) &&
            qobject_cast<const QTableView*>(widget.parentWidget()));
}

/// What a person would complain of.
QStringList TestPictures::faultsOf(QWidget& window)
{
    QStringList faults;
    const bool isRoomy = window.width() >= kUsual.width(); // where tables need not be moved to the side
    if (const QSize needed = window.minimumSizeHint(); needed.boundedTo(window.size()) != needed)
        faults.append(QStringLiteral("has no room: %1 x %2").arg(needed.width()).arg(needed.height()));
    for (QWidget* const widget : window.findChildren<QWidget*>()) {
        if (!widget->isVisible() || isWide(*widget))
            continue;
        const QString what =
            QStringLiteral("%1 \"%2\"")
                .arg(QLatin1String(widget->metaObject()->className()), widget->accessibleName());
        if (isNameless(*widget))
            faults.append(what + QStringLiteral(" has no name, in ") +
                          QLatin1String(widget->parent()->metaObject()->className()));
        if (isCut(*widget))
            faults.append(what + QStringLiteral(" is cut: ") + widget->property("text").toString());
        if (const auto* const header = qobject_cast<const QHeaderView*>(widget);
            header && header->orientation() == Qt::Horizontal && isRoomy &&
            !qobject_cast<const QTableView*>(header->parentWidget())) {
            for (int i = 0; i < header->count(); ++i) {
                const QString title = header->model()->headerData(i, Qt::Horizontal).toString();
                if (!header->isSectionHidden(i) && header->sectionSize(i) < header->sectionSizeHint(i))
                    faults.append(what + QStringLiteral(" cuts ") + title);
            }
        }
        const auto* const area = qobject_cast<const QAbstractScrollArea*>(widget);
        if (const auto* const tree = qobject_cast<const QTreeView*>(area);
            tree && !tree->isHeaderHidden() && tree->horizontalScrollBarPolicy() == Qt::ScrollBarAlwaysOff) {
            const int last = tree->header()->logicalIndex(tree->header()->count() - 1);
            const int end =
                tree->header()->sectionViewportPosition(last) + tree->header()->sectionSizeHint(last);
            if (end > tree->viewport()->width())
                faults.append(what + QStringLiteral(" has no room for its last column: %1").arg(end));
        }
        // The matrix has as many columns as there are profiles, and their names in two lines.
        if (area && area->horizontalScrollBar()->isVisible() && isRoomy)
            faults.append(
                what +
                QStringLiteral(" has more to the side: %1").arg(area->horizontalScrollBar()->maximum()));
        const QRect place(widget->mapTo(&window, QPoint()), widget->size());
        if (widget->parentWidget() == &window && !window.rect().contains(place))
            faults.append(what + QStringLiteral(" is outside"));
    }
    return faults;
}

/// Whether the stage comes into that state.
bool TestPictures::reaches(const Stage& stage, const QString& state) const
{
    const auto comes = [](const std::function<bool()>& what) { return waitFor(what); };
    if (state == QLatin1String("empty"))
        return true;
    const int servers = state == QLatin1String("hundred") ? 100 : m_installation ? 2 : 5;
    if (!comes([&] { return stage.isSettled() && stage.session->facts().size() >= servers; }))
        return false;
    if (m_installation)
        return readBranch(stage) && m_installation->killBroker() && comes([&] {
                   const auto& facts = stage.session->facts();
                   return stage.session->isOutOfSight() &&
                          std::all_of(facts.begin(), facts.end(),
                                      [](const ServerFacts& each) { return each.isStale(); });
               });
    if (state.isEmpty() || state == QLatin1String("vanished"))
        assign(stage, state.isEmpty() ? QStringLiteral("S1") : QStringLiteral("S3"));
    if (state == QLatin1String("vanished")) {
        stage.server(QStringLiteral("S3")).vanish();
        return comes([&] { return stage.session->attentionCount() == 2; });
    }
    return true;
}

/// The page and each of the tabs within it. There are pictures of the usual size.
void TestPictures::look(MainWindow& window, const QSize& size, const QString& name)
{
    window.resize(size);
    auto* const tabs = window.currentPage()->findChild<QTabWidget*>();
    for (int tab = 0; tab < (tabs ? tabs->count() : 1); ++tab) {
        if (tabs)
            tabs->setCurrentIndex(tab);
        QCoreApplication::processEvents();
        QCoreApplication::sendPostedEvents(); // what a timer has just set finds its place
        const QString file = tab == 0 ? name : QStringLiteral("%1-%2").arg(name).arg(tab + 1);
        for (const QString& fault : faultsOf(window))
            m_faults.append(QStringLiteral("%1, %2 wide: %3").arg(file).arg(size.width()).arg(fault));
        QVERIFY2(size != kUsual ||
                     small(window.grab().toImage()).save(m_target + file + QStringLiteral(".png"), "PNG", 0),
                 qPrintable(file));
        QCOMPARE(window.size(), size);
    }
}

void TestPictures::everyPage()
{
    QFETCH(QString, language);
    QFETCH(QString, theme);
    QFETCH(QString, state);
    m_faults.clear();
    m_installation.reset();
    QVERIFY(installTexts(language));
    Theme::instance().apply(theme == QLatin1String("dark") ? Theme::Choice::Dark : Theme::Choice::Light);
    Options options;
    options.servers = state == QLatin1String("hundred") ? 100 : 0;
    if (state == QLatin1String("empty"))
        options.url = QStringLiteral("mqtt://127.0.0.1:9");
    if (state == QLatin1String("gone")) {
        if (!isInstallationPossible())
            QSKIP("there is no mosquitto");
        m_installation = std::make_unique<Installation>(2);
        QVERIFY(m_installation->isUp());
        options.url = m_installation->url();
    }
    Stage stage(options);
    stage.window->resize(kUsual);
    QVERIFY(reaches(stage, state));
    Kolta::ProductionOrder order;
    order.tunerClass = QStringLiteral("Wide");
    order.frequency = 98.5e6;
    order.bandwidth = 8e6;
    order.displayName = QStringLiteral("MCP 7");
    stage.session->draft().set(order, QString());
    const bool isOther = !state.isEmpty() && state != QLatin1String("vanished");
    const QString suffix =
        QStringLiteral("-%1-%2").arg(language, theme) + (isOther ? QLatin1Char('-') + state : QString());
    for (const QString& id : pageIds()) {
        QVERIFY(stage.window->showPage(id) != nullptr);
        QTRY_VERIFY(!stage.session->link().isUp || stage.isSettled());
        if (!isOther)
            prepare(stage, id);
        look(*stage.window, kUsual, QStringLiteral("/console-") + id + suffix);
    }
    for (const char* const id : {"attention-next", "palette"}) {
        QVERIFY(stage.run(id) || isOther);
        QTest::keyClicks(QApplication::focusWidget(), QStringLiteral("pro"));
        m_faults += faultsOf(*stage.window);
        QVERIFY(small(stage.window->grab().toImage())
                    .save(m_target + QStringLiteral("/console-") + QLatin1String(id) + suffix +
                              QStringLiteral(".png"),
                          "PNG", 0));
    }
    for (const QString& id : pageIds()) {
        stage.window->showPage(id)->setFocus(); // which closes what has just been opened
        look(*stage.window, kLeast, id);
    }
    QVERIFY2(m_faults.isEmpty(), qPrintable(m_faults.join(QLatin1Char('\n'))));
    installTexts(QString());
}

KOLTA_CONSOLE_TEST(TestPictures);
#include "tst_console_pictures.moc"
