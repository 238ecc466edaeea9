#include <distribution/localbroker.h>
#include <distribution/treelink.h>
#include <support/installation.h>
#include <support/program.h>
#include <support/test.h>

#include <values/tree.h>
#include <values/value.h>

#include <QScopeGuard>

#include <memory>

using namespace distribution;

namespace {

constexpr char kWorkingState[] = "/ConnectManager/AdminTree/S1/ADMINISTRATION/WorkingState";

} // namespace

/// Servers and clients as processes of their own, as their users start them.
class TestPrograms : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        QString error;
        QVERIFY2(m_broker.start(error), qPrintable(error));
        QVERIFY(configure(""));
    }

    void simulatorIsKilledAndReturns()
    {
        auto server = simulator();
        QCOMPARE(server->line().left(14), QStringLiteral("S1 listens on "));
        QCOMPARE(server->line(), QStringLiteral("published as S1"));

        values::Tree tree;
        QString error;
        LinkOptions options = *LinkOptions::FromConfiguration(m_broker.url(), error);
        options.graceMs = 1000;
        options.deathGraceMs = 300;
        TreeLink link(tree, options);
        QStringList states;
        connect(&link, &TreeLink::si_BranchChanged,
                [&](const QString&, BranchState state) { states << ToText(state); });
        link.mirror({QStringLiteral("S1")});
        QVERIFY(link.waitForLive({QStringLiteral("S1")}, kPatienceMs));
        const auto isUp = [&] {
            const auto* const state = tree.FindAs<values::SelectionValue>(QLatin1String(kWorkingState));
            return state && !state->IsDeleted() && state->GetSelectedKey() > 0;
        };
        QTRY_VERIFY(isUp());
        const int items = tree.Size();
        const QByteArray alive = runKolta("status --health --server S1", m_broker.url());
        QVERIFY2(alive.startsWith("OK: 1 server up, 20 of 26 tuners free, 0 productions | servers=1 up=1 ") &&
                     alive.endsWith("\n0"),
                 alive.constData());

        // Overviews stay when the server dies, its working state goes, and all is as before when it returns.
        server->kill();
        QTRY_COMPARE(states.last(), QStringLiteral("lost"));
        QVERIFY(!isUp() && tree.Size() > items - 3);
        const QByteArray dead = inTheEnd("status --health --server S1", m_broker.url(), "CRITICAL");
        QVERIFY2(dead.startsWith("CRITICAL: S1 is lost | ") && dead.endsWith('2'), dead.constData());
        goOnWithout(QByteArray("kolta: S1 is lost\n"));
        server = simulator();
        QTRY_VERIFY(isUp() && states.last() == QStringLiteral("live"));

        // A second one of the name is refused, or takes over: then the first one ends.
        auto second = simulator();
        QCOMPARE(second->result(), 3);
        QVERIFY(second->complaints().contains("the name \"S1\" is taken by host"));
        second = simulator({QStringLiteral("--take-over")});
        QCOMPARE(server->result(), 3);
        QTRY_COMPARE(states.last(), QStringLiteral("live"));

        // Who is asked to end takes its tree along.
        second->terminate();
        QCOMPARE(second->result(), 0);
        QTRY_COMPARE(states.last(), QStringLiteral("withdrawn"));
        QVERIFY(!tree.Find(QStringLiteral("/ConnectManager/AdminTree/S1/ADMINISTRATION")));
    }

    /// Rights decide at the owner: what is refused is undone and names the right, and all is written down,
    /// also by those who carry it out later.
    void rightsAtTheDoor()
    {
        auto server =
            simulator({QStringLiteral("--users"), installationFolder() + QStringLiteral("/users.xml")});
        server->line();
        QCOMPARE(server->line(), QStringLiteral("published as S1"));
        const QString base = QStringLiteral("/ConnectManager/AdminTree/S1/ADMINISTRATION/");
        const struct
        {
            const char* user;
            const char* node;
            const char* missing;
        } orders[] = {{"visitor", "stopAll", "StopJobsAndTasks"},
                      {"visitor", "RequestsNode/id", "StartAndStopFfp"},
                      {"visitor", "StopResource", "StartAndStopFfp"},
                      {"nobody", "Quit", "TerminateServices"},
                      {"operator", "ChangedTuners", "AdministrateSubsystem"},
                      {"operator", "OwnerRequest", "ForceOwnership"},
                      {"operator", "stopAll", ""}};
        for (const auto& order : orders) {
            QString error;
            LinkOptions options = *LinkOptions::FromConfiguration(m_broker.url(), error);
            options.mqtt.address.user = order.user;
            values::Tree tree;
            TreeLink link(tree, options);
            const QSignalSpy failed(&link, &TreeLink::si_WishFailed);
            link.mirror({QStringLiteral("S1")});
            QVERIFY(link.waitForLive({QStringLiteral("S1")}, kPatienceMs));
            const QString path = base + QLatin1String(order.node);
            const QString text =
                qstrcmp(order.node, "OwnerRequest") == 0
                    ? QStringLiteral("<OwnerRequest><Action>2</Action><Owner><ClientID>x</ClientID></Owner>"
                                     "</OwnerRequest>")
                    : QStringLiteral("please");
            if (auto* const value = tree.FindAs<values::StringValue>(path))
                value->SetValue(text);
            else
                tree.Emplace<values::StringValue>(path, text);
            const bool refused = *order.missing != 0;
            const QByteArray reason = QByteArray(order.user) + " lacks the right " + order.missing;
            const QByteArray audit =
                path.toUtf8() + (refused ? ": refused, " + reason : QByteArray(": done"));
            QVERIFY(server->complains(audit));
            QTRY_COMPARE(failed.size(), int(refused));
            QVERIFY(!refused || failed.first().at(1).toString().endsWith(QString::fromLatin1(reason)));
            QVERIFY(server->complaints().contains(QByteArray(order.user) + " from "));
        }
        QVERIFY(server->complains(": stop all: done"));
        QVERIFY(!server->complaints().contains("unknown user"));
    }

    /// What a broker refuses is told once and at once, and not before it was published after all.
    void refusedByTheBroker()
    {
        LocalBroker::Settings settings;
        settings.users = {{"visitor", "right"}};
        settings.accessList = LocalBroker::AccessList("kolta", {"S1"});
        LocalBroker broker(settings);
        QString error;
        QVERIFY2(broker.start(error), qPrintable(error));
        const QString configuration = m_folder.filePath(QStringLiteral("visitor.ini"));
        const auto configure = [&](const char* password) {
            QFile secret(m_folder.filePath(QStringLiteral("password")));
            QFile file(configuration);
            return secret.open(QIODevice::WriteOnly) && secret.write(password) > 0 &&
                   file.open(QIODevice::WriteOnly) &&
                   file.write("[Distribution]\nUser=visitor\nPasswordFile=" + secret.fileName().toUtf8()) > 0;
        };
        QVERIFY(configure("right"));
        const Program::Variables variables{{"KOLTA_CONFIG", configuration}};
        Program server(QStringLiteral(KOLTASIM_PROGRAM), {QStringLiteral("--publish"), broker.url()},
                       variables);
        QCOMPARE(server.result(), 1);
        const QByteArray& told = server.complaints();
        QVERIFY2(told.count("does not let the user \"visitor\" publish \"S1\"") == 1, told.constData());
        QCOMPARE(server.said().count('\n'), 1);

        QVERIFY(configure("wrong"));
        Program client(QStringLiteral(KOLTA_PROGRAM),
                       {QStringLiteral("status"), QStringLiteral("--tree"), broker.url(),
                        QStringLiteral("--tree-timeout"), QStringLiteral("3600")},
                       variables);
        QCOMPARE(client.result(), 4);
        const QByteArray& refused = client.complaints();
        QVERIFY2(refused.contains("does not admit the user \"visitor\" with this password") &&
                     refused.count('\n') == 1,
                 refused.constData());
    }

    /// What cannot come up ends at once, says why, and leaves no password behind.
    void installationThatFails()
    {
        const auto place = [this](const char* name) { return m_folder.filePath(QLatin1String(name)); };
        const auto up = [&] {
            return std::make_unique<Program>(
                place("bin/kolta"), QStringList{QStringLiteral("up")},
                Program::Variables{{"KOLTA_CONFIG", configurationFile()}, {"XDG_DATA_HOME", place("data")}});
        };
        const auto simulator = [&](const char* script) {
            QFile file(place("bin/koltasim"));
            return file.open(QIODevice::WriteOnly) && file.write(script) > 0 &&
                   file.setPermissions(QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
        };
        const auto said = [](Program& program) {
            const QByteArray code = QByteArray::number(program.result());
            return QByteArray(code + ' ' + program.complaints());
        };
        QVERIFY(QDir().mkpath(place("bin")) && QFile::copy(QLatin1String(KOLTA_PROGRAM), place("bin/kolta")));
        const QByteArray noSimulator = said(*up());
        QVERIFY2(noSimulator.startsWith("1 kolta: S1 cannot be started: "), noSimulator.constData());
        QVERIFY(simulator("#!/bin/sh\necho as it must >&2\nexit 7\n"));
        QCOMPARE(said(*up()), QByteArray("1 kolta: S1 has ended with 7: as it must\n"));

        QVERIFY(simulator("#!/bin/sh\ntouch ${0%/bin/*}/runs\nexec sleep 1000\n"));
        const auto waiting = up();
        QTRY_VERIFY(QFile::exists(place("runs")));
        const QFileInfo secrets(place("data/kolta/brokers"));
        constexpr auto others = QFile::Permissions(0x77);
        QCOMPARE(secrets.permissions() & others, QFile::Permissions());
        QCOMPARE(QDir(secrets.filePath()).entryList(QDir::Files).size(), 1);
        waiting->signal(SIGINT);
        QCOMPARE(said(*waiting), QByteArray("1 kolta: interrupted\n"));
        QVERIFY(!QFileInfo::exists(QFileInfo(secrets.filePath()).path()));
    }

    /// One command starts everything; every program of this user is admitted with the URL alone; and nothing
    /// is left behind, whatever has died meanwhile.
    void wholeInstallation_data()
    {
        QTest::addColumn<bool>("tls");
        QTest::newRow("plain") << false;
        QTest::newRow("TLS") << true;
    }
    void wholeInstallation()
    {
        QFETCH(bool, tls);
        // Of another broker, which says nothing about this one.
        QVERIFY(configure("User=anna\nPasswordFile=/nowhere\nCaFile=/nowhere\nPrefix=elsewhere\n"));
        const auto restore = qScopeGuard([this] { configure(""); });
        Program up(QStringLiteral(KOLTA_PROGRAM),
                   QStringList{QStringLiteral("up"), QStringLiteral("--servers"), QStringLiteral("2"),
                               QStringLiteral("--restart")} +
                       (tls ? QStringList(QStringLiteral("--tls")) : QStringList()),
                   ownConfiguration());
        const QString tree = up.line();
        QVERIFY2(tree.startsWith(tls ? QStringLiteral("tree mqtts://127.0.0.1:")
                                     : QStringLiteral("tree mqtt://127.0.0.1:")),
                 qPrintable(tree));
        const QString url = tree.section(QLatin1Char(' '), 1);
        QVector<pid_t> processes{up.line().section(QLatin1Char(' '), 1).toInt()};
        for (const char* const name : {"S1", "S2"}) {
            const QStringList words = up.line().split(QLatin1Char(' '));
            QCOMPARE(words.value(0), QLatin1String(name));
            processes.append(words.value(1).toInt());
        }
        const auto kolta = [&](const char* words) { return runKolta(words, url); };
        const QByteArray dump = kolta("tree dump /ConnectManager/AdminTree/S2");
        QVERIFY2(dump.contains("/ConnectManager/AdminTree/S2/ADMINISTRATION/Resources StringValue\n") &&
                     dump.endsWith('0'),
                 dump.right(300).constData());
        const QByteArray order = kolta("produce scp --server S2 --class HF --frequency 7.1M");
        const QByteArray seen = kolta("productions --json");
        QVERIFY2(order.endsWith('0') && seen.contains("SCP"), QByteArray(order + seen).constData());
        const QByteArray figures = kolta("metrics");
        for (const char* const line :
             {"kolta_tree_up 1\n", "kolta_server_up{server=\"S1\"} 1\n",
              "kolta_tuners{server=\"S2\",state=\"in_use\"} 5\n", "kolta_processors{server=\"S2\"} 2\n",
              "kolta_server_last_message_age_seconds{server=\"S2\"} "})
            QVERIFY2(figures.contains(line), figures.constData());

        ::kill(processes.last(), SIGKILL);
        QVERIFY(up.complains("S2 was started again: "));
        const QByteArray& told = up.complaints();
        processes.append(told.mid(told.indexOf("again: ") + 7).trimmed().toInt());
        QVERIFY(waitFor([&] { return runKolta("servers --json", url, 5).count("\"live\"") == 2; }));

        up.terminate();
        QCOMPARE(up.result(), 0);
        for (const pid_t process : processes)
            QVERIFY(::kill(process, 0) != 0);
        QVERIFY(configure(""));
        const QByteArray after = inTheEnd("servers", url, "Connection refused");
        QVERIFY2(after.contains("Connection refused") && after.endsWith('4'), after.constData());
        const QByteArray health = inTheEnd("status --health", url, "UNKNOWN");
        QVERIFY2(health.startsWith("UNKNOWN: ") && health.endsWith('3'), health.constData());
    }

private:
    /// Commands work on the servers that are there, but do not order from one for want of another.
    void goOnWithout(const QByteArray& told)
    {
        auto other = simulator({QStringLiteral("--number"), QStringLiteral("2")});
        other->line();
        QCOMPARE(other->line(), QStringLiteral("published as S2"));
        const auto kolta = [&](const char* words) { return runKolta(words, m_broker.url()); };
        QCOMPARE(kolta("productions"), QByteArray("nothing runs\n" + told + '0'));
        QCOMPARE(kolta("productions --server S2"), QByteArray("nothing runs\n0"));
        QCOMPARE(inTheEnd("productions --server S1", m_broker.url(), told), QByteArray(told + '4'));
        const QByteArray unclear = kolta("produce scp --class HF");
        QVERIFY2(unclear.contains("name one with --server: S1, S2\n1"), unclear.constData());
        const QByteArray all = kolta("status --json");
        QVERIFY2(all.contains("\"server\":\"S1\"") && all.contains("\"server\":\"S2\"") && all.endsWith('1'),
                 all.constData());
    }

    /// What the command prints and, behind it, its exit code.
    QByteArray runKolta(const char* command, const QString& url, int seconds = kPatienceMs / 1000) const
    {
        Program run(QStringLiteral(KOLTA_PROGRAM),
                    words(command) + QStringList{QStringLiteral("--tree"), url,
                                                 QStringLiteral("--tree-timeout"), QString::number(seconds)},
                    ownConfiguration());
        const QByteArray code = QByteArray::number(run.result());
        return run.said() + run.complaints() + code;
    }
    /// The same of one that waits in vain: no longer than a second, but again until it says why.
    QByteArray inTheEnd(const char* command, const QString& url, const QByteArray& why) const
    {
        QByteArray told;
        waitFor([&] { return (told = runKolta(command, url, 1)).contains(why); });
        return told;
    }
    bool configure(const char* more) const
    {
        QFile file(configurationFile());
        return file.open(QIODevice::WriteOnly) &&
               file.write("[Distribution]\nBeatMs=1000\nGraceMs=5000\nDeathGraceMs=300\n") > 0 &&
               file.write(more) >= 0;
    }
    QString configurationFile() const { return m_folder.filePath(QStringLiteral("kolta.ini")); }
    Program::Variables ownConfiguration() const { return {{"KOLTA_CONFIG", configurationFile()}}; }
    std::unique_ptr<Program> simulator(const QStringList& options = {}) const
    {
        const QStringList arguments{QStringLiteral("--publish"), m_broker.url()};
        return std::make_unique<Program>(QStringLiteral(KOLTASIM_PROGRAM), arguments + options,
                                         ownConfiguration());
    }

    QTemporaryDir m_folder;
    LocalBroker m_broker{LocalBroker::Settings()};
};

KOLTA_TEST(TestPrograms);
#include "tst_programs.moc"
