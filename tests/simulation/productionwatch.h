#pragma once

#include <koltacommon/processorconverter.h>
#include <resourcemodel/processors.h>
#include <support/text.h>
#include <values/value.h>

#include <QString>
#include <QStringList>
#include <QUuid>

#include <functional>
#include <utility>

/// Writes down what happens below the server's administrative node, and may interfere.
class Watch : public values::ITreeListener
{
public:
    explicit Watch(const QString& base) : m_base(base) { values::Tree::Instance().AddListener(this); }
    ~Watch() override { values::Tree::Instance().RemoveListener(this); }
    /// What happened since the last call; repetitions in a row once.
    QString taken() { return std::exchange(m_events, {}).join(QLatin1Char(' ')); }

    QStringList texts;                            ///< what was said in the reply and stopped nodes
    std::function<void(const QString&)> onChange; ///< called with the name of the item that came or changed

private:
    void OnItemAdded(values::TreeItem& item) override
    {
        note("+"_s, item);
        if (onChange)
            onChange(item.GetName());
    }
    void OnItemRemoved(values::TreeItem& item) override { note("-"_s, item); }
    void OnItemChanged(values::TreeItem& item, TChangeCode, IObserver*) override
    {
        note(QString(), item);
        const QString name = item.GetName();
        if (name == "ReplyResource"_s || name == "StoppedResource"_s)
            texts.append(static_cast<values::StringValue&>(item).GetValue());
        if (onChange)
            onChange(name);
    }
    void note(const QString& sign, const values::TreeItem& item)
    {
        if (!item.GetPath().startsWith(m_base))
            return;
        const QString event = sign + item.GetPath().mid(m_base.size()).section(QLatin1Char('/'), 0, 0);
        if (m_events.isEmpty() || m_events.last() != event)
            m_events.append(event);
    }

    QString m_base;
    QStringList m_events;
};

inline RESOURCEMANAGEMENT::MCP mcpOn(const QString& tuner, const char* demandClass = "sw")
{
    RESOURCEMANAGEMENT::MCP mcp;
    Kolta::ProcessorConverter::setupDefaultMCP(mcp);
    mcp.EditKoltaProcessor().SetDemandClassName(QLatin1String(demandClass));
    mcp.EditDataSource().SetTunerGUID(tuner);
    mcp.SetFrequency(2.0e8 / 9.0); // every tuner of the sample installation reaches it
    mcp.SetBandwidth(1.0e6);
    return mcp;
}

inline RESOURCEMANAGEMENT::SCP scpOn(const QString& tuner)
{
    RESOURCEMANAGEMENT::SCP scp;
    Kolta::ProcessorConverter::setupDefaultSCP(scp);
    scp.EditDataSource().SetTunerGUID(tuner);
    return scp;
}

inline RESOURCEMANAGEMENT::FFP ffpOn(const QString& tuner = QString())
{
    RESOURCEMANAGEMENT::FFP ffp;
    Kolta::ProcessorConverter::setupDefaultFFP(ffp);
    if (!tuner.isEmpty())
        ffp.SetTunerGUID(tuner);
    return ffp;
}

template<class Processor>
QUuid guidOf(const Processor& processor)
{
    return QUuid(processor.GetKoltaProcessor().GetTavikResource().GetGUID());
}
