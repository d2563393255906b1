#include "basic/library/library.hpp"

#include "engine/listing/result_listing.hpp"
#include "engine/search/closed_vessel.hpp"
#include "engine/search/target_search.hpp"
#include "engine/text/text.hpp"

#include <array>
#include <cmath>
#include <ostream>
#include <utility>

// Calculations: single equilibria, searches for what meets a target, and phase maps.

namespace tessara::basic {
namespace {

constexpr std::array TargetNames{"NoTarget", "P", "V", "T", "IA0", "IA"};
constexpr std::array MapNames{"TF", "TN", "PF", "PN", "IA0", "IAF", "IAN"};

std::string text(std::size_t number) {
    return std::to_string(number);
}

bool moves_amounts(TargetVariable target) {
    return target == TargetVariable::IA0 || target == TargetVariable::IA;
}

bool moves_amounts(PhaseMapVariable variable) {
    return variable == PhaseMapVariable::IA0 || variable == PhaseMapVariable::IAF;
}

[[noreturn]] void fail_calculation(const SolveError& error) {
    throw LibraryError(ErrorNumber::Calculation, {error.what()});
}

/// Where a map over this variable is opened.
PhaseMapVariable opening(PhaseMapVariable next) {
    return next == PhaseMapVariable::TN   ? PhaseMapVariable::TF
           : next == PhaseMapVariable::PN ? PhaseMapVariable::PF
                                          : PhaseMapVariable::IAF;
}

Path::Variable along(PhaseMapVariable variable) {
    switch (variable) {
    case PhaseMapVariable::TF:
    case PhaseMapVariable::TN:
        return Path::Variable::Temperature;
    case PhaseMapVariable::PF:
    case PhaseMapVariable::PN:
        return Path::Variable::Pressure;
    default:
        return Path::Variable::Amounts;
    }
}

} // namespace

Checkpoint Library::long_checkpoint() const {
    return [this] { checkpoint(); };
}

StateRequest Library::request(const Loaded& of) const {
    StateRequest request;
    of.conditions().fill(request.conditions);
    if (of.with_streams) {
        of.streams.fill(request.conditions);
    }
    of.statuses.fill(request.conditions);
    if (const Condition* volume = of.conditions().find(ConditionVariable::VT, Place::system())) {
        request.volume = volume->value;
    }
    return request;
}

ThermalProperties Library::stream_input(const Loaded& of) const {
    ThermalProperties input;
    if (of.with_streams) {
        for (const Stream& stream : of.streams.all()) {
            input += stream_properties(of.system, stream);
        }
    }
    return input;
}

void Library::calculate(TargetVariable target, int i_ph, int i_c, std::array<double, 2> values,
                        bool from_last, bool listing) {
    warnings_.clear();
    const char* name = TargetNames[static_cast<std::size_t>(target)];
    check_target_place(name, moves_amounts(target), i_ph, i_c);
    if (target == TargetVariable::IA0) {
        touch();
        loaded_->search_ranges.push_back(amount_range(i_ph, i_c, values));
        return;
    }
    check_listing(listing);
    Loaded& of = *loaded_;
    touch();
    of.map_ranges.clear();
    of.state = State::Failed;
    of.searched = target != TargetVariable::NoTarget;
    std::vector<AmountRange> ranges = std::exchange(of.search_ranges, {});
    checkpoint();
    try {
        if (target == TargetVariable::NoTarget) {
            solve(of, from_last);
        } else {
            if (target == TargetVariable::IA) {
                ranges.push_back(amount_range(i_ph, i_c, values));
            }
            search(of, target, values, ranges);
        }
    } catch (const SolveError& error) {
        fail_calculation(error);
    }
    finish_calculation(of, listing);
}

void Library::finish_calculation(Loaded& of, bool listing) {
    of.state = State::Calculated;
    warn_of_folded_sets(of);
    checkpoint();
    if (listing) {
        write_listing([&](std::ostream& out) { list_results(out, inputs(of), of.results); });
    }
}

void Library::solve(Loaded& of, bool from_last) {
    StateRequest wanted = request(of);
    if (wanted.conditions.t == 0.0) {
        throw LibraryError(ErrorNumber::NoTemperature, {});
    }
    const ThermalProperties input = stream_input(of);
    if (wanted.volume) {
        of.found = solve_closed_vessel(of.solver, wanted, long_checkpoint());
        wanted.conditions.p = of.found.p;
        of.request = wanted.conditions;
        of.results.take(of.found, of.request, of.solver.terms(), input);
        return;
    }
    of.request = wanted.conditions;
    const Equilibrium& found =
        of.solver.solve(of.request, from_last ? Solver::Start::Warm : Solver::Start::Cold);
    of.results.take(found, of.request, of.solver.terms(), input);
}

// --- searches ---

Requirement Library::only_requirement(const Loaded& of, std::string_view of_what,
                                      const ThermalProperties& input) const {
    const std::vector<Condition> list = requirements(of.conditions());
    if (list.size() != 1) {
        std::string found = list.empty() ? "is none" : "are " + text(list.size()) + ":";
        for (const Condition& condition : list) {
            found += " " + condition_text(system(), condition) + " (number " +
                     std::to_string(condition.number) + ", which hxremc removes)" +
                     (&condition == &list.back() ? "" : ",");
        }
        throw LibraryError(ErrorNumber::Requirement, {of_what, found});
    }
    return Requirement(system(), list.front(), input);
}

std::optional<double> Library::mol_of(double amount, const Place& place) const {
    if (amount == 0.0) {
        return 0.0;
    }
    const double molar_mass = molar_mass_of(system(), place);
    if (units_.by_mass() && !(molar_mass > 0.0)) {
        return std::nullopt;
    }
    return units_.to_mol(amount, molar_mass);
}

Library::AmountRange Library::amount_range(int i_ph, int i_c, std::array<double, 2> values) const {
    const Place place = i_ph == None ? Place::component(static_cast<std::size_t>(i_c))
                                     : Place::constituent(static_cast<std::size_t>(i_ph),
                                                          static_cast<std::size_t>(i_c));
    const std::string what = place_text(system(), place);
    std::array<double, 2> mol{};
    for (std::size_t k = 0; k < 2; ++k) {
        if (!std::isfinite(values[k])) {
            throw LibraryError(ErrorNumber::Range,
                               {"the incoming amount of " + what, number_text(values[0]),
                                number_text(values[1]), "both ends must be finite numbers"});
        }
        const std::optional<double> moles = mol_of(values[k], place);
        if (!moles) {
            throw LibraryError(ErrorNumber::MovedAmount,
                               {what, "it has no molar mass. Give amounts in mol"});
        }
        mol[k] = *moles;
    }
    return {place, mol[0], mol[1]};
}

Path Library::path_of_amounts(const Loaded& of, const std::vector<AmountRange>& ranges) const {
    std::vector<MovedAmount> moved;
    for (const AmountRange& range : ranges) {
        const Place& place = range.place;
        const bool of_component = place.kind == Place::Kind::Component;
        const std::size_t phase = of_component ? IncomingAmount::NoPhase : place.phase;
        const std::string what = place_text(system(), place);
        for (const MovedAmount& other : moved) {
            if (other.at.phase == phase && other.at.index == place.index) {
                throw LibraryError(ErrorNumber::MovedAmount, {what, "it has two ranges"});
            }
        }
        if (of.with_streams) {
            const std::size_t holders = of_component ? 0 : of.streams.holders(phase, place.index);
            if (holders != 1) {
                throw LibraryError(ErrorNumber::MovedAmount,
                                   {what, holders == 0 ? "no stream holds any of it"
                                                       : text(holders) + " streams hold some of "
                                                                         "it"});
            }
        } else {
            for (const ConditionVariable given : {ConditionVariable::AC, ConditionVariable::MU}) {
                if (of.conditions().find(given, place) != nullptr) {
                    throw LibraryError(
                        ErrorNumber::MovedAmount,
                        {what, "its " + std::string(condition_name(given)) + " is given"});
                }
            }
        }
        moved.push_back({{phase, place.index, range.first}, range.last});
    }
    return Path(std::move(moved), request(of));
}

/// Makes a state of a path the result.
void Library::take_state(Loaded& of, Path& path, double point, const Equilibrium& equilibrium,
                         const ThermalProperties& input) {
    of.found = equilibrium;
    of.request = path.at(point).conditions;
    of.request.p = of.found.p;
    of.moved.clear();
    for (std::size_t k = 0; k < path.moved().size(); ++k) {
        of.moved.push_back(path.moved()[k].at);
        of.moved.back().amount = path.amount(k, point);
    }
    TemperatureTerms terms = system().terms();
    terms.set(of.found.t);
    of.results.take(of.found, of.request, terms, input);
}

void Library::search(Loaded& of, TargetVariable target, std::array<double, 2> values,
                     const std::vector<AmountRange>& ranges) {
    const char* name = TargetNames[static_cast<std::size_t>(target)];
    const ThermalProperties input = stream_input(of);
    Requirement requirement = only_requirement(of, std::string("the variable ") + name, input);
    const Condition condition = requirement.condition();
    const std::string description =
        condition_text(system(), condition) + " = " +
        (condition.variable == ConditionVariable::A && condition.value == 0.0 ? "0 (it just forms)"
         : condition.variable == ConditionVariable::A && condition.value == Condition::Precipitation
             ? "-1 (a further phase just forms from it)"
             : number_text(condition_value(system(), units_, condition)) + " " +
                   condition_unit(units_, condition));
    SearchRange range;
    std::optional<Path> path;
    if (target == TargetVariable::IA) {
        path.emplace(path_of_amounts(of, ranges));
    } else {
        static constexpr std::array quantities{Quantity::Pressure, Quantity::Volume,
                                               Quantity::Temperature};
        const std::size_t k = static_cast<std::size_t>(target) - 1;
        const bool guess = values[1] == 0.0;
        for (std::size_t end = 0; end < (guess ? 1U : 2U); ++end) {
            const double value = units_.to_engine(quantities[k], values[end]);
            if (!(value > 0.0) || !std::isfinite(value)) {
                throw LibraryError(ErrorNumber::Range,
                                   {name, number_text(values[0]), number_text(values[1]),
                                    "a guess or an end must be a finite number above zero"});
            }
            (end == 0 ? range.low : range.high) = value;
        }
        if (guess) {
            range.guess = range.low;
        }
        StateRequest wanted = request(of);
        if (target == TargetVariable::T) {
            wanted.conditions.t = range.low;
        } else if (wanted.conditions.t == 0.0) {
            throw LibraryError(ErrorNumber::NoTemperature, {});
        }
        static constexpr std::array variables{Path::Variable::Pressure, Path::Variable::Volume,
                                              Path::Variable::Temperature};
        path.emplace(variables[k], std::move(wanted));
    }
    if (path->at(path->point(range.low)).conditions.t == 0.0) {
        throw LibraryError(ErrorNumber::NoTemperature, {});
    }
    PathSolver solver(of.solver, *path, long_checkpoint());
    const PathState found = find_target(solver, std::move(requirement), range, description);
    take_state(of, *path, found.point, found.equilibrium, input);
}

// --- maps ---

bool Library::map(PhaseMapVariable variable, int i_ph, int i_c, std::array<double, 2> values,
                  bool listing) {
    warnings_.clear();
    const char* name = MapNames[static_cast<std::size_t>(variable)];
    check_target_place(name, moves_amounts(variable), i_ph, i_c);
    Loaded& of = *loaded_;
    if (of.with_streams) {
        throw LibraryError(ErrorNumber::MapOfStreams, {});
    }
    if (variable == PhaseMapVariable::IA0) {
        touch();
        of.map_ranges.push_back(amount_range(i_ph, i_c, values));
        return true;
    }
    check_listing(listing);
    of.search_ranges.clear();
    const bool opens = variable == PhaseMapVariable::TF || variable == PhaseMapVariable::PF ||
                       variable == PhaseMapVariable::IAF;
    if (!opens && (!of.map || of.map->solver.path().variable() != along(variable))) {
        throw LibraryError(ErrorNumber::NoMap,
                           {name, MapNames[static_cast<std::size_t>(opening(variable))]});
    }
    of.state = State::Failed;
    of.searched = false;
    checkpoint();
    bool more = true;
    // Where this fails the map under way is closed, and its ranges are gone.
    std::unique_ptr<OpenMap> under_way = std::move(of.map);
    std::vector<AmountRange> ranges = std::exchange(of.map_ranges, {});
    try {
        if (opens) {
            touch();
            if (variable == PhaseMapVariable::IAF) {
                ranges.push_back(amount_range(i_ph, i_c, values));
            }
            under_way = open_map(of, variable, values, ranges);
        } else {
            more = next_of_map(of, *under_way);
        }
    } catch (const SolveError& error) {
        fail_calculation(error);
    }
    of.map = std::move(under_way);
    finish_calculation(of, listing);
    return more;
}

std::unique_ptr<Library::OpenMap> Library::open_map(Loaded& of, PhaseMapVariable variable,
                                                    std::array<double, 2> values,
                                                    const std::vector<AmountRange>& ranges) {
    const Path::Variable over = along(variable);
    std::optional<Path> path;
    double low = 0.0;
    double high = 1.0;
    if (over == Path::Variable::Amounts) {
        path.emplace(path_of_amounts(of, ranges));
    } else {
        const bool temperature = over == Path::Variable::Temperature;
        const Quantity quantity = temperature ? Quantity::Temperature : Quantity::Pressure;
        low = units_.to_engine(quantity, values[0]);
        high = units_.to_engine(quantity, values[1]);
        const char* fault = !(low > 0.0 && high > 0.0 && std::isfinite(low) && std::isfinite(high))
                                ? "both ends must be finite numbers above zero"
                            : low > high ? "the lower end comes first"
                                         : nullptr;
        if (fault != nullptr) {
            throw LibraryError(ErrorNumber::Range, {temperature ? "T" : "P", number_text(values[0]),
                                                    number_text(values[1]), fault});
        }
        StateRequest wanted = request(of);
        if (temperature) {
            wanted.conditions.t = low;
        }
        path.emplace(over, std::move(wanted));
        low = path->point(low);
        high = path->point(high);
    }
    if (path->at(low).conditions.t == 0.0) {
        throw LibraryError(ErrorNumber::NoTemperature, {});
    }
    PathSolver solver(of.solver, std::move(*path), long_checkpoint());
    take_state(of, solver.path(), low, solver.solve(low).equilibrium, {});
    return std::make_unique<OpenMap>(OpenMap{std::move(solver), low, high, std::nullopt, 0});
}

bool Library::next_of_map(Loaded& of, OpenMap& map) {
    if (!map.found) {
        map.found.emplace(map.solver, map.low, map.high);
        take_state(of, map.solver.path(), map.high, map.found->high().equilibrium, {});
        return !map.found->transitions().empty();
    }
    const std::vector<Transition>& transitions = map.found->transitions();
    if (map.next >= transitions.size()) {
        throw LibraryError(ErrorNumber::Calculation, {"the map has no further points"});
    }
    const Transition& transition = transitions[map.next++];
    take_state(of, map.solver.path(), transition.point, transition.below.equilibrium, {});
    return map.next < transitions.size();
}

} // namespace tessara::basic
