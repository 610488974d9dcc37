#!/usr/bin/env python3
"""usage: fuzz/make-seeds.py DIRECTORY
Makes inputs for each fuzzing program to start from, out of the examples: DIRECTORY/PROGRAM/NUMBER."""

import io
import stat
import sys
import zipfile
from pathlib import Path

EXAMPLES = Path(__file__).resolve().parent.parent / "examples"
VADD = EXAMPLES / "vadd"
MANIFEST = """<?xml version="1.0" encoding="UTF-8"?>
<Root VersionMajor="6" VersionMinor="0" SoftwareVersionMajor="2020" SoftwareVersionMinor="1" IpCache="yes">
  <IpCaches>
    <Cache CacheDir="ip_cache"/>
  </IpCaches>
  <Kernels>
    <Kernel Name="vadd" Dir="vadd" IP="ip_repo/example_kernels_vadd_1_0" TopIpDir="." ProjectID="p" Debug="no" Hls="no">
      <SupportedFlows>
        <SupportedFlow>CPU_EMU</SupportedFlow>
        <SupportedFlow>SYSTEM</SupportedFlow>
      </SupportedFlows>
    </Kernel>
  </Kernels>
</Root>
"""


class Unseekable(io.BytesIO):
    """A file for which the sizes follow the data, in descriptors."""

    def seekable(self):
        return False

    def tell(self):
        raise OSError


def members():
    ip = "ip_repo/example_kernels_vadd_1_0"
    yield "vadd/kernel.xml", (VADD / "kernel.xml").read_bytes()
    yield "vadd/cpu_sources/vadd.cpp", (VADD / "src/vadd.cpp").read_bytes()
    yield ip + "/component.xml", (VADD / "ip/component.xml").read_bytes()
    yield ip + "/hdl/", b""
    yield "kp.xml", MANIFEST.encode()


def archive(contents, method=zipfile.ZIP_DEFLATED, comment=b"", zip64=False, file=None):
    file = file or io.BytesIO()
    with zipfile.ZipFile(file, "w", method) as packed:
        for name, content in contents:
            entry = zipfile.ZipInfo(name) if isinstance(name, str) else name
            entry.compress_type = zipfile.ZIP_STORED if entry.filename.endswith("/") else method
            with packed.open(entry, "w", force_zip64=zip64) as member:
                member.write(content)
        packed.comment = comment
    return file.getvalue()


def archives():
    small = [("a", b"a"), ("b/c", b"c" * 100)]
    link = zipfile.ZipInfo("link")
    link.create_system = 3
    link.external_attr = (stat.S_IFLNK | 0o777) << 16
    yield archive(members())
    yield archive(members(), file=Unseekable())
    yield archive(small, zipfile.ZIP_STORED)
    yield archive(small, file=Unseekable())
    yield archive(small, zip64=True)
    yield archive(small, comment=b"kp-digest-2:sha256:" + b"0" * 64)
    yield archive(small + [(link, b"a"), ("../up", b""), ("/top", b""), ("b\\d", b"")])
    yield archive([("large", bytes(17 << 20))])
    yield archive([])


ENTITY = b"""library ieee; -- as tools write them
entity top is generic (w : natural := f(8)); port (a, b : in bit_vector(w - 1 downto 0) := (others => '0');
signal \\c.d\\ : out bit); end entity top;
architecture rtl of top is begin u : entity work.other port map (x => y); end rtl;
"""


def components():
    """The example's component in words of each edition, and the values of one number in many notations."""
    component = (VADD / "ip/component.xml").read_bytes()
    yield component
    yield component.replace(b"2014", b"2022").replace(b"ipxact:master", b"ipxact:initiator").replace(b":slave", b":target")
    old = component.replace(b"http://www.accellera.org/XMLSchema/IPXACT/1685-2014",
                            b"http://www.spiritconsortium.org/XMLSchema/SPIRIT/1685-2009")
    for later in (b"abstractionTypes", b"abstractionType", b"vectors"):
        old = old.replace(b"<ipxact:%s>" % later, b"").replace(b"</ipxact:%s>" % later, b"")
    yield old
    head = component[:component.index(b"<ipxact:busInterfaces>")]
    space = b"<ipxact:addressSpaces><ipxact:addressSpace><ipxact:name>s</ipxact:name><ipxact:range%s</ipxact:range>" \
            b"<ipxact:width>1</ipxact:width></ipxact:addressSpace></ipxact:addressSpaces>"
    for expression in (b">(W - 1) * 8'hFF ** 2 % 3 | W &amp; ~1 ^ 2", b">W &lt; 2 ? $clog2(4K) : 'b1010 &lt;&lt; 0x1F",
                       b" resolve='dependent' dependency=\"spirit:decode(id('W')) div 8 - pow(2, 3)\">0"):
        yield head + space % expression + (b"<ipxact:parameters><ipxact:parameter parameterId='W'><ipxact:name>W"
                                           b"</ipxact:name><ipxact:value>32</ipxact:value></ipxact:parameter>"
                                           b"</ipxact:parameters></ipxact:component>")


def lines(*paths):
    for path in paths:
        yield from path.read_bytes().splitlines()


def seeds():
    names = [name for name, _ in members()]
    kernel = (VADD / "kernel.xml").read_bytes()
    profile = (VADD / "design.xml").read_bytes()
    inner = profile[profile.index(b"<profile"):]
    yield "archive", archives()
    yield "edit", (path.read_bytes()[:128] for path in sorted(EXAMPLES.rglob("*.*")) if path.is_file())
    yield "hdl", [ENTITY, *(path.read_bytes()[:4096] for path in sorted(VADD.rglob("*.v")))]
    yield "ip", components()
    yield "kernel", [kernel, kernel.replace(b"</root>", inner + b"</root>")]
    yield "manifest", [MANIFEST.encode()]
    yield "pieces", (bytes([step]) + 16 * profile + bytes(range(256)) * 64 for step in (0, 20, 80, 140, 200, 255))
    yield "profile", [profile]
    yield "explorer", ["\n".join(["vadd", file] + names).encode() for file in ("component.xml", "kernel.xml")]
    yield "words", {word for line in lines(EXAMPLES / "host/host.tcl") for word in [line, *line.split()]}


for program, inputs in seeds():
    directory = Path(sys.argv[1]) / program
    directory.mkdir(parents=True, exist_ok=True)
    for number, content in enumerate(sorted(inputs)):
        (directory / str(number)).write_bytes(content)
