#include "treeside.h"

#include <distribution/localbroker.h>
#include <distribution/replay.h>
#include <distribution/treerecorder.h>
#include <support/files.h>
#include <support/program.h>

#include <memory>

using namespace distribution;

namespace {

/// A program of the installation, whose errors are among its output.
std::unique_ptr<Program> started(const QString& path, const QStringList& words, const QByteArray& input = {})
{
    auto program = std::make_unique<Program>();
    program->setProcessChannelMode(QProcess::MergedChannels);
    program->begin(path, words);
    program->feed(input);
    return program;
}

/// All that it has said, and its exit code.
QByteArray resultOf(Program& program)
{
    const QByteArray code = QByteArray::number(program.result());
    return program.said() + code;
}

QByteArray kolta(const QStringList& words, const QByteArray& input = {})
{
    return resultOf(*started(QStringLiteral(KOLTA_PROGRAM), words, input));
}

} // namespace

/// Recordings of real installations, and what becomes of them when something fails.
class TestRecording : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        // Of all programs: what writers had is gone soon after they are.
        const QString configuration =
            written("brief.ini", "[Distribution]\nBeatMs=200\nGraceMs=2000\nDeathGraceMs=200\n");
        qputenv("KOLTA_CONFIG", QFile::encodeName(configuration));
        QString error;
        QVERIFY2(m_broker.start(error), qPrintable(error));
    }

    /// Orders, a server that is killed and returns, a broker that goes and returns; then the same from the
    /// file: at its end, at once, step by step and backwards.
    void sessionIsPlayedAsItWas()
    {
        const QString file = m_folder.filePath(QStringLiteral("a session?.rec"));
        auto one = simulator("1");
        auto two = simulator("2");
        QVERIFY2(one->says("published as S1") && two->says("published as S2"), one->said().constData());
        const auto recorder = recorderOf({file});
        QVERIFY2(recorder->says("Ctrl-C ends"), recorder->said().constData());
        const QByteArray order = live("produce scp --server S1 --class HF --frequency 7.1M");
        QVERIFY2(order.endsWith('0'), order.constData());
        m_broker.kill();
        QVERIFY(recorder->says("Connection refused"));
        QString error;
        QVERIFY2(m_broker.start(error), qPrintable(error));
        QVERIFY(recorder->says("the broker is back"));
        const auto areBack = [this] { return live("servers --json", 5).count("\"live\"") == 2; };
        QVERIFY(waitFor(areBack)); // the broker has forgotten them
        two->kill();
        QVERIFY(waitFor([this] { return live("servers --json", 1).contains("\"lost\""); }));
        two = simulator("2");
        QVERIFY(two->says("published as S2"));
        QVERIFY(waitFor(areBack));
        QVERIFY(waitFor([this] { return !live("tree dump /").contains("/Clients/{"); }));
        const QByteArray dump = live("tree dump /");
        QVERIFY2(dump.endsWith('0') && dump.contains("S2/ADMINISTRATION/WorkingState"), dump.constData());
        recorder->signal(SIGINT);
        const QByteArray told = resultOf(*recorder);
        QVERIFY2(told.contains(" messages in ") && told.endsWith('0'), told.constData());

        QCOMPARE(atEndOf(file), dump);
        for (const char* const way :
             {"speed 10000\ngo end\n", "jump end\njump begin\nstep --number 1000000\n",
              "go +0.1\njump end\njump -1\ngo end\nfails stop --all\n"}) {
            const QByteArray played =
                kolta(words("replay --speed 100") + QStringList(file), QByteArray(way) + "tree dump /\n");
            QVERIFY2(played.mid(played.indexOf("\n/ ") + 1) == dump, way);
            QCOMPARE(played.contains("this is a recording, in which nothing can be changed"),
                     QByteArray(way).contains("stop"));
        }
        const auto watcher =
            started(QStringLiteral(KOLTA_PROGRAM),
                    words("watch --tree") + QStringList(ReplayAddress{file, 100, QString()}.ToUrl()));
        QVERIFY(watcher->says("request for SCP 1 is accepted") && watcher->says("S2 has vanished"));
    }

    /// More is said than the file may hold; what it holds then is the end, and time stands still in a pause.
    void boundedAndPaused()
    {
        QString error;
        const LinkOptions options = *LinkOptions::FromConfiguration(m_broker.url(), error);
        Side owner(options);
        owner.tree.Emplace<values::StringValue>(at("WorkingState"), QStringLiteral("up"));
        owner.tree.Emplace<values::StringValue>(at("Text"), QString());
        owner.publish();
        const QString file = m_folder.filePath(QStringLiteral("bounded.rec"));
        constexpr int kBound = 1 << 20;
        TreeRecorder recorder(options, file, kBound);
        QVERIFY(recorder.link().waitForLive({QStringLiteral("S1")}, kPatienceMs));
        QVERIFY2(recorder.start(error), qPrintable(error));
        const auto numberAt = [](const TreeRecorder& heard) {
            for (const BranchStatus& branch : heard.link().branches()) {
                if (branch.name == QLatin1String("S1"))
                    return branch.numbers.at(0).number;
            }
            return quint64(0);
        };
        qint64 largest = 0;
        for (quint64 said = 0; recorder.segmentsDropped() < 30; ++said) {
            QVERIFY(said < 2000 && recorder.isRecording());
            QString text;
            for (int i = 0; i < 1000; ++i)
                text += QUuid::createUuid().toString();
            owner.set("Text", text);
            const quint64 before = numberAt(recorder);
            QTRY_VERIFY(numberAt(recorder) > before);
            largest = std::max(largest, QFileInfo(file).size());
        }
        QVERIFY2(largest > kBound / 2 && largest <= kBound, QByteArray::number(largest).constData());
        recorder.stop(QStringLiteral("enough"));

        for (const char* const from : {"begin", "end"}) {
            const QString url = ReplayAddress{file, 1, QLatin1String(from)}.ToUrl();
            const auto replayed = LinkOptions::FromConfiguration(url, error);
            QVERIFY2(replayed, qPrintable(error));
            Side mirror(*replayed);
            mirror.mirror();
            Replay& replay = *mirror.link->replay();
            replay.pause();
            const qint64 position = replay.position();
            QTest::qWait(1000); // five beats of the owner
            QVERIFY(replay.position() == position &&
                    mirror.link->branches().first().state == BranchState::Live);
            replay.jump(replay.end());
            QTRY_VERIFY(replay.isAtEnd());
            QCOMPARE(mirror.text("Text"), owner.text("Text"));
            mirror.set("Text", QStringLiteral("other"));
            QTRY_COMPARE(mirror.text("Text"), owner.text("Text"));
            QCOMPARE(mirror.failures.size(), 1);
        }
    }

    /// Whoever writes it dies, or the disk is full: what was written can be played.
    void crashesAndFullDisks()
    {
        auto one = simulator("1");
        QVERIFY2(one->says("published as S1"), one->said().constData());
        const QString killed = m_folder.filePath(QStringLiteral("killed.rec"));
        QByteArray played;
        {
            const auto recorder = recorderOf({killed});
            QVERIFY(recorder->says("Ctrl-C ends"));
            live("produce scp --server S1 --class HF --frequency 7.1M");
            // The recorder hears no sooner than others that whoever ordered has left.
            const auto isHeard = [&] {
                const QByteArray dump = live("tree dump /");
                played = atEndOf(killed);
                return !dump.contains("/Clients/{") && played.endsWith(dump.mid(dump.indexOf("/ ")));
            };
            QVERIFY2(waitFor(isHeard), played.constData());
            recorder->kill();
            QVERIFY(recorder->ends());
        }
        const QByteArray heard = played.mid(played.indexOf("\n/ "));
        played = atEndOf(killed);
        QVERIFY2(heard.contains("WorkingState") && played.contains("was not ended") && played.endsWith(heard),
                 played.constData());

        // As long as one segment is there, any part can be played, up to the cut.
        const QByteArray whole = readFile(killed);
        QVERIFY(whole.size() > 2000);
        for (const int size : {whole.size() - 1, whole.size() - 9, whole.size() - 500}) {
            played = atEndOf(written("cut.rec", whole.left(size)));
            QVERIFY2(played.contains("bytes are not played") && played.contains("WorkingState") &&
                         played.endsWith('0'),
                     played.left(1000).constData());
        }
        const struct
        {
            QByteArray content;
            const char* problem;
        } bad[] = {{whole.left(1000), "it was cut off before anything was recorded"},
                   {QByteArray("KOLTALOG\2\0\0\0", 12), "it is a recording of version"},
                   {"<?xml version='1.0'?><something/>", "it is no recording"},
                   {"", "it is no recording"}};
        for (const auto& file : bad) {
            played = kolta(words("replay") + QStringList(written("bad.rec", file.content)));
            QVERIFY2(played.contains(file.problem) && played.count('\n') == 1 && played.endsWith('1'),
                     played.constData());
        }
        played = kolta(words("replay --from 25:00") + QStringList(killed));
        QVERIFY2(played.count('\n') == 1 && played.endsWith('2'), played.constData());
        for (const char* const wrong : {"demo --one-process\n", "jump \"\"\n"}) {
            played = kolta(words("replay") + QStringList(killed), wrong);
            QVERIFY2(played.count('\n') == 3 && played.endsWith('2'), played.constData());
        }
        played = kolta(words("record -"));
        QVERIFY2(played.contains("expected a file") && played.endsWith('2'), played.constData());
        played = kolta(words("record --tree") + QStringList{m_broker.url(), killed});
        QVERIFY2(played.contains("File exists") && readFile(killed) == whole, played.constData());

        const QString lost = m_folder.filePath(QStringLiteral("lost.rec"));
        const auto unseen = started(QStringLiteral(KOLTA_PROGRAM),
                                    words("record --tree") + QStringList{m_broker.url(), lost});
        QVERIFY(unseen->says("Ctrl-C ends") && QFile::remove(lost));
        played = resultOf(*unseen);
        QVERIFY2(played.contains("it was removed or cut") && played.endsWith('1'), played.constData());

        const QString full = m_folder.filePath(QStringLiteral("full.rec"));
        const auto limited = started(
            QStringLiteral("sh"), {QStringLiteral("-c"), QStringLiteral("ulimit -f 128; exec \"$@\""),
                                   QStringLiteral("sh"), QStringLiteral(KOLTA_PROGRAM),
                                   QStringLiteral("record"), full, QStringLiteral("--tree"), m_broker.url()});
        QVERIFY(limited->says("Ctrl-C ends"));
        for (int i = 0; i < 100 && limited->state() != QProcess::NotRunning; ++i) {
            live("produce scp --server S1 --class HF --frequency 7.1M");
            live("stop --all");
        }
        played = resultOf(*limited);
        QVERIFY2(played.count("cannot be written: File too large") == 1 && played.endsWith('1'),
                 played.constData());
        played = atEndOf(full);
        QVERIFY2(played.contains("WorkingState") && played.endsWith('0'), played.left(1000).constData());
    }

private:
    QString written(const char* name, const QByteArray& content) const
    {
        const QString path = m_folder.filePath(QLatin1String(name));
        return writeFile(path, content) ? path : QString();
    }
    QByteArray live(const char* command, int seconds = kPatienceMs / 1000) const
    {
        return kolta(words(command) + QStringList{QStringLiteral("--tree"), m_broker.url(),
                                                  QStringLiteral("--tree-timeout"),
                                                  QString::number(seconds)});
    }
    static QByteArray atEndOf(const QString& file)
    {
        return kolta(words("tree dump / --tree") +
                     QStringList(ReplayAddress{file, 0, QStringLiteral("end")}.ToUrl()));
    }
    std::unique_ptr<Program> recorderOf(const QStringList& further) const
    {
        return started(QStringLiteral(KOLTA_PROGRAM),
                       words("record --tree") + QStringList(m_broker.url()) + further);
    }
    std::unique_ptr<Program> simulator(const char* number) const
    {
        return started(QStringLiteral(KOLTASIM_PROGRAM),
                       words("--number") +
                           QStringList{QLatin1String(number), QStringLiteral("--publish"), m_broker.url()});
    }

    QTemporaryDir m_folder;
    LocalBroker m_broker{LocalBroker::Settings()};
};

KOLTA_TEST(TestRecording);
#include "tst_recording.moc"
