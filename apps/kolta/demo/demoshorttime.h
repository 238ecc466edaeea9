#pragma once

namespace KoltaSimulation {
class SimulatedServer;
}

namespace KoltaCli {

class DemoReport;

/// The step of the demo that is about short-time data: a file of profiles is imported, an application in
/// another place asks for an assignment, and mirrors end with what the server has. True when it went as it
/// must.
bool shareShortTimeData(DemoReport& report, const KoltaSimulation::SimulatedServer& server, int timeoutMs);

} // namespace KoltaCli
