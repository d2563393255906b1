"""Data files of the package and of the tests, in the library and in the independent checker."""

import warnings
from pathlib import Path

from dat_evaluator import DataFile
from tangent_plane import Answer, Checker

import tessara.data
from tessara import basic, core
from tessara.core import ConditionVariable, ResultVariable, TargetVariable

ASSESSMENTS = Path(__file__).parents[1] / "engine" / "assessments"
FILES = {path.stem: path for path in sorted(ASSESSMENTS.glob("*.dat"))}
FILES["ironmaking"] = Path(tessara.data.path("ironmaking"))
NONE = (-1, -1)


class Loaded:
    """A data file in the library and in the checker."""

    def __init__(self, name):
        text = FILES[name].read_text(encoding="ascii")
        self.file = DataFile(text)
        self.checker = Checker(self.file)
        basic.hxini()
        basic.hxopna(FILES[name], 10)
        basic.hxrfil()
        basic.hxclos(10)
        self.components = [basic.hxgnsc(i) for i in range(basic.hxnosc())]
        self.phases = [basic.hxgnp(i) for i in range(basic.hxnop())]

    def solve(self, T, P, amounts, from_last=False):
        basic.hxremc(0)
        basic.hxsetc(ConditionVariable.T, *NONE, T)
        basic.hxsetc(ConditionVariable.P, *NONE, P)
        for name, n in amounts.items():
            basic.hxsetc(ConditionVariable.IA, -1, self.components.index(name), n)
        with warnings.catch_warnings():
            warnings.simplefilter("ignore", core.MiscibilityWarning)
            operation = basic.hxcen if from_last else basic.hxce
            operation(TargetVariable.NoTarget, *NONE, [0.0, 0.0])
        return self.answer(T, P, amounts)

    def answer(self, T, P, amounts):
        sets = []
        for i, name in enumerate(self.phases):
            if basic.hxnopc(i) > 1:
                for one in basic.composition_sets(i):
                    moles = [one["amount"] * x for x in one["fractions"]]
                    sets.append((name.partition("#")[0], moles))
            elif (A := basic.hxgetr(ResultVariable.A, i, -1)) > 0.0:
                sets.append((name, [A]))
        return Answer(
            T,
            P,
            [({name: 1.0}, n) for name, n in amounts.items()],
            sets,
            {
                name: basic.hxgetr(ResultVariable.MU, -1, i)
                for i, name in enumerate(self.components)
            },
        )
