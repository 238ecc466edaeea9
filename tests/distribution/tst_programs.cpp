#include <distribution/localbroker.h>
#include <distribution/treelink.h>

#include <values/tree.h>
#include <values/value.h>

#include <QProcess>
#include <QtTest>

#include <csignal>
#include <memory>

using namespace distribution;

namespace {

constexpr int kPatience = 20000;
constexpr char kWorkingState[] = "/ConnectManager/AdminTree/S1/ADMINISTRATION/WorkingState";

/// A program with the next lines that it prints.
class Program : public QProcess
{
public:
    Program(const char* path, const QStringList& arguments, const QString& configuration)
    {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QStringLiteral("KOLTA_CONFIG"), configuration);
        setProcessEnvironment(environment);
        start(QLatin1String(path), arguments);
    }
    ~Program() override
    {
        kill();
        waitForFinished();
    }
    QString line()
    {
        return QTest::qWaitFor([this] { return canReadLine(); }, kPatience)
                   ? QString::fromUtf8(readLine()).trimmed()
                   : QStringLiteral("no line");
    }
    int result() { return waitForFinished(kPatience) ? exitCode() : -1; }
};

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
        QFile configuration(configurationFile());
        QVERIFY(configuration.open(QIODevice::WriteOnly));
        QVERIFY(configuration.write("[Distribution]\nBeatMs=300\nGraceMs=1000\nDeathGraceMs=300\n") > 0);
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
        QVERIFY(link.waitForLive({QStringLiteral("S1")}, kPatience));
        const auto isUp = [&] {
            const auto* const state = tree.FindAs<values::SelectionValue>(QLatin1String(kWorkingState));
            return state && !state->IsDeleted() && state->GetSelectedKey() > 0;
        };
        QTRY_VERIFY_WITH_TIMEOUT(isUp(), kPatience);
        const int items = tree.Size();

        // Overviews stay when the server dies, its working state goes, and all is as before when it returns.
        server->kill();
        QTRY_COMPARE_WITH_TIMEOUT(states.last(), QStringLiteral("lost"), kPatience);
        QVERIFY(!isUp() && tree.Size() > items - 3);
        server = simulator();
        QTRY_VERIFY_WITH_TIMEOUT(isUp() && states.last() == QStringLiteral("live"), kPatience);

        // A second one of the name is refused, or takes over: then the first one ends.
        auto second = simulator();
        QCOMPARE(second->result(), 3);
        QVERIFY(second->readAllStandardError().contains("the name \"S1\" is taken by host"));
        second = simulator({QStringLiteral("--take-over")});
        QCOMPARE(server->result(), 3);
        QTRY_COMPARE_WITH_TIMEOUT(states.last(), QStringLiteral("live"), kPatience);

        // Who is asked to end takes its tree along.
        second->terminate();
        QCOMPARE(second->result(), 0);
        QTRY_COMPARE_WITH_TIMEOUT(states.last(), QStringLiteral("withdrawn"), kPatience);
        QVERIFY(!tree.Find(QStringLiteral("/ConnectManager/AdminTree/S1/ADMINISTRATION")));
    }

private:
    QString configurationFile() const { return m_folder.filePath(QStringLiteral("kolta.ini")); }
    std::unique_ptr<Program> simulator(const QStringList& options = {}) const
    {
        const QStringList arguments{QStringLiteral("--installation"), QStringLiteral(KOLTA_INSTALLATION_DIR),
                                    QStringLiteral("--publish"), m_broker.url()};
        return std::make_unique<Program>(KOLTASIM_PROGRAM, arguments + options, configurationFile());
    }

    QTemporaryDir m_folder;
    LocalBroker m_broker{LocalBroker::Settings()};
};

QTEST_GUILESS_MAIN(TestPrograms)
#include "tst_programs.moc"
