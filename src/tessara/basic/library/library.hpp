#pragma once

#include "basic/library/channels.hpp"
#include "basic/library/errors.hpp"
#include "engine/conditions/condition_store.hpp"
#include "engine/conditions/statuses.hpp"
#include "engine/data/tdf_file.hpp"
#include "engine/equilibrium/solver.hpp"
#include "engine/listing/input_listing.hpp"
#include "engine/results/results.hpp"
#include "engine/search/phase_map.hpp"
#include "engine/search/requirement.hpp"
#include "engine/streams/streams.hpp"

#include <array>
#include <functional>
#include <iosfwd>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace tessara::basic {

enum class IoOption { Error, List };
enum class TargetVariable { NoTarget, P, V, T, IA0, IA };
enum class PhaseMapVariable { TF, TN, PF, PN, IA0, IAF, IAN };
enum class StreamVariable { CP, H, S, G, V };
enum class ConfigurationOption { IterationLimit, CompositionSets, Sampling };
enum class ConstituentDatum { CP, H, S, G, H298, S298, TC, Beta, TMax };

/// The library as its operations show it: one system with its units, conditions, statuses and the
/// last result, and the channels that text goes to.
///
/// Indexes count from 0; -1 stands for none. Numbers are in the units in force. All failures are
/// `LibraryError`, which leaves things as they were but where a function says otherwise.
class Library {
public:
    /// Something that users are told beside the result of an operation.
    struct Warning {
        enum class Kind { Miscibility, TargetReading };
        Kind kind;
        std::string text;
        std::size_t phase; ///< that splits
    };

    static constexpr int None = -1;
    /// In place of a constituent: the condition is on the whole phase.
    static constexpr int WholePhase = -2;
    /// In place of a condition's number.
    static constexpr int AllInputs = 0;
    static constexpr int AllConditions = -2;

    /// Empties the library, closes the channels, and sets the starting units and options.
    void initialise();

    /// Called between the steps of a calculation; may throw to end it.
    void set_checkpoint(void (*checkpoint)()) { checkpoint_ = checkpoint; }

    // --- channels ---

    void set_channel(IoOption option, int number);
    int channel(IoOption option) const { return option == IoOption::List ? list_ : error_; }
    void open_output(int number, const std::filesystem::path& path, const std::string& name) {
        channels_.open_output(number, path, name);
    }
    void open_data(int number, Channels::DataFile file) {
        channels_.open_data(number, std::move(file));
    }
    /// Closes a channel, if it is open; channel 6 is refused.
    void close(int number);
    /// Writes a line to the channel for errors, if there is one.
    void report_error(const std::string& line) noexcept;

    /// Reads the data file that is open. What the library held is gone, also when this fails.
    void read_data();
    /// Reads the transparent data file that is open, in the same way.
    void read_transparent();
    /// The header of the transparent data file that the system comes from.
    const TdfHeader& header() const;
    /// The content of a transparent file with what an ASCII data file holds. The library stays as
    /// it is.
    static std::string packed(const Channels::DataFile& file, std::string remark,
                              const Timestamp& created);
    /// The time in UTC.
    static Timestamp now();
    void list_inputs();

    /// The system of a data file; what the library holds stays as it is.
    static std::shared_ptr<const System> read_system(const Channels::DataFile& file);

    // --- information ---

    static std::string copyright();
    static std::string program_id();
    static int version();
    /// The dimensions of the loaded system, zeros where none is loaded.
    std::array<int, ArraySizes::Count> sizes_used() const;

    // --- units ---

    void set_unit(Quantity quantity, Unit unit);
    Unit unit(Quantity quantity) const { return units_.of(quantity); }

    // --- the loaded system ---

    std::size_t component_count() const { return loaded_ ? system().components.size() : 0; }
    std::size_t phase_count() const { return loaded_ ? system().phases.size() : 0; }
    const Component& component(int i_sc) const;
    const Phase& phase(int i_ph) const;
    void check_phase_or_none(int i_ph) const;
    const Constituent& constituent(int i_ph, int i_pc) const;
    double molar_mass(double gram_per_mol) const { return units_.molar_mass(gram_per_mol); }
    Participation status(int i_ph) const;
    Participation status(int i_ph, int i_pc) const;
    void set_status(int i_ph, Participation status);
    void set_status(int i_ph, int i_pc, Participation status);
    /// A datum of a constituent; at `t` in the temperature unit, or at 298.15 K. Curie temperatures
    /// are in K, and nan where there is none.
    double datum(int i_ph, int i_pc, ConstituentDatum datum, std::optional<double> t) const;

    // --- conditions, calculations, results ---

    int set_condition(ConditionVariable variable, int i_ph, int i_c, double value);
    void remove_conditions(int number);

    /// Calculates; the result replaces the former one, also when this fails, but not where the
    /// place is wrong or a listing has nowhere to go.
    void calculate(TargetVariable target, int i_ph, int i_c, std::array<double, 2> values,
                   bool from_last, bool listing);
    /// The next point of a phase map; says whether there are more to ask for.
    bool map(PhaseMapVariable variable, int i_ph, int i_c, std::array<double, 2> values,
             bool listing);

    // --- streams ---

    void make_stream(const std::string& name, double t, double p);
    /// Removes a stream, or all of them where the name is empty.
    void remove_stream(const std::string& name);
    void set_stream_amount(const std::string& name, int i_ph, int i_pc, double value);
    int set_stream_condition(ConditionVariable variable, int i_ph, double value);
    double stream_property(const std::string& name, StreamVariable variable);

    double result(ResultVariable variable, int i_ph, int i_c);
    const Certificate& certificate() const;
    int iterations() const;
    std::vector<Results::SetValues> composition_sets(int i_ph) const;
    std::vector<std::vector<NamedFractions>> internal_fractions(int i_ph) const;

    // --- options ---

    void set_option(ConfigurationOption option, int value);
    [[noreturn]] static void refuse_option(ConfigurationOption option, std::string_view given);
    int option(ConfigurationOption option) const;

    // --- warnings ---

    bool has_warnings() const { return !warnings_.empty(); }
    /// Hands over the warnings of the last operation; a phase that splits is told of once.
    std::vector<Warning> take_warnings();

private:
    enum class State { NotCalculated, Failed, Calculated };

    /// The ends between which an incoming amount moves, mol.
    struct AmountRange {
        Place place;
        double first;
        double last;
    };
    /// A map under way: what it goes along, and the points found that are still to be told.
    struct OpenMap {
        PathSolver solver;
        double low;
        double high;
        std::optional<PhaseMap> found;
        std::size_t next = 0;
    };

    /// A system and all that lives and dies with it.
    struct Loaded {
        Loaded(std::shared_ptr<const System> read, const Solver::Options& options);

        std::shared_ptr<const System> system;
        std::optional<TdfHeader> header; ///< of a transparent data file
        Statuses statuses;
        std::shared_ptr<int> numbers = std::make_shared<int>(0);
        ConditionStore absolute_conditions{numbers};
        ConditionStore stream_conditions{numbers};
        Streams streams;
        bool with_streams = false; ///< which family of conditions counts
        bool searched = false;     ///< the last calculation was a search
        /// Ranges of incoming amounts that wait for the last of their search, or of their map.
        std::vector<AmountRange> search_ranges;
        std::vector<AmountRange> map_ranges;
        std::unique_ptr<OpenMap> map;
        Solver solver;
        Results results;
        EquilibriumConditions request;     ///< of the last calculation
        Equilibrium found;                 ///< what the last search found
        std::vector<IncomingAmount> moved; ///< the amounts that it moved, as it found them
        State state = State::NotCalculated;
        std::vector<char> warned; ///< per phase: its folded sets have been told

        ConditionStore& conditions() {
            return with_streams ? stream_conditions : absolute_conditions;
        }
        const ConditionStore& conditions() const {
            return with_streams ? stream_conditions : absolute_conditions;
        }
    };

    Loaded& loaded() const;
    const Channels::DataFile& open_file(bool transparent) const;
    const System& system() const { return *loaded_->system; }
    void check_phase(int i_ph) const;
    void check_component(int i_sc) const;
    void check_constituent(int i_ph, int i_pc) const;
    static double magnetic_datum(const Phase& in, const Constituent& of, ConstituentDatum datum);
    double standard_datum(int i_ph, int i_pc, ConstituentDatum datum, double kelvin) const;
    Place condition_place(ConditionVariable variable, int i_ph, int i_c) const;
    Place target_fraction_place(int i_ph, int i_c) const;
    Place result_place(ResultVariable variable, int i_ph, int i_c) const;
    void check_listing(bool listing) const;
    Inputs inputs(const Loaded& of) const;
    void write_listing(const std::function<void(std::ostream&)>& list);
    void check_target_place(const char* name, bool on_amount, int i_ph, int i_c) const;
    /// Conditions, statuses and streams as they are; the temperature may be missing.
    StateRequest request(const Loaded& of) const;
    void solve(Loaded& of, bool from_last);
    void search(Loaded& of, TargetVariable target, std::array<double, 2> values,
                const std::vector<AmountRange>& ranges);
    Requirement only_requirement(const Loaded& of, std::string_view of_what,
                                 const ThermalProperties& input) const;
    /// An amount in the unit in force as moles; none where it is a mass of what has no molar mass.
    std::optional<double> mol_of(double amount, const Place& place) const;
    AmountRange amount_range(int i_ph, int i_c, std::array<double, 2> values) const;
    Path path_of_amounts(const Loaded& of, const std::vector<AmountRange>& ranges) const;
    void take_state(Loaded& of, Path& path, double point, const Equilibrium& equilibrium,
                    const ThermalProperties& input);
    std::unique_ptr<OpenMap> open_map(Loaded& of, PhaseMapVariable variable,
                                      std::array<double, 2> values,
                                      const std::vector<AmountRange>& ranges);
    bool next_of_map(Loaded& of, OpenMap& map);
    void finish_calculation(Loaded& of, bool listing);
    ThermalProperties stream_input(const Loaded& of) const;
    Checkpoint long_checkpoint() const;
    /// What follows from any change of conditions, statuses or units.
    void touch();
    void warn_of_folded_sets(Loaded& of);
    const Loaded& with_result(std::string_view what) const;
    void checkpoint() const;

    Units units_;
    Channels channels_;
    int list_ = Channels::Standard;
    int error_ = 0;
    Solver::Options options_;
    std::unique_ptr<Loaded> loaded_;
    std::vector<Warning> warnings_;
    void (*checkpoint_)() = nullptr;
};

} // namespace tessara::basic
