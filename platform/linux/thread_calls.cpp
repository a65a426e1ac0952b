#include "platform/linux/thread_calls.h"

#include <cerrno>
#include <system_error>

#include "platform/thread_start.h"

namespace vex::plat {
namespace {

// std::thread reports a refused pthread_create by throwing; the callers of
// the platform take a result instead.
int real_create(std::thread* out, std::function<void()>* body) {
    try {
        *out = std::thread(std::move(*body));
        return 0;
    } catch (const std::system_error& e) {
        errno = e.code().value();
        return -1;
    }
}

constexpr ThreadCalls kReal = {real_create};
constexpr CallSlot kSlots[] = {VEX_CALL_SLOT(ThreadCalls, create)};
constinit CallTable<ThreadCalls> g_table{kReal, kSlots};

}  // namespace

CallTable<ThreadCalls>& thread_table() { return g_table; }

bool start_thread(std::thread& out, std::function<void()>& body) { return g_table.now().create(&out, &body) == 0; }

}  // namespace vex::plat
