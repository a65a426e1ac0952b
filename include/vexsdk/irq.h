/* Slot interrupts, backplane timers and rising-edge interrupt control.
 * Part of vexsdk.h.
 *
 * Service threads and callbacks
 *  - Registering a slot interrupt or a backplane timer starts one service
 *    thread for it in the calling process. The thread blocks (it never
 *    polls) until the interrupt arrives, then calls the callback ON THAT
 *    THREAD, with no lock of the library held. A callback may call any
 *    function of the library, including unregistering its own slot or
 *    killing its own timer (the thread then ends after the callback
 *    returns). It should return promptly: interrupts that arrive while it
 *    runs merge into one.
 *  - The callback's result tells the thread what to do next:
 *        slot interrupt   0 or 1: acknowledge; 3: end the thread (after one
 *                         acknowledge); anything else: leave the interrupt
 *                         latched until the program calls vex_InterruptDone
 *        timer            0: acknowledge; 3: end the thread; anything else
 *                         (1 included): leave it unacknowledged, which
 *                         holds off further timer interrupts
 *  - Service threads run at priority 100 on the controller's scale of 0
 *    (most urgent) to 255. On Linux 0..247 map onto SCHED_FIFO 99..1
 *    (fifo = 99 - priority * 98 / 247, so 100 is SCHED_FIFO 60) and
 *    248..255 are normal time-sharing. A process without real-time rights
 *    (CAP_SYS_NICE or a sufficient RLIMIT_RTPRIO) still registers and is
 *    served, at normal priority; only the priority calls then fail.
 *  - Unregistering or killing does not wait for the thread (its callback
 *    may be running, or may be the caller); the library joins it once it
 *    has ended. At unload the library waits up to one second for callbacks
 *    in progress and leaves a thread whose callback never returns to the
 *    process.
 *
 * Registration across processes
 *  - Registrations are per process, guarded across processes by one mask
 *    for slot interrupts and one for timers, shared by every process of
 *    the controller: bit n set means slot (timer) n is registered in some
 *    process. The masks are read and written without a lock; each process
 *    keeps a copy of the mask as it last wrote it, and refuses to
 *    unregister while the shared mask differs from its copy (another
 *    process registered or unregistered since): VEX_ERR_SLOT_NOT_REGISTERED
 *    until it changes the mask itself again. A process that ends without
 *    unregistering leaves its bits set for as long as any process has the
 *    library loaded.
 *
 * Events
 *  - A slot's event is a pollable file descriptor (an eventfd: auto-reset,
 *    signals before a wait merge), so a program that does not register a
 *    callback can wait for the slot's interrupt with poll, epoll or select
 *    on vex_GetSlotInterruptEvent after vex_InterruptInitialize. Read 8
 *    bytes from it to take the signal, then acknowledge with
 *    vex_InterruptDone.
 *
 * Slots are taken modulo 256. Per-process slot state exists for slots
 * 0..7. On the single-slot controller (model code 5) the slot interrupt is
 * the processor's GPIO 3 edge detection, interrupt 66, whatever slot is
 * named; the backplane timers do not exist there. */
#ifndef VEXSDK_IRQ_H
#define VEXSDK_IRQ_H

#include "types.h"

VEXSDK_EXTERN_C_BEGIN

/* ---- Slot interrupts ----------------------------------------------------
 *
 * Trigger types, one set of enable and latch registers each:
 *   0  rising edge of the module's interrupt line (0x9010 / 0x9012)
 *   1  level: latched while the line is high     (0x9014 / 0x9016)
 *   2  falling edge                              (0x9018 / 0x901A)
 * The single-slot controller offers 0 and 2 only. 0x9044 lets each slot's
 * interrupt through to the processor. Acknowledging clears the slot's latch
 * of its trigger type and writes the end of interrupt (0xFF to 0x9006),
 * which re-arms the backplane; on the single-slot controller it re-arms the
 * GPIO edge detection instead. */
#define VEX_TRIGGER_RISING 0
#define VEX_TRIGGER_LEVEL 1
#define VEX_TRIGGER_FALLING 2

/**
 * @brief Registers `callback` for the slot's interrupt and starts its service
 *   thread.
 * Does not enable the interrupt: call vex_SetTriggerType and
 * vex_EnableSlotInterrupt next. Fails with VEX_ERR_SLOT_IN_USE when any
 * process (this one included) has the slot registered - this test comes
 * first; VEX_ERR_SLOT_REGISTERED when this process holds a callback for the
 * slot already (after an earlier registration failed half-way, until it
 * unregisters); VEX_ERR_INVALID_SLOT for a slot beyond the slot count. Fails
 * without a code for a null callback, or when the interrupt cannot be bound
 * or the thread started.
 * @param slot Slot number, counted from 0 (only the low 8 bits are used).
 * @param callback Function the library calls on its service thread; may be
 *   null.
 * @return 1 on success, 0 on failure.
 * @errors
 *   - VEX_ERR_SLOT_REGISTERED (0x10001): the slot is registered already ("Slot registered
 *     error").
 *   - VEX_ERR_INVALID_SLOT (0x10008): the slot is beyond the slot count ("Invalid Slot number").
 *   - VEX_ERR_SLOT_IN_USE (0x10009): the slot is in use (no message).
 * @thread Safe from any thread; callbacks run on the library's service
 *   threads.
 */
VEXSDK_API VEX_BOOL32 vex_RegisterSlotInterrupt(uint32_t slot, VEX_IRQ_CALLBACK callback);
/**
 * @brief Disables the slot's interrupt, clears its bit in the shared mask,
 *   stops the service thread (without waiting), closes the event the library
 *   made and ends the interrupt binding.
 * Fails without a code when the slot is not registered in any process; with
 * VEX_ERR_SLOT_NOT_REGISTERED when the shared mask differs from this
 * process's copy or this process holds no callback for the slot.
 * @param slot Slot number, counted from 0 (only the low 8 bits are used).
 * @return 1 on success, 0 on failure.
 * @errors
 *   - VEX_ERR_SLOT_NOT_REGISTERED (0x10002): another process registered the slot ("Slot not
 *     registered error").
 *   - VEX_ERR_INVALID_SLOT (0x10008): the slot is at or beyond the slot count ("Invalid Slot
 *     number").
 * @thread Safe from any thread; callbacks run on the library's service
 *   threads.
 */
VEXSDK_API VEX_BOOL32 vex_UnregisterSlotInterrupt(uint8_t slot);

/**
 * @brief Makes a new event for the slot (before anything else, even for a slot
 *   that then proves invalid; an earlier event the library made is closed) and
 *   binds the slot's interrupt to it.
 * FALSE for an invalid slot (VEX_ERR_INVALID_SLOT) or when the interrupt
 * cannot be bound.
 * @param slot Slot number, counted from 0 (only the low 8 bits are used).
 * @return 1 on success, 0 on failure.
 * @errors
 *   - VEX_ERR_INVALID_SLOT (0x10008): the slot is beyond the slot count ("Invalid Slot number").
 *   - VEX_ERR_UART_RESPONSE (0x14003): the module answered with an error or malformed text
 *     ("Uart response error").
 *   - VEX_ERR_UART_OPEN (0x14006): the port is not open, or cannot be opened ("Open COM port
 *     failed").
 * @thread Safe from any thread; callbacks run on the library's service
 *   threads.
 */
VEXSDK_API VEX_BOOL32 vex_InterruptInitialize(uint32_t slot);
/**
 * @brief Non-zero:
 * sets the slot's bit in the enable register of its trigger type and in
 * 0x9044. Zero: clears both, then acknowledges. Invalid slots:
 * VEX_ERR_INVALID_SLOT, nothing written. On the single-slot controller it
 * re-arms the edge detection whatever `enable` says.
 * @param slot Slot number, counted from 0 (only the low 8 bits are used).
 * @param enable Non-zero to enable, zero to disable.
 * @errors
 *   - VEX_ERR_INVALID_SLOT (0x10008): the slot is beyond the slot count ("Invalid Slot number").
 * @thread Safe from any thread; callbacks run on the library's service
 *   threads.
 */
VEXSDK_API void vex_EnableSlotInterrupt(uint32_t slot, uint8_t enable);
/**
 * @brief Stores the slot's trigger type (0, 1 or 2; any other value stores 0;
 *   the single-slot controller stores 0 for 1).
 * Invalid slots: nothing stored.
 * @param slot Slot number, counted from 0 (only the low 8 bits are used).
 * @param type Kind selector (see the description).
 * @errors
 *   - VEX_ERR_INVALID_SLOT (0x10008): the slot is at or beyond the slot count; nothing is stored
 *     ("Invalid Slot number").
 * @thread Safe from any thread; callbacks run on the library's service
 *   threads.
 */
VEXSDK_API void vex_SetTriggerType(uint32_t slot, int32_t type);
/**
 * @brief Acknowledges the slot's interrupt (see above).
 * Invalid slots: nothing.
 * @param slot Slot number, counted from 0 (only the low 8 bits are used).
 * @errors
 *   - none: the call records no code.
 * @thread Safe from any thread; callbacks run on the library's service
 *   threads.
 */
VEXSDK_API void vex_InterruptDone(uint32_t slot);
/**
 * @brief The slot's event, or 0 when it has none or the slot is invalid
 *   (VEX_ERR_INVALID_SLOT).
 * The library owns an event it made: do not close it.
 * @param slot Slot number, counted from 0 (only the low 8 bits are used).
 * @return The value described above.
 * @errors
 *   - VEX_ERR_INVALID_SLOT (0x10008): the slot is beyond the slot count ("Invalid Slot number").
 * @thread Safe from any thread; callbacks run on the library's service
 *   threads.
 */
VEXSDK_API VEX_EVENT vex_GetSlotInterruptEvent(uint32_t slot);
/**
 * @brief Stores a program's handle as the slot's event, without checks; the
 *   program keeps owning it.
 * The service thread waits on it from then on, when it is an eventfd
 * (another handle is stored and returned but never waited on or written).
 * The interrupt stays bound to the event it was bound to; an event the
 * library made that this replaces stays open until unload. Slots 8 and
 * above: ignored.
 * @param slot Slot number, counted from 0 (only the low 8 bits are used).
 * @param event Event handle (an eventfd) or where it is stored.
 * @errors
 *   - none: the call records no code.
 * @thread Safe from any thread; callbacks run on the library's service
 *   threads.
 */
VEXSDK_API void vex_SetSlotInterruptEvent(uint32_t slot, VEX_EVENT event);
/**
 * @brief The kernel's interrupt number of the slot:
 * 38 + slot, 66 on the single-slot controller (any slot), 0 for an invalid
 * slot.
 * @param slot Slot number, counted from 0 (only the low 8 bits are used).
 * @return The value described above.
 * @errors
 *   - none: the call records no code.
 * @thread Safe from any thread; callbacks run on the library's service
 *   threads.
 */
VEXSDK_API uint32_t vex_GetSlotInterruptID(uint32_t slot);
/**
 * @brief Sets the priority (0 most urgent ..
 * 255, see above) of the slot's service thread. FALSE for an invalid slot, a
 * slot without a service thread, a priority outside 0..255, or when the
 * process may not use real-time scheduling.
 * @param slot Slot number, counted from 0 (only the low 8 bits are used).
 * @param priority Thread priority.
 * @return 1 on success, 0 on failure.
 * @errors
 *   - none: the call records no code.
 * @thread Safe from any thread; callbacks run on the library's service
 *   threads.
 */
VEXSDK_API VEX_BOOL32 vex_SetSlotInterruptPriority(uint32_t slot, int32_t priority);

/* ---- Backplane timers ---------------------------------------------------
 *
 * Three timers that count in steps of 100 microseconds (a value of 10 is one
 * millisecond; 65535 is 6.5535 s). Timer 1 and 2 tick every `interval`
 * steps. Timer 0 drives an output signal, high for `first` steps then low
 * for `second` steps, and ticks at the start of each period of
 * first + second steps. Writing a period starts the timer afresh; a period
 * of 0 stops it. Each tick raises the timer's interrupt unless the previous
 * tick is still unacknowledged (then the two merge).
 *
 * On the single-slot controller every call here except
 * vex_SetBPTimerInterruptPriority records VEX_ERR_NOT_SUPPORTED and fails
 * (returns 0). Timer numbers above 2 fail without a code and touch nothing. */

/**
 * @brief Registers `callback` for the timer and starts its service thread; for
 *   timers 1 and 2 then writes `interval` (ignored for timer 0, whose values
 *   vex_SetBPTimerOut writes).
 * Fails with VEX_ERR_TIMER_ALREADY_SET when this process holds a callback
 * for the timer - this test comes first; VEX_ERR_SLOT_IN_USE when some
 * process has the timer in use. Fails without a code for a null callback or
 * when the interrupt cannot be bound or the thread started (the timer then
 * stays set up in this process until vex_KillBPTimer).
 * @param timer Timer number.
 * @param interval Interval (see the description for the unit).
 * @param callback Function the library calls on its service thread; may be
 *   null.
 * @return 1 on success, 0 on failure.
 * @errors
 *   - VEX_ERR_NOT_SUPPORTED (0x10006): the controller or module lacks the function ("The
 *     function isn't supported").
 *   - VEX_ERR_SLOT_IN_USE (0x10009): the slot is in use (no message).
 *   - VEX_ERR_TIMER_ALREADY_SET (0x16001): the timer is set already (no message).
 * @thread Safe from any thread; callbacks run on the library's service
 *   threads.
 */
VEXSDK_API VEX_BOOL32 vex_SetBPTimer(uint32_t timer, uint16_t interval, VEX_IRQ_CALLBACK callback);
/**
 * @brief Registers timer 0 with `callback`, switches its output on (off when
 *   both values are 0) and writes the two values.
 * @param first First interval.
 * @param second Second interval.
 * @param callback Function the library calls on its service thread; may be
 *   null.
 * @return 1 on success, 0 on failure.
 * @errors
 *   - VEX_ERR_NOT_SUPPORTED (0x10006): the controller or module lacks the function ("The
 *     function isn't supported").
 *   - VEX_ERR_SLOT_IN_USE (0x10009): the slot is in use (no message).
 *   - VEX_ERR_TIMER_ALREADY_SET (0x16001): the timer is set already (no message).
 * @thread Safe from any thread; callbacks run on the library's service
 *   threads.
 */
VEXSDK_API VEX_BOOL32 vex_SetBPTimerOut(uint16_t first, uint16_t second, VEX_IRQ_CALLBACK callback);
/**
 * @brief Stops the timer (its registers to 0; timer 0's output off),
 *   acknowledges it, clears its bit in the shared mask and stops its service
 *   thread (without waiting).
 * A timer not in use: nothing, no code. The shared mask differs from this
 * process's copy: VEX_ERR_SLOT_NOT_REGISTERED, nothing done. No callback
 * held here (after the mask was cleared): VEX_ERR_TIMER_NOT_SET. The timer's
 * interrupt stays bound to its old event until the timer is registered
 * again.
 * @param timer Timer number.
 * @errors
 *   - VEX_ERR_SLOT_NOT_REGISTERED (0x10002): another process runs the timer ("Slot not registered
 *     error").
 *   - VEX_ERR_NOT_SUPPORTED (0x10006): the single-slot controller has no backplane timers ("The
 *     function isn't supported").
 *   - VEX_ERR_TIMER_NOT_SET (0x16002): the timer is marked in use for this process but has no
 *     callback here (no message).
 * @thread Safe from any thread; callbacks run on the library's service
 *   threads.
 */
VEXSDK_API void vex_KillBPTimer(uint32_t timer);
/**
 * @brief Sets the priority of the timer's service thread (see above).
 * FALSE without a thread, for a timer above 2 or without real-time rights.
 * @param timer Timer number.
 * @param priority Thread priority.
 * @return 1 on success, 0 on failure.
 * @errors
 *   - none: the call records no code.
 * @thread Safe from any thread; callbacks run on the library's service
 *   threads.
 */
VEXSDK_API VEX_BOOL32 vex_SetBPTimerInterruptPriority(uint32_t timer, int32_t priority);
/**
 * @brief Milliseconds since the controller powered up (wraps after 49.7 days).
 * The bus delivers the counter a byte at a time; two equal reads in a row
 * are trusted, otherwise up to two more reads settle a torn value.
 * @return The value described above.
 * @errors
 *   - VEX_ERR_NOT_SUPPORTED (0x10006): the controller or module lacks the function ("The
 *     function isn't supported").
 * @thread Safe from any thread; callbacks run on the library's service
 *   threads.
 */
VEXSDK_API uint32_t vex_GetBPTimerTimeTick_ms(void);
/**
 * @brief Microseconds since power-up, low 8 bits.
 * @return The value described above.
 * @errors
 *   - VEX_ERR_NOT_SUPPORTED (0x10006): the controller or module lacks the function ("The
 *     function isn't supported").
 * @thread Safe from any thread; callbacks run on the library's service
 *   threads.
 */
VEXSDK_API uint32_t vex_GetBPTimerTimeTick_us(void);

/* ---- Rising-edge interrupt control --------------------------------------
 *
 * One register access each, on every controller model, without checks or
 * error codes. Bit n of a mask is slot n. */

/**
 * @brief Writes the retrigger register (0x900C):
 * a slot whose bit is set there is delivered again at every end of interrupt
 * while it is still latched.
 * @param value Value to write.
 * @errors
 *   - none: the call records no code.
 * @thread Safe from any thread; callbacks run on the library's service
 *   threads.
 */
VEXSDK_API void vex_EnableRetrigger(uint8_t value);
/**
 * @brief Writes the end of interrupt (0xFF to 0x9006).
 * @errors
 *   - none: the call records no code.
 * @thread Safe from any thread; callbacks run on the library's service
 *   threads.
 */
VEXSDK_API void vex_EOI(void);
/**
 * @brief Non-zero `enable`:
 * sets the mask's bits in the rising-edge enable register (0x9010); zero:
 * clears them (read-modify-write; other bits kept).
 * @param mask Bit mask of the inputs concerned.
 * @param enable Non-zero to enable, zero to disable.
 * @errors
 *   - none: the call records no code.
 * @thread Safe from any thread; callbacks run on the library's service
 *   threads.
 */
VEXSDK_API void vex_EnableRisingEdgeIRQ(uint8_t mask, uint8_t enable);
/**
 * @brief Clears the mask's slots in the rising-edge latch (0x9012).
 * @param mask Bit mask of the inputs concerned.
 * @errors
 *   - none: the call records no code.
 * @thread Safe from any thread; callbacks run on the library's service
 *   threads.
 */
VEXSDK_API void vex_ClearRisingEdgeIRQ(uint8_t mask);
/**
 * @brief The rising-edge enable register (0x9010).
 * @return The value described above.
 * @errors
 *   - none: the call records no code.
 * @thread Safe from any thread; callbacks run on the library's service
 *   threads.
 */
VEXSDK_API uint8_t vex_GetRisingEdgeEnableStatus(void);
/**
 * @brief The rising-edge latch (0x9012):
 * slots with a latched rising edge.
 * @return The value described above.
 * @errors
 *   - none: the call records no code.
 * @thread Safe from any thread; callbacks run on the library's service
 *   threads.
 */
VEXSDK_API uint8_t vex_GetRisingEdgeIRQStatus(void);
/**
 * @brief vex_ResetBackplane.
 * @errors
 *   - none: the call records no code.
 * @thread Safe from any thread; callbacks run on the library's service
 *   threads.
 */
VEXSDK_API void vex_ResetSystemToDefault(void);

VEXSDK_EXTERN_C_END

#endif /* VEXSDK_IRQ_H */
