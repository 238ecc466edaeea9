#include "figure.h"
#include "rawmqtt.h"
#include "treeside.h"

#include <QVector>

#include <atomic>
#include <thread>

namespace Bench {

namespace {

using values::StringValue;

constexpr int kOneByOne = 50;
constexpr int kWindow = 100;
constexpr int kInWindow = 2000;
const QString kBranch = QStringLiteral("S1");

QString pathOf(const char* name, int number)
{
    return QStringLiteral("/S1/%1%2").arg(QLatin1String(name)).arg(number);
}

/// What a wish and its answer weigh.
struct Sizes
{
    std::size_t wish = 0;
    std::size_t answer = 0;
};

/// An owner, which answers at "/S1/a<i>" what is written to "/S1/q<i>", and a client that waits for it.
class TreeWishes
{
public:
    TreeWishes() : m_broker(startBroker()), m_owner(m_broker->url()), m_client(m_broker->url())
    {
        m_owner.call([](TreeSide& side) {
            for (int i = 0; i < kWindow; ++i) {
                side.tree.Emplace<StringValue>(pathOf("q", i));
                side.tree.Emplace<StringValue>(pathOf("a", i));
            }
            side.onText = [&side](StringValue& value) {
                QString path = value.GetPath();
                if (path.at(4) != QLatin1Char('q'))
                    return;
                path[4] = QLatin1Char('a');
                side.tree.FindAs<StringValue>(path)->SetValue(value.GetValue());
            };
            side.publish({kBranch});
            return true;
        });
        m_client.link->mirror({kBranch});
        require(m_client.link->waitForLive({kBranch}, 10000), "the mirror does not become live");
        for (int i = 0; i < kWindow; ++i) {
            m_questions.append(m_client.tree.FindAs<StringValue>(pathOf("q", i)));
            require(m_questions.last() != nullptr, "the mirror is not complete");
        }
        m_client.onText = [this](StringValue& value) { take(value); };
    }

    /// Makes `count` wishes, so many at a time.
    void run(int count, int window)
    {
        m_left = count;
        m_open = 0;
        for (int i = 0; i < window; ++i)
            ask(i);
        QEventLoop loop;
        m_loop = &loop;
        runLoop(loop);
    }
    /// Of one wish that is alone on its way.
    Sizes sizes()
    {
        Sizes sizes;
        RawMqtt ear(m_broker->port(), {"kolta/1/b/+/up/#", "kolta/1/b/+/log/#"});
        ear.onMessage = [&sizes](const char* topic, std::string_view payload) {
            (std::string(topic).find("/up/") != std::string::npos ? sizes.wish : sizes.answer) =
                payload.size();
        };
        run(1, 1);
        ear.runUntil([&sizes] { return sizes.wish > 0 && sizes.answer > 0; });
        return sizes;
    }
    quint16 port() const { return m_broker->port(); }

private:
    void ask(int i)
    {
        if (m_left == 0)
            return;
        --m_left;
        ++m_open;
        m_questions[i]->SetValue(QStringLiteral("%1").arg(++m_number, 100, 10, QLatin1Char('0')));
    }
    void take(const StringValue& answer)
    {
        const QString& path = answer.GetPath();
        if (path.at(4) != QLatin1Char('a'))
            return;
        const int i = path.midRef(5).toInt();
        require(answer.GetValue() == m_questions[i]->GetValue(), "an answer is wrong");
        --m_open;
        ask(i);
        if (m_open == 0)
            m_loop->quit();
    }

    std::unique_ptr<distribution::LocalBroker> m_broker;
    TreeThread m_owner;
    TreeSide m_client;
    QVector<StringValue*> m_questions;
    QEventLoop* m_loop = nullptr;
    int m_left = 0;
    int m_open = 0;
    int m_number = 0;
};

/// The same bytes by two plain clients: one asks on a topic, the other, on a thread of its own, answers on
/// another.
class RawWishes
{
public:
    RawWishes(quint16 port, const Sizes& sizes)
        : m_wish(sizes.wish, 'w'), m_client(port, {"raw/answer"}), m_echo([this, port, sizes] {
            RawMqtt echo(port, {"raw/wish"});
            const std::string answer(sizes.answer, 'a');
            echo.onMessage = [&](const char*, std::string_view) { echo.publish("raw/answer", answer); };
            m_isReady = true;
            echo.runUntil([this] { return m_isOver.load(); });
        })
    {
        m_client.onMessage = [this](const char*, std::string_view) { ++m_answered; };
        m_client.runUntil([this] { return m_isReady.load(); });
    }
    ~RawWishes()
    {
        m_isOver = true;
        m_echo.join();
    }

    void run(int count, int window)
    {
        m_answered = 0;
        int asked = 0;
        m_client.runUntil([&] {
            for (; asked < count && asked - m_answered < window; ++asked)
                m_client.publish("raw/wish", m_wish);
            return m_answered == count;
        });
    }

private:
    const std::string m_wish;
    std::atomic<bool> m_isReady{false};
    std::atomic<bool> m_isOver{false};
    RawMqtt m_client;
    int m_answered = 0;
    std::thread m_echo;
};

Sides wishes(int count, int window)
{
    const auto tree = std::make_shared<TreeWishes>();
    const auto raw = std::make_shared<RawWishes>(tree->port(), tree->sizes());
    return {timed([tree, count, window] { tree->run(count, window); }, count),
            timed([tree, raw, count, window] { raw->run(count, window); }, count)};
}

Sides oneByOne()
{
    return wishes(kOneByOne, 1);
}

Sides inWindow()
{
    return wishes(kInWindow, kWindow);
}

const bool roundTripAdded =
    addFigure({"tree_wish_roundtrip_vs_raw_mqtt",
               "the same bytes echoed by two clients of plain libmosquitto", 2.0, Unit::Time, oneByOne});
const bool windowAdded = addFigure({"tree_windowed_wishes_vs_raw_mqtt",
                                    "the same bytes echoed by plain libmosquitto, 100 messages on their way",
                                    1.25, Unit::Time, inWindow});

} // namespace

} // namespace Bench
