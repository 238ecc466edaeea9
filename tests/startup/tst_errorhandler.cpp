#include <startup/cfgcenter.h>
#include <startup/throttledtrace.h>
#include <support/test.h>

#include <stdexcept>
#include <thread>

using namespace Startup;

namespace {

const QString source = "devicecontrol/kolta/koltacommon/test"_s;

void traceLine(const QString& text)
{
    ErrorHandler::Instance().trace(eTrace, source, 7, text);
}

/// Traces from inside, then throws.
struct HostileSink : ITraceSink
{
    HostileSink() { ErrorHandler::Instance().addSink(this); }
    ~HostileSink() override { ErrorHandler::Instance().removeSink(this); }
    void trace(const TraceRecord&) override
    {
        traceLine("nested"_s);
        throw std::runtime_error("sink");
    }
};

} // namespace

class TestErrorHandler : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    /// Must be first: the error handler reads its mask from the configuration, which traces through the error
    /// handler.
    void badFileAndMaskAtTheFirstTrace()
    {
        QTemporaryFile file;
        QVERIFY(file.open() && file.write("no INI file\n") > 0 && file.flush());
        qputenv("KOLTA_CONFIG", file.fileName().toLocal8Bit());
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression("cfgcenter:10 .*not an INI file"_s));
        ErrorHandler& handler = ErrorHandler::Instance();
        QVERIFY(handler.isEnabled(eTraceDetail));
        QCOMPARE(CfgCenter::Instance().FileName(), file.fileName());
    }

    void maskAndLevels()
    {
        ErrorHandler& handler = ErrorHandler::Instance();
        TraceRecorder recorder;
        handler.setMask(eTrace | eTraceError);
        const auto expect = [](QtMsgType type, const char* rest) {
            QTest::ignoreMessage(
                type, QRegularExpression("^\\d{4}-\\d\\d-\\d\\d \\d\\d:\\d\\d:\\d\\d\\.\\d{3} %1$"_s.arg(
                          QLatin1String(rest))));
        };
        expect(QtInfoMsg, "trace devicecontrol/kolta/koltacommon/test:160 \"Error\" %1");
        handler.trace(eTrace, source, 160, "\"Error\" %1"_s);
        // What a peer says must not look like a line of its own, or turn one round.
        expect(QtWarningMsg, "error devicecontrol/kolta/koltacommon/test:1 lost.error.x.y.z");
        handler.trace(eTraceError, source, 1, "lost\nerror\u2028x\u202Ey\u001Bz"_s);
        handler.trace(eTraceDetail, source, 2, "masked"_s);
        handler.setMask(~0U);
        QCOMPARE(recorder.records().size(), 2);
        QCOMPARE(recorder.records().first().line, 160);
    }

    void sinksAndHandlersThatTrace()
    {
        TraceRecorder recorder;
        {
            HostileSink hostile;
            traceLine("outer"_s);
            traceLine("outer"_s);
        }
        static QtMessageHandler previous = nullptr;
        previous = qInstallMessageHandler(
            [](QtMsgType, const QMessageLogContext&, const QString&) { traceLine("nested"_s); });
        traceLine("outer"_s);
        qInstallMessageHandler(previous);
        QCOMPARE(recorder.count("outer"_s), 3);
        QCOMPARE(recorder.count("nested"_s), 0);
    }

    /// What peers can cause as often as they like fills no log, and none of it goes uncounted.
    void floods()
    {
        enum ePoint : int { eFirst = 1, eSecond = 2 };
        static constexpr TraceSource one("one"), other("other", eTraceWarning);
        TraceRecorder recorder;
        ThrottledTrace trace;
        for (int i = 0; i < 5; ++i)
            trace(one, eFirst, "a%1"_s.arg(i), 1000 + i);
        trace(one, eSecond, "b"_s, 1000);
        trace(other, eFirst, "c"_s, 1000);
        trace.flush(60999);
        for (const int later : {61000, 61000, 200000})
            trace.flush(later);
        trace(other, eFirst, "d"_s, 200000);
        trace(one, eFirst, "e"_s, 120999);
        trace(one, eFirst, "f"_s, 121000, eTraceError);
        QStringList lines;
        for (const TraceRecord& record : recorder.records())
            lines += "%1 %2 %3"_s.arg(record.channel).arg(record.source, record.text);
        const QString plain = QString::number(eTrace), warning = QString::number(eTraceWarning);
        QCOMPARE(lines, (QStringList{plain + " one a0"_s, plain + " one b"_s, warning + " other c"_s,
                                     plain + " one a4 (and 3 more like this)"_s, warning + " other d"_s,
                                     QString::number(eTraceError) + " one f (and 1 more like this)"_s}));
    }

    void threads()
    {
        ErrorHandler::Instance().setLoggingEnabled(false);
        TraceRecorder recorder;
        std::vector<std::thread> threads;
        for (int i = 0; i < 4; ++i) {
            threads.emplace_back([] {
                for (int line = 0; line < 500; ++line) {
                    TraceRecorder passing(1);
                    traceLine("line"_s);
                }
            });
        }
        for (std::thread& thread : threads)
            thread.join();
        ErrorHandler::Instance().setLoggingEnabled(true);
        QCOMPARE(recorder.count("line"_s), 2000);
    }
};

KOLTA_TEST(TestErrorHandler);
#include "tst_errorhandler.moc"
