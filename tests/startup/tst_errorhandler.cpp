#include <startup/cfgcenter.h>
#include <startup/errorhandler.h>

#include <QtTest>

#include <stdexcept>
#include <thread>

using namespace Startup;

namespace {

const QString source = QStringLiteral("devicecontrol/kolta/koltacommon/test");

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
        traceLine(QStringLiteral("nested"));
        throw std::runtime_error("sink");
    }
};

} // namespace

class TestErrorHandler : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void badFileAndMaskAtTheFirstTrace();
    void maskAndLevels();
    void sinksAndHandlersThatTrace();
    void threads();
};

/// Must be first: the error handler reads its mask from the configuration, which traces through the error
/// handler.
void TestErrorHandler::badFileAndMaskAtTheFirstTrace()
{
    QTemporaryFile file;
    QVERIFY(file.open() && file.write("no INI file\n") > 0 && file.flush());
    qputenv("KOLTA_CONFIG", file.fileName().toLocal8Bit());
    QTest::ignoreMessage(QtWarningMsg, QRegularExpression(QStringLiteral("cfgcenter:10 .*not an INI file")));
    ErrorHandler& handler = ErrorHandler::Instance();
    QVERIFY(handler.isEnabled(eTraceDetail));
    QCOMPARE(CfgCenter::Instance().FileName(), file.fileName());
}

void TestErrorHandler::maskAndLevels()
{
    ErrorHandler& handler = ErrorHandler::Instance();
    TraceRecorder recorder;
    handler.setMask(eTrace | eTraceError);
    const auto expect = [](QtMsgType type, const char* rest) {
        QTest::ignoreMessage(
            type, QRegularExpression(QStringLiteral("^\\d{4}-\\d\\d-\\d\\d \\d\\d:\\d\\d:\\d\\d\\.\\d{3} %1$")
                                         .arg(QLatin1String(rest))));
    };
    expect(QtInfoMsg, "trace devicecontrol/kolta/koltacommon/test:160 \"Error\" %1");
    handler.trace(eTrace, source, 160, QStringLiteral("\"Error\" %1"));
    // What a peer says must not look like a line of its own, or turn one round.
    expect(QtWarningMsg, "error devicecontrol/kolta/koltacommon/test:1 lost.error.x.y.z");
    handler.trace(eTraceError, source, 1, QStringLiteral("lost\nerror\u2028x\u202Ey\u001Bz"));
    handler.trace(eTraceDetail, source, 2, QStringLiteral("masked"));
    handler.setMask(~0U);
    QCOMPARE(recorder.records().size(), 2);
    QCOMPARE(recorder.records().first().line, 160);
}

void TestErrorHandler::sinksAndHandlersThatTrace()
{
    TraceRecorder recorder;
    {
        HostileSink hostile;
        traceLine(QStringLiteral("outer"));
        traceLine(QStringLiteral("outer"));
    }
    static QtMessageHandler previous = nullptr;
    previous = qInstallMessageHandler(
        [](QtMsgType, const QMessageLogContext&, const QString&) { traceLine(QStringLiteral("nested")); });
    traceLine(QStringLiteral("outer"));
    qInstallMessageHandler(previous);
    QCOMPARE(recorder.count(QStringLiteral("outer")), 3);
    QCOMPARE(recorder.count(QStringLiteral("nested")), 0);
}

void TestErrorHandler::threads()
{
    ErrorHandler::Instance().setLoggingEnabled(false);
    TraceRecorder recorder;
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([] {
            for (int line = 0; line < 500; ++line) {
                TraceRecorder passing(1);
                traceLine(QStringLiteral("line"));
            }
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    ErrorHandler::Instance().setLoggingEnabled(true);
    QCOMPARE(recorder.count(QStringLiteral("line")), 2000);
}

QTEST_GUILESS_MAIN(TestErrorHandler)
#include "tst_errorhandler.moc"
