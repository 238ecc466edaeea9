#include <values/treeclient.h>

#include <algorithm>
#include <utility>
#include <vector>

namespace values {

namespace {

using Clients = std::vector<std::pair<QString, ITreeClient*>>;

/// Never destroyed: links of static lifetime leave it late.
Clients& clients()
{
    static auto* const all = new Clients;
    return *all;
}

} // namespace

ITreeClient::ITreeClient(const QString& alias)
{
    clients().emplace_back(alias, this);
}

ITreeClient::~ITreeClient()
{
    Clients& all = clients();
    all.erase(
        std::remove_if(all.begin(), all.end(), [this](const auto& entry) { return entry.second == this; }),
        all.end());
}

ITreeClient* ITreeClient::Find(const QString& alias)
{
    const Clients& all = clients();
    const auto found =
        std::find_if(all.rbegin(), all.rend(), [&alias](const auto& entry) { return entry.first == alias; });
    return found == all.rend() ? nullptr : found->second;
}

} // namespace values
