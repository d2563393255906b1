#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace tessara::test {

/// Data files of one phase each, of invented substances, with the figures that an independent
/// calculation was made for (see model_states_test.cpp). Every component has a pure phase of
/// 200 kJ/mol as well, which never forms.
std::string sublattice_text();
std::string reciprocal_text();
std::string ordering_magnetic_text(); ///< three sublattices, two of which hold the same
std::string antiferromagnetic_text();
std::string ionic_liquid_text();
std::string ion_sublattices_text();
std::string quasichemical_text();        ///< SUBG, 3 cations, 2 anions
std::string quasichemical_anions_text(); ///< SUBG, 2 cations, 3 anions
std::string quasichemical_half_text();   ///< SUBQ, 3 cations, 2 anions, an override
std::string quasichemical_pairs_text();  ///< SUBQ with terms in two pairs
/// A polynomial phase with these groups of its three constituents, or this end of its list.
std::string polynomial_text(const std::string& groups = "1 2 2", const std::string& end = "0\n");

/// The head of a file with one mixture: components, and the count of the mixture.
std::string file_head(const std::vector<std::string>& components, int count);
/// Pure phases of 200 kJ/mol for each component.
std::string pure_phases(const std::vector<std::string>& components);
/// A species with one range; coefficients left out are 0.
std::string species_text(const std::string& name, const std::string& stoichiometry,
                         const std::string& coefficients);
/// A parameter of a quasichemical phase: code with its eight numbers, additional ions,
/// coefficients.
std::string quasichemical_term_text(const std::string& code, const std::string& more,
                                    const std::string& coefficients);

/// The text with one line (from 1) replaced, or left out.
std::string with_line(const std::string& text, int line, const std::string& other);
std::string without_line(const std::string& text, int line);
/// The number of the first line that is this one, from line `from` on.
int line_of(const std::string& text, const std::string& line, int from = 1);

} // namespace tessara::test
