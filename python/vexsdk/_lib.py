"""Loads libvexsdk and binds every export with its C types.

The library is found, in order, at $VEXSDK_LIBRARY (a path), then by the
dynamic linker's own search ("libvexsdk.so.1": ldconfig, LD_LIBRARY_PATH).
It is loaded on first use, so a program (or a test fixture) can choose its
controller with VEXSDK_TARGET before then.
"""
import ctypes
import os
import threading

from ._signatures import PENDING, SIGNATURES

IRQ_CALLBACK = ctypes.CFUNCTYPE(ctypes.c_int32)
SLOT_CALLBACK = ctypes.CFUNCTYPE(None, ctypes.c_uint32)

_SCALARS = {
    'void': None,
    'uint8_t': ctypes.c_uint8, 'int16_t': ctypes.c_int16, 'uint16_t': ctypes.c_uint16,
    'int32_t': ctypes.c_int32, 'uint32_t': ctypes.c_uint32, 'float': ctypes.c_float,
    'VEX_BOOL': ctypes.c_uint8, 'VEX_BOOL32': ctypes.c_int32, 'VEX_PORT': ctypes.c_uint32,
    'VEX_EVENT': ctypes.c_int32, 'VEX_IRQ_CALLBACK': IRQ_CALLBACK,
    'VEX_SLOT_CALLBACK': SLOT_CALLBACK,
}
_POINTERS = {
    'char': ctypes.c_char_p, 'wchar_t': ctypes.c_wchar_p, 'void': ctypes.c_void_p,
}


def ctype(c_type):
    """The ctypes type of a C type as the header spells it."""
    words = c_type.replace('*', ' * ').split()
    words = [w for w in words if w not in ('const', 'volatile')]
    stars = words.count('*')
    base = ' '.join(w for w in words if w != '*')
    if stars == 0:
        if base not in _SCALARS:
            raise TypeError('no ctypes type for C type %r' % c_type)
        return _SCALARS[base]
    if stars != 1:
        raise TypeError('no ctypes type for C type %r' % c_type)
    if base in _POINTERS:
        return _POINTERS[base]
    target = _SCALARS.get(base)
    if target is None or base.startswith('VEX_') and base not in ('VEX_BOOL', 'VEX_BOOL32'):
        raise TypeError('no ctypes type for C type %r' % c_type)
    return ctypes.POINTER(target)


class Library:
    """The loaded library: every export is an attribute with argtypes set.

    `missing` names the exports bound ahead of their declaration that this
    library build lacks; calling one raises NotImplementedError.
    """

    def __init__(self, path):
        self.path = path
        self.cdll = ctypes.CDLL(path)
        self.missing = []
        for name, (ret, args) in list(SIGNATURES.items()) + list(PENDING.items()):
            try:
                fn = getattr(self.cdll, name)
            except AttributeError:
                if name in PENDING:
                    self.missing.append(name)
                    setattr(self, name, _absent(name))
                    continue
                raise ImportError('%s lacks the export %s: an older library than this package?'
                                  % (path, name)) from None
            fn.restype = ctype(ret)
            fn.argtypes = [ctype(a) for a in args]
            setattr(self, name, fn)


def _absent(name):
    def call(*_args):
        raise NotImplementedError('the loaded libvexsdk has no %s' % name)
    call.__name__ = name
    return call


_lock = threading.Lock()
_library = None


def lib():
    """The library, loaded (once) on first use."""
    global _library
    with _lock:
        if _library is None:
            _library = Library(os.environ.get('VEXSDK_LIBRARY') or 'libvexsdk.so.1')
        return _library
