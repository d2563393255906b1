#include "engine/equilibrium/linear_programme.hpp"
#include "engine/equilibrium/possible_species.hpp"
#include "engine/equilibrium/row_space.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <random>

namespace tessara {
namespace {

using Status = LinearProgramme::Status;

double level_of(const LinearProgramme& programme, std::size_t column) {
    for (std::size_t k = 0; k < programme.rows(); ++k) {
        if (programme.basic(k) == column) {
            return programme.level(k);
        }
    }
    return 0.0;
}

void expect_optimal(const LinearProgramme& programme, const std::vector<double>& b) {
    // Feasible, and no column is cheaper than its price: optimal, whatever the way there.
    for (std::size_t j = 0; j < programme.rows(); ++j) {
        double sum = 0.0;
        for (std::size_t k = 0; k < programme.rows(); ++k) {
            if (programme.basic(k) != LinearProgramme::Artificial) {
                EXPECT_GE(programme.level(k), 0.0);
                sum += programme.level(k) * programme.column(programme.basic(k))[j];
            }
        }
        EXPECT_NEAR(sum, b[j], 1e-12);
    }
}

TEST(LinearProgramme, FindsTheCheapestMixture) {
    // 2 of the first row and 1 of the second from columns (1,0), (0,1), (1,1): the last is cheap.
    LinearProgramme programme;
    programme.reset(2);
    programme.add_column(std::vector{1.0, 0.0}, 1.0);
    programme.add_column(std::vector{0.0, 1.0}, 1.0);
    programme.add_column(std::vector{1.0, 1.0}, 1.5);
    programme.set_right_side(std::vector{2.0, 1.0});
    ASSERT_EQ(programme.solve(), Status::Optimal);
    EXPECT_NEAR(programme.objective(), 2.5, 1e-14);
    EXPECT_NEAR(level_of(programme, 0), 1.0, 1e-14);
    EXPECT_NEAR(level_of(programme, 2), 1.0, 1e-14);
    EXPECT_NEAR(programme.dual(0), 1.0, 1e-14);
    EXPECT_NEAR(programme.dual(1), 0.5, 1e-14);
}

TEST(LinearProgramme, GoesOnFromItsBasisWhenColumnsAreAdded) {
    LinearProgramme programme;
    programme.reset(2);
    programme.add_column(std::vector{1.0, 0.0}, 1.0);
    programme.add_column(std::vector{0.0, 1.0}, 1.0);
    programme.set_right_side(std::vector{2.0, 1.0});
    ASSERT_EQ(programme.solve(), Status::Optimal);
    EXPECT_NEAR(programme.objective(), 3.0, 1e-14);
    programme.add_column(std::vector{2.0, 1.0}, 0.5);
    ASSERT_EQ(programme.solve(), Status::Optimal);
    EXPECT_NEAR(programme.objective(), 0.5, 1e-14);
    EXPECT_LE(programme.pivots(), 2);
}

TEST(LinearProgramme, SaysWhatIsInfeasible) {
    LinearProgramme programme;
    programme.reset(2);
    programme.add_column(std::vector{1.0, 1.0}, 1.0);
    programme.add_column(std::vector{2.0, 1.0}, 1.0);
    programme.set_right_side(std::vector{1.0, 2.0});
    EXPECT_EQ(programme.solve(), Status::Infeasible);
}

TEST(LinearProgramme, SaysWhatIsUnbounded) {
    LinearProgramme programme;
    programme.reset(1);
    programme.add_column(std::vector{1.0}, 1.0, true);
    programme.add_column(std::vector{1.0}, 0.5);
    programme.set_right_side(std::vector{1.0});
    EXPECT_EQ(programme.solve(), Status::Unbounded);
}

TEST(LinearProgramme, LetsFreeColumnsTakeEitherSign) {
    // The free column gives what the cheap one needs more.
    LinearProgramme programme;
    programme.reset(2);
    programme.add_column(std::vector{1.0, 0.0}, 1.0, true);
    programme.add_column(std::vector{1.0, 1.0}, 1.5);
    programme.set_right_side(std::vector{0.0, 1.0});
    ASSERT_EQ(programme.solve(), Status::Optimal);
    EXPECT_NEAR(level_of(programme, 0), -1.0, 1e-14);
    EXPECT_NEAR(programme.objective(), 0.5, 1e-14);
}

TEST(LinearProgramme, LeavesRedundantRowsToArtificialColumns) {
    LinearProgramme programme;
    programme.reset(3);
    programme.add_column(std::vector{1.0, 2.0, 0.0}, 1.0);
    programme.add_column(std::vector{0.0, 0.0, 1.0}, 1.0);
    programme.set_right_side(std::vector{1.0, 2.0, 3.0});
    ASSERT_EQ(programme.solve(), Status::Optimal);
    int artificial = 0;
    for (std::size_t k = 0; k < 3; ++k) {
        artificial += programme.basic(k) == LinearProgramme::Artificial ? 1 : 0;
    }
    EXPECT_EQ(artificial, 1);
    EXPECT_NEAR(programme.objective(), 4.0, 1e-14);
}

TEST(LinearProgramme, KeepsTracesBesideLargeAmounts) {
    LinearProgramme programme;
    programme.reset(3);
    for (std::size_t j = 0; j < 3; ++j) {
        std::vector<double> unit(3, 0.0);
        unit[j] = 1.0;
        programme.add_column(unit, 1.0);
    }
    programme.add_column(std::vector{1.0, 1.0, 0.0}, 0.1);
    programme.set_right_side(std::vector{1.0, 1.0 + 1e-9, 1e-30});
    ASSERT_EQ(programme.solve(), Status::Optimal);
    EXPECT_NEAR(level_of(programme, 2), 1e-30, 1e-44);
    EXPECT_NEAR(level_of(programme, 1), 1e-9, 1e-15);
}

TEST(LinearProgramme, IsOptimalOnRandomProgrammes) {
    std::mt19937 random(11);
    std::uniform_real_distribution<double> cost(-5.0, 5.0);
    std::uniform_int_distribution<int> entry(0, 3);
    for (int trial = 0; trial < 400; ++trial) {
        const std::size_t m = 1 + static_cast<std::size_t>(trial) % 8;
        LinearProgramme programme;
        programme.reset(m);
        std::vector<double> b(m, 0.0);
        std::vector<double> column(m);
        std::vector<std::vector<double>> columns;
        std::vector<double> costs;
        for (int n = 0; n < 40; ++n) {
            double sum = 0.0;
            for (double& a : column) {
                a = entry(random);
                sum += a;
            }
            if (sum == 0.0) {
                column[0] = 1.0;
            }
            columns.push_back(column);
            costs.push_back(cost(random) + 6.0 * std::max(sum, 1.0));
            programme.add_column(column, costs.back());
            if (n % 5 == 0) {
                // Whole amounts of some columns: degenerate vertices are the rule.
                for (std::size_t j = 0; j < m; ++j) {
                    b[j] += column[j];
                }
            }
        }
        programme.set_right_side(b);
        ASSERT_EQ(programme.solve(), Status::Optimal);
        expect_optimal(programme, b);
        for (std::size_t n = 0; n < columns.size(); ++n) {
            double price = 0.0;
            for (std::size_t j = 0; j < m; ++j) {
                price += columns[n][j] * programme.dual(j);
            }
            EXPECT_LE(price, costs[n] + 1e-8);
        }
        // Strong duality.
        double dual_value = 0.0;
        for (std::size_t j = 0; j < m; ++j) {
            dual_value += b[j] * programme.dual(j);
        }
        EXPECT_NEAR(dual_value, programme.objective(), 1e-9 * (1.0 + std::abs(dual_value)));
    }
}

TEST(LinearProgramme, DoesNotCycleOnBealesExample) {
    // E. M. L. Beale's programme (1955), on which the largest-gain rule cycles for ever. Its
    // optimum is -1/20.
    LinearProgramme programme;
    programme.reset(3);
    programme.add_column(std::vector{0.25, 0.5, 0.0}, -0.75);
    programme.add_column(std::vector{-60.0, -90.0, 0.0}, 150.0);
    programme.add_column(std::vector{-0.04, -0.02, 1.0}, -0.02);
    programme.add_column(std::vector{9.0, 3.0, 0.0}, 6.0);
    for (std::size_t j = 0; j < 3; ++j) {
        std::vector<double> slack(3, 0.0);
        slack[j] = 1.0;
        programme.add_column(slack, 0.0);
    }
    programme.set_right_side(std::vector{0.0, 0.0, 1.0});
    ASSERT_EQ(programme.solve(), Status::Optimal);
    EXPECT_NEAR(programme.objective(), -0.05, 1e-12);
}

// --- columns that cannot be there ---

std::vector<char> impossible(std::size_t rows, const std::vector<std::vector<double>>& columns,
                             const std::vector<double>& b) {
    LinearProgramme programme;
    programme.reset(rows);
    for (std::size_t n = 0; n < columns.size(); ++n) {
        programme.add_column(columns[n], static_cast<double>(n % 3));
    }
    programme.set_right_side(b);
    EXPECT_EQ(programme.solve(), Status::Optimal);
    std::vector<char> result;
    find_impossible_columns(programme, result);
    return result;
}

TEST(ImpossibleColumns, AreThoseOfAnAbsentComponent) {
    EXPECT_EQ(impossible(2, {{1, 0}, {0, 1}, {1, 1}}, {1, 0}), (std::vector<char>{0, 1, 1}));
}

TEST(ImpossibleColumns, IncludeWhatAFixedRatioLeavesNoRoomFor) {
    // H2O and O2 over (H, O) with H : O = 2 : 1, nothing to take up hydrogen: no oxygen forms.
    EXPECT_EQ(impossible(2, {{2, 1}, {0, 2}}, {2, 1}), (std::vector<char>{0, 1}));
    // With H2 both may.
    EXPECT_EQ(impossible(2, {{2, 1}, {0, 2}, {2, 0}}, {2, 1}), (std::vector<char>{0, 0, 0}));
}

TEST(ImpossibleColumns, IncludeIonsOfOneSign) {
    // Rows (A, charge): A, A+, and no anion.
    EXPECT_EQ(impossible(2, {{1, 0}, {1, 1}}, {1, 0}), (std::vector<char>{0, 1}));
    EXPECT_EQ(impossible(2, {{1, 0}, {1, 1}, {1, -1}}, {1, 0}), (std::vector<char>{0, 0, 0}));
}

TEST(ImpossibleColumns, AreFoundAlsoWhereNoSingleRowShowsThem) {
    // Three zero balances, each of mixed signs; only their sums, two by two, show that all are
    // zero.
    const std::vector<std::vector<double>> columns = {
        {1, 0, 0, 0}, {0, 1, 1, -1}, {0, 1, -1, 1}, {0, -1, 1, 1}, {0, 1, 1, 1}};
    const std::vector<char> found = impossible(4, columns, {1, 0, 0, 0});
    EXPECT_EQ(found, (std::vector<char>{0, 1, 1, 1, 1}));
}

// --- rows that are independent ---

TEST(RowSpace, CountsIndependentRows) {
    RowSpace space;
    space.reset(3);
    EXPECT_TRUE(space.offer(std::vector{1.0, 2.0, 0.0}));
    EXPECT_TRUE(space.offer(std::vector{0.0, 0.0, 1e-6}));
    EXPECT_FALSE(space.offer(std::vector{2.0, 4.0, 5.0}));
    EXPECT_FALSE(space.offer(std::vector{0.0, 0.0, 0.0}));
    EXPECT_TRUE(space.offer(std::vector{0.947, 1.0, 0.0}));
    EXPECT_EQ(space.rank(), 3U);
    EXPECT_TRUE(space.contains(std::vector{3.0, 6.0, 1.0}, 2));
    EXPECT_FALSE(space.contains(std::vector{1.0, 0.0, 0.0}, 2));
    EXPECT_TRUE(space.contains(std::vector{1.0, 0.0, 0.0}, 3));
}

} // namespace
} // namespace tessara
