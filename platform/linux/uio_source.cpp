// Interrupts on the hardware target: one Linux UIO device per interrupt,
// found by name. A board provides them with the generic UIO platform driver
// (uio_pdrv_genirq) and one device-tree node per interrupt, named as
// uio_device_name() says.
//
// UIO protocol: a 4-byte read returns the device's total interrupt count and
// blocks until it changes; writing a 4-byte 1 re-enables the interrupt line,
// which the driver masks on each occurrence; writing 0 masks it.
//
// Under $VEXSDK_UIO the devices are files of that directory. A FIFO stands
// in for a device there: what is written to it reads as counts, and as it is
// no character device it gets no enable writes (they would read back as
// counts).
#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstring>
#include <fstream>

#include "platform/interrupt.h"
#include "platform/interrupt_source.h"
#include "platform/linux/irq_calls.h"
#include "platform/system.h"

namespace vex::plat {
namespace {

// /dev/uioN of the device called `name`, or "". The sysfs listing is no
// call of the table: a listing that fails finds no device, as a board
// without the node does, and that answer is tested through $VEXSDK_UIO.
std::string find_uio_device(const std::string& name) {
    DIR* dir = ::opendir("/sys/class/uio");
    if (!dir) return {};
    std::string found;
    while (dirent* e = ::readdir(dir)) {
        if (e->d_name[0] == '.') continue;
        std::ifstream in(std::string("/sys/class/uio/") + e->d_name + "/name");
        std::string line;
        if (std::getline(in, line) && line == name) {
            found = std::string("/dev/") + e->d_name;
            break;
        }
    }
    ::closedir(dir);
    return found;
}

constexpr uint32_t kErrorPauseMs = 10;

class UioSource final : public InterruptSource {
public:
    UioSource(int fd, bool control) : fd_(fd), control_(control) { enable(1); }
    ~UioSource() override {
        enable(0);
        irq_calls().close(fd_);
    }
    int fd() const override { return fd_; }

    bool take() override {
        bool fired = false;
        uint32_t count = 0;
        ssize_t n;
        while ((n = irq_calls().read(fd_, &count, sizeof count)) == static_cast<ssize_t>(sizeof count)) fired = true;
        if (fired) enable(1);
        // A device that polls readable but fails every read would have its
        // waiter take it again at once, forever: pause before the next try.
        // The count stays in the device, so the interrupt comes through
        // once reading works again.
        if (!fired && n < 0 && errno != EAGAIN && errno != EINTR) sleep_ms(kErrorPauseMs);
        return fired;
    }

private:
    void enable(uint32_t on) {
        // A driver without interrupt control refuses the write; its line
        // needs no re-enabling then.
        if (control_ && irq_calls().write(fd_, &on, sizeof on) != static_cast<ssize_t>(sizeof on)) return;
    }

    int fd_;
    bool control_;
};

}  // namespace

std::unique_ptr<InterruptSource> open_uio_source(uint32_t id, std::string* error) {
    auto fail = [&](const std::string& why) -> std::unique_ptr<InterruptSource> {
        if (error) *error = why;
        return nullptr;
    };
    const std::string name = uio_device_name(id);
    if (name.empty()) return fail("the controller has no interrupt " + std::to_string(id));
    const std::string dir = env("VEXSDK_UIO");
    const std::string path = dir.empty() ? find_uio_device(name) : dir + "/" + name;
    if (path.empty()) return fail("no UIO device named '" + name + "' (see /sys/class/uio/*/name)");
    const int fd = irq_calls().open(path.c_str(), O_RDWR | O_NONBLOCK | O_CLOEXEC);
    if (fd < 0) return fail("open " + path + ": " + std::strerror(errno));
    struct stat st {};
    const bool device = irq_calls().fstat(fd, &st) == 0 && S_ISCHR(st.st_mode);
    return std::make_unique<UioSource>(fd, device);
}

}  // namespace vex::plat
