#include "consoletest.h"

#include <koltaconsole/pages/events/eventspage.h>
#include <koltaconsole/pages/events/eventwords.h>
#include <koltaconsole/widgets/elidedlabel.h>

#include <koltacommon/journal.h>
#include <support/files.h>

#include <QComboBox>
#include <QJsonDocument>
#include <QJsonObject>
#include <QPushButton>
#include <QTemporaryDir>

using namespace KoltaConsole;
using Kolta::Event;
using Kolta::EventFilter;

/// What happened, as somebody looks for it and takes it away.
class TestEvents : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void filterLine_data()
    {
        const Rows<QString, QString, QString, QString> row("text words from to");
        row("words", "alarm, S3 \"is away\"", "alarm|S3|is away", "", "");
        row("times", "11:00-12:30 fault", "fault", "2026-03-10 11:00", "2026-03-10 12:30");
        row("over midnight", "23:30-0:15", "", "2026-03-09 23:30", "2026-03-10 00:15");
        row("from", "9:05-", "", "2026-03-10 09:05", "");
        row("until", "-9:05", "", "", "2026-03-10 09:05");
        row("no times", "25:00-26:00 - 11:00", "25:00-26:00|-|11:00", "", "");
        row("yesterday", "16:00-17:00", "", "2026-03-09 16:00", "2026-03-09 17:00");
        row("since yesterday", "16:00-", "", "2026-03-09 16:00", "");
        row("still going on", "14:30-1:00", "", "2026-03-10 14:30", "2026-03-11 01:00");
        row("a day", "S3 2026-03-01", "S3", "2026-03-01 00:00", "2026-03-02 00:00");
        row("times of a day", "16:00-17:00 2026-03-01", "", "2026-03-01 16:00", "2026-03-01 17:00");
        row("night of a day", "2026-03-01 23:30-0:15", "", "2026-03-01 23:30", "2026-03-02 00:15");
        row("until, on a day", "2026-03-01 -9:05", "", "2026-03-01 00:00", "2026-03-01 09:05");
        row("no day", "2026-02-30", "2026-02-30", "", "");
        row("without", "alarm !S3 !\"is away\" ! !9:00-10:00", "alarm|-S3|-is away|-9:00-10:00", "", "");
    }
    void filterLine()
    {
        QFETCH(QString, text);
        QFETCH(QString, words);
        QFETCH(QString, from);
        QFETCH(QString, to);
        const EventFilter filter = eventFilterOf(text, QDateTime(QDate(2026, 3, 10), QTime(15, 0)));
        QStringList said = filter.words;
        for (const QString& word : filter.without)
            said.append(QLatin1Char('-') + word);
        const QString form = QStringLiteral("yyyy-MM-dd HH:mm");
        QCOMPARE(said.join(QLatin1Char('|')), words);
        QCOMPARE(filter.from.toString(form), from);
        QCOMPARE(filter.to.toString(form), to);
    }

    /// A stopped view stands still and counts, filters hold meanwhile, and a file has what is shown.
    void page()
    {
        Stage stage(2, "events");
        QTRY_VERIFY(stage.isSettled());
        auto* const page = static_cast<EventsPage*>(stage.window->currentPage());
        page->showServer(QStringLiteral("S2"));
        stage.session->tell(QStringLiteral("of no server"), Event::Weight::Note);
        QTRY_VERIFY(stage.session->journal().endNumber() > stage.session->journal().firstNumber());
        page->findChild<QComboBox*>()->setCurrentIndex(2);
        const auto* const count = page->filterLine()->parentWidget()->findChild<ElidedLabel*>();
        QTRY_COMPARE(count->text(), QStringLiteral("No alarms yet (S2 alone)"));
        page->findChild<QComboBox*>()->setCurrentIndex(1);
        QVERIFY(stage.run("events-pause"));
        const int before = page->model().rowCount();
        stage.server(QStringLiteral("S2")).vanish();
        QTRY_VERIFY(page->model().heldBack() > 0);
        QCOMPARE(page->model().rowCount(), before);
        QVERIFY(stage.run("events-pause"));
        QTRY_VERIFY(page->model().rowCount() > before);
        page->filterLine()->setText(QStringLiteral("no such word"));
        QTRY_COMPARE(page->model().rowCount(), 0);

        page->showServer(QString());
        stage.session->tell(QStringLiteral("weighs, \"at most\"; 5 kg\nand more"), Event::Weight::Attention);
        page->filterLine()->setText(QStringLiteral("weighs !KG"));
        QTRY_COMPARE(page->model().rowCount(), 0);
        page->filterLine()->setText(QStringLiteral("weighs"));
        QTRY_COMPARE(page->model().rowCount(), 1);
        const QTemporaryDir folder;
        QVERIFY(page->saveTo(folder.filePath(QStringLiteral("e.csv"))));
        const QByteArray table = readFile(folder.filePath(QStringLiteral("e.csv")));
        QVERIFY2(table.startsWith("time,weight,server,kind,text,guid\r\n"), table);
        QVERIFY2(table.endsWith(",attention,,program,\"weighs, \"\"at most\"\"; 5 kg\nand more\",\r\n"),
                 table);
        QVERIFY(page->saveTo(folder.filePath(QStringLiteral("e.jsonl"))));
        const QByteArray lines = readFile(folder.filePath(QStringLiteral("e.jsonl")));
        QCOMPARE(lines.count('\n'), 1);
        QCOMPARE(QJsonDocument::fromJson(lines).object().value(QStringLiteral("weight")).toString(),
                 QStringLiteral("attention"));
        QVERIFY(!page->saveTo(folder.filePath(QStringLiteral("missing/e.csv"))));
        page->filterLine()->setText(QStringLiteral("cannot be saved"));
        QTRY_COMPARE(page->model().rowCount(), 1);
    }
};

KOLTA_CONSOLE_TEST(TestEvents);
#include "tst_console_events.moc"
