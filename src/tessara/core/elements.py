"""The 118 elements with their atomic weights.

Standard atomic weights as in the table of 2021 of the IUPAC Commission on Isotopic Abundances and
Atomic Weights, abridged values where that table gives an interval. They were compared with an
independent table of 2017, not with the table of 2021 itself: 108 of 114 are identical, and the six
others (F, Sc, Y, Ho, Tm, Hf) are among those revised by 2021. An element that has no standard
atomic weight carries the mass number of a long-lived isotope instead.
"""

from __future__ import annotations

# In order of atomic number. A whole number is a mass number and no standard atomic weight.
# fmt: off
_ROWS: tuple[tuple[str, float], ...] = (
    ("H", 1.008), ("He", 4.002602), ("Li", 6.94), ("Be", 9.0121831), ("B", 10.81), ("C", 12.011),
    ("N", 14.007), ("O", 15.999), ("F", 18.998403162), ("Ne", 20.1797), ("Na", 22.98976928),
    ("Mg", 24.305), ("Al", 26.9815384), ("Si", 28.085), ("P", 30.973761998), ("S", 32.06),
    ("Cl", 35.45), ("Ar", 39.95), ("K", 39.0983), ("Ca", 40.078), ("Sc", 44.955907),
    ("Ti", 47.867), ("V", 50.9415), ("Cr", 51.9961), ("Mn", 54.938043), ("Fe", 55.845),
    ("Co", 58.933194), ("Ni", 58.6934), ("Cu", 63.546), ("Zn", 65.38), ("Ga", 69.723),
    ("Ge", 72.63), ("As", 74.921595), ("Se", 78.971), ("Br", 79.904), ("Kr", 83.798),
    ("Rb", 85.4678), ("Sr", 87.62), ("Y", 88.905838), ("Zr", 91.224), ("Nb", 92.90637),
    ("Mo", 95.95), ("Tc", 97), ("Ru", 101.07), ("Rh", 102.90549), ("Pd", 106.42),
    ("Ag", 107.8682), ("Cd", 112.414), ("In", 114.818), ("Sn", 118.71), ("Sb", 121.76),
    ("Te", 127.6), ("I", 126.90447), ("Xe", 131.293), ("Cs", 132.90545196), ("Ba", 137.327),
    ("La", 138.90547), ("Ce", 140.116), ("Pr", 140.90766), ("Nd", 144.242), ("Pm", 145),
    ("Sm", 150.36), ("Eu", 151.964), ("Gd", 157.25), ("Tb", 158.925354), ("Dy", 162.5),
    ("Ho", 164.930329), ("Er", 167.259), ("Tm", 168.934219), ("Yb", 173.045), ("Lu", 174.9668),
    ("Hf", 178.486), ("Ta", 180.94788), ("W", 183.84), ("Re", 186.207), ("Os", 190.23),
    ("Ir", 192.217), ("Pt", 195.084), ("Au", 196.96657), ("Hg", 200.592), ("Tl", 204.38),
    ("Pb", 207.2), ("Bi", 208.9804), ("Po", 209), ("At", 210), ("Rn", 222), ("Fr", 223),
    ("Ra", 226), ("Ac", 227), ("Th", 232.0377), ("Pa", 231.03588), ("U", 238.02891), ("Np", 237),
    ("Pu", 244), ("Am", 243), ("Cm", 247), ("Bk", 247), ("Cf", 251), ("Es", 252), ("Fm", 257),
    ("Md", 258), ("No", 259), ("Lr", 262), ("Rf", 267), ("Db", 268), ("Sg", 269), ("Bh", 270),
    ("Hs", 269), ("Mt", 277), ("Ds", 281), ("Rg", 282), ("Cn", 285), ("Nh", 286), ("Fl", 290),
    ("Mc", 290), ("Lv", 293), ("Ts", 294), ("Og", 294),
)
# fmt: on

ATOMIC_WEIGHTS: dict[str, float] = {symbol: float(weight) for symbol, weight in _ROWS}
"""Atomic weight in g/mol by symbol, in order of atomic number."""

WITHOUT_STANDARD_WEIGHT: frozenset[str] = frozenset(
    symbol for symbol, weight in _ROWS if isinstance(weight, int)
)
"""Symbols of the elements whose number in `ATOMIC_WEIGHTS` is a mass number."""
