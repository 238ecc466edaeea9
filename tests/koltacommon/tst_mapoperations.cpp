#include <koltacommon/conversionjob.h>
#include <koltacommon/maprequestjobs.h>
#include <support/testprogram.h>

#include <values/tree.h>

#include <QMetaEnum>
#include <QPointer>
#include <QtTest>

#include <functional>
#include <memory>

using namespace Kolta;
using values::Tree;

namespace {

const QString path = QStringLiteral("/RecordMapTree/S1/Map");

QString text(const char* latin1)
{
    return QString::fromLatin1(latin1);
}

/// "Done Done None".
QString endOf(const Operation* operation)
{
    if (!operation)
        return text("gone");
    const auto word = [](auto value) {
        return text(QMetaEnum::fromType<decltype(value)>().valueToKey(int(value)));
    };
    return QStringList{word(operation->state()), word(operation->effect()), word(operation->reason())}.join(
        QLatin1Char(' '));
}

/// Answers a request while it is still made.
class HastyOwner : public IObserver
{
public:
    std::function<void()> answer;

private:
    void Update(Observable*, TChangeCode) override
    {
        if (const auto once = std::exchange(answer, {}))
            once();
    }
};

} // namespace

class tst_MapOperations : public QObject
{
    Q_OBJECT

    Startup::ManualClock clock;

    /// Plays the script's words, each followed by a turn of the event loop.
    void play(const QString& script, QPointer<Operation>& operation,
              const std::function<void(const QString&)>& step)
    {
        for (const QString& word : script.split(QLatin1Char(' '), Qt::SkipEmptyParts)) {
            if (word.startsWith(QLatin1Char('+')))
                clock.advance(word.mid(1).toInt());
            else if (word == text("cancel"))
                operation->cancel();
            else if (word == text("delete"))
                delete operation.data();
            else if (word == text("remove"))
                Tree::Instance().Remove(path);
            else if (word == text("clear"))
                Tree::Instance().Clear();
            else
                step(word);
            QCoreApplication::processEvents();
        }
    }

private Q_SLOTS:
    void cleanup()
    {
        Tree::Instance().Clear();
        QCOMPARE(InstanceCount<Operation>::living(), 0);
    }

    void requestsAreAnswered_data()
    {
        QTest::addColumn<QString>("script");
        QTest::addColumn<QString>("end");
        const auto row = [](const char* script, const char* end) {
            QTest::newRow(script) << text(script) << text(end);
        };
        row("remove begin", "Refused None NotConnected");
        row("clear begin", "Refused None NotConnected");
        row("begin", "Running None None");
        row("begin grant", "Done Done None");
        row("hasty begin", "Done Done None");
        row("begin refuse", "Refused None RefusedByServer");
        row("begin other refuse", "Refused None RefusedByServer");
        row("begin restart", "Lost Unknown ServerGone");
        row("begin remove", "Lost Unknown ServerGone");
        row("begin cancel grant", "Cancelled Unknown Cancelled");
        row("begin +30000", "TimedOut Unknown TimeLimit");
        row("begin delete grant", "gone");
    }
    void requestsAreAnswered()
    {
        QFETCH(QString, script);
        const Startup::Clock::Replacement replacement(clock);
        const auto test = [&](auto* map, const auto& make, const auto& reply) {
            QPointer<Operation> operation;
            auto* const job = make(*map);
            operation = job;
            const QUuid id = job->id();
            HastyOwner hasty;
            map->Attach(&hasty);
            play(script, operation, [&](const QString& word) {
                if (word == text("hasty"))
                    hasty.answer = [&] { reply(*map, id, QString()); };
                else if (word == text("grant"))
                    reply(*map, id, QString());
                else if (word == text("refuse"))
                    reply(*map, id, text("because"));
                else if (word == text("other"))
                    reply(*map, make(*map)->id(), text("nothing is open under it"));
                else if (word == text("restart"))
                    map->EndRequests([](const std::string&) { return true; }, nullptr);
            });
            QTEST(endOf(operation), "end");
            qDeleteAll(children());
        };
        test(
            Tree::Instance().Emplace<ShortTimeFFPAssignmentItemMap>(path),
            [this](auto& map) { return new AssignmentJob(map, ShortTimeFFPAssignment(), this); },
            [](auto& map, const QUuid& id, const QString& error) { map.ReplyAssignmentChange(id, error); });
        Tree::Instance().Clear();
        test(
            Tree::Instance().Emplace<ShortTimeProfileItemMap>(path),
            [this](auto& map) { return new ProfileTypeJob(map, text("P"), eShortTimeProfileType(1), this); },
            [](auto& map, const QUuid& id, const QString& error) { map.ReplyTypeChange(id, error); });
    }

    void conversionsFinish_data()
    {
        QTest::addColumn<QString>("script");
        QTest::addColumn<QString>("end");
        QTest::addColumn<QString>("result");
        const auto row = [](const char* script, const char* end, const char* result = "") {
            QTest::newRow(script) << text(script) << text(end) << text(result);
        };
        row("begin", "Running None None");
        row("begin start half +1000000", "Running None None", "half");
        row("begin start half finish", "Done Done None", "all");
        row("begin fail", "Refused None RefusedByServer", "broken");
        row("old begin", "Refused None Conflict");
        row("old fail begin finish", "Done Done None", "all");
        row("begin start erase", "Lost Unknown Ended");
        row("begin other", "Lost Unknown Ended");
        row("begin remove", "Lost Unknown ServerGone");
        row("begin start cancel", "Cancelled Unknown Cancelled");
        row("begin delete", "gone");
    }
    void conversionsFinish()
    {
        QFETCH(QString, script);
        const Startup::Clock::Replacement replacement(clock);
        auto* const map = Tree::Instance().Emplace<ConvertProductionResultMap>(path);
        const sorel::RecordIdentifier record(text("s"), text("d"), text("r"));
        const ConvertProductionResultRequest request{record, {}, text("name"), {}, {}};
        QPointer<ConversionJob> job;
        QPointer<Operation> operation;
        play(script, operation, [&](const QString& word) {
            if (word == text("begin"))
                operation = job = new ConversionJob(*map, request, nullptr);
            else if (word == text("old") || word == text("other"))
                map->SetAt(record,
                           ConvertProductionResult(ConvertProductionResultRequest{record, word, {}, {}, {}}));
            else if (word == text("start"))
                map->startConverting(record);
            else if (word == text("half"))
                map->setIntermediateResult(record, word);
            else if (word == text("erase"))
                map->EraseAt(record);
            else
                map->setFinished(record, word == text("finish"),
                                 text(word == text("finish") ? "all" : "broken"));
        });
        QTEST(endOf(operation), "end");
        if (job)
            QTEST(job->result(), "result");
        if (script.contains(text("half +")))
            QCOMPARE(job->progressText(), text("half"));
        delete job.data();
    }
};

KOLTA_TEST(tst_MapOperations);
#include "tst_mapoperations.moc"
