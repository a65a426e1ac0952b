// The buzzer: PWM 0 on GPIO 16, driven by one beep thread at a time.
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <memory>
#include <new>
#include <mutex>
#include <thread>

#include "frame/errors.h"
#include "platform/fork.h"
#include "platform/gpio.h"
#include "platform/peripherals.h"
#include "platform/thread_start.h"
#include "services/panel.h"
#include "vexsdk.h"

namespace vex::services {
namespace {

using plat::Page;
namespace pwm = plat::pwm;

constexpr uint32_t kEnablePin = 6;     // the buzzer's driver
constexpr uint32_t kPwmPin = 16;       // PWM 0 output, alternate function 2
constexpr uint32_t kPwmFunction = 2;
constexpr uint32_t kPrescaler = 127;
constexpr uint32_t kFullDuty = 0x400;
constexpr int32_t kDefaultFreq = 2000;
constexpr int32_t kDefaultDuty = 50;

// Settings of later beeps, and the count and time of the current one. Any
// thread writes them; the beep thread reads them once, when it starts.
std::atomic<uint32_t> g_freq{kDefaultFreq};
std::atomic<uint32_t> g_duty{kDefaultDuty};
std::atomic<uint32_t> g_count{0};
std::atomic<uint32_t> g_ms{0};

// A beep sequence's stop request (a new beep, vex_StopBuzzer, unload).
class StopRequest {
public:
    // Sleeps `ms`; true as soon as a stop is requested.
    bool sleep(uint32_t ms) {
        std::unique_lock<std::mutex> lock(m_);
        return cv_.wait_for(lock, std::chrono::milliseconds(ms), [this] { return stop_; });
    }
    bool requested() {
        std::lock_guard<std::mutex> lock(m_);
        return stop_;
    }
    void request() {
        std::lock_guard<std::mutex> lock(m_);
        stop_ = true;
        cv_.notify_all();
    }

private:
    std::mutex m_;
    std::condition_variable cv_;
    bool stop_ = false;
};

// The beep thread of this process. `mutex` guards `thread` and `stop`; it
// is held to start or end a thread (joining included: the beep thread
// never takes it) and taken before any other lock. Allocated once and
// never destroyed: unload may run after the process's static destructors.
struct Beeper {
    std::mutex mutex;
    std::thread thread;
    std::shared_ptr<StopRequest> stop;
};

Beeper& beeper() {
    static Beeper* b = new Beeper;
    return *b;
}

// fork(): the child has no beep thread. It forgets the parent's (neither
// joined nor destroyed: it does not exist there) and its stop request,
// whose lock the thread may have held at the moment of the fork.
void before_fork() { beeper().mutex.lock(); }
void after_fork_parent() { beeper().mutex.unlock(); }
void after_fork_child() {
    Beeper& b = beeper();
    new (&b.thread) std::thread();
    new (&b.stop) std::shared_ptr<StopRequest>();
    b.mutex.unlock();
}

void program(const BuzzerSetting& s) {
    plat::reg_write(Page::Pwm0, pwm::kControl, kPrescaler);
    plat::reg_write(Page::Pwm0, pwm::kPeriod, s.period);
    plat::reg_write(Page::Pwm0, pwm::kDuty, s.duty);
}

void silence() {
    plat::reg_write(Page::Pwm0, pwm::kControl, 0);
    plat::reg_write(Page::Pwm0, pwm::kPeriod, 1);
    plat::reg_write(Page::Pwm0, pwm::kDuty, plat::reg_read(Page::Pwm0, pwm::kDuty) | kFullDuty);
}

void beep_thread(std::shared_ptr<StopRequest> stop) {
    plat::gpio::make_output(kEnablePin);
    // Low before it drives, so the pin never shows a stray high.
    plat::gpio::clear(kPwmPin);
    plat::gpio::make_output(kPwmPin);
    plat::gpio::select_function(kPwmPin, kPwmFunction);
    // The controller's library ORs nothing into the clock-enable word: PWM 0's
    // clock is on from boot. The access itself is kept.
    plat::reg_write(Page::Clock, plat::clock::kEnable, plat::reg_read(Page::Clock, plat::clock::kEnable) | 0u);

    const uint32_t count = g_count.load(std::memory_order_relaxed);
    const uint32_t ms = g_ms.load(std::memory_order_relaxed);
    const BuzzerSetting setting =
        buzzer_setting(g_freq.load(std::memory_order_relaxed), g_duty.load(std::memory_order_relaxed));
    if (count == 0) {
        program(setting);  // sounds until vex_StopBuzzer
        return;
    }
    for (uint32_t i = 0; i < count; ++i) {
        if (stop->requested()) return;
        program(setting);
        if (stop->sleep(ms)) {
            silence();  // cut short while sounding
            return;
        }
        silence();
        if (stop->sleep(ms)) return;
    }
}

// Ends the running sequence, if any: asks it to stop and joins it.
// Caller holds beeper().mutex.
void end_sequence(Beeper& b) {
    if (b.stop) b.stop->request();
    if (b.thread.joinable()) b.thread.join();
}

}  // namespace

BuzzerSetting buzzer_setting(uint32_t freq, uint32_t duty_percent) {
    const uint32_t period = (2031250u / (freq ? freq : 1u) + 5u) / 10u;
    return {period, static_cast<uint32_t>(static_cast<uint64_t>(period) * duty_percent / 100u)};
}

void set_beep_values(uint32_t count, uint32_t ms) {
    g_count.store(count, std::memory_order_relaxed);
    g_ms.store(ms, std::memory_order_relaxed);
}

void attach_buzzer() {
    static std::once_flag fork_handlers;
    std::call_once(fork_handlers, [] { plat::on_fork(before_fork, after_fork_parent, after_fork_child); });
}

void detach_buzzer() {
    Beeper& b = beeper();
    std::lock_guard<std::mutex> lock(b.mutex);
    end_sequence(b);
    b.stop.reset();
}

void wait_for_beep() {
    Beeper& b = beeper();
    std::thread running;
    {
        std::lock_guard<std::mutex> lock(b.mutex);
        running = std::move(b.thread);
    }
    if (running.joinable()) running.join();
}

}  // namespace vex::services

using vex::services::beeper;

VEXSDK_EXTERN_C_BEGIN

VEXSDK_API void vex_SetBuzzerFreqDuty(int32_t freq, int32_t duty) {
    vex::services::g_freq.store(freq < 1 ? vex::services::kDefaultFreq : static_cast<uint32_t>(freq),
                                std::memory_order_relaxed);
    vex::services::g_duty.store(duty < 1 ? vex::services::kDefaultDuty : static_cast<uint32_t>(duty),
                                std::memory_order_relaxed);
}

VEXSDK_API void vex_GetBuzzerFreqDuty(uint32_t* freq, uint32_t* duty) {
    if (freq) *freq = vex::services::g_freq.load(std::memory_order_relaxed);
    if (duty) *duty = vex::services::g_duty.load(std::memory_order_relaxed);
}

VEXSDK_API int32_t vex_BuzzerBeep(uint32_t count, uint32_t ms) {
    auto& b = beeper();
    std::lock_guard<std::mutex> lock(b.mutex);
    if (b.thread.joinable()) {
        vex::services::end_sequence(b);
        vex::services::silence();
    }
    try {
        auto stop = std::make_shared<vex::services::StopRequest>();
        if (!vex::plat::start_thread(b.thread, [stop] { vex::services::beep_thread(stop); })) {
            vex::frame::set_last_error(VEX_ERR_BUZZER);
            return VEX_FALSE;
        }
        b.stop = std::move(stop);
    } catch (const std::bad_alloc&) {
        vex::frame::set_last_error(VEX_ERR_BUZZER);
        return VEX_FALSE;
    }
    // Stored after the thread started, as the controller's library does.
    vex::services::g_count.store(count, std::memory_order_relaxed);
    vex::services::g_ms.store(ms, std::memory_order_relaxed);
    return VEX_TRUE;
}

VEXSDK_API void vex_StopBuzzer(void) {
    auto& b = beeper();
    {
        std::lock_guard<std::mutex> lock(b.mutex);
        vex::services::end_sequence(b);
    }
    vex::services::silence();
}

VEXSDK_EXTERN_C_END
