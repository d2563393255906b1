"""Chemical equilibria from thermochemical data files.

`tessara.friendly` is the interface to write against: static classes with descriptive names.
`tessara.core` holds its enumerations, exceptions and records, and `tessara.basic` the operations
of the library underneath.
"""

__version__ = "0.1.0"
