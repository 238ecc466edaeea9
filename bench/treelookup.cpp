#include "figure.h"

#include <values/value.h>

#include <benchmark/benchmark.h>

#include <QHash>
#include <QVector>

#include <algorithm>
#include <memory>
#include <random>

namespace Bench {

namespace {

using values::TreeItem;

constexpr int kServers = 50;
constexpr int kTunersPerServer = 200;
const char* const valueNames[] = {"Accessible", "Idle",    "Type",     "SerialNumber", "Frequency",
                                  "Bandwidth",  "Antenna", "Detector", "Attenuation",  "Owner"};
constexpr int kPaths = kServers * kTunersPerServer * 10;

/// The tree of an installation and a hash table of the same values by the same paths.
struct Lookup
{
    values::Tree tree;
    QHash<QString, TreeItem*> hash;
    QVector<QString> asked; ///< every path once, in random order

    Lookup()
    {
        asked.reserve(kPaths);
        for (int server = 0; server < kServers; ++server) {
            for (int tuner = 0; tuner < kTunersPerServer; ++tuner) {
                for (const char* name : valueNames)
                    add(QStringLiteral("/ConnectManager/AdminTree/Server%1/ADMINISTRATION/Tuners/T%2/%3")
                            .arg(server, 2, 10, QLatin1Char('0'))
                            .arg(tuner, 4, 10, QLatin1Char('0'))
                            .arg(QLatin1String(name)));
            }
        }
        std::shuffle(asked.begin(), asked.end(), std::mt19937(1));
        require(hash.size() == kPaths && tree.Size() > kPaths, "the paths are not distinct");
    }

    void add(const QString& path)
    {
        hash.insert(path, tree.Emplace<values::StringValue>(path, QStringLiteral("value")));
        // Callers compose their paths, so the text asked for is never the very object that is kept.
        asked.append(QString(path.constData(), path.size()));
    }

    template<class Find>
    void askAll(Find find) const
    {
        for (const QString& path : asked) {
            TreeItem* item = find(path);
            benchmark::DoNotOptimize(item);
            require(item != nullptr, "a path was not found");
        }
    }
};

Sides treeLookup()
{
    const auto lookup = std::make_shared<const Lookup>();
    const auto inTree = [lookup] {
        lookup->askAll([&](const QString& path) { return lookup->tree.Find(path); });
    };
    const auto inHash = [lookup] {
        lookup->askAll([&](const QString& path) { return lookup->hash.value(path); });
    };
    return {timed(inTree, kPaths), timed(inHash, kPaths)};
}

const bool added = addFigure({"tree_lookup_100k_vs_qhash",
                              "QHash<QString, T*>::value() on the same 100,000 paths in random order", 3.0,
                              Unit::Time, treeLookup});

} // namespace

} // namespace Bench
