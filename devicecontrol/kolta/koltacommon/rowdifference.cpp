#include <koltacommon/rowdifference.h>

#include <QHash>

#include <algorithm>

namespace Kolta {

namespace {

constexpr int kGone = -1;

int sizeOf(const std::vector<int>& list)
{
    return static_cast<int>(list.size());
}

/// Which elements stay where they are: those of a longest ascending subsequence.
std::vector<bool> longestAscending(const std::vector<int>& values)
{
    std::vector<int> ends;                         // place of the last element of the best one of each length
    std::vector<int> before(values.size(), kGone); // place of the element before
    for (int i = 0; i < sizeOf(values); ++i) {
        const auto at = std::lower_bound(ends.begin(), ends.end(), i, [&values](int place, int other) {
            return values[static_cast<std::size_t>(place)] < values[static_cast<std::size_t>(other)];
        });
        if (at != ends.begin())
            before[static_cast<std::size_t>(i)] = *(at - 1);
        if (at == ends.end())
            ends.push_back(i);
        else
            *at = i;
    }
    std::vector<bool> stays(values.size());
    for (int place = ends.empty() ? kGone : ends.back(); place != kGone;
         place = before[static_cast<std::size_t>(place)])
        stays[static_cast<std::size_t>(place)] = true;
    return stays;
}

/// Appends a place to the runs, the last of which it may continue.
void extend(std::vector<RowRange>& runs, int place)
{
    if (!runs.empty() && runs.back().last + 1 == place)
        runs.back().last = place;
    else
        runs.push_back({place, place});
}

} // namespace

RowDifference::RowDifference(const std::vector<QString>& before, const std::vector<QString>& after)
{
    const auto common = std::min(before.size(), after.size());
    std::size_t head = 0;
    while (head < common && before[head] == after[head])
        ++head;
    std::size_t tail = 0;
    while (tail < common - head && before[before.size() - 1 - tail] == after[after.size() - 1 - tail])
        ++tail;

    QHash<QString, int> places;
    places.reserve(static_cast<int>(after.size() - head - tail));
    for (std::size_t i = head; i < after.size() - tail; ++i)
        places.insert(after[i], static_cast<int>(i));
    std::vector<int> targets; // of the rows between head and tail that stay
    for (std::size_t i = head; i < before.size() - tail; ++i) {
        const auto found = places.find(before[i]);
        if (found == places.end()) {
            extend(removals, static_cast<int>(i));
        } else {
            targets.push_back(found.value());
            places.erase(found);
        }
    }
    std::reverse(removals.begin(), removals.end());
    for (std::size_t i = head; i < after.size() - tail; ++i) {
        if (places.contains(after[i]))
            extend(insertions, static_cast<int>(i));
    }
    arrange(std::move(targets));
    for (Move& move : moves) {
        move.from += static_cast<int>(head);
        move.to += static_cast<int>(head);
    }
    if (!order.empty())
        surroundOrder(static_cast<int>(head), static_cast<int>(tail));
}

/// Adds to the order of the rows between head and tail what stays as it is.
void RowDifference::surroundOrder(int head, int tail)
{
    std::vector<int> all;
    all.reserve(static_cast<std::size_t>(head) + order.size() + static_cast<std::size_t>(tail));
    for (int place = 0; place < head; ++place)
        all.push_back(place);
    for (const int place : order)
        all.push_back(head + place);
    for (int i = 0; i < tail; ++i)
        all.push_back(static_cast<int>(all.size()));
    order = std::move(all);
}

/// `targets`: where each row that stays belongs, in the order in which they stand.
void RowDifference::arrange(std::vector<int> targets)
{
    const std::vector<bool> stays = longestAscending(targets);
    const auto moving = std::count(stays.begin(), stays.end(), false);
    std::vector<int> sorted = targets;
    std::sort(sorted.begin(), sorted.end());
    if (moving > kMostMoves) {
        std::vector<std::pair<int, int>> places; // target, place
        places.reserve(targets.size());
        for (int i = 0; i < sizeOf(targets); ++i)
            places.emplace_back(targets[static_cast<std::size_t>(i)], i);
        std::sort(places.begin(), places.end());
        for (const auto& place : places)
            order.push_back(place.second);
        return;
    }
    std::vector<int> movers;
    for (std::size_t i = 0; i < targets.size(); ++i) {
        if (!stays[i])
            movers.push_back(targets[i]);
    }
    std::sort(movers.begin(), movers.end());
    // In the order of their targets, so that all before a row's place is settled when it comes there.
    for (const int target : movers) {
        const auto from = std::find(targets.begin(), targets.end(), target);
        const auto settled = std::lower_bound(sorted.begin(), sorted.end(), target);
        const auto before = settled == sorted.begin()
                                ? targets.end()
                                : std::find(targets.begin(), targets.end(), *(settled - 1));
        const int at = static_cast<int>(from - targets.begin());
        const int behind = before == targets.end() ? 0 : static_cast<int>(before - targets.begin()) + 1;
        const int to = behind > at ? behind - 1 : behind;
        if (to == at)
            continue;
        moves.push_back({at, to});
        targets.erase(from);
        targets.insert(targets.begin() + to, target);
    }
}

} // namespace Kolta
