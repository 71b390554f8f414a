#!/usr/bin/env python3
"""Makes damaged media for the robustness test: small clips of each container
the player takes, generated with ffmpeg, then cut, bit-flipped, zeroed and
spliced onto each other, plus the entries a file system can hold that are no
media at all (an empty file, a folder, a FIFO).

Usage: make_broken_media.py OUT_DIR
Prints one generated path a line, in playing order. Every case is a fixed
recipe with a fixed seed, so a failure names a file that comes back the same
on the next run.
"""

import os
import random
import subprocess
import sys

# Every source is this long; the test allows each entry this plus its margin.
SOURCE_SECONDS = 2

VIDEO = f"testsrc2=size=160x120:rate=10:duration={SOURCE_SECONDS}"
AUDIO = f"sine=frequency=440:sample_rate=22050:duration={SOURCE_SECONDS}"

# name -> (inputs, codec arguments). Each container with the codecs it
# usually carries, kept tiny so that generation takes well under a second.
SOURCES = {
    "mp4": (["video", "audio"], ["-c:v", "libx264", "-preset", "ultrafast", "-g", "10",
                                 "-c:a", "aac", "-b:a", "32k"]),
    "mkv": (["video", "audio"], ["-c:v", "libx264", "-preset", "ultrafast", "-g", "10",
                                 "-c:a", "libvorbis"]),
    "webm": (["video", "audio"], ["-c:v", "libvpx", "-deadline", "realtime", "-b:v", "100k",
                                  "-c:a", "libopus", "-b:a", "32k"]),
    "ts": (["video", "audio"], ["-c:v", "mpeg2video", "-c:a", "mp2", "-b:a", "64k"]),
    "mp3": (["audio"], ["-c:a", "libmp3lame", "-b:a", "32k"]),
    "flac": (["audio"], ["-c:a", "flac"]),
    "ogg": (["audio"], ["-c:a", "libvorbis"]),
}


def make_source(out_dir, name):
    inputs, codec = SOURCES[name]
    args = ["ffmpeg", "-nostdin", "-v", "error", "-y", "-threads", "1"]
    for kind in inputs:
        args += ["-f", "lavfi", "-i", VIDEO if kind == "video" else AUDIO]
    path = os.path.join(out_dir, f"source.{name}")
    subprocess.run(args + codec + [path], check=True)
    with open(path, "rb") as source:
        data = source.read()
    os.remove(path)
    return data


def truncated(data, fraction):
    return data[: max(1, int(len(data) * fraction))]


def bit_flipped(data, seed, flips):
    # The first 512 bytes stay: the damage lands in the payload, past the
    # part a demuxer recognises the container by.
    rng = random.Random(seed)
    out = bytearray(data)
    for _ in range(flips):
        at = rng.randrange(min(512, len(out) - 1), len(out))
        out[at] ^= 1 << rng.randrange(8)
    return bytes(out)


def zeroed(data, start_fraction, length_fraction):
    start = int(len(data) * start_fraction)
    end = min(len(data), start + max(1, int(len(data) * length_fraction)))
    return data[:start] + bytes(end - start) + data[end:]


def spliced(head, body):
    # The first tenth of one container (its header) on the rest of another.
    cut_head = max(64, len(head) // 10)
    cut_body = max(64, len(body) // 10)
    return head[:cut_head] + body[cut_body:]


def main():
    if len(sys.argv) != 2:
        sys.exit(__doc__)
    out_dir = sys.argv[1]
    os.makedirs(out_dir, exist_ok=True)
    names = list(SOURCES)
    sources = {name: make_source(out_dir, name) for name in names}

    cases = []  # (file name, bytes)
    for index, name in enumerate(names):
        data = sources[name]
        for fraction in (0.02, 0.25, 0.5, 0.75, 0.97):
            cases.append((f"cut{int(fraction * 100):02d}.{name}", truncated(data, fraction)))
        for seed, flips in ((1, 4), (2, 40), (3, 400)):
            cases.append((f"flip{flips}.{name}", bit_flipped(data, seed * 100 + index, flips)))
        for start, length in ((0.1, 0.02), (0.4, 0.25), (0.9, 0.1)):
            cases.append((f"zero{int(start * 100)}.{name}", zeroed(data, start, length)))
        for step in (1, 3):
            other = names[(index + step) % len(names)]
            cases.append((f"head-{name}-body-{other}.{name}", spliced(data, sources[other])))
        # A whole file under another container's name.
        wrong = names[(index + 1) % len(names)]
        cases.append((f"really-{name}.{wrong}", data))

    paths = []
    for file_name, data in cases:
        path = os.path.join(out_dir, file_name)
        with open(path, "wb") as out:
            out.write(data)
        paths.append(path)

    empty = os.path.join(out_dir, "empty.mkv")
    open(empty, "wb").close()
    folder = os.path.join(out_dir, "x.mkv")
    os.makedirs(folder, exist_ok=True)
    fifo = os.path.join(out_dir, "fifo.mp4")
    if not os.path.exists(fifo):
        os.mkfifo(fifo)
    # The entries that are no media sit among the others, not only at the end.
    paths[10:10] = [empty]
    paths[40:40] = [folder]
    paths[70:70] = [fifo]
    print("\n".join(paths))


if __name__ == "__main__":
    main()
