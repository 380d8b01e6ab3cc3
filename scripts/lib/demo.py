"""The demonstration's sample home, and the check of what reached its drive.

usage: demo.py make HOME | demo.py verify HOME DRIVE"""

import filecmp
import math
import os
import struct
import sys
import wave
import zlib

KINDS = ("Movies", "Music", "Pictures")
# What the default device class admits by its name alone.
ADMITTED = (".mp3", ".wav", ".aiff", ".aac", ".bmp", ".gif", ".jpg", ".jpeg", ".png", ".tif", ".tiff", ".pdf", ".txt",
            ".rtf", ".html", ".doc", ".docx")


def tone(path, seconds, hertz):
    with wave.open(path, "wb") as file:
        file.setnchannels(2)
        file.setsampwidth(2)
        file.setframerate(44100)
        period = b"".join(struct.pack("<hh", value, -value) for value in
                          (int(9000 * math.sin(2 * math.pi * hertz * i / 44100)) for i in range(44100)))
        file.writeframes(period * seconds)


def picture(path, width, height, seed):
    def chunk(kind, data):
        return struct.pack(">I", len(data)) + kind + data + struct.pack(">I", zlib.crc32(kind + data))

    rows = b"".join(b"\0" + bytes(((x * seed) ^ (y * 3 + channel * 85)) & 255 for x in range(width) for channel in range(3))
                    for y in range(height))
    with open(path, "wb") as file:
        file.write(b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", struct.pack(">IIBBBBB", width, height, 8, 2, 0, 0, 0)) +
                   chunk(b"IDAT", zlib.compress(rows, 1)) + chunk(b"IEND", b""))


def written(path, data):
    with open(path, "wb") as file:
        file.write(data)


def make(home):
    for folder in ("Movies/Summer 2012", "Music/Field recordings", "Pictures/Frühling im Park", "Pictures/夏祭り"):
        os.makedirs(os.path.join(home, folder))
    at = lambda path: os.path.join(home, path)
    tone(at("Music/Field recordings/Tuning fork, 440 Hz.wav"), 30, 440)
    tone(at("Music/Field recordings/Mains hum.wav"), 3, 50)
    tone(at("Music/Übung Nr. 1.wav"), 12, 262)
    picture(at("Pictures/Frühling im Park/Bäume am See.png"), 400, 300, 7)
    picture(at("Pictures/Frühling im Park/Brücke.png"), 320, 240, 11)
    picture(at("Pictures/夏祭り/花火 1.png"), 240, 320, 13)
    picture(at("Pictures/Cover - front (final) 100%.png"), 256, 256, 3)
    written(at("Pictures/empty note.txt"), b"")
    written(at("Movies/Summer 2012/Cut list.txt"), "00:00 Strand\n01:30 Fähre nach Rømø\n".encode() * 200)
    picture(at("Movies/Summer 2012/Poster.png"), 300, 420, 5)
    # A movie without a track: no device class can say that it would play, so it stays at home.
    written(at("Movies/Summer 2012/Unfinished.mov"), struct.pack(">I4s4sI4s", 20, b"ftyp", b"qt  ", 0, b"qt  ") +
            struct.pack(">I4s", 65544, b"mdat") + bytes(65536))
    written(at("Movies/backup.part"), bytes(range(256)) * 64)

    os.chmod(at("Music/Field recordings/Mains hum.wav"), 0o604)
    os.chmod(at("Pictures/Frühling im Park/Brücke.png"), 0o440)
    try:
        os.setxattr(at("Pictures/Cover - front (final) 100%.png"), "user.comment", "printed twice".encode())
    except OSError as error:
        print(f"(no extended attributes here: {error.strerror})", file=sys.stderr)
    moment = 1369145000_123456789
    for number, path in enumerate(sorted(all_files(home))):
        date = moment + number * 86_400_000_000_017
        os.utime(at(path), ns=(date, date))


def all_files(top):
    return [os.path.relpath(os.path.join(folder, name), top)
            for kind in KINDS for folder, _, names in os.walk(os.path.join(top, kind)) for name in names]


def differences(source, copy):
    """What of one file is not the same on the drive."""
    here, there = os.lstat(source), os.lstat(copy)
    attributes = [{name: os.getxattr(path, name) for name in os.listxattr(path) if name.startswith("user.")}
                  for path in (source, copy)]
    return [name for name, same in (("bytes", filecmp.cmp(source, copy, shallow=False)),
                                    ("date", here.st_mtime_ns == there.st_mtime_ns),
                                    ("mode", here.st_mode == there.st_mode),
                                    ("extended attributes", attributes[0] == attributes[1])) if not same]


def size_text(size):
    """In the units that vantaroctl prints."""
    if size < 1000:
        return f"{size} bytes"
    return f"{size / 1e3:.1f} KB" if size < 999_500 else f"{size / 1e6:.1f} MB"


def verify(home, drive):
    tops = [name for name in os.listdir(drive) if any(os.path.isdir(os.path.join(drive, name, kind)) for kind in KINDS)]
    if len(tops) != 1:
        print(f"demo: expected one folder of copies on {drive}, found {tops}")
        return 1
    copies = os.path.join(drive, tops[0])
    wrong, kept, held, total, copied = [], [], None, 0, 0
    print(f"\nOn the drive, below {os.path.relpath(copies)}/")
    present = set(all_files(copies))
    for path in sorted(present, key=os.path.split):
        folder, name = os.path.split(path)
        if folder != held:
            print(f"  {folder}/")
            held = folder
        source, copy = os.path.join(home, path), os.path.join(copies, path)
        size = os.lstat(copy).st_size
        differ = differences(source, copy) if os.path.lexists(source) else ["everything: not in the home folder"]
        wrong += [f"{path}: {', '.join(differ)} differ"] if differ else []
        print(f"    {size_text(size):>12}  {name}{'   DIFFERS' if differ else ''}")
        total += size
        copied += 1
    for path in sorted(set(all_files(home)) - present):
        (wrong if path.lower().endswith(ADMITTED) else kept).append(path)
    print(f"\n{copied} files, {size_text(total)}.")
    if not wrong:
        print("Bytes, dates to the nanosecond, modes and extended attributes are the same.")
    if kept:
        print("Left at home by the drive's media filter:")
    for path in kept:
        print(f"    {path}")
    for line in wrong:
        print(f"WRONG: {line}")
    return 1 if wrong or not copied else 0


if __name__ == "__main__":
    if sys.argv[1:2] == ["make"] and len(sys.argv) == 3:
        make(sys.argv[2])
    elif sys.argv[1:2] == ["verify"] and len(sys.argv) == 4:
        sys.exit(verify(sys.argv[2], sys.argv[3]))
    else:
        sys.exit(__doc__)
