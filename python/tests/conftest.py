import os
import sys

import pytest

sys.path.insert(0, os.path.join(os.path.dirname(__file__), '..'))

from vexsdk.testing import VirtualController  # noqa: E402


@pytest.fixture(scope='session')
def vc():
    """One private virtual controller for the session (the library attaches
    to one controller per process)."""
    with VirtualController() as controller:
        import vexsdk
        vexsdk.slot_count()  # attach now: the instance exists from here on
        yield controller
