#pragma once

#include <simulation/installation.h>

#include <resourcemodel/resources.h>

namespace KoltaSimulation {

/// Tuner number `number` (from 0) of an invented installation. The same number and seed always make the same
/// tuner. Free, except where its number ends in 7 (not accessible) or 3 (busy).
RESOURCEMANAGEMENT::Tuner makeTuner(int number, quint32 seed);

/// An overview with `tunerCount` tuners, one processing unit for every 40 of them and one storage unit for
/// every 100, at least one each. A tuner is about 800 bytes of XML.
RESOURCEMANAGEMENT::ResourceOverview makeResources(int tunerCount, quint32 seed);

/// What programs let one server have: about 80 MB of XML.
constexpr int kMostTuners = 100000;

/// Server `number` (from 1) of an installation whose servers are copies of `kind`: S1, S2 and so on at
/// station-1, station-2. `tunerCount` tuners are made for it, in the classes of the sample; 0: it has those
/// of `kind`, with all processing units registered but S4's. S4 is also the one that tells what it misses.
Installation makeInstallation(Installation kind, int number, int tunerCount);

} // namespace KoltaSimulation
