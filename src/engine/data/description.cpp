#include "engine/data/description.hpp"

#include "engine/data/system.hpp"

namespace tessara {
namespace {

using Table = Description::Table;

class Describer {
public:
    explicit Describer(const System& system) : system_(system) {}

    Description all() const {
        return Table{
            {"title", system_.title},
            {"components", Description::list(system_.components, component)},
            {"phases", Description::list(system_.phases, [&](const Phase& p) { return phase(p); })},
            {"dummies",
             Description::list(system_.dummies, [&](const Constituent& c) { return species(c); })},
            {"comment_line", system_.comment_line},
        };
    }

private:
    static Description component(const Component& component) {
        return Table{{"name", component.name}, {"molar_mass", component.molar_mass}};
    }

    Description phase(const Phase& phase) const {
        Description table = Table{
            {"name", phase.file_name},
            {"model", model_name(phase.kind())},
            {"gas", phase.gas},
            {"line", phase.line},
            {"constituents",
             Description::list(phase.constituents,
                               [&](const Constituent& one) { return species(one); })},
        };
        if (phase.model) {
            phase.model->describe(table);
        }
        return table;
    }

    Description species(const Constituent& one) const {
        return Table{
            {"name", one.name},
            {"amounts", Description::list(one.stoichiometry)},
            {"ranges",
             Description::list(one.gibbs.ranges(),
                               [&](const TemperatureFunction::Range& r) { return range(r); })},
            {"magnetic", one.magnetic ? magnetic(*one.magnetic) : Description()},
            {"volume_data", one.has_volume_data},
            {"line", one.line},
        };
    }

    Description range(const TemperatureFunction::Range& range) const {
        const auto pair = [&](const ExtraTerm& term) {
            return Description::List{term.coefficient, system_.terms().exponent(term.place)};
        };
        return Table{
            {"upper", range.t_max},
            {"coefficients", Description::list(range.coefficients)},
            {"extra", Description::list(range.extra, pair)},
        };
    }

    static Description magnetic(const MagneticRecord& record) {
        return Description::List{record.numbers.tc, record.numbers.beta,
                                 record.factors.antiferromagnetic, record.factors.structure};
    }

    const System& system_;
};

} // namespace

const Description::List& Description::items() const {
    static const List none;
    const List* list = std::get_if<List>(&value_);
    return list != nullptr ? *list : none;
}

const Description& Description::operator[](std::string_view key) const {
    static const Description nothing;
    if (const Table* table = std::get_if<Table>(&value_)) {
        for (const auto& [name, value] : *table) {
            if (name == key) {
                return value;
            }
        }
    }
    return nothing;
}

double Description::number() const {
    if (const long long* integer = std::get_if<long long>(&value_)) {
        return static_cast<double>(*integer);
    }
    const double* real = std::get_if<double>(&value_);
    return real != nullptr ? *real : 0.0;
}

std::string Description::text() const {
    const std::string* text = std::get_if<std::string>(&value_);
    return text != nullptr ? *text : std::string();
}

Description describe(const System& system) {
    return Describer(system).all();
}

} // namespace tessara
