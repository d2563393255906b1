"""Answers and times beside those of other open programs of the field.

`make benchmark-peers` installs the other programs and runs `python -m peers` in the folder above.
Data go from one table to both sides: `gases` and `alloys` make them and the states to be solved,
`ours`, `cantera_side` and `pycalphad_side` solve them, `__main__` compares.
"""
