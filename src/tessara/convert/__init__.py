"""Making data files from tables of figures.

A `system.System` describes what a data file holds. `figures.read` makes one from a table of
figures in TOML, and `dat_writer.write` turns one into the text of a `.dat` file.
"""
