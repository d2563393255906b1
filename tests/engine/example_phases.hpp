#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace tessara::test {

/// Data files of invented substances, with the figures of an independent calculation for each in
/// check_values/, a file of the same name.

/// Two components: a gas, a melt with three orders of interaction, two forms of a compound,
/// dummies. Ranges that end between and below the temperatures of the states; extra terms with
/// powers and ln T.
std::string gas_and_melt_text();
/// A magnetic solution listed twice and two magnetic compounds. Numbers below zero stand for
/// antiferromagnets; one pair is listed in reverse.
std::string magnetic_solid_text();
/// Ions in an ideal mixture, held neutral by an electron component of their own, and a compound.
std::string charged_ions_text();
/// Files of one phase each. Every component has a pure phase of 200 kJ/mol as well, which never
/// forms.
std::string two_equivalents_text(); ///< polynomials; a constituent of two equivalents
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
