#pragma once

#include "engine/conditions/equilibrium_conditions.hpp"
#include "engine/data/system.hpp"
#include "engine/equilibrium/properties.hpp"

#include <memory>
#include <string>
#include <vector>

namespace tessara {

/// Matter that goes in together, at a temperature and a pressure of its own.
struct Stream {
    std::string name;
    double t = 0.0;                      ///< K
    double p = 0.0;                      ///< Pa
    std::vector<IncomingAmount> amounts; ///< of phase constituents, mol; each place once
};

/// The streams of a system, in the order in which they were made.
class Streams {
public:
    bool empty() const { return streams_.empty(); }
    const std::vector<Stream>& all() const { return streams_; }
    const Stream* find(const std::string& name) const;

    /// Makes a stream; one of that name starts afresh, without amounts.
    void make(const std::string& name, double t, double p);
    /// Removes a stream; says whether there was one.
    bool remove(const std::string& name);
    void clear() { streams_.clear(); }
    /// Sets the amount of a constituent in a stream that exists.
    void set_amount(const std::string& name, std::size_t phase, std::size_t index, double mol);

    /// Amount of a constituent in all streams together.
    double amount(std::size_t phase, std::size_t index) const;
    /// How many streams hold the constituent.
    std::size_t holders(std::size_t phase, std::size_t index) const;
    /// What goes in, stream after stream.
    void fill(EquilibriumConditions& conditions) const;

private:
    Stream* modifiable(const std::string& name);

    std::vector<Stream> streams_;
};

/// CP, H, S, G and V of a stream. What it holds in one mixture phase forms that phase at that
/// composition, unreacted with the rest; what the amounts leave open within a phase is as in the
/// phase's own equilibrium. Throws `SolveError` where a phase cannot hold what it is given.
ThermalProperties stream_properties(const std::shared_ptr<const System>& system,
                                    const Stream& stream);

} // namespace tessara
