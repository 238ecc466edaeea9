#include <koltacommon/tunerassignment.h>

#include <algorithm>
#include <deque>
#include <limits>
#include <unordered_map>

namespace Kolta {

namespace {

constexpr int kNone = -1;
constexpr qint64 kUnreachable = std::numeric_limits<qint64>::max();

using Offers = std::vector<std::vector<TunerOffer>>;

template<class Elements>
auto& at(Elements& elements, int index)
{
    return elements[static_cast<std::size_t>(index)];
}

/// Tuners that the same classes offer at the same costs.
class TunerGroups
{
public:
    struct InClass
    {
        int group;
        int cost;
    };

    TunerGroups(int tunerCount, const Offers& offers);

    /// The groups of a class, the cheapest first.
    const std::vector<InClass>& ofClass(int classIndex) const { return at(m_ofClass, classIndex); }
    /// The first tuner of the group that was not taken; `kNone` when there is none left.
    int next(int group) const
    {
        const int taken = at(m_taken, group);
        const std::vector<int>& members = at(m_members, group);
        return taken < static_cast<int>(members.size()) ? at(members, taken) : kNone;
    }
    void takeNext(int group) { ++at(m_taken, group); }
    /// The classes that offer the group, with its cost there as `cost`.
    struct InGroup
    {
        int classIndex;
        int cost;
    };
    const std::vector<InGroup>& classesOf(int group) const { return at(m_classesOf, group); }

private:
    int split(const Offers& offers);
    void number(int provisionalCount);

    std::vector<int> m_groupOf;
    std::vector<std::vector<int>> m_members;
    std::vector<int> m_taken;
    std::vector<std::vector<InClass>> m_ofClass;
    std::vector<std::vector<InGroup>> m_classesOf;
};

TunerGroups::TunerGroups(int tunerCount, const Offers& offers)
    : m_groupOf(static_cast<std::size_t>(tunerCount), 0)
{
    number(split(offers));
    m_classesOf.resize(m_members.size());
    for (const std::vector<TunerOffer>& offersOfOne : offers) {
        const int classIndex = static_cast<int>(m_ofClass.size());
        std::vector<InClass>& groups = m_ofClass.emplace_back();
        for (const TunerOffer& offer : offersOfOne) {
            const int group = at(m_groupOf, offer.tuner);
            std::vector<InGroup>& classes = at(m_classesOf, group);
            if (!classes.empty() && classes.back().classIndex == classIndex)
                continue;
            classes.push_back({classIndex, offer.cost});
            groups.push_back({group, offer.cost});
        }
        std::sort(groups.begin(), groups.end(),
                  [](const InClass& a, const InClass& b) { return a.cost < b.cost; });
    }
}

/// Begins with one group of all and splits it by each class in turn. Returns how many numbers were used.
int TunerGroups::split(const Offers& offers)
{
    int count = 1;
    std::unordered_map<quint64, int> parts;
    for (const std::vector<TunerOffer>& offersOfOne : offers) {
        parts.clear();
        quint64 lastKey = 0;
        int lastPart = kNone;
        for (const TunerOffer& offer : offersOfOne) {
            int& group = at(m_groupOf, offer.tuner);
            const quint64 key = quint64(quint32(group)) << 32 | quint32(offer.cost);
            if (lastPart == kNone || key != lastKey) { // neighbours mostly fall into the same part
                const auto part = parts.emplace(key, count);
                count += part.second;
                lastKey = key;
                lastPart = part.first->second;
            }
            group = lastPart;
        }
    }
    return count;
}

/// Renumbers the groups that are left and lists their members in ascending order.
void TunerGroups::number(int provisionalCount)
{
    std::vector<int> numbers(static_cast<std::size_t>(provisionalCount), kNone);
    for (std::size_t tuner = 0; tuner < m_groupOf.size(); ++tuner) {
        int& group = at(numbers, m_groupOf[tuner]);
        if (group == kNone) {
            group = static_cast<int>(m_members.size());
            m_members.emplace_back();
        }
        m_groupOf[tuner] = group;
        at(m_members, group).push_back(static_cast<int>(tuner));
    }
    m_taken.assign(m_members.size(), 0);
}

/// Serves one request after the other. A tuner that was given to somebody always stays with somebody.
class Matcher
{
public:
    Matcher(int tunerCount, const Offers& offers, const std::vector<int>& classOfRequest)
        : m_classOf(classOfRequest)
        , m_groups(tunerCount, offers)
        , m_seatOf(classOfRequest.size(), kNone)
        , m_labels(offers.size())
    {
    }

    TunerMatching run();

private:
    /// A tuner in use, with its cost in each class.
    struct Seat
    {
        int tuner;
        int request;
        std::vector<qint64> costs;
    };
    /// The cheapest way found from the request that is being served to a request of a class.
    struct Label
    {
        qint64 cost = kUnreachable;
        int seat = kNone; ///< the last seat that changes hands: the class that gives it up is this one
        int from = kNone; ///< the class that takes it
        bool queued = false;
    };
    struct End
    {
        int classIndex = kNone;
        int group = kNone;
        qint64 cost = kUnreachable;
    };

    void search(int from);
    End cheapestEnd() const;
    void augment(int request, const End& end);
    std::vector<int> conflictOf(int request) const;

    const std::vector<int>& m_classOf;
    TunerGroups m_groups;
    std::vector<Seat> m_seats;
    std::vector<int> m_seatOf;   ///< by request
    std::vector<Label> m_labels; ///< by class
};

TunerMatching Matcher::run()
{
    TunerMatching matching;
    for (int request = 0; request < static_cast<int>(m_classOf.size()); ++request) {
        search(at(m_classOf, request));
        const End end = cheapestEnd();
        if (end.group == kNone)
            matching.conflicts.push_back(conflictOf(request));
        else
            augment(request, end);
    }
    for (std::size_t request = 0; request < m_classOf.size(); ++request) {
        const int seat = m_seatOf[request];
        matching.tunerOfRequest.push_back(seat == kNone ? kNone : at(m_seats, seat).tuner);
        if (seat != kNone)
            matching.totalCost += at(at(m_seats, seat).costs, m_classOf[request]);
    }
    return matching;
}

void Matcher::search(int from)
{
    std::fill(m_labels.begin(), m_labels.end(), Label());
    at(m_labels, from) = {0, kNone, kNone, true};
    std::deque<int> queue{from};
    while (!queue.empty()) {
        const int taker = queue.front();
        queue.pop_front();
        at(m_labels, taker).queued = false;
        const qint64 cost = at(m_labels, taker).cost;
        for (std::size_t seat = 0; seat < m_seats.size(); ++seat) {
            const std::vector<qint64>& costs = m_seats[seat].costs;
            const int giver = at(m_classOf, m_seats[seat].request);
            if (giver == taker || at(costs, taker) == kUnreachable)
                continue;
            Label& label = at(m_labels, giver);
            const qint64 newCost = cost + at(costs, taker) - at(costs, giver);
            if (newCost >= label.cost)
                continue;
            if (!label.queued)
                queue.push_back(giver);
            label = {newCost, static_cast<int>(seat), taker, true};
        }
    }
}

Matcher::End Matcher::cheapestEnd() const
{
    End best;
    for (int classIndex = 0; classIndex < static_cast<int>(m_labels.size()); ++classIndex) {
        const qint64 cost = at(m_labels, classIndex).cost;
        if (cost == kUnreachable)
            continue;
        for (const TunerGroups::InClass& entry : m_groups.ofClass(classIndex)) {
            const qint64 total = cost + entry.cost;
            if (total > best.cost)
                break;
            const int tuner = m_groups.next(entry.group);
            if (tuner != kNone && (total < best.cost || tuner < m_groups.next(best.group)))
                best = {classIndex, entry.group, total};
        }
    }
    return best;
}

void Matcher::augment(int request, const End& end)
{
    int seat = static_cast<int>(m_seats.size());
    Seat& newSeat = m_seats.emplace_back(
        Seat{m_groups.next(end.group), kNone, std::vector<qint64>(m_labels.size(), kUnreachable)});
    for (const TunerGroups::InGroup& offer : m_groups.classesOf(end.group))
        at(newSeat.costs, offer.classIndex) = offer.cost;
    m_groups.takeNext(end.group);
    for (int classIndex = end.classIndex; at(m_labels, classIndex).seat != kNone;) {
        const Label& label = at(m_labels, classIndex);
        const int holder = at(m_seats, label.seat).request;
        at(m_seats, seat).request = holder;
        at(m_seatOf, holder) = seat;
        seat = label.seat;
        classIndex = label.from;
    }
    at(m_seats, seat).request = request;
    at(m_seatOf, request) = seat;
}

/// All requests that the failed search reached.
std::vector<int> Matcher::conflictOf(int request) const
{
    std::vector<int> requests{request};
    for (const Seat& seat : m_seats) {
        if (at(m_labels, at(m_classOf, seat.request)).cost != kUnreachable)
            requests.push_back(seat.request);
    }
    std::sort(requests.begin(), requests.end());
    return requests;
}

} // namespace

TunerMatching matchTuners(int tunerCount, const std::vector<std::vector<TunerOffer>>& offersOfClass,
                          const std::vector<int>& classOfRequest)
{
    return Matcher(tunerCount, offersOfClass, classOfRequest).run();
}

} // namespace Kolta
