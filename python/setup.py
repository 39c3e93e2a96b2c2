# Copyright (c) 2026 the VX authors.
# SPDX-License-Identifier: BSD-3-Clause
"""Builds the wheel from what `cmake --install` installs and the shared libraries that it needs.

The environment variable VX_BUILD_DIR selects a finished build directory. Without it, VX is built in
python/build, which takes minutes.
"""

import os
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile

from setuptools import Extension, setup
from setuptools.command.build_ext import build_ext

SOURCE = pathlib.Path(__file__).resolve().parent.parent


class FromCMake(build_ext):
    def run(self):
        tree = os.environ.get("VX_BUILD_DIR") or self.make_tree()
        package = pathlib.Path(self.build_lib, "vx")
        (package / "lib").mkdir(parents=True, exist_ok=True)
        with tempfile.TemporaryDirectory() as stage:
            subprocess.run(["cmake", "--install", tree, "--prefix", stage], check=True,
                           stdout=subprocess.DEVNULL)
            files = [path for path in pathlib.Path(stage).rglob("*.so*")]
            module = [path for path in files if path.name.startswith("_vx.")]
            libraries = [path for path in files if re.fullmatch(r"libVX\w*\.so\.\d+", path.name)]
            names = {path.name for path in libraries}
            if len(module) != 1 or len(names) != 4:
                sys.exit(f"{tree}: is no finished build of VX with its Python module")
            shutil.copy(module[0], package)
            for path in libraries:  # with the file and folder names that the loader uses
                folder = package / "lib"
                if path.parents[1].name == "glibc-hwcaps":
                    folder = folder / "glibc-hwcaps" / path.parent.name
                folder.mkdir(parents=True, exist_ok=True)
                shutil.copy(path, folder)
            # libVXHost loads acceleration modules from the folder vx/modules beside it.
            (package / "lib/vx/modules").mkdir(parents=True, exist_ok=True)
            for path in pathlib.Path(stage).rglob("vx/modules/*.RZX"):
                shutil.copy(path, package / "lib/vx/modules")

    def make_tree(self):
        options = {"CMAKE_BUILD_TYPE": "Release", "Python_EXECUTABLE": sys.executable,
                   "VX_BUILD_TESTS": "OFF", "VX_BUILD_BENCH": "OFF", "VX_BUILD_CLI": "OFF"}
        try:
            import pybind11
            options["pybind11_DIR"] = pybind11.get_cmake_dir()
        except ImportError:
            pass  # the system's, which CMake finds
        subprocess.run(["cmake", "-S", SOURCE, "-B", self.build_temp,
                        *(f"-D{name}={value}" for name, value in options.items())], check=True)
        subprocess.run(["cmake", "--build", self.build_temp, "--parallel"], check=True)
        return self.build_temp


setup(ext_modules=[Extension("vx._vx", [])], cmdclass={"build_ext": FromCMake})
