"""Builds the shared libraries and puts them, with the definition files, into the package.

LIB_DICOM_BUILD names a build tree to take the libraries from instead of building them.
"""

import os
import pathlib
import shutil
import subprocess

from setuptools import setup
from setuptools.command.build_py import build_py
from wheel.bdist_wheel import bdist_wheel

ROOT = pathlib.Path(__file__).resolve().parent.parent
LIBRARIES = ("Lib_Util", "Lib_DICOM", "Lib_DICOM_Mend")
VERSION = "21"


def built_libraries() -> pathlib.Path:
    """The folder of the libraries, which are built unless a build tree is named."""
    given = os.environ.get("LIB_DICOM_BUILD")
    if given:
        return pathlib.Path(given) / "lib"
    build = ROOT / "build" / "python"
    subprocess.check_call(
        ["cmake", "-S", ROOT, "-B", build, "-G", "Ninja", "-DCMAKE_BUILD_TYPE=Release"])
    subprocess.check_call(["cmake", "--build", build, "--target", *LIBRARIES])
    return build / "lib"


class BuildWithLibraries(build_py):
    def run(self) -> None:
        super().run()
        package = pathlib.Path(self.build_lib) / "dicom_mend"
        folder = package / "lib"
        folder.mkdir(parents=True, exist_ok=True)
        source = built_libraries()
        for library in LIBRARIES:
            name = f"lib{library}.so.{VERSION}"
            shutil.copyfile(source / name, folder / name)
        definitions = package / "share" / "Lib_DICOM" / "definitions"
        shutil.copytree(ROOT / "definitions", definitions, dirs_exist_ok=True)


class PlatformWheel(bdist_wheel):
    """The libraries are of this platform, but of no version of Python: they are called by ctypes."""

    def finalize_options(self) -> None:
        super().finalize_options()
        self.root_is_pure = False

    def get_tag(self) -> tuple:
        return ("py3", "none", super().get_tag()[2])


setup(cmdclass={"build_py": BuildWithLibraries, "bdist_wheel": PlatformWheel})
