#include "tests/support/pty.h"

#include <fcntl.h>
#include <poll.h>
#include <termios.h>
#include <unistd.h>

#include <chrono>
#include <climits>
#include <cstdlib>
#include <stdexcept>

#include "vexsdk.h"

namespace vex::test {

int64_t now_ms() {
    return std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now().time_since_epoch())
        .count();
}

Pty::Pty() {
    master_ = ::posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
    char name[PATH_MAX];
    if (master_ < 0 || ::grantpt(master_) != 0 || ::unlockpt(master_) != 0 ||
        ::ptsname_r(master_, name, sizeof name) != 0)
        throw std::runtime_error("cannot create a pseudo-terminal");
    slave_ = name;
    slave_fd_ = ::open(name, O_RDWR | O_NOCTTY | O_CLOEXEC);
    termios t{};
    if (slave_fd_ < 0 || ::tcgetattr(slave_fd_, &t) != 0) throw std::runtime_error("cannot open the slave side");
    ::cfmakeraw(&t);
    ::tcsetattr(slave_fd_, TCSANOW, &t);
}

Pty::~Pty() { hang_up(); }

void Pty::hang_up() {
    if (slave_fd_ >= 0) ::close(slave_fd_);
    if (master_ >= 0) ::close(master_);
    slave_fd_ = master_ = -1;
}

void Pty::map_as(const std::wstring& name) const {
    const std::wstring path = L"HKEY_LOCAL_MACHINE\\VORLAN\\Ports\\" + name;
    const std::wstring device(slave_.begin(), slave_.end());
    if (!vex_RegSetString(path.c_str(), device.c_str(), static_cast<uint32_t>(device.size() * sizeof(wchar_t))))
        throw std::runtime_error("cannot map the pseudo-terminal");
}

std::string Pty::read_until(char end, int timeout_ms) const {
    std::string got;
    const int64_t deadline = now_ms() + timeout_ms;
    for (;;) {
        const int64_t left = deadline - now_ms();
        pollfd p{master_, POLLIN, 0};
        if (left <= 0 || ::poll(&p, 1, static_cast<int>(left)) <= 0) return got;
        char c;
        if (::read(master_, &c, 1) != 1) return got;
        got += c;
        if (c == end) return got;
    }
}

std::string Pty::read_all(int quiet_ms) const {
    std::string got;
    for (;;) {
        pollfd p{master_, POLLIN, 0};
        if (::poll(&p, 1, quiet_ms) <= 0) return got;
        char buf[256];
        const ssize_t n = ::read(master_, buf, sizeof buf);
        if (n <= 0) return got;
        got.append(buf, static_cast<size_t>(n));
    }
}

void Pty::write(const std::string& bytes) const {
    if (::write(master_, bytes.data(), bytes.size()) != static_cast<ssize_t>(bytes.size()))
        throw std::runtime_error("short write to the pseudo-terminal");
}

}  // namespace vex::test
