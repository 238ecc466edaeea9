#include <support/commandrecorder.h>
#include <support/probe.h>
#include <support/test.h>

#include <koltacommon/convertproductionresultmap.h>

using namespace Kolta;
using sorel::RecordIdentifier;

namespace {

RecordIdentifier recordNamed(const QString& id)
{
    return RecordIdentifier("S"_s, "D"_s, id);
}

QByteArray bytesOf(const ConvertProductionResult& result)
{
    return QByteArray::fromStdString(ConvertProductionResult_ItemFormat::toStandardString(result));
}

ConvertProductionResult resultOf(const QByteArray& field)
{
    ConvertProductionResult result;
    const char* stream = field.constData();
    return ConvertProductionResult_ItemFormat::fromCharStream(&stream, result) &&
                   stream == field.constData() + field.size()
               ? result
               : ConvertProductionResult();
}

/// A result of a given age, which only bytes can give it.
ConvertProductionResult resultMade(const QString& id, int day, ConvertProductionResult::State state,
                                   bool success)
{
    QByteArray field = bytesOf(ConvertProductionResult(recordNamed(id), QString(), QString(), QString(),
                                                       QString(), state, success, QString()));
    field.replace(4, 12,
                  QByteArray::fromHex("00000000002584") + static_cast<char>(day) + QByteArray(4, '\0'));
    return resultOf(field);
}

} // namespace

class TestConvertProductionResult : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void states()
    {
        ConvertProductionResultRequest request;
        request.record = recordNamed("7"_s);
        ConvertProductionResult result(request);
        QVERIFY(qAbs(result.creationTime().msecsTo(QDateTime::currentDateTime())) < 60000);
        QCOMPARE(ConvertProductionResult_ItemFormat::GetString(result), "Record_S/D/7"_s);
        const auto state = [&result] {
            return ConvertProductionResult_TextAdapter::GetText4Column(1, result);
        };
        QCOMPARE(state(), "not started"_s);
        result.setFinished(true, "r"_s);
        QVERIFY(result.sucessfullyFinished() && state() == "finished"_s);
        result.setConverting(); // success is still set
        QVERIFY(!result.finished() && !result.sucessfullyFinished() && state() == "converting"_s);
        result.setFinished(false, "r"_s);
        QVERIFY(result.finished() && !result.sucessfullyFinished() && state() == "failed"_s);
    }

    void changesByRecord()
    {
        ConvertProductionResultMap map;
        QVERIFY_EXCEPTION_THROWN(map.Add(ConvertProductionResult()), std::logic_error);
        const RecordIdentifier known = recordNamed("7"_s);
        map.Add(resultMade("7"_s, 1, ConvertProductionResult::eNotStarted, false));
        auto changes = [&map, was = map.GetChangeNumber()]() mutable {
            return map.GetChangeNumber() - std::exchange(was, map.GetChangeNumber());
        };
        for (const RecordIdentifier& unknown : {recordNamed("8"_s), RecordIdentifier()}) {
            map.startConverting(unknown);
            map.setIntermediateResult(unknown, "r"_s);
            map.setFinished(unknown, true, "r"_s);
        }
        QCOMPARE(changes(), 0U);
        map.startConverting(known);
        map.startConverting(known);
        QCOMPARE(changes(), 1U);
        map.setIntermediateResult(known, "half"_s);
        QVERIFY(map.At(known).state() == ConvertProductionResult::eConverting);
        QCOMPARE(map.At(known).result(), "half"_s);
        map.setFinished(known, false, "broken"_s);
        map.setFinished(known, false, "broken"_s);
        QCOMPARE(changes(), 2U);
        QVERIFY(map.contains(known) && !map.At(known).sucessfullyFinished());
        QCOMPARE(map.At(known).result(), "broken"_s);
    }

    void tidyUp()
    {
        using Result = ConvertProductionResult;
        const struct
        {
            quint64 maxCount;
            int olderThan; ///< a day, 0: none
            bool failedToo;
            const char* left;
        } rows[] = {{6, 0, true, "abcdef"}, {4, 0, true, "acef"}, // the oldest first, of one time by text
                    {3, 0, true, "aef"},    {3, 0, false, "def"}, // failed ones stay
                    {0, 3, true, "aef"},    {0, 0, true, "ef"}};  // young ones stay, unfinished ones stay
        for (const auto& row : rows) {
            ConvertProductionResultMap map;
            map.Add(resultMade("a"_s, 3, Result::eFinished, true));
            map.Add(resultMade("c"_s, 2, Result::eFinished, true));
            map.Add(resultMade("b"_s, 2, Result::eFinished, true));
            map.Add(resultMade("d"_s, 1, Result::eFinished, false));
            map.Add(resultMade("e"_s, 1, Result::eConverting, true));
            map.Add(resultMade("f"_s, 1, Result::eNotStarted, false));
            CommandRecorder recorder(map);
            const QDateTime limit =
                row.olderThan ? resultMade(QString(), row.olderThan, Result::eFinished, true).creationTime()
                              : QDateTime();
            const auto erased = map.tidyUp(row.maxCount, limit, row.failedToo);
            QString kept;
            for (const char id : {'a', 'b', 'c', 'd', 'e', 'f'}) {
                if (map.contains(recordNamed(QString(QLatin1Char(id)))))
                    kept += QLatin1Char(id);
            }
            QCOMPARE(kept, QLatin1String(row.left));
            QCOMPARE(erased, 6 - kept.size());
            QCOMPARE(recorder.commands.size(), erased == 0 ? 0 : 1); // one transaction
        }
    }

    /// A conversion that an observer starts again stays, and what an observer erases counts.
    void tidyUpWhileObserversChange()
    {
        ConvertProductionResultMap map;
        for (const char id : {'a', 'b', 'c', 'd', 'e'})
            map.Add(resultMade(QString(QLatin1Char(id)), 1, ConvertProductionResult::eFinished, true));
        QStringList heard;
        Probe observer(&heard);
        map.Attach(&observer);
        observer.action = [&](Observable*, TChangeCode) {
            observer.action = nullptr;
            map.startConverting(recordNamed("b"_s));
            map.EraseAt(recordNamed("d"_s));
        };
        QCOMPARE(map.tidyUp(2, QDateTime(), true), 2);
        QVERIFY(map.contains(recordNamed("b"_s)) && map.contains(recordNamed("e"_s)));
    }

    void stringValue()
    {
        ConvertProductionResultMap map;
        QCOMPARE(map.GetStringValue(), "0 Conversions: []"_s);
        map.Add(resultMade("%2"_s, 1, ConvertProductionResult::eFinished, true));
        QCOMPARE(map.GetStringValue(), "1 Conversions: [S/D/%252]"_s);
        for (int i = 0; i < 10; ++i) {
            QVERIFY(!map.GetStringValue().contains("..."_s));
            map.Add(resultMade(QString::number(i), 1, ConvertProductionResult::eFinished, true));
        }
        QVERIFY(map.GetStringValue().endsWith("...]"_s));
        QCOMPARE(map.GetStringValue().count(", "_s), 9);
    }
};

KOLTA_TEST(TestConvertProductionResult);
#include "tst_convertproductionresult.moc"
