#include <koltacommon/userrights.h>
#include <support/files.h>
#include <support/test.h>

#include <atomic>
#include <thread>

using Kolta::UserRights;
using Nax::ActiveUserProxy;
using Event = Nax::IActiveUserEvent::tagRIGHTEVENT;

namespace {

const QByteArray users =
    "<Users><User id='1' name='few'><Right name='VeskManagement.StartManager'/>"
    "<Right name='VeskManagement.AdministrateSubsystem' count='5'/><Right name='Other.ManageDsc'/></User>"
    "<User id='2' name='same'><Right name='VeskManagement.StartManager' count='2'/>"
    "<Right name='VeskManagement.AdministrateSubsystem'/></User>"
    "<User id='3' name='none'/></Users>";

/// Made before there is an application object, on a thread that has ended by then.
UserRights* const early = [] {
    UserRights* rights = nullptr;
    std::thread([&rights] { rights = &UserRights::Instance(); }).join();
    return rights;
}();

} // namespace

class TestUserRights : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        m_rights = early;
        QCOMPARE(m_rights->thread(), qApp->thread());
        // Found by its name: the type can travel in queued signals.
        QSignalSpy queued(m_rights, SIGNAL(si_UserRightsChanged(Nax::IActiveUserEvent::tagRIGHTEVENT)));
        QVERIFY(queued.isValid());
        connect(m_rights, &UserRights::si_UserChanged, this,
                [this](long id, const QString& name) { m_heard.append("user %1 %2"_s.arg(id).arg(name)); });
        connect(m_rights, &UserRights::si_UserRightsChanged, this,
                [this](Event event) { m_heard.append("rights %1"_s.arg(event)); });
        Startup::ErrorHandler::Instance().setLoggingEnabled(false);
        // Not registered yet, so nothing is known of this user.
        QVERIFY(writeFile(m_file, QByteArray(users).replace("<Users>", "<Users loggedIn='few'>")));
        QVERIFY(m_rights->InitForStandalone(m_file));
        QCOMPARE(m_rights->GetActiveUserID(), -1);
        m_rights->Initialize();
        m_rights->Initialize();
        QCOMPARE(heard(), (QStringList{"user 1 few"_s, "rights 1"_s}));
        m_rights->Reset();
        QCOMPARE(m_rights->GetActiveUserID(), -1);
        QVERIFY(!m_rights->IsUserAllowedTo(UserRights::StartManager));
        QCOMPARE(heard(), QStringList());
    }

    void init()
    {
        QVERIFY(writeFile(m_file, users));
        QVERIFY(m_rights->InitForStandalone(m_file));
        heard();
    }

    void names()
    {
        QStringList names;
        for (int i = 0; i < UserRights::GetNumberOfRights(); ++i) {
            names.append(UserRights::GetRightNameByIndex(i, false));
            const auto value = UserRights::GetRightValueByIndex(i);
            QCOMPARE(int(value), i == 0 ? 1 : 2 << i); // 2 is left out
            QCOMPARE(UserRights::GetRightNameByValue(value, true), "VeskManagement."_s + names.last());
        }
        QCOMPARE(names.removeDuplicates(), 0);
        for (const int index : {-1, names.size()}) {
            QCOMPARE(UserRights::GetRightNameByIndex(index, true), QString());
            QCOMPARE(int(UserRights::GetRightValueByIndex(index)), 0);
        }
        for (const int value : {0, 2, 5, -1})
            QCOMPARE(UserRights::GetRightNameByValue(UserRights::eManagementRight(value), true), QString());
    }

    void answersAndSignals()
    {
        ActiveUserProxy& proxy = ActiveUserProxy::Instance();
        const auto both = UserRights::StartManager | UserRights::AdministrateSubsystem;
        QVERIFY(m_rights->IsUserAllowedTo({}) && m_rights->IsUserAllowedToDoAnyOf({})); // with no user
        QVERIFY(!m_rights->IsUserAllowedToDoAnyOf(both));
        QVERIFY(proxy.LogIn("few"_s));
        QCOMPARE(heard(), (QStringList{"user 1 few"_s, "rights 1"_s}));
        QCOMPARE(m_rights->GetActiveUserID(), 1);
        QVERIFY(m_rights->IsUserAllowedTo(both) && m_rights->IsUserAllowedToDoAnyOf(both));
        QVERIFY(!m_rights->IsUserAllowedTo(both | UserRights::ManageDsc));
        QVERIFY(m_rights->IsUserAllowedToDoAnyOf(both | UserRights::ManageDsc));
        QVERIFY(!m_rights->IsUserAllowedToDoAnyOf(UserRights::ManageDsc | UserRights::ManageShortTime));
        QCOMPARE(m_rights->GetRightCount(UserRights::AdministrateSubsystem), 5);
        QCOMPARE(m_rights->GetRightCount(UserRights::ManageDsc), 0);
        QVERIFY(proxy.LogIn("same"_s)); // another user, the same set
        QCOMPARE(heard(), QStringList{"user 2 same"_s});
        QVERIFY(writeFile(m_file, QByteArray(users).replace("count='2'", "count='3'")) && proxy.Reload());
        QCOMPARE(heard(), QStringList()); // a count is no right
        QVERIFY(writeFile(m_file, QByteArray(users).replace("StartManager", "ManageDsc")) && proxy.Reload());
        QCOMPARE(heard(), QStringList{"rights 0"_s});
        QVERIFY(m_rights->IsUserAllowedTo(UserRights::ManageDsc));
        QVERIFY(proxy.LogIn("none"_s));
        QCOMPARE(heard(), (QStringList{"user 3 none"_s, "rights 1"_s}));
        proxy.LogOut();
        QCOMPARE(heard(), QStringList{"user -1 "_s});
        QVERIFY(proxy.LogIn("few"_s));
        heard();
        QVERIFY(writeFile(m_file, "<Users>") && !proxy.Reload());
        QCOMPARE(heard(), (QStringList{"user -1 "_s, "rights 6"_s}));
        QVERIFY(!m_rights->IsUserAllowedToDoAnyOf(both));
    }

    void eventsThatMeanNothing()
    {
        QVERIFY(ActiveUserProxy::Instance().LogIn("few"_s));
        heard();
        for (const int event : {-1, -6, 2, 3, 4, 7, 100})
            QVERIFY(!m_rights->onUpdateRights(static_cast<Event>(event)));
        QCOMPARE(m_rights->GetActiveUserID(), 1);
        for (const int event : {0, 1, 5, 6})
            QVERIFY(m_rights->onUpdateRights(static_cast<Event>(event)));
        QCOMPARE(heard(), (QStringList{"user -1 "_s, "rights 5"_s})); // though nobody has logged out
    }

    /// A slot takes rights away while the user changes; all who ask then see the new state only.
    void slotsThatRevokeAgain()
    {
        ActiveUserProxy& proxy = ActiveUserProxy::Instance();
        QObject scope;
        connect(m_rights, &UserRights::si_UserChanged, &scope, [&](long id) {
            if (id == 1)
                QVERIFY(writeFile(m_file, QByteArray(users).replace("StartManager", "ManageDsc")) &&
                        proxy.Reload());
        });
        connect(m_rights, &UserRights::si_UserRightsChanged, &scope, [&](Event event) {
            QVERIFY(!m_rights->IsUserAllowedTo(UserRights::StartManager));
            if (event == Event::eUserUpdated)
                proxy.LogOut();
        });
        QVERIFY(proxy.LogIn("few"_s));
        QCOMPARE(heard(),
                 (QStringList{"user 1 few"_s, "rights 0"_s, "rights 1"_s, "user -1 "_s, "rights 5"_s}));
        QCOMPARE(m_rights->GetActiveUserID(), -1);
    }

    /// Another thread changes the user all the time: the user and the rights are of one moment.
    void rightsOfOneUser()
    {
        QByteArray file = "<Users><User id='1' name='all'>";
        UserRights::eManagementRights all;
        for (int i = 0; i < UserRights::GetNumberOfRights(); ++i) {
            file += "<Right name='" + UserRights::GetRightNameByIndex(i, true).toLatin1() + "'/>";
            all |= UserRights::GetRightValueByIndex(i);
        }
        QVERIFY(writeFile(m_file, file + "</User><User id='3' name='none'/></Users>"));
        QVERIFY(m_rights->InitForStandalone(m_file));
        std::atomic<bool> isDone{false};
        std::thread changes([&isDone] {
            for (int i = 0; i < 60000; ++i)
                ActiveUserProxy::Instance().LogIn(i % 2 ? "none"_s : "all"_s);
            isDone = true;
        });
        int mixed = 0;
        while (!isDone) {
            m_rights->onUpdateRights(Event::eUserUpdated);
            const bool isAll = m_rights->GetActiveUserID() == 1;
            if (m_rights->IsUserAllowedTo(all) != isAll || m_rights->IsUserAllowedToDoAnyOf(all) != isAll)
                ++mixed;
        }
        changes.join();
        for (const QString& line : heard())
            mixed += line == "user 1 none"_s || line == "user 3 all"_s;
        QCOMPARE(mixed, 0);
        QCoreApplication::processEvents(); // what is still due
    }

    /// One line per right, set in by a tab.
    void printsRights()
    {
        static QStringList lines;
        QVERIFY(ActiveUserProxy::Instance().LogIn("few"_s));
        Startup::ErrorHandler::Instance().setLoggingEnabled(true);
        const auto usual = qInstallMessageHandler(
            [](QtMsgType, const QMessageLogContext&, const QString& text) { lines << text; });
        m_rights->printRights();
        qInstallMessageHandler(usual);
        Startup::ErrorHandler::Instance().setLoggingEnabled(false);
        QCOMPARE(lines.size(), UserRights::GetNumberOfRights());
        QCOMPARE(lines.filter(" \tStartManager: true"_s).size(), 1);
    }

private:
    /// What was signalled since the last call: "user ID name" and "rights EVENT".
    QStringList heard() { return std::exchange(m_heard, {}); }
    QTemporaryDir m_folder;
    QString m_file = m_folder.filePath("users.xml"_s);
    QStringList m_heard;
    UserRights* m_rights = nullptr;
};

KOLTA_TEST(TestUserRights);
#include "tst_userrights.moc"
