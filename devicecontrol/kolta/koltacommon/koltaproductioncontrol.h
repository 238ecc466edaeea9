#pragma once

#include <koltacommon/connectioninfo.h>
#include <koltacommon/export.h>
#include <koltacommon/instancecount.h>
#include <koltacommon/valuebinding.h>

#include <values/value.h>

#include <QHash>
#include <QList>
#include <QObject>
#include <QString>
#include <QStringList>
#include <QUuid>

class QProcess;
namespace REPORTGENERATOR {
class IRGObject;
}
namespace RESOURCEMANAGEMENT {
class RequestResource;
}

namespace Kolta {

/// The band that an MCP works in. What its driver does not tell is 0.
struct FrequencyRange
{
    double frequency = 0.0; ///< centre, Hz
    double bandwidth = 0.0; ///< Hz
};

/// Starts and stops the productions of one server, moves FFPs between MCPs, and finds and starts the front
/// ends of its drivers.
///
/// Requests go into values of the server, and answers come in others, all below one base path;
/// "/StopResource",
/// "/stopAll", "/ReplyResource", "/StoppedResource" and "/RequestsNode" must be there when it is initialised.
/// A server that goes and comes back later needs no new init(). All clients of a server share these values,
/// so the signals also tell of the productions of others; a client knows its own by their GUIDs.
///
/// Lives on the value tree's thread; takes no lock. Slots and observers may delete it at any time. Only
/// init() throws.
class KOLTA_COMMON_EXPORT KoltaProductionControl : public QObject, public IObserver
{
    Q_OBJECT

public:
    explicit KoltaProductionControl(QObject* parent = nullptr);
    ~KoltaProductionControl() override;

    /// Binds to the values below `basePath`, normally a server's "…/ADMINISTRATION". What the values hold
    /// already counts as reported. Throws KoltaException "Could not initialize." when one of them or the
    /// request node does not exist; nothing is bound then, and init() may be tried again.
    void init(const QString& basePath);
    /// init() for a server that may not be there yet: goes on with what is bound at `basePath` already, and
    /// false, without a trace line, when something does not exist.
    bool follow(const QString& basePath);

    /// Asks for a production of `object`: an SCP, an MCP, or an FFP, which then runs in the MCP `mcpGuid`.
    /// With `reuseProductionID` an SCP or MCP keeps the production ID that it has. Returns the GUID of the
    /// production, which the request carries as production ID and the answer names; null when the request
    /// could not be made. The answer may come before the return.
    QUuid requestProduction(const REPORTGENERATOR::IRGObject& object, bool reuseProductionID = false,
                            const QUuid& mcpGuid = QUuid());
    /// Asks for a move of the FFP `ffp` to the MCP `mcp`. Returns the GUID of the request, which the answer
    /// names: `requestID`, or a fresh one when that is null. Null when the request could not be made.
    QUuid requestFFPMove(const QUuid& ffp, const QUuid& mcp, const QUuid& requestID = QUuid());

    /// These ask for every production that is named, in the given order and again when that was asked before.
    /// What is no GUID, or null, is traced and left out.
    void StopProduction(const QUuid& production);
    void StopProductions(const QList<QUuid>& productions);
    void StopProductions(const QStringList& productions);
    void StopAllProductions();

    /// The settings of the driver of the processor `guid`, and what else it tells about itself. Empty when
    /// there is no such driver or it does not tell.
    QString requestTunerProperties(const QString& guid) const;
    QString getTaskIDForGuid(const QString& guid) const;
    /// Until when the task is reserved, as the driver writes it (ISO 8601).
    QString getTaskReservedTimeForGuid(const QString& guid) const;
    /// GUID, as it is written there, of the MCP that works for a task; empty when there is none.
    QString getMcpGuidForTaskID(const QString& taskID) const;
    /// By the GUIDs of the MCPs; drivers whose GUID is none are left out.
    QHash<QUuid, FrequencyRange> getFrequencyRangesOfAllMCPs() const;
    /// Path of the connection information of the processor `guid`; empty when there is none.
    QString getDriverConnectionInfoPath(const QString& guid) const;
    /// False, and nothing is set, when there is no such driver or it does not tell both.
    bool getDriverTypeAndAddress(const QString& guid, QString& type, QString& address) const;

    /// What starts the front end of the driver of the processor `guid`. False, and nothing is set, when
    /// `guid` is null, there is no such driver, or it does not tell both type and address.
    bool findGuiStartParameters(const QUuid& guid, QString& executable, QStringList& arguments,
                                QString& workingDirectory, QString* type = nullptr,
                                QString* address = nullptr) const;
    /// Starts that front end and waits until it runs. Its output is not read. The process belongs to
    /// `parent`, or to the caller when that is null, and ends with it. Null, with a trace line, when it
    /// cannot be started.
    QProcess* startGUI(const QString& guid, QObject* parent) const;
    /// Lets the GUI starter start the front end, which is then on its own. False, with a trace line, when the
    /// starter cannot be started.
    bool startGUIdetached(const QString& guid) const;

    /// Called by the value tree.
    void Update(Observable* source, TChangeCode code) override;
    /// Reads the answer and the stopped notice again. Only what has not been reported is reported, so one
    /// that was heard of is never told twice.
    void UpdateAll();

Q_SIGNALS:
    /// The server has accepted or refused a production or a move. `text` is for the user.
    void si_ProductionRequestReplied(QUuid production, bool accepted, QString text);
    /// A production has ended, whoever stopped it; it may be one that nobody here knows.
    void si_ProductionStopped(QUuid production);

private:
    /// A value through which the server tells something.
    struct Notice
    {
        explicit Notice(IObserver* observer) : value(observer) {}
        ValueBinding<values::StringValue> value;
        QString reported;     ///< the last text that was taken
        bool revived = false; ///< the value has come back; its content is announced next
    };

    bool bindAt(const QString& basePath);
    bool bindAll();
    void releaseAll();
    bool hasRequestNode() const;
    bool RequestResourceInternal(const QString& requestXml);
    static QString takeChange(Notice& notice, TChangeCode code);
    static QString takeNews(Notice& notice, bool again);
    void reportReply(const QString& text);
    void reportStopped(const QString& text);
    QString driverValue(const QString& guid, const QString& name) const;

    QString m_basePath;
    ValueBinding<values::StringValue> m_stopResource;
    ValueBinding<values::StringValue> m_stopAll;
    Notice m_reply;
    Notice m_stopped;
    ValueBinding<values::TreeItem> m_pRequestResourceNode; ///< stays bound while the node does not exist
    ConnectionInfo m_connectionInfo;
    InstanceCount<KoltaProductionControl> m_instanceCount;
};

} // namespace Kolta
