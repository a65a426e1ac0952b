#include "platform/thread_priority.h"

#include <pthread.h>
#include <sched.h>

#include "platform/linux/irq_calls.h"

namespace vex::plat {
namespace {

bool apply(pthread_t thread, int32_t priority) {
    const int fifo = sched_fifo_priority(priority);
    if (fifo < 0) return false;
    sched_param param{};
    param.sched_priority = fifo;
    return irq_calls().pthread_setschedparam(thread, fifo > 0 ? SCHED_FIFO : SCHED_OTHER, &param) == 0;
}

}  // namespace

int sched_fifo_priority(int32_t priority) {
    if (priority < 0 || priority > kLowestPriority) return -1;
    if (priority > kLowestRealtimePriority) return 0;
    return 99 - priority * 98 / kLowestRealtimePriority;
}

bool set_thread_priority(std::thread& thread, int32_t priority) {
    return thread.joinable() && apply(thread.native_handle(), priority);
}

bool set_current_thread_priority(int32_t priority) { return apply(::pthread_self(), priority); }

}  // namespace vex::plat
