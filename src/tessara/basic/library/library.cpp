#include "basic/library/library.hpp"

#include "engine/listing/result_listing.hpp"
#include "engine/text/text.hpp"

#include <chrono>
#include <cmath>
#include <limits>
#include <locale>
#include <sstream>
#include <utility>

namespace tessara::basic {
namespace {

constexpr double NaN = std::numeric_limits<double>::quiet_NaN();
constexpr double StandardTemperature = 298.15;

/// The options with the numbers that they take.
struct OptionDescription {
    ConfigurationOption option;
    const char* name;
    int least;
    int most;
    const char* wanted;
};

constexpr std::array Options{
    OptionDescription{ConfigurationOption::IterationLimit, "ITERATION_LIMIT", 1, 1000,
                      "a whole number from 1 to 1000"},
    OptionDescription{ConfigurationOption::CompositionSets, "COMPOSITION_SETS", 0, 1,
                      "True or False"},
    OptionDescription{ConfigurationOption::Sampling, "SAMPLING", 1, 10,
                      "a whole number from 1 to 10"},
};

std::string text(int number) {
    return std::to_string(number);
}

std::string text(std::size_t number) {
    return std::to_string(number);
}

std::size_t index(int checked) {
    return static_cast<std::size_t>(checked);
}

bool in_range(int i, std::size_t count) {
    return i >= 0 && static_cast<std::size_t>(i) < count;
}

[[noreturn]] void fail_place(std::string_view what, const std::string& where, int i_ph, int i_c) {
    throw LibraryError(ErrorNumber::WrongPlace, {what, where, text(i_ph), text(i_c)});
}

ProgramVersion program_version() {
    constexpr int number = TESSARA_VERSION_NUMBER;
    return {number / 10000, number / 100 % 100, number % 100};
}

/// Does what reads a data file; failures become those of the library.
template <class Read>
auto with_words(const std::string& file, ErrorNumber number, const Read& read) {
    try {
        return read();
    } catch (const ReadError& error) {
        throw LibraryError(error.what(), error.file(), error.line(), error.column());
    } catch (const TdfError& error) {
        throw LibraryError(number, {file, error.what()});
    }
}

} // namespace

Library::Loaded::Loaded(std::shared_ptr<const System> read, const Solver::Options& options)
    : system(std::move(read)), statuses(*system), solver(system), results(system),
      warned(system->phases.size(), 0) {
    solver.set_options(options);
}

void Library::initialise() {
    loaded_.reset();
    channels_.close_all();
    list_ = Channels::Standard;
    error_ = 0;
    units_ = Units();
    options_ = Solver::Options();
    warnings_.clear();
}

void Library::checkpoint() const {
    if (checkpoint_ != nullptr) {
        checkpoint_();
    }
}

Library::Loaded& Library::loaded() const {
    if (!loaded_) {
        throw LibraryError(ErrorNumber::NoSystem, {});
    }
    return *loaded_;
}

// --- channels ---

void Library::set_channel(IoOption option, int number) {
    (option == IoOption::List ? list_ : error_) = number;
}

void Library::close(int number) {
    if (number == Channels::Standard) {
        throw LibraryError(ErrorNumber::StandardChannel, {});
    }
    channels_.close(number);
}

void Library::report_error(const std::string& line) noexcept {
    try {
        if (error_ != 0 && channels_.is_output(error_)) {
            channels_.write(error_, ascii(line) + "\n");
        }
    } catch (...) { // NOLINT(bugprone-empty-catch)
        // The error itself is what matters; it is on its way to the caller.
    }
}

const Channels::DataFile& Library::open_file(bool transparent) const {
    const Channels::DataFile* file = channels_.data(transparent);
    if (file == nullptr) {
        throw LibraryError(ErrorNumber::NoDataFile,
                           {transparent ? "transparent data file" : "data file",
                            transparent ? "hxopnt" : "hxopna"});
    }
    return *file;
}

void Library::read_data() {
    const Channels::DataFile& file = open_file(false);
    loaded_.reset();
    loaded_ = with_words(file.name, ErrorNumber::CannotRead, [&] {
        return std::make_unique<Loaded>(System::read_dat(file.text, file.name), options_);
    });
}

std::shared_ptr<const System> Library::read_system(const Channels::DataFile& file) {
    return with_words(file.name, ErrorNumber::CannotRead, [&]() -> std::shared_ptr<const System> {
        return is_tdf(file.text) ? read_tdf(file.text, file.name, program_version()).system
                                 : System::read_dat(file.text, file.name);
    });
}

void Library::read_transparent() {
    const Channels::DataFile& file = open_file(true);
    loaded_.reset();
    loaded_ = with_words(file.name, ErrorNumber::CannotRead, [&] {
        TdfFile read = read_tdf(file.text, file.name, program_version());
        auto made = std::make_unique<Loaded>(std::move(read.system), options_);
        made->header = std::move(read.header);
        return made;
    });
}

const TdfHeader& Library::header() const {
    if (!loaded_ || !loaded_->header) {
        throw LibraryError(ErrorNumber::NoTransparentFile, {});
    }
    return *loaded_->header;
}

std::string Library::packed(const Channels::DataFile& file, std::string remark,
                            const Timestamp& created) {
    const TdfAuthorship by{"tessara", program_version(), {}, created, std::move(remark)};
    return with_words(file.name, ErrorNumber::CannotPack,
                      [&] { return write_tdf(file.text, file.name, by); });
}

Timestamp Library::now() {
    using namespace std::chrono;
    const auto now = floor<seconds>(system_clock::now());
    const auto day = floor<days>(now);
    const year_month_day date(day);
    const hh_mm_ss time(now - day);
    return {static_cast<int>(date.year()),
            static_cast<int>(static_cast<unsigned>(date.month())),
            static_cast<int>(static_cast<unsigned>(date.day())),
            static_cast<int>(time.hours().count()),
            static_cast<int>(time.minutes().count()),
            static_cast<int>(time.seconds().count())};
}

void Library::check_listing(bool listing) const {
    if (listing && !channels_.is_output(list_)) {
        throw LibraryError(ErrorNumber::ListingClosed, {text(list_)});
    }
}

Inputs Library::inputs(const Loaded& of) const {
    return {
        *of.system, units_, of.conditions(), of.statuses, of.with_streams ? &of.streams : nullptr,
        of.searched};
}

void Library::write_listing(const std::function<void(std::ostream&)>& list) {
    std::ostringstream out;
    out.imbue(std::locale::classic());
    list(out);
    channels_.write(list_, out.str());
}

void Library::list_inputs() {
    check_listing(true);
    write_listing([&](std::ostream& out) {
        if (loaded_) {
            const Inputs loaded = inputs(*loaded_);
            tessara::list_inputs(out, units_, &loaded);
        } else {
            tessara::list_inputs(out, units_, nullptr);
        }
    });
}

// --- information ---

std::string Library::copyright() {
    return program_id() + ", copyright (c) 2026 the tessara developers, MIT licence";
}

std::string Library::program_id() {
    return "tessara " TESSARA_VERSION;
}

int Library::version() {
    return TESSARA_VERSION_NUMBER;
}

std::array<int, ArraySizes::Count> Library::sizes_used() const {
    return loaded_ ? system().sizes().used : std::array<int, ArraySizes::Count>{};
}

// --- units ---

void Library::set_unit(Quantity quantity, Unit unit) {
    if (describe(unit).quantity != quantity) {
        std::string possible;
        for (const UnitDescription& row : unit_table()) {
            if (row.quantity == quantity) {
                possible += (possible.empty() ? "" : ", ") + std::string(row.name);
            }
        }
        throw LibraryError(ErrorNumber::WrongUnit,
                           {describe(unit).name, quantity_name(quantity), possible});
    }
    touch();
    units_.set(unit);
}

// --- the loaded system ---

void Library::check_phase(int i_ph) const {
    const std::size_t count = loaded().system->phases.size();
    if (!in_range(i_ph, count)) {
        throw LibraryError(ErrorNumber::PhaseIndex, {text(i_ph), text(count)});
    }
}

void Library::check_component(int i_sc) const {
    const std::size_t count = loaded().system->components.size();
    if (!in_range(i_sc, count)) {
        throw LibraryError(ErrorNumber::ComponentIndex, {text(i_sc), text(count)});
    }
}

void Library::check_constituent(int i_ph, int i_pc) const {
    check_phase(i_ph);
    const Phase& phase = system().phases[index(i_ph)];
    if (!in_range(i_pc, phase.constituents.size())) {
        throw LibraryError(ErrorNumber::ConstituentIndex,
                           {text(i_pc), phase.name, text(phase.constituents.size())});
    }
}

void Library::check_phase_or_none(int i_ph) const {
    if (i_ph == None) {
        loaded();
    } else {
        check_phase(i_ph);
    }
}

const Component& Library::component(int i_sc) const {
    check_component(i_sc);
    return system().components[index(i_sc)];
}

const Phase& Library::phase(int i_ph) const {
    check_phase(i_ph);
    return system().phases[index(i_ph)];
}

const Constituent& Library::constituent(int i_ph, int i_pc) const {
    check_constituent(i_ph, i_pc);
    return system().phases[index(i_ph)].constituents[index(i_pc)];
}

Participation Library::status(int i_ph) const {
    check_phase(i_ph);
    return loaded_->statuses.of_phase(index(i_ph));
}

Participation Library::status(int i_ph, int i_pc) const {
    check_constituent(i_ph, i_pc);
    return loaded_->statuses.of_constituent(index(i_ph), index(i_pc));
}

void Library::set_status(int i_ph, Participation status) {
    check_phase(i_ph);
    touch();
    loaded_->statuses.set_phase(index(i_ph), status);
}

void Library::set_status(int i_ph, int i_pc, Participation status) {
    check_constituent(i_ph, i_pc);
    touch();
    loaded_->statuses.set_constituent(index(i_ph), index(i_pc), status);
}

double Library::datum(int i_ph, int i_pc, ConstituentDatum datum, std::optional<double> t) const {
    const Constituent& of = constituent(i_ph, i_pc);
    switch (datum) {
    case ConstituentDatum::TC:
    case ConstituentDatum::Beta:
        return magnetic_datum(phase(i_ph), of, datum);
    case ConstituentDatum::TMax: {
        double highest = 0.0;
        for (const TemperatureFunction::Range& range : of.gibbs.ranges()) {
            highest = std::max(highest, range.t_max);
        }
        return units_.from_engine(Quantity::Temperature, highest);
    }
    case ConstituentDatum::H298:
        return standard_datum(i_ph, i_pc, ConstituentDatum::H, StandardTemperature);
    case ConstituentDatum::S298:
        return standard_datum(i_ph, i_pc, ConstituentDatum::S, StandardTemperature);
    default:
        return standard_datum(i_ph, i_pc, datum,
                              t ? units_.to_engine(Quantity::Temperature, *t)
                                : StandardTemperature);
    }
}

double Library::magnetic_datum(const Phase& in, const Constituent& of, ConstituentDatum datum) {
    if (in.model) {
        throw LibraryError(ErrorNumber::NoDatum, {"magnetic data of the constituents of mixture "
                                                  "phases cannot be shown yet"});
    }
    if (!of.magnetic) {
        return NaN;
    }
    const MagneticNumbers& numbers = of.magnetic->numbers;
    return datum == ConstituentDatum::TC ? numbers.tc : numbers.beta;
}

/// A property of the pure constituent at a temperature in K, per amount.
double Library::standard_datum(int i_ph, int i_pc, ConstituentDatum datum, double kelvin) const {
    if (!(kelvin > 0.0) || !std::isfinite(kelvin)) {
        throw LibraryError(ErrorNumber::NoDatum, {"the temperature " + number_text(kelvin) +
                                                  " K is not a finite one above absolute zero"});
    }
    TemperatureTerms terms = system().terms();
    terms.set(kelvin);
    const ThermalValue g = system().pure_thermal(index(i_ph), index(i_pc), terms);
    double value = 0.0;
    switch (datum) {
    case ConstituentDatum::CP:
        value = units_.entropy_from_engine(-kelvin * g.d_tt);
        break;
    case ConstituentDatum::S:
        value = units_.entropy_from_engine(-g.d_t);
        break;
    case ConstituentDatum::G:
        value = units_.from_engine(Quantity::Energy, g.value);
        break;
    default:
        value = units_.from_engine(Quantity::Energy, g.value - kelvin * g.d_t);
        break;
    }
    const double amount = units_.from_engine(Amount{1.0, constituent(i_ph, i_pc).molar_mass});
    return amount == 0.0 ? NaN : value / amount;
}

// --- conditions ---

/// The reading of a target fraction's index: a constituent's where the phase has that many, else a
/// component's.
Place Library::target_fraction_place(int i_ph, int i_c) const {
    const std::size_t constituents = system().phases[index(i_ph)].constituents.size();
    if (in_range(i_c, constituents)) {
        return Place::constituent(index(i_ph), index(i_c));
    }
    if (in_range(i_c, system().components.size())) {
        return Place::component_in_phase(index(i_ph), index(i_c));
    }
    check_constituent(i_ph, i_c);
    return {};
}

Place Library::condition_place(ConditionVariable variable, int i_ph, int i_c) const {
    loaded();
    if (i_ph == None) {
        if (i_c == None) {
            return Place::system();
        }
        check_component(i_c);
        return Place::component(index(i_c));
    }
    check_phase(i_ph);
    if (i_c == WholePhase || (i_c == None && variable == ConditionVariable::A)) {
        return Place::of_phase(index(i_ph));
    }
    if (i_c == None) {
        fail_place("the condition " + std::string(condition_name(variable)),
                   "a phase with -1 in place of the constituent; use -2 there", i_ph, i_c);
    }
    if (variable == ConditionVariable::XT) {
        return target_fraction_place(i_ph, i_c);
    }
    check_constituent(i_ph, i_c);
    return Place::constituent(index(i_ph), index(i_c));
}

int Library::set_condition(ConditionVariable variable, int i_ph, int i_c, double value) {
    warnings_.clear();
    const Place place = condition_place(variable, i_ph, i_c);
    Loaded& of = *loaded_;
    int number = 0;
    touch();
    of.with_streams = false;
    try {
        number = of.absolute_conditions.place(system(), units_, variable, place, value);
    } catch (const ConditionError& error) {
        throw LibraryError(ErrorNumber::Condition, {error.what()});
    }
    if (variable == ConditionVariable::XT && place.kind == Place::Kind::Constituent &&
        place.index < system().components.size() &&
        !same_fraction(system(), place.phase, place.index)) {
        warnings_.push_back(
            {Warning::Kind::TargetReading,
             "the target fraction (XT) with the indexes " + text(i_ph) + ", " + text(i_c) +
                 " can be read as that of the constituent " + place_text(system(), place) +
                 " and as that of the " +
                 place_text(system(), Place::component_in_phase(place.phase, place.index)) +
                 "; it is read as the constituent's",
             place.phase});
    }
    return number;
}

void Library::remove_conditions(int number) {
    touch();
    if (loaded_) {
        loaded_->search_ranges.clear();
        loaded_->map_ranges.clear();
    }
    if (number == AllInputs) {
        if (loaded_) {
            loaded_->absolute_conditions.remove_inputs();
        }
        return;
    }
    if (number == AllConditions) {
        options_ = Solver::Options();
        if (loaded_) {
            loaded_->absolute_conditions.clear();
            loaded_->stream_conditions.clear();
            loaded_->solver.set_options(options_);
        }
        return;
    }
    if (!loaded_ || !(loaded_->absolute_conditions.remove(number) ||
                      loaded_->stream_conditions.remove(number))) {
        throw LibraryError(ErrorNumber::ConditionNumber, {text(number)});
    }
}

void Library::touch() {
    if (loaded_) {
        loaded_->map.reset();
        loaded_->moved.clear();
    }
}

// --- calculations ---

void Library::check_target_place(const char* name, bool on_amount, int i_ph, int i_c) const {
    loaded();
    const std::string what = "the variable " + std::string(name);
    if (!on_amount) {
        if (i_ph != None || i_c != None) {
            fail_place(what, "anything but the whole system, -1 and -1", i_ph, i_c);
        }
    } else if (i_ph == None) {
        if (i_c == None) {
            fail_place(what, "the whole system; give the constituent whose incoming amount moves",
                       i_ph, i_c);
        }
        check_component(i_c);
    } else {
        check_constituent(i_ph, i_c);
    }
}

void Library::warn_of_folded_sets(Loaded& of) {
    for (const std::size_t i : of.results.equilibrium().folded) {
        if (of.warned[i] == 0) {
            warnings_.push_back(
                {Warning::Kind::Miscibility,
                 "phase " + system().phases[i].file_name +
                     " splits into more compositions than the data file lists copies of it; those "
                     "without a copy are counted to " +
                     system().phases[i].name + ", and composition_sets(" + text(i) + ") gives each",
                 i});
        }
    }
}

// --- results ---

Place Library::result_place(ResultVariable variable, int i_ph, int i_c) const {
    Place place;
    if (i_ph == None) {
        if (i_c != None) {
            check_component(i_c);
            place = Place::component(index(i_c));
        }
    } else {
        check_phase(i_ph);
        if (i_c == None) {
            place = Place::of_phase(index(i_ph));
        } else if (variable == ResultVariable::AP || variable == ResultVariable::XP) {
            check_component(i_c);
            place = Place::component_in_phase(index(i_ph), index(i_c));
        } else {
            check_constituent(i_ph, i_c);
            place = Place::constituent(index(i_ph), index(i_c));
        }
    }
    if (!Results::has(variable, place.kind)) {
        fail_place("the result " + std::string(result_name(variable)), kind_text(place.kind), i_ph,
                   i_c);
    }
    return place;
}

double Library::result(ResultVariable variable, int i_ph, int i_c) {
    Loaded& of = loaded();
    const Place place = result_place(variable, i_ph, i_c);
    if (variable == ResultVariable::IA) {
        double mol = of.with_streams ? (place.kind == Place::Kind::Constituent
                                            ? of.streams.amount(place.phase, place.index)
                                            : 0.0)
                                     : of.absolute_conditions.incoming_amount(place);
        for (const IncomingAmount& moved : of.moved) {
            const bool of_component = moved.phase == IncomingAmount::NoPhase;
            if (place == (of_component ? Place::component(moved.index)
                                       : Place::constituent(moved.phase, moved.index))) {
                mol = moved.amount;
            }
        }
        return units_.from_engine(Amount{mol, mol * molar_mass_of(system(), place)});
    }
    if (of.state == State::Calculated) {
        return of.results.value(variable, place, units_);
    }
    // The record of a failed calculation has these fields too.
    if (of.state == State::Failed && place.kind == Place::Kind::System &&
        variable >= ResultVariable::CP && variable <= ResultVariable::V) {
        return NaN;
    }
    with_result(result_name(variable));
    return NaN;
}

const Library::Loaded& Library::with_result(std::string_view what) const {
    const Loaded& of = loaded();
    if (of.state != State::Calculated) {
        throw LibraryError(
            of.state == State::Failed ? ErrorNumber::FailedResult : ErrorNumber::NoResult, {what});
    }
    return of;
}

const Certificate& Library::certificate() const {
    return with_result("the check").results.equilibrium().certificate;
}

int Library::iterations() const {
    return with_result("the iterations").results.equilibrium().iterations;
}

std::vector<Results::SetValues> Library::composition_sets(int i_ph) const {
    check_phase(i_ph);
    return with_result("the composition sets").results.sets(index(i_ph), units_);
}

std::vector<std::vector<NamedFractions>> Library::internal_fractions(int i_ph) const {
    check_phase(i_ph);
    return with_result("the internal fractions").results.internal_fractions(index(i_ph));
}

// --- warnings ---

std::vector<Library::Warning> Library::take_warnings() {
    std::vector<Warning> taken = std::exchange(warnings_, {});
    for (const Warning& warning : taken) {
        if (warning.kind == Warning::Kind::Miscibility && loaded_) {
            loaded_->warned[warning.phase] = 1;
        }
    }
    return taken;
}

// --- options ---

void Library::refuse_option(ConfigurationOption option, std::string_view given) {
    const OptionDescription& description = Options[static_cast<std::size_t>(option)];
    throw LibraryError(ErrorNumber::OptionValue, {description.name, description.wanted, given});
}

void Library::set_option(ConfigurationOption option, int value) {
    const OptionDescription& description = Options[static_cast<std::size_t>(option)];
    if (value < description.least || value > description.most) {
        refuse_option(option, text(value));
    }
    switch (option) {
    case ConfigurationOption::IterationLimit:
        options_.round_limit = value;
        break;
    case ConfigurationOption::CompositionSets:
        options_.surplus_sets = value != 0;
        break;
    case ConfigurationOption::Sampling:
        options_.sampling = value;
        break;
    }
    if (loaded_) {
        loaded_->solver.set_options(options_);
    }
}

int Library::option(ConfigurationOption option) const {
    switch (option) {
    case ConfigurationOption::IterationLimit:
        return options_.round_limit;
    case ConfigurationOption::CompositionSets:
        return options_.surplus_sets ? 1 : 0;
    case ConfigurationOption::Sampling:
        return options_.sampling;
    }
    return 0;
}

} // namespace tessara::basic
