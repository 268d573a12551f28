#!/usr/bin/python3
"""Mutation score of the unit tests: how many small faults in the library they catch.

Each mutant is one small change to one line of the library's sources:
  cmp     a comparison flipped (<  >=, >  <=, ==  !=)
  arith   an arithmetic sign flipped (+  -)
  const   an integer constant moved by one (n  n+1, n-1)
  logic   && and || swapped
  not     a ! dropped
  return  a returned value negated (return x;  return !(x);)

For each mutant the script writes the changed line, rebuilds the unit tests incrementally,
runs them with a timeout, and restores the file (also on Ctrl-C or a kill). A mutant is
killed when the tests fail or time out, survives when they pass, and is "not compiled" when
the build fails. The report lists every survivor's diff.

Sampling is deterministic and stable: each candidate gets a key from the seed, its file and
the text of its line (not the line number), and the N lowest keys are tried. So a run before
and after a change to the tests tries the same mutants wherever the library's lines are the
same. Vector files (_sse41, _avx2, ... and the intrinsics headers they include) are left
out unless --vector is given.

It is a tool for people, not part of the test command. A run of 80 mutants takes about
half an hour on two busy cores; limit it with --count and --folder.

  scripts/mutants.py --seed 1 --count 80 [--folder src/morph] [--timeout 120]
                     [--build build/mutants] [--report mutants.txt] [--vector]
"""
import argparse
import difflib
import hashlib
import os
import re
import signal
import subprocess
import sys
import time

ROOT = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
VECTOR_FILE = re.compile(r'_(sse\d*|avx\w*)\.(cpp|h)$')

# Binary operators are written with spaces around them in this code base, so " < " is a
# comparison and never a template bracket or a stream shift.
SPACED = [(' < ', ' >= ', 'cmp'), (' >= ', ' < ', 'cmp'), (' > ', ' <= ', 'cmp'),
          (' <= ', ' > ', 'cmp'), (' == ', ' != ', 'cmp'), (' != ', ' == ', 'cmp'),
          (' + ', ' - ', 'arith'), (' - ', ' + ', 'arith'),
          (' && ', ' || ', 'logic'), (' || ', ' && ', 'logic')]
CONSTANT = re.compile(r'(?<![\w.])(\d+)(?![\w.])')
DROP_NOT = re.compile(r'(?<![\w)\]])!(?!=)')
RETURN = re.compile(r'^(\s*return )(.+);(\s*(//.*)?)$')


def code_part(line):
    """The line without a trailing // comment and with string and char literals blanked, so
    candidates are only looked for in code."""
    out, i, quote = [], 0, None
    while i < len(line):
        c = line[i]
        if quote:
            if c == '\\':
                out.append('  ')
                i += 2
                continue
            out.append(' ' if c != quote else c)
            if c == quote:
                quote = None
        elif c in '"\'':
            quote = c
            out.append(c)
        elif line.startswith('//', i):
            break
        else:
            out.append(c)
        i += 1
    return ''.join(out)


def candidates(path, lines):
    """Every mutant of a file: (line index, new line, kind)."""
    found = []
    in_block_comment = False
    for n, line in enumerate(lines):
        stripped = line.strip()
        if in_block_comment:
            if '*/' in stripped:
                in_block_comment = False
            continue
        if stripped.startswith('/*'):
            in_block_comment = '*/' not in stripped
            continue
        if not stripped or stripped.startswith(('#', '//', '*')) or 'static_assert' in line:
            continue
        code = code_part(line)
        for old, new, kind in SPACED:
            start = 0
            while (at := code.find(old, start)) >= 0:
                found.append((n, line[:at] + new + line[at + len(old):], kind))
                start = at + 1
        for m in CONSTANT.finditer(code):
            # Array sizes and shifts of templates are left alone only when they do not
            # compile; the build says so.
            value = int(m.group(1))
            for moved in (value + 1, value - 1):
                if moved >= 0:
                    found.append((n, line[:m.start()] + str(moved) + line[m.end():], 'const'))
        for m in DROP_NOT.finditer(code):
            found.append((n, line[:m.start()] + line[m.end():], 'not'))
        m = RETURN.match(line)
        if m and m.group(2).strip() not in ('', 'nullptr', 'true', 'false') or (
                m and m.group(2).strip() in ('true', 'false')):
            value = m.group(2).strip()
            negated = {'true': 'false', 'false': 'true'}.get(value, '!(' + value + ')')
            found.append((n, m.group(1) + negated + ';' + m.group(3), 'return'))
    return found


def sample(folder, seed, count, vector):
    pool = []
    base = os.path.join(ROOT, folder)
    for directory, _, files in sorted(os.walk(base)):
        for name in sorted(files):
            if not name.endswith(('.cpp', '.h')) or (VECTOR_FILE.search(name) and not vector):
                continue
            path = os.path.join(directory, name)
            with open(path, encoding='utf-8') as f:
                text = f.read()
            if '<immintrin.h>' in text and not vector:  # headers of the vector files
                continue
            lines = text.split('\n')
            rel = os.path.relpath(path, ROOT)
            seen = {}
            for n, new, kind in candidates(rel, lines):
                # Same line text, same change: same key, wherever the line has moved.
                ident = f'{seed}:{rel}:{lines[n].strip()}:{new.strip()}'
                seen[ident] = seen.get(ident, 0) + 1
                key = hashlib.sha1(f'{ident}:{seen[ident]}'.encode()).hexdigest()
                pool.append((key, rel, n, new, kind))
    pool.sort()
    return pool[:count], len(pool)


def run(cmd, timeout, cwd=ROOT):
    try:
        r = subprocess.run(cmd, cwd=cwd, stdout=subprocess.PIPE, stderr=subprocess.STDOUT,
                           timeout=timeout, start_new_session=True)
        return r.returncode, r.stdout.decode(errors='replace')
    except subprocess.TimeoutExpired:
        return None, 'timeout'


class Restorer:
    """Puts a mutated file back however the script ends."""

    def __init__(self):
        self.path, self.text = None, None
        for sig in (signal.SIGINT, signal.SIGTERM, signal.SIGHUP):
            signal.signal(sig, self.stop)

    def mutate(self, path, text, new_text):
        self.path, self.text = path, text
        with open(path, 'w', encoding='utf-8') as f:
            f.write(new_text)

    def restore(self):
        if self.path:
            with open(self.path, 'w', encoding='utf-8') as f:
                f.write(self.text)
            self.path = None

    def stop(self, signum, _frame):
        self.restore()
        print(f'\nstopped by signal {signum}; sources restored', file=sys.stderr)
        sys.exit(130)


def main():
    ap = argparse.ArgumentParser(description=__doc__.split('\n')[0])
    ap.add_argument('--seed', type=int, default=1)
    ap.add_argument('--count', type=int, default=80)
    ap.add_argument('--folder', default='src')
    ap.add_argument('--vector', action='store_true', help='include the vector kernel files')
    ap.add_argument('--timeout', type=int, default=120, help='seconds per test run')
    ap.add_argument('--build', default='build/mutants')
    ap.add_argument('--report', default=None, help='also write the report to this file')
    ap.add_argument('--list', action='store_true', help='only list the sampled mutants')
    args = ap.parse_args()

    chosen, pool = sample(args.folder, args.seed, args.count, args.vector)
    print(f'{len(chosen)} of {pool} candidate mutants in {args.folder} (seed {args.seed})')
    if args.list:
        for _, rel, n, new, kind in chosen:
            print(f'{rel}:{n + 1}: [{kind}] {new.strip()}')
        return 0

    build = os.path.join(ROOT, args.build)
    tests = os.path.join(build, 'tests', 'quilp_tests')
    env_build = ['cmake', '--build', build, '--target', 'quilp_tests', '-j2']
    if not os.path.exists(os.path.join(build, 'CMakeCache.txt')):
        code, out = run(['cmake', '-S', ROOT, '-B', build, '-DCMAKE_BUILD_TYPE=Release',
                         '-DQUILP_BUILD_TESTS=ON', '-DQUILP_BUILD_BENCH=OFF',
                         ], None)
        if code != 0:
            print(out)
            return 1
    code, out = run(env_build, None)
    if code != 0:
        print(out[-3000:])
        print('the unmutated library does not build')
        return 1
    start = time.time()
    code, out = run([tests, '--gtest_brief=1'], args.timeout * 4)
    if code != 0:
        print(out[-3000:])
        print('the unmutated tests do not pass')
        return 1
    print(f'unmutated tests pass in {time.time() - start:.1f} s')

    restorer = Restorer()
    results = {'killed': [], 'survived': [], 'not compiled': []}
    for i, (_, rel, n, new, kind) in enumerate(chosen, 1):
        path = os.path.join(ROOT, rel)
        with open(path, encoding='utf-8') as f:
            text = f.read()
        lines = text.split('\n')
        old = lines[n]
        lines[n] = new
        diff = ''.join(difflib.unified_diff([old + '\n'], [new + '\n'], f'a/{rel}', f'b/{rel}',
                                            n=0)).replace('@@ -1 +1 @@', f'@@ line {n + 1} @@')
        try:
            restorer.mutate(path, text, '\n'.join(lines))
            code, out = run(env_build, 900)
            if code != 0:
                verdict = 'not compiled'
            else:
                code, out = run([tests, '--gtest_brief=1'], args.timeout)
                verdict = 'survived' if code == 0 else 'killed'
        finally:
            restorer.restore()
        results[verdict].append((kind, diff))
        print(f'[{i}/{len(chosen)}] {verdict:12} {kind:6} {rel}:{n + 1}', flush=True)
    run(env_build, None)  # leave the build matching the sources

    compiled = len(results['killed']) + len(results['survived'])
    lines = [f'seed {args.seed}, {len(chosen)} mutants of {pool} in {args.folder}',
             f'killed {len(results["killed"])}, survived {len(results["survived"])}, '
             f'not compiled {len(results["not compiled"])}',
             f'score {100.0 * len(results["killed"]) / compiled:.1f}% of compiled mutants'
             if compiled else 'no mutant compiled', '', 'survivors:']
    for kind, diff in results['survived']:
        lines.append(f'[{kind}]\n{diff}')
    report = '\n'.join(lines)
    print('\n' + report)
    if args.report:
        with open(args.report, 'w', encoding='utf-8') as f:
            f.write(report + '\n')
    return 0


if __name__ == '__main__':
    sys.exit(main())
