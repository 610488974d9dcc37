"""Packages of compute kernels for FPGA platforms.

A Package is a file with kernels: it is iterated, checked, compared and changed. What the operations have to say goes to
the logger "kernelpackage", what fails raises a KernelPackageError.

>>> from kernelpackage import Package
>>> [kernel.name for kernel in Package("vadd.kp")]
['vadd']
"""

import atexit as _atexit

from . import _core
from ._description import KernelDescription, lint
from ._errors import (InvalidDocumentError, KernelNotFoundError, KernelPackageError, NotFoundError, RefusedError,
                      SealBrokenError)
from ._package import Package
from ._records import (AddressMap, Argument, Comparison, Description, Difference, Entry, Extracted, Fifo, File, Finding,
                       Instance, Kernel, Latency, LatencyCase, Lint, LintFinding, Module, PackageInfo, Port, Profile,
                       Record, Resources, Stretch, Timing, Unchecked)

__all__ = [
    "AddressMap", "Argument", "Comparison", "Description", "Difference", "Entry", "Extracted", "Fifo", "File",
    "Finding", "Instance", "InvalidDocumentError", "Kernel", "KernelDescription", "KernelNotFoundError",
    "KernelPackageError", "Latency", "LatencyCase", "Lint", "LintFinding", "Module", "NotFoundError", "Package",
    "PackageInfo", "Port", "Profile", "Record", "RefusedError", "Resources", "SealBrokenError", "Stretch", "Timing",
    "Unchecked", "lint",
]

for _name in __all__:
    globals()[_name].__module__ = __name__  # where they are to be imported from, which help() shows and pickle needs

_atexit.register(_core.end_all)
