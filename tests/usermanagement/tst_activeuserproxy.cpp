#include <support/files.h>
#include <support/test.h>
#include <usermanagement/activeuserproxy.h>

#include <thread>
#include <vector>

using Nax::ActiveUserProxy;
using Nax::IActiveUserEvent;

namespace {

/// Two users; the second is logged in.
const QByteArray good = "<?xml version='1.0'?>\n<!-- ours -->\n<Users loggedIn='ben'>\n"
                        "  <User id='0' name='ada'><Right name='R.a'/></User>\n"
                        "  <User id='7' name='ben'><Right name='R.a' count='3'/><Right name='R.b'/></User>\n"
                        "</Users>\n";

QByteArray changed(const char* before, const char* after)
{
    return QByteArray(good).replace(before, after);
}

/// Notes what it hears, and does something then.
struct Listener : IActiveUserEvent
{
    explicit Listener(std::function<void()> deed = {}) : act(std::move(deed)) {}
    bool onUpdateRights(tagRIGHTEVENT event) override
    {
        events.append(event);
        onMainThread = onMainThread && QThread::currentThread() == qApp->thread();
        if (const auto deed = std::exchange(act, {}))
            deed();
        return true;
    }
    QVector<int> take() { return std::exchange(events, {}); }

    std::function<void()> act; ///< once
    QVector<int> events;
    bool onMainThread = true;
};

} // namespace

class TestActiveUserProxy : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    /// The first use of the proxy, by many threads at once.
    void initTestCase()
    {
        std::vector<ActiveUserProxy*> found(4);
        std::vector<std::thread> threads;
        for (auto& proxy : found)
            threads.emplace_back([&proxy] { proxy = &ActiveUserProxy::Instance(); });
        for (std::thread& thread : threads)
            thread.join();
        for (const ActiveUserProxy* proxy : found) {
            QCOMPARE(proxy, found.front());
            QCOMPARE(proxy->thread(), qApp->thread());
        }
        Startup::ErrorHandler::Instance().setLoggingEnabled(false);
    }

    void init()
    {
        ActiveUserProxy::Instance().SetConfiguration(QString());
        QVERIFY(writeFile(m_file, good));
    }

    void badFilesLogOut()
    {
        ActiveUserProxy& proxy = ActiveUserProxy::Instance();
        QVERIFY(proxy.SetConfiguration(m_file));
        QVERIFY(proxy.HasRight("R.a"_s));
        Listener listener;
        proxy.RegisterCallback(&listener);
        Startup::TraceRecorder traces;
        QVERIFY(writeFile(m_file, good.chopped(10)));
        QVERIFY(!proxy.Reload());
        QVERIFY(proxy.ConfigurationError().startsWith(m_file + ", line 5, column "_s));
        QVERIFY(!proxy.Reload());
        QCOMPARE(traces.count(proxy.ConfigurationError()), 1); // told once
        QCOMPARE(listener.take(), (QVector<int>{1, 6}));
        QVERIFY(!proxy.HasRight("R.a"_s) && !proxy.LogIn("ada"_s));
        QCOMPARE(proxy.GetActiveUserID(), -1);
        QVERIFY(writeFile(m_file, good) && proxy.Reload());
        QCOMPARE(proxy.GetRightCount("R.a"_s), 3);
        QCOMPARE(proxy.ConfigurationError(), QString());
    }

    void tellsWhatHasChanged()
    {
        ActiveUserProxy& proxy = ActiveUserProxy::Instance();
        Listener listener;
        proxy.RegisterCallback(&listener);
        proxy.RegisterCallback(&listener);
        const auto file = [&](const QByteArray& text) { return writeFile(m_file, text) && proxy.Reload(); };
        struct Step
        {
            const char* name;
            std::function<bool()> deed;
            QVector<int> events;
            const char* user; ///< "ID name count-of-R.a"
        };
        const Step steps[] = {
            {"the file logs in", [&] { return proxy.SetConfiguration(m_file); }, {1}, "7 ben 3"},
            {"nothing changes", [&] { return proxy.Reload() && proxy.LogIn("ben"_s); }, {}, "7 ben 3"},
            {"a stranger", [&] { return !proxy.LogIn("Ben"_s) && !proxy.LogIn({}); }, {}, "7 ben 3"},
            {"another user", [&] { return proxy.LogIn("ada"_s); }, {1}, "0 ada 1"},
            {"others' rights", [&] { return file(changed("count='3'", "count='4'")); }, {}, "0 ada 1"},
            {"a right revoked", [&] { return file(changed("<Right name='R.a'/>", "")); }, {0}, "0 ada 0"},
            {"a new name", [&] { return file(changed("'ada'", "'eva'")); }, {1}, "0 eva 1"},
            {"no longer there", [&] { return file(changed("id='0'", "id='1'")); }, {6}, "-1  0"},
            {"logged in again", [&] { return proxy.LogIn("ada"_s); }, {1}, "1 ada 1"},
            {"by the file",
             [&] { return file(changed("loggedIn='ben'", "loggedIn='ada'")); },
             {1},
             "0 ada 1"},
            {"out by the file", [&] { return file(changed(" loggedIn='ben'", "")); }, {5}, "-1  0"},
            {"in by the file", [&] { return file(good); }, {1}, "7 ben 3"},
            {"logged out", [&] { return proxy.LogOut(), true; }, {5}, "-1  0"},
            {"stays out", [&] { return proxy.LogOut(), proxy.Reload(); }, {}, "-1  0"},
            {"the file once more", [&] { return proxy.SetConfiguration(m_file); }, {1}, "7 ben 3"},
            {"without its entry",
             [&] {
                 return writeFile(m_file, changed(" loggedIn='ben'", "")) && proxy.SetConfiguration(m_file);
             },
             {5},
             "-1  0"},
            {"folder",
             [&] { return proxy.LogIn("ada"_s) && !proxy.SetConfiguration(m_folder.path()); },
             {1, 6},
             "-1  0"},
        };
        for (const Step& step : steps) {
            QVERIFY2(step.deed(), step.name);
            QVERIFY2(listener.take() == step.events, step.name);
            const QString user = "%1 %2 %3"_s.arg(proxy.GetActiveUserID())
                                     .arg(proxy.GetActiveUserName())
                                     .arg(proxy.GetRightCount("R.a"_s));
            QVERIFY2(user == QLatin1String(step.user), step.name);
        }
    }

    void noticesChangesOnDisk()
    {
        ActiveUserProxy& proxy = ActiveUserProxy::Instance();
        QVERIFY(QFile::remove(m_file));
        QVERIFY(!proxy.SetConfiguration(m_file));
        QVERIFY(writeFile(m_file, good)); // appears
        QTRY_COMPARE(proxy.GetRightCount("R.a"_s), 3);
        QVERIFY(writeFile(m_file, changed("'3'", "'4'"))); // is written in place
        QTRY_COMPARE(proxy.GetRightCount("R.a"_s), 4);
        for (const char* count : {"'5'", "'6'"}) { // is replaced by another, and that one, too
            QSaveFile other(m_file);
            QVERIFY(other.open(QIODevice::WriteOnly));
            other.write(changed("'3'", count));
            QVERIFY(other.commit());
            QTRY_COMPARE(proxy.GetRightCount("R.a"_s), count[1] - '0');
        }
        QVERIFY(QFile::remove(m_file)); // is gone
        QTRY_COMPARE(proxy.GetActiveUserID(), -1);
    }

    void callbacksComeAndGo()
    {
        ActiveUserProxy& proxy = ActiveUserProxy::Instance();
        auto doomed = std::make_unique<Listener>();
        auto newcomer = std::make_unique<Listener>();
        auto first = std::make_unique<Listener>();
        first->act = [&] {
            doomed.reset();
            proxy.RegisterCallback(newcomer.get());
            first.reset(); // itself
        };
        Listener last([] { throw std::runtime_error("ours"); });
        for (Listener* listener : {first.get(), doomed.get(), &last})
            proxy.RegisterCallback(listener);
        QVERIFY(proxy.SetConfiguration(m_file));
        QVERIFY(!first && !doomed);
        QCOMPARE(newcomer->take(), QVector<int>{1}); // on its registration, and not once more
        QCOMPARE(last.take(), QVector<int>{1});
        newcomer.reset();
        proxy.LogOut();
        QCOMPARE(last.take(), QVector<int>{5});
    }

    /// Who hears of the log-in that answers a log-out must not hear of the log-out after it.
    void newerEventsReplaceOlderOnes()
    {
        ActiveUserProxy& proxy = ActiveUserProxy::Instance();
        QVERIFY(proxy.SetConfiguration(m_file));
        Listener first;
        Listener second;
        proxy.RegisterCallback(&first);
        proxy.RegisterCallback(&second);
        first.take();
        second.take();
        first.act = [&] { proxy.LogIn("ada"_s); };
        proxy.LogOut();
        QCOMPARE(first.take(), (QVector<int>{5, 1}));
        QCOMPARE(second.take(), QVector<int>{1});
    }

    void otherThreads()
    {
        ActiveUserProxy& proxy = ActiveUserProxy::Instance();
        Listener listener;
        proxy.RegisterCallback(&listener);
        std::thread([&] {
            proxy.SetConfiguration(m_file);
            for (int i = 0; i < 100; ++i)
                proxy.LogIn(i % 2 ? "ben"_s : "ada"_s);
        }).join();
        QVERIFY(listener.events.isEmpty());
        QTRY_COMPARE(listener.events.size(), 101);
        QVERIFY(listener.onMainThread);
        listener.take();
        std::thread([&] { proxy.LogOut(); }).join();
        QVERIFY(proxy.LogIn("ada"_s)); // overtakes it
        QVERIFY(writeFile(m_file, changed("<Right name='R.a'/>", "")) && proxy.Reload());
        QCoreApplication::processEvents();
        QCOMPARE(listener.take(), (QVector<int>{1, 0}));
        QVERIFY(proxy.LogIn("ben"_s));
        QVERIFY(writeFile(m_file, changed("'3'", "'8'"))); // is watched here
        QTRY_COMPARE(proxy.GetRightCount("R.a"_s), 8);
    }

private:
    QTemporaryDir m_folder;
    QString m_file = m_folder.filePath("users.xml"_s);
};

KOLTA_TEST(TestActiveUserProxy);
#include "tst_activeuserproxy.moc"
