#include "model_parts.hpp"

#include "engine/models/ion_sublattices.hpp"
#include "engine/models/ionic_liquid.hpp"
#include "engine/models/polynomial.hpp"
#include "engine/models/quasichemical.hpp"
#include "engine/models/redlich_kister.hpp"
#include "engine/models/sublattice.hpp"

#include <stdexcept>

namespace tessara::test {
namespace {

void scale(ExcessCoefficients& set, double factor) {
    for (double& coefficient : set.thermal) {
        coefficient *= factor;
    }
    set.p *= factor;
    set.p2 *= factor;
}

/// Of a parameter of any kind: it has sets, or one coefficient.
template <class Term>
void scale_term(Term& term, double factor) {
    if constexpr (requires { term.sets; }) {
        for (ExcessCoefficients& set : term.sets) {
            scale(set, factor);
        }
    } else {
        scale(term.coefficient, factor);
    }
}

void change(std::optional<MagneticMixture>& magnetic, const ModelParts& parts) {
    if (!magnetic) {
        return;
    }
    if (!parts.magnetism) {
        for (MagneticNumbers& numbers : magnetic->constituents) {
            numbers = {};
        }
        magnetic->terms.clear();
    }
    if (parts.antiferromagnetic) {
        magnetic->factors.antiferromagnetic = *parts.antiferromagnetic;
    }
}

/// The model with its parts changed if it is of this kind, else nothing.
template <class Model>
std::shared_ptr<const PhaseModel> changed(const PhaseModel& model, const ModelParts& parts) {
    const auto* own = dynamic_cast<const Model*>(&model);
    if (own == nullptr) {
        return nullptr;
    }
    auto phase = own->phase();
    for (auto& term : phase.excess) {
        scale_term(term, parts.excess);
    }
    if constexpr (requires { phase.magnetic; }) {
        change(phase.magnetic, parts);
    }
    return std::make_shared<Model>(std::move(phase));
}

std::shared_ptr<const PhaseModel> changed(const RedlichKisterModel& model, std::size_t constituents,
                                          const ModelParts& parts) {
    auto excess = model.excess();
    for (auto& term : excess) {
        scale_term(term, parts.excess);
    }
    auto magnetic = model.magnetic();
    change(magnetic, parts);
    return std::make_shared<RedlichKisterModel>(constituents, std::move(excess),
                                                std::move(magnetic));
}

std::shared_ptr<const PhaseModel> changed(const Phase& phase, const ModelParts& parts) {
    if (phase.kind() == ModelKind::Pure || phase.kind() == ModelKind::IDMX) {
        return phase.model; // no part that could change
    }
    if (const auto* own = dynamic_cast<const RedlichKisterModel*>(phase.model.get())) {
        return changed(*own, phase.constituents.size(), parts);
    }
    for (const auto& model : {changed<PolynomialModel>(*phase.model, parts),
                              changed<SublatticeModel>(*phase.model, parts),
                              changed<IonSublatticeModel>(*phase.model, parts),
                              changed<IonicLiquidModel>(*phase.model, parts),
                              changed<QuasichemicalModel>(*phase.model, parts)}) {
        if (model) {
            return model;
        }
    }
    throw std::logic_error("a model that has no parts");
}

} // namespace

std::shared_ptr<const System> with_parts(const System& system, const ModelParts& parts) {
    auto other = std::make_shared<System>(system);
    for (Phase& phase : other->phases) {
        for (Constituent& constituent : phase.constituents) {
            constituent.gibbs = constituent.gibbs.scaled(parts.records);
        }
        phase.model = changed(phase, parts);
    }
    return other;
}

} // namespace tessara::test
