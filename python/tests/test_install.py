"""The package as pip installs it, without a network: it carries the library."""
import importlib.util
import os
import shutil
import subprocess
import sys
from pathlib import Path

import pytest

import orvz3

PACKAGE = Path(__file__).resolve().parents[1]


def test_pip_installs_a_package_that_needs_nothing_else(tmp_path):
    if not all(map(importlib.util.find_spec, ("pip", "setuptools", "wheel"))):
        pytest.skip("pip, setuptools or wheel is missing")
    tree = tmp_path / "tree"  # the sources stay as they are
    shutil.copytree(PACKAGE, tree / "python", ignore=shutil.ignore_patterns("__pycache__", "build", "*.egg-info"))
    shutil.copy(PACKAGE.parent / "CMakeLists.txt", tree)
    run = subprocess.run([sys.executable, "-m", "pip", "install", "--no-index", "--no-deps", "--no-build-isolation", "--target",
                          str(tmp_path / "site"), str(tree / "python")], capture_output=True, text=True,
                         env=os.environ | {"ORVZ3_LIBRARY": orvz3._library.library._name})
    assert run.returncode == 0, run.stdout + run.stderr
    environment = {key: value for key, value in os.environ.items() if key not in ("ORVZ3_LIBRARY", "PYTHONPATH")}
    said = subprocess.run([sys.executable, "-c", "import orvz3; print(orvz3.__file__, orvz3._library.library._name, "
                           "orvz3.jaehne(8, 8).shape)"], capture_output=True, text=True, cwd=tmp_path,
                          env=environment | {"PYTHONPATH": str(tmp_path / "site")})
    assert said.stdout.count(str(tmp_path / "site")) == 2 and "(8, 8)" in said.stdout, said.stderr
    assert (tmp_path / "site/orvz3/py.typed").exists()
