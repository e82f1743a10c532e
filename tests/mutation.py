#!/usr/bin/env python3
# SPDX-License-Identifier: GPL-3.0-or-later
# Tries how much the tests see: changes one token of src/ at a time, builds, and runs the tests that
# are likely to notice until one does. No part of ./test; a change costs about half a minute.
#
#   tests/mutation.py [--seed N] [--count N] [--folder FOLDER]... [--build DIR] [--jobs N]
#                     [--minutes N] [--programs N] [--only FILE:LINE]...
#
# --folder names folders of src/ ("core", "ui/table"); --programs ends the search for who sees a
# change after so many test programs; --only tries each change of a line.
#
# The tree you stand in is only read: it is copied to DIR/tree and built in DIR/build (DIR lies in
# build/mutation), so nothing is left to put back when the trial is stopped, and the next start
# mends a copy that was. Tests run with a home and a temporary folder of their own and a limit of
# memory and of time, and room on the disk must be left; what they leave running is killed with its
# process group.
#
# A change that does not compile under the project's own warnings, or gives the same object file, is
# not counted. The test programs that hold the changed file are run in this order: the folder's own,
# then in the order of the layers, the command line last. A failing program is run a second time and
# must fail again, so that a test that fails now and then does not count. One that runs out of time
# has noticed. Each program runs once on the unchanged copy before it is first asked, and must pass.
#
# Left alone is what no test should fix: texts, line numbers of reports, log calls, room to reserve,
# sizes of buffers, waiting times and pixels of a layout.
import argparse, glob, os, random, re, resource, shutil, signal, subprocess, sys, time

ROOT = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
LAYERS = ('core storage signal decoding decoder device audio image results inspection workers app '
          'platform cli ui').split()
BLANKED = re.compile(
    r'//[^\n]*|/\*.*?\*/|R"(\w*)\(.*?\)\1"|"(?:\\.|[^"\\\n])*"|\'(?:\\.|[^\'\\\n])+\'(?!\d)'
    r'|^[ \t]*#(?:[^\n]*\\\n)*[^\n]*|\bstatic_assert\(.*?\);|\balignas\(\w+\)|\b(?:CSystemError::'
    r'\w+|LogText|CLog::\w+|Short|Refuse|Failed|\w*[Rr]eserve)\([^;]*;', re.M | re.S)
TASTE = re.compile(r'(?i)timeout|interval|capacity|\bwait|sleep|delay|patience|\bnice\b|kBuffer|'
                   r'(array<|\w )\w*\[?\d+[\]>] ?[\w{;]')
LAYOUT = re.compile(r'(?i)margin|spacing|stretch|resize\(|size(hint)?\(|width|height|pixel|icon')
SWAPS = [  # of operators with blanks around them, which templates and references have not
    (r'(?<= )<(?= )', '<='), (r'(?<= )<=(?= )', '<'), (r'(?<= )>(?= )', '>='),
    (r'(?<= )>=(?= )', '>'), (r'(?<= )==(?=\s)', '!='), (r'(?<= )!=(?=\s)', '=='),
    (r'(?<=[\w)\]] )\+(?=\s)', '-'), (r'(?<=[\w)\]] )-(?=\s)', '+'), (r'(?<= )\+=(?=\s)', '-='),
    (r'(?<= )-=(?=\s)', '+='), (r'(?<=[\w)\]] )\*(?= )', '/'), (r'(?<=[\w)\]] )/(?= )', '*'),
    (r'(?<= )&&(?=\s)', '||'), (r'(?<= )\|\|(?=\s)', '&&'), (r'\+\+', '--'), (r'--', '++'),
    (r'\btrue\b', 'false'), (r'\bfalse\b', 'true'), (r'(?<![\w)\]])!(?=[\w(:])', ''),
    (r'\bmin(?=[(<])', 'max'), (r'\bmax(?=[(<])', 'min'), (r'\bqMin\b', 'qMax'),
    (r'\bqMax\b', 'qMin'), (r'\bbreak(?=;)', 'continue'), (r'\bcontinue(?=;)', 'break')]
NUMBER = re.compile(r"(?<![\w.'])(0x[\da-fA-F]+|\d[\d']*(?:\.\d+)?)(?=[uUlLfF]*\b)")
CALL = re.compile(r'^\s*(?!return\b|delete\b|throw\b|using\b|case\b|default\b)'
                  r'[\w:.\->\[\]*]+(?:\(.*\)| [-+*/|&^]?= .*|\+\+|--);$')


def candidates(path):
    """All (line number, new line, what changed) of a file."""
    text = open(path).read()
    blank = BLANKED.sub(lambda m: re.sub(r'[^\n]', ' ' if m[0][0] in ' #/\t' else '_', m[0]), text)
    lines, codes, found, bools = text.split('\n'), blank.split('\n'), [], False
    for i, (line, code) in enumerate(zip(lines, codes)):
        if '(' in code and re.match(r'[^ ]|^ +(\[\[\w+\]\] )?(bool|void|int|auto) \w+\(', code):
            bools = 'bool ' in code.split('(')[0]

        def put(start, end, new, number=i, line=line):
            found.append((number + 1, line[:start] + new + line[end:],
                          f"{line[start:end].strip() or '(nothing)'} -> {new or '(nothing)'}"))
        for old, new in SWAPS:
            for m in re.finditer(old, code):
                put(m.start(), m.end(), new)
        if not TASTE.search(code) and not ('/ui/' in path and LAYOUT.search(code)):
            for m in NUMBER.finditer(code):
                value = m[1].replace("'", '')
                put(m.start(), m.end(), hex(int(value, 16) + 1) if value[:2] == '0x' else
                    re.sub(r'^\d+', lambda d: str(int(d[0]) + 1), value))
        before = next((c.strip() for c in reversed(codes[:i]) if c.strip()), '')
        if CALL.match(code) and before[-1:] in ';{}:)':
            put(len(line) - len(line.lstrip()), len(line), '{}')
        m = re.match(r'^(.*\breturn )(?!true\b|false\b|\{)([^;{]+);', code)
        if m and bools:
            put(m.end(1), m.end(2), f'!({line[m.end(1):m.end(2)]})')
    return found


def kill(process):
    try:
        os.killpg(process.pid, signal.SIGKILL)
    except ProcessLookupError:
        pass
    process.wait()


class Trial:
    def __init__(self, options):
        self.o = options
        self.tree, self.build, self.home = (options.build + n for n in ('/tree', '/build', '/home'))
        self.end = time.time() + 60 * options.minutes
        self.took, self.users, self.inputs = {}, {}, {}

    def sync(self):
        """Makes the copy equal to the tree, and touches nothing that is."""
        command = ['git', 'ls-files', '-co', '--exclude-standard', '-z']
        names = subprocess.run(command, cwd=ROOT, check=True, capture_output=True, text=True).stdout
        names = {n for n in names.split('\0') if n and os.path.isfile(os.path.join(ROOT, n))}
        for folder, _, files in os.walk(self.tree):
            for name in files:
                if os.path.relpath(os.path.join(folder, name), self.tree) not in names:
                    os.remove(os.path.join(folder, name))
        for name in names:
            self.write(name, open(os.path.join(ROOT, name), 'rb').read())
            shutil.copymode(os.path.join(ROOT, name), os.path.join(self.tree, name))

    def write(self, name, data):
        path = os.path.join(self.tree, name)
        os.makedirs(os.path.dirname(path), exist_ok=True)
        if not os.path.exists(path) or open(path, 'rb').read() != data:
            with open(path, 'wb') as f:
                f.write(data)

    def start(self, command, log, limited=False, **more):
        def limit():
            for what, most in ((resource.RLIMIT_CORE, 0), (resource.RLIMIT_AS, 12 << 30)):
                resource.setrlimit(what, (most, most))
        return subprocess.Popen(command, stdin=subprocess.DEVNULL, stdout=log,
                                stderr=subprocess.STDOUT, start_new_session=True,
                                preexec_fn=limit if limited else None, **more)

    def run_all(self, commands, seconds, limited=False):
        """Runs them side by side: (0 all right, 1 one failed, 2 out of time; what they wrote)."""
        shutil.rmtree(self.home, ignore_errors=True)
        running, result, end = [], 0, min(time.time() + seconds, self.end + 60)
        try:
            for n, (command, more) in enumerate(commands):
                home = os.path.join(self.home, str(n))
                os.makedirs(home + '/tmp')
                env = {k: v for k, v in os.environ.items() if not k.startswith('XDG_')}
                env.update(more, TMPDIR=home + '/tmp', HOME=home, QT_QPA_PLATFORM='offscreen')
                log = open(home + '/log', 'wb')
                running.append(self.start(command, log, limited, env=env, cwd=self.build))
            left = list(running)
            while left and not result:
                time.sleep(0.02)
                full = shutil.disk_usage(self.home).free < 4 << 30
                result = 2 if time.time() > end or full else int(any(p.poll() for p in left))
                left = [p for p in left if p.poll() is None]
        finally:
            for p in running:
                kill(p)
        logs = sorted(glob.glob(self.home + '/*/log'))
        return result, ''.join(open(log, errors='replace').read() for log in logs)

    def ninja(self, targets, seconds=240):
        return self.run_all([(['ninja', '-j', str(self.o.jobs), *targets], {})], seconds)

    def run_program(self, program, seconds):
        if program == 'command_line':
            script = self.tree + '/tests/cli_test.py'
            command = [sys.executable, script, self.build + '/bin']
            return self.run_all([(command, {})], seconds, True)
        command = [self.build + '/bin/' + program, '--gtest_fail_fast', '--gtest_brief=1']
        shards = self.o.jobs if self.took.get(program, 9) > 1 else 1
        commands = [(command, {'GTEST_TOTAL_SHARDS': str(shards), 'GTEST_SHARD_INDEX': str(n)})
                    for n in range(shards)]
        return self.run_all(commands, seconds, True)

    def graph(self, *tool):
        command = ['ninja', '-C', self.build, '-t', *tool]
        return subprocess.run(command, capture_output=True, text=True, check=True).stdout

    def affected(self, name):
        """The test programs that hold a file, the folder's own first, with their targets."""
        if not self.users:
            for block in self.graph('deps').split('\n\n'):
                built, *sources = block.split('\n')
                for source in sources:
                    name_there = os.path.relpath(source.strip(), self.tree)
                    self.users.setdefault(name_there, set()).add(built.split(':')[0])
        own = name.split('/')[1]
        found = []
        order = ['test_' + n for n in dict.fromkeys([own, *LAYERS])] + ['command_line']
        for program in order:
            targets = ['quillmarsh-cli', 'decoder'] if program == 'command_line' else [program]
            if program not in self.inputs:
                self.inputs[program] = set(self.graph('inputs', *targets).split('\n'))
            if self.users.get(name, set()) & self.inputs[program]:
                found.append((program, targets))
        return found

    def prepare(self):
        os.makedirs(self.build, exist_ok=True)
        self.sync()
        flags = ['-DCMAKE_BUILD_TYPE=Release', '-DQUILLMARSH_TESTS=ON', '-DQUILLMARSH_BENCH=OFF',
                 '-DQUILLMARSH_WARNINGS_AS_ERRORS=ON', '-DCMAKE_EXE_LINKER_FLAGS=-fuse-ld=gold']
        command = ['cmake', '-G', 'Ninja', '-S', self.tree, '-B', self.build, *flags]
        result, text = self.run_all([(command, {})], 120)
        if not result:
            result, text = self.ninja(['all'], 3600)
        if result:
            sys.exit('the unchanged tree cannot be built in ' + self.build + '\n' + text[-2000:])

    def baseline(self, program, targets):
        """The unchanged tree must pass; its time sets the limit."""
        begin = time.time()
        result, text = self.ninja(targets)
        if not result:
            begin = time.time()
            result, text = self.run_program(program, 600)
        self.took[program] = time.time() - begin
        if result:
            sys.exit(f'the unchanged tree does not pass {program}\n' + text[-3000:])
        print(f'{program} passes in {self.took[program]:.1f} s', flush=True)

    def test(self, name, text, changed):
        """(who caught the change, or None, or '' for none; why it does not count)"""
        self.write(name, changed)
        affected = self.affected(name)
        objects = glob.glob(f'{self.build}/src/CMakeFiles/*/{name[4:]}.o')
        old = [open(o, 'rb').read() for o in objects]
        if not affected and self.ninja(['all'])[0]:
            return '', 'does not compile'
        for program, targets in affected[:self.o.programs]:
            if program not in self.took:
                self.write(name, text)
                self.baseline(program, targets)
                self.write(name, changed)
            self.built.update(targets)
            if self.ninja(targets)[0]:
                return '', 'does not compile'
            if old and old == [open(o, 'rb').read() for o in objects]:
                return '', 'the same program'
            seconds = 20 + 6 * self.took[program]
            result, output = self.run_program(program, seconds)
            failed = re.findall(r'\[  FAILED  \] ([\w./]+)|^FAIL: (\w+)', output, re.M)
            if result == 1:
                result, _ = self.run_program(program, seconds)
            if result:
                test = ''.join(failed[0]) if failed else 'ended or hung'
                return program.removeprefix('test_') + '.' + test, None
        return None, None

    def go(self):
        files = sorted(glob.glob('src/**/*.*', root_dir=ROOT, recursive=True))
        files = [f for f in files if f.endswith(('.cpp', '.h'))]
        wanted = self.o.folder or LAYERS
        lines = {}
        for f in files:
            if self.o.only or any(f.startswith(f'src/{w}/') for w in wanted):
                for c in candidates(os.path.join(ROOT, f)):
                    if not self.o.only or f'{f}:{c[0]}' in self.o.only:
                        lines.setdefault((f, c[0]), []).append(c)
        chance = random.Random(self.o.seed)
        order = sorted(lines)
        chance.shuffle(order)
        picks = [(place[0], c) for place in order
                 for c in (lines[place] if self.o.only else [chance.choice(lines[place])])]
        print(f'{sum(map(len, lines.values()))} changes of {len(order)} lines', flush=True)
        self.prepare()
        caught, survivors = 0, []
        try:
            for name, (number, line, what) in picks:
                if caught + len(survivors) >= self.o.count or time.time() > self.end:
                    break
                begin = time.time()
                text = open(os.path.join(ROOT, name)).read()
                changed = text.split('\n')
                changed[number - 1] = line
                try:
                    self.built = set()
                    who, why = self.test(name, text.encode(), '\n'.join(changed).encode())
                finally:
                    self.write(name, text.encode())
                self.ninja(sorted(self.built))
                told = f'{name}:{number}: {what}'
                if who:
                    caught += 1
                    result = 'caught by ' + who
                elif who is None:
                    survivors.append(told + '   ' + line.strip())
                    result = 'SURVIVED   ' + line.strip()
                else:
                    result = 'not counted: ' + why
                print(f'{told}: {result} ({time.time() - begin:.0f} s)', flush=True)
        finally:
            self.sync()
            count = caught + len(survivors)
            share = 100 * caught / max(1, count)
            print(f'\n{caught} of {count} caught ({share:.0f} %), seed {self.o.seed}')
            print('\n'.join(survivors))


def main():
    parser = argparse.ArgumentParser(description='Which changes of a token do the tests see?')
    parser.add_argument('--seed', type=int, default=1)
    parser.add_argument('--count', type=int, default=50)
    parser.add_argument('--folder', action='append')
    parser.add_argument('--build', default=ROOT + '/build/mutation', type=os.path.abspath)
    parser.add_argument('--jobs', type=int, default=2)
    parser.add_argument('--minutes', type=float, default=120)
    parser.add_argument('--programs', type=int, default=99)
    parser.add_argument('--only', action='append')
    signal.signal(signal.SIGTERM, lambda *_: sys.exit(143))
    Trial(parser.parse_args()).go()


if __name__ == '__main__':
    main()
