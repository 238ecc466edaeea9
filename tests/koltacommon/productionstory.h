#pragma once

#include "../simulation/productionwatch.h"

#include <koltacommon/hardwareprocessingobserver.h>
#include <koltacommon/koltaownerobserver.h>
#include <koltacommon/koltaprocessorobserver.h>
#include <koltacommon/koltaproductioncontrol.h>
#include <koltacommon/koltaresourceobserver.h>
#include <koltacommon/koltaserverinterface.h>
#include <koltacommon/tunerbookingmanager.h>
#include <resourcemodel/requests.h>

#include <QRegularExpression>

namespace Lifecycle {

using namespace Kolta;
using namespace RESOURCEMANAGEMENT;
using values::Tree;

template<class Overview>
Overview parsed(const QString& text)
{
    Overview overview;
    if (!text.isEmpty())
        overview.SetXmlString(text, true);
    return overview;
}

/// What a long text comes down to: its processors with their FFPs, its tuners in use, its entries.
inline QString gist(const QString& node, const QString& text)
{
    QStringList words;
    if (node == QLatin1String("ActualConfiguration")) {
        const auto overview = parsed<ProcessorOverview>(text);
        for (const MCP& mcp : overview.GetMCP()) {
            words.append(guidOf(mcp).toString());
            for (const FFP& ffp : mcp.GetFFP())
                words.append(QLatin1Char('>') + guidOf(ffp).toString());
        }
    } else if (node == QLatin1String("Resources")) {
        const auto overview = parsed<ResourceOverview>(text);
        for (const Tuner& tuner : overview.GetTuner()) {
            if (!tuner.GetIdle())
                words.append(tuner.GetTavikResource().GetGUID());
        }
    } else if (node == QLatin1String("HardwareProcessing")) {
        const auto overview = parsed<HWProcessingOverview>(text);
        for (const HWProcessing& entry : overview.GetHWProcessing())
            words.append(entry.GetGUID());
    } else if (node.startsWith(QLatin1String("Owner"))) {
        words.append(node == QLatin1String("Owners")
                         ? parsed<OwnerOverview>(text).GetOwner().value(0).GetName()
                         : parsed<OwnerRequest>(text).GetOwner().GetName());
    } else if (node.startsWith(QLatin1String("RequestsNode/"))) {
        words.append(QString::number(parsed<RequestResource>(text).GetRequestType()));
    } else {
        words.append(text);
    }
    return words.join(QLatin1Char(' '));
}

/// Writes down every signal, and every text that a server or a client writes, in one order.
class Story : public QObject, private values::ITreeListener
{
public:
    explicit Story(const QString& base) : m_base(base) { Tree::Instance().AddListener(this); }
    ~Story() override { Tree::Instance().RemoveListener(this); }

    void say(const QString& line) { m_lines.append(line); }
    void hear(KoltaServerInterface& server);
    /// The story so far; tuners are a and b, all other GUIDs are numbered as they first appear.
    QString told(const QStringList& tuners) const;

private:
    void OnItemAdded(values::TreeItem& item) override { note('+', item); }
    void OnItemRemoved(values::TreeItem& item) override { note('-', item); }
    void OnItemChanged(values::TreeItem& item, TChangeCode, IObserver*) override { note('=', item); }
    void note(char sign, values::TreeItem& item);

    QString m_base;
    QStringList m_lines;
};

inline void Story::note(char sign, values::TreeItem& item)
{
    static const QRegularExpression told(QStringLiteral(
        "^(RequestsNode|(ConnectionInfo)/.*/Kolta_GUID|(Reply|Stopped|Stop)?Resources?|Actual.*|"
        "HardwareP.*|Owner.*|Status|WorkingState)(/id.*)?$"));
    const QString name = item.GetPath().mid(m_base.size());
    const auto* const value = dynamic_cast<values::ValueBase*>(&item);
    const auto match = told.match(name);
    if (!value || !item.GetPath().startsWith(m_base) || !match.hasMatch())
        return;
    const bool driver = !match.captured(2).isEmpty();
    const QString text = sign == '-' && !driver ? QString() : gist(name, value->GetStringValue());
    say(QStringLiteral("%1%2 %3")
            .arg(QLatin1Char(sign))
            .arg(driver ? match.captured(2) : match.captured(1), text));
}

inline void Story::hear(KoltaServerInterface& server)
{
    const auto on = [this](auto& sender, auto signal, const char* word) {
        connect(&sender, signal, this, [this, word](const auto&... arguments) {
            QStringList words{QLatin1String(word)};
            (words.append(QVariant::fromValue(arguments).toString()), ...);
            say(words.join(QLatin1Char(' ')));
        });
    };
    using Control = KoltaProductionControl;
    using Processors = KoltaProcessorObserver;
    on(server, &KoltaServerInterface::si_ConnectionChanged, "connected");
    connect(&server, &KoltaServerInterface::si_StateChanged, this,
            [this](int state) { say(QStringLiteral("state %1").arg(state)); });
    on(server, &KoltaServerInterface::si_StatusMessageChanged, "status");
    on(server.getProductionControl(), &Control::si_ProductionRequestReplied, "replied");
    on(server.getProductionControl(), &Control::si_ProductionStopped, "stopped");
    on(server.getProcessorObserver(), &Processors::si_ProcessorStarted, "runs");
    on(server.getProcessorObserver(), &Processors::si_ProcessorChanged, "changed");
    on(server.getProcessorObserver(), &Processors::si_ProcessorStopped, "ended");
    on(server.getProcessorObserver(), &Processors::si_AllProcessorsStopped, "all ended");
    connect(
        &server.getProcessorObserver(), &Processors::si_RunningProcessorsChanged, this,
        [this](const ProcessorOverview& now) { say(QStringLiteral("%1 MCPs").arg(now.GetMCP().size())); });
    on(server.getResourceObserver(), &KoltaResourceObserver::si_TunerIdleStateChanged, "idle");
    connect(&server.getBookingManager(), &TunerBookingManager::si_TunerStateChanged, this,
            [this](const QString& guid, int from, int to) {
                say(QStringLiteral("booking %1 %2 %3").arg(guid).arg(from).arg(to));
            });
    connect(&server.getHWProcessingObserver(), &IValueChangeNotifier::si_ValueChanged, this, [this, &server] {
        const int entries = server.getHWProcessingObserver().getActiveHWProcessors().GetHWProcessing().size();
        say(QStringLiteral("%1 hardware").arg(entries));
    });
    on(server.getGuiOwnerObserver(), &KoltaOwnerObserver::si_OwnerChanged, "owner");
}

inline QString Story::told(const QStringList& tuners) const
{
    static const QRegularExpression guid(QStringLiteral("\\{[-0-9a-f]{36}\\}"));
    QString text = m_lines.join(QLatin1Char(' '));
    for (int i = 0; i < tuners.size(); ++i)
        text.replace(tuners.at(i), QString(QLatin1Char(char('a' + i))));
    int number = 0;
    for (auto match = guid.match(text); match.hasMatch(); match = guid.match(text))
        text.replace(match.captured(), QStringLiteral("#%1").arg(++number));
    return text.simplified();
}

} // namespace Lifecycle
