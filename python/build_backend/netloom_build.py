"""pip's build backend for netloom (PEP 517): builds the extension module with
CMake and writes the wheel itself, so that any CPython 3.9+ with pip can build
it; setuptools and wheel are not needed.

CMake and pybind11's CMake package are found on the machine when they are there
(Debian: cmake, pybind11-dev), so the build works offline, with or without build
isolation; otherwise get_requires_for_build_wheel asks pip for the cmake and
pybind11 packages of the package index. The package's metadata is here, not in
pyproject.toml, because reading TOML needs Python 3.11.
"""

import base64
import csv
import glob
import hashlib
import io
import os
import shutil
import subprocess
import sys
import sysconfig
import tarfile
import tempfile
import zipfile

ROOT = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
NAME = "netloom"
SUMMARY = "Layout of network diagrams: force-directed, tree, radial and hierarchy layouts"
REQUIRES_PYTHON = ">=3.9"
# numpy is optional: layouts work without it, the array methods need it.
DEPENDENCIES = []
EXTRAS = {"numpy": ["numpy"], "networkx": ["networkx"], "draw": ["networkx", "matplotlib"]}
PACKAGE_FILES = ["__init__.py", "_netloom.pyi", "py.typed"]
# What an sdist leaves out of the checkout: other packages, documents and tests.
SDIST_SKIP = {".git", ".cache", "build", "out", "js", "docs", "bench", "fuzz", "tests", "examples"}


class BuildError(Exception):
    pass


def _version():
    with open(os.path.join(ROOT, "VERSION")) as f:
        return f.read().strip()


def _cmake():
    found = shutil.which("cmake")
    if found:
        return found
    try:  # the cmake package of the package index
        import cmake

        return os.path.join(cmake.CMAKE_BIN_DIR, "cmake")
    except ImportError:
        return None


def _pybind11_dir():
    """pybind11's CMake directory: from an importable pybind11, else None (CMake
    then searches its default places, where Debian's pybind11-dev is)."""
    try:
        import pybind11

        return pybind11.get_cmake_dir()
    except ImportError:
        return None


def _machine_pybind11():
    for prefix in {sys.prefix, sys.base_prefix, "/usr", "/usr/local"}:
        for pattern in ("lib/cmake/pybind11", "lib/*/cmake/pybind11", "share/cmake/pybind11"):
            if glob.glob(os.path.join(prefix, pattern, "pybind11Config.cmake")):
                return True
    return False


def get_requires_for_build_wheel(config_settings=None):
    needs = []
    if _cmake() is None:
        needs.append("cmake>=3.16")
    if _pybind11_dir() is None and not _machine_pybind11():
        needs.append("pybind11>=2.10")
    return needs


def get_requires_for_build_sdist(config_settings=None):
    return []


def _explain(output):
    """The missing piece a failed CMake run points at, and the command that supplies it."""
    if 'provided by "pybind11"' in output:
        return ("pybind11's CMake package is not found. Install it: `apt-get install pybind11-dev` "
                "(Debian), or `%s -m pip install pybind11` and build with --no-build-isolation, or "
                "build without --no-build-isolation where a package index is reachable"
                % sys.executable)
    if "Could NOT find Python" in output or "Python.h: No such file" in output:
        return ("the C headers of %s (Python.h) are missing: install its development package, "
                "e.g. `apt-get install python3-dev` for Debian's python3" % sys.executable)
    if "No CMAKE_CXX_COMPILER could be found" in output or "CMAKE_CXX_COMPILER not set" in output:
        return "no C++17 compiler: `apt-get install g++`"
    if "unable to find a build program" in output:
        return "no make: `apt-get install make`"
    return None


def _run(cmd):
    done = subprocess.run(cmd, stdout=subprocess.PIPE, stderr=subprocess.STDOUT,
                          universal_newlines=True)
    sys.stdout.write(done.stdout)
    if done.returncode != 0:
        hint = _explain(done.stdout)
        raise BuildError("netloom: `%s` failed%s" % (" ".join(cmd), ": " + hint if hint else ""))


def _build_module(build_dir):
    """Builds _netloom with CMake; returns the built package directory."""
    cmake = _cmake()
    if cmake is None:
        raise BuildError(
            "netloom: building the extension module needs CMake 3.16 or later, which is not on "
            "PATH. Install it: `apt-get install cmake` (Debian), or `%s -m pip install cmake` and "
            "build with --no-build-isolation, or build without --no-build-isolation where a "
            "package index is reachable" % sys.executable)
    configure = [cmake, "-S", ROOT, "-B", build_dir, "-DCMAKE_BUILD_TYPE=Release",
                 "-DNETLOOM_BUILD_PYTHON=ON", "-DNETLOOM_PYTHON_TESTS=OFF",
                 "-DNETLOOM_BUILD_TESTS=OFF", "-DNETLOOM_BUILD_EXAMPLES=OFF",
                 "-DNETLOOM_BUILD_TOOLS=OFF", "-DPython_EXECUTABLE=" + sys.executable]
    pybind11_dir = _pybind11_dir()
    if pybind11_dir:
        configure.append("-Dpybind11_DIR=" + pybind11_dir)
    jobs = os.environ.get("CMAKE_BUILD_PARALLEL_LEVEL") or str(os.cpu_count() or 1)
    _run(configure)
    _run([cmake, "--build", build_dir, "--target", "_netloom", "-j", jobs])
    return os.path.join(build_dir, "python", NAME)


def _tag():
    version = "%d%d" % sys.version_info[:2]
    abi = "cp" + version
    if sysconfig.get_config_var("Py_GIL_DISABLED"):
        abi += "t"
    if hasattr(sys, "gettotalrefcount"):
        abi += "d"
    platform = sysconfig.get_platform().replace("-", "_").replace(".", "_")
    return "cp%s-%s-%s" % (version, abi, platform)


def _metadata():
    lines = ["Metadata-Version: 2.1", "Name: " + NAME, "Version: " + _version(),
             "Summary: " + SUMMARY, "License: MIT",
             "Classifier: License :: OSI Approved :: MIT License",
             "Classifier: Programming Language :: C++",
             "Classifier: Programming Language :: Python :: 3",
             "Requires-Python: " + REQUIRES_PYTHON]
    lines += ["Requires-Dist: " + d for d in DEPENDENCIES]
    for extra, deps in EXTRAS.items():
        lines.append("Provides-Extra: " + extra)
        lines += ['Requires-Dist: %s; extra == "%s"' % (d, extra) for d in deps]
    return "\n".join(lines) + "\n"


def build_wheel(wheel_directory, config_settings=None, metadata_directory=None):
    try:
        with tempfile.TemporaryDirectory(prefix="netloom-build-") as build_dir:
            built = _build_module(build_dir)
            modules = glob.glob(os.path.join(built, "_netloom*" + sysconfig.get_config_var("EXT_SUFFIX")))
            if len(modules) != 1:
                raise BuildError("netloom: expected one built module in %s, found %s" % (built, modules))
            files = {NAME + "/" + f: os.path.join(ROOT, "python", NAME, f) for f in PACKAGE_FILES}
            files[NAME + "/" + os.path.basename(modules[0])] = modules[0]
            files[NAME + "/_version.py"] = os.path.join(built, "_version.py")
            return _write_wheel(wheel_directory, files)
    except BuildError as e:
        # pip shows the backend's output; the last line is the one a user reads.
        sys.stderr.write("\n%s\n" % e)
        raise SystemExit(1)


def _write_wheel(wheel_directory, files):
    version = _version()
    tag = _tag()
    info = "%s-%s.dist-info" % (NAME, version)
    contents = {name: open(path, "rb").read() for name, path in files.items()}
    contents[info + "/METADATA"] = _metadata().encode()
    contents[info + "/WHEEL"] = ("Wheel-Version: 1.0\nGenerator: netloom_build\n"
                                 "Root-Is-Purelib: false\nTag: %s\n" % tag).encode()
    contents[info + "/LICENSE"] = open(os.path.join(ROOT, "LICENSE"), "rb").read()
    record = io.StringIO()
    writer = csv.writer(record, lineterminator="\n")
    for name, data in contents.items():
        digest = base64.urlsafe_b64encode(hashlib.sha256(data).digest()).rstrip(b"=").decode()
        writer.writerow([name, "sha256=" + digest, len(data)])
    writer.writerow([info + "/RECORD", "", ""])
    contents[info + "/RECORD"] = record.getvalue().encode()
    wheel_name = "%s-%s-%s.whl" % (NAME, version, tag)
    os.makedirs(wheel_directory, exist_ok=True)
    partial = os.path.join(wheel_directory, wheel_name + ".part")
    with zipfile.ZipFile(partial, "w", zipfile.ZIP_DEFLATED) as wheel:
        for name, data in contents.items():
            entry = zipfile.ZipInfo(name, date_time=(2026, 1, 1, 0, 0, 0))
            entry.external_attr = (0o755 if name.endswith(".so") else 0o644) << 16
            entry.compress_type = zipfile.ZIP_DEFLATED
            wheel.writestr(entry, data)
    os.replace(partial, os.path.join(wheel_directory, wheel_name))
    return wheel_name


def build_sdist(sdist_directory, config_settings=None):
    base = "%s-%s" % (NAME, _version())
    name = base + ".tar.gz"
    os.makedirs(sdist_directory, exist_ok=True)
    partial = os.path.join(sdist_directory, name + ".part")
    with tarfile.open(partial, "w:gz", format=tarfile.PAX_FORMAT) as tar:
        for folder, dirs, files in os.walk(ROOT):
            rel = os.path.relpath(folder, ROOT)
            if rel == ".":
                dirs[:] = [d for d in dirs if d not in SDIST_SKIP]
            # No caches, and no virtual environment made inside the checkout.
            dirs[:] = sorted(d for d in dirs if d != "__pycache__" and not d.endswith(".egg-info")
                             and not os.path.exists(os.path.join(folder, d, "pyvenv.cfg")))
            for f in sorted(files):
                path = os.path.join(folder, f)
                tar.add(path, os.path.normpath(os.path.join(base, rel, f)), recursive=False)
        info = tarfile.TarInfo(base + "/PKG-INFO")
        data = _metadata().encode()
        info.size = len(data)
        tar.addfile(info, io.BytesIO(data))
    os.replace(partial, os.path.join(sdist_directory, name))
    return name
