"""An evaluator of data files that shares no code with the package.

It reads the records of a `.dat` file by itself and works out G, H, S and Cp from the equations of
the format, so that tests of the shipped files need neither the engine nor the writer.
"""

import math
from dataclasses import dataclass

R = 8.314462618


@dataclass
class Record:
    """A species: amounts by component, ranges (limit, six coefficients, extra terms), magnetism."""

    name: str
    amounts: dict[str, float]
    ranges: list[tuple[float, list[float], list[tuple[float, float]]]]
    magnetic: tuple[float, ...] = ()

    def _terms(self, T):
        limit = next((r for r in self.ranges if r[0] >= T), self.ranges[-1])
        c = limit[1]
        yield from zip(c, ("1", "T", "TlnT", 2.0, 3.0, -1.0), strict=True)
        for coefficient, power in limit[2]:
            yield coefficient, "lnT" if power == 99 else power

    def G(self, T):
        """J/mol at T in K and 1 bar."""
        values = {"1": 1.0, "T": T, "TlnT": T * math.log(T), "lnT": math.log(T)}
        return (
            sum(c * (values[p] if isinstance(p, str) else T**p) for c, p in self._terms(T))
            + self.magnetic_part(T)[0]
        )

    def S(self, T):
        slopes = {"1": 0.0, "T": 1.0, "TlnT": math.log(T) + 1, "lnT": 1 / T}
        slope = sum(
            c * (slopes[p] if isinstance(p, str) else p * T ** (p - 1)) for c, p in self._terms(T)
        )
        return -slope - self.magnetic_part(T)[1]

    def H(self, T):
        return self.G(T) + T * self.S(T)

    def Cp(self, T):
        curvatures = {"1": 0.0, "T": 0.0, "TlnT": 1 / T, "lnT": -1 / T**2}
        curvature = sum(
            c * (curvatures[p] if isinstance(p, str) else p * (p - 1) * T ** (p - 2))
            for c, p in self._terms(T)
        )
        return -T * (curvature + self.magnetic_part(T)[2])

    def magnetic_part(self, T):
        """G of magnetism and its first two derivatives to T (M. Hillert, M. Jarl, 1978)."""
        # Two numbers are those of a constituent; what comes of them its phase says.
        if len(self.magnetic) < 4:
            return 0.0, 0.0, 0.0
        Tc, beta, f, p = self.magnetic
        Tc, beta = (value if value >= 0 else -f * value for value in (Tc, beta))
        t = T / Tc
        a = 1 / p - 1
        D = 518 / 1125 + 11692 / 15975 * a
        if t <= 1:
            g = 1 - (79 / (140 * p * t) + 474 / 497 * a * (t**3 / 6 + t**9 / 135 + t**15 / 600)) / D
            g1 = -(-79 / (140 * p * t**2) + 474 / 497 * a * (t**2 / 2 + t**8 / 15 + t**14 / 40)) / D
            g2 = (
                -(158 / (140 * p * t**3) + 474 / 497 * a * (t + 8 * t**7 / 15 + 7 * t**13 / 20)) / D
            )
        else:
            g = -(t**-5 / 10 + t**-15 / 315 + t**-25 / 1500) / D
            g1 = (t**-6 / 2 + t**-16 / 21 + t**-26 / 60) / D
            g2 = -(3 * t**-7 + 16 * t**-17 / 21 + 13 * t**-27 / 30) / D
        k = R * math.log(1 + beta)
        return k * T * g, k * (g + t * g1), k * (2 * g1 / Tc + t * g2 / Tc)


def magnetic_G(T, Tc, beta, f, p):
    """G of magnetism of a phase with these numbers."""
    return Record("", {}, [], (Tc, beta, f, p)).magnetic_part(T)[0] if Tc else 0.0


@dataclass
class Sublattices:
    """A phase of the compound energy formalism: end members, sites, names, and parameters.

    A substitutional solution is one sublattice with one site.
    """

    species: dict[str, Record]
    sites: list[float]
    names: list[list[str]]
    members: list[tuple[int, ...]]
    interactions: list[tuple[list[int], list[list[float]]]]
    lattice: tuple[float, float] | None = None
    magnetic_interactions: tuple = ()

    def G(self, T, y):
        """J per formula unit at site fractions y, a list for each sublattice."""
        ideal = (
            R
            * T
            * sum(
                a * n * math.log(n) for a, row in zip(self.sites, y, strict=True) for n in row if n
            )
        )
        records = list(self.species.values())
        G = ideal + self._reference(y, [one.G(T) for one in records])
        G += self._excess(y, self.interactions, lambda c: _coefficient(c, T))
        if self.lattice is None:
            return G
        numbers = []
        for k in (0, 1):
            pure = [one.magnetic[k] if one.magnetic else 0.0 for one in records]
            mixed = self._excess(y, self.magnetic_interactions, lambda c, k=k: c[k])
            numbers.append(self._reference(y, pure) + mixed)
        return G + magnetic_G(T, *numbers, *self.lattice)

    def _reference(self, y, values):
        return sum(
            value * math.prod(row[place] for row, place in zip(y, member, strict=True))
            for member, value in zip(self.members, values, strict=True)
        )

    def _excess(self, y, interactions, value):
        total = 0.0
        flat = [n for row in y for n in row]
        lattice = [s for s, row in enumerate(y) for _ in row]
        for places, sets in interactions:
            named = [[flat[p - 1] for p in places if lattice[p - 1] == s] for s in range(len(y))]
            mixing = [group for group in named if len(group) > 1]
            product = math.prod(flat[p - 1] for p in places)
            for z, c in enumerate(sets):
                total += product * value(c) * self._factor(mixing, z, len(sets))
        return total

    @staticmethod
    def _factor(mixing, z, count):
        shape = [len(group) for group in mixing]
        if shape == [2]:
            return (mixing[0][0] - mixing[0][1]) ** z
        if shape == [3] and count == 3:
            return mixing[0][z] + (1 - sum(mixing[0])) / 3
        if shape == [2, 2] and z:
            a, b = mixing[z % 2]
            return (a - b) ** ((z + 1) // 2)
        return 1.0


def _coefficient(c, T):
    values = (1, T, T * math.log(T), T**2, T**3, 1 / T)
    return sum(one * value for one, value in zip(c, values, strict=True))


class DataFile:
    """The records of a data file that has a gas, mixtures and pure phases.

    Mixtures are ideal, Redlich-Kister phases, or those of the compound energy formalism. A record
    goes by its name (pure phases first, then the gas), or by PHASE:SPECIES.
    """

    R = R

    def __init__(self, text):
        lines = [line for line in text.splitlines() if line.strip()]
        self.title = lines[0]
        self._lines = lines
        self._place = 1
        n, slots = self._integers(2, keep=True)
        counts = self._integers(2 + slots + 1)[2:]
        self.components = self._words(n)
        self.masses = [float(word) for word in self._words(n)]
        assert self._integers(7) == [6, 1, 2, 3, 4, 5, 6]
        assert self._integers(7) == [6, 1, 2, 3, 4, 5, 6]
        self.gas, self.solutions, self.pure = {}, {}, {}
        self.mixtures = {}
        self.gas_name = ""
        for slot, count in enumerate(counts[:-1]):
            if count == 0:
                continue
            name, model = self._line(), self._line()
            lattice = tuple(self._numbers(2)) if model.endswith("M") else None
            species = {r.name: r for r in (self._record(pure=False) for _ in range(count))}
            if slot == 0:
                assert model == "IDMX"
                self.gas, self.gas_name = species, name
                continue
            assert model in ("IDMX", "RKMP", "RKMPM", "SUBL", "SUBLM")
            sites, names, members = [1.0], [list(species)], [(k,) for k in range(count)]
            if model.startswith("SUBL"):
                sites, names, members = self._sublattices(count)
            magnetic = self._interactions(2) if lattice else ()
            interactions = [] if model == "IDMX" else self._interactions()
            if model == "RKMP":
                self.solutions[name] = (species, interactions)
            self.mixtures[name] = Sublattices(
                species, sites, names, members, interactions, lattice, magnetic
            )
        for _ in range(counts[-1]):
            record = self._record(pure=True)
            assert record.name not in self.pure
            self.pure[record.name] = record
        self.rest = lines[self._place :]

    def _line(self):
        self._place += 1
        return self._lines[self._place - 1].strip()

    def _words(self, count, keep=False):
        """The next words, from as many lines as it takes; the rest of the last line is dropped."""
        start, words = self._place, []
        while len(words) < count:
            words += self._line().split()
        if keep:
            self._place = start
        return words[:count]

    def _integers(self, count, keep=False):
        return [int(word) for word in self._words(count, keep)]

    def _numbers(self, count):
        return [float(word) for word in self._words(count)]

    def _record(self, pure):
        name = self._line().split()[0]
        start = self._words(2 + len(self.components))
        code, count = int(start[0]), int(start[1])
        amounts = {c: float(a) for c, a in zip(self.components, start[2:], strict=True) if float(a)}
        assert code in (1, 4, 13, 16)
        ranges = []
        for _ in range(count):
            limit, *coefficients = self._numbers(7)
            extra = []
            if code in (4, 16):
                number = self._words(1, keep=True)[0]
                words = self._numbers(1 + 2 * int(number))[1:]
                extra = list(zip(words[::2], words[1::2], strict=True))
            ranges.append((limit, coefficients, extra))
        magnetic = tuple(self._numbers(4 if pure else 2)) if code > 12 else ()
        return Record(name, amounts, ranges, magnetic)

    def _sublattices(self, count):
        (number,) = self._integers(1)
        sites, sizes = self._numbers(number), self._integers(number)
        names = [self._words(size) for size in sizes]
        tables = [self._integers(count) for _ in range(number)]
        return sites, names, [tuple(k - 1 for k in row) for row in zip(*tables, strict=True)]

    def _interactions(self, numbers=6):
        found = []
        while (n := self._integers(1)[0]) != 0:
            *places, sets = self._integers(n + 1)
            found.append((places, [self._numbers(numbers) for _ in range(sets)]))
        return found

    def find(self, name):
        if name in self.pure:
            return self.pure[name]
        phase, _, species = name.partition(":")
        return self.solutions[phase][0][species] if species else self.gas[name]

    def reaction(self, what, moles, T):
        """G, H or S; `moles` by name, negative for what is used up."""
        return sum(n * getattr(self.find(name), what)(T) for name, n in moles.items())

    def log10_K(self, moles, T):
        return -self.reaction("G", moles, T) / (R * T * math.log(10))

    def excess(self, phase, x, T):
        """Excess Gibbs energy of a solution with binary interactions, and its slope to each x."""
        species, interactions = self.solutions[phase]
        place = list(species)
        G, slope = 0.0, dict.fromkeys(place, 0.0)
        for (first, second), orders in interactions:
            a, b = place[first - 1], place[second - 1]
            d = x[a] - x[b]
            for k, c in enumerate(orders):
                L = _coefficient(c, T)
                bend = k * d ** (k - 1) if k else 0.0
                G += L * x[a] * x[b] * d**k
                slope[a] += L * (x[b] * d**k + x[a] * x[b] * bend)
                slope[b] += L * (x[a] * d**k - x[a] * x[b] * bend)
        return G, slope

    def chemical_potential(self, phase, species, x, T):
        G, slope = self.excess(phase, x, T)
        partial = G + slope[species] - sum(x[name] * slope[name] for name in x)
        return self.solutions[phase][0][species].G(T) + R * T * math.log(x[species]) + partial


def temperature_of_zero(function, lower, upper):
    """Where a function that changes its sign once between two temperatures is zero."""
    sign = function(lower) > 0
    assert (function(upper) > 0) != sign
    while upper - lower > 1e-7:
        middle = (lower + upper) / 2
        if (function(middle) > 0) == sign:
            lower = middle
        else:
            upper = middle
    return lower
