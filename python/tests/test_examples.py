"""The examples run and say what they should."""
import subprocess
import sys
from pathlib import Path

import orvz3

EXAMPLES = Path(__file__).resolve().parents[2] / "examples/python"


def said(name, *arguments):
    run = subprocess.run([sys.executable, str(EXAMPLES / name), *map(str, arguments)], capture_output=True, text=True)
    assert run.returncode == 0, run.stderr
    return run.stdout.splitlines()


def test_arrays(tmp_path):
    assert "most frequent" in said("arrays.py", tmp_path / "result.bmp")[0]
    assert orvz3.from_dib((tmp_path / "result.bmp").read_bytes()[14:]).shape == (480, 640, 3)


def test_names_of_c():
    lines = said("cnames.py")
    assert lines[0].endswith("True") and lines[1] == "50 250 200"
    assert lines[2].startswith("orvBlur: ORV_STATUS_BAD_ARG (-5)") and "backwards" in lines[3] and lines[4] == "(48, 64)"


def test_tiles(tmp_path):
    assert said("tiles.py", tmp_path)[0].endswith("as in one piece: True")
