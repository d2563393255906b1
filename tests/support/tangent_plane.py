"""A checker of equilibria that shares no code with the package.

From a data file, read by the evaluator beside it, and from the figures of an answer follow the
balances, the equality of potentials in what is present, and that nothing lies below the tangent
plane: no phase at any of many compositions. Only what a user can read of an answer is used.
"""

import itertools
import math
import random
from dataclasses import dataclass, field

from dat_evaluator import DataFile, R, Record, Sublattices


@dataclass
class Answer:
    """What the library says: moles of constituents of each composition that is present."""

    T: float
    P: float  # bar
    inputs: list[tuple[dict[str, float], float]]  # stoichiometry, moles
    sets: list[tuple[str, list[float]]]  # phase, moles of its constituents in file order
    potentials: dict[str, float]  # of components, J/mol; nan where open or absent


@dataclass
class Findings:
    """The worst residual of each kind, and what is wrong."""

    balance: float = 0.0
    potential: float = -math.inf  # in R T, what rounding explains taken off
    force: float = -math.inf
    faults: list[str] = field(default_factory=list)
    open: list[str] = field(default_factory=list)  # present, but of open potentials: not checked


@dataclass
class _Phase:
    """One phase of the file: its constituents, and the model of a mixture."""

    records: list[Record]
    model: Sublattices | None = None
    gas: bool = False


def _phases(file: DataFile) -> dict[str, _Phase]:
    phases = {}
    if file.gas:
        phases[file.gas_name] = _Phase(list(file.gas.values()), gas=True)
    for name, model in file.mixtures.items():
        phases[name] = _Phase(list(model.species.values()), model)
    for name, record in file.pure.items():
        phases[name] = _Phase([record])
    return phases


class Checker:
    """Checks answers over one data file."""

    BALANCE, POTENTIAL, FORCE = 1e-12, 1e-9, 1e-9
    ROUNDING = 64 * 2.0**-52
    ROUNDS = 100  # of a climb before its steps only shrink

    def __init__(self, file: DataFile, samples: int = 100, seed: int = 5) -> None:
        self.components = file.components
        self.phases = _phases(file)
        self.samples = samples
        self.random = random.Random(seed)

    def check(self, answer: Answer) -> Findings:
        findings = Findings()
        self._balances(answer, findings)
        self._present(answer, findings)
        self._absent(answer, findings)
        return findings

    # --- balances ---

    def _balances(self, answer, findings):
        for component in self.components:
            terms = [a.get(component, 0.0) * n for a, n in answer.inputs]
            for name, moles in answer.sets:
                for record, n in zip(self.phases[name].records, moles, strict=True):
                    terms.append(-record.amounts.get(component, 0.0) * n)
            size = math.fsum(map(abs, terms))
            residual = abs(math.fsum(terms)) / size if size else 0.0
            findings.balance = max(findings.balance, residual)
            if residual > self.BALANCE:
                findings.faults.append(f"balance of {component}: {residual:.1e}")

    # --- the Gibbs energy of a composition against the tangent plane ---

    def _sites(self, model, moles):
        """Site fractions of a composition given by end members."""
        total = math.fsum(moles)
        y = [[0.0] * len(row) for row in model.names]
        for member, n in zip(model.members, moles, strict=True):
            for row, place in zip(y, member, strict=True):
                row[place] += n / total
        return y

    def _plane(self, answer, record):
        """The plane at a record, the sum of its absolute terms; none where a potential is open."""
        terms = [n * answer.potentials[c] for c, n in record.amounts.items()]
        if any(map(math.isnan, terms)):
            return None
        return math.fsum(terms), math.fsum(map(abs, terms))

    def _gap(self, answer, phase, x):
        """(plane - G) over R T of a mole of constituents of this composition, and its rounding."""
        T, RT = answer.T, R * answer.T
        plane = size = 0.0
        for record, share in zip(phase.records, x, strict=True):
            if share == 0.0:
                continue
            at = self._plane(answer, record)
            if at is None:
                return None
            plane += share * at[0]
            size += share * (at[1] + abs(record.G(T)))
        if phase.gas:
            G = math.fsum(
                share * (record.G(T) + RT * math.log(share * answer.P))
                for record, share in zip(phase.records, x, strict=True)
                if share > 0.0
            )
        elif phase.model is not None:
            G = phase.model.G(T, self._sites(phase.model, x))
        else:
            G = phase.records[0].G(T)
        size += abs(G)
        return (plane - G) / RT, self.ROUNDING * size / RT

    def _note_force(self, answer, name, x, findings):
        gap = self._gap(answer, self.phases[name], x)
        if gap is None:
            return None
        force = gap[0] - gap[1]
        findings.force = max(findings.force, force)
        if force > self.FORCE:
            findings.faults.append(f"{name} at {x} lies {gap[0]:.3e} RT below the tangent plane")
        return gap[0]

    # --- what is present ---

    def _present(self, answer, findings):
        """A present composition lies on the plane, and the plane touches there."""
        for name, moles in answer.sets:
            phase = self.phases[name]
            total = math.fsum(moles)
            x = [n / total for n in moles]
            gap = self._gap(answer, phase, x)
            if gap is None:
                findings.open.append(name)
                continue
            off = abs(gap[0]) - gap[1]
            if phase.gas:
                off = max(off, self._gas_potentials(answer, phase, x))
            findings.potential = max(findings.potential, off)
            if off > self.POTENTIAL:
                findings.faults.append(f"{name} is present, {off:.3e} RT off the tangent plane")

    def _gas_potentials(self, answer, phase, x):
        worst = -math.inf
        for record, share in zip(phase.records, x, strict=True):
            if share > 1e-290:
                at, size = self._plane(answer, record)
                G, RT = record.G(answer.T), R * answer.T
                own = G + RT * math.log(share * answer.P)
                worst = max(worst, (abs(own - at) - self.ROUNDING * (size + abs(G))) / RT)
        return worst

    # --- everything else ---

    def _possible(self, answer, record):
        return all(not math.isnan(answer.potentials[c]) for c in record.amounts)

    def _absent(self, answer, findings):
        for name, phase in self.phases.items():
            possible = [k for k, one in enumerate(phase.records) if self._possible(answer, one)]
            if not possible:
                continue
            if phase.gas:
                self._best_gas(answer, name, possible, findings)
            elif phase.model is None:
                self._note_force(answer, name, [1.0], findings)
            else:
                self._search(answer, name, possible, findings)

    def _best_gas(self, answer, name, possible, findings):
        phase, RT = self.phases[name], R * answer.T
        logs = [
            (self._plane(answer, phase.records[k])[0] - phase.records[k].G(answer.T)) / RT
            - math.log(answer.P)
            for k in possible
        ]
        top = max(logs)
        weights = [math.exp(value - top) for value in logs]
        x = [0.0] * len(phase.records)
        for k, weight in zip(possible, weights, strict=True):
            x[k] = weight / math.fsum(weights)
        self._note_force(answer, name, x, findings)

    def _compositions(self, model, count, possible):
        """Corners, edges with traces, and points drawn inside, as amounts of end members."""
        rows = [sorted({model.members[k][s] for k in possible}) for s in range(len(model.names))]
        choices = list(itertools.product(*rows))
        places = {member: k for k, member in enumerate(model.members)}

        def of_sites(y):
            x = [0.0] * count
            for member in choices:
                share = math.prod(y[s][place] for s, place in enumerate(member))
                if share > 0.0 and member in places:
                    x[places[member]] = share
            return x

        for member in choices:
            yield of_sites([{p: float(p == member[s]) for p in rows[s]} for s in range(len(rows))])
        for _ in range(self.samples):
            y = []
            for row in rows:
                spread = self.random.choice((0.5, 1.0, 5.0, 20.0))
                drawn = [self.random.random() ** spread + 1e-300 for _ in row]
                y.append({p: n / sum(drawn) for p, n in zip(row, drawn, strict=True)})
            yield of_sites(y)

    def _search(self, answer, name, possible, findings):
        """Sampled compositions, then uphill from the best of them."""
        phase = self.phases[name]
        count = len(phase.records)
        scored = []
        for x in self._compositions(phase.model, count, possible):
            if math.fsum(x) < 1 - 1e-9:
                continue  # a combination that the file has no end member for
            force = self._note_force(answer, name, x, findings)
            if force is not None:
                scored.append((force, x))
        scored.sort(reverse=True)
        for force, x in scored[:2]:
            self._climb(answer, name, force, x, findings)

    def _climb(self, answer, name, force, x, findings):
        """Moves of one species into the place of another on one sublattice, ever smaller."""
        phase = self.phases[name]
        y = self._sites(phase.model, x)
        step, rounds = 0.2, 0
        while step > 1e-8:
            rounds += 1
            better = False
            for row in y:
                for a, b in itertools.permutations(range(len(row)), 2):
                    # Traces move by a share of themselves.
                    move = min(step, row[a]) if row[b] > step else min(row[a], row[b] * 0.5 + 1e-12)
                    if move <= 0.0:
                        continue
                    row[a], row[b] = row[a] - move, row[b] + move
                    tried = [
                        math.prod(r[place] for r, place in zip(y, member, strict=True))
                        for member in phase.model.members
                    ]
                    new = self._note_force(answer, name, tried, findings)
                    if new is not None and new > force:
                        force, better = new, True
                    else:
                        row[a], row[b] = row[a] + move, row[b] - move
            # Ever smaller gains could go on nearly for ever.
            step *= 1.0 if better and step > 1e-3 and rounds < self.ROUNDS else 0.4
        return force
