#include "engine/models/parameters.hpp"

namespace tessara {

Description describe(const ExcessCoefficients& set) {
    Description::List numbers;
    for (const double c : set.thermal) {
        numbers.emplace_back(c);
    }
    numbers.emplace_back(set.p);
    numbers.emplace_back(set.p2);
    return numbers;
}

Description describe(const MagneticNumbers& set) {
    return Description::List{set.tc, set.beta};
}

Description describe_number(std::optional<std::size_t> number) {
    return number ? Description(*number) : Description();
}

void describe_magnetism(const MagneticMixture& magnetic, Description& phase) {
    phase.set("lattice",
              Description::List{magnetic.factors.antiferromagnetic, magnetic.factors.structure});
    phase.set("moments", Description::list(magnetic.constituents, [](const MagneticNumbers& own) {
                  return describe(own);
              }));
    phase.set("magnetic_interactions", describe_terms(magnetic.terms));
}

} // namespace tessara
