// libFuzzer target: whatever the bytes, reading ends in a system or a ReadError, and a system can
// be asked for an equilibrium.

#include "engine/equilibrium/solver.hpp"

#include <cstddef>
#include <cstdint>
#include <string_view>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace tessara;
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    try {
        const auto system = System::read_dat(text, "fuzz.dat");
        if (system->components.size() > 6 || system->phases.size() > 20) {
            return 0; // reading was the point; solving what is large would only take time
        }
        Solver solver(system);
        // Data without sense may have no answer; it need not be looked for in every way.
        solver.set_options({.round_limit = 2});
        EquilibriumConditions conditions;
        conditions.t = 1000.0;
        for (std::size_t j = 0; j < system->components.size(); ++j) {
            conditions.amounts.push_back({IncomingAmount::NoPhase, j, 1.0 + 0.5 * double(j)});
        }
        solver.solve(conditions);
    } catch (const ReadError&) {
    } catch (const SolveError&) {
    }
    return 0;
}
