"""The compiled half: paths and texts are bytes, and nothing has a default."""

from collections.abc import Callable

from ._records import Comparison, Extracted, Finding, Kernel, Lint, PackageInfo

_Progress = Callable[[int, int], object] | None

class KernelAddition:
    package: bytes
    kernel: bytes
    kernel_xml: bytes
    ip: bytes
    cpu_sources: list[bytes]
    sw_emu: list[bytes]
    pdi: list[bytes]
    shim: bytes
    report: bytes
    ip_instance: bytes
    debug_dir: bytes
    hls_dir: bytes
    project: bytes
    top_ip: bytes
    replace: bool
    update: bool
    jobs: int
    check_version: bool
    replace_ip: bool
    layout: bytes
    reseal: bool

class KernelRequest:
    prototype: bytes
    name: bytes
    ports: dict[bytes, bytes]
    offsets: dict[bytes, int]
    sizes: dict[bytes, int]
    language: bytes
    protocol: bytes
    interrupt: bytes

class KernelCustomization:
    package: bytes
    kernel: bytes
    name: bytes
    output: bytes
    board: bytes
    host_scripts: list[bytes]
    tcl_shell: bytes
    replace_ip: bool
    reseal: bool
    jobs: int
    params: dict[bytes, bytes]

def names(package: bytes) -> tuple[str, ...]: ...
def info(package: bytes) -> PackageInfo: ...
def kernels(package: bytes, name: bytes | None) -> tuple[Kernel, ...]: ...
def validate(package: bytes, flow: int) -> tuple[str, ...]: ...
def verify(package: bytes, jobs: int, progress: _Progress) -> tuple[str, tuple[Finding, ...]]: ...
def lint(package: bytes, kernel: bytes | None) -> Lint: ...
def compare(old: bytes, current: bytes, kernel: bytes | None) -> Comparison: ...
def read(package: bytes, member: bytes) -> bytes | None: ...
def page(package: bytes, kernel: bytes | None) -> str: ...
def add(addition: KernelAddition, progress: _Progress) -> None: ...
def lint_addition(addition: KernelAddition) -> Lint: ...
def remove(package: bytes, kernels: list[bytes], reseal: bool, progress: _Progress) -> None: ...
def merge(package: bytes, inputs: list[bytes], sort: bool, check_version: bool, reseal: bool,
          jobs: int, progress: _Progress) -> None: ...
def add_caches(package: bytes, directory: bytes, reseal: bool, jobs: int, progress: _Progress) -> None: ...
def extract(package: bytes, kernel: bytes | None, directory: bytes, own_ip: bool, check_version: bool, overwrite: bool,
            jobs: int, progress: _Progress) -> tuple[Extracted, ...]: ...
def customize(request: KernelCustomization, progress: _Progress) -> None: ...
def name_in(kernel_xml: bytes) -> bytes: ...
def load_description(path: bytes) -> tuple[bytes, Kernel]: ...
def new_description(ip: bytes, request: KernelRequest) -> tuple[bytes, Kernel, dict[str, int]]: ...
def save_description(path: bytes, document: bytes, overwrite: bool) -> None: ...
def lint_description(kernel_xml: bytes, ip: bytes, report: bytes) -> Lint: ...
def end_all() -> None: ...
