"""vexsdk: the VEXSDK I/O and device library from Python.

Two layers:
  vexsdk.lib()   every C export with its exact types (ctypes), for calls the
                 Pythonic layer does not wrap; results and last errors as in C.
  this module    exceptions, ports as context managers, I/O by module address.

    import vexsdk
    print(vexsdk.read_di(0x01, 8))          # slot 1, 8 inputs
    with vexsdk.Port("COM1:,9600,N,8,1") as port:
        print(port.command("$01M"))

A failed call raises VexError with the library's code and message.
"""
import ctypes

from ._lib import IRQ_CALLBACK, SLOT_CALLBACK, lib

__all__ = ['VexError', 'Port', 'lib', 'version', 'last_error', 'error_message', 'slot_count',
           'slot_exists', 'read_di', 'read_do', 'write_do', 'write_do_bit', 'IRQ_CALLBACK',
           'SLOT_CALLBACK']

# Addresses from here on name a serial module on a bus (address - 0x1000).
BUS_BASE = 0x1000
ERROR_MESSAGE_SIZE = 44
UART_BUFFER_SIZE = 512


class VexError(OSError):
    """A call failed: `code` is the library's error code, `message` its text."""

    def __init__(self, call, code, message=None):
        self.call, self.code = call, code
        self.message = message if message is not None else error_message(code)
        super().__init__('%s failed: %s (0x%05X)' % (call, self.message or 'no message', code))


def version():
    """The running library's own version, e.g. "1.0.0"."""
    return lib().vexsdk_version().decode()


def last_error():
    """The calling thread's last error code (0 when none)."""
    return lib().vex_GetLastError()


def error_message(code):
    """The library's English message for a code; '' for codes without one."""
    buf = ctypes.create_unicode_buffer(ERROR_MESSAGE_SIZE)
    lib().vex_GetErrorMessage(code, buf)
    return buf.value


def _check(call, ok):
    if not ok:
        raise VexError(call, last_error())
    return ok


def slot_count():
    return lib().vex_GetSlotCount()


def slot_exists(slot):
    return 0 <= slot < slot_count() and bool(lib()._vex_slot_exists(slot))


def _port_handle(port):
    return port.handle if isinstance(port, Port) else (port or 0)


def read_di(address, channels, port=None):
    """Inputs of the module at an address, bit n = channel n.

    Below 0x1000 a local slot (a parallel-bus module is read directly);
    from 0x1000 a serial module at bus address (address - 0x1000) on port.
    """
    value = ctypes.c_uint32()
    if address < BUS_BASE and port is None:
        _check_slot(address)
        return lib()._vex_ReadDI(address, channels)
    _check('vex_ReadDI_MF', lib().vex_ReadDI_MF(_port_handle(port), address, channels,
                                                 ctypes.byref(value)))
    return value.value


def read_do(address, channels, port=None):
    """Outputs of the module at an address, as last written."""
    value = ctypes.c_uint32()
    if address < BUS_BASE and port is None:
        _check_slot(address)
        return lib()._vex_ReadDO(address, channels)
    _check('vex_ReadDO_MF', lib().vex_ReadDO_MF(_port_handle(port), address, channels,
                                                 ctypes.byref(value)))
    return value.value


def write_do(address, channels, value, port=None):
    """Drives the outputs of the module at an address."""
    if address < BUS_BASE and port is None:
        _check_slot(address)
        lib().vex_ClearLastError()
        _check('_vex_WriteDO', lib()._vex_WriteDO(address, channels, value))
        return
    _check('vex_WriteDO_MF', lib().vex_WriteDO_MF(_port_handle(port), address, channels, value))


def write_do_bit(address, channels, channel, on, port=None):
    """Sets or clears one output, leaving the others."""
    current = read_do(address, channels, port)
    mask = 1 << channel
    write_do(address, channels, (current | mask) if on else (current & ~mask), port)


def _check_slot(address):
    slot = address & 0xFF
    if slot >= slot_count():
        raise VexError('slot %d' % slot, 0x10008)
    if not lib()._vex_slot_exists(slot):
        raise VexError('slot %d' % slot, 0x10003)


class Port:
    """An open COM port; closes itself at the end of a `with` block.

        with Port("COM1:,9600,N,8,1", checksum=True) as port:
            answer = port.command("$01M")
    """

    def __init__(self, config=None, checksum=False, timeout_ms=None):
        raw = None if config is None else config.encode()
        self.handle = lib().uart_Open(raw)
        if self.handle == 0xFFFFFFFF:
            raise VexError('uart_Open(%r)' % config, last_error())
        if checksum:
            self._ok('uart_EnableCheckSum', lib().uart_EnableCheckSum(self.handle, 1))
        if timeout_ms is not None:
            self._ok('uart_SetTimeOut', lib().uart_SetTimeOut(self.handle, timeout_ms, 0))

    def _ok(self, call, result):
        if not result:
            raise VexError(call, last_error())

    def command(self, text):
        """Sends a command and returns its answer (leading character kept)."""
        data = text.encode()
        answer = ctypes.create_string_buffer(UART_BUFFER_SIZE)
        self._ok('uart_SendCmdExt', lib().uart_SendCmdExt(self.handle, data, len(data) + 1, answer,
                                                          UART_BUFFER_SIZE))
        return answer.value.decode('latin-1')

    def send(self, text):
        self._ok('uart_Send', lib().uart_Send(self.handle, text.encode()))

    def receive(self):
        answer = ctypes.create_string_buffer(UART_BUFFER_SIZE)
        self._ok('uart_RecvExt', lib().uart_RecvExt(self.handle, answer, UART_BUFFER_SIZE))
        return answer.value.decode('latin-1')

    def close(self):
        if self.handle not in (0, 0xFFFFFFFF):
            lib().uart_Close(self.handle)
            self.handle = 0xFFFFFFFF

    def __enter__(self):
        return self

    def __exit__(self, *exc):
        self.close()

    def __del__(self):
        try:
            self.close()
        except Exception:  # interpreter shutdown
            pass
