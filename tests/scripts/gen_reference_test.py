#!/usr/bin/env python3
"""The reference generator: parses blocks, refuses bad ones, writes pages."""
import os
import subprocess
import sys
import tempfile
import unittest

SCRIPT = os.path.join(os.path.dirname(__file__), '..', '..', 'scripts', 'gen_reference.py')

GOOD = r'''/* A part. */
#ifndef X
/**
 * @brief Sends a command and reads its answer.
 * Free text about the call,
 * over two lines.
 * @param port Handle of an open port.
 * @param text Command text; a longer
 *   description continues here.
 * @return 1 on success.
 * @errors
 *   - VEX_ERR_UART_OPEN (0x14006): the port is not open ("Open COM port
 *     failed").
 *   - VEX_ERR_UART_TIMEOUT (0x14002): no answer.
 * @thread Any thread.
 * @example
 *   .leading dot and a \backslash
 */
VEXSDK_API VEX_BOOL32 uart_Demo(VEX_PORT port,
                                const char *text);
/**
 * @brief Does nothing.
 * @errors
 *   - none: the call records no code.
 * @thread Any thread.
 */
VEXSDK_API void vex_Nothing(void);
/* An ordinary comment, not a reference block. */
VEXSDK_API void vex_Undocumented(void);
/**
 * @brief Has no errors section.
 * @thread Any thread.
 */
VEXSDK_API void vex_NoErrors(void);
#endif
'''


def run(args, header=GOOD, exports=None):
    d = tempfile.mkdtemp()
    os.makedirs(os.path.join(d, 'inc', 'vexsdk'))
    with open(os.path.join(d, 'inc', 'vexsdk', 'part.h'), 'w') as f:
        f.write(header)
    if exports is not None:
        with open(os.path.join(d, 'exports.txt'), 'w') as f:
            f.write('\n'.join(exports) + '\n')
    args = [a.replace('@D', d) for a in args]
    r = subprocess.run([sys.executable, SCRIPT, '--include', os.path.join(d, 'inc')] + args,
                       capture_output=True, text=True)
    return r, d


class Check(unittest.TestCase):
    def test_documented_exports_pass(self):
        r, _ = run(['--check', '@D/exports.txt'], exports=['uart_Demo', 'vex_Nothing'])
        self.assertEqual(r.returncode, 0, r.stderr)

    def test_each_gap_is_named(self):
        r, _ = run(['--check', '@D/exports.txt'],
                   exports=['uart_Demo', 'vex_Undocumented', 'vex_NoErrors', 'vex_Absent'])
        self.assertNotEqual(r.returncode, 0)
        self.assertIn('vex_Undocumented: no reference block', r.stderr)
        self.assertIn('vex_NoErrors: no @errors', r.stderr)
        self.assertIn('vex_Absent: not declared', r.stderr)
        self.assertIn('3 of 4 exports', r.stderr)
        self.assertNotIn('uart_Demo', r.stderr)

    def test_malformed_blocks_are_refused(self):
        for bad, why in (('@brief X.\n * @retrun 1\n', 'unknown tag @retrun'),
                         ('@brief X.\n * @errors\n *   VEX_ERR_X without dash\n', '@errors line')):
            header = '/**\n * %s */\nVEXSDK_API void vex_Bad(void);\n' % bad
            r, _ = run(['--check', '@D/exports.txt'], header=header, exports=['vex_Bad'])
            self.assertNotEqual(r.returncode, 0)
            self.assertIn(why, r.stderr)


class Pages(unittest.TestCase):
    def setUp(self):
        r, d = run(['--out', '@D/out', '--version', '9.8.7'])
        self.assertEqual(r.returncode, 0, r.stderr)
        self.out = os.path.join(d, 'out')

    def read(self, *parts):
        with open(os.path.join(self.out, *parts), encoding='utf-8') as f:
            return f.read()

    def test_man_page_has_every_section(self):
        page = self.read('man3', 'uart_Demo.3')
        self.assertTrue(page.startswith('.TH uart_Demo 3 "" "VEXSDK 9.8.7"'))
        self.assertIn('uart_Demo \\- Sends a command and reads its answer.', page)
        self.assertIn('VEX_BOOL32 uart_Demo(VEX_PORT port, const char *text);', page)
        self.assertIn('.I text\nCommand text; a longer description continues here.', page)
        self.assertIn('.B VEX_ERR_UART_OPEN (0x14006)\nthe port is not open ("Open COM port failed").', page)
        self.assertIn('.SH THREAD SAFETY\nAny thread.', page)
        # roff control characters in text are escaped, not interpreted
        self.assertIn('\\&.leading dot and a \\ebackslash', page)
        self.assertIn('\\fBvex_Nothing\\fP(3)', page)  # see also: same part

    def test_undocumented_exports_get_no_page(self):
        self.assertFalse(os.path.exists(os.path.join(self.out, 'man3', 'vex_Undocumented.3')))
        self.assertIn('vex_Nothing', self.read('man3', 'vexsdk.3'))

    def test_html_pages_and_index(self):
        index = self.read('html', 'index.html')
        self.assertIn('<a href="uart_Demo.html"><code>uart_Demo</code></a>', index)
        page = self.read('html', 'uart_Demo.html')
        self.assertIn('const char *text', page)
        self.assertIn('&quot;Open COM port failed&quot;', page)
        self.assertIn('<h2>Example</h2><pre>.leading dot and a \\backslash</pre>', page)


if __name__ == '__main__':
    unittest.main()
