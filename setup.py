"""Builds netloom's extension module with CMake for setuptools (pyproject.toml).

Only the target _netloom is built, in setuptools' temporary directory, by the
interpreter that runs the build; nothing of the C++ library, headers or tool is
installed.
"""

import os
import shutil
import subprocess
import sys
from pathlib import Path

from setuptools import Extension, setup
from setuptools.command.build_ext import build_ext

ROOT = Path(__file__).resolve().parent


class CMakeBuild(build_ext):
    def build_extension(self, ext):
        if shutil.which("cmake") is None:
            raise RuntimeError(
                "netloom's extension module is built with CMake, which is not on PATH "
                "(Debian: apt-get install cmake g++ pybind11-dev python3-dev)"
            )
        build_dir = Path(self.build_temp).resolve() / "cmake"
        configure = [
            "cmake",
            "-S",
            str(ROOT),
            "-B",
            str(build_dir),
            "-DCMAKE_BUILD_TYPE=Release",
            "-DNETLOOM_BUILD_PYTHON=ON",
            "-DNETLOOM_PYTHON_TESTS=OFF",
            "-DNETLOOM_BUILD_TESTS=OFF",
            "-DNETLOOM_BUILD_EXAMPLES=OFF",
            "-DNETLOOM_BUILD_TOOLS=OFF",
            "-DPython_EXECUTABLE=" + sys.executable,
        ]
        try:
            import pybind11

            configure.append("-Dpybind11_DIR=" + pybind11.get_cmake_dir())
        except ImportError:
            pass  # CMake looks for pybind11 itself (Debian's pybind11-dev)
        jobs = os.environ.get("CMAKE_BUILD_PARALLEL_LEVEL") or str(os.cpu_count() or 1)
        subprocess.run(configure, check=True)
        subprocess.run(
            ["cmake", "--build", str(build_dir), "--target", "_netloom", "-j", jobs], check=True
        )
        suffix = Path(self.get_ext_filename("x")).suffix
        built = sorted((build_dir / "python" / "netloom").glob("_netloom*" + suffix))
        if len(built) != 1:
            raise RuntimeError("expected one built module in %s, found %s" % (build_dir, built))
        target = Path(self.get_ext_fullpath(ext.name))
        target.parent.mkdir(parents=True, exist_ok=True)
        shutil.copyfile(built[0], target)


# pip asks setuptools for a wheel; without the wheel package setuptools only
# answers "invalid command 'bdist_wheel'".
if {"bdist_wheel", "dist_info"} & set(sys.argv):
    try:
        import wheel  # noqa: F401
    except ImportError:
        sys.exit(
            "building netloom with pip needs the wheel package where pip runs: create the "
            "virtual environment with --system-site-packages (Debian's python3-wheel, "
            "python3-setuptools, python3-pybind11) and pass --no-build-isolation"
        )

setup(
    ext_modules=[Extension("netloom._netloom", sources=[])],
    cmdclass={"build_ext": CMakeBuild},
)
