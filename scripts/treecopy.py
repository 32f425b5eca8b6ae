"""A copy of the tree that is built with changes: what it takes to build the libraries, the host and the tests."""

import shutil

FOLDERS = ["Kob", "platform", "FyrL3Intf", "agent", "tests", "cmake"]
FILES = ["CMakeLists.txt", "CMakePresets.json"]


def update(root, copy, changed=frozenset()):
    """Brings the copy up to date; files that are the same stay as old as they are, and are not built again. Those of
    `changed`, as they stand in the copy, are left to the caller."""
    copy.mkdir(parents=True, exist_ok=True)
    present = set()
    originals = [root / name for name in FILES]
    originals += [path for folder in FOLDERS for path in (root / folder).rglob("*") if path.is_file()]
    for original in originals:
        place = copy / original.relative_to(root)
        present.add(place)
        place.parent.mkdir(parents=True, exist_ok=True)
        if place not in changed and (not place.exists() or place.read_bytes() != original.read_bytes()):
            shutil.copyfile(original, place)
    for place in copy.rglob("*"):
        if place.is_file() and place not in present:
            place.unlink()
