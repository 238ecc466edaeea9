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
#include <support/signalrecorder.h>
#include <support/text.h>

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
    if (node == "ActualConfiguration"_s) {
        const auto overview = parsed<ProcessorOverview>(text);
        for (const MCP& mcp : overview.GetMCP()) {
            words.append(guidOf(mcp).toString());
            for (const FFP& ffp : mcp.GetFFP())
                words.append(QLatin1Char('>') + guidOf(ffp).toString());
        }
    } else if (node == "Resources"_s) {
        const auto overview = parsed<ResourceOverview>(text);
        for (const Tuner& tuner : overview.GetTuner()) {
            if (!tuner.GetIdle())
                words.append(tuner.GetTavikResource().GetGUID());
        }
    } else if (node == "HardwareProcessing"_s) {
        const auto overview = parsed<HWProcessingOverview>(text);
        for (const HWProcessing& entry : overview.GetHWProcessing())
            words.append(entry.GetGUID());
    } else if (node.startsWith("Owner"_s)) {
        words.append(node == "Owners"_s ? parsed<OwnerOverview>(text).GetOwner().value(0).GetName()
                                        : parsed<OwnerRequest>(text).GetOwner().GetName());
    } else if (node.startsWith("RequestsNode/"_s)) {
        words.append(QString::number(parsed<RequestResource>(text).GetRequestType()));
    } else {
        words.append(text);
    }
    return words.join(QLatin1Char(' '));
}

/// Writes down every signal, and every text that a server or a client writes, in one order.
class Story : public SignalRecorder, private values::ITreeListener
{
public:
    explicit Story(const QString& base) : m_base(base) { Tree::Instance().AddListener(this); }
    ~Story() override { Tree::Instance().RemoveListener(this); }

    void follow(KoltaServerInterface& server);
    /// The story so far; tuners are a and b, all other GUIDs are numbered as they first appear.
    QString told(const QStringList& tuners) const;

private:
    void OnItemAdded(values::TreeItem& item) override { note('+', item); }
    void OnItemRemoved(values::TreeItem& item) override { note('-', item); }
    void OnItemChanged(values::TreeItem& item, TChangeCode, IObserver*) override { note('=', item); }
    void note(char sign, values::TreeItem& item);

    QString m_base;
};

inline void Story::note(char sign, values::TreeItem& item)
{
    static const QRegularExpression told(
        "^(RequestsNode|(ConnectionInfo)/.*/Kolta_GUID|(Reply|Stopped|Stop)?Resources?|Actual.*|"
        "HardwareP.*|Owner.*|Status|WorkingState)(/id.*)?$"_s);
    const QString name = item.GetPath().mid(m_base.size());
    const auto* const value = dynamic_cast<values::ValueBase*>(&item);
    const auto match = told.match(name);
    if (!value || !item.GetPath().startsWith(m_base) || !match.hasMatch())
        return;
    const bool driver = !match.captured(2).isEmpty();
    const QString text = sign == '-' && !driver ? QString() : gist(name, value->GetStringValue());
    add("%1%2 %3"_s.arg(QLatin1Char(sign)).arg(driver ? match.captured(2) : match.captured(1), text));
}

inline void Story::follow(KoltaServerInterface& server)
{
    write<ProcessorOverview>(
        [](const ProcessorOverview& now) { return QString::number(now.GetMCP().size()); });
    hear(server, {{"si_ConnectionChanged", "connected %1 %2"_s},
                  {"si_StateChanged", "state %1"_s},
                  {"si_StatusMessageChanged", "status %1"_s}});
    hear(server.getProductionControl(),
         {{"si_ProductionRequestReplied", "replied %1 %2 %3"_s}, {"si_ProductionStopped", "stopped %1"_s}});
    hear(server.getProcessorObserver(), {{"si_ProcessorStarted", "runs %1"_s},
                                         {"si_ProcessorChanged", "changed %1"_s},
                                         {"si_ProcessorStopped", "ended %1"_s},
                                         {"si_AllProcessorsStopped", "all ended"_s},
                                         {"si_RunningProcessorsChanged", "%1 MCPs"_s}});
    hear(server.getResourceObserver(), {{"si_TunerIdleStateChanged", "idle %1 %2"_s}});
    connect(&server.getBookingManager(), &TunerBookingManager::si_TunerStateChanged, this,
            [this](const QString& guid, int from, int to) {
                add("booking %1 %2 %3"_s.arg(guid).arg(from).arg(to));
            });
    connect(&server.getHWProcessingObserver(), &IValueChangeNotifier::si_ValueChanged, this, [this, &server] {
        const int entries = server.getHWProcessingObserver().getActiveHWProcessors().GetHWProcessing().size();
        add("%1 hardware"_s.arg(entries));
    });
    hear(server.getGuiOwnerObserver(), {{"si_OwnerChanged", "owner %1 %2"_s}});
}

inline QString Story::told(const QStringList& tuners) const
{
    static const QRegularExpression guid("\\{[-0-9a-f]{36}\\}"_s);
    QString text = lines().join(QLatin1Char(' '));
    for (int i = 0; i < tuners.size(); ++i)
        text.replace(tuners.at(i), QString(QLatin1Char(char('a' + i))));
    int number = 0;
    for (auto match = guid.match(text); match.hasMatch(); match = guid.match(text))
        text.replace(match.captured(), "#%1"_s.arg(++number));
    return text.simplified();
}

} // namespace Lifecycle
