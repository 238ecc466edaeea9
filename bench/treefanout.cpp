#include "figure.h"
#include "rawmqtt.h"
#include "treeside.h"

#include <simulation/resourcegenerator.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

namespace Bench {

namespace {

using values::StringValue;

constexpr int kMirrors = 50;
constexpr int kTuners = 10000;
constexpr std::size_t kLargestPayload = 256;
const QString kBranch = QStringLiteral("S1");
const QString kPath = QStringLiteral("/S1/Resources");

/// Two overviews that differ in the state of one tuner.
struct Texts
{
    QString text[2];
    Texts()
    {
        auto overview = KoltaSimulation::makeResources(kTuners, 1);
        text[0] = overview.GetXmlString();
        RESOURCEMANAGEMENT::Tuner& tuner = overview.EditTuner()[kTuners / 2];
        tuner.SetIdle(!tuner.GetIdle());
        text[1] = overview.GetXmlString();
    }
};

/// Waits until as many threads as there are mirrors have said that they are done.
class Finish
{
public:
    void begin() { m_done = 0; }
    void sayDone()
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        if (++m_done == kMirrors)
            m_all.notify_one();
    }
    void wait()
    {
        std::unique_lock<std::mutex> lock(m_mutex);
        require(m_all.wait_for(lock, std::chrono::minutes(1), [this] { return m_done == kMirrors; }),
                "a text does not come");
    }

private:
    std::mutex m_mutex;
    std::condition_variable m_all;
    int m_done = 0;
};

/// An owner and its mirrors, each on a thread of its own, as in so many processes.
class TreeFanOut
{
public:
    explicit TreeFanOut(std::shared_ptr<const Texts> texts)
        : m_texts(std::move(texts)), m_broker(startBroker()), m_owner(m_broker->url())
    {
        m_owner.call([this](TreeSide& side) {
            side.tree.Emplace<StringValue>(kPath, m_texts->text[0]);
            side.publish({kBranch});
            return true;
        });
        for (int i = 0; i < kMirrors; ++i) {
            m_mirrors.push_back(std::make_unique<TreeThread>(m_broker->url()));
            const bool isLive = m_mirrors.back()->call([this](TreeSide& side) {
                side.link->mirror({kBranch});
                const bool came = side.link->waitForLive({kBranch}, 60000);
                side.onText = [this](StringValue&) { m_finish.sayDone(); };
                return came;
            });
            require(isLive, "a mirror does not become live");
        }
        checkPayload();
    }

    /// Seconds from the change until all have the text.
    double change()
    {
        m_finish.begin();
        m_current = 1 - m_current;
        const auto start = std::chrono::steady_clock::now();
        m_owner.call([this](TreeSide& side) {
            return side.tree.FindAs<StringValue>(kPath)->SetValue(m_texts->text[m_current]);
        });
        m_finish.wait();
        const std::chrono::duration<double> seconds = std::chrono::steady_clock::now() - start;
        for (const auto& mirror : m_mirrors)
            require(mirror->call([this](TreeSide& side) {
                return side.tree.FindAs<StringValue>(kPath)->GetValue() == m_texts->text[m_current];
            }),
                    "a mirror has another text");
        return seconds.count();
    }

private:
    void checkPayload()
    {
        std::size_t bytes = 0;
        RawMqtt ear(m_broker->port(), {"kolta/1/b/+/log/#"});
        ear.onMessage = [&bytes](const char*, std::string_view payload) { bytes += payload.size(); };
        change();
        ear.runUntil([&bytes] { return bytes > 0; });
        require(bytes <= kLargestPayload, "the change of one tuner takes more than 256 bytes");
    }

    std::shared_ptr<const Texts> m_texts;
    std::unique_ptr<distribution::LocalBroker> m_broker;
    TreeThread m_owner;
    Finish m_finish;
    std::vector<std::unique_ptr<TreeThread>> m_mirrors;
    int m_current = 0;
};

/// A plain client on a thread of its own that makes a text of what it receives.
class RawReader
{
public:
    RawReader(quint16 port, Finish& finish) : m_client(port, {"raw/text"}), m_finish(finish)
    {
        m_client.onMessage = [this](const char*, std::string_view payload) {
            m_text = QString::fromUtf8(payload.data(), int(payload.size()));
            m_finish.sayDone();
        };
        m_thread = std::thread([this] { m_client.runUntil([this] { return m_isOver.load(); }); });
    }
    ~RawReader()
    {
        m_isOver = true;
        m_thread.join();
    }
    /// To be asked for only once it has said that it is done.
    const QString& text() const { return m_text; }

private:
    RawMqtt m_client;
    Finish& m_finish;
    QString m_text;
    std::atomic<bool> m_isOver{false};
    std::thread m_thread;
};

/// The whole text from one plain client to many.
class RawFanOut
{
public:
    explicit RawFanOut(std::shared_ptr<const Texts> texts)
        : m_texts(std::move(texts)), m_broker(startBroker()), m_writer(m_broker->port())
    {
        for (int i = 0; i < kMirrors; ++i)
            m_readers.push_back(std::make_unique<RawReader>(m_broker->port(), m_finish));
    }

    double change()
    {
        m_finish.begin();
        m_current = 1 - m_current;
        const auto start = std::chrono::steady_clock::now();
        m_writer.publish("raw/text", m_texts->text[m_current].toUtf8().toStdString());
        m_writer.runUntil([this] { return !m_writer.isSending(); });
        m_finish.wait();
        const std::chrono::duration<double> seconds = std::chrono::steady_clock::now() - start;
        for (const auto& reader : m_readers)
            require(reader->text() == m_texts->text[m_current], "a plain client has another text");
        return seconds.count();
    }

private:
    std::shared_ptr<const Texts> m_texts;
    std::unique_ptr<distribution::LocalBroker> m_broker;
    RawMqtt m_writer;
    Finish m_finish;
    std::vector<std::unique_ptr<RawReader>> m_readers;
    int m_current = 0;
};

Sides changeToMany()
{
    const auto texts = std::make_shared<const Texts>();
    const auto tree = std::make_shared<TreeFanOut>(texts);
    const auto raw = std::make_shared<RawFanOut>(texts);
    return {[tree] { return tree->change(); }, [raw] { return raw->change(); }};
}

const bool added =
    addFigure({"tree_change_to_50_vs_whole_text", "the whole text sent by plain libmosquitto to 50 clients",
               0.1, Unit::Time, changeToMany});

} // namespace

} // namespace Bench
