#include "consoletest.h"

#include <koltaconsole/pages/events/linkmessages.h>
#include <koltaconsole/pages/events/linksview.h>
#include <koltaconsole/pages/events/linktraffic.h>
#include <koltaconsole/pages/events/traceview.h>
#include <koltaconsole/session/tracelines.h>

#include <koltacommon/koltaconnection.h>
#include <startup/tracesource.h>
#include <support/scriptedpeer.h>

#include <QPlainTextEdit>
#include <QTabWidget>
#include <QTreeView>
#include <QTreeWidget>

#include <thread>

using namespace KoltaConsole;
using Kolta::KoltaConnection;

/// The messages of a link, read over somebody's shoulder while the link is worked with and goes away; and
/// what this process traces.
class TestLinks : public QObject
{
    Q_OBJECT

    struct Desk
    {
        Desk()
        {
            stage = std::make_unique<Stage>(1, "events");
            view = stage->window->findChild<LinksView*>();
            stage->window->currentPage()->findChild<QTabWidget*>()->setCurrentWidget(view);
            links = view->findChild<QTreeView*>();
        }
        QString cell(int row, int column) const
        {
            return view->traffic()->index(row, column).data().toString();
        }
        bool read() const { return stage->run("link-read"); }
        QString whyNot() const { return stage->why("link-read"); }
        void choose(int row) const { links->setCurrentIndex(links->model()->index(row, 0)); }

        ScriptedPeer peer;
        std::unique_ptr<Stage> stage;
        LinksView* view = nullptr;
        QTreeView* links = nullptr;
    };

    static void ask(KoltaConnection& link, const char* component, int padding = 0)
    {
        link.executeRequest(Kolta::ptrKoltaRequest(new Kolta::GeneralRequest(
            makeRequest(QString::fromLatin1(component), XmlCommon::CXmlMessage::eSERVICE_QUERY, padding))));
    }

private Q_SLOTS:
    /// Only what passes while somebody reads is there, with what the reply took and the whole text; a link
    /// that is deleted meanwhile leaves it, until another one is chosen.
    void traffic()
    {
        using Traffic = LinkTraffic;
        Desk desk;
        QVERIFY(!desk.whyNot().isEmpty());
        auto first = std::make_unique<KoltaConnection>(QStringLiteral("one"), QStringLiteral("1"),
                                                       desk.peer.host(), false);
        first->DisableFilter();
        first->open();
        KoltaConnection second(QStringLiteral("two"), QStringLiteral("1"), desk.peer.host(), false);
        QTRY_COMPARE(desk.links->model()->rowCount(), 2);
        desk.choose(0);
        ask(*first, "Unread");
        QTRY_VERIFY(first->isIdle());
        QVERIFY2(desk.read(), qPrintable(desk.whyNot()));
        QCOMPARE(desk.view->traffic()->rowCount(), 0);
        ask(*first, "Tuners");
        QTRY_COMPARE(desk.view->traffic()->rowCount(), 2);
        QCOMPARE(desk.cell(1, Traffic::eMessageColumn), QStringLiteral("asks Tuners for Ask"));
        QCOMPARE(desk.cell(1, Traffic::eDirectionColumn), QStringLiteral("sent"));
        QVERIFY(desk.cell(1, Traffic::eTookColumn).isEmpty());
        QVERIFY(desk.cell(0, Traffic::eTookColumn).endsWith(QLatin1String(" ms")));
        desk.peer.rule = [&desk](const auto& request) { desk.peer.answerWithFault(request, 7); };
        ask(*first, "Refused");
        QTRY_COMPARE(desk.view->traffic()->rowCount(), 4);
        QVERIFY(desk.cell(0, Traffic::eMessageColumn).startsWith(QLatin1String("Refused refuses: ")));

        QVERIFY(desk.read()); // no more
        ask(*first, "Unread");
        QTRY_VERIFY(first->isIdle());
        QVERIFY(desk.read());
        ask(*first, "Last");
        QTRY_COMPARE(desk.view->traffic()->rowCount(), 6);
        QCOMPARE(desk.cell(1, Traffic::eMessageColumn), QStringLiteral("asks Last for Ask"));
        auto* const messages = desk.view->findChild<LinkMessages*>();
        messages->findChild<QTreeView*>()->setCurrentIndex(desk.view->traffic()->index(5, 0));
        QVERIFY(messages->findChild<QPlainTextEdit*>()->toPlainText().contains(
            QLatin1String("component=\"Tuners\"")));

        ask(*first, "Unanswered");
        first.reset();
        QTRY_COMPARE(desk.links->model()->rowCount(), 1);
        QTRY_VERIFY(tells(*desk.view, "The link is no more; "));
        QVERIFY(desk.view->traffic()->rowCount() >= 6);
        QVERIFY(!desk.read());
        desk.choose(0);
        QVERIFY(!desk.view->traffic());
        QVERIFY(desk.whyNot().isEmpty());
    }

    /// However much passes, so much is kept; of a long message its beginning, which says so.
    void isBounded()
    {
        Desk desk;
        KoltaConnection link(QStringLiteral("busy"), QStringLiteral("1"), desk.peer.host(), false);
        link.DisableFilter();
        link.open();
        QTRY_COMPARE(desk.links->model()->rowCount(), 1);
        ask(link, "First");
        QTRY_VERIFY(link.isIdle());
        desk.choose(0);
        QVERIFY(desk.read());
        for (int i = 0; i < LinkTraffic::kMost / 2 + 100; ++i)
            ask(link, "Often");
        ask(link, "Long", 200000);
        QTRY_VERIFY(link.isIdle());
        QTRY_COMPARE(desk.cell(1, LinkTraffic::eMessageColumn), QStringLiteral("asks Long for Ask"));
        QCOMPARE(desk.view->traffic()->rowCount(), LinkTraffic::kMost);
        const QString text = desk.view->traffic()->textOf(1);
        QVERIFY(text.size() < LinkMessage::kMostText + 100);
        QVERIFY2(text.contains(QLatin1String("shortened")), qPrintable(text.right(100)));
    }

    /// A channel that is switched off in the list is silent, and what other threads trace comes in its order,
    /// the newest kept.
    void trace()
    {
        constexpr Startup::TraceSource source("tests/console/links");
        enum eTracePoint : int { ePoint = 10 };
        auto& handler = Startup::ErrorHandler::Instance();
        const quint32 mask = handler.mask();
        Desk desk;
        auto* const view = desk.stage->window->findChild<TraceView*>();
        desk.stage->window->currentPage()->findChild<QTabWidget*>()->setCurrentWidget(view);
        const auto textAt = [view](int row) {
            return view->rows().index(row, TraceLines::eTextColumn).data().toString();
        };
        view->filterLine()->setText(QStringLiteral("console/links"));
        for (int number = 0; number < TraceLines::kChannels; ++number)
            view->channels()->topLevelItem(number)->setCheckState(0, Qt::Unchecked);
        QCOMPARE(handler.mask() & 0x7fU, 0U);
        view->channels()->topLevelItem(2)->setCheckState(0, Qt::Checked);
        QCOMPARE(handler.mask() & 0x7fU, quint32(Startup::eTraceWarning));
        source(ePoint, QStringLiteral("unheard"), Startup::eTraceError);
        const auto traceMany = [&source] {
            for (int i = 0; i < TraceLines::kMost + 100; ++i)
                source(ePoint, QString::number(i), Startup::eTraceWarning);
        };
        std::thread other(traceMany);
        other.join();
        source(ePoint, QStringLiteral("last"), Startup::eTraceWarning);
        QTRY_COMPARE(textAt(0), QStringLiteral("last"));
        QCOMPARE(textAt(1), QString::number(TraceLines::kMost + 99));
        QVERIFY(view->rows().rowCount() <= TraceLines::kMost);
        QVERIFY(view->rows().rowCount() > TraceLines::kMost - 100);
        QCOMPARE(view->rows().index(0, TraceLines::eChannelColumn).data().toString(),
                 QStringLiteral("warning"));
        view->filterLine()->setText(QStringLiteral("console/links last"));
        QCOMPARE(view->rows().rowCount(), 1);
        // Traced from one thread while the window that listens goes away.
        std::thread late(traceMany);
        desk.stage.reset();
        late.join();
        handler.setMask(mask);
    }
};

KOLTA_CONSOLE_TEST(TestLinks);
#include "tst_console_links.moc"
