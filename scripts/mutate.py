"""Puts small faults into the product, one at a time, and tells which of them no test notices. See scripts/mutate.sh."""

import argparse
import atexit
import collections
import concurrent.futures
import ctypes
import dataclasses
import fcntl
import hashlib
import json
import os
import pathlib
import random
import resource
import shutil
import signal
import subprocess
import sys
import threading
import time

import mutations

ROOT = pathlib.Path(__file__).resolve().parent.parent
WORK = ROOT / 'build' / 'mutate'
# Bounds of a mutant: what its programs may use beyond what the sound ones do.
SECONDS_MORE, TIMES_AS_LONG = 10, 5
MOST_MEMORY = 3 << 30
MOST_OF_A_FILE = 16 << 30
# What is started ends with this program, however that ends.
PR_SET_PDEATHSIG = 1
libc = ctypes.CDLL(None)


def folders():
    """The folders that hold sources of the product, each with the name of its own test program."""
    result = {'monitor': 'monitor_test'}
    for folder in sorted((ROOT / 'runtime').iterdir()):
        if folder.is_dir():
            result[f'runtime/{folder.name}'] = f'{folder.name}_test'
    result['tools/kvctl'] = 'kvctl_test'
    return result


@dataclasses.dataclass
class Candidate:
    folder: str
    path: str  # of the source, from the root
    source: str
    mutation: mutations.Mutation
    key: str

    def show(self):
        line, before, after = self.mutation.describe(self.source)
        text = f'{self.path}:{line}: {self.mutation.kind}\n'
        for mark, lines in (('-', before), ('+', after)):
            text += ''.join(f'  {mark} {part}\n' for part in lines.splitlines())
        return text


def candidates(folder, seed):
    """All changes of a folder in the order in which they are tried: kinds in turn, each in an order of its own.

    The order depends on the seed and on the change and its surroundings alone, so that it stays when other places of
    the sources change.
    """
    by_kind = collections.defaultdict(list)
    for path in sorted((ROOT / folder).glob('*.cpp')):
        source = path.read_text(encoding='utf-8')
        name = str(path.relative_to(ROOT))
        seen = collections.Counter()
        for mutation in mutations.mutations_of(source):
            _, before, after = mutation.describe(source)
            seen[before, after] += 1
            identity = f'{seed}\0{name}\0{before}\0{after}\0{seen[before, after]}'
            key = hashlib.sha256(identity.encode()).hexdigest()
            by_kind[mutation.kind].append(Candidate(folder, name, source, mutation, key))
    for kind in by_kind.values():
        kind.sort(key=lambda c: c.key)
    draw = random.Random(f'{seed} {folder}')
    while by_kind:
        kind = draw.choice(sorted(by_kind))
        yield by_kind[kind].pop(0)
        if not by_kind[kind]:
            del by_kind[kind]


class Tree:
    """A copy of the sources with a build of its own, in which one fault at a time is put and tried."""

    def __init__(self, number):
        self.root = WORK / str(number)
        self.build = self.root / 'build' / 'mutate'
        memory = pathlib.Path('/dev/shm' if os.path.isdir('/dev/shm') else '/tmp')
        self.temporary = memory / f'kvmutate{os.getpid()}-{number}'
        self.seconds = {}  # what each sound test program takes

    def copy_sources(self, files):
        """Brings the copy up to date, leaving the times of what has not changed."""
        self.root.mkdir(parents=True, exist_ok=True)
        wanted = set(files)
        listed = self.root / '.copied'
        for old in (listed.read_text().splitlines() if listed.exists() else []):
            if old not in wanted:
                (self.root / old).unlink(missing_ok=True)
        for name in files:
            source, copy = ROOT / name, self.root / name
            if copy.exists() and copy.read_bytes() == source.read_bytes():
                continue
            copy.parent.mkdir(parents=True, exist_ok=True)
            shutil.copyfile(source, copy)
            shutil.copymode(source, copy)
        listed.write_text('\n'.join(files))

    def run(self, command, seconds=None):
        """True, or why it failed. What it starts is ended with it."""
        def bound():
            libc.prctl(PR_SET_PDEATHSIG, signal.SIGKILL)
            resource.setrlimit(resource.RLIMIT_FSIZE, (MOST_OF_A_FILE, MOST_OF_A_FILE))
            if seconds is not None:
                resource.setrlimit(resource.RLIMIT_AS, (MOST_MEMORY, MOST_MEMORY))
                resource.setrlimit(resource.RLIMIT_CORE, (0, 0))
        environment = dict(os.environ, TMPDIR=str(self.temporary), HOME=str(self.temporary),
                           CCACHE_BASEDIR=str(self.root), CCACHE_NOHASHDIR='1',
                           CCACHE_DIR=os.environ.get('CCACHE_DIR', str(WORK / 'ccache')),
                           CCACHE_SLOPPINESS='pch_defines,time_macros')
        with open(self.root / 'log', 'wb') as log:
            process = subprocess.Popen(command, cwd=self.root, env=environment, stdin=subprocess.DEVNULL, stdout=log,
                                       stderr=log, start_new_session=True, preexec_fn=bound)
            try:
                return process.wait(seconds) == 0
            except subprocess.TimeoutExpired:
                return 'hang'
            finally:
                try:
                    os.killpg(process.pid, signal.SIGKILL)
                except ProcessLookupError:
                    pass
                process.wait()

    def make(self, *targets):
        return self.run(['ninja', '-C', str(self.build), *targets]) is True

    def log(self):
        return (self.root / 'log').read_text(errors='replace')

    def prepare(self, files, programs):
        """Builds the sound product and measures its tests."""
        self.temporary.mkdir(exist_ok=True)
        atexit.register(shutil.rmtree, self.temporary, ignore_errors=True)
        self.copy_sources(files)
        if self.run(['cmake', '--preset', 'mutate']) is not True or not self.make(*programs):
            sys.exit(f'mutate: the sound product does not build:\n{self.log()[-3000:]}')
        for program in programs:
            begin = time.monotonic()
            if not self.test(program, 600):
                sys.exit(f'mutate: {program} fails on the sound product:\n{self.log()[-3000:]}')
            self.seconds[program] = time.monotonic() - begin

    def test(self, program, seconds):
        shutil.rmtree(self.temporary, ignore_errors=True)
        self.temporary.mkdir()
        return self.run([str(self.build / 'bin' / program), '--gtest_brief=1', '--gtest_fail_fast'], seconds) is True

    def object_of(self, path):
        """The target that is compiled from a source."""
        folder, name = path.split('/', 1)
        if folder == 'tools':
            folder, name = path.rsplit('/', 1)
        library = {'monitor': 'kv_monitor', 'runtime': 'kv_runtime', 'tools/kvctl': 'kvctl_commands'}[folder]
        if path == 'monitor/dll_main.cpp':
            library = 'kvmon8'
        if path == 'tools/kvctl/main.cpp':
            library = 'kvctl'
        return f'{folder}/CMakeFiles/{library}.dir/{name}.o'

    def verdict(self, candidate, own, programs):
        """invalid, same, or the program that noticed the fault, or survived."""
        copy = self.root / candidate.path
        target = self.object_of(candidate.path)
        sound = (self.build / target).read_bytes() if (self.build / target).exists() else None
        try:
            copy.write_text(candidate.mutation.apply(candidate.source), encoding='utf-8')
            if not self.make(target):
                return 'invalid'
            if (self.build / target).read_bytes() == sound:
                return 'same'
            for program in [own] + [p for p in programs if p != own]:
                if not self.make(program):
                    return 'invalid'
                if not self.test(program, SECONDS_MORE + TIMES_AS_LONG * self.seconds[program]):
                    return program
            return 'survived'
        finally:
            copy.write_text(candidate.source, encoding='utf-8')
            self.make(target)


class Results:
    """The verdicts of this and of interrupted runs, a line each."""

    def __init__(self, path, state):
        self.path, self.state, self.verdicts = path, state, {}
        if path.exists():
            for line in path.read_text().splitlines():
                record = json.loads(line)
                if record['state'] == state:
                    self.verdicts[record['key']] = record['verdict']

    def add(self, key, verdict):
        self.verdicts[key] = verdict
        with open(self.path, 'a') as file:
            file.write(json.dumps({'state': self.state, 'key': key, 'verdict': verdict}) + '\n')


def try_folder(folder, own, programs, arguments, results, trees):
    """Tries changes of one folder until `count` of them have a verdict; (candidate, verdict) of these."""
    source = candidates(folder, arguments.seed)
    order, lock = [], threading.Lock()

    def worker(tree):
        while True:
            with lock:
                done = [results.verdicts.get(c.key) for c in order]
                if sum(v not in ('invalid', 'same') for v in done) >= arguments.count:
                    return
                candidate = next(source, None)
                if candidate is None:
                    return
                order.append(candidate)
                if candidate.key in results.verdicts:
                    continue
            verdict = tree.verdict(candidate, own, programs)
            with lock:
                results.add(candidate.key, verdict)
                if verdict == 'survived':
                    print(candidate.show(), flush=True)

    with concurrent.futures.ThreadPoolExecutor(len(trees)) as pool:
        for future in [pool.submit(worker, tree) for tree in trees]:
            future.result()
    tried = [(c, results.verdicts[c.key]) for c in order]
    return [(c, v) for c, v in tried if v not in ('invalid', 'same')][:arguments.count]


def main():
    all_folders = folders()
    parser = argparse.ArgumentParser(prog='scripts/mutate.sh', description=__doc__)
    parser.add_argument('--count', type=int, default=100, help='changes a folder that build and do something (100)')
    parser.add_argument('--seed', default='1', help='another seed, other changes')
    parser.add_argument('--jobs', type=int, default=os.cpu_count(), help='builds side by side')
    parser.add_argument('--own', action='store_true', help="try the folder's own test program and no other")
    parser.add_argument('--list', action='store_true', help='show the changes and try none')
    parser.add_argument('--survivors', action='store_true', help='show those that survived again, at the end')
    parser.add_argument('folders', nargs='*', metavar='FOLDER', help=', '.join(all_folders))
    arguments = parser.parse_args()
    chosen = [f.rstrip('/') for f in arguments.folders] or list(all_folders)
    for folder in chosen:
        if folder not in all_folders:
            parser.error(f'no such folder: {folder}')
    if arguments.list:
        for folder in chosen:
            for candidate, _ in zip(candidates(folder, arguments.seed), range(arguments.count)):
                print(candidate.show())
        return
    names = subprocess.run(['git', 'ls-files', '-z', '--cached', '--others', '--exclude-standard'], cwd=ROOT,
                           capture_output=True, check=True).stdout.decode().split('\0')
    files = sorted(n for n in names if n and (ROOT / n).is_file() and not n.startswith('docs/'))
    digest = hashlib.sha256()
    for name in files:
        if name.endswith(('.cpp', '.h', '.S', '.rc', '.txt', '.cmake', '.json')):
            digest.update(name.encode() + (ROOT / name).read_bytes())
    programs = list(dict.fromkeys(all_folders.values())) + ['sweep_test']
    if arguments.own:
        programs = [p for p in programs if p in {all_folders[f] for f in chosen}]
        digest.update(b'own')
    WORK.mkdir(parents=True, exist_ok=True)
    lock = open(WORK / 'lock', 'w')
    try:
        fcntl.flock(lock, fcntl.LOCK_EX | fcntl.LOCK_NB)
    except BlockingIOError:
        sys.exit(f'mutate: another run works in {WORK}')
    results = Results(WORK / 'verdicts.jsonl', digest.hexdigest())
    trees = [Tree(number) for number in range(arguments.jobs)]
    for tree in trees:
        tree.prepare(files, programs)

    begin, total = time.monotonic(), collections.Counter()
    rows, survivors = [], []
    for folder in chosen:
        own = all_folders[folder]
        tried = try_folder(folder, own, [own] if arguments.own else programs, arguments, results, trees)
        row = collections.Counter('own' if v == own else 'survived' if v == 'survived' else 'others' for _, v in tried)
        row['made'] = len(tried)
        total.update(row)
        rows.append((folder, row))
        survivors += [c for c, v in tried if v == 'survived']
    if arguments.survivors:
        for candidate in survivors:
            print(candidate.show())
    print(f'{"folder":<20}{"made":>8}{"own":>8}{"others":>8}{"survived":>10}')
    for folder, row in rows + [('all', total)]:
        print(f'{folder:<20}{row["made"]:>8}{row["own"]:>8}{row["others"]:>8}{row["survived"]:>10}')
    print(f'{time.monotonic() - begin:.0f} s', file=sys.stderr)


if __name__ == '__main__':
    main()
