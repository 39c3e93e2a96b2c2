# Copyright (c) 2026 the VX authors.
# SPDX-License-Identifier: BSD-3-Clause
"""symbols.py LIBRARY HEADERS: compares the exported symbols of libVX with its headers.

Every dynamic symbol must match ALLOWED, and every name that a header marks with VX_API must be
exported.
"""

import pathlib
import re
import subprocess
import sys

ALLOWED = re.compile(
    r"""(VX_1$                                                  # the version itself
        |VX_\w+ | VXp_G_\w+                                     # functions, classes and data
        |VXp_(GaussianValue|WorldDepth|GetPixelFormat|PixelFormatToDepth|SetWorldDepth)\(
        |(vtable|typeinfo|typeinfo\ name)\ for\ VX_\w+          # of exported classes
        |int\ (VX_GetInnerBlendingFunc|VX_BlendPipeline)<       # symbols of templates begin with the result type
        |void\ VX_BlendSingleChannel<
        |int\ (VX_Deinterleave1|VX_Interleave1to4|VX_SplitPlanes|VX_JoinPlanes|VX_AreaSample_CPlusPlus)<
    )""", re.VERBOSE)
# "VX_API int32_t VX_Name(", "extern VX_API const uint8_t* VX_name;", "class VX_API VX_Name".
PROMISED = re.compile(
    r"(?:class|struct) VX_API (\w+)(?= *[:{])|VX_API [^;(){}]*?(\w+) ?(?:\(|\[|;)")
# Plain records have no symbols.
RECORDS = {"VX_Pixel8", "VX_Pixel16", "VX_PixelFloat", "VX_PixelDouble", "VX_PixelContainer"}


def main(library, headers):
    lines = subprocess.run(["nm", "-DC", "--defined-only", library], check=True,
                           capture_output=True, text=True).stdout.splitlines()
    names = [re.sub(r"@@?VX_1$", "", re.sub(r"^\S* *\S ", "", line)) for line in lines]
    strangers = [name for name in names if not ALLOWED.match(name)]

    text = "".join(path.read_text() for path in sorted(pathlib.Path(headers).glob("*.h")))
    text = re.sub(r"//.*|^#.*", "", text, flags=re.M)
    promised = {a or b for a, b in PROMISED.findall(text)} - RECORDS
    # A name is exported as function, as data, as instance of a template, or as class of a member.
    exported = " " + "\n ".join(re.sub(r"<.*?>", "", name) for name in names)
    missing = [n for n in sorted(promised) if not re.search(rf"[ :]{n}(\W|$)", exported, re.M)]

    for name in strangers:
        print("exported, but no name of ours:", name)
    for name in missing:
        print("promised by a header, but not exported:", name)
    print(f"{len(names)} symbols, {len(promised)} promised names")
    return 1 if strangers or missing or len(promised) < 50 else 0


sys.exit(main(*sys.argv[1:]))
