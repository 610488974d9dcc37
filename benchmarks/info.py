"""What a script would do to tell the kernels of a package: the peer of `kp info --json`, with the same answer."""

import json
import sys
import zipfile
from collections import defaultdict
from xml.etree import ElementTree

KERNEL = "name language vlnv preferredWorkGroupSizeMultiple workGroupSize".split()
FILES = {"sourceFiles": "cpu_sources", "swEmuFiles": "sw_emu", "pdiFiles": "pdi"}
ARG = "name addressQualifier id port size offset hostOffset hostSize type".split()
PORT = "name mode range dataWidth portType base".split()


def elements(kernel, tag, keys):
    return [{key: element.get(key, "") for key in keys} for element in kernel.iter(tag)] or ""


with zipfile.ZipFile(sys.argv[1]) as archive:
    folders = defaultdict(list)
    for member in archive.namelist():
        folders[member.rpartition("/")[0]].append(member)
    reports = []
    for listed in ElementTree.fromstring(archive.read("kp.xml")).iter("Kernel"):
        folder = listed.get("Dir")
        kernel = ElementTree.fromstring(archive.read(f"{folder}/kernel.xml")).find("kernel")
        reports.append({**{key: kernel.get(key, "") for key in KERNEL},
                        **{key: [{"path": name} for name in folders[f"{folder}/{below}"]] or ""
                           for key, below in FILES.items()},
                        "args": elements(kernel, "arg", ARG),
                        "ports": elements(kernel, "port", PORT)})
json.dump({"kernelDefs": reports}, sys.stdout, indent=4)
