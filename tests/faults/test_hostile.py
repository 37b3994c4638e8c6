"""The worst that a manager or the service can do holds nobody else up. How long it takes, hostile.py measures."""

import hostile
import pytest
from hostile import CASES, completions, failing_sets, inflict, rejections, slow_invalidation, switches

LAB = hostile.LAB

@pytest.mark.parametrize("case", [switches, slow_invalidation, rejections, completions, failing_sets],
                         ids=lambda case: case.__name__)
def test_others_are_answered(lab, case):
    waits, growth, note = inflict(lab, case)
    assert waits.percentile(1) < (CASES[case] + 5) * 1e3
    assert growth < 8192, "kilobytes"
    assert case is not switches or note == "persistent file written 1 times"
