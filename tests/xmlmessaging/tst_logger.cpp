#include "linkfixture.h"

#include <xmlmessaging/logger.h>

#include <QTemporaryDir>

using namespace XmlCommon;
using namespace XmlCommunication;
using logger::Logger;

namespace {

QString contents(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
}

} // namespace

class TestLogger : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void cleanup() { Logger::instance().setDirectory(QString()); }
    void trafficIsWritten();
    void largeLogIsPutAside();
    void unwritableDirectoryIsTracedOnce();
};

void TestLogger::trafficIsWritten()
{
    for (const auto mode : {logger::eLogOff, logger::eLogShort, logger::eLogFull}) {
        const int lines = mode == logger::eLogOff ? 0 : 2;
        QTemporaryDir dir;
        LinkFixture f;
        Logger::instance().setDirectory(dir.filePath(QStringLiteral("new")));
        const QString name = QStringLiteral("server_::1/port%1").arg(f.server.port());
        Logger::instance().registerConnection(f.thread, mode, name);
        QVERIFY(f.connected());
        const ptrCXmlMessage request = f.request(QStringLiteral("question"));
        f.thread->sendMessage(request, 0);
        QTRY_COMPARE(f.messages.size(), 1);
        const QString path = Logger::instance().fileName(name);
        QVERIFY(path.endsWith(QStringLiteral("/new/server___1_port%1.log").arg(f.server.port())));
        const QString text = contents(path);
        const QString id = QStringLiteral(" ID %1 ").arg(request->getMessageID());
        QCOMPARE(text.count(id), lines);
        QCOMPARE(
            text.contains(QRegularExpression(QStringLiteral("> Query +ID \\d+ +Test +\\(\\d+ bytes\\)\n"))),
            lines > 0);
        QCOMPARE(text.contains(QLatin1String("< QueryReply ")), lines > 0);
        QCOMPARE(text.contains(QLatin1String("<Get>question</Get>")), mode == logger::eLogFull);
        f.link->abort();
        QTRY_COMPARE(f.errors.size(), 1);
        const QString life = contents(path);
        QCOMPARE(life.count(QLatin1String(" = opened to 127.0.0.1:")), lines / 2);
        QCOMPARE(life.count(QLatin1String(" = ended")), lines / 2);
        const auto others = QFile::ReadGroup | QFile::WriteGroup | QFile::ReadOther | QFile::WriteOther;
        QVERIFY(!(QFile::permissions(path) & others));
    }
}

void TestLogger::largeLogIsPutAside()
{
    QTemporaryDir dir;
    LinkFixture f;
    Logger::instance().setDirectory(dir.path());
    Logger::instance().registerConnection(f.thread, logger::eLogFull, QStringLiteral("large"));
    QVERIFY(f.connected());
    const QString text(3000000, QLatin1Char('x'));
    for (int i = 1; i <= 3; ++i) {
        f.thread->sendMessage(f.request(text), 0);
        QTRY_COMPARE_WITH_TIMEOUT(f.messages.size(), i, 20000);
    }
    const QString path = Logger::instance().fileName(QStringLiteral("large"));
    QVERIFY(QFileInfo(path).size() > 0 && QFileInfo(path).size() <= 10000000);
    QVERIFY(QFileInfo(path + QLatin1String(".1")).size() > 3000000);
    QCOMPARE(QDir(dir.path()).entryList(QDir::Files).size(), 2);
}

void TestLogger::unwritableDirectoryIsTracedOnce()
{
    QTemporaryFile file;
    QVERIFY(file.open());
    LinkFixture f;
    Logger::instance().setDirectory(file.fileName()); // a file where the directory should be
    Logger::instance().registerConnection(f.thread, logger::eLogShort, QStringLiteral("blocked"));
    QVERIFY(f.connected());
    for (int i = 1; i <= 3; ++i) {
        f.thread->sendMessage(f.request(), 0);
        QTRY_COMPARE(f.messages.size(), i);
    }
    QCOMPARE(f.traces.count(QStringLiteral("message log")), 1);
    QVERIFY(f.errors.isEmpty());
}

QTEST_GUILESS_MAIN(TestLogger)
#include "tst_logger.moc"
