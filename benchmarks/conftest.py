"""How times divide, shown at the end of a run."""

import pytest

LINES: list[str] = []


@pytest.fixture
def show():
    """`show(line)`: adds a line to what is shown at the end."""
    return LINES.append


def pytest_terminal_summary(terminalreporter):
    terminalreporter.write_sep("-", "what the interface adds to the operations")
    for line in LINES:
        terminalreporter.write_line(line)
