#!/usr/bin/env python3
"""Rewrites vexsdk/_signatures.py from the C header's declarations.

Run after an export is added to include/vexsdk/*.h:
    python3 python/gen_signatures.py include
Entries of PENDING (exports bound ahead of the header that declares them)
are kept until the header declares them.
"""
import os
import re
import sys

DECL = re.compile(r'VEXSDK_API\s+(?P<ret>[^;(]*?)\s*\b(?P<name>\w+)\s*\((?P<args>[^;]*?)\)\s*;', re.S)


def norm_type(text):
    """'const char *text' -> 'const char *'; 'uint32_t slot' -> 'uint32_t'."""
    text = ' '.join(text.replace('*', ' * ').split())
    words = text.split(' ')
    if len(words) > 1 and re.match(r'^\w+$', words[-1]) and words[-1] not in (
            'int', 'char', 'void', 'float', 'double', 'long', 'short'):
        if not words[-1].endswith('_t') and not words[-1].isupper():
            words = words[:-1]
    text = ' '.join(words)
    return text.replace(' *', '*').replace('*', ' *').replace('* ', '*').strip()


def parse(include_dir):
    """{name: (return type, [argument types])} of every declared export."""
    out = {}
    parts = os.path.join(include_dir, 'vexsdk')
    for fname in sorted(os.listdir(parts)):
        if not fname.endswith('.h'):
            continue
        with open(os.path.join(parts, fname), encoding='utf-8') as f:
            source = re.sub(r'/\*.*?\*/', ' ', f.read(), flags=re.S)
        for d in DECL.finditer(source):
            args = ' '.join(d.group('args').split())
            arg_types = [] if args in ('', 'void') else [norm_type(a) for a in args.split(',')]
            out[d.group('name')] = (norm_type(d.group('ret')), arg_types)
    return out


def main():
    include_dir = sys.argv[1] if len(sys.argv) > 1 else 'include'
    here = os.path.dirname(os.path.abspath(__file__))
    sys.path.insert(0, here)
    from vexsdk._signatures import PENDING
    declared = parse(include_dir)
    pending = {k: v for k, v in PENDING.items() if k not in declared}
    path = os.path.join(here, 'vexsdk', '_signatures.py')
    with open(path, 'w', encoding='utf-8') as f:
        f.write('"""C signatures of every export: name -> (result, [arguments]).\n\n'
                'Written by python/gen_signatures.py from the header; do not edit SIGNATURES\n'
                'by hand. PENDING holds exports bound ahead of their declaration: the\n'
                'package imports without them when the loaded library lacks them.\n"""\n\n')
        for title, table in (('SIGNATURES', declared), ('PENDING', pending)):
            f.write('%s = {\n' % title)
            for name in sorted(table, key=str.lower):
                ret, args = table[name]
                f.write('    %r: (%r, %r),\n' % (name, ret, args))
            f.write('}\n\n')
    print('%d declared, %d pending' % (len(declared), len(pending)))


if __name__ == '__main__':
    main()
