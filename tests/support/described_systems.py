"""Random systems, such as data files can hold."""

from itertools import product

from hypothesis import strategies as st

from tessara.convert.system import (
    Component,
    IdealPhase,
    Interaction,
    LatticeFactors,
    MagneticMoment,
    PurePhase,
    RedlichKisterPhase,
    Species,
    SublatticePhase,
    System,
    TemperatureRange,
)

NEVER = st.none()
NUMBERS = st.floats(-1e30, 1e30, allow_nan=False, allow_subnormal=False)
NONZERO = NUMBERS.filter(bool)
NAME_START = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz("
NAMES = st.builds(
    lambda first, rest: first + rest,
    st.sampled_from(NAME_START),
    st.text(st.sampled_from(NAME_START + "0123456789:._+-)[]"), max_size=22),
)
SIX = st.tuples(*[NUMBERS] * 6)
POWERS = st.one_of(st.just(99.0), st.sampled_from([-9.0, -2.0, 0.5, 4.0, 7.0]))
MOMENTS = st.tuples(NUMBERS, NUMBERS).filter(any).map(lambda pair: MagneticMoment(*pair))
LATTICES = st.builds(LatticeFactors, st.sampled_from([1.0, 1 / 3, 0.25]), st.floats(0.1, 0.9))


@st.composite
def ranges(draw):
    limits = sorted(draw(st.lists(st.floats(200.0, 6000.0), min_size=1, max_size=3)))
    extra = st.lists(st.tuples(NONZERO, POWERS), max_size=3).map(tuple)
    return tuple(TemperatureRange(limit, draw(SIX), draw(extra)) for limit in limits)


@st.composite
def species(draw, components, magnetic=NEVER):
    amount = st.one_of(st.just(0.0), st.floats(0.0, 10.0))
    amounts = draw(st.tuples(*[amount] * len(components)))
    if not any(amounts):
        amounts = (1.0, *amounts[1:])
    return Species(draw(NAMES), amounts, draw(ranges()), draw(magnetic))


def unique(strategy, least, most):
    return st.lists(strategy, min_size=least, max_size=most, unique_by=lambda one: one.name)


@st.composite
def interaction(draw, count, numbers):
    order = draw(st.integers(2, min(4, count)))
    places = tuple(draw(st.permutations(range(count)))[:order])
    size = {2: draw(st.integers(1, 3)), 3: draw(st.sampled_from([1, 3])), 4: 1}[order]
    return Interaction(places, tuple(draw(numbers) for _ in range(size)))


def interactions(count, numbers):
    if count < 2:
        return st.just(())
    return st.lists(interaction(count, numbers), max_size=3).map(tuple)


@st.composite
def ideal(draw, components):
    return IdealPhase(draw(NAMES), tuple(draw(unique(species(components), 1, 3))))


@st.composite
def solution(draw, components):
    lattice = draw(st.one_of(st.none(), LATTICES))
    magnetic = st.none() if lattice is None else st.one_of(st.none(), MOMENTS)
    held = tuple(draw(unique(species(components, magnetic=magnetic), 1, 4)))
    pairs = st.tuples(NUMBERS, NUMBERS)
    return RedlichKisterPhase(
        draw(NAMES),
        held,
        draw(interactions(len(held), SIX)),
        lattice,
        () if lattice is None else draw(interactions(len(held), pairs)),
    )


@st.composite
def sublattice_interaction(draw, sizes, numbers):
    mixing = draw(st.sampled_from([s for s, size in enumerate(sizes) if size > 1]))
    places = []
    start = 0
    for s, size in enumerate(sizes):
        named = 2 if s == mixing else 1
        places += [start + place for place in draw(st.permutations(range(size)))[:named]]
        start += size
    return Interaction(tuple(places), tuple(draw(st.lists(numbers, min_size=1, max_size=3))))


@st.composite
def sublattices(draw, components):
    """Amounts that add up over the sublattices, as those of a formula unit do."""
    groups = draw(
        st.lists(st.lists(NAMES, min_size=1, max_size=3, unique=True), min_size=1, max_size=3)
    )
    sizes = [len(group) for group in groups]
    sites = tuple(draw(st.sampled_from([0.5, 1.0, 2.0, 3.0])) for _ in groups)
    members = tuple(product(*(range(size) for size in sizes)))
    held = [[draw(st.integers(0, len(components) - 1)) for _ in range(size)] for size in sizes]
    made = []
    for number, member in enumerate(members):
        amounts = [0.0] * len(components)
        for s, place in enumerate(member):
            amounts[held[s][place]] += sites[s]
        made.append(Species(f"M{number}", tuple(amounts), draw(ranges())))
    found = ()
    if any(size > 1 for size in sizes):
        found = draw(st.lists(sublattice_interaction(sizes, SIX), max_size=2).map(tuple))
    names = tuple(tuple(group) for group in groups)
    return SublatticePhase(draw(NAMES), tuple(made), sites, names, members, found)


@st.composite
def pure(draw, components):
    lattice = draw(st.one_of(st.none(), LATTICES))
    magnetic = st.none() if lattice is None else MOMENTS
    return PurePhase(draw(species(components, magnetic=magnetic)), lattice, draw(st.booleans()))


@st.composite
def systems(draw, with_sublattices=False):
    names = draw(st.lists(NAMES, min_size=1, max_size=3, unique=True))
    masses = st.floats(0.1, 400.0)
    components = tuple(Component(f"X{name}"[:24], draw(masses)) for name in names)
    kinds = [ideal(components), solution(components)]
    if with_sublattices:
        kinds.append(sublattices(components))
    gas = draw(st.one_of(st.none(), ideal(components)))
    phases = draw(st.lists(st.one_of(kinds), max_size=3).map(tuple))
    condensed = draw(unique(pure(components), 0, 3))
    if gas is None and not phases and not condensed:
        condensed = [PurePhase(draw(species(components)))]
    title = draw(st.text(st.characters(min_codepoint=33, max_codepoint=126), min_size=1))
    return System(f"A {title}", components, gas, phases, tuple(condensed))
