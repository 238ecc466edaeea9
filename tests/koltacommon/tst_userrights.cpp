#include <koltacommon/userrights.h>

#include <startup/errorhandler.h>

#include <QtTest>

#include <thread>

using Kolta::UserRights;
using Nax::ActiveUserProxy;
using Event = Nax::IActiveUserEvent::tagRIGHTEVENT;

namespace {

QString text(const char* characters)
{
    return QString::fromUtf8(characters);
}

const QByteArray users =
    "<Users><User id='1' name='few'><Right name='VeskManagement.StartManager'/>"
    "<Right name='VeskManagement.AdministrateSubsystem' count='5'/><Right name='Other.ManageDsc'/></User>"
    "<User id='2' name='same'><Right name='VeskManagement.StartManager' count='2'/>"
    "<Right name='VeskManagement.AdministrateSubsystem'/></User>"
    "<User id='3' name='none'/></Users>";

} // namespace

class TestUserRights : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void names();
    void answersAndSignals();
    void eventsThatMeanNothing();
    void slotsThatRevokeAgain();
    void prints();

private:
    /// What was signalled since the last call: "user ID name" and "rights EVENT".
    QStringList heard() { return std::exchange(m_heard, {}); }
    bool write(const QByteArray& content) const
    {
        QFile file(m_file);
        return file.open(QIODevice::WriteOnly) && file.write(content) == content.size();
    }

    QTemporaryDir m_folder;
    QString m_file = m_folder.filePath(text("users.xml"));
    QStringList m_heard;
    UserRights* m_rights = nullptr;
};

void TestUserRights::initTestCase()
{
    std::thread([this] { m_rights = &UserRights::Instance(); }).join();
    QCOMPARE(m_rights->thread(), qApp->thread());
    // Found by its name: the type can travel in queued signals.
    QSignalSpy queued(m_rights, SIGNAL(si_UserRightsChanged(Nax::IActiveUserEvent::tagRIGHTEVENT)));
    QVERIFY(queued.isValid());
    connect(m_rights, &UserRights::si_UserChanged, this,
            [this](long id, const QString& name) { m_heard.append(text("user %1 %2").arg(id).arg(name)); });
    connect(m_rights, &UserRights::si_UserRightsChanged, this,
            [this](Event event) { m_heard.append(text("rights %1").arg(event)); });
    Startup::ErrorHandler::Instance().setLoggingEnabled(false);
    // Not registered yet, so nothing is known of this user.
    QVERIFY(write(QByteArray(users).replace("<Users>", "<Users loggedIn='few'>")));
    QVERIFY(m_rights->InitForStandalone(m_file));
    QCOMPARE(m_rights->GetActiveUserID(), -1);
    m_rights->Initialize();
    m_rights->Initialize();
    QCOMPARE(heard(), (QStringList{text("user 1 few"), text("rights 1")}));
    m_rights->Reset();
    QCOMPARE(m_rights->GetActiveUserID(), -1);
    QVERIFY(!m_rights->IsUserAllowedTo(UserRights::StartManager));
    QCOMPARE(heard(), QStringList());
}

void TestUserRights::init()
{
    QVERIFY(write(users));
    QVERIFY(m_rights->InitForStandalone(m_file));
    heard();
}

void TestUserRights::names()
{
    QCOMPARE(UserRights::GetNumberOfRights(), 22);
    const char* const keys = "StartManager AdministrateSubsystem TerminateServices StartAndStopMcp "
                             "StartAndStopReplayMcp StartAndStopScp StartAndStopReplayScp StartAndStopFfp "
                             "ManageDsc ManageShortTime StopJobsAndTasks ManageConnections "
                             "ChangeTunerIdStrategy ViewDscResultsInFFP RequestOwnership ForceOwnership "
                             "ArchiveRecordings DeleteRecordings CommentRecordings ManagePirmIDs "
                             "ManageProcessingState ExtendLogConfiguration";
    QStringList names;
    for (int i = 0; i < 22; ++i) {
        names.append(UserRights::GetRightNameByIndex(i, false));
        const auto value = UserRights::GetRightValueByIndex(i);
        QCOMPARE(int(value), i == 0 ? 1 : 2 << i); // 2 is left out
        QCOMPARE(UserRights::GetRightNameByValue(value, true), text("VeskManagement.") + names.last());
    }
    QCOMPARE(names.join(QLatin1Char(' ')), text(keys));
    QCOMPARE(UserRights::GetRightNameByIndex(1, true), text("VeskManagement.AdministrateSubsystem"));
    for (const int index : {-1, 22}) {
        QCOMPARE(UserRights::GetRightNameByIndex(index, true), QString());
        QCOMPARE(int(UserRights::GetRightValueByIndex(index)), 0);
    }
    for (const int value : {0, 2, 5, -1})
        QCOMPARE(UserRights::GetRightNameByValue(UserRights::eManagementRight(value), true), QString());
}

void TestUserRights::answersAndSignals()
{
    ActiveUserProxy& proxy = ActiveUserProxy::Instance();
    const auto both = UserRights::StartManager | UserRights::AdministrateSubsystem;
    QVERIFY(m_rights->IsUserAllowedTo({}) && m_rights->IsUserAllowedToDoAnyOf({})); // with no user
    QVERIFY(!m_rights->IsUserAllowedToDoAnyOf(both));
    QVERIFY(proxy.LogIn(text("few")));
    QCOMPARE(heard(), (QStringList{text("user 1 few"), text("rights 1")}));
    QCOMPARE(m_rights->GetActiveUserID(), 1);
    QVERIFY(m_rights->IsUserAllowedTo(both) && m_rights->IsUserAllowedToDoAnyOf(both));
    QVERIFY(!m_rights->IsUserAllowedTo(both | UserRights::ManageDsc));
    QVERIFY(m_rights->IsUserAllowedToDoAnyOf(both | UserRights::ManageDsc));
    QVERIFY(!m_rights->IsUserAllowedToDoAnyOf(UserRights::ManageDsc | UserRights::ManageShortTime));
    QCOMPARE(m_rights->GetRightCount(UserRights::AdministrateSubsystem), 5);
    QCOMPARE(m_rights->GetRightCount(UserRights::ManageDsc), 0);
    QVERIFY(proxy.LogIn(text("same"))); // another user, the same set
    QCOMPARE(heard(), QStringList{text("user 2 same")});
    QVERIFY(write(QByteArray(users).replace("count='2'", "count='3'")) && proxy.Reload());
    QCOMPARE(heard(), QStringList()); // a count is no right
    QVERIFY(write(QByteArray(users).replace("StartManager", "ManageDsc")) && proxy.Reload());
    QCOMPARE(heard(), QStringList{text("rights 0")});
    QVERIFY(m_rights->IsUserAllowedTo(UserRights::ManageDsc));
    QVERIFY(proxy.LogIn(text("none")));
    QCOMPARE(heard(), (QStringList{text("user 3 none"), text("rights 1")}));
    proxy.LogOut();
    QCOMPARE(heard(), QStringList{text("user -1 ")});
    QVERIFY(proxy.LogIn(text("few")));
    heard();
    QVERIFY(write("<Users>") && !proxy.Reload());
    QCOMPARE(heard(), (QStringList{text("user -1 "), text("rights 6")}));
    QVERIFY(!m_rights->IsUserAllowedToDoAnyOf(both));
}

void TestUserRights::eventsThatMeanNothing()
{
    QVERIFY(ActiveUserProxy::Instance().LogIn(text("few")));
    heard();
    for (const int event : {-1, -6, 2, 3, 4, 7, 100})
        QVERIFY(!m_rights->onUpdateRights(static_cast<Event>(event)));
    QCOMPARE(m_rights->GetActiveUserID(), 1);
    for (const int event : {0, 1, 5, 6})
        QVERIFY(m_rights->onUpdateRights(static_cast<Event>(event)));
    QCOMPARE(heard(), (QStringList{text("user -1 few"), text("rights 5")})); // though nobody has logged out
}

/// A slot takes rights away while the user changes; all who ask then see the new state only.
void TestUserRights::slotsThatRevokeAgain()
{
    ActiveUserProxy& proxy = ActiveUserProxy::Instance();
    QObject scope;
    connect(m_rights, &UserRights::si_UserChanged, &scope, [&](long id) {
        if (id == 1)
            QVERIFY(write(QByteArray(users).replace("StartManager", "ManageDsc")) && proxy.Reload());
    });
    connect(m_rights, &UserRights::si_UserRightsChanged, &scope, [&](Event event) {
        QVERIFY(!m_rights->IsUserAllowedTo(UserRights::StartManager));
        if (event == Event::eUserUpdated)
            proxy.LogOut();
    });
    QVERIFY(proxy.LogIn(text("few")));
    QCOMPARE(heard(), (QStringList{text("user 1 few"), text("rights 0"), text("rights 1"), text("user -1 "),
                                   text("rights 5")}));
    QCOMPARE(m_rights->GetActiveUserID(), -1);
}

void TestUserRights::prints()
{
    QVERIFY(ActiveUserProxy::Instance().LogIn(text("few")));
    Startup::TraceRecorder traces;
    m_rights->printRights();
    const auto records = traces.records();
    QCOMPARE(records.size(), 22);
    QCOMPARE(records[1].text, text("\tAdministrateSubsystem: true"));
    QCOMPARE(records[21].text, text("\tExtendLogConfiguration: false"));
    QCOMPARE(records[0].source, text("devicecontrol/kolta/koltacommon/userrights"));
}

QTEST_GUILESS_MAIN(TestUserRights)
#include "tst_userrights.moc"
