#include <simulation/adminnodes.h>

#include <simulation/installation.h>

#include <values/value.h>

#include <utility>

namespace KoltaSimulation {

namespace {

using ServerNodes::eNode;

/// A value that clients write into; below the other node they add some.
bool isRequestValue(const ServerNodes::Row& row)
{
    return (row.use & (ServerNodes::eRequest | ServerNodes::eFolder)) == ServerNodes::eRequest;
}

} // namespace

AdminNodes::AdminNodes(const Installation& installation, WishHandler handler)
    : m_installation(installation), m_handler(std::move(handler))
{
}

AdminNodes::~AdminNodes()
{
    withdraw();
}

QString AdminNodes::path(const Installation& installation, const QString& name)
{
    return installation.basePath() + ServerNodes::kAdministration + QLatin1Char('/') + name;
}

void AdminNodes::publish(values::Tree& tree, const QVector<NodeText>& texts, int workingState)
{
    if (m_published)
        return;
    m_tree = &tree;
    m_published = true;
    ++m_life;
    if (writeAll(texts) && listen())
        setWorkingState(workingState);
}

/// False when an observer ended this publication.
bool AdminNodes::writeAll(const QVector<NodeText>& given)
{
    QVector<NodeText> texts;
    const auto addEmpty = [&texts](eNode node) { texts.append({ServerNodes::name(node), QString()}); };
    addEmpty(ServerNodes::eReplyResource);
    addEmpty(ServerNodes::eStoppedResource);
    for (const ServerNodes::Row& row : ServerNodes::kTable) {
        if (isRequestValue(row))
            addEmpty(row.node);
    }
    texts.append({ServerNodes::name(ServerNodes::eHostName), m_installation.hostName()});
    const QMap<QString, QString>& overviews = m_installation.furtherOverviews();
    for (auto it = overviews.begin(); it != overviews.end(); ++it) {
        if (it.key() != ServerNodes::name(ServerNodes::eActualConfiguration))
            texts.append({it.key(), it.value()});
    }
    texts += given;

    const int life = m_life;
    for (const eNode node : {ServerNodes::eConnectionInfo, ServerNodes::eClients}) {
        m_tree->EnsureNode(path(ServerNodes::name(node)), this);
        if (life != m_life)
            return false;
    }
    for (const NodeText& text : qAsConst(texts)) {
        setText(text.node, text.text);
        if (life != m_life)
            return false;
    }
    return true;
}

/// False when an observer ended this publication.
bool AdminNodes::listen()
{
    const int life = m_life;
    const auto listenTo = [this](values::TreeItem* item, eNode node) {
        if (!item)
            return;
        item->Attach(this);
        m_requestNodes.insert(item, node);
    };
    for (const ServerNodes::Row& row : ServerNodes::kTable) {
        if (isRequestValue(row))
            listenTo(m_tree->FindAs<values::StringValue>(path(ServerNodes::name(row.node))), row.node);
    }
    values::TreeItem* const requests =
        m_tree->EnsureNode(path(ServerNodes::name(ServerNodes::eRequestsNode)), this);
    if (life != m_life)
        return false;
    listenTo(requests, ServerNodes::eRequestsNode);
    if (requests)
        readRequests(*requests);
    return life == m_life;
}

void AdminNodes::withdraw()
{
    if (!m_published)
        return;
    m_published = false;
    const int life = ++m_life;
    const QHash<Observable*, eNode> listened = std::exchange(m_requestNodes, {});
    for (auto it = listened.begin(); it != listened.end(); ++it)
        it.key()->Detach(this);
    // What clients add to goes early: what came below it while the rest goes would stay.
    for (const eNode first :
         {ServerNodes::eWorkingState, ServerNodes::eRequestsNode, ServerNodes::eClients}) {
        m_tree->Remove(path(ServerNodes::name(first)));
        if (life != m_life)
            return;
    }
    m_tree->Remove(m_installation.basePath());
}

void AdminNodes::setWorkingState(int state)
{
    if (!m_published)
        return;
    const QString statePath = path(ServerNodes::name(ServerNodes::eWorkingState));
    auto* value = m_tree->FindAs<values::SelectionValue>(statePath);
    if (value && !value->IsDeleted())
        value->SetSelectedKey(state, this);
    else
        m_tree->Emplace<values::SelectionValue>(statePath, m_installation.workingStates(), state);
}

void AdminNodes::setText(const QString& name, const QString& text)
{
    if (!m_published)
        return;
    const QString valuePath = path(name);
    auto* value = m_tree->FindAs<values::StringValue>(valuePath);
    if (value && !value->IsDeleted())
        value->SetValue(text, this);
    else
        m_tree->Emplace<values::StringValue>(valuePath, text);
}

void AdminNodes::sayText(const QString& name, const QString& text)
{
    if (!m_published)
        return;
    auto* value = m_tree->FindAs<values::StringValue>(path(name));
    if (value && !value->IsDeleted() && value->GetValue() == text)
        value->Announce(eChangeValue, this);
    else
        setText(name, text);
}

QString AdminNodes::text(const QString& name) const
{
    const auto* value = m_published ? m_tree->FindAs<values::StringValue>(path(name)) : nullptr;
    return value ? value->GetValue() : QString();
}

void AdminNodes::remove(const QString& name)
{
    if (m_published)
        m_tree->Remove(path(name), this);
}

void AdminNodes::Update(Observable* source, TChangeCode code)
{
    const auto found = m_requestNodes.constFind(source);
    if (found == m_requestNodes.constEnd())
        return;
    const eNode node = *found;
    if (node == ServerNodes::eRequestsNode) {
        if (code == eChangeChildAdded)
            readRequests(*static_cast<values::TreeItem*>(source));
        return;
    }
    if (code != eChangeValue)
        return;
    auto* const value = static_cast<values::StringValue*>(source);
    // A copy: the handler may change or delete the value.
    const QString text = value->GetValue();
    if (!text.isEmpty())
        m_handler({node, value->GetName(), text});
}

/// Requests are read as they come, so there is hardly ever more than one.
void AdminNodes::readRequests(values::TreeItem& node)
{
    struct Found
    {
        QString path;
        Wish wish;
    };
    QVector<Found> requests;
    for (values::TreeItem* const item : node.GetChildren()) {
        const auto* const value = dynamic_cast<values::StringValue*>(item);
        requests.append(
            {item->GetPath(),
             {ServerNodes::eRequestsNode, item->GetName(), value ? value->GetValue() : QString()}});
    }
    const int life = m_life;
    for (const Found& request : qAsConst(requests)) {
        // Where it is gone, somebody who was told of it made this read it before.
        if (m_tree->Remove(request.path, this) && life == m_life)
            m_handler(request.wish);
        if (life != m_life)
            return;
    }
}

} // namespace KoltaSimulation
