"""The table of elements."""

from itertools import pairwise

from tessara.core import ATOMIC_WEIGHTS, WITHOUT_STANDARD_WEIGHT

PERIODS = """
    H He
    Li Be B C N O F Ne
    Na Mg Al Si P S Cl Ar
    K Ca Sc Ti V Cr Mn Fe Co Ni Cu Zn Ga Ge As Se Br Kr
    Rb Sr Y Zr Nb Mo Tc Ru Rh Pd Ag Cd In Sn Sb Te I Xe
    Cs Ba La Ce Pr Nd Pm Sm Eu Gd Tb Dy Ho Er Tm Yb Lu Hf Ta W Re Os Ir Pt Au Hg Tl Pb Bi Po At Rn
    Fr Ra Ac Th Pa U Np Pu Am Cm Bk Cf Es Fm Md No Lr Rf Db Sg Bh Hs Mt Ds Rg Cn Nh Fl Mc Lv Ts Og
"""
SYMBOLS = PERIODS.split()


def test_elements_stand_in_order_of_atomic_number():
    assert list(ATOMIC_WEIGHTS) == SYMBOLS
    assert len(SYMBOLS) == 118


def test_thirty_four_elements_have_no_standard_weight():
    # Technetium, promethium and everything from polonium on but thorium, protactinium, uranium.
    heavy = set(SYMBOLS[SYMBOLS.index("Po") :]) - {"Th", "Pa", "U"}
    assert {"Tc", "Pm"} | heavy == WITHOUT_STANDARD_WEIGHT
    assert len(WITHOUT_STANDARD_WEIGHT) == 34


def test_mass_numbers_are_whole_numbers():
    assert all(ATOMIC_WEIGHTS[symbol].is_integer() for symbol in WITHOUT_STANDARD_WEIGHT)


def test_standard_weights_grow_but_for_the_four_known_inversions():
    standard = [symbol for symbol in SYMBOLS if symbol not in WITHOUT_STANDARD_WEIGHT]
    inversions = [
        pair for pair in pairwise(standard) if ATOMIC_WEIGHTS[pair[0]] >= ATOMIC_WEIGHTS[pair[1]]
    ]
    assert inversions == [("Ar", "K"), ("Co", "Ni"), ("Te", "I"), ("Th", "Pa")]


def test_weights_are_floats():
    assert {type(weight) for weight in ATOMIC_WEIGHTS.values()} == {float}
