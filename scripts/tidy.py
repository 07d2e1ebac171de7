#!/usr/bin/env python3
"""clang-tidy over the core, two files at a time or as many as there are processors.

  scripts/tidy.py <build folder with compile_commands.json>

What has passed once is not looked at again as long as the file, all that it includes, the checks
and the program are the same: ~/.cache/veltraneflow/tidy remembers that, for a month.
"""
import concurrent.futures
import hashlib
import json
import os
import pathlib
import shlex
import subprocess
import sys
import time

ROOT = pathlib.Path(__file__).resolve().parent.parent
KEPT_SECONDS = 30 * 24 * 3600


def memory():
    cache = os.environ.get('XDG_CACHE_HOME') or pathlib.Path.home() / '.cache'
    folder = pathlib.Path(cache) / 'veltraneflow' / 'tidy'
    folder.mkdir(parents=True, exist_ok=True)
    for mark in folder.iterdir():
        if time.time() - mark.stat().st_mtime > KEPT_SECONDS:
            mark.unlink(missing_ok=True)
    return folder


def preprocessed(entry):
    """As the compiler sees it, with the comments, for some switch a check off; without places."""
    words = shlex.split(entry['command'])
    del words[words.index('-o'):words.index('-o') + 2]
    words.remove('-c')
    words = words[1:] if pathlib.Path(words[0]).name == 'ccache' else words
    return subprocess.run(words + ['-E', '-P', '-C'], cwd=entry['directory'], check=True,
                          stdout=subprocess.PIPE).stdout


def check(entry, build, folder, rules):
    """What clang-tidy has to say; empty when nothing."""
    key = hashlib.sha256(rules + preprocessed(entry)).hexdigest()
    mark = folder / key
    if not mark.exists():
        run = subprocess.run(['clang-tidy', '-p', build, '--quiet', entry['file']], cwd=ROOT,
                             stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True)
        if run.returncode != 0:
            return run.stdout or f'{entry["file"]}: clang-tidy ended with {run.returncode}\n'
    mark.touch()
    return ''


def main(build):
    entries = json.loads(pathlib.Path(build, 'compile_commands.json').read_text())
    core = [e for e in entries if pathlib.Path(e['file']).is_relative_to(ROOT / 'veltrane')]
    version = subprocess.run(['clang-tidy', '--version'], check=True, stdout=subprocess.PIPE).stdout
    rules = version + (ROOT / '.clang-tidy').read_bytes()
    folder = memory()
    with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
        said = list(pool.map(lambda entry: check(entry, build, folder, rules), core))
    sys.stdout.writelines(said)
    print(f'{len(core)} files, {sum(map(bool, said))} with findings')
    return 1 if any(said) or not core else 0


if __name__ == '__main__':
    if len(sys.argv) != 2:
        sys.exit(__doc__)
    sys.exit(main(sys.argv[1]))
