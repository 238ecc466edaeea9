#include <koltacommon/conversionjob.h>
#include <koltacommon/maprequestjobs.h>
#include <support/operationend.h>
#include <support/test.h>

#include <values/tree.h>

using namespace Kolta;
using values::Tree;

namespace {

const QString path = QStringLiteral("/RecordMapTree/S1/Map");

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
            else if (word == "cancel"_s)
                operation->cancel();
            else if (word == "delete"_s)
                delete operation.data();
            else if (word == "remove"_s)
                Tree::Instance().Remove(path);
            else if (word == "clear"_s)
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
        const Rows<QString> row("end"); // each after its script
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
        const QString script = QString::fromUtf8(QTest::currentDataTag());
        const Startup::Clock::Replacement replacement(clock);
        const auto test = [&](auto* map, const auto& make, const auto& reply) {
            QPointer<Operation> operation;
            auto* const job = make(*map);
            operation = job;
            const QUuid id = job->id();
            HastyOwner hasty;
            map->Attach(&hasty);
            play(script, operation, [&](const QString& word) {
                if (word == "hasty"_s)
                    hasty.answer = [&] { reply(*map, id, QString()); };
                else if (word == "grant"_s)
                    reply(*map, id, QString());
                else if (word == "refuse"_s)
                    reply(*map, id, "because"_s);
                else if (word == "other"_s)
                    reply(*map, make(*map)->id(), "nothing is open under it"_s);
                else if (word == "restart"_s)
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
            [this](auto& map) { return new ProfileTypeJob(map, "P"_s, eShortTimeProfileType(1), this); },
            [](auto& map, const QUuid& id, const QString& error) { map.ReplyTypeChange(id, error); });
    }

    void conversionsFinish_data()
    {
        const Rows<QString, QString> row("end result"); // each after its script
        row("begin", "Running None None", "");
        row("begin start half +1000000", "Running None None", "half");
        row("begin start half finish", "Done Done None", "all");
        row("begin fail", "Refused None RefusedByServer", "broken");
        row("old begin", "Refused None Conflict", "");
        row("old fail begin finish", "Done Done None", "all");
        row("begin start erase", "Lost Unknown Ended", "");
        row("begin other", "Lost Unknown Ended", "");
        row("begin remove", "Lost Unknown ServerGone", "");
        row("begin start cancel", "Cancelled Unknown Cancelled", "");
        row("begin delete", "gone", "");
    }
    void conversionsFinish()
    {
        const QString script = QString::fromUtf8(QTest::currentDataTag());
        const Startup::Clock::Replacement replacement(clock);
        auto* const map = Tree::Instance().Emplace<ConvertProductionResultMap>(path);
        const sorel::RecordIdentifier record("s"_s, "d"_s, "r"_s);
        const ConvertProductionResultRequest request{record, {}, "name"_s, {}, {}};
        QPointer<ConversionJob> job;
        QPointer<Operation> operation;
        play(script, operation, [&](const QString& word) {
            if (word == "begin"_s)
                operation = job = new ConversionJob(*map, request, nullptr);
            else if (word == "old"_s || word == "other"_s)
                map->SetAt(record,
                           ConvertProductionResult(ConvertProductionResultRequest{record, word, {}, {}, {}}));
            else if (word == "start"_s)
                map->startConverting(record);
            else if (word == "half"_s)
                map->setIntermediateResult(record, word);
            else if (word == "erase"_s)
                map->EraseAt(record);
            else
                map->setFinished(record, word == "finish"_s, word == "finish"_s ? "all"_s : "broken"_s);
        });
        QTEST(endOf(operation), "end");
        if (job)
            QTEST(job->result(), "result");
        if (script.contains("half +"_s))
            QCOMPARE(job->progressText(), "half"_s);
        delete job.data();
    }
};

KOLTA_TEST(tst_MapOperations);
#include "tst_mapoperations.moc"
