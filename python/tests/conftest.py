"""What the tests share: a damaged file, and a generator of data sets."""

import pathlib

import pytest

EXAMPLES = pathlib.Path(__file__).resolve().parents[2] / "examples"


@pytest.fixture
def damaged() -> pathlib.Path:
    return EXAMPLES / "damaged.dcm"
