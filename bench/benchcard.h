#pragma once

#include "tools/simulator.h"

#include <QFileInfo>
#include <QString>

namespace bench {

// A simulated card of `hours` (default script, seed 1) in `folder`, unless one is there already.
inline void ensureSimulatedCard(const QString& folder, double hours)
{
    if (QFileInfo::exists(folder + "/HECG.VTF"))
        return;
    SimulatorScript script = parseSimulatorScript(defaultSimulatorScript(), "default");
    setSimulationHours(script, hours);
    Simulator(script, 1).writeAll(folder, 512);
}

} // namespace bench
