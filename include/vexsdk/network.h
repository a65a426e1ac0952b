/* Ethernet link state. Part of vexsdk.h.
 *
 * The controller has two Ethernet adapters, "LAN1" and "LAN2". From load
 * to unload the library keeps one thread that listens for the network's
 * link notifications and remembers, per process, whether each adapter's
 * cable link is up. Unlike the controller's own library, it also reads the
 * present state when it starts, so a cable plugged in before the program
 * started reports 1 at once.
 *
 * On Linux LAN1 and LAN2 stand for the interfaces named by the string values
 *   HKEY_LOCAL_MACHINE\VORLAN\Ethernet\LAN1     default "eth0"
 *   HKEY_LOCAL_MACHINE\VORLAN\Ethernet\LAN2     default "eth1"
 * read when the library loads (both may name the same interface). A link is
 * up while the kernel reports carrier (IFF_LOWER_UP); an interface that
 * disappears is down. On the virtual controller the described adapters
 * stand in for the interfaces (vexsim set link LAN1 up|down). */
#ifndef VEXSDK_NETWORK_H
#define VEXSDK_NETWORK_H

#include "types.h"

VEXSDK_EXTERN_C_BEGIN

/**
 * @brief For index 1 (LAN1) or 2 (LAN2) writes 1 (link up) or 0 (down or not
 *   known) into *state and returns 0.
 * Other indexes leave *state untouched and return 0 too. Returns -2 while
 * the monitor is not running (before load, after unload); if it could not
 * start, the state stays 0. A null state with index 1 or 2 returns -1. Reads
 * one byte: no lock, any thread.
 * @param index Adapter: 1 (LAN1) or 2 (LAN2).
 * @param state Receives 1 (link up) or 0 (down or not known).
 * @return 0; -1 for a null state; -2 while the monitor is not running.
 * @errors
 *   - none: the call records no code; its result says what went wrong (see @return).
 * @thread Safe from any thread.
 */
VEXSDK_API int32_t vex_EthernetLinkState(uint8_t index, uint8_t *state);

VEXSDK_EXTERN_C_END

#endif /* VEXSDK_NETWORK_H */
