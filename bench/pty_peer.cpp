#include "bench/pty_peer.h"

#include <fcntl.h>
#include <poll.h>
#include <sched.h>
#include <sys/eventfd.h>
#include <termios.h>
#include <unistd.h>

#include <climits>
#include <cstdlib>
#include <cstring>
#include <string>

namespace vex::bench {
namespace {

constexpr char kAsciiAnswer[] = "!00FF00\r";

std::pair<int, int> last_two_cpus() {
    cpu_set_t set;
    CPU_ZERO(&set);
    if (::sched_getaffinity(0, sizeof set, &set) != 0) return {0, 0};
    int last = -1, before = -1;
    for (int i = 0; i < CPU_SETSIZE; ++i) {
        if (!CPU_ISSET(i, &set)) continue;
        before = last;
        last = i;
    }
    if (last < 0) return {0, 0};
    return {before < 0 ? last : before, last};
}

}  // namespace

ScopedPin::ScopedPin(int cpu) {
    static_assert(sizeof mask_ >= sizeof(cpu_set_t));
    auto* old = reinterpret_cast<cpu_set_t*>(mask_);
    saved_ = ::sched_getaffinity(0, sizeof(cpu_set_t), old) == 0;
    cpu_set_t one;
    CPU_ZERO(&one);
    CPU_SET(cpu, &one);
    ::sched_setaffinity(0, sizeof one, &one);
}

ScopedPin::~ScopedPin() {
    if (saved_) ::sched_setaffinity(0, sizeof(cpu_set_t), reinterpret_cast<cpu_set_t*>(mask_));
}

int caller_cpu() { return last_two_cpus().first; }
int peer_cpu() { return last_two_cpus().second; }

int open_raw_tty(const std::string& path, bool nonblocking) {
    const int fd = ::open(path.c_str(), O_RDWR | O_NOCTTY | O_CLOEXEC | (nonblocking ? O_NONBLOCK : 0));
    termios t{};
    if (fd < 0 || ::tcgetattr(fd, &t) != 0) std::abort();
    ::cfmakeraw(&t);
    if (::tcsetattr(fd, TCSANOW, &t) != 0) std::abort();
    return fd;
}

uint16_t modbus_crc(const uint8_t* data, size_t size) {
    uint16_t crc = 0xFFFF;
    for (size_t i = 0; i < size; ++i) {
        crc = static_cast<uint16_t>(crc ^ data[i]);
        for (int b = 0; b < 8; ++b) crc = (crc & 1) ? static_cast<uint16_t>((crc >> 1) ^ 0xA001) : crc >> 1;
    }
    return crc;
}

PtyPeer::PtyPeer(PeerProtocol protocol, uint32_t answer_delay_us) : protocol_(protocol), delay_us_(answer_delay_us) {
    master_ = ::posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
    char name[PATH_MAX];
    if (master_ < 0 || ::grantpt(master_) != 0 || ::unlockpt(master_) != 0 ||
        ::ptsname_r(master_, name, sizeof name) != 0)
        std::abort();
    slave_ = name;
    stop_ = ::eventfd(0, EFD_CLOEXEC);
    if (stop_ < 0) std::abort();
    thread_ = std::thread([this] {
        ScopedPin pin(peer_cpu());
        serve();
    });
}

PtyPeer::~PtyPeer() {
    const uint64_t one = 1;
    if (::write(stop_, &one, sizeof one) != sizeof one) std::abort();
    thread_.join();
    ::close(stop_);
    ::close(master_);
}

bool PtyPeer::answer(const char* data, size_t size) {
    if (delay_us_ > 0) ::usleep(delay_us_);
    return ::write(master_, data, size) == static_cast<ssize_t>(size);
}

void PtyPeer::serve() {
    std::string request;
    char buf[256];
    for (;;) {
        pollfd fds[2] = {{master_, POLLIN, 0}, {stop_, POLLIN, 0}};
        if (::poll(fds, 2, -1) < 0 || fds[1].revents) return;
        const ssize_t n = ::read(master_, buf, sizeof buf);
        if (n <= 0) continue;  // the slave side is not open yet (or again)
        request.append(buf, static_cast<size_t>(n));
        if (protocol_ == PeerProtocol::Ascii) {
            size_t cr;
            while ((cr = request.find('\r')) != std::string::npos) {
                request.erase(0, cr + 1);
                if (!answer(kAsciiAnswer, sizeof kAsciiAnswer - 1)) return;
            }
            continue;
        }
        while (request.size() >= 8) {
            // Read holding registers: slave, 3, address, count, CRC. Answer
            // with `count` registers of 0x1234.
            const auto* q = reinterpret_cast<const uint8_t*>(request.data());
            const int count = q[4] << 8 | q[5];
            uint8_t reply[5 + 2 * 125];
            size_t len = 0;
            reply[len++] = q[0];
            reply[len++] = q[1];
            reply[len++] = static_cast<uint8_t>(2 * count);
            for (int i = 0; i < count && i < 125; ++i) {
                reply[len++] = 0x12;
                reply[len++] = 0x34;
            }
            const uint16_t crc = modbus_crc(reply, len);
            reply[len++] = static_cast<uint8_t>(crc & 0xFF);
            reply[len++] = static_cast<uint8_t>(crc >> 8);
            request.erase(0, 8);
            if (!answer(reinterpret_cast<const char*>(reply), len)) return;
        }
    }
}

}  // namespace vex::bench
