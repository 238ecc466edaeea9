#pragma once

#include <simulation/scriptedserver.h>
#include <support/operationend.h>
#include <support/test.h>

#include <koltacommon/koltaserverinterface.h>
#include <koltacommon/koltaserverregistry.h>
#include <koltacommon/operation.h>
#include <koltacommon/processorconverter.h>
#include <koltacommon/tunerbookingmanager.h>

#include <QCoreApplication>
#include <QHash>
#include <QPointer>

#include <functional>
#include <memory>

/// Runs an operation against a scripted server by a script of words, each a step of the server, of time or of
/// the caller; see run().
class OperationStage
{
public:
    using Make = std::function<Kolta::Operation*(Kolta::KoltaServerInterface&)>;

    explicit OperationStage()
    {
        using namespace RESOURCEMANAGEMENT;
        TunerClass tunerClass;
        tunerClass.SetGUID(QUuid::createUuid().toString());
        tunerClass.SetName(QStringLiteral("K"));
        for (const char* const tunerName : {"T1", "T2"}) {
            Tuner tuner;
            tuner.EditTavikResource().SetGUID(QUuid::createUuid().toString());
            tuner.EditTavikResource().SetDisplayName(QLatin1String(tunerName));
            tuner.SetAccessible(true);
            tuner.SetIdle(true);
            tuner.SetMinFrequency(9e3);
            tuner.SetMaxFrequency(3e7);
            tuner.SetMaxSWBandwidth(1e6);
            server.resources.EditTuner().append(tuner);
            tunerClass.EditTunerID().append(tuner.GetTavikResource().GetGUID());
        }
        server.classes.EditTunerIdDefinition().SetChoice(2);
        server.classes.EditTunerClass().append(tunerClass);
        actions = {{QStringLiteral("show"), [this] { server.show(); }},
                   {QStringLiteral("act"), [this] { server.act(server.requests.last()); }},
                   {QStringLiteral("accept"), [this] { answer(true); }},
                   {QStringLiteral("refuse"), [this] { answer(false); }},
                   {QStringLiteral("other"), [this] { server.answer(QUuid::createUuid(), false); }},
                   {QStringLiteral("end"), [this] { server.end(lastId()); }},
                   {QStringLiteral("notice"), [this] { server.tellEnded(lastId()); }},
                   {QStringLiteral("deny"), [this] { fail(values::WishFailure::Refused); }},
                   {QStringLiteral("conflict"), [this] { fail(values::WishFailure::Conflict); }},
                   {QStringLiteral("tooOld"), [this] { fail(values::WishFailure::TooOld); }},
                   {QStringLiteral("vanish"), [this] { server.vanish(); }},
                   {QStringLiteral("appear"), [this] { server.appear(); }},
                   {QStringLiteral("cancel"), [this] { operation->cancel(); }},
                   {QStringLiteral("delete"), [this] { delete operation.data(); }},
                   {QStringLiteral("leave"),
                    [] {
                        Kolta::KoltaServerRegistry::Instance().removeAllServers();
                        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
                    }},
                   {QStringLiteral("busy"), [this] { server.setTunerIdle(tuner(0), false); }}};
    }
    ~OperationStage()
    {
        delete operation.data();
        Kolta::KoltaServerRegistry::Instance().removeAllServers();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }
    OperationStage(const OperationStage&) = delete;
    OperationStage& operator=(const OperationStage&) = delete;

    QString tuner(int number) const
    {
        return server.resources.GetTuner().at(number).GetTavikResource().GetGUID();
    }

    /// An MCP that runs from the beginning, fed by nothing, with a band from 1 to 2 MHz; its GUID.
    QString addMcp(const char* name)
    {
        RESOURCEMANAGEMENT::MCP mcp;
        Kolta::ProcessorConverter::setupDefaultMCP(mcp);
        const QString guid = QUuid::createUuid().toString();
        mcp.EditKoltaProcessor().EditTavikResource().SetGUID(guid);
        mcp.EditKoltaProcessor().EditTavikResource().SetDisplayName(QLatin1String(name));
        mcp.SetProductionID(QUuid::createUuid().toString());
        mcp.SetFrequency(1.5e6);
        mcp.SetBandwidth(1e6);
        server.running.EditMCP().append(mcp);
        return guid;
    }

    /// Brings the server up, unless `script` begins with "away", makes the operation and plays the rest. Each
    /// word is followed by a turn of the event loop; "+3000" lets so many milliseconds pass; what stands
    /// behind "in:" happens while the request is made, joined by commas.
    void run(const QString& script, const Make& make)
    {
        QStringList words = script.split(QLatin1Char(' '), Qt::SkipEmptyParts);
        if (words.isEmpty() || words.first() != QLatin1String("away"))
            server.appear();
        else
            words.removeFirst();
        interface = Kolta::KoltaServerRegistry::Instance().addServer(server.name(), server.path());
        operation = make(*interface);
        QObject::connect(operation, &Kolta::Operation::finished, operation,
                         [this](Kolta::Operation* finished) {
                             ++told;
                             end = endOf(finished);
                         });
        if (!words.isEmpty() && words.first().startsWith(QLatin1String("in:"))) {
            const QStringList within = words.takeFirst().mid(3).split(QLatin1Char(','));
            const auto play = [this, within] {
                for (const QString& word : within)
                    actions.value(word)();
            };
            server.onRequest = [this, play](const auto&) {
                server.onRequest = {};
                play();
            };
        }
        turn();
        for (const QString& word : qAsConst(words)) {
            if (word.startsWith(QLatin1Char('+')))
                clock.advance(word.mid(1).toInt());
            else
                actions.value(word, [&word] { qFatal("no action %s", qPrintable(word)); })();
            turn();
        }
        if (end.isEmpty())
            end = endOf(operation);
    }

    int plans() const
    {
        int planned = 0;
        for (int i = 0; interface && i < server.resources.GetTuner().size(); ++i)
            planned +=
                interface->getBookingManager().getTunerState(tuner(i)) == Kolta::TunerBookingManager::ePlanned
                    ? 1
                    : 0;
        return planned;
    }
    static void turn()
    {
        for (int i = 0; i < 3; ++i)
            QCoreApplication::processEvents();
    }
    QUuid lastId() const { return KoltaSimulation::ScriptedServer::idOf(server.requests.last()); }
    void answer(bool accepted)
    {
        server.answer(lastId(), accepted, accepted ? QString() : QStringLiteral("because"));
    }

    void fail(values::WishFailure failure)
    {
        values::Tree::Instance().TellWishFailed(server.lastPath, failure, QStringLiteral("because"));
    }

    Startup::ManualClock clock;
    Startup::Clock::Replacement replacement{clock};
    KoltaSimulation::ScriptedServer server{QStringLiteral("S1")};
    QPointer<Kolta::KoltaServerInterface> interface;
    QPointer<Kolta::Operation> operation;
    QHash<QString, std::function<void()>> actions;
    QString end; ///< what finished() told; what it is at the end of the script if that never came
    int told = 0;
};

/// Tests on stages, of which nothing is left after each.
class StageTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void cleanup()
    {
        QCOMPARE(Kolta::InstanceCount<Kolta::Operation>::living(), 0);
        QCOMPARE(Kolta::InstanceCount<Kolta::KoltaServerInterface>::living(), 0);
        values::Tree::Instance().Clear();
        QVERIFY(Kolta::Operation::settleAll(0));
    }
};
