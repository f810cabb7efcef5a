"""The package with the shared library inside: that of the release build, or one that is built for it here.

`pip install ./python` needs nothing from a network: pip, setuptools, wheel and numpy are Debian's. Newer versions of
pip want --no-build-isolation.
"""
import os
import re
import shutil
import subprocess
import sys
from pathlib import Path

from setuptools import setup
from setuptools.command.build_py import build_py
from wheel.bdist_wheel import bdist_wheel

HERE = Path(__file__).resolve().parent
ROOT = HERE.parent
NAME = "orvz3.dll" if sys.platform == "win32" else "liborvz3.so.2"


def shared_library():
    """The path of the library: ORVZ3_LIBRARY, the release build's, or that of a build of its own."""
    if given := os.environ.get("ORVZ3_LIBRARY"):
        return Path(given)
    built = ROOT / "build/release" / NAME
    if not built.exists():
        folder = ROOT / "build/python"
        subprocess.run(["cmake", "-S", str(ROOT), "-B", str(folder), "-DCMAKE_BUILD_TYPE=Release", "-DORVZ3_TESTS=OFF",
                        "-DORVZ3_BENCH=OFF", "-DORVZ3_EXAMPLES=OFF"], check=True)
        subprocess.run(["cmake", "--build", str(folder), "--target", "orvz3", "--parallel"], check=True)
        built = folder / NAME
    return built


class Build(build_py):
    def run(self):
        super().run()
        target = Path(self.build_lib) / "orvz3" / NAME
        shutil.copyfile(shared_library().resolve(), target)

    def get_outputs(self, include_bytecode=1):
        return super().get_outputs(include_bytecode) + [str(Path(self.build_lib) / "orvz3" / NAME)]


class Wheel(bdist_wheel):
    """A wheel of one platform, for any Python of version 3."""

    def finalize_options(self):
        super().finalize_options()
        self.root_is_pure = False

    def get_tag(self):
        return "py3", "none", super().get_tag()[2]


version = re.search(r"project\(orvz3 VERSION ([\d.]+)", (ROOT / "CMakeLists.txt").read_text()).group(1)
setup(name="orvz3", version=version, description="Image operations on numpy arrays", license="MIT",
      python_requires=">=3.10", packages=["orvz3"], package_data={"orvz3": ["py.typed", "*.pyi"]},
      install_requires=["numpy"],
      cmdclass={"build_py": Build, "bdist_wheel": Wheel})
