"""Every export of the header is bound, with the header's exact types."""
import ctypes
import os
import sys

import pytest

HERE = os.path.dirname(os.path.abspath(__file__))
sys.path.insert(0, os.path.join(HERE, '..'))

import gen_signatures  # noqa: E402
from vexsdk import _lib  # noqa: E402
from vexsdk._signatures import PENDING, SIGNATURES  # noqa: E402

INCLUDE = os.environ.get('VEXSDK_INCLUDE', os.path.join(HERE, '..', '..', 'include'))


@pytest.fixture(scope='module')
def declared():
    table = gen_signatures.parse(INCLUDE)
    assert len(table) > 150, 'the header parser found too few exports in ' + INCLUDE
    return table


def test_every_declared_export_is_bound_with_its_types(declared):
    problems = []
    for name, (ret, args) in declared.items():
        bound = SIGNATURES.get(name) or PENDING.get(name)
        if bound is None:
            problems.append('%s: not bound (run python/gen_signatures.py)' % name)
        elif len(bound[1]) != len(args):
            problems.append('%s: %d arguments bound, the header has %d' % (name, len(bound[1]), len(args)))
        elif bound != (ret, args):
            problems.append('%s: bound as %s, the header says %s' % (name, bound, (ret, args)))
    assert not problems, '\n'.join(problems)


def test_nothing_bound_that_the_header_lacks(declared):
    stale = sorted(set(SIGNATURES) - set(declared))
    assert not stale, 'bound but no longer declared: %s' % stale
    assert not set(PENDING) & set(SIGNATURES)


def test_every_c_type_maps_to_ctypes():
    for ret, args in list(SIGNATURES.values()) + list(PENDING.values()):
        for t in [ret] + args:
            _lib.ctype(t)
    assert _lib.ctype('const char *') is ctypes.c_char_p
    assert _lib.ctype('uint32_t *')._type_ is ctypes.c_uint32
    assert _lib.ctype('VEX_BOOL') is ctypes.c_uint8
    with pytest.raises(TypeError):
        _lib.ctype('struct unknown *')
    with pytest.raises(TypeError):
        _lib.ctype('char **')


def test_type_spelling_is_normalised():
    n = gen_signatures.norm_type
    assert n('const char *text') == 'const char *'
    assert n('uint16_t* status') == 'uint16_t *'
    assert n('VEX_PORT port') == 'VEX_PORT'
    assert n('volatile uint8_t *') == 'volatile uint8_t *'
    assert n('uint32_t') == 'uint32_t'


def test_library_provides_every_declared_export(vc):
    import vexsdk
    lib = vexsdk.lib()
    for name in SIGNATURES:
        fn = getattr(lib.cdll, name)
        assert fn.argtypes is not None and len(fn.argtypes) == len(SIGNATURES[name][1]), name
    # Exports bound ahead of their declaration are either there or reported.
    for name in PENDING:
        assert hasattr(lib.cdll, name) or name in lib.missing
    if lib.missing:
        with pytest.raises(NotImplementedError):
            getattr(lib, lib.missing[0])()
