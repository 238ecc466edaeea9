#include "figure.h"
#include "tokenscan.h"

#include <koltacommon/koltaresourceobserver.h>
#include <koltacommon/koltaserverinterface.h>
#include <koltacommon/koltaserverregistry.h>
#include <koltacommon/tunermodel.h>
#include <simulation/resourcegenerator.h>
#include <simulation/scriptedserver.h>
#include <values/value.h>

#include <QCoreApplication>

#include <chrono>
#include <memory>

namespace Bench {

namespace {

using Kolta::KoltaResourceObserver;
using Kolta::KoltaServerRegistry;

constexpr int kMany = 10000;
constexpr int kChangedShare = 100; ///< one tuner in so many changes

/// A server whose tuners a model shows. Its overview changes to and fro in the idle state of 1 % of them,
/// spread evenly.
class ShownServer
{
public:
    ShownServer()
    {
        m_server.resources = KoltaSimulation::makeResources(kMany, 1);
        m_server.appear();
        m_texts[0] = m_server.resources.GetXmlString();
        for (int i = kChangedShare / 2; i < kMany; i += kChangedShare) {
            RESOURCEMANAGEMENT::Tuner& tuner = m_server.resources.EditTuner()[i];
            tuner.SetIdle(!tuner.GetIdle());
        }
        m_texts[1] = m_server.resources.GetXmlString();
        auto* const known = KoltaServerRegistry::Instance().addServer(m_server.name(), m_server.path());
        require(known, "the server is not known");
        // Slots are called in the order in which they were connected: the model's, with all that it makes the
        // server's parts do for it, lie between these.
        KoltaResourceObserver& observer = known->getResourceObserver();
        QObject::connect(&observer, &KoltaResourceObserver::si_ResourcesChanged, [this] { m_begin = now(); });
        m_model = std::make_unique<Kolta::TunerModel>();
        m_model->addServer(*known);
        QObject::connect(&observer, &KoltaResourceObserver::si_ResourcesChanged, [this] { m_end = now(); });
        QObject::connect(m_model.get(), &QAbstractItemModel::dataChanged,
                         [this](const QModelIndex& first, const QModelIndex& last) {
                             m_told += last.row() - first.row() + 1;
                         });
        require(m_model->rowCount() == kMany, "the model is not complete");
    }
    ~ShownServer()
    {
        m_model.reset();
        KoltaServerRegistry::Instance().removeAllServers();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }

    /// Seconds that the model took, in the update and in the event loop after it.
    double update()
    {
        m_told = 0;
        m_current = 1 - m_current;
        auto* const value = values::Tree::Instance().FindAs<values::StringValue>(
            QStringLiteral("/ConnectManager/AdminTree/Bench/ADMINISTRATION/Resources"));
        require(value, "there is no overview");
        value->SetValue(m_texts[m_current]);
        const auto later = now();
        QCoreApplication::processEvents();
        const std::chrono::duration<double> seconds = m_end - m_begin + (now() - later);
        require(m_told == kMany / kChangedShare, "the model told of other rows than those that changed");
        return seconds.count();
    }
    const QString& text() const { return m_texts[m_current]; }

private:
    using Clock = std::chrono::steady_clock;
    static Clock::time_point now() { return Clock::now(); }

    KoltaSimulation::ScriptedServer m_server{QStringLiteral("Bench")};
    std::unique_ptr<Kolta::TunerModel> m_model;
    QString m_texts[2];
    int m_current = 0;
    int m_told = 0;
    Clock::time_point m_begin;
    Clock::time_point m_end;
};

Sides modelAgainstScan()
{
    const auto server = std::make_shared<ShownServer>();
    return {[server] { return server->update(); }, timed([server] { scanTokens(server->text()); })};
}

const bool added =
    addFigure({"tuner_model_update_10k_1pct_vs_token_scan",
               "bare QXmlStreamReader token scan of the same text", 0.03, Unit::Time, modelAgainstScan});

} // namespace

} // namespace Bench
