#!/usr/bin/env python3
"""opencue_outline.py SCENE OUTPUT FRAMES [CHUNK]: an OpenCue job of a scene's frames, and after them a contact sheet.

Needs OpenCue's packages "outline" and "opencue". OpenCue gives a task its processors in CUE_THREADS, which nimbrel-render
goes by. SCENE and OUTPUT (such as /shots/a/out/a.####.png) are paths on the render hosts; FRAMES is a range such as 0-47.
"""

import os
import sys

from outline import Outline, cuerun
from outline.modules.shell import Shell


def make_outline(scene, output, frames, chunk):
    name = os.path.splitext(os.path.basename(scene))[0]
    job = Outline("nimbrel_" + name, shot=os.environ.get("SHOT", "shot"), show=os.environ.get("SHOW", "show"))
    # A task's first frame is known to its command line alone; the last one of a chunk is counted from it.
    last = int(frames.split("-")[-1])
    render = Shell(
        "render",
        command=["bash", "-c",
                 'first=$1 last=$((first + $2 - 1)); [ "$last" -le "$3" ] || last=$3;'
                 ' exec nimbrel-render "$4" --frames "$first-$last" --output "$5" --skip-existing --log lines',
                 "render", "#IFRAME#", str(chunk), str(last), scene, output],
        range=frames, chunk=chunk, threads=4, threadable=True)
    job.add_layer(render)
    if output.endswith(".png"):
        folder = os.path.dirname(output) or "."
        sheet = Shell("sheet", command=["bash", "-c", 'cd "$1" && rm -f sheet.png && nimbrel-contact-sheet *.png --columns 8 -o sheet.png',
                                        "sheet", folder], range="1")
        sheet.depend_on(render)
        job.add_layer(sheet)
    return job


if __name__ == "__main__":
    if len(sys.argv) not in (4, 5):
        sys.exit(__doc__)
    cuerun.launch(make_outline(*sys.argv[1:4], int(sys.argv[4]) if len(sys.argv) == 5 else 8), use_pycuerun=False)
