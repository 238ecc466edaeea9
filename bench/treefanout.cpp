#include "figure.h"
#include "rawmqtt.h"
#include "treeside.h"

#include <simulation/resourcegenerator.h>

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

/// An owner and its mirrors.
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
            m_mirrors.push_back(std::make_unique<TreeSide>(m_broker->url()));
            TreeSide& mirror = *m_mirrors.back();
            mirror.link->mirror({kBranch});
            require(mirror.link->waitForLive({kBranch}, 60000), "a mirror does not become live");
            mirror.onText = [this](StringValue&) {
                if (++m_told == kMirrors)
                    m_loop->quit();
            };
        }
        checkPayload();
    }

    /// Seconds from the change until all have the text.
    double change()
    {
        m_told = 0;
        m_current = 1 - m_current;
        QEventLoop loop;
        m_loop = &loop;
        const auto start = std::chrono::steady_clock::now();
        m_owner.call([this](TreeSide& side) {
            return side.tree.FindAs<StringValue>(kPath)->SetValue(m_texts->text[m_current]);
        });
        runLoop(loop);
        const std::chrono::duration<double> seconds = std::chrono::steady_clock::now() - start;
        for (const auto& mirror : m_mirrors)
            require(mirror->tree.FindAs<StringValue>(kPath)->GetValue() == m_texts->text[m_current],
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
    std::vector<std::unique_ptr<TreeSide>> m_mirrors;
    QEventLoop* m_loop = nullptr;
    int m_current = 0;
    int m_told = 0;
};

/// The whole text from one plain client to many, each of which makes a text of it.
class RawFanOut
{
public:
    explicit RawFanOut(std::shared_ptr<const Texts> texts)
        : m_texts(std::move(texts)), m_broker(startBroker()), m_received(kMirrors)
    {
        for (int i = 0; i < kMirrors; ++i) {
            m_clients.push_back(
                std::make_unique<RawMqtt>(m_broker->port(), std::vector<std::string>{"raw/text"}));
            m_clients.back()->onMessage = [this, i](const char*, std::string_view payload) {
                m_received[std::size_t(i)] = QString::fromUtf8(payload.data(), int(payload.size()));
                ++m_told;
            };
            m_all.push_back(m_clients.back().get());
        }
        m_clients.push_back(std::make_unique<RawMqtt>(m_broker->port()));
        m_all.push_back(m_clients.back().get());
    }

    double change()
    {
        m_told = 0;
        m_current = 1 - m_current;
        const auto start = std::chrono::steady_clock::now();
        m_clients.back()->publish("raw/text", m_texts->text[m_current].toUtf8().toStdString());
        RawMqtt::runAll(m_all, [this] { return m_told == kMirrors; });
        const std::chrono::duration<double> seconds = std::chrono::steady_clock::now() - start;
        for (const QString& text : m_received)
            require(text == m_texts->text[m_current], "a plain client has another text");
        return seconds.count();
    }

private:
    std::shared_ptr<const Texts> m_texts;
    std::unique_ptr<distribution::LocalBroker> m_broker;
    std::vector<QString> m_received;
    std::vector<std::unique_ptr<RawMqtt>> m_clients; ///< the last one publishes
    std::vector<RawMqtt*> m_all;
    int m_current = 0;
    int m_told = 0;
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
