"""Builds the module with CMake and packs it as a wheel, for `pip install .`: the hooks that pip calls.

The libraries lie beside the module in the wheel. Those that they need themselves are the system's, so a wheel is for
systems like the one it was made on.
"""

import base64
import hashlib
import re
import subprocess
import sys
import sysconfig
import zipfile
from pathlib import Path

SOURCE = Path(__file__).resolve().parents[1]
BUILD = SOURCE / "build/wheel"


def build_wheel(wheel_directory, config_settings=None, metadata_directory=None):
    build()
    version, = re.findall(r"^project\(KernelPackage VERSION ([\d.]+)", (SOURCE / "CMakeLists.txt").read_text(), re.MULTILINE)
    python = f"cp{sys.version_info.major}{sys.version_info.minor}"
    tag = f"{python}-{python}-{re.sub('[-.]', '_', sysconfig.get_platform())}"
    info = f"kernelpackage-{version}.dist-info"
    members = {f"kernelpackage/{path.name}": path.read_bytes() for path in files()}
    members[f"{info}/METADATA"] = (f"Metadata-Version: 2.1\nName: kernelpackage\nVersion: {version}\n"
                                   "Summary: Packages of compute kernels for FPGA platforms\n"
                                   "Requires-Python: >=3.11\n").encode()
    members[f"{info}/WHEEL"] = f"Wheel-Version: 1.0\nGenerator: kernelpackage\nRoot-Is-Purelib: false\nTag: {tag}\n".encode()
    members[f"{info}/RECORD"] = "".join([*map(recorded, members.items()), f"{info}/RECORD,,\n"]).encode()
    name = f"kernelpackage-{version}-{tag}.whl"
    with zipfile.ZipFile(Path(wheel_directory, name), "w", zipfile.ZIP_DEFLATED) as wheel:
        for member, data in members.items():
            wheel.writestr(member, data)
    return name


def build():
    """Module and libraries, which look for each other in one directory."""
    subprocess.run(["cmake", "-S", SOURCE, "-B", BUILD, "-G", "Ninja", "-DCMAKE_BUILD_TYPE=Release", "-DKP_TESTS=OFF",
                    "-DKP_PYTHON_DIR=.", "-DCMAKE_INSTALL_LIBDIR=kernelpackage", f"-DPython3_EXECUTABLE={sys.executable}"],
                   check=True)
    subprocess.run(["cmake", "--build", BUILD, "--target", "python_module"], check=True)


def files():
    """What the wheel holds: of a library the file of the name by which it is looked for."""
    yield from sorted(path for path in (BUILD / "python/kernelpackage").iterdir() if path.is_file())
    for library in (BUILD / "lib").glob("libkp*.so"):
        yield library.resolve().with_suffix("")  # the last number of the version is none of the name's


def recorded(member):
    name, data = member
    digest = base64.urlsafe_b64encode(hashlib.sha256(data).digest()).rstrip(b"=").decode()
    return f"{name},sha256={digest},{len(data)}\n"
