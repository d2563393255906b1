#pragma once

#include "engine/data/system.hpp"

#include <memory>
#include <optional>

namespace tessara::test {

/// What becomes of the parts of a system's Gibbs energies.
struct ModelParts {
    double records = 1.0; ///< factor of the constituents' own energies
    double excess = 1.0;  ///< factor of the excess parameters
    bool magnetism = true;
    std::optional<double> antiferromagnetic; ///< f in place of the phases' own
};

/// The same system with its parts changed. Gibbs energies are linear in the first two parts, so
/// that what a part brings in shows in a difference; and a system with energies of R/R' yields
/// R/R' times what one with the gas constant R' has.
std::shared_ptr<const System> with_parts(const System& system, const ModelParts& parts);

} // namespace tessara::test
