#!/usr/bin/env python3
# SPDX-License-Identifier: GPL-3.0-or-later
# Prints how much of the code are tests, in lines without blanks and comments, a folder a line.
import collections, os, re, subprocess

os.chdir(os.path.join(os.path.dirname(os.path.abspath(__file__)), '..'))
count = {'src': collections.Counter(), 'tests': collections.Counter()}
names = subprocess.run(['git', 'ls-files', 'src', 'tests'], capture_output=True, text=True, check=True).stdout
for name in names.split():
    if name.endswith(('.cpp', '.h') + (('.py',) if name.startswith('tests/') else ())):
        comment = '#' if name.endswith('.py') else '//'
        top, folder = name.split('/')[:2]
        text = re.sub(r'/\*.*?\*/', '', open(name).read(), flags=re.S) if comment == '//' else open(name).read()
        count[top][folder] += sum(bool(l.strip()) and not l.strip().startswith(comment) for l in text.split('\n'))
for folder in sorted(count['src'] | count['tests']):
    src, tests = count['src'][folder], count['tests'][folder]
    print(f'{folder:20}{src:7}{tests:7}{100 * tests / (src + tests):6.0f} %')
src, tests = (sum(c.values()) for c in count.values())
print(f'{"all":20}{src:7}{tests:7}{100 * tests / (src + tests):6.1f} %')
