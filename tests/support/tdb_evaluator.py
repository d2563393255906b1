"""An evaluator of TDB files that shares no code with the package.

It takes the statements apart with regular expressions and has Python evaluate the expressions, at
one temperature after the other.
"""

import math
import re
from itertools import product

from dat_evaluator import magnetic_G

R = 8.314462618
PRESSURE = 1e5


class TdbFile:
    """Elements, functions and phases of a TDB file; constituents and phases in capitals."""

    def __init__(self, text):
        text = re.sub(r"\$.*", "", text).upper()
        self.functions, self.phases, self._magnetic = {}, {}, {}
        codes = {}
        for statement in text.split("!"):
            words = statement.split()
            if not words:
                continue
            rest = statement.strip()[len(words[0]) :].strip()
            if words[0] == "FUNCTION":
                self.functions[words[1]] = self._ranges(rest[len(words[1]) :])
            elif words[0] == "TYPE_DEFINITION" and "MAGNETIC" in words:
                codes[words[1]] = (-1 / float(words[-2]), float(words[-1]))
            elif words[0] == "PHASE":
                name = words[1].partition(":")[0]
                sites = [float(word) for word in words[4 : 4 + int(words[3])]]
                lattice = next((codes[c] for c in words[2] if c in codes), None)
                self.phases[name] = {"sites": sites, "lattice": lattice, "parameters": []}
            elif words[0] == "CONSTITUENT":
                name, _, groups = rest.partition(" ")
                inside = groups.strip().strip(":").rstrip().rstrip(":")
                self.phases[name.partition(":")[0]]["names"] = [
                    re.findall(r"[^\s,]+", group) for group in inside.split(":")
                ]
            elif words[0] == "PARAMETER":
                found = re.match(r"(\w+)\(([^,]+),([^;)]+);?(\d*)\)(.*)", rest, re.DOTALL)
                kind, phase, on, order, function = found.groups()
                groups = [re.findall(r"[^\s,]+", group) for group in on.split(":")]
                parameter = (kind, groups, int(order or 0), self._ranges(function))
                self.phases[phase.partition(":")[0]]["parameters"].append(parameter)

    @staticmethod
    def _ranges(text):
        found = []
        for part in re.findall(r"([^;]*);\s*(\S+)\s*[YN]?", text):
            expression = part[0].strip()
            if not found:
                expression = re.match(r"\S+?(?=[\s+-])(.*)", expression, re.DOTALL).group(1)
            expression = re.sub(r"([A-Z]\w*)\#?(?!\w)", r"\1", re.sub(r"\s+", "", expression))
            found.append((float(part[1]), expression.replace("#", "")))
        return found

    def value(self, ranges, T):
        """The value of a function at T; at a limit the lower range holds."""
        expression = next((e for upper, e in ranges if upper >= T), ranges[-1][1])
        outer = self

        class Names(dict):
            def __missing__(self, name):
                return outer.value(outer.functions[name], T)

        # Numbers keep their exponents, as names cannot begin with a digit.
        names = Names(T=T, P=PRESSURE, LN=math.log)
        return eval(expression or "0", {"__builtins__": {}}, names)

    def G(self, phase, T, y):
        """J per formula unit at site fractions y, a list for each sublattice."""
        one = self.phases[phase]
        G = (
            R
            * T
            * sum(
                a * n * math.log(n)
                for a, row in zip(one["sites"], y, strict=True)
                for n in row
                if n
            )
        )
        G += self._total(one, ("G", "L"), T, y)
        if one["lattice"] is not None:
            numbers = self._total(one, ("TC",), T, y), self._total(one, ("BMAGN",), T, y)
            G += magnetic_G(T, *numbers, *one["lattice"])
        return G

    def _total(self, phase, kinds, T, y):
        fraction = [
            dict(zip(n, row, strict=True)) for n, row in zip(phase["names"], y, strict=True)
        ]
        ternaries = {
            str(groups)
            for _, groups, order, _ in phase["parameters"]
            if order > 0 and any(len(group) == 3 for group in groups)
        }
        total = 0.0
        for kind, groups, order, function in phase["parameters"]:
            if kind not in kinds:
                continue
            value = self.value(function, T)
            for group, row in zip(groups, fraction, strict=True):
                value *= math.prod(1.0 if name == "*" else row[name] for name in group)
                if len(group) == 2:
                    value *= (row[group[0]] - row[group[1]]) ** order
                elif len(group) == 3 and str(groups) in ternaries:
                    value *= row[group[order]] + (1 - sum(row[name] for name in group)) / 3
            total += value
        return total

    def states(self, phase, fractions):
        """Site fractions for a phase, each sublattice filled from a list of positive numbers."""
        numbers = iter(fractions)
        y = []
        for names in self.phases[phase]["names"]:
            row = [next(numbers) for _ in names]
            y.append([n / sum(row) for n in row])
        return y

    def end_members(self, phase):
        """All combinations of constituents, the last sublattice fastest."""
        return list(product(*self.phases[phase]["names"]))
