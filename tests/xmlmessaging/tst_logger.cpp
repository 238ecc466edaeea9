#include "linkfixture.h"

#include <support/test.h>
#include <xmlmessaging/logger.h>

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
    void trafficIsWritten()
    {
        for (const auto mode : {logger::eLogOff, logger::eLogShort, logger::eLogFull}) {
            const int lines = mode == logger::eLogOff ? 0 : 2;
            QTemporaryDir dir;
            LinkFixture f;
            Logger::instance().setDirectory(dir.filePath("new"_s));
            const QString name = "server_::1/port%1"_s.arg(f.server.port());
            Logger::instance().registerConnection(f.thread, mode, name);
            QVERIFY(f.connected());
            const ptrCXmlMessage request = f.request("question"_s);
            f.thread->sendMessage(request, 0);
            QTRY_COMPARE(f.messages.size(), 1);
            const QString path = Logger::instance().fileName(name);
            QVERIFY(path.endsWith("/new/server___1_port%1.log"_s.arg(f.server.port())));
            const QString text = contents(path);
            const QString id = " ID %1 "_s.arg(request->getMessageID());
            QCOMPARE(text.count(id), lines);
            QCOMPARE(text.contains(QRegularExpression("> Query +ID \\d+ +Test +\\(\\d+ bytes\\)\n"_s)),
                     lines > 0);
            QCOMPARE(text.contains("< QueryReply "_s), lines > 0);
            QCOMPARE(text.contains("<Get>question</Get>"_s), mode == logger::eLogFull);
            f.link->abort();
            QTRY_COMPARE(f.errors.size(), 1);
            const QString life = contents(path);
            QCOMPARE(life.count(" = opened to 127.0.0.1:"_s), lines / 2);
            QCOMPARE(life.count(" = ended"_s), lines / 2);
            const auto others = QFile::ReadGroup | QFile::WriteGroup | QFile::ReadOther | QFile::WriteOther;
            QVERIFY(!(QFile::permissions(path) & others));
        }
    }

    void largeLogIsPutAside()
    {
        QTemporaryDir dir;
        LinkFixture links[2]; // which share a file, as two programs would
        Logger::instance().setDirectory(dir.path());
        for (LinkFixture& f : links) {
            Logger::instance().registerConnection(f.thread, logger::eLogFull, "large"_s);
            QVERIFY(f.connected());
        }
        const QString text(1500000, QLatin1Char('x'));
        for (int i = 0; i < 5; ++i) {
            LinkFixture& f = links[i % 2];
            f.thread->sendMessage(f.request(text), 0);
            QTRY_COMPARE(f.messages.size(), i / 2 + 1);
        }
        const QString path = Logger::instance().fileName("large"_s);
        QVERIFY(QFileInfo(path).size() > 0 && QFileInfo(path).size() <= 10000000);
        QVERIFY(QFileInfo(path + ".1"_s).size() > 3000000);
        QCOMPARE(QString(contents(path) + contents(path + ".1"_s)).count(" > Query "_s), 5);
        QCOMPARE(QDir(dir.path()).entryList(QDir::Files).size(), 2);
    }

    void unwritableDirectoryIsTracedOnce()
    {
        QTemporaryFile file;
        QVERIFY(file.open());
        LinkFixture f;
        Logger::instance().setDirectory(file.fileName()); // a file where the directory should be
        Logger::instance().registerConnection(f.thread, logger::eLogShort, "blocked"_s);
        QVERIFY(f.connected());
        for (int i = 1; i <= 3; ++i) {
            f.thread->sendMessage(f.request(), 0);
            QTRY_COMPARE(f.messages.size(), i);
        }
        QCOMPARE(f.traces.count("message log"_s), 1);
        QVERIFY(f.errors.isEmpty());
    }
};

KOLTA_TEST(TestLogger);
#include "tst_logger.moc"
