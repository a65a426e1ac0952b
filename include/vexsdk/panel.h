/* Buzzer, LED, display backlight and delays. Part of vexsdk.h.
 *
 * The buzzer is driven by the processor's first pulse-width modulator
 * (PWM 0) on GPIO 16, the user LED by GPIO 84 (lit when low), the display
 * backlight by PWM 1 on GPIO 17 or, on controllers without dimming, by
 * GPIO 52. Nothing here records an error code except the calls marked
 * unsupported and a failed beep.
 *
 * Threads. A beep runs on a thread of its own (one at a time per process);
 * everything else runs on the caller's thread. vex_BuzzerBeep,
 * vex_StopBuzzer and vex_SetBuzzerFreqDuty may be called from any thread
 * at once. The backlight and LED calls change shared GPIO registers under
 * the library's cross-process GPIO lock. */
#ifndef VEXSDK_PANEL_H
#define VEXSDK_PANEL_H

#include "types.h"

/* Backlight kinds, from the hardware ID (vex_SetBackLight_Slope returns
 * them when the backlight cannot be dimmed). */
#define VEX_BACKLIGHT_NO_HWID   (-1) /* the hardware ID key is missing */
#define VEX_BACKLIGHT_PWM         1  /* "HR31...", "HR-208K...": dimmed by PWM 1 */
#define VEX_BACKLIGHT_SWITCHED    2  /* "HR19...": on/off through GPIO 52 */
#define VEX_BACKLIGHT_NONE      (-2) /* any other controller */

VEXSDK_EXTERN_C_BEGIN

/**
 * @brief Frequency (Hz) and duty (percent) of later beeps.
 * Values below 1 become 2000 Hz and 50 %. The modulator's period is (2031250
 * / freq + 5) / 10 counts, its duty period x duty / 100 (2000 Hz, 50 %: 102
 * and 51).
 * @param freq Frequency in hertz, or where it is stored.
 * @param duty Duty cycle in percent, or where it is stored.
 * @errors
 *   - none: the call records no code.
 * @thread Safe from any thread.
 */
VEXSDK_API void vex_SetBuzzerFreqDuty(int32_t freq, int32_t duty);
/**
 * @brief The stored frequency and duty; a null pointer is skipped.
 * @param freq Frequency in hertz, or where it is stored.
 * @param duty Duty cycle in percent, or where it is stored.
 * @errors
 *   - none: the call records no code.
 * @thread Safe from any thread.
 */
VEXSDK_API void vex_GetBuzzerFreqDuty(uint32_t *freq, uint32_t *duty);
/**
 * @brief Beeps `count` times, `ms` milliseconds on and `ms` off, on a thread
 *   of its own; count 0 sounds until vex_StopBuzzer.
 * Returns at once. A beep already running is abandoned (it ends at once,
 * silent). As on the controller, count and ms are stored after the thread
 * starts, so a thread that runs at once may use the previous beep's values.
 * Returns VEX_TRUE, or VEX_FALSE with VEX_ERR_BUZZER when no thread can be
 * made.
 * @param count Count (see the description).
 * @param ms Time in milliseconds.
 * @return At once.
 * @errors
 *   - VEX_ERR_BUZZER (0x165003): the buzzer cannot be driven (no message).
 * @thread Safe from any thread.
 */
VEXSDK_API int32_t vex_BuzzerBeep(uint32_t count, uint32_t ms);
/**
 * @brief Silences the buzzer (PWM 0 control 0, period 1, full duty) and ends a
 *   running beep sequence.
 * (The controller's own library only silenced the current tone, and a
 * sequence sounded again at its next beep.)
 * @errors
 *   - none: the call records no code.
 * @thread Safe from any thread.
 */
VEXSDK_API void vex_StopBuzzer(void);

/**
 * @brief Lights the LED when the low byte of `on` is non-zero, else puts it
 *   out.
 * @param on Non-zero to light, zero to darken.
 * @errors
 *   - none: the call records no code.
 * @thread Safe from any thread.
 */
VEXSDK_API void vex_EnableLED(int32_t on);
/**
 * @brief Not supported:
 * records VEX_ERR_NOT_SUPPORTED.
 * @param leds Bit mask of the lights.
 * @errors
 *   - VEX_ERR_NOT_SUPPORTED (0x10006): the controller or module lacks the function ("The
 *     function isn't supported").
 * @thread Safe from any thread.
 */
VEXSDK_API void vex_EnableLEDs(uint32_t leds);

/**
 * @brief Backlight level in percent.
 * Dimmed kind: levels below 11 become 11 and above 100 become 100; PWM 1
 * duty = 10 x level / 100 of a period of 10. Switched kind: any non-zero
 * level is on, 0 off. Other kinds: nothing.
 * @param level Brightness level.
 * @errors
 *   - none: the call records no code.
 * @thread Safe from any thread.
 */
VEXSDK_API void vex_SetBackLight(int32_t level);
/**
 * @brief Like vex_SetBackLight on the dimmed kind, ramping in 5 ms steps from
 *   the present duty:
 * down to the level for levels 50 and 60, otherwise up to full first and
 * then to the level (the controller's own asymmetric ramp; it blocks for up
 * to half a second). Returns 0 on the dimmed kind, else the kind (nothing
 * changes).
 * @param level Brightness level.
 * @return 0 on the dimmed kind, else the kind (nothing changes).
 * @errors
 *   - none: the call records no code.
 * @thread Safe from any thread.
 */
VEXSDK_API int32_t vex_SetBackLight_Slope(int32_t level);
/**
 * @brief Not supported:
 * records VEX_ERR_NOT_SUPPORTED, returns 0.
 * @return The value described above.
 * @errors
 *   - VEX_ERR_NOT_SUPPORTED (0x10006): the controller or module lacks the function ("The
 *     function isn't supported").
 * @thread Safe from any thread.
 */
VEXSDK_API int32_t vex_GetBackLight(void);

/**
 * @brief Not supported:
 * records VEX_ERR_NOT_SUPPORTED, returns 0.
 * @param ms Time in milliseconds.
 * @return The value described above.
 * @errors
 *   - VEX_ERR_NOT_SUPPORTED (0x10006): the controller or module lacks the function ("The
 *     function isn't supported").
 * @thread Safe from any thread.
 */
VEXSDK_API uint32_t _vex_delay(uint32_t ms);
/**
 * @brief Busy-waits n microseconds, measured on the monotonic clock, so that
 *   it holds on any processor and never ends early (the controller's own library
 *   ran n passes of a loop timed for its processor).
 * It spins: for waits of more than a few hundred microseconds prefer
 * sleeping.
 * @param n Number of microseconds.
 * @errors
 *   - none: the call records no code.
 * @thread Safe from any thread.
 */
VEXSDK_API void _vex_us_delay(uint32_t n);
/**
 * @brief _vex_us_delay(5).
 * @errors
 *   - none: the call records no code.
 * @thread Safe from any thread.
 */
VEXSDK_API void _vex_5us_delay(void);
/**
 * @brief Busy-waits until the OS timer counter (3.25 MHz) has passed its value
 *   at entry plus `ticks`, across a wrap of the counter.
 * Ends after 10 ms without the counter moving (no controller: the counter
 * floats).
 * @param ticks Number of timer ticks.
 * @errors
 *   - none: the call records no code.
 * @thread Safe from any thread.
 */
VEXSDK_API void _vex_ticks_delay(uint32_t ticks);

VEXSDK_EXTERN_C_END

#endif /* VEXSDK_PANEL_H */
