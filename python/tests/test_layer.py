"""The Pythonic layer against a private virtual controller."""
import os
import re

import pytest

import vexsdk


def test_version_is_the_headers(vc):
    header = os.path.join(os.environ.get('VEXSDK_INCLUDE', ''), 'vexsdk', 'version.h')
    if os.path.exists(header):
        text = open(header, encoding='utf-8').read()
        assert '"%s"' % vexsdk.version() in text
    assert re.fullmatch(r'\d+\.\d+\.\d+', vexsdk.version())


def test_errors_carry_code_and_library_message(vc):
    assert vexsdk.error_message(0x14006) == 'Open COM port failed'
    assert vexsdk.error_message(0) == ''
    with pytest.raises(vexsdk.VexError) as err:
        vexsdk.Port('COM9:')
    assert err.value.code == 0x14006
    assert err.value.message == 'Open COM port failed'
    assert 'uart_Open' in str(err.value) and '0x14006' in str(err.value)
    assert isinstance(err.value, OSError)


@pytest.fixture(scope='module')
def dio_slot(vc):
    """An empty slot of the controller with an 8-in, 8-out module plugged in."""
    slot = next(s for s in range(vexsdk.slot_count()) if not vexsdk.slot_exists(s))
    vc.sim('plug', slot, '--id', '0x21', '--di', 8, '--do', 8)
    assert vexsdk.slot_exists(slot)
    return slot


def test_inputs_by_address(vc, dio_slot):
    vc.sim('set', 'inputs', dio_slot, '0x0A')
    assert vexsdk.read_di(dio_slot, 8) == 0x0A
    vc.sim('set', 'inputs', dio_slot, '0x85')
    assert vexsdk.read_di(dio_slot, 8) == 0x85


def test_outputs_round_trip(vc, dio_slot):
    vexsdk.write_do(dio_slot, 8, 0x5A)
    assert vexsdk.read_do(dio_slot, 8) == 0x5A
    vexsdk.write_do_bit(dio_slot, 8, 0, True)
    vexsdk.write_do_bit(dio_slot, 8, 1, False)
    assert vexsdk.read_do(dio_slot, 8) == 0x59


def test_bad_addresses_raise(vc):
    with pytest.raises(vexsdk.VexError) as err:
        vexsdk.read_di(9, 8)
    assert err.value.code == 0x10008 and err.value.message == 'Invalid Slot number'
    empty = [s for s in range(vexsdk.slot_count()) if not vexsdk.slot_exists(s)]
    if empty:
        with pytest.raises(vexsdk.VexError) as err:
            vexsdk.write_do(empty[0], 8, 1)
        assert err.value.code == 0x10003
    with pytest.raises(vexsdk.VexError) as err:
        vexsdk.read_di(0x1001, 8, port=0xFFFFFFFF)  # no port: nothing is sent
    assert err.value.code == 0x14006


def test_port_is_a_context_manager(vc):
    with vexsdk.Port('COM0:') as port:
        handle = port.handle
        assert handle not in (0, 0xFFFFFFFF)
        # Opened exclusively: a second open of the same port fails while held.
        with pytest.raises(vexsdk.VexError):
            vexsdk.Port('COM0:')
    assert port.handle == 0xFFFFFFFF
    with vexsdk.Port('COM0:') as again:  # released by the with block
        assert again.handle not in (0, 0xFFFFFFFF)
    # A failing body still closes the port.
    with pytest.raises(ZeroDivisionError):
        with vexsdk.Port('COM0:') as p:
            1 / 0
    assert p.handle == 0xFFFFFFFF
