#include "../values/probe.h"

#include <koltacommon/convertproductionresultmap.h>

#include <values/command.h>

#include <QtTest>

using namespace Kolta;
using sorel::RecordIdentifier;

namespace {

RecordIdentifier recordNamed(const QString& id)
{
    return RecordIdentifier(QStringLiteral("S"), QStringLiteral("D"), id);
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

class Recorder : public values::ICommandRecorder
{
public:
    void OnCommand(values::ValueBase&, std::unique_ptr<values::Command> command) override
    {
        std::string bytes;
        command->AddCommandString(bytes, values::eTransmitPlain);
        commands.append(QByteArray::fromStdString(bytes));
    }
    QList<QByteArray> commands;
};

} // namespace

class TestConvertProductionResult : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    /// The item field without a version byte, and the commands whose key field is three texts.
    void bytes()
    {
        const QByteArray field = QByteArray::fromHex("42000000 00000000002584e3 00a88b2e 01"
                                                     "00000002 0053 00000002 0044 00000002 0037 00000002"
                                                     "00000002 0070 00000002 d800 ffffffff 00000000 01"
                                                     "00000006 0072002e0078");
        const ConvertProductionResult result = resultOf(field);
        QCOMPARE(result.creationTime(), QDateTime(QDate(2020, 1, 2), QTime(3, 4, 5, 678), Qt::UTC));
        QVERIFY(result.GetKey() == recordNamed(QStringLiteral("7")) && result.valid());
        QVERIFY(result.sucessfullyFinished());
        QCOMPARE(QStringList({result.productionID(), result.productionName(), result.pirmID(),
                              result.resultType(), result.result()}),
                 QStringList({QStringLiteral("p"), QStringLiteral("\xD800"), QString(), QStringLiteral(""),
                              QStringLiteral("r.x")}));
        QCOMPARE(bytesOf(result).toHex(), field.toHex());

        const QByteArray key = QByteArray::fromHex("01000000 5300 01000000 4400 01000000 3700") + ';';
        ConvertProductionResultMap map;
        Recorder recorder;
        map.InstallRecorder(&recorder);
        map.Add(result);
        map.EraseAt(recordNamed(QStringLiteral("7")));
        const QByteArray set = QByteArray::fromHex("5a000000 1400 00000000") + key + field + ';';
        const QByteArray erase = QByteArray::fromHex("13000000 1500 00000000") + key;
        QCOMPARE(recorder.commands, (QList<QByteArray>{set, erase}));
        QVERIFY_EXCEPTION_THROWN(map.Add(ConvertProductionResult()), std::logic_error);
    }

    void states()
    {
        ConvertProductionResultRequest request;
        request.record = recordNamed(QStringLiteral("7"));
        ConvertProductionResult result(request);
        QVERIFY(qAbs(result.creationTime().msecsTo(QDateTime::currentDateTime())) < 60000);
        QCOMPARE(ConvertProductionResult_ItemFormat::GetString(result), QStringLiteral("Record_S/D/7"));
        const auto state = [&result] {
            return ConvertProductionResult_TextAdapter::GetText4Column(1, result);
        };
        QCOMPARE(state(), QStringLiteral("not started"));
        result.setFinished(true, QStringLiteral("r"));
        QVERIFY(result.sucessfullyFinished() && state() == QLatin1String("finished"));
        result.setConverting(); // success is still set
        QVERIFY(!result.finished() && !result.sucessfullyFinished() &&
                state() == QLatin1String("converting"));
        result.setFinished(false, QStringLiteral("r"));
        QVERIFY(result.finished() && !result.sucessfullyFinished() && state() == QLatin1String("failed"));
    }

    void changesByRecord()
    {
        ConvertProductionResultMap map;
        const RecordIdentifier known = recordNamed(QStringLiteral("7"));
        map.Add(resultMade(QStringLiteral("7"), 1, ConvertProductionResult::eNotStarted, false));
        auto changes = [&map, was = map.GetChangeNumber()]() mutable {
            return map.GetChangeNumber() - std::exchange(was, map.GetChangeNumber());
        };
        for (const RecordIdentifier& unknown : {recordNamed(QStringLiteral("8")), RecordIdentifier()}) {
            map.startConverting(unknown);
            map.setIntermediateResult(unknown, QStringLiteral("r"));
            map.setFinished(unknown, true, QStringLiteral("r"));
        }
        QCOMPARE(changes(), 0U);
        map.startConverting(known);
        map.startConverting(known);
        QCOMPARE(changes(), 1U);
        map.setIntermediateResult(known, QStringLiteral("half"));
        QVERIFY(map.At(known).state() == ConvertProductionResult::eConverting);
        QCOMPARE(map.At(known).result(), QStringLiteral("half"));
        map.setFinished(known, false, QStringLiteral("broken"));
        map.setFinished(known, false, QStringLiteral("broken"));
        QCOMPARE(changes(), 2U);
        QVERIFY(map.contains(known) && !map.At(known).sucessfullyFinished());
        QCOMPARE(map.At(known).result(), QStringLiteral("broken"));
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
            map.Add(resultMade(QStringLiteral("a"), 3, Result::eFinished, true));
            map.Add(resultMade(QStringLiteral("c"), 2, Result::eFinished, true));
            map.Add(resultMade(QStringLiteral("b"), 2, Result::eFinished, true));
            map.Add(resultMade(QStringLiteral("d"), 1, Result::eFinished, false));
            map.Add(resultMade(QStringLiteral("e"), 1, Result::eConverting, true));
            map.Add(resultMade(QStringLiteral("f"), 1, Result::eNotStarted, false));
            Recorder recorder;
            map.InstallRecorder(&recorder);
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
            map.startConverting(recordNamed(QStringLiteral("b")));
            map.EraseAt(recordNamed(QStringLiteral("d")));
        };
        QCOMPARE(map.tidyUp(2, QDateTime(), true), 2);
        QVERIFY(map.contains(recordNamed(QStringLiteral("b"))) &&
                map.contains(recordNamed(QStringLiteral("e"))));
    }

    void stringValue()
    {
        ConvertProductionResultMap map;
        QCOMPARE(map.GetStringValue(), QStringLiteral("0 Conversions: []"));
        map.Add(resultMade(QStringLiteral("%2"), 1, ConvertProductionResult::eFinished, true));
        QCOMPARE(map.GetStringValue(), QStringLiteral("1 Conversions: [S/D/%252]"));
        for (int i = 0; i < 10; ++i) {
            QVERIFY(!map.GetStringValue().contains(QLatin1String("...")));
            map.Add(resultMade(QString::number(i), 1, ConvertProductionResult::eFinished, true));
        }
        QVERIFY(map.GetStringValue().endsWith(QLatin1String("...]")));
        QCOMPARE(map.GetStringValue().count(QLatin1String(", ")), 9);
    }
};

QTEST_GUILESS_MAIN(TestConvertProductionResult)
#include "tst_convertproductionresult.moc"
