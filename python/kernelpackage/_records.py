"""What packages and kernels are, as records: frozen, comparable, hashable, picklable."""

from __future__ import annotations

TYPE_CHECKING = False
if TYPE_CHECKING:
    import datetime
    from collections.abc import Iterator
    from dataclasses import dataclass as record
    from typing import Any
else:
    # dataclasses would take longer to load than all of this module.
    def record(**_options):
        return lambda kind: kind


class Record:
    """The base of all records: their fields cannot be set, and `as_dict` has all of them.

    >>> case = LatencyCase(cycles=12, time="48 ns")
    >>> case
    LatencyCase(cycles=12, time='48 ns')
    >>> case.as_dict()
    {'cycles': 12, 'time': '48 ns'}
    """

    # What repr shows; all fields unless a record has records in it.
    _shown: tuple[str, ...] = ()

    if not TYPE_CHECKING:

        def __init__(self, **fields):
            if fields.keys() != self.__annotations__.keys():
                raise TypeError(f"{type(self).__name__} has the fields {', '.join(self.__annotations__)}")
            self.__dict__.update(fields)

        def __setattr__(self, name, value):
            raise AttributeError(f"{type(self).__name__} is frozen: cannot set {name!r}")

        def __delattr__(self, name):
            raise AttributeError(f"{type(self).__name__} is frozen: cannot delete {name!r}")

        def __eq__(self, other):
            return self.__dict__ == other.__dict__ if type(other) is type(self) else NotImplemented

        def __hash__(self):
            return hash((type(self), *self.__dict__.values()))

        def __repr__(self):
            shown = self._shown or self.__annotations__
            return f"{type(self).__name__}({', '.join(f'{name}={getattr(self, name)!r}' for name in shown)})"

    def as_dict(self) -> dict[str, Any]:
        """All fields by their names; records in them as dictionaries, tuples as lists."""
        return {name: _plain(value) for name, value in vars(self).items()}


def _plain(value: object) -> object:
    if isinstance(value, Record):
        return value.as_dict()
    if isinstance(value, tuple):
        return [_plain(item) for item in value]
    return value


@record(frozen=True, kw_only=True)
class PackageInfo(Record):
    """A package as a whole. Sizes are in bytes, `written` is the time of its manifest.

    `digest` is "valid", "missing", "mismatch" or "unreadable"; `layout` is "repo" or "kernel".
    """

    path: str
    size: int
    files: int
    content_size: int
    format_version: str
    layout: str
    software_version: str
    written: datetime.datetime
    digest: str
    seal: str | None
    ip_caches: tuple[str, ...]


@record(frozen=True, kw_only=True)
class Entry(Record):
    """What the manifest of a package says of a kernel. Directories are names in the package."""

    directory: str
    ip: str | None
    top_ip_dir: str | None
    project_id: str | None
    flows: tuple[str, ...]


@record(frozen=True, kw_only=True)
class Port(Record):
    """A bus port. `data_width` is in bits, `range` and `base` in bytes; None for what is not stated as a number."""

    name: str
    mode: str
    port_type: str
    data_width: int | None
    range: int | None
    base: int | None
    line: int


@record(frozen=True, kw_only=True)
class Argument(Record):
    """An argument. `passing` is "value", "pointer", "stream" or "unknown"; sizes and offsets are in bytes."""

    id: int | None
    name: str
    type: str | None
    passing: str
    port: str | None
    offset: int | None
    size: int | None
    host_offset: int | None
    host_size: int | None


@record(frozen=True, kw_only=True)
class Stretch(Record):
    """Bytes of a slave that belong together: `use` is "control", "value", "pointer" or "gap".

    `through` is the port of a pointer's data, `shared` how many of the bytes something before has as well.
    """

    use: str
    offset: int
    size: int
    argument: str | None
    through: str | None
    shared: int
    is_beyond: bool


@record(frozen=True, kw_only=True)
class AddressMap(Record):
    """A slave from its first byte to its last, in order of offsets; gaps are stretches of their own."""

    _shown = ("port", "range")
    port: str
    range: int | None
    stretches: tuple[Stretch, ...]


@record(frozen=True, kw_only=True)
class Timing(Record):
    """Clock periods in the unit of the report, and whether the estimated one meets the target."""

    target: float | None
    uncertainty: float | None
    estimated: float | None
    is_met: bool | None


@record(frozen=True, kw_only=True)
class LatencyCase(Record):
    """A latency in cycles, None where the report gives no number, and as the report writes it as a time."""

    cycles: int | None
    time: str | None


@record(frozen=True, kw_only=True)
class Latency(Record):
    """How long a module takes, at best, on average and at worst; the interval is in cycles."""

    best: LatencyCase
    average: LatencyCase
    worst: LatencyCase
    interval: int | None
    pipeline: str | None


@record(frozen=True, kw_only=True)
class Resources(Record):
    """What a module takes of the device; None where the report does not say."""

    lut: int | None
    ff: int | None
    bram: int | None
    dsp: int | None
    uram: int | None
    slice: int | None


@record(frozen=True, kw_only=True)
class Module(Record):
    """The figures of a module."""

    name: str
    timing: Timing
    latency: Latency | None
    resources: Resources


@record(frozen=True, kw_only=True)
class Instance(Record):
    """An instance of a module; those in it follow, one level deeper."""

    level: int
    name: str | None
    module: str
    id: str | None


@record(frozen=True, kw_only=True)
class Fifo(Record):
    """A FIFO between instances."""

    name: str
    parent: str | None
    static_depth: int | None
    runtime_depth: int | None
    ends: tuple[str, ...]


@record(frozen=True, kw_only=True)
class Profile(Record):
    """The figures of synthesis. `top` is the module at the top; instances are in the order of their tree."""

    _shown = ("top",)
    top: Module | None
    modules: tuple[Module, ...]
    instances: tuple[Instance, ...]
    fifos: tuple[Fifo, ...]


@record(frozen=True, kw_only=True)
class File(Record):
    """A file of a kernel in its package. `part` is "description", "ip", "cpu-source" ...; sizes are in bytes."""

    part: str
    name: str
    size: int
    stored_size: int


@record(frozen=True, kw_only=True)
class LintFinding(Record):
    """What lint found: what is and what should be, and the cure. `severity` is "error" or "warning"."""

    code: str
    severity: str
    kernel: str
    document: str
    line: int | None
    text: str
    cure: str

    def __str__(self) -> str:
        place = self.document if self.line is None else f"{self.document}:{self.line}"
        return f"{place}: {self.severity}: {self.text} [{self.code}]"


@record(frozen=True, kw_only=True)
class Unchecked(Record):
    """What lint could not decide, and why: it is not known to be good."""

    code: str
    kernel: str
    reason: str


@record(frozen=True, kw_only=True)
class Lint(Record):
    """All that lint has to say; it is true, and has a length, by its findings."""

    findings: tuple[LintFinding, ...]
    unchecked: tuple[Unchecked, ...]

    def __len__(self) -> int:
        return len(self.findings)

    def __iter__(self) -> Iterator[LintFinding]:
        return iter(self.findings)

    @property
    def errors(self) -> tuple[LintFinding, ...]:
        """The findings that let the link or the host program fail."""
        return tuple(finding for finding in self.findings if finding.severity == "error")


@record(frozen=True, kw_only=True)
class Finding(Record):
    """Something wrong with a package: a code that never changes, the member of the package, and a sentence."""

    code: str
    member: str | None
    text: str

    def __str__(self) -> str:
        return f"{self.code}: {self.text}"


@record(frozen=True, kw_only=True)
class Difference(Record):
    """What differs between two packages. `kind` is "breaking", "compatible" or "inside" for their users.

    `change` is "changed", "added" or "removed"; `kernel` is None for the package itself, `text` a line for people.
    """

    kernel: str | None
    kind: str
    change: str
    path: str | None
    field: str | None
    old: str | int | float | None
    new: str | int | float | None
    percent: float | None
    text: str

    def __str__(self) -> str:
        return self.text


@record(frozen=True, kw_only=True)
class Comparison(Record):
    """Two packages held against each other; it is true, and has a length, by its differences.

    `verdict` says which number of its version the new package is to raise: "major", "minor", "patch" or "same".
    """

    _shown = ("verdict",)
    verdict: str
    old_digest: str
    new_digest: str
    differences: tuple[Difference, ...]
    notes: tuple[str, ...]

    def __len__(self) -> int:
        return len(self.differences)

    def __iter__(self) -> Iterator[Difference]:
        return iter(self.differences)

    @property
    def breaking(self) -> tuple[Difference, ...]:
        """The differences that break host code or links made for the old package."""
        return tuple(difference for difference in self.differences if difference.kind == "breaking")


@record(frozen=True, kw_only=True)
class Extracted(Record):
    """A kernel that was extracted, and the directories where it lies now."""

    name: str
    directory: str
    ip_dir: str | None
    ip_cache_dir: str | None


@record(frozen=True, kw_only=True)
class Description(Record):
    """What the description of a kernel says of it, its profile included."""

    _shown = ("version", "vlnv")
    version: str
    vlnv: str | None
    language: str | None
    control_protocol: str | None
    interrupt: str | None
    debug: str | None
    ports: tuple[Port, ...]
    address_maps: tuple[AddressMap, ...]
    arguments: tuple[Argument, ...]
    profile: Profile | None


@record(frozen=True, kw_only=True)
class Kernel(Record):
    """A kernel: what the manifest of its package, None outside of one, and its description say.

    A description that cannot be read is None, and `problem` tells why. What comes from it, such as `ports`, raises
    InvalidDocumentError then.
    """

    _shown = ("name", "flows", "problem")
    name: str
    document: str
    entry: Entry | None
    problem: str | None
    description: Description | None
    files: tuple[File, ...]

    @property
    def flows(self) -> tuple[str, ...]:
        """The flows that it can be built for, of "sw_emu", "hw_emu" and "hw"; none outside a package."""
        return self.entry.flows if self.entry else ()

    @property
    def vlnv(self) -> str | None:
        """Its vendor, library, name and version."""
        return self._described.vlnv

    @property
    def ports(self) -> tuple[Port, ...]:
        """Its bus ports, in the order of the description."""
        return self._described.ports

    @property
    def arguments(self) -> tuple[Argument, ...]:
        """Its arguments, in the order of the description."""
        return self._described.arguments

    @property
    def profile(self) -> Profile | None:
        """The figures of its synthesis, None where it has none."""
        return self._described.profile

    @property
    def _described(self) -> Description:
        if self.description is None:
            from ._errors import InvalidDocumentError

            raise InvalidDocumentError(self.problem or "", path=self.document)
        return self.description
