#pragma once

#include <koltacommon/productionrequestreply.h>
#include <resourcemodel/processors.h>
#include <resourcemodel/requests.h>
#include <resourcemodel/resources.h>
#include <values/value.h>

#include <QDir>
#include <QFile>
#include <QTimer>

#include <algorithm>
#include <cstdio>
#include <cstdlib>

/// Plays the server "S1" in the value tree of this process, so that the examples run alone: it accepts every
/// MCP and stops what it is told to stop. In an installation the tree brings all this from elsewhere, and a
/// program has no such class.
class LocalServer : public QObject, private values::ITreeListener
{
public:
    /// Reads the overviews of an installation's folder.
    explicit LocalServer(const QString& folder) : m_folder(folder)
    {
        const QString resources = file(QStringLiteral("resources.xml"));
        if (resources.isEmpty()) {
            std::fprintf(stderr, "%s holds no installation: it has no resources.xml\n", qPrintable(folder));
            std::exit(1);
        }
        m_resources.SetXmlString(resources, true);
        values::Tree::Instance().AddListener(this);
    }
    ~LocalServer() override { values::Tree::Instance().RemoveListener(this); }

    void appear()
    {
        for (const char* name :
             {"Quit", "reset", "stopAll", "UnitPowerControl", "StartupErrors", "StartupProgress",
              "InternalState", "StopResource", "ReplyResource", "StoppedResource"})
            put(name, QString());
        values::Tree::Instance().EnsureNode(path("RequestsNode"));
        put("HostName", QStringLiteral("localhost"));
        put("Status", QStringLiteral("ready"));
        put("TunerClasses", file(QStringLiteral("tunerclasses.xml")));
        put("ActualConfiguration", m_processors.GetXmlString());
        put("Resources", m_resources.GetXmlString());
        // Last: whoever hears that the server is there finds everything else in place.
        const QMap<int, QString> states{{0, QStringLiteral("gone")}, {5, QStringLiteral("operational")}};
        values::Tree::Instance().Emplace<values::SelectionValue>(path("WorkingState"), states, 5);
    }
    void vanish()
    {
        values::Tree::Instance().Remove(path("WorkingState"));
        values::Tree::Instance().Remove(QStringLiteral("/ConnectManager/AdminTree/S1"));
    }
    /// Nothing runs any more, and nobody is told.
    void forget()
    {
        m_processors.Reset();
        for (RESOURCEMANAGEMENT::Tuner& tuner : m_resources.EditTuner())
            tuner.SetIdle(true);
    }
    void start(RESOURCEMANAGEMENT::MCP mcp)
    {
        mcp.EditKoltaProcessor().EditTavikResource().SetGUID(QUuid::createUuid().toString());
        m_processors.EditMCP().append(mcp);
        show(mcp.GetDataSource().GetTunerGUID(), false);
    }

private:
    static QString path(const char* name)
    {
        return QStringLiteral("/ConnectManager/AdminTree/S1/ADMINISTRATION/") + QLatin1String(name);
    }
    static void put(const char* name, const QString& text)
    {
        if (!values::WriteOrAnnounce(path(name), text))
            values::Tree::Instance().Emplace<values::StringValue>(path(name), text);
    }
    QString file(const QString& name) const
    {
        QFile file(QDir(m_folder).filePath(name));
        return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
    }
    void show(const QString& tunerGuid, bool idle)
    {
        for (RESOURCEMANAGEMENT::Tuner& tuner : m_resources.EditTuner()) {
            if (tuner.GetTavikResource().GetGUID() == tunerGuid)
                tuner.SetIdle(idle);
        }
        put("ActualConfiguration", m_processors.GetXmlString());
        put("Resources", m_resources.GetXmlString());
    }

    // What clients write is answered in the next turn of the event loop, when they have returned.
    void OnItemAdded(values::TreeItem& item) override
    {
        const auto* value = dynamic_cast<values::StringValue*>(&item);
        if (value && item.GetPath().startsWith(path("RequestsNode/")))
            QTimer::singleShot(0, this, [this, at = item.GetPath(), text = value->GetValue()] {
                values::Tree::Instance().Remove(at);
                RESOURCEMANAGEMENT::RequestResource request;
                request.SetXmlString(text, true);
                start(request.GetMCP());
                const QUuid production(request.GetMCP().GetProductionID());
                put("ReplyResource", Kolta::ProductionRequestReply(production, true, QString()).toString());
            });
    }
    void OnItemChanged(values::TreeItem& item, TChangeCode, IObserver*) override
    {
        if (item.GetPath() == path("StopResource"))
            QTimer::singleShot(0, this,
                               [this, id = static_cast<values::StringValue&>(item).GetValue()] { stop(id); });
    }
    void OnItemRemoved(values::TreeItem&) override {}
    void stop(const QString& production)
    {
        auto& mcps = m_processors.EditMCP();
        const auto found = std::find_if(mcps.begin(), mcps.end(), [&production](const auto& mcp) {
            return mcp.GetProductionID() == production;
        });
        if (found == mcps.end())
            return;
        const QString tuner = found->GetDataSource().GetTunerGUID();
        mcps.erase(found);
        show(tuner, true);
        put("StoppedResource", production);
    }

    QString m_folder;
    RESOURCEMANAGEMENT::ResourceOverview m_resources;
    RESOURCEMANAGEMENT::ProcessorOverview m_processors;
};
