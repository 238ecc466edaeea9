#include <simulation/adminnodes.h>

#include <simulation/installation.h>

#include <values/value.h>

#include <utility>

namespace KoltaSimulation {

namespace {

/// Values that clients expect to find; empty until somebody has something to say there.
const char* const plainValues[] = {"Quit",          "reset",        "stopAll",       "StartupErrors",
                                   "InternalState", "StopResource", "ReplyResource", "StoppedResource"};

constexpr struct
{
    const char* name;
    RequestNode node;
} requestNodes[] = {{"ChangedTuners", RequestNode::ChangedTuners},
                    {"ChangedPUs", RequestNode::ChangedProcessingUnits},
                    {"ChangedSUs", RequestNode::ChangedStorageUnits},
                    {"UnitPowerControl", RequestNode::UnitPowerControl}};

} // namespace

AdminNodes::AdminNodes(const Installation& installation, values::Tree& tree, RequestHandler handler)
    : m_installation(installation), m_tree(tree), m_handler(std::move(handler))
{
}

AdminNodes::~AdminNodes()
{
    withdraw();
}

QString AdminNodes::path(const Installation& installation, const QString& name)
{
    return installation.basePath() + QStringLiteral("/ADMINISTRATION/") + name;
}

void AdminNodes::publish(const Content& content)
{
    m_published = true;
    for (const char* name : plainValues)
        setText(QLatin1String(name), QString());
    setText(QStringLiteral("HostName"), m_installation.hostName());
    setText(QStringLiteral("StartupProgress"), QStringLiteral("100"));
    setText(QStringLiteral("Status"), content.status);
    m_tree.EnsureNode(path(QStringLiteral("RequestsNode")));
    m_tree.EnsureNode(path(QStringLiteral("ConnectionInfo")));
    for (const auto& request : requestNodes) {
        setText(QLatin1String(request.name), QString());
        listen(QLatin1String(request.name), request.node);
    }
    const QMap<QString, QString>& overviews = m_installation.furtherOverviews();
    for (auto it = overviews.begin(); it != overviews.end(); ++it)
        setText(it.key(), it.value());
    setText(QStringLiteral("Resources"), content.resources);
    setWorkingState(content.workingState);
}

void AdminNodes::withdraw()
{
    if (!m_published)
        return;
    m_published = false;
    const QHash<Observable*, RequestNode> listened = std::exchange(m_requestNodes, {});
    for (auto it = listened.begin(); it != listened.end(); ++it)
        it.key()->Detach(this);
    m_tree.Remove(path(QStringLiteral("WorkingState")));
    m_tree.Remove(m_installation.basePath());
}

void AdminNodes::setResources(const QString& xml)
{
    if (m_published)
        setText(QStringLiteral("Resources"), xml);
}

void AdminNodes::setWorkingState(int state)
{
    if (!m_published)
        return;
    const QString statePath = path(QStringLiteral("WorkingState"));
    auto* value = m_tree.FindAs<values::SelectionValue>(statePath);
    if (value && !value->IsDeleted())
        value->SetSelectedKey(state, this);
    else
        m_tree.Emplace<values::SelectionValue>(statePath, m_installation.workingStates(), state);
}

void AdminNodes::setStatus(const QString& text)
{
    if (m_published)
        setText(QStringLiteral("Status"), text);
}

void AdminNodes::setText(const QString& name, const QString& text)
{
    const QString valuePath = path(name);
    auto* value = m_tree.FindAs<values::StringValue>(valuePath);
    if (value && !value->IsDeleted())
        value->SetValue(text, this);
    else
        m_tree.Emplace<values::StringValue>(valuePath, text);
}

void AdminNodes::listen(const QString& name, RequestNode node)
{
    auto* value = m_tree.FindAs<values::StringValue>(path(name));
    if (!value)
        return;
    value->Attach(this);
    m_requestNodes.insert(value, node);
}

void AdminNodes::Update(Observable* source, TChangeCode code)
{
    const auto node = m_requestNodes.constFind(source);
    if (node == m_requestNodes.constEnd() || code != eChangeValue)
        return;
    const auto* value = static_cast<values::StringValue*>(source);
    // A copy: the handler may change or delete the value.
    const QString text = value->GetValue();
    if (!text.isEmpty())
        m_handler(*node, text);
}

} // namespace KoltaSimulation
