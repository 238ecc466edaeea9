#include "figure.h"
#include "rawmqtt.h"
#include "treeside.h"

#include <distribution/messages.h>
#include <simulation/hostilepeers.h>
#include <simulation/resourcegenerator.h>

#include <QProcess>

#include <zlib.h>

#include <map>

namespace Bench {

namespace {

using values::StringValue;

constexpr int kBranches = 100;
constexpr int kTuners = 1000;

/// A hundred branches, each an overview, whose states the broker keeps.
class Installation
{
public:
    Installation() : m_broker(startBroker()), m_owner(m_broker->url())
    {
        m_textBytes = m_owner.call([](TreeSide& side) {
            double bytes = 0;
            QStringList names;
            for (int i = 0; i < kBranches; ++i) {
                const QString name = QStringLiteral("S%1").arg(i);
                const QString text = KoltaSimulation::makeResources(kTuners, quint32(i)).GetXmlString();
                side.tree.Emplace<StringValue>(QStringLiteral("/%1/Resources").arg(name), text);
                names.append(name);
                bytes += double(text.size()) * sizeof(QChar);
            }
            side.publish(names);
            return bytes;
        });
        join(); // the first one makes the owners give their states to the broker
    }

    /// Seconds until a new process has all texts.
    double join()
    {
        const auto start = std::chrono::steady_clock::now();
        TreeSide mirror(m_broker->url());
        QEventLoop loop;
        int texts = 0;
        double bytes = 0;
        mirror.onText = [&](StringValue& value) {
            bytes += double(value.GetValue().size()) * sizeof(QChar);
            if (++texts == kBranches)
                loop.quit();
        };
        mirror.link->mirror({QStringLiteral("*")});
        runLoop(loop);
        const std::chrono::duration<double> seconds = std::chrono::steady_clock::now() - start;
        require(bytes == m_textBytes, "the texts are not whole");
        return seconds.count();
    }
    /// The same bytes received and inflated by a plain client.
    double receive()
    {
        const auto start = std::chrono::steady_clock::now();
        RawMqtt client(m_broker->port());
        std::map<std::string, std::string> packed; ///< by topic, the part's number last
        std::vector<std::string> texts;
        int parts = 0;
        client.onMessage = [&](const char* topic, std::string_view payload) {
            const std::string bytes(payload);
            const auto part = distribution::DecodeStatePart(bytes); // which refers to them
            require(part.has_value(), "not a part of a state");
            const std::string name(topic, std::string(topic).rfind('/'));
            std::string& whole = packed[name];
            whole.append(part->bytes.Position(), part->bytes.Remaining());
            if (part->part + 1 < part->parts)
                return;
            texts.emplace_back(part->wholeBytes, '\0');
            uLongf size = part->wholeBytes;
            require(uncompress(reinterpret_cast<Bytef*>(&texts.back()[0]), &size,
                               reinterpret_cast<const Bytef*>(whole.data()), whole.size()) == Z_OK,
                    "a state cannot be inflated");
            packed.erase(name);
            ++parts;
        };
        client.subscribe("kolta/1/b/+/state/#");
        client.runUntil([&] { return parts == kBranches; });
        const std::chrono::duration<double> seconds = std::chrono::steady_clock::now() - start;
        return seconds.count();
    }
    /// The largest memory of a process that joins and does nothing else.
    double peakOfJoiner()
    {
        QProcess joiner;
        joiner.start(QStringLiteral(KOLTA_TREEJOINER_PROGRAM), {m_broker->url(), QString::number(kBranches)});
        require(joiner.waitForReadyRead(60000), "the process does not join");
        require(joiner.readLine().trimmed().toDouble() == m_textBytes, "the texts are not whole");
        const auto peak = double(KoltaSimulation::peakMemory(joiner.processId()));
        require(peak > 0, "the process's memory cannot be read");
        joiner.kill();
        joiner.waitForFinished();
        return peak;
    }
    double textBytes() const { return m_textBytes; }

private:
    std::unique_ptr<distribution::LocalBroker> m_broker;
    TreeThread m_owner;
    double m_textBytes = 0;
};

Sides joinTime()
{
    const auto installation = std::make_shared<Installation>();
    return {[installation] { return installation->join(); },
            [installation] { return installation->receive(); }};
}

Sides joinMemory()
{
    const auto installation = std::make_shared<Installation>();
    return {[installation] { return installation->peakOfJoiner(); },
            [installation] { return installation->textBytes(); }};
}

const bool timeAdded =
    addFigure({"tree_join_100x1000_vs_raw", "plain libmosquitto receiving and zlib inflating the same bytes",
               1.5, Unit::Time, joinTime});
const bool memoryAdded = addFigure({"tree_join_memory_vs_text",
                                    "the texts in UTF-16: peak of a process that "
                                    "joins",
                                    2.5, Unit::Bytes, joinMemory});

} // namespace

} // namespace Bench
