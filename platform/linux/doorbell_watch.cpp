// Link changes of the virtual controller: whoever changes a link rewrites
// the instance's doorbell file, and inotify tells every watcher, which then
// reads the links from the instance's shared state. The file is made when
// missing, so a watcher may start before anyone rang.
#include <fcntl.h>
#include <sys/eventfd.h>
#include <sys/inotify.h>

#include <atomic>
#include <cerrno>
#include <cstring>

#include "platform/link_watch.h"
#include "platform/linux/service_calls.h"

namespace vex::plat {
namespace {

using oscalls::calls;

std::string failure(const std::string& call) { return call + " failed: " + std::strerror(errno); }

class DoorbellWatch final : public LinkWatch {
public:
    DoorbellWatch(int inotify, int wake, LinkReader read_all, void* context)
        : inotify_(inotify), wake_(wake), read_all_(read_all), context_(context) {}
    ~DoorbellWatch() override {
        if (inotify_ >= 0) calls().close(inotify_);
        calls().close(wake_);
    }

    bool wait(std::vector<LinkEvent>& out) override {
        for (;;) {
            if (cancelled_.load(std::memory_order_acquire)) return false;
            pollfd p[2] = {{wake_, POLLIN, 0}, {inotify_, POLLIN, 0}};
            const int n = calls().poll(p, inotify_ >= 0 ? 2 : 1, -1);
            if (n < 0) {
                if (errno == EINTR) continue;
                return false;
            }
            if (p[0].revents) return false;
            if (p[1].revents & (POLLERR | POLLHUP | POLLNVAL)) {
                drop_source();
                continue;
            }
            if (p[1].revents & POLLIN) {
                drain();
                // Whatever rang, the links are read as they are now.
                std::vector<LinkEvent> now = read_all_(context_);
                out.insert(out.end(), now.begin(), now.end());
                return true;
            }
        }
    }

    void cancel() override {
        cancelled_.store(true, std::memory_order_release);
        const uint64_t one = 1;
        if (calls().write(wake_, &one, sizeof one) < 0) {
            // The counter is already non-zero: the waiter wakes anyway.
        }
    }

private:
    // Reads the queued inotify events. The watch ends when the file or the
    // instance directory goes (IN_IGNORED): the instance was destroyed, no
    // one will ring again, and only cancel() is left to wait for.
    void drain() {
        alignas(inotify_event) char buf[4096];
        for (;;) {
            const ssize_t n = calls().read(inotify_, buf, sizeof buf);
            if (n < 0 && errno == EINTR) continue;
            if (n <= 0) return;
            for (ssize_t at = 0; at + static_cast<ssize_t>(sizeof(inotify_event)) <= n;) {
                const auto* e = reinterpret_cast<const inotify_event*>(buf + at);
                if (e->mask & IN_IGNORED) {
                    drop_source();
                    return;
                }
                at += static_cast<ssize_t>(sizeof(inotify_event) + e->len);
            }
        }
    }

    void drop_source() {
        if (inotify_ >= 0) calls().close(inotify_);
        inotify_ = -1;
    }

    int inotify_;
    int wake_;
    LinkReader read_all_;
    void* context_;
    std::atomic<bool> cancelled_{false};
};

}  // namespace

std::unique_ptr<LinkWatch> open_doorbell_watch(const std::string& path, LinkReader read_all, void* context,
                                               std::vector<LinkEvent>& now, std::string* error) {
    const int file = calls().open(path.c_str(), O_RDONLY | O_CREAT | O_CLOEXEC, 0600);
    if (file < 0) {
        if (error) *error = failure("open(" + path + ")");
        return nullptr;
    }
    calls().close(file);
    const int ino = calls().inotify_init1(IN_CLOEXEC | IN_NONBLOCK);
    if (ino < 0) {
        if (error) *error = failure("inotify_init1");
        return nullptr;
    }
    if (calls().inotify_add_watch(ino, path.c_str(), IN_CLOSE_WRITE | IN_DELETE_SELF | IN_MOVE_SELF) < 0) {
        if (error) *error = failure("inotify_add_watch(" + path + ")");
        calls().close(ino);
        return nullptr;
    }
    const int wake = calls().eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    if (wake < 0) {
        if (error) *error = failure("eventfd");
        calls().close(ino);
        return nullptr;
    }
    // Subscribed first, read second: a ring in between is heard later.
    now = read_all(context);
    return std::make_unique<DoorbellWatch>(ino, wake, read_all, context);
}

}  // namespace vex::plat
