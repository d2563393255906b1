"""Settings of the property tests."""

from hypothesis import settings

# A busy machine may pause in any example. Time is tested where it matters, and there by itself.
settings.register_profile("no deadline", deadline=None)
settings.load_profile("no deadline")
