#include "engine/data/dat_reader.hpp"
#include "engine/models/polynomial.hpp"

#include <algorithm>
#include <cctype>

// Polynomials with chemical groups, and the lines that override the rule by groups.

namespace tessara {
namespace {

bool is_letter(char c) {
    return std::isalpha(static_cast<unsigned char>(c)) != 0;
}

/// Takes the words of a record apart where letters meet numbers: "3T1" is 3, T, 1.
class Pieces {
public:
    explicit Pieces(DatTokens& tokens) : tokens_(&tokens) {}

    Token next(const std::string& what) {
        if (rest_.text.empty()) {
            rest_ = tokens_->word(what);
        }
        Token piece = rest_;
        std::size_t end = 1;
        if (!is_letter(rest_.text.front())) {
            while (end < rest_.text.size() && !is_letter(rest_.text[end])) {
                ++end;
            }
        }
        piece.text = rest_.text.substr(0, end);
        rest_.text.remove_prefix(end);
        rest_.column += static_cast<int>(end);
        return piece;
    }

    /// A whole number between the limits.
    std::size_t integer(const std::string& what, std::size_t least, std::size_t most) {
        const Token piece = next(what);
        const std::optional<double> value = parse_number(piece.text);
        if (!value || *value < static_cast<double>(least) || *value > static_cast<double>(most) ||
            *value != static_cast<double>(static_cast<std::size_t>(*value))) {
            tokens_->fail_expected(what, piece);
        }
        last_ = piece;
        return static_cast<std::size_t>(*value);
    }

    const Token& last() const { return last_; }

private:
    DatTokens* tokens_;
    Token rest_{"", 0, 0};
    Token last_{"", 0, 0};
};

} // namespace

/// The lines that a closing -K announces. `total` is the number of constituents.
std::vector<GroupOverride> DatReader::read_overrides(std::size_t count, std::size_t total) {
    std::vector<GroupOverride> overrides;
    for (std::size_t k = 1; k <= count; ++k) {
        tokens_.begin_record();
        const std::optional<Token> next = tokens_.peek();
        if (!next || !parse_number(next->text.substr(0, 1))) {
            tokens_.fail_expected(numbered("override line", k, count), next);
        }
        if (std::optional<GroupOverride> rule = read_override(total)) {
            overrides.push_back(*rule);
        }
    }
    return overrides;
}

/// One line: three constituents, for each of their pairs K or T with the constituent that varies,
/// and the constant constituent of another sublattice.
std::optional<GroupOverride> DatReader::read_override(std::size_t total) {
    Pieces pieces(tokens_);
    const std::string number = "constituent number 1 to " + std::to_string(total);
    GroupOverride rule;
    for (std::size_t& c : rule.triple) {
        c = pieces.integer(number, 1, total) - 1;
    }
    const Token first = pieces.last();
    constexpr std::array<std::array<std::size_t, 2>, 3> pairs = {{{0, 1}, {0, 2}, {1, 2}}};
    std::vector<std::size_t> varying;
    for (const auto& pair : pairs) {
        const Token code = pieces.next("K or T");
        const std::string letter = upper(code.text);
        if (letter != "K" && letter != "T") {
            tokens_.fail_expected("K or T", code);
        }
        if (letter == "T") {
            varying.push_back(pieces.integer(number, 1, total) - 1);
            if (varying.back() != rule.triple[pair[0]] && varying.back() != rule.triple[pair[1]]) {
                tokens_.fail_expected("a constituent of the pair that follows", pieces.last());
            }
        }
        const std::array<std::size_t, 2> wanted = {rule.triple[pair[0]], rule.triple[pair[1]]};
        std::array<std::size_t, 2> given{};
        for (std::size_t& c : given) {
            c = pieces.integer(number, 1, total) - 1;
        }
        if (given != wanted && given != std::array<std::size_t, 2>{wanted[1], wanted[0]}) {
            tokens_.fail_expected("the pair " + std::to_string(wanted[0] + 1) + " " +
                                      std::to_string(wanted[1] + 1) + " of the triple",
                                  pieces.last());
        }
    }
    const std::size_t constant =
        pieces.integer("number of the constant constituent, or 0", 0, total);
    if (constant > 0) {
        rule.constant = constant - 1;
    }
    if (varying.size() == 2 && varying[0] != varying[1]) {
        for (std::size_t c : rule.triple) {
            if (c != varying[0] && c != varying[1]) {
                rule.asymmetric = c;
            }
        }
    } else if (!varying.empty()) {
        tokens_.note(first.line, 1,
                     "an override line names no or two different constituents that vary; this one "
                     "is ignored");
        return std::nullopt;
    }
    return rule;
}

int DatReader::read_exponent(const char* what) {
    return tokens_.integer(what, 0, 99);
}

/// Reads the list of parameters of a polynomial phase; `read` reads one on so many constituents.
void DatReader::read_polynomials(const MixtureContext& block, std::size_t least, std::size_t total,
                                 Grouping& grouping, const std::function<void(std::size_t)>& read) {
    std::size_t count = 0;
    for (;;) {
        tokens_.begin_record();
        const std::string expected = std::to_string(least) + ", " + std::to_string(least + 1) +
                                     ", 0 or -K with K override lines";
        const int order = tokens_.integer(expected, -ArraySizes::Most, static_cast<int>(least) + 1);
        if (order <= 0) {
            grouping.overrides = read_overrides(static_cast<std::size_t>(-order), total);
            return;
        }
        if (order < static_cast<int>(least)) {
            tokens_.fail_expected(expected, tokens_.last());
        }
        read(static_cast<std::size_t>(order));
        limit_coefficients(block, ++count);
    }
}

std::shared_ptr<const PhaseModel> DatReader::read_qkto(MixtureContext& block) {
    PolynomialPhase phase;
    for (std::size_t k = 0; k < block.count; ++k) {
        read_constituent(block, k, block.count, false);
        const std::string of =
            "equivalents and group of '" + block.phase.constituents.back().name + "'";
        tokens_.begin_record();
        phase.equivalents.push_back(tokens_.number(of));
        if (phase.equivalents.back() <= 0.0) {
            tokens_.fail_expected(of, tokens_.last(), "equivalents are positive");
        }
        phase.grouping.groups.push_back(tokens_.integer(of, -ArraySizes::Most, ArraySizes::Most));
    }
    read_polynomials(block, 2, block.count, phase.grouping, [&](std::size_t order) {
        PolynomialTerm term;
        tokens_.begin_record();
        read_distinct(term.constituents, order, 1, block.count, block);
        term.line = {tokens_.last_line()};
        for (std::size_t k = 0; k < order; ++k) {
            term.powers.push_back(read_exponent("exponent, a whole number of 0 or more"));
        }
        term.coefficient = read_coefficients(static_cast<ExcessCoefficients*>(nullptr), 1);
        phase.excess.push_back(std::move(term));
    });
    for (const GroupOverride& rule : phase.grouping.overrides) {
        if (rule.constant) {
            tokens_.note(tokens_.last().line, 1,
                         "override lines of a phase without sublattices end with 0");
        }
    }
    for (GroupOverride& rule : phase.grouping.overrides) {
        rule.constant.reset();
    }
    return std::make_shared<PolynomialModel>(std::move(phase));
}

/// Reads numbers of different constituents between the limits, made to count from 0.
void DatReader::read_distinct(std::vector<std::size_t>& constituents, std::size_t count,
                              std::size_t first, std::size_t last, const MixtureContext& block) {
    for (std::size_t k = 0; k < count; ++k) {
        const std::size_t c = read_running_number(first, last, "constituent");
        if (std::find(constituents.begin(), constituents.end(), c) != constituents.end()) {
            tokens_.fail(tokens_.last(), "constituent number " + std::to_string(c + 1) +
                                             " occurs twice in an interaction of phase '" +
                                             block.phase.name + "'");
        }
        constituents.push_back(c);
    }
}

} // namespace tessara
