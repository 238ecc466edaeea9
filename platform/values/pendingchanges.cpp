#include <values/pendingchanges.h>

#include <unordered_set>

namespace values {

void EndStaleRequests(ValueBase& value, ByteReader state, const PendingChanges& pending,
                      IObserver* originator)
{
    CommandScope known;
    std::unordered_set<std::string> requests;
    bool isKnown = false; // most values have no requests, and then nobody asks
    const auto isStale = [&](const std::string& request) {
        if (!std::exchange(isKnown, true)) {
            ForEachCommand(value, state, nullptr, [&](const Command& command) {
                command.AddScope(known);
                known.keys.clear();
            });
            requests.insert(known.requests.begin(), known.requests.end());
        }
        return requests.count(request) == 0 && !pending.ContainsRequest(request);
    };
    value.EndRequests(isStale, originator);
}

} // namespace values
