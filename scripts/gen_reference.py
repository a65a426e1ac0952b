#!/usr/bin/env python3
"""Reference pages for every exported function, from the public header.

Each export in include/vexsdk/*.h carries a block of this shape right above
its declaration:

    /**
     * @brief One sentence.
     * Free text.
     * @param name What it is.
     * @return What comes back.
     * @errors
     *   - VEX_ERR_XXX (0x14006): when it is left ("message").
     *   - none: for calls that leave no code.
     * @thread What a caller must serialise.
     * @example
     *   code lines
     */

Usage:
  gen_reference.py --include DIR --out DIR [--version V]
      writes DIR/man3/<function>.3 and DIR/html/{index,<function>}.html
  gen_reference.py --include DIR --check EXPORTS
      fails, naming each one, when an export listed in EXPORTS has no block,
      no @brief or no @errors entry
Standard library only: the build runs it on every machine that builds.
"""
import argparse
import html
import os
import re
import sys

DECL = re.compile(r'VEXSDK_API\s+(?P<ret>[^;(]*?)\b(?P<name>\w+)\s*\((?P<args>[^;]*?)\)\s*;', re.S)
BLOCK = re.compile(r'/\*\*(?P<body>.*?)\*/\s*(?=VEXSDK_API)', re.S)
TAGS = ('brief', 'param', 'return', 'errors', 'thread', 'example')


class Page:
    def __init__(self, name, header, decl):
        self.name, self.header, self.decl = name, header, decl
        self.brief = ''
        self.text = []
        self.params = []      # (name, text)
        self.returns = ''
        self.errors = []      # (code, text)
        self.has_errors = False
        self.thread = ''
        self.example = []


def fail(message):
    print('gen_reference: ' + message, file=sys.stderr)
    sys.exit(1)


def strip_block(body):
    lines = []
    for line in body.split('\n'):
        line = re.sub(r'^\s*\* ?', '', line, count=1)
        lines.append(line.rstrip())
    while lines and not lines[0].strip():
        lines.pop(0)
    while lines and not lines[-1].strip():
        lines.pop()
    return lines


def parse_block(page, lines, where):
    tag, item = None, None
    for line in lines:
        m = re.match(r'@(\w+)\s*(.*)$', line.strip())
        if m and m.group(1) in TAGS:
            tag, rest = m.group(1), m.group(2)
            if tag == 'brief':
                page.brief = rest
            elif tag == 'param':
                pm = re.match(r'(\w+)\s*(.*)$', rest)
                if not pm:
                    fail('%s: @param without a name' % where)
                item = [pm.group(1), pm.group(2)]
                page.params.append(item)
            elif tag == 'return':
                page.returns = rest
            elif tag == 'errors':
                page.has_errors = True
            elif tag == 'thread':
                page.thread = rest
            continue
        if m:
            fail('%s: unknown tag @%s' % (where, m.group(1)))
        text = line.strip()
        if tag == 'brief':
            if line.startswith('  ') and text:
                page.brief += ' ' + text
            else:
                tag = 'text'
                page.text.append(text)
        elif tag in (None, 'text'):
            page.text.append(text)
        elif tag == 'param':
            item[1] += ' ' + text
        elif tag == 'return':
            page.returns += ' ' + text
        elif tag == 'thread':
            page.thread += ' ' + text
        elif tag == 'example':
            page.example.append(line[2:] if line.startswith('  ') else line)
        elif tag == 'errors':
            em = re.match(r'-\s*([^:]+?)\s*:\s*(.*)$', text)
            if em:
                page.errors.append([em.group(1), em.group(2)])
            elif text and page.errors:
                page.errors[-1][1] += ' ' + text
            elif text:
                fail('%s: @errors line is not "- CODE (value): when"' % where)


def parse_headers(include_dir):
    pages, undocumented = {}, {}
    parts = os.path.join(include_dir, 'vexsdk')
    for fname in sorted(os.listdir(parts)):
        if not fname.endswith('.h'):
            continue
        path = os.path.join(parts, fname)
        with open(path, encoding='utf-8') as f:
            source = f.read()
        blocks = {m.end(): m for m in BLOCK.finditer(source)}
        for d in DECL.finditer(source):
            decl = ' '.join(d.group(0).replace('VEXSDK_API', '').split())
            name = d.group('name')
            page = Page(name, 'vexsdk/' + fname, decl)
            where = '%s: %s' % (path, name)
            block = blocks.get(d.start())
            if block is None:
                undocumented[name] = where
                continue
            parse_block(page, strip_block(block.group('body')), where)
            pages[name] = page
    return pages, undocumented


def check(pages, undocumented, exports_path):
    with open(exports_path, encoding='utf-8') as f:
        exports = [line.strip() for line in f if line.strip()]
    problems = []
    for name in exports:
        page = pages.get(name)
        if page is None:
            problems.append('%s: %s' % (name, 'no reference block' if name in undocumented
                                        else 'not declared in the header'))
        elif not page.brief:
            problems.append('%s: no @brief' % name)
        elif not page.has_errors or not page.errors:
            problems.append('%s: no @errors entries (write "- none: ..." for calls that leave no code)' % name)
        elif not page.thread:
            problems.append('%s: no @thread' % name)
    for p in problems:
        print(p, file=sys.stderr)
    if problems:
        fail('%d of %d exports lack reference documentation' % (len(problems), len(exports)))
    print('%d exports documented' % len(exports))


# --- man pages --------------------------------------------------------------

def roff(text):
    text = text.replace('\\', '\\e')
    return re.sub(r'^([.\'])', r'\\&\1', text, flags=re.M)


def man_page(page, version, siblings):
    out = ['.TH %s 3 "" "VEXSDK %s" "VEXSDK Reference"' % (page.name, version),
           '.SH NAME', '%s \\- %s' % (page.name, roff(page.brief)),
           '.SH SYNOPSIS', '.nf', '.B #include <vexsdk.h>', '.PP', roff(page.decl), '.fi',
           '.PP', 'Link with \\fI\\-lvexsdk\\fP (see \\fBpkg-config \\-\\-libs vexsdk\\fP).']
    out += ['.SH DESCRIPTION', roff(page.brief)]
    if page.text:
        out += ['.PP', roff(' '.join(page.text))]
    if page.params:
        out.append('.SH ARGUMENTS')
        for pname, ptext in page.params:
            out += ['.TP', '.I ' + pname, roff(ptext)]
    out += ['.SH RETURN VALUE', roff(page.returns or 'None.')]
    out.append('.SH ERRORS')
    out.append('On failure the call leaves one of these codes in the calling thread\'s last '
               'error (\\fBvex_GetLastError\\fP(3)):')
    for code, text in page.errors:
        out += ['.TP', '.B ' + roff(code), roff(text)]
    out += ['.SH THREAD SAFETY', roff(page.thread)]
    if page.example:
        out += ['.SH EXAMPLE', '.nf', '.RS'] + [roff(l) for l in page.example] + ['.RE', '.fi']
    see = ['\\fB%s\\fP(3)' % s for s in siblings if s != page.name][:12]
    out += ['.SH SEE ALSO', ', '.join(see + ['\\fBvexsdk\\fP(3)'])]
    return '\n'.join(out) + '\n'


def man_index(pages, version):
    out = ['.TH vexsdk 3 "" "VEXSDK %s" "VEXSDK Reference"' % version,
           '.SH NAME', 'vexsdk \\- I/O and device library for backplane controllers',
           '.SH SYNOPSIS', '.B #include <vexsdk.h>',
           '.SH DESCRIPTION', 'Every exported function has a page of its own:']
    for name in sorted(pages, key=str.lower):
        out += ['.TP', '\\fB%s\\fP(3)' % name, roff(pages[name].brief)]
    return '\n'.join(out) + '\n'


# --- HTML ---------------------------------------------------------------------

STYLE = ('body{font-family:sans-serif;max-width:52em;margin:2em auto;padding:0 1em;line-height:1.4}'
         'pre{background:#f4f4f4;padding:.6em;overflow-x:auto}dt{font-weight:bold;margin-top:.4em}'
         'code{font-size:95%}table{border-collapse:collapse}td{padding:.15em .6em;vertical-align:top}')


def linkify(text, names):
    escaped = html.escape(text)
    return re.sub(r'\b(\w+)\b', lambda m: '<a href="%s.html">%s</a>' % (m.group(1), m.group(1))
                  if m.group(1) in names else m.group(1), escaped)


def html_page(page, version, names):
    e = html.escape
    out = ['<!DOCTYPE html><html lang="en"><head><meta charset="utf-8">',
           '<title>%s - VEXSDK %s</title><style>%s</style></head><body>' % (e(page.name), e(version), STYLE),
           '<p><a href="index.html">VEXSDK %s reference</a> &rsaquo; %s</p>' % (e(version), e(page.header)),
           '<h1>%s</h1><p>%s</p>' % (e(page.name), linkify(page.brief, names)),
           '<pre>#include &lt;vexsdk.h&gt;\n\n%s</pre>' % e(page.decl)]
    if page.text:
        out.append('<p>%s</p>' % linkify(' '.join(page.text), names))
    if page.params:
        out.append('<h2>Arguments</h2><dl>')
        out += ['<dt><code>%s</code></dt><dd>%s</dd>' % (e(n), linkify(t, names)) for n, t in page.params]
        out.append('</dl>')
    out.append('<h2>Result</h2><p>%s</p>' % linkify(page.returns or 'None.', names))
    out.append('<h2>Errors</h2><table>')
    out += ['<tr><td><code>%s</code></td><td>%s</td></tr>' % (e(c), linkify(t, names)) for c, t in page.errors]
    out.append('</table><h2>Threads</h2><p>%s</p>' % linkify(page.thread, names))
    if page.example:
        out.append('<h2>Example</h2><pre>%s</pre>' % e('\n'.join(page.example)))
    out.append('</body></html>')
    return '\n'.join(out) + '\n'


def html_index(pages, version):
    e = html.escape
    out = ['<!DOCTYPE html><html lang="en"><head><meta charset="utf-8">',
           '<title>VEXSDK %s reference</title><style>%s</style></head><body>' % (e(version), STYLE),
           '<h1>VEXSDK %s reference</h1>' % e(version),
           '<p>One page per exported function of <code>vexsdk.h</code>, grouped by part header.</p>']
    by_header = {}
    for page in pages.values():
        by_header.setdefault(page.header, []).append(page)
    for header in sorted(by_header):
        out.append('<h2>%s</h2><table>' % e(header))
        for page in sorted(by_header[header], key=lambda p: p.name.lower()):
            out.append('<tr><td><a href="%s.html"><code>%s</code></a></td><td>%s</td></tr>'
                       % (e(page.name), e(page.name), e(page.brief)))
        out.append('</table>')
    out.append('</body></html>')
    return '\n'.join(out) + '\n'


def write(path, text):
    with open(path, 'w', encoding='utf-8') as f:
        f.write(text)


def generate(pages, out_dir, version):
    man_dir, html_dir = os.path.join(out_dir, 'man3'), os.path.join(out_dir, 'html')
    os.makedirs(man_dir, exist_ok=True)
    os.makedirs(html_dir, exist_ok=True)
    by_header = {}
    for page in pages.values():
        by_header.setdefault(page.header, []).append(page.name)
    names = set(pages)
    for page in pages.values():
        write(os.path.join(man_dir, page.name + '.3'), man_page(page, version, by_header[page.header]))
        write(os.path.join(html_dir, page.name + '.html'), html_page(page, version, names))
    write(os.path.join(man_dir, 'vexsdk.3'), man_index(pages, version))
    write(os.path.join(html_dir, 'index.html'), html_index(pages, version))


def main():
    ap = argparse.ArgumentParser(description=__doc__.split('\n')[0])
    ap.add_argument('--include', required=True, help='the include directory holding vexsdk.h')
    ap.add_argument('--out', help='where man3/ and html/ are written')
    ap.add_argument('--version', default='', help='product version printed on the pages')
    ap.add_argument('--check', metavar='EXPORTS', help='list of exports that must be documented')
    args = ap.parse_args()
    if not args.out and not args.check:
        ap.error('give --out, --check or both')
    if not os.path.isdir(os.path.join(args.include, 'vexsdk')):
        fail('%s has no vexsdk/ directory' % args.include)
    pages, undocumented = parse_headers(args.include)
    if args.check:
        check(pages, undocumented, args.check)
    if args.out:
        generate(pages, args.out, args.version)


if __name__ == '__main__':
    main()
